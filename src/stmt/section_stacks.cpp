// Both lists live as long as the sections: numbers are bound in the sizing pass and found in the
// others, and what the end of a pass leaves saved is still there in the next.

#include "stmt/section_stacks.h"

#include "base/memory.h"
#include "base/pass_state.h"
#include "output/section_table.h"

// A number of the old syntax and its section, newest first. Filled in the sizing pass.
struct NumberedSection {
    NumberedSection *next;
    Section *section;
    uint8_t number;
};
static NumberedSection *numbered_sections;

struct SavedSection {
    SavedSection *next;
    Section *section;
};
static SavedSection *section_stack;

Section *find_numbered_section(uint8_t number)
{
    NumberedSection *node = numbered_sections;
    while (node != nullptr && node->number != number)
        node = node->next;
    return node != nullptr ? node->section : nullptr;
}

void add_numbered_section(Section *section, uint8_t number)
{
    auto *node = new_node<NumberedSection>(numbered_sections);
    node->section = section;
    node->number = number;
    numbered_sections = node;
}

void save_section(Section *section)
{
    auto *node = new_node<SavedSection>(section_stack);
    node->section = section;
    section_stack = node;
}

Section *take_saved_section()
{
    if (section_stack == nullptr)
        return nullptr;
    Section *section = section_stack->section;
    section_stack = xfree(section_stack, section_stack->next);
    return section;
}

void forget_section_stacks()
{
    while (numbered_sections != nullptr)
        numbered_sections = xfree(numbered_sections, numbered_sections->next);
    while (section_stack != nullptr)
        section_stack = xfree(section_stack, section_stack->next);
}

uint64_t hash_saved_sections()
{
    uint64_t hash = 0;
    for (const SavedSection *node = section_stack; node != nullptr; node = node->next)
        hash = mix(hash, reinterpret_cast<uintptr_t>(node->section));
    return hash;
}
