// Source text of every host: a carriage return ahead of a line feed never reaches the assembler,
// where it would end up in macro arguments.

#include "input/source_reader.h"

// The next character, CR LF taken as one line feed.
static int next_character(std::FILE *file)
{
    const int c = std::getc(file);
    if (c != '\r')
        return c;
    const int following = std::getc(file);
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
    return length > 0;
}

void skip_source_line(std::FILE *file)
{
    int c;
    do
        c = std::getc(file);
    while (c != '\n' && c != EOF);
}
