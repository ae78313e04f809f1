// The dependency rule of --depfile, for make and for what reads its rules.
#pragma once

// Forgets the files of the source file before.
void reset_depfile();

// Adds a file that was opened, once.
void add_depfile_input(const char *path);

// Makes the rule, if one is wanted and the object can be put in place. What keeps it from being
// written is reported and counts: a name that make can't read, or a file that can't be created.
void build_depfile();

// Puts the rule in place, after the object.
void place_depfile();
