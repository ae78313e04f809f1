// The table of symbols that closes the section .debug.
#pragma once

// Writes the table into the current section, which must be .debug; without -xx, or with no symbol
// to show, a single zero word.
void emit_debug_symbols();
