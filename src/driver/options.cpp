// The option parser walks the words of the command line and, in each word, matches the table's keys
// one after the other at the current position: the first key that fits wins, and the rest of the
// word goes on with further options ("-lc" is "-l -c").

#include "driver/options.h"

#include "base/host.h"
#include "base/memory.h"
#include "base/number.h"
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

static constexpr const char *MAKER = "NOVRIN Software";
static constexpr const char *VERSION = "V" NVASM8_VERSION;
static constexpr const char *RELEASE_DATE = "14 Dec 2023";
static constexpr const char *PLATFORM = "Win32";

// Where the parser stands: the words not looked at yet.
struct WordList {
    int count;
    char **words;
};

static void set_program_name(const char *command)
{
    const char *start = command;
    for (const char *c = command; *c != '\0'; ++c) {
        if (*c == '/' || *c == '\\')
            start = c + 1;
    }
    char *name = copy_text({start, std::strcspn(start, ".")});
    for (char *c = name; *c != '\0'; ++c)
        *c = lower_case(*c);
    settings.program_name = name;
}

static void print_banner(const char *title)
{
    std::fprintf(stderr, "%s%s%s %s", MAKER, title[0] == ' ' ? "" : " ", title, VERSION);
}

[[noreturn]] static void print_version(const char *title)
{
    print_banner(title);
    std::fprintf(stderr, " - %s - %s-F\n", RELEASE_DATE, PLATFORM);
    end_process(1);
}

[[noreturn]] static void print_usage(const char *title, const char *files_word,
                                     std::span<const OptionDescriptor> options)
{
    if (files_word != nullptr) {
        print_banner(title);
        std::fprintf(stderr, "\nusage: %s [options] %s\n", settings.program_name, files_word);
    }
    for (const OptionDescriptor &option : options) {
        if (option.text[0] != '<')
            std::fprintf(stderr, "    %s%s\n", option.text[0] == '+' ? "" : "-", option.text);
    }
    end_process(1);
}

// The value of an option: the rest of its word or, when that is empty, the next word.
static const char *take_value(const char *rest, WordList *words)
{
    if (*rest != '\0' || words->count == 0)
        return rest;
    --words->count;
    return *words->words++;
}

static uint32_t number_value(const char *text)
{
    uint32_t value;
    const char *end = parse_number(text, &value, BASE_FROM_TEXT);
    if (*end != '\0') {
        std::fprintf(stderr, "invalid number: %.*s\n", static_cast<int>(end - text) + 1, text);
        end_process(1);
    }
    return value;
}

static void append_value(TextArray *array, const char *text)
{
    if (array->count == array->capacity) {
        std::fputs("argument list overflow\n", stderr);
        end_process(1);
    }
    array->items[array->count++] = text;
}

// What the keys walked so far at one position of a word have gathered.
struct OptionValue {
    uint32_t number = 1;
    const char *text = nullptr;
};

// Matches one option against the word at `position`. Stores and returns the position after what it
// used, or returns null at the first character that differs; what was gathered up to there stays.
static const char *match_option(const OptionDescriptor &option, const char *position,
                                OptionValue *value, WordList *words)
{
    const char *key = option.text;
    if (*key == '<')
        ++key;
    for (;; ++key) {
        switch (*key) {
        case '#':
            value->number = number_value(take_value(position, words));
            position += std::strlen(position);
            if (key[1] == '#')
                ++key;
            break;
        case '*':
            value->text = take_value(position, words);
            position += std::strlen(position);
            break;
        case '?':
            value->number = static_cast<unsigned char>(*position);
            if (*position != '\0')
                ++position;
            break;
        case '>':
            append_value(option.array, value->text);
            return position;
        case ' ':
        case '\t':
        case '\0':
            if (option.name != nullptr)
                *option.name = value->text;
            else if (option.flag != nullptr)
                *option.flag = true;
            else
                *option.number = static_cast<int32_t>(value->number);
            return position;
        default:
            if (*position != *key)
                return nullptr;
            ++position;
            break;
        }
    }
}

// Matches the first option that fits at `position`; an unknown option ends the process.
static const char *match_any_option(std::span<const OptionDescriptor> options, const char *position,
                                    WordList *words)
{
    OptionValue value;
    for (const OptionDescriptor &option : options) {
        const char *end = match_option(option, position, &value, words);
        if (end != nullptr)
            return end;
    }
    std::fprintf(stderr, "%s: unknown option %s%s\n", settings.program_name,
                 position[0] == '+' ? "" : "-", position);
    end_process(1);
}

// Takes a whole word "--...", or returns false for one that is no long option: the short ones are
// tried with it then.
static bool take_long_option(const char *text, std::span<const LongOption> options)
{
    if (std::strncmp(text, "--", 2) != 0)
        return false;
    const std::string_view word = text + 2;
    for (const LongOption &option : options) {
        if (option.name != nullptr && word.starts_with(option.word) && word != option.word) {
            *option.name = text + 2 + option.word.size();
            return true;
        }
        if (option.name != nullptr || word != option.word)
            continue;
        if (option.flag != nullptr)
            *option.flag = true;
        else
            option.action();
        return true;
    }
    return false;
}

void parse_options(int *argc, char ***argv, const char *title, const char *files_word,
                   std::span<const OptionDescriptor> options,
                   std::span<const LongOption> long_options)
{
    WordList words = {*argc, *argv};
    if (words.count > 0) {
        if (settings.program_name == nullptr) {
            set_program_name(words.words[0]);
            settings.replay_off = std::getenv("NVASM8_NO_REPLAY") != nullptr;
            settings.debug_mode = std::getenv("NVDEBUG") != nullptr;
        }
        --words.count;
        ++words.words;
    }

    bool option_seen = false;
    while (words.count > 0) {
        const char *text = words.words[0];
        if (text[0] != '-' && text[0] != '+')
            break;
        if (std::strcmp(text, "-") == 0)
            break;
        --words.count;
        ++words.words;
        if (std::strcmp(text, "--") == 0)
            break;
        if (take_long_option(text, long_options)) {
            option_seen = true;
            continue;
        }
        if (text[0] == '-')
            ++text;
        if (std::strncmp(text, "help", 4) == 0)
            print_usage(title, files_word, options);
        if (std::strncmp(text, "vers", 4) == 0)
            print_version(title);
        while (*text != '\0') {
            option_seen = true;
            text = match_any_option(options, text, &words);
        }
    }

    if (files_word != nullptr) {
        expand_wildcards(&words.count, &words.words);
        if (!option_seen && words.count == 0)
            print_usage(title, files_word, options);
    }
    *argc = words.count;
    *argv = words.words;
}

// Length of the directory part of `path`, its last separator included; 0 when there is none.
static size_t directory_length(const char *path)
{
    size_t length = 0;
    for (size_t i = 0; path[i] != '\0'; ++i) {
        if (path[i] == '/' || path[i] == '\\')
            length = i + 1;
    }
    return length;
}

void expand_wildcards(int *argc, char ***argv)
{
    // The expanded words, handed out through *argv. They live as long as the process, to its very
    // end: nothing takes the vector apart.
    static auto &expanded = *new std::vector<char *>;

    bool wildcard_seen = false;
    expanded.clear();
    for (int i = 0; i < *argc; ++i) {
        char *word = (*argv)[i];
        if (std::strpbrk(word, "*?") == nullptr) {
            expanded.push_back(word);
            continue;
        }
        wildcard_seen = true;
        const std::string directory(word, directory_length(word));
        const auto files = matching_files(directory, word + directory.size());
        if (!files)
            end_unreadable(word);
        for (const std::string &found : *files) {
            // Names come out in lower case on every host, as the make files of old projects expect.
            std::string path = directory + found;
            std::transform(path.begin() + static_cast<std::ptrdiff_t>(directory.size()), path.end(),
                           path.begin() + static_cast<std::ptrdiff_t>(directory.size()),
                           lower_case);
            expanded.push_back(copy_text(path));
        }
    }
    if (!wildcard_seen)
        return;
    *argc = static_cast<int>(expanded.size());
    expanded.push_back(nullptr);
    *argv = expanded.data();
}
