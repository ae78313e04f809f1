// From the paths of "-i" and of the environment to the directories that are really there.

#include "driver/include_paths.h"

#include "base/host.h"
#include "base/memory.h"
#include "driver/word_file.h"
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

void add_env_paths(TextArray *array, const char *variable)
{
    const char *value = std::getenv(variable);
    if (value == nullptr)
        return;
    while (*value != '\0') {
        if (array->count == array->capacity) {
            std::fputs("too many pathnames\n", stderr);
            end_process(1);
        }
        const size_t length = std::strcspn(value, ";");
        const bool backslash = length > 0 && value[length - 1] == '\\';
        array->items[array->count++] = copy_text({value, length - (backslash ? 1 : 0)});
        value += length;
        if (*value == ';')
            ++value;
    }
}

static bool is_listed(const TextArray &list, const char *path)
{
    return std::any_of(list.items, list.items + list.count,
                       [path](const char *item) { return std::strcmp(item, path) == 0; });
}

// Adds a directory and, depth first, everything below it.
static void add_path(TextArray *list, const char *path)
{
    if (is_listed(*list, path))
        return;
    if (list->count == list->capacity) {
        const size_t old_size = sizeof(char *) * static_cast<size_t>(list->capacity);
        auto **grown = static_cast<const char **>(xalloc(2 * old_size, nullptr));
        std::memcpy(grown, list->items, old_size);
        free_block(list->items);
        list->items = grown;
        list->capacity *= 2;
    }
    list->items[list->count++] = copy_text(path);
    const auto names = subdirectories(path);
    if (!names)
        end_unreadable(path);
    for (const std::string &name : *names)
        add_path(list, (std::string(path) + path_separator + name).c_str());
}

// As path_kind, for a path that has to be known.
static PathKind known_kind(const std::string &path)
{
    const PathKind kind = path_kind(path.c_str());
    if (kind == PathKind::UNKNOWN)
        end_unreadable(path.c_str());
    return kind;
}

static std::string without_trailing_separator(std::string_view path)
{
    if (path.ends_with('/') || path.ends_with('\\'))
        path.remove_suffix(1);
    return std::string(path);
}

// A file of the path list names directories, one word each. List files don't nest.
static void add_listed_paths(TextArray *list, const char *file_name)
{
    const WordFile file = read_word_file(file_name);
    // An unreadable or empty list is as good as none; what is left to tell is a malformed one.
    if (!file.error.empty() && file.error[0] != 'c' && file.error[0] != 'n')
        std::printf("%s\n", file.error.c_str());
    for (const std::string &word : file.words) {
        const std::string path = without_trailing_separator(word);
        if (known_kind(path) == PathKind::DIRECTORY)
            add_path(list, path.c_str());
    }
}

TextArray expand_path_list(const TextArray &array)
{
    const auto size = static_cast<size_t>(array.capacity) * sizeof(char *);
    TextArray list = {static_cast<const char **>(xalloc(size, nullptr)), array.capacity, 0};
    for (int32_t i = 0; i < array.count; ++i) {
        const std::string path = without_trailing_separator(array.items[i]);
        const PathKind kind = known_kind(path);
        if (kind == PathKind::DIRECTORY)
            add_path(&list, path.c_str());
        else if (kind == PathKind::REGULAR)
            add_listed_paths(&list, path.c_str());
    }
    return list;
}
