// Undefined names, with all their uses and the defined name that is nearest in writing. Only uses
// in what takes room count: debug information may speak of anything.
#include "nvlink8/spelling.h"
#include "nvlink8/symbols.h"

#include <map>

// The places that use a name, as text.
using Uses = std::map<uint32_t, std::string>; // by symbol

static bool is_undefined(const Program &program, uint32_t symbol)
{
    return symbol != NONE && program.symbols[symbol].origin == SymbolOrigin::UNDEFINED;
}

static void find_uses_in(const Program &program, const InputSection &piece, Uses *uses)
{
    const InputObject &input = program.objects[piece.object];
    const ObjectSection &section = section_of(program, piece);
    const auto sections = static_cast<uint32_t>(input.object.sections.size());
    std::map<uint32_t, uint32_t> last_offset; // a check and its field are one use
    for (const ObjectRelocation &relocation : section.relocations) {
        if (relocation.index <= sections)
            continue;
        const uint32_t symbol = input.symbols[relocation.index - sections - 1];
        if (!is_undefined(program, symbol))
            continue;
        const auto [last, first_use] = last_offset.try_emplace(symbol, relocation.offset);
        if (!first_use && last->second == relocation.offset)
            continue;
        last->second = relocation.offset;
        std::string &place = (*uses)[symbol];
        place += text("%s%s: %s+0x%x", place.empty() ? "" : ", ", input.name.c_str(),
                      escaped(section.name).c_str(), relocation.offset);
    }
}

static Uses find_uses(const Program &program)
{
    Uses uses;
    for (const InputSection &piece : program.pieces) {
        if (piece.live && piece.has_room)
            find_uses_in(program, piece, &uses);
    }
    return uses;
}

// The defined name that is nearest in writing. Empty if none is near.
static std::string_view near_name(const Program &program, std::string_view name)
{
    std::vector<std::string_view> names;
    for (const Symbol &symbol : program.symbols) {
        if (symbol.origin != SymbolOrigin::UNDEFINED)
            names.push_back(symbol.name);
    }
    return nearest_word(name, names);
}

static void report_name(const Program &program, const std::string &name, const std::string &uses,
                        Messages *messages)
{
    // A search through all names for an error that isn't printed would only take time.
    const std::string_view near =
        messages->errors.size() < MESSAGES_PRINTED_MAX ? near_name(program, name) : "";
    const std::string hint = near.empty() ? "" : "; is " + escaped(near) + " meant?";
    add_error(messages, "undefined symbol %s: %s%s", escaped(name).c_str(), uses.c_str(),
              hint.c_str());
}

void report_undefined(const Options &options, const Program &program, Messages *messages)
{
    Uses uses = find_uses(program);
    const auto demand = [&](const std::string &name, const char *by) {
        const uint32_t symbol = program.symbol_numbers.at(name);
        if (is_undefined(program, symbol))
            uses[symbol] += (uses[symbol].empty() ? "" : ", ") + std::string(by);
    };
    if (!options.entry.empty())
        demand(options.entry, "--entry");
    for (const std::string &name : options.undefined)
        demand(name, "--undefined");
    std::map<std::string_view, std::string> by_name;
    for (const auto &[symbol, places] : uses)
        by_name.emplace(program.symbols[symbol].name, places);
    for (const auto &[name, places] : by_name)
        report_name(program, std::string(name), places, messages);
}
