// What is reached from an entry is code: from there the instructions are followed through their
// branches to where they end. Entries are what jumps, calls and interrupt vectors name, and the
// labels of code sections. A trail that runs into what is no instruction, into the middle of one or
// out of the section was no code, and is given up as a whole. What lies between the trails in a
// code section is code if it can be read as such up to the next label and doesn't run on into data.

#include "nvobj8/code_map.h"

#include <algorithm>

constexpr uint8_t OPCODE_JRA = 0x20;
constexpr uint8_t OPCODE_JRF = 0x21; // never taken
constexpr uint8_t OPCODE_IRET = 0x80;
constexpr uint8_t OPCODE_RET = 0x81;
constexpr uint8_t OPCODE_RETF = 0x87;

// The first byte of an interrupt vector; three bytes of address follow.
constexpr uint8_t OPCODE_INT = 0x82;
constexpr uint32_t VECTOR_SIZE = 4;

constexpr uint8_t ID_CALL = mnemonic_number("call");
constexpr uint8_t ID_CALLF = mnemonic_number("callf");
constexpr uint8_t ID_JP = mnemonic_number("jp");
constexpr uint8_t ID_JPF = mnemonic_number("jpf");

struct Place {
    DisassembledSection *section;
    uint32_t offset;
};

// What was found on the way along a trail, beside the trail itself.
struct Findings {
    std::vector<Place> entries;
    std::vector<Place> data;
};

bool goes_elsewhere(const OpcodeEntry &row)
{
    return row.mnemonic_id == ID_JP || row.mnemonic_id == ID_JPF || row.mnemonic_id == ID_CALL ||
           row.mnemonic_id == ID_CALLF;
}

// Whether nothing comes after it.
static bool ends_trail(const OpcodeEntry &row)
{
    const bool plain = (row.first_operand >> PREFIX_SHIFT) == PREFIX_NONE;
    return row.mnemonic_id == ID_JP || row.mnemonic_id == ID_JPF ||
           (plain && (row.opcode == OPCODE_JRA || row.opcode == OPCODE_RET ||
                      row.opcode == OPCODE_RETF || row.opcode == OPCODE_IRET));
}

uint32_t field_number(const DisassembledSection &section, uint32_t offset, uint8_t size)
{
    const auto &bytes = section.section->contents;
    if (size == 1)
        return bytes[offset];
    // The page of a far address comes first in every order.
    if (size == 3)
        return uint32_t{bytes[offset]} << 16 | field_number(section, offset + 1, 2);
    const bool high_first = (section.section->attributes & SECATTR_HILO) != 0;
    const uint32_t first = bytes[offset];
    const uint32_t second = bytes[offset + 1];
    return high_first ? first << 8 | second : second << 8 | first;
}

// What the linker patches is an instruction all the same.
static bool has_label_inside(const DisassembledSection &section, uint32_t begin, uint32_t end)
{
    const auto label = section.labels.upper_bound(begin);
    const auto relocations = relocations_between(*section.section, begin, end);
    const bool linked_bit = !relocations.empty() && relocations.back().kind == RK_BIT;
    return label != section.labels.end() && label->first < end && !linked_bit;
}

// A relocation in an instruction lies in a field of it; a check comes ahead of one; and what the
// linker patches as a bit instruction begins with the opcode.
static bool agrees(const DecodedInstruction &instruction, uint32_t at,
                   const ObjectRelocation &relocation)
{
    if (relocation.kind == RK_BIT)
        return at == instruction.opcode_at && is_bit_instruction(*instruction.row) &&
               instruction.bit == 0;
    if (at == 0)
        return is_check(relocation);
    for (size_t i = 0; i < instruction.field_count; ++i) {
        const OperandField &field = instruction.fields[i];
        if (at >= field.at && at + relocation.field_size <= field.at + field.size)
            return !is_check(relocation) || at == field.at;
    }
    return false;
}

std::optional<DecodedInstruction> instruction_at(const DisassembledSection &section,
                                                 uint32_t offset)
{
    const auto bytes = std::span(section.section->contents).subspan(offset);
    const auto instruction = decode_instruction(bytes);
    if (!instruction || has_label_inside(section, offset, offset + instruction->size) ||
        field_around(*section.section, offset) != nullptr)
        return std::nullopt;
    for (const ObjectRelocation &relocation :
         relocations_between(*section.section, offset, offset + instruction->size)) {
        if (!agrees(*instruction, relocation.offset - offset, relocation))
            return std::nullopt;
    }
    return instruction;
}

static bool is_in(const DisassembledSection &section, uint32_t offset)
{
    return offset < section.uses.size();
}

// The place that a number or a relocated field means, if it lies in a section with bytes.
static std::optional<Place> place_of(DisassembledProgram *program, uint32_t index, uint32_t value)
{
    if (index > 0 && index <= program->sections.size()) {
        DisassembledSection *section = &program->sections[index - 1];
        if (is_in(*section, value))
            return Place{section, value};
        return std::nullopt;
    }
    if (index != 0)
        return std::nullopt;
    for (DisassembledSection &section : program->sections) {
        const bool absolute = (section.section->attributes & SECATTR_ABS) != 0;
        if (absolute && is_in(section, value - section.section->address))
            return Place{&section, value - section.section->address};
    }
    return std::nullopt;
}

static bool holds_address(uint8_t kind)
{
    return kind == RK_WORD || kind == RK_PAGE_BYTE || kind == RK_LONG;
}

// Where the operands of an instruction lead.
static void note_operands(DisassembledProgram *program, DisassembledSection *section,
                          uint32_t offset, const DecodedInstruction &instruction,
                          Findings *findings)
{
    std::vector<Place> *list =
        goes_elsewhere(*instruction.row) ? &findings->entries : &findings->data;
    for (size_t i = 0; i < instruction.field_count; ++i) {
        const OperandField &field = instruction.fields[i];
        const uint32_t at = offset + field.at;
        bool relocated = false;
        for (const ObjectRelocation &relocation :
             relocations_between(*section->section, at, at + field.size)) {
            relocated = true;
            const auto place = place_of(program, relocation.index, relocation.addend);
            if (place && holds_address(relocation.kind))
                list->push_back(*place);
        }
        if (relocated || field.size == 1)
            continue;
        if (const auto place = place_of(program, 0, field_number(*section, at, field.size)))
            list->push_back(*place);
    }
}

// A trail in the making.
struct Trail {
    DisassembledSection *section;
    std::vector<uint32_t> waiting;  // where it goes on
    std::vector<uint32_t> followed; // its instructions
    Findings findings;
};

static void mark(DisassembledSection *section, uint32_t offset, uint32_t size, ByteUse first,
                 ByteUse rest)
{
    section->uses[offset] = first;
    std::fill_n(section->uses.begin() + offset + 1, size - 1, rest);
}

static bool is_free(const DisassembledSection &section, uint32_t offset, uint32_t size)
{
    return std::all_of(section.uses.begin() + offset, section.uses.begin() + offset + size,
                       [](ByteUse use) { return use == ByteUse::DATA; });
}

uint32_t branch_target(const DisassembledSection &section, uint32_t offset,
                       const DecodedInstruction &instruction)
{
    const uint8_t byte = section.section->contents[offset + instruction.branch_at];
    const auto distance = static_cast<int8_t>(byte);
    return offset + instruction.size + static_cast<uint32_t>(int32_t{distance});
}

// Puts the target of a relative branch on the trail; false if it can't be code.
static bool follow_branch(Trail *trail, uint32_t offset, const DecodedInstruction &instruction)
{
    if (instruction.branch_at == 0 || instruction.row->opcode == OPCODE_JRF)
        return true;
    const auto &section = *trail->section;
    const uint32_t target = branch_target(section, offset, instruction);
    if (!is_in(section, target))
        return (section.section->attributes & SECATTR_ABS) != 0;
    trail->waiting.push_back(target);
    return true;
}

// Follows the instructions one after the other; false if they turn out to be none.
static bool follow_straight(DisassembledProgram *program, Trail *trail, uint32_t offset)
{
    DisassembledSection *section = trail->section;
    while (is_in(*section, offset) && section->uses[offset] != ByteUse::INSTRUCTION) {
        const auto instruction = instruction_at(*section, offset);
        if (!instruction || !is_free(*section, offset, instruction->size) ||
            !follow_branch(trail, offset, *instruction))
            return false;
        mark(section, offset, instruction->size, ByteUse::INSTRUCTION, ByteUse::INSTRUCTION_REST);
        trail->followed.push_back(offset);
        note_operands(program, section, offset, *instruction, &trail->findings);
        if (ends_trail(*instruction->row))
            return true;
        offset += instruction->size;
    }
    return true;
}

static void give_up(Trail *trail)
{
    for (const uint32_t offset : trail->followed) {
        const auto instruction = instruction_at(*trail->section, offset);
        mark(trail->section, offset, instruction->size, ByteUse::DATA, ByteUse::DATA);
    }
}

// Takes the place for an entry. What the instructions lead to goes to `findings`.
static void follow(DisassembledProgram *program, Place entry, Findings *findings)
{
    Trail trail = {entry.section, {entry.offset}, {}, {}};
    while (!trail.waiting.empty()) {
        const uint32_t offset = trail.waiting.back();
        trail.waiting.pop_back();
        if (!follow_straight(program, &trail, offset)) {
            give_up(&trail);
            return;
        }
    }
    for (const Place &place : trail.findings.data)
        place.section->data_addresses.insert(place.offset);
    findings->entries.insert(findings->entries.end(), trail.findings.entries.begin(),
                             trail.findings.entries.end());
}

static void follow_all(DisassembledProgram *program, std::vector<Place> entries)
{
    while (!entries.empty()) {
        Findings findings;
        for (const Place &entry : entries) {
            if (entry.section->uses[entry.offset] == ByteUse::DATA)
                follow(program, entry, &findings);
        }
        entries = std::move(findings.entries);
    }
}

// Only jumps, calls and bit instructions come with these.
static void add_entry_of(DisassembledSection *section, const ObjectRelocation &relocation,
                         std::vector<Place> *entries)
{
    const auto &bytes = section->section->contents;
    if (relocation.offset == 0 || relocation.offset > bytes.size())
        return;
    const uint8_t ahead = bytes[relocation.offset - 1];
    constexpr uint8_t OPCODE_JP = 0xCC;
    constexpr uint8_t OPCODE_CALL = 0xCD;
    if (relocation.kind == RK_BIT ||
        (is_check(relocation) && (ahead == OPCODE_JP || ahead == OPCODE_CALL)))
        entries->push_back({section, relocation.offset - 1});
}

// An address after the first byte of a vector.
static void add_vector(DisassembledProgram *program, const DisassembledSection &section,
                       const ObjectRelocation &relocation, std::vector<Place> *entries)
{
    const auto &bytes = section.section->contents;
    const bool in_long = relocation.kind == RK_LONG && relocation.addend >> 24 == OPCODE_INT;
    const bool in_bytes = relocation.kind == RK_PAGE_BYTE && relocation.offset > 0 &&
                          bytes[relocation.offset - 1] == OPCODE_INT;
    if (!in_long && !in_bytes)
        return;
    const auto place = place_of(program, relocation.index, relocation.addend & 0xFFFFFF);
    if (place)
        entries->push_back(*place);
}

// The vectors of an absolute section, whose targets are plain numbers.
static void add_absolute_vectors(DisassembledProgram *program, const DisassembledSection &section,
                                 std::vector<Place> *entries)
{
    const auto &bytes = section.section->contents;
    for (uint32_t at = 0; at + VECTOR_SIZE <= bytes.size() && bytes[at] == OPCODE_INT;
         at += VECTOR_SIZE) {
        if (!relocations_between(*section.section, at, at + VECTOR_SIZE).empty())
            continue;
        if (const auto place = place_of(program, 0, field_number(section, at + 1, 3)))
            entries->push_back(*place);
    }
}

static std::vector<Place> sure_entries(DisassembledProgram *program)
{
    std::vector<Place> entries;
    for (DisassembledSection &section : program->sections) {
        if (is_text_section(*section.section) || section.section->contents.empty())
            continue;
        for (const ObjectRelocation &relocation : section.section->relocations) {
            add_entry_of(&section, relocation, &entries);
            add_vector(program, section, relocation, &entries);
        }
        if (section.section->attributes & SECATTR_ABS)
            add_absolute_vectors(program, section, &entries);
    }
    return entries;
}

static bool is_code_section(const DisassembledSection &section)
{
    return (section.section->attributes & SECATTR_CODE) && !section.uses.empty();
}

static void follow_labels(DisassembledProgram *program)
{
    for (DisassembledSection &section : program->sections) {
        if (!is_code_section(section))
            continue;
        std::set<uint32_t> places = {0};
        for (const auto &[offset, position] : section.labels)
            places.insert(offset);
        for (const uint32_t offset : places) {
            if (is_in(section, offset) && !section.data_addresses.contains(offset))
                follow_all(program, {{&section, offset}});
        }
    }
}

// Whether the bytes can be read as instructions that end exactly at `end`, and nothing runs on from
// there into data.
static bool reads_as_code(const DisassembledSection &section, uint32_t begin, uint32_t end)
{
    const auto &bytes = section.section->contents;
    if (std::all_of(bytes.begin() + begin, bytes.begin() + end,
                    [&](uint8_t byte) { return byte == bytes[begin]; }) &&
        end - begin > 1)
        return false;
    bool ends = false;
    for (uint32_t at = begin; at < end;) {
        const auto instruction = instruction_at(section, at);
        if (!instruction || instruction->size > end - at)
            return false;
        ends = ends_trail(*instruction->row);
        at += instruction->size;
    }
    return ends || (is_in(section, end) && section.uses[end] == ByteUse::INSTRUCTION);
}

// Takes all of a piece that reads as code, which may be several routines.
static void follow_piece(DisassembledProgram *program, DisassembledSection *section, uint32_t begin,
                         uint32_t end)
{
    while (begin < end) {
        const uint32_t size = instruction_at(*section, begin)->size;
        if (section->uses[begin] == ByteUse::DATA)
            follow_all(program, {{section, begin}});
        begin += size;
    }
}

// Tries what is left between `begin` and `end`, the last label first, since what comes ahead of it
// may run on into it.
static void follow_rest(DisassembledProgram *program, DisassembledSection *section, uint32_t begin,
                        uint32_t end)
{
    std::set<uint32_t> starts = {begin};
    for (auto it = section->labels.lower_bound(begin);
         it != section->labels.end() && it->first < end; ++it)
        starts.insert(it->first);
    const auto &data = section->data_addresses;
    starts.insert(data.lower_bound(begin), data.lower_bound(end));
    for (auto start = starts.rbegin(); start != starts.rend(); ++start) {
        if (!data.contains(*start) && reads_as_code(*section, *start, end))
            follow_piece(program, section, *start, end);
        end = *start;
    }
}

static void follow_rests(DisassembledProgram *program, DisassembledSection *section)
{
    const auto size = static_cast<uint32_t>(section->uses.size());
    for (uint32_t begin = 0; begin < size;) {
        if (section->uses[begin] != ByteUse::DATA) {
            ++begin;
            continue;
        }
        uint32_t end = begin;
        while (end < size && section->uses[end] == ByteUse::DATA)
            ++end;
        follow_rest(program, section, begin, end);
        begin = end;
    }
}

// What the linker patches as a bit instruction is one, whatever comes after it.
static void take_linked_bits(DisassembledSection *section)
{
    for (const ObjectRelocation &relocation : section->section->relocations) {
        if (relocation.kind != RK_BIT || relocation.offset == 0)
            continue;
        const uint32_t offset = relocation.offset - 1;
        const auto instruction = instruction_at(*section, offset);
        if (instruction && is_free(*section, offset, instruction->size))
            mark(section, offset, instruction->size, ByteUse::INSTRUCTION,
                 ByteUse::INSTRUCTION_REST);
    }
}

void find_code(DisassembledProgram *program)
{
    follow_all(program, sure_entries(program));
    for (DisassembledSection &section : program->sections)
        take_linked_bits(&section);
    follow_labels(program);
    for (DisassembledSection &section : program->sections) {
        if (is_code_section(section))
            follow_rests(program, &section);
    }
}
