// What a run has to say. Everything is gathered, so that one run tells all that is wrong, and
// printed once at its end.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct Messages {
    std::vector<std::string> errors;
    std::vector<std::string> warnings;
    std::vector<std::string> notes; // for --verbose
};

// The most errors that are printed, and the most warnings; of the rest only the number.
constexpr size_t MESSAGES_PRINTED_MAX = 50;

[[gnu::format(printf, 2, 3)]] void add_error(Messages *messages, const char *format, ...);
[[gnu::format(printf, 2, 3)]] void add_warning(Messages *messages, const char *format, ...);
[[gnu::format(printf, 2, 3)]] void add_note(Messages *messages, const char *format, ...);

// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string text(const char *format, ...);

// Warnings and errors to standard error, notes to standard output if `verbose`.
void print_messages(const Messages &messages, bool verbose);
