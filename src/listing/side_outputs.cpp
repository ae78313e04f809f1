// What other tools of a build read: make, and a hardware description.

#include "listing/side_outputs.h"

#include "base/byte_stream.h"
#include "base/output_files.h"
#include "base/settings.h"
#include <cstdint>
#include <cstdio>
#include <cstring>

// A rule's line goes no further than this column.
constexpr int32_t RULE_WIDTH = 78;

static ByteStream verilog_text = {nullptr, &verilog_text.head, nullptr, 0};
static bool verilog_open;

// The file could not be created: the run goes on as if there were none.
static bool verilog_refused;

bool has_verilog()
{
    return settings.verilog_file_name != nullptr && !verilog_refused;
}

// The column that the rule's line has reached.
static int32_t rule_column;

void begin_rule(const char *object_name)
{
    std::printf("%s:", object_name);
    rule_column = static_cast<int32_t>(std::strlen(object_name)) + 1;
}

void add_dependency(const char *path)
{
    const auto length = static_cast<int32_t>(std::strlen(path));
    rule_column += length + 1;
    if (rule_column > RULE_WIDTH) {
        std::fputs(" \\\n", stdout);
        rule_column = length + 1;
    }
    if (std::strchr(path, ' ') != nullptr) {
        std::printf(" \"%s\"", path);
        rule_column += 2;
    } else {
        std::printf(" %s", path);
    }
}

void open_verilog()
{
    if (!has_verilog())
        return;
    verilog_open = can_create_output(OutputKind::VERILOG, settings.verilog_file_name);
    verilog_refused = !verilog_open;
}

void drop_verilog()
{
    reset_stream(&verilog_text);
    verilog_open = false;
}

void close_verilog()
{
    if (verilog_open)
        place_output(OutputKind::VERILOG, settings.verilog_file_name, verilog_text);
    drop_verilog();
}

void write_verilog_line(std::string_view text)
{
    if (verilog_open)
        stream_put_text(&verilog_text, text);
}
