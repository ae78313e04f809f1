// Directives that give a symbol its value or its linkage without emitting a byte.
#pragma once

#include "expr/keyword_table.h"
#include <span>

// `equ`, `set`, `#define`, `lit`, `local`, `xdef` and its kin.
std::span<const DirectiveRow> symbol_directives();

// Applies a text "name" or "name=value" of -d. True if an error was reported.
bool define_from_text(const char *text);
