// Where names turned up first, for notes and warnings: symbols, macros, sections, and what parts
// the scopes of local labels.
#pragma once

#include "base/line_context.h"
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct Symbol;

struct SymbolPlaces {
    LineContext use; // `line` is 0 in what has not turned up
    LineContext definition;
    LineContext declaration; // by xdef, xref and their kin
    std::string declared_by; // the directive, in lower case
};

// Notes the line at hand, if it is the first and the run keeps contexts.
void note_use_place(const Symbol *symbol, size_t name_length);

// The use was none: the line only asks whether the symbol is defined.
void forget_use_place(const Symbol *symbol);
void note_definition_place(const Symbol *symbol);
void note_declaration_place(const Symbol *symbol, std::string_view directive);
void note_macro_place(std::string_view name);
void note_section_place(std::string_view name);

// Notes what begins a scope of local labels.
void note_scope(uint32_t number, std::string_view opener);

// What was noted.
const SymbolPlaces &places_of(const Symbol *symbol);
const LineContext *place_of_macro(std::string_view name);
const LineContext *place_of_section(std::string_view name);

struct Scope {
    std::string opener; // a label or a directive; empty for the head of the source
    LineContext place;
};
const std::vector<Scope> &noted_scopes();

// Forgets everything, with the symbols.
void forget_name_places();
