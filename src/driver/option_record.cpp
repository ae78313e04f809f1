// The record shows the settings in force and not the words typed: +v shows as -a, -xx hides -x.

#include "driver/option_record.h"

#include "base/settings.h"
#include "output/debug_info.h"

void write_option_record()
{
    append_info(settings.program_name);
    append_info(" V" NVASM8_VERSION ":");
    if (settings.opt_absolute)
        append_info(" -a");
    if (settings.opt_no_branch_opt)
        append_info(" -b");
    if (settings.header_file_name != nullptr) {
        append_info(" -h ");
        append_info(settings.header_file_name);
    }
    for (int32_t i = 0; i < settings.define_list.count; ++i) {
        append_info(" -d ");
        append_info(settings.define_list.items[i]);
    }
    if (settings.keep_locals)
        append_info(" -pl");
    if (settings.debug_no_path)
        append_info(" -xp");
    if (settings.debug_full)
        append_info(" -xx");
    else if (debug_lines)
        append_info(" -x");
    append_info("\n");
}
