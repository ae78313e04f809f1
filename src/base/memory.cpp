// Blocks carry their size in a small head, so that the total can be bounded: a macro that calls
// itself without end stops after 2 GiB, in seconds, instead of taking the machine down.

#include "base/memory.h"

#include "base/host.h"
#include <cstdio>
#include <cstdlib>

// Bytes handed out and not freed yet, and their bound.
static size_t held_bytes;
static size_t held_bytes_max = size_t{2} << 30;

static void (*exhaustion_hook)();
static void (*exhaustion_epilogue)();

constexpr size_t HEAD_SIZE = alignof(std::max_align_t);

void bound_memory(size_t size)
{
    held_bytes_max = size < SIZE_MAX - held_bytes ? held_bytes + size : SIZE_MAX;
}

void set_exhaustion_hook(void (*hook)())
{
    exhaustion_hook = hook;
}

void set_exhaustion_epilogue(void (*hook)())
{
    exhaustion_epilogue = hook;
}

void out_of_memory()
{
    if (exhaustion_hook != nullptr)
        exhaustion_hook();
    std::fputs("no memory\n", stderr);
    if (exhaustion_epilogue != nullptr)
        exhaustion_epilogue();
    end_process(1);
}

void require_memory(uint64_t size)
{
    if (size > held_bytes_max - held_bytes)
        out_of_memory();
}

void *xalloc(size_t size, void *first_word)
{
    if (size < sizeof first_word)
        size = sizeof first_word;
    size += HEAD_SIZE;
    if (size > held_bytes_max - held_bytes)
        out_of_memory();
    char *head = static_cast<char *>(std::malloc(size));
    if (head == nullptr)
        out_of_memory();
    held_bytes += size;
    std::memcpy(head, &size, sizeof size);
    std::memcpy(head + HEAD_SIZE, &first_word, sizeof first_word);
    return head + HEAD_SIZE;
}

void free_block(void *block)
{
    if (block == nullptr)
        return;
    char *head = static_cast<char *>(block) - HEAD_SIZE;
    size_t size;
    std::memcpy(&size, head, sizeof size);
    held_bytes -= size;
    std::free(head);
}

char *copy_text(std::string_view text)
{
    char *copy = static_cast<char *>(xalloc(text.size() + 1, nullptr));
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}
