// Which jumps have been assembled so far in this pass: later branches that can't reach their target
// may hop through one of them.
#pragma once

#include <cstddef>
#include <cstdint>

// Forgets the jumps of the pass before, and in the sizing pass the records of sections that are
// gone. At the head of each pass.
void reset_branch_records();

// Notes a jump to `target` at `address` in the current section; the latest jump to a target wins.
void record_jump(uint32_t target, uint32_t address);

// Finds a jump to `target` in the current section and stores its address; false without one.
bool find_jump(uint32_t target, uint32_t *address);

// Whether the jumps recorded from here on can be taken back.
void keep_replaced_jumps(bool keep);

// Marks a place in the sequence of jumps; takes back those after it.
size_t jump_mark();
void take_back_jumps(size_t mark);
