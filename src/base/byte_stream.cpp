// Chains of 1024-byte blocks.

#include "base/byte_stream.h"

#include "base/memory.h"
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

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

// Not inlined: what is rare would else cost every byte the registers that it takes.
[[gnu::noinline]] void add_chunk(ByteStream *stream)
{
    auto *chunk = new_node<CodeChunk>(nullptr);
    chunk->data = static_cast<uint8_t *>(xalloc(CHUNK_SIZE, nullptr));
    *stream->tail = chunk;
    stream->tail = &chunk->next;
    stream->write_point = chunk->data;
    stream->free_count = CHUNK_SIZE;
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

void stream_put_text(ByteStream *stream, std::string_view text)
{
    while (!text.empty()) {
        if (stream->free_count == 0)
            add_chunk(stream);
        const size_t piece = std::min<size_t>(text.size(), stream->free_count);
        std::memcpy(stream->write_point, text.data(), piece);
        stream->write_point += piece;
        stream->free_count -= static_cast<uint32_t>(piece);
        text.remove_prefix(piece);
    }
}

void print_to(ByteStream *stream, const char *format, ...)
{
    char room[1024];
    std::va_list arguments;
    va_start(arguments, format);
    const auto length = static_cast<size_t>(std::vsnprintf(room, sizeof room, format, arguments));
    va_end(arguments);
    if (length < sizeof room) {
        stream_put_text(stream, {room, length});
        return;
    }
    std::string text(length + 1, '\0');
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    text.pop_back();
    stream_put_text(stream, text);
}

uint32_t append_pieces(const ByteStream *stream, std::vector<std::span<const uint8_t>> *pieces)
{
    uint32_t total = 0;
    for (const CodeChunk *chunk = stream->head; chunk != nullptr; chunk = chunk->next) {
        const uint32_t size = chunk->next != nullptr ? CHUNK_SIZE : CHUNK_SIZE - stream->free_count;
        pieces->emplace_back(chunk->data, size);
        total += size;
    }
    return total;
}
