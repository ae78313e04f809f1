// Every pass defines all symbols anew, each with the values of its time: that is how forward
// references settle.

#include "stmt/symbol_directives.h"

#include "base/diagnostics.h"
#include "base/memory.h"
#include "base/pass_state.h"
#include "base/settings.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/name_places.h"
#include "expr/symbol_table.h"
#include "listing/listing.h"
#include "output/emission.h"
#include "output/layout_record.h"
#include "output/section_table.h"
#include "stmt/statement.h"

// Arguments of equate_directive.
constexpr uint8_t EQUATE = 0;
constexpr uint8_t SET = 1;

// A definition as it is written: name, value, and the number of the bit if there is one.
struct Definition {
    std::string_view name;
    ExprValue value;
    bool has_bit;
    uint32_t bit;
};

// Reads ":bit" if it follows.
static void read_bit_number(Definition *definition)
{
    if (!accept_token(TOK_COLON))
        return;
    ExprValue bit;
    parse_expression(&bit);
    if (bit.reloc != RELOC_ABSOLUTE || bit.value >= 8)
        record_error(messages::INVALID_BIT_NUMBER);
    record_use(bit);
    definition->has_bit = true;
    definition->bit = bit.value;
}

// Reads "name value" of #define; the value is 1 if it is left out. False without a name.
static bool read_define(Definition *definition)
{
    skip_blanks();
    definition->name = scan_name();
    if (definition->name.empty()) {
        force_error(messages::MISSING_LABEL);
        return false;
    }
    number_suffixes_allowed = true;
    if (accept_token(TOK_END)) {
        definition->value = {1, nullptr, 0, RELOC_ABSOLUTE};
        number_suffixes_allowed = false;
        return true;
    }
    parse_expression(&definition->value);
    number_suffixes_allowed = false;
    read_bit_number(definition);
    return true;
}

// Puts the bit number below the address, and marks the symbol.
static void apply_bit_number(Definition *definition, Symbol *symbol)
{
    ExprValue *value = &definition->value;
    value->cell = record_computation(TOK_SHL, *value, {3, nullptr, 0, RELOC_ABSOLUTE});
    value->value <<= 3;
    const ExprValue bit = {definition->bit, nullptr, 0, RELOC_ABSOLUTE};
    value->cell = record_computation(TOK_OR, *value, bit);
    value->value |= definition->bit;
    if ((symbol->flags & SYM_BIT) == 0)
        note_alias_change();
    symbol->flags |= SYM_BIT;
}

static bool has_flag(const Symbol *symbol, uint16_t flag)
{
    return symbol != nullptr && (symbol->flags & flag) != 0;
}

static void end_alias(Symbol *symbol)
{
    if (has_flag(symbol, SYM_ALIAS))
        note_alias_change();
    symbol->flags &= static_cast<uint16_t>(~SYM_ALIAS);
}

// The listing shows the value in the place of the bytes.
static void list_value(uint32_t value)
{
    if (!lists_line())
        return;
    listed_line.shows_address = LineAddress::NEVER;
    for (int shift = 24; shift >= 0; shift -= 8)
        note_line_byte(static_cast<uint8_t>(value >> shift));
}

// A literal keeps its text where others have the link; the two meet in one name only by an error.
static void set_link(Symbol *symbol, Symbol *base)
{
    if ((symbol->flags & SYM_LITERAL) == 0)
        symbol->link = base;
}

// What stands above has taken the symbol for undefined, or for an address.
static void note_definition_of_constant(Symbol *symbol)
{
    note_late_definition(symbol);
    if (pass_number == 0 || (symbol->attrs & (ATTR_DEFINED | ATTR_ABSOLUTE)) != ATTR_DEFINED)
        return;
    note_unlike_passes();
    if (uses_must_settle())
        request_another_pass();
}

// An absolute equate asks for no further pass when its value changes: only places do.
static void define_absolute(Definition *definition, Symbol *symbol, bool is_set)
{
    if (definition->has_bit) {
        if (has_flag(definition->value.symbol, SYM_BIT))
            record_error(messages::INVALID_BIT_DEFINITION);
        apply_bit_number(definition, symbol);
    }
    note_definition_of_constant(symbol);
    record_assignment(symbol, definition->value);
    symbol->value = definition->value.value;
    symbol->attrs |= ATTR_DEFINED | ATTR_ABSOLUTE;
    end_alias(symbol);
    set_link(symbol, nullptr);
    if (pass_number == 0 && is_set)
        symbol->flags |= SYM_SET;
    else if (pass_number == 0 && settings.equates_public)
        symbol->attrs |= ATTR_PUBLIC;
    list_value(symbol->value);
}

// The value names a symbol that no section holds: one further down, an external, a weak one.
static void define_alias(const Definition &definition, Symbol *symbol)
{
    Symbol *base = definition.value.symbol;
    if (base == symbol) {
        record_error("recursive definition of symbol %.*s", definition.name);
        return;
    }
    if (symbol->flags & SYM_LITERAL)
        return;
    if (uses_must_settle() && ((symbol->flags & SYM_ALIAS) == 0 || symbol->link != base))
        request_another_pass();
    if (follow_alias(symbol) != base)
        note_alias_change();
    symbol->flags |= SYM_ALIAS;
    symbol->link = base;
}

// Whether the symbol is an equate of a place.
static bool is_equate(const Symbol *symbol)
{
    constexpr uint16_t NO_LINK = SYM_LITERAL | SYM_ALIAS;
    return symbol != nullptr && (symbol->flags & NO_LINK) == 0 && symbol->link != nullptr;
}

// The value is a place in a section. Links of such equates lead straight to the label.
static void define_place(const Definition &definition, Symbol *symbol)
{
    Symbol *base = definition.value.symbol;
    end_alias(symbol);
    set_link(symbol, is_equate(base) ? base->link : base);
}

static void define_relocatable(Definition *definition, Symbol *symbol)
{
    const Symbol *base = definition->value.symbol;
    if (definition->has_bit) {
        if (has_flag(base, SYM_BIT) || (base != nullptr && (base->attrs & ATTR_BIT)))
            record_error(messages::INVALID_BIT_DEFINITION);
        apply_bit_number(definition, symbol);
    }
    const ExprValue &value = definition->value;
    record_equate(symbol, value);
    const uint8_t place = base != nullptr ? base->attrs : current_section->attributes;
    move_symbol(symbol, value.value, value.section_number, place & ATTR_FROM_SECTION);
    if (value.section_number != 0)
        define_place(*definition, symbol);
    else
        define_alias(*definition, symbol);
}

static void equate_directive(const Statement &statement)
{
    const bool is_set = statement.keyword->argument == SET;
    Definition definition{};
    if (statement.keyword->flags & KW_NEEDS_LABEL) {
        definition.name = statement.label;
        parse_expression(&definition.value);
        read_bit_number(&definition);
    } else if (!read_define(&definition)) {
        return;
    }

    Symbol *symbol = find_symbol(definition.name);
    if ((symbol->flags & SYM_LOCAL) == 0)
        note_definition(symbol, definition.name);
    const bool may_redefine = is_set && (symbol->flags & SYM_SET);
    if (pass_number == 0 && (symbol->attrs & ATTR_DEFINED) && !may_redefine) {
        report_multiply_defined(symbol, definition.name);
        return;
    }
    if (symbol->flags & SYM_REGISTER)
        return;
    if (definition.value.reloc == RELOC_ABSOLUTE)
        define_absolute(&definition, symbol, is_set);
    else if (is_set)
        record_error(messages::RELOCATABLE_NOT_ALLOWED);
    else
        define_relocatable(&definition, symbol);
}

// The room for a literal's text is measured by its length byte as a signed number. A text of 128
// characters or more thus asks for an impossible size.
static char *copy_literal_text()
{
    if (token_length() < 0)
        out_of_memory();
    return copy_text({token_text(), static_cast<size_t>(token_length())});
}

static void literal_directive(const Statement &statement)
{
    if (next_token() != TOK_STRING) {
        record_error("bad literal definition");
        return;
    }
    Symbol *symbol = find_symbol(statement.label);
    note_definition(symbol, statement.label);
    // Later passes know the text already.
    if (pass_number != 0)
        return;
    if (symbol->attrs & (ATTR_DEFINED | ATTR_REFERENCED)) {
        report_multiply_defined(symbol, statement.label);
        return;
    }
    symbol->literal = copy_literal_text();
    symbol->attrs |= ATTR_DEFINED;
    symbol->flags |= SYM_LITERAL;
}

// What the directives of the external family say of their symbols: their arguments.
enum External : uint8_t { BYTE, WORD, DEFAULT, LONG, BIT, BYTE_BIT, WEAK };

static uint8_t external_attributes(uint8_t external)
{
    const uint8_t code = default_section_attributes & SECATTR_CODE ? ATTR_CODE : uint8_t{0};
    switch (external) {
    case BYTE:
        return ATTR_ZPAGE;
    case WORD:
        return 0;
    case LONG:
        return ATTR_LONG | code;
    case BIT:
        return ATTR_BIT;
    case BYTE_BIT:
        return ATTR_BIT | ATTR_ZPAGE;
    default:
        return (default_section_attributes & SECATTR_LONG ? ATTR_LONG : uint8_t{0}) | code;
    }
}

static void declare_external(const Statement &statement, std::string_view name)
{
    Symbol *symbol = find_symbol(name);
    if (symbol->flags & (SYM_REGISTER | SYM_LOCAL)) {
        record_error(messages::BAD_SYMBOL_NAME, name);
        return;
    }
    const uint8_t external = statement.keyword->argument;
    note_declaration_place(symbol, statement.word);
    note_first_definition(symbol);
    const Symbol before = *symbol;
    symbol->attrs |= ATTR_PUBLIC;
    if (external == WEAK)
        symbol->flags |= SYM_WEAK;
    if (symbol->section_number == 0 && (symbol->attrs & ATTR_ABSOLUTE) == 0) {
        symbol->declared_attrs |= external_attributes(external);
        symbol->attrs |= symbol->declared_attrs;
    }
    // What stands above in a pass that is the first to tell so has taken the symbol for another
    // kind.
    const bool changed = symbol->attrs != before.attrs || symbol->flags != before.flags;
    const bool was_used = (symbol->attrs & ATTR_REFERENCED) != 0;
    if (changed && (was_used || pass_number != 0))
        spoil_layout_record();
    if (changed && was_used && uses_must_settle())
        request_another_pass();
}

static void external_directive(const Statement &statement)
{
    current_is_debug = false;
    for (;;) {
        skip_blanks();
        const std::string_view name = scan_name();
        if (name.empty())
            record_error(messages::MISSING_LABEL);
        else
            declare_external(statement, name);
        skip_blanks();
        if (*line_cursor != ',')
            return;
        ++line_cursor;
    }
}

static void local_directive(const Statement &statement)
{
    ++scope_number;
    note_scope(scope_number, statement.word);
}

// The value after the name; 1 unless it is written.
static uint32_t read_defined_value()
{
    if (next_token() != TOK_EQ)
        return 1;
    ExprValue value;
    parse_expression(&value);
    if (next_token() != TOK_END)
        record_error(messages::BAD_COMMENT);
    else if (value.reloc != RELOC_ABSOLUTE)
        record_error(messages::RELOCATABLE_NOT_ALLOWED);
    return value.value;
}

// Runs ahead of the first pass, where errors are not recorded: a text that makes no sense is taken
// without a word, with whatever value was read.
bool define_from_text(const char *text)
{
    line_cursor = text;
    const std::string_view name = scan_name();
    if (!name.empty()) {
        reset_lexer();
        const uint32_t value = read_defined_value();
        Symbol *symbol = find_symbol(name);
        if (symbol->attrs & ATTR_DEFINED)
            record_error(messages::MULTIPLY_DEFINED, name);
        if ((symbol->flags & SYM_REGISTER) == 0) {
            symbol->value = value;
            symbol->attrs |= ATTR_DEFINED | ATTR_ABSOLUTE;
            symbol->section_number = 0;
            symbol->flags |= SYM_PREDEFINED;
        }
    }
    return flush_error();
}

std::span<const DirectiveRow> symbol_directives()
{
    static constexpr DirectiveRow rows[] = {
        {"equ", equate_directive, EQUATE, KW_LABELED},
        {"set", equate_directive, SET, KW_LABELED},
        {"#define", equate_directive, EQUATE, KW_PLAIN},
        {"lit", literal_directive, 0, KW_LABELED},
        {"xref.b", external_directive, BYTE, KW_PLAIN},
        {"xrefb", external_directive, BYTE, KW_PLAIN},
        {"xref.w", external_directive, WORD, KW_PLAIN},
        {"xdef", external_directive, DEFAULT, KW_PLAIN},
        {"xref", external_directive, DEFAULT, KW_PLAIN},
        {"xref.l", external_directive, LONG, KW_PLAIN},
        {"xbit", external_directive, BIT, KW_PLAIN},
        {"xbit.w", external_directive, BIT, KW_PLAIN},
        {"xbit.b", external_directive, BYTE_BIT, KW_PLAIN},
        {"wdef", external_directive, WEAK, KW_PLAIN},
        {"local", local_directive, 0, KW_PLAIN},
    };
    return rows;
}
