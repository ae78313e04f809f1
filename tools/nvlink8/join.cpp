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

// A pattern with a file tells more than one without, a plain name more than one with * or ?.
static int precision_of(const SectionPattern &pattern)
{
    const bool plain = pattern.section.find_first_of("*?") == std::string::npos;
    return (pattern.file.empty() ? 0 : 2) + (plain ? 1 : 0);
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

static bool is_overlaid(const Joiner &joiner, const Block &block,
                        const std::vector<SectionPattern> &patterns)
{
    const InputSection &first = joiner.program.pieces[block.pieces.front()];
    return any_pattern_matches(patterns, joiner.program.objects[first.object].name, block.name);
}

// All blocks of an overlay follow one of them: the first with a --place, or else the first.
static void overlay_blocks(Joiner *joiner, const std::vector<SectionPattern> &patterns)
{
    std::vector<Block> &blocks = joiner->program.blocks;
    uint32_t leader = NONE;
    std::vector<uint32_t> members;
    for (uint32_t number = 0; number < blocks.size(); ++number) {
        const Block &block = blocks[number];
        if (block.absolute || block.overlay != NONE || !is_overlaid(*joiner, block, patterns))
            continue;
        members.push_back(number);
        if (leader == NONE || (blocks[leader].place_rule == NONE && block.place_rule != NONE))
            leader = number;
    }
    for (const uint32_t member : members)
        blocks[member].overlay = leader;
}

static bool has_effect(const Program &program, uint32_t rule, uint32_t pattern)
{
    return std::any_of(program.blocks.begin(), program.blocks.end(), [&](const Block &block) {
        return (block.place_rule == rule && block.place_pattern == pattern) ||
               (block.load_rule == rule && block.load_pattern == pattern);
    });
}

// A slip in a name on the command line. Layouts may well speak of sections that a program lacks.
static void warn_of_idle_rules(const Joiner &joiner)
{
    const std::vector<PlaceRule> &rules = joiner.options.places;
    for (uint32_t r = 0; r < rules.size(); ++r) {
        for (uint32_t p = 0; p < rules[r].patterns.size() && !rules[r].from_file; ++p) {
            const std::string &section = rules[r].patterns[p].section;
            if (section.find_first_of("*?") == std::string::npos &&
                !has_effect(joiner.program, r, p)) {
                add_warning(&joiner.messages, "%s: no section %s is placed by it",
                            rules[r].origin.c_str(), section.c_str());
            }
        }
    }
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
    warn_of_idle_rules(joiner);
}
