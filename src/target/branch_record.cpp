// A list of chunks for each section, searched from the front. The key is the bare value: a jump to
// an external symbol is known under its value 0, and a branch to a place of value 0 may use it.

#include "target/branch_record.h"

#include "driver/memory.h"
#include "output/section_table.h"

// The link to the first chunk with room, all entries before it searched for `target` on the way.
static BranchChunk **find_entry(uint32_t target, uint32_t **address)
{
    *address = nullptr;
    BranchChunk **link = &current_section->branch_chunks;
    for (; *link != nullptr; link = &(*link)->next) {
        for (uint16_t i = 0; i < (*link)->count; ++i) {
            if ((*link)->entries[i].target == target) {
                *address = &(*link)->entries[i].address;
                return link;
            }
        }
        if ((*link)->count < BRANCH_CHUNK_ENTRIES)
            break;
    }
    return link;
}

void record_jump(uint32_t target)
{
    uint32_t *address;
    BranchChunk **link = find_entry(target, &address);
    if (address != nullptr) {
        *address = current_location();
        return;
    }
    if (*link == nullptr)
        *link = new_node<BranchChunk>(nullptr);
    BranchChunk *chunk = *link;
    chunk->entries[chunk->count++] = {target, current_location()};
}

bool find_jump(uint32_t target, uint32_t *address)
{
    uint32_t *found;
    find_entry(target, &found);
    if (found == nullptr)
        return false;
    *address = *found;
    return true;
}

void reset_branch_record(Section *section)
{
    for (BranchChunk *chunk = section->branch_chunks; chunk != nullptr; chunk = chunk->next)
        chunk->count = 0;
}

void free_branch_record(Section *section)
{
    while (section->branch_chunks != nullptr)
        section->branch_chunks = xfree(section->branch_chunks, section->branch_chunks->next);
}
