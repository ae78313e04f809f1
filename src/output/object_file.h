// The object file, whose format is in docs/object-format.md.
#pragma once

#include <cstdint>

// The processor, as it stands in the head of the file.
struct Machine {
    uint8_t number;
    uint8_t variant;
};

// Makes the object file in memory, after the last pass of a file without errors. One that can't be
// created is reported, and nothing is made; under --warn=error it counts. The symbols then stand in
// the list as they are in the file.
void build_object_file(const Machine &machine);

// Whether one was made that isn't in place yet.
bool has_object_file();

// Puts the object file in place, if one was made. A failure to write is reported and counted.
void place_object_file();

// Drops the object file that was made.
void drop_object_file();
