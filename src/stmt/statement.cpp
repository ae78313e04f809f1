// What a line is gets decided word by word: a label ends in a colon (or, in the old syntax, begins
// in the first column), the word behind it is a directive, a mnemonic or a macro. In skipped code
// only conditionals count; while a body is recorded every line goes to the recorder.

#include "stmt/statement.h"

#include "driver/number.h"
#include "driver/passes.h"
#include "driver/settings.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "input/conditional.h"
#include "input/input_stack.h"
#include "input/macro.h"
#include "listing/diagnostics.h"
#include "listing/listing.h"
#include "listing/side_outputs.h"
#include "output/debug_info.h"
#include "output/section_table.h"
#include "stmt/section_directives.h"
#include "target/emission.h"
#include "target/encoder.h"

Symbol *last_label;
char mnemonic_suffix[2];
uint8_t line_defined_label;
uint8_t current_is_debug;

// A label or a word within the line.
struct LineName {
    const char *text; // none when the line has none
    uint32_t length;
};

void note_debug_section()
{
    current_is_debug = (current_section->flags & SEC_DEBUG) != 0;
}

void report_multiply_defined(Symbol *symbol, const char *name, uint32_t length)
{
    force_error(messages[MSG_MULTIPLY_DEFINED], length, name);
    symbol->def_line = LINE_MULTIPLY_DEFINED;
}

void note_first_definition(Symbol *symbol)
{
    if (symbol->def_line != 0)
        return;
    symbol->def_line = current_line();
    symbol->source_file = current_file_name();
    symbol->def_ordinal = line_ordinal;
}

void note_definition(Symbol *symbol, const char *name, uint32_t length)
{
    note_first_definition(symbol);
    if (symbol->def_line == LINE_MULTIPLY_DEFINED && pass_number != 0 && list_state == LIST_ON)
        record_error(messages[MSG_MULTIPLY_DEFINED], length, name);
}

// Labels such as .1 leave the scope of the local labels as it is.
static bool opens_scope(const Symbol *symbol, const LineName &label)
{
    if (symbol->flags & SYM_LOCAL)
        return false;
    return label.text[0] != '.' || !is_digit(label.text[1]);
}

void note_late_definition(Symbol *symbol)
{
    const uint8_t state = symbol->attrs & (ATTR_DEFINED | ATTR_REFERENCED);
    if (uses_must_settle() && state == ATTR_REFERENCED)
        request_another_pass();
    symbol->defined_in = static_cast<uint32_t>(pass_number);
}

// What earlier passes took over from another place goes with it; a declaration's attributes stay as
// long as the symbol does.
static void leave_place(Symbol *symbol)
{
    note_unlike_passes();
    if (!uses_must_settle())
        return;
    symbol->attrs &= static_cast<uint8_t>(~(ATTR_FROM_SECTION | ATTR_ABSOLUTE));
    request_another_pass();
}

void move_symbol(Symbol *symbol, uint32_t value, uint8_t section_number, uint8_t attributes)
{
    const bool was_absolute = (symbol->attrs & ATTR_ABSOLUTE) != 0;
    const bool is_absolute = (attributes & ATTR_ABSOLUTE) != 0;
    note_late_definition(symbol);
    if (pass_number != 0 && (symbol->attrs & ATTR_DEFINED) &&
        (symbol->section_number != section_number || was_absolute != is_absolute))
        leave_place(symbol);
    if (values_must_settle() && symbol->value != value)
        request_another_pass();
    symbol->value = value;
    symbol->section_number = section_number;
    symbol->attrs |= (attributes & (ATTR_FROM_SECTION | ATTR_ABSOLUTE)) | ATTR_DEFINED;
}

// Places the label at the current location.
static void place_label(Symbol *symbol)
{
    static_assert(SECATTR_ABS == ATTR_ABSOLUTE);
    const bool absolute = (current_section->attributes & SECATTR_ABS) != 0;
    const auto number = static_cast<uint8_t>(absolute ? 0 : current_section->number);
    move_symbol(symbol, current_location(), number, current_section->attributes);
    symbol->flags &= static_cast<uint16_t>(~SYM_ALIAS);
    if (!absolute && current_is_debug)
        symbol->flags |= SYM_IN_DEBUG;
}

static void define_label(const LineName &label)
{
    line_defined_label = LIST_ADDRESS;
    Symbol *symbol = find_symbol(label.text, label.length);
    if (symbol->flags & SYM_REGISTER) {
        record_error(messages[MSG_BAD_SYMBOL_NAME], label.length, label.text);
        return;
    }
    if (pass_number == 0 && (symbol->attrs & ATTR_DEFINED)) {
        report_multiply_defined(symbol, label.text, label.length);
        return;
    }
    if ((symbol->flags & SYM_LOCAL) == 0)
        note_definition(symbol, label.text, label.length);
    if (opens_scope(symbol, label))
        ++scope_number;
    if (opt_label_syntax == -1)
        symbol->attrs |= ATTR_PUBLIC;
    place_label(symbol);
    last_label = symbol;
}

static void run_instruction(const Keyword *keyword)
{
    // The label of the line was still defined in the offset section.
    if (leave_offset_section() && list_state == LIST_ON)
        mark_line(MARK_ADDRESS);
    if (debug_lines)
        debug_line_record();
    encode_instruction(keyword->opcodes);
}

static bool is_unlisted(const Keyword *keyword)
{
    return (keyword->flags & KW_UNLISTED) || ((keyword->flags & KW_CONDITIONAL) && !clist_flag) ||
           ((keyword->flags & KW_DEBUG) && !dlist_flag);
}

static void dispatch(Keyword *keyword, const LineName &label)
{
    if (is_unlisted(keyword))
        list_state |= LIST_SKIP_LINE;
    if ((keyword->flags & KW_NEEDS_LABEL) && label.text == nullptr) {
        record_error(MSG_MISSING_LABEL);
        skip_line();
    } else if (keyword->flags & KW_MACRO) {
        expand_macro(keyword->body, nullptr);
    } else if (keyword->flags & KW_INSTRUCTION) {
        run_instruction(keyword);
    } else if (keyword->action != nullptr) {
        keyword->action(keyword, label.text, label.length);
    }
}

static void assemble_statement(Keyword *keyword, const LineName &label)
{
    const bool takes_label = keyword != nullptr && ((keyword->flags & KW_NEEDS_LABEL) ||
                                                    has_action(keyword, section_directive));
    if (label.text != nullptr && !takes_label)
        define_label(label);
    if (keyword != nullptr)
        dispatch(keyword, label);
    if (next_token() != TOK_END)
        record_error(MSG_BAD_COMMENT);
}

static void skip_statement(Keyword *keyword)
{
    if (!clist_flag || (keyword != nullptr && (keyword->flags & KW_DEBUG) && !dlist_flag))
        list_state |= LIST_SKIP_LINE;
    if (keyword != nullptr && (keyword->flags & KW_CONDITIONAL))
        keyword->action(keyword, nullptr, 0);
    skip_line();
}

// Lists a line that has no statement, or prints its error.
static void finish_empty_line()
{
    if (list_state == LIST_ON)
        list_line(LIST_ADDRESS_OF_BYTES);
    else
        flush_error(nullptr);
}

static void finish_statement(const char *line)
{
    if (opt_label_syntax == -1)
        opt_label_syntax = 1;
    if (current_is_debug && !dlist_flag)
        list_state |= LIST_SKIP_LINE;
    if (list_state == LIST_ON)
        list_line(line_defined_label);
    else if (list_state == (LIST_ON | LIST_EXPANSION) && error_pending())
        list_expanded_error(line);
    else
        flush_error(nullptr);
    list_state &= ~LIST_SKIP_LINE;
    bypass_macro = 0;
}

// The name at the cursor.
static LineName scan_line_name(int32_t mode)
{
    const char *text = scan_name(mode);
    return {text, text != nullptr ? static_cast<uint32_t>(line_cursor - text) : 0};
}

// Splits the start of the line into label and word. False when the line has no statement.
static bool read_label_and_word(const char *line, LineName *label, LineName *word)
{
    if (*line_cursor == '#' || *line_cursor == '-') {
        // The character belongs to the word: that is how "#if" finds its row.
        ++line_cursor;
        *word = scan_line_name(0);
        if (word->text != nullptr)
            *word = {word->text - 1, word->length + 1};
        return true;
    }
    const bool raw = is_recording_body() || !assembling_enabled();
    const LineName name = scan_line_name(raw ? 1 : 0);
    if (name.text == nullptr)
        return false;
    skip_blanks();
    const bool colon = *line_cursor == ':';
    if (!colon && !(opt_old_syntax && name.text == line)) {
        *word = name;
        return true;
    }
    *label = name;
    if (colon) {
        if (opt_label_syntax)
            opt_label_syntax = -1;
        ++line_cursor;
        skip_blanks();
    }
    *word = scan_line_name(0);
    skip_blanks();
    return true;
}

// A line without a name at its start: blank, a comment, or something that can't be a statement.
static void process_nameless_line()
{
    if (assembling_enabled()) {
        if (next_token() != TOK_END)
            record_error(MSG_BAD_COMMENT);
    } else if (!clist_flag) {
        return;
    }
    finish_empty_line();
}

static void set_suffix(char first, char second)
{
    mnemonic_suffix[0] = first;
    mnemonic_suffix[1] = second;
}

// Finds the keyword of a word and takes its suffix off. A dot counts only as the second or third
// character from the end; a directive's one-character suffix is part of its name, so that a macro
// called `dc` leaves `dc.b` what it is.
static Keyword *find_word(const LineName &word)
{
    const char *end = word.text + word.length;
    if (word.length >= 3 && end[-2] == '.') {
        Keyword *stem = find_keyword(word.text, word.length - 2);
        if (stem != nullptr && is_directive_stem(stem)) {
            Keyword *whole = find_keyword(word.text, word.length);
            if (whole != nullptr || (stem->flags & KW_MACRO) == 0)
                return whole;
        }
        set_suffix(end[-1], '\0');
        return stem;
    }
    if (word.length >= 4 && end[-3] == '.') {
        set_suffix(end[-2], end[-1]);
        return find_keyword(word.text, word.length - 3);
    }
    set_suffix('\0', '\0');
    return find_keyword(word.text, word.length);
}

static void process_word(const char *line, const LineName &label, const LineName &word)
{
    Keyword *keyword = word.text != nullptr ? find_word(word) : nullptr;
    if (word.text != nullptr && keyword == nullptr && !is_recording_body()) {
        if (assembling_enabled())
            force_error(messages[MSG_UNKNOWN_INSTRUCTION], word.length, word.text);
        skip_line();
    }
    if (is_recording_body()) {
        record_body_line(keyword, line);
        skip_line();
    } else if (assembling_enabled()) {
        assemble_statement(keyword, label);
    } else {
        skip_statement(keyword);
    }
}

void process_statement(const char *line)
{
    reset_lexer();
    line_cursor = line;
    if (list_state == LIST_ON) {
        mark_line(MARK_START);
        line_defined_label = LIST_ADDRESS_OF_BYTES;
    }
    note_debug_section();
    if (verilog_file_name != nullptr && line[0] == '&') {
        if (assembling_enabled())
            write_verilog_line(line + 1);
        return;
    }
    if (opt_old_syntax && line[0] == '*') {
        finish_empty_line();
        return;
    }
    skip_blanks();
    LineName label = {};
    LineName word = {};
    if (!read_label_and_word(line, &label, &word)) {
        process_nameless_line();
        return;
    }
    process_word(line, label, word);
    finish_statement(line);
}
