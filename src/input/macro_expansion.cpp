// Runs stored bodies: a call puts an expansion on top of the input, which hands out its lines.

#include "input/macro_expansion.h"

#include "base/diagnostics.h"
#include "base/memory.h"
#include "base/warnings.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "input/conditional.h"
#include "input/input_stack.h"
#include "input/line_origin.h"
#include "input/macro.h"
#include "input/macro_arguments.h"
#include "input/macro_lines.h"
#include "listing/listing.h"
#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

// Counts macro calls and runs of repeats. 0 at the head of a pass, so that a call has the same
// number, and labels made with \@ the same name, in every pass.
static uint32_t expansion_counter;

uint16_t next_call_number()
{
    return static_cast<uint16_t>(++expansion_counter);
}

void reset_expansion_counter()
{
    expansion_counter = 0;
}

void free_expansion(Expansion *expansion)
{
    free_block(expansion->arg_text);
    free_body(expansion->repeat_body);
    free_block(expansion);
}

// Cuts the text of the call and sets the expansion at the head of the body. Gives the length of the
// text that the arguments took.
static size_t begin_expansion(Expansion *expansion, BodyLine *body)
{
    if (body != nullptr && body->text[0] == PARAMETER_LIST_MARK) {
        expansion->param_names = body->text + 1;
        body = body->next;
    }
    const size_t length = cut_arguments(expansion);
    expansion->call_number = next_call_number();
    expansion->position = body;
    expansion->cond_mark = mark_conditionals();
    return length;
}

// The number of arguments that the body can use, or nothing if it takes any number.
static std::optional<size_t> usable_arguments(const Expansion &expansion)
{
    const bool named = expansion.param_names != nullptr;
    size_t count = parameter_names(expansion).size();
    for (const BodyLine *line = expansion.position; line != nullptr; line = line->next) {
        for (const char *c = line->text; *c != '\0'; ++c) {
            if (*c != '\\' || c[1] == '\0')
                continue;
            ++c;
            if (*c == '*' || *c == '#')
                return std::nullopt;
            if (!named)
                count = std::max<size_t>(count, positional_number(*c));
        }
    }
    return count;
}

static void warn_of_arguments(const Expansion &expansion)
{
    const std::optional<size_t> usable = usable_arguments(expansion);
    if (!usable || expansion.arg_count <= *usable)
        return;
    const std::string name(expansion.name);
    warn("argument " + std::to_string(*usable + 1) + " of macro " + name +
             " is not used: " + expansion.args[*usable],
         "the macro of " + place_text(macro_place(name)) + " uses " + std::to_string(*usable) +
             ": remove what is too much, or put a `;` ahead of a comment");
}

void expand_macro(BodyLine *body, std::string_view name, std::string_view suffix)
{
    skip_blanks();
    auto *expansion = new_node<Expansion>(nullptr);
    expansion->name = name;
    expansion->call = line_place();
    expansion->arg_text = copy_text(line_cursor);
    expansion->suffix = suffix.empty() ? '\0' : suffix.front();
    line_cursor += begin_expansion(expansion, body);
    if (warns() && !name.empty())
        warn_of_arguments(*expansion);
    push_expansion(expansion);
}

Expansion *expand_list(BodyLine *body, char *list)
{
    auto *expansion = new_node<Expansion>(nullptr);
    expansion->arg_text = list;
    begin_expansion(expansion, body);
    return expansion;
}

// Goes on with the next run of a repeat; false, with the repeat gone, when there is none.
static bool next_run(Expansion *expansion)
{
    if (--expansion->repeats_left == 0) {
        mlist_flag = expansion->saved_mlist;
        free_expansion(expansion);
        return false;
    }
    expansion->position = expansion->repeat_body;
    ++expansion->run;
    if (expansion->position != nullptr && expansion->position->text[0] == PARAMETER_LIST_MARK)
        expansion->position = expansion->position->next;
    expansion->call_number = next_call_number();
    if (expansion->arg_count != 0)
        std::memmove(&expansion->args[0], &expansion->args[1],
                     (ARGUMENT_SLOTS - 1) * sizeof expansion->args[0]);
    return true;
}

static bool is_repeat(const Expansion *expansion)
{
    return expansion->repeat_body != nullptr;
}

const char *next_expansion_line(Expansion *expansion)
{
    // A body may hold nothing but its parameter list: its runs are counted all the same.
    while (expansion->position == nullptr) {
        if (!is_repeat(expansion)) {
            free_expansion(expansion);
            return nullptr;
        }
        if (!next_run(expansion))
            return nullptr;
    }
    const BodyLine *line = expansion->position;
    expansion->position = line->next;
    expansion->running = line;
    return make_macro_line(expansion, line->text);
}

static void end_macro(Expansion *expansion)
{
    unwind_conditionals(expansion->cond_mark);
    expansion->position = nullptr;
}

static void end_repeat(Expansion *expansion)
{
    end_macro(expansion);
    expansion->repeats_left = 1;
}

static bool is_macro(Expansion *expansion)
{
    return !is_repeat(expansion);
}

static bool end_unless_macro(Expansion *expansion)
{
    if (is_macro(expansion))
        return true;
    end_repeat(expansion);
    return false;
}

static void mexit_directive(const Statement &)
{
    if (current_expansion == nullptr) {
        record_error("no macro in expansion");
        return;
    }
    if (is_macro(current_expansion)) {
        end_macro(current_expansion);
        return;
    }
    Expansion *macro = visit_suspended_expansions(is_macro);
    if (macro == nullptr) {
        // In the earlier runs of a repeat the directive does nothing.
        if (current_expansion->repeats_left == 1)
            record_error("no macro in expansion");
        return;
    }
    end_repeat(current_expansion);
    visit_suspended_expansions(end_unless_macro);
    end_macro(macro);
}

static void rexit_directive(const Statement &)
{
    if (current_expansion != nullptr && is_repeat(current_expansion))
        end_repeat(current_expansion);
    else
        record_error("no repeat in expansion");
}

std::span<const DirectiveRow> expansion_directives()
{
    static constexpr DirectiveRow rows[] = {
        {"mexit", mexit_directive, 0, KW_QUIET},
        {"rexit", rexit_directive, 0, KW_QUIET},
    };
    return rows;
}
