// One list is the sequence in which symbols reach object file and listing. Its order comes from
// hash buckets of old: the symbols of a bucket are neighbours, in the order of their making, and a
// bucket used for the first time comes to the head of the list. Lookups go through a finer index
// beside it, which grows with the program.

#include "expr/symbol_table.h"

#include "driver/memory.h"
#include "driver/number.h"
#include "driver/passes.h"
#include "expr/cross_reference.h"
#include "expr/keyword_table.h"
#include "input/input_stack.h"
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

uint8_t counted_length(const char *name, uint32_t length)
{
    auto counted = static_cast<uint8_t>(length);
    if (counted == 0)
        counted = static_cast<uint8_t>(std::strlen(name));
    return counted;
}

uint32_t hash_name(const char *name, uint8_t length)
{
    uint32_t hash = 0;
    for (uint8_t i = 0; i < length; ++i)
        hash = hash * 8 + static_cast<uint32_t>(static_cast<signed char>(name[i]));
    return hash;
}

static Symbol *new_symbol(const char *name, uint8_t length)
{
    // One byte more, so that even an empty name can be measured.
    auto *symbol = new_node<Symbol>(nullptr, length + size_t{1});
    char *text = reinterpret_cast<char *>(symbol + 1);
    std::memcpy(text, name, length);
    symbol->name = text;
    symbol->name_length = length;
    if (is_digit(name[0])) {
        symbol->flags = SYM_LOCAL;
        symbol->def_line = scope_number;
    }
    return symbol;
}

// Puts a new symbol where its bucket wants it on the list.
static void link_symbol(Symbol *symbol)
{
    Symbol **end = &bucket_ends[hash_name(symbol->name, symbol->name_length) % BUCKET_COUNT];
    Symbol **link = *end != nullptr ? &(*end)->next : &symbol_list;
    symbol->next = *link;
    *link = symbol;
    *end = symbol;
}

// A hash of all characters (FNV-1a) and, for a local label, of its scope.
static uint32_t index_hash(const char *name, uint8_t length, bool local)
{
    uint32_t hash = local ? scope_number * 0x9E3779B1 : 0x811C9DC5;
    for (uint8_t i = 0; i < length; ++i)
        hash = (hash ^ static_cast<unsigned char>(name[i])) * 0x01000193;
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
static bool is_same_symbol(const Symbol *symbol, const char *name, uint8_t length, bool local)
{
    return symbol->name_length == length && std::memcmp(symbol->name, name, length) == 0 &&
           (!local || symbol->def_line == scope_number);
}

// The mark of a second definition takes the place of a local label's scope: nothing finds it again.
static bool is_out_of_reach(const Symbol *symbol)
{
    return (symbol->flags & SYM_LOCAL) != 0 && symbol->def_line == LINE_MULTIPLY_DEFINED;
}

// Symbols out of reach leave their chain: a label that is defined over and over in one scope would
// make it longer each time.
static Symbol *look_up(uint32_t hash, const char *name, uint8_t length, bool local)
{
    if (index_size == 0)
        return nullptr;
    Symbol **link = &symbol_index[hash & (index_size - 1)];
    while (Symbol *symbol = *link) {
        if (symbol->index_hash == hash && is_same_symbol(symbol, name, length, local))
            return symbol;
        if (is_out_of_reach(symbol))
            *link = symbol->index_next;
        else
            link = &symbol->index_next;
    }
    return nullptr;
}

Symbol *find_symbol(const char *name, uint32_t length)
{
    const uint8_t counted = counted_length(name, length);
    const bool local = is_digit(name[0]);
    const uint32_t hash = index_hash(name, counted, local);
    Symbol *symbol = look_up(hash, name, counted, local);
    if (symbol != nullptr)
        return symbol;
    grow_index();
    symbol = new_symbol(name, counted);
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
    Symbol *symbol = find_symbol(old->name, old->name_length);
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
    forget_macros();
}
