// Where lines come from: the main source, include files, running macros and repeats, and spans of
// other files shown in the listing. Nothing of the text is kept between passes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

struct Expansion;
struct FilePosition;

// Room for a line and its end mark: at most 511 characters of a source line are read at once.
constexpr size_t LINE_ROOM = 512;

// The buffer of the lines that come from files. Overwritten by next_line and, with joined paths,
// by open_include.
extern char line_buffer[LINE_ROOM];

// The expansion being read, null while lines come from a file.
extern Expansion *current_expansion;

// Set by `end`: the current file counts as finished when it is asked for its next line.
extern bool end_seen;

// The next line of the pass with its newline, if it has one, or null at the end. It stays valid
// until the next call.
const char *next_line();

// Makes a file the current input, or records "can't open %s" and returns false. The name
// is tried as it stands, then, unless rooted, below each path of the include list. A name that
// doesn't open as it did in an earlier pass, or that the host failed to look up, is an error at
// once, in every pass.
bool open_include(const char *name);

// The same for the main source: here a false reports nothing at once.
bool open_main_source(const char *name);

// Records that an input can't be read, at once and in every pass, but only once for each name.
void report_unreadable(const char *name);

// Puts an expansion on top of the current input.
void push_expansion(Expansion *expansion);

// Offers the expansions below the current one, from the innermost outwards, files passed over,
// until `stops` is true for one. Gives that one, or null.
Expansion *visit_suspended_expansions(bool (*stops)(Expansion *));

// A file or an expansion on the stack of inputs.
struct InputLevel {
    const Expansion *expansion;   // null for a file
    const FilePosition *position; // of the file, or of the one that the expansion runs over
};

// The input at hand and those suspended below it, innermost first.
std::vector<InputLevel> input_levels();

// Empties the input at the head of a pass.
void reset_input();

// Whether the host has failed to open or read an input of this source file, so that what was read
// is not the whole.
bool input_failed();

// Reports a file that could not be opened because the host had too many open, if nothing else is
// wrong with the source file. It may have been missed in the passes only that nobody counts.
void report_missed_file();

// Frees the file records of the source file before. Nothing may point to their names any more.
void forget_files();
