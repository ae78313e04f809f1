// Conditional assembly: which statements count.
#pragma once

#include <cstdint>

struct Keyword;

// Whether the statement at hand is assembled: 1, or 0 in skipped code.
int32_t assembling_enabled();

// The directives. In skipped code they read no operand.
void if_directive(Keyword *keyword, const char *label, uint32_t length);
void else_directive(Keyword *keyword, const char *label, uint32_t length);
void endif_directive(Keyword *keyword, const char *label, uint32_t length);

// Ends every conditional that is open at the end of a pass: one "unclosed if" for all of them.
void close_open_conditionals();

// The number of the innermost open conditional, 0 without one, to be noted when an expansion
// begins.
uint32_t mark_conditionals();

// Ends the conditionals opened since `mark` was noted, as leaving an expansion early does. Records
// "bad if/endif balance" when the marked one has been ended already.
void unwind_conditionals(uint32_t mark);
