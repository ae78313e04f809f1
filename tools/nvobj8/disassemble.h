// An object as a source that assembles to it.
#pragma once

#include "object/object_reader.h"

// The source that gives the object's sections, contents, relocations and symbols when it is
// assembled with -b. What the language has no words for stands in it as bytes, with a comment. The
// object must be sound: without problems.
std::string disassemble(const ObjectFile &object);
