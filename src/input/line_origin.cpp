// The stack of inputs, told as a way from the line up to the main source.

#include "input/line_origin.h"

#include "input/input_stack.h"
#include "input/macro.h"
#include <cstring>
#include <string_view>

static SourcePosition place_in(const InputLevel &level)
{
    if (level.expansion != nullptr && level.expansion->running != nullptr)
        return {level.expansion->running->file, level.expansion->running->line};
    if (level.position != nullptr)
        return {level.position->name, level.position->line};
    return {current_file_name(), current_line()};
}

SourcePosition line_place()
{
    return place_in({current_expansion, current_position});
}

std::string place_text(const SourcePosition &place)
{
    return std::string(place.file) + ':' + std::to_string(place.line);
}

// "line 3 of its body (file:line)", counted from the line of `macro` or `repeat`.
static std::string body_line(const Expansion &expansion, uint32_t head_line)
{
    const BodyLine &line = *expansion.running;
    std::string text;
    if (line.line > head_line)
        text = "line " + std::to_string(line.line - head_line) + " of its body ";
    return text + '(' + place_text({line.file, line.line}) + ')';
}

static std::string expansion_step(const Expansion &expansion)
{
    const std::string call = place_text(expansion.call);
    if (expansion.running == nullptr)
        return "at the head of what " + call + " calls";
    if (expansion.repeat_body != nullptr)
        return "in run " + std::to_string(expansion.run + 1) + " of the repeat of " + call + ", " +
               body_line(expansion, expansion.call.line);
    if (expansion.name.empty())
        return "in the lines that -x puts ahead of the source";
    return "in macro " + std::string(expansion.name) + ", " +
           body_line(expansion, macro_place(expansion.name).line) + ", called at " + call;
}

// A step for a file that another one includes. The main source has none.
static std::string include_step(const InputLevel &includer)
{
    const SourcePosition place = place_in(includer);
    if (place.line == 0)
        return "read ahead of " + std::string(place.file) + " (-h)";
    return "included at " + place_text(place);
}

std::vector<std::string> line_origin()
{
    const std::vector<InputLevel> levels = input_levels();
    std::vector<std::string> steps;
    for (size_t i = 0; i < levels.size(); ++i) {
        if (levels[i].expansion != nullptr)
            steps.push_back(expansion_step(*levels[i].expansion));
        else if (i + 1 < levels.size())
            steps.push_back(include_step(levels[i + 1]));
    }
    return steps;
}

// Whether both are runs of one macro, or readings of one file.
static bool is_same_input(const InputLevel &left, const InputLevel &right)
{
    if (left.expansion != nullptr && right.expansion != nullptr)
        return !left.expansion->name.empty() && left.expansion->name == right.expansion->name;
    return left.expansion == nullptr && right.expansion == nullptr && left.position != nullptr &&
           right.position != nullptr && std::strcmp(left.position->name, right.position->name) == 0;
}

static RepeatedInput tell_repeated(const InputLevel &first, const SourcePosition &again)
{
    if (first.expansion == nullptr) {
        const std::string name = first.position->name;
        return {name, name + " includes itself at " + place_text(again), again};
    }
    const std::string name = "macro " + std::string(first.expansion->name);
    return {name,
            name + ", called at " + place_text(first.expansion->call) + ", calls itself at " +
                place_text(again),
            again};
}

std::optional<RepeatedInput> repeated_input()
{
    const std::vector<InputLevel> levels = input_levels();
    // The outermost pair: it shows the first round.
    for (size_t outer = levels.size(); outer-- > 1;) {
        for (size_t inner = outer; inner-- > 0;) {
            if (is_same_input(levels[inner], levels[outer]))
                return tell_repeated(levels[outer], place_in(levels[inner + 1]));
        }
    }
    return std::nullopt;
}
