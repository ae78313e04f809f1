// Reads the inputs and decides which members of archives belong to the program.
#pragma once

#include "nvlink8/messages.h"
#include "nvlink8/program.h"

// Fills program->objects, in the order of the command line, members in the place of their archive,
// and program->pieces, a piece for each section. What can't be read or is damaged is reported.
void load_inputs(const Options &options, Program *program, Messages *messages);
