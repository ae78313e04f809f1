// Directives that steer the listing. They act whether there is a listing or not, except where they
// write to it.
#pragma once

#include <cstdint>

struct Keyword;

// `list` (argument 0), `nolist` and `nol` (1).
void list_control(Keyword *keyword, const char *label, uint32_t length);

// `page` and `nopage`: both go to a new page.
void page_eject(Keyword *keyword, const char *label, uint32_t length);

// `plen`.
void set_page_length(Keyword *keyword, const char *label, uint32_t length);

// `spc`.
void list_space(Keyword *keyword, const char *label, uint32_t length);

// `title` and `ttl`; `subttl`.
void add_title(Keyword *keyword, const char *label, uint32_t length);
void add_subtitle(Keyword *keyword, const char *label, uint32_t length);
