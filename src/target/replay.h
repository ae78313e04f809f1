// Passes over the layout record instead of the text.
#pragma once

#include <cstdint>

enum class ReplayResult : uint8_t {
    MOVED,    // the pass was void: the values are those at its end
    SETTLED,  // nothing moved: the values are those that the pass began with
    DIVERGED, // the text would have been read in another way: likewise
};

// At the end of the sizing pass: tells its forward branches which of them stay in their section.
// False if one doesn't that must, which the next pass reports.
bool connect_forward_branches();

// Makes the layout record ready. The passes follow on one that came to its values. Chains of
// equates in reverse order settle at once if `chains_at_once`. Gives whether that is the course of
// the text only if it comes to SETTLED: behind a guard there may be text that reads the chains, and
// it would find them half-way.
bool begin_replay(bool chains_at_once);

// Runs the recorded pass once more, from the values of the cells. `state` is the sum of all values,
// each times its state_weight, and follows what is changed.
ReplayResult replay_pass(uint64_t *state);

// Gives the symbols the values of their cells.
void store_replayed_values();

// Runs the recorded pass from its own start, and ends the process if that doesn't give the values
// that it came to.
void check_replay();
