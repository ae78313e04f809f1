// Each section has a table of its jumps by target. The key is the bare value: a jump to an external
// symbol is known under its value 0, and a branch to a place of value 0 may use it.

#include "target/branch_record.h"

#include "base/memory.h"
#include "base/pass_state.h"
#include "output/section_table.h"
#include <algorithm>
#include <vector>

struct BranchEntry {
    bool used;        // holds a target, and stays its entry for the rest of the pass
    bool known;       // a jump to it has been met
    uint32_t target;  // value that the jump goes to, whatever section or symbol it belongs to
    uint32_t address; // where the jump stands
};

// A hash table with open addressing.
struct BranchRecord {
    BranchRecord *next;   // of all records
    BranchEntry *entries; // in a block of their own
    uint32_t size;        // a power of two
    uint32_t count;       // entries in use
    size_t settled_jumps; // as many of replaced_jumps as there were when the table grew last
};
static BranchRecord *branch_records;

constexpr uint32_t INDEX_SIZE_FIRST = 64;

// What an entry was before a jump took it, while jumps can be taken back.
struct ReplacedJump {
    BranchRecord *record;
    BranchEntry entry;
};
static bool keeps_replaced_jumps;
static std::vector<ReplacedJump> replaced_jumps;

// The entry of the target, or the free one where it belongs.
static BranchEntry *find_entry(const BranchRecord &record, uint32_t target)
{
    uint32_t hash = target * 0x9E3779B1;
    hash ^= hash >> 16;
    BranchEntry *entry = &record.entries[hash & (record.size - 1)];
    while (entry->used && entry->target != target)
        entry = entry + 1 == record.entries + record.size ? record.entries : entry + 1;
    return entry;
}

static void clear(BranchRecord *record)
{
    record->settled_jumps = 0;
    std::fill(record->entries, record->entries + record->size, BranchEntry{});
    record->count = 0;
}

static void resize(BranchRecord *record, uint32_t size)
{
    record->size = size;
    record->entries = static_cast<BranchEntry *>(xalloc(size * sizeof(BranchEntry), nullptr));
    clear(record);
}

// Doubles the table when half of it is used.
static void make_room(BranchRecord *record)
{
    if (2 * record->count < record->size)
        return;
    const BranchRecord full = *record;
    resize(record, 2 * full.size);
    record->settled_jumps = replaced_jumps.size();
    for (const BranchEntry *entry = full.entries; entry != full.entries + full.size; ++entry) {
        if (entry->used)
            *find_entry(*record, entry->target) = *entry;
    }
    record->count = full.count;
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
    return record;
}

void record_jump(uint32_t target, uint32_t address)
{
    BranchRecord *record = current_record();
    make_room(record);
    BranchEntry *entry = find_entry(*record, target);
    record->count += entry->used ? 0 : 1;
    if (keeps_replaced_jumps)
        replaced_jumps.push_back({record, {entry->used, entry->known, target, entry->address}});
    *entry = {true, true, target, address};
}

bool find_jump(uint32_t target, uint32_t *address)
{
    const BranchRecord *record = current_section->branches;
    if (record == nullptr)
        return false;
    const BranchEntry *entry = find_entry(*record, target);
    *address = entry->address;
    return entry->known;
}

void keep_replaced_jumps(bool keep)
{
    keeps_replaced_jumps = keep;
    replaced_jumps.clear();
}

size_t jump_mark()
{
    return replaced_jumps.size();
}

// An entry that was free becomes so again, since what was put behind it has gone before. But when
// the table grew it was put together anew in some other order, and older entries keep their place.
static void take_back_jump(const ReplacedJump &jump, bool settled)
{
    BranchEntry *entry = find_entry(*jump.record, jump.entry.target);
    *entry = jump.entry;
    if (jump.entry.used)
        return;
    entry->used = settled;
    jump.record->count -= settled ? 0 : 1;
}

void take_back_jumps(size_t mark)
{
    while (replaced_jumps.size() > mark) {
        const ReplacedJump jump = replaced_jumps.back();
        replaced_jumps.pop_back();
        take_back_jump(jump, replaced_jumps.size() < jump.record->settled_jumps);
    }
}

void reset_branch_records()
{
    if (pass_number != 0) {
        for (BranchRecord *record = branch_records; record != nullptr; record = record->next)
            clear(record);
        return;
    }
    while (branch_records != nullptr) {
        free_block(branch_records->entries);
        branch_records = xfree(branch_records, branch_records->next);
    }
}
