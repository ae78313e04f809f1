// The questions that a map answers, in the order in which they are asked: is there room left, what
// takes it, where is this address, where is that name, why is this file in, what went.
#include "nvlink8/map_file.h"

#include "nvlink8/image.h"
#include "nvlink8/messages.h"
#include "nvlink8/symbols.h"
#include <algorithm>

using Range = std::pair<uint64_t, uint64_t>; // first, end

// All that is taken, in order; stretches may overlap.
static std::vector<Range> taken_ranges(const Options &options, const Program &program)
{
    std::vector<Range> ranges;
    for (const Block &block : program.blocks) {
        if (block.size == 0)
            continue;
        ranges.emplace_back(block.address, block.address + block.size);
        if (block.loaded_apart)
            ranges.emplace_back(block.load_address, block.load_address + block.size);
    }
    for (const ChecksumRule &rule : options.checksums)
        ranges.emplace_back(rule.address, rule.address + checksum_size(rule.kind));
    std::sort(ranges.begin(), ranges.end());
    return ranges;
}

// Counts a byte once, however many sections share it.
static uint64_t bytes_taken(const std::vector<Range> &ranges, AddressRange region)
{
    uint64_t taken = 0;
    uint64_t at = region.first;
    const uint64_t end = uint64_t{region.last} + 1;
    for (const auto &[first, last] : ranges) {
        const uint64_t from = std::max(first, at);
        const uint64_t to = std::min(last, end);
        if (from < to) {
            taken += to - from;
            at = to;
        }
    }
    return taken;
}

static std::string bar(uint64_t part, uint64_t whole)
{
    constexpr size_t WIDTH = 40;
    // What isn't empty shows.
    const auto filled = static_cast<size_t>((part * WIDTH + whole - 1) / whole);
    return "[" + std::string(filled, '#') + std::string(WIDTH - filled, '.') + "]";
}

static void append_regions(const Options &options, const Program &program, std::string *map)
{
    *map += "Regions\n";
    const std::vector<Range> ranges = taken_ranges(options, program);
    for (const Region &region : options.regions) {
        const uint64_t size = uint64_t{region.range.last} - region.range.first + 1;
        const uint64_t taken = bytes_taken(ranges, region.range);
        *map += text("  %-8s %06x-%06x %s %8llu used %8llu free %s %3llu%%\n", region.name.c_str(),
                     region.range.first, region.range.last, region.ram ? "ram" : "rom",
                     static_cast<unsigned long long>(taken),
                     static_cast<unsigned long long>(size - taken), bar(taken, size).c_str(),
                     static_cast<unsigned long long>(taken * 100 / size));
    }
}

static std::vector<const Block *> blocks_by_address(const Program &program)
{
    std::vector<const Block *> blocks;
    for (const Block &block : program.blocks)
        blocks.push_back(&block);
    std::stable_sort(blocks.begin(), blocks.end(),
                     [](const Block *a, const Block *b) { return a->address < b->address; });
    return blocks;
}

static void append_sections(const Program &program, std::string *map)
{
    *map += "\nSections by address\n  address     size  section and files\n";
    for (const Block *block : blocks_by_address(program)) {
        *map += text("  %06x  %8llu  %s", block->address,
                     static_cast<unsigned long long>(block->size), escaped(block->name).c_str());
        if (block->loaded_apart)
            *map += text(", stored at %06x", block->load_address);
        *map += '\n';
        for (const uint32_t number : block->pieces) {
            const InputSection &piece = program.pieces[number];
            *map += text("  %06x  %8u      %s\n", piece.address, section_of(program, piece).size,
                         program.objects[piece.object].name.c_str());
        }
    }
}

// A symbol as the map lists it.
struct MapSymbol {
    const Symbol *symbol;
    uint64_t size = 0; // up to the next symbol or the end of its section; 0 for numbers
};

// The section that the symbol names a byte of, null for a number or a bit.
static const InputSection *piece_of(const Program &program, const Symbol &symbol)
{
    const uint32_t section = section_of_symbol(program, symbol);
    const bool byte = section != NONE && (symbol.attributes & ATTR_BIT) == 0;
    return byte ? &program.pieces[section] : nullptr;
}

static void measure_symbols(const Program &program, std::vector<MapSymbol> *symbols)
{
    const InputSection *piece_behind = nullptr;
    uint64_t next = 0;
    for (size_t i = symbols->size(); i > 0; --i) {
        MapSymbol &entry = (*symbols)[i - 1];
        const InputSection *piece = piece_of(program, *entry.symbol);
        if (piece == nullptr)
            continue;
        const uint64_t end = uint64_t{piece->address} + section_of(program, *piece).size;
        const uint64_t limit = piece == piece_behind ? next : end;
        entry.size = limit > entry.symbol->value ? limit - entry.symbol->value : 0;
        // Of several names of one place all have its size.
        if (entry.size != 0 || piece != piece_behind) {
            piece_behind = piece;
            next = entry.symbol->value;
        }
    }
}

static std::vector<MapSymbol> symbols_by_address(const Program &program)
{
    std::vector<MapSymbol> symbols;
    for (const Symbol &symbol : program.symbols) {
        if (is_in_program(program, symbol))
            symbols.push_back({&symbol});
    }
    std::sort(symbols.begin(), symbols.end(), [](const MapSymbol &a, const MapSymbol &b) {
        return std::pair(a.symbol->value, a.symbol->name) <
               std::pair(b.symbol->value, b.symbol->name);
    });
    measure_symbols(program, &symbols);
    return symbols;
}

static void append_symbol_lines(const Program &program, const std::vector<MapSymbol> &symbols,
                                std::string *map)
{
    for (const MapSymbol &entry : symbols) {
        const Symbol &symbol = *entry.symbol;
        *map += text("  %06x  %-24s %s%s%s\n", symbol.value, escaped(symbol.name).c_str(),
                     definition_place(program, symbol).c_str(), symbol.weak ? ", weak" : "",
                     symbol.attributes & ATTR_BIT ? ", bit" : "");
    }
}

static void append_symbols(const Program &program, std::string *map)
{
    std::vector<MapSymbol> symbols = symbols_by_address(program);
    *map += "\nSymbols by address\n";
    append_symbol_lines(program, symbols, map);
    std::sort(symbols.begin(), symbols.end(), [](const MapSymbol &a, const MapSymbol &b) {
        return a.symbol->name < b.symbol->name;
    });
    *map += "\nSymbols by name\n";
    append_symbol_lines(program, symbols, map);
    std::stable_sort(symbols.begin(), symbols.end(),
                     [](const MapSymbol &a, const MapSymbol &b) { return a.size > b.size; });
    *map += "\nBiggest symbols (up to the next public one)\n";
    constexpr size_t SHOWN_MAX = 20;
    for (size_t i = 0; i < std::min(symbols.size(), SHOWN_MAX) && symbols[i].size != 0; ++i) {
        *map += text("  %8llu  %-24s %s\n", static_cast<unsigned long long>(symbols[i].size),
                     escaped(symbols[i].symbol->name).c_str(),
                     definition_place(program, *symbols[i].symbol).c_str());
    }
}

static void append_members(const Program &program, std::string *map)
{
    bool any = false;
    for (const InputObject &input : program.objects) {
        if (input.pulled_by.empty())
            continue;
        *map += any ? "" : "\nArchive members\n";
        *map += text("  %s for %s\n", input.name.c_str(), input.pulled_by.c_str());
        any = true;
    }
}

static void append_dropped(const Program &program, std::string *map)
{
    uint64_t total = 0;
    std::string lines;
    for (const InputSection &piece : program.pieces) {
        const ObjectSection &section = section_of(program, piece);
        if (piece.live || section.size == 0)
            continue;
        lines += text("  %8u  %s of %s\n", section.size, escaped(section.name).c_str(),
                      program.objects[piece.object].name.c_str());
        total += section.size;
    }
    if (!lines.empty()) {
        *map += text("\nDropped, %llu bytes\n", static_cast<unsigned long long>(total)) + lines;
    }
}

std::string map_text(const Options &options, const Program &program)
{
    std::string map;
    append_regions(options, program, &map);
    append_sections(program, &map);
    append_symbols(program, &map);
    append_members(program, &map);
    append_dropped(program, &map);
    return map;
}
