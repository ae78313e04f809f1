// One table has a row for each option: its name, what its value is called, what it does. A value
// stands in the next word or after "="; those of single-letter options may follow at once.
#include "nvlink8/command_line.h"

#include "nvlink8/devices.h"
#include "nvlink8/numbers.h"
#include "nvlink8/words.h"
#include <algorithm>
#include <map>

// The command line on its way into Options.
struct Reader {
    Options &options;
    Messages &messages;
    std::vector<Word> words;
    size_t next = 0;
    std::optional<ImageFormat> format; // of the outputs that follow
    std::vector<std::string> only;
    Task task = Task::LINK;
    std::map<std::string, std::string> given_once; // values of options that have one
};

// An option as it was given.
struct Given {
    const char *name;
    const char *value_name;
    Word word; // the value; where the option stands
};

// The option and its value as messages name them, with the file that says so.
static std::string title(const Given &given)
{
    return (given.word.origin.empty() ? "" : given.word.origin + ": ") + given.name +
           (given.word.text.empty() ? "" : " ") + given.word.text;
}

static void refuse(Reader *reader, const Given &given, const std::string &reason)
{
    add_error(&reader->messages, "%s: %s", title(given).c_str(), reason.c_str());
}

static void refuse_form(Reader *reader, const Given &given)
{
    refuse(reader, given, std::string("expected ") + given.value_name);
}

static std::vector<std::string> split(std::string_view list)
{
    std::vector<std::string> parts;
    while (true) {
        const size_t comma = list.find(',');
        parts.emplace_back(list.substr(0, comma));
        if (comma == std::string_view::npos)
            return parts;
        list.remove_prefix(comma + 1);
    }
}

static bool has_empty(const std::vector<std::string> &parts)
{
    return std::any_of(parts.begin(), parts.end(), [](auto &part) { return part.empty(); });
}

// Cuts at the last "=". False when a side is empty.
static bool cut_assignment(const std::string &word, std::string *left, std::string *right)
{
    const size_t sign = word.rfind('=');
    if (sign == std::string::npos || sign == 0 || sign + 1 == word.size())
        return false;
    *left = word.substr(0, sign);
    *right = word.substr(sign + 1);
    return true;
}

static bool read_patterns(const Given &given, const std::string &list,
                          std::vector<SectionPattern> *patterns)
{
    for (const std::string &part : split(list)) {
        const size_t colon = part.rfind(':');
        SectionPattern pattern;
        pattern.file = colon == std::string::npos ? "" : part.substr(0, colon);
        pattern.section = colon == std::string::npos ? part : part.substr(colon + 1);
        if (pattern.section.empty() || colon == 0)
            return false;
        if (given.word.origin.empty())
            pattern.option = title(given);
        patterns->push_back(pattern);
    }
    return true;
}

static bool read_where(const std::string &word, Where *where)
{
    if (word[0] >= '0' && word[0] <= '9') {
        where->address = read_number(word, ADDRESS_MAX);
        return where->address.has_value();
    }
    where->regions = split(word);
    return !has_empty(where->regions);
}

static void read_place_rule(Reader *reader, const Given &given, bool load)
{
    std::string left;
    std::string right;
    PlaceRule rule;
    rule.load = load;
    if (!cut_assignment(given.word.text, &left, &right) ||
        !read_patterns(given, left, &rule.patterns) || !read_where(right, &rule.where)) {
        refuse_form(reader, given);
        return;
    }
    rule.origin = title(given);
    reader->options.places.push_back(std::move(rule));
}

static void take_place(Reader *reader, const Given &given)
{
    read_place_rule(reader, given, false);
}

static void take_load(Reader *reader, const Given &given)
{
    read_place_rule(reader, given, true);
}

static std::optional<ImageFormat> format_of_name(std::string_view name)
{
    if (name == "ihex")
        return ImageFormat::INTEL_HEX;
    if (name == "srec")
        return ImageFormat::S_RECORDS;
    if (name == "bin")
        return ImageFormat::BINARY;
    return std::nullopt;
}

static std::optional<ImageFormat> format_of_path(std::string_view path)
{
    const std::string_view extension = path.substr(std::min(path.rfind('.'), path.size()));
    if (extension == ".hex" || extension == ".ihx")
        return ImageFormat::INTEL_HEX;
    if (extension == ".s19" || extension == ".srec" || extension == ".mot")
        return ImageFormat::S_RECORDS;
    if (extension == ".bin")
        return ImageFormat::BINARY;
    return std::nullopt;
}

static void take_output(Reader *reader, const Given &given)
{
    const auto format = reader->format ? reader->format : format_of_path(given.word.text);
    if (!format) {
        refuse(reader, given,
               "no format goes by this extension; name one ahead with --format ihex, srec or bin");
        return;
    }
    reader->options.outputs.push_back(
        {path_of(given.word, given.word.text), *format, reader->only});
}

static void take_format(Reader *reader, const Given &given)
{
    reader->format = format_of_name(given.word.text);
    if (!reader->format)
        refuse_form(reader, given);
}

static void take_only(Reader *reader, const Given &given)
{
    reader->only = split(given.word.text);
    if (has_empty(reader->only))
        refuse_form(reader, given);
}

static bool is_ram_by_name(const std::string &name)
{
    return name == "zpage" || name == "ram";
}

static void take_region(Reader *reader, const Given &given)
{
    const size_t sign = given.word.text.find('=');
    const std::string name = given.word.text.substr(0, sign);
    const auto parts = split(sign == std::string::npos ? "" : given.word.text.substr(sign + 1));
    const auto range = read_range(parts[0]);
    const bool kind_known = parts.size() == 1 || parts[1] == "ram" || parts[1] == "rom";
    const bool digit_first = !name.empty() && name[0] >= '0' && name[0] <= '9';
    if (name.empty() || digit_first || !range || parts.size() > 2 || !kind_known) {
        refuse_form(reader, given);
        return;
    }
    const bool ram = parts.size() == 2 ? parts[1] == "ram" : is_ram_by_name(name);
    Options &options = reader->options;
    options.regions_given = true;
    for (Region &region : options.regions) {
        if (region.name == name) {
            region.range = *range;
            region.ram = ram;
            region.given = true;
            return;
        }
    }
    options.regions.push_back({name, *range, ram, {}, true});
}

static void take_align(Reader *reader, const Given &given)
{
    std::string left;
    std::string right;
    std::vector<SectionPattern> patterns;
    const bool cut = cut_assignment(given.word.text, &left, &right);
    const auto alignment = cut ? read_number(right, ADDRESS_MAX) : std::nullopt;
    if (!alignment || *alignment == 0 || !read_patterns(given, left, &patterns)) {
        refuse_form(reader, given);
        return;
    }
    for (const SectionPattern &pattern : patterns)
        reader->options.alignments.push_back({pattern, *alignment});
}

static void take_fill(Reader *reader, const Given &given)
{
    std::string left;
    std::string right = given.word.text;
    const bool of_region = right.find('=') != std::string::npos;
    if (of_region && !cut_assignment(given.word.text, &left, &right)) {
        refuse_form(reader, given);
        return;
    }
    const auto byte = read_number(right, 0xFF);
    if (!byte) {
        refuse_form(reader, given);
        return;
    }
    if (!of_region) {
        reader->options.fill = static_cast<uint8_t>(*byte);
        return;
    }
    for (Region &region : reader->options.regions) {
        if (region.name == left) {
            region.fill = static_cast<uint8_t>(*byte);
            return;
        }
    }
    refuse(reader, given, "there is no region of this name yet; --region comes first");
}

static void take_checksum(Reader *reader, const Given &given)
{
    const std::string &word = given.word.text;
    const size_t sign = word.find('=');
    const size_t at = word.rfind('@');
    const std::string kind = word.substr(0, sign);
    ChecksumRule rule;
    rule.kind = kind == "crc16"   ? ChecksumKind::CRC16
                : kind == "crc32" ? ChecksumKind::CRC32
                                  : ChecksumKind::SUM;
    if (sign == std::string::npos || at == std::string::npos || at < sign ||
        (rule.kind == ChecksumKind::SUM && kind != "sum")) {
        refuse_form(reader, given);
        return;
    }
    const auto range = read_range(std::string_view(word).substr(sign + 1, at - sign - 1));
    const auto address = read_number(std::string_view(word).substr(at + 1), ADDRESS_MAX);
    if (!range || !address) {
        refuse_form(reader, given);
        return;
    }
    rule.range = *range;
    rule.address = *address;
    reader->options.checksums.push_back(rule);
}

// A bit is ADDRESS:NUMBER, all else a plain number.
static bool read_symbol_value(const std::string &word, Definition *definition)
{
    const size_t colon = word.find(':');
    definition->bit = colon != std::string::npos;
    if (!definition->bit) {
        const auto value = read_signed_number(word);
        definition->value = value.value_or(0);
        return value.has_value();
    }
    const auto address = read_number(std::string_view(word).substr(0, colon), ADDRESS_MAX);
    const auto number = read_number(std::string_view(word).substr(colon + 1), 7);
    definition->value = 8 * address.value_or(0) + number.value_or(0);
    return address && number;
}

static void take_define(Reader *reader, const Given &given)
{
    Definition definition;
    std::string value;
    if (!cut_assignment(given.word.text, &definition.name, &value) ||
        !read_symbol_value(value, &definition)) {
        refuse_form(reader, given);
        return;
    }
    reader->options.definitions.push_back(definition);
}

static void take_overlay(Reader *reader, const Given &given)
{
    if (!read_patterns(given, given.word.text, &reader->options.overlays.emplace_back()))
        refuse_form(reader, given);
}

static void take_keep(Reader *reader, const Given &given)
{
    if (!read_patterns(given, given.word.text, &reader->options.keeps))
        refuse_form(reader, given);
}

static void take_stack(Reader *reader, const Given &given)
{
    reader->options.stack_size = read_number(given.word.text, ADDRESS_MAX);
    if (!reader->options.stack_size)
        refuse_form(reader, given);
}

static void take_entry(Reader *reader, const Given &given)
{
    reader->options.entry = given.word.text;
}

static void take_undefined(Reader *reader, const Given &given)
{
    reader->options.undefined.push_back(given.word.text);
}

static void take_library(Reader *reader, const Given &given)
{
    reader->options.inputs.push_back({given.word.text, true});
}

static void take_directory(Reader *reader, const Given &given)
{
    reader->options.library_directories.push_back(path_of(given.word, given.word.text));
}

static void take_map(Reader *reader, const Given &given)
{
    reader->options.map_path = path_of(given.word, given.word.text);
}

static void take_export(Reader *reader, const Given &given)
{
    reader->options.export_path = path_of(given.word, given.word.text);
}

static void take_depfile(Reader *reader, const Given &given)
{
    reader->options.depfile_path = path_of(given.word, given.word.text);
}

static void take_gc_sections(Reader *reader, const Given &)
{
    reader->options.collect_garbage = true;
}

static void take_verbose(Reader *reader, const Given &)
{
    reader->options.verbose = true;
}

static void take_help(Reader *reader, const Given &)
{
    reader->task = Task::SHOW_HELP;
}

static void take_version(Reader *reader, const Given &)
{
    reader->task = Task::SHOW_VERSION;
}

static void read_words(Reader *reader);

// The directories of -L, those that come behind the place where the reader is, too.
static std::vector<std::string> all_directories(const Reader &reader)
{
    std::vector<std::string> directories = reader.options.library_directories;
    for (size_t i = reader.next; i < reader.words.size(); ++i) {
        const Word &word = reader.words[i];
        if (word.text == "-L" && i + 1 < reader.words.size())
            directories.push_back(path_of(reader.words[i + 1], reader.words[i + 1].text));
        else if (word.text.starts_with("-L") && word.text.size() > 2)
            directories.push_back(path_of(word, word.text.substr(2)));
    }
    return directories;
}

// The words of the layout are read in the place of the option.
static void take_device(Reader *reader, const Given &given)
{
    Options &options = reader->options;
    if (given.word.text == "help") {
        reader->task = Task::LIST_DEVICES;
        return;
    }
    const std::string path = find_device(all_directories(*reader), given.word.text);
    if (path.empty()) {
        const std::string near = near_device(all_directories(*reader), given.word.text);
        refuse(reader, given,
               "no layout of this name; " + (near.empty() ? near : "is " + near + " meant? ") +
                   "--device help lists those there are");
        return;
    }
    std::vector<Word> words = read_option_file(path, &reader->messages, &options.option_files);
    const auto place = reader->words.begin() + static_cast<ptrdiff_t>(reader->next);
    reader->words.insert(place, words.begin(), words.end());
}

struct OptionRow {
    const char *name;
    const char *value_name; // null: the option has no value
    void (*take)(Reader *, const Given &);
    const char *help;
    bool once = false; // a second one must say the same
};

static constexpr OptionRow OPTION_ROWS[] = {
    {"-o", "FILE", take_output, "output, by extension: .hex .ihx .s19 .srec .mot .bin"},
    {"--format", "ihex, srec or bin", take_format, "format of the outputs that follow"},
    {"--only", "REGION,...", take_only, "what the outputs that follow hold"},
    {"--region", "NAME=RANGE[,ram|rom]", take_region, "names an address range"},
    {"--place", "SECTIONS=ADDRESS or REGION,...", take_place, "where sections run"},
    {"--load", "SECTIONS=ADDRESS or REGION,...", take_load, "where their bytes are stored"},
    {"--overlay", "SECTIONS", take_overlay, "sections that share one run address"},
    {"--align", "SECTIONS=NUMBER", take_align, "alignment of a section's start"},
    {"--fill", "BYTE or REGION=BYTE", take_fill, "fills gaps, or all of a region"},
    {"--checksum", "crc16, crc32 or sum, =RANGE@ADDRESS", take_checksum, "stores a checksum"},
    {"--device", "NAME", take_device, "reads the layout of a device; help lists them", true},
    {"--define", "NAME=VALUE or ADDRESS:BIT", take_define, "defines a public symbol"},
    {"--entry", "NAME", take_entry, "where the program starts", true},
    {"--undefined", "NAME", take_undefined, "a symbol that is wanted in any case"},
    {"-l", "NAME", take_library, "links libNAME.a"},
    {"-L", "DIRECTORY", take_directory, "where -l and --device look"},
    {"--gc-sections", nullptr, take_gc_sections, "drops sections that nothing reaches"},
    {"--keep", "SECTIONS", take_keep, "sections that are not dropped"},
    {"--stack", "SIZE", take_stack, "room to be left at the end of region ram"},
    {"--map", "FILE", take_map, "writes a map of the program", true},
    {"--export", "FILE", take_export, "writes the public symbols as --define lines", true},
    {"--depfile", "FILE", take_depfile, "writes a dependency rule for make", true},
    {"--verbose", nullptr, take_verbose, "tells what was linked of archives, what was dropped"},
    {"--help", nullptr, take_help, "prints this text"},
    {"--version", nullptr, take_version, "prints the version"},
};

std::string usage()
{
    std::string result = "usage: nvlink8 [options] file.o... lib.a... @file...\n"
                         "Links object files to an image for the chip.\n";
    for (const OptionRow &row : OPTION_ROWS) {
        std::string head = row.name;
        if (row.value_name != nullptr)
            head += std::string(" ") + row.value_name;
        result += text("  %-38s %s\n", head.c_str(), row.help);
    }
    return result + "Numbers are decimal or 0x; K is 1024. Ranges are START-END or START+SIZE.\n";
}

// Whether the word is the option of the row; then `value` is what is attached to it, if anything.
static bool is_option(const OptionRow &row, const std::string &word,
                      std::optional<std::string> *value)
{
    const std::string name = row.name;
    if (word == name)
        return true;
    if (!word.starts_with(name))
        return false;
    const bool single_letter = name.size() == 2;
    if (!single_letter && word[name.size()] != '=')
        return false;
    *value = word.substr(name.size() + (single_letter ? 0 : 1));
    return true;
}

// Whether an option that may be given once wasn't given yet. Another value is reported.
static bool is_first(Reader *reader, const Given &given)
{
    const auto [before, first] =
        reader->given_once.try_emplace(given.name, path_of(given.word, given.word.text));
    if (!first && before->second != path_of(given.word, given.word.text))
        refuse(reader, given, "it was " + before->second + " before, and there can be one only");
    return first;
}

static void read_option(Reader *reader, const Word &word)
{
    for (const OptionRow &row : OPTION_ROWS) {
        std::optional<std::string> value;
        if (!is_option(row, word.text, &value))
            continue;
        Given given{row.name, row.value_name, word};
        given.word.text.clear();
        if (value)
            given.word.text = *value;
        else if (row.value_name != nullptr && reader->next < reader->words.size())
            given.word = reader->words[reader->next++];
        if (row.value_name == nullptr && !given.word.text.empty())
            refuse(reader, given, "this option has no value");
        else if (row.value_name != nullptr && given.word.text.empty())
            refuse_form(reader, given);
        else if (!row.once || is_first(reader, given))
            row.take(reader, given);
        return;
    }
    add_error(&reader->messages, "%s%sunknown option %s; --help lists the options",
              word.origin.c_str(), word.origin.empty() ? "" : ": ", word.text.c_str());
}

static void read_words(Reader *reader)
{
    while (reader->next < reader->words.size()) {
        const Word word = reader->words[reader->next++];
        if (word.text.starts_with('-') && word.text.size() > 1)
            read_option(reader, word);
        else
            reader->options.inputs.push_back({path_of(word, word.text), false});
    }
}

static void check_region_names(const Options &options, const std::vector<std::string> &names,
                               const std::string &origin, Messages *messages)
{
    for (const std::string &name : names) {
        if (find_region(options, name) == nullptr) {
            add_error(messages, "%s: there is no region %s; --region %s=START-END makes it",
                      origin.c_str(), name.c_str(), name.c_str());
        }
    }
}

static std::string region_title(const Region &region)
{
    return text("%s, 0x%x-0x%x, %s", region.name.c_str(), region.range.first, region.range.last,
                region.ram ? "ram" : "rom");
}

static bool holds(AddressRange outer, AddressRange inner)
{
    return outer.first <= inner.first && inner.last <= outer.last;
}

// A region may be a part of another, for a boot loader say. What else overlaps is a slip, and of
// two kinds at once if the layout says so.
static void compare_regions(const Region &one, const Region &other, Messages *messages)
{
    if (one.range.first > other.range.last || other.range.first > one.range.last)
        return;
    if (one.ram == other.ram && (holds(one.range, other.range) || holds(other.range, one.range)))
        return;
    auto report = one.ram != other.ram && one.given && other.given ? add_error : add_warning;
    report(messages, "regions %s, and %s, overlap; --region changes either",
           region_title(one).c_str(), region_title(other).c_str());
}

static void check_regions(const std::vector<Region> &regions, Messages *messages)
{
    for (size_t i = 0; i < regions.size(); ++i) {
        for (size_t j = 0; j < i; ++j)
            compare_regions(regions[j], regions[i], messages);
        if (regions[i].ram && regions[i].fill) {
            add_error(messages, "--fill %s=0x%x: region %s is RAM, where nothing is stored",
                      regions[i].name.c_str(), *regions[i].fill, regions[i].name.c_str());
        }
    }
}

// What can only be judged when everything was read.
static void check_options(const Options &options, Messages *messages)
{
    for (const PlaceRule &rule : options.places)
        check_region_names(options, rule.where.regions, rule.origin, messages);
    for (const OutputFile &output : options.outputs)
        check_region_names(options, output.only, "--only for " + output.path, messages);
    check_regions(options.regions, messages);
    if (options.inputs.empty())
        add_error(messages, "no object file; --help lists the options");
    if (options.outputs.empty() && options.map_path.empty() && options.export_path.empty())
        add_error(messages, "no output; name it with -o FILE");
}

Task read_command_line(std::span<const std::string> arguments, Options *options, Messages *messages)
{
    options->regions = {
        {"zpage", {0x00, 0xFF}, true, {}, false},
        {"ram", {0x100, 0x7FF}, true, {}, false},
        {"flash", {0x8000, 0xFFFF}, false, {}, false},
    };
    Reader reader{*options, *messages, {}, 0, {}, {}, Task::LINK, {}};
    reader.words = expand_words(arguments, messages, &options->option_files);
    read_words(&reader);
    if (reader.task == Task::LINK && messages->errors.empty())
        check_options(*options, messages);
    return reader.task;
}
