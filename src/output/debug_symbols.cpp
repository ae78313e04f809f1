// A pointer to the table, the table's rows of four words, a zero word, then the strings that the
// rows point to. All pointers are addresses in .debug, relocated against the section itself.

#include "output/debug_symbols.h"

#include "base/pass_state.h"
#include "base/settings.h"
#include "expr/evaluator.h"
#include "expr/symbol_table.h"
#include "output/emission.h"
#include "output/section_table.h"

constexpr uint32_t WORD_SIZE = 4;
constexpr uint32_t ROW_SIZE = 4 * WORD_SIZE;

// The type word of data whose size no simple type has: the size then follows the name.
constexpr uint32_t TYPE_SIZED = 0x0A0000C0;
constexpr uint32_t TYPE_HAS_SIZE = 0x80;

static bool is_shown(const Symbol *symbol)
{
    constexpr uint16_t NEVER_SHOWN =
        SYM_PREDEFINED | SYM_SET | SYM_REGISTER | SYM_LOCAL | SYM_LITERAL;
    return (symbol->attrs & ATTR_DEFINED) && (symbol->attrs & (ATTR_REFERENCED | ATTR_PUBLIC)) &&
           (symbol->flags & NEVER_SHOWN) == 0 && symbol->section_number != current_section->number;
}

static uint32_t type_word(const Symbol *symbol)
{
    switch (symbol->data_size) {
    case 0:
        return 0x58000000;
    case 1:
        return 0x0A000000;
    case 2:
        return 0x11000000;
    case 4:
        return 0x21000000;
    default:
        return TYPE_SIZED;
    }
}

static uint8_t class_byte(const Symbol *symbol)
{
    const bool is_public = (symbol->attrs & ATTR_PUBLIC) != 0;
    if (symbol->data_size != 0)
        return is_public ? 6 : 1;
    return is_public ? 19 : 18;
}

static void emit_word(uint32_t value, uint8_t section_number)
{
    const uint8_t reloc = section_number != 0 ? RELOC_NORMAL : RELOC_ABSOLUTE;
    emit_long({value, nullptr, section_number, reloc});
}

static void emit_pointer(uint32_t address)
{
    emit_word(address, static_cast<uint8_t>(current_section->number));
}

// The type word is most significant byte first, whatever the section says.
static void emit_type_word(uint32_t type)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        emit_byte(type >> shift);
}

static uint32_t count_shown_symbols()
{
    uint32_t count = 0;
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next)
        count += is_shown(symbol);
    return count;
}

// `strings` is the address of the symbol's strings; gives that of the next symbol's.
static uint32_t emit_row(const Symbol *symbol, uint32_t strings)
{
    emit_pointer(strings);
    strings += symbol->name_length + 2U;
    emit_word(symbol->value, symbol->section_number);
    const uint32_t type = type_word(symbol);
    emit_type_word(type);
    if (type & TYPE_HAS_SIZE) {
        emit_pointer(strings);
        strings += WORD_SIZE;
    } else {
        emit_word(0, 0);
    }
    return strings;
}

static void emit_strings(const Symbol *symbol)
{
    for (uint8_t i = 0; i < symbol->name_length; ++i)
        emit_byte(static_cast<unsigned char>(symbol->name[i]));
    emit_byte(0);
    emit_byte(class_byte(symbol));
    if (type_word(symbol) & TYPE_HAS_SIZE)
        emit_word(symbol->data_size, 0);
}

void emit_debug_symbols()
{
    const uint32_t count = settings.debug_full ? count_shown_symbols() : 0;
    if (count == 0) {
        emit_word(0, 0);
        return;
    }
    const uint32_t table = current_location() + WORD_SIZE;
    emit_pointer(table);
    uint32_t strings = table + WORD_SIZE + ROW_SIZE * count;
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (is_shown(symbol))
            strings = emit_row(symbol, strings);
    }
    emit_word(0, 0);
    // Nothing lies behind the strings whose place could matter.
    if (pass_must_repeat)
        return;
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (is_shown(symbol))
            emit_strings(symbol);
    }
}
