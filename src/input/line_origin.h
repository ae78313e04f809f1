// Where the line at hand comes from: which expansions and include files lie between it and the main
// source.
#pragma once

#include "base/position.h"
#include <optional>
#include <string>
#include <vector>

// Where the text of the line at hand stands: in a file, or in the body that is being run.
SourcePosition line_place();

// The way to the line at hand, innermost step first.
std::vector<std::string> line_origin();

// What is read over and over: a macro or a file that stands on the stack of inputs more than once.
struct RepeatedInput {
    std::string name;     // "macro NAME", or the file's
    std::string text;     // how it comes about
    SourcePosition place; // what brings it up again
};
std::optional<RepeatedInput> repeated_input();

std::string place_text(const SourcePosition &place);
