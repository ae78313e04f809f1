// One list serves as hash chains and as the sequence in which symbols reach object file and
// listing: bucket entries point into it, and the symbols of a bucket are neighbours. A lookup runs
// from the bucket's entry to the symbol marked SYM_CHAIN_END, not to the end of the list.

#include "expr/symbol_table.h"

#include "driver/memory.h"
#include "driver/number.h"
#include "expr/cross_reference.h"
#include "expr/keyword_table.h"
#include "input/input_stack.h"
#include <cstring>

constexpr size_t BUCKET_COUNT = 256;

Symbol *symbol_list;
uint32_t scope_number;

static Symbol *symbol_buckets[BUCKET_COUNT];

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

static Symbol *new_symbol(const char *name, uint8_t length, Symbol *next)
{
    // One byte more, so that even an empty name can be measured.
    auto *symbol = new_node<Symbol>(next, length + size_t{1});
    char *text = reinterpret_cast<char *>(symbol + 1);
    std::memcpy(text, name, length);
    symbol->name = text;
    symbol->name_length = length;
    symbol->flags = SYM_CHAIN_END;
    if (is_digit(name[0])) {
        symbol->flags |= SYM_LOCAL;
        symbol->def_line = scope_number;
    }
    return symbol;
}

// A local label is itself only in the scope that its record was made in.
static bool is_same_symbol(const Symbol *symbol, const char *name, uint8_t length, bool local)
{
    return symbol->name_length == length && std::memcmp(symbol->name, name, length) == 0 &&
           (!local || symbol->def_line == scope_number);
}

Symbol *find_symbol(const char *name, uint32_t length)
{
    const uint8_t counted = counted_length(name, length);
    const bool local = is_digit(name[0]);
    Symbol **bucket = &symbol_buckets[hash_name(name, counted) % BUCKET_COUNT];
    if (*bucket == nullptr) {
        symbol_list = new_symbol(name, counted, symbol_list);
        *bucket = symbol_list;
        return symbol_list;
    }
    Symbol *symbol = *bucket;
    while (!is_same_symbol(symbol, name, counted, local)) {
        if (symbol->flags & SYM_CHAIN_END) {
            symbol->flags &= static_cast<uint16_t>(~SYM_CHAIN_END);
            symbol->next = new_symbol(name, counted, symbol->next);
            return symbol->next;
        }
        symbol = symbol->next;
    }
    return symbol;
}

bool is_defined_above(Symbol *symbol)
{
    if (symbol->attrs & ATTR_DEFINED)
        return symbol->def_ordinal < line_ordinal;
    symbol->flags |= SYM_TESTED;
    return false;
}

static void keep_symbol(const Symbol *old)
{
    Symbol *symbol = find_symbol(old->name, old->name_length);
    symbol->flags |= static_cast<uint16_t>(old->flags & ~SYM_CHAIN_END);
    symbol->value = old->value;
    symbol->section_number = old->section_number;
    symbol->attrs |= old->attrs;
}

void reset_symbols()
{
    std::memset(symbol_buckets, 0, sizeof symbol_buckets);
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
