// Makes source lines of stored ones.
#pragma once

#include <cstdint>

struct Expansion;

// The text of a stored line with the arguments put in, in a buffer that the next call overwrites.
// Records "bad argument number" and "unknown macro argument %.*s".
const char *make_macro_line(const Expansion *expansion, const char *text);

// The number of a positional argument: 1 to 9, then A to Z; 0 for any other character.
uint32_t positional_number(char c);
