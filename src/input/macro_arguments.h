// Cuts the text of a call into arguments.
#pragma once

#include <cstddef>

struct Expansion;

// Cuts `arg_text` up in place and fills in `args` and `arg_count`. Gives the length of the text
// that the arguments took. Records "too many arguments".
size_t cut_arguments(Expansion *expansion);
