// Everything that differs from host to host: path kinds, directory walks, wildcards, signals and
// the end of the process. A port replaces this pair of files and nothing else.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Joins an include path and a file name, and marks a name as rooted when it stands first.
#ifdef _WIN32
constexpr char path_separator = '\\';
#else
constexpr char path_separator = '/';
#endif

// What stands under a path. UNKNOWN: the host failed to tell.
enum class PathKind { MISSING, DIRECTORY, REGULAR, OTHER, UNKNOWN };

// What stands under `path`, symbolic links followed.
PathKind path_kind(const char *path);

// What comes of opening an input. ABSENT is an answer: there is no such file, or it is neither a
// regular file nor the null device. DENIED: it may not be read. EXHAUSTED: too many files are open.
// FAILED: the host could not tell.
enum class Opening { OPEN, ABSENT, DENIED, EXHAUSTED, FAILED };

// Opens an input for reading, byte for byte. Inputs are read by each pass anew, so that a pipe is
// none, and never waited for. `file` is set if the result is OPEN.
Opening open_for_reading(const char *path, std::FILE **file);

// Names of the directories that lie in `path`, in byte order: no name with a leading ".", no
// symbolic link. Empty when the directory may not be read, nothing when the host failed to tell.
std::optional<std::vector<std::string>> subdirectories(const char *path);

// Whether the whole of the name fits the pattern, in which "*" stands for any characters and "?"
// for one.
bool matches_pattern(std::string_view name, std::string_view pattern);

// Names of the regular files in `directory` ("" is the working directory) that match `pattern` by
// the shell's rules for "*" and "?", in byte order. A leading "." must be written out. Empty and
// nothing as above.
std::optional<std::vector<std::string>> matching_files(const std::string &directory,
                                                       const char *pattern);

// Which file a path leads to: the file itself, if there is one, and its place, symbolic links
// followed, so that two names of a file that isn't there yet are known as one.
struct FileIdentity {
    bool exists = false;
    bool regular = false;
    uint64_t device = 0;
    uint64_t number = 0;
    bool place_known = false;
    uint64_t directory_device = 0;
    uint64_t directory_number = 0;
    std::string name; // in that directory
};
FileIdentity identify_file(const char *path);

// Whether both are one file. What is no regular file (a device, a pipe) is never in another's way.
bool is_same_file(const FileIdentity &file, const FileIdentity &other);

// Whether an output may be written there, as far as can be told without writing: false for a
// directory, a missing directory, and what the user may not write to.
bool takes_output(const char *path);

// A part of an output; the parts are written in order.
using Piece = std::span<const uint8_t>;

// Puts an output in place, whole or not at all: a temporary file beside it is renamed when it is
// complete. Symbolic links are followed, and the permissions of the file that it replaces are kept.
// Where no file can be made or renamed there, the file itself is written; what is no regular file,
// or is where standard output or standard error leads, too. False when it could not be written.
bool write_output(const char *path, std::span<const Piece> pieces);

struct Output {
    const char *path = nullptr;
    std::span<const Piece> pieces;
};

struct OutputFailure {
    size_t output = 0; // which of them
    int error = 0;     // errno of it, 0 if the host gave none
};

// The same for several outputs, all or none: if one fails, the others are as they were before, but
// for what was written to devices and pipes.
std::optional<OutputFailure> write_outputs(std::span<const Output> outputs);

// Deletes a file that an earlier run has written; anything but a regular file (a device, say) is
// left. False when that failed.
bool remove_output(const char *path);

// SIGINT ends the process with status 2; it and the other signals that ask a process to end leave
// no temporary file. A closed pipe or a limit on the size of files is no reason to die in the
// middle of writing: the write fails and is reported.
void route_signals();

// Occupies the standard streams that the caller has closed, so that no file that is opened later
// gets one of their numbers and a message as part of its contents.
void occupy_standard_streams();

// Ends the process with status 1 after "can't read %s" on standard error: for what decides which
// files are found, as a guess would find others.
[[noreturn]] void end_unreadable(const char *path);

// Ends the process at once with `status` and leaves no temporary file. Used for command-line errors
// and exhausted memory.
[[noreturn]] void end_process(int status);
