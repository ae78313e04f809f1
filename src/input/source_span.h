// Lines of another text file, shown in the listing as comments: what `.source` asks for.
#pragma once

#include <cstdint>

// Asks for the lines `first` to `last` (counted from 1) of the file `name`; next_line delivers them
// ahead of anything else. Reports "can't open source %s" and, at once, "can't read %s". The same
// range asked twice in a row is shown once.
void select_source_lines(const char *name, uint32_t first, uint32_t last);

// The next line of the span, in the line buffer, or null when no span is active.
const char *next_span_line();
