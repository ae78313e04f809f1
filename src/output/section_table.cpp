// The table is rebuilt for each source file and rewound for each pass. Sections asked for with
// `new` share a name; they are found again in each pass by their order: all are open at its head,
// the first of the name is found first, and each further `new` closes it and so finds the next.

#include "output/section_table.h"

#include "base/diagnostics.h"
#include "base/memory.h"
#include "base/settings.h"
#include <algorithm>
#include <cstring>
#include <map>
#include <vector>

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

// The sections of one name in order of creation. Those ahead of `first_open` are closed: a section
// that is closed stays so up to the next pass.
struct SameName {
    std::vector<Section *> sections;
    size_t first_open = 0;
};

// By name; the text of a key lies in the first section of the name.
static std::map<std::string_view, SameName> sections_by_name;

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
    sections_by_name.clear();
    while (section_list != nullptr) {
        reset_stream(&section_list->code_stream);
        reset_stream(&section_list->reloc_stream);
        section_list = xfree(section_list, section_list->next);
    }
    section_tail = &section_list;
    section_count = 0;
}

static Section *make_text_section(const char *name)
{
    Section *section = add_section(name);
    section->attributes = 0;
    section->flags = SEC_DEBUG;
    return section;
}

void init_sections()
{
    free_sections();
    new_section_counter = 0;
    for (const PredefinedSection &row : predefined_sections) {
        Section *section = add_section(row.name);
        section->attributes = row.attributes;
        section->flags = row.flags;
        if (settings.opt_absolute && (row.flags & SEC_DEBUG) == 0)
            section->attributes |= SECATTR_ABS;
    }
    info_section = settings.opt_no_info ? nullptr : make_text_section(".info.");
    misra_section = settings.opt_no_misra ? nullptr : make_text_section(".misra.");
}

static void rewind_section(Section *section)
{
    reset_stream(&section->code_stream);
    reset_stream(&section->reloc_stream);
    section->size = 0;
    section->reloc_position = 0;
    section->recorded_size = 0;
    section->moves = false;
    if (section->flags & SEC_NEW_SEEN) {
        section->flags &= static_cast<uint16_t>(~SEC_NEW_SEEN);
        section->flags |= SEC_NEW_PENDING;
    }
    section->flags &= static_cast<uint16_t>(~SEC_CLOSED);
}

void reset_sections_for_pass()
{
    for (Section *section = section_list; section != nullptr; section = section->next)
        rewind_section(section);
    for (auto &[name, same] : sections_by_name)
        same.first_open = 0;
    select_section(predefined_sections[0].name);
    new_section_counter = 0;
}

static std::string_view cut_name(std::string_view name)
{
    if (name.size() > SECTION_NAME_MAX)
        record_error("section name %.*s too long", name);
    return name.substr(0, SECTION_NAME_MAX);
}

static Section *find_open_section(std::string_view name)
{
    const auto found = sections_by_name.find(name);
    if (found == sections_by_name.end())
        return nullptr;
    auto &[sections, first_open] = found->second;
    while (first_open < sections.size() && (sections[first_open]->flags & SEC_CLOSED))
        ++first_open;
    return first_open < sections.size() ? sections[first_open] : nullptr;
}

static Section *append_section(std::string_view name)
{
    auto *section = new_node<Section>(nullptr);
    section->name_length = static_cast<uint8_t>(name.size());
    std::memcpy(section->section_name, name.data(), name.size());
    section->number = static_cast<uint16_t>(++section_count);
    init_stream(&section->code_stream);
    init_stream(&section->reloc_stream);
    *section_tail = section;
    section_tail = &section->next;
    sections_by_name[section_name(*section)].sections.push_back(section);
    current_section = section;
    return section;
}

Section *create_section(std::string_view name)
{
    return append_section(name.substr(0, SECTION_NAME_MAX));
}

Section *select_section(std::string_view name)
{
    Section *found = find_open_section(cut_name(name));
    if (found != nullptr)
        current_section = found;
    return found;
}

Section *add_section(std::string_view full_name)
{
    const std::string_view name = cut_name(full_name);
    return find_open_section(name) == nullptr ? append_section(name) : nullptr;
}

bool in_offset_section()
{
    return current_section == &offset_section;
}

bool leave_offset_section()
{
    if (!in_offset_section())
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
        // After the pass's last line: the byte shows in no listing and in no gap.
        if ((section->attributes & SECATTR_BSS) == 0)
            stream_put_byte(&section->code_stream, static_cast<uint8_t>(settings.fill_byte));
        ++section->size;
    }
}

uint32_t padding_to(uint32_t alignment)
{
    const uint32_t location = current_location();
    const uint32_t rest = location % alignment;
    return rest == 0 ? 0 : std::min(alignment - rest, 0 - location);
}

std::optional<uint32_t> room_to(uint32_t target)
{
    Section *section = current_section;
    if ((section->attributes & SECATTR_ABS) == 0)
        return target >= section->size ? std::optional(target - section->size) : std::nullopt;
    if (section->size == 0) {
        section->base_address = target;
        return 0;
    }
    return target >= current_location() ? std::optional(target - current_location()) : std::nullopt;
}
