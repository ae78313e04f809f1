// Keywords are found by their name in lower case. A macro that overrides a keyword takes its record
// over; what it was lies in a copy beside it, the shadow, which no name finds.

#include "expr/keyword_table.h"

#include "base/memory.h"
#include "base/number.h"
#include "expr/name_index.h"
#include "expr/symbol_table.h"
#include <algorithm>
#include <array>

constexpr size_t FOLDED_ROOM = 256;

bool bypass_macro;

static NameIndex<Keyword> keyword_index;

// A source uses some dozen words over and over: those found last, by a hash of their last_word.
constexpr uint32_t RECENT_BITS = 8;
static std::array<Keyword *, 1 << RECENT_BITS> recent_keywords;

// Puts the name in lower case into `room`.
static std::string_view fold_name(std::string_view name, char (&room)[FOLDED_ROOM])
{
    std::transform(name.begin(), name.end(), room, lower_case);
    return {room, name.size()};
}

// The last_word of a name without regard to case, for eight characters at once: every word of the
// source is looked up here, and few are longer. The bit in which the cases of a letter differ is
// set in all bytes; of the other characters that a word can have no two differ in it alone.
static uint64_t folded_last_word(std::string_view name)
{
    return last_word(name) | 0x2020202020202020;
}

Keyword *add_keyword(std::string_view full_name, uint8_t argument, uint16_t flags)
{
    char room[FOLDED_ROOM];
    const std::string_view name = fold_name(counted_name(full_name), room);
    auto *keyword = new_node<Keyword>(nullptr, name.size());
    keyword->name = reinterpret_cast<char *>(keyword + 1);
    keyword->name_length = static_cast<uint8_t>(name.size());
    name.copy(keyword->name, name.size());
    keyword->argument = argument;
    keyword->flags = flags;
    keyword->last_word = folded_last_word(name);
    insert_record(&keyword_index, hash_name(name, keyword->last_word), keyword);
    return keyword;
}

void add_directives(std::span<const DirectiveRow> rows)
{
    for (const DirectiveRow &row : rows)
        add_keyword(row.name, row.argument, row.flags)->action = row.action;
}

static bool overrides_keyword(const Keyword *keyword)
{
    return keyword->shadow != nullptr;
}

static Keyword *as_called(Keyword *keyword)
{
    return bypass_macro && overrides_keyword(keyword) ? keyword->shadow : keyword;
}

static Keyword *keyword_in(const NameIndex<Keyword>::Slot *slot)
{
    return slot != nullptr ? as_called(slot->record) : nullptr;
}

// Not inlined: the room would cost the lookups of short names time.
[[gnu::noinline]] static Keyword *find_long_keyword(std::string_view full_name)
{
    char room[FOLDED_ROOM];
    const std::string_view name = fold_name(full_name, room);
    const uint64_t last = folded_last_word(name);
    const auto is_wanted = [name, last](const Keyword *keyword) {
        return keyword->last_word == last && is_same_name(keyword_name(*keyword), name);
    };
    return keyword_in(find_slot(keyword_index, hash_name(name, last), is_wanted));
}

static bool is_short_keyword(const Keyword *keyword, size_t size, uint64_t last)
{
    return keyword->last_word == last && keyword->name_length == size;
}

[[gnu::noinline]] static Keyword *find_short_keyword(size_t size, uint64_t last, Keyword **recent)
{
    const auto is_wanted = [size, last](const Keyword *keyword) {
        return is_short_keyword(keyword, size, last);
    };
    const auto *slot = find_slot(keyword_index, hash_short_name(size, last), is_wanted);
    if (slot != nullptr)
        *recent = slot->record;
    return keyword_in(slot);
}

Keyword *find_keyword(std::string_view full_name)
{
    const std::string_view name = counted_name(full_name);
    const size_t size = name.size();
    if (size > SHORT_NAME_MAX)
        return find_long_keyword(name);
    const uint64_t last = folded_last_word(name);
    Keyword *&recent = recent_keywords[last * 0x9E3779B97F4A7C15 >> (64 - RECENT_BITS)];
    if (recent != nullptr && is_short_keyword(recent, size, last))
        return as_called(recent);
    return find_short_keyword(size, last, &recent);
}

void shadow_keyword(Keyword *keyword)
{
    auto *shadow = new_node<Keyword>(nullptr);
    *shadow = *keyword;
    keyword->shadow = shadow;
}

bool is_directive_stem(const Keyword *keyword)
{
    if (overrides_keyword(keyword))
        keyword = keyword->shadow;
    return (keyword->flags & KW_DIRECTIVE) != 0;
}

void undo_macro(Keyword *keyword)
{
    Keyword *shadow = keyword->shadow;
    *keyword = *shadow;
    free_block(shadow);
}

static bool is_macro(const Keyword *keyword)
{
    return (keyword->flags & KW_MACRO) != 0;
}

void visit_keywords(void (*visit)(const Keyword &))
{
    for (size_t i = 0; i < keyword_index.size; ++i) {
        if (const Keyword *keyword = keyword_index.slots[i].record)
            visit(*keyword);
    }
}

void visit_macros(void (*visit)(Keyword *))
{
    for (size_t i = 0; i < keyword_index.size; ++i) {
        Keyword *keyword = keyword_index.slots[i].record;
        if (keyword != nullptr && is_macro(keyword))
            visit(keyword);
    }
}

void drop_macros()
{
    recent_keywords.fill(nullptr);
    rebuild_index(&keyword_index, keyword_index.size, [](Keyword *keyword) {
        if (!is_macro(keyword))
            return true;
        free_block(keyword->shadow);
        free_block(keyword);
        return false;
    });
}
