// The table is built at compile time from families: sets of rows that differ in a nibble of the
// opcode from one mnemonic to the next. A new instruction form is a new row.

#include "target/instruction_table.h"

#include <initializer_list>
#include <span>
#include <string_view>

const std::array<RegisterName, 20> register_table = {{
    {"a", AM_A},   {"A", AM_A},   {"x", AM_X},   {"X", AM_X},   {"y", AM_Y},
    {"Y", AM_Y},   {"s", AM_S},   {"S", AM_S},   {"cc", AM_CC}, {"CC", AM_CC},
    {"sp", AM_SP}, {"SP", AM_SP}, {"xh", AM_XH}, {"XH", AM_XH}, {"xl", AM_XL},
    {"XL", AM_XL}, {"yh", AM_YH}, {"YH", AM_YH}, {"yl", AM_YL}, {"YL", AM_YL},
}};

namespace
{

// A row as it is written down here: prefix, opcode, operands.
struct Row {
    uint8_t prefix;
    uint8_t opcode;
    uint8_t first = AM_NONE;
    uint8_t second = AM_NONE;
};

constexpr uint8_t P0 = PREFIX_NONE;
constexpr uint8_t P72 = PREFIX_72;
constexpr uint8_t P90 = PREFIX_90;
constexpr uint8_t P91 = PREFIX_91;
constexpr uint8_t P92 = PREFIX_92;
constexpr uint8_t PSWAP = PREFIX_SWAP;

// Operations on the accumulator: adc to xor. The low nibble is the operation.
constexpr Row accumulator_family[] = {
    {P0, 0xA0, AM_A, AM_IMM8},       {P0, 0xB0, AM_A, AM_SHORT},
    {P0, 0xC0, AM_A, AM_LONG},       {P0, 0xF0, AM_A, AM_IND_X},
    {P0, 0xE0, AM_A, AM_SHORT_X},    {P0, 0xD0, AM_A, AM_LONG_X},
    {P90, 0xF0, AM_A, AM_IND_Y},     {P90, 0xE0, AM_A, AM_SHORT_Y},
    {P90, 0xD0, AM_A, AM_LONG_Y},    {P91, 0xD0, AM_A, AM_PTR_SHORT_Y},
    {P92, 0xC0, AM_A, AM_PTR_SHORT}, {P92, 0xD0, AM_A, AM_PTR_SHORT_X},
    {P72, 0xC0, AM_A, AM_PTR_LONG},  {P72, 0xD0, AM_A, AM_PTR_LONG_X},
    {P0, 0x10, AM_A, AM_SHORT_SP},
};

// Read-modify-write operations: clr to tnz.
constexpr Row modify_family[] = {
    {P0, 0x40, AM_A},          {P0, 0x30, AM_SHORT},
    {P0, 0x70, AM_IND_X},      {P0, 0x60, AM_SHORT_X},
    {P90, 0x70, AM_IND_Y},     {P90, 0x60, AM_SHORT_Y},
    {P90, 0x40, AM_LONG_Y},    {P91, 0x60, AM_PTR_SHORT_Y},
    {P92, 0x30, AM_PTR_SHORT}, {P92, 0x60, AM_PTR_SHORT_X},
    {P72, 0x50, AM_LONG},      {P72, 0x40, AM_LONG_X},
    {P72, 0x30, AM_PTR_LONG},  {P72, 0x60, AM_PTR_LONG_X},
    {P0, 0x00, AM_SHORT_SP},
};

// The same operations on a 16-bit register.
constexpr Row word_family[] = {
    {P0, 0x50, AM_X},
    {P90, 0x50, AM_Y},
};

// jp and call.
constexpr Row jump_family[] = {
    {P0, 0xC0, AM_LONG},         {P0, 0xF0, AM_IND_X},        {P0, 0xE0, AM_SHORT_X},
    {P0, 0xD0, AM_LONG_X},       {P90, 0xF0, AM_IND_Y},       {P90, 0xE0, AM_SHORT_Y},
    {P90, 0xD0, AM_LONG_Y},      {P91, 0xD0, AM_PTR_SHORT_Y}, {P92, 0xC0, AM_PTR_SHORT},
    {P92, 0xD0, AM_PTR_SHORT_X}, {P72, 0xC0, AM_PTR_LONG},    {P72, 0xD0, AM_PTR_LONG_X},
};

constexpr Row addw_rows[] = {
    {P0, 0x5B, AM_SP, AM_IMM8},     {P0, 0x1C, AM_X, AM_IMM16},  {P72, 0xBB, AM_X, AM_LONG},
    {P72, 0xFB, AM_X, AM_SHORT_SP}, {P72, 0xA9, AM_Y, AM_IMM16}, {P72, 0xB9, AM_Y, AM_LONG},
    {P72, 0xF9, AM_Y, AM_SHORT_SP},
};

constexpr Row subw_rows[] = {
    {P0, 0x52, AM_SP, AM_IMM8},     {P0, 0x1D, AM_X, AM_IMM16},  {P72, 0xB0, AM_X, AM_LONG},
    {P72, 0xF0, AM_X, AM_SHORT_SP}, {P72, 0xA2, AM_Y, AM_IMM16}, {P72, 0xB2, AM_Y, AM_LONG},
    {P72, 0xF2, AM_Y, AM_SHORT_SP},
};

constexpr Row cpw_rows[] = {
    {P0, 0xA3, AM_X, AM_IMM16},        {P0, 0xB3, AM_X, AM_SHORT},
    {P0, 0xC3, AM_X, AM_LONG},         {P0, 0xF3, AM_Y, AM_IND_X},
    {P0, 0xE3, AM_Y, AM_SHORT_X},      {P0, 0xD3, AM_Y, AM_LONG_X},
    {P92, 0xC3, AM_X, AM_PTR_SHORT},   {P92, 0xD3, AM_Y, AM_PTR_SHORT_X},
    {P72, 0xC3, AM_X, AM_PTR_LONG},    {P72, 0xD3, AM_Y, AM_PTR_LONG_X},
    {P0, 0x13, AM_X, AM_SHORT_SP},     {P90, 0xA3, AM_Y, AM_IMM16},
    {P90, 0xB3, AM_Y, AM_SHORT},       {P90, 0xC3, AM_Y, AM_LONG},
    {P90, 0xF3, AM_X, AM_IND_Y},       {P90, 0xE3, AM_X, AM_SHORT_Y},
    {P90, 0xD3, AM_X, AM_LONG_Y},      {P91, 0xC3, AM_Y, AM_PTR_SHORT},
    {P91, 0xD3, AM_X, AM_PTR_SHORT_Y},
};

constexpr Row ld_rows[] = {
    {P0, 0xA6, AM_A, AM_IMM8},         {P0, 0xB6, AM_A, AM_SHORT},
    {P0, 0xC6, AM_A, AM_LONG},         {P0, 0xF6, AM_A, AM_IND_X},
    {P0, 0xE6, AM_A, AM_SHORT_X},      {P0, 0xD6, AM_A, AM_LONG_X},
    {P0, 0x7B, AM_A, AM_SHORT_SP},     {P0, 0x9F, AM_A, AM_XL},
    {P0, 0x9E, AM_A, AM_XH},           {P90, 0x9F, AM_A, AM_YL},
    {P90, 0x9E, AM_A, AM_YH},          {P90, 0xF6, AM_A, AM_IND_Y},
    {P90, 0xE6, AM_A, AM_SHORT_Y},     {P90, 0xD6, AM_A, AM_LONG_Y},
    {P91, 0xD6, AM_A, AM_PTR_SHORT_Y}, {P92, 0xC6, AM_A, AM_PTR_SHORT},
    {P92, 0xD6, AM_A, AM_PTR_SHORT_X}, {P72, 0xC6, AM_A, AM_PTR_LONG},
    {P72, 0xD6, AM_A, AM_PTR_LONG_X},  {P0, 0xB7, AM_SHORT, AM_A},
    {P0, 0xC7, AM_LONG, AM_A},         {P0, 0xF7, AM_IND_X, AM_A},
    {P0, 0xE7, AM_SHORT_X, AM_A},      {P0, 0xD7, AM_LONG_X, AM_A},
    {P0, 0x6B, AM_SHORT_SP, AM_A},     {P0, 0x97, AM_XL, AM_A},
    {P0, 0x95, AM_XH, AM_A},           {P90, 0x97, AM_YL, AM_A},
    {P90, 0x95, AM_YH, AM_A},          {P90, 0xF7, AM_IND_Y, AM_A},
    {P90, 0xE7, AM_SHORT_Y, AM_A},     {P90, 0xD7, AM_LONG_Y, AM_A},
    {P91, 0xD7, AM_PTR_SHORT_Y, AM_A}, {P92, 0xC7, AM_PTR_SHORT, AM_A},
    {P92, 0xD7, AM_PTR_SHORT_X, AM_A}, {P72, 0xC7, AM_PTR_LONG, AM_A},
    {P72, 0xD7, AM_PTR_LONG_X, AM_A},
};

constexpr Row ldw_rows[] = {
    {P0, 0xAE, AM_X, AM_IMM16},
    {P0, 0xBE, AM_X, AM_SHORT},
    {P0, 0xCE, AM_X, AM_LONG},
    {P0, 0xFE, AM_X, AM_IND_X},
    {P0, 0xEE, AM_X, AM_SHORT_X},
    {P0, 0xDE, AM_X, AM_LONG_X},
    {P0, 0x93, AM_X, AM_Y},
    {P0, 0x96, AM_X, AM_SP},
    {P92, 0xCE, AM_X, AM_PTR_SHORT},
    {P92, 0xDE, AM_X, AM_PTR_SHORT_X},
    {P72, 0xCE, AM_X, AM_PTR_LONG},
    {P72, 0xDE, AM_X, AM_PTR_LONG_X},
    {P0, 0x1E, AM_X, AM_SHORT_SP},
    {P90, 0x93, AM_Y, AM_X},
    {P90, 0x96, AM_Y, AM_SP},
    {P90, 0xAE, AM_Y, AM_IMM16},
    {P90, 0xBE, AM_Y, AM_SHORT},
    {P90, 0xCE, AM_Y, AM_LONG},
    {P90, 0xFE, AM_Y, AM_IND_Y},
    {P90, 0xEE, AM_Y, AM_SHORT_Y},
    {P90, 0xDE, AM_Y, AM_LONG_Y},
    {P91, 0xCE, AM_Y, AM_PTR_SHORT},
    {P91, 0xDE, AM_Y, AM_PTR_SHORT_Y},
    {PSWAP, 0xCE, AM_Y, AM_PTR_LONG},
    {PSWAP, 0xDE, AM_Y, AM_PTR_LONG_Y},
    {P0, 0x16, AM_Y, AM_SHORT_SP},
    {P0, 0x94, AM_SP, AM_X},
    {P0, 0xBF, AM_SHORT, AM_X},
    {P0, 0xCF, AM_LONG, AM_X},
    {P0, 0xFF, AM_IND_X, AM_Y},
    {P0, 0xEF, AM_SHORT_X, AM_Y},
    {P0, 0xDF, AM_LONG_X, AM_Y},
    {P92, 0xCF, AM_PTR_SHORT, AM_X},
    {P92, 0xDF, AM_PTR_SHORT_X, AM_Y},
    {P72, 0xCF, AM_PTR_LONG, AM_X},
    {P72, 0xDF, AM_PTR_LONG_X, AM_Y},
    {P0, 0x1F, AM_SHORT_SP, AM_X},
    {P90, 0x94, AM_SP, AM_Y},
    {P90, 0xBF, AM_SHORT, AM_Y},
    {P90, 0xCF, AM_LONG, AM_Y},
    {P90, 0xFF, AM_IND_Y, AM_X},
    {P90, 0xEF, AM_SHORT_Y, AM_X},
    {P90, 0xDF, AM_LONG_Y, AM_X},
    {P91, 0xCF, AM_PTR_SHORT, AM_Y},
    {P91, 0xDF, AM_PTR_SHORT_Y, AM_X},
    {PSWAP, 0xCF, AM_PTR_LONG, AM_Y},
    {PSWAP, 0xDF, AM_PTR_LONG_Y, AM_X},
    {P0, 0x17, AM_SHORT_SP, AM_Y},
};

constexpr Row ldf_rows[] = {
    {P0, 0xBC, AM_A, AM_FAR},         {P0, 0xAF, AM_A, AM_FAR_X},
    {P90, 0xAF, AM_A, AM_FAR_Y},      {P91, 0xAF, AM_A, AM_PTR_LONG_Y},
    {P92, 0xAF, AM_A, AM_PTR_LONG_X}, {P92, 0xBC, AM_A, AM_PTR_LONG},
    {P0, 0xBD, AM_FAR, AM_A},         {P0, 0xA7, AM_FAR_X, AM_A},
    {P90, 0xA7, AM_FAR_Y, AM_A},      {P91, 0xA7, AM_PTR_LONG_Y, AM_A},
    {P92, 0xA7, AM_PTR_LONG_X, AM_A}, {P92, 0xBD, AM_PTR_LONG, AM_A},
};

struct Tables {
    std::array<OpcodeEntry, OPCODE_ROW_COUNT + 1> rows{};
    size_t row_count = 0;
    size_t name_count = 0;

    // Opens the next group, which must be that of the next name.
    constexpr void mnemonic(std::string_view name)
    {
        if (mnemonic_names[name_count++] != name)
            no_such_mnemonic();
    }

    constexpr void add(const Row &row, uint8_t nibble = 0)
    {
        rows[row_count++] = {
            static_cast<uint8_t>(row.opcode | nibble), static_cast<uint8_t>(name_count),
            static_cast<uint8_t>(row.prefix << PREFIX_SHIFT | row.first), row.second};
    }

    constexpr void group(std::string_view name, std::span<const Row> group_rows, uint8_t nibble = 0)
    {
        mnemonic(name);
        for (const Row &row : group_rows)
            add(row, nibble);
    }

    constexpr void group(std::string_view name, std::initializer_list<Row> group_rows)
    {
        mnemonic(name);
        for (const Row &row : group_rows)
            add(row);
    }

    constexpr void accumulator(std::string_view name, uint8_t operation)
    {
        group(name, accumulator_family, operation);
    }

    // A read-modify-write operation and the mnemonic of its word form, which follows it directly.
    constexpr void modify(std::string_view name, std::string_view word_name, uint8_t operation)
    {
        group(name, modify_family, operation);
        group(word_name, word_family, operation);
    }

    constexpr void jump(std::string_view name, uint8_t operation)
    {
        group(name, jump_family, operation);
    }

    constexpr void plain(std::string_view name, uint8_t opcode, uint8_t prefix = P0)
    {
        group(name, {{prefix, opcode}});
    }

    // A branch: the opcode with its lowest bit flipped is the branch on the opposite condition.
    constexpr void branch(std::string_view name, uint8_t opcode, uint8_t prefix = P0)
    {
        group(name, {{prefix, opcode, AM_NONE, OP_REL}});
    }

    // A bit instruction; the opcode grows by twice the bit number.
    constexpr void bit(std::string_view name, uint8_t prefix, uint8_t opcode, uint8_t offset = 0)
    {
        group(name, {{prefix, opcode, AM_LONG, static_cast<uint8_t>(AM_BIT | offset)}});
    }
};

constexpr void build_a_to_c(Tables *t)
{
    t->accumulator("adc", 0x9);
    t->accumulator("add", 0xB);
    t->add({P0, 0x5B, AM_SP, AM_IMM8}); // the same as addw sp,#byte
    t->group("addw", addw_rows);
    t->accumulator("and", 0x4);
    t->bit("bccm", P90, 0x11);
    t->accumulator("bcp", 0x5);
    t->bit("bcpl", P90, 0x10);
    t->plain("bkpt", 0x8B);
    t->plain("break", 0x8B);
    t->bit("bres", P72, 0x11);
    t->bit("bset", P72, 0x10);
    t->bit("btjf", P72, 0x01, OP_REL);
    t->bit("btjt", P72, 0x00, OP_REL);
    t->jump("call", 0xD);
    t->group("callf", {{P0, 0x8D, AM_FAR}, {P92, 0x8D, AM_PTR_LONG}});
    t->branch("callr", 0xAD);
    t->plain("ccf", 0x8C);
    t->modify("clr", "clrw", 0xF);
    t->accumulator("cp", 0x1);
    t->modify("cpl", "cplw", 0x3);
    t->group("cpw", cpw_rows);
}

constexpr void build_d_to_i(Tables *t)
{
    t->modify("dec", "decw", 0xA);
    t->group("div", {{P0, 0x62, AM_X, AM_A}, {P90, 0x62, AM_Y, AM_A}});
    t->group("divw", {{P0, 0x65, AM_X, AM_Y}});
    t->group("exg", {{P0, 0x41, AM_A, AM_XL}, {P0, 0x61, AM_A, AM_YL}, {P0, 0x31, AM_A, AM_LONG}});
    t->group("exgw", {{P0, 0x51, AM_X, AM_Y}});
    t->plain("halt", 0x8E);
    t->modify("inc", "incw", 0xC);
    t->plain("iret", 0x80);
}

constexpr void build_jumps(Tables *t)
{
    t->jump("jp", 0xC);
    t->group("jpf", {{P0, 0xAC, AM_FAR}, {P92, 0xAC, AM_PTR_LONG}});
    t->branch("jra", 0x20);
    t->branch("jrc", 0x25);
    t->branch("jreq", 0x27);
    t->branch("jrf", 0x21);
    t->branch("jrh", 0x29, P90);
    t->branch("jrih", 0x2F, P90);
    t->branch("jril", 0x2E, P90);
    t->branch("jrm", 0x2D, P90);
    t->branch("jrmi", 0x2B);
    t->branch("jrnc", 0x24);
    t->branch("jrne", 0x26);
    t->branch("jrnh", 0x28, P90);
    t->branch("jrnm", 0x2C, P90);
    t->branch("jrnv", 0x28);
    t->branch("jrpl", 0x2A);
    t->branch("jrsge", 0x2E);
    t->branch("jrsgt", 0x2C);
    t->branch("jrsle", 0x2D);
    t->branch("jrslt", 0x2F);
    t->branch("jrt", 0x20);
    t->branch("jruge", 0x24);
    t->branch("jrugt", 0x22);
    t->branch("jrule", 0x23);
    t->branch("jrult", 0x25);
    t->branch("jrv", 0x29);
}

constexpr void build_l_to_r(Tables *t)
{
    t->group("ld", ld_rows);
    t->group("ldf", ldf_rows);
    t->group("ldw", ldw_rows);
    t->group("mov", {{P0, 0x35, AM_LONG, AM_IMM8},
                     {P0, 0x45, AM_SHORT, AM_SHORT},
                     {P0, 0x55, AM_LONG, AM_LONG}});
    t->group("mul", {{P0, 0x42, AM_X, AM_A}, {P90, 0x42, AM_Y, AM_A}});
    t->modify("neg", "negw", 0x0);
    t->plain("nop", 0x9D);
    t->accumulator("or", 0xA);
    t->group("pop", {{P0, 0x84, AM_A}, {P0, 0x86, AM_CC}, {P0, 0x32, AM_LONG}});
    t->group("popw", {{P0, 0x85, AM_X}, {P90, 0x85, AM_Y}});
    t->group("push",
             {{P0, 0x88, AM_A}, {P0, 0x8A, AM_CC}, {P0, 0x4B, AM_IMM8}, {P0, 0x3B, AM_LONG}});
    t->group("pushw", {{P0, 0x89, AM_X}, {P90, 0x89, AM_Y}});
    t->plain("rcf", 0x98);
    t->plain("ret", 0x81);
    t->plain("retf", 0x87);
    t->plain("rim", 0x9A);
    t->modify("rlc", "rlcw", 0x9);
    t->group("rlwa", {{P0, 0x02, AM_X, AM_A}, {P90, 0x02, AM_Y, AM_A}});
    t->modify("rrc", "rrcw", 0x6);
    t->group("rrwa", {{P0, 0x01, AM_X, AM_A}, {P90, 0x01, AM_Y, AM_A}});
    t->plain("rvf", 0x9C);
}

constexpr void build_s_to_x(Tables *t)
{
    t->accumulator("sbc", 0x2);
    t->plain("scf", 0x99);
    t->plain("sim", 0x9B);
    t->modify("sla", "slaw", 0x8);
    t->modify("sll", "sllw", 0x8);
    t->modify("sra", "sraw", 0x7);
    t->modify("srl", "srlw", 0x4);
    t->accumulator("sub", 0x0);
    t->add({P0, 0x52, AM_SP, AM_IMM8}); // the same as subw sp,#byte
    t->group("subw", subw_rows);
    t->modify("swap", "swapw", 0xE);
    t->modify("tnz", "tnzw", 0xD);
    t->plain("trap", 0x83);
    t->plain("wfe", 0x8F, P72);
    t->plain("wfi", 0x8F);
    t->accumulator("xor", 0x8);
}

constexpr Tables build_tables()
{
    Tables tables;
    build_a_to_c(&tables);
    build_d_to_i(&tables);
    build_jumps(&tables);
    build_l_to_r(&tables);
    build_s_to_x(&tables);
    return tables;
}

constexpr Tables tables = build_tables();
static_assert(tables.row_count == OPCODE_ROW_COUNT);
static_assert(tables.name_count == MNEMONIC_COUNT);

// The modes of an operand as it is written that a row's mode takes, a bit for each: longer fields
// take shorter operands.
constexpr uint32_t modes_taken(uint8_t row_mode)
{
    const auto bits = [](auto... modes) { return ((uint32_t{1} << modes) | ...); };
    switch (row_mode) {
    case AM_FAR:
        return bits(AM_FAR, AM_LONG, AM_SHORT);
    case AM_LONG:
        return bits(AM_LONG, AM_SHORT);
    case AM_IMM16:
        return bits(AM_IMM16, AM_IMM8);
    case AM_FAR_X:
        return bits(AM_IND_X, AM_SHORT_X, AM_LONG_X);
    case AM_FAR_Y:
        return bits(AM_IND_Y, AM_SHORT_Y, AM_LONG_Y);
    case AM_PTR_LONG:
        return bits(AM_PTR_LONG, AM_PTR_SHORT);
    case AM_PTR_LONG_X:
        return bits(AM_PTR_LONG_X, AM_PTR_SHORT_X);
    case AM_PTR_LONG_Y:
        return bits(AM_PTR_LONG_Y, AM_PTR_SHORT_Y);
    default:
        return bits(row_mode);
    }
}

constexpr std::array<uint64_t, OPCODE_ROW_COUNT + 1> list_taken_operands()
{
    std::array<uint64_t, OPCODE_ROW_COUNT + 1> taken = {};
    for (size_t i = 0; i < OPCODE_ROW_COUNT; ++i) {
        const OpcodeEntry &row = tables.rows[i];
        const uint64_t second = modes_taken(row.second_operand & MODE_MASK);
        taken[i] =
            modes_taken(row.first_operand & MODE_MASK) | second << 32 | rel_bit(row.second_operand);
    }
    return taken;
}

} // namespace

constexpr std::array<OpcodeEntry, OPCODE_ROW_COUNT + 1> opcode_table = tables.rows;
constexpr std::array<uint64_t, OPCODE_ROW_COUNT + 1> taken_operands = list_taken_operands();
