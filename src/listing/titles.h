// The titles of listing pages.
#pragma once

#include <cstdint>
#include <string_view>

// Drops all titles, at the start of a source file.
void forget_titles();

// Goes back to the first title, at the head of a pass.
void rewind_titles();

// Remembers a title or subtitle with the line of its directive; in the sizing pass only.
void remember_title(std::string_view text);
void remember_subtitle(std::string_view text);

// Moves on to the last titles whose directives stand not below `line`, a line_ordinal.
void advance_titles(uint32_t line);

// The text in force at `line`, or null.
const char *title_in_force(uint32_t line);
const char *subtitle_in_force(uint32_t line);
