// Directives that open, select and stack sections.
#pragma once

#include <cstdint>

struct Keyword;

// `section`: the label is the section's name; the one directive whose optional label isn't defined.
void section_directive(Keyword *keyword, const char *label, uint32_t length);

// `switch` (argument 0) and `bsct` (1).
void switch_directive(Keyword *keyword, const char *label, uint32_t length);

// `save` (argument 0) and `restore` (1).
void save_directive(Keyword *keyword, const char *label, uint32_t length);

// Frees the numbers of sections and the stack of `save`, at the start of a source file.
void forget_section_stacks();
