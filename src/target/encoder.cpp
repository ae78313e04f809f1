// One instruction at a time, from what the symbol table holds at the moment. Nothing is kept of an
// instruction from pass to pass: sizes settle because the whole source is assembled again until no
// label moves. The forms that a branch may take are chosen in branch_forms.cpp.

#include "target/encoder.h"

#include "base/diagnostics.h"
#include "output/emission.h"
#include "target/branch_forms.h"
#include "target/instruction.h"
#include "target/instruction_fields.h"
#include "target/instruction_operands.h"
#include "target/instruction_table.h"
#include <array>

// A bit for each mode of an operand as it is written.
constexpr uint32_t mode_bit(uint8_t mode)
{
    return uint32_t{1} << (mode & MODE_MASK);
}

// By the mode of a row, the operands that it takes: longer fields take shorter operands.
static constexpr std::array<uint32_t, MODE_MASK + 1> list_taken_modes()
{
    std::array<uint32_t, MODE_MASK + 1> taken = {};
    for (uint8_t mode = 0; mode <= MODE_MASK; ++mode)
        taken[mode] = mode_bit(mode);
    taken[AM_FAR] |= mode_bit(AM_LONG) | mode_bit(AM_SHORT);
    taken[AM_LONG] |= mode_bit(AM_SHORT);
    taken[AM_IMM16] |= mode_bit(AM_IMM8);
    taken[AM_FAR_X] |= mode_bit(AM_IND_X) | mode_bit(AM_SHORT_X) | mode_bit(AM_LONG_X);
    taken[AM_FAR_Y] |= mode_bit(AM_IND_Y) | mode_bit(AM_SHORT_Y) | mode_bit(AM_LONG_Y);
    taken[AM_PTR_LONG] |= mode_bit(AM_PTR_SHORT);
    taken[AM_PTR_LONG_X] |= mode_bit(AM_PTR_SHORT_X);
    taken[AM_PTR_LONG_Y] |= mode_bit(AM_PTR_SHORT_Y);
    return taken;
}

static constexpr std::array<uint32_t, MODE_MASK + 1> taken_modes = list_taken_modes();

// Whether a row with an operand `row_operand`, AM_ with anything above it, takes the mode.
static bool takes(uint8_t row_operand, uint32_t mode)
{
    return (taken_modes[row_operand & MODE_MASK] & mode) != 0;
}

// The first row of the mnemonic that takes the operands, or null. OP_REL has to be the same in row
// and instruction.
static const OpcodeEntry *find_matching_row(const Instruction &ins)
{
    const OpcodeEntry *row = ins.row;
    const uint8_t id = row->mnemonic_id;
    const uint32_t first = mode_bit(ins.first_mode);
    const uint32_t second = mode_bit(ins.second_mode);
    do {
        if (takes(row->first_operand, first) && takes(row->second_operand, second) &&
            ((row->second_operand ^ ins.second_mode) & OP_REL) == 0)
            return row;
        ++row;
    } while (row->mnemonic_id == id);
    return nullptr;
}

static void emit_as_written(const Instruction &ins)
{
    if (is_bit_row(ins.row)) {
        emit_bit_opcode(ins, ins.row->opcode);
        return;
    }
    emit_byte(ins.row->opcode);
}

static bool takes_no_operands(const OpcodeEntry *row)
{
    return row_first_mode(row) == AM_NONE && row->second_operand == 0;
}

static void emit_without_operands(const OpcodeEntry *row)
{
    if (row_prefix(row) != PREFIX_NONE)
        emit_byte(0x72);
    emit_byte(row->opcode);
}

void encode_instruction(const OpcodeEntry *row)
{
    if (takes_no_operands(row)) {
        emit_without_operands(row);
        return;
    }
    Instruction ins{};
    ins.row = row;
    read_operands(&ins);
    ins.row = find_matching_row(ins);
    if (ins.row == nullptr) {
        record_error(messages::BAD_ADDRESSING_MODE);
        return;
    }
    emit_prefix(&ins);
    if (ins.second_mode < AM_FIRST_MEMORY && ins.first_mode < AM_FIRST_MEMORY) {
        emit_byte(ins.row->opcode);
        return;
    }
    plan_fields(&ins);
    if (!emit_relaxed_opcode(&ins))
        emit_as_written(ins);
    emit_fields(ins);
}
