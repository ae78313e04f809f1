// The list of directories that an include file is searched in.
#pragma once

#include "base/settings.h"

// Appends the paths of the environment variable `variable`, separated by ";", to `array`; one
// trailing backslash of each is cut. More paths than the array holds end the process with status 1
// after "too many pathnames\n".
void add_env_paths(TextArray *array, const char *variable);

// Gives the directories to search for the paths of `array`, in order: each directory that exists,
// followed by all directories below it, each path once. A path that is a regular file is a list of
// directories; a malformed list is reported on standard output. What doesn't exist is dropped
// without a word; what the host can't tell about ends the process, see end_unreadable. The paths of
// `array` lose one trailing "/" or "\".
TextArray expand_path_list(const TextArray &array);
