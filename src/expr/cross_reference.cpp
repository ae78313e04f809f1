// Uses are noted in every pass. Line ordinals repeat from pass to pass, so that the later passes
// find their entries present.

#include "expr/cross_reference.h"

#include "base/memory.h"
#include "base/position.h"
#include "expr/symbol_table.h"
#include <algorithm>

uint32_t noted_uses;

static bool holds_line(const XrefChunk *chunk, uint32_t line)
{
    if (chunk == nullptr || chunk->lines[0] > line || chunk->lines[chunk->count - 1] < line)
        return false;
    return std::find(chunk->lines, chunk->lines + chunk->count, line) !=
           chunk->lines + chunk->count;
}

// Whether the line is noted, in a chunk whose first and last entries enclose it. Uses come in the
// order of their lines, so the chunk of the last one and its successor are looked at first.
static bool is_noted(XrefList *list, uint32_t line)
{
    if (list->head == nullptr || line > list->highest)
        return false;
    if (holds_line(list->hint, line))
        return true;
    if (holds_line(list->hint->next, line)) {
        list->hint = list->hint->next;
        return true;
    }
    for (XrefChunk *chunk = list->head; chunk != nullptr; chunk = chunk->next) {
        if (holds_line(chunk, line)) {
            list->hint = chunk;
            return true;
        }
    }
    return false;
}

static void append_line(XrefList *list, uint32_t line)
{
    ++noted_uses;
    if (list->tail == nullptr || list->tail->count == XREF_CHUNK_ENTRIES) {
        auto *chunk = new_node<XrefChunk>(nullptr);
        (list->tail != nullptr ? list->tail->next : list->head) = chunk;
        list->tail = chunk;
    }
    list->tail->lines[list->tail->count++] = line;
    list->hint = list->tail;
    list->highest = std::max(list->highest, line);
}

void record_xref(Symbol *symbol)
{
    XrefList *list = &symbol->xref;
    if (list->head == nullptr)
        symbol->source_file = current_file_name();
    if (!is_noted(list, line_ordinal))
        append_line(list, line_ordinal);
}

void free_xref(Symbol *symbol)
{
    XrefChunk *chunk = symbol->xref.head;
    while (chunk != nullptr)
        chunk = xfree(chunk, chunk->next);
    symbol->xref = {};
}
