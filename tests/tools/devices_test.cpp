// The device layouts, held against the facts of the data sheets.
#include "support/rows.h"
#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

static const fs::path DEVICES = fs::path(NVASM8_SOURCE_DIR) / "../share/devices";

// Part, last address of RAM, EEPROM or "-", last address of flash, which begins at 8000.
static const char *const FACTS = R"(
stm8af526?  17ff 4000-43ff  ffff | stm8af528?  17ff 4000-47ff 17fff
stm8af52a?  17ff 4000-47ff 27fff | stm8af6213   3ff 4000-427f  8fff
stm8af6223   3ff 4000-427f  9fff | stm8af6223a  3ff 4000-427f  9fff
stm8af6226   7ff 4000-427f  9fff | stm8af624?   7ff 4000-41ff  bfff
stm8af6266   7ff 4000-43ff  ffff | stm8af6268   7ff 4000-43ff  ffff
stm8af6269  17ff 4000-43ff  ffff | stm8af628?  17ff 4000-47ff 17fff
stm8af62a?  17ff 4000-47ff 27fff | stm8al313?   7ff 1000-13ff  9fff
stm8al314?   7ff 1000-13ff  bfff | stm8al316?   7ff 1000-13ff  ffff
stm8al318?   fff 1000-17ff 17fff | stm8al31e8?  fff 1000-17ff 17fff
stm8al3l4?   7ff 1000-13ff  bfff | stm8al3l6?   7ff 1000-13ff  ffff
stm8al3l8?   fff 1000-17ff 17fff | stm8al3le8?  fff 1000-17ff 17fff
stm8l001j3   5ff -          9fff | stm8l050j3   3ff 1000-10ff  9fff
stm8l051f3   3ff 1000-10ff  9fff | stm8l052c6   7ff 1000-10ff  ffff
stm8l052r8   fff 1000-10ff 17fff | stm8l101?2   5ff -          8fff
stm8l101?3   5ff -          9fff | stm8l101f1   5ff -          87ff
stm8l151?2   3ff 1000-10ff  8fff | stm8l151?3   3ff 1000-10ff  9fff
stm8l151?4   7ff 1000-13ff  bfff | stm8l151?6   7ff 1000-13ff  ffff
stm8l151?8   fff 1000-17ff 17fff | stm8l152?4   7ff 1000-13ff  bfff
stm8l152?6   7ff 1000-13ff  ffff | stm8l152?8   fff 1000-17ff 17fff
stm8l162?8   7ff 1000-17ff 17fff | stm8s001j3   3ff 4000-407f  9fff
stm8s003?3   3ff 4000-407f  9fff | stm8s005?6   7ff 4000-407f  ffff
stm8s007c8  17ff 4000-407f 17fff | stm8s103?3   3ff 4000-427f  9fff
stm8s103f2   3ff 4000-427f  8fff | stm8s105?4   7ff 4000-43ff  bfff
stm8s105?6   7ff 4000-43ff  ffff | stm8s207?6  17ff 4000-43ff  ffff
stm8s207c8  17ff 4000-45ff 17fff | stm8s207cb  17ff 4000-47ff 27fff
stm8s207k8  17ff 4000-43ff 17fff | stm8s207m8  17ff 4000-47ff 17fff
stm8s207mb  17ff 4000-47ff 27fff | stm8s207r8  17ff 4000-45ff 17fff
stm8s207rb  17ff 4000-47ff 27fff | stm8s207s8  17ff 4000-45ff 17fff
stm8s207sb  17ff 4000-45ff 27fff | stm8s208?8  17ff 4000-47ff 17fff
stm8s208?b  17ff 4000-47ff 27fff | stm8s208c6  17ff 4000-47ff  ffff
stm8s208r6  17ff 4000-47ff  ffff | stm8s208s6  17ff 4000-45ff  ffff
stm8s903?3   3ff 4000-427f  9fff | stm8splnb1   3ff 4000-427f  9fff
stm8tl5??4   fff -          bfff
)";

static std::string region(const char *name, unsigned first, unsigned last, const char *kind)
{
    std::array<char, 80> line;
    std::snprintf(line.data(), line.size(), "--region %s=0x%X-0x%X,%s\n", name, first, last, kind);
    return line.data();
}

static std::string layout_of(unsigned ram, const std::string &eeprom, unsigned flash)
{
    std::string text = region("zpage", 0, 0xFF, "ram") + region("ram", 0x100, ram, "ram");
    unsigned first = 0;
    unsigned last = 0;
    if (std::sscanf(eeprom.c_str(), "%x-%x", &first, &last) == 2)
        text += region("eeprom", first, last, "rom");
    text += region("option", 0x4800, 0x487F, "rom");
    text += region("flash", 0x8000, std::min(flash, 0xFFFFU), "rom");
    return flash > 0xFFFF ? text + region("far", 0x10000, flash, "rom") : text;
}

// The words of a layout; its comment is for its reader.
static std::string words_of(const fs::path &path)
{
    std::ifstream file(path);
    std::string text;
    for (std::string line; std::getline(file, line);)
        text += line.starts_with("#") ? "" : line + "\n";
    return text;
}

TEST(Devices, LayoutsAreThoseOfTheDataSheets)
{
    std::set<std::string> unknown;
    for (const auto &entry : fs::directory_iterator(DEVICES))
        unknown.insert(entry.path().filename());
    std::string facts = FACTS;
    std::replace(facts.begin(), facts.end(), '|', '\n');
    std::istringstream rows(facts);
    std::string part;
    std::string eeprom;
    unsigned ram = 0;
    unsigned flash = 0;
    while (rows >> part >> std::hex >> ram >> eeprom >> flash) {
        std::replace(part.begin(), part.end(), '?', '_');
        EXPECT_EQ(unknown.erase(part + ".layout"), 1U) << part;
        EXPECT_EQ(words_of(DEVICES / (part + ".layout")), layout_of(ram, eeprom, flash)) << part;
    }
    EXPECT_TRUE(unknown.empty()) << *unknown.begin();
}

TEST(Devices, PartNumbersFindTheClosestLayout)
{
    const std::vector<std::pair<std::string, std::string>> cases{
        {"stm8s103f3p6", "stm8s103_3"},   {"STM8S103F2U6", "stm8s103f2"},
        {"stm8s208sbt6", "stm8s208_b"},   {"stm8s208mbt6b", "stm8s208_b"},
        {"stm8af6223aay", "stm8af6223a"}, {"stm8af6223pcx", "stm8af6223"},
        {"stm8s105?6", "stm8s105_6"}};
    for (const auto &[part, layout] : cases) {
        auto run = run_shell("\"$NVASM8\" prog.s && \"$NVLINK8\" -L " + DEVICES.string() +
                                 " --device '" + part + "' --depfile rule -o x.hex prog.o",
                             {{"prog.s", " nop\n"}});
        EXPECT_NE(run.files["rule"].find("/" + layout + ".layout"), std::string::npos)
            << part << ": " << run.files["rule"] << run.err;
    }
    const std::string linker = "\"$NVLINK8\" -L " + DEVICES.string() + " -o x.hex prog.o --device ";
    EXPECT_EQ(run_shell(linker + "stm8s1").status, 1);
    EXPECT_EQ(run_shell(linker + "STM8S130F3P6").err,
              "nvlink8: error: --device STM8S130F3P6: no layout of this name; is stm8s103?3 meant? "
              "--device help lists those there are\n");
}
