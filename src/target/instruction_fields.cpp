// The fields that follow an opcode are planned ahead of it, from the row, and written after it: in
// between, a branch may take a form with other fields.

#include "target/instruction_fields.h"

#include "base/diagnostics.h"
#include "base/line_context.h"
#include "expr/evaluator.h"
#include "output/emission.h"
#include "output/layout_record.h"
#include "output/section_table.h"
#include "target/instruction.h"
#include "target/instruction_table.h"
#include <string>

constexpr uint8_t ID_MOV = mnemonic_number("mov");

void emit_prefix(Instruction *ins)
{
    switch (row_prefix(ins->row)) {
    case PREFIX_72:
        emit_byte(0x72);
        break;
    case PREFIX_90:
        emit_byte(0x90);
        break;
    case PREFIX_SWAP:
        emit_byte(OPCODE_EXGW);
        emit_byte(0x72);
        ins->swap_back = true;
        break;
    case PREFIX_91:
        emit_byte(0x91);
        break;
    case PREFIX_92:
        emit_byte(0x92);
        break;
    default:
        break;
    }
}

static bool has_byte_field(uint8_t mode)
{
    switch (mode) {
    case AM_FAR:
    case AM_LONG:
    case AM_IMM16:
    case AM_LONG_X:
    case AM_LONG_Y:
    case AM_PTR_LONG:
    case AM_PTR_LONG_X:
    case AM_PTR_LONG_Y:
    case AM_FAR_X:
    case AM_FAR_Y:
        return false;
    default:
        return true;
    }
}

void plan_fields(Instruction *ins)
{
    ins->here = current_location();
    uint8_t mode = row_first_mode(ins->row);
    if (mode < AM_FIRST_MEMORY)
        mode = row_second_mode(ins->row);
    ins->byte_field = has_byte_field(mode);
    ins->data_mode = mode | (ins->row->second_operand & OP_REL);
}

// A bit instruction whose bit only the linker knows: it patches opcode and address, which stand in
// this order in every section.
static void emit_bit_for_linker(const Instruction &ins, uint8_t opcode)
{
    emit_relocation(RK_BIT, ins.first);
    emit_byte(opcode);
    emit_byte(ins.first.value >> 8);
    emit_byte(ins.first.value);
    current_section->reloc_position = current_section->size;
}

void emit_bit_opcode(const Instruction &ins, uint8_t opcode)
{
    if (ins.bit_of_linker)
        emit_bit_for_linker(ins, opcode);
    else
        emit_byte(static_cast<uint8_t>(opcode + 2 * ins.bit));
}

static bool is_pointer_mode(uint8_t mode)
{
    return mode >= AM_PTR_SHORT && mode <= AM_PTR_LONG_Y;
}

static void emit_page_byte(const ExprValue &value)
{
    ExprValue page = value;
    if (page.reloc != RELOC_ABSOLUTE)
        page.reloc |= RELOC_PAGE;
    else
        page.value >>= 16;
    emit_value(page, true);
}

static void emit_address_field(const Instruction &ins)
{
    const ExprValue &value = ins.first;
    const auto number = static_cast<int32_t>(value.value);
    if (ins.data_mode == AM_FAR || ins.data_mode == AM_FAR_X || ins.data_mode == AM_FAR_Y) {
        emit_page_byte(value);
    } else if (ins.data_mode != AM_IMM16 && !ins.byte_field && value.reloc == RELOC_ABSOLUTE) {
        if (number > UINT16_MAX || number < INT16_MIN) {
            record_error(messages::VALUE_TOO_LARGE);
            explain_range(value.value, INT16_MIN, UINT16_MAX);
        }
        record_decision(value, static_cast<uint32_t>(INT16_MIN), UINT16_MAX);
    } else if (ins.data_mode == AM_IMM16 && keeps_contexts()) {
        warn_of_cut_word(value);
    }
    if (!is_pointer_mode(ins.data_mode) && ins.check_target && value.reloc != RELOC_ABSOLUTE &&
        value.symbol != nullptr)
        emit_relocation(RK_CHECK, value);
    emit_value(value, ins.byte_field);
}

[[gnu::noinline]] static void report_distance(int32_t offset)
{
    record_error(messages::VALUE_TOO_LARGE);
    if (takes_notes())
        explain_error("the branch is too far by this: " + std::to_string(offset) +
                      " bytes from the next instruction, allowed are -128 to 127");
}

// An offset carries no relocation: both ends lie in one section.
static void emit_offset(const Instruction &ins)
{
    if (ins.second.section_number == 0 && ins.second.reloc != RELOC_ABSOLUTE)
        record_error(messages::BAD_RELOCATABLE);
    const auto offset = static_cast<int32_t>(ins.second.value - current_location() - 1);
    if (offset < -128 || offset > 127)
        report_distance(offset);
    emit_byte(static_cast<uint32_t>(offset));
}

static bool has_address_field(const Instruction &ins)
{
    if (ins.data_mode == OFFSET_ONLY || ins.data_mode == AM_IND_X || ins.data_mode == AM_IND_Y)
        return false;
    // What the linker patches brings its address along with the opcode.
    return !ins.bit_of_linker;
}

void emit_fields(const Instruction &ins)
{
    // The source of mov stands ahead of its destination.
    if (ins.row->mnemonic_id == ID_MOV)
        emit_value(ins.second, ins.row->second_operand != AM_LONG);
    if (has_address_field(ins))
        emit_address_field(ins);
    if (ins.data_mode & OP_REL)
        emit_offset(ins);
    if (ins.swap_back)
        emit_byte(OPCODE_EXGW);
}
