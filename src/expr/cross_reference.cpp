// Uses are noted in every pass. Line ordinals repeat from pass to pass, so that the later passes
// find their entries present.

#include "expr/cross_reference.h"

#include "driver/memory.h"
#include "expr/symbol_table.h"
#include "input/input_stack.h"
#include <algorithm>

static bool holds_line(const XrefChunk *chunk, uint32_t line)
{
    if (chunk->lines[0] > line || chunk->lines[chunk->count - 1] < line)
        return false;
    return std::find(chunk->lines, chunk->lines + chunk->count, line) !=
           chunk->lines + chunk->count;
}

void record_xref(Symbol *symbol)
{
    if (symbol->xref_chunks == nullptr)
        symbol->source_file = current_file_name();
    XrefChunk **link = &symbol->xref_chunks;
    for (; *link != nullptr; link = &(*link)->next) {
        XrefChunk *chunk = *link;
        if (holds_line(chunk, line_ordinal))
            return;
        if (chunk->count < XREF_CHUNK_ENTRIES) {
            chunk->lines[chunk->count++] = line_ordinal;
            return;
        }
    }
    *link = new_node<XrefChunk>(nullptr);
    (*link)->lines[0] = line_ordinal;
    (*link)->count = 1;
}

void free_xref(Symbol *symbol)
{
    while (symbol->xref_chunks != nullptr)
        symbol->xref_chunks = xfree(symbol->xref_chunks, symbol->xref_chunks->next);
}
