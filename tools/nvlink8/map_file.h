// The map: what lies where, made for reading.
#pragma once

#include "nvlink8/program.h"

std::string map_text(const Options &options, const Program &program);
