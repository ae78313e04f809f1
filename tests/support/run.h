// Runs the built programs on short sources and hands back everything that came of it. Each run has
// a temporary directory of its own, which is gone when the call returns.
#pragma once

#include "object/object_reader.h"
#include <map>
#include <string>
#include <vector>

struct SourceFile {
    std::string name; // may lead through sub-directories
    std::string text;
};

// In the body of a TEST this name is hidden by a member of the test class: write `const auto run`.
struct Run {
    int status = 0; // exit status; 128 + signal after a crash, 124 when the time or output ran out
    std::string out;
    std::string err;
    std::map<std::string, std::string> files; // what lay in the directory at the end, by path
    bool has_object = false;                  // prog.o was written
    ObjectFile object;
    std::string object_bytes;
    std::string listing; // prog.ls
};

// The status of a run that was stopped: after 60 seconds or 64 megabytes of output.
constexpr int STATUS_STOPPED = 124;

// nvasm8 with `options` and then "prog.s", which holds `source`.
Run assemble(const std::string &source, const std::vector<std::string> &options = {},
             const std::vector<SourceFile> &files = {});

// nvasm8 with just these arguments. `environment` is a list of "NAME=value" on top of the tests'
// own environment, from which the variables that nvasm8 reads are taken out. No standard input.
Run run_program(const std::vector<std::string> &arguments,
                const std::vector<SourceFile> &files = {},
                const std::vector<std::string> &environment = {});

// A shell command, with the paths of nvasm8 and nvlink8 in $NVASM8 and $NVLINK8: for what only the
// caller of a program can arrange, as closed streams, limits, pipes and signals.
Run run_shell(const std::string &command, const std::vector<SourceFile> &files = {});

// nvobj8 in the same way.
Run run_viewer(const std::vector<std::string> &arguments,
               const std::vector<SourceFile> &files = {});

// "9d ae 12 34"
std::string hex(const std::vector<uint8_t> &bytes);

// The functions below give the text of standard error when there is no object, and what is wrong
// with it when the object is damaged.

// The contents of .text as hex().
std::string text_of(const std::string &source, const std::vector<std::string> &options = {});

// The same of another section; several of one name are separated by " | ".
std::string section_of(const std::string &name, const std::string &source,
                       const std::vector<std::string> &options = {});

// The relocations of a section, a line for each: offset of the field (four hex digits), kind as
// nvobj8 names it, what it is about, "+" and the whole value that the item and its field hold, in
// hex: "0003 word far+0\n0008 page-byte .text+0x1234\n".
std::string relocations_of(const std::string &source, const std::vector<std::string> &options = {},
                           const std::string &section = ".text");

// Standard error.
std::string errors_of(const std::string &source, const std::vector<std::string> &options = {});
