// A line of source taken apart for notes, without regard to what it does.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

struct StatementParts {
    std::string_view label;
    std::string_view word;
    std::string_view stem;          // the word without a suffix of one or two characters
    std::string_view rest;          // the operands, without comment and blanks around them
    std::string_view first_operand; // up to the first comma
};
StatementParts take_apart(std::string_view line);

// Where the token that ends at `end` begins.
size_t token_start(std::string_view line, size_t end);

std::string lower(std::string_view text);
