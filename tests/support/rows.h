// Tables of statements and what must come of them, in a notation of their own: a row is
// "statement = bytes" or "statement = bytes / relocation stream", rows are parted by a bar or a
// line end, and a backslash parts the lines of a row's source.
#pragma once

#include "support/run.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>

struct Row {
    std::string source; // ends in a line end
    std::string expected;
};

inline std::string trimmed(const std::string &text)
{
    const size_t begin = std::min(text.find_first_not_of(" \n"), text.size());
    return text.substr(begin, text.find_last_not_of(" \n") + 1 - begin);
}

inline std::vector<Row> rows_of(std::string table)
{
    std::vector<Row> rows;
    std::ranges::replace(table, '\n', '|');
    std::istringstream stream(table);
    for (std::string text; std::getline(stream, text, '|');) {
        const size_t equals = text.find(" = ");
        std::string source = trimmed(text.substr(0, equals)) + "\n";
        std::ranges::replace(source, '\\', '\n');
        if (source != "\n") {
            rows.push_back({source, equals == text.npos ? "" : trimmed(text.substr(equals + 3))});
        }
    }
    return rows;
}

inline std::string hex(const std::vector<uint8_t> &bytes)
{
    std::string text;
    for (uint8_t byte : bytes) {
        text += text.empty() ? "" : " ";
        text += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
    }
    return text;
}

// All rows are assembled together behind the preamble, each in a section of its own at address 0,
// so that what a row gives doesn't depend on the rows ahead of it.
inline void expect_rows(const std::string &preamble, const std::vector<Row> &rows,
                        const std::vector<std::string> &options = {},
                        const std::string &attributes = "")
{
    std::string source = preamble;
    for (size_t i = 0; i < rows.size(); ++i) {
        source += "row" + std::to_string(i) + ": section " + attributes + "\n " + rows[i].source;
    }
    const Run run = assemble(source, options);
    ASSERT_TRUE(run.has_object) << run.err << source;
    for (size_t i = 0; i < rows.size(); ++i) {
        const std::string name = "row" + std::to_string(i);
        const auto section = std::ranges::find(run.object.sections, name, &ObjectSection::name);
        ASSERT_NE(section, run.object.sections.end()) << rows[i].source << "is not in the object";
        const bool with_stream = rows[i].expected.find('/') != std::string::npos;
        const std::string stream = " / " + hex(section->relocation_stream);
        EXPECT_EQ(trimmed(hex(section->contents) + (with_stream ? stream : "")), rows[i].expected)
            << rows[i].source;
    }
}

// A message and the statements that each give it and no other, parted like rows.
struct Fault {
    std::string message;
    std::string statements;
};

inline void expect_faults(const std::string &preamble, const std::vector<Fault> &faults,
                          const std::vector<std::string> &options = {})
{
    std::string source = preamble;
    auto line = std::ranges::count(preamble, '\n');
    std::string expected;
    for (const Fault &fault : faults) {
        for (const Row &row : rows_of(fault.statements)) {
            source += " " + row.source;
            expected += "#error nvasm8 prog.s:" + std::to_string(++line);
            expected += "\t" + fault.message + "\n";
        }
    }
    EXPECT_EQ(errors_of(source, options), expected) << source;
}
