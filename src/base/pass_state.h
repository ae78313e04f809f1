// Where the assembler stands in its passes over a source file, and whether the present one is void.
#pragma once

#include <cstdint>

// 0 in the sizing pass, one more at the end of each pass. While it is 0 no byte is stored and no
// error recorded; force_error raises it by one around an error that only the sizing pass can see.
extern int32_t pass_number;

// Set when a label or equate got another value than it held, or when a debug record differs: this
// pass is void and another one follows. Cleared at the head of each pass.
extern bool pass_must_repeat;

// Errors printed for the current source file. Zeroed once per file and when the file starts over,
// never between passes, so an error met in two passes counts twice.
extern int32_t error_count;

// Whether the source file at hand is being assembled anew, after restart_passes.
bool is_sizing_repeated();

// Has `hook` called at the head of each pass. Installed by the target.
void set_target_pass_hook(void (*hook)());

// For a new source file.
void reset_passes_for_file();

// Starts the source file over, with its sizing pass.
void restart_passes();

// The head and the end of a pass.
void begin_pass();
void end_pass();

// Whether a value that differs from the one of the pass before asks for a further pass. Once an
// error was counted after pass 1 it doesn't, so that a source with errors comes to an end.
bool values_must_settle();

// Whether a use that saw another symbol than there is now asks for a further pass, be the value the
// same. A source with errors has no object that this could make wrong.
bool uses_must_settle();

// Marks this pass as void: a value moved.
void request_another_pass();

// How often request_another_pass has been called in this run.
extern uint32_t void_requests;

// From here on errors of void passes don't count, however far the pass had come when it turned out
// void; but a source that has errors pass after pass isn't forgiven for ever.
void forgive_void_passes(bool forgive);

// Notes what chooses the text that a pass assembles: the outcome of a condition, a number of runs.
void note_text_decision(uint32_t decision);

// Notes that this pass puts a symbol elsewhere than the pass before did, in another section.
void note_unlike_passes();

// Whether two passes over the source file have differed in their text or in the sections of their
// symbols.
bool passes_differ();

// Whether the pass that has ended assembled another text than the one before it.
bool text_has_changed();

// Adds a value to a fingerprint.
constexpr uint64_t mix(uint64_t hash, uint64_t value)
{
    hash = (hash ^ value) * 0x9E3779B97F4A7C15;
    return hash ^ hash >> 29;
}

// Times its value, what a thing known by its address adds to a fingerprint that is a sum.
inline uint64_t state_weight(const void *owner)
{
    return mix(0, reinterpret_cast<uintptr_t>(owner)) | 1;
}
