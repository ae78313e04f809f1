// Pairs of 32-bit words, each plus a random key of 64 bits, are multiplied; the high half of the
// sum of these products is the hash (pair-multiply-shift, M. Thorup, "High Speed Hashing for
// Integers and Strings", section 3.5). Two names fall together once in 2^32 choices of the keys,
// whatever the names, and eight characters cost one multiplication.

#include "expr/name_index.h"

#include "base/pass_state.h"
#include <array>
#include <chrono>
#include <cstring>

// A pair for length and scope, and one for every eight bytes of a name, begun ones too.
constexpr size_t KEY_COUNT = 2 + 2 * 32;
using Keys = std::array<uint64_t, KEY_COUNT>;

// The clock, and where the host has put the stack, differ from run to run.
static Keys make_keys()
{
    Keys made;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    uint64_t seed = mix(static_cast<uint64_t>(now), reinterpret_cast<uintptr_t>(&made));
    for (uint64_t &key : made) {
        seed = mix(seed, made.size());
        key = seed;
    }
    return made;
}

static const Keys keys = make_keys();

template <typename Word> static uint64_t load(const char *text)
{
    Word word;
    std::memcpy(&word, text, sizeof word);
    return word;
}

// The last eight bytes of the text, those of a shorter one in some order.
static uint64_t last_word(std::string_view text)
{
    const size_t size = text.size();
    const char *start = text.data();
    if (size >= 8)
        return load<uint64_t>(start + size - 8);
    if (size >= 4)
        return load<uint32_t>(start) | load<uint32_t>(start + size - 4) << 32;
    if (size >= 2)
        return load<uint16_t>(start) | load<uint8_t>(start + size - 1) << 16;
    return size != 0 ? load<uint8_t>(start) : 0;
}

static uint64_t product(const uint64_t *key, uint64_t word)
{
    return (key[0] + static_cast<uint32_t>(word)) * (key[1] + (word >> 32));
}

uint32_t hash_name(std::string_view name, uint32_t scope)
{
    const uint64_t *key = keys.data();
    uint64_t sum = product(key, uint64_t{scope} << 32 | name.size());
    for (; name.size() > 8; name.remove_prefix(8))
        sum += product(key += 2, load<uint64_t>(name.data()));
    sum += product(key + 2, last_word(name));
    return static_cast<uint32_t>(sum >> 32);
}
