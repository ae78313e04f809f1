// A stack of suspended inputs below the one that is being read. Every pass builds it anew from the
// main source; files are read from disk on each pass.

#include "input/input_stack.h"

#include "base/diagnostics.h"
#include "base/file_register.h"
#include "base/host.h"
#include "base/memory.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/settings.h"
#include "input/macro.h"
#include "input/source_reader.h"
#include "input/source_span.h"
#include "listing/depfile.h"
#include "listing/listing.h"
#include "listing/side_outputs.h"
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

char line_buffer[LINE_ROOM];
Expansion *current_expansion;
bool end_seen;

// One opening of a file in the sizing pass. Later passes find their names in these records.
struct FileRecord {
    FileRecord *next;
    size_t ordinal; // its place in the order of opening
    // The name is that of the opening, a path of the include list included; it lies in the record.
    FilePosition position;
};

// A suspended input: an expansion, or else a file.
struct InputSource {
    InputSource *next;
    FileRecord *file_record; // current when the input was suspended
    Expansion *expansion;
    SourceReader *file;
    const char *opened_name;
};

// The file being read when no expansion runs on top of it, and the name it was found under, which
// lies in known_names.
static SourceReader *current_file;
static const char *current_opened_name;

static InputSource *input_stack;

// Record of the file being read; an expansion doesn't change it, so that its lines are reported at
// the line that called it.
static FileRecord *current_file_record;

// The records of this source file, in order of opening, and where the next one is linked.
static FileRecord *file_records;
static FileRecord **file_records_tail = &file_records;
static size_t file_record_count;

// The records of each name, in order of opening. The text of a key lies in the first of them.
static std::map<std::string_view, std::vector<FileRecord *>> records_by_name;

// Files that are open at once, the main source among them. Hosts allow a process about as many; a
// bound of our own makes a file that includes itself end alike everywhere.
constexpr int32_t OPEN_FILES_MAX = 1000;
static int32_t open_files;

// Set when nested includes have used up the open files: a file that includes itself twice would
// otherwise try again on every level of the way back. Cleared when the main source goes on.
static bool out_of_files;

// What is remembered of the passes of a source file, so that all of them read the same: where each
// name was found, and what was reported of the names. Emptied for each source file.
static std::map<std::string, std::string> known_names;
static std::set<std::string> changed_names;
static std::set<std::string> unreadable_names;
static std::string missed_file; // not opened in some pass, as the host had too many open
static bool failed_once;

// A longer joined path isn't tried.
constexpr size_t JOINED_PATH_MAX = 511;
constexpr uint32_t SHOWN_PATH_LENGTH = 40;

static void select_record(FileRecord *record)
{
    current_file_record = record;
    current_position = record != nullptr ? &record->position : nullptr;
}

static void push_input()
{
    auto *input = new_node<InputSource>(input_stack);
    input->file_record = current_file_record;
    input->expansion = current_expansion;
    input->file = current_file;
    input->opened_name = current_opened_name;
    input_stack = input;
}

void push_expansion(Expansion *expansion)
{
    push_input();
    current_expansion = expansion;
}

// Goes back to the input below; false when there is none.
[[gnu::noinline]] static bool pop_input()
{
    InputSource *input = input_stack;
    if (input == nullptr)
        return false;
    select_record(input->file_record);
    current_expansion = input->expansion;
    if (input->expansion == nullptr) {
        current_file = input->file;
        current_opened_name = input->opened_name;
        list_state &= ~LIST_EXPANSION;
    }
    input_stack = xfree(input, input->next);
    return true;
}

Expansion *visit_suspended_expansions(bool (*stops)(Expansion *))
{
    for (InputSource *input = input_stack; input != nullptr; input = input->next) {
        if (input->expansion != nullptr && stops(input->expansion))
            return input->expansion;
    }
    return nullptr;
}

std::vector<InputLevel> input_levels()
{
    std::vector<InputLevel> levels = {{current_expansion, current_position}};
    for (const InputSource *input = input_stack; input != nullptr; input = input->next) {
        const FileRecord *record = input->file_record;
        levels.push_back({input->expansion, record != nullptr ? &record->position : nullptr});
    }
    return levels;
}

// The line that can't be read is the one after the last; the file ends there.
static void report_read_error()
{
    ++current_position->line;
    ++line_ordinal;
    report_unreadable(current_opened_name);
}

[[gnu::noinline]] static void end_file()
{
    if (!end_seen && reading_failed(current_file))
        report_read_error();
    close_reader(current_file);
    current_file = nullptr;
    --open_files;
    if (open_files == 1)
        out_of_files = false;
    end_seen = false;
}

static const char *next_file_line()
{
    if (end_seen || !read_source_line(current_file, line_buffer, LINE_ROOM)) {
        end_file();
        return nullptr;
    }
    ++current_position->line;
    ++line_ordinal;
    return line_buffer;
}

[[gnu::noinline]] static const char *next_line_of_expansion()
{
    if (!mlist_flag)
        list_state |= LIST_EXPANSION;
    const char *line = next_expansion_line(current_expansion);
    if (line != nullptr)
        ++line_ordinal;
    else
        current_expansion = nullptr;
    return line;
}

const char *next_line()
{
    do {
        if (const char *line = next_span_line())
            return line;
        const char *line =
            current_expansion != nullptr ? next_line_of_expansion() : next_file_line();
        if (line != nullptr)
            return line;
    } while (pop_input());
    return nullptr;
}

// Searches the include list. The joined name is left in line_buffer. Only where the file isn't
// there the search goes on: a name that could not be looked up must not give way to another file.
static Opening open_on_include_list(const char *name, std::FILE **file)
{
    Opening result = Opening::ABSENT;
    for (int32_t i = 0; i < settings.include_list.count; ++i) {
        const char *path = settings.include_list.items[i];
        const std::string joined = std::string(path) + path_separator + name;
        if (joined.size() >= JOINED_PATH_MAX) {
            record_error(messages::PATH_TOO_LONG,
                         std::string_view(path).substr(0, SHOWN_PATH_LENGTH));
            continue;
        }
        std::strcpy(line_buffer, joined.c_str());
        const Opening opening = open_for_reading(line_buffer, file);
        if (opening == Opening::DENIED)
            result = opening;
        else if (opening != Opening::ABSENT)
            return opening;
    }
    return result;
}

static bool has_file_record(const char *name)
{
    return records_by_name.contains(name);
}

static FileRecord *append_file_record(const char *name)
{
    const size_t size = std::strlen(name) + 1;
    auto *record = new_node<FileRecord>(nullptr, size);
    char *text = reinterpret_cast<char *>(record + 1);
    std::memcpy(text, name, size);
    record->position.name = text;
    record->ordinal = file_record_count++;
    *file_records_tail = record;
    file_records_tail = &record->next;
    records_by_name[text].push_back(record);
    return record;
}

// The record that serves an opening in a later pass: the first of that name after the file that
// includes it. A file that only a later pass opens shows the name of the main source.
static FileRecord *find_file_record(const char *name)
{
    const auto found = records_by_name.find(name);
    if (current_file_record == nullptr || found == records_by_name.end())
        return file_records;
    const std::vector<FileRecord *> &records = found->second;
    const auto record = std::upper_bound(
        records.begin(), records.end(), current_file_record->ordinal,
        [](size_t ordinal, const FileRecord *other) { return ordinal < other->ordinal; });
    return record != records.end() ? *record : file_records;
}

// Opens the file where it is found first; *opened_name is its name there.
static Opening open_source(const char *name, const char **opened_name, std::FILE **file)
{
    out_of_files = out_of_files || open_files >= OPEN_FILES_MAX;
    if (out_of_files)
        return Opening::EXHAUSTED;
    *opened_name = name;
    Opening opening = open_for_reading(name, file);
    const bool goes_on = opening == Opening::ABSENT || opening == Opening::DENIED;
    if (goes_on && name[0] != path_separator) {
        const Opening below = open_on_include_list(name, file);
        opening = below != Opening::ABSENT ? below : opening;
        *opened_name = line_buffer;
    }
    if (opening == Opening::EXHAUSTED) {
        out_of_files = true;
        missed_file = name;
    }
    return opening;
}

// Where the name was found by the pass that asked for it first; empty when nowhere. When that is
// now, it is `opened_name`. Failures for want of open files aren't remembered: they depend on the
// place.
static const std::string &first_opened_name(const char *name, const char *opened_name)
{
    return known_names.try_emplace(name, opened_name).first->second;
}

// Reports a name that opens in one pass and not in another. Once: a pass that fails to open it
// again records the error as for any other name.
static void report_changed_name(const char *name)
{
    failed_once = true;
    if (changed_names.insert(name).second)
        report_at_line(messages::CANT_OPEN, name);
    else
        record_error(messages::CANT_OPEN, name);
}

// Makes an open file the current input.
static void enter_file(std::FILE *file, const char *opened_name)
{
    // Made first: memory may end here, and then the present file must not stand on the stack as
    // well.
    SourceReader *reader = open_reader(file);
    skip_byte_order_mark(reader);
    if (current_file != nullptr || current_expansion != nullptr)
        push_input();
    ++open_files;
    current_file = reader;
    current_opened_name = opened_name;
    current_expansion = nullptr;
    note_input(opened_name);
    add_depfile_input(opened_name);
    if (pass_number == 0 && settings.opt_make_deps && !has_file_record(opened_name))
        add_dependency(opened_name);
    // Without any record the main source has not been opened in the sizing pass.
    FileRecord *record = pass_number != 0 ? find_file_record(opened_name) : nullptr;
    if (record == nullptr)
        record = append_file_record(opened_name);
    record->position.line = 0;
    select_record(record);
}

// What came of a name, compared with the passes before.
enum class NameState { OPEN, MISSING, CHANGED };

static NameState open_name(const char *name)
{
    const char *opened_name = "";
    std::FILE *file = nullptr;
    const Opening opening = open_source(name, &opened_name, &file);
    if (opening == Opening::EXHAUSTED)
        return NameState::MISSING;
    // A rule goes without files that aren't there, not without those that it can't see.
    if (opening == Opening::FAILED || (opening == Opening::DENIED && settings.opt_make_deps))
        return NameState::CHANGED;
    if (opening != Opening::OPEN)
        opened_name = "";
    const std::string &first_name = first_opened_name(name, opened_name);
    if (first_name == opened_name && opening == Opening::OPEN) {
        enter_file(file, first_name.c_str());
        return NameState::OPEN;
    }
    if (opening == Opening::OPEN)
        std::fclose(file);
    return first_name == opened_name ? NameState::MISSING : NameState::CHANGED;
}

bool open_include(const char *name)
{
    const NameState state = open_name(name);
    if (state == NameState::CHANGED)
        report_changed_name(name);
    else if (state == NameState::MISSING)
        record_error(messages::CANT_OPEN, name);
    return state == NameState::OPEN;
}

bool open_main_source(const char *name)
{
    const NameState state = open_name(name);
    failed_once = failed_once || state == NameState::CHANGED;
    if (state != NameState::OPEN)
        record_error(messages::CANT_OPEN, name);
    return state == NameState::OPEN;
}

void report_unreadable(const char *name)
{
    failed_once = true;
    if (unreadable_names.insert(name).second)
        report_at_line("can't read %s", name);
}

void reset_input()
{
    select_record(nullptr);
    current_file = nullptr;
    end_seen = false;
    line_ordinal = 0;
    out_of_files = false;
    stop_recording();
    while (input_stack != nullptr)
        input_stack = xfree(input_stack, input_stack->next);
}

bool input_failed()
{
    return failed_once || !missed_file.empty();
}

void report_missed_file()
{
    if (error_count == 0 && !missed_file.empty())
        report_at_line(messages::CANT_OPEN, missed_file.c_str());
}

void forget_files()
{
    known_names.clear();
    changed_names.clear();
    unreadable_names.clear();
    missed_file.clear();
    failed_once = false;
    while (file_records != nullptr)
        file_records = xfree(file_records, file_records->next);
    file_records_tail = &file_records;
    file_record_count = 0;
    records_by_name.clear();
}
