// One entry for each public name, whoever uses it: names are looked up once for each record of an
// object, and all else goes by number.
#include "nvlink8/symbols.h"

#include "nvlink8/placement.h"
#include <algorithm>
#include <array>
#include <map>

std::string definition_place(const Program &program, const Symbol &symbol)
{
    switch (symbol.origin) {
    case SymbolOrigin::OBJECT:
        return program.objects[symbol.object].name;
    case SymbolOrigin::COMMAND_LINE:
        return "--define";
    case SymbolOrigin::LINKER:
        return "the linker";
    case SymbolOrigin::UNDEFINED:
        break;
    }
    return "nowhere";
}

static uint32_t symbol_number(Program *program, std::string_view name)
{
    const auto number = static_cast<uint32_t>(program->symbols.size());
    const auto [entry, added] = program->symbol_numbers.try_emplace(name, number);
    if (added)
        program->symbols.emplace_back().name = name;
    return entry->second;
}

static uint32_t kept_symbol_number(Program *program, const std::string &name)
{
    return symbol_number(program, program->names.emplace_back(name));
}

static void define_from_command_line(const Options &options, Program *program, Messages *messages)
{
    for (const Definition &definition : options.definitions) {
        Symbol &symbol = program->symbols[kept_symbol_number(program, definition.name)];
        if (symbol.origin != SymbolOrigin::UNDEFINED && symbol.value != definition.value) {
            add_error(messages, "--define %s: defined twice, as 0x%x and 0x%x",
                      definition.name.c_str(), symbol.value, definition.value);
        }
        symbol.origin = SymbolOrigin::COMMAND_LINE;
        symbol.attributes = ATTR_DEFINED | ATTR_PUBLIC | ATTR_ABSOLUTE;
        if (definition.bit)
            symbol.attributes |= ATTR_BIT;
        symbol.value = definition.value;
    }
}

// A strong definition takes the place of a weak one; of weak ones the first stays.
static void define_from_object(Program *program, uint32_t object, uint32_t record,
                               Messages *messages)
{
    const InputObject &input = program->objects[object];
    const ObjectSymbol &source = input.object.symbols[record];
    Symbol &symbol = program->symbols[input.symbols[record]];
    const bool weak = is_weak_definition(source);
    if (symbol.origin != SymbolOrigin::UNDEFINED) {
        if (weak)
            return;
        if (!symbol.weak) {
            add_error(messages,
                      "%s: symbol %s is defined here and in %s; one of them is to be "
                      "renamed, or made weak by wdef",
                      input.name.c_str(), escaped(symbol.name).c_str(),
                      definition_place(*program, symbol).c_str());
            return;
        }
    }
    symbol.origin = SymbolOrigin::OBJECT;
    symbol.weak = weak;
    symbol.attributes = source.attrs;
    symbol.object = object;
    symbol.record = record;
}

static void add_records(Program *program, uint32_t object, Messages *messages)
{
    InputObject &input = program->objects[object];
    const std::vector<ObjectSymbol> &records = input.object.symbols;
    input.symbols.resize(records.size(), NONE);
    for (uint32_t record = 0; record < records.size(); ++record) {
        const ObjectSymbol &source = records[record];
        if ((source.attrs & ATTR_PUBLIC) == 0)
            continue;
        std::string_view name = source.name;
        name.remove_prefix(is_weak_definition(source) ? 1 : 0);
        input.symbols[record] = symbol_number(program, name);
        if (source.attrs & ATTR_DEFINED)
            define_from_object(program, object, record, messages);
    }
}

struct ComparedAttribute {
    uint8_t bit;
    const char *claim;
};

static constexpr std::array<ComparedAttribute, 3> COMPARED_ATTRIBUTES = {{
    {ATTR_BIT, "a bit symbol"},
    {ATTR_ZPAGE, "a zero page address"},
    {ATTR_LONG, "a long address"},
}};

// A use of more than the definition promises is an error. One of less is right as it stands, as its
// fields are checked; the declaration may only cost bytes, or a reach that callf would have. A
// number has no place, so that only whether it is a bit is compared.
static void compare_attributes(const Program &program, const InputObject &input,
                               const ObjectSymbol &use, const Symbol &symbol, Messages *messages)
{
    for (const auto &[bit, claim] : COMPARED_ATTRIBUTES) {
        const bool used = use.attrs & bit;
        const bool defined = symbol.attributes & bit;
        if (used == defined || ((symbol.attributes & ATTR_ABSOLUTE) && bit != ATTR_BIT))
            continue;
        const std::string place = definition_place(program, symbol);
        if (used || bit == ATTR_BIT) {
            add_error(messages, "%s: symbol %s is %s%s here, but %s%s in %s, which defines it",
                      input.name.c_str(), escaped(symbol.name).c_str(), used ? "" : "not ", claim,
                      defined ? "" : "not ", claim, place.c_str());
        } else if ((symbol.attributes & ATTR_BIT) == 0) {
            add_warning(messages, "%s: symbol %s is declared as no %s, but is one in %s",
                        input.name.c_str(), escaped(symbol.name).c_str(), claim + 2, place.c_str());
        }
    }
}

// A plain number may well stand for a bit, as 8 * address + number of the bit. More likely it was
// meant to be the address.
static void warn_of_plain_bit(const InputObject &input, const Symbol &symbol, Messages *messages)
{
    const std::string name = escaped(symbol.name);
    add_warning(
        messages,
        "%s: symbol %s is a bit symbol here, and --define gives it a plain number, which is "
        "taken as 0x%x:%u; --define %s=ADDRESS:BIT says so",
        input.name.c_str(), name.c_str(), symbol.value >> 3, symbol.value & 7, name.c_str());
}

// What a file doesn't define itself, or defines weakly and gets from elsewhere.
static void compare_use(const Program &program, uint32_t object, uint32_t record,
                        Messages *messages)
{
    const InputObject &input = program.objects[object];
    const ObjectSymbol &use = input.object.symbols[record];
    const Symbol &symbol = program.symbols[input.symbols[record]];
    const bool plain = symbol.origin == SymbolOrigin::COMMAND_LINE && (use.attrs & ATTR_BIT) &&
                       (symbol.attributes & ATTR_BIT) == 0;
    if (plain)
        warn_of_plain_bit(input, symbol, messages);
    else if (symbol.origin == SymbolOrigin::COMMAND_LINE ||
             (symbol.origin == SymbolOrigin::OBJECT && symbol.object != object))
        compare_attributes(program, input, use, symbol, messages);
}

static void compare_uses(const Program &program, Messages *messages)
{
    for (uint32_t object = 0; object < program.objects.size(); ++object) {
        const InputObject &input = program.objects[object];
        for (uint32_t record = 0; record < input.symbols.size(); ++record) {
            const ObjectSymbol &use = input.object.symbols[record];
            if (input.symbols[record] != NONE &&
                ((use.attrs & ATTR_DEFINED) == 0 || is_weak_definition(use)))
                compare_use(program, object, record, messages);
        }
    }
}

void resolve_symbols(const Options &options, Program *program, Messages *messages)
{
    size_t count = 0;
    for (const InputObject &input : program->objects)
        count += input.object.symbols.size();
    program->symbol_numbers.reserve(count);
    define_from_command_line(options, program, messages);
    for (uint32_t object = 0; object < program->objects.size(); ++object)
        add_records(program, object, messages);
    for (const std::string &name : options.undefined)
        kept_symbol_number(program, name);
    if (!options.entry.empty())
        kept_symbol_number(program, options.entry);
    compare_uses(*program, messages);
}

// A made symbol takes part only if the program wants it and has none of its own.
static void make_symbol(Program *program, const std::string &name, uint32_t value)
{
    const auto found = program->symbol_numbers.find(name);
    if (found == program->symbol_numbers.end())
        return;
    Symbol &symbol = program->symbols[found->second];
    if (symbol.origin != SymbolOrigin::UNDEFINED && symbol.origin != SymbolOrigin::LINKER)
        return;
    symbol.origin = SymbolOrigin::LINKER;
    symbol.attributes = ATTR_DEFINED | ATTR_PUBLIC | ATTR_ABSOLUTE;
    symbol.value = value;
}

static std::string without_dots(const std::string &section)
{
    return section.substr(std::min(section.find_first_not_of('.'), section.size()));
}

// The names of the sections that may be asked about: those of the objects, those of the options,
// and those that every source has.
static std::vector<std::string> section_names(const Options &options, const Program &program)
{
    std::vector<std::string> names = {".text", ".data", ".bss", ".bsct", ".ubsct"};
    for (const PlaceRule &rule : options.places) {
        for (const SectionPattern &pattern : rule.patterns) {
            if (pattern.section.find_first_of("*?") == std::string::npos)
                names.push_back(pattern.section);
        }
    }
    for (const Block &block : program.blocks)
        names.push_back(block.name);
    return names;
}

static bool is_wanted(const Program &program, const std::string &section)
{
    for (const char *prefix : {"__start_", "__end_", "__size_", "__load_"}) {
        if (program.symbol_numbers.contains(prefix + without_dots(section)))
            return true;
    }
    return false;
}

static void make_symbols_of(Program *program, const std::string &section)
{
    if (!is_wanted(*program, section))
        return;
    const SectionSpan span = span_of_section(*program, section);
    const std::string name = without_dots(section);
    make_symbol(program, "__start_" + name, span.start);
    make_symbol(program, "__end_" + name, span.start + span.size);
    make_symbol(program, "__size_" + name, span.size);
    make_symbol(program, "__load_" + name, span.load);
}

static void make_all(const Options &options, Program *program)
{
    for (const std::string &section : section_names(options, *program))
        make_symbols_of(program, section);
    if (const Region *ram = find_region(options, "ram"))
        make_symbol(program, "__stack_top", ram->range.last);
}

void make_section_symbols(const Options &options, Program *program, Messages *messages)
{
    std::map<std::string, std::string> sections;
    for (const Block &block : program->blocks) {
        const auto [other, added] = sections.try_emplace(without_dots(block.name), block.name);
        if (!added && other->second != block.name) {
            add_error(messages,
                      "sections %s and %s would both have __start_%s; one is to be renamed",
                      escaped(other->second).c_str(), escaped(block.name).c_str(),
                      escaped(other->first).c_str());
        }
    }
    make_all(options, program);
}

static uint32_t value_in_object(const Program &program, const Symbol &symbol)
{
    const InputObject &input = program.objects[symbol.object];
    const ObjectSymbol &record = input.object.symbols[symbol.record];
    if (record.section_number == 0)
        return record.value;
    const uint32_t base = piece_base(program, symbol.object, record.section_number);
    return record.value + (record.attrs & ATTR_BIT ? 8 * base : base);
}

void settle_symbols(const Options &options, Program *program)
{
    make_all(options, program);
    for (Symbol &symbol : program->symbols) {
        if (symbol.origin == SymbolOrigin::OBJECT)
            symbol.value = value_in_object(*program, symbol);
    }
}
