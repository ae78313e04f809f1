// Directives that move the location counter, or write it out.
#pragma once

#include "expr/keyword_table.h"
#include <span>

// `align`, `even`, `org`, `offset` and `funa`.
std::span<const DirectiveRow> location_directives();
