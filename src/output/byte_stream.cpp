// Chains of 1024-byte blocks.

#include "output/byte_stream.h"

#include "driver/memory.h"
#include <algorithm>
#include <cstring>

void init_stream(ByteStream *stream)
{
    *stream = {nullptr, &stream->head, nullptr, 0};
}

void reset_stream(ByteStream *stream)
{
    CodeChunk *chunk = stream->head;
    while (chunk != nullptr) {
        free_block(chunk->data);
        chunk = xfree(chunk, chunk->next);
    }
    init_stream(stream);
}

static void add_chunk(ByteStream *stream)
{
    auto *chunk = new_node<CodeChunk>(nullptr);
    chunk->data = static_cast<uint8_t *>(xalloc(CHUNK_SIZE, nullptr));
    *stream->tail = chunk;
    stream->tail = &chunk->next;
    stream->write_point = chunk->data;
    stream->free_count = CHUNK_SIZE;
}

void stream_put_byte(ByteStream *stream, uint8_t byte)
{
    if (stream->free_count == 0)
        add_chunk(stream);
    *stream->write_point++ = byte;
    --stream->free_count;
}

void stream_fill(ByteStream *stream, uint8_t byte, uint32_t count)
{
    require_memory(count);
    while (count != 0) {
        if (stream->free_count == 0)
            add_chunk(stream);
        const uint32_t piece = std::min(count, stream->free_count);
        std::memset(stream->write_point, byte, piece);
        stream->write_point += piece;
        stream->free_count -= piece;
        count -= piece;
    }
}

uint32_t write_stream(const ByteStream *stream, std::FILE *file)
{
    uint32_t written = 0;
    for (const CodeChunk *chunk = stream->head; chunk != nullptr; chunk = chunk->next) {
        const uint32_t size = chunk->next != nullptr ? CHUNK_SIZE : CHUNK_SIZE - stream->free_count;
        std::fwrite(chunk->data, 1, size, file);
        written += size;
    }
    return written;
}
