// Number text to 32-bit word, and back.

#include "base/number.h"

#include <algorithm>
#include <charconv>
#include <iterator>

static bool has_hex_prefix(const char *text)
{
    return text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

const char *parse_number(const char *text, uint32_t *value, uint32_t base)
{
    while (is_space(*text))
        ++text;
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+')
        ++text;

    if ((base == BASE_FROM_TEXT || base == 16) && has_hex_prefix(text)) {
        text += 2;
        base = 16;
    } else if (base == BASE_FROM_TEXT) {
        base = *text == '0' ? 8 : 10;
    }

    uint32_t number = 0;
    for (;; ++text) {
        uint32_t digit;
        if (is_digit(*text)) {
            // A decimal digit counts in every base: "9" is 9 in base 8, and so is "7" in base 2.
            // Old sources rest on it.
            digit = static_cast<uint32_t>(*text - '0');
        } else if (is_letter(*text)) {
            digit = static_cast<uint32_t>(lower_case(*text) - 'a') + 10;
            if (digit >= base)
                break;
        } else {
            break;
        }
        number = number * base + digit;
    }
    *value = negative ? 0 - number : number;
    return text;
}

char *write_number(char *room, int32_t number, size_t width)
{
    char digits[sizeof "-2147483648"];
    const char *end = std::to_chars(digits, std::end(digits), number).ptr;
    const auto size = static_cast<size_t>(end - digits);
    if (width > size)
        room = std::fill_n(room, width - size, ' ');
    return std::copy_n(digits, size, room);
}

char *write_hex(char *room, uint32_t number, size_t width)
{
    constexpr size_t DIGITS_MAX = 8;
    while (width < DIGITS_MAX && number >> (4 * width) != 0)
        ++width;
    for (size_t digit = width; digit-- > 0;)
        *room++ = "0123456789abcdef"[number >> (4 * digit) & 0xF];
    return room;
}
