// From the command line to the exit status.

#include "driver/assembler.h"

#include "base/diagnostics.h"
#include "base/file_names.h"
#include "base/host.h"
#include "base/memory.h"
#include "base/output_files.h"
#include "base/settings.h"
#include "driver/command_line.h"
#include "driver/debug_prologue.h"
#include "driver/source_file.h"
#include "explain/notes.h"
#include "expr/lexer.h"
#include "expr/symbol_table.h"
#include "input/input_stack.h"
#include "output/debug_info.h"
#include "stmt/keywords.h"
#include "stmt/symbol_directives.h"
#include <cstdio>
#include <new>

// A name given by option fits one source file only. Tells so and returns true if there are more.
static bool has_too_many_sources(int source_count, char **sources)
{
    const char *option = nullptr;
    if (settings.output_file_name != nullptr)
        option = "-o";
    else if (settings.listing_name_option != nullptr)
        option = "+l";
    else if (settings.depfile_name != nullptr)
        option = "--depfile";
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
    for (int32_t i = 0; i < settings.define_list.count; ++i) {
        if (define_from_text(settings.define_list.items[i]))
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
        if (settings.opt_verbose && !settings.opt_make_deps)
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
    set_changing_buffers(line_buffer, token_string);
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
    if (settings.keeps_contexts)
        install_notes();
    const bool defined = define_symbols();
    print_queued_messages();
    if (!defined)
        return 1;
    debug_lines = settings.opt_debug_lines;
    if (debug_lines)
        build_debug_prologue();
    bool any_errors = assemble_sources(argc, argv);
    if (settings.error_file_name != nullptr && !close_error_file(any_errors))
        any_errors = true;
    // What -md and messg wrote counts only once it has left the process.
    if (!flush_standard_output())
        any_errors = true;
    return any_errors ? 1 : 0;
}
