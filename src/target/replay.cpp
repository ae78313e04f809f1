// Most passes of a program with many branches differ in nothing but the values of labels. What such
// a pass decides stands in the layout record, so it needs no text: the steps are run in their order
// with the values of the moment, and every form is chosen by the function that the encoder asks. A
// guard that fails means that the text would now be read otherwise, and what has been done of the
// pass is taken back.
//
// Nor does a pass need every step. One that comes before all readers of what the pass before has
// moved does what it did then, so the pass begins at the first of these readers. As long as none of
// the steps concerned has a location, as in a chain of equates, the pass also ends at the last of
// them. When one with a location turns up after all, the pass begins again at its run, with the
// values at its head: a step that runs twice would otherwise read what steps below it have set.
//
// And most of what comes below only moves, for a run or for thousands of them (target/stretches.h).
// Once some hundred bytes have gone above, the labels ahead look too far from all but the shortest
// branches, as they did in the pass before, and the branches back keep their distances. A run of
// steps is passed over, its labels moved as they are, if nothing can tell this pass in it from the
// one before:
//
// - it moves towards the head of the section or not at all, and each label ahead is still near or
//   still far;
// - as many bytes above it as a branch reaches back all move by the same distance: the branches
//   back and the places of hops are what they were;
// - a jump to a label ahead goes by the value from the pass before. That lies behind all branches
//   that may hop through the jump, now and when the run was run last, so they don't mistake it for
//   a label that they have passed; and two labels ahead never have one value. Then what a branch
//   hops through doesn't depend on values at all.
//
// Steps without a location are passed over, too, if all that they compute is distances of places
// above them, and nothing between these places has been run since.

#include "target/replay.h"

#include "base/pass_state.h"
#include "expr/symbol_table.h"
#include "expr/value.h"
#include "output/layout_record.h"
#include "output/section_table.h"
#include "target/branch_choice.h"
#include "target/branch_record.h"
#include "target/layout_runs.h"
#include "target/stretches.h"
#include <algorithm>
#include <cstdlib>

// More than a branch reaches back, to a label or to a jump.
constexpr uint32_t REACH_BACK = 128;

// A jump that lies less than this above a branch may be near enough to hop to.
constexpr int32_t HOP_REACH = REACH_BACK - SHORT_LENGTH + 1;

// Below this no distance between two places of a section is taken for one the other way.
constexpr uint32_t PASSED_OVER_SIZE_MAX = 1U << 30;

// What the pass at hand knows of a section.
struct Track {
    uint32_t pass;       // number of the replayed pass that this is about
    bool notes_jumps;    // the jumps that the next step may hop through are recorded
    uint32_t apart_from; // from this least place on no jump goes by a value that may be mistaken,
    uint32_t even_from;  // and all has moved by the same distance
};
static std::vector<Track> tracks; // by the section's number
static uint32_t pass;

// How many bytes each step took when it was run last, and where in them stands a jump that others
// may hop through, counted from 1; 0 if none does.
static std::vector<uint32_t> lengths;
static std::vector<uint8_t> jumps;

// Whether the symbols of the cells are numbers by now, and the cells of those that the pass has
// turned into one.
static std::vector<bool> numbers;
static std::vector<uint32_t> turned;

// The steps that the pass has to run, and those that the next one will have to.
static Readers due;
static Readers due_next;

// Whether the pass has moved anything, and what that adds to the state.
static bool moved;
static uint64_t state_change;

static uint32_t value_of(const LayoutItem &item)
{
    return cell_value(item.source) + item.addend;
}

static void add_due_next(Readers steps)
{
    due_next.first = std::min(due_next.first, steps.first);
    due_next.last = std::max(due_next.last, steps.last);
}

// What is read by steps above the one that sets it, or by that one itself, they read in the next
// pass.
static void note_change(uint32_t cell)
{
    const Readers readers = layout_runs.readers[cell];
    const uint32_t setter = layout_runs.setters[cell];
    if (readers.first <= setter)
        add_due_next({readers.first, std::min(readers.last, setter)});
}

static void change_cell(uint32_t cell, uint32_t before, uint32_t value)
{
    note_change(cell);
    state_change += layout_runs.weights[cell] * (uint64_t{value} - before);
    set_cell_value(cell, value);
}

// Sets the cell of a step without a location. Those of its readers that come below read it in this
// pass.
static void set_cell(uint32_t cell, uint32_t value)
{
    const uint32_t before = cell_value(cell);
    if (before == value)
        return;
    due.last = std::max(due.last, layout_runs.readers[cell].last);
    change_cell(cell, before, value);
}

static void move_cell(uint32_t cell, uint32_t value)
{
    moved = moved || cell_value(cell) != value;
    set_cell(cell, value);
}

// False where the location counter would pass 4 GiB.
static bool take_room(uint32_t size)
{
    const uint32_t before = current_section->size;
    current_section->size += size;
    if (size != 0)
        current_section->flags |= SEC_USED;
    return current_section->size >= before;
}

// An `org` that would move the section itself, and what stands ahead of it, is left to the text.
static bool move_to(uint32_t address)
{
    const uint32_t base_address = current_section->base_address;
    const std::optional<uint32_t> room = room_to(address);
    if (current_section->base_address != base_address) {
        current_section->base_address = base_address;
        return false;
    }
    return room && take_room(*room);
}

static void take_branch(uint32_t step, const LayoutItem &item, uint32_t target)
{
    const uint32_t here = current_location();
    const BranchChoice choice = choose_branch_form(Branch{item.detail}, target, here);
    jumps[step] = 0;
    if (choice.serves_others) {
        record_jump(target, here + choice.jump_offset);
        jumps[step] = static_cast<uint8_t>(choice.jump_offset + 1);
    }
    current_section->size += choice.length;
}

static void place_label(uint32_t cell)
{
    const uint32_t location = current_location();
    const uint32_t before = cell_value(cell);
    if (before == location)
        return;
    moved = true;
    change_cell(cell, before, location);
}

// False if the pass can't go on, here and below.
static bool run_step_in_place(uint32_t step, const LayoutItem &item, uint32_t value)
{
    switch (item.step) {
    case LayoutStep::PLACE:
        set_cell_value(item.target, current_location());
        return true;
    case LayoutStep::LABEL:
        place_label(item.target);
        return true;
    case LayoutStep::RESERVE:
        return take_room(value * item.detail);
    case LayoutStep::ALIGN:
        return take_room(padding_to(value));
    case LayoutStep::ORG:
        return move_to(value);
    default: // BRANCH
        take_branch(step, item, value);
        return true;
    }
}

// An alias whose source is a number is one itself: the pass in which it becomes one is void. False
// if others than aliases have seen what it was.
static bool turn_into_number(uint32_t cell)
{
    if (numbers[cell])
        return true;
    if (layout_record.reads[cell] != 0)
        return false;
    numbers[cell] = true;
    turned.push_back(cell);
    moved = true;
    due.last = std::max(due.last, layout_runs.readers[cell].last);
    note_change(cell);
    state_change += layout_runs.weights[cell] << 32;
    return true;
}

static bool run_step_without_place(const LayoutItem &item)
{
    switch (item.step) {
    case LayoutStep::ASSIGN:
        set_cell(item.target, value_of(item));
        return true;
    case LayoutStep::EQUATE:
        if (item.detail != 0 && numbers[item.source]) {
            set_cell(item.target, value_of(item));
            return turn_into_number(item.target);
        }
        move_cell(item.target, value_of(item));
        return true;
    case LayoutStep::COMPUTE:
        set_cell(item.target,
                 compute(item.detail, cell_value(item.source), cell_value(item.addend)));
        return true;
    default: // GUARD
        return value_of(item) <= item.target;
    }
}

// A jump to a label below goes by the value that the label had in the pass before.
static uint32_t key_of_jump(uint32_t step, const LayoutItem &item)
{
    const uint32_t setter = layout_runs.setters[item.source];
    const bool is_below = setter != NO_STEP && setter > step;
    return (is_below ? cell_value_at_head(item.source) : cell_value(item.source)) + item.addend;
}

static void record_jumps(const Run &run)
{
    uint32_t here = run.start + current_section->base_address;
    for (uint32_t step = run.first; step < run.end; ++step) {
        const LayoutItem &item = layout_record.items[step];
        here += item.gap;
        if (jumps[step] != 0)
            record_jump(key_of_jump(step, item), here + jumps[step] - 1);
        here += lengths[step];
    }
}

// Records the jumps of runs that the pass hasn't run, as far as branches below may hop through
// them.
static void record_jumps_above(const Run &run)
{
    uint32_t number = run.above;
    uint32_t first = NO_RUN;
    for (; number != NO_RUN; number = layout_runs.runs[number].above) {
        const Run &above = *find_run(number);
        if (current_section->size - (above.start + above.size) > REACH_BACK)
            break;
        first = number;
    }
    for (number = first; number != NO_RUN; number = layout_runs.runs[number].below) {
        if (layout_runs.runs[number].first >= run.first)
            break;
        record_jumps(layout_runs.runs[number]);
    }
}

// Selects the section of the run. Where the pass hasn't been in it yet, all is as it was.
static Track *enter_section(const Run &run)
{
    current_section = layout_record.sections[run.home];
    Track *track = &tracks[run.home];
    if (track->pass != pass) {
        *track = {pass, false, run.least_place, run.least_place};
        current_section->size = run.start;
    }
    return track;
}

static void note_course(Run *run, Track *track, bool even, bool apart)
{
    if (!apart || run->odd)
        track->apart_from = run->least_end;
    if (!even || !apart || run->odd)
        track->even_from = run->least_end;
    run->regular = !run->odd && apart && run->least_place - track->apart_from > REACH_BACK;
}

static bool serves_when_near(Branch branch)
{
    return branch.kind() == BranchKind::JUMP ||
           (branch.kind() == BranchKind::UNCONDITIONAL && branch.has(Branch::IN_SECTION));
}

// Where the branch has come after a label that is still where it was, and looks near. No pass runs
// the branch for the sake of that label, so the next one must.
static bool has_come_near(uint32_t step, int32_t distance)
{
    if (distance > REACH_AHEAD)
        return false;
    add_due_next({step, step});
    return true;
}

// False if the branch may do something else in the next pass, though nothing changes around it: if
// it is a jump by a value that others may take for that of another label, or if it has come near.
// Notes what must hold for the run to be passed over.
static bool look_ahead(uint32_t step, uint32_t target, const Run &run, Ahead **ahead)
{
    const Tie tie = layout_runs.ties[step];
    if (tie != Tie::AHEAD && tie != Tie::FAR_AHEAD)
        return true;
    const LayoutItem &item = layout_record.items[step];
    const Branch branch = {item.detail};
    const uint32_t length = short_length(branch);
    const auto distance = static_cast<int32_t>(target - current_location() - length);
    if (tie == Tie::FAR_AHEAD)
        return !has_come_near(step, distance);
    const int32_t apart = serves_when_near(branch) ? HOP_REACH - int32_t{short_length(branch)}
                                                   : -static_cast<int32_t>(REACH_BACK);
    const bool is_near = distance <= REACH_AHEAD;
    const int32_t lowest = is_near ? apart : REACH_AHEAD + 1;
    const int32_t highest = is_near ? REACH_AHEAD : INT32_MAX;
    const uint32_t offset = current_section->size - run.start;
    *(*ahead)++ = {item.source, item.addend - offset - length - static_cast<uint32_t>(lowest),
                   static_cast<uint32_t>(highest - lowest)};
    return distance >= apart;
}

static bool run_steps(Run *run, Track *track)
{
    if (run->has_branches && !track->notes_jumps) {
        record_jumps_above(*run);
        track->notes_jumps = true;
    }
    run->start = current_section->size;
    bool even = true;
    bool apart = true;
    Ahead *ahead = layout_runs.aheads.data() + run->first_ahead;
    for (uint32_t step = run->first; step < run->end; ++step) {
        const LayoutItem &item = layout_record.items[step];
        current_section->size += item.gap;
        const uint32_t place = current_section->size;
        const uint32_t value = value_of(item);
        apart = look_ahead(step, value, *run, &ahead) && apart;
        if (!run_step_in_place(step, item, value))
            return false;
        even = even && lengths[step] == current_section->size - place;
        lengths[step] = current_section->size - place;
    }
    run->size = current_section->size - run->start;
    note_course(run, track, even, apart);
    return true;
}

static bool run_without_section(const Run &run)
{
    for (uint32_t step = run.first; step < run.end; ++step) {
        if (!run_step_without_place(layout_record.items[step]))
            return false;
    }
    return true;
}

static bool can_pass_over(uint32_t number, const Run &run, const Track &track)
{
    const uint32_t distance = run.start - current_section->size;
    return run.regular && static_cast<int32_t>(distance) >= 0 &&
           current_section->size < PASSED_OVER_SIZE_MAX &&
           run.least_place - track.even_from > REACH_BACK && only_moves(number, distance);
}

static void pass_over(const Stretch &stretch, uint32_t distance, Track *track)
{
    track->notes_jumps = track->notes_jumps && stretch.size == 0;
    current_section->size += stretch.size;
    move_stretch(stretch, distance);
    if (distance == 0 || !stretch.has_labels)
        return;
    moved = true;
    add_due_next(stretch.readers);
    state_change -= stretch.weight * distance;
}

#ifdef NVASM8_CHECK_REPLAY
static void check_distances(const Run &run)
{
    for (uint32_t step = run.first; step < run.end; ++step) {
        const LayoutItem &item = layout_record.items[step];
        const uint32_t cell = item.step != LayoutStep::GUARD ? item.target : 0;
        const uint32_t value = cell_value(cell);
        if (!run_step_without_place(item) || cell_value(cell) != value)
            std::abort();
    }
}

static void check_run(Run run, Track track)
{
    if (run.section == 0) {
        check_distances(run);
        return;
    }
    const uint32_t size = run.size;
    const uint32_t even_from = track.even_from;
    if (!run_steps(&run, &track) || run.size != size || track.even_from != even_from)
        std::abort();
}

// What is passed over records no jumps. Of sections other than that of the track they are noted
// again when the pass comes back to them.
static void forget_recorded_jumps(const Track &track)
{
    forget_jumps();
    for (Track &other : tracks)
        other.notes_jumps = other.notes_jumps && &other == &track;
}

// What may be passed over must come to the same when it is run.
static void check_stretch(uint32_t first, uint32_t end, uint32_t distance, const Track &track)
{
    const uint32_t place = current_section->size;
    const Readers due_next_before = due_next;
    const uint64_t state_change_before = state_change;
    const bool moved_before = moved;
    for (uint32_t number = first; number < end; ++number) {
        Run *run = find_run(number);
        check_run(*run, track);
        run->start -= distance;
    }
    for (uint32_t number = first; number < end; ++number) {
        Run *run = find_run(number);
        run->start += distance;
        for (uint32_t cell = run->first_cell; cell < run->end_cell; ++cell) {
            const uint32_t moving = layout_runs.cells[cell];
            set_cell_value(moving, cell_value(moving) + distance);
        }
    }
    current_section->size = place;
    due_next = due_next_before;
    state_change = state_change_before;
    moved = moved_before;
    forget_recorded_jumps(track);
}
#endif

static bool run_at_home(Run *run, Track *track)
{
    if (run->section != 0)
        return run_steps(run, track);
    run->start = current_section->size;
    run->regular = true;
    return run_without_section(*run);
}

// Runs the run, or passes over it and over those below for which the same holds. Gives the number
// of the next run, or NO_RUN if the pass can't go on.
static uint32_t take_up(uint32_t number)
{
    Run *run = find_run(number);
    if (run->home == 0)
        return run_without_section(*run) ? number + 1 : NO_RUN;
    Track *track = enter_section(*run);
    if (!can_pass_over(number, *run, *track)) {
        if (!run_at_home(run, track))
            return NO_RUN;
        note_run(number);
        return number + 1;
    }
    uint32_t end;
    const uint32_t place = current_section->size;
    const uint32_t distance = run->start - place;
    const Stretch &stretch = widest_stretch(number, distance, PASSED_OVER_SIZE_MAX - place, &end);
#ifdef NVASM8_CHECK_REPLAY
    if (stretch.size != 0)
        check_stretch(number, end, distance, *track);
#endif
    pass_over(stretch, distance, track);
    return end;
}

// Takes up the pass at the run that holds the step.
static bool run_to_the_end(uint32_t step)
{
    forget_jumps();
    const auto first = std::ranges::upper_bound(layout_runs.runs, step, {}, &Run::end);
    auto number = static_cast<uint32_t>(first - layout_runs.runs.begin());
    while (number < layout_runs.runs.size())
        number = take_up(number);
    return number != NO_RUN;
}

static void begin_replayed_pass()
{
    pass = begin_stretches_pass();
    moved = false;
    state_change = 0;
    due_next = layout_runs.sets_cells_again ? ALL_STEPS : NO_READERS;
}

static void take_back_numbers()
{
    for (const uint32_t cell : turned)
        numbers[cell] = false;
    turned.clear();
}

// Takes back what steps without a location have done.
static void take_back_steps(uint32_t first, uint32_t end)
{
    for (uint32_t step = first; step < end; ++step) {
        if (layout_record.items[step].step != LayoutStep::GUARD)
            take_back_cell_value(layout_record.items[step].target);
    }
    take_back_numbers();
}

static bool run_due_steps()
{
    for (uint32_t step = due.first; step < layout_record.items.size() && step <= due.last; ++step) {
        const LayoutItem &item = layout_record.items[step];
        if (has_location(item)) {
            if (step != due.first) {
                take_back_steps(due.first, step);
                begin_replayed_pass();
            }
            return run_to_the_end(due.first);
        }
        if (!run_step_without_place(item))
            return false;
    }
    return true;
}

bool connect_forward_branches()
{
    for (const ForwardBranch &forward : layout_record.forward_branches) {
        LayoutItem &item = layout_record.items[forward.step];
        const bool is_external = (forward.symbol->attrs & ATTR_DEFINED) == 0;
        const bool in_section = !is_external && forward.symbol->section_number == item.section;
        if (is_external)
            item.source = 0;
        else if (in_section)
            item.detail |= Branch::LOCAL | Branch::IN_SECTION;
        else if (is_relative(Branch{item.detail}))
            return false;
    }
    return true;
}

static void begin_replay_from(const std::vector<uint32_t> &start)
{
    index_layout_record();
    begin_stretches(start);
    numbers.assign(start.size(), false);
    lengths.assign(layout_record.items.size(), 0);
    jumps.assign(layout_record.items.size(), 0);
    tracks.assign(layout_record.sections.size(), {});
    due_next = ALL_STEPS;
}

// A chain of equates in reverse order would settle by a link a pass. Where no step depends on it
// nor on the number of passes, it settles from its end up before the first one. What others than
// aliases have read doesn't turn into a number here: that ends the replay, in its pass.
static void settle_unseen_equates()
{
    for (size_t place = layout_runs.unseen.size(); place-- > 0;) {
        const LayoutItem &item = layout_record.items[layout_runs.unseen[place]];
        set_cell_value(item.target, value_of(item));
        if (item.detail != 0 && numbers[item.source] && layout_record.reads[item.target] == 0)
            numbers[item.target] = true;
    }
}

bool begin_replay(bool chains_at_once)
{
    begin_replay_from(layout_record.values);
    numbers = layout_record.numbers;
    if (chains_at_once)
        settle_unseen_equates();
    return !layout_runs.unseen.empty() &&
           std::ranges::find(layout_record.items, LayoutStep::GUARD, &LayoutItem::step) !=
               layout_record.items.end();
}

#ifdef NVASM8_CHECK_REPLAY
// Steps above those that are due must have nothing to do. Of those with a location the others tell.
static void check_skipped_steps()
{
    for (uint32_t step = 0; step < layout_record.items.size() && step < due.first; ++step) {
        const LayoutItem &item = layout_record.items[step];
        if (has_location(item) || item.step == LayoutStep::GUARD)
            continue;
        const uint32_t source = cell_value_at_head(item.source);
        const uint32_t value = item.step == LayoutStep::COMPUTE
                                   ? compute(item.detail, source, cell_value_at_head(item.addend))
                                   : source + item.addend;
        if (value != cell_value_at_head(item.target))
            std::abort();
    }
}
#endif

static bool run_pass_from_head()
{
    turned.clear();
    due = due_next;
    begin_replayed_pass();
#ifdef NVASM8_CHECK_REPLAY
    check_skipped_steps();
#endif
    return run_due_steps();
}

ReplayResult replay_pass(uint64_t *state)
{
    const bool complete = run_pass_from_head();
    if (!complete || !moved) {
        take_back_cell_values();
        take_back_numbers();
        return complete ? ReplayResult::SETTLED : ReplayResult::DIVERGED;
    }
    *state += state_change;
    return ReplayResult::MOVED;
}

static void make_number(Symbol *symbol)
{
    symbol->attrs |= ATTR_DEFINED | ATTR_ABSOLUTE;
    symbol->flags &= static_cast<uint16_t>(~SYM_ALIAS);
    symbol->link = nullptr;
    note_alias_change();
}

void store_replayed_values()
{
    for (uint32_t cell = 0; cell < layout_record.symbols.size(); ++cell) {
        Symbol *symbol = layout_record.symbols[cell];
        if (symbol == nullptr)
            continue;
        if (!layout_record.holds_code[cell])
            symbol->value = cell_value(cell);
        else if (cell_value(cell) != 0)
            symbol->attrs |= ATTR_CODE;
        if (numbers[cell] && !layout_record.numbers[cell])
            make_number(symbol);
    }
}

void check_replay()
{
    begin_replay_from(layout_record.starts);
    bool same = run_pass_from_head();
    for (uint32_t cell = 0; cell < layout_record.symbols.size(); ++cell) {
        // What no step sets came to its value in the recorded pass and stays. ATTR_CODE also comes
        // from bases that had it at once, which no step tells.
        const bool is_set =
            layout_runs.setters[cell] != NO_STEP && layout_record.symbols[cell] != nullptr;
        if (is_set && !layout_record.holds_code[cell])
            same = same && cell_value(cell) == layout_record.values[cell];
    }
    if (!same)
        std::abort();
}
