// A plain hash table with chains. A macro that overrides a keyword takes its record over; the copy
// made by shadow_keyword stands directly behind it and is reached through its place alone.

#include "expr/keyword_table.h"

#include "driver/memory.h"
#include "driver/number.h"
#include "expr/symbol_table.h"
#include "input/macro.h"
#include <cstring>

// Enough for the vocabulary and for the macros of large programs.
constexpr int BUCKET_BITS = 12;
constexpr size_t FOLDED_ROOM = 256;

int32_t bypass_macro;

static Keyword *keyword_buckets[size_t{1} << BUCKET_BITS];

// Folds the name into `folded` and gives its bucket.
static Keyword **fold_name(const char *name, uint8_t length, char *folded)
{
    for (uint8_t i = 0; i < length; ++i)
        folded[i] = lower_case(name[i]);
    const uint32_t hash = hash_name(folded, length) * 0x9E3779B1;
    return &keyword_buckets[hash >> (32 - BUCKET_BITS)];
}

static Keyword *new_keyword(const char *name, uint8_t length, Keyword *next)
{
    auto *keyword = new_node<Keyword>(next, length);
    keyword->name = reinterpret_cast<char *>(keyword + 1);
    keyword->name_length = length;
    std::memcpy(keyword->name, name, length);
    return keyword;
}

Keyword *add_keyword(const char *name, uint32_t length, uint8_t argument, uint8_t flags)
{
    char folded[FOLDED_ROOM];
    const uint8_t counted = counted_length(name, length);
    Keyword **bucket = fold_name(name, counted, folded);
    *bucket = new_keyword(folded, counted, *bucket);
    (*bucket)->argument = argument;
    (*bucket)->flags = flags;
    return *bucket;
}

Keyword *find_keyword(const char *name, uint32_t length)
{
    char folded[FOLDED_ROOM];
    const uint8_t counted = counted_length(name, length);
    Keyword *keyword = *fold_name(name, counted, folded);
    while (keyword != nullptr &&
           (keyword->name_length != counted || std::memcmp(keyword->name, folded, counted) != 0))
        keyword = keyword->next;
    if (keyword != nullptr && bypass_macro && (keyword->flags & KW_MACRO) && keyword->argument != 0)
        return keyword->next;
    return keyword;
}

void shadow_keyword(Keyword *keyword)
{
    // Only the first character of the name is copied, on purpose: no lookup by name may find the
    // shadow. Behind the source file that overrode it an instruction thus stays unknown.
    auto *shadow = new_node<Keyword>(keyword->next, keyword->name_length);
    shadow->name = reinterpret_cast<char *>(shadow + 1);
    shadow->name_length = keyword->name_length;
    shadow->name[0] = keyword->name[0];
    shadow->argument = keyword->argument;
    shadow->flags = keyword->flags;
    if (keyword->flags & KW_INSTRUCTION)
        shadow->opcodes = keyword->opcodes;
    else
        shadow->action = keyword->action;
    keyword->next = shadow;
}

bool is_directive_stem(const Keyword *keyword)
{
    if ((keyword->flags & KW_MACRO) && keyword->argument != 0)
        keyword = keyword->next;
    return (keyword->flags & KW_DIRECTIVE) != 0;
}

bool has_action(const Keyword *keyword, DirectiveAction action)
{
    return (keyword->flags & (KW_INSTRUCTION | KW_MACRO)) == 0 && keyword->action == action;
}

// The shadow's action or rows go back to the keyword.
static void undo_macro(Keyword *keyword)
{
    Keyword *shadow = keyword->next;
    free_body(keyword->body);
    if (shadow->flags & KW_INSTRUCTION)
        keyword->opcodes = shadow->opcodes;
    else
        keyword->action = shadow->action;
    keyword->argument = shadow->argument;
    keyword->flags = shadow->flags;
    keyword->next = xfree(shadow, shadow->next);
}

void undo_macros()
{
    for (Keyword *keyword : keyword_buckets) {
        for (; keyword != nullptr; keyword = keyword->next) {
            if ((keyword->flags & KW_MACRO) && keyword->argument != 0)
                undo_macro(keyword);
        }
    }
}

void forget_macros()
{
    for (Keyword *keyword : keyword_buckets) {
        for (; keyword != nullptr; keyword = keyword->next) {
            if ((keyword->flags & KW_MACRO) == 0)
                continue;
            // The empty record stays in the chain, where no name finds it again.
            keyword->name_length = 0;
            free_body(keyword->body);
            keyword->body = nullptr;
            keyword->flags &= static_cast<uint8_t>(~KW_MACRO);
        }
    }
    free_retired_bodies();
}
