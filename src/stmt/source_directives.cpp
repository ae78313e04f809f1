// Messages, include files, positions.

#include "stmt/source_directives.h"

#include "driver/memory.h"
#include "driver/number.h"
#include "driver/passes.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "input/input_stack.h"
#include "input/source_span.h"
#include "listing/diagnostics.h"
#include "listing/listing.h"
#include "target/target.h"
#include <cstdio>
#include <cstring>
#include <string>

void user_error_directive(Keyword *, const char *, uint32_t)
{
    const int32_t token = next_token();
    if (token == TOK_STRING) {
        record_error("%.*s", token_number, token_text());
        return;
    }
    unget_token(token);
    ExprValue value;
    parse_expression(&value);
    if (value.reloc != RELOC_ABSOLUTE) {
        record_error(MSG_RELOCATABLE_NOT_ALLOWED);
        return;
    }
    std::snprintf(token_string, sizeof token_string, "%d", static_cast<int32_t>(value.value));
    record_error("fail %s", 0, token_string);
}

void message_directive(Keyword *, const char *, uint32_t)
{
    if (next_token() != TOK_STRING)
        record_error(MSG_SYNTAX_ERROR);
    else if (pass_number == 0 && !sizing_repeated)
        std::printf("%.*s\n", static_cast<int>(token_number), token_text());
}

// Reads a decimal number at *text and moves behind it.
static uint32_t read_line_number(const char **text)
{
    uint32_t number = 0;
    while (is_digit(**text))
        number = number * 10 + static_cast<uint32_t>(*(*text)++ - '0');
    return number;
}

// Takes "file:first" or "file:first-last" apart.
static void select_span(const char *request)
{
    const char *colon = std::strchr(request, ':');
    if (colon == nullptr) {
        record_error("bad .source directive", 0, nullptr);
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
        record_error("bad .source directive", 0, nullptr);
    else
        select_source_lines(name.c_str(), first, last);
}

void source_directive(Keyword *, const char *, uint32_t)
{
    if (next_token() != TOK_STRING) {
        record_error(MSG_MISSING_STRING);
        return;
    }
    skip_line();
    if (list_state != LIST_ON)
        return;
    list_state |= LIST_SKIP_LINE;
    select_span(token_text());
}

void include_directive(Keyword *, const char *, uint32_t)
{
    if (next_token() != TOK_STRING) {
        record_error("bad file name", 0, nullptr);
    } else {
        open_include(token_text());
        // Opening may have used the buffer that the line stands in: nothing more is read from it.
        reset_lexer();
        line_cursor = "";
    }
    // Local labels don't reach across the line, whatever came of it.
    ++scope_number;
}

// Sets the line that diagnostics show for the line below.
static void read_line_bias()
{
    ExprValue line;
    parse_expression(&line);
    if (line.reloc != RELOC_ABSOLUTE) {
        record_error(MSG_RELOCATABLE_NOT_ALLOWED);
        line_directive_file = nullptr;
    }
    line_directive_bias = line_ordinal - line.value + 1;
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
        kept_names->text = copy_text(name.c_str(), name.size());
    }
    line_directive_file = kept_names->text;
}

void line_directive(Keyword *keyword, const char *, uint32_t)
{
    const bool is_hash_line = keyword->argument != 0;
    if (is_hash_line)
        read_line_bias();
    if (next_token() != TOK_STRING) {
        if (!is_hash_line)
            line_directive_file = nullptr;
        return;
    }
    const std::string name = token_text();
    set_directive_file(is_hash_line ? with_single_backslashes(name) : name);
    if (is_hash_line)
        return;
    const int32_t token = next_token();
    if (token == TOK_COMMA) {
        read_line_bias();
        return;
    }
    unget_token(token);
    line_directive_file = nullptr;
    record_error(MSG_SYNTAX_ERROR);
}

void list_flag_directive(Keyword *keyword, const char *, uint32_t)
{
    static int32_t *const flags[] = {&clist_flag, &dlist_flag, &mlist_flag};
    const int32_t setting = read_on_off();
    if (setting >= 0)
        *flags[keyword->argument] = setting;
}
