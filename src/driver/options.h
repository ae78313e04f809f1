// A small command-line engine that knows nothing of assembly: options are described by texts.
#pragma once

#include "base/settings.h"
#include <cstdint>
#include <span>
#include <string_view>

// One option. The text is its key, up to the first blank, and what the usage listing shows. In the
// key "#" takes a number, "*" a text (both from the rest of the word or from the next one), "?" one
// character; a leading "<" hides the option from the usage listing, and ">" at the end asks for the
// next element of an array. Every other character, "+" too, must stand in the word as it is.
// Exactly one of the targets is set: a flag, a number, a text, or an array.
struct OptionDescriptor {
    const char *text;
    bool *flag;
    int32_t *number;
    const char **name;
    TextArray *array;
};

// An option that begins with "--" and must be written out to its last letter. A word that ends in
// "=" takes the text after it, which must not be empty. Exactly one of the targets is set: a flag,
// a text, or an action, which ends the process.
struct LongOption {
    std::string_view word; // without the dashes
    bool *flag;
    const char **name;
    void (*action)();
};

// Parses the options; on return *argc and *argv hold the file arguments alone, wildcards expanded.
// `title` stands in the banner, `files_word` in the usage line; without it (none) the caller takes
// no files. An unknown option, a bad number, too many values for an array, "-help" and "-vers" end
// the process with status 1 after their text on standard error; so does a command line that has
// neither options nor files.
void parse_options(int *argc, char ***argv, const char *title, const char *files_word,
                   std::span<const OptionDescriptor> options,
                   std::span<const LongOption> long_options);

// Replaces each file argument that holds "*" or "?" by the files that match it, with their names
// turned to lower case; a pattern that matches nothing vanishes.
void expand_wildcards(int *argc, char ***argv);
