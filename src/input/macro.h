// Macros and repeats: stored lines, run with their arguments put in.
#pragma once

#include "base/position.h"
#include "expr/keyword_table.h"
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// One stored source line.
struct BodyLine {
    BodyLine *next;
    const char *file; // where it was recorded
    uint32_t line;
    char *text; // label, newline and all, zero-terminated; inside the record
};

constexpr size_t ARGUMENT_SLOTS = 64;

// One running macro or repeat, owned by the input stack and freed at its end.
struct Expansion {
    BodyLine *position;      // the line to be read next, or null
    const BodyLine *running; // the line read last, or null
    std::string_view name;   // of the macro; empty for a repeat and the debug prologue
    SourcePosition call;     // where it was called
    uint32_t run;            // of a repeat, counted from 0
    BodyLine *repeat_body;   // the owned body of a repeat; null in a macro
    uint32_t cond_mark;      // the conditional on top when the expansion began
    const char *param_names; // counted names, ended by a zero byte; null for positional parameters
    const char *args[ARGUMENT_SLOTS]; // into arg_text
    char *arg_text;                   // the owned text of the call, cut up in place
    uint16_t call_number;             // what \@ gives
    uint16_t repeats_left;            // runs of a repeat that remain, this one included
    uint8_t arg_count;
    char suffix;      // of the word of the call, 0 if there is none
    bool saved_mlist; // mlist_flag to restore at the end of a repeat
};

// `macro`, `repeat` and their kin record the lines that follow them, up to `endm` or `endr`.
std::span<const DirectiveRow> recording_directives();

// `mexit` and `rexit`.
std::span<const DirectiveRow> expansion_directives();

// The names of the parameters of a running body, empty for positional ones.
std::vector<std::string> parameter_names(const Expansion &expansion);

// Drops all macros at the end of a source file, overridden keywords with them.
void forget_macros();

// Drops the macros that override a keyword, which gets its meaning back: for a source file that
// starts over.
void undo_macros();

// Warns of a body that is still open at the end of the source.
void warn_of_open_body();

// Whether lines are being recorded, and how that is stopped at the head of a pass.
bool is_recording_body();
void stop_recording();

// Which repeat is recorded.
enum class RepeatForm : uint8_t { NONE, COUNT, LIST };

// What the recorder carries over from pass to pass.
struct RecordingState {
    RepeatForm form; // what is recorded, or was last: see the recorder
    int32_t count;   // runs of RepeatForm::COUNT
    int32_t macro_nesting;
    int32_t repeat_nesting;
};
RecordingState recording_state();
void restore_recording_state(const RecordingState &state);

// Takes a line while a body is recorded. `keyword` is that of its word, or null.
void record_body_line(const Keyword *keyword, const char *line);

// Calls a macro with the arguments at line_cursor: its expansion comes on top of the input. `name`
// must last as long as it. Records "too many arguments".
void expand_macro(BodyLine *body, std::string_view name, std::string_view suffix);

// Where the line `macro` of a macro stands; line 0 if there is no such macro.
SourcePosition macro_place(std::string_view name);

// Prepares the runs of a body, one for each item of `list`, whose text the expansion takes over.
// Records "too many arguments".
Expansion *expand_list(BodyLine *body, char *list);

// The next line of the expansion, or null after freeing it. Records "bad argument number" and
// "unknown macro argument %.*s".
const char *next_expansion_line(Expansion *expansion);

// At the head of a pass; definitions stay.
void reset_macro_state();

// Starts the numbers of \@ over.
void reset_expansion_counter();

// A stored line with a copy of `length` characters of `text`.
BodyLine *new_body_line(const char *text, size_t length);

// Frees a chain of lines.
void free_body(BodyLine *body);
