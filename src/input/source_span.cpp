// The span file stays open with its position until another name is asked for, across passes and
// source files, since compilers ask for their lines in rising order.

#include "input/source_span.h"

#include "base/diagnostics.h"
#include "base/file_register.h"
#include "base/host.h"
#include "base/memory.h"
#include "base/pass_state.h"
#include "input/input_stack.h"
#include "input/source_reader.h"
#include <cstdio>
#include <cstring>

static char *span_name;           // name of the span file, null before the first request
static std::FILE *span_file;      // null when it could not be opened
static uint32_t span_line;        // lines read so far from span_file
static uint32_t span_first;       // number of the next line to deliver
static uint32_t span_left;        // lines still to deliver, 0 when no span is active
static uint32_t span_asked_first; // the range of the last request
static uint32_t span_asked_last;

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
        skip_source_line(span_file);
    }
    return !std::ferror(span_file);
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

const char *next_span_line()
{
    while (span_left != 0) {
        if (!read_span_text()) {
            span_left = 0;
            if (std::ferror(span_file))
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
    if (span_file != nullptr)
        std::fclose(span_file);
    span_file = nullptr;
    free_block(span_name);
    span_name = nullptr;
    span_line = 0;
}

static void open_span_file(const char *name)
{
    forget_span_file();
    switch (open_for_reading(name, &span_file)) {
    case Opening::OPEN:
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

// Back to the first line. A file that can't be read from there is given up.
static bool rewind_span_file()
{
    span_line = 0;
    if (std::fseek(span_file, 0, SEEK_SET) == 0)
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
    if (first <= span_line && !rewind_span_file())
        return;
    span_first = first;
    span_left = last - first + 1;
}
