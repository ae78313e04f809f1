// A plain hash table with chains. A macro that overrides a keyword takes its record over; the copy
// made by shadow_keyword stands directly after it and is reached through its place alone.

#include "expr/keyword_table.h"

#include "base/memory.h"
#include "base/number.h"
#include "expr/symbol_table.h"
#include <algorithm>
#include <cstring>

// Enough for the vocabulary and for the macros of large programs.
constexpr int BUCKET_BITS = 12;
constexpr size_t FOLDED_ROOM = 256;

bool bypass_macro;

static Keyword *keyword_buckets[size_t{1} << BUCKET_BITS];

// A name in lower case, and the chain that it belongs to.
struct FoldedName {
    char text[FOLDED_ROOM];
    uint8_t length;
    Keyword **bucket;
};

static void fold_name(std::string_view full_name, FoldedName *folded)
{
    const std::string_view name = counted_name(full_name);
    folded->length = static_cast<uint8_t>(name.size());
    std::transform(name.begin(), name.end(), folded->text, lower_case);
    const uint32_t hash = hash_name({folded->text, folded->length}) * 0x9E3779B1;
    folded->bucket = &keyword_buckets[hash >> (32 - BUCKET_BITS)];
}

Keyword *add_keyword(std::string_view name, uint8_t argument, uint16_t flags)
{
    FoldedName folded;
    fold_name(name, &folded);
    auto *keyword = new_node<Keyword>(*folded.bucket, folded.length);
    keyword->name = reinterpret_cast<char *>(keyword + 1);
    keyword->name_length = folded.length;
    std::memcpy(keyword->name, folded.text, folded.length);
    keyword->argument = argument;
    keyword->flags = flags;
    *folded.bucket = keyword;
    return keyword;
}

void add_directives(std::span<const DirectiveRow> rows)
{
    for (const DirectiveRow &row : rows)
        add_keyword(row.name, row.argument, row.flags)->action = row.action;
}

Keyword *find_keyword(std::string_view name)
{
    FoldedName folded;
    fold_name(name, &folded);
    Keyword *keyword = *folded.bucket;
    while (keyword != nullptr && (keyword->name_length != folded.length ||
                                  std::memcmp(keyword->name, folded.text, folded.length) != 0))
        keyword = keyword->next;
    if (keyword != nullptr && bypass_macro && (keyword->flags & KW_MACRO) && keyword->argument != 0)
        return keyword->next;
    return keyword;
}

void shadow_keyword(Keyword *keyword)
{
    // Only the first character of the name is copied, on purpose: no lookup by name may find the
    // shadow. After the source file that overrode it an instruction thus stays unknown.
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

void undo_macro(Keyword *keyword)
{
    Keyword *shadow = keyword->next;
    if (shadow->flags & KW_INSTRUCTION)
        keyword->opcodes = shadow->opcodes;
    else
        keyword->action = shadow->action;
    keyword->argument = shadow->argument;
    keyword->flags = shadow->flags;
    keyword->next = xfree(shadow, shadow->next);
}

void forget_macro(Keyword *keyword)
{
    keyword->name_length = 0;
    keyword->body = nullptr;
    keyword->flags &= static_cast<uint16_t>(~KW_MACRO);
}

void visit_macros(void (*visit)(Keyword *))
{
    for (Keyword *keyword : keyword_buckets) {
        for (; keyword != nullptr; keyword = keyword->next) {
            if (keyword->flags & KW_MACRO)
                visit(keyword);
        }
    }
}
