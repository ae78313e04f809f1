// The actions of the listing directives.

#include "listing/listing_directives.h"

#include "base/diagnostics.h"
#include "base/pass_state.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "listing/listing.h"
#include "listing/titles.h"

static void list_directive(const Statement &)
{
    switch_listing(true);
}

static void nolist_directive(const Statement &)
{
    switch_listing(false);
}

// `nopage` is not the opposite of `page`: it is another name for it.
static void page_eject(const Statement &)
{
    eject_page();
}

static ExprValue parse_line_count()
{
    ExprValue value;
    parse_expression(&value);
    if (value.reloc != RELOC_ABSOLUTE)
        record_error(messages::RELOCATABLE_NOT_ALLOWED);
    return value;
}

static void plen_directive(const Statement &)
{
    set_page_length(static_cast<int32_t>(parse_line_count().value));
}

static void list_space(const Statement &)
{
    ExprValue count = {1, nullptr, 0, RELOC_ABSOLUTE};
    if (peek_token() != TOK_END)
        count = parse_line_count();
    if (count.reloc == RELOC_ABSOLUTE && fits_listing())
        list_blank_lines(static_cast<int32_t>(count.value));
}

// Reads the text of a title. False, with the error recorded, if there is none.
static bool read_title()
{
    if (accept_token(TOK_STRING))
        return true;
    record_error(messages::MISSING_STRING);
    return false;
}

static void add_title(const Statement &)
{
    if (!read_title())
        return;
    turn_pages_on();
    if (pass_number == 0)
        remember_title(token_text());
}

static void add_subtitle(const Statement &)
{
    if (read_title() && pass_number == 0)
        remember_subtitle(token_text());
}

std::span<const DirectiveRow> listing_directives()
{
    static constexpr DirectiveRow rows[] = {
        {"list", list_directive, 0, KW_QUIET},     {"nol", nolist_directive, 0, KW_QUIET},
        {"nolist", nolist_directive, 0, KW_QUIET}, {"page", page_eject, 0, KW_QUIET},
        {"nopage", page_eject, 0, KW_QUIET},       {"plen", plen_directive, 0, KW_QUIET},
        {"spc", list_space, 0, KW_QUIET},          {"title", add_title, 0, KW_QUIET},
        {"ttl", add_title, 0, KW_QUIET},           {"subttl", add_subtitle, 0, KW_QUIET},
    };
    return rows;
}
