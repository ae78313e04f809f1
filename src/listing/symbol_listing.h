// The symbol table at the end of a listing, with the lines that use each symbol.
#pragma once

#include <cstdio>

// Writes the table. Sorts the symbol list by name, which breaks its hash runs: no symbol can be
// looked up until reset_symbols.
void list_symbols(std::FILE *stream);
