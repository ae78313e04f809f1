// A stack of open conditionals. The top frame alone tells whether lines count, since a conditional
// opened in skipped code never takes a branch.

#include "input/conditional.h"

#include "base/diagnostics.h"
#include "base/line_context.h"
#include "base/memory.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/warnings.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "input/input_stack.h"
#include "listing/listing.h"
#include "output/layout_record.h"
#include <cstring>

struct CondFrame {
    CondFrame *next;
    uint32_t number; // of all frames ever made, from 1: two frames in the same memory differ
    bool skipped;    // opened in skipped code: no branch of it counts
    bool else_seen;  // its `else` has come: a second one is an error
    bool taken;      // lines of the present branch are assembled
};

static CondFrame *cond_stack;
static uint32_t frame_counter;

// Where the frames of cond_stack were opened, outermost first, while the run keeps contexts.
struct OpenIf {
    LineContext context;
    const FilePosition *file;
};
static std::vector<OpenIf> openings;

static std::string last_closed;

// What the `argument` of an opening keyword asks; an odd number from IF_SAME on inverts the even
// one below it.
enum : uint8_t {
    IF_NOT_ZERO = 0,
    IF_ZERO = 1,
    IF_BELOW = 2,
    IF_NOT_ABOVE = 3,
    IF_ABOVE = 4,
    IF_NOT_BELOW = 5,
    IF_SAME = 6,
    IF_DIFFERENT = 7,
    IF_DEFINED = 8,
    IF_NOT_DEFINED = 9,
};

bool assembling_enabled()
{
    return cond_stack == nullptr || cond_stack->taken;
}

// Notes for which values the answer to the condition is the same.
static void record_answer(uint8_t condition, const ExprValue &value)
{
    constexpr uint32_t LOWEST = 0x80000000;
    const auto number = static_cast<int32_t>(value.value);
    if (condition == IF_BELOW || condition == IF_NOT_BELOW) {
        if (number < 0)
            record_decision(value, LOWEST, UINT32_MAX);
        else
            record_decision(value, 0, INT32_MAX);
    } else if (condition == IF_ABOVE || condition == IF_NOT_ABOVE) {
        if (number > 0)
            record_decision(value, 1, INT32_MAX);
        else
            record_decision(value, LOWEST, 0);
    } else if (number != 0) {
        record_decision(value, 1, UINT32_MAX);
    } else {
        record_use(value);
    }
}

static bool compare_with_zero(uint8_t condition, int32_t value)
{
    switch (condition) {
    case IF_ZERO:
        return value == 0;
    case IF_BELOW:
        return value < 0;
    case IF_NOT_ABOVE:
        return value <= 0;
    case IF_ABOVE:
        return value > 0;
    case IF_NOT_BELOW:
        return value >= 0;
    default:
        return value != 0;
    }
}

// Reads a token that must be `wanted`; another one goes back, with the error recorded.
static bool expect_operand(int32_t wanted)
{
    if (accept_token(wanted))
        return true;
    record_error(messages::MISSING_STRING);
    return false;
}

// A failed operand counts as equal strings or a defined symbol.
static bool read_equal_strings()
{
    static char ifc_text[TOKEN_STRING_MAX + 1];

    if (!expect_operand(TOK_STRING))
        return true;
    std::strcpy(ifc_text, token_text());
    expect_token(TOK_COMMA);
    if (!expect_operand(TOK_STRING))
        return true;
    return std::strcmp(ifc_text, token_text()) == 0;
}

static bool read_defined_symbol()
{
    if (!expect_operand(TOK_SYMBOL))
        return true;
    return is_defined_above(token_symbol);
}

static bool read_condition(uint8_t condition)
{
    if (condition < IF_SAME) {
        ExprValue value;
        parse_expression(&value);
        if (value.reloc != RELOC_ABSOLUTE)
            record_error(messages::RELOCATABLE_NOT_ALLOWED);
        record_answer(condition, value);
        return compare_with_zero(condition, static_cast<int32_t>(value.value));
    }
    const bool inverted = (condition & 1) != 0;
    const bool holds = condition < IF_DEFINED ? read_equal_strings() : read_defined_symbol();
    return holds != inverted;
}

static void if_directive(const Statement &statement)
{
    const bool skipped = !assembling_enabled();
    auto *frame = new_node<CondFrame>(cond_stack);
    frame->number = ++frame_counter;
    frame->skipped = skipped;
    cond_stack = frame;
    if (keeps_contexts())
        openings.push_back({line_context(), current_position});
    if (skipped)
        return;
    frame->taken = read_condition(statement.keyword->argument);
    note_text_decision(frame->taken);
}

static void else_directive(const Statement &)
{
    if (cond_stack == nullptr || cond_stack->else_seen) {
        record_error("bad else");
        return;
    }
    cond_stack->else_seen = true;
    if (!cond_stack->skipped)
        cond_stack->taken = !cond_stack->taken;
}

static void pop_frame()
{
    cond_stack = xfree(cond_stack, cond_stack->next);
    if (openings.empty())
        return;
    last_closed = place_of(openings.back().context) + ", ended at " + place_of(line_context());
    openings.pop_back();
}

// An endif that ends what another file has opened is likely that of another conditional, and the
// file has lost its own.
static void warn_of_other_file()
{
    if (openings.back().file == current_position)
        return;
    warn_at(openings.back().context, "if without endif in its file",
            "the endif at " + place_of(line_context()) +
                " ends it: end it in the file that it begins in");
}

static void endif_directive(const Statement &)
{
    if (cond_stack == nullptr) {
        record_error("bad endif");
        return;
    }
    if (warns())
        warn_of_other_file();
    pop_frame();
}

std::vector<LineContext> open_conditionals()
{
    std::vector<LineContext> contexts;
    for (auto opening = openings.rbegin(); opening != openings.rend(); ++opening)
        contexts.push_back(opening->context);
    return contexts;
}

const std::string &last_closed_conditional()
{
    return last_closed;
}

static void warn_of_open_conditionals()
{
    for (const OpenIf &opening : openings)
        warn_at(opening.context, "if without endif",
                "end it with endif, each if with its own; the endif of an if that stands inside of "
                "it may be the one that is missing");
}

void close_open_conditionals()
{
    last_closed.clear();
    if (cond_stack == nullptr)
        return;
    warn_of_open_conditionals();
    record_error("unclosed if");
    if (lists_line())
        list_error();
    else
        flush_error();
    while (cond_stack != nullptr)
        pop_frame();
}

uint32_t mark_conditionals()
{
    return cond_stack != nullptr ? cond_stack->number : 0;
}

void unwind_conditionals(uint32_t mark)
{
    while (cond_stack != nullptr && cond_stack->number != mark)
        pop_frame();
    if (mark_conditionals() != mark)
        record_error("bad if/endif balance");
}

std::span<const DirectiveRow> conditional_directives()
{
    constexpr uint16_t CONDITIONAL = KW_DIRECTIVE | KW_CONDITIONAL;
    static constexpr DirectiveRow rows[] = {
        {"if", if_directive, IF_NOT_ZERO, CONDITIONAL},
        {"#if", if_directive, IF_NOT_ZERO, CONDITIONAL},
        {"ifne", if_directive, IF_NOT_ZERO, CONDITIONAL},
        {"ifeq", if_directive, IF_ZERO, CONDITIONAL},
        {"iflt", if_directive, IF_BELOW, CONDITIONAL},
        {"ifle", if_directive, IF_NOT_ABOVE, CONDITIONAL},
        {"ifgt", if_directive, IF_ABOVE, CONDITIONAL},
        {"ifge", if_directive, IF_NOT_BELOW, CONDITIONAL},
        {"ifc", if_directive, IF_SAME, CONDITIONAL},
        {"ifnc", if_directive, IF_DIFFERENT, CONDITIONAL},
        {"ifdef", if_directive, IF_DEFINED, CONDITIONAL},
        {"#ifdef", if_directive, IF_DEFINED, CONDITIONAL},
        {"ifndef", if_directive, IF_NOT_DEFINED, CONDITIONAL},
        {"#ifndef", if_directive, IF_NOT_DEFINED, CONDITIONAL},
        {"else", else_directive, 0, CONDITIONAL},
        {"elsec", else_directive, 0, CONDITIONAL},
        {"#else", else_directive, 0, CONDITIONAL},
        {"endif", endif_directive, 0, CONDITIONAL},
        {"endc", endif_directive, 0, CONDITIONAL},
        {"#endif", endif_directive, 0, CONDITIONAL},
    };
    return rows;
}
