// What the targets that drive the assembler share: the settings of a run, and the end of an input.
// The assembler ends its process when memory is exhausted. Under a fuzzer that ends the input: the
// target calls start_input(), then setjmp(input_end), and stop_input() in the end. Linked with
// --wrap=exit, and included by one file of a target only.
#pragma once

#include "base/diagnostics.h"
#include "base/memory.h"
#include "base/pass_state.h"
#include "base/settings.h"
#include "driver/passes.h"
#include "driver/source_file.h"
#include "expr/evaluator.h"
#include "expr/lexer.h"
#include "input/input_stack.h"
#include "input/macro.h"
#include "listing/listing.h"
#include "stmt/keywords.h"
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdio>

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
    bound_memory(INPUT_MEMORY_MAX);
}

static void stop_input()
{
    in_input = false;
    bound_memory(SIZE_MAX);
}

// What the driver does once for each run.
static void start_run()
{
    set_changing_buffers(line_buffer, token_string);
    send_diagnostics_to(std::fopen("/dev/null", "w"));
    install_keywords();
}

// Sets back what directives change for the rest of a run, and all settings.
static void reset_run()
{
    settings = {};
    settings.program_name = "nvasm8";
    set_page_length(66);
    default_base = 10;
    dot_in_names = true;
    number_suffixes_allowed = false;
    reset_evaluator();
}

// Drops what an input has defined, as when a source file starts over.
static void forget_input()
{
    flush_error();
    undo_macros();
    forget_source_file();
}
