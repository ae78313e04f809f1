// An output is right or it isn't written. So nothing is written before it is complete, and nothing
// that the run reads, or has written under another name, is written over. A file that plainly can't
// be created is reported ahead of time and leaves the status alone; what goes wrong after that is
// an error.

#include "base/output_files.h"

#include "base/byte_stream.h"
#include "base/diagnostics.h"
#include "base/file_names.h"
#include "base/pass_state.h"
#include "base/settings.h"
#include <cstdio>
#include <cstdlib>
#include <vector>

// What a claim is found by, besides its kind.
static const char *claimant(OutputKind kind)
{
    return kind == OutputKind::OBJECT || kind == OutputKind::LISTING ? source_file_name : nullptr;
}

static void claim_outputs(std::span<char *const> sources)
{
    for (const char *source : sources)
        claim_output(OutputKind::OBJECT, source, object_name_of(source).c_str());
    for (const char *source : sources) {
        if (settings.listing_enabled)
            claim_output(OutputKind::LISTING, source, listing_name_of(source).c_str());
    }
    if (settings.verilog_file_name != nullptr)
        claim_output(OutputKind::VERILOG, nullptr, settings.verilog_file_name);
    if (settings.depfile_name != nullptr)
        claim_output(OutputKind::DEPENDENCIES, nullptr, settings.depfile_name);
}

void claim_run_files(std::span<char *const> sources)
{
    for (const char *source : sources)
        note_input(source);
    if (settings.header_file_name != nullptr)
        note_input(settings.header_file_name);
    if (!settings.opt_make_deps)
        claim_outputs(sources);
}

bool can_create_output(OutputKind kind, const char *name)
{
    if (!falls_on_another(kind, claimant(kind), name) && takes_output(name))
        return true;
    print_file_error_prefix(source_file_name);
    std::fprintf(stderr, "can't create %s\n", name);
    return false;
}

static void report_unwritten(const char *name)
{
    print_file_error_prefix(source_file_name);
    std::fprintf(stderr, "can't write %s\n", name);
    ++error_count;
}

void place_output(OutputKind kind, const char *name, std::span<const Piece> pieces)
{
    if (falls_on_another(kind, claimant(kind), name)) {
        print_file_error_prefix(source_file_name);
        std::fprintf(stderr, "can't create %s\n", name);
    } else if (!write_output(name, pieces)) {
        report_unwritten(name);
    }
}

void place_output(OutputKind kind, const char *name, const ByteStream &contents)
{
    std::vector<Piece> pieces;
    append_pieces(&contents, &pieces);
    place_output(kind, name, pieces);
}

// Shows what was gathered where it can still be seen.
static void release_diagnostics()
{
    std::vector<Piece> pieces;
    append_pieces(&gathered_diagnostics(), &pieces);
    for (const Piece &piece : pieces)
        std::fwrite(piece.data(), 1, piece.size(), stderr);
    drop_gathered_diagnostics();
}

bool open_error_file()
{
    if (settings.error_file_name == nullptr)
        return true;
    if (falls_on_another(OutputKind::ERRORS, nullptr, settings.error_file_name) ||
        !takes_output(settings.error_file_name)) {
        std::fprintf(stderr, messages::CANT_CREATE, settings.error_file_name);
        return false;
    }
    gather_diagnostics();
    // A run that ends in its middle, as exhausted memory makes it, has printed what it had to
    // print.
    std::atexit(release_diagnostics);
    return true;
}

static bool remove_error_file()
{
    drop_gathered_diagnostics();
    if (falls_on_another(OutputKind::ERRORS, nullptr, settings.error_file_name) ||
        remove_output(settings.error_file_name))
        return true;
    report_unwritten(settings.error_file_name);
    return false;
}

bool close_error_file(bool any_errors)
{
    send_diagnostics_to(stderr);
    std::vector<Piece> pieces;
    append_pieces(&gathered_diagnostics(), &pieces);
    const bool any_warnings = settings.warn && !pieces.empty();
    if (!any_errors && !any_warnings)
        return remove_error_file();
    if (falls_on_another(OutputKind::ERRORS, nullptr, settings.error_file_name)) {
        std::fprintf(stderr, messages::CANT_CREATE, settings.error_file_name);
        std::fputc('\n', stderr);
    } else if (!write_output(settings.error_file_name, pieces)) {
        report_unwritten(settings.error_file_name);
    } else {
        std::fprintf(stderr, "%s reported in %s\n", any_errors ? "errors" : "warnings",
                     settings.error_file_name);
        drop_gathered_diagnostics();
        return true;
    }
    release_diagnostics();
    return false;
}

bool flush_standard_output()
{
    static bool failed;
    if (std::fflush(stdout) == 0 && !std::ferror(stdout))
        return !failed;
    if (!failed) {
        if (source_file_name != nullptr)
            print_file_error_prefix(source_file_name);
        std::fputs("can't write standard output\n", stderr);
    }
    failed = true;
    return false;
}
