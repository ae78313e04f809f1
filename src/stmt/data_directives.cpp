// Data goes through the same functions as code; in the sizing pass these only count.

#include "stmt/data_directives.h"

#include "driver/memory.h"
#include "driver/passes.h"
#include "driver/settings.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "listing/diagnostics.h"
#include "listing/listing.h"
#include "output/section_table.h"
#include "stmt/statement.h"
#include "target/emission.h"

// Data ends the offset section: the line is listed at the address in the real one.
static void leave_offset_for_data()
{
    if (leave_offset_section() && list_state == LIST_ON)
        mark_line(MARK_ADDRESS);
}

// From the label to the end of the last data behind it, over several directives.
static void note_data_size()
{
    if (debug_lines && last_label != nullptr)
        last_label->data_size = current_location() - last_label->value;
}

// The padding goes in front, so that the string ends on an item boundary. A string shorter than an
// item gets none.
static void pad_string(uint32_t item_size)
{
    const uint32_t string_length = token_number;
    if (item_size == 1 || string_length < item_size)
        return;
    while (current_location() % item_size != 0)
        emit_byte(static_cast<uint32_t>(fill_byte));
    const uint32_t rest = string_length % item_size;
    if (rest != 0)
        emit_fill(static_cast<uint32_t>(fill_byte), item_size - rest);
}

static void emit_string()
{
    for (const char *c = token_text(); *c != '\0'; ++c)
        emit_byte(static_cast<unsigned char>(*c));
}

static void emit_item(const ExprValue &value, uint32_t item_size)
{
    if (item_size == 4)
        emit_long(value);
    else
        emit_value(value, item_size == 1);
}

static void emit_expression_item(uint32_t item_size)
{
    ExprValue value;
    parse_expression(&value);
    if (item_size == 1 && !opt_old_syntax && !fits_signed_byte(value))
        record_error(MSG_VALUE_TOO_LARGE);
    emit_item(value, item_size);
}

void data_directive(Keyword *keyword, const char *, uint32_t)
{
    const uint32_t item_size = keyword->argument;
    leave_offset_for_data();
    int32_t token;
    do {
        token = next_token();
        if (token == TOK_STRING) {
            pad_string(item_size);
            emit_string();
        } else {
            unget_token(token);
            emit_expression_item(item_size);
        }
        token = next_token();
    } while (token == TOK_COMMA);
    unget_token(token);
    note_data_size();
}

// The number of copies; 0 after an error.
static uint32_t parse_count()
{
    ExprValue count;
    parse_expression(&count);
    if (count.reloc != RELOC_ABSOLUTE) {
        record_error(MSG_RELOCATABLE_NOT_ALLOWED);
        return 0;
    }
    if (static_cast<int32_t>(count.value) < 0) {
        record_error(MSG_VALUE_TOO_LARGE);
        return 0;
    }
    return count.value;
}

void fill_directive(Keyword *keyword, const char *, uint32_t)
{
    const uint32_t item_size = keyword->argument;
    leave_offset_for_data();
    uint32_t count = parse_count();
    expect_token(TOK_COMMA);
    ExprValue value;
    parse_expression(&value);
    if (item_size == 1 && !fits_signed_byte(value))
        record_error(MSG_BAD_RELOCATABLE);
    if (pass_number == 0 || (current_section->attributes & SECATTR_BSS)) {
        emit_fill(0, count * item_size);
    } else if (item_size == 1 && value.reloc == RELOC_ABSOLUTE) {
        emit_fill(value.value, count);
    } else {
        require_memory(uint64_t{count} * item_size);
        while (count-- != 0)
            emit_item(value, item_size);
    }
    note_data_size();
}

static void reserve(uint32_t size)
{
    if (current_section->name_length == 0)
        current_section->size += size;
    else
        emit_fill(static_cast<uint32_t>(fill_byte), size);
}

void reserve_directive(Keyword *keyword, const char *, uint32_t)
{
    const int32_t lowest = opt_old_syntax ? 0 : 1;
    ExprValue size;
    parse_expression(&size);
    if (size.reloc != RELOC_ABSOLUTE)
        record_error(MSG_RELOCATABLE_NOT_ALLOWED);
    else if (static_cast<int32_t>(size.value) < lowest)
        record_error("illegal size", 0, nullptr);
    else
        reserve(size.value << keyword->argument);
    note_data_size();
}
