// The bytes of the finished program by address.
#pragma once

#include "nvlink8/messages.h"
#include "nvlink8/program.h"

// Bytes that follow one another.
struct Segment {
    uint32_t address = 0;
    std::vector<uint8_t> bytes;
};

// In ascending order, with gaps between them.
using Image = std::vector<Segment>;

// How many bytes a checksum takes.
uint32_t checksum_size(ChecksumKind kind);

// Puts the blocks' bytes where they are stored, fills, and stores the checksums.
Image build_image(const Options &options, const Program &program, Messages *messages);

// What of the image lies in the regions of these names; all of it for no names.
Image select_regions(const Options &options, const Image &image,
                     const std::vector<std::string> &names);
