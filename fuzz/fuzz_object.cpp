// Feeds damaged objects to the reader of nvobj8.

#include "object/object_reader.h"
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    read_object({data, size});
    return 0;
}
