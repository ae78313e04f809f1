// The numbers given here stay: the relocation streams of the later passes are built with them. One
// counter numbers sections first and then symbols, so that a single number names either.

#include "output/resolver.h"

#include "driver/passes.h"
#include "driver/settings.h"
#include "expr/cross_reference.h"
#include "expr/symbol_table.h"
#include "input/input_stack.h"
#include "listing/diagnostics.h"
#include "output/section_table.h"
#include <vector>

// Which old section numbers a symbol that counts for the object file refers to.
static std::vector<bool> find_needed_sections()
{
    std::vector<bool> needed(256);
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (keep_locals || (symbol->attrs & (ATTR_REFERENCED | ATTR_PUBLIC)))
            needed[symbol->section_number] = true;
    }
    return needed;
}

// Numbers the sections to keep and gives the table from old numbers to new ones. A dropped section
// maps to the one kept before it; only what -p makes public behind this can have its number.
static std::vector<uint8_t> number_sections()
{
    const std::vector<bool> needed = find_needed_sections();
    std::vector<uint8_t> new_numbers(256);
    uint32_t old_number = 0;
    uint16_t counter = 0;
    for (Section *section = section_list; section != nullptr; section = section->next) {
        ++old_number;
        if (section->number < needed.size() && needed[section->number])
            section->flags |= SEC_USED;
        if (section->flags & SEC_USED) {
            section->flags |= SEC_NUMBERED;
            section->number = ++counter;
        }
        if (old_number < new_numbers.size())
            new_numbers[old_number] = static_cast<uint8_t>(counter);
    }
    section_count = counter;
    return new_numbers;
}

// The line to report an undefined symbol at: its first reference as far as known.
static uint32_t reference_line(const Symbol *symbol)
{
    if (symbol->ref_line != 0)
        return symbol->ref_line;
    return symbol->xref.head != nullptr ? symbol->xref.head->lines[0] : symbol->def_line;
}

static const char *symbol_file(const Symbol *symbol)
{
    return symbol->source_file != nullptr ? symbol->source_file : current_file_name();
}

// Under -u the listing shows undefined symbols where they are used; here they only count.
static void report_undefined(const Symbol *symbol)
{
    if (undefined_in_listing)
        ++error_count;
    else
        print_direct_error(symbol_file(symbol), reference_line(symbol), messages[MSG_NOT_DEFINED],
                           symbol->name_length, symbol->name);
}

static void report_public_alias(const Symbol *symbol)
{
    print_direct_error(symbol_file(symbol), symbol->def_line, messages[MSG_BAD_RELOCATABLE], 0,
                       nullptr);
}

// Follows an alias. False when the symbol remains one and has no number of its own.
static bool resolve_alias(Symbol *symbol)
{
    const Symbol *target = symbol->link;
    if (target != nullptr && target->section_number != 0) {
        symbol->section_number = target->section_number;
    } else if (target == nullptr || (target->attrs & ATTR_ABSOLUTE) == 0) {
        // A public name can't stand for an external.
        if (symbol->attrs & ATTR_PUBLIC)
            report_public_alias(symbol);
        return false;
    }
    symbol->flags &= static_cast<uint16_t>(~SYM_ALIAS);
    return true;
}

static void settle_visibility(Symbol *symbol)
{
    constexpr uint16_t NEVER_PUBLIC =
        SYM_PREDEFINED | SYM_SET | SYM_REGISTER | SYM_LOCAL | SYM_LITERAL;
    if ((symbol->attrs & (ATTR_DEFINED | ATTR_REFERENCED)) == 0)
        symbol->attrs &= static_cast<uint8_t>(~ATTR_PUBLIC);
    else if (all_public && (symbol->flags & NEVER_PUBLIC) == 0)
        symbol->attrs |= ATTR_PUBLIC;
}

static void resolve_symbol(Symbol *symbol, const std::vector<uint8_t> &new_numbers,
                           uint32_t *counter)
{
    if ((symbol->attrs & (ATTR_DEFINED | ATTR_PUBLIC)) == 0) {
        if ((symbol->flags & SYM_TESTED) && (symbol->attrs & ATTR_REFERENCED) == 0) {
            symbol->object_index = 0;
            return;
        }
        report_undefined(symbol);
    }
    if ((symbol->flags & SYM_ALIAS) && !resolve_alias(symbol))
        return;
    settle_visibility(symbol);
    symbol->object_index = symbol->attrs & ATTR_PUBLIC ? ++*counter : 0;
    symbol->section_number = new_numbers[symbol->section_number];
}

void resolve_symbols()
{
    const std::vector<uint8_t> new_numbers = number_sections();
    auto counter = static_cast<uint32_t>(section_count);
    for (Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next)
        resolve_symbol(symbol, new_numbers, &counter);
}

// A `switch` that stands ahead of the `section` it names is passed over in the sizing pass, so that
// a section may get its first byte or label only when the numbers have been given. A label alone is
// told if nothing else is wrong: it may be where it is by another mistake.
static bool is_late(const Section *section, bool clean)
{
    const uint16_t signs = clean ? SEC_USED | SEC_LATE_LABEL : SEC_USED;
    return (section->flags & signs) && (section->flags & SEC_NUMBERED) == 0;
}

// An equate of a weak definition takes a section number in the sizing pass and becomes an alias
// again in the next: a public one then has a number but no record. Others that do so are told if
// nothing else is wrong.
static bool is_numbered_alias(const Symbol *symbol, bool clean)
{
    if (symbol->object_index == 0 || (symbol->flags & SYM_ALIAS) == 0)
        return false;
    return clean || (symbol->link != nullptr && (symbol->link->flags & SYM_WEAK));
}

static void report_late_sections(bool clean)
{
    for (const Section *section = section_list; section != nullptr; section = section->next) {
        if (!is_late(section, clean))
            continue;
        record_error("section %.*s used before its definition", section->name_length,
                     section->section_name);
        pass_must_repeat = 0;
        flush_error(nullptr);
    }
}

static void report_numbered_aliases(bool clean)
{
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (is_numbered_alias(symbol, clean))
            report_public_alias(symbol);
    }
}

// The record of a weak definition has one character more than the name, which its length byte must
// still hold.
static void report_long_weak_names()
{
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (symbol->object_index != 0 && (symbol->flags & SYM_WEAK) &&
            (symbol->attrs & ATTR_DEFINED) && symbol->name_length == UINT8_MAX)
            print_direct_error(symbol_file(symbol), symbol->def_line, messages[MSG_BAD_SYMBOL_NAME],
                               symbol->name_length, symbol->name);
    }
}

void report_broken_numbering()
{
    const bool clean = error_count == 0;
    report_late_sections(clean);
    report_numbered_aliases(clean);
    if (clean)
        report_long_weak_names();
}
