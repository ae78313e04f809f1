// The STM8: 16-bit registers, a 24-bit address space in pages of 64 KiB.

#include "target/target.h"

#include "base/number.h"
#include "base/pass_state.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "output/emission.h"
#include "output/section_table.h"
#include "target/branch_record.h"
#include "target/instruction_table.h"
#include <string_view>

const Machine target_machine = {6, 3};
bool scross_on;

constexpr uint32_t PAGE_BITS = 16;

static void scross_directive(const Statement &)
{
    scross_on = read_on_off().value_or(scross_on);
}

// Asks the linker to check a reference that the assembler can't see.
static void scheck_directive(const Statement &)
{
    ExprValue value;
    parse_expression(&value);
    emit_relocation(RK_CHECK, value);
}

static constexpr DirectiveRow target_directives[] = {
    {"scross", scross_directive, 0, KW_PLAIN},
    {".scheck", scheck_directive, 0, KW_QUIET},
};

static void reset_target_for_pass()
{
    scross_on = true;
    reset_branch_records();
}

static void install_registers()
{
    for (const RegisterName &row : register_table) {
        Symbol *symbol = find_symbol(row.name);
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
    for (const std::string_view name : mnemonic_names) {
        ++id;
        Keyword *keyword = add_keyword(name, 0, KW_INSTRUCTION);
        keyword->opcodes = row;
        while (row->mnemonic_id == id)
            ++row;
    }
}

void install_target()
{
    address_page_bits = PAGE_BITS;
    install_registers();
    add_directives(target_directives);
    install_mnemonics();
    default_section_attributes = SECATTR_HILO;
    set_target_pass_hook(reset_target_for_pass);
}
