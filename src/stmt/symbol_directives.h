// Directives that give a symbol its value or its linkage without emitting a byte.
#pragma once

#include <cstdint>

struct Keyword;

// `equ` and `#define` (argument 0), `set` (1). Also bit symbols: "name: equ address:bit".
void equate_directive(Keyword *keyword, const char *label, uint32_t length);

// `lit`: the label stands for a text from here on.
void literal_directive(Keyword *keyword, const char *label, uint32_t length);

// `xdef`, `xref`, `xbit`, `wdef` and their kin; the argument tells what is known of the symbols.
void external_directive(Keyword *keyword, const char *label, uint32_t length);

// `local`: ends the scope of the local labels above.
void local_directive(Keyword *keyword, const char *label, uint32_t length);

// Applies a text "name" or "name=value" of -d. Not 0 if an error was reported.
int32_t define_from_text(const char *text);
