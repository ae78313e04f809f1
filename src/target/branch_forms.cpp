// How a branch takes its form.
//
// A short branch reaches from 128 bytes back to 127 ahead. In each pass every branch chooses anew,
// from the values that the symbols have at that moment, the first of these forms that will do:
//
// - near: opcode and offset, when the target lies in reach;
// - a hop: the same bytes, to a jump within reach that goes to the same target;
// - inverted: the branch on the opposite condition steps over a long jump to the target.
//
// `jra` and `callr` have no condition, so that a long jump or call takes their place; they never
// hop. The other way round `jp`, `jpf` and `call` shrink to `jra` and `callr` when they reach their
// target. The long jump is `jpf`, 4 bytes that reach every page, or with `scross off` `jp`, 3 bytes
// within the page; the long jumps of the kind in force serve as hops, and `jra`.
//
// A hop must be a jump that stands above in the same section and was met in this pass. Only then
// its address is what this pass makes it, and it is sure to be a jump; two jumps that lead to one
// another can't come about either, since a jump that is hopped through never hops itself.
//
// An example, with a label that moves into reach:
//
//     start:  jra far
//             jreq far
//             ds.b 125
//     far:    ret
//
// In the sizing pass `far` is unknown and both take their longest form, 4 and 6 bytes; `far` comes
// out at 0x87. Pass 1 finds it 129 bytes after the end of jreq, which is too far; but the jpf that
// stands for jra at 0 goes there, so jreq shrinks to a hop, 27 fa, and `far` moves to 0x83. In pass
// 2 that is near: jreq becomes 27 7d and goes straight. It has the length of the hop, nothing moves
// any more, and the bytes stand: ac 83 00 83 at 0, 27 7d at 4. With `ds.b 130` `far` settles at
// 0x88, 130 bytes away, and the hop stays: 27 fa.

#include "target/branch_forms.h"

#include "base/settings.h"
#include "expr/evaluator.h"
#include "expr/lexer.h"
#include "output/emission.h"
#include "output/layout_record.h"
#include "output/section_table.h"
#include "target/branch_choice.h"
#include "target/branch_record.h"
#include "target/instruction.h"
#include "target/instruction_fields.h"
#include "target/instruction_table.h"
#include "target/target.h"
#include <optional>

// Opcodes that relaxation writes on its own.
constexpr uint8_t OPCODE_JRA = 0x20;
constexpr uint8_t OPCODE_CALLR = 0xAD;
constexpr uint8_t OPCODE_JPF = 0xAC;
constexpr uint8_t OPCODE_JP = 0xCC;
constexpr uint8_t OPCODE_CALL = 0xCD;

// The lowest bit of a branch's opcode turns its condition round.
constexpr uint8_t OPCODE_INVERT = 1;

constexpr uint8_t ID_CALL = mnemonic_number("call");
constexpr uint8_t ID_CALLR = mnemonic_number("callr");
constexpr uint8_t ID_JP = mnemonic_number("jp");
constexpr uint8_t ID_JPF = mnemonic_number("jpf");
constexpr uint8_t ID_JRF = mnemonic_number("jrf");

static bool is_in_section(const ExprValue &target)
{
    return target.section_number == current_section->number;
}

static Branch make_branch(BranchKind kind, bool local, const ExprValue &target, int operand_bytes)
{
    const int traits = static_cast<int>(kind) | (local ? Branch::LOCAL : 0) |
                       (is_in_section(target) ? Branch::IN_SECTION : 0) |
                       (scross_on ? Branch::SCROSS : 0) | operand_bytes << Branch::OPERAND_SHIFT;
    return {static_cast<uint8_t>(traits)};
}

static Branch relative_branch(const Instruction &ins, BranchKind kind, int operand_bytes)
{
    const bool local = ins.second.section_number != 0 || ins.second.reloc == RELOC_ABSOLUTE;
    return make_branch(kind, local, ins.second, operand_bytes);
}

static Branch addressed_jump(const Instruction &ins, BranchKind kind)
{
    return make_branch(kind, is_in_section(ins.first), ins.first, 0);
}

static std::optional<Branch> as_relative_branch(const Instruction &ins)
{
    if (ins.second_mode == (AM_BIT | OP_REL)) {
        const int address_bytes = row_prefix(ins.row) != PREFIX_NONE ? 2 : 1;
        return relative_branch(ins, BranchKind::CONDITIONAL, address_bytes);
    }
    if (ins.second_mode != OP_REL || ins.row->mnemonic_id == ID_JRF)
        return std::nullopt;
    BranchKind kind = BranchKind::CONDITIONAL;
    if (ins.row->opcode == OPCODE_JRA)
        kind = BranchKind::UNCONDITIONAL;
    else if (ins.row->mnemonic_id == ID_CALLR)
        kind = BranchKind::RELATIVE_CALL;
    return relative_branch(ins, kind, 0);
}

static std::optional<Branch> as_addressed_jump(const Instruction &ins)
{
    const uint8_t mode = ins.row->first_operand;
    if (mode != AM_LONG && mode != AM_FAR)
        return std::nullopt;
    switch (ins.row->mnemonic_id) {
    case ID_JP:
        return addressed_jump(ins, BranchKind::JUMP);
    case ID_JPF:
        return addressed_jump(ins, BranchKind::JUMP_FAR);
    case ID_CALL:
        return addressed_jump(ins, BranchKind::CALL);
    default:
        return std::nullopt;
    }
}

// Writes the opcode of a long jump to the branch's target; the address field follows.
static void emit_long_jump(Instruction *ins)
{
    ins->data_mode = AM_NONE;
    if (scross_on) {
        emit_byte(OPCODE_JPF);
        ins->data_mode = AM_FAR;
    } else {
        emit_byte(OPCODE_JP);
        ins->check_target = true;
    }
    ins->first = ins->second;
    ins->byte_field = false;
}

static void emit_call(Instruction *ins)
{
    emit_byte(OPCODE_CALL);
    ins->data_mode = AM_NONE;
    ins->check_target = true;
    ins->first = ins->second;
    ins->byte_field = false;
}

// The branch on the opposite condition, over the long jump that follows.
static void emit_inverted(Instruction *ins)
{
    const uint8_t opcode = ins->row->opcode ^ OPCODE_INVERT;
    if (!is_bit_row(ins->row)) {
        emit_byte(opcode);
    } else {
        emit_bit_opcode(*ins, opcode);
        // What the linker patches stands there with its address; the address field is the jump's.
        if (ins->bit_of_linker)
            ins->bit_of_linker = false;
        else
            emit_value(ins->first, ins->byte_field);
    }
    emit_byte(scross_on ? JPF_LENGTH : JP_LENGTH);
}

static void emit_hop(Instruction *ins, uint32_t hop)
{
    ins->second.value = hop;
    if (is_bit_row(ins->row)) {
        emit_bit_opcode(*ins, ins->row->opcode);
        return;
    }
    emit_byte(ins->row->opcode);
    ins->data_mode = OFFSET_ONLY;
}

static void emit_shortened(Instruction *ins)
{
    emit_byte(ins->row->mnemonic_id == ID_CALL ? OPCODE_CALLR : OPCODE_JRA);
    ins->second = ins->first;
    ins->data_mode = OFFSET_ONLY;
    ins->check_target = false;
}

static bool emit_form(Instruction *ins, const BranchChoice &choice)
{
    switch (choice.form) {
    case BranchForm::HOP:
        emit_hop(ins, choice.hop);
        return true;
    case BranchForm::INVERTED:
        emit_inverted(ins);
        emit_long_jump(ins);
        return true;
    case BranchForm::LONG:
        if (ins->row->mnemonic_id == ID_CALLR)
            emit_call(ins);
        else
            emit_long_jump(ins);
        return true;
    case BranchForm::SHORT:
        emit_shortened(ins);
        return true;
    default:
        return false;
    }
}

// `jrf` has no other form: it has to reach its target.
static void record_reach(const ExprValue &target)
{
    const ExprValue here = {current_location(), nullptr, 0, RELOC_ABSOLUTE, record_location()};
    ExprValue distance = target;
    distance.cell = record_computation(TOK_MINUS, target, here);
    distance.value -= here.value;
    record_decision(distance, SHORT_LENGTH - 128U, SHORT_LENGTH + 127U);
}

// A form with an address of two bytes refuses numbers that have no room there, whichever form the
// branch has now.
static void record_room(Branch branch, const ExprValue &target)
{
    const bool long_jump_is_far =
        branch.has(Branch::SCROSS) &&
        (branch.kind() == BranchKind::CONDITIONAL || branch.kind() == BranchKind::UNCONDITIONAL);
    if (target.reloc != RELOC_ABSOLUTE || branch.kind() == BranchKind::JUMP_FAR || long_jump_is_far)
        return;
    const auto number = static_cast<int32_t>(target.value);
    if (number > UINT16_MAX || number < INT16_MIN)
        spoil_layout_record();
    record_decision(target, static_cast<uint32_t>(INT16_MIN), UINT16_MAX);
}

bool emit_relaxed_opcode(Instruction *ins)
{
    if (settings.opt_no_branch_opt)
        return false;
    std::optional<Branch> branch = as_relative_branch(*ins);
    const ExprValue target = branch ? ins->second : ins->first;
    if (!branch)
        branch = as_addressed_jump(*ins);
    if (!branch) {
        if (ins->second_mode == OP_REL)
            record_reach(ins->second);
        return false;
    }
    const BranchChoice choice = choose_branch_form(*branch, target.value, ins->here);
    record_room(*branch, target);
    record_branch(branch->traits, target, choice.length, choice.serves_others);
    if (choice.serves_others)
        record_jump(target.value, ins->here + choice.jump_offset);
    return emit_form(ins, choice);
}
