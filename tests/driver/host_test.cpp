// Faults from outside: what the files, the streams and the memory of the host do to a run.
#include "support/rows.h"
#include <array>

TEST(Host, SourcesAreNeverOverwritten)
{
    static const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"-o", "./a.o", "a.o"}, "#error nvasm8 a.o:0 can't create ./a.o\n"},
        {{"-oinc", "a.o"}, "#error nvasm8 a.o:0 can't create inc\n"},
        {{"-ox", "-l", "+linc", "a.o"}, "#error nvasm8 a.o:0 can't create inc\n"},
        {{"-ox", "+va.o", "a.o"}, "#error nvasm8 a.o:0 can't create a.o\n"},
        {{"-ox", "+ea.o", "a.o"}, "can't create a.o"},
    };
    for (const auto &[arguments, error] : cases) {
        const auto run = run_program(arguments, {{"a.o", " include \"inc\"\n"}, {"inc", " nop\n"}});
        EXPECT_EQ(run.err, error);
        EXPECT_EQ(run.files.at("a.o") + run.files.at("inc"), " include \"inc\"\n nop\n");
    }
}

TEST(Host, OutputsGiveWayToEachOther)
{
    const std::string refused = "#error nvasm8 a.s:0 can't create ";
    // The third is an object, and not what another output made of it.
    const std::array<std::string, 3> cases[] = {
        {"$NVASM8 -o x.o +l d/../x.o a.s", refused + "d/../x.o\n", "x.o"},
        {"$NVASM8 -l -o a.ls a.s", refused + "a.ls\n", "a.ls"},
        {"$NVASM8 +v x.o -o x.o a.s", refused + "x.o\n", "x.o"},
        {"ln -s a.o x.o; $NVASM8 +v x.o a.s", refused + "x.o\n", "a.o"},
        {"$NVASM8 +v a.ls a.s", refused + "a.ls\n", "a.o"},
        {"$NVASM8 -o /dev/null +l /dev/null a.s; $NVASM8 a.s", "", "a.o"},
        {"$NVASM8 a.s a.asm", "#error nvasm8 a.asm:0 can't create a.o\n", "a.o"},
        {"$NVASM8 a.s; $NVASM8 +e a.o a.s", "can't create a.o", "a.o"},
        {"$NVASM8 a.s; ln a.s l; $NVASM8 -o l a.s", refused + "l\n", "a.o"},
        {"ln -s d/t l; $NVASM8 -o l a.s", "", "d/t"},
    };
    for (const auto &[command, error, object] : cases) {
        const auto run =
            run_shell(command, {{"a.s", " nop\n"}, {"a.asm", " dc.b 1\n"}, {"d/x", ""}});
        EXPECT_EQ(run.err, error) << command;
        EXPECT_EQ(run.files.at(object)[0], '\xcc') << command;
        EXPECT_EQ(run.files.at("a.s"), " nop\n") << command;
    }
}

TEST(Host, OutputsAreReplacedWhole)
{
    // Too long a path for any other name beside the object: the file itself is written.
    const std::string here = "p=$(printf './%.0s' $(seq 2044))a.o; ";
    const std::string made = "export SOURCE_DATE_EPOCH=1; $NVASM8 -si a.s; cp a.o made; ";
    const std::pair<std::string, std::string> cases[] = {
        {made + "chmod 604 a.o; ln -s a.o l; $NVASM8 -si -o l a.s; stat -c %a a.o", "604\n"},
        {made + here + "$NVASM8 -si -o $p a.s", ""},
        {made + here + "head -c 9000 made made >a.o; $NVASM8 -si -o $p a.s", ""},
        {made + here + "echo old >a.o; $NVASM8 -si -o $p a.s", ""},
        {made + here + "rm a.o; $NVASM8 -si -o $p a.s", ""},
        {made + "$NVASM8 -si -o /dev/stdout a.s | cat >a.o", ""},
        {made + "$NVASM8 -si -o /dev/stdout a.s >a.o", ""},
        {made + "echo old >made; ulimit -f 8; cp made a.o; $NVASM8 -si a.s", ""},
        {made + here + "echo old >made; ulimit -f 8; cp made a.o; $NVASM8 -si -o $p a.s", ""},
    };
    for (const auto &[command, out] : cases) {
        const auto run = run_shell(command + "; ls -A >list", {{"a.s", " dcb.b 5000,1\n"}});
        EXPECT_EQ(run.out, out) << command;
        EXPECT_TRUE(run.files.at("a.o") == run.files.at("made")) << command;
        EXPECT_EQ(run.files.at("list").find(".nvasm8"), std::string::npos) << command;
    }
}

TEST(Host, InputsThatFailToBeReadAreErrors)
{
    // The host opens this file and then refuses to read it at its start.
    const std::string file = "/proc/self/mem";
    const std::string message = "can't read " + file + "\n";
    const std::string inside = "#error nvasm8 " + file + ":1\t" + message;
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"include.s"}, inside},
        {{"-md", "include.s"}, inside},
        {{"-h", file, "a.s"}, inside},
        {{file}, inside},
        {{"-l", "-b", "span.s"}, "#error nvasm8 span.s:1\t" + message},
        {{"-l", "span.s"}, "#error nvasm8 span.s:1\t" + message},
        {{"-i", file, "a.s"}, message},
    };
    for (const auto &[arguments, error] : cases) {
        const auto run = run_program(arguments, {{"include.s", " include \"" + file + "\"\n"},
                                                 {"span.s", " .source \"" + file + ":1\"\n"},
                                                 {"a.s", ""}});
        EXPECT_EQ(run.err + std::to_string(run.status), error + "1");
        EXPECT_EQ(run.files.size(), arguments[0] == "-l" ? 4u : 3u) << arguments[0];
    }
}

TEST(Host, SourcesThatCannotBeReadTwiceAreRefused)
{
    const auto run =
        run_shell("mkfifo p && $NVASM8 a.s p; test ! -e p.o", {{"a.s", " include \"p\"\n"}});
    EXPECT_EQ(run.err, "#error nvasm8 a.s:1\tcan't open p\ncan't open p\n");
    EXPECT_EQ(run.status, 0);
    const auto devices = run_shell("mkfifo p; $NVASM8 -ip -l s.s; $NVASM8 d.s",
                                   {{"s.s", " .source \"p:1\"\n"},
                                    {"d.s", " include \"/dev/null\"\n include \"/dev/zero\"\n"}});
    EXPECT_EQ(devices.err, "#error nvasm8 s.s:1\tcan't open source p\n"
                           "#error nvasm8 d.s:2\tcan't open /dev/zero\n");
    EXPECT_FALSE(devices.files.contains("s.o"));
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
    const std::string lines = " mlist on\n repeat 300\n nop\n endr\n";
    const std::vector<std::array<std::string, 3>> cases = {
        {"-l", " ds.b 100000\n", "a.o"},
        {"-l", lines, "a.ls"}, // the object would have had room
        {"+v/dev/full", "&x\n", "/dev/full"},
    };
    for (const auto &[option, source, name] : cases) {
        const auto run = run_shell("ulimit -f 8; $NVASM8 " + option + " -m a.s",
                                   {{"a.s", source}, {"a.o", "old"}});
        EXPECT_EQ(run.err, "#error nvasm8 a.s:0 can't write " + name + "\n");
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.files.at("a.o"), "old") << name;
    }
    const auto run = run_shell("$NVASM8 a.s >/dev/full", {{"a.s", " messg \"m\"\n"}});
    EXPECT_EQ(run.err, "#error nvasm8 a.s:0 can't write standard output\n");
    EXPECT_FALSE(run.files.contains("a.o"));
}

TEST(Host, SignalsEndTheRun)
{
    for (const auto &[signal, status] : {std::pair("INT", 2), {"TERM", 143}}) {
        const auto run =
            run_shell(std::string("$NVASM8 a.s & sleep 0.3; kill -") + signal + " $!; wait $!",
                      {{"a.s", "m: macro\n repeat 60000\n m\n endr\n endm\n repeat 60000\n"
                               " repeat 60000\n nop\n endr\n endr\n"}});
        EXPECT_EQ(run.status, status);
        EXPECT_FALSE(run.files.contains("a.o"));
    }
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
    // One that comes later was missed by the sizing pass.
    const auto late = run_shell("$NVASM8 a.s & sleep 0.1; echo >i; wait $!",
                                {{"a.s", " include \"i\"\n" + work}});
    EXPECT_EQ(late.err, "#error nvasm8 a.s:1\tcan't open i\n");
    EXPECT_EQ(late.status, 1);
    const auto main = run_shell("$NVASM8 s b & sleep 0.1; echo >b; wait $!", {{"s", work}});
    EXPECT_TRUE(main.files.contains("b.o")); // it is there in time for all its passes
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
