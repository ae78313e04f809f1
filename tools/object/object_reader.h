// Reads an object file into plain structures. It is written from docs/object-format.md alone and
// shares no code with the assembler's writer, so that each checks the other.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// One relocation item, with what was gathered on the way to it.
struct ObjectRelocation {
    uint32_t offset = 0; // of the field, from the start of the section's contents
    uint8_t kind = 0;    // RK_ number, RELOC_KIND_MODIFIER included
    uint8_t field_size = 0;
    uint32_t index = 0;        // common numbering: sections from 1, then symbols; 0 for none
    uint32_t addend_high = 0;  // the bits the item itself carries, in their places in the value
    uint32_t addend = 0;       // the whole value: addend_high and the low bits from the field
    uint32_t gap = 0;          // plain bytes before the field
    uint32_t stream_start = 0; // the gap items and the item in relocation_stream
    uint32_t stream_size = 0;
};

struct ObjectSection {
    std::string name;
    uint8_t attributes = 0; // SECATTR_ bits
    uint32_t contents_offset = 0;
    uint32_t size = 0; // as the table says; contents is shorter for SECATTR_BSS and in a cut file
    uint32_t relocation_offset = 0;
    uint32_t relocation_size = 0;
    uint32_t address = 0;
    std::vector<uint8_t> contents;
    std::vector<uint8_t> relocation_stream;
    std::vector<ObjectRelocation> relocations;
};

struct ObjectSymbol {
    uint32_t value = 0;
    uint8_t attrs = 0; // ATTR_ bits
    uint8_t section_number = 0;
    std::string name; // as in the file: a weak definition keeps its leading blank
};

struct ObjectDebugRecord {
    uint32_t address = 0;
    uint8_t kind = 0; // DEBUG_ number
    uint8_t section_number = 0;
    std::string text;
};

struct ObjectFile {
    bool has_head = false; // false: too short or another magic number, all the rest is empty
    uint32_t file_size = 0;
    uint8_t machine = 0;
    uint8_t machine_variant = 0;
    uint8_t section_count = 0;
    uint32_t symbol_count = 0;
    uint32_t symbol_offset = 0;
    uint32_t symbol_size = 0;
    uint32_t debug_count = 0;
    uint32_t debug_offset = 0;
    uint32_t debug_size = 0;
    std::vector<ObjectSection> sections;
    std::vector<ObjectSymbol> symbols;
    std::vector<ObjectDebugRecord> debug_records;
    std::vector<std::string> problems; // one sentence each; empty for a sound file
};

// Reads what can be read and names in `problems` what is wrong with the rest. Takes any bytes.
ObjectFile read_object(std::span<const uint8_t> bytes);

// The name of a relocation kind without its modifier bit, null for a kind that doesn't exist.
const char *relocation_kind_name(uint8_t kind);

// The escaped name of a section or symbol by its number in relocation items; "0" for 0, "?12" for a
// number that names nothing.
std::string index_name(const ObjectFile &object, uint32_t index);

// A defined symbol whose name is marked by a leading blank.
bool is_weak_definition(const ObjectSymbol &symbol);

// `text` with every byte that isn't printable ASCII, and the backslash, written as \xNN.
std::string escaped(std::string_view text);
