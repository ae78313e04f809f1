// Most passes of a program with many branches differ in nothing but the values of labels. What such
// a pass decides stands in the layout record, so it needs no text: the steps are run in their order
// with the values of the moment, and every form is chosen by the function that the encoder asks. A
// guard that fails means that the text would now be read otherwise, and what has been done of the
// pass is taken back.
//
// Nor does a pass need every step. One that comes before all readers of what the pass before has
// moved does what it did then, so the pass begins at the first of these readers, with the sizes and
// jumps of a checkpoint. Calls, which programs are full of, are only watched. As long as none of
// the steps concerned has a location, as in a chain of equates, the pass also ends at the last of
// them. When one with a location turns up after all, the pass begins again at a checkpoint, with
// the values at its head: a step that runs twice would otherwise read what steps below it have set.

#include "target/replay.h"

#include "base/pass_state.h"
#include "expr/symbol_table.h"
#include "expr/value.h"
#include "output/layout_record.h"
#include "output/section_table.h"
#include "target/branch_choice.h"
#include "target/branch_record.h"
#include <algorithm>
#include <cstdlib>

// Where a pass can be taken up again.
struct Checkpoint {
    size_t jumps;
    std::vector<uint32_t> sizes; // of the sections, by number
};
static std::vector<Checkpoint> checkpoints;
constexpr size_t CHECKPOINT_STEPS = 512;

// Which steps read a cell: the first and the last of them, or of several cells.
struct Readers {
    uint32_t first;
    uint32_t last;
};
constexpr Readers NO_READERS = {UINT32_MAX, 0};
constexpr Readers ALL_STEPS = {0, UINT32_MAX};

// A call, whose form depends on the distance alone and matters to no other step. As long as it
// stays where it is and its form is what it was, it isn't run, wherever its target moves.
struct WatchedCall {
    uint32_t step;
    uint32_t here;
    uint8_t length;
};

// What is known of the cells, and their values at the head of the pass and now.
static std::vector<Readers> readers;
constexpr uint32_t NO_STEP = UINT32_MAX;
static std::vector<uint32_t> setters; // the step that sets the cell, or NO_STEP
static std::vector<uint64_t> weights; // what a cell adds to the state, times its value
static std::vector<uint32_t> values_at_head;
static std::vector<uint32_t> values;
static std::vector<WatchedCall> calls;
static size_t next_call; // of those that come below the step at hand

// Whether a cell is set more than once in a pass: then no pass can be taken up in the middle.
static bool sets_cells_again;

// The steps that the pass has to run, and whether it has moved anything.
static Readers due;
static bool moved;

static uint32_t value_of(const LayoutItem &item)
{
    return values[item.source] + item.addend;
}

// Sets the cell of a step without a location. Those of its readers that come below read it in this
// pass.
static void set_cell(uint32_t cell, uint32_t value)
{
    if (values[cell] != value)
        due.last = std::max(due.last, readers[cell].last);
    values[cell] = value;
}

static void move_cell(uint32_t cell, uint32_t value)
{
    moved = moved || values[cell] != value;
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

static bool is_call(const LayoutItem &item)
{
    const BranchKind kind = Branch{item.detail}.kind();
    return item.step == LayoutStep::BRANCH &&
           (kind == BranchKind::CALL || kind == BranchKind::RELATIVE_CALL);
}

static BranchChoice choose_form(const LayoutItem &item, uint32_t here)
{
    return choose_branch_form(Branch{item.detail}, value_of(item), here);
}

static void take_branch(const LayoutItem &item)
{
    const uint32_t here = current_location();
    const BranchChoice choice = choose_form(item, here);
    if (choice.serves_others)
        record_jump(value_of(item), here + choice.jump_offset);
    if (is_call(item)) {
        calls[next_call].here = here;
        calls[next_call++].length = choice.length;
    }
    current_section->size += choice.length;
}

static bool has_location(const LayoutItem &item)
{
    return item.section != 0;
}

static void place_label(uint32_t *value)
{
    const uint32_t location = current_location();
    if (*value != location)
        moved = true;
    *value = location;
}

// False if the pass can't go on, here and below.
static bool run_step_in_place(const LayoutItem &item)
{
    current_section = layout_record.sections[item.section];
    current_section->size += item.gap;
    switch (item.step) {
    case LayoutStep::PLACE:
        values[item.target] = current_location();
        return true;
    case LayoutStep::LABEL:
        place_label(&values[item.target]);
        return true;
    case LayoutStep::RESERVE:
        return take_room(value_of(item) * item.detail);
    case LayoutStep::ALIGN:
        return take_room(padding_to(value_of(item)));
    case LayoutStep::ORG:
        return move_to(value_of(item));
    default: // BRANCH
        take_branch(item);
        return true;
    }
}

static bool run_step_without_place(const LayoutItem &item)
{
    switch (item.step) {
    case LayoutStep::ASSIGN:
        set_cell(item.target, value_of(item));
        return true;
    case LayoutStep::EQUATE:
        move_cell(item.target, value_of(item));
        return true;
    case LayoutStep::COMPUTE:
        set_cell(item.target, compute(item.detail, values[item.source], values[item.addend]));
        return true;
    default: // GUARD
        return value_of(item) <= item.target;
    }
}

static void set_checkpoint()
{
    Checkpoint checkpoint = {jump_mark(), {}};
    for (const Section *section : layout_record.sections)
        checkpoint.sizes.push_back(section != nullptr ? section->size : 0);
    checkpoints.push_back(std::move(checkpoint));
}

// Goes back to the last checkpoint ahead of the step and gives the step that it stands at.
static uint32_t take_up_at(uint32_t step)
{
    checkpoints.resize(step / CHECKPOINT_STEPS + 1);
    const Checkpoint &checkpoint = checkpoints.back();
    for (size_t number = 0; number < checkpoint.sizes.size(); ++number) {
        if (Section *section = layout_record.sections[number])
            section->size = checkpoint.sizes[number];
    }
    take_back_jumps(checkpoint.jumps);
    checkpoints.pop_back();
    return static_cast<uint32_t>(step / CHECKPOINT_STEPS * CHECKPOINT_STEPS);
}

static bool run_to_the_end(uint32_t first)
{
    const auto count = static_cast<uint32_t>(layout_record.items.size());
    const auto call = std::ranges::lower_bound(calls, first, {}, &WatchedCall::step);
    next_call = static_cast<size_t>(call - calls.begin());
    for (uint32_t step = first; step < count; ++step) {
        if (step % CHECKPOINT_STEPS == 0)
            set_checkpoint();
        const LayoutItem &item = layout_record.items[step];
        if (!(has_location(item) ? run_step_in_place(item) : run_step_without_place(item)))
            return false;
    }
    return true;
}

static bool run_due_steps()
{
    for (uint32_t step = due.first; step < layout_record.items.size() && step <= due.last; ++step) {
        const LayoutItem &item = layout_record.items[step];
        if (has_location(item)) {
            values = values_at_head;
            moved = false;
            return run_to_the_end(take_up_at(due.first));
        }
        if (!run_step_without_place(item))
            return false;
    }
    return true;
}

static void weigh_cells()
{
    weights.clear();
    for (size_t cell = 0; cell < values.size(); ++cell) {
        const void *owner = layout_record.symbols[cell];
        if (layout_record.holds_code[cell])
            owner = &layout_record.symbols[cell]->attrs;
        weights.push_back(owner != nullptr ? state_weight(owner) : 0);
    }
}

static void note_reader(uint32_t cell, uint32_t step)
{
    readers[cell].first = std::min(readers[cell].first, step);
    readers[cell].last = step;
}

static void note_setter(uint32_t cell, uint32_t step)
{
    sets_cells_again = sets_cells_again || setters[cell] != NO_STEP;
    setters[cell] = step;
}

static void index_steps()
{
    readers.assign(values.size(), NO_READERS);
    setters.assign(values.size(), NO_STEP);
    calls.clear();
    sets_cells_again = false;
    for (uint32_t step = 0; step < layout_record.items.size(); ++step) {
        const LayoutItem &item = layout_record.items[step];
        if (is_call(item))
            calls.push_back({step, 0, 0});
        else
            note_reader(item.source, step);
        if (item.step == LayoutStep::COMPUTE)
            note_reader(item.addend, step);
        if (item.step != LayoutStep::GUARD && item.target != 0)
            note_setter(item.target, step);
    }
}

static void rewind_sections()
{
    for (Section *section = section_list; section != nullptr; section = section->next)
        section->size = 0;
}

static void begin_replay_from(const std::vector<uint32_t> &start)
{
    values = start;
    weigh_cells();
    index_steps();
    reset_branch_records();
    keep_replaced_jumps(true);
    rewind_sections();
    checkpoints.clear();
    set_checkpoint();
    due = ALL_STEPS;
}

void begin_replay()
{
    begin_replay_from(layout_record.values);
}

static bool run_pass_from_head()
{
    values_at_head = values;
    moved = false;
    return run_due_steps();
}

// What the pass has moved is read from here on by the steps above the one that sets it. Gives what
// the state changes by.
static uint64_t note_moved_cells()
{
    uint64_t change = 0;
    due = sets_cells_again ? ALL_STEPS : NO_READERS;
    for (size_t cell = 0; cell < values.size(); ++cell) {
        if (values[cell] == values_at_head[cell])
            continue;
        change += weights[cell] * (uint64_t{values[cell]} - values_at_head[cell]);
        if (readers[cell].first >= setters[cell])
            continue;
        due.first = std::min(due.first, readers[cell].first);
        due.last = std::max(due.last, std::min(readers[cell].last, setters[cell]));
    }
    return change;
}

// The first call that takes another form from where it stands is due, too.
static void look_at_calls()
{
    for (const WatchedCall &call : calls) {
        if (call.step >= due.first)
            return;
        const LayoutItem &item = layout_record.items[call.step];
        if (choose_form(item, call.here).length != call.length)
            due = {call.step, std::max(due.last, call.step)};
    }
}

ReplayResult replay_pass(uint64_t *state)
{
    const bool complete = run_pass_from_head();
    if (!complete || !moved) {
        values.swap(values_at_head);
        return complete ? ReplayResult::SETTLED : ReplayResult::DIVERGED;
    }
    *state += note_moved_cells();
    look_at_calls();
    return ReplayResult::MOVED;
}

void store_replayed_values()
{
    keep_replaced_jumps(false);
    for (size_t cell = 0; cell < values.size(); ++cell) {
        Symbol *symbol = layout_record.symbols[cell];
        if (symbol == nullptr)
            continue;
        if (!layout_record.holds_code[cell])
            symbol->value = values[cell];
        else if (values[cell] != 0)
            symbol->attrs |= ATTR_CODE;
    }
}

void check_replay()
{
    begin_replay_from(layout_record.starts);
    bool same = run_pass_from_head();
    for (size_t cell = 0; cell < values.size(); ++cell) {
        // What no step sets came to its value in the recorded pass and stays. ATTR_CODE also comes
        // from bases that had it at once, which no step tells.
        const bool is_set = setters[cell] != NO_STEP && layout_record.symbols[cell] != nullptr;
        if (is_set && !layout_record.holds_code[cell])
            same = same && values[cell] == layout_record.values[cell];
    }
    if (!same)
        std::abort();
}
