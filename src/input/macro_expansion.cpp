// Runs stored bodies: cuts the arguments of a call and puts them into the lines.

#include "input/macro_expansion.h"

#include "base/diagnostics.h"
#include "base/memory.h"
#include "base/number.h"
#include "base/settings.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "input/conditional.h"
#include "input/input_stack.h"
#include "input/macro.h"
#include "listing/listing.h"
#include <cstdio>
#include <cstring>
#include <string_view>

// Counts macro calls and runs of repeats. 0 at the head of a pass, so that a call has the same
// number, and labels made with \@ the same name, in every pass.
static uint32_t expansion_counter;

// The line made last, and the length that it isn't to exceed.
static char expansion_line[LINE_ROOM];
constexpr size_t EXPANSION_LENGTH_MAX = 240;

// Indexes from which on a comma or a quote opens no further argument.
constexpr uint32_t LAST_COMMA_INDEX = 61;
constexpr uint32_t LAST_QUOTE_INDEX = 33;

uint16_t next_call_number()
{
    return static_cast<uint16_t>(++expansion_counter);
}

void reset_expansion_counter()
{
    expansion_counter = 0;
}

void free_expansion(Expansion *expansion)
{
    free_block(expansion->arg_text);
    free_body(expansion->repeat_body);
    free_block(expansion);
}

// --- cutting the arguments ----------------------------------------------------------------------

static bool is_blank(char c)
{
    return c == ' ' || c == '\t';
}

static char *behind_blanks(char *text)
{
    while (is_blank(*text))
        ++text;
    return text;
}

// `end` moved back over blanks, not before `start`.
static char *before_blanks(char *end, const char *start)
{
    while (end > start && is_blank(end[-1]))
        --end;
    return end;
}

// The state of cutting up a call's text.
struct ArgumentCutter {
    Expansion *expansion;
    uint32_t index; // of the argument being read
    bool fresh;     // no quoted argument has just closed
    bool may_quote; // a quote opens an argument here
};

static void begin_argument(ArgumentCutter *cutter, const char *text)
{
    cutter->expansion->args[cutter->index] = text;
}

// Ends the argument at a comma and gives the start of the next, or none when there is no more room.
static char *cut_at_comma(ArgumentCutter *cutter, char *comma)
{
    if (cutter->index > LAST_COMMA_INDEX) {
        record_error("too many arguments");
        return nullptr;
    }
    ++cutter->index;
    std::memset(before_blanks(comma, cutter->expansion->arg_text), '\0', 1);
    *comma = '\0';
    char *next = behind_blanks(comma + 1);
    begin_argument(cutter, next);
    cutter->fresh = true;
    cutter->may_quote = true;
    return next;
}

// Takes a quoted argument and gives the place behind it, or none when there is no more room. A
// quote that directly follows a quoted argument opens a further one.
static char *cut_quoted(ArgumentCutter *cutter, char *quote)
{
    if (!cutter->fresh) {
        if (cutter->index > LAST_QUOTE_INDEX)
            return nullptr;
        ++cutter->index;
    }
    const char delimiter = *quote;
    *quote = '\0';
    char *end = quote + 1;
    begin_argument(cutter, end);
    while (*end != delimiter && *end != '\n' && *end != '\0')
        ++end;
    if (*end != '\0')
        *end++ = '\0';
    cutter->fresh = false;
    return behind_blanks(end);
}

// Cuts the text up and gives the place where the arguments end.
static char *cut_arguments(ArgumentCutter *cutter)
{
    char *c = cutter->expansion->arg_text;
    begin_argument(cutter, c);
    while (*c != '\0') {
        if (*c == ',') {
            char *next = cut_at_comma(cutter, c);
            if (next == nullptr)
                return c;
            c = next;
        } else if ((*c == '"' || *c == '\'') && cutter->may_quote && !settings.opt_old_syntax) {
            char *next = cut_quoted(cutter, c);
            if (next == nullptr)
                return c;
            c = next;
        } else if (*c == ';' || *c == '\n') {
            return before_blanks(c, cutter->expansion->arg_text);
        } else {
            cutter->may_quote = false;
            ++c;
        }
    }
    return c;
}

// Cuts the text of the call and sets the expansion at the head of the body. Gives the length of the
// text that the arguments took.
static size_t begin_expansion(Expansion *expansion, BodyLine *body)
{
    if (body != nullptr && body->text[0] == PARAMETER_LIST_MARK) {
        expansion->param_names = body->text + 1;
        body = body->next;
    }
    ArgumentCutter cutter = {expansion, 0, true, true};
    char *end = cut_arguments(&cutter);
    *end = '\0';
    const bool has_arguments = cutter.index != 0 || *expansion->args[0] != '\0';
    expansion->arg_count = static_cast<uint8_t>(has_arguments ? cutter.index + 1 : 0);
    expansion->call_number = next_call_number();
    expansion->position = body;
    expansion->cond_mark = mark_conditionals();
    return static_cast<size_t>(end - expansion->arg_text);
}

void expand_macro(BodyLine *body, std::string_view suffix)
{
    skip_blanks();
    auto *expansion = new_node<Expansion>(nullptr);
    expansion->arg_text = copy_text(line_cursor);
    expansion->suffix = suffix.empty() ? '\0' : suffix.front();
    line_cursor += begin_expansion(expansion, body);
    push_expansion(expansion);
}

Expansion *expand_list(BodyLine *body, char *list)
{
    auto *expansion = new_node<Expansion>(nullptr);
    expansion->arg_text = list;
    begin_expansion(expansion, body);
    return expansion;
}

// --- making lines -------------------------------------------------------------------------------

// Appends text to the line being made; what doesn't fit the buffer is cut.
struct LineWriter {
    size_t length;
    // Room for the newline and the end mark stays free.
    static constexpr size_t ROOM = LINE_ROOM - 2;

    void put(char c)
    {
        if (length < ROOM)
            expansion_line[length++] = c;
    }

    void put(std::string_view text)
    {
        for (const char c : text)
            put(c);
    }
};

// The text of an argument by its index from 0; empty for one that isn't given.
static std::string_view argument(const Expansion *expansion, uint32_t index)
{
    if (index >= expansion->arg_count || expansion->args[index] == nullptr)
        return {};
    return expansion->args[index];
}

// The index of a named parameter, or -1. A source line that is taken for a list may announce names
// longer than itself.
static int32_t find_parameter(const Expansion *expansion, std::string_view name)
{
    std::string_view list = expansion->param_names;
    for (int32_t index = 0; !list.empty(); ++index) {
        const size_t length = static_cast<unsigned char>(list[0]);
        if (1 + length > list.size())
            break;
        if (name == list.substr(1, length))
            return index;
        list.remove_prefix(1 + length);
    }
    return -1;
}

static bool is_name_character(char c)
{
    return is_letter(c) || is_digit(c) || c == '_' || c == '.';
}

// "\name" or "\(name)" at `text`, behind the backslash. Gives the place behind it.
static const char *put_named(LineWriter *line, const Expansion *expansion, const char *text)
{
    const bool bracketed = *text == '(';
    if (bracketed)
        ++text;
    const char *end = text;
    while (is_name_character(*end))
        ++end;
    const auto length = static_cast<uint32_t>(end - text);
    const int32_t index = find_parameter(expansion, {text, length});
    if (index < 0)
        record_error("unknown macro argument %.*s", {text, length});
    else
        line->put(argument(expansion, static_cast<uint32_t>(index)));
    if (bracketed && *end == ')')
        ++end;
    return end;
}

// The number of a positional argument: 1 to 9, then A to Z; 0 for any other character.
static uint32_t positional_number(char c)
{
    if (c >= '1' && c <= '9')
        return static_cast<uint32_t>(c - '0');
    return c >= 'A' && c <= 'Z' ? static_cast<uint32_t>(c - 'A') + 10 : 0;
}

static void put_positional(LineWriter *line, const Expansion *expansion, uint32_t number)
{
    if (number <= expansion->arg_count)
        line->put(argument(expansion, number - 1));
    else if (!settings.opt_old_syntax)
        record_error("bad argument number");
}

static void put_all_arguments(LineWriter *line, const Expansion *expansion)
{
    for (uint32_t i = 0; i < expansion->arg_count; ++i) {
        if (i != 0)
            line->put(',');
        line->put(argument(expansion, i));
    }
}

static void put_number(LineWriter *line, const char *format, unsigned number)
{
    char digits[16];
    std::snprintf(digits, sizeof digits, format, number);
    line->put(digits);
}

// The element behind a backslash; gives the place behind it.
static const char *put_element(LineWriter *line, const Expansion *expansion, const char *text)
{
    const char c = *text;
    switch (c) {
    case '@':
        put_number(line, ".%u", expansion->call_number);
        return text + 1;
    case '#':
        put_number(line, "%u", expansion->arg_count);
        return text + 1;
    case '0':
        if (expansion->suffix != '\0')
            line->put(expansion->suffix);
        return text + 1;
    case '*':
        put_all_arguments(line, expansion);
        return text + 1;
    case '\\':
        bypass_macro = true;
        return text + 1;
    default:
        break;
    }
    if (expansion->param_names != nullptr) {
        if (is_name_character(c) || c == '(')
            return put_named(line, expansion, text);
    } else if (const uint32_t number = positional_number(c); number != 0) {
        put_positional(line, expansion, number);
        return text + 1;
    }
    line->put('\\');
    // Even the newline is copied: the listing then shows a blank line behind.
    if (c == '\0')
        return text;
    line->put(c);
    return text + 1;
}

static void end_line(LineWriter *line)
{
    expansion_line[line->length] = '\n';
    expansion_line[line->length + 1] = '\0';
}

// Makes the line of a body's text. An element that crosses the limit is lost with the rest of the
// line. Nothing is put in while code is skipped, where arguments may well be missing.
static const char *make_line(const Expansion *expansion, const char *text)
{
    const bool substitutes = assembling_enabled();
    LineWriter line = {0};
    while (*text != '\0' && *text != '\n') {
        const size_t element_start = line.length;
        if (*text == '\\' && substitutes)
            text = put_element(&line, expansion, text + 1);
        else
            line.put(*text++);
        if (line.length > EXPANSION_LENGTH_MAX) {
            line.length = element_start;
            break;
        }
    }
    end_line(&line);
    return expansion_line;
}

// --- running ------------------------------------------------------------------------------------

// Goes on with the next run of a repeat; false, with the repeat gone, when there is none.
static bool next_run(Expansion *expansion)
{
    if (--expansion->repeats_left == 0) {
        mlist_flag = expansion->saved_mlist;
        free_expansion(expansion);
        return false;
    }
    expansion->position = expansion->repeat_body;
    if (expansion->position != nullptr && expansion->position->text[0] == PARAMETER_LIST_MARK)
        expansion->position = expansion->position->next;
    expansion->call_number = next_call_number();
    if (expansion->arg_count != 0)
        std::memmove(&expansion->args[0], &expansion->args[1],
                     (ARGUMENT_SLOTS - 1) * sizeof expansion->args[0]);
    return true;
}

static bool is_repeat(const Expansion *expansion)
{
    return expansion->repeat_body != nullptr;
}

const char *next_expansion_line(Expansion *expansion)
{
    // A body may hold nothing but its parameter list: its runs are counted all the same.
    while (expansion->position == nullptr) {
        if (!is_repeat(expansion)) {
            free_expansion(expansion);
            return nullptr;
        }
        if (!next_run(expansion))
            return nullptr;
    }
    const BodyLine *line = expansion->position;
    expansion->position = line->next;
    return make_line(expansion, line->text);
}

static void end_macro(Expansion *expansion)
{
    unwind_conditionals(expansion->cond_mark);
    expansion->position = nullptr;
}

static void end_repeat(Expansion *expansion)
{
    end_macro(expansion);
    expansion->repeats_left = 1;
}

static bool is_macro(Expansion *expansion)
{
    return !is_repeat(expansion);
}

static bool end_unless_macro(Expansion *expansion)
{
    if (is_macro(expansion))
        return true;
    end_repeat(expansion);
    return false;
}

static void mexit_directive(const Statement &)
{
    if (current_expansion == nullptr) {
        record_error("no macro in expansion");
        return;
    }
    if (is_macro(current_expansion)) {
        end_macro(current_expansion);
        return;
    }
    Expansion *macro = visit_suspended_expansions(is_macro);
    if (macro == nullptr) {
        // In the earlier runs of a repeat the directive does nothing.
        if (current_expansion->repeats_left == 1)
            record_error("no macro in expansion");
        return;
    }
    end_repeat(current_expansion);
    visit_suspended_expansions(end_unless_macro);
    end_macro(macro);
}

static void rexit_directive(const Statement &)
{
    if (current_expansion != nullptr && is_repeat(current_expansion))
        end_repeat(current_expansion);
    else
        record_error("no repeat in expansion");
}

std::span<const DirectiveRow> expansion_directives()
{
    static constexpr DirectiveRow rows[] = {
        {"mexit", mexit_directive, 0, KW_QUIET},
        {"rexit", rexit_directive, 0, KW_QUIET},
    };
    return rows;
}
