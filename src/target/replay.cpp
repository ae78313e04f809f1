// Most passes of a program with many branches differ in nothing but the values of labels. What such
// a pass decides stands in the layout record, so it needs no text: the steps are run in their order
// with the values of the moment, and every form is chosen by the function that the encoder asks. A
// guard that fails means that the text would now be read otherwise, and what has been done of the
// pass is taken back.
//
// Nor does a pass need every step. One that comes before all readers of what the pass before has
// moved does what it did then, so the pass begins at the first of these readers, with the sizes and
// jumps of a checkpoint. As long as none of the steps concerned has a location, as in a chain of
// equates, it also ends at the last of them.

#include "target/replay.h"

#include "base/pass_state.h"
#include "expr/symbol_table.h"
#include "expr/value.h"
#include "output/layout_record.h"
#include "output/section_table.h"
#include "target/branch_forms.h"
#include "target/branch_record.h"
#include <algorithm>
#include <bit>
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

struct Cell {
    uint32_t value;
    uint32_t value_at_head; // of pass `changed_in`, the last one that changed it
    uint32_t changed_in;
    Readers readers;
    uint64_t weight; // what it adds to the state, times its value
};
static std::vector<Cell> cells;

// Whether a cell is set more than once in a pass: then no pass can be taken up in the middle.
static bool sets_cells_again;

// One pass.
struct Run {
    uint32_t number;
    bool moved;
    uint64_t state_change;
    Readers due;      // steps that this pass has to run
    Readers next_due; // and the next one
};
static Run run;

static uint32_t value_of(const LayoutItem &item)
{
    return cells[item.source].value + item.addend;
}

// Those that read the cell below the step that sets it read it in this pass, the others in the
// next.
static void note_readers(const Readers &all, uint32_t step)
{
    run.due.last = std::max(run.due.last, all.last);
    if (all.first > step)
        return;
    run.next_due.first = std::min(run.next_due.first, all.first);
    run.next_due.last = std::max(run.next_due.last, std::min(all.last, step));
}

static bool set_cell(uint32_t number, uint32_t value, uint32_t step)
{
    Cell &cell = cells[number];
    if (cell.value == value)
        return false;
    if (cell.changed_in != run.number) {
        cell.changed_in = run.number;
        cell.value_at_head = cell.value;
    }
    run.state_change += cell.weight * (uint64_t{value} - cell.value);
    cell.value = value;
    note_readers(cell.readers, step);
    return true;
}

static void move_cell(uint32_t number, uint32_t value, uint32_t step)
{
    if (set_cell(number, value, step))
        run.moved = true;
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

static bool move_to(uint32_t address)
{
    const std::optional<uint32_t> room = room_to(address);
    return room && take_room(*room);
}

static void take_branch(const LayoutItem &item)
{
    const uint32_t here = current_location();
    const uint32_t target = value_of(item);
    const BranchChoice choice =
        choose_branch_form(std::bit_cast<Branch>(item.detail), target, here);
    if (choice.serves_others)
        record_jump(target, here + choice.jump_offset);
    current_section->size += choice.length;
}

static uint32_t computed_value(const LayoutItem &item)
{
    return compute(item.detail, cells[item.source].value, cells[item.addend].value);
}

static bool has_location(const LayoutItem &item)
{
    return item.section != 0;
}

// False if the pass can't go on.
static bool run_step(const LayoutItem &item, uint32_t step)
{
    if (has_location(item)) {
        current_section = layout_record.sections[item.section];
        current_section->size += item.gap;
    }
    switch (item.step) {
    case LayoutStep::PLACE:
        set_cell(item.target, current_location(), step);
        return true;
    case LayoutStep::LABEL:
        move_cell(item.target, current_location(), step);
        return true;
    case LayoutStep::ASSIGN:
        set_cell(item.target, value_of(item), step);
        return true;
    case LayoutStep::EQUATE:
        move_cell(item.target, value_of(item), step);
        return true;
    case LayoutStep::COMPUTE:
        set_cell(item.target, computed_value(item), step);
        return true;
    case LayoutStep::GUARD:
        return value_of(item) <= item.target;
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

// False if the pass can't go on.
static bool run_due_steps()
{
    const auto count = static_cast<uint32_t>(layout_record.items.size());
    bool to_the_end = false;
    for (uint32_t step = run.due.first; step < count && (to_the_end || step <= run.due.last);
         ++step) {
        if (!to_the_end && has_location(layout_record.items[step])) {
            step = take_up_at(step);
            to_the_end = true;
        }
        if (to_the_end && step % CHECKPOINT_STEPS == 0)
            set_checkpoint();
        if (!run_step(layout_record.items[step], step))
            return false;
    }
    return true;
}

static void make_cells(const std::vector<uint32_t> &values)
{
    cells.clear();
    for (size_t number = 0; number < values.size(); ++number) {
        const void *owner = layout_record.symbols[number];
        if (layout_record.holds_code[number])
            owner = &layout_record.symbols[number]->attrs;
        const uint64_t weight = owner != nullptr ? state_weight(owner) : 0;
        cells.push_back({values[number], 0, 0, NO_READERS, weight});
    }
}

static void note_reader(uint32_t cell, uint32_t step)
{
    Readers *readers = &cells[cell].readers;
    readers->first = std::min(readers->first, step);
    readers->last = step;
}

static void list_readers()
{
    std::vector<bool> is_set(cells.size());
    sets_cells_again = false;
    for (uint32_t step = 0; step < layout_record.items.size(); ++step) {
        const LayoutItem &item = layout_record.items[step];
        note_reader(item.source, step);
        if (item.step == LayoutStep::COMPUTE)
            note_reader(item.addend, step);
        if (item.step == LayoutStep::GUARD || item.target == 0)
            continue;
        sets_cells_again = sets_cells_again || is_set[item.target];
        is_set[item.target] = true;
    }
}

static void rewind_sections()
{
    for (Section *section = section_list; section != nullptr; section = section->next)
        section->size = 0;
}

static Readers all_steps()
{
    return {0, UINT32_MAX};
}

static void begin_replay_from(const std::vector<uint32_t> &values)
{
    make_cells(values);
    list_readers();
    reset_branch_records();
    keep_replaced_jumps(true);
    rewind_sections();
    checkpoints.clear();
    set_checkpoint();
    run = {};
    run.next_due = all_steps();
}

void begin_replay()
{
    begin_replay_from(layout_record.values);
}

static std::vector<uint32_t> base_addresses()
{
    std::vector<uint32_t> bases;
    for (const Section *section = section_list; section != nullptr; section = section->next)
        bases.push_back(section->base_address);
    return bases;
}

static uint64_t state_of_sections()
{
    uint64_t state = 0;
    for (const Section *section = section_list; section != nullptr; section = section->next)
        state += state_weight(section) * section->base_address;
    return state;
}

static void begin_run()
{
    ++run.number;
    run.moved = false;
    run.state_change = 0;
    run.due = sets_cells_again ? all_steps() : run.next_due;
    run.next_due = NO_READERS;
}

static void take_back_run(const std::vector<uint32_t> &bases)
{
    for (Cell &cell : cells) {
        if (cell.changed_in == run.number)
            cell.value = cell.value_at_head;
    }
    size_t place = 0;
    for (Section *section = section_list; section != nullptr; section = section->next)
        section->base_address = bases[place++];
}

ReplayResult replay_pass(uint64_t *state)
{
    const std::vector<uint32_t> bases = base_addresses();
    const uint64_t sections_at_head = state_of_sections();
    begin_run();
    const bool complete = run_due_steps();
    if (complete && run.moved) {
        *state += run.state_change + state_of_sections() - sections_at_head;
        return ReplayResult::MOVED;
    }
    take_back_run(bases);
    return complete ? ReplayResult::SETTLED : ReplayResult::DIVERGED;
}

void store_replayed_values()
{
    keep_replaced_jumps(false);
    for (size_t cell = 0; cell < cells.size(); ++cell) {
        Symbol *symbol = layout_record.symbols[cell];
        if (symbol == nullptr)
            continue;
        if (!layout_record.holds_code[cell])
            symbol->value = cells[cell].value;
        else if (cells[cell].value != 0)
            symbol->attrs |= ATTR_CODE;
    }
}

void check_replay()
{
    const std::vector<uint32_t> bases = base_addresses();
    begin_replay_from(layout_record.starts);
    begin_run();
    bool same = run_due_steps() && bases == base_addresses();
    for (size_t cell = 0; cell < cells.size(); ++cell) {
        if (layout_record.symbols[cell] != nullptr)
            same = same && cells[cell].value == layout_record.values[cell];
    }
    if (!same)
        std::abort();
}
