// Expressions: read from the token stream, computed at once.
#pragma once

#include "expr/keyword_table.h"
#include "expr/value.h"
#include <cstdint>
#include <span>

// How far `page` shifts an absolute value. Set by the target.
extern uint32_t address_page_bits;

// Reads a whole expression; the token that can't continue it goes back. Records "bad relocatable
// expression", "zero divide", "bad character constant", "bad constant", "missing string", "syntax
// error" and, under -u, "symbol %.*s not defined". There is always a value to go on with.
void parse_expression(ExprValue *out);

// Reads a token; any other than the expected one goes back with a "syntax error".
void expect_token(int32_t token);

// Whether the value fits one byte: absolute, -256 to 255 (signed) or 0 to 255, or relocatable and
// 8 bits wide.
bool fits_signed_byte(const ExprValue &value);
bool fits_byte(const ExprValue &value);

// Forgets an expression that the end of the process has broken off: for fuzzers, which go on.
void reset_evaluator();

// Reads one operand without operators: a number, a symbol or "*". Records "syntax error".
uint32_t parse_simple_value();

// The directive `base`.
std::span<const DirectiveRow> base_directives();
