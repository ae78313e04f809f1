// What other tools of a build read: make, and a hardware description.

#include "listing/side_outputs.h"

#include "driver/settings.h"
#include "expr/evaluator.h"
#include "expr/lexer.h"
#include "listing/diagnostics.h"
#include "output/byte_stream.h"
#include "output/output_files.h"
#include "output/section_table.h"
#include <cstdio>
#include <cstring>

// A rule's line goes no further than this column.
constexpr int32_t RULE_WIDTH = 78;

// Room for the line of one `funa`.
constexpr size_t FUNA_ROOM = 256;

static ByteStream verilog_text = {nullptr, &verilog_text.head, nullptr, 0};
static bool verilog_open;

void add_dependency(const char *path)
{
    const auto length = static_cast<int32_t>(std::strlen(path));
    opt_make_deps += length + 1;
    if (opt_make_deps > RULE_WIDTH) {
        std::fputs(" \\\n", stdout);
        opt_make_deps = length + 1;
    }
    if (std::strchr(path, ' ') != nullptr) {
        std::printf(" \"%s\"", path);
        opt_make_deps += 2;
    } else {
        std::printf(" %s", path);
    }
}

void open_verilog()
{
    if (verilog_file_name == nullptr)
        return;
    verilog_open = can_create_output(OutputKind::VERILOG, verilog_file_name);
    if (!verilog_open)
        verilog_file_name = nullptr;
}

void drop_verilog()
{
    reset_stream(&verilog_text);
    verilog_open = false;
}

void close_verilog()
{
    if (verilog_open)
        place_output(OutputKind::VERILOG, verilog_file_name, verilog_text);
    drop_verilog();
}

void write_verilog_line(const char *text)
{
    if (verilog_open)
        stream_put_text(&verilog_text, text);
}

// The one term that may follow the value.
static uint32_t parse_term()
{
    skip_blanks();
    const char sign = *line_cursor;
    if (sign != '+' && sign != '-')
        return 0;
    ++line_cursor;
    const uint32_t term = parse_simple_value();
    return sign == '+' ? term : 0 - term;
}

void funa_directive(Keyword *, const char *, uint32_t)
{
    skip_blanks();
    const char *name = scan_name(0);
    if (name == nullptr) {
        record_error(MSG_SYNTAX_ERROR);
        return;
    }
    const auto length = static_cast<int>(line_cursor - name);
    uint32_t value = current_location();
    skip_blanks();
    if (*line_cursor == ',') {
        ++line_cursor;
        value = parse_simple_value();
    }
    value += parse_term();

    static char line[FUNA_ROOM];
    std::snprintf(line, sizeof line, "%.*s = 16'h%04lx;\n", length, name,
                  static_cast<unsigned long>(value));
    write_verilog_line(line);
    skip_line();
}
