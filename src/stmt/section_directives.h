// Directives that open, select and stack sections.
#pragma once

#include "expr/keyword_table.h"
#include <span>

// `section`, `switch`, `bsct`, `save` and `restore`.
std::span<const DirectiveRow> section_directives();

// Frees the numbers of sections and the stack of `save`, when the sections are built anew.
void forget_section_stacks();
