// Messages, include files and the positions that diagnostics show.
#include "support/rows.h"

TEST(SourceDirectives, ErrorsAndMessagesOfTheUser)
{
    expect_faults("lab:\n", {{"50% of %s", "fail \"50% of %s\" | #error '50% of %s'"},
                             {"fail -3", "fail -3 | #error 2-5"},
                             {"relocatable expression not allowed", "fail lab"},
                             {"syntax error", "messg 5"},
                             {"missing string", ".source 5"}});
    // A message shows once, though the branch takes further passes.
    const auto run = assemble(" messg \"50%\"\n jrne far\n ds 200\nfar: messg \"two\"\n", {"-l"});
    EXPECT_EQ(run.out, "50%\ntwo\n");
}

TEST(SourceDirectives, LocalLabelsEndAtAnInclude)
{
    const std::string source = "1$: nop\n include \"inc.s\"\n jra 1$\n";
    const std::string undefined = reported("3 = symbol 1$ not defined");
    EXPECT_EQ(assemble(source, {}, {{"inc.s", ""}}).err, undefined);
    EXPECT_EQ(errors_of(source), undefined + reported("2 = can't open inc.s"));
    EXPECT_EQ(errors_of("1$: nop\n include 5\n jra 1$\n"),
              undefined + reported("2 = bad file name"));
}

TEST(SourceDirectives, PositionsOfDiagnostics)
{
    // Without a name nothing is shown; included lines count.
    for (const Row &row : rows_of(R"(#line 10 "c.c" = c.c:10 | #line 10 = prog.s:2
#line 10 "c.c"\ nop\ #line 20\ nop = c.c:21 | #line 10 "c.c"\ include "inc.s" = c.c:13
.sfile "c.c",5\ .sfile = prog.s:3)")) {
        const auto run = assemble(" " + row.source + " ds 0\n", {}, {{"inc.s", " nop\n nop\n"}});
        EXPECT_EQ(run.err, reported(row.expected + " = illegal size")) << row.source;
    }
    // #line takes one backslash of each pair.
    EXPECT_EQ(errors_of(" #line 10 \"d\\\\c.c\"\n ds 0\n"),
              "#error nvasm8 d\\c.c:10\tillegal size\n");
    EXPECT_EQ(errors_of(" .sfile \"d\\\\c.c\",10\n ds 0\n"),
              "#error nvasm8 d\\\\c.c:10\tillegal size\n");
    EXPECT_EQ(errors_of(" .sfile \"c.c\" 5\n"), reported("1 = syntax error"));
    EXPECT_EQ(errors_of("l: nop\n#line l \"f\"\n"),
              reported("f:-1 = relocatable expression not allowed"));
    // An undefined symbol is reported at the position of its first use.
    EXPECT_EQ(errors_of(" #line 10 \"c.c\"\n dc.w nn\n .sfile\n dc.w nn\n"),
              reported("c.c:10 = symbol nn not defined"));
}

TEST(SourceDirectives, RangesOfLines)
{
    EXPECT_EQ(errors_of(" .source \"f.c\"\n"), ""); // looked at in the listing pass alone
    for (const std::string operand : {"f.c", "f.c:1x", "f.c:1-2-3"})
        EXPECT_EQ(errors_of(" .source \"" + operand + "\"\n", {"-l"}),
                  reported("1 = bad .source directive"));
}
