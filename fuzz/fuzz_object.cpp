// Feeds damaged objects to the reader of nvobj8, and sound ones to its disassembler.

#include "nvobj8/disassemble.h"
#include "object/object_reader.h"
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const ObjectFile object = read_object({data, size});
    if (object.problems.empty())
        disassemble(object);
    return 0;
}
