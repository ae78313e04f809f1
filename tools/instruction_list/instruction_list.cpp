// One line for each row of the table, in its order: what is written, and the bytes that come of it.

#include "instruction_list/instruction_list.h"

#include "target/instruction_table.h"
#include <cstdio>
#include <span>

static const char HEAD[] =
    R"(# Instructions

The 105 mnemonics and the 591 forms of their operands, in the order in which the assembler tries them:
the first form that takes the operands wins. `nvasm8_instruction_list` makes this page from the
assembler's own table.

| Operand | Stands for | Bytes |
|---|---|---|
| `byte`, `word` | a value of one or two bytes | `nn`, `hh ll` |
| `short` | an address below $100, or an offset of one byte | `nn` |
| `long` | an address or offset of two bytes; takes a short one too | `hh ll` |
| `far` | an address of three bytes; takes the others too | `ee hh ll` |
| `bit` | 0 to 7; twice the number is added to the opcode | |
| `label` | the target of a branch, -128 to 127 bytes from the end of the instruction | `rr` |

Which form a value gets is told in the [manual](manual.md#operands), what becomes of branches out of
reach in [Branches](manual.md#branches).

| Mnemonic | Operands | Bytes |
|---|---|---|
)";

struct ModeText {
    uint8_t mode;
    const char *operand;
    const char *bytes; // of the field
};

static constexpr ModeText MODE_TEXTS[] = {
    {AM_SHORT, "short", " nn"},
    {AM_LONG, "long", " hh ll"},
    {AM_IMM8, "#byte", " nn"},
    {AM_IMM16, "#word", " hh ll"},
    {AM_IND_X, "(x)", ""},
    {AM_SHORT_X, "(short,x)", " nn"},
    {AM_LONG_X, "(long,x)", " hh ll"},
    {AM_IND_Y, "(y)", ""},
    {AM_SHORT_Y, "(short,y)", " nn"},
    {AM_LONG_Y, "(long,y)", " hh ll"},
    {AM_PTR_SHORT, "[short]", " nn"},
    {AM_PTR_LONG, "[long]", " hh ll"},
    {AM_PTR_SHORT_X, "([short],x)", " nn"},
    {AM_PTR_SHORT_Y, "([short],y)", " nn"},
    {AM_PTR_LONG_X, "([long],x)", " hh ll"},
    {AM_PTR_LONG_Y, "([long],y)", " hh ll"},
    {AM_BIT, "#bit", ""},
    {AM_SHORT_SP, "(byte,sp)", " nn"},
    {AM_FAR, "far", " ee hh ll"},
    {AM_FAR_X, "(far,x)", " ee hh ll"},
    {AM_FAR_Y, "(far,y)", " ee hh ll"},
};

static ModeText text_of(uint8_t mode)
{
    for (const ModeText &row : MODE_TEXTS) {
        if (row.mode == mode)
            return row;
    }
    for (const RegisterName &row : register_table) {
        if (row.number == mode)
            return {mode, row.name, ""};
    }
    return {mode, "", ""};
}

static std::string operands_of(const OpcodeEntry &row)
{
    std::string text;
    const auto append = [&text](std::string_view operand) {
        if (!text.empty() && !operand.empty())
            text += ',';
        text += operand;
    };
    append(text_of(row.first_operand & MODE_MASK).operand);
    append(text_of(row.second_operand & MODE_MASK).operand);
    append(row.second_operand & OP_REL ? "label" : "");
    return text.empty() ? "" : "`" + text + "`";
}

static const char *prefix_of(const OpcodeEntry &row)
{
    switch (row.first_operand >> PREFIX_SHIFT) {
    case PREFIX_72:
        return "72 ";
    case PREFIX_90:
        return "90 ";
    case PREFIX_SWAP:
        return "51 72 ";
    case PREFIX_91:
        return "91 ";
    case PREFIX_92:
        return "92 ";
    default:
        return "";
    }
}

// The source of mov, its second operand, comes first.
static std::string bytes_of(const OpcodeEntry &row)
{
    char opcode[8];
    std::snprintf(opcode, sizeof opcode, "%02X", row.opcode);
    std::string text = prefix_of(row) + std::string(opcode);
    text += text_of(row.second_operand & MODE_MASK).bytes;
    text += text_of(row.first_operand & MODE_MASK).bytes;
    text += row.second_operand & OP_REL ? " rr" : "";
    return text + (row.first_operand >> PREFIX_SHIFT == PREFIX_SWAP ? " 51" : "");
}

std::string instruction_list()
{
    std::string text = HEAD;
    uint8_t id = 0;
    for (const OpcodeEntry &row : std::span(opcode_table).first(OPCODE_ROW_COUNT)) {
        const bool is_first = row.mnemonic_id != id;
        id = row.mnemonic_id;
        const std::string name(mnemonic_names[id - 1U]);
        text += is_first ? "| `" + name + "` | " : "| | ";
        text += operands_of(row) + " | `" + bytes_of(row) + "` |\n";
    }
    return text;
}
