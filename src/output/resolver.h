// What happens between the sizing pass and the passes that count: sections and symbols get the
// numbers by which the object file knows them.
#pragma once

struct Symbol;

// The symbol of the message that is being printed, null for other messages.
extern const Symbol *symbol_in_report;

// Forgets what earlier sizing passes have remembered, for a new source file.
void forget_late_needs();

// Decides which sections and symbols the object file will have, numbers them and follows aliases.
// The sections that are not kept have the numbers above section_count.
// Reports undefined symbols at once, or leaves them to report_late_undefined. Once after each
// sizing pass.
void resolve_symbols(bool report_at_once);

// After the last pass of a source without errors: whether the passes needed sections or symbols
// that have no number. They are remembered, so that resolve_symbols numbers them after a further
// sizing pass; true only if there was something new.
bool find_late_needs();

// Reports the symbols that are still undefined though resolve_symbols hasn't reported them: those
// left to a later pass, and those that only a later pass has met.
void report_late_undefined();

// Reports what a later pass did that the numbers can't stand: an object file is right or it is not
// written. After the last pass of a source without errors.
void report_broken_numbering();
