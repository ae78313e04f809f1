// What a name that nobody knows may have been meant to be.
#pragma once

#include <span>
#include <string_view>

// The word that differs least from `wanted`, of equals the first in the order of the alphabet.
// Empty if more than one in four characters would have to be changed, added, taken away or swapped
// with the next.
std::string_view nearest_word(std::string_view wanted, std::span<const std::string_view> words);
