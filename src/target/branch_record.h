// Which jumps have been assembled so far in this pass: later branches that can't reach their target
// may hop through one of them.
#pragma once

#include <cstdint>

// Forgets all jumps.
void forget_jumps();

// The same at the head of a text pass, and in the sizing pass the records of sections that are
// gone.
void reset_branch_records();

// Notes a jump to `target` at `address` in the current section; the latest jump to a target wins.
void record_jump(uint32_t target, uint32_t address);

// Finds a jump to `target` in the current section and stores its address; false without one.
bool find_jump(uint32_t target, uint32_t *address);
