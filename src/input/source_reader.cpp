// Source text of every host: a carriage return ahead of a line feed never reaches the assembler,
// where it would end up in macro arguments.
//
// Files are read in blocks, since asking the library for each character costs more than all else
// that is done with a line. What a block ends with, the beginning of a line, goes right ahead of
// the next block, so that every line lies in one piece.

#include "input/source_reader.h"

#include "base/memory.h"
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

// Small enough for a thousand nested files.
constexpr size_t BLOCK_SIZE = 32768;

struct SourceReader {
    std::FILE *file;
    char *next; // what is not delivered yet, in `text`
    char *end;
    bool ended;                              // nothing follows the block in the file
    char text[READER_ROOM_MAX + BLOCK_SIZE]; // room for the beginning of a line, then the block
};

// A file that failed once isn't asked again.
static void forget_block(SourceReader *reader)
{
    reader->next = reader->text;
    reader->end = reader->text;
    reader->ended = std::ferror(reader->file) != 0;
}

SourceReader *open_reader(std::FILE *file)
{
    auto *reader = static_cast<SourceReader *>(xalloc(sizeof(SourceReader), file));
    forget_block(reader);
    return reader;
}

void close_reader(SourceReader *reader)
{
    if (reader != nullptr)
        std::fclose(reader->file);
    free_block(reader);
}

bool reading_failed(const SourceReader *reader)
{
    return reader->next == reader->end && std::ferror(reader->file);
}

static size_t characters_left(const SourceReader *reader)
{
    return static_cast<size_t>(reader->end - reader->next);
}

long reader_position(const SourceReader *reader)
{
    const long block_end = std::ftell(reader->file);
    return block_end < 0 ? block_end : block_end - static_cast<long>(characters_left(reader));
}

bool seek_reader(SourceReader *reader, long position)
{
    forget_block(reader);
    return std::fseek(reader->file, position, SEEK_SET) == 0;
}

// Reads the next block after what is left of the present one; a signal in between is no end.
static void read_block(SourceReader *reader)
{
    char *block = reader->text + READER_ROOM_MAX;
    const size_t left = characters_left(reader);
    std::memmove(block - left, reader->next, left);
    reader->next = block - left;
    size_t size = std::fread(block, 1, BLOCK_SIZE, reader->file);
    while (size < BLOCK_SIZE && std::ferror(reader->file) && errno == EINTR) {
        std::clearerr(reader->file);
        size += std::fread(block + size, 1, BLOCK_SIZE - size, reader->file);
    }
    reader->end = block + size;
    reader->ended = size < BLOCK_SIZE;
}

void skip_byte_order_mark(SourceReader *reader)
{
    constexpr std::string_view MARK = "\xEF\xBB\xBF";
    read_block(reader);
    if (std::string_view(reader->next, characters_left(reader)).starts_with(MARK))
        reader->next += MARK.size();
}

// Reads a line that needs the next block, has a carriage return or doesn't fit.
[[gnu::noinline]] static bool read_unusual_line(SourceReader *reader, char *buffer, size_t room)
{
    if (characters_left(reader) < room && !reader->ended)
        read_block(reader);
    const char *start = reader->next;
    const size_t left = characters_left(reader);
    const void *newline = std::memchr(start, '\n', std::min(left, room));
    size_t length = std::min(left, room - 1);
    bool after_return = false;
    if (newline != nullptr) {
        const auto before = static_cast<size_t>(static_cast<const char *>(newline) - start);
        after_return = before != 0 && start[before - 1] == '\r';
        // A newline that comes a place too late still fits if it takes that of a carriage return.
        length = before == room - 1 && !after_return ? before : before + 1;
    }
    std::memcpy(buffer, start, length);
    reader->next += length;
    if (after_return)
        buffer[--length - 1] = '\n';
    buffer[length] = '\0';
    // A line that breaks off where reading fails is none.
    return length > 0 && (newline != nullptr || !reading_failed(reader));
}

bool read_source_line(SourceReader *reader, char *buffer, size_t room)
{
    const char *start = reader->next;
    const size_t searched = std::min(characters_left(reader), room - 1);
    const auto *newline = static_cast<const char *>(std::memchr(start, '\n', searched));
    if (newline == nullptr || (newline != start && newline[-1] == '\r'))
        return read_unusual_line(reader, buffer, room);
    const auto length = static_cast<size_t>(newline + 1 - start);
    std::memcpy(buffer, start, length);
    buffer[length] = '\0';
    reader->next += length;
    return true;
}

bool skip_source_line(SourceReader *reader)
{
    for (;;) {
        void *newline = std::memchr(reader->next, '\n', characters_left(reader));
        if (newline != nullptr) {
            reader->next = static_cast<char *>(newline) + 1;
            return true;
        }
        reader->next = reader->end;
        if (reader->ended)
            return !reading_failed(reader);
        read_block(reader);
    }
}
