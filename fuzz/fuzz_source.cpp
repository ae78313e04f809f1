// Feeds whole sources to the assembler. An input is two bytes of options, then the main source and,
// after bytes of value 1, the include files "b" and "c". Half of the mutations insert, drop,
// repeat or move lines, so that macros, repeats, conditionals and includes meet in every order.
//
// All state that outlives a source file is set back between inputs.

#include "input_end.h"

#include "base/diagnostics.h"
#include "base/file_names.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/settings.h"
#include "driver/command_line.h"
#include "driver/debug_prologue.h"
#include "driver/source_file.h"
#include "input/conditional.h"
#include "input/input_stack.h"
#include "input/macro.h"
#include "listing/listing.h"
#include "output/debug_info.h"
#include "stmt/symbol_directives.h"
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

constexpr int LINES_MAX = 3000;
constexpr char FILE_SEPARATOR = '\x01';

static int lines_left;
// Whether the input stack holds lines, as far as the last call of next_line has shown.
static bool lines_pending;

extern "C" const char *__real__Z9next_linev();
extern "C" const char *__wrap__Z9next_linev()
{
    if (lines_left-- <= 0)
        __wrap_exit(1);
    const char *line = __real__Z9next_linev();
    lines_pending = line != nullptr;
    return line;
}

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

static const char *const source_lines[] = {
    "m: macro\n",
    "n: macro \\a,\\b\n",
    "ld: macro\n",
    "endm\n",
    "mexit\n",
    "rexit\n",
    " repeat 3\n",
    " repeat x\n",
    "endr\n",
    " repeatl 1,2,'a,b'\n",
    " repeatl \\i,a,b\n",
    " irp \\i,\\*\n",
    " if x\n",
    " if 0\n",
    " ifdef x\n",
    " ifndef y\n",
    " ifc '\\1','a'\n",
    " ifnc \\1,\"\"\n",
    " else\n",
    " endif\n",
    "#if defined(x)\n",
    "#endif\n",
    " include \"b\"\n",
    " include \"c\"\n",
    " end\n",
    " m\n",
    " m.w a,\"b,c\",'d' 'e' ; f\n",
    " n 1,2\n",
    " n x\n",
    "\\\\ld a,#1\n",
    " \\\\ld \\1\n",
    " dc.b \\#,\\0\n",
    "l\\@: nop\n",
    " jra l\\@\n",
    "1$: jreq 1$\n",
    " dc.w \\1,\\(a)1\n",
    "x: set x+1\n",
    "x: equ 3\n",
    "y: equ z\n",
    "t: lit \"a,t\"\n",
    " dc.b t\n",
    " ld a,(t,x)\n",
    " jrne z\n",
    " btjt $50,#3,z\n",
    " ds.b 130\n",
    " dcb.w 3,x\n",
    " even\n",
    " align 8,x\n",
    " dc.w strlen(\"ab\"),high(z)\n",
    " funa x,z,\"t\"\n",
    "& %d\n",
    " section new,bss\n",
    "s: section new\n",
    " switch .data\n",
    " save\n",
    " restore\n",
    " offset 4\n",
    " org $100\n",
    " xdef x,z\n",
    " wdef w\n",
    "w: nop\n",
    " call w+1\n",
    " jp z\n",
    "z: nop\n",
    " local\n",
    " clist on\n",
    " mlist on\n",
    " dlist on\n",
    " base 16\n",
    " #line 5 \"q\\\\r\"\n",
    " .sfile \"q\",3\n",
    " .dline \"1\"\n",
    " .dopt \"o\",4\n",
    " .source \"b:1-3\"\n",
    " title \"t\"\n",
    " page\n",
    " #define k 10ul\n",
    " fail \"f\"\n",
};

// Drops, repeats, moves or inserts whole lines.
static std::string mutate_lines(const std::string &text, std::minstd_rand *random)
{
    std::vector<std::string> lines;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size() - 1) + 1;
        lines.push_back(text.substr(start, end - start));
        start = end;
    }
    const size_t place = lines.empty() ? 0 : (*random)() % lines.size();
    const auto at = lines.begin() + static_cast<std::ptrdiff_t>(place);
    switch (lines.empty() ? 3 : (*random)() % 6) {
    case 0:
        lines.erase(at);
        break;
    case 1:
        lines.insert(at, std::string(*at));
        break;
    case 2:
        std::swap(*at, lines[(*random)() % lines.size()]);
        break;
    default:
        lines.insert(at, source_lines[(*random)() % std::size(source_lines)]);
        break;
    }
    std::string result;
    for (const std::string &line : lines)
        result += line;
    return result;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned seed)
{
    std::minstd_rand random(seed);
    if (size < 2 || random() % 2 == 0)
        return LLVMFuzzerMutate(data, size, max_size);
    const std::string text(data + 2, data + size);
    std::string changed = mutate_lines(text, &random);
    changed.resize(std::min(changed.size(), max_size - 2));
    std::copy(changed.begin(), changed.end(), data + 2);
    return changed.size() + 2;
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    char directory[] = "/tmp/fuzz_source_XXXXXX";
    if (mkdtemp(directory) == nullptr || chdir(directory) != 0)
        std::abort();
    start_run();
    define_from_text("__NVRN__");
    return 0;
}

static void write_files(std::string_view text)
{
    for (const char *name : {"a.s", "b", "c"}) {
        const size_t length = std::min(text.find(FILE_SEPARATOR), text.size());
        std::FILE *file = std::fopen(name, "w");
        std::fwrite(text.data(), 1, length, file);
        std::fclose(file);
        text.remove_prefix(std::min(length + 1, text.size()));
    }
}

static void set_options(unsigned bits, bool may_list)
{
    reset_run();
    bool *const flags[] = {
        &settings.opt_absolute,         &settings.opt_no_branch_opt, &settings.opt_xref,
        &settings.opt_formfeed,         &settings.opt_force_title,   &settings.eclipse_style,
        &settings.opt_label_syntax,     &settings.opt_old_syntax,    &settings.equates_public,
        &settings.keep_locals,          &settings.all_public,        &settings.opt_no_info,
        &settings.undefined_in_listing, &settings.debug_no_path,     &settings.debug_full,
        &settings.opt_debug_lines};
    for (bool *flag : flags) {
        *flag = (bits & 1) != 0;
        bits >>= 1;
    }
    settings.listing_enabled = may_list;
    settings.listing_name_option = "/dev/null";
    settings.verilog_file_name = may_list && settings.opt_absolute ? "/dev/null" : nullptr;
    settings.output_file_name = "/dev/null";
    imply_settings();
    imply_listing();
    if (!may_list)
        settings.listing_enabled = false;
    debug_lines = settings.opt_debug_lines;
    line_directive_position.file = nullptr;
    restore_recording_state({});
}

// Takes the state apart that an input has left in the middle of a pass: a pass that comes to its
// end leaves no input and no conditional open. All else the next source file sets back itself.
static void clean_up()
{
    stop_input();
    forgive_void_passes(false);
    drop_messages();
    list_state = 0;
    lines_left = 1 << 30;
    const auto end_expansion = [](Expansion *expansion) {
        expansion->position = nullptr;
        expansion->repeats_left = 1;
        return false;
    };
    if (current_expansion != nullptr)
        end_expansion(current_expansion);
    visit_suspended_expansions(end_expansion);
    while (lines_pending)
        next_line();
    reset_macro_state();
    close_open_conditionals();
    close_listing();
    forget_input();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static bool prologue_built;

    if (size < 2)
        return 0;
    const std::string text(data + 2, data + size);
    write_files(text);
    // Directives that write as many lines as they please would only cost time.
    const bool counts_lines =
        text.find("spc") != std::string::npos || text.find("plen") != std::string::npos;
    set_options(data[0] | unsigned{data[1]} << 8, !counts_lines);
    if (debug_lines && !prologue_built) {
        build_debug_prologue();
        prologue_built = true;
    }
    source_file_name = "a.s";
    lines_left = LINES_MAX;
    start_input();
    if (setjmp(input_end) == 0)
        assemble_source_file();
    clean_up();
    return 0;
}
