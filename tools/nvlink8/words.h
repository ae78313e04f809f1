// The words of the command line, those of @ files in their place.
#pragma once

#include "nvlink8/messages.h"
#include <span>
#include <string>
#include <vector>

struct Word {
    std::string text;
    std::string directory; // that paths in it are relative to: empty, or ends in "/"
    std::string origin;    // "layout.txt:3"; empty on the command line itself
};

// Takes the words as they are, and in the place of each "@file" the words of the file. The files
// are added to `files`.
std::vector<Word> expand_words(std::span<const std::string> arguments, Messages *messages,
                               std::vector<std::string> *files);

// The words of one such file.
std::vector<Word> read_option_file(const std::string &path, Messages *messages,
                                   std::vector<std::string> *files);

// The path that a word names.
std::string path_of(const Word &word, const std::string &path);
