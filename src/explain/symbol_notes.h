// What can be told of names that are undefined or defined twice.
#pragma once

#include "base/line_context.h"
#include <string>
#include <string_view>

struct Symbol;

// The symbol of the message that is being printed, by name; among local labels of one name that of
// the message. Null if there is none.
const Symbol *reported_symbol(std::string_view name);

// Where it was used first, for the place of a message found between the passes.
LineContext first_use_of(const Symbol *symbol);

// Notes that a word at the line at hand was taken for an unknown instruction: it may be a label.
void remember_unknown_word(std::string_view word);

// Lines of notes for "symbol ... not defined".
std::string notes_on_undefined(std::string_view name);

// The same for a section that `switch` doesn't find, and for "symbol ... multiply defined".
std::string notes_on_unknown_section(std::string_view name);
std::string notes_on_second_definition(std::string_view name, std::string_view directive);
