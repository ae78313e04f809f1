// Files that hold a list of words.
#pragma once

#include <string>
#include <vector>

// What a word file holds, or why it could not be read.
struct WordFile {
    std::vector<std::string> words; // empty when `error` isn't
    std::string error;              // empty when the file was read
};

// Reads the words of the file `name`: separated by white space, or between two equal quotes; "#"
// where a word could begin opens a comment. Errors: "can't open file %s", "no command found in %s",
// "line %d too long in file %s" and "unmatched %c in: %s". A file that is there and can't be read
// ends the process, see end_unreadable.
WordFile read_word_file(const char *name);
