// Recognises the closing table of .debug. Nothing announces it: it is looked for by its first word,
// a relocated pointer to the word after itself, and taken for a table only if everything from
// there to the end of the section fits. The rows' pointers into the strings are all determined by
// the strings' lengths, so other data doesn't pass by chance.
#include "nvobj8/debug_table.h"

#include "base/object_format.h"
#include <algorithm>
#include <map>

static constexpr uint32_t ROW_SIZE = 16;

// A row's type word goes with the size of the data after the symbol.
static constexpr uint32_t TYPE_NO_DATA = 0x58000000;
static constexpr uint32_t TYPE_BYTE = 0x0A000000;
static constexpr uint32_t TYPE_WORD = 0x11000000;
static constexpr uint32_t TYPE_LONG = 0x21000000;
static constexpr uint32_t TYPE_SIZED = 0x0A0000C0; // the size follows the class byte

static constexpr uint8_t CLASS_LOCAL_DATA = 1;
static constexpr uint8_t CLASS_PUBLIC_DATA = 6;
static constexpr uint8_t CLASS_LOCAL = 18;
static constexpr uint8_t CLASS_PUBLIC = 19;

// One attempt to read a table. The section's longs with relocations are kept by offset.
struct TableWalk {
    const ObjectSection &section;
    uint32_t number;
    std::map<uint32_t, const ObjectRelocation *> pointers;
};

static const ObjectRelocation *relocation_at(const TableWalk &walk, uint32_t offset)
{
    const auto found = walk.pointers.find(offset);
    return found == walk.pointers.end() ? nullptr : found->second;
}

static bool has_bytes(const TableWalk &walk, uint64_t offset, uint64_t size)
{
    return offset + size <= walk.section.contents.size();
}

static uint32_t plain_long(const TableWalk &walk, uint32_t offset, bool hilo)
{
    uint32_t value = 0;
    for (uint32_t i = 0; i < 4; ++i)
        value = value << 8 | walk.section.contents[offset + (hilo ? i : 3 - i)];
    return value;
}

static uint32_t section_long(const TableWalk &walk, uint32_t offset)
{
    return plain_long(walk, offset, walk.section.attributes & SECATTR_HILO);
}

// A long that points to `target`, an offset in the section itself.
static bool points_to(const TableWalk &walk, uint32_t offset, uint32_t target)
{
    const ObjectRelocation *relocation = relocation_at(walk, offset);
    return relocation != nullptr && relocation->index == walk.number &&
           relocation->addend == walk.section.address + target;
}

static bool is_plain_zero(const TableWalk &walk, uint32_t offset)
{
    return relocation_at(walk, offset) == nullptr && section_long(walk, offset) == 0;
}

// Reads the string at `cursor` into `row` and moves the cursor to its end.
static bool read_string(const TableWalk &walk, uint32_t *cursor, DebugTableRow *row)
{
    const std::vector<uint8_t> &contents = walk.section.contents;
    const auto begin = contents.begin() + *cursor;
    const auto end = std::find(begin, contents.end(), 0);
    if (contents.end() - end < 2)
        return false;
    row->name.assign(begin, end);
    row->symbol_class = end[1];
    *cursor += static_cast<uint32_t>(row->name.size() + 2);
    return true;
}

static bool read_data_size(const TableWalk &walk, uint32_t row_offset, uint32_t *cursor,
                           DebugTableRow *row)
{
    const uint32_t size_pointer = row_offset + 12;
    if (row->type == TYPE_SIZED) {
        if (!points_to(walk, size_pointer, *cursor) || !has_bytes(walk, *cursor, 4))
            return false;
        row->data_size = section_long(walk, *cursor);
        *cursor += 4;
        return row->data_size == 3 || row->data_size > 4;
    }
    switch (row->type) {
    case TYPE_NO_DATA:
        row->data_size = 0;
        break;
    case TYPE_BYTE:
        row->data_size = 1;
        break;
    case TYPE_WORD:
        row->data_size = 2;
        break;
    case TYPE_LONG:
        row->data_size = 4;
        break;
    default:
        return false;
    }
    return is_plain_zero(walk, size_pointer);
}

static bool class_fits(const DebugTableRow &row)
{
    if (row.data_size != 0)
        return row.symbol_class == CLASS_PUBLIC_DATA || row.symbol_class == CLASS_LOCAL_DATA;
    return row.symbol_class == CLASS_PUBLIC || row.symbol_class == CLASS_LOCAL;
}

static bool read_row(const TableWalk &walk, const ObjectFile &object, uint32_t offset,
                     uint32_t *cursor, DebugTableRow *row)
{
    if (!points_to(walk, offset, *cursor) || !read_string(walk, cursor, row))
        return false;
    if (const ObjectRelocation *relocation = relocation_at(walk, offset + 4)) {
        row->section_number = relocation->index;
        row->value = relocation->addend;
    } else {
        row->value = section_long(walk, offset + 4);
    }
    row->type = plain_long(walk, offset + 8, true);
    return row->section_number <= object.section_count && row->section_number != walk.number &&
           relocation_at(walk, offset + 8) == nullptr &&
           read_data_size(walk, offset, cursor, row) && class_fits(*row);
}

// `start` is the offset of the first row, whose first word points after the closing zero word and
// so gives how many rows there are.
static std::optional<DebugTable> read_table(const TableWalk &walk, const ObjectFile &object,
                                            uint32_t start)
{
    const ObjectRelocation *first_string = relocation_at(walk, start);
    if (first_string == nullptr)
        return std::nullopt;
    uint32_t cursor = first_string->addend - walk.section.address;
    const uint32_t table_size = cursor - start;
    if (cursor < start || table_size < ROW_SIZE + 4 || table_size % ROW_SIZE != 4 ||
        !has_bytes(walk, start, table_size)) {
        return std::nullopt;
    }
    const uint32_t closing_word = cursor - 4;
    DebugTable table{walk.section.address + start, {}};
    for (uint32_t offset = start; offset < closing_word; offset += ROW_SIZE) {
        if (!read_row(walk, object, offset, &cursor, &table.rows.emplace_back()))
            return std::nullopt;
    }
    if (!is_plain_zero(walk, closing_word) || cursor != walk.section.contents.size())
        return std::nullopt;
    return table;
}

std::optional<DebugTable> find_debug_table(const ObjectFile &object, uint32_t number)
{
    TableWalk walk{object.sections[number - 1], number, {}};
    for (const ObjectRelocation &relocation : walk.section.relocations) {
        if (relocation.kind == RK_LONG)
            walk.pointers[relocation.offset] = &relocation;
    }
    for (const auto &[offset, relocation] : walk.pointers) {
        if (points_to(walk, offset, offset + 4)) {
            if (auto table = read_table(walk, object, offset + 4))
                return table;
        }
    }
    return std::nullopt;
}

bool is_public_class(uint8_t symbol_class)
{
    return symbol_class == CLASS_PUBLIC || symbol_class == CLASS_PUBLIC_DATA;
}
