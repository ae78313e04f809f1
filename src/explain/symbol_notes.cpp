// Undefined names are mostly slips: the names that are defined and look like them are told. A local
// label is lost when something between it and its use began another scope: that is told, too.

#include "explain/symbol_notes.h"

#include "base/number.h"
#include "explain/near_names.h"
#include "explain/statement_parts.h"
#include "expr/keyword_table.h"
#include "expr/name_places.h"
#include "expr/symbol_table.h"
#include "input/line_origin.h"
#include "output/resolver.h"
#include "output/section_table.h"
#include "target/operand_forms.h"
#include <map>
#include <vector>

// The words that were no instruction, by their first place.
static std::map<std::string, std::string> unknown_words;

void remember_unknown_word(std::string_view word)
{
    unknown_words.emplace(word, place_of(line_context()));
}

static bool is_known(const Symbol &symbol)
{
    return (symbol.attrs & (ATTR_DEFINED | ATTR_PUBLIC)) || (symbol.flags & SYM_REGISTER) ||
           places_of(&symbol).declaration.line != 0;
}

static Candidates known_names(std::string_view but_for)
{
    Candidates names;
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (is_known(*symbol) && (symbol->flags & SYM_LOCAL) == 0 &&
            symbol_name(*symbol) != but_for)
            names.emplace_back(symbol_name(*symbol));
    }
    return names;
}

const Symbol *reported_symbol(std::string_view name)
{
    if (symbol_in_report != nullptr)
        return symbol_in_report;
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (symbol_name(*symbol) == name)
            return symbol;
    }
    return nullptr;
}

LineContext first_use_of(const Symbol *symbol)
{
    const SymbolPlaces &places = places_of(symbol);
    return places.use.line != 0 ? places.use : places.declaration;
}

static const Symbol *find_known(std::string_view name)
{
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (symbol_name(*symbol) == name)
            return symbol;
    }
    return nullptr;
}

static std::string suggestion(std::string_view name)
{
    const std::vector<std::string> near =
        near_names_of_many(name, symbols_by_age.size(), [name] { return known_names(name); });
    if (near.empty())
        return {};
    std::string text = did_you_mean(near);
    if (differs_in_case(name, near.front()))
        text += " Upper and lower case differ in names.";
    std::string notes = note_line(text);
    const Symbol *symbol = find_known(near.front());
    const SymbolPlaces &places = places_of(symbol);
    if (places.definition.line != 0)
        notes += note_line(near.front() + " is defined at " + place_of(places.definition));
    else if (places.declaration.line != 0)
        notes += note_line(near.front() + " is declared by " + places.declared_by + " at " +
                           place_of(places.declaration));
    return notes;
}

// What opened a scope, as a place.
static std::string opener_text(const Scope &scope)
{
    const bool is_word = scope.opener == "include" || scope.opener == "local";
    return (is_word ? "the line `" : "the label `") + scope.opener + "` at " +
           place_of(scope.place);
}

static std::string notes_on_scopes(const Symbol &symbol, const Symbol &definition)
{
    const std::vector<Scope> &scopes = noted_scopes();
    const bool defined_above = definition.scope < symbol.scope;
    const uint32_t first = (defined_above ? definition.scope : symbol.scope) + 1;
    const uint32_t last = defined_above ? symbol.scope : definition.scope;
    std::string notes = note_line(std::string(symbol_name(symbol)) + " is defined at " +
                                  place_of(places_of(&definition).definition) +
                                  ", in another scope: local labels reach from label to label");
    if (first < scopes.size())
        notes += note_line("between the two stands " + opener_text(scopes[first]) +
                           (last > first ? ", and more" : ""));
    return notes + note_line("give the target a name that isn't local, or move it into the scope");
}

static std::string notes_on_local(const Symbol &symbol)
{
    const Symbol *nearest = nullptr;
    const auto distance = [&symbol](const Symbol &other) {
        return other.scope > symbol.scope ? other.scope - symbol.scope : symbol.scope - other.scope;
    };
    for (const Symbol *other = symbol_list; other != nullptr; other = other->next) {
        const bool counts = (other->attrs & ATTR_DEFINED) && (other->flags & SYM_LOCAL) &&
                            symbol_name(*other) == symbol_name(symbol);
        if (counts && (nearest == nullptr || distance(*other) < distance(*nearest)))
            nearest = other;
    }
    if (nearest != nullptr)
        return notes_on_scopes(symbol, *nearest);
    const std::vector<Scope> &scopes = noted_scopes();
    std::string scope = "the head of the source";
    if (symbol.scope < scopes.size() && symbol.scope != 0)
        scope = opener_text(scopes[symbol.scope]);
    return note_line(
        "a local label belongs to one scope, from label to label; this one begins with " + scope +
        " and has no " + std::string(symbol_name(symbol)));
}

static bool takes_nothing(const Keyword &keyword)
{
    return (keyword.flags & KW_INSTRUCTION) && operand_forms(keyword.opcodes).front().empty();
}

// A name right after an operand, with nothing between them, is the first word of a comment.
static bool looks_like_comment(const LineContext &use)
{
    if (use.column == NO_COLUMN || use.column == 0)
        return false;
    const size_t before = use.text.find_last_not_of(" \t", use.column - 1);
    if (before == std::string::npos || before + 1 == use.column)
        return false;
    const char c = use.text[before];
    const size_t word = use.text.find_last_of(" \t", before);
    const std::string last =
        use.text.substr(word == std::string::npos ? 0 : word + 1, before - word);
    const Keyword *keyword = find_keyword(last);
    const bool is_operation =
        (keyword != nullptr && !takes_nothing(*keyword)) || last.back() == ':';
    return !is_operation && (is_letter(c) || is_digit(c) || c == '_' || c == ')' || c == ']');
}

std::string notes_on_undefined(std::string_view name)
{
    const Symbol *symbol = reported_symbol(name);
    if (symbol == nullptr)
        return {};
    if (symbol->flags & SYM_LOCAL)
        return notes_on_local(*symbol);
    std::string notes;
    const LineContext &use = places_of(symbol).use;
    if (lower(take_apart(use.text).word) == "include")
        return notes + note_line("the name of a file stands in quotes: include \"" +
                                 std::string(name) + '"');
    if (looks_like_comment(use))
        return notes + note_line("if it belongs to a comment, put a `;` ahead of it");
    const auto unknown = unknown_words.find(std::string(name));
    if (unknown != unknown_words.end())
        return notes + note_line("it isn't defined at " + unknown->second +
                                 ", where it is taken for an instruction");
    notes += suggestion(name);
    if (const LineContext *macro = place_of_macro(name))
        notes += note_line("there is a macro of this name at " + place_of(*macro) +
                           ": it can't be an operand");
    return notes +
           note_line("define it with a label or equ; if another file defines it, declare it: "
                     "xref " +
                     std::string(name));
}

static std::vector<std::string> section_names()
{
    std::vector<std::string> names;
    for (const Section *section = section_list; section != nullptr; section = section->next)
        names.emplace_back(section_name(*section));
    return names;
}

static std::string joined(const std::vector<std::string> &names)
{
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::string notes_on_unknown_section(std::string_view name)
{
    const std::vector<std::string> names = section_names();
    std::string notes;
    const std::string guess = did_you_mean(near_names(name, names));
    if (!guess.empty())
        notes += note_line(guess);
    return notes + note_line("the sections are " + joined(names)) +
           note_line("a section of your own begins with `" + std::string(name) + ": section`");
}

static bool is_same_line(const LineContext &left, const LineContext &right)
{
    return left.file == right.file && left.line == right.line;
}

// Whether both are one line of one macro.
static bool is_same_macro_line(const LineContext &left, const LineContext &right)
{
    if (left.origin.empty() || right.origin.empty() || !left.origin.front().starts_with("in "))
        return false;
    const auto body_line = [](const LineContext &context) {
        return context.origin.front().substr(0, context.origin.front().find(", called at"));
    };
    return body_line(left) == body_line(right);
}

static std::string notes_on_first(const LineContext &first)
{
    const LineContext here = line_context();
    std::string notes = note_line("first defined at " + place_of(first));
    if (const auto again = repeated_input())
        return notes + note_line(again->text);
    if (is_same_macro_line(first, here))
        return notes +
               note_line("a macro makes this name in each call: labels of its own end in \\@");
    if (!is_same_line(first, here))
        return notes + note_line("give one of them another name, or remove it");
    if (here.origin.empty() || here.origin.front().starts_with("included"))
        return notes +
               note_line("the file is read more than once: put ifndef NAME, NAME: equ 1 and "
                         "endif around what is in it");
    return notes + note_line("a macro makes this name in each call: labels of its own end in \\@");
}

std::string notes_on_second_definition(std::string_view name, std::string_view directive)
{
    if (directive == "section") {
        if (const LineContext *first = place_of_section(name))
            return notes_on_first(*first) +
                   note_line("to go on in a section write: switch " + std::string(name));
        return note_line("the section is there from the beginning: select it by switch " +
                         std::string(name));
    }
    if (directive == "macro") {
        const LineContext *first = place_of_macro(name);
        return first != nullptr ? notes_on_first(*first) : std::string();
    }
    const Symbol *symbol = find_known(name);
    if (symbol == nullptr)
        return {};
    if (symbol->flags & SYM_REGISTER)
        return note_line(std::string(name) + " is the name of a register: choose another name");
    if (symbol->flags & SYM_PREDEFINED)
        return note_line("-d or the assembler has defined it ahead of the source");
    const LineContext &first = places_of(symbol).definition;
    return first.line != 0 ? notes_on_first(first) : std::string();
}
