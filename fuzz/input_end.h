// The assembler ends its process when memory is exhausted. Under a fuzzer that ends the input: the
// target calls start_input(), then setjmp(input_end), and stop_input() in the end. Linked with
// --wrap=exit, and included by one file of a target only.
#pragma once

#include "base/memory.h"
#include <csetjmp>
#include <cstddef>
#include <cstdint>

// What an input may hold on top of what is held already.
constexpr size_t INPUT_MEMORY_MAX = size_t{12} << 20;

static std::jmp_buf input_end;
static bool in_input;

extern "C" void __real_exit(int status);
extern "C" void __wrap_exit(int status)
{
    if (in_input)
        std::longjmp(input_end, 1);
    __real_exit(status);
}

static void start_input()
{
    in_input = true;
    held_bytes_max = held_bytes + INPUT_MEMORY_MAX;
}

static void stop_input()
{
    in_input = false;
    held_bytes_max = SIZE_MAX;
}
