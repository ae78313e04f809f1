// The linker: objects and archives in, an image for the chip out.
#include "nvlink8/command_line.h"
#include "nvlink8/devices.h"
#include "nvlink8/linker.h"

#include "base/host.h"
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

static constexpr int STATUS_ERROR = 1;

static void out_of_memory()
{
    std::fputs("nvlink8: no memory\n", stderr);
    end_process(STATUS_ERROR);
}

static int print(const std::string &output)
{
    std::fputs(output.c_str(), stdout);
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return 0;
    std::fputs("nvlink8: error: can't write to standard output\n", stderr);
    return STATUS_ERROR;
}

static std::string device_list(const Options &options)
{
    std::string list;
    for (const DeviceName &device : list_devices(options.library_directories))
        list += device.name + "\n";
    return list;
}

static void report_failure(const FinishedFile &file, int error, Messages *messages)
{
    const char *reason = path_kind(file.path.c_str()) == PathKind::DIRECTORY ? "it is a directory"
                         : error != 0                                        ? std::strerror(error)
                                      : "the host gives no reason";
    add_error(messages, "can't write %s: %s", file.path.c_str(), reason);
}

// All outputs or none.
static void write_files(const std::vector<FinishedFile> &files, Messages *messages)
{
    std::vector<Piece> contents;
    std::vector<Output> outputs;
    for (const FinishedFile &file : files) {
        errno = 0;
        if (!takes_output(file.path.c_str()))
            report_failure(file, errno, messages);
        contents.emplace_back(reinterpret_cast<const uint8_t *>(file.contents.data()),
                              file.contents.size());
    }
    if (!messages->errors.empty())
        return;
    for (size_t i = 0; i < files.size(); ++i)
        outputs.push_back({files[i].path.c_str(), {&contents[i], 1}});
    if (const auto failure = write_outputs(outputs))
        report_failure(files[failure->output], failure->error, messages);
}

int main(int argc, char **argv)
{
    std::set_new_handler(out_of_memory);
    route_signals();
    occupy_standard_streams();
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    Options options;
    Messages messages;
    switch (read_command_line(arguments, &options, &messages)) {
    case Task::SHOW_HELP:
        return print(usage());
    case Task::SHOW_VERSION:
        return print("nvlink8 " NVASM8_VERSION "\n");
    case Task::LIST_DEVICES:
        return print(device_list(options));
    case Task::LINK:
        break;
    }
    std::vector<FinishedFile> files;
    if (messages.errors.empty())
        files = link_program(options, &messages);
    if (messages.errors.empty())
        write_files(files, &messages);
    print_messages(messages, options.verbose);
    return messages.errors.empty() ? 0 : STATUS_ERROR;
}
