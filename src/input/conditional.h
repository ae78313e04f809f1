// Conditional assembly: which statements count.
#pragma once

#include "base/line_context.h"
#include "expr/keyword_table.h"
#include <cstdint>
#include <span>
#include <string>
#include <vector>

// Whether the statement at hand is assembled, or in skipped code.
bool assembling_enabled();

// `if` and its kin. In skipped code they read no operand.
std::span<const DirectiveRow> conditional_directives();

// The lines that opened the conditionals that are open, innermost first, and the end of the one
// that was closed last, empty for none: kept for notes.
std::vector<LineContext> open_conditionals();
const std::string &last_closed_conditional();

// Ends every conditional that is open at the end of a pass: one "unclosed if" for all of them.
void close_open_conditionals();

// The number of the innermost open conditional, 0 without one, to be noted when an expansion
// begins.
uint32_t mark_conditionals();

// Ends the conditionals opened since `mark` was noted, as leaving an expansion early does. Records
// "bad if/endif balance" when the marked one has been ended already.
void unwind_conditionals(uint32_t mark);
