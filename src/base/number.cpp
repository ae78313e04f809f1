// Number text to 32-bit word.

#include "base/number.h"

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
