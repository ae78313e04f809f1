// Puts the final values into the fields of all sections.
#pragma once

#include "nvlink8/messages.h"
#include "nvlink8/program.h"

// Changes the contents of the sections of all live pieces that have room. Reports what doesn't fit
// its field. Uses of undefined symbols are left as they are.
void relocate(Program *program, Messages *messages);
