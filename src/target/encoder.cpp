// One instruction at a time, from what the symbol table holds at the moment. Nothing is kept of an
// instruction from pass to pass: sizes settle because the whole source is assembled again until no
// label moves. A branch that doesn't reach its target first looks for a jump to the same target to
// hop through, and only then becomes an inverted branch around a long jump.

#include "target/encoder.h"

#include "base/diagnostics.h"
#include "base/settings.h"
#include "expr/evaluator.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "output/emission.h"
#include "output/section_table.h"
#include "target/branch_record.h"
#include "target/instruction_table.h"
#include "target/operand.h"
#include "target/target.h"

// Opcodes that relaxation writes on its own.
constexpr uint8_t OPCODE_JRA = 0x20;
constexpr uint8_t OPCODE_CALLR = 0xAD;
constexpr uint8_t OPCODE_JPF = 0xAC;
constexpr uint8_t OPCODE_JP = 0xCC;
constexpr uint8_t OPCODE_CALL = 0xCD;
constexpr uint8_t OPCODE_EXGW = 0x51;

// The lowest bit of a branch's opcode turns its condition round.
constexpr uint8_t OPCODE_INVERT = 1;

// Instruction::bit_code of a bit that only the linker knows.
constexpr uint8_t BIT_OF_LINKER = 255;
// In Instruction::bit_code while operands are read: the bit came with the symbol.
constexpr uint8_t BIT_IN_SYMBOL = 1;

// Instruction::data_mode of an instruction that has nothing behind the opcode but an offset.
constexpr uint8_t OFFSET_ONLY = OP_REL;

// Lengths of the short branches whose reach is tested.
constexpr uint32_t BRANCH_LENGTH = 2;

// The instruction being assembled.
struct Instruction {
    const OpcodeEntry *row;
    ExprValue first;  // the memory operand: what the address field holds
    ExprValue second; // the other operand, or the target of a branch
    uint8_t first_mode;
    uint8_t second_mode; // with OP_REL for a relative branch
    uint8_t bit_code;    // twice the bit number, or BIT_OF_LINKER
    uint8_t data_mode;   // which fields follow the opcode; with OP_REL an offset ends them
    bool byte_field;     // the address field has one byte, not two
    bool check_target;   // an RK_CHECK item goes ahead of the address field
    bool swap_back;      // a final exgw ends the instruction
    uint32_t here;       // address of the opcode, behind the prefix
};

// Mnemonics that branch optimisation tells apart.
static const uint8_t ID_CALL = mnemonic_number("call");
static const uint8_t ID_CALLR = mnemonic_number("callr");
static const uint8_t ID_JP = mnemonic_number("jp");
static const uint8_t ID_JPF = mnemonic_number("jpf");
static const uint8_t ID_JRA = mnemonic_number("jra");
static const uint8_t ID_JRF = mnemonic_number("jrf");
static const uint8_t ID_JRT = mnemonic_number("jrt");
static const uint8_t ID_MOV = mnemonic_number("mov");

static uint8_t row_first_mode(const OpcodeEntry *row)
{
    return row->first_operand & MODE_MASK;
}

static uint8_t row_second_mode(const OpcodeEntry *row)
{
    return row->second_operand & static_cast<uint8_t>(~OP_REL);
}

static uint8_t row_prefix(const OpcodeEntry *row)
{
    return row->first_operand >> PREFIX_SHIFT;
}

static bool is_bit_row(const OpcodeEntry *row)
{
    return row_second_mode(row) == AM_BIT;
}

// --- operands ---------------------------------------------------------------------------------

// A bit symbol of this source: its value holds address and bit, and no #bit operand is written.
static void split_bit_symbol(Instruction *ins)
{
    ins->bit_code = static_cast<uint8_t>((ins->first.value & 7) << 1 | BIT_IN_SYMBOL);
    ins->first.value >>= 3;
    if (ins->first.symbol->flags & SYM_ALIAS)
        ins->first.symbol = follow_alias(ins->first.symbol->link);
    ins->first_mode = AM_LONG;
}

static void take_bit_operand(Instruction *ins)
{
    if (ins->second_mode != AM_IMM8 || ins->second.reloc != RELOC_ABSOLUTE)
        record_error(messages::BAD_ADDRESSING_MODE);
    if (ins->second.value > 7)
        record_error(messages::VALUE_TOO_LARGE);
    ins->bit_code = static_cast<uint8_t>(ins->second.value << 1);
}

static void settle_bit(Instruction *ins)
{
    const Symbol *symbol = ins->first.symbol;
    if (ins->first.reloc != RELOC_ABSOLUTE && symbol != nullptr && (symbol->attrs & ATTR_BIT))
        ins->bit_code = BIT_OF_LINKER;
    else if (symbol != nullptr && (symbol->flags & SYM_BIT))
        split_bit_symbol(ins);
    else
        take_bit_operand(ins);
    ins->second_mode = AM_BIT;
}

// Finds the target of a relative branch and puts it into `second`.
static void settle_branch_target(Instruction *ins)
{
    if (ins->second_mode == AM_BIT) {
        if ((ins->bit_code & BIT_IN_SYMBOL) == 0) {
            expect_token(TOK_COMMA);
            parse_expression(&ins->second);
        }
    } else {
        if (ins->first_mode != AM_SHORT && ins->first_mode != AM_LONG)
            record_error(messages::BAD_ADDRESSING_MODE);
        ins->second = ins->first;
        ins->first_mode = AM_NONE;
    }
    ins->second_mode |= OP_REL;
    if (ins->second.section_number != 0 && ins->second.section_number != current_section->number)
        record_error(messages::BAD_RELOCATABLE);
}

static void read_operands(Instruction *ins)
{
    const OpcodeEntry *row = ins->row;
    ins->check_target = row->mnemonic_id == ID_JP || row->mnemonic_id == ID_CALL;
    ins->first_mode = parse_operand(&ins->first);
    const int32_t token = next_token();
    if (token == TOK_COMMA)
        ins->second_mode = parse_operand(&ins->second);
    else
        unget_token(token);

    if (is_bit_row(row))
        settle_bit(ins);
    else if (ins->first_mode < AM_FIRST_MEMORY)
        ins->first = ins->second;

    // A pointer as a branch target finds no row.
    const bool through_pointer = row->first_operand == 0 && ins->first_mode == AM_PTR_SHORT;
    if ((row->second_operand & OP_REL) && !through_pointer)
        settle_branch_target(ins);
    if ((ins->second_mode & static_cast<uint8_t>(~OP_REL)) == AM_BIT &&
        ins->bit_code != BIT_OF_LINKER)
        ins->bit_code &= static_cast<uint8_t>(~BIT_IN_SYMBOL);
}

// The first row of the mnemonic that takes the operands, or none.
static const OpcodeEntry *find_matching_row(const Instruction &ins)
{
    const OpcodeEntry *row = ins.row;
    while (!mode_matches(row->second_operand, ins.second_mode) ||
           !mode_matches(row_first_mode(row), ins.first_mode)) {
        const uint8_t id = row->mnemonic_id;
        if ((++row)->mnemonic_id != id)
            return nullptr;
    }
    return row;
}

// --- prefix and field plan --------------------------------------------------------------------

static void emit_prefix(Instruction *ins)
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

static void plan_fields(Instruction *ins)
{
    ins->here = current_location();
    uint8_t mode = row_first_mode(ins->row);
    if (mode < AM_FIRST_MEMORY)
        mode = row_second_mode(ins->row);
    ins->byte_field = has_byte_field(mode);
    ins->data_mode = mode | (ins->row->second_operand & OP_REL);
}

// --- branch decisions -------------------------------------------------------------------------

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

// The opcode of a bit instruction and, where the linker patches it, its address.
static void emit_bit_opcode(const Instruction &ins, uint8_t opcode)
{
    if (ins.bit_code == BIT_OF_LINKER)
        emit_bit_for_linker(ins, opcode);
    else
        emit_byte(uint32_t{opcode} + ins.bit_code);
}

static void emit_inverted_bit_test(Instruction *ins)
{
    const bool for_linker = ins->bit_code == BIT_OF_LINKER;
    emit_bit_opcode(*ins, ins->row->opcode ^ OPCODE_INVERT);
    if (for_linker)
        ins->bit_code = 0;
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

static void emit_as_written(const Instruction &ins)
{
    if (is_bit_row(ins.row)) {
        emit_bit_opcode(ins, ins.row->opcode);
        return;
    }
    if (is_hop_for_others(ins))
        record_jump(ins.first.value);
    emit_byte(ins.row->opcode);
}

static void emit_opcode(Instruction *ins)
{
    const bool relaxed = !settings.opt_no_branch_opt &&
                         (relax_branch(ins) || relax_bit_branch(ins) || shorten_jump(ins));
    if (!relaxed)
        emit_as_written(*ins);
}

// --- fields -----------------------------------------------------------------------------------

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
    if (ins.data_mode == AM_FAR || ins.data_mode == AM_FAR_X || ins.data_mode == AM_FAR_Y)
        emit_page_byte(value);
    else if (ins.data_mode != AM_IMM16 && !ins.byte_field && value.reloc == RELOC_ABSOLUTE &&
             (number > 65535 || number < -32768))
        record_error(messages::VALUE_TOO_LARGE);
    if (!is_pointer_mode(ins.data_mode) && ins.check_target && value.reloc != RELOC_ABSOLUTE &&
        value.symbol != nullptr)
        emit_relocation(RK_CHECK, value);
    emit_value(value, ins.byte_field);
}

// An offset carries no relocation: both ends lie in one section.
static void emit_offset(const Instruction &ins)
{
    if (ins.second.section_number == 0 && ins.second.reloc != RELOC_ABSOLUTE)
        record_error(messages::BAD_RELOCATABLE);
    const auto offset = static_cast<int32_t>(ins.second.value - current_location() - 1);
    if (offset < -128 || offset > 127)
        record_error(messages::VALUE_TOO_LARGE);
    emit_byte(static_cast<uint32_t>(offset));
}

static bool has_address_field(const Instruction &ins)
{
    if (ins.data_mode == OFFSET_ONLY || ins.data_mode == AM_IND_X || ins.data_mode == AM_IND_Y)
        return false;
    return !is_bit_row(ins.row) || ins.bit_code != BIT_OF_LINKER;
}

static void emit_fields(const Instruction &ins)
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

// --- the instruction --------------------------------------------------------------------------

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
    emit_opcode(&ins);
    emit_fields(ins);
}
