// The dependency rule of -md and the Verilog file of +v.
#include "support/run.h"
#include <gtest/gtest.h>

TEST(DependencyRule, BreaksBeforeANameThatPassesColumn78)
{
    const std::string n63(63, 'n'), n64(64, 'n'), blank = std::string(59, 'n') + " ";
    static const std::tuple<std::vector<std::string>, std::string, std::string> cases[] = {
        {{n63}, n63, ""},
        {{n64}, "\\\n " + n64, ""},
        {{n63, "o"}, n63 + " \\\n o", ""},
        {{n64, "o", "n", "o"}, "\\\n " + n64 + " o n", ""},
        // The quotes count with the name that follows.
        {{blank}, "\"" + blank + "\"", ""},
        {{blank, "o"}, "\"" + blank + "\" \\\n o", ""},
        {{"none", "o"}, "o", ""},
        {{"in dir", "o"}, "\"sub/in dir\" o", ""},
        {{"o"}, "h o", "-hh"}, // the main source is opened first, whatever is read first
    };
    for (const auto &[names, rule, option] : cases) {
        std::string source;
        std::vector<SourceFile> files = {{"sub/in dir", ""}, {"h", ""}};
        for (const std::string &name : names) {
            source += " include \"" + name + "\"\n";
            if (name != "none" && name != "in dir")
                files.push_back({name, " nop\n"});
        }
        std::vector<std::string> options = {"-md", "-isub"};
        if (!option.empty())
            options.push_back(option);
        EXPECT_EQ(assemble(source, options, files).out, "prog.o: prog.s " + rule + "\n");
    }
}

TEST(VerilogFile, ConstantsOfFuna)
{
    const std::string error = "#error nvasm8 prog.s:2\tsyntax error\n";
    static const std::pair<std::string, std::string> cases[] = {
        {"here", "here = 16'h8000;\n"},
        {"L,$100+2", "L = 16'h0102;\n"},
        {"L,1+2-3 rest", "L = 16'h0003;\n"},
        {"L , 0 - 1", "L = 16'hffffffff;\n"},
        {".x$1+%11", ".x$1 = 16'h8003;\n"},
        {"L,*-end", "L = 16'hfffffffe;\n"},
        {"L,end-*", "L = 16'h0002;\n"},
        {"", ""}, // "syntax error"
        {"5", ""},
        {std::string(250, 'n') + ",5", std::string(250, 'n') + " = 16"}, // cut at 255 characters
    };
    for (const auto &[operands, line] : cases) {
        const std::string source = " org $8000\n funa " + operands + "\n nop\n nop\nend:\n";
        const auto run = assemble(source, {"+vver", "-b"});
        EXPECT_EQ(run.files.at("ver"), line);
        EXPECT_EQ(run.err, line.empty() ? error : "") << operands;
        EXPECT_EQ(run.listing.find("funa"), run.listing.npos);
        EXPECT_EQ(assemble(source).err, run.err); // parsed all the same without a file
    }
}

TEST(VerilogFile, TakesABadOperandForZero)
{
    const auto run = assemble(" funa L,(3)\n", {"+vver", "-b"});
    EXPECT_EQ(run.err, "#error nvasm8 prog.s:1\tsyntax error\n");
    EXPECT_EQ(run.files.at("ver"), "L = 16'h0000;\n");
}

TEST(VerilogFile, IsWrittenByThePassesThatList)
{
    // Lines of macro bodies go there as they are recorded, nolist or not.
    const std::string source =
        " nolist\nm: macro\n&body\n nop\n endm\n if 0\n&no\n endif\n ld a,v\n"
        "& %d \\1\n funa V,l\nl: m\nv: equ 5\n";
    for (const char *option : {"-l", "-b"})
        EXPECT_EQ(assemble(source, {"+vver", option}).files.at("ver"),
                  "body\n %d \\1\nV = 16'h0002;\n");
    EXPECT_EQ(errors_of("&a\n"), "#error nvasm8 prog.s:1\tbad comment delimiter\n");
    // A file that can't be created makes such lines ordinary again.
    EXPECT_EQ(assemble("&a\n", {"+vno/ver", "-b"}).err,
              "#error nvasm8 prog.s:0 can't create no/ver\n"
              "#error nvasm8 prog.s:1\tbad comment delimiter\n");
}
