// An @ file holds what could stand on the command line: words between blanks and ends of lines, "#"
// at the start of a word begins a comment, quotes of either kind hold blanks. Its paths are
// relative to the file itself, so that a layout works from wherever it is used.
#include "nvlink8/words.h"

#include "nvlink8/input.h"

// Deeper nesting is a file that asks for itself.
static constexpr int NESTING_MAX = 16;

// Some editors begin a text file with it.
static constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

struct WordReader {
    const std::string &path;
    std::string directory;
    std::string_view rest;
    int line = 1;
};

static std::string directory_of(const std::string &path)
{
    return path.substr(0, path.rfind('/') + 1);
}

std::string path_of(const Word &word, const std::string &path)
{
    return path.starts_with('/') ? path : word.directory + path;
}

static bool is_blank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

static void skip_to_word(WordReader *reader)
{
    bool comment = false;
    while (!reader->rest.empty()) {
        const char c = reader->rest.front();
        comment = c != '\n' && (comment || c == '#');
        if (!comment && !is_blank(c))
            return;
        reader->line += c == '\n';
        reader->rest.remove_prefix(1);
    }
}

// Takes the word at the front of the rest. A quote that isn't closed on its line is reported.
static Word take_word(WordReader *reader, Messages *messages)
{
    Word word{"", reader->directory, text("%s:%d", reader->path.c_str(), reader->line)};
    char quote = 0;
    while (!reader->rest.empty()) {
        const char c = reader->rest.front();
        if (c == '\n' || (quote == 0 && is_blank(c)))
            break;
        reader->rest.remove_prefix(1);
        if (c == quote)
            quote = 0;
        else if (quote == 0 && (c == '"' || c == '\''))
            quote = c;
        else
            word.text += c;
    }
    if (quote != 0)
        add_error(messages, "%s: the quote %c isn't closed", word.origin.c_str(), quote);
    return word;
}

static void add_word(Word word, std::vector<Word> *words, Messages *messages)
{
    if (word.text.empty()) {
        add_error(messages, "%s%san empty word, which is neither an option nor a file",
                  word.origin.c_str(), word.origin.empty() ? "" : ": ");
        return;
    }
    words->push_back(std::move(word));
}

static void add_words_of_file(const std::string &path, const std::string &origin, int depth,
                              std::vector<Word> *words, Messages *messages,
                              std::vector<std::string> *files)
{
    const std::string where = origin.empty() ? "" : origin + ": ";
    if (depth > NESTING_MAX) {
        add_error(messages, "%s@%s: files nested deeper than %d", where.c_str(), path.c_str(),
                  NESTING_MAX);
        return;
    }
    InputBytes bytes;
    std::string problem;
    if (!read_input(path, &bytes, &problem)) {
        add_error(messages, "%scan't read @%s: %s", where.c_str(), path.c_str(), problem.c_str());
        return;
    }
    files->push_back(path);
    const std::string contents(bytes.begin(), bytes.end());
    if (contents.find('\0') != std::string::npos) {
        add_error(messages, "%s@%s: not a text file", where.c_str(), path.c_str());
        return;
    }
    WordReader reader{path, directory_of(path), contents};
    if (reader.rest.starts_with(BYTE_ORDER_MARK))
        reader.rest.remove_prefix(BYTE_ORDER_MARK.size());
    for (skip_to_word(&reader); !reader.rest.empty(); skip_to_word(&reader)) {
        Word word = take_word(&reader, messages);
        if (word.text.starts_with('@'))
            add_words_of_file(path_of(word, word.text.substr(1)), word.origin, depth + 1, words,
                              messages, files);
        else
            add_word(std::move(word), words, messages);
    }
}

std::vector<Word> read_option_file(const std::string &path, Messages *messages,
                                   std::vector<std::string> *files)
{
    std::vector<Word> words;
    add_words_of_file(path, "", 1, &words, messages, files);
    return words;
}

std::vector<Word> expand_words(std::span<const std::string> arguments, Messages *messages,
                               std::vector<std::string> *files)
{
    std::vector<Word> words;
    for (const std::string &argument : arguments) {
        if (argument.starts_with('@'))
            add_words_of_file(argument.substr(1), "", 1, &words, messages, files);
        else
            add_word({argument, "", ""}, &words, messages);
    }
    return words;
}
