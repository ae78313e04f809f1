// Directives that open, select and stack sections.
#pragma once

#include "expr/keyword_table.h"
#include <span>

// `section`, `switch`, `bsct`, `save` and `restore`.
std::span<const DirectiveRow> section_directives();
