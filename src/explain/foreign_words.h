// Words that mean something in other assemblers, and what is written here.
#pragma once

#include <string>
#include <string_view>

// What to write in the place of the word, as a line of notes; empty for words that aren't known.
std::string advice_for_foreign_word(std::string_view word);
