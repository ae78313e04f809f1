// Directives that write debug records and texts for tools.
#pragma once

#include "expr/keyword_table.h"
#include <span>

// `.dcall` to `.dopt`, `.info` and `.misra`.
std::span<const DirectiveRow> debug_directives();
