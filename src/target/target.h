// What the assembler's core has to know of the processor.
#pragma once

#include "output/object_file.h"
#include <cstdint>

// What the object file says of the processor.
extern const Machine target_machine;

// Far targets are reached with `jpf` (on) or `jp`. On at the head of each pass, changed by
// `scross`.
extern bool scross_on;

// Installs the target: its settings, its registers as symbols, its own directives and its
// mnemonics. Once per run.
void install_target();
