// Source text of every host: a carriage return ahead of a line feed never reaches the assembler,
// where it would end up in macro arguments.

#include "input/source_reader.h"

#include <cerrno>

// The next character; a signal in between is no end.
static int read_character(std::FILE *file)
{
    int c = std::getc(file);
    while (c == EOF && std::ferror(file) && errno == EINTR) {
        std::clearerr(file);
        c = std::getc(file);
    }
    return c;
}

// The next character, CR LF taken as one line feed.
static int next_character(std::FILE *file)
{
    const int c = read_character(file);
    if (c != '\r')
        return c;
    const int following = read_character(file);
    if (following == '\n')
        return '\n';
    if (following != EOF)
        std::ungetc(following, file);
    return c;
}

bool read_source_line(std::FILE *file, char *buffer, size_t room)
{
    size_t length = 0;
    while (length + 1 < room) {
        const int c = next_character(file);
        if (c == EOF)
            break;
        buffer[length++] = static_cast<char>(c);
        if (c == '\n')
            break;
    }
    buffer[length] = '\0';
    // A line that breaks off where reading fails is none.
    return length > 0 && !std::ferror(file);
}

void skip_source_line(std::FILE *file)
{
    int c;
    do
        c = read_character(file);
    while (c != '\n' && c != EOF);
}
