// How explained messages and warnings come: order, forms, and what they leave alone.
#include "support/run.h"
#include <gtest/gtest.h>

// Undefined symbols are reported ahead of what the passes find, and some errors twice.
static const char *const disorder = " mov a,#5\n jra none\n nope\n";

TEST(Explain, TellsOnceAndInTheOrderOfTheSource)
{
    const auto plain = assemble(disorder);
    EXPECT_EQ(plain.err, "#error nvasm8 prog.s:3\tunknown instruction nope\n"
                         "#error nvasm8 prog.s:2\tsymbol none not defined\n"
                         "#error nvasm8 prog.s:1\tbad addressing mode\n"
                         "#error nvasm8 prog.s:3\tunknown instruction nope\n");
    const auto run = assemble(disorder, {"--explain", "-ge", "-l"});
    EXPECT_EQ(run.status, plain.status);
    EXPECT_TRUE(run.err.starts_with("prog.s:1:1: bad addressing mode\n     mov a,#5\n"
                                    "             ^\n"))
        << run.err;
    std::string heads;
    for (size_t at = 0; at < run.err.size(); at = run.err.find('\n', at) + 1) {
        if (run.err[at] != ' ')
            heads += run.err.substr(at, run.err.find('\n', at) + 1 - at);
    }
    EXPECT_EQ(heads, "prog.s:1:1: bad addressing mode\n"
                     "#error nvasm8 prog.s:2\tsymbol none not defined\n"
                     "prog.s:3:1: unknown instruction nope\n");
}

TEST(Explain, GoesWhereMessagesGo)
{
    const std::vector<SourceFile> files = {{"a.s", " include \"x.inc\"\n"},
                                           {"b.s", " include \"x.inc\"\n bset\n"},
                                           {"x.inc", " nope\n"}};
    const auto run =
        run_program({"--explain", "+e", "log", "-d", "v=1", "-d", "v=2", "a.s", "b.s"}, files);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "errors reported in log\n");
    const std::string &log = run.files.at("log");
    // The second source has nothing new to say of the header.
    EXPECT_EQ(log.find("unknown instruction nope"), log.rfind("unknown instruction nope"));
    EXPECT_NE(log.find("included at a.s:1\n"), std::string::npos) << log;
    EXPECT_NE(log.find("#error nvasm8 b.s:2\tsyntax error\n"), std::string::npos) << log;
}

TEST(Explain, ChangesNothingElse)
{
    const std::string source = "\txref far1\nm: macro \\a\n\tld a,#\\a\n\tendm\nt: m 5\n\tjrne t\n"
                               "\tcall far1\n\trepeat 3\n\tm 1\n\tendr\n";
    const auto plain = assemble(source, {"-l", "-c"});
    const auto run = assemble(source, {"-l", "-c", "--explain", "--warn"});
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.object_bytes, plain.object_bytes);
    EXPECT_EQ(run.listing, plain.listing);
}

TEST(Warnings, LeaveTheStatusAloneUnlessTheyCount)
{
    const std::string source =
        "t: jrne far1\n\tds.b 300\nfar1: ldw x,#70000\n\trepeat 2\n\tldw y,#65536\n"
        "\tendr\n";
    const std::string third = "\tvalue 70000 is cut to 4464\n";
    const auto run = assemble(source, {"--warn"});
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.has_object);
    EXPECT_EQ(run.err, "#warning nvasm8 prog.s:3" + third +
                           "#warning nvasm8 prog.s:6\tvalue 65536 is cut to 0\n");
    EXPECT_EQ(assemble(source).err, "");
    const auto counted = assemble(source, {"--warn=error", "-ge"});
    EXPECT_EQ(counted.status, 1);
    EXPECT_FALSE(counted.has_object);
    EXPECT_TRUE(counted.err.starts_with("prog.s:3:1: warning: value 70000 is cut to 4464\n"))
        << counted.err;
    const auto refused = run_program({"--warn=error", "-ono/dir.o", "p.s"}, {{"p.s", "\tnop\n"}});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err, run_program({"-ono/dir.o", "p.s"}, {{"p.s", "\tnop\n"}}).err);
}

TEST(Warnings, AreKeptInTheFileOfErrors)
{
    const auto run = run_program({"--warn", "+elog", "p.s"}, {{"p.s", "\tldw x,#70000\n"}});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.files.count("p.o"), 1U);
    EXPECT_EQ(run.err, "warnings reported in log\n");
    EXPECT_EQ(run.files.at("log"), "#warning nvasm8 p.s:1\tvalue 70000 is cut to 4464\n");
}
