// Keywords are found by their name in lower case. A macro that overrides a keyword takes its record
// over; what it was lies in a copy beside it, the shadow, which no name finds.

#include "expr/keyword_table.h"

#include "base/memory.h"
#include "base/number.h"
#include "expr/name_index.h"
#include "expr/symbol_table.h"
#include <array>

constexpr size_t FOLDED_ROOM = 256;

bool bypass_macro;

static NameIndex<Keyword> keyword_index;

// Every word of the source is looked up here: a table is faster than asking what each letter is.
static constexpr std::array<char, 256> fold_characters()
{
    std::array<char, 256> folded = {};
    for (size_t i = 0; i < folded.size(); ++i)
        folded[i] = lower_case(static_cast<char>(i));
    return folded;
}

static constexpr std::array<char, 256> folded_characters = fold_characters();

// Puts the name in lower case into `room`.
static std::string_view fold_name(std::string_view full_name, char (&room)[FOLDED_ROOM])
{
    const std::string_view name = counted_name(full_name);
    char *end = room;
    for (const char c : name)
        *end++ = folded_characters[static_cast<unsigned char>(c)];
    return {room, name.size()};
}

static std::string_view keyword_name(const Keyword *keyword)
{
    return {keyword->name, keyword->name_length};
}

Keyword *add_keyword(std::string_view full_name, uint8_t argument, uint16_t flags)
{
    char room[FOLDED_ROOM];
    const std::string_view name = fold_name(full_name, room);
    auto *keyword = new_node<Keyword>(nullptr, name.size());
    keyword->name = reinterpret_cast<char *>(keyword + 1);
    keyword->name_length = static_cast<uint8_t>(name.size());
    name.copy(keyword->name, name.size());
    keyword->argument = argument;
    keyword->flags = flags;
    insert_record(&keyword_index, hash_name(name), keyword);
    return keyword;
}

void add_directives(std::span<const DirectiveRow> rows)
{
    for (const DirectiveRow &row : rows)
        add_keyword(row.name, row.argument, row.flags)->action = row.action;
}

static bool overrides_keyword(const Keyword *keyword)
{
    return (keyword->flags & KW_MACRO) && keyword->argument != 0;
}

Keyword *find_keyword(std::string_view full_name)
{
    char room[FOLDED_ROOM];
    const std::string_view name = fold_name(full_name, room);
    const auto is_wanted = [name](const Keyword *keyword) {
        return is_same_name(keyword_name(keyword), name);
    };
    const auto *slot = find_slot(keyword_index, hash_name(name), is_wanted);
    if (slot == nullptr)
        return nullptr;
    Keyword *keyword = slot->record;
    return bypass_macro && overrides_keyword(keyword) ? keyword->shadow : keyword;
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
    rebuild_index(&keyword_index, keyword_index.size, [](Keyword *keyword) {
        if (!is_macro(keyword))
            return true;
        free_block(keyword->shadow);
        free_block(keyword);
        return false;
    });
}
