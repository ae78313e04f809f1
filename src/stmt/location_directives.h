// Directives that move the location counter.
#pragma once

#include <cstdint>

struct Keyword;

// `align` (argument 1) and `even` (0).
void align_directive(Keyword *keyword, const char *label, uint32_t length);

void org_directive(Keyword *keyword, const char *label, uint32_t length);

// `offset`: labels from here on count up from a value, without output.
void offset_directive(Keyword *keyword, const char *label, uint32_t length);
