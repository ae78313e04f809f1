// Writes the object file. Its format is told in docs/object-format.md.
#pragma once

// Writes object_file_name from the sections, symbols and debug records of the last pass. Only when
// the source had no error. A file that can't be created is told and not counted; one that can't be
// written in full is told, counted and deleted.
void write_object_file();
