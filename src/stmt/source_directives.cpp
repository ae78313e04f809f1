// Messages, include files, positions.

#include "stmt/source_directives.h"

#include "base/diagnostics.h"
#include "base/file_register.h"
#include "base/memory.h"
#include "base/number.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/name_places.h"
#include "expr/symbol_table.h"
#include "input/input_stack.h"
#include "input/source_span.h"
#include "listing/listing.h"
#include "output/layout_record.h"
#include "stmt/statement.h"
#include <cstdio>
#include <cstring>
#include <string>

// Arguments of line_directive.
constexpr uint8_t SFILE = 0;
constexpr uint8_t HASH_LINE = 1;

static void user_error_directive(const Statement &)
{
    if (accept_token(TOK_STRING)) {
        record_error("%.*s", {token_text(), token_number});
        return;
    }
    ExprValue value;
    parse_expression(&value);
    if (value.reloc != RELOC_ABSOLUTE) {
        record_error(messages::RELOCATABLE_NOT_ALLOWED);
        return;
    }
    std::snprintf(token_string, sizeof token_string, "%d", static_cast<int32_t>(value.value));
    record_error("fail %s", token_string);
}

static void message_directive(const Statement &)
{
    if (next_token() != TOK_STRING)
        record_error(messages::SYNTAX_ERROR);
    else if (pass_number == 0 && !is_sizing_repeated())
        std::printf("%.*s\n", static_cast<int>(token_number), token_text());
}

// Reads a decimal number at *text and moves past it.
static uint32_t read_line_number(const char **text)
{
    uint32_t number = 0;
    while (is_digit(**text))
        number = number * 10 + static_cast<uint32_t>(*(*text)++ - '0');
    return number;
}

// A file whose lines aren't shown is still an input, and no output may fall on it.
static void note_source_span(std::string_view request)
{
    static std::string last_name;
    const std::string_view name = request.substr(0, request.find(':'));
    if (name == last_name)
        return;
    last_name = name;
    note_input(last_name.c_str());
}

// Takes "file:first" or "file:first-last" apart.
static void select_span(const char *request)
{
    const char *colon = std::strchr(request, ':');
    if (colon == nullptr) {
        record_error("bad .source directive");
        return;
    }
    const std::string name(request, colon);
    const char *text = colon + 1;
    const uint32_t first = read_line_number(&text);
    uint32_t last = first;
    if (*text == '-') {
        ++text;
        last = read_line_number(&text);
        if (last < first)
            last = first;
    }
    if (*text != '\0')
        record_error("bad .source directive");
    else
        select_source_lines(name.c_str(), first, last);
}

static void source_directive(const Statement &)
{
    if (next_token() != TOK_STRING) {
        record_error(messages::MISSING_STRING);
        return;
    }
    skip_line();
    if (lists_line()) {
        skip_listed_line();
        select_span(token_text());
    } else {
        note_source_span(token_text());
    }
}

static void include_directive(const Statement &)
{
    const int32_t token = next_token();
    // Local labels don't reach across the line, whatever comes of it.
    ++scope_number;
    note_scope(scope_number, "include");
    if (token != TOK_STRING) {
        record_error("bad file name");
    } else {
        open_include(token_text());
        // Opening may have used the buffer that the line stands in: nothing more is read from it.
        reset_lexer();
        line_cursor = "";
    }
}

// Sets the line that diagnostics show for the line below.
static void read_line_bias()
{
    ExprValue line;
    parse_expression(&line);
    if (line.reloc != RELOC_ABSOLUTE) {
        record_error(messages::RELOCATABLE_NOT_ALLOWED);
        line_directive_position.file = nullptr;
    }
    record_use(line);
    line_directive_position.bias = line_ordinal - line.value + 1;
}

// A C preprocessor doubles the backslashes of a name.
static std::string with_single_backslashes(const std::string &name)
{
    std::string result;
    for (size_t i = 0; i < name.size(); ++i) {
        result += name[i];
        if (name[i] == '\\' && i + 1 < name.size() && name[i + 1] == '\\')
            ++i;
    }
    return result;
}

// Names are kept for ever: symbols and positions may point to them.
static void set_directive_file(const std::string &name)
{
    struct KeptName {
        KeptName *next;
        char *text;
    };
    static KeptName *kept_names;

    if (kept_names == nullptr || name != kept_names->text) {
        kept_names = new_node<KeptName>(kept_names);
        kept_names->text = copy_text(name);
    }
    line_directive_position.file = kept_names->text;
}

static void line_directive(const Statement &statement)
{
    const bool is_hash_line = statement.keyword->argument == HASH_LINE;
    if (is_hash_line)
        read_line_bias();
    if (next_token() != TOK_STRING) {
        if (!is_hash_line)
            line_directive_position.file = nullptr;
        return;
    }
    const std::string name = token_text();
    set_directive_file(is_hash_line ? with_single_backslashes(name) : name);
    if (is_hash_line)
        return;
    if (accept_token(TOK_COMMA)) {
        read_line_bias();
        return;
    }
    line_directive_position.file = nullptr;
    record_error(messages::SYNTAX_ERROR);
}

static void set_flag(bool *flag)
{
    *flag = read_on_off().value_or(*flag);
}

static void clist_directive(const Statement &)
{
    set_flag(&clist_flag);
}

static void dlist_directive(const Statement &)
{
    set_flag(&dlist_flag);
}

static void mlist_directive(const Statement &)
{
    set_flag(&mlist_flag);
}

static void end_directive(const Statement &)
{
    current_is_debug = false;
    end_seen = true;
}

// For a directive that means nothing here.
static void skip_line_directive(const Statement &)
{
    skip_line();
}

std::span<const DirectiveRow> source_directives()
{
    static constexpr DirectiveRow rows[] = {
        {"clist", clist_directive, 0, KW_PLAIN},
        {"dlist", dlist_directive, 0, KW_PLAIN},
        {"mlist", mlist_directive, 0, KW_QUIET},
        {"#error", user_error_directive, 0, KW_PLAIN},
        {"fail", user_error_directive, 0, KW_PLAIN},
        {"messg", message_directive, 0, KW_PLAIN},
        {"end", end_directive, 0, KW_PLAIN},
        {"tabs", skip_line_directive, 0, KW_PLAIN},
        {".source", source_directive, 0, KW_PLAIN},
        {"include", include_directive, 0, KW_QUIET},
        {"#include", include_directive, 0, KW_QUIET},
        {".sfile", line_directive, SFILE, KW_QUIET | KW_UNRECORDED},
        {"#line", line_directive, HASH_LINE, KW_QUIET | KW_UNRECORDED},
    };
    return rows;
}
