// The index of both name tables: records found by the hash of their name.
//
// Slots are probed one after the other from the place that the hash names, and hold the hash beside
// the record, so that a lookup rarely looks at a record that isn't the one. The hash is made with
// random keys: no source, however it chooses its names, can make lookups slow. Nothing visible may
// depend on the order of the slots.
#pragma once

#include "base/memory.h"
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

// The hash of a name of at most 255 bytes, the same for the whole run. `scope` tells names apart
// that are the same text.
uint32_t hash_name(std::string_view name, uint32_t scope = 0);

template <typename Record> struct NameIndex {
    struct Slot {
        Record *record; // null in a free slot
        uint32_t hash;
    };
    Slot *slots;
    size_t size; // a power of two, 0 before the first record
    size_t count;
};

constexpr size_t NAME_INDEX_SIZE_FIRST = 1024;

// The slot of the first record with this hash that `is_wanted`, or null.
template <typename Record, typename Predicate>
typename NameIndex<Record>::Slot *find_slot(const NameIndex<Record> &index, uint32_t hash,
                                            Predicate is_wanted)
{
    if (index.size == 0)
        return nullptr;
    for (size_t place = hash;; ++place) {
        auto *slot = &index.slots[place & (index.size - 1)];
        if (slot->record == nullptr)
            return nullptr;
        if (slot->hash == hash && is_wanted(slot->record))
            return slot;
    }
}

template <typename Record>
void put_into_free_slot(NameIndex<Record> *index, uint32_t hash, Record *record)
{
    size_t place = hash;
    while (index->slots[place & (index->size - 1)].record != nullptr)
        ++place;
    index->slots[place & (index->size - 1)] = {record, hash};
    ++index->count;
}

// Takes all records out.
template <typename Record> void empty_index(NameIndex<Record> *index)
{
    std::fill(index->slots, index->slots + index->size, typename NameIndex<Record>::Slot{});
    index->count = 0;
}

// Puts the records that `stays` into an index of `size` slots.
template <typename Record, typename Predicate>
void rebuild_index(NameIndex<Record> *index, size_t size, Predicate stays)
{
    using Slot = typename NameIndex<Record>::Slot;
    NameIndex<Record> old = *index;
    index->slots = static_cast<Slot *>(xalloc(size * sizeof(Slot), nullptr));
    index->size = size;
    empty_index(index);
    for (size_t i = 0; i < old.size; ++i) {
        const Slot &slot = old.slots[i];
        if (slot.record != nullptr && stays(slot.record))
            put_into_free_slot(index, slot.hash, slot.record);
    }
    free_block(old.slots);
}

// Puts in a record more. At most half of the slots are taken, so that probes end soon.
template <typename Record>
void insert_record(NameIndex<Record> *index, uint32_t hash, Record *record)
{
    if (2 * index->count >= index->size)
        rebuild_index(index, std::max(2 * index->size, NAME_INDEX_SIZE_FIRST),
                      [](const Record *) { return true; });
    put_into_free_slot(index, hash, record);
}
