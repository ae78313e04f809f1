// The stages of a link, in their order. A stage that finds errors doesn't keep the next from
// looking for more, as long as that can tell anything true.
#include "nvlink8/linker.h"

#include "nvlink8/formats.h"
#include "nvlink8/image.h"
#include "nvlink8/load.h"
#include "nvlink8/map_file.h"
#include "nvlink8/placement.h"
#include "nvlink8/relocate.h"
#include "nvlink8/side_files.h"
#include "nvlink8/sweep.h"
#include "nvlink8/symbols.h"

#include <filesystem>
#include <system_error>

static std::optional<uint32_t> entry_address(const Options &options, const Program &program)
{
    if (options.entry.empty())
        return std::nullopt;
    return program.symbols[program.symbol_numbers.at(options.entry)].value;
}

static void check_entry(const Options &options, const Program &program, Messages *messages)
{
    if (options.entry.empty())
        return;
    const Symbol &symbol = program.symbols[program.symbol_numbers.at(options.entry)];
    if (symbol.attributes & ATTR_BIT) {
        add_error(messages, "--entry %s: a bit, no address", options.entry.c_str());
    } else if (symbol.value > ADDRESS_MAX) {
        add_error(messages, "--entry %s: 0x%x is no address; the last is 0x%x",
                  options.entry.c_str(), symbol.value, ADDRESS_MAX);
    }
}

static std::vector<FinishedFile> finish_files(const Options &options, const Program &program,
                                              const Image &image)
{
    std::vector<FinishedFile> files;
    for (const OutputFile &output : options.outputs) {
        const Image selected = select_regions(options, image, output.only);
        files.push_back(
            {output.path, format_image(selected, output.format, entry_address(options, program),
                                       options.fill.value_or(0))});
    }
    if (!options.map_path.empty())
        files.push_back({options.map_path, map_text(options, program)});
    if (!options.export_path.empty())
        files.push_back({options.export_path, export_text(program)});
    if (!options.depfile_path.empty())
        files.push_back({options.depfile_path, depfile_text(options, program)});
    return files;
}

static bool is_same_file(const std::string &one, const std::string &other)
{
    std::error_code absent;
    return std::filesystem::path(one).lexically_normal() ==
               std::filesystem::path(other).lexically_normal() ||
           std::filesystem::equivalent(one, other, absent);
}

// No output falls on a file that the run reads, or on another output.
static void check_outputs(const Options &options, const Program &program, Messages *messages)
{
    std::vector<std::string> others = program.input_paths;
    others.insert(others.end(), options.option_files.begin(), options.option_files.end());
    std::vector<std::string> outputs;
    for (const OutputFile &output : options.outputs)
        outputs.push_back(output.path);
    for (const std::string &path : {options.map_path, options.export_path, options.depfile_path}) {
        if (!path.empty())
            outputs.push_back(path);
    }
    for (const std::string &output : outputs) {
        for (const std::string &other : others) {
            if (is_same_file(output, other))
                add_error(messages, "the output %s would be written over %s", output.c_str(),
                          other.c_str());
        }
        others.push_back(output);
    }
}

std::vector<FinishedFile> link_program(const Options &options, Messages *messages)
{
    Program program;
    load_inputs(options, &program, messages);
    if (!messages->errors.empty())
        return {};
    check_outputs(options, program, messages);
    resolve_symbols(options, &program, messages);
    if (options.collect_garbage)
        sweep_sections(options, &program, messages);
    join_sections(options, &program, messages);
    make_section_symbols(options, &program, messages);
    report_undefined(options, program, messages);
    if (place_sections(options, &program, messages)) {
        settle_symbols(options, &program);
        check_entry(options, program, messages);
        relocate(&program, messages);
    }
    if (!messages->errors.empty())
        return {};
    const Image image = build_image(options, program, messages);
    if (!messages->errors.empty())
        return {};
    return finish_files(options, program, image);
}
