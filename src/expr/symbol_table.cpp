// One list is the sequence in which symbols reach object file and listing. Its order is one
// of hash buckets: the symbols of a bucket are neighbours, in the order of their making, and a
// bucket used for the first time comes to the head of the list. Lookups go through an index beside
// it.

#include "expr/symbol_table.h"

#include "base/memory.h"
#include "base/number.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "expr/cross_reference.h"
#include "expr/name_index.h"
#include "expr/name_places.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <vector>

constexpr size_t BUCKET_COUNT = 256;

Symbol *symbol_list;
std::vector<Symbol *> symbols_by_age;
uint32_t scope_number;

// The last symbol of each bucket's run on symbol_list.
static Symbol *bucket_ends[BUCKET_COUNT];

static NameIndex<Symbol> symbol_index;

// Most names of operands are registers. A name of one or two characters that is no local label is
// looked for here first: in the place of its characters stands the symbol found last.
constexpr uint32_t SHORTEST_BITS = 5; // of each character
static std::array<Symbol *, 1 << (2 * SHORTEST_BITS)> shortest_symbols;

// The passes look the same names up in the same order, but for what conditions leave out: by the
// number of the lookup in its pass, what it found last time. Where that has the name it is right.
static std::vector<Symbol *> found_symbols;
static size_t lookup_number;

// Lookups beyond these of a pass, as in endless expansions, all go through the index.
constexpr size_t FOUND_SYMBOLS_MAX = size_t{1} << 20;

std::string_view counted_by_end(std::string_view name)
{
    return {name.data(), static_cast<uint8_t>(std::strlen(name.data()))};
}

// Which bucket a symbol belongs to. The order in the object file rests on it.
static uint32_t bucket_of(const Symbol *symbol)
{
    uint32_t hash = 0;
    for (const char c : symbol_name(*symbol))
        hash = hash * 8 + static_cast<uint32_t>(static_cast<signed char>(c));
    return hash % BUCKET_COUNT;
}

static Symbol *new_symbol(std::string_view name)
{
    // One byte more, so that even an empty name can be measured.
    auto *symbol = new_node<Symbol>(nullptr, name.size() + 1);
    char *text = reinterpret_cast<char *>(symbol + 1);
    std::memcpy(text, name.data(), name.size());
    symbol->name = text;
    symbol->name_length = static_cast<uint8_t>(name.size());
    symbol->last_word = last_word(symbol_name(*symbol));
    if (is_digit(*name.data())) {
        symbol->flags = SYM_LOCAL;
        symbol->scope = scope_number;
    }
    return symbol;
}

// Puts a new symbol where its bucket wants it on the list.
static void link_symbol(Symbol *symbol)
{
    Symbol **end = &bucket_ends[bucket_of(symbol)];
    Symbol **link = *end != nullptr ? &(*end)->next : &symbol_list;
    symbol->next = *link;
    *link = symbol;
    *end = symbol;
    symbols_by_age.push_back(symbol);
}

// The mark of a second definition takes the place of a local label's scope: nothing finds it again.
static bool is_out_of_reach(const Symbol *symbol)
{
    return (symbol->flags & SYM_LOCAL) != 0 && symbol->multiply_defined;
}

// Makes the symbol, in the slot of one out of reach if there is any: a label that is defined over
// and over in one scope takes one slot. Not inlined: what is rare would else cost every lookup the
// registers that it takes.
[[gnu::noinline]] static Symbol *make_symbol(std::string_view name, uint32_t hash,
                                             NameIndex<Symbol>::Slot *slot)
{
    Symbol *symbol = new_symbol(name);
    link_symbol(symbol);
    if (slot != nullptr)
        slot->record = symbol;
    else
        insert_record(&symbol_index, hash, symbol);
    return symbol;
}

// What is looked for.
struct WantedName {
    std::string_view text;
    uint64_t last; // its last_word
    uint32_t scope;
};

static bool has_name(const Symbol *symbol, const WantedName &name)
{
    return symbol->last_word == name.last && symbol->scope == name.scope &&
           is_same_name(symbol_name(*symbol), name.text);
}

static Symbol *find_by_hash(const WantedName &name)
{
    const uint32_t hash = hash_name(name.text, name.last, name.scope);
    auto *slot = find_slot(symbol_index, hash,
                           [&name](const Symbol *symbol) { return has_name(symbol, name); });
    if (slot == nullptr || is_out_of_reach(slot->record))
        return make_symbol(name.text, hash, slot);
    return slot->record;
}

[[gnu::noinline]] static Symbol *find_unforeseen(const WantedName &name)
{
    Symbol *symbol = find_by_hash(name);
    if (lookup_number < found_symbols.size())
        found_symbols[lookup_number] = symbol;
    else if (lookup_number < FOUND_SYMBOLS_MAX)
        found_symbols.push_back(symbol);
    ++lookup_number;
    return symbol;
}

static Symbol *find_by_order(std::string_view text, uint64_t last)
{
    // A local label is itself only in the scope that its record was made in.
    const WantedName name = {text, last, is_digit(*text.data()) ? scope_number : 0};
    if (lookup_number >= found_symbols.size())
        return find_unforeseen(name);
    Symbol *symbol = found_symbols[lookup_number];
    if (!has_name(symbol, name) || is_out_of_reach(symbol))
        return find_unforeseen(name);
    ++lookup_number;
    return symbol;
}

static Symbol *find_shortest(std::string_view name)
{
    constexpr uint32_t MASK = (1 << SHORTEST_BITS) - 1;
    const uint32_t first = static_cast<unsigned char>(name.front());
    const uint32_t second = static_cast<unsigned char>(name.back());
    Symbol *&place = shortest_symbols[(first & MASK) << SHORTEST_BITS | (second & MASK)];
    const uint64_t last = last_word(name);
    // One and two characters never make the same word.
    if (place == nullptr || place->last_word != last) [[unlikely]]
        place = find_by_hash({name, last, 0});
    return place;
}

// Not inlined, for the sake of the shortest names.
[[gnu::noinline]] static Symbol *find_longer(std::string_view full_name)
{
    const std::string_view name = counted_name(full_name);
    return find_by_order(name, last_word(name));
}

Symbol *find_symbol(std::string_view name)
{
    const bool is_shortest = name.size() == 1 || name.size() == 2;
    return is_shortest && !is_digit(name.front()) ? find_shortest(name) : find_longer(name);
}

void reset_symbols_for_pass()
{
    scope_number = 0;
    lookup_number = 0;
}

bool is_defined_above(Symbol *symbol)
{
    symbol->used_in = static_cast<uint32_t>(pass_number);
    if (symbol->attrs & ATTR_DEFINED)
        return symbol->def_ordinal < line_ordinal;
    symbol->flags |= SYM_TESTED;
    if ((symbol->attrs & ATTR_REFERENCED) == 0)
        forget_use_place(symbol);
    return false;
}

// Counts the changes. What was found since the last one holds: a chain of n equates in reverse
// order would otherwise be followed n times to its end.
static uint32_t alias_version = 1;

void note_alias_change()
{
    ++alias_version;
}

static bool goes_by_link(const Symbol *symbol)
{
    return symbol != nullptr && (symbol->flags & (SYM_ALIAS | SYM_BIT)) == SYM_ALIAS;
}

Symbol *follow_alias(Symbol *symbol)
{
    // A link is set to the end of a chain that isn't the symbol itself: there are no circles.
    Symbol *end = symbol;
    while (goes_by_link(end))
        end = end->alias_version == alias_version ? end->alias_end : end->link;
    for (; goes_by_link(symbol) && symbol->alias_version != alias_version; symbol = symbol->link) {
        symbol->alias_end = end;
        symbol->alias_version = alias_version;
    }
    return end;
}

static void keep_symbol(const Symbol *old)
{
    Symbol *symbol = find_symbol(symbol_name(*old));
    symbol->flags |= old->flags;
    symbol->value = old->value;
    symbol->section_number = old->section_number;
    symbol->attrs |= old->attrs;
}

void reset_symbols()
{
    note_alias_change();
    std::fill(std::begin(bucket_ends), std::end(bucket_ends), nullptr);
    empty_index(&symbol_index);
    shortest_symbols.fill(nullptr);
    found_symbols.clear();
    lookup_number = 0;
    symbols_by_age.clear();
    Symbol *old = symbol_list;
    symbol_list = nullptr;
    while (old != nullptr) {
        if (old->flags & (SYM_PREDEFINED | SYM_REGISTER))
            keep_symbol(old);
        free_xref(old);
        if (old->flags & SYM_LITERAL)
            free_block(old->literal);
        old = xfree(old, old->next);
    }
}
