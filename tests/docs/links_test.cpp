// Links between the documents lead to a file, and to a heading where they name one.
#include <cctype>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <set>

namespace fs = std::filesystem;

static const fs::path TREE = fs::path(NVASM8_SOURCE_DIR) / "..";

// As it is made of a heading: lower case, without punctuation, dashes for blanks.
static std::string anchor_of(const std::string &heading)
{
    std::string anchor;
    for (char c : heading) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '-')
            anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        else if (c == ' ')
            anchor += '-';
    }
    return anchor;
}

static std::set<std::string> anchors_in(const fs::path &document)
{
    std::set<std::string> anchors;
    std::ifstream stream(document);
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with('#'))
            anchors.insert(anchor_of(line.substr(line.find(' ') + 1)));
    }
    return anchors;
}

static void expect_links(const fs::path &document)
{
    const std::regex link("\\]\\((?!http)([^)#\\s]*)#?([^)\\s]*)\\)");
    std::ifstream stream(document);
    for (std::string line; std::getline(stream, line);) {
        for (std::sregex_iterator found(line.begin(), line.end(), link), end; found != end;
             ++found) {
            const std::string name = (*found)[1];
            const std::string anchor = (*found)[2];
            const fs::path target = name.empty() ? document : document.parent_path() / name;
            EXPECT_TRUE(fs::exists(target)) << document << ": " << name;
            EXPECT_TRUE(anchor.empty() || anchors_in(target).contains(anchor))
                << document << ": " << name << "#" << anchor;
        }
    }
}

TEST(Documents, LinksLeadSomewhere)
{
    for (const fs::path &folder : {TREE, TREE / "docs", TREE / "examples"}) {
        for (const auto &entry : fs::directory_iterator(folder)) {
            if (entry.path().extension() == ".md")
                expect_links(entry.path());
        }
    }
}
