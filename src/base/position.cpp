// Two counts of lines run side by side: that of the file, which users see, and line_ordinal, which
// orders all lines of a pass, those of expansions too, and is the same in every pass.

#include "base/position.h"

FilePosition *current_position;
uint32_t line_ordinal;
LineDirective line_directive_position;

const char *current_file_name()
{
    return current_position != nullptr ? current_position->name : "command_line";
}

uint32_t current_line()
{
    return current_position != nullptr ? current_position->line : 0;
}

SourcePosition source_position()
{
    if (line_directive_position.file != nullptr)
        return {line_directive_position.file, line_ordinal - line_directive_position.bias};
    return {current_file_name(), current_line()};
}
