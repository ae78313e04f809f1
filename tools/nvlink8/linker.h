// A whole run, from options to the texts of the outputs.
#pragma once

#include "nvlink8/messages.h"
#include "nvlink8/options.h"
#include <string>
#include <vector>

struct FinishedFile {
    std::string path;
    std::string contents;
};

// Links. The files are complete if `messages` has no error at the end, and none is written yet.
std::vector<FinishedFile> link_program(const Options &options, Messages *messages);
