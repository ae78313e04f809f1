// Growing byte streams: the contents and relocations of sections.
#pragma once

#include <cstdint>
#include <cstdio>

// The unit of allocation and of writing.
constexpr uint32_t CHUNK_SIZE = 1024;

struct CodeChunk {
    CodeChunk *next;
    uint8_t *data; // CHUNK_SIZE bytes in a block of their own
};

// Chained pieces, all full but the last; nothing is ever moved when a stream grows. An empty stream
// has no piece and no free bytes.
struct ByteStream {
    CodeChunk *head;
    CodeChunk **tail;     // the link to fill when the next piece is added
    uint8_t *write_point; // in the last piece
    uint32_t free_count;  // bytes left in the last piece
};

// Makes an empty stream of uninitialised or zeroed memory.
void init_stream(ByteStream *stream);

// Frees all pieces; the stream is empty.
void reset_stream(ByteStream *stream);

void stream_put_byte(ByteStream *stream, uint8_t byte);

// `count` times the same byte.
void stream_fill(ByteStream *stream, uint8_t byte, uint32_t count);

// Writes the stream, piece by piece, and gives the number of bytes. Failures show in the file's
// error state.
uint32_t write_stream(const ByteStream *stream, std::FILE *file);
