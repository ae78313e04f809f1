// The line was assembled already, or could not be: here it is looked at once more, as its author
// would.

#include "explain/statement_parts.h"

#include "base/number.h"
#include "base/settings.h"
#include <algorithm>

constexpr std::string_view BLANKS = " \t";

static std::string_view without_blanks(std::string_view text)
{
    const size_t start = text.find_first_not_of(BLANKS);
    if (start == std::string_view::npos)
        return {};
    return text.substr(start, text.find_last_not_of(BLANKS) + 1 - start);
}

static std::string_view without_comment(std::string_view text)
{
    char quote = '\0';
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quote != '\0')
            quote = c == quote ? '\0' : quote;
        else if (c == '"' || c == '\'')
            quote = c;
        else if (c == ';' || text.substr(i).starts_with("//"))
            return text.substr(0, i);
    }
    return text;
}

static bool is_name_part(char c)
{
    return is_letter(c) || is_digit(c) || c == '_' || c == '.' || c == '$';
}

static std::string_view take_name(std::string_view *text)
{
    size_t length = text->starts_with('#') ? 1 : 0;
    while (length < text->size() && is_name_part((*text)[length]))
        ++length;
    const std::string_view name = text->substr(0, length);
    *text = without_blanks(text->substr(length));
    return name;
}

StatementParts take_apart(std::string_view line)
{
    const bool in_first_column = !line.empty() && is_name_part(line.front());
    std::string_view text = without_blanks(without_comment(line));
    StatementParts parts;
    parts.word = take_name(&text);
    const bool colon = text.starts_with(':') && !text.starts_with(":=");
    if (colon || (settings.opt_old_syntax && in_first_column)) {
        parts.label = parts.word;
        text = without_blanks(text.substr(colon ? 1 : 0));
        parts.word = take_name(&text);
    }
    const size_t dot = parts.word.rfind('.');
    const bool has_suffix =
        dot != std::string_view::npos && dot != 0 && parts.word.size() - dot <= 3;
    parts.stem = has_suffix ? parts.word.substr(0, dot) : parts.word;
    parts.rest = text;
    parts.first_operand = without_blanks(text.substr(0, text.find(',')));
    return parts;
}

size_t token_start(std::string_view line, size_t end)
{
    size_t start = end;
    while (start > 0 && is_name_part(line[start - 1]))
        --start;
    return start == end && end > 0 ? end - 1 : start;
}

std::string lower(std::string_view text)
{
    std::string result(text);
    std::ranges::transform(result, result.begin(), lower_case);
    return result;
}
