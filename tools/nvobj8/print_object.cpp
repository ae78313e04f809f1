// The text form of an object file. It is meant to be read and to be compared with `diff`: columns
// are fixed, numbers are in hex but for counts and numberings, and all texts are escaped.
#include "nvobj8/print_object.h"

#include "base/object_format.h"
#include "nvobj8/debug_table.h"
#include <algorithm>
#include <cinttypes>
#include <cstdio>

struct BitName {
    uint8_t bit;
    std::string_view name;
};

static constexpr BitName SECTION_ATTRIBUTES[] = {
    {SECATTR_BSS, "bss"}, {SECATTR_HILO, "hilo"}, {SECATTR_EVEN, "even"}, {SECATTR_ZPAGE, "zpage"},
    {SECATTR_ABS, "abs"}, {SECATTR_BIT, "bit"},   {SECATTR_LONG, "long"}, {SECATTR_CODE, "code"},
};

static constexpr BitName SYMBOL_ATTRIBUTES[] = {
    {ATTR_DEFINED, "defined"},   {ATTR_REFERENCED, "referenced"},
    {ATTR_PUBLIC, "public"},     {ATTR_ZPAGE, "zpage"},
    {ATTR_ABSOLUTE, "absolute"}, {ATTR_BIT, "bit"},
    {ATTR_LONG, "long"},         {ATTR_CODE, "code"},
};

static std::string bit_words(std::span<const BitName> names, uint8_t bits)
{
    std::string words;
    for (const BitName &row : names) {
        if (bits & row.bit) {
            words += words.empty() ? "" : " ";
            words += row.name;
        }
    }
    return words.empty() ? "-" : words;
}

static const char *debug_kind_name(uint8_t kind)
{
    switch (kind) {
    case DEBUG_CALL:
        return "call";
    case DEBUG_ENTRY:
        return "entry";
    case DEBUG_TABLE:
        return "table";
    case DEBUG_QUIT:
        return "quit";
    case DEBUG_LINE:
        return "line";
    case DEBUG_RANGE_END:
        return "end";
    case DEBUG_RANGE_START:
        return "start";
    case DEBUG_FILE:
        return "file";
    case DEBUG_STRING:
        return "string";
    case DEBUG_STORE:
        return "store";
    case DEBUG_OPTION:
        return "option";
    default:
        return "unknown";
    }
}

static void print_head(const ObjectFile &object)
{
    std::printf("\nhead:\n");
    std::printf("  machine %u, variant %u\n", object.machine, object.machine_variant);
    std::printf("  sections %u\n", object.section_count);
    std::printf("  symbols %" PRIu32 ", 0x%" PRIx32 " bytes at 0x%08" PRIx32 "\n",
                object.symbol_count, object.symbol_size, object.symbol_offset);
    std::printf("  debug records %" PRIu32 ", 0x%" PRIx32 " bytes at 0x%08" PRIx32 "\n",
                object.debug_count, object.debug_size, object.debug_offset);
}

static void print_sections(const ObjectFile &object)
{
    std::printf("\nsections:\n");
    std::printf("   no  address   contents           relocations        name and attributes\n");
    for (size_t i = 0; i < object.sections.size(); ++i) {
        const ObjectSection &section = object.sections[i];
        std::printf("  %3zu  %08" PRIx32 "  %08" PRIx32 " %08" PRIx32 "  %08" PRIx32 " %08" PRIx32
                    "  %s: %s\n",
                    i + 1, section.address, section.contents_offset, section.size,
                    section.relocation_offset, section.relocation_size,
                    escaped(section.name).c_str(),
                    bit_words(SECTION_ATTRIBUTES, section.attributes).c_str());
    }
}

static void print_part_title(const char *part, const ObjectFile &object, size_t position)
{
    std::printf("\n%s of section %zu %s:\n", part, position + 1,
                escaped(object.sections[position].name).c_str());
}

static void print_contents(const ObjectFile &object)
{
    constexpr size_t LINE_BYTES = 16;
    for (size_t i = 0; i < object.sections.size(); ++i) {
        const ObjectSection &section = object.sections[i];
        if (section.contents.empty())
            continue;
        print_part_title("contents", object, i);
        for (size_t at = 0; at < section.contents.size(); at += LINE_BYTES) {
            const size_t end = std::min(at + LINE_BYTES, section.contents.size());
            std::printf("  %08" PRIx32 " ", section.address + static_cast<uint32_t>(at));
            for (size_t k = at; k < end; ++k)
                std::printf(" %02x", section.contents[k]);
            std::printf("\n");
        }
    }
}

static void print_relocation(const ObjectFile &object, const ObjectSection &section,
                             const ObjectRelocation &relocation)
{
    std::string kind = relocation_kind_name(relocation.kind);
    if (relocation.kind & RELOC_KIND_MODIFIER)
        kind += "+16";
    std::printf("  %08" PRIx32 "  %5" PRIu32 "  %-12s  %08" PRIx32 "  %5" PRIu32 " %-14s ",
                relocation.offset, relocation.gap, kind.c_str(), relocation.addend,
                relocation.index, index_name(object, relocation.index).c_str());
    for (uint32_t i = 0; i < relocation.stream_size; ++i)
        std::printf(" %02x", section.relocation_stream[relocation.stream_start + i]);
    std::printf("\n");
}

static void print_relocations(const ObjectFile &object)
{
    for (size_t i = 0; i < object.sections.size(); ++i) {
        if (object.sections[i].relocations.empty())
            continue;
        print_part_title("relocations", object, i);
        std::printf("  offset      gap  kind          addend    refers to             stream\n");
        for (const ObjectRelocation &relocation : object.sections[i].relocations)
            print_relocation(object, object.sections[i], relocation);
    }
}

static std::string place_name(const ObjectFile &object, uint8_t section_number)
{
    return section_number == 0 ? "-" : index_name(object, section_number);
}

static void print_symbols(const ObjectFile &object)
{
    std::printf("\nsymbols:\n");
    std::printf("     no  value     section         name and attributes\n");
    size_t number = object.section_count;
    for (const ObjectSymbol &symbol : object.symbols) {
        ++number;
        const bool weak = is_weak_definition(symbol);
        const std::string shown_number =
            (symbol.attrs & ATTR_PUBLIC) ? std::to_string(number) : "-";
        std::printf("  %5s  %08" PRIx32 "  %-14s  %s: %s%s\n", shown_number.c_str(), symbol.value,
                    place_name(object, symbol.section_number).c_str(),
                    escaped(weak ? symbol.name.substr(1) : symbol.name).c_str(),
                    bit_words(SYMBOL_ATTRIBUTES, symbol.attrs).c_str(), weak ? " weak" : "");
    }
}

static void print_debug_records(const ObjectFile &object)
{
    std::printf("\ndebug records:\n");
    std::printf("  address   section         kind     text\n");
    for (const ObjectDebugRecord &record : object.debug_records) {
        std::printf("  %08" PRIx32 "  %-14s  %-7s  \"%s\"\n", record.address,
                    place_name(object, record.section_number).c_str(), debug_kind_name(record.kind),
                    escaped(record.text).c_str());
    }
}

// The lines of .info. and .misra. end in a zero byte; the last one may lack it.
static void print_texts(const ObjectFile &object, size_t position)
{
    const std::vector<uint8_t> &contents = object.sections[position].contents;
    print_part_title("texts", object, position);
    for (auto at = contents.begin(); at != contents.end();) {
        const auto end = std::find(at, contents.end(), 0);
        const bool ended = end != contents.end();
        std::printf("  \"%s\"%s\n", escaped(std::string(at, end)).c_str(),
                    ended ? "" : " without an end");
        at = ended ? end + 1 : end;
    }
}

static void print_debug_table(const ObjectFile &object, size_t position)
{
    const auto table = find_debug_table(object, static_cast<uint32_t>(position + 1));
    if (!table)
        return;
    print_part_title("symbol table", object, position);
    std::printf("  %zu symbols, rows from %08" PRIx32 "\n", table->rows.size(), table->address);
    std::printf("  value     section         type      class       size      name\n");
    for (const DebugTableRow &row : table->rows) {
        std::printf("  %08" PRIx32 "  %-14s  %08" PRIx32 "  %2u %-6s  %08" PRIx32 "  %s\n",
                    row.value, place_name(object, static_cast<uint8_t>(row.section_number)).c_str(),
                    row.type, row.symbol_class,
                    is_public_class(row.symbol_class) ? "public" : "local", row.data_size,
                    escaped(row.name).c_str());
    }
}

static void print_debug(const ObjectFile &object)
{
    print_debug_records(object);
    for (size_t i = 0; i < object.sections.size(); ++i) {
        const std::string &name = object.sections[i].name;
        if (name == ".info." || name == ".misra.")
            print_texts(object, i);
        else if (name == ".debug")
            print_debug_table(object, i);
    }
}

void print_object(const ObjectFile &object, unsigned parts)
{
    if (!object.has_head)
        return;
    static constexpr struct {
        unsigned part;
        void (*print)(const ObjectFile &);
    } printers[] = {
        {PRINT_HEAD, print_head},         {PRINT_SECTIONS, print_sections},
        {PRINT_CONTENTS, print_contents}, {PRINT_RELOCATIONS, print_relocations},
        {PRINT_SYMBOLS, print_symbols},   {PRINT_DEBUG, print_debug},
    };
    for (const auto &printer : printers) {
        if (parts & printer.part)
            printer.print(object);
    }
}
