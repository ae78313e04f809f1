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
#include "output/emission.h"
#include "output/section_table.h"
#include "target/branch_record.h"
#include "target/instruction.h"
#include "target/instruction_fields.h"
#include "target/instruction_table.h"
#include "target/target.h"

// Opcodes that relaxation writes on its own.
constexpr uint8_t OPCODE_JRA = 0x20;
constexpr uint8_t OPCODE_CALLR = 0xAD;
constexpr uint8_t OPCODE_JPF = 0xAC;
constexpr uint8_t OPCODE_JP = 0xCC;
constexpr uint8_t OPCODE_CALL = 0xCD;

// The lowest bit of a branch's opcode turns its condition round.
constexpr uint8_t OPCODE_INVERT = 1;

// Length of the short branches whose reach is tested.
constexpr uint32_t BRANCH_LENGTH = 2;

constexpr uint8_t ID_CALL = mnemonic_number("call");
constexpr uint8_t ID_CALLR = mnemonic_number("callr");
constexpr uint8_t ID_JP = mnemonic_number("jp");
constexpr uint8_t ID_JPF = mnemonic_number("jpf");
constexpr uint8_t ID_JRA = mnemonic_number("jra");
constexpr uint8_t ID_JRF = mnemonic_number("jrf");
constexpr uint8_t ID_JRT = mnemonic_number("jrt");

// Whether a branch of `length` bytes, counted from the opcode, reaches the address.
static bool is_near(const Instruction &ins, uint32_t target, uint32_t length)
{
    const auto distance = static_cast<int32_t>(target - ins.here - length);
    return distance >= -128 && distance <= 127;
}

// Whether the branch goes to a known place; an undefined or external symbol has no section yet.
static bool has_local_target(const Instruction &ins)
{
    return ins.second.section_number != 0 || ins.second.reloc == RELOC_ABSOLUTE;
}

// Whether a jump to the branch's target lies near enough to hop through.
static bool find_hop(const Instruction &ins, uint32_t length, uint32_t *address)
{
    return has_local_target(ins) && find_jump(ins.second.value, address) &&
           is_near(ins, *address, length);
}

// Writes the opcode of a long jump to the branch's target; the address field follows.
static void emit_long_jump(Instruction *ins)
{
    record_jump(ins->second.value);
    if (scross_on) {
        emit_byte(OPCODE_JPF);
        ins->data_mode = AM_FAR;
    } else {
        emit_byte(OPCODE_JP);
        ins->check_target = true;
    }
}

// The offset of an inverted branch: the length of the jump that it steps over.
static void emit_short_skip()
{
    emit_byte(scross_on ? 4 : 3);
}

static void address_target(Instruction *ins)
{
    ins->first = ins->second;
    ins->byte_field = false;
}

static void relax_conditional(Instruction *ins)
{
    uint32_t hop;
    if (find_hop(*ins, BRANCH_LENGTH, &hop)) {
        emit_byte(ins->row->opcode);
        ins->second.value = hop;
        ins->data_mode = OFFSET_ONLY;
        return;
    }
    emit_byte(ins->row->opcode ^ OPCODE_INVERT);
    emit_short_skip();
    emit_long_jump(ins);
}

// Long forms of plain branches. False when the branch reaches its target as it is.
static bool relax_branch(Instruction *ins)
{
    if (ins->second_mode != OP_REL || ins->row->mnemonic_id == ID_JRF)
        return false;
    if (has_local_target(*ins) && is_near(*ins, ins->second.value, BRANCH_LENGTH))
        return false;
    ins->data_mode = AM_NONE;
    if (ins->row->opcode == OPCODE_JRA) {
        emit_long_jump(ins);
    } else if (ins->row->mnemonic_id == ID_CALLR) {
        // Never a hop for others, and never callf: the callee returns with ret.
        emit_byte(OPCODE_CALL);
        ins->check_target = true;
    } else {
        relax_conditional(ins);
    }
    address_target(ins);
    return true;
}

static void emit_inverted_bit_test(Instruction *ins)
{
    emit_bit_opcode(*ins, ins->row->opcode ^ OPCODE_INVERT);
    // What the linker patches stands there with its address; the address field is the jump's.
    if (ins->bit_of_linker)
        ins->bit_of_linker = false;
    else
        emit_value(ins->first, ins->byte_field);
}

// Long forms of btjt and btjf. False when the branch reaches its target as it is.
static bool relax_bit_branch(Instruction *ins)
{
    if (ins->second_mode != (AM_BIT | OP_REL))
        return false;
    const uint32_t length = row_prefix(ins->row) != PREFIX_NONE ? 4 : 3;
    if (has_local_target(*ins) && is_near(*ins, ins->second.value, length))
        return false;
    uint32_t hop;
    if (find_hop(*ins, length, &hop)) {
        emit_bit_opcode(*ins, ins->row->opcode);
        ins->second.value = hop;
        return true;
    }
    emit_inverted_bit_test(ins);
    emit_short_skip();
    ins->data_mode = AM_NONE;
    emit_long_jump(ins);
    address_target(ins);
    return true;
}

// Short forms of jp, jpf and call to a near place in the same section. False when the instruction
// stays as it is written.
static bool shorten_jump(Instruction *ins)
{
    const uint8_t id = ins->row->mnemonic_id;
    if (id != ID_JP && id != ID_JPF && id != ID_CALL)
        return false;
    if (ins->row->first_operand != AM_LONG && ins->row->first_operand != AM_FAR)
        return false;
    if (ins->first.section_number != current_section->number ||
        !is_near(*ins, ins->first.value, BRANCH_LENGTH))
        return false;
    if (id == ID_JP)
        record_jump(ins->first.value);
    emit_byte(id == ID_CALL ? OPCODE_CALLR : OPCODE_JRA);
    ins->second = ins->first;
    ins->data_mode = OFFSET_ONLY;
    ins->check_target = false;
    return true;
}

bool emit_relaxed_opcode(Instruction *ins)
{
    return !settings.opt_no_branch_opt &&
           (relax_branch(ins) || relax_bit_branch(ins) || shorten_jump(ins));
}

// Whether others may hop through this jump: it must be of the kind that relaxation makes.
static bool is_hop_for_others(const Instruction &ins)
{
    if (settings.opt_no_branch_opt || ins.first.section_number != current_section->number)
        return false;
    const uint8_t id = ins.row->mnemonic_id;
    return (id == ID_JP && ins.row->first_operand == AM_LONG && !scross_on) ||
           (id == ID_JPF && ins.row->first_operand == AM_FAR && scross_on) || id == ID_JRA ||
           id == ID_JRT;
}

void note_written_jump(const Instruction &ins)
{
    if (is_hop_for_others(ins))
        record_jump(ins.first.value);
}
