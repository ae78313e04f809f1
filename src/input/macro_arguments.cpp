// Commas part the arguments, quotes take commas and blanks in; a semicolon or the end of the line
// ends them. Nothing is copied: zero bytes go where arguments end.

#include "input/macro_arguments.h"

#include "base/diagnostics.h"
#include "base/settings.h"
#include "input/macro.h"
#include <cstdint>
#include <cstring>

// Indexes from which on a comma or a quote opens no further argument.
constexpr uint32_t LAST_COMMA_INDEX = 61;
constexpr uint32_t LAST_QUOTE_INDEX = 33;

static bool is_blank(char c)
{
    return c == ' ' || c == '\t';
}

static char *after_blanks(char *text)
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

// Ends the argument at a comma and gives the start of the next, or null when there is no more room.
static char *cut_at_comma(ArgumentCutter *cutter, char *comma)
{
    if (cutter->index > LAST_COMMA_INDEX) {
        record_error("too many arguments");
        return nullptr;
    }
    ++cutter->index;
    std::memset(before_blanks(comma, cutter->expansion->arg_text), '\0', 1);
    *comma = '\0';
    char *next = after_blanks(comma + 1);
    begin_argument(cutter, next);
    cutter->fresh = true;
    cutter->may_quote = true;
    return next;
}

// Takes a quoted argument and gives the place after it, or null when there is no more room. A
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
    return after_blanks(end);
}

// Cuts the text up and gives the place where the arguments end.
static char *cut_text(ArgumentCutter *cutter)
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

size_t cut_arguments(Expansion *expansion)
{
    ArgumentCutter cutter = {expansion, 0, true, true};
    char *end = cut_text(&cutter);
    *end = '\0';
    const bool has_arguments = cutter.index != 0 || *expansion->args[0] != '\0';
    expansion->arg_count = static_cast<uint8_t>(has_arguments ? cutter.index + 1 : 0);
    return static_cast<size_t>(end - expansion->arg_text);
}
