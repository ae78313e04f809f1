// The tree lies in an array: a node n stands over the four from 4 n on, the root is 1, and the
// leaves are the runs. Nodes over runs of several sections, or over steps of no section, do
// nothing.

#include "target/stretches.h"

#include "output/section_table.h"
#include <algorithm>
#include <span>

static std::vector<uint32_t> values; // of the cells, but for the notes above them

// Which pass was the last to set the cell, other than by moving its run, and what it held before.
struct Change {
    uint32_t pass;
    uint32_t before;
};
static std::vector<Change> changes;

static std::vector<Stretch> stretches; // by node
static uint32_t first_leaf;

constexpr uint32_t LEVEL_SHIFT = 2;
constexpr uint32_t CHILDREN = 1U << LEVEL_SHIFT;

// How many nodes above the run, one above the other, are of one section.
static std::vector<uint8_t> heights;

// By node, in bytes towards the head of the section. The note at a leaf has been carried out.
struct Note {
    uint32_t distance; // for the nodes below
    uint32_t last;     // of it the last move
    uint32_t pass;     // which was in this pass
};
static std::vector<Note> notes;
static uint32_t moves_noted; // so far

// What `moves_noted` was when all notes had come down to the run.
static std::vector<uint32_t> settled;

static uint32_t pass;

static Stretch stretch_of_run(const Run &run)
{
    return {run.home, false, run.first_cell != run.end_cell, 0, {}, run.weight, run.readers};
}

// The stretches of one node, in their order.
static std::span<const Stretch, CHILDREN> children_of(uint32_t node)
{
    return std::span(stretches).subspan(size_t{node} << LEVEL_SHIFT).first<CHILDREN>();
}

static Stretch joined(std::span<const Stretch, CHILDREN> children)
{
    Stretch all = {};
    all.section = children[0].section;
    all.readers = NO_READERS;
    for (const Stretch &child : children) {
        all.section = child.section == all.section ? all.section : uint16_t{0};
        all.has_labels = all.has_labels || child.has_labels;
        all.weight += child.weight;
        all.readers.first = std::min(all.readers.first, child.readers.first);
        all.readers.last = std::max(all.readers.last, child.readers.last);
    }
    return all;
}

static uint8_t height_over(uint32_t run)
{
    uint8_t height = 0;
    for (uint32_t node = (first_leaf + run) >> LEVEL_SHIFT; stretches[node].section != 0;
         node >>= LEVEL_SHIFT)
        ++height;
    return height;
}

static void plant_tree()
{
    const auto runs = static_cast<uint32_t>(layout_runs.runs.size());
    first_leaf = 1;
    while (first_leaf < runs)
        first_leaf <<= LEVEL_SHIFT;
    stretches.assign(size_t{first_leaf} + runs + CHILDREN, {});
    std::ranges::transform(layout_runs.runs, stretches.begin() + first_leaf, stretch_of_run);
    // Only the first nodes of a level stand over runs.
    uint32_t first = first_leaf;
    for (uint32_t nodes = runs; first > 1;) {
        nodes = (nodes + CHILDREN - 1) >> LEVEL_SHIFT;
        first >>= LEVEL_SHIFT;
        for (uint32_t node = first; node < first + nodes; ++node)
            stretches[node] = joined(children_of(node));
    }
    heights.clear();
    for (uint32_t run = 0; run < runs; ++run)
        heights.push_back(height_over(run));
}

void begin_stretches(const std::vector<uint32_t> &start)
{
    values = start;
    changes.assign(values.size(), {});
    moves_noted = 0;
    settled.assign(layout_runs.runs.size(), 0);
    pass = 0;
    plant_tree();
    notes.assign(stretches.size(), {});
}

uint32_t begin_stretches_pass()
{
    return ++pass;
}

static void move_run(Run *run, uint32_t distance)
{
    run->start -= distance;
    for (uint32_t cell = run->first_cell; cell < run->end_cell; ++cell)
        values[layout_runs.cells[cell]] -= distance;
}

static void move_node(uint32_t node, const Note &move)
{
    Note &note = notes[node];
    note.last = move.last;
    note.pass = move.pass;
    if (node >= first_leaf) {
        move_run(&layout_runs.runs[node - first_leaf], move.distance);
        return;
    }
    note.distance += move.distance;
}

static void hand_down(uint32_t node)
{
    Note &note = notes[node];
    if (note.distance == 0)
        return;
    const uint32_t first = node << LEVEL_SHIFT;
    for (uint32_t child = first; child < first + CHILDREN; ++child)
        move_node(child, note);
    note.distance = 0;
}

static uint32_t node_over(uint32_t run, uint32_t height)
{
    return (first_leaf + run) >> (LEVEL_SHIFT * height);
}

static void settle(uint32_t run)
{
    if (settled[run] == moves_noted)
        return;
    settled[run] = moves_noted;
    for (uint32_t height = heights[run]; height != 0; --height)
        hand_down(node_over(run, height));
}

// What the notes above the run come to.
static uint32_t distance_noted(uint32_t run)
{
    uint32_t distance = 0;
    for (uint32_t height = 1; height <= heights[run]; ++height)
        distance += notes[node_over(run, height)].distance;
    return distance;
}

// What this pass has moved the run by, other than by running it.
static uint32_t distance_moved(uint32_t run)
{
    for (uint32_t height = 0; height <= heights[run]; ++height) {
        const Note &note = notes[node_over(run, height)];
        if (note.pass == pass)
            return note.last;
    }
    return 0;
}

uint32_t cell_value(uint32_t cell)
{
    const uint32_t run = layout_runs.runs_of_cells[cell];
    if (run == NO_RUN || settled[run] == moves_noted)
        return values[cell];
    return values[cell] - distance_noted(run);
}

uint32_t cell_value_at_head(uint32_t cell)
{
    if (changes[cell].pass == pass)
        return changes[cell].before;
    const uint32_t run = layout_runs.runs_of_cells[cell];
    return run == NO_RUN ? values[cell] : cell_value(cell) + distance_moved(run);
}

void set_cell_value(uint32_t cell, uint32_t value)
{
    if (changes[cell].pass != pass)
        changes[cell] = {pass, values[cell]};
    values[cell] = value;
}

void take_back_cell_value(uint32_t cell)
{
    if (changes[cell].pass == pass)
        values[cell] = changes[cell].before;
}

void take_back_cell_values()
{
    std::vector<uint32_t> values_at_head;
    for (uint32_t cell = 0; cell < values.size(); ++cell)
        values_at_head.push_back(cell_value_at_head(cell));
    begin_stretches(values_at_head);
}

Run *find_run(uint32_t number)
{
    settle(number);
    return &layout_runs.runs[number];
}

// A node that isn't calm stands below none that is.
static void stir(uint32_t run)
{
    for (uint32_t node = first_leaf + run; stretches[node].calm; node >>= LEVEL_SHIFT)
        stretches[node].calm = false;
}

static bool lies_within(uint32_t distance, const Moves &moves)
{
    return distance >= moves.shortest && distance <= moves.longest;
}

static bool calm_down(uint32_t node)
{
    uint32_t size = 0;
    Moves moves = ALL_MOVES;
    for (const Stretch &child : children_of(node)) {
        if (!child.calm)
            return false;
        size += child.size;
        moves.shortest = std::max(moves.shortest, child.moves.shortest);
        moves.longest = std::min(moves.longest, child.moves.longest);
    }
    stretches[node].size = size;
    stretches[node].moves = moves;
    return stretches[node].calm = true;
}

static void calm_run(uint32_t run, const Moves &moves)
{
    uint32_t node = first_leaf + run;
    stretches[node].moves = moves;
    stretches[node].calm = true;
    do
        node >>= LEVEL_SHIFT;
    while (stretches[node].section != 0 && calm_down(node));
}

// A branch that takes its far form because its label is left behind in each pass may be a near one
// where it stands: such a run must move to stay as it is.
static Moves find_moves(const Run &run)
{
    const uint32_t here = run.start + layout_record.sections[run.section]->base_address;
    Moves moves = ALL_MOVES;
    for (uint32_t place = run.first_ahead; place < run.end_ahead; ++place) {
        const Ahead &ahead = layout_runs.aheads[place];
        const uint32_t taken = cell_value(ahead.cell) + ahead.addend - here;
        if (taken > ahead.span)
            moves.shortest = std::max(moves.shortest, 0 - taken);
        moves.longest = std::min(moves.longest, ahead.span - taken);
    }
    return moves;
}

void note_run(uint32_t number)
{
    const Run &run = layout_runs.runs[number];
    if (run.section == 0) {
        calm_run(number, ALL_MOVES);
        return;
    }
    stretches[first_leaf + number].size = run.size;
    for (uint32_t near = run.seen_from; near <= run.seen_to; ++near)
        stir(near);
}

bool only_moves(uint32_t number, uint32_t distance)
{
    const Run &run = layout_runs.runs[number];
    const Stretch &leaf = stretches[first_leaf + number];
    if (!leaf.calm && run.section != 0)
        calm_run(number, find_moves(run));
    return leaf.calm && lies_within(distance, leaf.moves);
}

const Stretch &widest_stretch(uint32_t number, uint32_t distance, uint32_t size_max, uint32_t *end)
{
    uint32_t node = first_leaf + number;
    uint32_t count = 1;
    while (node % CHILDREN == 0) {
        const Stretch &wider = stretches[node >> LEVEL_SHIFT];
        if (!wider.calm || !lies_within(distance, wider.moves) || wider.size > size_max)
            break;
        node >>= LEVEL_SHIFT;
        count <<= LEVEL_SHIFT;
    }
    *end = number + count;
    return stretches[node];
}

void move_stretch(const Stretch &stretch, uint32_t distance)
{
    if (distance == 0)
        return;
    ++moves_noted;
    move_node(static_cast<uint32_t>(&stretch - stretches.data()), {distance, distance, pass});
}
