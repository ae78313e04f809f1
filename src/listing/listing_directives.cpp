// The actions of the listing directives.

#include "listing/listing_directives.h"

#include "driver/passes.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "listing/diagnostics.h"
#include "listing/listing.h"
#include "listing/titles.h"

void list_control(Keyword *keyword, const char *, uint32_t)
{
    if (keyword->argument != 0)
        list_state |= LIST_OFF;
    else
        list_state &= ~LIST_OFF;
}

// `nopage` is not the opposite of `page`: it has always been another name for it.
void page_eject(Keyword *, const char *, uint32_t)
{
    eject_page();
}

static ExprValue parse_line_count()
{
    ExprValue value;
    parse_expression(&value);
    if (value.reloc != RELOC_ABSOLUTE)
        record_error(MSG_RELOCATABLE_NOT_ALLOWED);
    return value;
}

void set_page_length(Keyword *, const char *, uint32_t)
{
    page_length = static_cast<int32_t>(parse_line_count().value);
}

void list_space(Keyword *, const char *, uint32_t)
{
    ExprValue count = {1, nullptr, 0, RELOC_ABSOLUTE};
    const int32_t token = next_token();
    unget_token(token);
    if (token != TOK_END)
        count = parse_line_count();
    if (count.reloc == RELOC_ABSOLUTE && fits_listing())
        list_blank_lines(static_cast<int32_t>(count.value));
}

// Reads the text of a title. False, with the error told, if there is none.
static bool read_title()
{
    const int32_t token = next_token();
    if (token == TOK_STRING)
        return true;
    record_error(MSG_MISSING_STRING);
    unget_token(token);
    return false;
}

void add_title(Keyword *, const char *, uint32_t)
{
    if (!read_title())
        return;
    paginate = 1;
    if (pass_number == 0)
        remember_title(token_text());
}

void add_subtitle(Keyword *, const char *, uint32_t)
{
    if (read_title() && pass_number == 0)
        remember_subtitle(token_text());
}
