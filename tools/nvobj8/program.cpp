// Names for addresses. An address relative to a section is written by a label that lies there: a
// symbol of the object where one may be used, else a label made for it. Whether a symbol is marked
// as referenced is part of the object, so that one which isn't is not used.

#include "nvobj8/program.h"

#include "base/number.h"
#include <algorithm>
#include <cstdio>

constexpr uint8_t ATTR_OF_SECTION = ATTR_ZPAGE | ATTR_BIT | ATTR_LONG | ATTR_CODE;

bool is_text_section(const ObjectSection &section)
{
    return section.name == ".info." || section.name == ".misra.";
}

std::string hex_number(uint32_t value)
{
    char text[16];
    std::snprintf(text, sizeof text, "$%x", value);
    return text;
}

std::string with_distance(const std::string &name, int32_t distance)
{
    if (distance == 0)
        return name;
    const auto number = static_cast<uint32_t>(distance);
    return name + (distance < 0 ? "-" + hex_number(0 - number) : "+" + hex_number(number));
}

const ObjectSymbol *symbol_of(const ObjectFile &object, uint32_t index)
{
    const size_t position = size_t{index} - object.sections.size() - 1;
    return index > object.sections.size() && position < object.symbols.size()
               ? &object.symbols[position]
               : nullptr;
}

std::span<const ObjectRelocation> relocations_between(const ObjectSection &section, uint32_t begin,
                                                      uint32_t end)
{
    const auto lies_ahead = [](const ObjectRelocation &relocation, uint32_t offset) {
        return relocation.offset < offset;
    };
    const auto &all = section.relocations;
    const auto first = std::lower_bound(all.begin(), all.end(), begin, lies_ahead);
    return {first, std::lower_bound(first, all.end(), std::max(begin, end), lies_ahead)};
}

const ObjectRelocation *field_around(const ObjectSection &section, uint32_t offset)
{
    constexpr uint32_t FIELD_MAX = 4;
    const uint32_t begin = offset < FIELD_MAX ? 0 : offset - FIELD_MAX + 1;
    for (const ObjectRelocation &relocation : relocations_between(section, begin, offset)) {
        if (relocation.offset + relocation.field_size > offset)
            return &relocation;
    }
    return nullptr;
}

// Whether the symbol can be a label of the section: it has the attributes of the section, and
// others only where `xref.b` and its kin declare them.
static bool takes_after(const ObjectSymbol &symbol, const ObjectSection &section)
{
    constexpr uint8_t DECLARED = ATTR_ZPAGE | ATTR_LONG;
    const auto missing = static_cast<uint8_t>(section.attributes & ~symbol.attrs);
    const auto more = static_cast<uint8_t>(symbol.attrs & ~section.attributes);
    return (missing & ATTR_OF_SECTION) == 0 && (more & ATTR_OF_SECTION & ~DECLARED) == 0;
}

static const DisassembledSection *home_of_absolute(const DisassembledProgram &program,
                                                   const ObjectSymbol &symbol)
{
    for (const DisassembledSection &place : program.sections) {
        const ObjectSection &section = *place.section;
        const uint32_t offset = symbol.value - section.address;
        if ((section.attributes & SECATTR_ABS) && takes_after(symbol, section) &&
            offset <= section.size && field_around(section, offset) == nullptr)
            return &place;
    }
    return nullptr;
}

const DisassembledSection *home_of(const DisassembledProgram &program, const ObjectSymbol &symbol)
{
    if ((symbol.attrs & ATTR_DEFINED) == 0)
        return nullptr;
    if (symbol.section_number != 0)
        return &program.sections[symbol.section_number - 1U];
    return symbol.attrs & ATTR_ABSOLUTE ? home_of_absolute(program, symbol) : nullptr;
}

bool is_bit_equate(const DisassembledProgram &program, const ObjectSymbol &symbol)
{
    if ((symbol.attrs & (ATTR_DEFINED | ATTR_BIT)) != (ATTR_DEFINED | ATTR_BIT))
        return false;
    const DisassembledSection *home = home_of(program, symbol);
    return home == nullptr || (home->section->attributes & SECATTR_BIT) == 0;
}

bool is_name(std::string_view name)
{
    const auto is_begin = [](char c) { return is_letter(c) || c == '_' || c == '.'; };
    const auto is_part = [&](char c) { return is_begin(c) || is_digit(c) || c == '$'; };
    return !name.empty() && is_begin(name[0]) && std::all_of(name.begin(), name.end(), is_part);
}

// Whether a source may define the symbol. The assembler defines one itself.
static bool is_free_name(const std::string &name)
{
    return is_name(name) && name != "__NVRN__" &&
           std::none_of(register_table.begin(), register_table.end(),
                        [&](const RegisterName &row) { return row.name == name; });
}

static std::string plain_name(const ObjectSymbol &symbol)
{
    return is_weak_definition(symbol) ? symbol.name.substr(1) : symbol.name;
}

static void choose_prefix(DisassembledProgram *program)
{
    const auto clashes = [program](const ObjectSymbol &symbol) {
        const std::string name = plain_name(symbol);
        const size_t size = program->prefix.size();
        return name.size() > size && name.starts_with(program->prefix) &&
               (name[size] == '_' || is_digit(name[size]));
    };
    const auto &symbols = program->object.symbols;
    program->prefix = "L";
    while (std::any_of(symbols.begin(), symbols.end(), clashes))
        program->prefix += 'L';
}

// Names that no source can have, or twice, come from other programs' objects.
static void choose_symbol_names(DisassembledProgram *program)
{
    std::set<std::string> taken;
    for (const ObjectSymbol &symbol : program->object.symbols) {
        std::string name = plain_name(symbol);
        if (!is_free_name(name) || taken.contains(name))
            name = program->prefix + "_symbol_" + std::to_string(program->symbol_names.size() + 1);
        taken.insert(name);
        program->symbol_names.push_back(name);
    }
}

// A symbol is sorted in where a line of its section defines it.
static void place_symbols(DisassembledProgram *program)
{
    for (size_t i = 0; i < program->object.symbols.size(); ++i) {
        const ObjectSymbol &symbol = program->object.symbols[i];
        const DisassembledSection *home = home_of(*program, symbol);
        if (home == nullptr || is_bit_equate(*program, symbol))
            continue;
        const uint32_t offset = symbol.value - home->section->address;
        program->sections[home->number - 1U].labels.emplace(offset, i);
    }
}

DisassembledProgram lay_out_program(const ObjectFile &object)
{
    DisassembledProgram program = {object, {}, {}, {}, {}};
    for (const ObjectSection &section : object.sections) {
        const auto number = static_cast<uint8_t>(program.sections.size() + 1);
        program.sections.push_back({&section, number, {}, {}, {}, {}});
        if (!is_text_section(section))
            program.sections.back().uses.assign(section.contents.size(), ByteUse::DATA);
    }
    program.mentioned.assign(object.symbols.size(), false);
    choose_prefix(&program);
    choose_symbol_names(&program);
    place_symbols(&program);
    return program;
}

// The labels of the first section with code are short, as there is often no other.
std::string made_name(const DisassembledProgram &program, const DisassembledSection &section,
                      uint32_t offset)
{
    const auto has_code = [](const DisassembledSection &place) {
        return (place.section->attributes & SECATTR_CODE) != 0;
    };
    const auto first = std::find_if(program.sections.begin(), program.sections.end(), has_code);
    const bool is_first = first != program.sections.end() && first->number == section.number;
    char text[32];
    std::snprintf(text, sizeof text, "_%04x", offset + section.section->address);
    return program.prefix + (is_first ? "" : std::to_string(section.number)) + text;
}

static bool has_dot(const std::string &name)
{
    return name.find('.') != std::string::npos;
}

// Whether the symbol stands for its place in its own section, and its record stays as it is when
// the text names it.
static bool names_its_place(const DisassembledProgram &program, size_t position, unsigned needs)
{
    const ObjectSymbol &symbol = program.object.symbols[position];
    const bool is_public = (symbol.attrs & ATTR_PUBLIC) != 0;
    if (is_weak_definition(symbol) || is_bit_equate(program, symbol))
        return false;
    if (is_public && ((needs & NAME_PRIVATE) || (symbol.attrs & ATTR_REFERENCED) == 0))
        return false;
    return (needs & NAME_WITHOUT_DOTS) == 0 || !has_dot(program.symbol_names[position]);
}

static AddressText label_at(DisassembledProgram *program, DisassembledSection *section,
                            uint32_t offset, unsigned needs)
{
    const auto [begin, end] = section->labels.equal_range(offset);
    for (auto label = begin; label != end; ++label) {
        const size_t position = label->second;
        if (!names_its_place(*program, position, needs))
            continue;
        program->mentioned[position] = true;
        return {program->symbol_names[position], program->object.symbols[position].attrs};
    }
    section->made_labels.insert(offset);
    return {made_name(*program, *section, offset),
            static_cast<uint8_t>(section->section->attributes & ATTR_OF_SECTION)};
}

// The closest offset at or ahead of this one where a line can begin.
static uint32_t line_at(const DisassembledSection &place, uint32_t offset)
{
    const ObjectSection &section = *place.section;
    if (offset > section.size)
        return 0;
    if (offset >= place.uses.size())
        return offset;
    while (place.uses[offset] == ByteUse::INSTRUCTION_REST)
        --offset;
    if (place.uses[offset] == ByteUse::INSTRUCTION)
        return offset;
    const ObjectRelocation *field = field_around(section, offset);
    return field != nullptr ? field->offset : offset;
}

// The low bits of a number as a signed one.
static int32_t sign_extended(uint32_t value, int bits)
{
    const int unused = 32 - bits;
    return static_cast<int32_t>(value << unused) >> unused;
}

static std::optional<AddressText> symbol_text(DisassembledProgram *program,
                                              const ObjectSymbol &symbol, uint32_t value, int bits,
                                              unsigned needs)
{
    const auto position = static_cast<size_t>(&symbol - program->object.symbols.data());
    const std::string &name = program->symbol_names[position];
    if ((needs & NAME_WITHOUT_DOTS) && has_dot(name))
        return std::nullopt;
    program->mentioned[position] = true;
    return AddressText{with_distance(name, sign_extended(value, bits)), symbol.attrs};
}

// A vector is an address with the opcode of `int` in the byte above it.
constexpr uint32_t ADDRESS_MASK = 0xFFFFFF;

std::optional<AddressText> address_text(DisassembledProgram *program, uint32_t index,
                                        uint32_t value, int bits, unsigned needs)
{
    if (const ObjectSymbol *symbol = symbol_of(program->object, index))
        return symbol_text(program, *symbol, value, bits, needs);
    if (index == 0)
        return std::nullopt;
    DisassembledSection *section = &program->sections[index - 1];
    constexpr uint8_t WITHOUT_LABELS = SECATTR_ABS;
    if (is_text_section(*section->section) || (section->section->attributes & WITHOUT_LABELS))
        return std::nullopt;
    const uint32_t offset = value > section->section->size ? value & ADDRESS_MASK : value;
    const uint32_t place = line_at(*section, offset);
    AddressText address = label_at(program, section, place, needs);
    const uint32_t distance = value - place;
    if ((distance & ADDRESS_MASK) == 0 && distance != 0)
        address.text += "+" + hex_number(distance);
    else
        address.text = with_distance(address.text, sign_extended(distance, bits));
    return address;
}

std::optional<std::string> code_text(DisassembledProgram *program, uint32_t number)
{
    for (DisassembledSection &place : program->sections) {
        const uint32_t offset = number - place.section->address;
        if ((place.section->attributes & SECATTR_ABS) && offset < place.uses.size() &&
            place.uses[offset] == ByteUse::INSTRUCTION)
            return label_at(program, &place, offset, 0).text;
    }
    return std::nullopt;
}

std::string branch_text(DisassembledProgram *program, DisassembledSection *section, uint32_t here,
                        uint32_t target)
{
    if (target > section->section->size)
        return with_distance("*", static_cast<int32_t>(target - here));
    const uint32_t place = line_at(*section, target);
    const AddressText address = label_at(program, section, place, 0);
    return with_distance(address.text, static_cast<int32_t>(target - place));
}

std::optional<AddressText> checked_text(DisassembledProgram *program, const ObjectRelocation &check,
                                        unsigned needs)
{
    constexpr int ALL_BITS = 32;
    const ObjectSymbol *symbol = symbol_of(program->object, check.index);
    if (symbol == nullptr)
        return address_text(program, check.index, check.addend, ALL_BITS, needs | NAME_PRIVATE);
    // The other uses of a weak definition count from the definition, its checks from its record.
    const uint32_t origin = is_weak_definition(*symbol) ? symbol->value : 0;
    return symbol_text(program, *symbol, check.addend + origin, ALL_BITS, needs);
}
