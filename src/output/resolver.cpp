// The numbers given here stay: the relocation streams of the later passes are built with them. One
// counter numbers sections first and then symbols, so that a single number names either. Whatever
// turns out to need a number only in a later pass (under a condition that the sizing pass answered
// otherwise, or in a section selected above its definition) is remembered, and the source is sized
// once more with it.

#include "output/resolver.h"

#include "base/diagnostics.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/settings.h"
#include "expr/cross_reference.h"
#include "expr/symbol_table.h"
#include "output/debug_info.h"
#include "output/section_table.h"
#include <algorithm>
#include <set>
#include <string>
#include <vector>

const Symbol *symbol_in_report;

// What a further sizing pass is to keep. Sections go by their place in the order of creation, which
// is the same in every sizing pass, symbols by name.
static std::vector<bool> late_sections;
static std::set<std::string> late_symbols;

// Definitions that only a later pass declares weak, after an equate of theirs got a number.
static std::set<std::string> late_weak_symbols;

// Symbols that the sizing pass defines and the last pass doesn't: they count as undefined.
static std::set<std::string> stale_symbols;

void forget_late_needs()
{
    late_sections.clear();
    late_symbols.clear();
    late_weak_symbols.clear();
    stale_symbols.clear();
}

// The symbol is as if it had only been asked about.
static void take_definition_back(Symbol *symbol)
{
    symbol->attrs = 0;
    symbol->flags = SYM_TESTED;
    symbol->section_number = 0;
    symbol->value = 0;
    symbol->link = nullptr;
    note_alias_change();
}

static void keep_late_needs()
{
    for (const std::string &name : stale_symbols)
        take_definition_back(find_symbol(name));
    for (const std::string &name : late_symbols) {
        Symbol *symbol = find_symbol(name);
        symbol->attrs |= ATTR_PUBLIC;
        symbol->flags |= SYM_KEPT;
    }
    for (const std::string &name : late_weak_symbols)
        find_symbol(name)->flags |= SYM_WEAK;
    size_t position = 0;
    for (Section *section = section_list; section != nullptr; section = section->next) {
        if (position < late_sections.size() && late_sections[position])
            section->flags |= SEC_USED;
        ++position;
    }
}

// Whether the record of the symbol, if it gets one, is public: declared so, or by -p.
static bool is_published(const Symbol &symbol)
{
    constexpr uint16_t NEVER_PUBLIC =
        SYM_PREDEFINED | SYM_SET | SYM_REGISTER | SYM_LOCAL | SYM_LITERAL;
    const bool counts =
        (symbol.attrs & (ATTR_DEFINED | ATTR_REFERENCED)) || (symbol.flags & SYM_KEPT);
    const bool made_public = settings.all_public && (symbol.flags & NEVER_PUBLIC) == 0;
    return counts && (made_public || (symbol.attrs & ATTR_PUBLIC));
}

// Which old section numbers a symbol that counts for the object file refers to.
static std::vector<bool> find_needed_sections()
{
    std::vector<bool> needed(256);
    for (const Symbol *symbol : symbols_by_age) {
        if (settings.keep_locals || (symbol->attrs & (ATTR_REFERENCED | ATTR_PUBLIC)) ||
            is_published(*symbol))
            needed[symbol->section_number] = true;
    }
    return needed;
}

// Numbers the sections: those to keep first, since these are the object file's numbers, then the
// others. Gives the table from old numbers to new ones.
static std::vector<uint8_t> number_sections()
{
    const std::vector<bool> needed = find_needed_sections();
    mark_sections_of_debug_records(SEC_USED);
    std::vector<Section *> kept;
    std::vector<Section *> dropped;
    for (Section *section = section_list; section != nullptr; section = section->next) {
        if (section->number < needed.size() && needed[section->number])
            section->flags |= SEC_USED;
        (section->flags & SEC_USED ? kept : dropped).push_back(section);
    }
    section_count = static_cast<int32_t>(kept.size());
    for (Section *section : kept)
        section->flags |= SEC_NUMBERED;
    kept.insert(kept.end(), dropped.begin(), dropped.end());

    std::vector<uint8_t> new_numbers(256);
    uint16_t counter = 0;
    for (Section *section : kept) {
        ++counter;
        if (section->number < new_numbers.size())
            new_numbers[section->number] = static_cast<uint8_t>(counter);
        section->number = counter;
    }
    return new_numbers;
}

// Of a symbol that was defined twice no line is shown.
static uint32_t definition_line(const Symbol *symbol)
{
    return symbol->multiply_defined ? UINT32_MAX : symbol->def_line;
}

// The line to report an undefined symbol at: its first reference as far as known.
static uint32_t reference_line(const Symbol *symbol)
{
    if (symbol->ref_line != 0)
        return symbol->ref_line;
    return symbol->xref.is_used ? symbol->xref.first : definition_line(symbol);
}

static const char *symbol_file(const Symbol *symbol)
{
    return symbol->source_file != nullptr ? symbol->source_file : current_file_name();
}

static void report_symbol(const Symbol *symbol, uint32_t line, const char *message,
                          std::string_view text = {})
{
    symbol_in_report = symbol;
    print_direct_error(symbol_file(symbol), line, message, text);
    symbol_in_report = nullptr;
}

// Under -u the listing shows undefined symbols where they are used; here they only count.
static void report_undefined(Symbol *symbol)
{
    symbol->flags |= SYM_REPORTED;
    if (settings.undefined_in_listing)
        ++error_count;
    else
        report_symbol(symbol, reference_line(symbol), messages::NOT_DEFINED, symbol_name(*symbol));
}

static void report_public_alias(const Symbol *symbol)
{
    report_symbol(symbol, definition_line(symbol), messages::BAD_RELOCATABLE);
}

static bool is_undefined(const Symbol &symbol)
{
    if (symbol.attrs & (ATTR_DEFINED | ATTR_PUBLIC))
        return false;
    return (symbol.attrs & ATTR_REFERENCED) || (symbol.flags & SYM_TESTED) == 0;
}

static bool is_weak_definition(const Symbol &symbol)
{
    return (symbol.attrs & ATTR_DEFINED) && (symbol.flags & SYM_WEAK);
}

// An equate of a definition that a line below has declared weak goes by the symbol, in no section.
static void detach_from_weak(Symbol *symbol)
{
    constexpr uint16_t NO_EQUATE = SYM_LITERAL | SYM_ALIAS;
    if ((symbol->flags & NO_EQUATE) || symbol->link == nullptr ||
        !is_weak_definition(*symbol->link))
        return;
    symbol->flags |= SYM_ALIAS;
    symbol->section_number = 0;
    note_alias_change();
}

// Lets all links of a chain of aliases lead straight to its end.
static void shorten_chain(Symbol *symbol)
{
    if ((symbol->flags & SYM_ALIAS) == 0)
        return;
    Symbol *end = follow_alias(symbol->link);
    while ((symbol->flags & SYM_ALIAS) && symbol != end && symbol->link != end) {
        Symbol *next = symbol->link;
        symbol->link = end;
        symbol = next;
    }
}

// An alias of what has a place, or is no address at all, is none any more.
static void settle_alias(Symbol *symbol)
{
    const Symbol *target = symbol->link;
    if (target == nullptr || is_weak_definition(*target) ||
        (target->section_number == 0 && (target->attrs & ATTR_ABSOLUTE) == 0))
        return;
    symbol->section_number = target->section_number;
    symbol->flags &= static_cast<uint16_t>(~SYM_ALIAS);
    note_alias_change();
}

static bool may_be_alias(const Symbol *symbol)
{
    return (symbol->flags & SYM_ALIAS) || symbol->link != nullptr;
}

// Chains end at bit symbols, so these are settled first.
static void settle_aliases()
{
    if (std::ranges::none_of(symbols_by_age, may_be_alias))
        return;
    std::vector<Symbol *> aliases;
    for (Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        detach_from_weak(symbol);
        shorten_chain(symbol);
        if (symbol->flags & SYM_ALIAS)
            aliases.push_back(symbol);
    }
    for (const uint16_t bit : {SYM_BIT, uint16_t{0}}) {
        for (Symbol *symbol : aliases) {
            if ((symbol->flags & SYM_ALIAS) && (symbol->flags & SYM_BIT) == bit)
                settle_alias(symbol);
        }
    }
}

static void number_symbol(Symbol *symbol, bool report_at_once, uint32_t *counter)
{
    symbol->object_index = 0;
    const bool undefined = is_undefined(*symbol);
    if (undefined && report_at_once)
        report_undefined(symbol);
    else if ((symbol->attrs & (ATTR_DEFINED | ATTR_PUBLIC)) == 0)
        return;
    if ((symbol->flags & SYM_ALIAS) && (symbol->flags & SYM_KEPT) == 0) {
        // A public name can't stand for an external.
        if ((symbol->attrs & ATTR_PUBLIC) && report_at_once)
            report_public_alias(symbol);
        return;
    }
    if (is_published(*symbol)) {
        symbol->attrs |= ATTR_PUBLIC;
        symbol->object_index = ++*counter;
    } else {
        symbol->attrs &= static_cast<uint8_t>(~ATTR_PUBLIC);
    }
}

void resolve_symbols(bool report_at_once)
{
    keep_late_needs();
    settle_aliases();
    const std::vector<uint8_t> new_numbers = number_sections();
    auto counter = static_cast<uint32_t>(section_count);
    for (Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        number_symbol(symbol, report_at_once, &counter);
        symbol->section_number = new_numbers[symbol->section_number];
    }
}

// Whether a later pass put something into the section that has to do without a number.
static bool is_late(const Section &section)
{
    return (section.flags & (SEC_USED | SEC_LATE)) && (section.flags & SEC_NUMBERED) == 0;
}

static bool is_late(const Symbol &symbol)
{
    return symbol.object_index == 0 && (symbol.flags & SYM_ALIAS) == 0 && is_published(symbol) &&
           !is_undefined(symbol);
}

// Marks the sections that have no number though a symbol that counts lies in them.
static void mark_sections_of_symbols()
{
    std::vector<bool> needed = find_needed_sections();
    for (Section *section = section_list; section != nullptr; section = section->next) {
        if (section->number < needed.size() && needed[section->number])
            section->flags |= SEC_LATE;
    }
}

static bool find_late_sections()
{
    mark_sections_of_symbols();
    mark_sections_of_debug_records(SEC_LATE);
    bool any_new = false;
    size_t position = 0;
    for (const Section *section = section_list; section != nullptr; section = section->next) {
        late_sections.resize(std::max(late_sections.size(), position + 1));
        if (is_late(*section) && !late_sections[position]) {
            late_sections[position] = true;
            any_new = true;
        }
        ++position;
    }
    return any_new;
}

static bool find_late_symbols()
{
    bool any_new = false;
    for (const Symbol *symbol : symbols_by_age) {
        if (is_late(*symbol))
            any_new |= late_symbols.emplace(symbol_name(*symbol)).second;
        const bool numbered_alias = symbol->object_index != 0 && (symbol->flags & SYM_ALIAS);
        if (numbered_alias && symbol->link != nullptr && is_weak_definition(*symbol->link))
            any_new |= late_weak_symbols.emplace(symbol_name(*symbol->link)).second;
    }
    return any_new;
}

static bool was_used_last(const Symbol &symbol)
{
    return symbol.used_in + 1 == static_cast<uint32_t>(pass_number);
}

// A symbol that the last pass used, or that has a record, without having defined it.
static bool is_stale(const Symbol &symbol)
{
    constexpr uint16_t NEVER_STALE = SYM_PREDEFINED | SYM_REGISTER | SYM_LITERAL;
    const auto last_pass = static_cast<uint32_t>(pass_number) - 1;
    return (symbol.attrs & ATTR_DEFINED) && (symbol.flags & NEVER_STALE) == 0 &&
           symbol.defined_in != last_pass && (was_used_last(symbol) || symbol.object_index != 0);
}

static bool find_stale_symbols()
{
    bool any_new = false;
    for (const Symbol *symbol : symbols_by_age) {
        if (is_stale(*symbol) && (symbol->flags & SYM_LOCAL) == 0)
            any_new |= stale_symbols.emplace(symbol_name(*symbol)).second;
    }
    return any_new;
}

bool find_late_needs()
{
    const bool any_new_section = find_late_sections();
    const bool any_new_symbol = find_late_symbols();
    return find_stale_symbols() || any_new_symbol || any_new_section;
}

static bool is_late_undefined(const Symbol *symbol)
{
    const bool undefined = is_undefined(*symbol) && was_used_last(*symbol);
    return (undefined || is_stale(*symbol)) && (symbol->flags & SYM_REPORTED) == 0;
}

// What reports find is told in the order of the list; mostly there is nothing.
static bool none_is(bool (*is_reported)(const Symbol *))
{
    return std::ranges::none_of(symbols_by_age, is_reported);
}

void report_late_undefined()
{
    if (none_is(is_late_undefined))
        return;
    for (Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (is_late_undefined(symbol))
            report_undefined(symbol);
    }
}

static void report_late_sections()
{
    for (const Section *section = section_list; section != nullptr; section = section->next) {
        if (!is_late(*section))
            continue;
        record_error("section %.*s used before its definition", section_name(*section));
        pass_must_repeat = false;
        flush_error();
    }
}

// Numbers that no sizing pass could be brought to give, and public names that a later pass has made
// stand for an external.
static void report_unnumbered_symbols()
{
    const auto is_unnumbered = [](const Symbol *symbol) {
        const bool is_public = symbol->object_index != 0 || (symbol->attrs & ATTR_PUBLIC);
        return ((symbol->flags & SYM_ALIAS) && is_public) || is_late(*symbol);
    };
    if (none_is(is_unnumbered))
        return;
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (is_unnumbered(symbol))
            report_public_alias(symbol);
    }
}

// The record of a weak definition has one character more than the name, which its length byte must
// still hold.
static void report_long_weak_names()
{
    const auto is_too_long = [](const Symbol *symbol) {
        return symbol->object_index != 0 && is_weak_definition(*symbol) &&
               symbol->name_length == UINT8_MAX;
    };
    if (none_is(is_too_long))
        return;
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (is_too_long(symbol))
            report_symbol(symbol, definition_line(symbol), messages::BAD_SYMBOL_NAME,
                          symbol_name(*symbol));
    }
}

void report_broken_numbering()
{
    report_late_sections();
    report_unnumbered_symbols();
    report_long_weak_names();
}
