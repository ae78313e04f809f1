// Preloaded into a program under test. REFUSED=5-7 refuses the 5th to the 7th allocation of main(),
// REFUSED=5- the 5th and all that follow. Two system calls without effect show in a trace where
// main() begins, and at the end how many allocations were asked for.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>

// The names under which the C library keeps its own.
extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *block, size_t size);

using Main = int(int, char **, char **);
using Hook = void();

static Main *program_main;
static bool in_main;
static unsigned long asked;
static unsigned long first_refused = -1UL;
static unsigned long last_refused = -1UL;

static bool is_refused()
{
    const bool refused = in_main && ++asked >= first_refused && asked <= last_refused;
    if (refused)
        errno = ENOMEM;
    return refused;
}

extern "C" void *malloc(size_t size)
{
    return is_refused() ? nullptr : __libc_malloc(size);
}

extern "C" void *calloc(size_t count, size_t size)
{
    return is_refused() ? nullptr : __libc_calloc(count, size);
}

extern "C" void *realloc(void *block, size_t size)
{
    return is_refused() ? nullptr : __libc_realloc(block, size);
}

static int main_under_test(int count, char **words, char **environment)
{
    if (const char *range = std::getenv("REFUSED"))
        std::sscanf(range, "%lu-%lu", &first_refused, &last_refused);
    access("main() begins", F_OK);
    in_main = true;
    return program_main(count, words, environment);
}

extern "C" int __libc_start_main(Main *main, int count, char **words, Hook *init, Hook *fini,
                                 Hook *loader_fini, void *stack_end)
{
    program_main = main;
    void *next = dlsym(RTLD_NEXT, "__libc_start_main");
    return reinterpret_cast<decltype(&__libc_start_main)>(next)(main_under_test, count, words, init,
                                                                fini, loader_fini, stack_end);
}

__attribute__((destructor)) static void show_count()
{
    char text[40];
    std::snprintf(text, sizeof text, "allocations: %lu", asked);
    access(text, F_OK);
}
