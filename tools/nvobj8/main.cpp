// The command line of nvobj8: options and files in, the text of every file out. What is wrong with
// a file goes to standard error and sets the exit status, but the readable rest is still shown.
#include "nvobj8/disassemble.h"
#include "nvobj8/print_object.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <optional>
#include <utility>

static constexpr int STATUS_DAMAGED = 1;
static constexpr int STATUS_USAGE = 2;

static const char USAGE[] = "usage: nvobj8 [options] file.o...\n"
                            "Shows what object files hold; with no option, everything.\n"
                            "  -h  head\n"
                            "  -s  section table\n"
                            "  -x  contents of the sections\n"
                            "  -r  relocations\n"
                            "  -t  symbols\n"
                            "  -g  debug records, the texts and the debug symbol table\n"
                            "  -d  alone: a source that assembles to the object again\n"
                            "  --help, --version\n"
                            "Options combine: -st is -s -t.\n";

// Beside the parts of print_object.
static constexpr unsigned DISASSEMBLE = 0x40;
static_assert((DISASSEMBLE & PRINT_ALL) == 0);

static constexpr std::pair<char, unsigned> PART_LETTERS[] = {
    {'h', PRINT_HEAD},    {'s', PRINT_SECTIONS}, {'x', PRINT_CONTENTS}, {'r', PRINT_RELOCATIONS},
    {'t', PRINT_SYMBOLS}, {'g', PRINT_DEBUG},    {'d', DISASSEMBLE},
};

static std::optional<unsigned> part_of_letter(char letter)
{
    for (const auto &[name, part] : PART_LETTERS) {
        if (name == letter)
            return part;
    }
    return std::nullopt;
}

struct CommandLine {
    unsigned parts = 0;
    std::vector<const char *> files;
};

// Gives an exit status when the program is to end at once.
static std::optional<int> read_command_line(std::span<char *> words, CommandLine *command)
{
    for (std::string_view word : words) {
        if (word == "--help") {
            std::fputs(USAGE, stdout);
            return 0;
        }
        if (word == "--version") {
            std::puts("nvobj8 " NVASM8_VERSION);
            return 0;
        }
        if (!word.starts_with('-') || word == "-") {
            command->files.push_back(word.data());
            continue;
        }
        for (char letter : word.substr(1)) {
            const auto part = part_of_letter(letter);
            if (!part) {
                std::fprintf(stderr, "nvobj8: unknown option %s\n%s", word.data(), USAGE);
                return STATUS_USAGE;
            }
            command->parts |= *part;
        }
    }
    if ((command->parts & DISASSEMBLE) && command->parts != DISASSEMBLE) {
        std::fprintf(stderr, "nvobj8: -d goes with no other part\n%s", USAGE);
        return STATUS_USAGE;
    }
    if (command->files.empty()) {
        std::fprintf(stderr, "nvobj8: no object file\n%s", USAGE);
        return STATUS_USAGE;
    }
    return std::nullopt;
}

// Offsets in an object have 32 bits. A pipe or a device may have no end; the machine's addresses
// have 24 bits, so that what comes from a pipe is smaller by far.
static constexpr size_t OBJECT_SIZE_MAX = UINT32_MAX;
static constexpr size_t STREAM_SIZE_MAX = size_t{128} << 20;

static bool read_file(const char *name, std::vector<uint8_t> *bytes)
{
    FILE *file = std::fopen(name, "rb");
    if (file == nullptr)
        return false;
    std::error_code unknown;
    const bool regular = std::filesystem::is_regular_file(name, unknown);
    const size_t size_max = regular ? OBJECT_SIZE_MAX : STREAM_SIZE_MAX;
    uint8_t block[65536];
    size_t size = 0;
    int error = 0;
    while (error == 0 && (size = std::fread(block, 1, sizeof block, file)) != 0) {
        if (bytes->size() + size > size_max)
            error = EFBIG;
        else
            bytes->insert(bytes->end(), block, block + size);
    }
    if (std::ferror(file) != 0)
        error = errno;
    std::fclose(file);
    errno = error;
    return error == 0;
}

static void out_of_memory()
{
    std::fputs("nvobj8: no memory\n", stderr);
    std::exit(STATUS_DAMAGED);
}

// A damaged object is no source: what would be left out of it can't be told.
static void print_source(const ObjectFile &object)
{
    if (object.problems.empty())
        std::fputs(disassemble(object).c_str(), stdout);
}

// Gives whether the file was read and is sound.
static bool show_file(const char *name, unsigned parts)
{
    std::vector<uint8_t> bytes;
    if (!read_file(name, &bytes)) {
        std::fprintf(stderr, "nvobj8: can't read %s: %s\n", name, std::strerror(errno));
        return false;
    }
    const ObjectFile object = read_object(bytes);
    if (parts & DISASSEMBLE) {
        print_source(object);
    } else {
        std::printf("%s: %zu bytes\n", name, bytes.size());
        print_object(object, parts);
    }
    for (const std::string &problem : object.problems)
        std::fprintf(stderr, "nvobj8: %s: %s\n", name, problem.c_str());
    return object.problems.empty();
}

int main(int argc, char **argv)
{
    std::set_new_handler(out_of_memory);
    CommandLine command;
    if (const auto status = read_command_line({argv + 1, argv + argc}, &command))
        return *status;
    if (command.parts == 0)
        command.parts = PRINT_ALL;
    bool sound = true;
    for (size_t i = 0; i < command.files.size(); ++i) {
        if (i != 0)
            std::printf("\n");
        sound &= show_file(command.files[i], command.parts);
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::fprintf(stderr, "nvobj8: can't write: %s\n", std::strerror(errno));
        return STATUS_DAMAGED;
    }
    return sound ? 0 : STATUS_DAMAGED;
}
