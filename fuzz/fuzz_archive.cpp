// Links a damaged archive, all of its symbols wanted.

#include "nvlink8/input.h"
#include "nvlink8/linker.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::map<std::string, InputBytes> files;
    files["lib.a"].assign(data, data + size);
    set_inputs_in_memory(&files);
    Options options;
    options.regions = {{"zpage", {0, 0xFF}, true, {}},
                       {"ram", {0x100, 0x7FF}, true, {}},
                       {"flash", {0x8000, 0xFFFF}, false, {}}};
    options.inputs = {{"lib.a", false}};
    options.outputs = {{"x.bin", ImageFormat::BINARY, {}}};
    for (const char *name : {"one", "two", "three"})
        options.undefined.emplace_back(name);
    Messages messages;
    link_program(options, &messages);
    set_inputs_in_memory(nullptr);
    return 0;
}
