// The assembler has no fix-up lists: it runs over the whole text until no label moves. A clean file
// takes a sizing pass (0), passes 1 to n, the last of which moved nothing, and, when a listing is
// wanted and branches are optimised, one pass more that does nothing new but list.

#include "driver/passes.h"

#include "driver/debug_prologue.h"
#include "driver/file_names.h"
#include "driver/option_record.h"
#include "driver/settings.h"
#include "expr/keyword_table.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "input/conditional.h"
#include "input/input_stack.h"
#include "input/macro.h"
#include "listing/diagnostics.h"
#include "listing/listing.h"
#include "output/debug_info.h"
#include "output/object_file.h"
#include "output/output_files.h"
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

// Whether this source file was reported as missing.
static bool missing_source_told;

// Lines of the main source as counted by the pass before; 0 ahead of the first pass of the run.
static uint32_t source_line_total;

constexpr int32_t BRANCH_OPTIMISATION = 1;
constexpr int32_t EXTRA_PASS = 2;

// The object file has one byte for the number of its sections.
constexpr int32_t SECTIONS_MAX = 255;

// Values that come back to those of an earlier pass never settle: some pair of decisions undoes
// itself for ever. Values that drift without end are given up after so many passes, and one more
// for each symbol, since a chain of definitions in reverse order settles one symbol a pass.
constexpr uint32_t DRIFTING_PASSES_MAX = 1000;

// Sections and symbols whose need shows only in a later pass may bring up others in turn, but not
// without end.
constexpr int32_t SIZING_PASSES_MAX = 100;

bool sizing_repeated;

// How many void passes may still have errors that don't count, however far the pass had come when
// it turned out void. What looks wrong only because a symbol comes late is right a pass later.
constexpr int32_t FORGIVEN_PASSES_MAX = 8;
static int32_t forgiven_passes_left;

// A fingerprint of what decided which text this pass assembles, that of the pass before, and
// whether two passes have differed in their text or in the sections of their symbols.
static uint64_t text_decisions;
static uint64_t last_text_decisions;
static bool passes_differ;

bool values_must_settle()
{
    return pass_number != 0 && (error_count == 0 || pass_number == 1 || forgiven_passes_left != 0);
}

bool uses_must_settle()
{
    return pass_number != 0 && (error_count == 0 || forgiven_passes_left != 0);
}

static uint64_t mix(uint64_t hash, uint64_t value)
{
    hash = (hash ^ value) * 0x9E3779B97F4A7C15;
    return hash ^ hash >> 29;
}

void note_text_decision(uint32_t decision)
{
    text_decisions = mix(text_decisions, decision);
}

void note_unlike_passes()
{
    passes_differ = true;
}

void request_another_pass()
{
    pass_must_repeat = 1;
    list_state |= LIST_OFF;
}

static void reset_pass_state()
{
    pass_must_repeat = 0;
    text_decisions = 1;
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

// A missing source says nothing in the sizing pass and is told and counted by the pass behind it;
// one that the host failed to open is told at once. The error that open_main_source recorded stays
// pending: the next source file of the command line prints it, at its first statement.
static void report_missing_source()
{
    if (pass_number++ == 0 && !input_failed())
        return;
    if (!missing_source_told)
        report_without_line(messages[MSG_CANT_OPEN], source_file_name);
    missing_source_told = true;
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
    if (!open_main_source(source_file_name)) {
        report_missing_source();
        return 0;
    }
    open_listing();
    // The header lies on top of the source, so its lines come first.
    if (header_file_name != nullptr && !open_include(header_file_name))
        flush_error(nullptr);
    if (debug_lines)
        expand_debug_prologue(source_line_total);

    const int32_t errors_before = error_count;
    while (const char *line = next_line())
        process_statement(line);

    source_line_total = current_line();
    if (debug_lines)
        close_debug_scopes();
    if (pass_number != 0)
        pad_even_sections();
    close_open_conditionals();
    if (pass_must_repeat && forgiven_passes_left != 0 && error_count != errors_before) {
        error_count = errors_before;
        --forgiven_passes_left;
    }
    passes_differ = passes_differ || (pass_number != 0 && text_decisions != last_text_decisions);
    last_text_decisions = text_decisions;
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
    undo_macros();
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

// A fingerprint of all that the next pass depends on.
static uint64_t hash_state()
{
    const RecordingState recording = recording_state();
    uint64_t hash = mix(default_base, hash_debug_records());
    hash = mix(hash, static_cast<uint32_t>(recording.repeat_code));
    hash = mix(hash, static_cast<uint32_t>(recording.macro_nesting));
    hash = mix(hash, static_cast<uint32_t>(recording.repeat_nesting));
    for (const Section *section = section_list; section != nullptr; section = section->next)
        hash = mix(hash, section->base_address);
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        hash = mix(hash, uint64_t{symbol->value} << 32 | uint32_t{symbol->flags} << 16 |
                             uint32_t{symbol->attrs} << 8 | symbol->section_number);
        if (symbol->flags & SYM_ALIAS)
            hash = mix(hash, reinterpret_cast<uintptr_t>(symbol->link));
    }
    return hash;
}

static uint32_t count_symbols()
{
    uint32_t count = 0;
    for (const Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next)
        ++count;
    return count;
}

static void report_unsettled_labels()
{
    pass_must_repeat = 0;
    record_error("labels do not settle", 0, nullptr);
    flush_error(nullptr);
}

// Passes until nothing moves. At least one runs. The state after a pass is compared with that after
// the last pass whose number was a power of two: a circle of any length is thus found within twice
// the passes that lead into it and round it.
static void run_passes_until_settled()
{
    uint32_t passes = 0;
    uint32_t remembered_pass = 1;
    uint64_t remembered_state = 0;
    while (run_pass()) {
        ++passes;
        const uint64_t state = hash_state();
        const bool repeats = passes > 1 && state == remembered_state;
        if (repeats || passes >= DRIFTING_PASSES_MAX + count_symbols()) {
            report_unsettled_labels();
            return;
        }
        if (passes == remembered_pass) {
            remembered_state = state;
            remembered_pass *= 2;
        }
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

// What no pass resets, as a source file finds it.
struct CarriedState {
    uint32_t default_base;
    const char *line_directive_file;
    uint32_t line_directive_bias;
    RecordingState recording;
};
static CarriedState carried_state;

static void note_carried_state()
{
    carried_state = {default_base, line_directive_file, line_directive_bias, recording_state()};
}

static void size_source()
{
    run_pass();
    if (section_count > SECTIONS_MAX)
        handle_section_overflow();
}

// Starts the source file over. Nothing of it stays but what find_late_needs has remembered, and how
// `new` sections are merged.
static void size_source_again()
{
    default_base = carried_state.default_base;
    line_directive_file = carried_state.line_directive_file;
    line_directive_bias = carried_state.line_directive_bias;
    restore_recording_state(carried_state.recording);
    undo_macros();
    reset_symbols();
    forget_files();
    init_sections();
    pass_number = 0;
    error_count = 0;
    sizing_repeated = true;
    size_source();
}

// Passes until the object is right, or errors keep it from being written. The source is sized again
// as long as the passes need sections or symbols that have no number.
static void run_passes_until_numbered(bool report_undefined_at_once)
{
    for (int32_t sizings = 1;; ++sizings) {
        resolve_symbols(report_undefined_at_once);
        run_passes_until_settled();
        if (error_count != 0 || sizings == SIZING_PASSES_MAX || !find_late_needs())
            break;
        size_source_again();
    }
    if (error_count == 0)
        report_late_undefined();
}

// Where the passes differ, what looks wrong in one of them may be right in the one that counts: a
// symbol is defined behind a condition that only later passes answer so, a branch meets its label
// in a section that only later passes select. Such a source gets a second chance without a word, in
// which only the settled pass is judged; if it fails that, too, the first course is taken again.
static void assemble_sized_source()
{
    if (error_count != 0) {
        run_passes_until_numbered(true);
        return;
    }
    hold_messages();
    run_passes_until_numbered(true);
    if (error_count == 0 || !passes_differ) {
        release_messages();
        return;
    }
    size_source_again();
    forgiven_passes_left = FORGIVEN_PASSES_MAX;
    run_passes_until_numbered(false);
    forgiven_passes_left = 0;
    drop_messages();
    if (error_count == 0)
        return;
    size_source_again();
    run_passes_until_numbered(true);
}

// The object is put in place last, when all that comes with it is where it should be.
static void finish_outputs()
{
    drop_object_file();
    if (error_count == 0) {
        write_option_record();
        build_object_file();
    }
    close_listing();
    if (!flush_standard_output())
        ++error_count;
    if (error_count == 0)
        place_object_file();
}

int32_t assemble_source_file()
{
    derive_file_names();
    forget_files();
    forget_late_needs();
    init_sections();
    note_carried_state();
    pass_number = 0;
    error_count = 0;
    new_section_group = 0;
    sizing_repeated = false;
    passes_differ = false;
    missing_source_told = false;
    hold_listing_back();

    if (opt_make_deps) {
        run_pass();
        std::fputc('\n', stdout);
        report_missed_file();
        return input_failed() ? error_count : 0;
    }
    size_source();
    assemble_sized_source();
    run_listing_pass();
    if (error_count == 0)
        report_broken_numbering();
    report_missed_file();
    finish_outputs();
    return error_count;
}
