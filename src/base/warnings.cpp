// Every pass finds the same again with better values; what counts is what the last one found.

#include "base/warnings.h"

#include "base/diagnostics.h"
#include "base/message_queue.h"
#include "base/pass_state.h"
#include "base/settings.h"
#include <set>
#include <utility>
#include <vector>

struct Warning {
    LineContext place;
    std::string text;
    std::string advice;
};
static std::vector<Warning> warnings;

bool warns()
{
    return settings.warn && pass_number != 0;
}

void warn_at(LineContext place, std::string_view text, std::string_view advice)
{
    if (warns())
        warnings.push_back({std::move(place), std::string(text), std::string(advice)});
}

void warn(std::string_view text, std::string_view advice)
{
    if (warns())
        warn_at(line_context(), text, advice);
}

void drop_warnings()
{
    warnings.clear();
}

std::string warning_head(const std::string &file, uint32_t line)
{
    const std::string place = file + ':' + std::to_string(static_cast<int32_t>(line));
    if (settings.eclipse_style)
        return place + ":1: warning: ";
    return std::string("#warning ") + settings.program_name + ' ' + place + '\t';
}

int32_t print_warnings()
{
    std::set<std::string> printed;
    for (const Warning &warning : warnings) {
        const std::string line =
            warning_head(warning.place.file, warning.place.line) + warning.text + '\n';
        if (!printed.insert(line).second)
            continue;
        std::string notes = context_notes(warning.place);
        if (!warning.advice.empty())
            notes += note_line(warning.advice);
        print_message({warning.place.ordinal, line, std::move(notes)});
    }
    warnings.clear();
    return static_cast<int32_t>(printed.size());
}
