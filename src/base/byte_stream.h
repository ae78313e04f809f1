// Growing byte streams: the contents and relocations of sections, and texts that become files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

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

// Adds an empty piece to a stream that is full.
void add_chunk(ByteStream *stream);

inline void stream_put_byte(ByteStream *stream, uint8_t byte)
{
    if (stream->free_count == 0)
        add_chunk(stream);
    *stream->write_point++ = byte;
    --stream->free_count;
}

// `count` times the same byte.
void stream_fill(ByteStream *stream, uint8_t byte, uint32_t count);

void stream_put_text(ByteStream *stream, std::string_view text);

// The same as stream_put_text for a formatted text.
[[gnu::format(printf, 2, 3)]] void print_to(ByteStream *stream, const char *format, ...);

// Appends the pieces of the stream to `pieces`, uncopied, and gives their size. They hold until the
// stream changes.
uint32_t append_pieces(const ByteStream *stream, std::vector<std::span<const uint8_t>> *pieces);
