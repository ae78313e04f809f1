// Which errors are reported, how often, where and in which form.
#include "support/rows.h"

TEST(Diagnostics, ReportOneErrorALine)
{
    static const std::pair<std::string, std::string> cases[] = {
        {" dc.b 1/0,\"a\n", "prog.s:1:1: zero divide\n"},
        {" fail \"50% *.* %s\"\n", "prog.s:1:1: 50% *.* %s\n"},
        {" fail 2-5\n", "prog.s:1:1: fail -3\n"},
        // The line is reported when it is done; its second string has taken the place of the first.
        {" fail \"abc\" \"xy\"\n", "prog.s:1:1: xy\n"},
        // Reported by the sizing pass and, for the first, by every pass after it.
        {" bad\n", "prog.s:1:1: unknown instruction bad\nprog.s:1:1: unknown instruction bad\n"},
        {"l: nop\nl: nop\n", "prog.s:2:1: symbol l multiply defined\n"},
        // The lines of an expansion stand at the call.
        {"m: macro\n nop\n fail \"in\"\n endm\n\n m\n", "prog.s:6:1: in\n"},
        {" nop\n if 1\n", "prog.s:2:1: unclosed if\n"},
        {"\n #line 100 \"q.c\"\n fail 1\nm: macro\n fail 2\n endm\n m\n",
         "q.c:100:1: fail 1\nq.c:105:1: fail 2\n"},
        // Between the passes there is only one form.
        {" dc.w lost\n", "#error nvasm8 prog.s:1\tsymbol lost not defined\n"},
    };
    for (const auto &[source, errors] : cases)
        EXPECT_EQ(errors_of(source, {"-ge"}), errors) << source;
}

TEST(Diagnostics, VoidPassesAreSilentAfterTheMove)
{
    // The branch gets short in pass 1, which moves the label: pass 2 reports all errors again.
    EXPECT_EQ(errors_of(" fail \"a\"\n jreq l\n nop\nl: nop\n fail \"b\"\n"),
              reported("1 = a | 1 = a | 5 = b"));
}

TEST(Diagnostics, ListingPassPrintsWhatItDoesNotList)
{
    const std::string source = " nolist\n fail \"a\"\n list\n fail \"b\"\n";
    const auto deferred = assemble(source, {"-l"});
    EXPECT_EQ(deferred.err, reported("2 = a | 4 = b | 2 = a"));
    EXPECT_NE(deferred.listing.find("\n******** ERROR:  b  ********\n"), std::string::npos);
    const auto direct = assemble(source, {"-l", "-b"});
    EXPECT_EQ(direct.err, reported("2 = a | 4 = b"));
    EXPECT_EQ(direct.listing, deferred.listing);
}

TEST(Diagnostics, ErrorFileStaysOnlyWithErrors)
{
    const auto bad =
        run_program({"+e", "er", "-v", "a.s", "b.s"}, {{"a.s", " fail 1\n"}, {"b.s", " nop\n"}});
    EXPECT_EQ(bad.err, "a.s:\nb.s:\nerrors reported in er\n");
    EXPECT_EQ(bad.files.at("er"), "#error nvasm8 a.s:1\tfail 1\n");
    EXPECT_EQ(bad.status, 1);
    const auto good = run_program({"+eer", "b.s"}, {{"b.s", " nop\n"}, {"er", "old"}});
    EXPECT_FALSE(good.files.contains("er"));
    // One that turns out to be an input is left alone.
    const auto input =
        run_program({"+eer", "c.s"}, {{"c.s", " include \"er\"\n"}, {"er", " nop\n"}});
    EXPECT_EQ(input.files.at("er") + input.err + std::to_string(input.status), " nop\n0");
    const auto refused =
        run_program({"+eer", "c.s"}, {{"c.s", " include \"er\"\n fail 1\n"}, {"er", ""}});
    EXPECT_EQ(refused.err, "can't create er\n#error nvasm8 c.s:2\tfail 1\n");
    // What was reported before the run broke off is not lost.
    EXPECT_EQ(run_program({"+eer", "d.s"}, {{"d.s", "l:\nl:\n nop\n ds.b $7fffffff\n"}}).err,
              "no memory\n#error nvasm8 d.s:2\tsymbol l multiply defined\n");
}

TEST(Diagnostics, OutputsCountOnlyWhenBroken)
{
    static const std::tuple<std::vector<std::string>, std::string, int> cases[] = {
        {{"-o", "no/x"}, "#error nvasm8 prog.s:0 can't create no/x\n", 0},
        {{"-ge", "+lno/x"}, "prog.s:1 can't create no/x\n", 0},
        {{"+vno/x"}, "#error nvasm8 prog.s:0 can't create no/x\n", 0},
        {{"-o/dev/full"}, "#error nvasm8 prog.s:0 can't write /dev/full\n", 1},
        {{"+eno/x"}, "can't create no/x", 1},
        {{"+e/dev/full", "-p"}, "", 0},
    };
    for (const auto &[options, error, status] : cases) {
        const auto run = assemble(" nop\n", options);
        EXPECT_EQ(std::pair(run.err, run.status), std::pair(error, status));
    }
    // An object of an earlier run is left alone when there are errors.
    EXPECT_EQ(assemble(" fail 1\n", {"-oold"}, {{"old", "x"}}).files.at("old"), "x");
}
