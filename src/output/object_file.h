// The object file, whose format is in docs/object-format.md.
#pragma once

// Makes the object file in memory, after the last pass of a file without errors. One that can't be
// created is told, and nothing is made. The symbols then stand in the list as they are in the file.
void build_object_file();

// Puts the object file in place, if one was made. A failure to write is told and counted.
void place_object_file();

// Drops the object file that was made.
void drop_object_file();
