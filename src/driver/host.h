// Everything that differs from host to host: path kinds, directory walks, wildcards, signals and
// the end of the process. A port replaces this pair of files and nothing else.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

// Joins an include path and a file name, and marks a name as rooted when it stands first.
#ifdef _WIN32
constexpr char path_separator = '\\';
#else
constexpr char path_separator = '/';
#endif

enum class PathKind { MISSING, DIRECTORY, REGULAR, OTHER };

// What stands under `path`, symbolic links followed.
PathKind path_kind(const char *path);

// Opens a file for reading, byte for byte. None when it can't be opened or is a directory, which
// some hosts would let us open and only then refuse to read.
std::FILE *open_for_reading(const char *path);

// The same for text that each pass reads again: a pipe, which would be empty the second time, can't
// be opened either.
std::FILE *open_for_passes(const char *path);

// Whether both names lead to one and the same regular file.
bool is_same_file(const char *path, const char *other);

// Whether the opening that failed last did so because too many files are open.
bool files_exhausted();

// Names of the directories that lie in `path`, in byte order: no name with a leading ".", no
// symbolic link. Empty when the directory can't be read.
std::vector<std::string> subdirectories(const char *path);

// Names of the regular files in `directory` ("" is the working directory) that match `pattern` by
// the shell's rules for "*" and "?", in byte order. A leading "." must be written out.
std::vector<std::string> matching_files(const std::string &directory, const char *pattern);

// Deletes a file that this run has written; anything but a regular file (a device, say) is left.
void remove_output(const char *path);

// SIGINT ends the process with status 2, whatever was written stays. A closed pipe or a limit on
// the size of files is no reason to die in the middle of writing: the write fails and is reported.
void route_signals();

// Occupies the standard streams that the caller has closed, so that no file that is opened later
// gets one of their numbers and a message as part of its contents.
void occupy_standard_streams();

// Ends the process at once with `status`. Used for command-line errors and exhausted memory.
[[noreturn]] void end_process(int status);
