// The instruction set: register names, mnemonics and a row for every legal combination of operands.
// Opcodes are those of ST's programming manual PM0044, "STM8 CPU programming manual", section 7.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// Addressing modes. 1 to 10 are the numbers of the registers, so that a register operand's mode is
// its number.
constexpr uint8_t AM_NONE = 0;
constexpr uint8_t AM_A = 1;
constexpr uint8_t AM_X = 2;
constexpr uint8_t AM_Y = 3;
constexpr uint8_t AM_S = 4; // reserved; no row takes it
constexpr uint8_t AM_CC = 5;
constexpr uint8_t AM_SP = 6;
constexpr uint8_t AM_XH = 7;
constexpr uint8_t AM_XL = 8;
constexpr uint8_t AM_YH = 9;
constexpr uint8_t AM_YL = 10;
constexpr uint8_t AM_SHORT = 11;       // short        1 field byte
constexpr uint8_t AM_LONG = 12;        // long         2
constexpr uint8_t AM_IMM8 = 13;        // #byte        1
constexpr uint8_t AM_IMM16 = 14;       // #word        2
constexpr uint8_t AM_IND_X = 15;       // (x)          none
constexpr uint8_t AM_SHORT_X = 16;     // (short,x)    1
constexpr uint8_t AM_LONG_X = 17;      // (long,x)     2
constexpr uint8_t AM_IND_Y = 18;       // (y)          none
constexpr uint8_t AM_SHORT_Y = 19;     // (short,y)    1
constexpr uint8_t AM_LONG_Y = 20;      // (long,y)     2
constexpr uint8_t AM_PTR_SHORT = 21;   // [short]      1
constexpr uint8_t AM_PTR_LONG = 22;    // [long]       2
constexpr uint8_t AM_PTR_SHORT_X = 23; // ([short],x)  1
constexpr uint8_t AM_PTR_SHORT_Y = 24; // ([short],y)  1
constexpr uint8_t AM_PTR_LONG_X = 25;  // ([long],x)   2
constexpr uint8_t AM_PTR_LONG_Y = 26;  // ([long],y)   2
constexpr uint8_t AM_BIT = 27;         // #bit         in the opcode
constexpr uint8_t AM_SHORT_SP = 28;    // (short,sp)   1
constexpr uint8_t AM_FAR = 29;         // far          3
constexpr uint8_t AM_FAR_X = 30;       // (far,x)      3; in rows only
constexpr uint8_t AM_FAR_Y = 31;       // (far,y)      3; in rows only

constexpr uint8_t AM_FIRST_MEMORY = AM_SHORT; // modes below are registers or nothing

// Prefix selectors: the high three bits of OpcodeEntry::first_operand.
constexpr uint8_t PREFIX_NONE = 0;
constexpr uint8_t PREFIX_72 = 1;
constexpr uint8_t PREFIX_90 = 2;
constexpr uint8_t PREFIX_SWAP = 3; // 51 72 ahead and 51 after: y taken in and out through x
constexpr uint8_t PREFIX_91 = 4;
constexpr uint8_t PREFIX_92 = 6;

constexpr uint8_t MODE_MASK = 0x1F;
constexpr int PREFIX_SHIFT = 5;

// In OpcodeEntry::second_operand: the offset of a relative branch ends the instruction.
constexpr uint8_t OP_REL = 0x80;

struct OpcodeEntry {
    uint8_t opcode;         // of a bit instruction: for bit 0
    uint8_t mnemonic_id;    // place in mnemonic_names, counted from 1; 0 ends the table
    uint8_t first_operand;  // AM_, and the prefix selector above it
    uint8_t second_operand; // AM_, and OP_REL
};

struct RegisterName {
    const char *name;
    uint8_t number;
};

constexpr size_t OPCODE_ROW_COUNT = 591;
constexpr size_t MNEMONIC_COUNT = 105;

// In alphabetical order.
constexpr std::array<std::string_view, MNEMONIC_COUNT> mnemonic_names = {
    "adc",   "add",   "addw",  "and",   "bccm",  "bcp",   "bcpl",  "bkpt",  "break", "bres",
    "bset",  "btjf",  "btjt",  "call",  "callf", "callr", "ccf",   "clr",   "clrw",  "cp",
    "cpl",   "cplw",  "cpw",   "dec",   "decw",  "div",   "divw",  "exg",   "exgw",  "halt",
    "inc",   "incw",  "iret",  "jp",    "jpf",   "jra",   "jrc",   "jreq",  "jrf",   "jrh",
    "jrih",  "jril",  "jrm",   "jrmi",  "jrnc",  "jrne",  "jrnh",  "jrnm",  "jrnv",  "jrpl",
    "jrsge", "jrsgt", "jrsle", "jrslt", "jrt",   "jruge", "jrugt", "jrule", "jrult", "jrv",
    "ld",    "ldf",   "ldw",   "mov",   "mul",   "neg",   "negw",  "nop",   "or",    "pop",
    "popw",  "push",  "pushw", "rcf",   "ret",   "retf",  "rim",   "rlc",   "rlcw",  "rlwa",
    "rrc",   "rrcw",  "rrwa",  "rvf",   "sbc",   "scf",   "sim",   "sla",   "slaw",  "sll",
    "sllw",  "sra",   "sraw",  "srl",   "srlw",  "sub",   "subw",  "swap",  "swapw", "tnz",
    "tnzw",  "trap",  "wfe",   "wfi",   "xor",
};

// Grouped by mnemonic, in the order in which the encoder tries the rows: the first that fits wins.
// A row of zeros ends the table.
extern const std::array<OpcodeEntry, OPCODE_ROW_COUNT + 1> opcode_table;

// Sets of operands: a bit for each mode of the first one, and 32 places above it one for each of
// the second. No operand is written with the modes that are in rows only: their bits for the second
// one say whether OP_REL is set.
constexpr uint64_t rel_bit(uint8_t second_mode)
{
    return uint64_t{1} << (32 + (second_mode & OP_REL ? AM_FAR_Y : AM_FAR_X));
}

// The set of these two alone.
constexpr uint64_t operand_set(uint8_t first_mode, uint8_t second_mode)
{
    return uint64_t{1} << first_mode | uint64_t{1} << (32 + (second_mode & MODE_MASK)) |
           rel_bit(second_mode);
}

// By the place of a row in opcode_table: the operands that it takes, which may be shorter than its
// fields. It takes those whose operand_set lies in this one.
extern const std::array<uint64_t, OPCODE_ROW_COUNT + 1> taken_operands;

// Each name in lower and in upper case; no other mix of case is a register.
extern const std::array<RegisterName, 20> register_table;

// Never defined: a call at compile time is an error that names a word which is no mnemonic.
void no_such_mnemonic();

// The mnemonic_id of a mnemonic; another word doesn't compile.
consteval uint8_t mnemonic_number(std::string_view name)
{
    for (size_t i = 0; i < mnemonic_names.size(); ++i) {
        if (mnemonic_names[i] == name)
            return static_cast<uint8_t>(i + 1);
    }
    no_such_mnemonic();
    return 0;
}
