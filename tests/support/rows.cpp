#include "support/rows.h"

#include <algorithm>
#include <sstream>

std::string trimmed(const std::string &text)
{
    const size_t begin = std::min(text.find_first_not_of(" \n"), text.size());
    return text.substr(begin, text.find_last_not_of(" \n") + 1 - begin);
}

std::vector<Row> rows_of(std::string table)
{
    std::vector<Row> rows;
    std::ranges::replace(table, '\n', '|');
    std::istringstream stream(table);
    for (std::string text; std::getline(stream, text, '|');) {
        const size_t equals = text.find(" = ");
        std::string source = trimmed(text.substr(0, equals)) + "\n";
        std::ranges::replace(source, '\\', '\n');
        if (source != "\n")
            rows.push_back({source, equals == text.npos ? "" : trimmed(text.substr(equals + 3))});
    }
    return rows;
}

void expect_rows(const std::string &preamble, const std::vector<Row> &rows,
                 const std::vector<std::string> &options, const std::string &attributes)
{
    std::string source = preamble;
    for (size_t i = 0; i < rows.size(); ++i)
        source += "row" + std::to_string(i) + ": section " + attributes + "\n " + rows[i].source;
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

void expect_faults(const std::string &preamble, const std::vector<Fault> &faults,
                   const std::vector<std::string> &options)
{
    std::string source = preamble;
    auto line = std::ranges::count(preamble, '\n');
    std::string messages;
    for (const Fault &fault : faults) {
        for (const Row &row : rows_of(fault.statements)) {
            source += " " + row.source;
            messages += std::to_string(++line) + " = " + fault.message + "\n";
        }
    }
    EXPECT_EQ(errors_of(source, options), reported(messages)) << source;
}

std::string reported(const std::string &table)
{
    std::string text;
    for (const Row &row : rows_of(table)) {
        std::string position = trimmed(row.source);
        if (position.find(':') == position.npos)
            position.insert(0, "prog.s:");
        text += "#error nvasm8 " + position + "\t" + row.expected + "\n";
    }
    return text;
}
