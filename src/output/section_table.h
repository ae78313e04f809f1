// The output sections of the source file being assembled, and which of them receives bytes.
#pragma once

#include "base/byte_stream.h"
#include "base/object_format.h"
#include <cstdint>
#include <optional>
#include <string_view>

// Bits of Section::flags; internal, not in the object file.
constexpr uint16_t SEC_DEBUG = 0x0001;       // text for tools: listed only under dlist_flag
constexpr uint16_t SEC_USED = 0x0002;        // goes to the object file; never cleared
constexpr uint16_t SEC_CLOSED = 0x0004;      // closed by a later `new`: names pass over it
constexpr uint16_t SEC_NEW_PENDING = 0x0008; // opened by `new`, not yet reached in this pass
constexpr uint16_t SEC_NEW_SEEN = 0x0010;    // opened by `new`, reached in this pass
constexpr uint16_t SEC_NUMBERED = 0x0020;    // has its number in the object file
constexpr uint16_t SEC_LATE = 0x0040;        // has no number, but a label or record that needs one

struct BranchRecord;

struct Section {
    Section *next;       // in order of creation; of offset_section: the real section to go back to
    uint8_t attributes;  // SECATTR_ bits
    uint8_t name_length; // 0 in offset_section only
    char section_name[SECTION_NAME_MAX];
    uint16_t flags;          // SEC_ bits
    uint16_t number;         // order of creation; after resolve_symbols that of the object file
    uint32_t size;           // location counter: bytes so far in this pass
    uint32_t reloc_position; // offset up to which reloc_stream accounts for the section
    uint32_t recorded_size;  // up to where the layout record accounts for the section
    bool moves;              // in the layout record: what comes now may lie elsewhere next time
    uint32_t base_address;   // 0 unless `org` set it in an absolute section; survives the passes
    BranchRecord *branches;  // the jumps in it, kept by the target; null while there are none
    ByteStream code_stream;
    ByteStream reloc_stream;
};

extern Section *section_list;    // never reordered
extern int32_t section_count;    // after resolve_symbols: of those kept
extern Section *current_section; // never null during a pass

// Sections asked for with `new` in this pass, and how many of them are merged into one (0: none
// are). The group is set per source file, the counter starts at 0 in each pass.
extern int32_t new_section_counter;
extern int32_t new_section_group;

// Where the attributes of a `section` directive start. Set by the target.
extern uint8_t default_section_attributes;

// The text sections, null under -si and -sm.
extern Section *info_section;
extern Section *misra_section;

// The section that `offset` selects: in no list, it lays out names without output.
extern Section offset_section;

// Address of the next byte: size plus base_address of the current section.
inline uint32_t current_location()
{
    return current_section->size + current_section->base_address;
}

// Bytes from the location to the next multiple. Where the location wraps round, 0 is one.
uint32_t padding_to(uint32_t alignment);

// Bytes from the location to where `org` goes: to an offset in the section, or in an absolute one
// to an address. The first `org` of an absolute section moves the section itself. Nothing for what
// lies above.
std::optional<uint32_t> room_to(uint32_t target);

// Builds the table with the predefined sections, for a new source file.
void init_sections();

// Empties all sections at the head of a pass and selects .text.
void reset_sections_for_pass();

// Names of sections are cut to 14 characters; a longer one records "section name %.*s too long".

// Selects a section by name. Null, with nothing selected, if there is none that is open.
Section *select_section(std::string_view name);

// Makes and selects a section; null, with nothing selected, if the name is taken.
Section *add_section(std::string_view name);

// Makes and selects a section of that name whatever exists.
Section *create_section(std::string_view name);

// Whether the `offset` section is current.
bool in_offset_section();

inline std::string_view section_name(const Section &section)
{
    return {section.section_name, section.name_length};
}

// Goes back to the real section when the `offset` section is current; returns whether it was.
bool leave_offset_section();

// Ends each section with SECATTR_EVEN on an even address.
void pad_even_sections();
