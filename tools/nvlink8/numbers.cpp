#include "nvlink8/numbers.h"

#include <charconv>

static constexpr uint32_t KIBI = 1024;

std::optional<uint32_t> read_number(std::string_view word, uint32_t max)
{
    uint64_t scale = 1;
    if (word.ends_with('K')) {
        scale = KIBI;
        word.remove_suffix(1);
    }
    int base = 10;
    if (word.starts_with("0x") || word.starts_with("0X")) {
        base = 16;
        word.remove_prefix(2);
    } else if (word.size() > 1 && word.starts_with('0')) {
        return std::nullopt;
    }
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(word.begin(), word.end(), value, base);
    if (error != std::errc() || end != word.end() || value * scale > max)
        return std::nullopt;
    return static_cast<uint32_t>(value * scale);
}

std::optional<uint32_t> read_signed_number(std::string_view word)
{
    if (!word.starts_with('-'))
        return read_number(word);
    const auto value = read_number(word.substr(1), uint32_t{1} << 31);
    return value ? std::optional(0 - *value) : std::nullopt;
}

std::optional<AddressRange> read_range(std::string_view word)
{
    const size_t sign = word.find_first_of("-+");
    if (sign == std::string_view::npos)
        return std::nullopt;
    const auto first = read_number(word.substr(0, sign), ADDRESS_MAX);
    const auto second = read_number(word.substr(sign + 1), ADDRESS_MAX + 1);
    if (!first || !second)
        return std::nullopt;
    const uint64_t last = word[sign] == '-' ? *second : uint64_t{*first} + *second - 1;
    if (last > ADDRESS_MAX || last < *first || (word[sign] == '+' && *second == 0))
        return std::nullopt;
    return AddressRange{*first, static_cast<uint32_t>(last)};
}
