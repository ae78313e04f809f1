// What happens to one source file: it is sized, assembled until nothing moves and everything has
// its number, and if no error was counted its object is put in place.

#include "driver/source_file.h"

#include "base/diagnostics.h"
#include "base/file_names.h"
#include "base/output_files.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/settings.h"
#include "base/warnings.h"
#include "driver/option_record.h"
#include "driver/passes.h"
#include "explain/source_warnings.h"
#include "expr/lexer.h"
#include "expr/name_places.h"
#include "expr/symbol_table.h"
#include "input/input_stack.h"
#include "input/macro.h"
#include "listing/depfile.h"
#include "listing/listing.h"
#include "listing/side_outputs.h"
#include "output/debug_info.h"
#include "output/layout_record.h"
#include "output/object_file.h"
#include "output/resolver.h"
#include "output/section_table.h"
#include "stmt/section_stacks.h"
#include "target/target.h"
#include <cstdio>
#include <cstring>

// The object file has one byte for the number of its sections.
constexpr int32_t SECTIONS_MAX = 255;

// Sections and symbols whose need shows only in a later pass may bring up others in turn, but not
// without end.
constexpr int32_t SIZING_PASSES_MAX = 100;

// Extensions that begin so are those of generated code, which brings debug information of its own.
static bool is_generated_source(const char *name)
{
    const char *dot = std::strrchr(name, '.');
    return dot != nullptr && dot[1] == 'n' && dot[2] == 'v';
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
    forget_source_file();
    forget_section_stacks();
    init_sections();
    pass_number = 0;
    run_sizing_pass();
}

static void handle_section_overflow()
{
    if (new_section_counter > section_count - SECTIONS_MAX)
        merge_new_sections();
    if (section_count > SECTIONS_MAX)
        print_direct_error(current_file_name(), current_line(), messages::TOO_MANY_SECTIONS);
}

// What no pass resets, as a source file finds it.
struct CarriedState {
    uint32_t default_base;
    LineDirective line_directive;
    RecordingState recording;
};
static CarriedState carried_state;

static void note_carried_state()
{
    carried_state = {default_base, line_directive_position, recording_state()};
}

static void size_source()
{
    run_sizing_pass();
    if (section_count > SECTIONS_MAX)
        handle_section_overflow();
}

// Starts the source file over. Nothing of it stays but what find_late_needs has remembered, and how
// `new` sections are merged.
static void size_source_again()
{
    default_base = carried_state.default_base;
    line_directive_position = carried_state.line_directive;
    restore_recording_state(carried_state.recording);
    undo_macros();
    forget_source_file();
    // Each time turns the order of the kept symbols round: now it is again that of the first
    // sizing.
    reset_symbols();
    forget_name_places();
    forget_files();
    forget_section_stacks();
    init_sections();
    restart_passes();
    prepare_passes();
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
    if (error_count == 0 || !passes_differ()) {
        release_messages();
        return;
    }
    size_source_again();
    forgive_void_passes(true);
    run_passes_until_numbered(false);
    forgive_void_passes(false);
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
        build_object_file(target_machine);
    }
    if (has_object_file())
        build_depfile();
    close_listing();
    if (!flush_standard_output())
        ++error_count;
    if (error_count != 0 || !has_object_file())
        return;
    place_object_file();
    if (error_count == 0)
        place_depfile();
}

// Under -md the sizing pass writes the rule, and nothing else happens.
static int32_t finish_rule()
{
    run_pass();
    std::fputc('\n', stdout);
    report_missed_file();
    return input_failed() ? error_count : 0;
}

// Warnings come ahead of the outputs, which they may forbid.
static void tell_warnings()
{
    warn_of_names();
    const int32_t count = print_warnings();
    if (settings.warnings_count)
        error_count += count;
}

int32_t assemble_source_file()
{
    derive_file_names();
    if (is_generated_source(source_file_name))
        debug_lines = false;
    forget_files();
    reset_depfile();
    forget_late_needs();
    forget_section_stacks();
    init_sections();
    note_carried_state();
    reset_passes_for_file();
    new_section_group = 0;
    prepare_passes();
    if (settings.opt_make_deps) {
        begin_rule(object_file_name);
        const int32_t errors = finish_rule();
        print_queued_messages();
        return errors;
    }
    size_source();
    assemble_sized_source();
    run_listing_pass();
    if (error_count == 0)
        report_broken_numbering();
    report_missed_file();
    tell_warnings();
    finish_outputs();
    print_queued_messages();
    return error_count;
}

void forget_source_file()
{
    drop_layout_record();
    forget_macros();
    reset_symbols();
    forget_name_places();
}
