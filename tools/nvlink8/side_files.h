// The small outputs beside the image.
#pragma once

#include "nvlink8/program.h"

// The public symbols of the objects as --define lines, an option file for another link.
std::string export_text(const Program &program);

// A rule for make: the first output, or the map without one, depends on all that was read.
std::string depfile_text(const Options &options, const Program &program);
