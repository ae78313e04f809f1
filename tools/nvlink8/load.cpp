// All inputs are read first. Then members join the program: one that defines what is wanted is
// wanted, what it wants itself is looked for in all archives again, until nothing changes. At last
// those that joined are lined up in the order of the command line, so that the order of the image
// doesn't depend on who wanted whom first.
#include "nvlink8/load.h"

#include "nvlink8/archive.h"
#include "nvlink8/input.h"
#include <algorithm>
#include <set>
#include <unordered_map>
#include <unordered_set>

static constexpr uint8_t MACHINE = 6;
static constexpr uint8_t MACHINE_VARIANT = 3;

// An object that may belong to the program.
struct Candidate {
    InputObject input;
    bool member = false;
    bool joined = false;
};

static bool is_public(const ObjectSymbol &symbol)
{
    return symbol.attrs & ATTR_PUBLIC;
}

static std::string_view plain_name(const ObjectSymbol &symbol)
{
    const std::string_view name = symbol.name;
    return is_weak_definition(symbol) ? name.substr(1) : name;
}

static void add_candidate(std::vector<Candidate> *candidates, const std::string &name,
                          std::span<const uint8_t> bytes, bool member, Messages *messages)
{
    Candidate candidate;
    candidate.input.name = name;
    candidate.member = member;
    candidate.input.object = read_object(bytes);
    const ObjectFile &object = candidate.input.object;
    for (const std::string &problem : object.problems)
        add_error(messages, "%s: %s", name.c_str(), problem.c_str());
    if (!object.problems.empty())
        return;
    if (object.machine != MACHINE || object.machine_variant != MACHINE_VARIANT) {
        add_error(messages, "%s: made for machine %u, variant %u; the STM8 is %u, %u", name.c_str(),
                  object.machine, object.machine_variant, MACHINE, MACHINE_VARIANT);
        return;
    }
    candidates->push_back(std::move(candidate));
}

static void add_input(std::vector<Candidate> *candidates, const std::string &path,
                      Messages *messages)
{
    InputBytes bytes;
    std::string problem;
    if (!read_input(path, &bytes, &problem)) {
        add_error(messages, "can't read %s: %s", path.c_str(), problem.c_str());
        return;
    }
    if (!is_archive(bytes)) {
        add_candidate(candidates, path, bytes, false, messages);
        return;
    }
    std::vector<std::string> problems;
    for (const ArchiveMember &member : read_archive(bytes, &problems))
        add_candidate(candidates, path + "(" + member.name + ")", member.bytes, true, messages);
    for (const std::string &fault : problems)
        add_error(messages, "%s: %s", path.c_str(), fault.c_str());
}

// The path of "-l NAME". Reported and empty if there is none.
static std::string library_path(const Options &options, const std::string &name, Messages *messages)
{
    for (const std::string &directory : options.library_directories) {
        std::string path = directory;
        path += directory.ends_with('/') ? "lib" : "/lib";
        path += name;
        path += ".a";
        if (input_exists(path))
            return path;
    }
    add_error(messages, "-l %s: there is no lib%s.a in the directories that -L names", name.c_str(),
              name.c_str());
    return "";
}

// Who wants which name, and which names are defined by what has joined.
struct Wanted {
    std::unordered_set<std::string_view> defined;
    std::unordered_map<std::string_view, std::string> by; // and not defined
};

static void want(Wanted *wanted, std::string_view name, const std::string &by)
{
    if (!wanted->defined.contains(name))
        wanted->by.try_emplace(name, by);
}

static void join(Candidate *candidate, Wanted *wanted)
{
    candidate->joined = true;
    for (const ObjectSymbol &symbol : candidate->input.object.symbols) {
        if (!is_public(symbol) || (symbol.attrs & ATTR_DEFINED) == 0)
            continue;
        wanted->defined.insert(plain_name(symbol));
        wanted->by.erase(plain_name(symbol));
    }
    for (const ObjectSymbol &symbol : candidate->input.object.symbols) {
        if (is_public(symbol) && (symbol.attrs & ATTR_DEFINED) == 0)
            want(wanted, symbol.name, candidate->input.name);
    }
}

// The first name that the member defines and somebody wants. Empty if there is none.
static std::string_view wanted_name(const Candidate &candidate, const Wanted &wanted)
{
    for (const ObjectSymbol &symbol : candidate.input.object.symbols) {
        if (is_public(symbol) && (symbol.attrs & ATTR_DEFINED) &&
            wanted.by.contains(plain_name(symbol)))
            return plain_name(symbol);
    }
    return {};
}

static void join_members(std::vector<Candidate> *candidates, Wanted *wanted)
{
    bool changed = true;
    while (changed) {
        changed = false;
        for (Candidate &candidate : *candidates) {
            if (candidate.joined)
                continue;
            const std::string_view name = wanted_name(candidate, *wanted);
            if (name.empty())
                continue;
            candidate.input.pulled_by = std::string(name) + ", wanted by " + wanted->by.at(name);
            join(&candidate, wanted);
            changed = true;
        }
    }
}

static void choose_members(const Options &options, std::vector<Candidate> *candidates)
{
    if (std::none_of(candidates->begin(), candidates->end(),
                     [](const Candidate &candidate) { return candidate.member; })) {
        for (Candidate &candidate : *candidates)
            candidate.joined = true;
        return;
    }
    Wanted wanted;
    for (const Definition &definition : options.definitions)
        wanted.defined.insert(definition.name);
    for (const std::string &name : options.undefined)
        want(&wanted, name, "--undefined");
    if (!options.entry.empty())
        want(&wanted, options.entry, "--entry");
    for (Candidate &candidate : *candidates) {
        if (!candidate.member)
            join(&candidate, &wanted);
    }
    join_members(candidates, &wanted);
}

static bool takes_room(std::string_view section)
{
    return section != ".info." && section != ".misra." && section != ".debug";
}

static void add_object(Program *program, InputObject input)
{
    const auto object = static_cast<uint32_t>(program->objects.size());
    input.first_piece = static_cast<uint32_t>(program->pieces.size());
    for (uint32_t number = 1; number <= input.object.sections.size(); ++number) {
        InputSection piece;
        piece.object = object;
        piece.number = number;
        piece.has_room = takes_room(input.object.sections[number - 1].name);
        program->pieces.push_back(piece);
    }
    program->objects.push_back(std::move(input));
}

void load_inputs(const Options &options, Program *program, Messages *messages)
{
    std::vector<Candidate> candidates;
    std::set<std::string> archives_read;
    for (const InputName &input : options.inputs) {
        const std::string path =
            input.library ? library_path(options, input.path, messages) : input.path;
        const bool again = path.ends_with(".a") && !archives_read.insert(path).second;
        if (path.empty() || again)
            continue;
        program->input_paths.push_back(path);
        add_input(&candidates, path, messages);
    }
    choose_members(options, &candidates);
    for (Candidate &candidate : candidates) {
        if (!candidate.joined)
            continue;
        if (candidate.member) {
            add_note(messages, "pulled %s for %s", candidate.input.name.c_str(),
                     candidate.input.pulled_by.c_str());
        }
        add_object(program, std::move(candidate.input));
    }
}
