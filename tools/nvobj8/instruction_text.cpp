// The text of an operand is made from its field, and from the text the mode that the assembler will
// read it as. Then the assembler's own choice among the rows is repeated: only if it falls on the
// row that was decoded is the text right.

#include "nvobj8/instruction_text.h"

#include "nvobj8/code_map.h"
#include <array>

constexpr uint8_t ID_CALL = mnemonic_number("call");
constexpr uint8_t ID_JP = mnemonic_number("jp");

// One field of the instruction at hand.
struct FieldInPlace {
    DisassembledProgram *program;
    DisassembledSection *section;
    uint32_t instruction_at;
    uint32_t at;
    const OperandField *field;
    const OpcodeEntry *row;
};

// A value as it is written, and the size of the operand that it makes.
struct ValueText {
    std::string text;
    uint8_t size;       // 0: no byte at all as an index offset
    uint8_t attributes; // ATTR_ bits of the symbol it goes by
};

static bool is_pointer(uint8_t mode)
{
    return mode >= AM_PTR_SHORT && mode <= AM_PTR_LONG_Y;
}

static ValueText number_text(uint32_t number)
{
    uint8_t size = 0;
    for (uint32_t rest = number; rest != 0; rest >>= 8)
        ++size;
    return {hex_number(number), size, 0};
}

static ValueText address_value(const AddressText &address, uint8_t size)
{
    return {address.text, size, address.attributes};
}

static ValueText part_text(const char *function, const AddressText &address, uint8_t size)
{
    return {std::string(function) + "(" + address.text + ")", size, address.attributes};
}

static unsigned name_needs(const FieldInPlace &place)
{
    return is_pointer(place.field->mode) ? NAME_WITHOUT_DOTS : 0;
}

static std::optional<AddressText> whole_address(const FieldInPlace &place,
                                                const ObjectRelocation &relocation, int bits)
{
    return address_text(place.program, relocation.index, relocation.addend, bits,
                        name_needs(place));
}

// A short address, or the low byte of another one.
static ValueText byte_text(const AddressText &address)
{
    return (address.attributes & ATTR_ZPAGE) ? address_value(address, 1)
                                             : part_text("low", address, 1);
}

static ValueText word_text(const AddressText &address)
{
    return address_value(address, (address.attributes & ATTR_ZPAGE) ? 1 : 2);
}

static const char *part_function(uint8_t kind)
{
    switch (kind) {
    case RK_HIGH:
        return "high";
    case RK_PHIGH:
        return "phigh";
    case RK_PAGE_BYTE:
    case RK_PAGE_WORD:
        return "page";
    case RK_PLOW:
        return "plow";
    default:
        return nullptr;
    }
}

// The kinds that make an operand of one byte, of two or of either.
static bool fits_field(uint8_t kind, uint8_t size)
{
    switch (kind) {
    case RK_BYTE:
    case RK_PAGE_BYTE:
        return size == 1;
    case RK_WORD:
    case RK_PLOW:
    case RK_PAGE_WORD:
        return size == 2;
    case RK_HIGH:
    case RK_PHIGH:
        return true;
    default:
        return false;
    }
}

// Whether the relocation stands where the assembler puts it. A high byte in a field of two is the
// low-order one, and the other is zero.
static bool stands_right(const FieldInPlace &place, const ObjectRelocation &relocation)
{
    if (place.field->size == 1 || relocation.field_size == 2)
        return relocation.offset == place.at;
    const bool high_first = (place.section->section->attributes & SECATTR_HILO) != 0;
    const uint32_t low_order = place.at + (high_first ? 1 : 0);
    const uint32_t other = place.at + (high_first ? 0 : 1);
    return relocation.offset == low_order && place.section->section->contents[other] == 0;
}

static std::optional<ValueText> relocated_value(const FieldInPlace &place,
                                                const ObjectRelocation &relocation)
{
    if (!fits_field(relocation.kind, place.field->size) || !stands_right(place, relocation))
        return std::nullopt;
    constexpr int ALL_BITS = 32;
    const char *function = part_function(relocation.kind);
    const int bits = function != nullptr ? ALL_BITS : 8 * relocation.field_size;
    const auto address = whole_address(place, relocation, bits);
    if (!address)
        return std::nullopt;
    if (function != nullptr)
        return part_text(function, *address, relocation.kind == RK_PLOW ? 2 : 1);
    return relocation.kind == RK_BYTE ? byte_text(*address) : word_text(*address);
}

static bool is_same_address(uint32_t one, uint32_t other, uint8_t size)
{
    const uint32_t mask = (uint32_t{1} << (8 * size)) - 1;
    return ((one ^ other) & mask) == 0;
}

// A far address has its page and then its low word relocated.
static std::optional<ValueText> far_value(const FieldInPlace &place,
                                          std::span<const ObjectRelocation> relocations)
{
    if (relocations.size() != 2 || relocations[0].kind != RK_PAGE_BYTE ||
        relocations[0].offset != place.at || relocations[1].kind != RK_WORD ||
        relocations[1].index != relocations[0].index ||
        !is_same_address(relocations[0].addend, relocations[1].addend, 2))
        return std::nullopt;
    const auto address = whole_address(place, relocations[0], 32);
    if (!address)
        return std::nullopt;
    return word_text(*address);
}

// The value of a jump's field with the check ahead of it: what the check names is what is written.
static std::optional<ValueText> checked_value(const FieldInPlace &place,
                                              const ObjectRelocation &check,
                                              const ObjectRelocation &relocation)
{
    const uint8_t size = place.field->size;
    if (relocation.kind != (size == 1 ? RK_BYTE : RK_WORD) || check.offset != relocation.offset)
        return std::nullopt;
    uint32_t index = check.index;
    uint32_t value = check.addend;
    if (const ObjectSymbol *symbol = symbol_of(place.program->object, index)) {
        const bool by_section = (symbol->attrs & ATTR_DEFINED) && !is_weak_definition(*symbol);
        if (by_section)
            index = symbol->section_number;
        if (symbol->attrs & ATTR_DEFINED)
            value += symbol->value;
    }
    if (index == 0 || index != relocation.index || !is_same_address(value, relocation.addend, size))
        return std::nullopt;
    const auto address = checked_text(place.program, check);
    if (!address)
        return std::nullopt;
    return size == 1 ? byte_text(*address) : word_text(*address);
}

// A jump without a check goes to a place that has no name: one counted from the jump itself.
static std::optional<ValueText> unchecked_value(const FieldInPlace &place,
                                                const ObjectRelocation &relocation)
{
    const uint8_t size = place.field->size;
    if (relocation.kind != (size == 1 ? RK_BYTE : RK_WORD) ||
        relocation.index != place.section->number)
        return std::nullopt;
    const uint32_t distance = relocation.addend - place.instruction_at;
    const auto number = size == 1 ? int32_t{static_cast<int8_t>(distance)}
                                  : int32_t{static_cast<int16_t>(distance)};
    const AddressText address = {with_distance("*", number), 0};
    return size == 1 ? byte_text(address) : word_text(address);
}

static std::optional<ValueText> jump_value(const FieldInPlace &place,
                                           std::span<const ObjectRelocation> relocations)
{
    if (relocations.size() == 2 && is_check(relocations[0]))
        return checked_value(place, relocations[0], relocations[1]);
    if (relocations.size() == 1 && !is_check(relocations[0]))
        return unchecked_value(place, relocations[0]);
    return std::nullopt;
}

// The other jumps and calls are far ones.
static bool asks_for_check(const FieldInPlace &place)
{
    return (place.row->mnemonic_id == ID_JP || place.row->mnemonic_id == ID_CALL) &&
           !is_pointer(place.field->mode);
}

// A number; of a jump to an absolute address the label there.
static ValueText plain_value(const FieldInPlace &place)
{
    const uint32_t number = field_number(*place.section, place.at, place.field->size);
    const uint8_t mode = place.field->mode;
    ValueText value = number_text(number);
    if (goes_elsewhere(*place.row) && (mode == AM_LONG || mode == AM_FAR))
        value.text = code_text(place.program, number).value_or(value.text);
    return value;
}

static std::optional<ValueText> value_text(const FieldInPlace &place)
{
    const uint8_t size = place.field->size;
    const auto relocations =
        relocations_between(*place.section->section, place.at, place.at + size);
    if (relocations.empty())
        return plain_value(place);
    if (size == 3)
        return far_value(place, relocations);
    if (asks_for_check(place))
        return jump_value(place, relocations);
    if (relocations.size() != 1)
        return std::nullopt;
    return relocated_value(place, relocations[0]);
}

// An operand as it is written, with the mode that it is read as.
struct OperandText {
    std::string text;
    uint8_t mode;
};

static OperandText register_text(uint8_t mode)
{
    for (const RegisterName &row : register_table) {
        if (row.number == mode)
            return {row.name, mode};
    }
    return {"", AM_NONE};
}

static uint8_t by_size(const ValueText &value, uint8_t short_mode, uint8_t long_mode)
{
    return value.size <= 1 ? short_mode : long_mode;
}

static OperandText indexed_text(const ValueText &value, const char *index, uint8_t plain_mode)
{
    // The modes of each index register follow one another: none, short, long.
    const auto longer = static_cast<uint8_t>(value.size > 2 ? 2 : value.size);
    return {"(" + value.text + "," + index + ")", static_cast<uint8_t>(plain_mode + longer)};
}

static OperandText memory_text(uint8_t row_mode, const ValueText &value)
{
    const std::string &text = value.text;
    switch (row_mode) {
    case AM_IMM8:
    case AM_IMM16:
        return {"#" + text, by_size(value, AM_IMM8, AM_IMM16)};
    case AM_SHORT_X:
    case AM_LONG_X:
    case AM_FAR_X:
        return indexed_text(value, "x", AM_IND_X);
    case AM_SHORT_Y:
    case AM_LONG_Y:
    case AM_FAR_Y:
        return indexed_text(value, "y", AM_IND_Y);
    case AM_PTR_SHORT:
    case AM_PTR_LONG:
        return {"[" + text + "]", by_size(value, AM_PTR_SHORT, AM_PTR_LONG)};
    case AM_PTR_SHORT_X:
    case AM_PTR_LONG_X:
        return {"([" + text + "],x)", by_size(value, AM_PTR_SHORT_X, AM_PTR_LONG_X)};
    case AM_PTR_SHORT_Y:
    case AM_PTR_LONG_Y:
        return {"([" + text + "],y)", by_size(value, AM_PTR_SHORT_Y, AM_PTR_LONG_Y)};
    case AM_SHORT_SP:
        return {"(" + text + ",sp)", AM_SHORT_SP};
    default:
        return {text, value.size > 2 ? AM_FAR : by_size(value, AM_SHORT, AM_LONG)};
    }
}

static OperandText fieldless_text(uint8_t mode)
{
    if (mode == AM_IND_X)
        return {"(x)", mode};
    if (mode == AM_IND_Y)
        return {"(y)", mode};
    return register_text(mode);
}

static std::optional<std::array<OperandText, 2>>
operand_texts(DisassembledProgram *program, DisassembledSection *section, uint32_t offset,
              const DecodedInstruction &instruction)
{
    const OpcodeEntry &row = *instruction.row;
    std::array<OperandText, 2> operands = {fieldless_text(first_mode_of(row)),
                                           fieldless_text(second_mode_of(row))};
    for (size_t i = 0; i < instruction.field_count; ++i) {
        const OperandField &field = instruction.fields[i];
        const auto value = value_text({program, section, offset, offset + field.at, &field, &row});
        // With a bit symbol it would be the linker's bit.
        if (!value || (is_bit_instruction(row) && (value->attributes & ATTR_BIT)))
            return std::nullopt;
        operands[field.operand] = memory_text(field.mode, *value);
    }
    if (is_bit_instruction(row))
        operands[1] = {"#" + std::to_string(instruction.bit), AM_BIT};
    return operands;
}

// Whether the assembler takes this row for the operands, or one that gives the same bytes.
static bool is_chosen(const OpcodeEntry &row, uint8_t first_mode, uint8_t second_mode)
{
    const auto rel = static_cast<uint8_t>(row.second_operand & OP_REL);
    const uint64_t wanted = operand_set(first_mode, static_cast<uint8_t>(second_mode | rel));
    for (size_t i = 0; i < OPCODE_ROW_COUNT; ++i) {
        const OpcodeEntry &other = opcode_table[i];
        if (other.mnemonic_id == row.mnemonic_id && (taken_operands[i] & wanted) == wanted)
            return other.opcode == row.opcode &&
                   other.first_operand >> PREFIX_SHIFT == row.first_operand >> PREFIX_SHIFT;
    }
    return false;
}

static std::string joined(const OpcodeEntry &row, const std::vector<std::string> &operands)
{
    std::string text(mnemonic_of(row));
    for (size_t i = 0; i < operands.size(); ++i)
        text +=
            (i == 0 ? std::string(text.size() < 8 ? 8 - text.size() : 1, ' ') : ",") + operands[i];
    return text;
}

// Nothing for what no operand of a plain branch can be: a number above $FFFF.
static std::optional<std::string> target_text(DisassembledProgram *program,
                                              DisassembledSection *section, uint32_t offset,
                                              const DecodedInstruction &instruction)
{
    const uint32_t target = branch_target(*section, offset, instruction);
    const bool is_number = (section->section->attributes & SECATTR_ABS) != 0;
    if (is_number && !is_bit_instruction(*instruction.row) &&
        target + section->section->address > UINT16_MAX)
        return std::nullopt;
    return branch_text(program, section, offset, target);
}

// A bit instruction whose bit only the linker knows names the bit alone.
static std::optional<std::string> linked_bit_text(DisassembledProgram *program,
                                                  const ObjectRelocation &relocation)
{
    const auto bit = address_text(program, relocation.index, relocation.addend, 32);
    if (!bit || (bit->attributes & ATTR_BIT) == 0)
        return std::nullopt;
    return bit->text;
}

std::optional<std::string> instruction_text(DisassembledProgram *program,
                                            DisassembledSection *section, uint32_t offset,
                                            const DecodedInstruction &instruction)
{
    const OpcodeEntry &row = *instruction.row;
    std::vector<std::string> written;
    const uint32_t opcode_at = offset + instruction.opcode_at;
    const auto at_opcode = relocations_between(*section->section, opcode_at, opcode_at + 1);
    if (instruction.opcode_at != 0 && !at_opcode.empty()) {
        const auto bit = linked_bit_text(program, at_opcode[0]);
        if (!bit)
            return std::nullopt;
        written = {*bit};
    } else {
        const auto operands = operand_texts(program, section, offset, instruction);
        if (!operands || !is_chosen(row, (*operands)[0].mode, (*operands)[1].mode))
            return std::nullopt;
        for (const OperandText &operand : *operands) {
            if (!operand.text.empty())
                written.push_back(operand.text);
        }
    }
    if (instruction.branch_at != 0) {
        const auto target = target_text(program, section, offset, instruction);
        if (!target)
            return std::nullopt;
        written.push_back(*target);
    }
    return joined(row, written);
}
