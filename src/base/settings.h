// The options of the command line, as the rest of the program reads them. All are set once, before
// the first source file, unless their line says otherwise; flags are 0 or 1.
#pragma once

#include <cstdint>

// The values of an option that may be given several times, in command-line order.
struct TextArray {
    const char **items;
    int32_t capacity;
    int32_t count;
};

// The name of the tool as the first word of the command line gives it: without directory, up to the
// first dot, in lower case.
extern const char *program_name;

// Not 0 when the environment has NVDEBUG. Has no effect on assembly.
extern int32_t debug_mode;

extern int32_t opt_absolute;            // -a: program sections are absolute
extern int32_t opt_no_branch_opt;       // -b: branches keep the form they are written in
extern int32_t opt_xref;                // -c: cross-reference behind the listing
extern TextArray define_list;           // -d: texts "symbol" or "symbol=value"
extern const char *error_file_name;     // +e: file for the diagnostics, none for standard error
extern int32_t opt_formfeed;            // -ff: form feeds between listing pages
extern int32_t opt_force_title;         // -ft: a head on every listing page
extern int32_t fill_byte;               // -f: value of the bytes that fill room
extern int32_t eclipse_style;           // -ge: the other form of error lines
extern const char *header_file_name;    // -h: file read ahead of every source, or none
extern TextArray include_list;          // -i and NVLIB; directories, once make_include_list has run
extern int32_t listing_enabled;         // -l: list the next pass; held back by assemble_source_file
extern const char *listing_name_option; // +l: name of the listing file, or none
extern int32_t opt_make_deps;           // -md: dependency rule; then the column it has reached
extern int32_t opt_label_syntax;      // -mi: labels with a colon are public; -1 behind such a label
extern int32_t opt_old_syntax;        // -m: labels in the first column need no colon
extern const char *output_file_name;  // -o: name of the object file, or none
extern int32_t equates_public;        // -pe: equates are public
extern int32_t keep_locals;           // -pl: local symbols go to the object file
extern int32_t all_public;            // -p: all symbols are public
extern int32_t opt_no_info;           // -si: no section .info.
extern int32_t opt_no_misra;          // -sm: no section .misra.
extern int32_t undefined_in_listing;  // -u: undefined symbols are errors where they are used
extern int32_t opt_verbose;           // -v: name each source file
extern const char *verilog_file_name; // +v: file for constants; none once it can't be created
extern int32_t debug_no_path;         // -xp: no directories in debug records
extern int32_t debug_full;            // -xx: symbol table in .debug
extern int32_t debug_lines; // -x: line records; cleared for good when a source brings its own
