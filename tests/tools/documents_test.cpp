// What is written down beside the code and has to keep up with it: the list of instructions, the
// words that editors know, the options that the shell completes.
#include "instruction_list/instruction_list.h"
#include "support/run.h"
#include "target/instruction_table.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>

static const std::filesystem::path ROOT = std::filesystem::path(NVASM8_SOURCE_DIR).parent_path();

static std::string text_of_file(const std::filesystem::path &path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    EXPECT_NE(text.str(), "") << path;
    return text.str();
}

static std::vector<std::string> matches_of(const std::string &text, const std::string &expression)
{
    const std::regex regex(expression);
    std::vector<std::string> found;
    for (std::sregex_iterator it(text.begin(), text.end(), regex), end; it != end; ++it)
        found.push_back((*it)[1]);
    return found;
}

// The words of all tables of directives.
static std::set<std::string> directives()
{
    std::set<std::string> words;
    for (const auto &file : std::filesystem::recursive_directory_iterator(ROOT / "src")) {
        if (file.path().extension() != ".cpp")
            continue;
        const std::string text = text_of_file(file.path());
        if (text.find("DirectiveRow ") == std::string::npos)
            continue;
        for (const std::string &word : matches_of(text, R"rx(\{"([^"]+)", [a-z_]+,)rx"))
            words.insert(word);
    }
    return words;
}

static std::set<std::string> mnemonics()
{
    return {mnemonic_names.begin(), mnemonic_names.end()};
}

static std::set<std::string> parted(const std::string &text, const std::string &expression)
{
    const auto words = matches_of(text, expression);
    return {words.begin(), words.end()};
}

TEST(Documents, ListOfInstructionsIsThatOfTheTable)
{
    EXPECT_TRUE(text_of_file(ROOT / "docs/instructions.md") == instruction_list())
        << "to be made anew: build/nvasm8_instruction_list >docs/instructions.md";
}

TEST(Editors, KnowEveryMnemonicAndDirective)
{
    EXPECT_GT(directives().size(), 100U);
    std::string grammar = text_of_file(ROOT / "editors/vscode/syntaxes/nvasm8.tmLanguage.json");
    std::erase(grammar, '\\');
    const auto listed = [&grammar](const std::string &scope) {
        const auto lists =
            matches_of(grammar, scope + R"rx(",\s+"match": "[^\n]*?\(\?:([a-z#][^()]*)\))rx");
        return lists.empty() ? "" : lists[0];
    };
    const std::string WORD = "([^|]+)";
    EXPECT_EQ(parted(listed("keyword.mnemonic.nvasm8"), WORD), mnemonics());
    EXPECT_EQ(parted(listed("keyword.control.directive.nvasm8"), WORD), directives());

    const std::string vim = text_of_file(ROOT / "editors/vim/syntax/nvasm8.vim");
    const auto keywords = [&vim](const std::string &group) {
        std::set<std::string> words;
        for (const std::string &line : matches_of(vim, "syntax keyword " + group + "([^\n]*)"))
            words.merge(parted(line, "([^ ]+)"));
        return words;
    };
    EXPECT_EQ(keywords("nvasm8Mnemonic"), mnemonics());
    EXPECT_EQ(keywords("nvasm8Directive"), directives());
}

// What the expression of a problem matcher takes out of the line.
static std::vector<std::string> problem(const std::string &json, size_t matcher,
                                        const std::string &line)
{
    std::string expression = matches_of(json, R"rx("regexp": "([^"]*)")rx").at(matcher);
    expression = std::regex_replace(expression, std::regex(R"(\\\\)"), R"(\)");
    std::smatch parts;
    std::vector<std::string> found;
    if (std::regex_match(line, parts, std::regex(expression)))
        found.assign(parts.begin() + 1, parts.end());
    return found;
}

TEST(Editors, FindProblemsInBothForms)
{
    using Parts = std::vector<std::string>;
    const std::string json = text_of_file(ROOT / "editors/vscode/package.json");
    const auto first_line = [](const std::string &text) { return text.substr(0, text.find('\n')); };
    const std::string plain = first_line(errors_of(" nop\n ld a,(1,a)\n"));
    const std::string other = first_line(errors_of(" nop\n ld a,(1,a)\n", {"-ge"}));
    EXPECT_EQ(problem(json, 0, plain), (Parts{"error", "prog.s", "2", "bad index register"}));
    EXPECT_EQ(problem(json, 1, other), (Parts{"prog.s", "2", "1", "", "bad index register"}));
    EXPECT_EQ(problem(json, 0, "#warning nvasm8 a b.s:7\ttext: 1"),
              (Parts{"warning", "a b.s", "7", "text: 1"}));
    EXPECT_EQ(problem(json, 1, "a.s:7:1: warning: text"),
              (Parts{"a.s", "7", "1", "warning", "text"}));
    EXPECT_EQ(problem(json, 0, other), Parts{});
    EXPECT_EQ(problem(json, 1, plain), Parts{});
}

// The options that a program lists, among those that bash completes.
TEST(Completion, KnowsEveryOption)
{
    const auto completed = [](const std::string &program) {
        const auto path = ROOT / "share/bash-completion/completions" / program;
        return parted(text_of_file(path), R"(([-+][-a-zA-Z0-9]+=?))");
    };
    const auto expect_all = [&](const std::string &program, const std::string &help,
                                const std::string &expression) {
        const auto listed = parted(help, expression);
        EXPECT_GT(listed.size(), 5U) << help;
        for (const std::string &option : listed)
            EXPECT_TRUE(completed(program).contains(option)) << program << " " << option;
    };
    const auto assembler = run_program({"-help"});
    expect_all("nvasm8", assembler.out + assembler.err, "\n    ([-+][a-z]+)");
    expect_all("nvobj8", run_viewer({"--help"}).out, "\n  (-[a-z])  ");
    const auto linker = run_shell("$NVLINK8 --help");
    expect_all("nvlink8", linker.out, "\n +(-[-a-zA-Z]+)");
}
