// One list is the sequence in which symbols reach object file and listing. Its order is one
// of hash buckets: the symbols of a bucket are neighbours, in the order of their making, and a
// bucket used for the first time comes to the head of the list. Lookups go through a finer index
// beside it, which grows with the program.

#include "expr/symbol_table.h"

#include "base/memory.h"
#include "base/number.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "expr/cross_reference.h"
#include <algorithm>
#include <cstring>
#include <iterator>

constexpr size_t BUCKET_COUNT = 256;

Symbol *symbol_list;
uint32_t scope_number;

// The last symbol of each bucket's run on symbol_list.
static Symbol *bucket_ends[BUCKET_COUNT];

// The index: chains over Symbol::index_next. Its size is a power of two, 0 before the first symbol.
static Symbol **symbol_index;
static size_t index_size;
static size_t symbol_count;

constexpr size_t INDEX_SIZE_FIRST = 1024;

std::string_view counted_name(std::string_view name)
{
    if (static_cast<uint8_t>(name.size()) != 0)
        return name.substr(0, static_cast<uint8_t>(name.size()));
    return {name.data(), static_cast<uint8_t>(std::strlen(name.data()))};
}

uint32_t hash_name(std::string_view name)
{
    uint32_t hash = 0;
    for (const char c : name)
        hash = hash * 8 + static_cast<uint32_t>(static_cast<signed char>(c));
    return hash;
}

static Symbol *new_symbol(std::string_view name)
{
    // One byte more, so that even an empty name can be measured.
    auto *symbol = new_node<Symbol>(nullptr, name.size() + 1);
    char *text = reinterpret_cast<char *>(symbol + 1);
    std::memcpy(text, name.data(), name.size());
    symbol->name = text;
    symbol->name_length = static_cast<uint8_t>(name.size());
    if (is_digit(*name.data())) {
        symbol->flags = SYM_LOCAL;
        symbol->scope = scope_number;
    }
    return symbol;
}

// Puts a new symbol where its bucket wants it on the list.
static void link_symbol(Symbol *symbol)
{
    Symbol **end = &bucket_ends[hash_name(symbol_name(*symbol)) % BUCKET_COUNT];
    Symbol **link = *end != nullptr ? &(*end)->next : &symbol_list;
    symbol->next = *link;
    *link = symbol;
    *end = symbol;
}

// A hash of all characters (FNV-1a) and, for a local label, of its scope.
static uint32_t index_hash(std::string_view name, bool local)
{
    uint32_t hash = local ? scope_number * 0x9E3779B1 : 0x811C9DC5;
    for (const char c : name)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x01000193;
    return hash ^ hash >> 15;
}

static void insert_into_index(Symbol *symbol)
{
    Symbol **chain = &symbol_index[symbol->index_hash & (index_size - 1)];
    symbol->index_next = *chain;
    *chain = symbol;
}

// Makes the index ready for one symbol more.
static void grow_index()
{
    if (symbol_count++ < index_size)
        return;
    free_block(symbol_index);
    index_size = index_size != 0 ? 2 * index_size : INDEX_SIZE_FIRST;
    symbol_index = static_cast<Symbol **>(xalloc(index_size * sizeof(void *), nullptr));
    std::fill(symbol_index, symbol_index + index_size, nullptr);
    for (Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next)
        insert_into_index(symbol);
}

// A local label is itself only in the scope that its record was made in.
static bool is_same_symbol(const Symbol *symbol, std::string_view name, bool local)
{
    return symbol_name(*symbol) == name &&
           (!local || (symbol->scope == scope_number && !symbol->multiply_defined));
}

// The mark of a second definition takes the place of a local label's scope: nothing finds it again.
static bool is_out_of_reach(const Symbol *symbol)
{
    return (symbol->flags & SYM_LOCAL) != 0 && symbol->multiply_defined;
}

// Symbols out of reach leave their chain: a label that is defined over and over in one scope would
// make it longer each time.
static Symbol *look_up(uint32_t hash, std::string_view name, bool local)
{
    if (index_size == 0)
        return nullptr;
    Symbol **link = &symbol_index[hash & (index_size - 1)];
    while (Symbol *symbol = *link) {
        if (symbol->index_hash == hash && is_same_symbol(symbol, name, local))
            return symbol;
        if (is_out_of_reach(symbol))
            *link = symbol->index_next;
        else
            link = &symbol->index_next;
    }
    return nullptr;
}

Symbol *find_symbol(std::string_view full_name)
{
    const std::string_view name = counted_name(full_name);
    const bool local = is_digit(*name.data());
    const uint32_t hash = index_hash(name, local);
    Symbol *symbol = look_up(hash, name, local);
    if (symbol != nullptr)
        return symbol;
    grow_index();
    symbol = new_symbol(name);
    symbol->index_hash = hash;
    link_symbol(symbol);
    insert_into_index(symbol);
    return symbol;
}

bool is_defined_above(Symbol *symbol)
{
    symbol->used_in = static_cast<uint32_t>(pass_number);
    if (symbol->attrs & ATTR_DEFINED)
        return symbol->def_ordinal < line_ordinal;
    symbol->flags |= SYM_TESTED;
    return false;
}

Symbol *follow_alias(Symbol *symbol)
{
    // A link is set to the end of a chain that isn't the symbol itself: there are no circles.
    while (symbol != nullptr && (symbol->flags & SYM_ALIAS) && (symbol->flags & SYM_BIT) == 0)
        symbol = symbol->link;
    return symbol;
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
    std::fill(std::begin(bucket_ends), std::end(bucket_ends), nullptr);
    std::fill(symbol_index, symbol_index + index_size, nullptr);
    symbol_count = 0;
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
