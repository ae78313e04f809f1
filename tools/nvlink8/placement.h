// Joins sections to blocks and gives every block its addresses.
#pragma once

#include "nvlink8/messages.h"
#include "nvlink8/program.h"

// Makes program->blocks of the live pieces that have room. Reports attributes that clash.
void join_sections(const Options &options, Program *program, Messages *messages);

// Gives run and load addresses to all blocks and pieces. Reports overlaps, what doesn't fit, and
// bytes that would be in RAM when the power comes. False if a block has no address.
bool place_sections(const Options &options, Program *program, Messages *messages);

// What is added to a value that counts from a section of an object, by the section's number.
inline uint32_t piece_base(const Program &program, uint32_t object, uint32_t section)
{
    const InputSection &piece = program.pieces[program.objects[object].first_piece + section - 1];
    return piece.address - section_of(program, piece).address;
}

// What the symbols of a section's name tell: of its joined pieces; of all, from the first to the
// last, if there are only absolute ones or ones placed apart.
struct SectionSpan {
    uint32_t start = 0;
    uint32_t size = 0;
    uint32_t load = 0;
};
SectionSpan span_of_section(const Program &program, const std::string &section);
