// Which form a branch takes, for those who write branches and those who only count their bytes.
// Inline, as replay asks millions of times. The rules are told at the head of branch_forms.cpp.
#pragma once

#include "target/branch_record.h"
#include <cstdint>

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
    static constexpr uint8_t KIND = 0x07;
    static constexpr uint8_t LOCAL = 0x08;      // the target is a known place, or a number
    static constexpr uint8_t IN_SECTION = 0x10; // it lies in the section of the branch
    static constexpr uint8_t SCROSS = 0x20;     // long jumps are far ones
    static constexpr int OPERAND_SHIFT = 6; // bytes between opcode and offset, in the short form

    uint8_t traits;

    BranchKind kind() const
    {
        return static_cast<BranchKind>(traits & KIND);
    }
    bool has(uint8_t trait) const
    {
        return (traits & trait) != 0;
    }
    int operand_bytes() const
    {
        return traits >> OPERAND_SHIFT;
    }
};

// Whether it is written with an offset: it must stay in its section.
inline bool is_relative(Branch branch)
{
    return branch.kind() == BranchKind::CONDITIONAL || branch.kind() == BranchKind::UNCONDITIONAL ||
           branch.kind() == BranchKind::RELATIVE_CALL;
}

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

// Lengths from the opcode on: of a branch or jump with an offset, of the long jumps.
constexpr uint8_t SHORT_LENGTH = 2;
constexpr uint8_t JP_LENGTH = 3;
constexpr uint8_t JPF_LENGTH = 4;

inline uint8_t short_length(Branch branch)
{
    return static_cast<uint8_t>(SHORT_LENGTH + branch.operand_bytes());
}

// Whether a branch of `length` bytes reaches the target.
inline bool is_near(uint32_t here, uint32_t target, uint32_t length)
{
    const auto distance = static_cast<int32_t>(target - here - length);
    return distance >= -128 && distance <= 127;
}

inline uint8_t long_jump_length(Branch branch)
{
    return branch.has(Branch::SCROSS) ? JPF_LENGTH : JP_LENGTH;
}

// As it is written, whatever the distance.
inline BranchChoice as_written(uint8_t length, bool serves_others)
{
    return {BranchForm::AS_WRITTEN, length, serves_others, 0, 0};
}

inline BranchChoice choose_conditional(Branch branch, uint32_t target, uint32_t here)
{
    const uint8_t length = short_length(branch);
    if (branch.has(Branch::LOCAL) && is_near(here, target, length))
        return as_written(length, false);
    uint32_t hop;
    if (branch.has(Branch::LOCAL) && find_jump(target, &hop) && is_near(here, hop, length))
        return {BranchForm::HOP, length, false, 0, hop};
    const auto inverted = static_cast<uint8_t>(length + long_jump_length(branch));
    return {BranchForm::INVERTED, inverted, true, length, 0};
}

inline BranchChoice choose_unconditional(Branch branch, uint32_t target, uint32_t here)
{
    if (branch.has(Branch::LOCAL) && is_near(here, target, SHORT_LENGTH))
        return as_written(SHORT_LENGTH, branch.has(Branch::IN_SECTION));
    return {BranchForm::LONG, long_jump_length(branch), true, 0, 0};
}

// Never a hop for others, and never callf: the callee returns with ret.
inline BranchChoice choose_relative_call(Branch branch, uint32_t target, uint32_t here)
{
    if (branch.has(Branch::LOCAL) && is_near(here, target, SHORT_LENGTH))
        return as_written(SHORT_LENGTH, false);
    return {BranchForm::LONG, JP_LENGTH, false, 0, 0};
}

// Jumps and calls that may take an offset in the place of an address.
inline BranchChoice choose_jump(Branch branch, uint32_t target, uint32_t here)
{
    const bool far = branch.kind() == BranchKind::JUMP_FAR;
    const bool jump = branch.kind() == BranchKind::JUMP;
    if (branch.has(Branch::IN_SECTION) && is_near(here, target, SHORT_LENGTH))
        return {BranchForm::SHORT, SHORT_LENGTH, jump, 0, 0};
    const bool of_kind_in_force =
        (jump && !branch.has(Branch::SCROSS)) || (far && branch.has(Branch::SCROSS));
    return as_written(far ? JPF_LENGTH : JP_LENGTH,
                      branch.has(Branch::IN_SECTION) && of_kind_in_force);
}

// The form of a branch whose opcode stands at `here` in the current section.
inline BranchChoice choose_branch_form(Branch branch, uint32_t target, uint32_t here)
{
    switch (branch.kind()) {
    case BranchKind::CONDITIONAL:
        return choose_conditional(branch, target, here);
    case BranchKind::UNCONDITIONAL:
        return choose_unconditional(branch, target, here);
    case BranchKind::RELATIVE_CALL:
        return choose_relative_call(branch, target, here);
    default:
        return choose_jump(branch, target, here);
    }
}
