// The reader of word files: first all lines are read, then the words are cut out, so that a line
// that is too long is reported ahead of a quote that isn't closed.

#include "driver/word_file.h"

#include "base/file_register.h"
#include "base/host.h"
#include "base/number.h"
#include <cstdio>

constexpr size_t LINE_ROOM = 10240; // what a line may take, end mark included
constexpr size_t LINE_MAX_LENGTH = 10238;

// Where the word that begins at `start` ends, its closing quote not included. A quoted word without
// its closing quote runs to the end of the line.
static size_t word_end(const std::string &line, size_t start)
{
    const char quote = line[start];
    size_t end = start + 1;
    if (quote == '"' || quote == '\'') {
        while (end < line.size() && line[end] != quote)
            ++end;
    } else {
        while (end < line.size() && !is_space(line[end]))
            ++end;
    }
    return end;
}

// Adds the words of one line, quotes taken off; false when a quote isn't closed.
static bool add_words(const std::string &line, WordFile *file)
{
    for (size_t i = 0; i < line.size(); ++i) {
        if (is_space(line[i]))
            continue;
        if (line[i] == '#')
            return true;
        const size_t end = word_end(line, i);
        if (line[i] == '"' || line[i] == '\'') {
            if (end == line.size()) {
                file->error = std::string("unmatched ") + line[i] + " in: " + line;
                return false;
            }
            file->words.push_back(line.substr(i + 1, end - i - 1));
            i = end;
        } else {
            file->words.push_back(line.substr(i, end - i));
            i = end - 1;
        }
    }
    return true;
}

// Reads the lines into `lines`; false, with the error set, when one is too long.
static bool read_lines(std::FILE *stream, const char *name, std::vector<std::string> *lines,
                       WordFile *file)
{
    std::string buffer(LINE_ROOM, '\0');
    while (std::fgets(buffer.data(), static_cast<int>(LINE_ROOM), stream) != nullptr) {
        lines->emplace_back(buffer.c_str());
        if (lines->back().size() > LINE_MAX_LENGTH) {
            file->error =
                "line " + std::to_string(lines->size()) + " too long in file " + std::string(name);
            return false;
        }
    }
    return true;
}

WordFile read_word_file(const char *name)
{
    WordFile file;
    std::FILE *stream = nullptr;
    const Opening opening = open_for_reading(name, &stream);
    if (opening == Opening::ABSENT || opening == Opening::DENIED) {
        file.error = std::string("can't open file ") + name;
        return file;
    }
    if (opening != Opening::OPEN)
        end_unreadable(name);
    note_input(name);
    std::vector<std::string> lines;
    const bool complete = read_lines(stream, name, &lines, &file);
    if (std::ferror(stream))
        end_unreadable(name);
    std::fclose(stream);
    if (!complete)
        return file;
    for (const std::string &line : lines) {
        if (!add_words(line, &file)) {
            file.words.clear();
            return file;
        }
    }
    if (file.words.empty())
        file.error = std::string("no command found in ") + name;
    return file;
}
