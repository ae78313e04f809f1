// The index of both name tables: records found by the hash of their name.
//
// Slots are probed one after the other from the place that the hash names, and hold the hash beside
// the record, so that a lookup rarely looks at a record that isn't the one. The hash is made with
// random keys: no source, however it chooses its names, can make lookups slow. Nothing visible may
// depend on the order of the slots.
#pragma once

#include "base/memory.h"
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// A key for the length, one for the scope, and a pair for every eight bytes of a name, begun ones
// too.
constexpr size_t NAME_KEY_COUNT = 2 + 2 * 32;

// Random, and the same for the whole run.
extern const std::array<uint64_t, NAME_KEY_COUNT> name_keys;

template <typename Word> uint64_t load_word(const char *text)
{
    Word word;
    std::memcpy(&word, text, sizeof word);
    return word;
}

// Names of at most so many bytes are told apart by their length and last_word alone.
constexpr size_t SHORT_NAME_MAX = sizeof(uint64_t);

// The last eight bytes of a text, or all of a shorter one, in some order. Texts of one length that
// differ there give different words.
inline uint64_t last_word(std::string_view text)
{
    const size_t size = text.size();
    const char *start = text.data();
    if (size >= 8)
        return load_word<uint64_t>(start + size - 8);
    if (size >= 4)
        return load_word<uint32_t>(start) | load_word<uint32_t>(start + size - 4) << 32;
    if (size >= 2)
        return load_word<uint16_t>(start) | load_word<uint8_t>(start + size - 1) << 16;
    return size != 0 ? load_word<uint8_t>(start) : 0;
}

inline uint64_t multiply_pair(const uint64_t *keys, uint64_t word)
{
    return (keys[0] + static_cast<uint32_t>(word)) * (keys[1] + (word >> 32));
}

// The hash of a name of at most 255 bytes. `scope` tells names apart that are the same text.
//
// Length and scope are multiplied by keys of 64 bits, and the halves of a word, each plus a key, by
// each other; the high half of the sum of these products is the hash (pair-multiply-shift,
// M. Thorup, "High Speed Hashing for Integers and Strings"). Whatever the names, two of them fall
// together with one choice of the keys in 2^32.
//
// Most names have at most 16 characters. What longer ones have in the middle is left to functions
// that aren't inlined, since compilers would unroll a loop that runs once.
//
// `last` is the name's last_word, which a lookup makes once for the hash and for comparing.
uint64_t hash_middle(std::string_view name);
inline uint64_t hash_sum(size_t size, uint64_t last, uint32_t scope)
{
    const uint64_t *keys = name_keys.data();
    return keys[0] * size + keys[1] * scope + multiply_pair(keys + 2, last);
}
inline uint32_t hash_short_name(size_t size, uint64_t last)
{
    return static_cast<uint32_t>(hash_sum(size, last, 0) >> 32);
}
inline uint32_t hash_name(std::string_view name, uint64_t last, uint32_t scope = 0)
{
    uint64_t sum = hash_sum(name.size(), last, scope);
    if (name.size() > SHORT_NAME_MAX)
        sum += multiply_pair(name_keys.data() + 4, load_word<uint64_t>(name.data()));
    if (name.size() > 16)
        sum += hash_middle(name);
    return static_cast<uint32_t>(sum >> 32);
}

// Whether two names with the same last_word are the same.
inline bool is_same_name(std::string_view left, std::string_view right)
{
    return left.size() == right.size() &&
           (left.size() <= SHORT_NAME_MAX ||
            std::memcmp(left.data(), right.data(), left.size()) == 0);
}

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
