// Reads lines of source text.
#pragma once

#include <cstddef>
#include <cstdio>

// Reads at most `room` - 1 characters up to and with the next newline into `buffer`, which ends in
// a zero byte. CR LF is read as LF. False at the end of the file and when it can't be read, which
// std::ferror tells apart.
bool read_source_line(std::FILE *file, char *buffer, size_t room);

// Reads on to the character after the next newline.
void skip_source_line(std::FILE *file);
