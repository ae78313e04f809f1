// Sections of one name make one block, in the order of the command line, and a block is placed as a
// whole. Absolute sections stay by themselves, as each brings its address, and so do the parts of a
// section that FILE:SECTION places.
#include "nvlink8/placement.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <tuple>

// Which rule holds for a section, and by which of its patterns.
struct RuleMatch {
    uint32_t rule = NONE;
    uint32_t pattern = NONE;
    int precision = -1;
};

static bool is_plain(const std::string &section)
{
    return section.find_first_of("*?") == std::string::npos;
}

// A pattern with a file tells more than one without, a plain name more than one with * or ?.
static int precision_of(const SectionPattern &pattern)
{
    return (pattern.file.empty() ? 0 : 2) + (is_plain(pattern.section) ? 1 : 0);
}

// The most precise rule counts, of equally precise ones the last, so that a command line can change
// what a layout says.
static RuleMatch find_rule(const Options &options, bool load, const std::string &file,
                           const std::string &section)
{
    RuleMatch best;
    for (uint32_t r = 0; r < options.places.size(); ++r) {
        const PlaceRule &rule = options.places[r];
        if (rule.load != load)
            continue;
        for (uint32_t p = 0; p < rule.patterns.size(); ++p) {
            const int precision = precision_of(rule.patterns[p]);
            const bool better =
                precision > best.precision || (precision == best.precision && best.rule != r);
            if (better && pattern_matches(rule.patterns[p], file, section))
                best = {r, p, precision};
        }
    }
    return best;
}

// What makes two pieces parts of one block.
using BlockKey = std::tuple<std::string, uint32_t, uint32_t>;

struct Joiner {
    const Options &options;
    Program &program;
    Messages &messages;
    std::map<BlockKey, uint32_t> blocks;
};

static uint32_t add_block(Joiner *joiner, const std::string &file, const ObjectSection &section)
{
    const RuleMatch place = find_rule(joiner->options, false, file, section.name);
    const RuleMatch load = find_rule(joiner->options, true, file, section.name);
    const bool absolute = section.attributes & SECATTR_ABS;
    const bool apart = place.rule != NONE &&
                       !joiner->options.places[place.rule].patterns[place.pattern].file.empty();
    const auto number = static_cast<uint32_t>(joiner->program.blocks.size());
    if (!absolute) {
        const BlockKey key{section.name, apart ? place.rule : NONE, apart ? place.pattern : NONE};
        const auto [entry, added] = joiner->blocks.try_emplace(key, number);
        if (!added)
            return entry->second;
    }
    Block &block = joiner->program.blocks.emplace_back();
    block.name = section.name;
    block.attributes = section.attributes;
    block.absolute = absolute;
    block.apart = apart && !absolute;
    block.place_rule = absolute ? NONE : place.rule;
    block.place_pattern = absolute ? NONE : place.pattern;
    block.load_rule = load.rule;
    block.load_pattern = load.pattern;
    return number;
}

struct ClashingAttribute {
    uint8_t bit;
    const char *name;
};

static constexpr std::array<ClashingAttribute, 3> CLASHING_ATTRIBUTES = {{
    {SECATTR_BSS, "bss"},
    {SECATTR_ZPAGE, "zpage"},
    {SECATTR_BIT, "bit"},
}};

static void compare_attributes(Joiner *joiner, const Block &block, const std::string &file,
                               const ObjectSection &section)
{
    const InputSection &first = joiner->program.pieces[block.pieces.front()];
    const uint8_t attributes = section_of(joiner->program, first).attributes;
    for (const auto &[bit, name] : CLASHING_ATTRIBUTES) {
        if (((attributes ^ section.attributes) & bit) == 0)
            continue;
        const std::string &other = joiner->program.objects[first.object].name;
        const bool here = section.attributes & bit;
        add_error(&joiner->messages,
                  "%s: section %s is %s%s here and %s%s in %s; give it the same attributes in all "
                  "files, or two names",
                  file.c_str(), escaped(section.name).c_str(), here ? "" : "not ", name,
                  here ? "not " : "", name, other.c_str());
    }
}

static void add_piece(Joiner *joiner, uint32_t number)
{
    InputSection &piece = joiner->program.pieces[number];
    const ObjectSection &section = section_of(joiner->program, piece);
    const std::string &file = joiner->program.objects[piece.object].name;
    piece.block = add_block(joiner, file, section);
    Block &block = joiner->program.blocks[piece.block];
    if (!block.pieces.empty())
        compare_attributes(joiner, block, file, section);
    block.attributes |= section.attributes;
    if ((section.attributes & SECATTR_EVEN) && !block.absolute) {
        block.alignment = 2;
        block.size += block.size & 1;
    }
    piece.offset = static_cast<uint32_t>(block.size);
    block.size += section.size;
    block.pieces.push_back(number);
}

static void align_blocks(Joiner *joiner)
{
    for (Block &block : joiner->program.blocks) {
        for (const AlignRule &rule : joiner->options.alignments) {
            const InputSection &first = joiner->program.pieces[block.pieces.front()];
            const std::string &file = joiner->program.objects[first.object].name;
            if (pattern_matches(rule.pattern, file, block.name))
                block.alignment = std::lcm(block.alignment, rule.alignment);
        }
    }
}

static const std::string &file_of(const Joiner &joiner, const Block &block)
{
    return joiner.program.objects[joiner.program.pieces[block.pieces.front()].object].name;
}

// Two addresses for what shares one, both by name, can't be meant.
static void compare_places(Joiner *joiner, const Block &leader, const Block &block)
{
    const std::vector<PlaceRule> &rules = joiner->options.places;
    if (leader.place_rule == block.place_rule || leader.place_rule == NONE ||
        block.place_rule == NONE)
        return;
    for (const Block *one : {&leader, &block}) {
        if (!is_plain(rules[one->place_rule].patterns[one->place_pattern].section))
            return;
    }
    add_error(&joiner->messages,
              "sections %s and %s share an address by --overlay, and %s and %s give them two",
              escaped(leader.name).c_str(), escaped(block.name).c_str(),
              rules[leader.place_rule].origin.c_str(), rules[block.place_rule].origin.c_str());
}

// The blocks that an --overlay is about.
static std::vector<uint32_t> overlaid_blocks(Joiner *joiner,
                                             const std::vector<SectionPattern> &patterns)
{
    std::vector<uint32_t> members;
    for (uint32_t number = 0; number < joiner->program.blocks.size(); ++number) {
        const Block &block = joiner->program.blocks[number];
        if (block.absolute || !any_pattern_matches(patterns, file_of(*joiner, block), block.name))
            continue;
        if (block.overlay == NONE)
            members.push_back(number);
        else
            add_error(&joiner->messages, "section %s can't share its address by two --overlay",
                      escaped(block.name).c_str());
    }
    return members;
}

// All blocks of an overlay follow one of them: the first with a --place, or else the first.
static void overlay_blocks(Joiner *joiner, const std::vector<SectionPattern> &patterns)
{
    std::vector<Block> &blocks = joiner->program.blocks;
    const std::vector<uint32_t> members = overlaid_blocks(joiner, patterns);
    if (members.empty())
        return;
    const auto placed = std::find_if(members.begin(), members.end(), [&](uint32_t member) {
        return blocks[member].place_rule != NONE;
    });
    const uint32_t leader = placed == members.end() ? members.front() : *placed;
    for (const uint32_t member : members) {
        blocks[member].overlay = leader;
        compare_places(joiner, blocks[leader], blocks[member]);
    }
}

static bool names_a_section(const Joiner &joiner, const SectionPattern &pattern)
{
    const std::vector<InputSection> &pieces = joiner.program.pieces;
    return std::any_of(pieces.begin(), pieces.end(), [&](const InputSection &piece) {
        return piece.has_room && pattern_matches(pattern, joiner.program.objects[piece.object].name,
                                                 section_of(joiner.program, piece).name);
    });
}

static void warn_of_idle_pattern(const Joiner &joiner, const SectionPattern &pattern)
{
    if (pattern.option.empty() || names_a_section(joiner, pattern))
        return;
    const std::string file = pattern.file.empty() ? "" : " of " + pattern.file;
    add_warning(&joiner.messages, "%s: there is no section %s%s", pattern.option.c_str(),
                pattern.section.c_str(), file.c_str());
}

// Absolute sections can't be moved, and are stored where they run.
static void warn_of_absolute(const Joiner &joiner, const PlaceRule &rule,
                             const SectionPattern &pattern)
{
    for (const Block &block : joiner.program.blocks) {
        const std::string &file = file_of(joiner, block);
        if (block.absolute && !pattern.option.empty() && is_plain(pattern.section) &&
            pattern_matches(pattern, file, block.name)) {
            add_warning(&joiner.messages, "%s: section %s of %s is absolute and stays",
                        rule.origin.c_str(), escaped(block.name).c_str(), file.c_str());
        }
    }
}

// Slips in names on the command line.
static void warn_of_idle_patterns(const Joiner &joiner)
{
    const Options &options = joiner.options;
    for (const PlaceRule &rule : options.places) {
        for (const SectionPattern &pattern : rule.patterns) {
            warn_of_idle_pattern(joiner, pattern);
            warn_of_absolute(joiner, rule, pattern);
        }
    }
    for (const auto &patterns : options.overlays) {
        for (const SectionPattern &pattern : patterns)
            warn_of_idle_pattern(joiner, pattern);
    }
    for (const SectionPattern &pattern : options.keeps)
        warn_of_idle_pattern(joiner, pattern);
    for (const AlignRule &rule : options.alignments)
        warn_of_idle_pattern(joiner, rule.pattern);
}

void join_sections(const Options &options, Program *program, Messages *messages)
{
    Joiner joiner{options, *program, *messages, {}};
    for (uint32_t number = 0; number < program->pieces.size(); ++number) {
        if (program->pieces[number].live && program->pieces[number].has_room)
            add_piece(&joiner, number);
    }
    align_blocks(&joiner);
    for (const auto &patterns : options.overlays)
        overlay_blocks(&joiner, patterns);
    warn_of_idle_patterns(joiner);
}
