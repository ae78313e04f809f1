// Starts programs with posix_spawn, without a shell, and reads their output through pipes until
// they end or must be stopped. Thousands of tests go through here, so nothing waits longer than
// the program runs.
#include "support/run.h"

#include "base/object_format.h"
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

static constexpr std::chrono::seconds TIME_LIMIT{60};
static constexpr size_t OUTPUT_LIMIT = size_t{64} << 20;

// Any failure here is a broken test machine, not a test result.
static void require(bool success, const char *what)
{
    if (!success) {
        std::perror(what);
        std::abort();
    }
}

// No core dumps, and no runaway file fills the disk: the children inherit the limits.
static void limit_children()
{
    const rlimit no_core{0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    rlimit file_size{};
    getrlimit(RLIMIT_FSIZE, &file_size);
    file_size.rlim_cur = std::min<rlim_t>(OUTPUT_LIMIT, file_size.rlim_max);
    setrlimit(RLIMIT_FSIZE, &file_size);
}

static fs::path make_directory(const std::vector<SourceFile> &files)
{
    std::string name = fs::temp_directory_path() / "nvasm8-XXXXXX";
    require(mkdtemp(name.data()) != nullptr, "mkdtemp");
    for (const SourceFile &file : files) {
        const fs::path path = fs::path(name) / file.name;
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << file.text;
    }
    return name;
}

static std::string file_text(const fs::path &path)
{
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

static std::map<std::string, std::string> collect_files(const fs::path &directory)
{
    std::map<std::string, std::string> files;
    for (const auto &entry : fs::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file())
            files[entry.path().lexically_relative(directory).string()] = file_text(entry.path());
    }
    return files;
}

static std::vector<std::string> make_environment(const std::vector<std::string> &additions)
{
    std::vector<std::string> variables = additions;
    for (char **variable = environ; *variable != nullptr; ++variable) {
        const std::string_view text = *variable;
        if (!text.starts_with("NVLIB=") && !text.starts_with("NVDEBUG="))
            variables.emplace_back(text);
    }
    return variables;
}

static std::vector<char *> pointers_to(std::vector<std::string> *words)
{
    std::vector<char *> pointers;
    for (std::string &word : *words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
}

struct Child {
    pid_t pid = 0;
    std::array<pollfd, 2> pipes{}; // the ends to read standard output and standard error from
};

static Child spawn(std::vector<std::string> words, std::vector<std::string> environment,
                   const fs::path &directory)
{
    int out[2];
    int err[2];
    require(pipe2(out, O_CLOEXEC) == 0 && pipe2(err, O_CLOEXEC) == 0, "pipe2");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
    Child child;
    errno = posix_spawn(&child.pid, words[0].c_str(), &actions, nullptr, pointers_to(&words).data(),
                        pointers_to(&environment).data());
    require(errno == 0, words[0].c_str());
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    close(err[1]);
    child.pipes = {{{out[0], POLLIN, 0}, {err[0], POLLIN, 0}}};
    return child;
}

// Moves what waits in a pipe to `text`; closes the pipe at its end.
static void drain(pollfd *pipe, std::string *text)
{
    std::array<char, 65536> block;
    const ssize_t size = read(pipe->fd, block.data(), block.size());
    if (size > 0) {
        text->append(block.data(), static_cast<size_t>(size));
    } else if (size == 0 || errno != EINTR) {
        close(pipe->fd);
        pipe->fd = -1; // poll passes over it
    }
}

// Gives false when the program must be stopped.
static bool read_output(Child *child, Run *run, Clock::time_point deadline)
{
    while (child->pipes[0].fd >= 0 || child->pipes[1].fd >= 0) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0 || run->out.size() + run->err.size() > OUTPUT_LIMIT)
            return false;
        poll(child->pipes.data(), child->pipes.size(), static_cast<int>(left.count()));
        for (size_t i = 0; i < child->pipes.size(); ++i) {
            if (child->pipes[i].fd >= 0 && child->pipes[i].revents != 0)
                drain(&child->pipes[i], i == 0 ? &run->out : &run->err);
        }
    }
    return true;
}

// A program may close its output and go on, so the end of the pipes isn't the end of the wait.
static int wait_for(pid_t pid, Clock::time_point deadline)
{
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (Clock::now() >= deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            return STATUS_STOPPED;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

static void take_object(Run *run)
{
    const auto object = run->files.find("prog.o");
    run->has_object = object != run->files.end();
    if (run->has_object) {
        run->object_bytes = object->second;
        const auto *bytes = reinterpret_cast<const uint8_t *>(run->object_bytes.data());
        run->object = read_object({bytes, run->object_bytes.size()});
    }
    if (const auto listing = run->files.find("prog.ls"); listing != run->files.end())
        run->listing = listing->second;
}

static Run run_in_directory(const char *program, const std::vector<std::string> &arguments,
                            const std::vector<SourceFile> &files,
                            const std::vector<std::string> &environment)
{
    limit_children();
    const fs::path directory = make_directory(files);
    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());

    Run run;
    const Clock::time_point deadline = Clock::now() + TIME_LIMIT;
    Child child = spawn(std::move(words), make_environment(environment), directory);
    const bool ended = read_output(&child, &run, deadline);
    run.status = wait_for(child.pid, ended ? deadline : Clock::now());
    for (const pollfd &pipe : child.pipes) {
        if (pipe.fd >= 0)
            close(pipe.fd);
    }
    run.files = collect_files(directory);
    fs::remove_all(directory);
    take_object(&run);
    return run;
}

Run run_program(const std::vector<std::string> &arguments, const std::vector<SourceFile> &files,
                const std::vector<std::string> &environment)
{
    return run_in_directory(NVASM8_PROGRAM, arguments, files, environment);
}

Run run_shell(const std::string &command, const std::vector<SourceFile> &files)
{
    return run_in_directory("/bin/sh", {"-c", command}, files,
                            {"NVASM8=" NVASM8_PROGRAM, "NVLINK8=" NVLINK8_PROGRAM});
}

Run run_viewer(const std::vector<std::string> &arguments, const std::vector<SourceFile> &files)
{
    return run_in_directory(NVOBJ8_PROGRAM, arguments, files, {});
}

Run assemble(const std::string &source, const std::vector<std::string> &options,
             const std::vector<SourceFile> &files)
{
    std::vector<std::string> arguments = options;
    arguments.emplace_back("prog.s");
    std::vector<SourceFile> all_files = files;
    all_files.push_back({"prog.s", source});
    return run_program(arguments, all_files);
}

// Why there is nothing to be read in an object; empty when it is there and sound.
static std::string fault_of(const Run &run)
{
    std::string text = run.has_object ? "" : run.err;
    for (const std::string &problem : run.object.problems)
        text += "damaged object: " + problem + "\n";
    return text;
}

std::string hex(const std::vector<uint8_t> &bytes)
{
    std::string text;
    for (uint8_t byte : bytes) {
        text += text.empty() ? "" : " ";
        text += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
    }
    return text;
}

std::string section_of(const std::string &name, const std::string &source,
                       const std::vector<std::string> &options)
{
    const Run run = assemble(source, options);
    std::string text = fault_of(run);
    if (!text.empty())
        return text;
    for (const ObjectSection &section : run.object.sections) {
        if (section.name == name)
            text += " | " + hex(section.contents);
    }
    return text.substr(std::min<size_t>(text.size(), 3));
}

std::string text_of(const std::string &source, const std::vector<std::string> &options)
{
    return section_of(".text", source, options);
}

std::string relocations_of(const std::string &source, const std::vector<std::string> &options,
                           const std::string &section)
{
    const Run run = assemble(source, options);
    std::string text = fault_of(run);
    if (!text.empty())
        return text;
    for (const ObjectSection &candidate : run.object.sections) {
        if (candidate.name != section)
            continue;
        for (const ObjectRelocation &item : candidate.relocations) {
            std::array<char, 1200> line;
            std::snprintf(line.data(), line.size(), "%04x %s%s %s+%#x\n", item.offset,
                          relocation_kind_name(item.kind),
                          (item.kind & RELOC_KIND_MODIFIER) ? "+16" : "",
                          index_name(run.object, item.index).c_str(), item.addend);
            text += line.data();
        }
    }
    return text;
}

std::string errors_of(const std::string &source, const std::vector<std::string> &options)
{
    return assemble(source, options).err;
}
