// The public names of the program and who defines each.
#pragma once

#include "nvlink8/messages.h"
#include "nvlink8/program.h"

// Fills program->symbols and the symbols of each object. Reports names that are defined twice and
// externals whose attributes disagree with their definition.
void resolve_symbols(const Options &options, Program *program, Messages *messages);

// Gives the symbols that the linker makes for sections (docs/object-format.md lists them) to those
// names that are wanted and that nobody defines. After the blocks have been joined.
void make_section_symbols(const Options &options, Program *program, Messages *messages);

// Gives every symbol its value. After everything is placed.
void settle_symbols(const Options &options, Program *program);

// Reports the names that somebody uses and nobody defines, each with all its uses.
void report_undefined(const Options &options, const Program &program, Messages *messages);

// Where the name is defined: a file's name, "--define", "the linker".
std::string definition_place(const Program &program, const Symbol &symbol);
