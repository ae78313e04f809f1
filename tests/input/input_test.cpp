// Where lines come from, and the positions they are reported at.
#include "support/rows.h"

TEST(SourceLines, AreSplitAt511Characters)
{
    static const std::tuple<size_t, const char *, const char *> cases[] = {
        {510, "\n", "prog.s:2"},   {511, "\n", "prog.s:3"}, {510, "\r\n", "prog.s:2"},
        {511, "\r\n", "prog.s:3"}, {0, "\r\n", "prog.s:2"},
    };
    for (const auto &[length, line_end, position] : cases)
        EXPECT_EQ(errors_of(std::string(length, ';') + line_end + " fail 1"),
                  reported(std::string(position) + " = fail 1"));
    // What is left of a long line is a line of its own.
    EXPECT_EQ(text_of(";" + std::string(510, 'x') + " dc.b 1\n"), "01");
    // Names that fill the line, where macro arguments may stand in them.
    const std::string name = std::string(511, 'n') + "\n";
    EXPECT_EQ(text_of("m: macro\n" + name + " endm\n if 0\n" + name + " endif\n dc.b 1\n"), "01");
    // A carriage return ends a line only with the newline after it.
    EXPECT_EQ(text_of(" dc.b 'a\rb\r'\r\n"), "61 0d 62 0d");
}

TEST(Includes, AreFoundAsTheyStandThenBelowThePaths)
{
    const auto run =
        assemble(" include \"f\"\n include \"/f\"\n include \"d\"\n include \"g\"\n", {"-id"},
                 {{"f", " dc.b 1\n"}, {"d/f", " fail 2\n"}, {"d/g", " fail \"g\"\n"}});
    EXPECT_EQ(run.err, reported("2 = can't open /f | 3 = can't open d | d/g:1 = g"));
}

TEST(Includes, JoinPathsOfLessThan511Characters)
{
    const std::string path(200, 'p');
    const std::string too_long = reported("1 = path too long: " + std::string(40, 'p') + "...");
    for (const size_t length : {108u, 109u}) {
        const std::string name(length, 'f');
        const auto run = assemble(" include \"" + name + "\"\n", {"-i" + path},
                                  {{path + "/" + std::string(200, 'q') + "/" + name, ""}});
        EXPECT_EQ(run.err, length == 108 ? "" : too_long);
    }
}

TEST(Includes, AreNamedAsInTheSizingPass)
{
    const auto run =
        assemble("\n include \"x\"\n include \"x\"\n include \"y\"\n fail \"m\"\n", {"-id"},
                 {{"d/x", " fail \"x\"\n include \"y\"\n"}, {"d/y", "\n fail \"y\"\n"}});
    const std::string both = reported("d/x:1 = x | d/y:2 = y");
    EXPECT_EQ(run.err, both + both + reported("d/y:2 = y | 5 = m"));
    // An inner opening of the source counts its lines for itself.
    EXPECT_EQ(errors_of(" ifndef k\nk: equ 1\n include \"prog.s\"\n fail \"m\"\n endif\n"),
              reported("4 = m"));
    // One that only a later pass opens borrows the record of the source, its counter too.
    EXPECT_EQ(assemble(" if late\n include \"z\"\n endif\nlate: equ 1\n fail \"m\"\n", {},
                       {{"z", "\n\n\n fail \"z\"\n"}})
                  .err,
              reported("4 = z | 7 = m"));
}

TEST(Includes, EndWhenTheyIncludeThemselves)
{
    const auto run = assemble(" include \"prog.s\"\n include \"prog.s\"\n dc.b 1\n");
    EXPECT_TRUE(run.err.starts_with(reported("1 = can't open prog.s")));
    // When the main source goes on there are files to open again.
    const auto next = assemble(" include \"r\"\n include \"i\"\n", {},
                               {{"r", " include \"r\"\n include \"r\"\n"}, {"i", " fail \"i\"\n"}});
    EXPECT_TRUE(next.err.starts_with(reported("r:1 = can't open r")));
    EXPECT_TRUE(next.err.ends_with(reported("i:1 = i")));
}

TEST(Includes, EachOpeningCountsItsOwnLines)
{
    const std::string text =
        " ifndef seen\nseen: equ 1\n include \"r\"\n fail \"x\"\n endif\n fail \"y\"\n";
    EXPECT_EQ(assemble(" include \"r\"\n", {}, {{"r", text}}).err,
              reported("r:6 = y | r:4 = x | r:6 = y"));
}

TEST(EndDirective, ClosesTheInnermostFile)
{
    // In a macro it waits for the end of the expansion.
    const auto run =
        assemble(" include \"e\"\n dc.b 3\nm: macro\n end\n dc.b 4\n endm\n m\n dc.b 5\n", {},
                 {{"e", " dc.b 1\n end\n dc.b 2\n"}});
    ASSERT_TRUE(run.has_object) << run.err;
    EXPECT_EQ(run.object.sections[0].contents, (std::vector<uint8_t>{1, 3, 4}));
}

TEST(Spans, ShowLinesOfAnotherFileAsComments)
{
    const std::string column(19, ' ');
    const auto run = assemble(
        " .source \"a.c:9-10\"\n nop\n .source \"a.c:9-10\"\n"
        " .source \"a.c:10\"\n .source \"a.c:2-1\"\n .source \"a.c:11-99\"\n",
        {"-l"},
        {{"a.c", "1\ntwo\n3\n4\n5\n6\n7\n8\nnine\nten\r\n" + std::string(600, 'x') + "\nlast"}});
    EXPECT_EQ(run.listing, "   1  " + column + "; 9 nine\n   1  " + column + "; 10 ten\n" +
                               "   2  0000 9d             nop\n   5  " + column +
                               "; 2 two\n   6  " + column + "; 11 " + std::string(501, 'x') +
                               "\n   6  " + column + "; 12 last\n");
    // The range that was asked for last is shown once, whatever the file.
    EXPECT_EQ(assemble(" .source \"a.c:1\"\n .source \"b.c:1\"\n .source \"b.c:2\"\n", {"-l"},
                       {{"a.c", "a\n"}, {"b.c", "b\nbb\n"}})
                  .listing,
              "   1  " + column + "; 1 a\n   3  " + column + "; 2 bb\n");
    // A seventh digit gives way to the blank, and the text is lost with its line end.
    EXPECT_EQ(assemble(" .source \"a.c:100000\"\n .source \"a.c:1000000\"\n nop\n", {"-l"},
                       {{"a.c", std::string(999999, '\n') + "text\n"}})
                  .listing,
              "   1  " + column + ";100000 \n   2  " + column +
                  ";100000    3  0000 9d             nop\n");
    EXPECT_EQ(errors_of(" .source \"b.c:1\"\n .source \"b.c:2\"\n", {"-l"}),
              reported("1 = can't open source b.c"));
}

TEST(Spans, ComeInAnyOrder)
{
    std::string file, source, expected;
    for (int line = 1; line <= 200; ++line)
        file += "l" + std::to_string(line) + "\r\n";
    for (const std::string line : {"130", "64", "65", "1", "200", "129", "128", "66"}) {
        source += " .source \"a.c:" + line + "\"\n";
        expected += "; " + line + " l" + line + "\n";
    }
    std::string shown = assemble(source, {"-l"}, {{"a.c", file}}).listing;
    for (size_t at = 0; at < shown.size(); at = shown.find('\n', at) + 1)
        shown.erase(at, 25);
    EXPECT_EQ(shown, expected);
}
