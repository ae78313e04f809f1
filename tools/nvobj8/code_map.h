// Tells code from data.
#pragma once

#include "nvobj8/program.h"

// Fills in `uses` and `data_addresses` of all sections.
void find_code(DisassembledProgram *program);

// The instruction at the offset, if its bytes are one and the relocations and labels agree: fields
// begin where operands do, and no label lies inside.
std::optional<DecodedInstruction> instruction_at(const DisassembledSection &section,
                                                 uint32_t offset);

// Where a relative branch at the offset goes; out of bounds it wraps.
uint32_t branch_target(const DisassembledSection &section, uint32_t offset,
                       const DecodedInstruction &instruction);

// Whether its operand is where the program goes on: jp, jpf, call, callf.
bool goes_elsewhere(const OpcodeEntry &row);

// The number that a field of 1 to 3 bytes holds, in the section's order of bytes.
uint32_t field_number(const DisassembledSection &section, uint32_t offset, uint8_t size);
