// Where the bytes of inputs come from.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

using InputBytes = std::vector<uint8_t>;

// Reads a whole file. False with the reason in `problem`.
bool read_input(const std::string &path, InputBytes *bytes, std::string *problem);

// Whether there is such a file.
bool input_exists(const std::string &path);

// The fuzz targets link files that they hold in memory: while this isn't null, there are no others.
void set_inputs_in_memory(const std::map<std::string, InputBytes> *files);
