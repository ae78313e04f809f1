// The lines on which each symbol is used.
#pragma once

#include <cstdint>

struct Symbol;

constexpr uint16_t XREF_CHUNK_ENTRIES = 20;

struct XrefChunk {
    XrefChunk *next;
    uint16_t count;                     // entries in use, 1 to 20
    uint32_t lines[XREF_CHUNK_ENTRIES]; // line_ordinal of each use
};

// The uses of one symbol: the first one, and under -c all of them, in full chunks and then one that
// may have room.
struct XrefList {
    uint32_t first; // its line, if the symbol is_used
    bool is_used;
    XrefChunk *head;
    XrefChunk *tail;
    XrefChunk *hint;  // where the last use was found: the next one is likely there or after it
    uint32_t place;   // the entry of `hint` that was found last
    uint32_t highest; // the highest line noted: a line above it can't be there yet
};

// How many uses have been added in this run.
extern uint32_t noted_uses;

// Notes a use of the symbol on the current line, once for each line. The first use gives the
// symbol its source file.
void record_xref(Symbol *symbol);

// Frees the entries of a symbol that is about to go.
void free_xref(Symbol *symbol);
