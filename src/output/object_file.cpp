// The object is made in memory and put in place when nothing can go wrong any more: it is right or
// it is not written. The contents of the sections are not copied for that. The head and the section
// table hold offsets of what follows them, so they are made last.

#include "output/object_file.h"

#include "base/file_names.h"
#include "base/output_files.h"
#include "base/pass_state.h"
#include "base/settings.h"
#include "expr/symbol_table.h"
#include "output/debug_info.h"
#include "output/section_table.h"
#include <vector>

using Bytes = std::vector<uint8_t>;

// The object that waits to be put in place: head and section table, the pieces of the sections, and
// the records after them. Without a head there is none.
static Bytes object_head;
static std::vector<Piece> section_pieces;
static Bytes object_records;

// The offset in the file behind what the sections hold so far, where the records will begin.
static uint32_t sections_end;

static uint32_t records_end()
{
    return sections_end + static_cast<uint32_t>(object_records.size());
}

static void append_word(Bytes *bytes, uint32_t word)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes->push_back(static_cast<uint8_t>(word >> shift));
}

// Adds the contents of a section and its relocations, and its entry to the table.
static void add_section(const Section *section, Bytes *table)
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
            append_word(table, sections_end);
            const uint32_t size = section->size != 0 ? append_pieces(stream, &section_pieces) : 0;
            append_word(table, size);
            sections_end += size;
        }
    }
    append_word(table, section->base_address);
    append_word(table, section->base_address);
}

static void add_sections(Bytes *table)
{
    for (const Section *section = section_list; section != nullptr; section = section->next) {
        if (section->flags & SEC_USED)
            add_section(section, table);
    }
}

// A leading blank in the name is how the linker knows a weak definition: there is no attribute bit
// for it.
static void add_symbol(Symbol *symbol, bool weak_definition)
{
    if (symbol->flags & SYM_BIT)
        symbol->attrs |= ATTR_BIT;
    append_word(&object_records, symbol->value);
    object_records.push_back(symbol->attrs);
    object_records.push_back(symbol->section_number);
    object_records.push_back(static_cast<uint8_t>(symbol->name_length + (weak_definition ? 1 : 0)));
    if (weak_definition)
        object_records.push_back(' ');
    object_records.insert(object_records.end(), symbol->name, symbol->name + symbol->name_length);
}

static bool has_numbered_record(const Symbol *symbol)
{
    return symbol->object_index != 0 && (symbol->flags & SYM_ALIAS) == 0;
}

// The symbols that relocations refer to by number come first, in the order of their numbers.
static uint32_t add_numbered_symbols()
{
    uint32_t count = 0;
    for (Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (!has_numbered_record(symbol))
            continue;
        add_symbol(symbol, (symbol->attrs & ATTR_DEFINED) && (symbol->flags & SYM_WEAK));
        ++count;
    }
    return count;
}

// Under -pl the other symbols follow, for the debugger; no relocation reaches them.
static uint32_t add_local_symbols()
{
    constexpr uint16_t NEVER_KEPT =
        SYM_REGISTER | SYM_TESTED | SYM_IN_DEBUG | SYM_LOCAL | SYM_LITERAL;
    uint32_t count = 0;
    for (Symbol *symbol = symbol_list; symbol != nullptr; symbol = symbol->next) {
        if (has_numbered_record(symbol) || (symbol->attrs & ATTR_DEFINED) == 0 ||
            (symbol->flags & NEVER_KEPT))
            continue;
        symbol->attrs &= static_cast<uint8_t>(~ATTR_PUBLIC);
        add_symbol(symbol, false);
        ++count;
    }
    return count;
}

static uint32_t add_debug_records()
{
    uint32_t count = 0;
    const DebugRecord *record = first_written_record();
    for (; record != nullptr; record = next_written_record(*record)) {
        append_word(&object_records, record->address);
        object_records.push_back(record->kind);
        object_records.push_back(static_cast<uint8_t>(record->section->number));
        object_records.push_back(record->text_length);
        object_records.insert(object_records.end(), record->text,
                              record->text + record->text_length);
        ++count;
    }
    return count;
}

static void append_area(Bytes *head, uint32_t count, uint32_t offset)
{
    append_word(head, count);
    append_word(head, offset);
    append_word(head, records_end() - offset);
}

void build_object_file(const Machine &machine)
{
    drop_object_file();
    if (!can_create_output(OutputKind::OBJECT, object_file_name)) {
        error_count += settings.warnings_count ? 1 : 0;
        return;
    }
    sections_end = OBJECT_HEAD_SIZE + SECTION_ENTRY_SIZE * static_cast<uint32_t>(section_count);
    Bytes table;
    add_sections(&table);

    object_head = {OBJECT_MAGIC, machine.number, machine.variant,
                   static_cast<uint8_t>(section_count)};
    const uint32_t symbol_offset = records_end();
    uint32_t symbol_total = add_numbered_symbols();
    if (settings.keep_locals)
        symbol_total += add_local_symbols();
    append_area(&object_head, symbol_total, symbol_offset);

    const uint32_t debug_offset = records_end();
    const uint32_t debug_total = add_debug_records();
    append_area(&object_head, debug_total, debug_offset);
    object_head.insert(object_head.end(), table.begin(), table.end());
}

bool has_object_file()
{
    return !object_head.empty();
}

void place_object_file()
{
    if (!has_object_file())
        return;
    std::vector<Piece> pieces = {object_head};
    pieces.insert(pieces.end(), section_pieces.begin(), section_pieces.end());
    pieces.emplace_back(object_records);
    place_output(OutputKind::OBJECT, object_file_name, pieces);
}

void drop_object_file()
{
    object_head.clear();
    section_pieces.clear();
    object_records.clear();
}
