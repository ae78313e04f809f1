// The instruction being assembled, as its stages hand it on: operands, row, opcode, fields.
#pragma once

#include "expr/evaluator.h"
#include "target/instruction_table.h"
#include <cstdint>

struct Instruction {
    const OpcodeEntry *row; // the mnemonic's first, then the one that takes the operands
    ExprValue first;        // the memory operand: what the address field holds
    ExprValue second;       // the other operand, or the target of a branch
    uint8_t first_mode;
    uint8_t second_mode; // with OP_REL for a relative branch
    uint8_t bit;         // number of the bit that a bit instruction means
    bool bit_in_symbol;  // the bit came with the symbol, and no operand names it
    bool bit_of_linker;  // only the linker knows the bit, and patches opcode and address
    uint8_t data_mode;   // which fields follow the opcode; with OP_REL an offset ends them
    bool byte_field;     // the address field has one byte, not two
    bool check_target;   // an RK_CHECK item goes ahead of the address field
    bool swap_back;      // a final exgw ends the instruction
    uint32_t here;       // address of the opcode, after the prefix
};

// Instruction::data_mode of an instruction that has nothing but an offset after the opcode.
constexpr uint8_t OFFSET_ONLY = OP_REL;

constexpr uint8_t OPCODE_EXGW = 0x51;

inline uint8_t row_first_mode(const OpcodeEntry *row)
{
    return row->first_operand & MODE_MASK;
}

inline uint8_t row_second_mode(const OpcodeEntry *row)
{
    return row->second_operand & static_cast<uint8_t>(~OP_REL);
}

inline uint8_t row_prefix(const OpcodeEntry *row)
{
    return row->first_operand >> PREFIX_SHIFT;
}

inline bool is_bit_row(const OpcodeEntry *row)
{
    return row_second_mode(row) == AM_BIT;
}
