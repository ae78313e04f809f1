// How the sizes settle.
//
// An STM8 branch reaches 128 bytes back and 127 ahead; what lies further takes a longer form, and
// how far a label lies depends on the forms of all branches on the way. There are no fix-up lists
// and no expression trees. The assembler runs over the whole text again and again, and in each pass
// chooses every form anew from the values that the symbols have at that moment: those of this pass
// for labels above, those of the pass before for labels below. A pass in which a label or equate
// got another value than it held is void. The first pass that moves nothing is the result, since
// what it assumed of the labels below is what it then found there.
//
//     start:  jra far
//             ds.b 20
//             jrne far        ; at 24
//             ds.b 300
//     far:    nop
//
// In the sizing pass, number 0, `far` is unknown and everything takes its longest form: `jra`
// becomes a jpf of 4 bytes, `jrne` a jreq over a jpf, 6 bytes, and `far` gets the value 330. Pass 1
// finds 330 too far for both. The jump stays and is noted (target/branch_record); the branch finds
// that jump 26 bytes above it and hops through it: 26 E6, 2 bytes. `far` is now met at 326, so pass
// 1 is void. Pass 2 chooses the same forms for 326, meets `far` at 326, and stands.
//
// A label that settles in pass n lets those above it settle in pass n + 1, so long programs take
// many passes. Those that would read the same text as the one before, the sizing pass among them,
// run over a record of what it decided (target/replay.cpp), and the text is assembled once more at
// the end. Labels that decide conditions may walk in a circle instead, which the fingerprint of the
// state shows. When a listing is wanted and branches are optimised, one pass more does the same
// again and lists.

#include "driver/passes.h"

#include "base/diagnostics.h"
#include "base/file_names.h"
#include "base/line_context.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/settings.h"
#include "base/warnings.h"
#include "driver/debug_prologue.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "input/conditional.h"
#include "input/input_stack.h"
#include "input/macro.h"
#include "listing/listing.h"
#include "output/debug_info.h"
#include "output/layout_record.h"
#include "output/section_table.h"
#include "stmt/section_stacks.h"
#include "stmt/statement.h"
#include "target/replay.h"
#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <vector>

#ifdef NVASM8_CHECK_REPLAY
constexpr bool checks_replay = true;
#else
constexpr bool checks_replay = false;
#endif

// The word of which a target may set bit 1 to have one pass more; this one doesn't.
constexpr int32_t BRANCH_OPTIMISATION = 1;
constexpr int32_t EXTRA_PASS = 2;
static int32_t forced_pass_flags;

// Whether a pass that lists is due after the others, and whether the present one may list.
static bool listing_deferred;
static bool listing_allowed;

// Whether this source file was reported as missing.
static bool missing_source_reported;

// Lines of the main source as counted by the pass before; 0 ahead of the first pass of the run.
static uint32_t source_line_total;

// Values that come back to those of an earlier pass never settle: some pair of decisions undoes
// itself for ever. Values that drift without end are given up after so many passes, and one more
// for each symbol, since a chain of definitions in reverse order settles one symbol a pass.
constexpr uint32_t DRIFTING_PASSES_MAX = 1000;

void prepare_passes()
{
    listing_deferred = settings.listing_enabled && !settings.opt_no_branch_opt;
    listing_allowed = settings.listing_enabled && settings.opt_no_branch_opt;
    forced_pass_flags = settings.opt_no_branch_opt ? 0 : BRANCH_OPTIMISATION;
    missing_source_reported = false;
}

static void reset_state_for_pass()
{
    begin_pass();
    drop_warnings();
    forced_pass_flags &= BRANCH_OPTIMISATION;
    reset_listing_for_pass();
    reset_statements_for_pass();
    reset_symbols_for_pass();
    reset_sections_for_pass();
    reset_input();
    reset_debug_records();
    write_info_header();
    reset_macro_state();
}

// A missing source says nothing in the sizing pass and is reported and counted by the pass after
// it; one that the host failed to open is reported at once. The error that open_main_source
// recorded stays pending: the next source file of the command line prints it, at its first
// statement.
static void report_missing_source()
{
    if (pass_number++ == 0 && !input_failed())
        return;
    if (!missing_source_reported)
        report_without_line(messages::CANT_OPEN, source_file_name);
    missing_source_reported = true;
    listing_deferred = false;
}

static void close_debug_scopes()
{
    leave_offset_section();
    debug_end_of_file(source_file_name, source_line_total);
}

bool run_pass()
{
    reset_state_for_pass();
    if (!open_main_source(source_file_name)) {
        report_missing_source();
        return false;
    }
    open_listing(listing_allowed);
    // The header lies on top of the source, so its lines come first.
    if (settings.header_file_name != nullptr && !open_include(settings.header_file_name))
        flush_error();
    if (debug_lines)
        expand_debug_prologue(source_line_total);

    while (const char *line = next_line())
        process_statement(line);

    source_line_total = current_line();
    forget_statement_text();
    warn_of_open_body();
    if (debug_lines)
        close_debug_scopes();
    if (pass_number != 0)
        pad_even_sections();
    close_open_conditionals();
    end_pass();
    if (!pass_must_repeat && (forced_pass_flags & EXTRA_PASS) && error_count == 0) {
        forced_pass_flags = 0;
        pass_must_repeat = true;
    }
    return pass_must_repeat;
}

// A fingerprint of what tells the next pass how to read the text.
static uint64_t hash_reading_state()
{
    const RecordingState recording = recording_state();
    uint64_t hash = mix(default_base, static_cast<uint32_t>(recording.form));
    if (recording.form == RepeatForm::COUNT)
        hash = mix(hash, static_cast<uint32_t>(recording.count));
    hash = mix(hash, static_cast<uint32_t>(recording.macro_nesting));
    return mix(hash, static_cast<uint32_t>(recording.repeat_nesting));
}

// The same of all that a pass hands on to the next beside the symbols.
static uint64_t hash_carried_state()
{
    return mix(hash_reading_state(), hash_debug_records());
}

// What the passes move. The values are added up, so that replay can tell what its changes come to.
struct State {
    uint64_t values;
    uint64_t kinds;
    uint32_t symbols; // how many there are
};

static State look_at_symbols()
{
    State state = {0, hash_carried_state(), static_cast<uint32_t>(symbols_by_age.size())};
    for (const Section *section = section_list; section != nullptr; section = section->next)
        state.values += state_weight(section) * section->base_address;
    for (const Symbol *symbol : symbols_by_age) {
        state.values += state_weight(symbol) * symbol->value;
        state.kinds = mix(state.kinds, uint32_t{symbol->flags} << 16 |
                                           uint32_t{symbol->attrs} << 8 | symbol->section_number);
        if (symbol->flags & SYM_ALIAS)
            state.kinds = mix(state.kinds, reinterpret_cast<uintptr_t>(symbol->link));
    }
    return state;
}

static void report_unsettled_labels()
{
    pass_must_repeat = false;
    record_error("labels do not settle");
    flush_error();
}

// Follows the state after each void pass. The one after the last pass whose number was a power of
// two is remembered: a circle of any length is thus found within twice the passes that lead into it
// and round it.
struct Course {
    uint32_t passes;
    uint32_t passes_max; // as of the last text pass: it knows how many symbols there are
    uint32_t remembered_pass;
    uint64_t remembered_state;
};

// Notes one void pass more. False if the passes will never end.
static bool advance(Course *course, uint64_t state)
{
    ++course->passes;
    const bool repeats = course->passes > 1 && state == course->remembered_state;
    if (repeats || course->passes >= course->passes_max)
        return false;
    if (course->passes == course->remembered_pass) {
        course->remembered_state = state;
        course->remembered_pass *= 2;
    }
    return true;
}

// What the sizing pass must leave as it found it if the one after it is to be replayed.
static uint64_t hash_sizing_boundary()
{
    return mix(mix(hash_reading_state(), hash_saved_sections()), line_directive_position.bias);
}

// The same for any other pass.
static uint64_t hash_pass_boundary()
{
    uint64_t hash = mix(hash_sizing_boundary(), hash_debug_records());
    for (const Section *section = section_list; section != nullptr; section = section->next)
        hash = mix(hash, section->base_address);
    return hash;
}

enum class Replays { SETTLED, DIVERGED, ENDLESS };

static Replays follow_replays(Course *course, State state)
{
    for (;;) {
        const ReplayResult result = replay_pass(&state.values);
        if (result != ReplayResult::MOVED)
            return result == ReplayResult::SETTLED ? Replays::SETTLED : Replays::DIVERGED;
        ++pass_number;
        if (!advance(course, state.kinds + state.values))
            return Replays::ENDLESS;
    }
}

// Passes over the record of the pass before, which was void or the sizing pass. Chains of equates
// settle at once if that leads to the end, and otherwise link by link, as they do in text passes.
static Replays run_replays(Course *course, State state)
{
    const Course course_before = *course;
    const int32_t pass_before = pass_number;
    const bool must_settle = begin_replay(true);
    const Replays replays = follow_replays(course, state);
    if (!must_settle || replays == Replays::SETTLED)
        return replays;
    *course = course_before;
    pass_number = pass_before;
    begin_replay(false);
    return follow_replays(course, state);
}

// Whether replay can take the place of the text passes to come. It can't where a pass hands on
// something else than it was handed, or read another text than the pass before.
static bool can_replay(uint64_t state_at_head)
{
    const bool recorded = finish_layout_record();
    if (!recorded || text_has_changed() || error_count != 0 ||
        state_at_head != hash_pass_boundary())
        return false;
    if (checks_replay)
        check_replay();
    return true;
}

// Whether the passes of this source may be replayed.
static bool replays_passes()
{
    return !settings.opt_no_branch_opt && !settings.replay_off;
}

// Whether the sizing pass has left a record that the passes after it can be replayed from.
static bool sizing_recorded;

void run_sizing_pass()
{
    const uint64_t state_at_head = hash_sizing_boundary();
    if (replays_passes())
        begin_layout_record();
    run_pass();
    // Under -u the passes after it record errors that it can't know of.
    sizing_recorded = replays_passes() && finish_sizing_record() && connect_forward_branches() &&
                      hash_sizing_boundary() == state_at_head && !settings.undefined_in_listing;
}

// Relocations with higher numbers are errors, which only the passes that store them record.
static bool numbers_fit_relocations()
{
    return std::ranges::all_of(
        symbols_by_age, [](const Symbol *symbol) { return symbol->object_index <= UINT16_MAX; });
}

// Replays the passes that follow the sizing pass, up to one that moves nothing. False, with nothing
// changed, if they don't come to one: then they are run as text, and tell why.
static bool replay_from_sizing()
{
    if (!sizing_recorded || error_count != 0 || !numbers_fit_relocations())
        return false;
    State state = look_at_symbols();
    Course course = {0, DRIFTING_PASSES_MAX + state.symbols, 1, 0};
    if (run_replays(&course, state) != Replays::SETTLED) {
        pass_number = 1;
        return false;
    }
    store_replayed_values();
    return true;
}

// The text passes after the sizing pass, and replays of those that are recorded if `records`.
static void run_passes(bool records)
{
    Course course = {0, 0, 1, 0};
    for (;;) {
        uint64_t state_at_head = 0;
        if (records) {
            state_at_head = hash_pass_boundary();
            begin_layout_record();
        }
        if (!run_pass())
            break;
        const State state = look_at_symbols();
        course.passes_max = DRIFTING_PASSES_MAX + state.symbols;
        if (!advance(&course, state.kinds + state.values)) {
            report_unsettled_labels();
            break;
        }
        if (!records || !can_replay(state_at_head))
            continue;
        const Replays replays = run_replays(&course, state);
        store_replayed_values();
        if (replays == Replays::ENDLESS) {
            report_unsettled_labels();
            break;
        }
        // Now the text pass to which the last replay came; it moves nothing.
        records = replays != Replays::SETTLED;
    }
}

static std::vector<uint32_t> symbol_values()
{
    std::vector<uint32_t> values;
    std::ranges::transform(symbols_by_age, std::back_inserter(values), &Symbol::value);
    return values;
}

// Goes the long way, too, which must come to the same without an error.
static void check_replay_from_sizing(const std::vector<uint32_t> &values_before)
{
    const std::vector<uint32_t> settled = symbol_values();
    for (size_t i = 0; i < values_before.size(); ++i)
        symbols_by_age[i]->value = values_before[i];
    pass_number = 1;
    run_passes(true);
    if (error_count != 0 || symbol_values() != settled)
        std::abort();
}

void run_passes_until_settled()
{
    std::vector<uint32_t> values_before;
    if (checks_replay)
        values_before = symbol_values();
    const bool settled = replay_from_sizing();
    if (settled && checks_replay)
        check_replay_from_sizing(values_before);
    else
        run_passes(replays_passes() && !settled);
    drop_layout_record();
}

void run_listing_pass()
{
    if (!listing_deferred)
        return;
    listing_allowed = true;
    run_pass();
}
