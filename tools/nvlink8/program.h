// The program that is being linked: what the stages hand on to one another. Each part says which
// stage fills it. Things name one another by their positions in these vectors.
#pragma once

#include "base/object_format.h"
#include "nvlink8/options.h"
#include "object/object_reader.h"
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

constexpr uint32_t NONE = UINT32_MAX;

// An object file of the run. Filled by load; symbols by symbols.
struct InputObject {
    std::string name;      // as messages call it: "main.o", "lib.a(crc.o)"
    std::string pulled_by; // of an archive's member: the symbol that it was wanted for, and by whom
    ObjectFile object;
    uint32_t first_piece = 0;      // of section 1
    std::vector<uint32_t> symbols; // for each symbol record its Symbol, or NONE
};

// One section of one object, a piece of a block. Made by load; placed with its block.
struct InputSection {
    uint32_t object = 0;
    uint32_t number = 0;  // of the section, from 1
    bool live = true;     // not dropped by sweep
    bool has_room = true; // false for texts and debug information, which aren't in the image
    uint32_t block = NONE;
    uint32_t offset = 0;  // in the block
    uint32_t address = 0; // where it runs
};

// What is placed as a whole: the pieces of one name, or one absolute piece. Made and filled by
// placement.
struct Block {
    std::string name;
    uint8_t attributes = 0; // SECATTR_ bits of all pieces together
    std::vector<uint32_t> pieces;
    bool absolute = false;
    bool apart = false; // by FILE:SECTION; the symbols of the section's name leave it out
    // The --place and the --load that hold for it, by rule and pattern; NONE without one.
    uint32_t place_rule = NONE;
    uint32_t place_pattern = NONE;
    uint32_t load_rule = NONE;
    uint32_t load_pattern = NONE;
    uint32_t overlay = NONE; // the block whose run address it shares
    uint64_t size = 0;
    uint32_t alignment = 1;
    bool placed = false; // address is known
    uint32_t address = 0;
    bool loaded_apart = false; // the bytes lie at load_address and are copied before they are used
    uint32_t load_address = 0;
};

enum class SymbolOrigin { UNDEFINED, OBJECT, COMMAND_LINE, LINKER };

// A public name. Filled by symbols; the value when everything is placed.
struct Symbol {
    std::string_view name; // without the blank that marks a weak definition
    SymbolOrigin origin = SymbolOrigin::UNDEFINED;
    bool weak = false;
    uint8_t attributes = 0; // ATTR_ bits of the definition
    uint32_t object = NONE; // the definition's, of origin OBJECT
    uint32_t record = NONE;
    uint32_t value = 0;
};

struct Program {
    std::vector<InputObject> objects; // in the order of the command line
    std::vector<std::string> input_paths;
    std::vector<InputSection> pieces;
    std::vector<Symbol> symbols;
    std::unordered_map<std::string_view, uint32_t> symbol_numbers;
    std::deque<std::string> names; // that no object holds
    std::vector<Block> blocks;
};

inline const ObjectSection &section_of(const Program &program, const InputSection &piece)
{
    return program.objects[piece.object].object.sections[piece.number - 1];
}

inline bool has_bytes(const Block &block)
{
    return (block.attributes & SECATTR_BSS) == 0 && block.size != 0;
}

// The section that the symbol's definition lies in, NONE for a number or what no object defines.
inline uint32_t section_of_symbol(const Program &program, const Symbol &symbol)
{
    if (symbol.origin != SymbolOrigin::OBJECT)
        return NONE;
    const InputObject &input = program.objects[symbol.object];
    const uint32_t section = input.object.symbols[symbol.record].section_number;
    return section == 0 ? NONE : input.first_piece + section - 1;
}

// Whether the symbol has its value in the end: not if its section was dropped or takes no room.
inline bool is_in_program(const Program &program, const Symbol &symbol)
{
    const uint32_t section = section_of_symbol(program, symbol);
    return symbol.origin != SymbolOrigin::UNDEFINED &&
           (section == NONE || (program.pieces[section].live && program.pieces[section].has_room));
}
