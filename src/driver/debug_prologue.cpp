// The prologue is a macro that no source can name: \1 is the source file, \2 its number of lines.
// It runs at line 0, ahead of the source's first line.

#include "driver/debug_prologue.h"

#include "base/file_names.h"
#include "base/memory.h"
#include "base/settings.h"
#include "expr/lexer.h"
#include "input/macro.h"
#include <cstdio>
#include <cstring>

static const char *const prologue_lines[] = {
    " switch .debug\n",
    " .dfile \"\\1\"\n",
    "\\@1: dc.l \\@2,\\@3\n",
    "\\@2: dc.b \"\\1\",0,$8A\n",
    "\\@3: dc.l 0,\\@1,0,1,\\2,0,0\n",
    " switch .text\n",
    " .dstart \"\\1~:1-1\"\n",
};

constexpr size_t ARGUMENT_ROOM = 240;

static BodyLine *prologue;

void build_debug_prologue()
{
    BodyLine **tail = &prologue;
    for (const char *text : prologue_lines) {
        BodyLine *line = new_body_line(text, std::strlen(text));
        // Labels of the old syntax stand in the first column and need no colon.
        char *colon = std::strchr(line->text, ':');
        if (settings.opt_old_syntax && line->text[0] == '\\' && colon != nullptr)
            *colon = ' ';
        *tail = line;
        tail = &line->next;
    }
}

void expand_debug_prologue(uint32_t line_total)
{
    const char *name =
        settings.debug_no_path ? without_directory(source_file_name) : source_file_name;
    char argument[ARGUMENT_ROOM];
    std::snprintf(argument, sizeof argument, "%s,%ld\n", name,
                  static_cast<long>(static_cast<int32_t>(line_total)));
    line_cursor = argument;
    expand_macro(prologue, {}, {});
    line_cursor = "";
}
