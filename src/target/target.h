// What the assembler's core has to know of the processor.
#pragma once

#include <cstdint>

// Tell targets apart in the object file.
extern uint8_t object_machine;
extern uint8_t object_machine_variant;

// How far `page` shifts an absolute value.
extern uint32_t address_page_bits;

// Far targets are reached with `jpf` (1) or `jp` (0). Set to 1 at the head of each pass, changed by
// `scross`.
extern uint8_t scross_on;

// Installs the target: its settings, its registers as symbols, its own directives and its
// mnemonics. Once per run.
void install_target();

// Reads the word "on" or "off" at the cursor: 1, 0, or -1 when something else stands there, which
// is left for the end-of-statement check.
int32_t read_on_off();
