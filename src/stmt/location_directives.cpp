// The location, which labels take and alignment counts, is the section's size plus its base
// address.

#include "stmt/location_directives.h"

#include "driver/settings.h"
#include "expr/evaluator.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "listing/diagnostics.h"
#include "listing/listing.h"
#include "output/section_table.h"
#include "stmt/statement.h"
#include "target/emission.h"
#include <algorithm>

// Reads the operand of `align`; 1 after an error.
static uint32_t parse_alignment()
{
    ExprValue alignment;
    parse_expression(&alignment);
    if (alignment.reloc != RELOC_ABSOLUTE)
        record_error(MSG_RELOCATABLE_NOT_ALLOWED);
    else if (static_cast<int32_t>(alignment.value) < 1)
        record_error("illegal alignment", 0, nullptr);
    else
        return alignment.value;
    return 1;
}

// Reads the fill value, with or without a comma ahead of it, if there is one.
static uint32_t parse_fill()
{
    const int32_t token = next_token();
    if (token == TOK_END)
        return static_cast<uint32_t>(fill_byte);
    if (token != TOK_COMMA)
        unget_token(token);
    ExprValue fill;
    parse_expression(&fill);
    if (fill.reloc != RELOC_ABSOLUTE)
        record_error(MSG_RELOCATABLE_NOT_ALLOWED);
    else if (!fits_signed_byte(fill))
        record_error("illegal fill value", 0, nullptr);
    return fill.value;
}

// Bytes from the location to the next multiple. Where the location wraps round, 0 is one.
static uint32_t padding_to(uint32_t alignment)
{
    const uint32_t location = current_location();
    const uint32_t rest = location % alignment;
    return rest == 0 ? 0 : std::min(alignment - rest, 0 - location);
}

void align_directive(Keyword *keyword, const char *, uint32_t)
{
    const uint32_t alignment = keyword->argument != 0 ? parse_alignment() : 2;
    const uint32_t fill = parse_fill();
    const uint32_t padding = padding_to(alignment);
    if (current_section->name_length == 0)
        current_section->size += padding;
    else
        emit_fill(fill, padding);
}

// Where `org` goes, as an offset in the section. The first one of an absolute section moves the
// section itself.
static uint32_t target_offset(uint32_t target)
{
    Section *section = current_section;
    if ((section->attributes & SECATTR_ABS) == 0)
        return target;
    if (section->size == 0) {
        section->base_address = target;
        return 0;
    }
    return target >= current_location() ? target - section->base_address : 0;
}

void org_directive(Keyword *, const char *, uint32_t)
{
    leave_offset_section();
    last_label = nullptr;
    ExprValue target;
    parse_expression(&target);
    if (target.reloc != RELOC_ABSOLUTE) {
        record_error(MSG_RELOCATABLE_NOT_ALLOWED);
        return;
    }
    const uint32_t offset = target_offset(target.value);
    if (offset >= current_section->size)
        emit_fill(static_cast<uint32_t>(fill_byte), offset - current_section->size);
    else
        record_error("cannot move back current pc", 0, nullptr);
    // The line shows the new address and none of the bytes on the way.
    if (list_state == LIST_ON) {
        mark_line(MARK_NO_BYTES);
        line_defined_label = LIST_ADDRESS;
    }
}

void offset_directive(Keyword *, const char *, uint32_t)
{
    leave_offset_section();
    ExprValue start;
    parse_expression(&start);
    if (start.reloc != RELOC_ABSOLUTE) {
        record_error(MSG_RELOCATABLE_NOT_ALLOWED);
        return;
    }
    offset_section = {};
    offset_section.next = current_section;
    offset_section.attributes = SECATTR_BSS | SECATTR_ABS;
    offset_section.size = start.value;
    current_section = &offset_section;
}
