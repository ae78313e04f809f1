// The values of the cells while passes are replayed, and where the runs stand.
//
// Most runs only move, and mostly all of them from some place on by the same distance. So a tree
// stands over the runs, and a stretch of them, which is a node of it, moves by a note in that node.
// The note goes down when a pass comes to a run below it; who reads a value adds up the notes
// above.
//
// A run is calm if the labels that it sees have not moved since it was last looked at, other than
// along with it. Then two numbers tell how far the run may move before those ahead of it do, and
// two numbers do for a stretch of calm runs. So a pass costs what it changes, times the height of
// the tree.
#pragma once

#include "target/layout_runs.h"
#include <cstdint>
#include <vector>

// Takes the runs of `layout_runs`, none of them calm, and the values of the cells.
void begin_stretches(const std::vector<uint32_t> &values);

// Begins a pass, whose head is here. Gives its number, from 1.
uint32_t begin_stretches_pass();

uint32_t cell_value(uint32_t cell);
uint32_t cell_value_at_head(uint32_t cell);
void set_cell_value(uint32_t cell, uint32_t value);

// Takes back what the pass has done to a cell that no step with a location sets.
void take_back_cell_value(uint32_t cell);

// The same for all cells, after the last pass.
void take_back_cell_values();

// The run, with its `start` up to date.
Run *find_run(uint32_t number);

// The run has been run: it may have another size, and what looks at it isn't calm any more.
void note_run(uint32_t number);

// Whether all forms in the run, and the distances that it computes, stay what they are if it moves
// so many bytes towards the head of its section, while the labels ahead are still where they were.
bool only_moves(uint32_t number, uint32_t distance);

// Distances towards the head of the section, in bytes.
struct Moves {
    uint32_t shortest;
    uint32_t longest;
};
constexpr Moves ALL_MOVES = {0, UINT32_MAX};

// Runs one below the other in one section.
struct Stretch {
    uint16_t section; // its number; 0 if they are not of one section
    bool calm;
    bool has_labels;
    uint32_t size;   // in bytes; this and the next if it is calm
    Moves moves;     // for which all forms in it stay what they are
    uint64_t weight; // as in Run
    Readers readers;
};

// The longest stretch that begins with the run, which may move so many bytes, and that may do the
// same and ends within `size_max` bytes. `end` gets the run below it.
const Stretch &widest_stretch(uint32_t number, uint32_t distance, uint32_t size_max, uint32_t *end);

// Moves it so many bytes towards the head of its section.
void move_stretch(const Stretch &stretch, uint32_t distance);
