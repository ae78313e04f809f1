// The forms of branches and jumps: what relaxation makes of them.
#pragma once

#include <cstdint>

struct Instruction;

enum class BranchKind : uint8_t {
    CONDITIONAL,   // with an offset, on a condition or a bit
    UNCONDITIONAL, // jra, jrt
    RELATIVE_CALL, // callr
    JUMP,          // jp
    JUMP_FAR,      // jpf
    CALL,          // call
};

// What the choice of a form depends on, beside the place, the target and the jumps above. In one
// byte, as the layout record has it.
struct Branch {
    BranchKind kind : 3;
    bool local : 1;            // the target is a known place, or a number
    bool in_section : 1;       // it lies in the section of the branch
    bool scross : 1;           // long jumps are far ones
    uint8_t operand_bytes : 2; // between opcode and offset in the short form
};
static_assert(sizeof(Branch) == 1);

enum class BranchForm : uint8_t {
    AS_WRITTEN,
    HOP,      // with an offset, to a jump that goes to the target
    INVERTED, // the opposite condition steps over a long jump
    LONG,     // a long jump or call in the place of the branch
    SHORT,    // an offset in the place of the address
};

struct BranchChoice {
    BranchForm form;
    uint8_t length;      // from the opcode on
    bool serves_others;  // it holds a jump to the target that others may hop through
    uint8_t jump_offset; // where in it
    uint32_t hop;        // of HOP: the address of the jump
};

// Chooses the form of a branch whose opcode stands at `here` in the current section.
BranchChoice choose_branch_form(Branch branch, uint32_t target, uint32_t here);

// Writes the opcode of a branch, jump or call in a form other than the written one and plans the
// fields of that form; for an inverted branch also all that it steps over but the jump's address.
// False when the instruction stays as it is written, with nothing written.
bool emit_relaxed_opcode(Instruction *ins);
