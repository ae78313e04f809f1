// Inputs are read whole: a linker needs nearly all of each, and most are small.
#include "nvlink8/input.h"

#include "base/host.h"
#include <cerrno>
#include <cstring>

static const std::map<std::string, InputBytes> *inputs_in_memory = nullptr;

void set_inputs_in_memory(const std::map<std::string, InputBytes> *files)
{
    inputs_in_memory = files;
}

bool input_exists(const std::string &path)
{
    if (inputs_in_memory != nullptr)
        return inputs_in_memory->contains(path);
    return path_kind(path.c_str()) == PathKind::REGULAR;
}

static bool read_memory(const std::string &path, InputBytes *bytes, std::string *problem)
{
    const auto found = inputs_in_memory->find(path);
    if (found == inputs_in_memory->end()) {
        *problem = "no such file";
        return false;
    }
    *bytes = found->second;
    return true;
}

bool read_input(const std::string &path, InputBytes *bytes, std::string *problem)
{
    if (inputs_in_memory != nullptr)
        return read_memory(path, bytes, problem);
    std::FILE *file = nullptr;
    if (open_for_reading(path.c_str(), &file) != Opening::OPEN) {
        const PathKind kind = path_kind(path.c_str());
        *problem = kind == PathKind::MISSING   ? "no such file"
                   : kind == PathKind::REGULAR ? "it may not be read"
                                               : "it is no regular file";
        return false;
    }
    uint8_t block[65536];
    size_t size = 0;
    while ((size = std::fread(block, 1, sizeof block, file)) != 0)
        bytes->insert(bytes->end(), block, block + size);
    const bool failed = std::ferror(file) != 0;
    if (failed)
        *problem = std::strerror(errno);
    std::fclose(file);
    return !failed;
}
