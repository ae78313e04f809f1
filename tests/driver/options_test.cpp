// The command line: how words become options, file arguments and include directories.
#include "base/number.h"
#include "support/run.h"
#include <gtest/gtest.h>

using Words = std::vector<std::string>;

TEST(Numbers, ReadAsFarAsTheirBaseGoes)
{
    static const std::tuple<const char *, uint32_t, uint32_t, const char *> cases[] = {
        {"089", 1, 73, ""},        {"0X1Fz", 1, 31, "z"}, {" -5", 1, 0xfffffffb, ""},
        {"9", 2, 9, ""},           {"1a", 10, 1, "a"},    {"0x1g", 16, 1, "g"},
        {"4294967297", 10, 1, ""}, {"+0x", 1, 0, ""},     {"zZ", 36, 35 * 36 + 35, ""},
    };
    for (const auto &[text, base, expected, rest] : cases) {
        uint32_t value;
        EXPECT_STREQ(parse_number(text, &value, base), rest) << text;
        EXPECT_EQ(value, expected) << text;
    }
}

TEST(CommandLine, BadOnesEndTheRun)
{
    static const std::pair<Words, const char *> cases[] = {
        {{"+help"}, "nvasm8: unknown option +help\n"},
        {{"-lq", "prog.s"}, "nvasm8: unknown option -q\n"},
        {{"-"}, "can't open -\n"},
        {{"--", "-x"}, "can't open -x\n"},
        {{"-fz"}, "invalid number: z\n"},
        {{"-f", "12q4"}, "invalid number: 12q\n"},
        {{"-vers"}, "NOVRIN Software STM8 Macro-Assembler V4.8.1 - 14 Dec 2023 - Win32-F\n"},
        {{"+l", "x", "-o", "x", "a.s", "b.s"},
         "#error nvasm8 a.s:0 only one source file with -o option\n"},
        {{"-ge", "+lx", "a.s", "b.s"}, "a.s:1 only one source file with +l option\n"},
        {{"+e", "no/dir", "a.s"}, "can't create no/dir"},
        {Words(129, "-dx"), "argument list overflow\n"},
    };
    for (const auto &[arguments, error] : cases) {
        const auto run = run_program(arguments);
        EXPECT_EQ(run.err, error);
        EXPECT_EQ(run.status, 1) << error;
    }
    EXPECT_EQ(run_program(Words(128, "-i."), {}, {"NVLIB=a"}).err, "too many pathnames\n");
}

TEST(CommandLine, UsageComesWithoutWorkOnly)
{
    const auto usage = run_program({});
    EXPECT_EQ(usage.status, 1);
    EXPECT_TRUE(usage.err.starts_with("NOVRIN Software STM8 Macro-Assembler V4.8.1\n"
                                      "usage: nvasm8 [options] files\n"
                                      "    -a   absolute assembler\n"));
    EXPECT_EQ(usage.err.find("verilog"), std::string::npos);
    EXPECT_EQ(run_program({"-v", "-helpful"}).err, usage.err);
    EXPECT_EQ(run_program({"*.none"}).err, usage.err);
    const auto idle = run_program({"-v", "*.none"});
    EXPECT_TRUE(idle.err.empty() && idle.status == 0) << idle.err;
}

TEST(CommandLine, OptionsShareWordsAndTakeTheirValues)
{
    for (const Words &options : {Words{"-f0x10"}, Words{"-f", "020"}, Words{"-plf16"}})
        EXPECT_EQ(text_of(" ds.b 1\n", options), "10") << options[0];
    const auto run = assemble("foo equ 3\n dc.b foo\n", {"-mlofoo.x.y"});
    EXPECT_TRUE(run.files.contains("foo.x.y") && run.files.contains("foo.x.ls")) << run.err;
}

TEST(CommandLine, WildcardsGiveNamesInLowerCase)
{
    const auto run =
        run_program({"-v", "d/?.s", "none*", "--", "d/B*s*"},
                    {{"d/B.s", " nop\n"}, {"d/a.s", " nop\n"}, {"d/..s", ""}, {"d/bb.s", ""}});
    EXPECT_EQ(run.err, "d/b.s:\ncan't open d/b.s\nd/a.s:\n"
                       "#error nvasm8 d/a.s:1\tcan't open d/b.s\n"
                       "--:\ncan't open --\nd/b.s:\ncan't open d/b.s\n");
}

TEST(IncludeDirectories, AreSearchedInTheirOrder)
{
    std::vector<SourceFile> files = {{"prog.s", " include \"f\"\n"},
                                     {"list", "# r\n 'r/s/' q#x list\n"},
                                     {"long", std::string(10239, 'x')},
                                     {"open", "q\nr/s \"q\n"},
                                     {"empty", "# nothing\n"}};
    for (int i = 0; i < 130; ++i)
        files.push_back({"many/" + std::to_string(i) + "/g", ""});
    for (const char *name : {"p/z/f", "p/b/c/f", "p/.h/f", "q/f", "r/s/f"})
        files.push_back({name, ""});
    static const std::tuple<Words, const char *, const char *> cases[] = {
        {{"-i", "p"}, "q", "prog.o: prog.s p/b/c/f\n"},
        {{"-inone/"}, "none;;q\\;p", "prog.o: prog.s q/f\n"},
        {{"-ip/z/", "-i", "q"}, "", "prog.o: prog.s p/z/f\n"},
        {{"-ilist"}, "q", "prog.o: prog.s r/s/f\n"},
        {{"-ilong", "-iq"}, "", "line 1 too long in file long\nprog.o: prog.s q/f\n"},
        {{"-iopen", "-iq"}, "", "unmatched \" in: r/s \"q\n\nprog.o: prog.s q/f\n"},
        {{"-iempty", "-iq"}, "", "prog.o: prog.s q/f\n"},
        {{"-imany", "-iq"}, "", "prog.o: prog.s q/f\n"},
        {{}, "", "prog.o: prog.s\n"},
    };
    for (const auto &[options, library, output] : cases) {
        Words arguments = options;
        arguments.insert(arguments.end(), {"-md", "prog.s"});
        EXPECT_EQ(run_program(arguments, files, {std::string("NVLIB=") + library}).out, output);
    }
}
