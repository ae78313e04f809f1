// What a line is gets decided word by word: a label ends in a colon (or, in the old syntax, begins
// in the first column), the word after it is a directive, a mnemonic or a macro. In skipped code
// only conditionals count; while a body is recorded every line goes to the recorder.

#include "stmt/statement.h"

#include "base/diagnostics.h"
#include "base/line_context.h"
#include "base/number.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/settings.h"
#include "base/warnings.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/name_places.h"
#include "expr/symbol_table.h"
#include "input/conditional.h"
#include "input/macro.h"
#include "listing/listing.h"
#include "listing/side_outputs.h"
#include "output/debug_info.h"
#include "output/emission.h"
#include "output/layout_record.h"
#include "output/section_table.h"
#include "target/encoder.h"
#include <algorithm>
#include <string>

Symbol *last_label;
bool current_is_debug;

// The suffix of the word found last, one or two characters. A directive leaves it as it is, so that
// a macro called like one with its suffix is handed that of an earlier line.
static char mnemonic_suffix[2];
static size_t suffix_length;

// Whether the label of the current line was written with a colon, which makes it public under -mi.
static bool label_has_colon;

void reset_statements_for_pass()
{
    last_label = nullptr;
}

void note_debug_section()
{
    current_is_debug = (current_section->flags & SEC_DEBUG) != 0;
}

void report_multiply_defined(Symbol *symbol, std::string_view name)
{
    force_error(messages::MULTIPLY_DEFINED, name);
    symbol->multiply_defined = true;
}

void note_first_definition(Symbol *symbol)
{
    if (symbol->def_line != 0 || symbol->multiply_defined)
        return;
    symbol->def_line = current_line();
    symbol->source_file = current_file_name();
    symbol->def_ordinal = line_ordinal;
}

void note_definition(Symbol *symbol, std::string_view name)
{
    note_definition_place(symbol);
    note_first_definition(symbol);
    if (symbol->multiply_defined && pass_number != 0 && lists_line())
        record_error(messages::MULTIPLY_DEFINED, name);
}

// Labels such as .1 leave the scope of the local labels as it is.
static bool opens_scope(const Symbol *symbol, std::string_view label)
{
    if (symbol->flags & SYM_LOCAL)
        return false;
    return label.front() != '.' || label.size() < 2 || !is_digit(label[1]);
}

void note_late_definition(Symbol *symbol)
{
    const uint8_t state = symbol->attrs & (ATTR_DEFINED | ATTR_REFERENCED);
    if (uses_must_settle() && state == ATTR_REFERENCED)
        request_another_pass();
    symbol->defined_in = static_cast<uint32_t>(pass_number);
}

// What earlier passes took over from another place goes with it; what is declared stays. In a chain
// of equates the loss goes on from link to link, a pass for each, which is no matter of values.
static void leave_place(Symbol *symbol, uint8_t lost_attributes)
{
    note_unlike_passes();
    spoil_layout_record();
    if (!uses_must_settle())
        return;
    symbol->attrs &= static_cast<uint8_t>(~lost_attributes);
    request_another_pass();
}

void move_symbol(Symbol *symbol, uint32_t value, uint8_t section_number, uint8_t attributes)
{
    constexpr uint8_t OF_PLACE = ATTR_FROM_SECTION | ATTR_ABSOLUTE;
    const uint8_t stays = attributes | (symbol->declared_attrs & ATTR_FROM_SECTION);
    const auto lost = static_cast<uint8_t>(symbol->attrs & OF_PLACE & ~stays);
    note_late_definition(symbol);
    if (pass_number != 0 && (symbol->attrs & ATTR_DEFINED) &&
        (symbol->section_number != section_number || lost != 0))
        leave_place(symbol, lost);
    if (values_must_settle() && symbol->value != value)
        request_another_pass();
    symbol->value = value;
    symbol->section_number = section_number;
    symbol->attrs |= (attributes & OF_PLACE) | ATTR_DEFINED;
}

// Places the label at the current location.
static void place_label(Symbol *symbol)
{
    static_assert(SECATTR_ABS == ATTR_ABSOLUTE);
    const bool absolute = (current_section->attributes & SECATTR_ABS) != 0;
    const auto number = static_cast<uint8_t>(absolute ? 0 : current_section->number);
    record_label(symbol);
    move_symbol(symbol, current_location(), number, current_section->attributes);
    if (symbol->flags & SYM_ALIAS)
        note_alias_change();
    symbol->flags &= static_cast<uint16_t>(~SYM_ALIAS);
    if (!absolute && current_is_debug)
        symbol->flags |= SYM_IN_DEBUG;
}

static void define_label(std::string_view label)
{
    listed_line.shows_address = LineAddress::ALWAYS;
    Symbol *symbol = find_symbol(label);
    if (symbol->flags & SYM_REGISTER) {
        record_error(messages::BAD_SYMBOL_NAME, label);
        return;
    }
    if (pass_number == 0 && (symbol->attrs & ATTR_DEFINED)) {
        report_multiply_defined(symbol, label);
        return;
    }
    if ((symbol->flags & SYM_LOCAL) == 0)
        note_definition(symbol, label);
    note_definition_place(symbol);
    if (opens_scope(symbol, label)) {
        ++scope_number;
        note_scope(scope_number, label);
    }
    if (settings.opt_label_syntax && label_has_colon)
        symbol->attrs |= ATTR_PUBLIC;
    place_label(symbol);
    last_label = symbol;
}

static void run_instruction(const Keyword *keyword)
{
    // The label of the line was still defined in the offset section.
    if (leave_offset_section() && lists_line())
        listed_line.address = current_location();
    if (debug_lines)
        debug_line_record();
    if (keeps_contexts()) [[unlikely]]
        warn_of_lost_bytes();
    encode_instruction(keyword->opcodes);
}

static bool is_unlisted(const Keyword *keyword)
{
    return (keyword->flags & KW_UNLISTED) || ((keyword->flags & KW_CONDITIONAL) && !clist_flag) ||
           ((keyword->flags & KW_DEBUG) && !dlist_flag);
}

static void dispatch(const Statement &statement)
{
    constexpr uint16_t MAY_BE_UNLISTED = KW_UNLISTED | KW_CONDITIONAL | KW_DEBUG;
    const Keyword *keyword = statement.keyword;
    if ((keyword->flags & MAY_BE_UNLISTED) && is_unlisted(keyword))
        skip_listed_line();
    if ((keyword->flags & KW_NEEDS_LABEL) && statement.label.empty()) {
        record_error(messages::MISSING_LABEL);
        skip_line();
    } else if (keyword->flags & KW_MACRO) {
        expand_macro(keyword->body, keyword_name(*keyword), statement.suffix);
    } else if (keyword->flags & KW_INSTRUCTION) {
        run_instruction(keyword);
    } else if (keyword->action != nullptr) {
        keyword->action(statement);
    }
}

static void assemble_statement(const Statement &statement)
{
    constexpr uint16_t TAKES_LABEL = KW_NEEDS_LABEL | KW_LABEL_IS_NAME;
    const Keyword *keyword = statement.keyword;
    const bool takes_label = keyword != nullptr && (keyword->flags & TAKES_LABEL);
    if (!statement.label.empty() && !takes_label)
        define_label(statement.label);
    if (keyword != nullptr)
        dispatch(statement);
    if (next_token() != TOK_END)
        record_error(messages::BAD_COMMENT);
}

// In skipped code a word that no conditional knows means nothing, and what looks like a further
// branch of the conditional isn't taken.
static void warn_of_foreign_branch(std::string_view word)
{
    std::string name(word);
    std::ranges::transform(name, name.begin(), lower_case);
    if (name.starts_with('#') || name.starts_with('.'))
        name.erase(0, 1);
    if (name == "elif" || name == "elseif" || name == "elsif" || name == "elifdef")
        warn(std::string(word) + " is no conditional and is skipped",
             "use else and a second if inside of it, with an endif for each");
}

static void skip_statement(const Statement &statement)
{
    const Keyword *keyword = statement.keyword;
    if (keyword == nullptr && warns())
        warn_of_foreign_branch(statement.word);
    if (!clist_flag || (keyword != nullptr && (keyword->flags & KW_DEBUG) && !dlist_flag))
        skip_listed_line();
    if (keyword != nullptr && (keyword->flags & KW_CONDITIONAL))
        keyword->action(statement);
    skip_line();
}

// Lists a line that has no statement, or prints its error.
static void finish_empty_line()
{
    if (lists_line())
        list_line();
    else
        flush_error();
}

static void report_unlisted_error(const char *line)
{
    if (lists_only_errors())
        list_expanded_error(line);
    else
        flush_error();
}

static void finish_statement(const char *line)
{
    label_has_colon = false;
    if (current_is_debug && !dlist_flag)
        skip_listed_line();
    if (lists_line())
        list_line();
    else if (error_pending())
        report_unlisted_error(line);
    list_state &= ~LIST_SKIP_LINE;
    bypass_macro = false;
}

// Splits the start of the line into label and word. False when the line has no statement.
static bool read_label_and_word(const char *line, Statement *statement)
{
    if (*line_cursor == '#' || *line_cursor == '-') {
        // The character belongs to the word: that is how "#if" finds its row.
        ++line_cursor;
        const std::string_view name = scan_name();
        if (!name.empty())
            statement->word = {name.data() - 1, name.size() + 1};
        return true;
    }
    const std::string_view name = scan_name(is_recording_body() || !assembling_enabled());
    if (name.empty())
        return false;
    skip_blanks();
    const bool colon = *line_cursor == ':';
    if (!colon && !(settings.opt_old_syntax && name.data() == line)) {
        statement->word = name;
        return true;
    }
    statement->label = name;
    if (colon) {
        label_has_colon = true;
        ++line_cursor;
        skip_blanks();
    }
    statement->word = scan_name();
    skip_blanks();
    return true;
}

// A line without a name at its start: blank, a comment, or something that can't be a statement.
static void process_nameless_line()
{
    if (assembling_enabled()) {
        if (next_token() != TOK_END)
            record_error(messages::BAD_COMMENT);
    } else if (!clist_flag) {
        return;
    }
    finish_empty_line();
}

static void set_suffix(std::string_view suffix)
{
    suffix_length = suffix.copy(mnemonic_suffix, sizeof mnemonic_suffix);
}

// Finds the keyword of the word and takes its suffix off. A dot counts only as the second or third
// character from the end; a directive's one-character suffix is part of its name, so that a macro
// called `dc` leaves `dc.b` what it is.
static Keyword *find_word(std::string_view word)
{
    const size_t length = word.size();
    if (length >= 3 && word[length - 2] == '.') {
        Keyword *stem = find_keyword(word.substr(0, length - 2));
        if (stem != nullptr && is_directive_stem(stem)) {
            Keyword *whole = find_keyword(word);
            if (whole != nullptr || (stem->flags & KW_MACRO) == 0)
                return whole;
        }
        set_suffix(word.substr(length - 1));
        return stem;
    }
    if (length >= 4 && word[length - 3] == '.') {
        set_suffix(word.substr(length - 2));
        return find_keyword(word.substr(0, length - 3));
    }
    set_suffix({});
    return find_keyword(word);
}

static void process_word(const char *line, Statement *statement)
{
    const std::string_view word = statement->word;
    statement->keyword = word.empty() ? nullptr : find_word(word);
    statement->suffix = {mnemonic_suffix, suffix_length};
    if (is_recording_body()) {
        record_body_line(statement->keyword, line);
        skip_line();
        return;
    }
    const bool assembles = assembling_enabled();
    if (!word.empty() && statement->keyword == nullptr) {
        if (assembles)
            force_error(messages::UNKNOWN_INSTRUCTION, word);
        skip_line();
    }
    if (assembles)
        assemble_statement(*statement);
    else
        skip_statement(*statement);
}

void process_statement(const char *line)
{
    reset_lexer();
    line_cursor = line;
    if (keeps_contexts()) [[unlikely]]
        keep_statement_text(line);
    if (lists_line())
        mark_line_start(line, current_location());
    note_debug_section();
    if (line[0] == '&' && has_verilog()) {
        if (assembling_enabled())
            write_verilog_line(line + 1);
        return;
    }
    if (settings.opt_old_syntax && line[0] == '*') {
        finish_empty_line();
        return;
    }
    skip_blanks();
    Statement statement = {};
    if (!read_label_and_word(line, &statement)) {
        process_nameless_line();
        return;
    }
    process_word(line, &statement);
    finish_statement(line);
}
