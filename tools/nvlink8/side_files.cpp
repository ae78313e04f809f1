#include "nvlink8/side_files.h"

#include "nvlink8/messages.h"
#include <algorithm>

// As a word of an option file.
static std::string quoted(std::string_view name)
{
    const bool plain = name.find_first_of(" \t#'\"") == std::string_view::npos;
    const char *quote = plain ? "" : name.find('"') == std::string_view::npos ? "\"" : "'";
    return quote + std::string(name) + quote;
}

static bool is_exported(const Program &program, const Symbol &symbol)
{
    return symbol.origin == SymbolOrigin::OBJECT && is_in_program(program, symbol);
}

std::string export_text(const Program &program)
{
    std::vector<const Symbol *> symbols;
    for (const Symbol &symbol : program.symbols) {
        if (is_exported(program, symbol))
            symbols.push_back(&symbol);
    }
    std::sort(symbols.begin(), symbols.end(),
              [](const Symbol *a, const Symbol *b) { return a->name < b->name; });
    std::string lines;
    for (const Symbol *symbol : symbols) {
        lines += "--define " + quoted(symbol->name);
        lines += symbol->attributes & ATTR_BIT
                     ? text("=0x%x:%u\n", symbol->value >> 3, symbol->value & 7)
                     : text("=0x%x\n", symbol->value);
    }
    return lines;
}

// As make wants names of files.
static std::string make_name(std::string_view path)
{
    std::string name;
    for (const char c : path) {
        if (c == ' ' || c == '#' || c == '\\' || c == ':')
            name += '\\';
        else if (c == '$')
            name += '$';
        name += c;
    }
    return name;
}

std::string depfile_text(const Options &options, const Program &program)
{
    std::string target;
    if (!options.outputs.empty())
        target = options.outputs.front().path;
    else
        target = options.map_path.empty() ? options.export_path : options.map_path;
    std::string rule = make_name(target) + ":";
    std::string targets_without_rule;
    for (const auto *paths : {&program.input_paths, &options.option_files}) {
        for (const std::string &path : *paths) {
            rule += " \\\n " + make_name(path);
            // A file that is gone is no reason for make to stop.
            targets_without_rule += make_name(path) + ":\n";
        }
    }
    return rule + "\n" + targets_without_rule;
}
