// Makes source lines of stored ones.
#pragma once

struct Expansion;

// The text of a stored line with the arguments put in, in a buffer that the next call overwrites.
// Records "bad argument number" and "unknown macro argument %.*s".
const char *make_macro_line(const Expansion *expansion, const char *text);
