// What an instruction has around its opcode: the prefix ahead of it, the bit inside, the address
// and the offset after it.
#pragma once

#include <cstdint>

struct Instruction;

// Writes the prefix of the row that takes the operands.
void emit_prefix(Instruction *ins);

// Notes where the opcode stands and which fields follow it, as the row has them. Relaxation may
// change the plan.
void plan_fields(Instruction *ins);

// Writes the opcode of a bit instruction, given for bit 0, and, where the linker patches it, its
// address.
void emit_bit_opcode(const Instruction &ins, uint8_t opcode);

// Writes what follows the opcode. Records "value too large", "bad relocatable expression".
void emit_fields(const Instruction &ins);
