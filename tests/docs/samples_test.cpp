// The documents are true: every indented block of their text is run as it stands, in the order of
// the text, and what it shows is compared line by line. What a block is can be seen:
//
// - It begins with "$ ": a session, commands with what each prints. The first "cat" of a source or
//   layout shows what that must hold, and writes it.
// - It begins with a line of a listing: its source column is the source, where a missing line is
//   "mlist on". The text above may end in options: "With `-m`:".
// - The text above ends in a name: "`blink.s`:". The block is that file.
// - It has commands for who has the source tree, cmake and scripts: these are only looked up.
//
// A block that is none of these fails. A chapter ("## ") of the manual has a directory of its own,
// any other document has one for all of it, with a copy of examples/. In what is printed a tab is
// as good as blanks to the next column of 8, and blanks at the ends of lines don't count.
#include "support/run.h"
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>

using Lines = std::vector<std::string>;

struct Block {
    size_t line = 0;  // where it begins in the document
    std::string lead; // the last line of text above, if no other block stands between
    Lines lines;      // without the indentation
};

struct Step {
    size_t line = 0;
    std::string command;
    Lines expected;
    bool is_shown = true; // what it prints counts
};

static const std::filesystem::path TREE = std::filesystem::path(NVASM8_SOURCE_DIR) / "..";
static constexpr size_t INDENTATION = 4;
static constexpr size_t SOURCE_COLUMN = 25;

static Lines lines_of(const std::string &text)
{
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

static std::string joined(const Lines &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + "\n";
    return text;
}

static std::string as_seen(const std::string &line)
{
    std::string seen;
    for (char c : line)
        seen.append(c == '\t' ? 8 - seen.size() % 8 : 1, c == '\t' ? ' ' : c);
    return seen.substr(0, seen.find_last_not_of(" \r") + 1);
}

static Lines as_seen(Lines lines)
{
    for (std::string &line : lines)
        line = as_seen(line);
    while (!lines.empty() && lines.back().empty())
        lines.pop_back();
    return lines;
}

static bool is_indented(const std::string &line)
{
    return line.starts_with(std::string(INDENTATION, ' '));
}

// The chapters of a document; where it isn't cut, all of it is one.
static std::vector<std::vector<Block>> blocks_of(const Lines &document, bool cut_at_chapters)
{
    std::vector<std::vector<Block>> chapters(1);
    std::string lead;
    for (size_t i = 0; i < document.size(); ++i) {
        if (cut_at_chapters && document[i].starts_with("## "))
            chapters.emplace_back();
        if (!is_indented(document[i])) {
            EXPECT_FALSE(document[i].starts_with("```")) << "line " << i + 1 << ": indent samples";
            lead = document[i].empty() ? lead : document[i];
            continue;
        }
        Block block{i + 1, lead, {}};
        for (; i < document.size() && (document[i].empty() || is_indented(document[i])); ++i)
            block.lines.push_back(document[i].empty() ? "" : document[i].substr(INDENTATION));
        --i;
        while (block.lines.back().empty())
            block.lines.pop_back();
        chapters.back().push_back(block);
        lead.clear();
    }
    return chapters;
}

// What stands in the back quotes that close the line ahead of a block, with its colon.
static std::string closing_quote(const std::string &lead)
{
    std::smatch found;
    return std::regex_search(lead, found, std::regex("`([^`]+)`:$")) ? found[1].str() : "";
}

static bool is_listing_line(const std::string &line)
{
    return std::regex_search(line, std::regex("^ {0,3}[0-9]+( {2}|$)"));
}

static size_t number_of(const std::string &line)
{
    return std::stoul(line);
}

static std::string write_file(const std::string &name, const Lines &lines)
{
    return "mkdir -p $(dirname " + name + ")\ncat >" + name + " <<'END OF FILE'\n" + joined(lines) +
           "END OF FILE\n";
}

static std::vector<Step> listing_steps(const Block &block)
{
    Lines source;
    for (const std::string &line : block.lines) {
        // An expansion has the number of its call.
        if (!is_listing_line(line) || number_of(line) <= source.size())
            continue;
        source.resize(number_of(line) - 1, "        mlist on");
        source.push_back(line.size() > SOURCE_COLUMN ? line.substr(SOURCE_COLUMN) : "");
    }
    const std::string quote = closing_quote(block.lead);
    const std::string options = quote.starts_with('-') ? quote : "";
    return {{block.line, write_file("sample.s", source), {}},
            {block.line, "nvasm8 " + options + " -l sample.s", {}, false},
            {block.line, "cat sample.ls", block.lines}};
}

static std::vector<Step> session_steps(const Block &block)
{
    std::vector<Step> steps;
    bool continues = false;
    for (size_t i = 0; i < block.lines.size(); ++i) {
        const std::string &line = block.lines[i];
        if (line.starts_with("$ "))
            steps.push_back({block.line + i, line.substr(2), {}});
        else if (continues)
            steps.back().command += "\n" + line;
        else
            steps.back().expected.push_back(line);
        continues = (continues || line.starts_with("$ ")) && !line.empty() &&
                    (line.back() == '\\' || line.back() == '|');
    }
    std::smatch found;
    for (Step &step : steps) {
        while (!step.expected.empty() && step.expected.back().empty())
            step.expected.pop_back();
        if (std::regex_match(step.command, found, std::regex("cat (\\S+\\.(s|inc|layout|dirs))"))) {
            const std::string name = found[1];
            step.command = "if ! [ -e " + name + " ]; then " + write_file(name, step.expected) +
                           "fi; cat " + name;
        }
    }
    return steps;
}

static bool is_for_the_tree(const Block &block)
{
    for (const std::string &line : block.lines) {
        const std::string word = line.substr(0, line.find(' '));
        if (word != "cmake" && !std::filesystem::is_regular_file(TREE / word))
            return false;
    }
    return true;
}

static std::vector<Step> steps_of(const Block &block)
{
    const std::string quote = closing_quote(block.lead);
    if (block.lines[0].starts_with("$ "))
        return session_steps(block);
    if (is_listing_line(block.lines[0]))
        return listing_steps(block);
    if (std::regex_match(quote, std::regex("Makefile|[\\w./]+\\.\\w+")))
        return {{block.line, write_file(quote, block.lines), {}}};
    if (!is_for_the_tree(block))
        ADD_FAILURE() << "no rule takes the block at line " << block.line << ":\n"
                      << joined(block.lines);
    return {};
}

// The programs under their names, a day that doesn't change, and a programmer without a board.
static std::string preparation()
{
    return "exec 2>&1\nmkdir .bin && cp -r '" + (TREE / "examples").string() +
           "' .\n"
           "cat >.bin/stm8flash <<'END'\n#!/bin/sh\nfor image; do :; done\ntest -s $image\nEND\n"
           "chmod +x .bin/stm8flash\n"
           "export SOURCE_DATE_EPOCH=1798761600 LC_ALL=C PATH=$PWD/.bin:${NVASM8%/*}:$PATH\n";
}

// What each step printed, and its status in a line of its own.
static std::vector<Lines> run_steps(const std::vector<Step> &steps)
{
    std::string script = preparation();
    for (const Step &step : steps) {
        // Files have coarse clocks, and who reads types more slowly.
        if (step.command.starts_with("touch"))
            script += "sleep 0.05\n";
        script += step.command + "\nprintf '\\n@@%d\\n' $?\n";
    }
    std::vector<Lines> outputs(1);
    for (const std::string &line : lines_of(run_shell(script).out)) {
        outputs.back().push_back(line);
        if (line.starts_with("@@"))
            outputs.emplace_back();
    }
    outputs.back().emplace_back("@@cut off");
    outputs.resize(steps.size(), {"@@not run"});
    return outputs;
}

static void expect_steps(const std::string &document, const std::vector<Step> &steps)
{
    const std::vector<Lines> outputs = run_steps(steps);
    for (size_t i = 0; i < steps.size(); ++i) {
        Lines output = outputs[i];
        const std::string status = output.back().substr(2);
        output.pop_back();
        output = as_seen(output);
        if (!steps[i].is_shown)
            continue;
        const std::string place =
            document + ":" + std::to_string(steps[i].line) + ": " + steps[i].command;
        EXPECT_EQ(joined(output), joined(as_seen(steps[i].expected))) << place;
        // What fails says so.
        EXPECT_TRUE(status == "0" || !output.empty()) << place << ": status " << status;
    }
}

static bool has_simulator()
{
    return run_shell("command -v sstm8").status == 0;
}

// Gives the number of blocks that were run.
static size_t expect_document(const std::string &name, bool cut_at_chapters = false)
{
    static const bool simulates = has_simulator();
    std::ostringstream text;
    text << std::ifstream(TREE / name).rdbuf();
    size_t count = 0;
    for (const std::vector<Block> &chapter : blocks_of(lines_of(text.str()), cut_at_chapters)) {
        std::vector<Step> steps;
        for (const Block &block : chapter) {
            count++;
            for (const Step &step : steps_of(block)) {
                if (simulates || step.command.find("sstm8") == std::string::npos)
                    steps.push_back(step);
            }
        }
        if (!steps.empty())
            expect_steps(name, steps);
    }
    return count;
}

TEST(Documents, ManualIsAsTheProgramsAre)
{
    EXPECT_GE(expect_document("docs/manual.md", true), 70U);
}

TEST(Documents, OthersAreAsTheProgramsAre)
{
    EXPECT_GE(expect_document("README.md"), 5U);
    EXPECT_GE(expect_document("examples/README.md"), 2U);
    EXPECT_GE(expect_document("docs/tutorial.md"), 12U);
}

// The cells of a row of a table; an escaped bar doesn't occur.
static Lines cells_of(const std::string &row)
{
    Lines cells;
    std::istringstream stream(row.substr(1));
    for (std::string cell; std::getline(stream, cell, '|');)
        cells.push_back(cell);
    return cells;
}

// A table's second column says in nvasm8's words what the first says in another assembler's.
TEST(Documents, WordsForThoseOfOtherAssemblersAssemble)
{
    std::ostringstream text;
    text << std::ifstream(TREE / "docs/from-other-assemblers.md").rdbuf();
    const std::regex quoted("`([^`]+)`");
    size_t count = 0;
    for (const std::string &row : lines_of(text.str())) {
        if (!row.starts_with("| `"))
            continue;
        const std::string cell = cells_of(row)[1];
        if (cell.find('`') == std::string::npos)
            continue;
        // Names that the rows use and don't define.
        std::string source = "SIZE: set 16\n xref reset\nlabel: nop\n";
        if (cell.find("SIZE:") != std::string::npos)
            source.clear();
        for (std::sregex_iterator line(cell.begin(), cell.end(), quoted), end; line != end; ++line)
            source += (*line)[1].str() + "\n";
        EXPECT_EQ(assemble(source, {}, {{"regs.inc", " nop\n"}}).err, "") << row;
        count++;
    }
    EXPECT_GE(count, 70U);
}
