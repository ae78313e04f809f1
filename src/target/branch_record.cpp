// A list of chunks for each section holds the jumps, an index finds them. The key is the bare
// value: a jump to an external symbol is known under its value 0, and a branch to a place of value
// 0 may use it.

#include "target/branch_record.h"

#include "driver/memory.h"
#include "output/section_table.h"
#include <algorithm>

constexpr uint32_t INDEX_SIZE_FIRST = 64;

// The slot that holds the target, or the free one where it belongs.
static BranchEntry **find_slot(const BranchIndex &index, uint32_t target)
{
    uint32_t hash = target * 0x9E3779B1;
    hash ^= hash >> 16;
    BranchEntry **slot = &index.slots[hash & (index.size - 1)];
    while (*slot != nullptr && (*slot)->target != target)
        slot = slot + 1 == index.slots + index.size ? index.slots : slot + 1;
    return slot;
}

static void clear_index(BranchIndex *index)
{
    std::fill(index->slots, index->slots + index->size, nullptr);
    index->count = 0;
}

// Doubles the index when half of it is used.
static void grow_index(Section *section)
{
    BranchIndex *index = &section->branch_index;
    if (2 * index->count < index->size)
        return;
    const uint32_t count = index->count;
    free_block(index->slots);
    index->size = index->size != 0 ? 2 * index->size : INDEX_SIZE_FIRST;
    index->slots = static_cast<BranchEntry **>(xalloc(index->size * sizeof(void *), nullptr));
    clear_index(index);
    for (BranchChunk *chunk = section->branch_chunks; chunk != nullptr; chunk = chunk->next) {
        for (uint16_t i = 0; i < chunk->count; ++i)
            *find_slot(*index, chunk->entries[i].target) = &chunk->entries[i];
    }
    index->count = count;
}

static BranchEntry *append_entry(Section *section)
{
    BranchChunk *chunk = section->last_branch_chunk;
    if (chunk == nullptr || chunk->count == BRANCH_CHUNK_ENTRIES) {
        BranchChunk **link = chunk != nullptr ? &chunk->next : &section->branch_chunks;
        if (*link == nullptr)
            *link = new_node<BranchChunk>(nullptr);
        chunk = *link;
        section->last_branch_chunk = chunk;
    }
    return &chunk->entries[chunk->count++];
}

void record_jump(uint32_t target)
{
    Section *section = current_section;
    grow_index(section);
    BranchEntry **slot = find_slot(section->branch_index, target);
    if (*slot == nullptr) {
        *slot = append_entry(section);
        ++section->branch_index.count;
    }
    **slot = {target, current_location()};
}

bool find_jump(uint32_t target, uint32_t *address)
{
    const BranchIndex &index = current_section->branch_index;
    if (index.count == 0)
        return false;
    const BranchEntry *entry = *find_slot(index, target);
    if (entry == nullptr)
        return false;
    *address = entry->address;
    return true;
}

void reset_branch_record(Section *section)
{
    for (BranchChunk *chunk = section->branch_chunks; chunk != nullptr; chunk = chunk->next)
        chunk->count = 0;
    section->last_branch_chunk = nullptr;
    clear_index(&section->branch_index);
}

void free_branch_record(Section *section)
{
    while (section->branch_chunks != nullptr)
        section->branch_chunks = xfree(section->branch_chunks, section->branch_chunks->next);
    free_block(section->branch_index.slots);
}
