// Operator precedence climbing over the token stream. There is no tree and nothing is deferred:
// what can't be told in this pass gets its best present value, and the next pass evaluates the text
// again.

#include "expr/evaluator.h"

#include "base/diagnostics.h"
#include "base/memory.h"
#include "base/number.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/settings.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "output/layout_record.h"
#include "output/section_table.h"

// Operands nest only as deep as a line and its literals let them; deeper ones would exhaust the
// stack, which ends the run as exhausted memory does.
constexpr int32_t NESTING_MAX = 2000;
static int32_t expression_nesting;
uint32_t address_page_bits;

// Levels of the binary operators, by the low five bits of the token. 0: no such operator.
static constexpr uint8_t precedence[32] = {
    0, 14, 14, 14, 13, 13, 12, 12, 11, 11, 11, 11, 10, 10, 9, 8, 7, 6, 5,
};

static void parse_primary(ExprValue *out);

static uint8_t level_of(int32_t token)
{
    return precedence[token & 0x1F];
}

static bool is_binary(int32_t token)
{
    return (token & TOKEN_BINARY) != 0;
}

static bool is_relocatable(const ExprValue &value)
{
    return value.reloc != RELOC_ABSOLUTE;
}

static bool selects_part(const ExprValue &value)
{
    return (value.reloc & RELOC_PART) != 0;
}

static void set_absolute(ExprValue *out, uint32_t value)
{
    *out = {value, nullptr, 0, RELOC_ABSOLUTE};
}

void expect_token(int32_t token)
{
    if (!accept_token(token))
        record_error(messages::SYNTAX_ERROR);
}

static bool fits(const ExprValue &value, int32_t lowest)
{
    if (is_relocatable(value))
        return selects_part(value) || value.reloc == RELOC_ZPAGE;
    const auto number = static_cast<int32_t>(value.value);
    const bool in_range = number >= lowest && number <= 255;
    if (in_range)
        record_decision(value, static_cast<uint32_t>(lowest), 255);
    else
        record_decision(value, 256, static_cast<uint32_t>(lowest - 1));
    return in_range;
}

bool fits_signed_byte(const ExprValue &value)
{
    return fits(value, -256);
}

bool fits_byte(const ExprValue &value)
{
    return fits(value, 0);
}

// The right operand's relocation wins, after an error too.
static void add_relocatable(ExprValue *left, const ExprValue &right)
{
    left->value += right.value;
    if (is_relocatable(right)) {
        if (is_relocatable(*left) || selects_part(right))
            record_error(messages::BAD_RELOCATABLE);
        left->reloc = right.reloc;
        left->section_number = right.section_number;
        left->symbol = right.symbol;
    } else if (selects_part(*left)) {
        record_error(messages::BAD_RELOCATABLE);
    }
}

static void subtract_relocatable(ExprValue *left, const ExprValue &right)
{
    left->value -= right.value;
    if (!is_relocatable(*left)) {
        record_error(messages::BAD_RELOCATABLE);
    } else if (is_relocatable(right)) {
        // The distance of two places in one section is a number. Part selections are not looked at.
        const bool known = left->section_number == right.section_number &&
                           !lacks_definition(left->symbol) && !lacks_definition(right.symbol);
        if (!known && !record_early_distance(*left, right))
            record_error(messages::BAD_RELOCATABLE);
        set_absolute(left, left->value);
    } else if (selects_part(*left)) {
        record_error(messages::BAD_RELOCATABLE);
    }
}

static void apply_operator(ExprValue *left, int32_t token, const ExprValue &right)
{
    const uint32_t cell = record_computation(token, *left, right);
    if (!is_relocatable(*left) && !is_relocatable(right))
        left->value = compute(token, left->value, right.value);
    else if (token == TOK_PLUS)
        add_relocatable(left, right);
    else if (token == TOK_MINUS)
        subtract_relocatable(left, right);
    else
        record_error(messages::BAD_RELOCATABLE);
    left->cell = cell;
}

// Applies the operator to a number that may move.
static void apply_to_number(ExprValue *out, int32_t token, uint32_t right)
{
    out->cell = record_computation(token, *out, {right, nullptr, 0, RELOC_ABSOLUTE});
    out->value = compute(token, out->value, right);
}

// Applies the operators that follow to `left`, as long as their level is above `floor`.
static void climb(uint8_t floor, ExprValue *left)
{
    for (;;) {
        const int32_t token = peek_token();
        if (!is_binary(token) || level_of(token) <= floor)
            return;
        next_token();
        ExprValue right;
        parse_primary(&right);
        climb(level_of(token), &right);
        apply_operator(left, token, right);
    }
}

void parse_expression(ExprValue *out)
{
    parse_primary(out);
    if (is_binary(peek_token()))
        climb(0, out);
}

static void parse_unary(ExprValue *out, int32_t token)
{
    parse_primary(out);
    if (is_relocatable(*out))
        record_error(messages::BAD_RELOCATABLE);
    if (token == TOK_NOT) {
        apply_to_number(out, TOK_EQ, 0);
    } else if (token == TOK_COMPLEMENT) {
        apply_to_number(out, TOK_XOR, UINT32_MAX);
    } else if (token == TOK_MINUS) {
        out->cell = record_computation(TOK_MINUS, {0, nullptr, 0, RELOC_ABSOLUTE}, *out);
        out->value = 0 - out->value;
    }
}

// The last four characters count, the first of them highest. The length byte reads as a signed
// number, so a string of 128 characters or more is 0 without an error.
static uint32_t character_constant()
{
    if (token_length() > 4)
        record_error("bad character constant");
    uint32_t value = 0;
    for (int32_t i = 0; i < token_length(); ++i)
        value = (value << 8) + static_cast<unsigned char>(token_text()[i]);
    return value;
}

static uint32_t prefixed_number(int32_t prefix)
{
    while (is_space(*line_cursor))
        ++line_cursor;
    uint32_t base = 2;
    if (prefix == TOK_AT)
        base = 8;
    else if (prefix == TOK_DOLLAR)
        base = 16;
    uint32_t value;
    const char *end = parse_number(line_cursor, &value, base);
    if (end == line_cursor)
        record_error(messages::BAD_CONSTANT);
    line_cursor = end;
    return value;
}

// What the kind of a place in the current section is.
static uint8_t section_reloc(const Section *section)
{
    if (section->attributes & SECATTR_ABS)
        return RELOC_ABSOLUTE;
    return section->attributes & SECATTR_LONG ? RELOC_LONG : RELOC_NORMAL;
}

static void location_counter(ExprValue *out)
{
    // On the command line there is no section yet.
    if (current_section == nullptr) {
        set_absolute(out, 0);
        return;
    }
    *out = {current_location(), nullptr, static_cast<uint8_t>(current_section->number),
            section_reloc(current_section), record_location()};
}

static uint8_t symbol_reloc(const Symbol *symbol)
{
    if (symbol->attrs & ATTR_ABSOLUTE)
        return RELOC_ABSOLUTE;
    if (symbol->attrs & ATTR_ZPAGE)
        return RELOC_ZPAGE;
    return symbol->attrs & ATTR_LONG ? RELOC_LONG : RELOC_NORMAL;
}

static void note_use(Symbol *symbol)
{
    symbol->attrs |= ATTR_REFERENCED;
    symbol->used_in = static_cast<uint32_t>(pass_number);
}

static void note_reference(Symbol *symbol)
{
    note_use(symbol);
    if (symbol->ref_line == 0) {
        const SourcePosition position = source_position();
        symbol->ref_line = position.line;
        symbol->source_file = position.file;
    }
    // Without -u an undefined symbol is reported once, at the end of the sizing pass.
    if (pass_number != 0 && settings.undefined_in_listing &&
        (symbol->attrs & (ATTR_DEFINED | ATTR_PUBLIC)) == 0)
        record_error(messages::NOT_DEFINED, symbol_name(*symbol));
}

static void symbol_value(ExprValue *out, Symbol *symbol)
{
    note_reference(symbol);
    out->value = symbol->value;
    out->section_number = symbol->section_number;
    // A weak definition may be replaced by another file's: it is reached through the linker.
    if ((symbol->attrs & ATTR_DEFINED) && (symbol->flags & SYM_WEAK)) {
        out->value = 0;
        out->section_number = 0;
    }
    out->reloc = symbol_reloc(symbol);
    out->symbol = follow_alias(symbol);
    out->cell = record_read(symbol);
}

static uint32_t string_length()
{
    if (next_token() != TOK_STRING)
        record_error(messages::SYNTAX_ERROR);
    expect_token(TOK_RPAREN);
    return static_cast<uint32_t>(token_length());
}

static uint32_t defined_test()
{
    bool defined = false;
    if (next_token() == TOK_SYMBOL)
        defined = is_defined_above(token_symbol);
    else
        record_error(messages::MISSING_STRING);
    expect_token(TOK_RPAREN);
    return defined;
}

static void take_low(ExprValue *out)
{
    if (selects_part(*out))
        record_error(messages::BAD_RELOCATABLE);
    if (is_relocatable(*out))
        out->reloc = RELOC_ZPAGE;
    else
        apply_to_number(out, TOK_AND, 0xFF);
}

static void take_number_part(ExprValue *out, bool high)
{
    apply_to_number(out, TOK_SHR, high ? 8 : address_page_bits);
    if (high)
        apply_to_number(out, TOK_AND, 0xFF);
}

// `high`, `page`, `phigh` and `plow`. A relocatable value keeps its number: the linker takes the
// part. The bits are set after an error, too.
static void take_part(ExprValue *out, int32_t function)
{
    const bool paged = function == TOK_PHIGH || function == TOK_PLOW;
    if (selects_part(*out) || (paged && !is_relocatable(*out)))
        record_error(messages::BAD_RELOCATABLE);
    if (function == TOK_PLOW)
        out->reloc |= RELOC_PLOW;
    else if (function == TOK_PHIGH)
        out->reloc |= RELOC_HIGH | RELOC_PLOW;
    else if (is_relocatable(*out))
        out->reloc |= function == TOK_HIGH ? RELOC_HIGH : RELOC_PAGE;
    else
        take_number_part(out, function == TOK_HIGH);
}

static void parse_function(ExprValue *out, int32_t function)
{
    parse_expression(out);
    expect_token(TOK_RPAREN);
    if (function == TOK_LOW)
        take_low(out);
    else
        take_part(out, function);
}

static void parse_operand_token(ExprValue *out, int32_t token)
{
    switch (token) {
    case TOK_NOT:
    case TOK_COMPLEMENT:
    case TOK_PLUS:
    case TOK_MINUS:
        parse_unary(out, token);
        break;
    case TOK_STRING:
        set_absolute(out, character_constant());
        break;
    case TOK_AT:
    case TOK_DOLLAR:
    case TOK_PERCENT:
        set_absolute(out, prefixed_number(token));
        break;
    case TOK_NUMBER:
        set_absolute(out, token_number);
        break;
    case TOK_LPAREN:
        parse_expression(out);
        expect_token(TOK_RPAREN);
        break;
    case TOK_STAR:
        location_counter(out);
        break;
    case TOK_LT: // takes the whole expression that follows, not one operand
        parse_expression(out);
        take_low(out);
        break;
    case TOK_GT:
        parse_expression(out);
        break;
    case TOK_SYMBOL:
        symbol_value(out, token_symbol);
        break;
    case TOK_STRLEN:
        set_absolute(out, string_length());
        break;
    case TOK_DEFINED:
        set_absolute(out, defined_test());
        break;
    case TOK_PAGE:
    case TOK_HIGH:
    case TOK_LOW:
    case TOK_PHIGH:
    case TOK_PLOW:
        parse_function(out, token);
        break;
    default:
        record_error(messages::SYNTAX_ERROR);
        set_absolute(out, 0);
        break;
    }
}

// An operand that may hold others.
[[gnu::noinline]] static void parse_nested(ExprValue *out, int32_t token)
{
    if (++expression_nesting > NESTING_MAX)
        out_of_memory();
    parse_operand_token(out, token);
    --expression_nesting;
}

// Reads one operand with its unary operators, which bind tighter than any binary one. Numbers and
// names, nearly all there are, hold no others, and count only where they would be too deep.
static void parse_primary(ExprValue *out)
{
    const int32_t token = next_token();
    const bool has_room = expression_nesting < NESTING_MAX;
    if (token == TOK_NUMBER && has_room)
        set_absolute(out, token_number);
    else if (token == TOK_SYMBOL && has_room)
        symbol_value(out, token_symbol);
    else
        parse_nested(out, token);
}

void reset_evaluator()
{
    expression_nesting = 0;
}

uint32_t parse_simple_value()
{
    const int32_t token = next_token();
    switch (token) {
    case TOK_AT:
    case TOK_DOLLAR:
    case TOK_PERCENT:
        return prefixed_number(token);
    case TOK_NUMBER:
        return token_number;
    case TOK_SYMBOL:
        note_use(token_symbol);
        return token_symbol->value;
    case TOK_STAR:
        return current_location();
    default:
        unget_token(token);
        record_error(messages::SYNTAX_ERROR);
        return 0;
    }
}

static void base_directive(const Statement &)
{
    ExprValue value;
    parse_expression(&value);
    if (is_relocatable(value))
        record_error(messages::RELOCATABLE_NOT_ALLOWED);
    record_use(value);
    switch (value.value) {
    case 2:
    case 8:
    case 10:
    case 16:
        default_base = value.value;
        break;
    default:
        record_error("invalid base");
        break;
    }
}

std::span<const DirectiveRow> base_directives()
{
    static constexpr DirectiveRow rows[] = {
        {"base", base_directive, 0, KW_PLAIN},
    };
    return rows;
}
