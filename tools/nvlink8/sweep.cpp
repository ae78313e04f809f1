// Roots are the section of --entry and of every --undefined, absolute sections that have bytes (the
// vectors), and what --keep names. From there the relocations lead on: by section or by the
// definition that a symbol has in the end; the start or end of a section leads to all of it.
// *check* items keep nothing, as a field of their own goes with them, and debug information keeps
// nothing, as it speaks of everything.
#include "nvlink8/sweep.h"

#include <algorithm>
#include <string_view>

struct Sweeper {
    const Options &options;
    Program &program;
    std::vector<uint32_t> reached; // pieces that are live and still to be followed
};

static void reach(Sweeper *sweeper, uint32_t number)
{
    if (number == NONE || sweeper->program.pieces[number].live)
        return;
    sweeper->program.pieces[number].live = true;
    sweeper->reached.push_back(number);
}

static uint32_t piece_of_symbol(const Program &program, uint32_t number)
{
    return number == NONE ? NONE : section_of_symbol(program, program.symbols[number]);
}

static void reach_name(Sweeper *sweeper, const std::string &name)
{
    const auto found = sweeper->program.symbol_numbers.find(name);
    if (found != sweeper->program.symbol_numbers.end())
        reach(sweeper, piece_of_symbol(sweeper->program, found->second));
}

static bool is_root(const Options &options, const Program &program, const InputSection &piece)
{
    const ObjectSection &section = section_of(program, piece);
    const bool vectors = (section.attributes & SECATTR_ABS) &&
                         (section.attributes & SECATTR_BSS) == 0 && section.size != 0;
    return vectors ||
           any_pattern_matches(options.keeps, program.objects[piece.object].name, section.name);
}

static void reach_roots(Sweeper *sweeper)
{
    for (uint32_t number = 0; number < sweeper->program.pieces.size(); ++number) {
        const InputSection &piece = sweeper->program.pieces[number];
        if (piece.has_room && is_root(sweeper->options, sweeper->program, piece))
            reach(sweeper, number);
    }
    if (!sweeper->options.entry.empty())
        reach_name(sweeper, sweeper->options.entry);
    for (const std::string &name : sweeper->options.undefined)
        reach_name(sweeper, name);
}

// The section whose start, end, size or load address a name asks for, without its leading dots; or
// nothing.
static std::string_view section_asked_for(std::string_view name)
{
    for (const std::string_view prefix : {"__start_", "__end_", "__size_", "__load_"}) {
        if (name.starts_with(prefix))
            return name.substr(prefix.size());
    }
    return {};
}

// Tables that are gathered from many files are known by their ends alone.
static void reach_section(Sweeper *sweeper, std::string_view wanted)
{
    for (uint32_t number = 0; number < sweeper->program.pieces.size(); ++number) {
        const InputSection &piece = sweeper->program.pieces[number];
        std::string_view name = section_of(sweeper->program, piece).name;
        name.remove_prefix(std::min(name.find_first_not_of('.'), name.size()));
        if (piece.has_room && name == wanted)
            reach(sweeper, number);
    }
}

static void follow_symbol(Sweeper *sweeper, uint32_t number)
{
    if (number == NONE)
        return;
    const Symbol &symbol = sweeper->program.symbols[number];
    const std::string_view wanted = section_asked_for(symbol.name);
    if (!wanted.empty() && symbol.origin != SymbolOrigin::OBJECT)
        reach_section(sweeper, wanted);
    else
        reach(sweeper, section_of_symbol(sweeper->program, symbol));
}

static void follow(Sweeper *sweeper, const InputSection &piece)
{
    const InputObject &input = sweeper->program.objects[piece.object];
    const auto sections = static_cast<uint32_t>(input.object.sections.size());
    for (const ObjectRelocation &relocation : section_of(sweeper->program, piece).relocations) {
        const uint8_t kind = relocation.kind & static_cast<uint8_t>(~RELOC_KIND_MODIFIER);
        if (kind == RK_CHECK || relocation.index == 0)
            continue;
        if (relocation.index <= sections)
            reach(sweeper, input.first_piece + relocation.index - 1);
        else
            follow_symbol(sweeper, input.symbols[relocation.index - sections - 1]);
    }
}

// Absolute sections without bytes are names for places; they cost nothing and stay.
static bool stays_anyway(const Program &program, const InputSection &piece)
{
    return !piece.has_room || (section_of(program, piece).attributes & SECATTR_ABS);
}

static void note_dropped(const Program &program, Messages *messages)
{
    uint64_t bytes = 0;
    uint64_t room = 0;
    for (const InputSection &piece : program.pieces) {
        const ObjectSection &section = section_of(program, piece);
        if (piece.live || section.size == 0)
            continue;
        add_note(messages, "dropped %s of %s, %u bytes", escaped(section.name).c_str(),
                 program.objects[piece.object].name.c_str(), section.size);
        (section.attributes & SECATTR_BSS ? room : bytes) += section.size;
    }
    add_note(messages, "--gc-sections saved %llu bytes stored and %llu bytes of variables",
             static_cast<unsigned long long>(bytes), static_cast<unsigned long long>(room));
}

void sweep_sections(const Options &options, Program *program, Messages *messages)
{
    Sweeper sweeper{options, *program, {}};
    for (InputSection &piece : program->pieces)
        piece.live = false;
    reach_roots(&sweeper);
    if (sweeper.reached.empty()) {
        add_error(messages, "--gc-sections would drop everything: no absolute section has bytes; "
                            "name a root with --entry or --keep");
        for (InputSection &piece : program->pieces)
            piece.live = true;
        return;
    }
    while (!sweeper.reached.empty()) {
        const uint32_t number = sweeper.reached.back();
        sweeper.reached.pop_back();
        follow(&sweeper, program->pieces[number]);
    }
    for (InputSection &piece : program->pieces)
        piece.live = piece.live || stays_anyway(*program, piece);
    note_dropped(*program, messages);
}
