// The symbol table at the end of a listing, with the lines that use each symbol.
#pragma once

struct ByteStream;

// Writes the table. Sorts the symbol list by name, which breaks its hash runs: no symbol can be
// looked up until reset_symbols.
void list_symbols(ByteStream *stream);
