// From the command line to the exit status.

#include "driver/assembler.h"

#include "driver/command_line.h"
#include "driver/debug_prologue.h"
#include "base/file_names.h"
#include "base/host.h"
#include "base/memory.h"
#include "driver/source_file.h"
#include "base/settings.h"
#include "expr/symbol_table.h"
#include "base/diagnostics.h"
#include "base/output_files.h"
#include "stmt/keywords.h"
#include "stmt/symbol_directives.h"
#include <cstdio>
#include <new>

// A name given by option fits one source file only. Tells so and returns true if there are more.
static bool has_too_many_sources(int source_count, char **sources)
{
    const char *option = nullptr;
    if (output_file_name != nullptr)
        option = "-o";
    else if (listing_name_option != nullptr)
        option = "+l";
    if (option == nullptr || source_count <= 1)
        return false;
    print_file_error_prefix(sources[0]);
    std::fprintf(stderr, "only one source file with %s option\n", option);
    return true;
}

// Applies -d, in command-line order, then the assembler's own symbol, which thus replaces a value
// that the user gave that name. False when a definition must end the run.
static bool define_symbols()
{
    for (int32_t i = 0; i < define_list.count; ++i) {
        if (define_from_text(define_list.items[i]))
            return false;
    }
    define_from_text("__NVRN__");
    return true;
}

static bool assemble_sources(int source_count, char **sources)
{
    bool any_errors = false;
    for (int i = 0; i < source_count; ++i) {
        source_file_name = sources[i];
        if (opt_verbose && !opt_make_deps)
            std::fprintf(stderr, "%s:\n", source_file_name);
        if (assemble_source_file() != 0)
            any_errors = true;
        if (i + 1 < source_count)
            forget_source_file();
    }
    return any_errors;
}

int run_assembler(int argc, char **argv)
{
    route_signals();
    occupy_standard_streams();
    // The standard library's own allocations end as ours do.
    std::set_new_handler(out_of_memory);
    read_settings(&argc, &argv);
    if (has_too_many_sources(argc, argv))
        return 1;
    imply_settings();
    imply_listing();
    claim_run_files({argv, static_cast<size_t>(argc)});
    if (!open_error_file())
        return 1;
    make_include_list();
    install_keywords();
    if (!define_symbols())
        return 1;
    if (debug_lines)
        build_debug_prologue();
    bool any_errors = assemble_sources(argc, argv);
    if (error_file_name != nullptr && !close_error_file(any_errors))
        any_errors = true;
    // What -md and messg wrote counts only once it has left the process.
    if (!flush_standard_output())
        any_errors = true;
    return any_errors ? 1 : 0;
}
