// The symbols are looked at when all of the source is known.

#include "explain/source_warnings.h"

#include "base/number.h"
#include "base/warnings.h"
#include "explain/near_names.h"
#include "expr/name_places.h"
#include "expr/symbol_table.h"
#include <algorithm>
#include <map>
#include <string>
#include <vector>

static bool is_defined(const Symbol &symbol)
{
    return (symbol.attrs & ATTR_DEFINED) != 0;
}

static bool is_used(const Symbol &symbol)
{
    return (symbol.attrs & ATTR_REFERENCED) != 0 || (symbol.flags & SYM_TESTED) != 0;
}

// Names that are wanted for `symbol`: defined ones for a definition, undefined ones for a use.
static std::string guess(const Symbol &symbol, bool (*is_wanted)(const Symbol &))
{
    const auto choose = [&] {
        Candidates names;
        for (const Symbol *other = symbol_list; other != nullptr; other = other->next) {
            if (is_wanted(*other) && other != &symbol)
                names.emplace_back(symbol_name(*other));
        }
        return names;
    };
    const std::string text =
        did_you_mean(near_names_of_many(symbol_name(symbol), symbols_by_age.size(), choose));
    return text.empty() ? text : text + " ";
}

static bool is_label(const Symbol &symbol)
{
    return is_defined(symbol) && (symbol.flags & (SYM_LOCAL | SYM_REGISTER)) == 0;
}

static bool is_undefined_use(const Symbol &symbol)
{
    return !is_defined(symbol) && (symbol.attrs & ATTR_REFERENCED);
}

static void warn_of_declaration(const Symbol &symbol)
{
    const SymbolPlaces &places = places_of(&symbol);
    if (places.declaration.line == 0 || is_defined(symbol))
        return;
    const std::string name(symbol_name(symbol));
    if (places.declared_by == "xdef")
        warn_at(places.declaration, "xdef of " + name + ", which nothing here defines",
                guess(symbol, is_label) + "Define it, or write xref if another file does.");
    else if (places.declared_by != "wdef" && !is_used(symbol))
        warn_at(places.declaration, places.declared_by + " of " + name + ", which nothing uses",
                guess(symbol, is_undefined_use) + "Remove it, or look for another spelling where "
                                                  "it is used.");
}

// Where a name turned up first.
static const LineContext &first_place(const Symbol &symbol)
{
    const SymbolPlaces &places = places_of(&symbol);
    if (places.definition.line != 0)
        return places.definition;
    return places.declaration.line != 0 ? places.declaration : places.use;
}

// The later one of two is the one that is likely wrong, and a name that nothing defines before
// that.
static bool is_better(const Symbol *symbol, const Symbol *than)
{
    if (is_defined(*symbol) != is_defined(*than))
        return is_defined(*symbol);
    return first_place(*symbol).ordinal < first_place(*than).ordinal;
}

// A constant and a label may well have one name in two cases; a slip leaves one of them unused.
static bool is_meant(const Symbol &symbol)
{
    return is_defined(symbol) && (is_used(symbol) || (symbol.attrs & ATTR_PUBLIC));
}

static void warn_of_case(std::vector<const Symbol *> same)
{
    std::ranges::sort(same, is_better);
    const LineContext &first = first_place(*same.front());
    const std::string name(symbol_name(*same.front()));
    for (size_t i = 1; i < same.size(); ++i) {
        const LineContext &place = first_place(*same[i]);
        const bool is_told =
            (same[i]->flags & SYM_REPORTED) != 0 || (is_meant(*same[i]) && is_meant(*same.front()));
        if (place.line != 0 && is_defined(*same.front()) && !is_told)
            warn_at(place,
                    "name " + std::string(symbol_name(*same[i])) + " differs from " + name +
                        " in case only",
                    name + (first.line != 0 ? " stands at " + place_of(first) : " is predefined") +
                        ": if both are one thing, write it alike");
    }
}

static void warn_of_cases()
{
    std::map<std::string, std::vector<const Symbol *>> by_folded_name;
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (symbol->flags & (SYM_LOCAL | SYM_REGISTER))
            continue;
        std::string name(symbol_name(*symbol));
        std::ranges::transform(name, name.begin(), lower_case);
        by_folded_name[name].push_back(symbol);
    }
    for (const auto &[name, same] : by_folded_name) {
        if (same.size() > 1)
            warn_of_case(same);
    }
}

void warn_of_names()
{
    if (!warns())
        return;
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next)
        warn_of_declaration(*symbol);
    warn_of_cases();
}
