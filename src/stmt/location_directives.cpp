// The location, which labels take and alignment counts, is the section's size plus its base
// address.

#include "stmt/location_directives.h"

#include "base/diagnostics.h"
#include "base/settings.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "listing/listing.h"
#include "listing/side_outputs.h"
#include "output/emission.h"
#include "output/layout_record.h"
#include "output/section_table.h"
#include "stmt/statement.h"
#include <cstdio>
#include <optional>

// Room for the line of one `funa`.
constexpr size_t FUNA_ROOM = 256;

// Reads the operand of `align`; 1 after an error.
static uint32_t parse_alignment()
{
    ExprValue alignment;
    parse_expression(&alignment);
    if (alignment.reloc != RELOC_ABSOLUTE)
        record_error(messages::RELOCATABLE_NOT_ALLOWED);
    else if (static_cast<int32_t>(alignment.value) < 1)
        record_error("illegal alignment");
    else {
        record_use(alignment);
        return alignment.value;
    }
    return 1;
}

// Reads the fill value, with or without a comma ahead of it, if there is one.
static uint32_t parse_fill()
{
    if (accept_token(TOK_END))
        return static_cast<uint32_t>(settings.fill_byte);
    accept_token(TOK_COMMA);
    ExprValue fill;
    parse_expression(&fill);
    if (fill.reloc != RELOC_ABSOLUTE)
        record_error(messages::RELOCATABLE_NOT_ALLOWED);
    else if (!fits_signed_byte(fill))
        record_error("illegal fill value");
    return fill.value;
}

static void align_location(uint32_t alignment)
{
    const uint32_t fill = parse_fill();
    const uint32_t padding = padding_to(alignment);
    record_alignment(alignment, padding);
    if (in_offset_section())
        current_section->size += padding;
    else
        emit_fill(fill, padding);
}

static void align_directive(const Statement &)
{
    align_location(parse_alignment());
}

static void even_directive(const Statement &)
{
    align_location(2);
}

static void org_directive(const Statement &)
{
    leave_offset_section();
    last_label = nullptr;
    ExprValue target;
    parse_expression(&target);
    if (target.reloc != RELOC_ABSOLUTE) {
        record_error(messages::RELOCATABLE_NOT_ALLOWED);
        return;
    }
    if (const std::optional<uint32_t> room = room_to(target.value)) {
        record_org(target, *room);
        emit_fill(static_cast<uint32_t>(settings.fill_byte), *room);
    } else {
        record_error("cannot move back current pc");
    }
    // The line shows the new address and none of the bytes on the way.
    if (lists_line()) {
        listed_line.address = current_location();
        listed_line.byte_count = 0;
        listed_line.shows_address = LineAddress::ALWAYS;
    }
}

static void offset_directive(const Statement &)
{
    leave_offset_section();
    ExprValue start;
    parse_expression(&start);
    if (start.reloc != RELOC_ABSOLUTE) {
        record_error(messages::RELOCATABLE_NOT_ALLOWED);
        return;
    }
    record_use(start);
    offset_section = {};
    offset_section.next = current_section;
    offset_section.attributes = SECATTR_BSS | SECATTR_ABS;
    offset_section.size = start.value;
    current_section = &offset_section;
}

// The one term that may follow the value.
static uint32_t parse_term()
{
    skip_blanks();
    const char sign = *line_cursor;
    if (sign != '+' && sign != '-')
        return 0;
    ++line_cursor;
    const uint32_t term = parse_simple_value();
    return sign == '+' ? term : 0 - term;
}

static void funa_directive(const Statement &)
{
    skip_blanks();
    const std::string_view name = scan_name();
    if (name.empty()) {
        record_error(messages::SYNTAX_ERROR);
        return;
    }
    uint32_t value = current_location();
    skip_blanks();
    if (*line_cursor == ',') {
        ++line_cursor;
        value = parse_simple_value();
    }
    value += parse_term();

    static char line[FUNA_ROOM];
    std::snprintf(line, sizeof line, "%.*s = 16'h%04lx;\n", static_cast<int>(name.size()),
                  name.data(), static_cast<unsigned long>(value));
    write_verilog_line(line);
    skip_line();
}

std::span<const DirectiveRow> location_directives()
{
    static constexpr DirectiveRow rows[] = {
        {"even", even_directive, 0, KW_PLAIN}, {"align", align_directive, 0, KW_PLAIN},
        {"org", org_directive, 0, KW_PLAIN},   {"offset", offset_directive, 0, KW_PLAIN},
        {"funa", funa_directive, 0, KW_QUIET},
    };
    return rows;
}
