// Feeds operands to the operand parser, the evaluator and the encoder, without the input stack and
// without files. An input is lines of text; each is read as an operand, as an expression and as the
// operands of the instruction that its first byte selects, in three passes over symbols of every
// kind. Every line lies in a block of its own size, so that reading past its end is seen.

#include "input_end.h"

#include "base/diagnostics.h"
#include "base/pass_state.h"
#include "base/settings.h"
#include "driver/passes.h"
#include "expr/evaluator.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "input/input_stack.h"
#include "listing/listing.h"
#include "output/resolver.h"
#include "output/section_table.h"
#include "stmt/section_stacks.h"
#include "stmt/statement.h"
#include "target/encoder.h"
#include "target/instruction_table.h"
#include "target/operand.h"
#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

constexpr int PASSES = 3;

// Symbols of every kind that an operand can name.
static const char *const definitions[] = {
    " xref external\n",
    " xref.b zpage\n",
    "absolute: equ 3\n",
    "byte: equ $ff\n",
    "forward_equ: equ later+2\n",
    "alias: equ external\n",
    "bit: equ absolute:5\n",
    "external_bit: equ zpage:2\n",
    "counter: set 1\n",
    "one: lit \"absolute\"\n",
    "two: lit \"(one,x)\"\n",
    "endless: lit \"endless+1\"\n",
    " switch .bss\n",
    "variable: ds.w 3\n",
    " switch .bsct\n",
    "zero: ds.b 2\n",
    " switch .text\n",
    "label: nop\n",
    "1$: nop\n",
    " wdef weak\n",
    "weak: nop\n",
};

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    start_run();
    return 0;
}

static std::vector<std::vector<char>> split_lines(std::string_view text)
{
    std::vector<std::vector<char>> lines;
    while (!text.empty()) {
        const size_t length =
            std::min(text.find_first_of(std::string_view("\n\0", 2)), text.size());
        lines.emplace_back(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length));
        lines.back().insert(lines.back().end(), {'\n', '\0'});
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return lines;
}

// The first row of the mnemonic with this number.
static const OpcodeEntry *first_row(size_t number)
{
    return std::find_if(opcode_table.begin(), opcode_table.end(),
                        [&](const OpcodeEntry &row) { return row.mnemonic_id == number; });
}

static void start_line(const char *text)
{
    flush_error();
    reset_lexer();
    line_cursor = text;
}

static void read_operands(const std::vector<char> &line)
{
    const char *const text = line.data();
    ExprValue value;

    start_line(text);
    parse_operand(&value);
    start_line(text);
    parse_expression(&value);
    start_line(text);
    parse_simple_value();
    start_line(text + 1);
    if (line.size() > 2)
        encode_instruction(first_row(1 + static_cast<uint8_t>(text[0]) % MNEMONIC_COUNT));
}

static void run_pass_over(const std::vector<std::vector<char>> &lines)
{
    begin_pass();
    reset_listing_for_pass();
    reset_statements_for_pass();
    scope_number = 0;
    reset_sections_for_pass();
    reset_input();
    for (const char *definition : definitions)
        process_statement(definition);
    for (const std::vector<char> &line : lines)
        read_operands(line);
    process_statement("later: nop\n");
    end_pass();
}

static void run_passes(const std::vector<std::vector<char>> &lines)
{
    run_pass_over(lines);
    resolve_symbols(true);
    while (pass_number < PASSES)
        run_pass_over(lines);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::vector<std::vector<char>> lines =
        split_lines({reinterpret_cast<const char *>(data), size});
    reset_run();
    settings.opt_no_branch_opt = (size & 1) != 0;
    settings.opt_absolute = (size & 2) != 0;
    forget_late_needs();
    forget_section_stacks();
    init_sections();
    reset_passes_for_file();
    prepare_passes();
    start_input();
    if (setjmp(input_end) == 0)
        run_passes(lines);
    stop_input();
    forget_input();
    return 0;
}
