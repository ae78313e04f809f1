// --gc-sections: drops sections that nothing reaches.
#pragma once

#include "nvlink8/messages.h"
#include "nvlink8/program.h"

// Clears `live` of the pieces that no root reaches and notes what went. Without a root, which is an
// error, nothing changes.
void sweep_sections(const Options &options, Program *program, Messages *messages);
