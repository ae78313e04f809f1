// Faults from outside: what the files, the streams and the memory of the host do to a run.
#include "support/run.h"

#include <gtest/gtest.h>

TEST(Host, SourcesAreNeverOverwritten)
{
    struct Case {
        std::vector<std::string> arguments;
        std::string error;
    };
    const std::vector<Case> cases = {
        {{"-o", "./a.o", "a.o"}, "#error nvasm8 a.o:0 can't create ./a.o\n"},
        {{"-oinc", "a.o"}, "#error nvasm8 a.o:0 can't create inc\n"},
        {{"-ox", "-l", "+linc", "a.o"}, "#error nvasm8 a.o:0 can't create inc\n"},
        {{"-ox", "+va.o", "a.o"}, "#error nvasm8 a.o:0 can't create a.o\n"},
        {{"-ox", "+ea.o", "a.o"}, "can't create a.o"},
    };
    for (const Case &c : cases) {
        const auto run =
            run_program(c.arguments, {{"a.o", " include \"inc\"\n"}, {"inc", " nop\n"}});
        EXPECT_EQ(run.err, c.error);
        EXPECT_EQ(run.files.at("a.o") + run.files.at("inc"), " include \"inc\"\n nop\n");
    }
}

TEST(Host, SourcesThatCannotBeReadTwiceAreNone)
{
    const auto run =
        run_shell("mkfifo p && $NVASM8 a.s p; test ! -e p.o", {{"a.s", " include \"p\"\n"}});
    EXPECT_EQ(run.err, "#error nvasm8 a.s:1\tcan't open p\ncan't open p\n");
    EXPECT_EQ(run.status, 0);
    const auto odd =
        run_program({"-l", "-x", "d \xc3\xbc/\xff 1.s"}, {{"d \xc3\xbc/\xff 1.s", " nop\n"}});
    EXPECT_EQ(odd.err, "");
    EXPECT_TRUE(odd.files.contains("d \xc3\xbc/\xff 1.o") &&
                odd.files.contains("d \xc3\xbc/\xff 1.ls"));
    const auto longest = run_program({std::string(4096, 'n')});
    EXPECT_EQ(longest.err, "can't open " + std::string(4096, 'n') + "\n");
}

TEST(Host, ClosedStreamsAreNoFiles)
{
    const std::vector<SourceFile> files = {{"a.s", " foo\n"}, {"b.s", " nop\n"}};
    const auto run = run_shell("$NVASM8 -l -ox a.s <&- >&- 2>&-; echo $?", files);
    EXPECT_EQ(run.out, "1\n");
    EXPECT_EQ(
        run.files.at("x.ls"),
        "   1                      foo\n******** ERROR:  unknown instruction foo  ********\n");
    EXPECT_EQ(run_shell("$NVASM8 -md b.s >&-; echo $?", files).out, "1\n");
    // A reader that has gone doesn't end the run in its middle.
    EXPECT_EQ(
        run_shell("{ $NVASM8 a.s b.s; echo $? >c; } 2>&1 | true; sleep 0.1; cat c", files).out,
        "1\n");
}

TEST(Host, OutputsCutShortLeaveNoObject)
{
    const auto run = run_shell("ulimit -f 8; $NVASM8 -l -m a.s", {{"a.s", " ds.b 100000\n"}});
    EXPECT_TRUE(run.err.starts_with("#error nvasm8 a.s:0 can't write a.o\n")) << run.err;
    EXPECT_EQ(run.status, 1);
    EXPECT_FALSE(run.files.contains("a.o"));
}

TEST(Host, AnInterruptEndsTheRun)
{
    const auto run = run_shell("$NVASM8 a.s & sleep 0.3; kill -INT $!; wait $!",
                               {{"a.s", "m: macro\n repeat 60000\n m\n endr\n endm\n repeat 60000\n"
                                        " repeat 60000\n nop\n endr\n endr\n"}});
    EXPECT_EQ(run.status, 2);
    EXPECT_FALSE(run.files.contains("a.o"));
}

TEST(Host, AFileThatVanishesIsMissed)
{
    // In whichever pass it goes, the last one can't open it any more.
    const std::string work = " repeat 60000\n repeat 60\n nop\n endr\n endr\n";
    const auto run = run_shell("$NVASM8 a.s & sleep 0.1; rm i; wait $!",
                               {{"a.s", work + " include \"i\"\nl: jp l\n"}, {"i", "k: nop\n"}});
    EXPECT_TRUE(run.err.ends_with("#error nvasm8 a.s:6\tcan't open i\n")) << run.err;
    EXPECT_EQ(run.status, 1);
    EXPECT_FALSE(run.files.contains("a.o"));
}

TEST(Host, WhatCannotBeHeldEndsAtOnce)
{
    for (const char *line : {" ds.b $7fffffff", " dcb.b $7fffffff,1", " dcb.l $7fffffff,1",
                             " org $7fffffff", " nop\n align $7fffffff\n nop\n align $40000000"}) {
        const auto run = assemble(std::string(line) + "\n");
        EXPECT_EQ(run.err + std::to_string(run.status), "no memory\n1") << line;
    }
    // Room that is only counted ends at 4 GiB.
    const std::string half = " switch .bss\n ds.b $7fffffff\n ds.b $7fffffff\n";
    EXPECT_EQ(errors_of(half + " ds.b 1\n"), "");
    EXPECT_EQ(errors_of(half + " ds.b 2\n"), "#error nvasm8 prog.s:4\tvalue too large\n");
    EXPECT_EQ(errors_of(half + " ds.b 1\n dc.b 1\n"), "#error nvasm8 prog.s:5\tvalue too large\n");
}
