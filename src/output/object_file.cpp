// The head and the section table hold offsets of what follows them, so they are written last, over
// the room left for them.

#include "output/object_file.h"

#include "driver/file_names.h"
#include "driver/host.h"
#include "driver/settings.h"
#include "expr/symbol_table.h"
#include "listing/diagnostics.h"
#include "output/debug_info.h"
#include "output/section_table.h"
#include "target/target.h"
#include <cstdio>
#include <cstring>
#include <vector>

using Bytes = std::vector<uint8_t>;

// The file being written, and how far it has come.
static std::FILE *object_stream;
static uint32_t object_position;

static void append_word(Bytes *bytes, uint32_t word)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes->push_back(static_cast<uint8_t>(word >> shift));
}

static void write_bytes(const void *bytes, size_t size)
{
    std::fwrite(bytes, 1, size, object_stream);
    object_position += static_cast<uint32_t>(size);
}

// Writes the contents of a section and its relocations and appends its entry to the table.
static void write_section(const Section *section, Bytes *table)
{
    table->push_back(section->attributes);
    table->push_back(section->name_length);
    const size_t name_end = table->size() + SECTION_NAME_MAX;
    table->insert(table->end(), section->section_name,
                  section->section_name + section->name_length);
    table->resize(name_end);

    if (section->attributes & SECATTR_BSS) {
        append_word(table, 0);
        append_word(table, section->size);
        append_word(table, 0);
        append_word(table, 0);
    } else {
        for (const ByteStream *stream : {&section->code_stream, &section->reloc_stream}) {
            append_word(table, object_position);
            const uint32_t written = section->size != 0 ? write_stream(stream, object_stream) : 0;
            append_word(table, written);
            object_position += written;
        }
    }
    append_word(table, section->base_address);
    append_word(table, section->base_address);
}

static void write_sections(Bytes *table)
{
    for (const Section *section = section_list; section != nullptr; section = section->next) {
        if (section->flags & SEC_USED)
            write_section(section, table);
    }
}

// A leading blank in the name is how the linker tells a weak definition: there is no attribute bit
// for it.
static void write_symbol(Symbol *symbol, bool weak_definition)
{
    if (symbol->flags & SYM_BIT)
        symbol->attrs |= ATTR_BIT;
    Bytes record;
    append_word(&record, symbol->value);
    record.push_back(symbol->attrs);
    record.push_back(symbol->section_number);
    record.push_back(static_cast<uint8_t>(symbol->name_length + (weak_definition ? 1 : 0)));
    if (weak_definition)
        record.push_back(' ');
    record.insert(record.end(), symbol->name, symbol->name + symbol->name_length);
    write_bytes(record.data(), record.size());
}

static bool has_numbered_record(const Symbol *symbol)
{
    return symbol->object_index != 0 && (symbol->flags & SYM_ALIAS) == 0;
}

// The symbols that relocations refer to by number come first, in the order of their numbers.
static uint32_t write_numbered_symbols()
{
    uint32_t count = 0;
    for (Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (!has_numbered_record(symbol))
            continue;
        write_symbol(symbol, (symbol->attrs & ATTR_DEFINED) && (symbol->flags & SYM_WEAK));
        ++count;
    }
    return count;
}

// Under -pl the other symbols follow, for the debugger; no relocation reaches them.
static uint32_t write_local_symbols()
{
    constexpr uint16_t NEVER_KEPT =
        SYM_REGISTER | SYM_TESTED | SYM_IN_DEBUG | SYM_LOCAL | SYM_LITERAL;
    uint32_t count = 0;
    for (Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (has_numbered_record(symbol) || (symbol->attrs & ATTR_DEFINED) == 0 ||
            (symbol->flags & NEVER_KEPT))
            continue;
        symbol->attrs &= static_cast<uint8_t>(~ATTR_PUBLIC);
        write_symbol(symbol, false);
        ++count;
    }
    return count;
}

static uint32_t write_debug_records()
{
    uint32_t count = 0;
    const DebugRecord *record = first_written_record(debug_records);
    for (; record != nullptr; record = first_written_record(record->next)) {
        Bytes bytes;
        append_word(&bytes, record->address);
        bytes.push_back(record->kind);
        bytes.push_back(static_cast<uint8_t>(record->section->number));
        bytes.push_back(record->text_length);
        bytes.insert(bytes.end(), record->text, record->text + record->text_length);
        write_bytes(bytes.data(), bytes.size());
        ++count;
    }
    return count;
}

static void append_area(Bytes *head, uint32_t count, uint32_t offset)
{
    append_word(head, count);
    append_word(head, offset);
    append_word(head, object_position - offset);
}

static void write_parts()
{
    object_position = OBJECT_HEAD_SIZE + SECTION_ENTRY_SIZE * static_cast<uint32_t>(section_count);
    std::fseek(object_stream, static_cast<long>(object_position), SEEK_SET);

    Bytes table;
    write_sections(&table);

    Bytes head = {OBJECT_MAGIC, object_machine, object_machine_variant,
                  static_cast<uint8_t>(section_count)};
    const uint32_t symbol_offset = object_position;
    uint32_t symbol_total = write_numbered_symbols();
    if (keep_locals)
        symbol_total += write_local_symbols();
    append_area(&head, symbol_total, symbol_offset);

    const uint32_t debug_offset = object_position;
    const uint32_t debug_total = write_debug_records();
    append_area(&head, debug_total, debug_offset);

    std::fseek(object_stream, 0, SEEK_SET);
    head.insert(head.end(), table.begin(), table.end());
    std::fwrite(head.data(), 1, head.size(), object_stream);
}

void write_object_file()
{
    object_stream = create_output(object_file_name, "wb");
    if (object_stream == nullptr)
        return;
    write_parts();
    if (!close_output(object_stream, object_file_name))
        remove_output(object_file_name);
}
