// The assembler has no fix-up lists: it runs over the whole text until no label moves. A clean file
// takes a sizing pass (0), passes 1 to n, the last of which moved nothing, and, when a listing is
// wanted and branches are optimised, one pass more that does nothing new but list.

#include "driver/passes.h"

#include "driver/debug_prologue.h"
#include "driver/file_names.h"
#include "driver/option_record.h"
#include "driver/settings.h"
#include "expr/symbol_table.h"
#include "input/conditional.h"
#include "input/input_stack.h"
#include "input/macro.h"
#include "listing/diagnostics.h"
#include "listing/listing.h"
#include "output/debug_info.h"
#include "output/object_file.h"
#include "output/resolver.h"
#include "output/section_table.h"
#include "stmt/statement.h"
#include <cstdio>

int32_t pass_number;
int32_t pass_must_repeat;
int32_t forced_pass_flags;
void (*target_pass_hook)();

// listing_enabled is held here while the optimising passes run.
static int32_t listing_deferred;

// Lines of the main source as counted by the pass before; 0 ahead of the first pass of the run.
static uint32_t source_line_total;

constexpr int32_t BRANCH_OPTIMISATION = 1;
constexpr int32_t EXTRA_PASS = 2;

// The object file has one byte for the number of its sections.
constexpr int32_t SECTIONS_MAX = 255;

// Labels that still move after so many passes will never settle: some pair of decisions undoes
// itself for ever.
constexpr int32_t PASSES_MAX = 1000;

bool values_must_settle()
{
    return pass_number != 0 && (error_count == 0 || pass_number == 1);
}

void request_another_pass()
{
    pass_must_repeat = 1;
    list_state |= LIST_OFF;
}

static void reset_pass_state()
{
    pass_must_repeat = 0;
    mlist_flag = 0;
    dlist_flag = 0;
    clist_flag = 0;
    last_label = nullptr;
    forced_pass_flags &= BRANCH_OPTIMISATION;
    scope_number = 0;

    reset_sections_for_pass();
    reset_input();
    reset_debug_records();
    write_info_header();
    reset_macro_state();
    if (target_pass_hook != nullptr)
        target_pass_hook();
}

// A missing source says nothing in the sizing pass and is told and counted by the pass behind it.
// The error that open_include recorded stays pending: the next source file of the command line
// prints it, at its first statement.
static void report_missing_source()
{
    if (pass_number++ == 0)
        return;
    std::fprintf(error_stream, messages[MSG_CANT_OPEN], source_file_name);
    std::fputc('\n', error_stream);
    ++error_count;
    if (listing_deferred) {
        listing_deferred = 0;
        listing_enabled = 1;
    }
}

static void close_debug_scopes()
{
    leave_offset_section();
    debug_end_of_file(source_file_name, source_line_total);
}

// One pass over the source. The result is not 0 when another pass is needed.
static int32_t run_pass()
{
    reset_pass_state();
    if (!open_include(source_file_name)) {
        report_missing_source();
        return 0;
    }
    open_listing();
    // The header lies on top of the source, so its lines come first.
    if (header_file_name != nullptr && !open_include(header_file_name))
        flush_error(nullptr);
    if (debug_lines)
        expand_debug_prologue(source_line_total);

    while (const char *line = next_line())
        process_statement(line);

    source_line_total = current_line();
    if (debug_lines)
        close_debug_scopes();
    if (pass_number != 0)
        pad_even_sections();
    close_open_conditionals();
    ++pass_number;
    if (!pass_must_repeat && (forced_pass_flags & EXTRA_PASS) && error_count == 0) {
        forced_pass_flags = 0;
        pass_must_repeat = 1;
    }
    return pass_must_repeat;
}

// The greatest room for sections asked for with `new`: merges them in groups, the smallest that
// will do, and sizes the source once more.
static void merge_new_sections()
{
    const int32_t room = new_section_counter - section_count + SECTIONS_MAX;
    const int32_t wanted = new_section_counter;
    new_section_group = 2;
    while (new_section_group < wanted && wanted / new_section_group >= room)
        ++new_section_group;
    reset_symbols();
    init_sections();
    pass_number = 0;
    run_pass();
}

static void handle_section_overflow()
{
    if (new_section_counter > section_count - SECTIONS_MAX)
        merge_new_sections();
    if (section_count > SECTIONS_MAX)
        print_direct_error(current_file_name(), current_line(), messages[MSG_TOO_MANY_SECTIONS], 0,
                           nullptr);
}

// Passes until nothing moves. At least one runs.
static void run_passes_until_settled()
{
    int32_t passes = 0;
    while (run_pass()) {
        if (++passes < PASSES_MAX)
            continue;
        pass_must_repeat = 0;
        record_error("labels do not settle", 0, nullptr);
        flush_error(nullptr);
        return;
    }
}

static void hold_listing_back()
{
    listing_deferred = listing_enabled && !opt_no_branch_opt;
    if (listing_deferred)
        listing_enabled = 0;
    forced_pass_flags = opt_no_branch_opt ? 0 : BRANCH_OPTIMISATION;
}

static void run_listing_pass()
{
    if (!listing_deferred)
        return;
    listing_enabled = 1;
    run_pass();
}

int32_t assemble_source_file()
{
    derive_file_names();
    forget_files();
    init_sections();
    pass_number = 0;
    error_count = 0;
    new_section_group = 0;
    hold_listing_back();

    run_pass();
    if (opt_make_deps) {
        std::fputc('\n', stdout);
        return 0;
    }
    if (section_count > SECTIONS_MAX)
        handle_section_overflow();
    resolve_symbols();
    run_passes_until_settled();
    run_listing_pass();
    report_broken_numbering();
    if (error_count == 0) {
        write_option_record();
        write_object_file();
    }
    close_listing();
    return error_count;
}
