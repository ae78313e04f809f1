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

static std::optional<uint32_t> entry_address(const Options &options, const Program &program)
{
    if (options.entry.empty())
        return std::nullopt;
    return program.symbols[program.symbol_numbers.at(options.entry)].value;
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

std::vector<FinishedFile> link_program(const Options &options, Messages *messages)
{
    Program program;
    load_inputs(options, &program, messages);
    if (!messages->errors.empty())
        return {};
    resolve_symbols(options, &program, messages);
    if (options.collect_garbage)
        sweep_sections(options, &program, messages);
    join_sections(options, &program, messages);
    make_section_symbols(options, &program, messages);
    report_undefined(options, program, messages);
    if (place_sections(options, &program, messages)) {
        settle_symbols(options, &program);
        relocate(&program, messages);
    }
    if (!messages->errors.empty())
        return {};
    const Image image = build_image(options, program, messages);
    if (!messages->errors.empty())
        return {};
    return finish_files(options, program, image);
}
