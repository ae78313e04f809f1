// The option table, and what options imply.

#include "driver/command_line.h"

#include "base/host.h"
#include "base/output_files.h"
#include "base/settings.h"
#include "driver/include_paths.h"
#include "driver/options.h"
#include <cstdio>

// The text of the banner after the maker's name.
static constexpr const char *title_text = "STM8 Macro-Assembler";

static constexpr OptionDescriptor flag(const char *text, bool *target)
{
    return {text, target, nullptr, nullptr, nullptr};
}

static constexpr OptionDescriptor number(const char *text, int32_t *target)
{
    return {text, nullptr, target, nullptr, nullptr};
}

static constexpr OptionDescriptor name(const char *text, const char **target)
{
    return {text, nullptr, nullptr, target, nullptr};
}

static constexpr OptionDescriptor list(const char *text, TextArray *target)
{
    return {text, nullptr, nullptr, nullptr, target};
}

// The first key that fits wins, so longer keys stand ahead of those they begin with.
static const OptionDescriptor option_table[] = {
    flag("a   absolute assembler", &settings.opt_absolute),
    flag("b   do not optimize branches", &settings.opt_no_branch_opt),
    flag("c   output cross reference", &settings.opt_xref),
    list("d*> define symbol=value", &settings.define_list),
    name("+e*  error file name", &settings.error_file_name),
    flag("ff  use formfeed in listing", &settings.opt_formfeed),
    flag("ft  force title in listing", &settings.opt_force_title),
    number("f#  fill byte value", &settings.fill_byte),
    flag("ge  eclipse error messages", &settings.eclipse_style),
    name("h*  include header", &settings.header_file_name),
    list("i*> include path", &settings.include_list),
    flag("l   output a listing", &settings.listing_enabled),
    name("+l*  listing file name", &settings.listing_name_option),
    flag("md  make dependencies", &settings.opt_make_deps),
    flag("mi  accept label syntax", &settings.opt_label_syntax),
    flag("m   accept old syntax", &settings.opt_old_syntax),
    name("o*  output file name", &settings.output_file_name),
    flag("pe  all equates public", &settings.equates_public),
    flag("pl  keep local symbols", &settings.keep_locals),
    flag("p   all symbols public", &settings.all_public),
    flag("si  suppress .info. section", &settings.opt_no_info),
    flag("sm  suppress .misra. section", &settings.opt_no_misra),
    flag("u   undefined in listing", &settings.undefined_in_listing),
    flag("v   verbose", &settings.opt_verbose),
    name("<+v*  verilog file name", &settings.verilog_file_name),
    flag("xp  no path in debug info", &settings.debug_no_path),
    flag("xx  include full debug info", &settings.debug_full),
    flag("x   include line debug info", &settings.opt_debug_lines),
};

// What stands on standard output ends with the process only if it could be written.
[[noreturn]] static void end_after_output()
{
    end_process(flush_standard_output() ? 0 : 1);
}

static void print_long_options()
{
    std::printf(
        "usage: %s [options] files\n\n"
        "    --explain        notes below each message: the line, where it comes from, what "
        "to do\n"
        "    --warn           warn of what is allowed but rarely meant\n"
        "    --warn=error     the same; warnings count as errors\n"
        "    --depfile=FILE   write a dependency rule for make beside the object\n"
        "    --help           this text\n"
        "    --version        name and version\n"
        "\n"
        "%s -help lists the other options. The manual is docs/manual.md; man nvasm8 is "
        "shorter.\n",
        settings.program_name, settings.program_name);
    end_after_output();
}

static void print_name_and_version()
{
    std::printf("%s %s\n", settings.program_name, NVASM8_VERSION);
    end_after_output();
}

static const LongOption long_options[] = {
    {"explain", &settings.explain, nullptr, nullptr},
    {"warn", &settings.warn, nullptr, nullptr},
    {"warn=error", &settings.warnings_count, nullptr, nullptr},
    {"depfile=", nullptr, &settings.depfile_name, nullptr},
    {"help", nullptr, nullptr, print_long_options},
    {"version", nullptr, nullptr, print_name_and_version},
};

constexpr int32_t ARRAY_CAPACITY = 128;

static const char *define_items[ARRAY_CAPACITY];
static const char *include_items[ARRAY_CAPACITY];

void read_settings(int *argc, char ***argv)
{
    settings.define_list = {define_items, ARRAY_CAPACITY, 0};
    settings.include_list = {include_items, ARRAY_CAPACITY, 0};
    parse_options(argc, argv, title_text, "files", option_table, long_options);
}

void imply_settings()
{
    if (settings.debug_full)
        settings.opt_debug_lines = true;
    if (settings.opt_debug_lines)
        settings.all_public = false;
    if (settings.opt_label_syntax)
        settings.opt_old_syntax = true;
    if (settings.opt_make_deps)
        settings.listing_enabled = false;
    if (settings.warnings_count)
        settings.warn = true;
    settings.keeps_contexts = settings.explain || settings.warn;
}

void imply_listing()
{
    if (settings.opt_xref || settings.listing_name_option != nullptr ||
        settings.undefined_in_listing)
        settings.listing_enabled = true;
    if (settings.verilog_file_name != nullptr) {
        settings.listing_enabled = true;
        settings.opt_absolute = true;
    }
}

void make_include_list()
{
    add_env_paths(&settings.include_list, "NVLIB");
    settings.include_list = expand_path_list(settings.include_list);
}
