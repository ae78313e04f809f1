// Which jumps have been assembled so far in this pass: later branches that can't reach their target
// may hop through one of them.
#pragma once

#include <cstdint>

struct Section;

constexpr uint16_t BRANCH_CHUNK_ENTRIES = 20;

struct BranchEntry {
    uint32_t target;  // value that the jump goes to, whatever section or symbol it belongs to
    uint32_t address; // where the jump stands
};

struct BranchChunk {
    BranchChunk *next;
    uint16_t count; // entries in use
    BranchEntry entries[BRANCH_CHUNK_ENTRIES];
};

// The entries by target: a hash table with open addressing.
struct BranchIndex {
    BranchEntry **slots;
    uint32_t size;  // a power of two, or 0
    uint32_t count; // entries in the table
};

// Notes a jump to `target` at the current location; the latest jump to a target wins.
void record_jump(uint32_t target);

// Finds a jump to `target` in the current section and stores its address; false if there is none.
bool find_jump(uint32_t target, uint32_t *address);

// Forgets the jumps of the pass before, keeping the chunks.
void reset_branch_record(Section *section);

void free_branch_record(Section *section);
