// Directives that put data into the current section or reserve room in it.
#pragma once

#include <cstdint>

struct Keyword;

// `dc` and its kin: strings and values; the argument is the size of an item in bytes.
void data_directive(Keyword *keyword, const char *label, uint32_t length);

// `dcb`: a value, count times; the argument is its size in bytes.
void fill_directive(Keyword *keyword, const char *label, uint32_t length);

// `ds`: room for items; the argument is the binary logarithm of their size.
void reserve_directive(Keyword *keyword, const char *label, uint32_t length);
