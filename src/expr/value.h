// The value of an expression, and how numbers are computed.
#pragma once

#include <cstdint>

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
    uint32_t cell = 0;      // what the value moves with, see output/layout_record.h
};

// What the binary operator makes of two numbers. Records "zero divide", with the left one as the
// result.
uint32_t compute(int32_t token, uint32_t left, uint32_t right);
