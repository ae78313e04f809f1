// Later passes only bring the addresses of the records up to date; a record that isn't the one of
// the pass before (in length or kind) costs a pass that rebuilds them all and one that checks them.

#include "output/debug_info.h"

#include "base/file_names.h"
#include "base/memory.h"
#include "base/pass_state.h"
#include "base/position.h"
#include "base/settings.h"
#include "output/debug_symbols.h"
#include "output/section_table.h"
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <iterator>

// How this pass treats the records: compares them with those of the pass before, has found that
// they differ, or builds them anew. Moved at the head of each pass by reset_debug_records.
enum DebugRecordState { COMPARE, MISMATCH, REBUILD };
static DebugRecordState debug_record_state;

static DebugRecord *debug_records;
bool debug_lines;

// The link to follow for the next record.
static DebugRecord **debug_tail = &debug_records;

// Room for the text of a record of the assembler's own: the longest path of the host, two numbers.
constexpr size_t TEXT_ROOM = 4096 + 64;

static void free_records_from(DebugRecord **link)
{
    while (*link != nullptr)
        *link = xfree(*link, (*link)->next);
}

void reset_debug_records()
{
    if (pass_number == 0 || debug_record_state == MISMATCH)
        free_records_from(&debug_records);
    debug_tail = &debug_records;
    debug_record_state = debug_record_state == MISMATCH ? REBUILD : COMPARE;
}

uint64_t hash_debug_records()
{
    uint64_t hash = debug_record_state;
    for (const DebugRecord *record = debug_records; record != nullptr; record = record->next)
        hash = hash * 0x100000001B3 + (uint64_t{record->kind} << 8) + record->text_length;
    return hash;
}

// Whether this pass stores the texts of the records.
static bool stores_texts()
{
    return pass_number == 0 || debug_record_state == REBUILD;
}

static DebugRecord *append_record(size_t length)
{
    auto *record = new_node<DebugRecord>(nullptr, length);
    record->text = reinterpret_cast<char *>(record + 1);
    *debug_tail = record;
    return record;
}

void add_debug_record(std::string_view text, uint8_t kind)
{
    DebugRecord *record = *debug_tail;
    if (record == nullptr)
        record = append_record(text.size());
    debug_tail = &record->next;

    const auto text_length = static_cast<uint8_t>(text.size());
    if (stores_texts()) {
        record->text_length = text_length;
        if (text_length != 0)
            std::memcpy(record->text, text.data(), text_length);
        record->kind = kind;
    } else if (debug_record_state == COMPARE &&
               (record->text_length != text_length || record->kind != kind)) {
        debug_record_state = MISMATCH;
        request_another_pass();
        return;
    }
    record->address = current_location();
    record->section = current_section;
}

// A range that opens and closes at the same place is empty and left out.
static bool is_empty_range(const DebugRecord *record)
{
    const DebugRecord *end = record->next;
    return end != nullptr && record->kind == DEBUG_RANGE_START && end->kind == DEBUG_RANGE_END &&
           record->section == end->section && record->address == end->address;
}

// The first record from `record` on that reaches the object file, or null.
static const DebugRecord *written_record_from(const DebugRecord *record)
{
    while (record != nullptr && is_empty_range(record))
        record = record->next->next;
    return record;
}

const DebugRecord *first_written_record()
{
    return written_record_from(debug_records);
}

const DebugRecord *next_written_record(const DebugRecord &record)
{
    return written_record_from(record.next);
}

void mark_sections_of_debug_records(uint16_t flag)
{
    const DebugRecord *record = first_written_record();
    for (; record != nullptr; record = next_written_record(*record))
        record->section->flags |= flag;
}

static const char *record_file_name(const char *file)
{
    return settings.debug_no_path ? without_directory(file) : file;
}

// Adds a record with a formatted text, cut to the room of the buffer.
static void add_formatted_record(uint8_t kind, const char *format, const char *file, uint32_t first,
                                 uint32_t last)
{
    char text[TEXT_ROOM];
    const int length = std::snprintf(text, sizeof text, format, record_file_name(file),
                                     static_cast<long>(first), static_cast<long>(last));
    add_debug_record({text, std::min(static_cast<size_t>(length), sizeof text - 1)}, kind);
}

// One for each instruction: too many for a format.
void debug_line_record()
{
    char text[TEXT_ROOM];
    const std::string_view file = record_file_name(current_file_name());
    char *end = text + file.copy(text, TEXT_ROOM - sizeof ":4294967295");
    *end++ = ':';
    end = std::to_chars(end, std::end(text), current_line()).ptr;
    add_debug_record({text, end}, DEBUG_LINE);
}

// Where texts aren't stored the record at hand lends its text, so that only the kind is compared.
static void add_scope_record(uint8_t kind, const char *format, const char *file, uint32_t line)
{
    if (stores_texts()) {
        add_formatted_record(kind, format, file, line, line);
        return;
    }
    const DebugRecord *record = *debug_tail;
    add_debug_record(record != nullptr ? std::string_view(record->text, record->text_length) : "",
                     kind);
}

void debug_close_scope(const char *file, uint32_t line)
{
    add_scope_record(DEBUG_RANGE_END, "%s:%ld-%ld", file, line);
}

void debug_open_scope(const char *file, uint32_t line)
{
    add_scope_record(DEBUG_RANGE_START, "%s~:%ld-%ld", file, line);
}

void debug_end_of_file(const char *file, uint32_t line)
{
    debug_close_scope(file, line);
    select_section(".debug");
    emit_debug_symbols();
}

void cancel_line_records()
{
    debug_lines = false;
    DebugRecord **link = &debug_records;
    while (*link != nullptr) {
        if ((*link)->kind != DEBUG_CALL)
            *link = xfree(*link, (*link)->next);
        else
            link = &(*link)->next;
    }
    debug_tail = link;

    Section *const section = current_section;
    Section *const debug = select_section(".debug");
    current_section = section;
    if (debug == nullptr)
        return;
    reset_stream(&debug->code_stream);
    reset_stream(&debug->reloc_stream);
    debug->size = 0;
    debug->reloc_position = 0;
}

// Adds a text to a section that no statement assembles into.
static void append_text(Section *section, std::string_view text)
{
    if (section == nullptr)
        return;
    for (const char c : text) {
        if (pass_number != 0)
            stream_put_byte(&section->code_stream, static_cast<uint8_t>(c == '\n' ? '\0' : c));
        ++section->size;
    }
    section->flags |= SEC_USED;
}

void append_info(std::string_view text)
{
    append_text(info_section, text);
}

void append_misra(std::string_view text)
{
    append_text(misra_section, text);
}

void write_info_header()
{
    append_info("> ");
    append_info(object_file_name);
    append_info(": ");
    append_info(time_stamp);
    append_info("\n");
}
