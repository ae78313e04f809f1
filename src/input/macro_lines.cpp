// A backslash in a stored line begins an element: an argument by number or name, or a fact of the
// call.

#include "input/macro_lines.h"

#include "base/diagnostics.h"
#include "base/line_context.h"
#include "base/number.h"
#include "base/settings.h"
#include "base/warnings.h"
#include "expr/keyword_table.h"
#include "input/conditional.h"
#include "input/input_stack.h"
#include "input/line_origin.h"
#include "input/macro.h"
#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

// The line made last, and the length that it isn't to exceed.
static char expansion_line[LINE_ROOM];
constexpr size_t EXPANSION_LENGTH_MAX = 240;

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

// The index of a named parameter. A source line that is taken for a list may announce names longer
// than itself.
static std::optional<uint32_t> find_parameter(const Expansion *expansion, std::string_view name)
{
    std::string_view list = expansion->param_names;
    for (uint32_t index = 0; !list.empty(); ++index) {
        const size_t length = static_cast<unsigned char>(list[0]);
        if (1 + length > list.size())
            break;
        if (name == list.substr(1, length))
            return index;
        list.remove_prefix(1 + length);
    }
    return std::nullopt;
}

std::vector<std::string> parameter_names(const Expansion &expansion)
{
    std::vector<std::string> names;
    std::string_view list = expansion.param_names != nullptr ? expansion.param_names : "";
    while (!list.empty()) {
        const size_t length = static_cast<unsigned char>(list[0]);
        names.emplace_back(list.substr(1, length));
        list.remove_prefix(std::min(list.size(), 1 + length));
    }
    return names;
}

// A parameter without argument leaves nothing, which may be right between quotes, as where ifc asks
// for it.
static void note_missing_argument(const LineWriter &line, const Expansion &expansion,
                                  std::string_view name)
{
    const std::string_view text(expansion_line, line.length);
    if (std::ranges::count(text, '"') % 2 != 0 || std::ranges::count(text, '\'') % 2 != 0)
        return;
    const std::string macro =
        expansion.name.empty() ? "the repeat" : "macro " + std::string(expansion.name);
    warn("no argument for \\" + std::string(name) + " in the call of " + macro,
         "nothing stands in the place of \\" + std::string(name) + " here: the call at " +
             place_text(expansion.call) + " gives " + std::to_string(expansion.arg_count) + " of " +
             std::to_string(parameter_names(expansion).size()) + " arguments");
}

static bool is_name_character(char c)
{
    return is_letter(c) || is_digit(c) || c == '_' || c == '.';
}

// "\name" or "\(name)" at `text`, after the backslash. Gives the place after it.
static const char *put_named(LineWriter *line, const Expansion *expansion, const char *text)
{
    const bool bracketed = *text == '(';
    if (bracketed)
        ++text;
    const char *end = text;
    while (is_name_character(*end))
        ++end;
    const auto length = static_cast<uint32_t>(end - text);
    const auto index = find_parameter(expansion, {text, length});
    if (index && *index >= expansion->arg_count && keeps_contexts())
        note_missing_argument(*line, *expansion, {text, length});
    if (index)
        line->put(argument(expansion, *index));
    else
        record_error("unknown macro argument %.*s", {text, length});
    if (bracketed && *end == ')')
        ++end;
    return end;
}

uint32_t positional_number(char c)
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

// The element behind a backslash; gives the place after it.
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
    // Even the newline is copied: the listing then shows a blank line after it.
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
const char *make_macro_line(const Expansion *expansion, const char *text)
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
