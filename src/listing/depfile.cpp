// Names are written as GNU make reads them in a rule; other readers of such rules (ninja, cmake)
// know the same marks. Every file but the source is a target of its own, without a recipe: when a
// header is gone, make then takes the rule for out of date instead of stopping.

#include "listing/depfile.h"

#include "base/byte_stream.h"
#include "base/diagnostics.h"
#include "base/file_names.h"
#include "base/output_files.h"
#include "base/pass_state.h"
#include "base/settings.h"
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

// In the order of their first opening.
static std::vector<std::string> inputs;

static ByteStream rule_text = {nullptr, &rule_text.head, nullptr, 0};

void reset_depfile()
{
    inputs.clear();
    reset_stream(&rule_text);
}

void add_depfile_input(const char *path)
{
    if (settings.depfile_name != nullptr && std::ranges::find(inputs, path) == inputs.end())
        inputs.emplace_back(path);
}

// Characters that make reads as themselves only after a backslash.
static bool takes_backslash(char c, bool is_target)
{
    constexpr std::string_view ANYWHERE = " #:*?[";
    return ANYWHERE.find(c) != std::string_view::npos || (c == '%' && is_target);
}

// Backslashes ahead of such a character are doubled, others stand for themselves.
static std::string name_for_make(std::string_view name, bool is_target)
{
    std::string text = name.starts_with('~') ? "./" : "";
    size_t backslashes = 0;
    for (const char c : name) {
        if (takes_backslash(c, is_target))
            text.append(backslashes + 1, '\\');
        else if (c == '$')
            text += '$';
        text += c;
        backslashes = c == '\\' ? backslashes + 1 : 0;
    }
    return text;
}

// In a rule make takes these for something else whatever stands ahead of them: ends of lines and
// words, an assignment, a recipe, the mark of prerequisites whose age doesn't count, a member of an
// archive, and a line that goes on.
static bool can_be_named(std::string_view name)
{
    const bool is_member = name.ends_with(')') && name.find('(') != std::string_view::npos;
    return !is_member && !name.ends_with('\\') &&
           name.find_first_of("\n\r\t=;|") == std::string_view::npos;
}

static bool report_unnamed(std::string_view name)
{
    if (can_be_named(name))
        return false;
    print_direct_error(source_file_name, 0, "make can't read the name %.*s", name);
    return true;
}

static bool has_unnamed_file()
{
    return report_unnamed(object_file_name) || std::ranges::any_of(inputs, report_unnamed);
}

void build_depfile()
{
    reset_stream(&rule_text);
    if (settings.depfile_name == nullptr || has_unnamed_file())
        return;
    if (!can_create_output(OutputKind::DEPENDENCIES, settings.depfile_name)) {
        ++error_count;
        return;
    }
    stream_put_text(&rule_text, name_for_make(object_file_name, true) + ":");
    for (const std::string &input : inputs)
        stream_put_text(&rule_text, " \\\n  " + name_for_make(input, false));
    stream_put_text(&rule_text, "\n");
    for (const std::string &input : inputs) {
        if (input != inputs.front())
            stream_put_text(&rule_text, "\n" + name_for_make(input, true) + ":\n");
    }
}

void place_depfile()
{
    if (settings.depfile_name != nullptr)
        place_output(OutputKind::DEPENDENCIES, settings.depfile_name, rule_text);
    reset_stream(&rule_text);
}
