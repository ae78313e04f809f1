// What the stages of the disassembly share: the object, what each section holds, and the names that
// its addresses are given.
#pragma once

#include "base/object_format.h"
#include "nvobj8/decode.h"
#include "object/object_reader.h"
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

// What a byte of a section is taken for.
enum class ByteUse : uint8_t { DATA, INSTRUCTION, INSTRUCTION_REST };

struct DisassembledSection {
    const ObjectSection *section;
    uint8_t number;                         // in the object
    std::multimap<uint32_t, size_t> labels; // symbols by their offset, which may be out of bounds
    std::vector<ByteUse> uses;              // of each byte of the contents
    std::set<uint32_t> data_addresses;      // offsets that instructions use as addresses of data
    std::set<uint32_t> made_labels;         // offsets that got a label without having a symbol
};

struct DisassembledProgram {
    const ObjectFile &object;
    std::vector<DisassembledSection> sections;
    std::vector<std::string> symbol_names; // by record: as they are written
    std::vector<bool> mentioned;           // by record: whether the text holds a reference
    std::string prefix;                    // of made names: no symbol begins with it
};

// Sorts the symbols into their sections and chooses names.
DisassembledProgram lay_out_program(const ObjectFile &object);

// Whether it is a name in a source, of a symbol or a section.
bool is_name(std::string_view name);

// Texts that the assembler puts together from directives, and so hold neither code nor data.
bool is_text_section(const ObjectSection &section);

// The section in which a line defines the symbol; null for one that is undefined or only a number.
const DisassembledSection *home_of(const DisassembledProgram &program, const ObjectSymbol &symbol);

// A symbol whose value counts in bits.
bool is_bit_equate(const DisassembledProgram &program, const ObjectSymbol &symbol);

// The symbol that a relocation names, or null for a section.
const ObjectSymbol *symbol_of(const ObjectFile &object, uint32_t index);

// The relocations of the section with offsets from `begin` to just below `end`.
std::span<const ObjectRelocation> relocations_between(const ObjectSection &section, uint32_t begin,
                                                      uint32_t end);

// The relocated field that began ahead of the offset and goes on there, or null.
const ObjectRelocation *field_around(const ObjectSection &section, uint32_t offset);

inline bool is_check(const ObjectRelocation &relocation)
{
    return relocation.kind == RK_CHECK;
}

// "$1F"
std::string hex_number(uint32_t value);

// "name", "name+$2" or "name-$2"
std::string with_distance(const std::string &name, int32_t distance);

// An address as it is written, and what the assembler knows of it.
struct AddressText {
    std::string text;
    uint8_t attributes; // ATTR_ bits of the symbol it goes by
};

// What the text of an address has to be besides right.
constexpr unsigned NAME_PRIVATE = 0x01;      // goes by no public symbol of this file
constexpr unsigned NAME_WITHOUT_DOTS = 0x02; // a dot would end the name

// The text whose value is `value`, relative to what `index` names; only the low `bits` count.
// Makes a label where there is none. Nothing if the language has no text for it.
std::optional<AddressText> address_text(DisassembledProgram *program, uint32_t index,
                                        uint32_t value, int bits, unsigned needs = 0);

// The label of an instruction at an absolute address; nothing if none begins there.
std::optional<std::string> code_text(DisassembledProgram *program, uint32_t number);

// The text of a place in the section itself, for a branch: with a label, or else from "*".
std::string branch_text(DisassembledProgram *program, DisassembledSection *section, uint32_t here,
                        uint32_t target);

// The text of an address that a check names, or nothing.
std::optional<AddressText> checked_text(DisassembledProgram *program, const ObjectRelocation &check,
                                        unsigned needs = 0);

// The name of a label that was made at an offset.
std::string made_name(const DisassembledProgram &program, const DisassembledSection &section,
                      uint32_t offset);
