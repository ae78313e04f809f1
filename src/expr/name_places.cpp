// The first place stands: later passes find it again.

#include "expr/name_places.h"

#include "base/number.h"
#include <algorithm>
#include <map>
#include <unordered_map>

static std::unordered_map<const Symbol *, SymbolPlaces> symbol_places;
static std::map<std::string, LineContext> macro_places;
static std::map<std::string, LineContext> section_places;
static std::vector<Scope> scopes;

static std::string folded(std::string_view name)
{
    std::string text(name);
    std::ranges::transform(text, text.begin(), lower_case);
    return text;
}

static void note_place(LineContext *place)
{
    if (place->line == 0)
        *place = line_context();
}

void note_use_place(const Symbol *symbol, size_t name_length)
{
    if (!keeps_contexts())
        return;
    LineContext *place = &symbol_places[symbol].use;
    note_place(place);
    // The caret goes to the head of the name.
    if (place->column != NO_COLUMN && place->column >= name_length)
        place->column -= name_length;
}

void forget_use_place(const Symbol *symbol)
{
    if (keeps_contexts())
        symbol_places[symbol].use = {};
}

void note_definition_place(const Symbol *symbol)
{
    if (keeps_contexts())
        note_place(&symbol_places[symbol].definition);
}

void note_declaration_place(const Symbol *symbol, std::string_view directive)
{
    if (!keeps_contexts())
        return;
    SymbolPlaces *places = &symbol_places[symbol];
    if (places->declaration.line == 0)
        places->declared_by = folded(directive);
    note_place(&places->declaration);
}

void note_macro_place(std::string_view name)
{
    if (keeps_contexts())
        note_place(&macro_places[folded(name)]);
}

void note_section_place(std::string_view name)
{
    if (keeps_contexts())
        note_place(&section_places[std::string(name)]);
}

void note_scope(uint32_t number, std::string_view opener)
{
    if (!keeps_contexts() || number < scopes.size())
        return;
    scopes.resize(size_t{number} + 1);
    scopes[number] = {std::string(opener), line_context()};
}

const SymbolPlaces &places_of(const Symbol *symbol)
{
    static const SymbolPlaces none;
    const auto found = symbol_places.find(symbol);
    return found != symbol_places.end() ? found->second : none;
}

static const LineContext *find_place(const std::map<std::string, LineContext> &places,
                                     const std::string &name)
{
    const auto found = places.find(name);
    return found != places.end() ? &found->second : nullptr;
}

const LineContext *place_of_macro(std::string_view name)
{
    return find_place(macro_places, folded(name));
}

const LineContext *place_of_section(std::string_view name)
{
    return find_place(section_places, std::string(name));
}

const std::vector<Scope> &noted_scopes()
{
    return scopes;
}

void forget_name_places()
{
    symbol_places.clear();
    macro_places.clear();
    section_places.clear();
    scopes.clear();
}
