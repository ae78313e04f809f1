// Reads one operand of an instruction.
#pragma once

#include "expr/evaluator.h"
#include <cstdint>

// Reads an operand and gives its addressing mode AM_: a register's own number, or the mode that the
// syntax and the value call for; never AM_NONE, AM_BIT, AM_FAR_X or AM_FAR_Y. `value` receives the
// expression and stays untouched for a register. Records "bad size extension", "bad index
// register", "syntax error", "bad addressing mode", "value too large"; there is always a mode to
// go on with.
uint8_t parse_operand(ExprValue *value);

// Whether a row's mode takes an operand of the parsed mode: longer fields take shorter operands.
// With OP_REL set in either, the two are modes of their own.
bool mode_matches(uint8_t table_mode, uint8_t parsed_mode);
