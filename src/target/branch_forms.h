// The forms of branches and jumps: what relaxation makes of them.
#pragma once

struct Instruction;

// Writes the opcode of a branch, jump or call in a form other than the written one and plans the
// fields of that form; for an inverted branch also all that it steps over but the jump's address.
// False when the instruction stays as it is written, with nothing written.
bool emit_relaxed_opcode(Instruction *ins);
