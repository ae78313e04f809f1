// The floor below every assembler that works by passes: reads a file as often as it is told to,
// finds the lines, and does nothing with them.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

// Counts the lines of the file; -1 when it can't be read.
static long count_lines(const char *path)
{
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    struct stat status;
    if (file < 0 || fstat(file, &status) != 0)
        return -1;
    std::vector<char> text(static_cast<size_t>(status.st_size));
    const bool complete = read(file, text.data(), text.size()) == status.st_size;
    close(file);
    if (!complete)
        return -1;
    long lines = 0;
    const char *end = text.data() + text.size();
    for (const char *line = text.data(); line < end; ++lines) {
        const auto left = static_cast<size_t>(end - line);
        const auto *newline = static_cast<const char *>(std::memchr(line, '\n', left));
        line = newline != nullptr ? newline + 1 : end;
    }
    return lines;
}

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: read_lines times file\n");
        return 2;
    }
    for (int times = std::atoi(argv[1]); times > 0; --times) {
        if (count_lines(argv[2]) < 0)
            return 1;
    }
    return 0;
}
