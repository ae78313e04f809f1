// The table of the assembler read the other way round: from prefix and opcode to the row. What
// follows an opcode is told by the modes of the row alone, as in the assembler.

#include "nvobj8/decode.h"

constexpr uint8_t OPCODE_EXGW = 0x51;
constexpr size_t PREFIX_COUNT = 8;
constexpr unsigned BIT_COUNT = 8;

using RowsByCode = std::array<std::array<const OpcodeEntry *, 256>, PREFIX_COUNT>;

static RowsByCode order_by_code()
{
    RowsByCode rows = {};
    for (const OpcodeEntry &row : std::span(opcode_table).first(OPCODE_ROW_COUNT)) {
        auto &of_prefix = rows[row.first_operand >> PREFIX_SHIFT];
        const unsigned codes = is_bit_instruction(row) ? BIT_COUNT : 1;
        for (unsigned bit = 0; bit < codes; ++bit) {
            const OpcodeEntry *&place = of_prefix[row.opcode + 2U * bit];
            if (place == nullptr)
                place = &row;
        }
    }
    return rows;
}

static const OpcodeEntry *find_row(uint8_t prefix, uint8_t opcode)
{
    static const RowsByCode rows = order_by_code();
    return rows[prefix][opcode];
}

static uint8_t field_size(uint8_t mode)
{
    switch (mode) {
    case AM_SHORT:
    case AM_IMM8:
    case AM_SHORT_X:
    case AM_SHORT_Y:
    case AM_PTR_SHORT:
    case AM_PTR_SHORT_X:
    case AM_PTR_SHORT_Y:
    case AM_SHORT_SP:
        return 1;
    case AM_LONG:
    case AM_IMM16:
    case AM_LONG_X:
    case AM_LONG_Y:
    case AM_PTR_LONG:
    case AM_PTR_LONG_X:
    case AM_PTR_LONG_Y:
        return 2;
    case AM_FAR:
    case AM_FAR_X:
    case AM_FAR_Y:
        return 3;
    default:
        return 0;
    }
}

static void add_field(DecodedInstruction *instruction, uint8_t mode, uint8_t operand)
{
    const uint8_t size = field_size(mode);
    if (size == 0)
        return;
    instruction->fields[instruction->field_count++] = {instruction->size, size, mode, operand};
    instruction->size = static_cast<uint8_t>(instruction->size + size);
}

// Only mov has two fields, and its source stands ahead of its destination.
static DecodedInstruction lay_out(const OpcodeEntry &row, uint8_t opcode_at)
{
    DecodedInstruction instruction = {};
    instruction.row = &row;
    instruction.opcode_at = opcode_at;
    instruction.size = static_cast<uint8_t>(opcode_at + 1);
    add_field(&instruction, second_mode_of(row), 1);
    add_field(&instruction, first_mode_of(row), 0);
    if (is_branch(row))
        instruction.branch_at = instruction.size++;
    return instruction;
}

static uint8_t prefix_of(uint8_t byte)
{
    switch (byte) {
    case 0x72:
        return PREFIX_72;
    case 0x90:
        return PREFIX_90;
    case 0x91:
        return PREFIX_91;
    case 0x92:
        return PREFIX_92;
    default:
        return PREFIX_NONE;
    }
}

// 51 72 opcode address 51, one instruction to the assembler.
static std::optional<DecodedInstruction> decode_swapped(std::span<const uint8_t> bytes)
{
    if (bytes.size() < 6 || bytes[0] != OPCODE_EXGW || bytes[1] != 0x72)
        return std::nullopt;
    const OpcodeEntry *row = find_row(PREFIX_SWAP, bytes[2]);
    if (row == nullptr)
        return std::nullopt;
    DecodedInstruction instruction = lay_out(*row, 2);
    if (bytes[instruction.size] != OPCODE_EXGW)
        return std::nullopt;
    ++instruction.size;
    return instruction;
}

std::optional<DecodedInstruction> decode_instruction(std::span<const uint8_t> bytes)
{
    if (auto swapped = decode_swapped(bytes))
        return swapped;
    if (bytes.empty())
        return std::nullopt;
    const uint8_t prefix = prefix_of(bytes[0]);
    const uint8_t opcode_at = prefix == PREFIX_NONE ? 0 : 1;
    if (opcode_at >= bytes.size())
        return std::nullopt;
    const uint8_t opcode = bytes[opcode_at];
    const OpcodeEntry *row = find_row(prefix, opcode);
    if (row == nullptr)
        return std::nullopt;
    DecodedInstruction instruction = lay_out(*row, opcode_at);
    instruction.bit = static_cast<uint8_t>((opcode - row->opcode) / 2);
    if (instruction.size > bytes.size())
        return std::nullopt;
    return instruction;
}
