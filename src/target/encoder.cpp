// One instruction at a time, from what the symbol table holds at the moment. Nothing is kept of an
// instruction from pass to pass: sizes settle because the whole source is assembled again until no
// label moves. The forms that a branch may take are chosen in branch_forms.cpp.

#include "target/encoder.h"

#include "output/emission.h"
#include "target/branch_forms.h"
#include "target/instruction.h"
#include "target/instruction_fields.h"
#include "target/instruction_operands.h"
#include "target/instruction_table.h"
#include "target/operand_forms.h"
#include <cstddef>

// The first row of the mnemonic that takes the operands, or null.
static const OpcodeEntry *find_matching_row(const Instruction &ins)
{
    const uint64_t wanted = operand_set(ins.first_mode, ins.second_mode);
    const OpcodeEntry *row = ins.row;
    const uint8_t id = row->mnemonic_id;
    const uint64_t *taken = &taken_operands[static_cast<size_t>(row - opcode_table.data())];
    for (; row->mnemonic_id == id; ++row, ++taken) {
        if ((*taken & wanted) == wanted)
            return row;
    }
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
        record_bad_operands(row, ins);
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
