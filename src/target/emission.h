// The one way into the sections' streams: bytes, fields and their relocation items. The encoding of
// the relocation stream is told in docs/object-format.md.
#pragma once

#include "expr/evaluator.h"
#include "output/object_format.h"
#include <cstdint>

// What the listing shows of the current statement.
constexpr int32_t LINE_BYTES_MAX = 40;
extern uint8_t line_bytes[LINE_BYTES_MAX];
extern int32_t line_byte_count;
extern uint32_t line_address;
extern const char *line_start; // where the text of the line begins

// How mark_line works: always the address; with MARK_START the line begins here and has no bytes
// yet; with MARK_NO_BYTES it has no bytes yet, its text stays.
constexpr int32_t MARK_ADDRESS = 0;
constexpr int32_t MARK_START = 1;
constexpr int32_t MARK_NO_BYTES = 2;
void mark_line(int32_t how);

// Keeps a byte for the listing; beyond 40 bytes of a statement it is dropped.
void note_line_byte(uint8_t byte);

// One byte of section contents, of which the low 8 bits count. The sizing pass and bss sections
// only count it. Records "value too large" where the section outgrows 4 GiB.
void emit_byte(uint32_t byte);

// `count` times the same byte.
void emit_fill(uint32_t byte, uint32_t count);

// A field of one or two bytes, or of four, in the section's byte order, with its relocation item if
// the value is relocatable.
void emit_value(const ExprValue &value, bool one_byte);
void emit_long(const ExprValue &value);

// A relocation item of kind RK_ at the current location. Whoever writes the field sets the
// section's reloc_position behind it. Nothing in the sizing pass and in bss sections.
void emit_relocation(uint8_t kind, const ExprValue &value);
