// What the recorder needs of running expansions.
#pragma once

#include <cstdint>

struct Expansion;

// The first character of a body line that is no source line but the list of parameter names. A
// macro without parameters whose first line begins with it has that line read as a list.
constexpr char PARAMETER_LIST_MARK = '=';

// The number of the next call, which \@ gives.
uint16_t next_call_number();

// Frees an expansion and its arguments; the body of a repeat too.
void free_expansion(Expansion *expansion);
