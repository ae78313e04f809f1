// The one way into the sections' streams: bytes, fields and their relocation items. The encoding of
// the relocation stream stands in docs/object-format.md.
#pragma once

#include "base/object_format.h"
#include "expr/evaluator.h"
#include <cstdint>

// One byte of section contents, of which the low 8 bits count. The sizing pass, void passes and bss
// sections only count it. Records "value too large" where the section outgrows 4 GiB.
void emit_byte(uint32_t byte);

// `count` times the same byte.
void emit_fill(uint32_t byte, uint32_t count);

// A field of one or two bytes, or of four, in the section's byte order, with its relocation item if
// the value is relocatable.
void emit_value(const ExprValue &value, bool one_byte);
void emit_long(const ExprValue &value);

// A relocation item of kind RK_ at the current location. Whoever writes the field sets the
// section's reloc_position after it. Nothing where bytes are only counted.
void emit_relocation(uint8_t kind, const ExprValue &value);

// In a run that keeps contexts, ahead of code and data: warns if the current section is one of room
// only, at the first line of several.
void warn_of_lost_bytes();

// Under --warn: warns of a number that a field of two bytes cuts.
void warn_of_cut_word(const ExprValue &value);
