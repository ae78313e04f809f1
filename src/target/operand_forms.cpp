// The table knows an instruction by the modes of its operands. Whether an address takes one byte or
// two is no choice of the one who writes it, so both are `addr`, and `short` is told only where
// there is no other form.

#include "target/operand_forms.h"

#include "base/diagnostics.h"
#include "base/line_context.h"
#include "base/settings.h"
#include "expr/lexer.h"
#include "target/instruction.h"
#include "target/instruction_table.h"
#include <algorithm>
#include <array>

// By mode.
static constexpr std::array<std::string_view, AM_FAR_Y + 1> mode_texts = {
    "",           "a",      "x",           "y",           "s",          "cc",         "sp",
    "xh",         "xl",     "yh",          "yl",          "short",      "long",       "#byte",
    "#word",      "(x)",    "(short,x)",   "(long,x)",    "(y)",        "(short,y)",  "(long,y)",
    "[short]",    "[long]", "([short],x)", "([short],y)", "([long],x)", "([long],y)", "#bit",
    "(short,sp)", "far",    "(far,x)",     "(far,y)",
};

constexpr size_t NOTE_WIDTH = 84;

static std::string form_of_row(const OpcodeEntry *row)
{
    std::string form;
    const auto add = [&form](std::string_view part) {
        if (!part.empty())
            form.append(form.empty() ? "" : ",").append(part);
    };
    add(mode_texts[row_first_mode(row)]);
    add(mode_texts[row_second_mode(row) & MODE_MASK]);
    if (row->second_operand & OP_REL)
        add("label");
    return form;
}

static std::string with_address(std::string form, std::string_view word)
{
    for (size_t at = form.find(word); at != std::string::npos; at = form.find(word))
        form.replace(at, word.size(), "addr");
    return form;
}

static std::vector<std::string> forms_of_rows(const OpcodeEntry *row)
{
    std::vector<std::string> forms;
    const uint8_t id = row->mnemonic_id;
    for (; row->mnemonic_id == id; ++row)
        forms.push_back(with_address(form_of_row(row), "long"));
    return forms;
}

std::vector<std::string> operand_forms(const OpcodeEntry *row)
{
    const std::vector<std::string> all = forms_of_rows(row);
    std::vector<std::string> forms;
    for (const std::string &form : all) {
        const std::string widened = with_address(form, "short");
        const bool has_wide = std::ranges::find(all, widened) != all.end();
        const std::string &told = has_wide ? widened : form;
        if (std::ranges::find(forms, told) == forms.end())
            forms.push_back(told);
    }
    return forms;
}

static bool begins_with_operand(const std::string &form, std::string_view operand)
{
    return form.starts_with(operand) &&
           (form.size() == operand.size() || form[operand.size()] == ',');
}

std::string forms_note(const OpcodeEntry *row, std::string_view first)
{
    std::vector<std::string> forms = operand_forms(row);
    const auto is_wanted = [first](const std::string &form) {
        return begins_with_operand(form, first);
    };
    if (!first.empty() && std::ranges::any_of(forms, is_wanted))
        std::erase_if(forms, [&](const std::string &form) { return !is_wanted(form); });
    const std::string name(mnemonic_names[row->mnemonic_id - 1]);
    if (forms == std::vector<std::string>{""})
        return note_line(name + " takes no operands");
    std::string notes;
    std::string line = name + " takes:";
    const size_t indent = line.size();
    for (const std::string &form : forms) {
        if (line.size() + 2 + form.size() > NOTE_WIDTH) {
            notes += note_line(line);
            line.assign(indent, ' ');
        }
        line += "  " + form;
    }
    return notes + note_line(line);
}

// Why an operand doesn't fit, as far as its mode tells.
static void explain_operand(uint8_t mode, const ExprValue &value, bool takes_byte)
{
    const bool number = value.reloc == RELOC_ABSOLUTE;
    const std::string text = std::to_string(static_cast<int32_t>(value.value));
    if (mode == AM_IMM16 && !takes_byte)
        return;
    if (mode == AM_IMM16 && number)
        explain_error("the value " + text + " needs two bytes: #byte takes -256 to 255");
    else if (mode == AM_IMM16)
        explain_error("an address has two bytes or is not known yet: for one byte of it write "
                      "#low(name) or #high(name)");
    else if (mode == AM_FAR && number)
        explain_error("the address " + text + " is beyond 65535: only far forms reach it");
}

// Whether one mnemonic is often written for another: those of bytes and words, and mov for ld.
static bool is_mistaken_for(std::string_view written, std::string_view meant)
{
    if (written == "mov" || written == "ldf")
        return meant == "ld" || meant == "ldw";
    const auto without_size = [](std::string_view name) {
        const bool sized = name.size() > 2 && (name.back() == 'w' || name.back() == 'f');
        return name.substr(0, name.size() - (sized ? 1 : 0));
    };
    return written != meant && without_size(written) == without_size(meant);
}

// The other instruction that takes the operands, if there is one that could be meant.
static void explain_by_other_mnemonic(std::string_view written, const Instruction &ins)
{
    const uint64_t wanted = operand_set(ins.first_mode, ins.second_mode);
    for (size_t i = 0; i < OPCODE_ROW_COUNT; ++i) {
        const std::string_view meant = mnemonic_names[opcode_table[i].mnemonic_id - 1];
        if ((taken_operands[i] & wanted) != wanted || !is_mistaken_for(written, meant))
            continue;
        explain_error("did you mean " + std::string(meant) + "? It takes these operands");
        return;
    }
}

static bool needs_two_operands(const OpcodeEntry *row)
{
    const uint8_t id = row->mnemonic_id;
    while (row->mnemonic_id == id && row_first_mode(row) != AM_NONE && row->second_operand != 0)
        ++row;
    return row->mnemonic_id != id;
}

static void explain_operands(const OpcodeEntry *row, const Instruction &ins)
{
    const std::vector<std::string> forms = operand_forms(row);
    const auto has = [&forms](std::string_view part) {
        return std::ranges::any_of(
            forms, [part](const std::string &form) { return form.find(part) != form.npos; });
    };
    const bool alone = ins.second_mode == AM_NONE;
    if (alone && token_ahead && *token_ahead != TOK_END)
        explain_error("operands are parted by commas: one may be missing at the caret");
    else if (alone && needs_two_operands(row))
        explain_error("an operand may be missing at the end of the line");
    else if (!alone && ins.first_mode < AM_FIRST_MEMORY)
        explain_operand(ins.second_mode, ins.first, has("#byte"));
    else if (!alone)
        explain_operand(ins.second_mode, ins.second, has("#byte"));
    else
        explain_operand(ins.first_mode, ins.first, has("#byte"));
}

void record_bad_operands(const OpcodeEntry *row, const Instruction &ins)
{
    record_error(messages::BAD_ADDRESSING_MODE);
    if (!takes_notes())
        return;
    explain_operands(row, ins);
    explain_by_other_mnemonic(mnemonic_names[row->mnemonic_id - 1], ins);
    const bool by_register = ins.first_mode != AM_NONE && ins.first_mode < AM_FIRST_MEMORY;
    explain_error_lines(forms_note(row, by_register ? mode_texts[ins.first_mode] : ""));
}
