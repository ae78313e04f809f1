// Directives that talk to the user or to the input.
#pragma once

#include "expr/keyword_table.h"
#include <span>

// Messages, include files, `.source`, `#line`, the flags of the listing, `end`.
std::span<const DirectiveRow> source_directives();
