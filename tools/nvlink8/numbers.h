// Numbers and ranges as the command line writes them.
#pragma once

#include "nvlink8/options.h"
#include <optional>
#include <string_view>

// Decimal or "0x", a "K" behind it for 1024. Nothing for what isn't a number, begins with a zero
// (is it octal?) or is above `max`.
std::optional<uint32_t> read_number(std::string_view word, uint32_t max = UINT32_MAX);

// The same with an optional "-" ahead.
std::optional<uint32_t> read_signed_number(std::string_view word);

// START-END or START+SIZE. Nothing if it is empty or leaves the address space.
std::optional<AddressRange> read_range(std::string_view word);
