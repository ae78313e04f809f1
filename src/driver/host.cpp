// The POSIX side of the assembler (and, as far as the standard library carries, of other hosts).

#include "driver/host.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

PathKind path_kind(const char *path)
{
    struct stat status;
    if (stat(path, &status) != 0)
        return PathKind::MISSING;
    if (S_ISDIR(status.st_mode))
        return PathKind::DIRECTORY;
    return S_ISREG(status.st_mode) ? PathKind::REGULAR : PathKind::OTHER;
}

std::FILE *open_for_reading(const char *path)
{
    std::FILE *file = std::fopen(path, "rb");
    if (file == nullptr)
        return nullptr;
    struct stat status;
    if (fstat(fileno(file), &status) == 0 && S_ISDIR(status.st_mode)) {
        std::fclose(file);
        return nullptr;
    }
    return file;
}

std::FILE *open_for_passes(const char *path)
{
    // Looked at first: opening a pipe would wait for its writer.
    struct stat status;
    if (stat(path, &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode)))
        return nullptr;
    return open_for_reading(path);
}

bool is_same_file(const char *path, const char *other)
{
    struct stat status;
    struct stat other_status;
    return stat(path, &status) == 0 && S_ISREG(status.st_mode) && stat(other, &other_status) == 0 &&
           status.st_dev == other_status.st_dev && status.st_ino == other_status.st_ino;
}

bool files_exhausted()
{
    return errno == EMFILE || errno == ENFILE;
}

// Names in `directory` that `wanted` accepts, sorted as bytes so that builds are reproducible.
template <typename Predicate>
static std::vector<std::string> sorted_entries(const std::string &directory, Predicate wanted)
{
    std::vector<std::string> names;
    std::error_code error;
    fs::directory_iterator entry(directory.empty() ? "." : directory, error);
    while (!error && entry != fs::directory_iterator()) {
        if (wanted(*entry))
            names.push_back(entry->path().filename().string());
        entry.increment(error);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> subdirectories(const char *path)
{
    return sorted_entries(path, [](const fs::directory_entry &entry) {
        std::error_code error;
        return entry.path().filename().string().front() != '.' && !entry.is_symlink(error) &&
               entry.is_directory(error);
    });
}

// Matches the whole of `name`. On a mismatch behind a "*" the star takes one character more; only
// the last star ever has to be tried again.
static bool matches_pattern(std::string_view name, std::string_view pattern)
{
    size_t n = 0;
    size_t p = 0;
    size_t star = std::string_view::npos;
    size_t star_name = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            star_name = n;
        } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            n = ++star_name;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

std::vector<std::string> matching_files(const std::string &directory, const char *pattern)
{
    return sorted_entries(directory, [pattern](const fs::directory_entry &entry) {
        std::error_code error;
        const std::string name = entry.path().filename().string();
        if (name.front() == '.' && pattern[0] != '.')
            return false;
        return matches_pattern(name, pattern) && entry.is_regular_file(error);
    });
}

void remove_output(const char *path)
{
    if (path_kind(path) == PathKind::REGULAR)
        std::remove(path);
}

static void on_interrupt(int)
{
    _exit(2);
}

void route_signals()
{
    std::signal(SIGINT, on_interrupt);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void occupy_standard_streams()
{
    int descriptor;
    do
        descriptor = open("/dev/null", O_RDONLY);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0)
        close(descriptor);
}

void end_process(int status)
{
    std::exit(status);
}
