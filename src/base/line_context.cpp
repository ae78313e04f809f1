// The text of the statement is copied as it begins: the buffer that it stands in is used again
// before the statement is done, as by a search for an include file.

#include "base/line_context.h"

#include "base/position.h"
#include <algorithm>

static std::string kept_text;
static const char *kept_start;
static uint32_t kept_ordinal;

static std::vector<std::string> (*origin_witness)();
static size_t (*column_witness)();

constexpr std::string_view INDENT = "    ";

// Notes are broken into lines of about this width.
constexpr size_t NOTE_WIDTH = 92;

// Of a long origin, as endless recursion has, only its ends are told.
constexpr size_t ORIGIN_HEAD = 6;
constexpr size_t ORIGIN_TAIL = 3;

void keep_statement_text(const char *line)
{
    kept_start = line;
    kept_ordinal = line_ordinal;
    kept_text = line;
    while (!kept_text.empty() && (kept_text.back() == '\n' || kept_text.back() == '\r'))
        kept_text.pop_back();
}

void forget_statement_text()
{
    kept_start = nullptr;
    kept_text.clear();
}

void set_line_witnesses(std::vector<std::string> (*origin)(), size_t (*column)())
{
    origin_witness = origin;
    column_witness = column;
}

// A line that was just fetched is no statement yet.
static bool is_in_statement()
{
    return kept_start != nullptr && kept_ordinal == line_ordinal;
}

const char *statement_start()
{
    return kept_start;
}

const std::string &statement_text()
{
    return kept_text;
}

size_t reading_column()
{
    return column_witness != nullptr && is_in_statement() ? column_witness() : NO_COLUMN;
}

static std::vector<std::string> shortened(std::vector<std::string> origin)
{
    if (origin.size() <= ORIGIN_HEAD + ORIGIN_TAIL)
        return origin;
    const size_t left_out = origin.size() - ORIGIN_HEAD - ORIGIN_TAIL;
    const auto first = origin.begin() + ORIGIN_HEAD;
    *first = "... (" + std::to_string(left_out) + " more)";
    origin.erase(first + 1, origin.end() - ORIGIN_TAIL);
    return origin;
}

LineContext line_context_at(size_t column)
{
    const SourcePosition position = source_position();
    LineContext context;
    context.file = position.file;
    context.line = position.line;
    context.ordinal = line_ordinal;
    if (is_in_statement()) {
        context.text = kept_text;
        context.column = column != NO_COLUMN ? std::min(column, kept_text.size()) : NO_COLUMN;
    }
    if (origin_witness != nullptr)
        context.origin = shortened(origin_witness());
    return context;
}

LineContext line_context()
{
    return line_context_at(reading_column());
}

std::string place_of(const LineContext &context)
{
    std::string text = context.file + ':' + std::to_string(context.line);
    for (const std::string &step : context.origin)
        text += ", " + step;
    return text;
}

static std::string whole_line(std::string_view text)
{
    return std::string(INDENT).append(text) + '\n';
}

std::string note_line(std::string_view text)
{
    std::string lines;
    std::string indent;
    while (text.size() > NOTE_WIDTH) {
        const size_t blank = text.rfind(' ', NOTE_WIDTH);
        if (blank == std::string_view::npos || blank == 0)
            break;
        lines += whole_line(indent.append(text.substr(0, blank)));
        text.remove_prefix(blank + 1);
        indent = "  ";
    }
    return lines + whole_line(indent.append(text));
}

std::string context_notes(const LineContext &context)
{
    std::string notes;
    if (context.text.find_first_not_of(" \t") != std::string::npos) {
        notes += whole_line(context.text);
        if (context.column != NO_COLUMN) {
            std::string caret = context.text.substr(0, context.column);
            std::ranges::replace_if(
                caret, [](char c) { return c != '\t'; }, ' ');
            notes += whole_line(caret + '^');
        }
    }
    for (const std::string &step : context.origin)
        notes += note_line(step);
    return notes;
}
