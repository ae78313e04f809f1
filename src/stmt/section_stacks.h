// What is remembered of sections besides their table: the numbers bound to them and the stack of
// `save`.
#pragma once

#include <cstdint>

struct Section;

// The section that the number is bound to, or null.
Section *find_numbered_section(uint8_t number);

// Binds a number that is still free to the section.
void add_numbered_section(Section *section, uint8_t number);

void save_section(Section *section);

// Takes the section saved last off the stack; null when there is none.
Section *take_saved_section();

// Frees the numbers of sections and the stack of `save`, when the sections are built anew.
void forget_section_stacks();

// A fingerprint of what is saved.
uint64_t hash_saved_sections();
