// The passes over one source file, one after the other until no label moves.
#pragma once

// For a new source file, and when it starts over.
void prepare_passes();

// One pass over source_file_name: the sizing pass, or one that assembles. True when another pass is
// needed.
bool run_pass();

// The sizing pass, recorded where the passes after it may be replayed.
void run_sizing_pass();

// Passes until nothing moves. At least one runs. Reports "labels do not settle".
void run_passes_until_settled();

// Under branch optimisation and with a listing, the pass that lists, after the others.
void run_listing_pass();
