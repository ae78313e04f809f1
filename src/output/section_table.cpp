// The table is rebuilt for each source file and rewound for each pass. Sections asked for with
// `new` share a name; they are found again in each pass by their order: all are open at its head,
// the first of the name is found first, and each further `new` closes it and so finds the next.

#include "output/section_table.h"

#include "driver/memory.h"
#include "driver/settings.h"
#include "listing/diagnostics.h"
#include "stmt/section_directives.h"
#include "target/branch_record.h"
#include <algorithm>
#include <cstring>

Section *section_list;
int32_t section_count;
Section *current_section;
int32_t new_section_counter;
int32_t new_section_group;
uint8_t default_section_attributes;
Section *info_section;
Section *misra_section;
Section offset_section;

static Section **section_tail = &section_list;

struct PredefinedSection {
    const char *name;
    uint8_t attributes;
    uint16_t flags;
};

static constexpr PredefinedSection predefined_sections[] = {
    {".text", SECATTR_CODE | SECATTR_HILO, 0},
    {".data", SECATTR_HILO, 0},
    {".bss", SECATTR_HILO | SECATTR_BSS, 0},
    {".bsct", SECATTR_ZPAGE | SECATTR_HILO, 0},
    {".ubsct", SECATTR_ZPAGE | SECATTR_HILO | SECATTR_BSS, 0},
    {".debug", SECATTR_HILO, SEC_DEBUG},
};

static void free_sections()
{
    while (section_list != nullptr) {
        reset_stream(&section_list->code_stream);
        reset_stream(&section_list->reloc_stream);
        free_branch_record(section_list);
        section_list = xfree(section_list, section_list->next);
    }
    section_tail = &section_list;
    section_count = 0;
}

static Section *make_text_section(const char *name)
{
    Section *section = select_section(name, static_cast<uint32_t>(std::strlen(name)), true);
    section->attributes = 0;
    section->flags = SEC_DEBUG;
    return section;
}

void init_sections()
{
    forget_section_stacks();
    free_sections();
    new_section_counter = 0;
    for (const PredefinedSection &row : predefined_sections) {
        Section *section =
            select_section(row.name, static_cast<uint32_t>(std::strlen(row.name)), true);
        section->attributes = row.attributes;
        section->flags = row.flags;
        if (opt_absolute && (row.flags & SEC_DEBUG) == 0)
            section->attributes |= SECATTR_ABS;
    }
    info_section = opt_no_info ? nullptr : make_text_section(".info.");
    misra_section = opt_no_misra ? nullptr : make_text_section(".misra.");
}

static void rewind_section(Section *section)
{
    reset_stream(&section->code_stream);
    reset_stream(&section->reloc_stream);
    section->size = 0;
    section->reloc_position = 0;
    if (section->flags & SEC_NEW_SEEN) {
        section->flags &= static_cast<uint16_t>(~SEC_NEW_SEEN);
        section->flags |= SEC_NEW_PENDING;
    }
    section->flags &= static_cast<uint16_t>(~SEC_CLOSED);
    reset_branch_record(section);
}

void reset_sections_for_pass()
{
    for (Section *section = section_list; section != nullptr; section = section->next)
        rewind_section(section);
    const char *first = predefined_sections[0].name;
    select_section(first, static_cast<uint32_t>(std::strlen(first)), false);
    new_section_counter = 0;
}

static Section *find_open_section(const char *name, uint32_t length)
{
    Section *section = section_list;
    while (section != nullptr &&
           (section->name_length != length ||
            std::memcmp(section->section_name, name, length) != 0 || (section->flags & SEC_CLOSED)))
        section = section->next;
    return section;
}

Section *create_section(const char *name, uint32_t length)
{
    auto *section = new_node<Section>(nullptr);
    section->name_length = static_cast<uint8_t>(std::min<uint32_t>(length, SECTION_NAME_MAX));
    std::memcpy(section->section_name, name, section->name_length);
    section->number = static_cast<uint16_t>(++section_count);
    init_stream(&section->code_stream);
    init_stream(&section->reloc_stream);
    *section_tail = section;
    section_tail = &section->next;
    current_section = section;
    return section;
}

Section *select_section(const char *name, uint32_t length, bool create)
{
    if (length > SECTION_NAME_MAX) {
        record_error("section name %.*s too long", length, name);
        length = SECTION_NAME_MAX;
    }
    Section *found = find_open_section(name, length);
    if (create)
        return found != nullptr ? nullptr : create_section(name, length);
    if (found != nullptr)
        current_section = found;
    return found;
}

bool leave_offset_section()
{
    if (current_section->name_length != 0)
        return false;
    current_section = current_section->next;
    return true;
}

void pad_even_sections()
{
    for (Section *section = section_list; section != nullptr; section = section->next) {
        const bool odd = ((section->size + section->base_address) & 1) != 0;
        if ((section->attributes & SECATTR_EVEN) == 0 || !odd)
            continue;
        // Behind the pass's last line: the byte shows in no listing and in no gap.
        if ((section->attributes & SECATTR_BSS) == 0)
            stream_put_byte(&section->code_stream, static_cast<uint8_t>(fill_byte));
        ++section->size;
    }
}
