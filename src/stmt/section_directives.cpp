// A section is made by `section`, once, in the sizing pass; later passes find it. With `new` a name
// may be opened again: each instance is a section of its own.

#include "stmt/section_directives.h"

#include "base/diagnostics.h"
#include "base/file_names.h"
#include "base/memory.h"
#include "base/number.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/settings.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "listing/listing.h"
#include "output/debug_info.h"
#include "output/section_table.h"
#include "stmt/statement.h"
#include <string_view>

// `section 255` stands for .bsct without any binding.
constexpr int32_t BSCT_NUMBER = 255;
constexpr int32_t NO_NUMBER = -1;
constexpr uint32_t SECTION_NUMBER_END = 256;

// A number of the old syntax and its section, newest first. Filled in the sizing pass.
struct NumberedSection {
    NumberedSection *next;
    Section *section;
    uint8_t number;
};
static NumberedSection *numbered_sections;

struct SavedSection {
    SavedSection *next;
    Section *section;
};
static SavedSection *section_stack;

struct AttributeWord {
    std::string_view word;
    uint8_t bit; // 0: `new`, which is no attribute
};

static constexpr AttributeWord attribute_words[] = {
    {"abs", SECATTR_ABS},     {"bit", SECATTR_BIT},
    {"bss", SECATTR_BSS},     {"new", 0},
    {"code", SECATTR_CODE},   {"even", SECATTR_EVEN},
    {"hilo", SECATTR_HILO},   {"long", SECATTR_LONG},
    {"zpage", SECATTR_ZPAGE},
};

// The operands of a `section` directive.
struct SectionRequest {
    uint8_t attributes;
    uint32_t word_count;
    bool wants_new;
    int32_t number;
};

void forget_section_stacks()
{
    while (numbered_sections != nullptr)
        numbered_sections = xfree(numbered_sections, numbered_sections->next);
    while (section_stack != nullptr)
        section_stack = xfree(section_stack, section_stack->next);
}

// --- operands of `section` ---------------------------------------------------------------------

static const AttributeWord *find_attribute(std::string_view word)
{
    for (const AttributeWord &row : attribute_words) {
        if (row.word == word)
            return &row;
    }
    return nullptr;
}

static void apply_bits(SectionRequest *request, uint8_t bits, bool add)
{
    if (add)
        request->attributes |= bits;
    else
        request->attributes &= static_cast<uint8_t>(~bits);
}

// A word that is no attribute is the name of a section, which lends its own. As the first word it
// also starts them from nothing. The lookup leaves that section current.
static void apply_lent_attributes(SectionRequest *request, std::string_view word, bool add)
{
    if (request->word_count == 1 && add)
        request->attributes = 0;
    const Section *lender = select_section(word);
    if (lender != nullptr)
        apply_bits(request, lender->attributes, add);
    else
        record_error("unknown attribute %.*s", word);
}

static void read_attribute(SectionRequest *request)
{
    bool add = true;
    if (*line_cursor == '+' || *line_cursor == '-') {
        add = *line_cursor++ == '+';
        skip_blanks();
    }
    const std::string_view word = scan_name();
    if (word.empty()) {
        if (request->word_count != 0)
            record_error(messages::MISSING_LABEL);
        else
            request->attributes = section_list->attributes;
        return;
    }
    ++request->word_count;
    const AttributeWord *row = find_attribute(word);
    if (row == nullptr)
        apply_lent_attributes(request, word, add);
    else if (row->bit == 0)
        request->wants_new = true;
    else
        apply_bits(request, row->bit, add);
}

static void read_section_number(SectionRequest *request)
{
    if (request->number != NO_NUMBER || !settings.opt_old_syntax)
        force_error(messages::SYNTAX_ERROR);
    uint32_t number = 0;
    bool too_large = false;
    while (is_digit(*line_cursor)) {
        number = number * 10 + static_cast<uint32_t>(*line_cursor++ - '0');
        too_large = too_large || number >= SECTION_NUMBER_END;
    }
    request->number = static_cast<int32_t>(number);
    if (too_large) {
        force_error(messages::VALUE_TOO_LARGE);
        request->number = NO_NUMBER;
    }
    skip_blanks();
    if (*line_cursor != ',' && request->word_count == 0)
        request->attributes = section_list->attributes;
}

static SectionRequest read_section_request()
{
    SectionRequest request = {default_section_attributes, 0, false, NO_NUMBER};
    if (settings.opt_absolute)
        request.attributes |= SECATTR_ABS;
    for (;;) {
        skip_blanks();
        if (is_digit(*line_cursor))
            read_section_number(&request);
        else
            read_attribute(&request);
        skip_blanks();
        if (*line_cursor != ',')
            return request;
        ++line_cursor;
    }
}

// --- `section n`: a section by its number -------------------------------------------------------

static NumberedSection *find_number(int32_t number)
{
    NumberedSection *node = numbered_sections;
    while (node != nullptr && node->number != number)
        node = node->next;
    return node;
}

// Selects a section by number. The result is the section, or none.
static Section *select_by_number(const SectionRequest &request)
{
    if (request.number == NO_NUMBER || !settings.opt_old_syntax) {
        force_error(messages::MISSING_LABEL);
        return nullptr;
    }
    if (request.word_count != 0)
        record_error(messages::SYNTAX_ERROR);
    if (const NumberedSection *node = find_number(request.number)) {
        current_section = node->section;
        return node->section;
    }
    if (request.number == BSCT_NUMBER)
        return select_section(".bsct");
    record_error(messages::SECTION_NOT_ASSIGNED);
    return nullptr;
}

static void bind_number(Section *section, int32_t number)
{
    if (number == BSCT_NUMBER || find_number(number) != nullptr) {
        force_error(messages::SECTION_ALREADY_ASSIGNED);
        return;
    }
    auto *node = new_node<NumberedSection>(numbered_sections);
    node->section = section;
    node->number = static_cast<uint8_t>(number);
    numbered_sections = node;
}

// --- `name: section` ----------------------------------------------------------------------------

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

// In the sizing pass: `section` is the one just made, or none if the name was taken.
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
    if (pass_number == 0)
        return open_instance(section, name, keeps);
    return section != nullptr ? find_instance(section, name, keeps) : nullptr;
}

// Whether the number is bound to the section that has this name already.
static bool is_bound_to(int32_t number, std::string_view name)
{
    const NumberedSection *node = find_number(number);
    if (node == nullptr)
        return false;
    const Section *section = node->section;
    return section_name(*section) == name.substr(0, SECTION_NAME_MAX);
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
            pass_number == 0 && request.number != NO_NUMBER && is_bound_to(request.number, name);
        if (!repeated)
            force_error(messages::MULTIPLY_DEFINED, name);
        return nullptr;
    }
    if (pass_number == 0) {
        section->attributes = request.attributes;
        if (request.number != NO_NUMBER)
            bind_number(section, request.number);
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

// --- `switch`, `save`, `restore` ----------------------------------------------------------------

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
}

static void bsct_directive(const Statement &)
{
    switch_section(select_bsct);
}

static void save_directive(const Statement &)
{
    leave_offset_section();
    auto *node = new_node<SavedSection>(section_stack);
    node->section = current_section;
    section_stack = node;
    skip_line();
}

static void restore_directive(const Statement &)
{
    leave_offset_section();
    if (debug_lines)
        debug_close_scope(source_file_name, current_line());
    if (section_stack == nullptr) {
        record_error("missing save directive");
    } else {
        current_section = section_stack->section;
        section_stack = xfree(section_stack, section_stack->next);
    }
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
