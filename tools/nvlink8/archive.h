// Reads archives in the common `ar` format, with the long names of GNU and BSD.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

struct ArchiveMember {
    std::string name;
    std::span<const uint8_t> bytes; // within the archive
};

bool is_archive(std::span<const uint8_t> bytes);

// Gives the members in their order, indexes and tables of names left out. What is wrong with the
// archive goes to `problems`, one sentence each; members up to the fault are there.
std::vector<ArchiveMember> read_archive(std::span<const uint8_t> bytes,
                                        std::vector<std::string> *problems);
