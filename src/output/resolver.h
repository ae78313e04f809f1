// What happens between the sizing pass and the passes that count: sections and symbols get the
// numbers by which the object file knows them.
#pragma once

// Decides which sections and symbols the object file will have, numbers them, follows aliases and
// reports undefined symbols. Once per source file, behind the sizing pass.
void resolve_symbols();

// Reports what a later pass did that the numbers can't stand: an object file is right or it is not
// written. Once per source file, behind the last pass.
void report_broken_numbering();
