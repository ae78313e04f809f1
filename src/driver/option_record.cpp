// The record shows the settings in force and not the words typed: +v shows as -a, -xx hides -x.

#include "driver/option_record.h"

#include "base/settings.h"
#include "output/debug_info.h"

void write_option_record()
{
    append_info(program_name);
    append_info(" V4.8.1:");
    if (opt_absolute)
        append_info(" -a");
    if (opt_no_branch_opt)
        append_info(" -b");
    if (header_file_name != nullptr) {
        append_info(" -h ");
        append_info(header_file_name);
    }
    for (int32_t i = 0; i < define_list.count; ++i) {
        append_info(" -d ");
        append_info(define_list.items[i]);
    }
    if (keep_locals)
        append_info(" -pl");
    if (debug_no_path)
        append_info(" -xp");
    if (debug_full)
        append_info(" -xx");
    else if (debug_lines)
        append_info(" -x");
    append_info("\n");
}
