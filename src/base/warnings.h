// What --warn tells: source that is taken without an error and rarely meant so.
#pragma once

#include "base/line_context.h"
#include <cstdint>
#include <string>
#include <string_view>

// Whether warnings are wanted in this pass.
bool warns();

// Warns of the line at hand, or of another place. `advice` says what to do about it, for --explain.
// Warnings of a pass replace those of the pass before.
void warn(std::string_view text, std::string_view advice);
void warn_at(LineContext place, std::string_view text, std::string_view advice);

// What stands ahead of the text of a warning.
std::string warning_head(const std::string &file, uint32_t line);

// Forgets the warnings at the head of a pass.
void drop_warnings();

// Prints the warnings of the pass that ran last, each once, and gives their number. Under
// --warn=error the caller counts them.
int32_t print_warnings();
