// The listing: which lines are shown, in columns and pages.
#pragma once

#include <cstdint>

// Bits of list_state. A line is listed in full only if the word is exactly LIST_ON.
constexpr uint32_t LIST_ON = 0x01;        // a listing file is open in this pass
constexpr uint32_t LIST_EXPANSION = 0x02; // the line comes from an expansion, mlist_flag being off
constexpr uint32_t LIST_SKIP_LINE = 0x04; // this one line is not listed
constexpr uint32_t LIST_OFF = 0x08; // between `nolist` and `list`, and in the rest of a void pass
extern uint32_t list_state;

// Set and cleared by `clist`, `dlist`, `mlist`; all 0 at the head of a pass.
extern int32_t clist_flag; // skipped lines and conditionals are listed
extern int32_t dlist_flag; // debug directives and lines of debug sections are listed
extern int32_t mlist_flag; // lines of expansions are listed

// Starts the listing at the head of a pass that lists. A file that can't be created is told; the
// pass then has no listing.
void open_listing();

// Ends the listing, under -c with the symbol table, and puts it and the Verilog file in place.
void close_listing();

// Called ahead of each line of the listing: begins a new page when the present one is full.
void page_check();

// Lists the current line, and its error below it. `mode` is line_defined_label.
void list_line(uint8_t mode);

// Lists a line of an expansion that isn't listed otherwise, and its error; without a line only the
// error.
void list_expanded_error(const char *line);

// Shows a generated `switch` to the section in place of the source line.
void list_switch_line(const char *name, uint32_t length);

// What the listing directives work on.
extern int32_t page_length; // lines on a page; changed by `plen` for the rest of the run
bool fits_listing();        // whether the directive at hand may write to the listing
void list_blank_lines(int32_t count);
void eject_page();
