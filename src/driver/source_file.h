// One source file, from its text to its object.
#pragma once

#include <cstdint>

// Assembles source_file_name and gives the number of its errors; 0 under -md, unless an input could
// not be opened or read.
int32_t assemble_source_file();

// Drops the symbols and macros of a source file, for the next one.
void forget_source_file();
