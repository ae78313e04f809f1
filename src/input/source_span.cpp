// The span file stays open with its position until another name is asked for, across passes and
// source files, since compilers ask for their lines in rising order. Where some of the lines begin
// is remembered, so that a range in any other order is not searched from the first line on.

#include "input/source_span.h"

#include "base/diagnostics.h"
#include "base/file_register.h"
#include "base/host.h"
#include "base/memory.h"
#include "base/pass_state.h"
#include "input/input_stack.h"
#include "input/source_reader.h"
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

static char *span_name;           // name of the span file, null before the first request
static SourceReader *span_file;   // null when it could not be opened
static uint32_t span_line;        // lines read so far from span_file
static uint32_t span_first;       // number of the next line to deliver
static uint32_t span_left;        // lines still to deliver, 0 when no span is active
static uint32_t span_asked_first; // the range of the last request
static uint32_t span_asked_last;

// Where the first line of each block of lines begins, as far as span_file has been read.
constexpr uint32_t BLOCK_LINES = 64;
static std::vector<long> span_blocks;

constexpr const char *CANT_OPEN_SOURCE = "can't open source %s";

// Columns ahead of the text: a semicolon, six digits, a blank.
constexpr size_t NUMBER_WIDTH = 8;
// Characters of the text that are shown; a longer line is cut.
constexpr size_t SPAN_TEXT_MAX = 501;

// Reads one line after the number's columns and closes it with a newline.
static bool read_span_text()
{
    char *text = line_buffer + NUMBER_WIDTH;
    if (!read_source_line(span_file, text, SPAN_TEXT_MAX + 1))
        return false;
    const size_t length = std::strlen(text);
    if (length == 0 || text[length - 1] != '\n') {
        text[length] = '\n';
        text[length + 1] = '\0';
        return skip_source_line(span_file);
    }
    return true;
}

// Puts the number in front of the text, without leading zeros, and gives the line's start.
static const char *number_span_line(uint32_t number)
{
    char digits[NUMBER_WIDTH + 8];
    std::snprintf(digits, sizeof digits, ";%6.6ld", static_cast<long>(number));
    // A number of seven digits reaches into the text, whose first character its end mark replaces;
    // the blank then falls on its last digit.
    std::memcpy(line_buffer, digits, std::strlen(digits) + 1);
    line_buffer[NUMBER_WIDTH - 1] = ' ';

    char *start = line_buffer;
    while (start[1] == '0')
        ++start;
    if (start == line_buffer)
        return start;
    start[0] = ' ';
    start[-1] = ';';
    return start - 1;
}

// Notes a block when its first line is the next to be read for the first time.
static void note_block()
{
    if (span_line % BLOCK_LINES != 0 || span_line / BLOCK_LINES != span_blocks.size())
        return;
    const long begin = reader_position(span_file);
    if (begin >= 0)
        span_blocks.push_back(begin);
}

const char *next_span_line()
{
    while (span_left != 0) {
        note_block();
        if (!read_span_text()) {
            span_left = 0;
            if (reading_failed(span_file))
                report_unreadable(span_name);
            break;
        }
        if (++span_line != span_first)
            continue;
        --span_left;
        return number_span_line(span_first++);
    }
    return nullptr;
}

static void forget_span_file()
{
    close_reader(span_file);
    span_file = nullptr;
    free_block(span_name);
    span_name = nullptr;
    span_line = 0;
    span_blocks.clear();
}

static void open_span_file(const char *name)
{
    forget_span_file();
    std::FILE *file = nullptr;
    switch (open_for_reading(name, &file)) {
    case Opening::OPEN:
        span_file = open_reader(file);
        note_input(name);
        break;
    case Opening::ABSENT:
    case Opening::DENIED:
        record_error(CANT_OPEN_SOURCE, name);
        // A void pass drops the error: the next one tries again.
        if (pass_must_repeat)
            return;
        break;
    default:
        report_at_line(CANT_OPEN_SOURCE, name);
        break;
    }
    span_name = copy_text(name);
}

// Goes to the block of the line, or to the last one that is known. A file that can't be read from
// there is given up.
static bool go_to_block_of(uint32_t line)
{
    const size_t wanted = line != 0 ? (line - 1) / BLOCK_LINES : 0;
    const size_t known = span_blocks.empty() ? 0 : span_blocks.size() - 1;
    const size_t block = std::min(wanted, known);
    const auto block_line = static_cast<uint32_t>(block * BLOCK_LINES);
    if (line > span_line && block_line <= span_line)
        return true; // it is nearer to read on
    span_line = block_line;
    if (seek_reader(span_file, block != 0 ? span_blocks[block] : 0))
        return true;
    report_unreadable(span_name);
    forget_span_file();
    return false;
}

void select_source_lines(const char *name, uint32_t first, uint32_t last)
{
    if (span_name == nullptr || std::strcmp(span_name, name) != 0)
        open_span_file(name);
    if (span_file == nullptr)
        return;
    if (first == span_asked_first && last == span_asked_last)
        return;
    span_asked_first = first;
    span_asked_last = last;
    if (first == span_line && last == span_line)
        return;
    if (!go_to_block_of(first))
        return;
    span_first = first;
    span_left = last - first + 1;
}
