// Uses are noted in every pass, without -c only the first one of a symbol. Line ordinals repeat
// from pass to pass, so that the later passes find their entries present.

#include "expr/cross_reference.h"

#include "base/memory.h"
#include "base/position.h"
#include "base/settings.h"
#include "expr/name_places.h"
#include "expr/symbol_table.h"
#include <algorithm>

uint32_t noted_uses;

// Whether the line may be in the chunk. Lines that a pass adds out of order may lie beyond its
// ends: they don't count as noted.
static bool encloses(const XrefChunk *chunk, uint32_t line)
{
    return chunk->lines[0] <= line && line <= chunk->lines[chunk->count - 1];
}

static bool is_entry(XrefList *list, XrefChunk *chunk, uint32_t place, uint32_t line)
{
    if (chunk->lines[place] != line || !encloses(chunk, line))
        return false;
    list->hint = chunk;
    list->place = place;
    return true;
}

// Uses come in the order of their lines: a use is on the line of the last one, or that of the entry
// after it, or it is the first of the pass.
static bool is_noted_next(XrefList *list, uint32_t line)
{
    XrefChunk *chunk = list->hint;
    if (is_entry(list, chunk, list->place, line))
        return true;
    if (list->place + 1 < chunk->count)
        return is_entry(list, chunk, list->place + 1, line);
    return is_entry(list, chunk->next != nullptr ? chunk->next : list->head, 0, line);
}

static bool is_in_chunk(XrefList *list, XrefChunk *chunk, uint32_t line)
{
    if (!encloses(chunk, line))
        return false;
    for (uint32_t place = 0; place < chunk->count; ++place) {
        if (is_entry(list, chunk, place, line))
            return true;
    }
    return false;
}

static bool is_noted(XrefList *list, uint32_t line)
{
    if (list->head == nullptr || line > list->highest)
        return false;
    if (is_noted_next(list, line))
        return true;
    for (XrefChunk *chunk = list->hint; chunk != nullptr; chunk = chunk->next) {
        if (is_in_chunk(list, chunk, line))
            return true;
    }
    for (XrefChunk *chunk = list->head; chunk != list->hint; chunk = chunk->next) {
        if (is_in_chunk(list, chunk, line))
            return true;
    }
    return false;
}

// Not inlined, for the sake of uses that are noted.
[[gnu::noinline]] static void append_line(XrefList *list, uint32_t line)
{
    ++noted_uses;
    if (list->tail == nullptr || list->tail->count == XREF_CHUNK_ENTRIES) {
        auto *chunk = new_node<XrefChunk>(nullptr);
        (list->tail != nullptr ? list->tail->next : list->head) = chunk;
        list->tail = chunk;
    }
    list->hint = list->tail;
    list->place = list->tail->count++;
    list->tail->lines[list->place] = line;
    list->highest = std::max(list->highest, line);
}

// Not inlined: the first use is one of many.
[[gnu::noinline]] static void note_first_use(Symbol *symbol)
{
    ++noted_uses;
    symbol->source_file = current_file_name();
    symbol->xref.is_used = true;
    symbol->xref.first = line_ordinal;
    note_use_place(symbol, symbol->name_length);
}

void record_xref(Symbol *symbol)
{
    XrefList *list = &symbol->xref;
    if (!list->is_used) [[unlikely]]
        note_first_use(symbol);
    if (settings.opt_xref && !is_noted(list, line_ordinal))
        append_line(list, line_ordinal);
}

void free_xref(Symbol *symbol)
{
    XrefChunk *chunk = symbol->xref.head;
    while (chunk != nullptr)
        chunk = xfree(chunk, chunk->next);
    symbol->xref = {};
}
