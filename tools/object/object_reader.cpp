// Reads object files, damaged and hostile ones too. The rule that keeps it safe: nothing is read
// but through a span that take_area() or the head and table checks have cut to the file, and the
// counts and sizes of the file only bound loops that also end with their span. Reading goes on
// after a fault wherever what follows can still be found.
#include "object/object_reader.h"

#include "base/object_format.h"
#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <optional>

using Bytes = std::span<const uint8_t>;

struct KindShape {
    const char *name;
    uint8_t field_size;
    uint8_t addend_bytes; // RK_CHECK shows its own by a flag byte
};

static constexpr std::array<KindShape, 16> KIND_SHAPES = {{
    {"byte", 1, 0},
    {"word", 2, 0},
    {"long", 4, 0},
    {nullptr, 0, 0},
    {"high", 1, 3},
    {nullptr, 0, 0},
    {"page-byte", 1, 3},
    {"page-word", 2, 2},
    {nullptr, 0, 0},
    {"bit", 3, 2},
    {"phigh", 1, 3},
    {"plow", 2, 2},
    {"long-alt", 4, 0},
    {nullptr, 0, 0},
    {nullptr, 0, 0},
    {"check", 0, 0},
}};

static uint8_t base_kind(uint8_t kind)
{
    return kind & RELOC_KIND_MASK & static_cast<uint8_t>(~RELOC_KIND_MODIFIER);
}

const char *relocation_kind_name(uint8_t kind)
{
    return KIND_SHAPES[base_kind(kind)].name;
}

std::string escaped(std::string_view text)
{
    static const char *const digits = "0123456789abcdef";
    std::string result;
    for (char c : text) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte >= 0x20 && byte < 0x7F && c != '\\')
            result += c;
        else
            result += {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
    }
    return result;
}

bool is_weak_definition(const ObjectSymbol &symbol)
{
    return (symbol.attrs & ATTR_DEFINED) && symbol.name.starts_with(' ');
}

static const ObjectSymbol *symbol_of_index(const ObjectFile &object, uint32_t index)
{
    if (index <= object.section_count || index - object.section_count > object.symbols.size())
        return nullptr;
    return &object.symbols[index - object.section_count - 1];
}

std::string index_name(const ObjectFile &object, uint32_t index)
{
    if (index == 0)
        return "0";
    if (index <= object.sections.size())
        return escaped(object.sections[index - 1].name);
    if (const ObjectSymbol *symbol = symbol_of_index(object, index))
        return escaped(is_weak_definition(*symbol) ? symbol->name.substr(1) : symbol->name);
    std::string unknown = "?";
    return unknown += std::to_string(index);
}

[[gnu::format(printf, 2, 3)]] static void report(ObjectFile *object, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    // Longer than any text here: the names in it are at most 14 and 255 bytes, escaped.
    std::array<char, 1500> text;
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    object->problems.emplace_back(text.data());
}

// The callers see to it that the bytes are there.
static uint32_t number_at(Bytes bytes, size_t offset, size_t size)
{
    uint32_t value = 0;
    for (uint8_t byte : bytes.subspan(offset, size))
        value = value << 8 | byte;
    return value;
}

static uint32_t word_at(Bytes bytes, size_t offset)
{
    return number_at(bytes, offset, 4);
}

static std::string text_at(Bytes bytes, size_t offset, size_t size)
{
    const Bytes text = bytes.subspan(offset, size);
    return {text.begin(), text.end()};
}

static std::string section_title(const ObjectFile &object, size_t position)
{
    return "section " + std::to_string(position + 1) + " " +
           escaped(object.sections[position].name);
}

static bool read_head(ObjectFile *object, Bytes bytes)
{
    if (bytes.empty() || bytes[0] != OBJECT_MAGIC) {
        report(object, "not an object file: it doesn't begin with 0x%02x", OBJECT_MAGIC);
        return false;
    }
    if (bytes.size() < OBJECT_HEAD_SIZE) {
        report(object, "the file of %zu bytes ends within the head", bytes.size());
        return false;
    }
    object->has_head = true;
    object->machine = bytes[1];
    object->machine_variant = bytes[2];
    object->section_count = bytes[3];
    object->symbol_count = word_at(bytes, 4);
    object->symbol_offset = word_at(bytes, 8);
    object->symbol_size = word_at(bytes, 12);
    object->debug_count = word_at(bytes, 16);
    object->debug_offset = word_at(bytes, 20);
    object->debug_size = word_at(bytes, 24);
    return true;
}

static void read_section_entry(ObjectFile *object, Bytes entry)
{
    ObjectSection &section = object->sections.emplace_back();
    const size_t name_size = std::min(entry[1], SECTION_NAME_MAX);
    section.attributes = entry[0];
    section.name = text_at(entry, 2, name_size);
    section.contents_offset = word_at(entry, 16);
    section.size = word_at(entry, 20);
    section.relocation_offset = word_at(entry, 24);
    section.relocation_size = word_at(entry, 28);
    section.address = word_at(entry, 32);

    const std::string title = section_title(*object, object->sections.size() - 1);
    if (entry[1] > SECTION_NAME_MAX)
        report(object, "%s: name length %u is above %u", title.c_str(), entry[1], SECTION_NAME_MAX);
    const Bytes fill = entry.subspan(2 + name_size, SECTION_NAME_MAX - name_size);
    if (std::any_of(fill.begin(), fill.end(), [](uint8_t byte) { return byte != 0; }))
        report(object, "%s: the name isn't filled up with zeros", title.c_str());
    if (word_at(entry, 36) != section.address) {
        report(object, "%s: the two address words 0x%x and 0x%x differ", title.c_str(),
               section.address, word_at(entry, 36));
    }
    if ((section.attributes & SECATTR_BSS) &&
        (section.contents_offset | section.relocation_offset | section.relocation_size) != 0) {
        report(object, "%s: a bss section has an offset or relocations", title.c_str());
    }
}

static void read_section_table(ObjectFile *object, Bytes bytes)
{
    Bytes table = bytes.subspan(OBJECT_HEAD_SIZE);
    for (unsigned number = 1; number <= object->section_count; ++number) {
        if (table.size() < SECTION_ENTRY_SIZE) {
            report(object, "the file ends within the section table, at entry %u of %u", number,
                   object->section_count);
            return;
        }
        read_section_entry(object, table.first(SECTION_ENTRY_SIZE));
        table = table.subspan(SECTION_ENTRY_SIZE);
    }
}

// Hands out the areas of the file in their order and checks that each begins where the one before
// ended. All areas together are no longer than the file, so that overlapping ones in a hostile
// file can't make a copy of the file for every section.
struct AreaTaker {
    ObjectFile &object;
    Bytes bytes;
    size_t room = bytes.size();
    std::optional<uint64_t> end; // where the next area should begin; null after a bad one
};

static Bytes take_area(AreaTaker *taker, const std::string &title, uint32_t offset, uint32_t size)
{
    if (taker->end && offset < *taker->end) {
        report(&taker->object, "%s: begins at 0x%x, inside what ends at 0x%llx", title.c_str(),
               offset, static_cast<unsigned long long>(*taker->end));
    } else if (taker->end && offset > *taker->end) {
        report(&taker->object, "%s: begins at 0x%x, the bytes from 0x%llx belong to nothing",
               title.c_str(), offset, static_cast<unsigned long long>(*taker->end));
    }
    if (offset > taker->bytes.size() || size > taker->bytes.size() - offset) {
        report(&taker->object, "%s: 0x%x bytes at 0x%x reach beyond the file", title.c_str(), size,
               offset);
        taker->end.reset();
    } else {
        taker->end = uint64_t{offset} + size;
    }
    const Bytes rest = taker->bytes.subspan(std::min<size_t>(offset, taker->bytes.size()));
    const Bytes area = rest.first(std::min<size_t>(size, rest.size()));
    if (area.size() > taker->room) {
        report(&taker->object, "%s: not read, the areas are longer than the file", title.c_str());
        return {};
    }
    taker->room -= area.size();
    return area;
}

static void read_section_areas(AreaTaker *taker)
{
    for (size_t i = 0; i < taker->object.sections.size(); ++i) {
        ObjectSection &section = taker->object.sections[i];
        if (section.attributes & SECATTR_BSS)
            continue;
        const std::string title = section_title(taker->object, i);
        const Bytes contents =
            take_area(taker, title + ", contents", section.contents_offset, section.size);
        section.contents.assign(contents.begin(), contents.end());
        const Bytes stream = take_area(taker, title + ", relocations", section.relocation_offset,
                                       section.relocation_size);
        section.relocation_stream.assign(stream.begin(), stream.end());
    }
}

// Symbols and debug records are of one shape: a number, two bytes and a counted text.
struct Record {
    uint32_t number;
    uint8_t attribute;
    uint8_t section_number;
    std::string text;
};

static std::vector<Record> read_records(ObjectFile *object, Bytes area, uint32_t count,
                                        const char *what)
{
    std::vector<Record> records;
    for (uint32_t n = 1; n <= count; ++n) {
        if (area.size() < RECORD_HEAD_SIZE || area.size() < RECORD_HEAD_SIZE + area[6]) {
            report(object, "the %s area ends at record %u of %u", what, n, count);
            return records;
        }
        records.push_back(
            {word_at(area, 0), area[4], area[5], text_at(area, RECORD_HEAD_SIZE, area[6])});
        if (area[5] > object->section_count)
            report(object, "%s record %u: there is no section %u", what, n, area[5]);
        area = area.subspan(RECORD_HEAD_SIZE + area[6]);
    }
    if (!area.empty())
        report(object, "the %s area has %zu bytes behind its last record", what, area.size());
    return records;
}

static void read_symbols(AreaTaker *taker)
{
    ObjectFile &object = taker->object;
    const Bytes area = take_area(taker, "symbol area", object.symbol_offset, object.symbol_size);
    bool unnumbered_seen = false;
    for (Record &record : read_records(&object, area, object.symbol_count, "symbol")) {
        const bool numbered = record.attribute & ATTR_PUBLIC;
        if (numbered && unnumbered_seen) {
            report(&object, "symbol %s is public but stands behind symbols that aren't",
                   escaped(record.text).c_str());
        }
        unnumbered_seen |= !numbered;
        object.symbols.push_back(
            {record.number, record.attribute, record.section_number, std::move(record.text)});
    }
}

static bool is_debug_kind(uint8_t kind)
{
    switch (kind) {
    case DEBUG_CALL:
    case DEBUG_ENTRY:
    case DEBUG_TABLE:
    case DEBUG_QUIT:
    case DEBUG_LINE:
    case DEBUG_RANGE_END:
    case DEBUG_RANGE_START:
    case DEBUG_FILE:
    case DEBUG_STRING:
    case DEBUG_STORE:
    case DEBUG_OPTION:
        return true;
    default:
        return false;
    }
}

static void read_debug_records(AreaTaker *taker)
{
    ObjectFile &object = taker->object;
    const Bytes area = take_area(taker, "debug area", object.debug_offset, object.debug_size);
    for (Record &record : read_records(&object, area, object.debug_count, "debug")) {
        object.debug_records.push_back(
            {record.number, record.attribute, record.section_number, std::move(record.text)});
        if (!is_debug_kind(record.attribute)) {
            report(&object, "debug record %zu: unknown kind 0x%02x", object.debug_records.size(),
                   record.attribute);
        }
    }
}

// A walk along one section's relocation stream. Every read_ function below takes one piece off the
// stream and gives false, with the reason reported, when the rest can't be read any more.
struct StreamWalk {
    ObjectFile &object;
    ObjectSection &section;
    std::string title;
    size_t at = 0;               // in the stream
    uint64_t position = 0;       // in the section
    size_t item_start = 0;       // in the stream: after the last relocation item
    uint64_t last_field_end = 0; // in the section

    Bytes stream() const
    {
        return section.relocation_stream;
    }
};

static bool stream_has(StreamWalk *walk, size_t size)
{
    if (walk->stream().size() - walk->at < size) {
        report(&walk->object, "%s: the relocation stream ends within an item", walk->title.c_str());
        return false;
    }
    return true;
}

static bool read_number(StreamWalk *walk, size_t size, uint32_t *value)
{
    if (!stream_has(walk, size))
        return false;
    *value = number_at(walk->stream(), walk->at, size);
    walk->at += size;
    return true;
}

static bool read_gap(StreamWalk *walk)
{
    const bool is_long = walk->stream()[walk->at] & RELOC_LONG_GAP;
    uint32_t gap = 0;
    if (!read_number(walk, is_long ? 2 : 1, &gap))
        return false;
    gap &= is_long ? LONG_GAP_MAX : SHORT_GAP_MAX;
    if (is_long && gap <= SHORT_GAP_MAX)
        report(&walk->object, "%s: a gap of %u is in the two-byte form", walk->title.c_str(), gap);
    walk->position += gap;
    return true;
}

static bool read_index(StreamWalk *walk, uint8_t code, ObjectRelocation *relocation)
{
    const bool wide = code & RELOC_WIDE_INDEX;
    if (!read_number(walk, wide ? 2 : 1, &relocation->index))
        return false;
    if (wide && relocation->index <= 0xFF) {
        report(&walk->object, "%s: index %u is in the two-byte form", walk->title.c_str(),
               relocation->index);
    }
    return true;
}

static bool read_addend(StreamWalk *walk, ObjectRelocation *relocation)
{
    if (base_kind(relocation->kind) == RK_CHECK) {
        uint32_t has_addend = 0;
        return read_number(walk, 1, &has_addend) &&
               (has_addend == 0 || read_number(walk, 4, &relocation->addend_high));
    }
    const size_t size = KIND_SHAPES[base_kind(relocation->kind)].addend_bytes;
    if (!read_number(walk, size, &relocation->addend_high))
        return false;
    if (size != 0)
        relocation->addend_high <<= 8 * (4 - size);
    return true;
}

// The part of the value that stands in the field. A bit field is in one order everywhere: the
// opcode, then the address with its high byte first.
static uint32_t field_value(const ObjectSection &section, const ObjectRelocation &relocation)
{
    const Bytes contents = section.contents;
    if (relocation.offset > contents.size() ||
        contents.size() - relocation.offset < relocation.field_size) {
        return 0;
    }
    if (base_kind(relocation.kind) == RK_BIT)
        return number_at(contents, relocation.offset + 1, 2);
    if (section.attributes & SECATTR_HILO)
        return number_at(contents, relocation.offset, relocation.field_size);
    uint32_t value = 0;
    for (uint32_t i = relocation.field_size; i > 0; --i)
        value = value << 8 | contents[relocation.offset + i - 1];
    return value;
}

static void check_index(StreamWalk *walk, const ObjectRelocation &relocation)
{
    const uint32_t index = relocation.index;
    // A check of an absolute value is about nothing.
    if (index == 0 && base_kind(relocation.kind) == RK_CHECK)
        return;
    if (index != 0 && index <= walk->object.section_count)
        return;
    const ObjectSymbol *symbol = symbol_of_index(walk->object, index);
    if (symbol == nullptr) {
        report(&walk->object, "%s: the relocation at 0x%x has index %u, which names nothing",
               walk->title.c_str(), relocation.offset, index);
    } else if (!(symbol->attrs & ATTR_PUBLIC)) {
        report(&walk->object, "%s: the relocation at 0x%x is about %s, which has no number",
               walk->title.c_str(), relocation.offset, escaped(symbol->name).c_str());
    }
}

static bool read_item(StreamWalk *walk)
{
    const uint8_t code = walk->stream()[walk->at++];
    ObjectRelocation relocation;
    relocation.kind = code & RELOC_KIND_MASK;
    if ((code & RELOC_LONG_GAP) || relocation_kind_name(relocation.kind) == nullptr) {
        report(&walk->object, "%s: unknown relocation item 0x%02x", walk->title.c_str(), code);
        return false;
    }
    relocation.field_size = KIND_SHAPES[base_kind(relocation.kind)].field_size;
    if (!read_index(walk, code, &relocation) || !read_addend(walk, &relocation))
        return false;
    if (walk->position + relocation.field_size > walk->section.size) {
        report(&walk->object, "%s: the relocation at 0x%llx lies outside the section",
               walk->title.c_str(), static_cast<unsigned long long>(walk->position));
        return false;
    }
    relocation.offset = static_cast<uint32_t>(walk->position);
    relocation.addend = relocation.addend_high | field_value(walk->section, relocation);
    relocation.gap = static_cast<uint32_t>(walk->position - walk->last_field_end);
    relocation.stream_start = static_cast<uint32_t>(walk->item_start);
    relocation.stream_size = static_cast<uint32_t>(walk->at - walk->item_start);
    check_index(walk, relocation);
    walk->section.relocations.push_back(relocation);
    walk->position += relocation.field_size;
    walk->last_field_end = walk->position;
    walk->item_start = walk->at;
    return true;
}

static void read_relocations(StreamWalk *walk)
{
    const Bytes stream = walk->stream();
    while (walk->at < stream.size()) {
        if (stream[walk->at] == 0) {
            if (walk->at + 1 != stream.size()) {
                report(&walk->object, "%s: %zu bytes behind the end mark of the relocation stream",
                       walk->title.c_str(), stream.size() - walk->at - 1);
            }
            return;
        }
        if (!((stream[walk->at] & RELOC_ITEM) ? read_item(walk) : read_gap(walk)))
            return;
    }
    if (walk->at != walk->item_start)
        report(&walk->object, "%s: the relocation stream ends with a gap", walk->title.c_str());
}

ObjectFile read_object(Bytes bytes)
{
    ObjectFile object;
    object.file_size = static_cast<uint32_t>(bytes.size());
    if (!read_head(&object, bytes))
        return object;
    read_section_table(&object, bytes);

    AreaTaker taker{object, bytes, bytes.size(), {}};
    taker.end = OBJECT_HEAD_SIZE + SECTION_ENTRY_SIZE * uint64_t{object.section_count};
    read_section_areas(&taker);
    read_symbols(&taker);
    read_debug_records(&taker);
    if (taker.end && *taker.end < bytes.size()) {
        report(&object, "the bytes from 0x%llx to the end of the file belong to nothing",
               static_cast<unsigned long long>(*taker.end));
    }
    for (size_t i = 0; i < object.sections.size(); ++i) {
        StreamWalk walk{object, object.sections[i], section_title(object, i)};
        read_relocations(&walk);
    }
    return object;
}
