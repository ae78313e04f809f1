// Directives that steer the listing. They act whether there is a listing or not, except where they
// write to it.
#pragma once

#include "expr/keyword_table.h"
#include <span>

std::span<const DirectiveRow> listing_directives();
