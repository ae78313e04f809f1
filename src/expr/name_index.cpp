// The keys of the hash, made when the program starts, and the hash of long names.

#include "expr/name_index.h"

#include "base/pass_state.h"
#include <chrono>

// The clock, and where the host has put the stack, differ from run to run.
static std::array<uint64_t, NAME_KEY_COUNT> make_keys()
{
    std::array<uint64_t, NAME_KEY_COUNT> keys;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    uint64_t seed = mix(static_cast<uint64_t>(now), reinterpret_cast<uintptr_t>(&keys));
    for (uint64_t &key : keys) {
        seed = mix(seed, keys.size());
        key = seed;
    }
    return keys;
}

const std::array<uint64_t, NAME_KEY_COUNT> name_keys = make_keys();

uint64_t hash_middle(std::string_view name)
{
    const uint64_t *keys = name_keys.data() + 6;
    uint64_t sum = 0;
    for (size_t i = 8; i + 8 < name.size(); i += 8, keys += 2)
        sum += multiply_pair(keys, load_word<uint64_t>(name.data() + i));
    return sum;
}
