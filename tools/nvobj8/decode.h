// Instructions from their bytes, by the assembler's table.
#pragma once

#include "target/instruction_table.h"
#include <array>
#include <cstdint>
#include <optional>
#include <span>

// A field of an instruction: the value of one operand.
struct OperandField {
    uint8_t at;      // from the first byte of the instruction
    uint8_t size;    // 1 to 3
    uint8_t mode;    // AM_ of the operand
    uint8_t operand; // 0 for the first one as it is written, 1 for the second
};

struct DecodedInstruction {
    const OpcodeEntry *row; // of several names for one instruction the first
    uint8_t size;
    uint8_t opcode_at;
    uint8_t bit; // of a bit instruction
    uint8_t field_count;
    std::array<OperandField, 2> fields; // in the order of the bytes
    uint8_t branch_at;                  // of the offset of a relative branch; 0 for none
};

// The instruction that begins with these bytes; nothing if there is none, or if they end in it.
std::optional<DecodedInstruction> decode_instruction(std::span<const uint8_t> bytes);

inline uint8_t first_mode_of(const OpcodeEntry &row)
{
    return row.first_operand & MODE_MASK;
}

inline uint8_t second_mode_of(const OpcodeEntry &row)
{
    return row.second_operand & MODE_MASK;
}

inline bool is_bit_instruction(const OpcodeEntry &row)
{
    return second_mode_of(row) == AM_BIT;
}

inline bool is_branch(const OpcodeEntry &row)
{
    return (row.second_operand & OP_REL) != 0;
}

inline std::string_view mnemonic_of(const OpcodeEntry &row)
{
    return mnemonic_names[row.mnemonic_id - 1U];
}
