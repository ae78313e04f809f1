// The place in the source that is being read, for all who show it. Filled by the input.
#pragma once

#include <cstdint>

// A file that is read, and how far.
struct FilePosition {
    const char *name;
    uint32_t line; // lines read so far
};

// The file being read, null while there is none. It stays at the call while an expansion runs.
extern FilePosition *current_position;

// Lines delivered in this pass, from files and expansions together. 0 at the head of a pass.
extern uint32_t line_ordinal;

// Name of the file being read, "command_line" while there is none, and the number of lines read
// from it, 0 while there is none.
const char *current_file_name();
uint32_t current_line();

// What #line or .sfile has said. `file` is null when the real position counts; with it, the line
// shown is line_ordinal minus `bias`. Set by the directives, carried over from pass to pass.
struct LineDirective {
    const char *file;
    uint32_t bias;
};
extern LineDirective line_directive_position;

// The position that diagnostics and first references show.
struct SourcePosition {
    const char *file;
    uint32_t line;
};
SourcePosition source_position();
