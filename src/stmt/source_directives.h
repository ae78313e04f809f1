// Directives that talk to the user or to the input.
#pragma once

#include <cstdint>

struct Keyword;

// `fail`, `#error`: the operand is the error.
void user_error_directive(Keyword *keyword, const char *label, uint32_t length);

// `messg`: prints its text, once per source file.
void message_directive(Keyword *keyword, const char *label, uint32_t length);

// `.source`: shows lines of another file in the listing.
void source_directive(Keyword *keyword, const char *label, uint32_t length);

void include_directive(Keyword *keyword, const char *label, uint32_t length);

// `#line` (argument 1) and `.sfile` (0): the position that diagnostics show.
void line_directive(Keyword *keyword, const char *label, uint32_t length);

// `clist` (argument 0), `dlist` (1), `mlist` (2).
void list_flag_directive(Keyword *keyword, const char *label, uint32_t length);
