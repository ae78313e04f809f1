// The listing: which lines are shown, in columns and pages.
#pragma once

#include "base/pass_state.h"
#include <cstdint>
#include <string_view>

// Bits of list_state. A line is listed in full only if the word is exactly LIST_ON.
constexpr uint32_t LIST_ON = 0x01;        // a listing file is open in this pass
constexpr uint32_t LIST_EXPANSION = 0x02; // the line comes from an expansion, mlist_flag being off
constexpr uint32_t LIST_SKIP_LINE = 0x04; // this one line is not listed
constexpr uint32_t LIST_OFF = 0x08;       // between `nolist` and `list`
extern uint32_t list_state;

// void_requests when the pass began or `list` was met last: what follows a further request isn't
// listed, since the pass will be repeated.
extern uint32_t void_requests_seen;

// Whether the current line is listed in full.
inline bool lists_line()
{
    return list_state == LIST_ON && void_requests == void_requests_seen;
}

// Whether the current line is listed only if it has an error: a line of an expansion.
bool lists_only_errors();

// Keeps the current line out of the listing.
inline void skip_listed_line()
{
    list_state |= LIST_SKIP_LINE;
}

// `nolist` and `list`.
void switch_listing(bool on);

// Set and cleared by `clist`, `dlist`, `mlist`; all off at the head of a pass.
extern bool clist_flag; // skipped lines and conditionals are listed
extern bool dlist_flag; // debug directives and lines of debug sections are listed
extern bool mlist_flag; // lines of expansions are listed
void reset_listing_for_pass();

// Starts the listing at the head of a pass, if that one `lists`. A file that can't be created is
// reported; the pass then has no listing.
void open_listing(bool lists);

// Ends the listing, under -c with the symbol table, and puts it and the Verilog file in place.
void close_listing();

// How much of a listed line's address is shown.
enum class LineAddress : uint8_t {
    WITH_BYTES, // only if the line emitted bytes
    ALWAYS,
    NEVER, // the bytes of a value stand in the place of bytes
};

// What the listing shows of the current statement. Set at its start, and by what it turns out to
// be.
constexpr uint32_t LINE_BYTES_MAX = 40;
struct ListedLine {
    const char *start; // where the text of the line begins
    uint32_t address;
    LineAddress shows_address;
    uint32_t byte_count;
    uint8_t bytes[LINE_BYTES_MAX];
};
extern ListedLine listed_line;

// Begins the line at `start`, without bytes.
inline void mark_line_start(const char *start, uint32_t address)
{
    listed_line.start = start;
    listed_line.address = address;
    listed_line.shows_address = LineAddress::WITH_BYTES;
    listed_line.byte_count = 0;
}

// Keeps a byte for the listing; beyond 40 bytes of a statement it is dropped.
inline void note_line_byte(uint8_t byte)
{
    if (listed_line.byte_count < LINE_BYTES_MAX)
        listed_line.bytes[listed_line.byte_count++] = byte;
}

// Lists the current line, and its error below it.
void list_line();

// Shows the pending error, if there is one, and counts it.
void list_error();

// Lists a line of an expansion that isn't listed otherwise, and its error.
void list_expanded_error(const char *line);

// Shows a generated `switch` to the section in place of the source line.
void list_switch_line(std::string_view name);

// What the listing directives work on.
void turn_pages_on();                // for this source file
void set_page_length(int32_t lines); // for the rest of the run
bool fits_listing();                 // whether the directive at hand may write to the listing
void list_blank_lines(int32_t count);
void eject_page();
