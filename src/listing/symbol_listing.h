// The symbol table at the end of a listing, with the lines that use each symbol.
#pragma once

struct ByteStream;

// Writes the table. Leaves the symbol list sorted by name. Lookups go on as before; a new symbol
// would come to a place in the list that means nothing, until reset_symbols.
void list_symbols(ByteStream *stream);
