// Links a damaged object with options. The input is an option file up to the first zero byte, then
// the length of a first object in two bytes, that object, and a second one in the rest.

#include "nvlink8/command_line.h"
#include "nvlink8/input.h"
#include "nvlink8/linker.h"
#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const uint8_t *const end = data + size;
    const uint8_t *const options_end = std::find(data, end, uint8_t{0});
    std::map<std::string, InputBytes> files;
    files["options"].assign(data, options_end);
    const uint8_t *objects = options_end;
    if (end - options_end > 2) {
        const auto length = static_cast<ptrdiff_t>(options_end[1] << 8 | options_end[2]);
        objects = options_end + 3;
        const uint8_t *const second = objects + std::min(length, end - objects);
        files["a.o"].assign(objects, second);
        files["b.o"].assign(second, end);
    }
    set_inputs_in_memory(&files);
    const std::vector<std::string> arguments = {"-o",       "x.hex", "--map", "x.map",
                                                "--export", "x",     "a.o",   "@options"};
    Options options;
    Messages messages;
    if (read_command_line(arguments, &options, &messages) == Task::LINK && messages.errors.empty())
        link_program(options, &messages);
    set_inputs_in_memory(nullptr);
    return 0;
}
