// Directives that put data into the current section or reserve room in it.
#pragma once

#include "expr/keyword_table.h"
#include <span>

// `dc`, `dcb` and `ds`.
std::span<const DirectiveRow> data_directives();
