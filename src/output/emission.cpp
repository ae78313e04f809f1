// The sizing pass only counts, so that every label gets its first value from sizes alone. So does
// what is left of a pass that has turned out void, and a bss section in every pass.

#include "output/emission.h"

#include "base/diagnostics.h"
#include "base/line_context.h"
#include "base/pass_state.h"
#include "base/warnings.h"
#include "expr/symbol_table.h"
#include "listing/listing.h"
#include "output/section_table.h"
#include <algorithm>
#include <string>

static bool is_bss()
{
    return (current_section->attributes & SECATTR_BSS) != 0;
}

// A location counter that passes 4 GiB would begin again at 0, on top of what is there.
static void advance_location(uint32_t count)
{
    const uint32_t before = current_section->size;
    current_section->size = before + count;
    if (before + count < before)
        record_error(messages::VALUE_TOO_LARGE);
}

static void store_byte(uint8_t byte)
{
    if (is_bss())
        byte = 0;
    else if (!pass_must_repeat)
        stream_put_byte(&current_section->code_stream, byte);
    if (lists_line())
        note_line_byte(byte);
}

void emit_byte(uint32_t byte)
{
    advance_location(1);
    current_section->flags |= SEC_USED;
    if (pass_number != 0)
        store_byte(static_cast<uint8_t>(byte));
}

void emit_fill(uint32_t byte, uint32_t count)
{
    // Only the first bytes can show in the listing.
    const uint32_t shown = std::min<uint32_t>(count, LINE_BYTES_MAX);
    for (uint32_t i = 0; i < shown; ++i)
        emit_byte(byte);
    if (pass_number != 0 && !pass_must_repeat && !is_bss())
        stream_fill(&current_section->code_stream, static_cast<uint8_t>(byte), count - shown);
    advance_location(count - shown);
}

static void put_reloc_byte(uint32_t byte)
{
    stream_put_byte(&current_section->reloc_stream, static_cast<uint8_t>(byte));
}

// The plain bytes between the last relocated field and this place.
static void put_gap()
{
    while (uint32_t gap = current_section->size - current_section->reloc_position) {
        if (gap <= SHORT_GAP_MAX) {
            put_reloc_byte(gap);
        } else {
            gap = std::min(gap, LONG_GAP_MAX);
            put_reloc_byte((gap >> 8) | RELOC_LONG_GAP);
            put_reloc_byte(gap);
        }
        current_section->reloc_position += gap;
    }
}

static bool has_attribute(const Symbol *symbol, uint8_t attribute)
{
    return symbol != nullptr && (symbol->attrs & attribute) != 0;
}

// Whether the linker is to find the symbol by its own number: an external, or a weak definition.
static bool goes_by_symbol(const Symbol *symbol)
{
    return symbol != nullptr &&
           (!has_attribute(symbol, ATTR_DEFINED) || (symbol->flags & SYM_WEAK));
}

// An equate of a number that stands below its equate is neither address nor alias until the first
// pass has defined it. Anything else without a name is an address of nothing.
static void note_nameless(const Symbol *symbol)
{
    const bool unsettled = has_attribute(symbol, ATTR_DEFINED) && (symbol->flags & SYM_ALIAS) == 0;
    if (!unsettled)
        record_error(messages::BAD_RELOCATABLE);
    else if (pass_number == 1 && uses_must_settle())
        request_another_pass();
}

// The number of the section or symbol that the value is relative to. A symbol without a number is
// undefined, or will get one.
static uint32_t relocation_index(const ExprValue &value)
{
    if (goes_by_symbol(value.symbol))
        return value.symbol->object_index;
    if (value.section_number == 0 && value.reloc != RELOC_ABSOLUTE)
        note_nameless(value.symbol);
    return value.section_number;
}

static void put_item_head(uint8_t kind, uint32_t index)
{
    const bool wide = index > 255;
    if (index > UINT16_MAX)
        record_error("too many symbols");
    put_reloc_byte((kind & RELOC_KIND_MASK) | RELOC_ITEM | (wide ? RELOC_WIDE_INDEX : 0));
    if (wide)
        put_reloc_byte(index >> 8);
    put_reloc_byte(index);
}

// A check names a public symbol by its own number and carries the distance from it.
static void put_check_item(const ExprValue &value)
{
    uint32_t index = relocation_index(value);
    uint32_t addend = value.value;
    if (has_attribute(value.symbol, ATTR_PUBLIC)) {
        index = value.symbol->object_index;
        if (has_attribute(value.symbol, ATTR_DEFINED))
            addend -= value.symbol->value;
    }
    put_item_head(RK_CHECK, index);
    put_reloc_byte(addend != 0);
    if (addend == 0)
        return;
    for (int shift = 24; shift >= 0; shift -= 8)
        put_reloc_byte(addend >> shift);
}

void emit_relocation(uint8_t kind, const ExprValue &value)
{
    if (pass_number == 0 || pass_must_repeat || is_bss())
        return;
    put_gap();
    if (kind == RK_CHECK) {
        put_check_item(value);
        return;
    }
    put_item_head(kind, relocation_index(value));
    // Kinds that select a part carry what the field has no room for.
    if (kind < RK_HIGH || kind > RK_PLOW)
        return;
    put_reloc_byte(value.value >> 24);
    put_reloc_byte(value.value >> 16);
    if ((kind & 1) == 0)
        put_reloc_byte(value.value >> 8);
}

static uint8_t relocation_kind(uint8_t reloc, bool one_byte)
{
    if (reloc & RELOC_PAGE)
        return one_byte ? RK_PAGE_BYTE : RK_PAGE_WORD;
    if (reloc & RELOC_HIGH)
        return reloc & RELOC_PLOW ? RK_PHIGH : RK_HIGH;
    if (one_byte)
        return RK_BYTE;
    return reloc & RELOC_PLOW ? RK_PLOW : RK_WORD;
}

// The low bytes of a number, `size` of them, in the section's order.
static void emit_number(uint32_t number, int size)
{
    if (size == 1) {
        emit_byte(number);
        return;
    }
    const bool high_first = (current_section->attributes & SECATTR_HILO) != 0;
    if (size == 2) {
        emit_byte(high_first ? number >> 8 : number);
        emit_byte(high_first ? number : number >> 8);
        return;
    }
    for (int i = 0; i < size; ++i)
        emit_byte(number >> (8 * (high_first ? size - 1 - i : i)));
}

static void emit_relocated_field(uint8_t kind, const ExprValue &value, int size)
{
    emit_relocation(kind, value);
    emit_number(value.value, size);
    current_section->reloc_position = current_section->size;
}

// The high byte of an address has no item for a field of two bytes. It goes into the low-order byte
// as a field of its own, and the high-order byte is a plain 0.
static void emit_high_as_word(const ExprValue &value)
{
    const uint8_t kind = relocation_kind(value.reloc, true);
    const bool high_first = (current_section->attributes & SECATTR_HILO) != 0;
    if (high_first)
        emit_byte(0);
    emit_relocated_field(kind, value, 1);
    if (!high_first)
        emit_byte(0);
}

void emit_value(const ExprValue &value, bool one_byte)
{
    if (value.reloc == RELOC_ABSOLUTE)
        emit_number(value.value, one_byte ? 1 : 2);
    else if (!one_byte && (value.reloc & RELOC_PART) == RELOC_HIGH)
        emit_high_as_word(value);
    else
        emit_relocated_field(relocation_kind(value.reloc, one_byte), value, one_byte ? 1 : 2);
}

void emit_long(const ExprValue &value)
{
    if (value.reloc == RELOC_ABSOLUTE)
        emit_number(value.value, 4);
    else
        emit_relocated_field(RK_LONG, value, 4);
}

// The complement of a mask is a small negative number and loses nothing that anybody wants.
void warn_of_cut_word(const ExprValue &value)
{
    constexpr int32_t LOWEST = -UINT16_MAX - 1;
    const auto number = static_cast<int32_t>(value.value);
    if (!warns() || value.reloc != RELOC_ABSOLUTE || (number >= LOWEST && number <= UINT16_MAX))
        return;
    warn("value " + std::to_string(number) + " is cut to " +
             std::to_string(value.value & UINT16_MAX),
         "a field of two bytes takes up to 65535: use a smaller value, or take a part of it as in "
         "value&$ffff or value>>16");
}

void warn_of_lost_bytes()
{
    // The section that was warned of last, until bytes go elsewhere.
    static const Section *warned;
    static int32_t warned_pass;
    if (is_bss() && (warned != current_section || warned_pass != pass_number))
        warn_at(line_context_at(statement_text().find_first_not_of(" \t")),
                "bytes in section " + std::string(section_name(*current_section)) +
                    ", a bss section, are lost",
                "a bss section is room without contents: reserve room with ds; for code put switch "
                ".text ahead of this line, for constants a section of their own");
    warned = is_bss() ? current_section : nullptr;
    warned_pass = pass_number;
}
