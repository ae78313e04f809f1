// Each section has a table of its jumps by target. The key is the bare value: a jump to an external
// symbol is known under its value 0, and a branch to a place of value 0 may use it.

#include "target/branch_record.h"

#include "base/memory.h"
#include "base/pass_state.h"
#include "output/section_table.h"
#include <algorithm>

struct BranchEntry {
    uint32_t pass;    // in use in the pass of this number only
    uint32_t target;  // value that the jump goes to, whatever section or symbol it belongs to
    uint32_t address; // where the jump stands
};

// A hash table with open addressing.
struct BranchRecord {
    BranchRecord *next;   // of all records
    BranchEntry *entries; // in a block of their own
    uint32_t size;        // a power of two
    uint32_t pass;        // that the count is about
    uint32_t count;       // entries in use
};
static BranchRecord *branch_records;

constexpr uint32_t INDEX_SIZE_FIRST = 64;

// Counts the passes, replayed ones and those of all source files too, so that a new one finds all
// tables empty without a look at them. 0 is no pass.
static uint32_t jump_pass = 1;

// The entry of the target, or the free one where it belongs.
static BranchEntry *find_entry(const BranchRecord &record, uint32_t target)
{
    uint32_t hash = target * 0x9E3779B1;
    hash ^= hash >> 16;
    BranchEntry *entry = &record.entries[hash & (record.size - 1)];
    while (entry->pass == jump_pass && entry->target != target)
        entry = entry + 1 == record.entries + record.size ? record.entries : entry + 1;
    return entry;
}

static void resize(BranchRecord *record, uint32_t size)
{
    record->size = size;
    record->entries = static_cast<BranchEntry *>(xalloc(size * sizeof(BranchEntry), nullptr));
    std::fill(record->entries, record->entries + size, BranchEntry{});
}

// Doubles the table when half of it is used.
static void make_room(BranchRecord *record)
{
    if (2 * record->count < record->size)
        return;
    const BranchRecord full = *record;
    resize(record, 2 * full.size);
    for (const BranchEntry *entry = full.entries; entry != full.entries + full.size; ++entry) {
        if (entry->pass == jump_pass)
            *find_entry(*record, entry->target) = *entry;
    }
    free_block(full.entries);
}

static BranchRecord *current_record()
{
    BranchRecord *&record = current_section->branches;
    if (record == nullptr) {
        record = new_node<BranchRecord>(branch_records);
        branch_records = record;
        resize(record, INDEX_SIZE_FIRST);
    }
    if (record->pass != jump_pass) {
        record->pass = jump_pass;
        record->count = 0;
    }
    return record;
}

void record_jump(uint32_t target, uint32_t address)
{
    BranchRecord *record = current_record();
    make_room(record);
    BranchEntry *entry = find_entry(*record, target);
    record->count += entry->pass == jump_pass ? 0 : 1;
    *entry = {jump_pass, target, address};
}

bool find_jump(uint32_t target, uint32_t *address)
{
    const BranchRecord *record = current_section->branches;
    if (record == nullptr)
        return false;
    const BranchEntry *entry = find_entry(*record, target);
    *address = entry->address;
    return entry->pass == jump_pass;
}

void forget_jumps()
{
    ++jump_pass;
}

void reset_branch_records()
{
    forget_jumps();
    if (pass_number != 0)
        return;
    while (branch_records != nullptr) {
        free_block(branch_records->entries);
        branch_records = xfree(branch_records, branch_records->next);
    }
}
