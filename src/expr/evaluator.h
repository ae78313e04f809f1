// Expressions: read from the token stream, computed at once.
#pragma once

#include "expr/keyword_table.h"
#include <cstdint>
#include <span>

struct Symbol;

// ExprValue::reloc. 0 is absolute; otherwise the low four bits are the kind of address and the
// others select a part of it. What is no bit of its own shares its byte with the kind: compare
// kinds, test parts.
constexpr uint8_t RELOC_ABSOLUTE = 0;
constexpr uint8_t RELOC_NORMAL = 1; // a 16-bit address
constexpr uint8_t RELOC_ZPAGE = 2;  // an 8-bit address, or the low byte of a relocatable value
constexpr uint8_t RELOC_LONG = 3;   // an address beyond 16 bits
constexpr uint8_t RELOC_PLOW = 0x10;
constexpr uint8_t RELOC_HIGH = 0x40;
constexpr uint8_t RELOC_PAGE = 0x80;
constexpr uint8_t RELOC_PART = RELOC_HIGH | RELOC_PAGE; // a part selection is present

// The value of an expression: the constant part, and what it is relative to until link time.
struct ExprValue {
    uint32_t value;         // wraps at 32 bits
    Symbol *symbol;         // what a relocation has to name, or null
    uint8_t section_number; // the section that the value is relative to, or 0
    uint8_t reloc;          // RELOC_
};

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
