// From the words of the command line to Options.
#pragma once

#include "nvlink8/messages.h"
#include "nvlink8/options.h"
#include <span>
#include <string>

// What the program is to do after its command line was read.
enum class Task { LINK, SHOW_HELP, SHOW_VERSION, LIST_DEVICES };

// Fills `options`; everything that is wrong with the command line is an error in `messages`.
Task read_command_line(std::span<const std::string> arguments, Options *options,
                       Messages *messages);

// The text of --help.
std::string usage();
