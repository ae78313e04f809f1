// The number reader that the command line and the lexer share, the character classes of both, and
// the numbers of listings.
#pragma once

#include <cstddef>
#include <cstdint>

// Plain ASCII classes, whatever the locale; characters above 127 belong to none.
constexpr bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr bool is_letter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

constexpr bool is_space(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr char lower_case(char c)
{
    // The difference of the cases is one bit.
    return static_cast<char>(c | (c >= 'A' && c <= 'Z' ? 'a' - 'A' : 0));
}

// Lets the text of a number choose its base as in C: "0x" for 16, a leading "0" for 8,
// otherwise 10.
constexpr uint32_t BASE_FROM_TEXT = 1;

// Reads a number after optional white space and an optional sign. `base` is the radix, 2 to 36,
// or BASE_FROM_TEXT. In base 16 a "0x" is skipped. Returns the position where the number stops
// (with no digits: where they should begin) and stores the value, which wraps at 32 bits without a
// message.
const char *parse_number(const char *text, uint32_t *value, uint32_t base);

// Numbers of listings, which have too many for a format. They are written to `room`, without an end
// mark; what follows them is returned.

// In decimal, right-aligned in `width` characters or more, as by %*ld.
char *write_number(char *room, int32_t number, size_t width);

// In hexadecimal with leading zeros, `width` digits or more, as by %0*lx; `width` is at most 8.
char *write_hex(char *room, uint32_t number, size_t width);
