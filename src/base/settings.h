// What the command line and the environment have set, as the rest of the program reads it. Nothing
// here changes after the first source file has begun.
#pragma once

#include <cstdint>

// The values of an option that may be given several times, in command-line order.
struct TextArray {
    const char **items;
    int32_t capacity;
    int32_t count;
};

struct Settings {
    // The name of the tool as the first word of the command line gives it: without directory, up to
    // the first dot, in lower case.
    const char *program_name;
    bool replay_off; // the environment says so: all passes go over the text
    bool debug_mode; // the environment has NVDEBUG; no effect on assembly

    bool opt_absolute;               // -a: program sections are absolute
    bool opt_no_branch_opt;          // -b: branches keep the form they are written in
    bool opt_xref;                   // -c: cross-reference after the listing
    TextArray define_list;           // -d: texts "symbol" or "symbol=value"
    const char *error_file_name;     // +e: file for the diagnostics, null for standard error
    bool opt_formfeed;               // -ff: form feeds between listing pages
    bool opt_force_title;            // -ft: a head on every listing page
    int32_t fill_byte;               // -f: value of the bytes that fill room
    bool eclipse_style;              // -ge: the other form of error lines
    const char *header_file_name;    // -h: file read ahead of every source, or null
    TextArray include_list;          // -i and NVLIB: the directories that are really there
    bool listing_enabled;            // -l: a listing is wanted
    const char *listing_name_option; // +l: name of the listing file, or null
    bool opt_make_deps;              // -md: dependency rule
    bool opt_label_syntax;           // -mi: labels with a colon are public
    bool opt_old_syntax;             // -m: labels in the first column need no colon
    const char *output_file_name;    // -o: name of the object file, or null
    bool equates_public;             // -pe: equates are public
    bool keep_locals;                // -pl: local symbols go to the object file
    bool all_public;                 // -p: all symbols are public
    bool opt_no_info;                // -si: no section .info.
    bool opt_no_misra;               // -sm: no section .misra.
    bool undefined_in_listing;       // -u: undefined symbols are errors where they are used
    bool opt_verbose;                // -v: name each source file
    const char *verilog_file_name;   // +v: file for constants, or null
    bool debug_no_path;              // -xp: no directories in debug records
    bool debug_full;                 // -xx: symbol table in .debug
    bool opt_debug_lines;            // -x: line records
    bool explain;                    // --explain: messages are gathered and get notes
    bool warn;                       // --warn: warnings
    bool warnings_count;             // --warn=error: warnings count as errors
    bool keeps_contexts;             // either of them: what notes are made of is kept
    const char *depfile_name;        // --depfile: file for a dependency rule, or null
};
extern Settings settings;
