// Instructions as they are written.
#pragma once

#include "nvobj8/program.h"

// The instruction at the offset of the section as a line that gives the same bytes and relocations
// under -b. Nothing if there is none: the assembler chooses the form of an operand by its value.
std::optional<std::string> instruction_text(DisassembledProgram *program,
                                            DisassembledSection *section, uint32_t offset,
                                            const DecodedInstruction &instruction);
