// The record is cut into runs of some dozen steps. What replay asks of a run is found here once:
// which branches look ahead, which labels move with it, who reads them from above.
//
// Most of it rests on least places. Each branch has a shortest form, so that from one step to
// another there are at least so many bytes, whatever the passes decide. A label further ahead than
// a branch reaches is never near it, and two labels with bytes between them never coincide; of
// those beside an alignment, or other room that may be nothing, that can't be told.

#include "target/layout_runs.h"

#include "base/pass_state.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "output/section_table.h"
#include "target/branch_choice.h"
#include <algorithm>

LayoutRuns layout_runs;

constexpr uint32_t RUN_STEPS_MAX = 16;

// What is known of a section, by its number.
struct SectionPlaces {
    uint32_t least_size;
    uint32_t first_moving;        // the least place of the first step that may move what follows
    std::vector<uint32_t> unsure; // least places of room that may be nothing, in rising order
    bool has_odd_jumps;           // branches, beside calls, that depend on more than distances
    uint32_t last_run;            // with branches, so far
};
static std::vector<SectionPlaces> places;
static std::vector<uint32_t> least_places; // of the steps

// The distance of two places that both stand above, or what is computed of it. Steps without a
// location that do nothing but this need not be run when all of these places have moved alike.
struct Distance {
    uint16_t section; // 0 if it is something else
    uint32_t from;    // the step of the upper place
};
static std::vector<Distance> distances; // by step

// Further up places seldom all move alike, and each run between them must tell that it was run.
constexpr uint32_t DISTANCE_STEPS_MAX = 8 * RUN_STEPS_MAX;

constexpr uint32_t NOWHERE = UINT32_MAX;

// Distances in larger sections aren't told from those the other way.
constexpr uint32_t SECTION_SIZE_MAX = 1U << 30;

static bool is_call(Branch branch)
{
    return branch.kind() == BranchKind::CALL || branch.kind() == BranchKind::RELATIVE_CALL;
}

static uint32_t least_length(const LayoutItem &item)
{
    return item.step == LayoutStep::BRANCH ? short_length(Branch{item.detail}) : 0;
}

static bool is_room(const LayoutItem &item)
{
    return item.step == LayoutStep::RESERVE || item.step == LayoutStep::ALIGN ||
           item.step == LayoutStep::ORG;
}

static bool is_place(uint32_t step)
{
    const LayoutStep kind = layout_record.items[step].step;
    return kind == LayoutStep::LABEL || kind == LayoutStep::PLACE;
}

static Distance distance_of_places(uint32_t step, const LayoutItem &item)
{
    const uint32_t left = layout_runs.setters[item.source];
    const uint32_t right = layout_runs.setters[item.addend];
    if (left >= step || right >= step || !is_place(left) || !is_place(right))
        return {};
    const uint16_t section = layout_record.items[left].section;
    if (section != layout_record.items[right].section)
        return {};
    return {section, std::min(left, right)};
}

static Distance find_distance(uint32_t step)
{
    const LayoutItem &item = layout_record.items[step];
    if (item.step == LayoutStep::COMPUTE && item.detail == TOK_MINUS)
        return distance_of_places(step, item);
    const uint32_t setter = layout_runs.setters[item.source];
    const bool takes_one = item.step == LayoutStep::ASSIGN || item.step == LayoutStep::GUARD;
    return takes_one && setter < step ? distances[setter] : Distance{};
}

static void find_distances()
{
    distances.clear();
    for (uint32_t step = 0; step < layout_record.items.size(); ++step) {
        const Distance distance = find_distance(step);
        const bool keeps =
            !layout_runs.sets_cells_again && step - distance.from <= DISTANCE_STEPS_MAX;
        distances.push_back(keeps ? distance : Distance{});
    }
}

static uint16_t home_of(uint32_t step)
{
    const LayoutItem &item = layout_record.items[step];
    return has_location(item) ? item.section : distances[step].section;
}

static void find_places()
{
    places.assign(layout_record.sections.size(), {0, NOWHERE, {}, false, NO_RUN});
    least_places.clear();
    for (uint32_t step = 0; step < layout_record.items.size(); ++step) {
        const LayoutItem &item = layout_record.items[step];
        SectionPlaces &section = places[home_of(step)];
        section.least_size += item.gap;
        least_places.push_back(section.least_size);
        if (is_room(item))
            section.unsure.push_back(section.least_size);
        const bool moves =
            has_location(item) && (item.step != LayoutStep::BRANCH || item.source != 0);
        if (moves && section.first_moving == NOWHERE)
            section.first_moving = section.least_size;
        section.least_size += least_length(item);
    }
}

static void find_setters()
{
    layout_runs.setters.assign(layout_record.values.size(), NO_STEP);
    layout_runs.sets_cells_again = false;
    for (uint32_t step = 0; step < layout_record.items.size(); ++step) {
        const LayoutItem &item = layout_record.items[step];
        if (item.step == LayoutStep::GUARD || item.target == 0)
            continue;
        uint32_t &setter = layout_runs.setters[item.target];
        layout_runs.sets_cells_again = layout_runs.sets_cells_again || setter != NO_STEP;
        setter = step;
    }
}

// A number, or what stands ahead of all that moves. Other numbers may be met by a moving label.
static Tie tie_to_fixed_target(const LayoutItem &item, bool looks)
{
    const uint32_t place = item.addend - layout_record.sections[item.section]->base_address;
    if (place > places[item.section].first_moving && place < SECTION_SIZE_MAX)
        return Tie::ODD;
    return looks ? Tie::ABOVE : Tie::NONE;
}

// A branch to `*` and some bytes, as one over the next instruction, is near wherever it stands. It
// hops nowhere, and nobody hops through it.
static bool stays_near(uint32_t step, const LayoutItem &item, uint32_t setter)
{
    const Branch branch = {item.detail};
    const bool serves =
        branch.kind() == BranchKind::UNCONDITIONAL || branch.kind() == BranchKind::JUMP;
    return setter + 1 == step && layout_record.items[setter].step == LayoutStep::PLACE && !serves &&
           is_near(item.gap, item.addend, short_length(branch));
}

static Tie tie_to_label(uint32_t step, const LayoutItem &item, uint32_t setter)
{
    const LayoutItem &label = layout_record.items[setter];
    const Branch branch = {item.detail};
    if (!is_place(setter) || label.section != item.section)
        return Tie::ODD;
    if (stays_near(step, item, setter))
        return Tie::NONE;
    if (item.addend != 0 && (!is_call(branch) || setter < step))
        return Tie::ODD;
    if (std::ranges::binary_search(places[item.section].unsure, least_places[setter]))
        return Tie::ODD;
    if (setter < step)
        return Tie::ABOVE;
    const uint32_t least_distance =
        least_places[setter] + item.addend - least_places[step] - short_length(branch);
    return static_cast<int32_t>(least_distance) > REACH_AHEAD ? Tie::FAR_AHEAD : Tie::AHEAD;
}

static Tie find_tie(uint32_t step)
{
    const LayoutItem &item = layout_record.items[step];
    if (item.step != LayoutStep::BRANCH)
        return is_room(item) ? Tie::ODD : Tie::NONE;
    const Branch branch = {item.detail};
    const bool looks = branch.has(is_relative(branch) ? Branch::LOCAL : Branch::IN_SECTION);
    // Neither its form changes nor what others see of it.
    if (!looks && (is_call(branch) || !is_relative(branch)))
        return Tie::NONE;
    if (layout_runs.sets_cells_again || places[item.section].least_size >= SECTION_SIZE_MAX)
        return Tie::ODD;
    if (item.source == 0)
        return tie_to_fixed_target(item, looks);
    const uint32_t setter = layout_runs.setters[item.source];
    return looks && setter != NO_STEP ? tie_to_label(step, item, setter) : Tie::ODD;
}

static void find_ties()
{
    layout_runs.ties.clear();
    for (uint32_t step = 0; step < layout_record.items.size(); ++step) {
        const LayoutItem &item = layout_record.items[step];
        const Tie tie = find_tie(step);
        layout_runs.ties.push_back(tie);
        if (tie == Tie::ODD && item.step == LayoutStep::BRANCH && !is_call(Branch{item.detail}))
            places[item.section].has_odd_jumps = true;
    }
}

static void note_reader(uint32_t cell, uint32_t step)
{
    Readers &readers = layout_runs.readers[cell];
    readers.first = std::min(readers.first, step);
    readers.last = step;
}

// What is far ahead stays so as long as the branch doesn't move, wherever the label does. But a
// branch that depends on more than distances might hop by its value.
static bool reads_its_target(uint32_t step, const LayoutItem &item)
{
    switch (layout_runs.ties[step]) {
    case Tie::NONE:
    case Tie::ABOVE:
        return false;
    case Tie::FAR_AHEAD:
        return places[item.section].has_odd_jumps && !is_call(Branch{item.detail});
    default:
        return true;
    }
}

static void find_readers()
{
    layout_runs.readers.assign(layout_record.values.size(), NO_READERS);
    for (uint32_t step = 0; step < layout_record.items.size(); ++step) {
        const LayoutItem &item = layout_record.items[step];
        if (item.step != LayoutStep::BRANCH || reads_its_target(step, item))
            note_reader(item.source, step);
        if (item.step == LayoutStep::COMPUTE)
            note_reader(item.addend, step);
    }
}

static void weigh_cells()
{
    layout_runs.weights.clear();
    for (size_t cell = 0; cell < layout_record.values.size(); ++cell) {
        const void *owner = layout_record.symbols[cell];
        if (layout_record.holds_code[cell])
            owner = &layout_record.symbols[cell]->attrs;
        layout_runs.weights.push_back(owner != nullptr ? state_weight(owner) : 0);
    }
}

// A value that is assigned asks for no further pass. Unless it is always the same it tells how many
// passes there were.
static bool tells_passes()
{
    std::vector<bool> changes(layout_record.values.size(), false);
    for (size_t cell = 0; cell < changes.size(); ++cell)
        changes[cell] = layout_runs.setters[cell] != NO_STEP;
    for (size_t step = layout_record.items.size(); step-- > 0;) {
        const LayoutItem &item = layout_record.items[step];
        if (item.step != LayoutStep::ASSIGN)
            continue;
        const uint32_t value = layout_record.values[item.source] + item.addend;
        if (changes[item.source] || layout_record.values[item.target] != value)
            return true;
        changes[item.target] = false;
    }
    return false;
}

static bool reads_from_below(uint32_t step, const LayoutItem &item)
{
    const uint32_t setter = layout_runs.setters[item.source];
    return item.step == LayoutStep::EQUATE && (setter == NO_STEP || setter > step);
}

// Finds the equates that nothing depends on, from the first: those below are read by those above.
static void find_unseen_equates()
{
    layout_runs.unseen.clear();
    if (layout_runs.sets_cells_again || tells_passes())
        return;
    const std::vector<LayoutItem> &items = layout_record.items;
    std::vector<bool> seen(layout_record.values.size(), false);
    for (uint32_t step = 0; step < items.size(); ++step) {
        seen[items[step].source] = seen[items[step].source] || !reads_from_below(step, items[step]);
        if (items[step].step == LayoutStep::COMPUTE)
            seen[items[step].addend] = true;
    }
    for (uint32_t step = 0; step < items.size(); ++step) {
        if (!reads_from_below(step, items[step]))
            continue;
        if (seen[items[step].target])
            seen[items[step].source] = true;
        else
            layout_runs.unseen.push_back(step);
    }
}

static bool is_odd(uint32_t step)
{
    return layout_runs.ties[step] == Tie::ODD;
}

static bool continues(const Run &run, uint32_t step)
{
    return layout_record.items[step].section == run.section && home_of(step) == run.home &&
           is_odd(step) == run.odd && step - run.first < RUN_STEPS_MAX;
}

static void begin_run(uint32_t step)
{
    const LayoutItem &item = layout_record.items[step];
    Run run = {};
    run.first = step;
    run.section = item.section;
    run.home = home_of(step);
    run.odd = is_odd(step);
    run.least_place = least_places[step] - item.gap;
    run.first_cell = static_cast<uint32_t>(layout_runs.cells.size());
    run.first_ahead = static_cast<uint32_t>(layout_runs.aheads.size());
    run.above = run.below = NO_RUN;
    run.seen_from = run.seen_to = static_cast<uint32_t>(layout_runs.runs.size());
    run.readers = NO_READERS;
    layout_runs.runs.push_back(run);
}

static void add_moving_cell(Run *run, uint32_t cell)
{
    layout_runs.cells.push_back(cell);
    layout_runs.runs_of_cells[cell] = static_cast<uint32_t>(layout_runs.runs.size() - 1);
    run->weight += layout_runs.weights[cell];
    const Readers readers = layout_runs.readers[cell];
    const uint32_t setter = layout_runs.setters[cell];
    if (readers.first >= setter)
        return;
    run->readers.first = std::min(run->readers.first, readers.first);
    run->readers.last = std::max(run->readers.last, std::min(readers.last, setter));
}

// Puts the last run into the chain of those of its section, as soon as it has a branch.
static void chain_run(Run *run)
{
    run->has_branches = true;
    SectionPlaces &section = places[run->section];
    const auto number = static_cast<uint32_t>(layout_runs.runs.size() - 1);
    if (section.last_run == number)
        return;
    run->above = section.last_run;
    if (run->above != NO_RUN)
        layout_runs.runs[run->above].below = number;
    section.last_run = number;
}

static void add_step(uint32_t step)
{
    const LayoutItem &item = layout_record.items[step];
    Run *run = &layout_runs.runs.back();
    run->end = step + 1;
    run->least_end = least_places[step] + least_length(item);
    if (is_place(step))
        add_moving_cell(run, item.target);
    if (item.step == LayoutStep::BRANCH)
        chain_run(run);
    if (layout_runs.ties[step] == Tie::AHEAD)
        layout_runs.aheads.push_back({item.source, 0, 0});
    run->end_cell = static_cast<uint32_t>(layout_runs.cells.size());
    run->end_ahead = static_cast<uint32_t>(layout_runs.aheads.size());
}

static void find_runs()
{
    layout_runs.runs.clear();
    layout_runs.cells.clear();
    layout_runs.aheads.clear();
    layout_runs.runs_of_cells.assign(layout_record.values.size(), NO_RUN);
    for (uint32_t step = 0; step < layout_record.items.size(); ++step) {
        if (layout_runs.runs.empty() || !continues(layout_runs.runs.back(), step))
            begin_run(step);
        add_step(step);
    }
}

static Run &run_of_place(uint32_t cell)
{
    return layout_runs.runs[layout_runs.runs_of_cells[cell]];
}

// A run that computes a distance from another one depends on all between, too.
static void find_who_looks_back()
{
    std::vector<Run> &runs = layout_runs.runs;
    for (uint32_t number = 0; number < runs.size(); ++number) {
        const bool looks_back = runs[number].section == 0 && runs[number].home != 0;
        for (uint32_t step = runs[number].first; looks_back && step < runs[number].end; ++step)
            run_of_place(layout_record.items[distances[step].from].target).seen_to = number;
    }
    for (size_t number = 1; number < runs.size(); ++number)
        runs[number].seen_to = std::max(runs[number].seen_to, runs[number - 1].seen_to);
}

// A run that looks ahead to another one looks at all between, too.
static void find_who_looks_ahead()
{
    std::vector<Run> &runs = layout_runs.runs;
    for (uint32_t number = 0; number < runs.size(); ++number) {
        for (uint32_t place = runs[number].first_ahead; place < runs[number].end_ahead; ++place) {
            Run &seen = run_of_place(layout_runs.aheads[place].cell);
            seen.seen_from = std::min(seen.seen_from, number);
        }
    }
    for (size_t number = runs.size(); number-- > 1;)
        runs[number - 1].seen_from = std::min(runs[number - 1].seen_from, runs[number].seen_from);
}

void index_layout_record()
{
    weigh_cells();
    find_setters();
    find_distances();
    find_places();
    find_ties();
    find_readers();
    find_unseen_equates();
    find_runs();
    find_who_looks_ahead();
    find_who_looks_back();
}
