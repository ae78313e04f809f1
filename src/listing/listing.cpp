// The listing is made afresh in memory by every pass that lists, so that the last one's stands:
// under branch optimisation that is one extra pass at the end. The statement processor decides
// through list_state which lines come here.

#include "listing/listing.h"

#include "base/byte_stream.h"
#include "base/diagnostics.h"
#include "base/file_names.h"
#include "base/number.h"
#include "base/output_files.h"
#include "base/position.h"
#include "base/settings.h"
#include "listing/side_outputs.h"
#include "listing/symbol_listing.h"
#include "listing/titles.h"
#include <algorithm>
#include <cstring>

uint32_t list_state;
bool clist_flag;
bool dlist_flag;
bool mlist_flag;
ListedLine listed_line = {"", 0, LineAddress::WITH_BYTES, 0, {}};

// Code bytes shown on a line, and the width of the address column.
constexpr uint32_t BYTES_PER_LINE = 6;
constexpr int ADDRESS_DIGITS = 4;

uint32_t void_requests_seen;

// Whether pages and heads are made: set from -ft at the start of each source file, and by `title`.
static bool paginate;

// Lines on a page; changed by `plen` for the rest of the run.
static int32_t page_length = 66;

// A shorter page turns pages off.
constexpr int32_t PAGE_LENGTH_MIN = 10;

// Lines that the head of a page takes: with a title, and without one.
constexpr int32_t HEAD_LINES = 6;
constexpr int32_t BARE_HEAD_LINES = 3;

// The page heads are made for this width; nothing cuts source lines.
constexpr int LINE_WIDTH = 80;

static ByteStream listing_text = {nullptr, &listing_text.head, nullptr, 0};
static bool listing_open;
static int32_t lines_on_page;
static int32_t page_number;

static void drop_listing()
{
    reset_stream(&listing_text);
    listing_open = false;
}

static void start_listing()
{
    listing_open = can_create_output(OutputKind::LISTING, listing_file_name);
    if (!listing_open) {
        list_state = 0;
        return;
    }
    page_number = 0;
    lines_on_page = page_length; // the first line begins a page
}

void reset_listing_for_pass()
{
    mlist_flag = false;
    dlist_flag = false;
    clist_flag = false;
    void_requests_seen = void_requests;
}

bool lists_only_errors()
{
    return list_state == (LIST_ON | LIST_EXPANSION) && void_requests == void_requests_seen;
}

void switch_listing(bool on)
{
    if (on) {
        list_state &= ~LIST_OFF;
        void_requests_seen = void_requests;
    } else {
        list_state |= LIST_OFF;
    }
}

void open_listing(bool lists)
{
    drop_listing();
    drop_verilog();
    if (pass_number == 0) {
        forget_titles();
        paginate = settings.opt_force_title;
    }
    rewind_titles();
    list_state = pass_number != 0 && lists ? LIST_ON : 0;
    if (list_state == LIST_ON)
        start_listing();
    if (list_state != 0)
        open_verilog();
}

// The head of a page; the number of lines that it counts for.
static int32_t print_page_head()
{
    const auto look_ahead = line_ordinal + static_cast<uint32_t>(page_length) - 6;
    advance_titles(look_ahead);
    const int name_length = static_cast<int>(std::strlen(source_file_name));
    if (const char *title = title_in_force(look_ahead)) {
        const int width = LINE_WIDTH - (name_length + 30);
        print_to(&listing_text, "%s %-*.*s %s page %d\n", time_stamp, width, width, title,
                 source_file_name, page_number);
    } else if (settings.opt_force_title) {
        const int width = std::max(LINE_WIDTH - (name_length + 10), 11);
        print_to(&listing_text, "%-*.*s %s page %d\n", width, width, time_stamp, source_file_name,
                 page_number);
    } else {
        return BARE_HEAD_LINES;
    }
    int32_t lines = HEAD_LINES;
    if (const char *subtitle = subtitle_in_force(look_ahead)) {
        print_to(&listing_text, "%s\n", subtitle);
        ++lines;
    }
    stream_put_text(&listing_text, "\n\n");
    return lines;
}

// Called ahead of each line of the listing: begins a new page when the present one is full.
static void page_check()
{
    if (!paginate || page_length < PAGE_LENGTH_MIN)
        return;
    // A page may be as long as a number can say, and is then never full.
    if (lines_on_page < page_length) {
        ++lines_on_page;
        return;
    }
    if (!settings.opt_formfeed)
        stream_put_text(&listing_text, "\n\n");
    else if (page_number != 0)
        stream_put_text(&listing_text, "\f");
    ++page_number;
    lines_on_page = print_page_head();
}

void list_error()
{
    if (error_pending() && !pass_must_repeat) {
        page_check();
        stream_put_text(&listing_text, "******** ERROR:  " + pending_text() + "  ********\n");
    }
    flush_listed_error();
}

static bool shows_address()
{
    return listed_line.shows_address == LineAddress::ALWAYS ||
           (listed_line.shows_address == LineAddress::WITH_BYTES && listed_line.byte_count != 0);
}

void list_line()
{
    page_check();
    const uint32_t line_number = settings.opt_xref ? line_ordinal : current_line();
    char columns[64];
    char *end = write_number(columns, static_cast<int32_t>(line_number), 4);
    end = std::fill_n(end, 2, ' ');
    if (shows_address())
        end = write_hex(end, listed_line.address, ADDRESS_DIGITS);
    else
        end = std::fill_n(end, ADDRESS_DIGITS, ' ');
    *end++ = ' ';
    const uint32_t shown = std::min(listed_line.byte_count, BYTES_PER_LINE);
    for (uint32_t i = 0; i < shown; ++i)
        end = write_hex(end, listed_line.bytes[i], 2);
    end = std::fill_n(end, 2 * (BYTES_PER_LINE - shown) + 2, ' ');
    stream_put_text(&listing_text, {columns, end});
    stream_put_text(&listing_text, listed_line.start);
    list_error();
}

void list_expanded_error(const char *line)
{
    page_check();
    print_to(&listing_text, "%4ld  --- (expanded) --- %s",
             static_cast<long>(static_cast<int32_t>(current_line())), line);
    list_error();
}

void list_switch_line(std::string_view name)
{
    static char switch_line[528]; // a name fills a line of source at most

    std::snprintf(switch_line, sizeof switch_line, "\tswitch\t%.*s\n",
                  static_cast<int>(name.size()), name.data());
    listed_line.start = switch_line;
}

bool fits_listing()
{
    return (list_state & ~LIST_SKIP_LINE) == LIST_ON && void_requests == void_requests_seen;
}

void turn_pages_on()
{
    paginate = true;
}

void set_page_length(int32_t lines)
{
    page_length = lines;
}

void list_blank_lines(int32_t count)
{
    for (; count > 0; --count) {
        page_check();
        stream_put_text(&listing_text, "\n");
    }
}

void eject_page()
{
    if (!fits_listing() || !paginate || lines_on_page >= page_length)
        return;
    if (settings.opt_formfeed) {
        lines_on_page = page_length;
        page_check();
    } else {
        list_blank_lines(page_length - lines_on_page);
    }
}

static void end_last_page()
{
    if (!paginate)
        return;
    if (settings.opt_formfeed) {
        stream_put_text(&listing_text, "\f");
        return;
    }
    for (; lines_on_page < page_length; ++lines_on_page)
        stream_put_text(&listing_text, "\n");
}

void close_listing()
{
    if (listing_open) {
        if (settings.opt_xref)
            list_symbols(&listing_text);
        end_last_page();
        place_output(OutputKind::LISTING, listing_file_name, listing_text);
    }
    drop_listing();
    close_verilog();
}
