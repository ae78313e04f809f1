// The operands as a whole: which of them is the memory operand, which bit is meant, and where a
// branch goes. How one operand is written is parse_operand's matter.

#include "target/instruction_operands.h"

#include "base/diagnostics.h"
#include "base/settings.h"
#include "expr/evaluator.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "output/layout_record.h"
#include "output/section_table.h"
#include "target/instruction.h"
#include "target/instruction_table.h"
#include "target/operand.h"
#include "target/operand_forms.h"
#include <string>

constexpr uint8_t ID_CALL = mnemonic_number("call");
constexpr uint8_t ID_JP = mnemonic_number("jp");

// A bit symbol of this source: its value holds address and bit, and no #bit operand is written.
static void split_bit_symbol(Instruction *ins)
{
    record_use(ins->first);
    ins->bit_in_symbol = true;
    ins->bit = ins->first.value & 7;
    ins->first.value >>= 3;
    if (ins->first.symbol->flags & SYM_ALIAS)
        ins->first.symbol = follow_alias(ins->first.symbol->link);
    ins->first_mode = AM_LONG;
}

static void take_bit_operand(Instruction *ins)
{
    if (ins->second_mode != AM_IMM8 || ins->second.reloc != RELOC_ABSOLUTE)
        record_bad_operands(ins->row, *ins);
    if (ins->second.value > 7) {
        record_error(messages::VALUE_TOO_LARGE);
        explain_range(ins->second.value, 0, 7);
    }
    record_use(ins->second);
    ins->bit = static_cast<uint8_t>(ins->second.value);
}

static void settle_bit(Instruction *ins)
{
    const Symbol *symbol = ins->first.symbol;
    if (ins->first.reloc != RELOC_ABSOLUTE && symbol != nullptr && (symbol->attrs & ATTR_BIT))
        ins->bit_of_linker = true;
    else if (symbol != nullptr && (symbol->flags & SYM_BIT))
        split_bit_symbol(ins);
    else
        take_bit_operand(ins);
    ins->second_mode = AM_BIT;
}

// A branch has led out of the section.
static void explain_section(uint8_t number)
{
    if (!settings.explain)
        return;
    std::string other = "another section";
    for (const Section *section = section_list; section != nullptr; section = section->next) {
        if (section->number == number)
            other = "section " + std::string(section_name(*section));
    }
    explain_error("the target is in " + other + ", the branch in section " +
                  std::string(section_name(*current_section)) +
                  ": a branch reaches its own section alone");
    explain_error("use jp, jpf or call to go there; to branch on a condition, branch over a jp");
}

// Finds the target of a relative branch and puts it into `second`.
static void settle_branch_target(Instruction *ins)
{
    if (ins->second_mode == AM_BIT) {
        // Without a bit operand the target has been read as the second one.
        if (!ins->bit_in_symbol && !ins->bit_of_linker) {
            expect_token(TOK_COMMA);
            parse_expression(&ins->second);
        }
    } else {
        if (ins->first_mode != AM_SHORT && ins->first_mode != AM_LONG)
            record_bad_operands(ins->row, *ins);
        ins->second = ins->first;
        ins->first_mode = AM_NONE;
    }
    ins->second_mode |= OP_REL;
    if (ins->second.section_number != 0 && ins->second.section_number != current_section->number) {
        record_error(messages::BAD_RELOCATABLE);
        explain_section(ins->second.section_number);
    }
}

void read_operands(Instruction *ins)
{
    const OpcodeEntry *row = ins->row;
    ins->check_target = row->mnemonic_id == ID_JP || row->mnemonic_id == ID_CALL;
    ins->first_mode = parse_operand(&ins->first);
    if (accept_token(TOK_COMMA))
        ins->second_mode = parse_operand(&ins->second);

    if (is_bit_row(row))
        settle_bit(ins);
    else if (ins->first_mode < AM_FIRST_MEMORY)
        ins->first = ins->second;

    // A pointer as a branch target finds no row.
    const bool through_pointer = row->first_operand == 0 && ins->first_mode == AM_PTR_SHORT;
    if ((row->second_operand & OP_REL) && !through_pointer)
        settle_branch_target(ins);
}
