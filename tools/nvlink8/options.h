// What the command line asks for, as plain records. command_line fills them, everyone reads them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The STM8 has addresses of 24 bits.
constexpr uint32_t ADDRESS_MAX = 0xFFFFFF;

// Both ends are part of it.
struct AddressRange {
    uint32_t first = 0;
    uint32_t last = 0;
};

struct Region {
    std::string name;
    AddressRange range;
    bool ram = false;
    std::optional<uint8_t> fill; // of all that stays free in it
    bool given = false;          // not one of the defaults
};

// One of the names in SECTIONS. `file` is empty where any file is meant; both may hold * and ?.
struct SectionPattern {
    std::string file;
    std::string section;
    // The option as the command line has it. Empty where a file says it: layouts may well speak of
    // sections that a program lacks.
    std::string option;
};

// WHERE: an address, or regions that are filled one after the other.
struct Where {
    std::optional<uint32_t> address;
    std::vector<std::string> regions;
};

// One --place or --load.
struct PlaceRule {
    bool load = false;
    std::vector<SectionPattern> patterns;
    Where where;
    std::string origin; // for messages: "--place .text=flash", with the file that says so
};

struct AlignRule {
    SectionPattern pattern;
    uint32_t alignment = 1;
};

enum class ChecksumKind { CRC16, CRC32, SUM };

struct ChecksumRule {
    ChecksumKind kind = ChecksumKind::CRC16;
    AddressRange range;
    uint32_t address = 0;
};

enum class ImageFormat { INTEL_HEX, S_RECORDS, BINARY };

struct OutputFile {
    std::string path;
    ImageFormat format = ImageFormat::INTEL_HEX;
    std::vector<std::string> only; // names of regions; empty: everything
};

struct Definition {
    std::string name;
    uint32_t value = 0;
    bool bit = false; // the value is 8 * address + number of the bit
};

// An object or archive, or what -l names.
struct InputName {
    std::string path;
    bool library = false; // to be looked for in library_directories
};

struct Options {
    std::vector<InputName> inputs;
    std::vector<OutputFile> outputs;
    std::vector<Region> regions;   // the defaults first
    bool regions_given = false;    // by --region or --device: no longer a guess at the chip
    std::vector<PlaceRule> places; // and loads
    std::vector<std::vector<SectionPattern>> overlays;
    std::vector<SectionPattern> keeps;
    std::vector<AlignRule> alignments;
    std::vector<ChecksumRule> checksums;
    std::optional<uint8_t> fill; // of gaps between bytes
    std::vector<Definition> definitions;
    std::vector<std::string> undefined;
    std::vector<std::string> library_directories;
    std::vector<std::string> option_files; // @ files and device layouts, for the dependency rule
    std::string entry;
    std::string map_path;
    std::string export_path;
    std::string depfile_path;
    std::optional<uint32_t> stack_size;
    bool collect_garbage = false;
    bool verbose = false;
};

// The region of that name, null if there is none.
const Region *find_region(const Options &options, const std::string &name);

// The first region that holds the address, null if there is none.
const Region *region_at(const Options &options, uint32_t address);

// Whether the pattern means the section `section` of the file `file` (as messages call it).
bool pattern_matches(const SectionPattern &pattern, const std::string &file,
                     const std::string &section);

bool any_pattern_matches(const std::vector<SectionPattern> &patterns, const std::string &file,
                         const std::string &section);
