// How the steps of the layout record hang together: what is the same in all replayed passes.
#pragma once

#include "output/layout_record.h"
#include <cstdint>
#include <vector>

// Which steps read a cell: the first and the last of them, or of several cells.
struct Readers {
    uint32_t first;
    uint32_t last;
};
constexpr Readers NO_READERS = {UINT32_MAX, 0};
constexpr Readers ALL_STEPS = {0, UINT32_MAX};

// How far a branch reaches ahead, from its end.
constexpr int32_t REACH_AHEAD = 127;

constexpr uint32_t NO_STEP = UINT32_MAX;
constexpr uint32_t NO_RUN = UINT32_MAX;

// What the form of a branch depends on.
enum class Tie : uint8_t {
    NONE,      // on nothing that moves, or the step is no branch
    ABOVE,     // on the distance to a label above, in the section
    AHEAD,     // on the distance to a label below, in the section
    FAR_AHEAD, // likewise, but so many bytes lie between that only a label from before can be near
    ODD,       // on anything else
};

// A branch of a run that depends on a label below. It does what it did when it was run last as long
// as the value of the cell, plus the addend, less the location at the head of the run, is at most
// `span`.
struct Ahead {
    uint32_t cell;
    uint32_t addend;
    uint32_t span;
};

// Steps one after the other, in one section or all without a location.
struct Run {
    uint32_t first; // of its steps, and the one below the last
    uint32_t end;
    uint16_t section; // its number; 0 for steps without a location
    uint16_t home;    // the same, or the section whose distances these steps compute, or 0
    bool has_branches;
    bool odd;             // has steps that depend on more than distances
    bool regular;         // was run last where the jumps above went by no value that it meets
    uint32_t least_place; // in its section, if everything above were as short as it can be
    uint32_t least_end;
    uint32_t start; // where it began when it was run last, and how many bytes it took
    uint32_t size;
    uint32_t first_cell; // its labels and places in LayoutRuns::cells
    uint32_t end_cell;
    uint32_t first_ahead; // its branches in LayoutRuns::aheads
    uint32_t end_ahead;
    uint32_t above; // the next runs with branches, up and down the section, or NO_RUN
    uint32_t below;
    uint32_t seen_from; // the first run with a branch that looks ahead to this one or past it
    uint32_t seen_to;   // the last one that computes a distance from here or from above
    uint64_t weight;    // what its labels add to the state for each byte that they move
    Readers readers;    // of its labels, as far as they stand above them
};

struct LayoutRuns {
    std::vector<Run> runs;
    std::vector<uint32_t> cells;
    std::vector<Ahead> aheads;
    std::vector<Tie> ties;               // of the steps
    std::vector<uint32_t> setters;       // of the cells: the step that sets it, or NO_STEP
    std::vector<Readers> readers;        // of the cells
    std::vector<uint32_t> runs_of_cells; // the run whose label or place it is, or NO_RUN
    std::vector<uint64_t> weights;       // what a cell adds to the state, times its value
    bool sets_cells_again;               // a cell is set more than once in a pass
    std::vector<uint32_t> unseen; // equates on which nothing but other such equates above depends
};
extern LayoutRuns layout_runs;

// Finds the runs of the layout record.
void index_layout_record();

inline bool has_location(const LayoutItem &item)
{
    return item.section != 0;
}
