// Undefined names, with all their uses and the defined name that is nearest in writing. Only uses
// in what takes room count: debug information may speak of anything.
#include "nvlink8/symbols.h"

#include <algorithm>
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

// How many characters are to be changed, added or taken away, at most `max` + 1.
static size_t edit_distance(std::string_view a, std::string_view b, size_t max)
{
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        size_t least = row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t changed = diagonal + (a[i - 1] != b[j - 1]);
            diagonal = row[j];
            row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
            least = std::min(least, row[j]);
        }
        if (least > max)
            return max + 1;
    }
    return row[b.size()];
}

// The defined name that differs least, of equals the first in the order of the alphabet. Empty if
// none is near.
static std::string_view near_name(const Program &program, std::string_view name)
{
    size_t best = std::max<size_t>(1, name.size() / 4) + 1;
    std::string_view found;
    for (const Symbol &symbol : program.symbols) {
        const size_t longer = std::max(symbol.name.size(), name.size());
        const size_t shorter = std::min(symbol.name.size(), name.size());
        if (symbol.origin == SymbolOrigin::UNDEFINED || longer - shorter > best)
            continue;
        const size_t distance = edit_distance(name, symbol.name, best);
        if (distance < best || (distance == best && !found.empty() && symbol.name < found)) {
            best = distance;
            found = symbol.name;
        }
    }
    return found;
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
    for (const auto &[symbol, places] : uses)
        report_name(program, std::string(program.symbols[symbol].name), places, messages);
}
