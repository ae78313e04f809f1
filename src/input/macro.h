// Macros and repeats: stored lines, run with their arguments put in.
#pragma once

#include <cstddef>
#include <cstdint>

struct Keyword;

// One stored source line.
struct BodyLine {
    BodyLine *next;
    char *text; // label, newline and all, zero-terminated; inside the record
};

constexpr size_t ARGUMENT_SLOTS = 64;

// One running macro or repeat, owned by the input stack and freed at its end.
struct Expansion {
    BodyLine *position;      // the line to be read next, or none
    BodyLine *repeat_body;   // the owned body of a repeat; none in a macro
    uint32_t cond_mark;      // the conditional on top when the expansion began
    const char *param_names; // counted names, ended by a zero byte; none for positional parameters
    const char *args[ARGUMENT_SLOTS]; // into arg_text
    char *arg_text;                   // the owned text of the call, cut up in place
    uint16_t call_number;             // what \@ gives
    uint16_t repeats_left;            // runs of a repeat that remain, this one included
    uint8_t arg_count;
    char suffix;         // of the word of the call, 0 if there is none
    int32_t saved_mlist; // mlist_flag to restore at the end of a repeat
};

// The directives. Definitions record the lines that follow them, up to `endm` or `endr`.
void macro_directive(Keyword *keyword, const char *label, uint32_t length);
void repeat_directive(Keyword *keyword, const char *label, uint32_t length);
void mexit_directive(Keyword *keyword, const char *label, uint32_t length);
void rexit_directive(Keyword *keyword, const char *label, uint32_t length);

// Frees, at the end of a source file, the bodies that macros have had replaced.
void free_retired_bodies();

// Whether lines are being recorded, and how that is stopped at the head of a pass.
bool is_recording_body();
void stop_recording();

// What the recorder carries over from pass to pass.
struct RecordingState {
    int32_t repeat_code;
    int32_t macro_nesting;
    int32_t repeat_nesting;
};
RecordingState recording_state();
void restore_recording_state(const RecordingState &state);

// Takes a line while a body is recorded. `keyword` is that of its word, or none.
void record_body_line(Keyword *keyword, const char *line);

// Begins an expansion of `body` with the arguments at line_cursor. A new one is made and put on top
// of the input, unless `expansion` is given: a repeat's, whose arg_text is its list. Records "too
// many arguments".
void expand_macro(BodyLine *body, Expansion *expansion);

// The next line of the expansion, or none after freeing it. Records "bad argument number" and
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
