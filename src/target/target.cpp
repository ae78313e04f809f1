// The STM8: 16-bit registers, a 24-bit address space in pages of 64 KiB.

#include "target/target.h"

#include "driver/number.h"
#include "driver/passes.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "output/section_table.h"
#include "target/emission.h"
#include "target/instruction_table.h"

uint8_t object_machine;
uint8_t object_machine_variant;
uint32_t address_page_bits;
uint8_t scross_on;

constexpr uint8_t MACHINE_STM8 = 6;
constexpr uint8_t VARIANT_STM8 = 3;

int32_t read_on_off()
{
    skip_blanks();
    if (lower_case(line_cursor[0]) != 'o')
        return -1;
    switch (lower_case(line_cursor[1])) {
    case 'f': // "of" will do
        line_cursor += lower_case(line_cursor[2]) == 'f' ? 3 : 2;
        return 0;
    case 'n':
        line_cursor += 2;
        return 1;
    default:
        return -1;
    }
}

static void scross_directive(Keyword *, const char *, uint32_t)
{
    const int32_t setting = read_on_off();
    if (setting >= 0)
        scross_on = static_cast<uint8_t>(setting);
}

// Asks the linker to check a reference that the assembler can't see.
static void scheck_directive(Keyword *, const char *, uint32_t)
{
    ExprValue value;
    parse_expression(&value);
    emit_relocation(RK_CHECK, value);
}

static void reset_scross()
{
    scross_on = 1;
}

static void install_registers()
{
    for (const RegisterName &row : register_table) {
        Symbol *symbol = find_symbol(row.name, 0);
        symbol->flags |= SYM_REGISTER;
        symbol->attrs = ATTR_DEFINED | ATTR_ABSOLUTE;
        symbol->value = row.number;
        symbol->section_number = 0;
    }
}

static void install_mnemonics()
{
    const OpcodeEntry *row = opcode_table.data();
    uint8_t id = 0;
    for (const char *name : mnemonic_names) {
        ++id;
        Keyword *keyword = add_keyword(name, 0, 0, KW_INSTRUCTION);
        keyword->opcodes = row;
        while (row->mnemonic_id == id)
            ++row;
    }
}

void install_target()
{
    object_machine = MACHINE_STM8;
    object_machine_variant = VARIANT_STM8;
    address_page_bits = 16;
    scross_on = 1;
    install_registers();
    add_keyword("scross", 0, 0, KW_DIRECTIVE)->action = scross_directive;
    add_keyword(".scheck", 0, 0, KW_DIRECTIVE | KW_UNLISTED)->action = scheck_directive;
    install_mnemonics();
    default_section_attributes = SECATTR_HILO;
    target_pass_hook = reset_scross;
}
