// The source never says whether an address is short or long: the value alone settles it, here. A
// size extension may be written after a pointer and is read over.

#include "target/operand.h"

#include "base/diagnostics.h"
#include "base/number.h"
#include "expr/lexer.h"
#include "output/layout_record.h"
#include "target/instruction_table.h"
#include <cstring>

static void skip_size_extension()
{
    if (!accept_token(TOK_DOT))
        return;
    const char size = lower_case(*line_cursor);
    if (size == 'e' || size == 'w')
        ++line_cursor;
    else
        record_error("bad size extension");
}

// Reads "[value]" after its opening bracket; true if the pointer is at a short address. Meanwhile
// a name can't swallow the "." of a size extension.
static bool parse_pointer(ExprValue *value)
{
    dot_in_names = false;
    parse_expression(value);
    const bool is_short = fits_byte(*value);
    skip_size_extension();
    dot_in_names = true;
    expect_token(TOK_RBRACKET);
    return is_short;
}

static uint8_t parse_register_index()
{
    const auto index = static_cast<uint8_t>(token_register);
    if (index != AM_X && index != AM_Y)
        record_error(messages::BAD_INDEX_REGISTER);
    expect_token(TOK_RPAREN);
    return index == AM_Y ? AM_IND_Y : AM_IND_X;
}

// Reads what stands ahead of the index register, from its first token, comma included. The result
// is AM_NONE, or the pointer's mode for the index x.
static uint8_t parse_offset(ExprValue *value, int32_t token)
{
    if (token == TOK_COMMA) {
        *value = {0, nullptr, 0, RELOC_ABSOLUTE};
        return AM_NONE;
    }
    uint8_t pointer = AM_NONE;
    if (token == TOK_LBRACKET) {
        pointer = parse_pointer(value) ? AM_PTR_SHORT_X : AM_PTR_LONG_X;
    } else {
        unget_token(token);
        parse_expression(value);
    }
    expect_token(TOK_COMMA);
    return pointer;
}

static uint8_t stack_mode(const ExprValue &value, uint8_t pointer)
{
    if (pointer != AM_NONE)
        record_error(messages::BAD_ADDRESSING_MODE);
    if (!fits_byte(value)) {
        record_error(messages::VALUE_TOO_LARGE);
        explain_range(value.value, 0, UINT8_MAX);
    }
    return AM_SHORT_SP;
}

// An explicit offset of 0 costs no byte. A relocatable one that happens to be 0 keeps its field.
static uint8_t indexed_mode(const ExprValue &value, uint8_t pointer, bool index_is_y)
{
    if (pointer != AM_NONE)
        return static_cast<uint8_t>(pointer + (index_is_y ? 1 : 0));
    if (value.reloc == RELOC_ABSOLUTE && value.value == 0) {
        record_use(value);
        return index_is_y ? AM_IND_Y : AM_IND_X;
    }
    if (value.reloc == RELOC_ABSOLUTE)
        record_decision(value, 1, UINT32_MAX);
    if (fits_byte(value))
        return index_is_y ? AM_SHORT_Y : AM_SHORT_X;
    return index_is_y ? AM_LONG_Y : AM_LONG_X;
}

// Reads an indexed operand after its opening parenthesis.
static uint8_t parse_indexed(ExprValue *value)
{
    const int32_t token = next_token();
    if (token == TOK_REGISTER)
        return parse_register_index();
    const uint8_t pointer = parse_offset(value, token);
    expect_token(TOK_REGISTER);
    const auto index = static_cast<uint8_t>(token_register);
    if (index != AM_X && index != AM_Y && index != AM_SP)
        record_error(messages::BAD_INDEX_REGISTER);
    expect_token(TOK_RPAREN);
    if (index == AM_SP)
        return stack_mode(*value, pointer);
    return indexed_mode(*value, pointer, index == AM_Y);
}

static uint8_t direct_mode(const ExprValue &value)
{
    if (value.reloc == RELOC_ABSOLUTE && value.value > UINT16_MAX) {
        record_decision(value, UINT16_MAX + 1, UINT32_MAX);
        return AM_FAR;
    }
    if (value.reloc == RELOC_ABSOLUTE)
        record_decision(value, 0, UINT16_MAX);
    return fits_byte(value) ? AM_SHORT : AM_LONG;
}

uint8_t parse_operand(ExprValue *value)
{
    const int32_t token = next_token();
    switch (token) {
    case TOK_HASH:
        parse_expression(value);
        return fits_signed_byte(*value) ? AM_IMM8 : AM_IMM16;
    case TOK_REGISTER:
        return static_cast<uint8_t>(token_register);
    case TOK_LBRACKET:
        return parse_pointer(value) ? AM_PTR_SHORT : AM_PTR_LONG;
    case TOK_LPAREN:
        return parse_indexed(value);
    default:
        unget_token(token);
        parse_expression(value);
        return direct_mode(*value);
    }
}
