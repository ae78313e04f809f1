// The options of two dashes that do something of their own: help, version, dependency rules.
#include "support/run.h"
#include <gtest/gtest.h>

TEST(LongOptions, AreExactWords)
{
    const auto help = run_program({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    for (const char *word : {"--explain", "--warn=error", "--depfile=FILE", "docs/manual.md"})
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
    const auto version = run_program({"-l", "--version", "-zz"});
    EXPECT_EQ(version.out, "nvasm8 4.8.1\n");
    EXPECT_EQ(version.status, 0);
    for (const char *word : {"--hel", "--helps", "--warn=", "--warn=errors", "--depfile",
                             "--depfile=", "--Explain", "+-help", "--l"}) {
        const auto run = run_program({word, "prog.s"}, {{"prog.s", "\tnop\n"}});
        EXPECT_EQ(run.status, 1) << word;
        EXPECT_NE(run.err.find(std::string("unknown option ") + word), std::string::npos) << word;
    }
    EXPECT_EQ(run_program({"--warn", "--explain"}).status, 0);
}

TEST(Depfile, IsMadeWithTheObject)
{
    const std::vector<SourceFile> files = {
        {"prog.s", "\tinclude \"a b.inc\"\n\tinclude \"x.inc\"\n\tinclude \"x.inc\"\n\tnop\n"},
        {"inc/a b.inc", "\tnop\n"},
        {"x.inc", "\tnop\n"},
        {"bad.s", "\tnope\n"},
        {"odd.s", "\tinclude \"a=b\"\n"},
        {"a=b", "\tnop\n"},
    };
    const auto rule =
        run_program({"--depfile=d", "-oc$ #%.o", "-iinc", "-hx.inc", "prog.s"}, files);
    EXPECT_EQ(rule.status, 0) << rule.err;
    EXPECT_EQ(rule.files.at("d"), "c$$\\ \\#\\%.o: \\\n  prog.s \\\n  x.inc \\\n  inc/a\\ b.inc\n"
                                  "\nx.inc:\n\ninc/a\\ b.inc:\n");
    const std::tuple<std::vector<std::string>, const char *, bool> failures[] = {
        {{"--depfile=d", "bad.s"}, "#error nvasm8 bad.s:1\tunknown instruction nope\n", false},
        {{"--depfile=d", "odd.s"}, "#error nvasm8 odd.s:0\tmake can't read the name a=b\n", false},
        {{"--depfile=no/d", "-iinc", "prog.s"}, "can't create no/d\n", false},
        {{"--depfile=x.inc", "-iinc", "prog.s"}, "can't create x.inc\n", false},
        {{"--depfile=d", "prog.s", "bad.s"}, "only one source file with --depfile option\n", false},
        {{"--depfile=d", "-ono/o", "-iinc", "prog.s"}, "can't create no/o\n", true},
    };
    for (const auto &[arguments, error, succeeds] : failures) {
        const auto run = run_program(arguments, files);
        EXPECT_EQ(run.status == 0, succeeds) << error;
        EXPECT_NE(run.err.find(error), std::string::npos) << run.err;
        EXPECT_EQ(run.files.count("d") + run.files.count("prog.o"), 0U) << error;
    }
}

TEST(Sources, MayBeginWithAByteOrderMark)
{
    const std::string mark = "\xEF\xBB\xBF";
    const auto run = assemble(mark + "label: nop\n\tinclude \"x.inc\"\n\tinclude \"y.inc\"\n", {},
                              {{"x.inc", mark + "\tldw x,#1\n"}, {"y.inc", mark}});
    EXPECT_EQ(run.err, "");
    EXPECT_TRUE(run.has_object);
    EXPECT_NE(errors_of("\tnop\n" + mark + "\tnop\n"), "");
}
