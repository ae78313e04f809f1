// The variables that the command line sets; how it does so is told in driver/command_line.

#include "base/settings.h"

constexpr int32_t ARRAY_CAPACITY = 128;

const char *program_name;
int32_t debug_mode;

int32_t opt_absolute;
int32_t opt_no_branch_opt;
int32_t opt_xref;
const char *error_file_name;
int32_t opt_formfeed;
int32_t opt_force_title;
int32_t fill_byte;
int32_t eclipse_style;
const char *header_file_name;
int32_t listing_enabled;
const char *listing_name_option;
int32_t opt_make_deps;
int32_t opt_label_syntax;
int32_t opt_old_syntax;
const char *output_file_name;
int32_t equates_public;
int32_t keep_locals;
int32_t all_public;
int32_t opt_no_info;
int32_t opt_no_misra;
int32_t undefined_in_listing;
int32_t opt_verbose;
const char *verilog_file_name;
int32_t debug_no_path;
int32_t debug_full;
int32_t debug_lines;

static const char *define_items[ARRAY_CAPACITY];
static const char *include_items[ARRAY_CAPACITY];
TextArray define_list = {define_items, ARRAY_CAPACITY, 0};
TextArray include_list = {include_items, ARRAY_CAPACITY, 0};
