// What a line says and where it comes from, for the notes of --explain and for warnings. Nothing
// here is kept in a run that wants neither.
#pragma once

#include "base/settings.h"
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

constexpr size_t NO_COLUMN = SIZE_MAX;

struct LineContext {
    std::string file; // the place as messages show it
    uint32_t line = 0;
    uint32_t ordinal = 0;      // line_ordinal: the order of the source
    std::string text;          // the line as it is assembled; empty if there is none
    size_t column = NO_COLUMN; // where the caret stands
    std::vector<std::string>
        origin; // expansions and includes on the way to the line, innermost first
};

// Whether this run keeps contexts.
inline bool keeps_contexts()
{
    return settings.keeps_contexts;
}

// Keeps the text of the statement that begins, or forgets it, for what is reported between lines.
void keep_statement_text(const char *line);
void forget_statement_text();

// Says who knows where the line at hand comes from, and how far it was read: a column of
// statement_text, or NO_COLUMN.
void set_line_witnesses(std::vector<std::string> (*origin)(), size_t (*column)());

// The start of the line at hand as the lexer sees it, and its text as it was when it began.
const char *statement_start();
const std::string &statement_text();

// The line at hand, with the column read so far.
LineContext line_context();

// The same with another column.
LineContext line_context_at(size_t column);

// How far the line at hand was read, or NO_COLUMN where none is read.
size_t reading_column();

// "file:line", and the origin after it.
std::string place_of(const LineContext &context);

// A text as a line of notes, indented, or as several if it is long.
std::string note_line(std::string_view text);

// The source line with its caret, and the origin: lines of notes.
std::string context_notes(const LineContext &context);
