// The option table, and what options imply.

#include "driver/command_line.h"

#include "base/settings.h"
#include "driver/include_paths.h"
#include "driver/options.h"

// The text of the banner behind the maker's name.
static constexpr const char *title_text = "STM8 Macro-Assembler";

static constexpr OptionDescriptor flag(const char *text, int32_t *target)
{
    return {text, target, nullptr, nullptr};
}

static constexpr OptionDescriptor name(const char *text, const char **target)
{
    return {text, nullptr, target, nullptr};
}

static constexpr OptionDescriptor list(const char *text, TextArray *target)
{
    return {text, nullptr, nullptr, target};
}

// The first key that fits wins, so longer keys stand ahead of those they begin with.
static const OptionDescriptor option_table[] = {
    flag("a   absolute assembler", &opt_absolute),
    flag("b   do not optimize branches", &opt_no_branch_opt),
    flag("c   output cross reference", &opt_xref),
    list("d*> define symbol=value", &define_list),
    name("+e*  error file name", &error_file_name),
    flag("ff  use formfeed in listing", &opt_formfeed),
    flag("ft  force title in listing", &opt_force_title),
    flag("f#  fill byte value", &fill_byte),
    flag("ge  eclipse error messages", &eclipse_style),
    name("h*  include header", &header_file_name),
    list("i*> include path", &include_list),
    flag("l   output a listing", &listing_enabled),
    name("+l*  listing file name", &listing_name_option),
    flag("md  make dependencies", &opt_make_deps),
    flag("mi  accept label syntax", &opt_label_syntax),
    flag("m   accept old syntax", &opt_old_syntax),
    name("o*  output file name", &output_file_name),
    flag("pe  all equates public", &equates_public),
    flag("pl  keep local symbols", &keep_locals),
    flag("p   all symbols public", &all_public),
    flag("si  suppress .info. section", &opt_no_info),
    flag("sm  suppress .misra. section", &opt_no_misra),
    flag("u   undefined in listing", &undefined_in_listing),
    flag("v   verbose", &opt_verbose),
    name("<+v*  verilog file name", &verilog_file_name),
    flag("xp  no path in debug info", &debug_no_path),
    flag("xx  include full debug info", &debug_full),
    flag("x   include line debug info", &debug_lines),
};

void read_settings(int *argc, char ***argv)
{
    parse_options(argc, argv, title_text, "files", option_table);
}

void imply_settings()
{
    if (debug_full)
        debug_lines = 1;
    if (debug_lines)
        all_public = 0;
    if (opt_label_syntax)
        opt_old_syntax = 1;
    if (opt_make_deps)
        listing_enabled = 0;
}

void imply_listing()
{
    if (opt_xref || listing_name_option != nullptr || undefined_in_listing)
        listing_enabled = 1;
    if (verilog_file_name != nullptr) {
        listing_enabled = 1;
        opt_absolute = 1;
    }
}

void make_include_list()
{
    add_env_paths(&include_list, "NVLIB");
    include_list = expand_path_list(include_list);
}
