// A section is made by `section`, once, in the sizing pass; later passes find it. With `new` a name
// may be opened again: each instance is a section of its own.

#include "stmt/section_directives.h"

#include "base/diagnostics.h"
#include "base/file_names.h"
#include "base/number.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/settings.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/name_places.h"
#include "listing/listing.h"
#include "output/debug_info.h"
#include "output/layout_record.h"
#include "output/section_table.h"
#include "stmt/section_request.h"
#include "stmt/section_stacks.h"
#include "stmt/statement.h"
#include <string_view>

// `section 255` stands for .bsct without any binding.
constexpr uint8_t BSCT_NUMBER = 255;

// Selects a section by number. The result is the section, or null.
static Section *select_by_number(const SectionRequest &request)
{
    if (!request.number || !settings.opt_old_syntax) {
        force_error(messages::MISSING_LABEL);
        return nullptr;
    }
    if (request.word_count != 0)
        record_error(messages::SYNTAX_ERROR);
    if (Section *section = find_numbered_section(*request.number)) {
        current_section = section;
        return section;
    }
    if (request.number == BSCT_NUMBER)
        return select_section(".bsct");
    record_error(messages::SECTION_NOT_ASSIGNED);
    return nullptr;
}

// With a group of n every n-th `new` opens a further instance; the flag is dropped for the others,
// which go on in the instance that is open. A name's first instance needs no flag.
static bool keeps_new()
{
    bool keeps = true;
    if (new_section_group != 0) {
        keeps = new_section_counter >= new_section_group;
        if (keeps)
            new_section_counter = 0;
    }
    ++new_section_counter;
    return keeps;
}

// In the sizing pass: `section` is the one just made, or null if the name was taken.
static Section *open_instance(Section *section, std::string_view name, bool keeps)
{
    if (section != nullptr) {
        section->flags |= SEC_NEW_PENDING;
        return section;
    }
    Section *existing = select_section(name);
    if (!keeps)
        return existing;
    existing->flags |= SEC_CLOSED;
    return create_section(name);
}

// In a later pass: `section` is the first open instance of the name.
static Section *find_instance(Section *section, std::string_view name, bool keeps)
{
    if (section->flags & SEC_NEW_PENDING) {
        section->flags &= static_cast<uint16_t>(~SEC_NEW_PENDING);
        section->flags |= SEC_NEW_SEEN;
        return section;
    }
    if (keeps) {
        section->flags |= SEC_CLOSED;
        return select_section(name);
    }
    if (section->size != 0 && lists_line())
        list_switch_line(name);
    return section;
}

static Section *select_instance(Section *section, std::string_view name)
{
    const bool keeps = keeps_new();
    if (pass_number == 0) {
        // The next pass merges the instances.
        spoil_layout_record();
        return open_instance(section, name, keeps);
    }
    return section != nullptr ? find_instance(section, name, keeps) : nullptr;
}

// Whether the number is bound to the section that has this name already.
static bool is_bound_to(uint8_t number, std::string_view name)
{
    const Section *section = find_numbered_section(number);
    return section != nullptr && section_name(*section) == name.substr(0, SECTION_NAME_MAX);
}

static void bind_number(Section *section, uint8_t number)
{
    if (number == BSCT_NUMBER || find_numbered_section(number) != nullptr)
        force_error(messages::SECTION_ALREADY_ASSIGNED);
    else
        add_numbered_section(section, number);
}

static Section *select_by_name(const SectionRequest &request, std::string_view name)
{
    if (is_digit(name.front())) {
        force_error(messages::BAD_SYMBOL_NAME, name);
        return nullptr;
    }
    Section *section = pass_number == 0 ? add_section(name) : select_section(name);
    if (request.wants_new)
        section = select_instance(section, name);
    if (section == nullptr) {
        const bool repeated =
            pass_number == 0 && request.number && is_bound_to(*request.number, name);
        if (!repeated)
            force_error(messages::MULTIPLY_DEFINED, name);
        return nullptr;
    }
    if (pass_number == 0) {
        note_section_place(name);
        section->attributes = request.attributes;
        if (request.number)
            bind_number(section, *request.number);
    }
    return section;
}

static void section_directive(const Statement &statement)
{
    if (debug_lines) {
        leave_offset_section();
        debug_close_scope(source_file_name, current_line());
    }
    last_label = nullptr;
    listed_line.shows_address = LineAddress::WITH_BYTES;
    const SectionRequest request = read_section_request();
    const Section *section = statement.label.empty() ? select_by_number(request)
                                                     : select_by_name(request, statement.label);
    if (section != nullptr)
        note_debug_section();
    if (debug_lines)
        debug_open_scope(source_file_name, current_line());
}

// Selects the section that stands on the line. In the sizing pass a section that is defined further
// down is passed over without a word, since errors aren't recorded there.
static void select_named_section()
{
    skip_blanks();
    const std::string_view name = scan_name();
    if (name.empty()) {
        record_error(messages::MISSING_LABEL);
        return;
    }
    if (select_section(name) != nullptr)
        note_debug_section();
    else
        record_error(messages::NOT_DEFINED, name);
}

// Selects another section, with the debug records of the one that is left and of the one entered.
static void switch_section(void (*select)())
{
    last_label = nullptr;
    // The debug prologue runs at line 0 and makes no records of its own.
    const uint32_t line = current_line();
    const bool has_records = debug_lines && line != 0;
    if (has_records) {
        leave_offset_section();
        debug_close_scope(source_file_name, line);
    }
    select();
    if (has_records)
        debug_open_scope(source_file_name, line);
}

static void switch_directive(const Statement &)
{
    switch_section(select_named_section);
}

static void select_bsct()
{
    if (select_section(".bsct") != nullptr)
        note_debug_section();
    else
        spoil_layout_record();
}

static void bsct_directive(const Statement &)
{
    switch_section(select_bsct);
}

static void save_directive(const Statement &)
{
    leave_offset_section();
    save_section(current_section);
    skip_line();
}

static void restore_directive(const Statement &)
{
    leave_offset_section();
    if (debug_lines)
        debug_close_scope(source_file_name, current_line());
    if (Section *saved = take_saved_section())
        current_section = saved;
    else
        record_error("missing save directive");
    if (debug_lines)
        debug_open_scope(source_file_name, current_line());
    skip_line();
}

std::span<const DirectiveRow> section_directives()
{
    static constexpr DirectiveRow rows[] = {
        {"switch", switch_directive, 0, KW_PLAIN},
        {"bsct", bsct_directive, 0, KW_PLAIN},
        {"section", section_directive, 0, KW_PLAIN | KW_LABEL_IS_NAME},
        {"save", save_directive, 0, KW_PLAIN},
        {"restore", restore_directive, 0, KW_PLAIN},
    };
    return rows;
}
