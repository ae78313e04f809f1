// Data goes through the same functions as code; in the sizing pass these only count.

#include "stmt/data_directives.h"

#include "base/diagnostics.h"
#include "base/line_context.h"
#include "base/memory.h"
#include "base/pass_state.h"
#include "base/settings.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "listing/listing.h"
#include "output/debug_info.h"
#include "output/emission.h"
#include "output/layout_record.h"
#include "output/section_table.h"
#include "stmt/statement.h"

// Data ends the offset section: the line is listed at the address in the real one.
static void leave_offset_for_data()
{
    if (leave_offset_section() && lists_line())
        listed_line.address = current_location();
}

// From the label to the end of the last data after it, over several directives.
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
    const uint32_t padding = padding_to(item_size);
    record_alignment(item_size, padding);
    emit_fill(static_cast<uint32_t>(settings.fill_byte), padding);
    const uint32_t rest = string_length % item_size;
    if (rest != 0)
        emit_fill(static_cast<uint32_t>(settings.fill_byte), item_size - rest);
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

static void explain_byte(const ExprValue &value)
{
    if (value.reloc == RELOC_ABSOLUTE)
        explain_range(value.value, -256, UINT8_MAX);
    else
        explain_error("an address has two bytes: write dc.w name, or dc.b low(name)");
}

static void warn_of_cut_item(const ExprValue &value, uint32_t item_size)
{
    if (item_size == 2 && keeps_contexts())
        warn_of_cut_word(value);
}

static void emit_expression_item(uint32_t item_size)
{
    ExprValue value;
    parse_expression(&value);
    if (item_size == 1 && !settings.opt_old_syntax && !fits_signed_byte(value)) {
        record_error(messages::VALUE_TOO_LARGE);
        explain_byte(value);
    }
    warn_of_cut_item(value, item_size);
    emit_item(value, item_size);
}

static void data_directive(const Statement &statement)
{
    const uint32_t item_size = statement.keyword->argument;
    leave_offset_for_data();
    if (keeps_contexts())
        warn_of_lost_bytes();
    do {
        if (accept_token(TOK_STRING)) {
            pad_string(item_size);
            emit_string();
        } else {
            emit_expression_item(item_size);
        }
    } while (accept_token(TOK_COMMA));
    note_data_size();
}

// The number of copies; 0 after an error.
static ExprValue parse_count()
{
    constexpr ExprValue NONE = {0, nullptr, 0, RELOC_ABSOLUTE};
    ExprValue count;
    parse_expression(&count);
    if (count.reloc != RELOC_ABSOLUTE) {
        record_error(messages::RELOCATABLE_NOT_ALLOWED);
        return NONE;
    }
    if (static_cast<int32_t>(count.value) < 0) {
        record_error(messages::VALUE_TOO_LARGE);
        explain_range(count.value, 0, INT32_MAX);
        return NONE;
    }
    record_decision(count, 0, INT32_MAX);
    return count;
}

static void fill_directive(const Statement &statement)
{
    const uint32_t item_size = statement.keyword->argument;
    leave_offset_for_data();
    if (keeps_contexts())
        warn_of_lost_bytes();
    const ExprValue copies = parse_count();
    expect_token(TOK_COMMA);
    ExprValue value;
    parse_expression(&value);
    if (item_size == 1 && !fits_signed_byte(value)) {
        record_error(messages::BAD_RELOCATABLE);
        explain_byte(value);
    }
    warn_of_cut_item(value, item_size);
    record_reserve(copies, item_size);
    uint32_t count = copies.value;
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

static void reserve(const ExprValue &count, uint32_t item_size)
{
    record_reserve(count, item_size);
    const uint32_t size = count.value * item_size;
    if (in_offset_section())
        current_section->size += size;
    else
        emit_fill(static_cast<uint32_t>(settings.fill_byte), size);
}

static void reserve_directive(const Statement &statement)
{
    const int32_t lowest = settings.opt_old_syntax ? 0 : 1;
    ExprValue size;
    parse_expression(&size);
    record_decision(size, static_cast<uint32_t>(lowest), INT32_MAX);
    if (size.reloc != RELOC_ABSOLUTE)
        record_error(messages::RELOCATABLE_NOT_ALLOWED);
    else if (static_cast<int32_t>(size.value) < lowest)
        record_error("illegal size");
    else
        reserve(size, statement.keyword->argument);
    note_data_size();
}

std::span<const DirectiveRow> data_directives()
{
    // The argument is the size of an item in bytes.
    static constexpr DirectiveRow rows[] = {
        {"dc", data_directive, 1, KW_PLAIN},      {"dc.b", data_directive, 1, KW_PLAIN},
        {"fcb", data_directive, 1, KW_PLAIN},     {"fcc", data_directive, 1, KW_PLAIN},
        {"dc.w", data_directive, 2, KW_PLAIN},    {"fdb", data_directive, 2, KW_PLAIN},
        {"dc.l", data_directive, 4, KW_PLAIN},    {"dcb", fill_directive, 1, KW_PLAIN},
        {"dcb.b", fill_directive, 1, KW_PLAIN},   {"dcb.w", fill_directive, 2, KW_PLAIN},
        {"dcb.l", fill_directive, 4, KW_PLAIN},   {"ds", reserve_directive, 1, KW_PLAIN},
        {"ds.b", reserve_directive, 1, KW_PLAIN}, {"rmb", reserve_directive, 1, KW_PLAIN},
        {"ds.w", reserve_directive, 2, KW_PLAIN}, {"ds.l", reserve_directive, 4, KW_PLAIN},
    };
    return rows;
}
