// The lines that open the debug information of a source under -x.
#pragma once

#include <cstdint>

// Builds the prologue as a macro body. Once per run.
void build_debug_prologue();

// Starts the expansion of the prologue on top of the source. `line_total` is the number of lines
// of the source as far as known.
void expand_debug_prologue(uint32_t line_total);
