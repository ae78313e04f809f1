// Debug information that the source brings along, and texts for other tools.

#include "stmt/debug_directives.h"

#include "base/diagnostics.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/settings.h"
#include "expr/evaluator.h"
#include "expr/lexer.h"
#include "input/macro.h"
#include "listing/listing.h"
#include "output/debug_info.h"
#include "output/emission.h"
#include "output/section_table.h"

static void emit_option_value()
{
    expect_token(TOK_COMMA);
    ExprValue value;
    parse_expression(&value);
    Section *const section = current_section;
    // "*" in an empty section names it, too.
    if (value.reloc != RELOC_ABSOLUTE && value.section_number == section->number)
        section->flags |= SEC_USED;
    select_section(".debug");
    if (lists_line())
        listed_line.address = current_location();
    emit_long(value);
    current_section = section;
}

static void debug_directive(const Statement &statement)
{
    if (next_token() != TOK_STRING) {
        record_error(messages::MISSING_STRING);
        return;
    }
    const uint8_t kind = statement.keyword->argument;
    if (debug_lines && pass_number == 0 && current_line() != 0 && kind != DEBUG_CALL) {
        cancel_line_records();
        // Later passes have no prologue and must still count expansions the same.
        reset_expansion_counter();
    }
    add_debug_record({token_text(), token_number}, kind);
    if (kind == DEBUG_OPTION)
        emit_option_value();
}

// Without an operand the text is an empty line; a string must bring its own line end.
static void text_directive(void (*append)(std::string_view))
{
    switch (next_token()) {
    case TOK_STRING:
        append(token_text());
        break;
    case TOK_END:
        append("\n");
        break;
    default:
        record_error(messages::SYNTAX_ERROR);
        break;
    }
}

static void info_directive(const Statement &)
{
    text_directive(append_info);
}

static void misra_directive(const Statement &)
{
    text_directive(append_misra);
}

std::span<const DirectiveRow> debug_directives()
{
    // The argument is the kind of the record.
    static constexpr DirectiveRow rows[] = {
        {".dcall", debug_directive, DEBUG_CALL, KW_DEBUG},
        {".dentry", debug_directive, DEBUG_ENTRY, KW_DEBUG},
        {".dtable", debug_directive, DEBUG_TABLE, KW_DEBUG},
        {".dquit", debug_directive, DEBUG_QUIT, KW_DEBUG},
        {".dline", debug_directive, DEBUG_LINE, KW_DEBUG},
        {".dendfn", debug_directive, DEBUG_RANGE_END, KW_DEBUG},
        {".dstart", debug_directive, DEBUG_RANGE_START, KW_DEBUG},
        {".dfile", debug_directive, DEBUG_FILE, KW_DEBUG},
        {".dstring", debug_directive, DEBUG_STRING, KW_DEBUG},
        {".dstore", debug_directive, DEBUG_STORE, KW_DEBUG},
        {".dopt", debug_directive, DEBUG_OPTION, KW_DEBUG},
        {".info", info_directive, 0, KW_QUIET},
        {".misra", misra_directive, 0, KW_QUIET},
    };
    return rows;
}
