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
