// The directive table. A row's argument tells the rows of one action apart.

#include "stmt/keywords.h"

#include "driver/passes.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "input/conditional.h"
#include "input/input_stack.h"
#include "input/macro.h"
#include "listing/listing_directives.h"
#include "listing/side_outputs.h"
#include "output/debug_info.h"
#include "stmt/data_directives.h"
#include "stmt/location_directives.h"
#include "stmt/section_directives.h"
#include "stmt/source_directives.h"
#include "stmt/statement.h"
#include "stmt/symbol_directives.h"
#include "target/target.h"
#include <iterator>

struct DirectiveRow {
    const char *name;
    DirectiveAction action;
    uint8_t argument;
    uint8_t flags;
};

static void end_directive(Keyword *, const char *, uint32_t)
{
    current_is_debug = 0;
    end_seen = 1;
}

// For directives that mean nothing here, or only while a body is recorded.
static void skip_line_directive(Keyword *, const char *, uint32_t)
{
    skip_line();
}

constexpr uint8_t PLAIN = KW_DIRECTIVE;
constexpr uint8_t LABELED = KW_DIRECTIVE | KW_NEEDS_LABEL;
constexpr uint8_t UNLISTED = KW_DIRECTIVE | KW_UNLISTED;
constexpr uint8_t CONDITIONAL = KW_DIRECTIVE | KW_CONDITIONAL;
constexpr uint8_t BODY_END = KW_DIRECTIVE | KW_ENDS_BODY;

static constexpr DirectiveRow directive_table[] = {
    {"equ", equate_directive, 0, LABELED},
    {"set", equate_directive, 1, LABELED},
    {"#define", equate_directive, 0, PLAIN},
    {"lit", literal_directive, 0, LABELED},
    {"xref.b", external_directive, 1, PLAIN},
    {"xrefb", external_directive, 1, PLAIN},
    {"xref.w", external_directive, 2, PLAIN},
    {"xdef", external_directive, 3, PLAIN},
    {"xref", external_directive, 3, PLAIN},
    {"xref.l", external_directive, 4, PLAIN},
    {"xbit", external_directive, 5, PLAIN},
    {"xbit.w", external_directive, 5, PLAIN},
    {"xbit.b", external_directive, 6, PLAIN},
    {"wdef", external_directive, 7, PLAIN},
    {"local", local_directive, 0, PLAIN},

    {"switch", switch_directive, 0, PLAIN},
    {"bsct", switch_directive, 1, PLAIN},
    {"section", section_directive, 0, PLAIN},
    {"save", save_directive, 0, PLAIN},
    {"restore", save_directive, 1, PLAIN},

    {"even", align_directive, 0, PLAIN},
    {"align", align_directive, 1, PLAIN},
    {"dc", data_directive, 1, PLAIN},
    {"dc.b", data_directive, 1, PLAIN},
    {"fcb", data_directive, 1, PLAIN},
    {"fcc", data_directive, 1, PLAIN},
    {"dc.w", data_directive, 2, PLAIN},
    {"fdb", data_directive, 2, PLAIN},
    {"dc.l", data_directive, 4, PLAIN},
    {"dcb", fill_directive, 1, PLAIN},
    {"dcb.b", fill_directive, 1, PLAIN},
    {"dcb.w", fill_directive, 2, PLAIN},
    {"dcb.l", fill_directive, 4, PLAIN},
    {"ds", reserve_directive, 0, PLAIN},
    {"ds.b", reserve_directive, 0, PLAIN},
    {"rmb", reserve_directive, 0, PLAIN},
    {"ds.w", reserve_directive, 1, PLAIN},
    {"ds.l", reserve_directive, 2, PLAIN},
    {"org", org_directive, 0, PLAIN},
    {"offset", offset_directive, 0, PLAIN},
    {"base", base_directive, 0, PLAIN},

    {"clist", list_flag_directive, 0, PLAIN},
    {"dlist", list_flag_directive, 1, PLAIN},
    {"mlist", list_flag_directive, 2, UNLISTED},
    {"#error", user_error_directive, 0, PLAIN},
    {"fail", user_error_directive, 0, PLAIN},
    {"messg", message_directive, 0, PLAIN},
    {"end", end_directive, 0, PLAIN},
    {"tabs", skip_line_directive, 0, PLAIN},
    {"endm", skip_line_directive, 0, BODY_END},
    {"endr", skip_line_directive, 0, BODY_END},
    {".source", source_directive, 0, PLAIN},
    {"include", include_directive, 0, UNLISTED},
    {"#include", include_directive, 0, UNLISTED},
    {".sfile", line_directive, 0, UNLISTED},
    {"#line", line_directive, 1, UNLISTED},

    {"list", list_control, 0, UNLISTED},
    {"nol", list_control, 1, UNLISTED},
    {"nolist", list_control, 1, UNLISTED},
    {"page", page_eject, 0, UNLISTED},
    {"nopage", page_eject, 0, UNLISTED},
    {"plen", set_page_length, 0, UNLISTED},
    {"spc", list_space, 0, UNLISTED},
    {"title", add_title, 0, UNLISTED},
    {"ttl", add_title, 0, UNLISTED},
    {"subttl", add_subtitle, 0, UNLISTED},
    {"funa", funa_directive, 0, UNLISTED},

    {"repeat", repeat_directive, 0, UNLISTED},
    {"irp", repeat_directive, 1, UNLISTED},
    {"repeatl", repeat_directive, 1, UNLISTED},
    {"mexit", mexit_directive, 0, UNLISTED},
    {"rexit", rexit_directive, 0, UNLISTED},
    {"macro", macro_directive, 0, LABELED},

    {"if", if_directive, 0, CONDITIONAL},
    {"#if", if_directive, 0, CONDITIONAL},
    {"ifne", if_directive, 0, CONDITIONAL},
    {"ifeq", if_directive, 1, CONDITIONAL},
    {"iflt", if_directive, 2, CONDITIONAL},
    {"ifle", if_directive, 3, CONDITIONAL},
    {"ifgt", if_directive, 4, CONDITIONAL},
    {"ifge", if_directive, 5, CONDITIONAL},
    {"ifc", if_directive, 6, CONDITIONAL},
    {"ifnc", if_directive, 7, CONDITIONAL},
    {"ifdef", if_directive, 8, CONDITIONAL},
    {"#ifdef", if_directive, 8, CONDITIONAL},
    {"ifndef", if_directive, 9, CONDITIONAL},
    {"#ifndef", if_directive, 9, CONDITIONAL},
    {"else", else_directive, 0, CONDITIONAL},
    {"elsec", else_directive, 0, CONDITIONAL},
    {"#else", else_directive, 0, CONDITIONAL},
    {"endif", endif_directive, 0, CONDITIONAL},
    {"endc", endif_directive, 0, CONDITIONAL},
    {"#endif", endif_directive, 0, CONDITIONAL},

    {".dcall", debug_directive, DEBUG_CALL, KW_DEBUG},
    {".dentry", debug_directive, DEBUG_ENTRY, KW_DEBUG},
    {".dtable", debug_directive, DEBUG_TABLE, KW_DEBUG},
    {".dquit", debug_directive, DEBUG_QUIT, KW_DEBUG},
    {".dline", debug_directive, DEBUG_LINE, KW_DEBUG},
    {".dendfn", debug_directive, DEBUG_RANGE_END, KW_DEBUG},
    {".dstart", debug_directive, DEBUG_RANGE_START, KW_DEBUG},
    {".dfile", debug_directive, DEBUG_FILE, KW_DEBUG},
    {".dstring", debug_directive, DEBUG_STRING, KW_DEBUG},
    {".dstore", debug_directive, DEBUG_STORE, KW_DEBUG},
    {".dopt", debug_directive, DEBUG_OPTION, KW_DEBUG},
    {".info", info_directive, 0, UNLISTED},
    {".misra", misra_directive, 0, UNLISTED},
};
static_assert(std::size(directive_table) == 106);

void install_keywords()
{
    for (const DirectiveRow &row : directive_table)
        add_keyword(row.name, 0, row.argument, row.flags)->action = row.action;
    install_target();
}
