// One source file: the sizing pass, the passes that follow until no label moves, and what comes
// out.
#pragma once

#include <cstdint>

// 0 in the sizing pass, one more at the end of each pass; back to 0 for each source file. While it
// is 0 no byte is stored and no error recorded; callers raise it by one around an error that must
// be told in the sizing pass (force_error).
extern int32_t pass_number;

// Set when a label or equate got another value than it held, or when a debug record differs: this
// pass is void and another one follows. Cleared at the head of each pass.
extern int32_t pass_must_repeat;

// Bit 0: branch optimisation is on. Bit 1, for a target that wants it: one further pass is asked
// for. Set per source file, reduced to bit 0 at the head of each pass.
extern int32_t forced_pass_flags;

// Called at the head of each pass, if set. Installed by the target.
extern void (*target_pass_hook)();

// Assembles source_file_name and gives the number of its errors; 0 under -md, unless an input could
// not be opened or read.
int32_t assemble_source_file();

// Whether a value that differs from the one of the pass before asks for a further pass. Once an
// error was counted behind pass 1 it doesn't, so that a source with errors comes to an end.
bool values_must_settle();

// Whether a use that saw another symbol than there is now asks for a further pass, be the value the
// same. A source with errors has no object that this could make wrong.
bool uses_must_settle();

// Notes what chooses the text that a pass assembles: the outcome of a condition, a number of runs.
void note_text_decision(uint32_t decision);

// Notes that this pass puts a symbol elsewhere than the pass before did, in another section.
void note_unlike_passes();

// Set when the source file at hand has been sized before.
extern bool sizing_repeated;

// Marks this pass as void: a value moved. What is left of it isn't listed.
void request_another_pass();
