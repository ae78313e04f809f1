// Reads lines of source text.
#pragma once

#include <cstddef>
#include <cstdio>

// A file that is being read.
struct SourceReader;

// The most room that read_source_line is asked to fill.
constexpr size_t READER_ROOM_MAX = 512;

// Begins to read an open file, which the reader takes over.
SourceReader *open_reader(std::FILE *file);

// Steps over a UTF-8 byte order mark at the head of the file, where nothing was read yet.
void skip_byte_order_mark(SourceReader *reader);

// Closes the file. Null is allowed.
void close_reader(SourceReader *reader);

// Where in the file the next line begins, negative when the host can't tell.
long reader_position(const SourceReader *reader);

// Goes to such a place. False when the host can't.
bool seek_reader(SourceReader *reader, long position);

// Whether the file could not be read to its end. Its lines ahead of that place are delivered first.
bool reading_failed(const SourceReader *reader);

// Reads at most `room` - 1 characters up to and with the next newline into `buffer`, which ends in
// a zero byte. CR LF is read as LF. False at the end of the file and when it can't be read, which
// reading_failed tells apart.
bool read_source_line(SourceReader *reader, char *buffer, size_t room);

// Reads on to the character after the next newline. False when the file can't be read that far.
bool skip_source_line(SourceReader *reader);
