// docs/instructions.md, made from the instruction table.
#pragma once

#include <string>

// The whole document. A test holds the file to it.
std::string instruction_list();
