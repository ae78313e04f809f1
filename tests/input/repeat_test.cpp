// Repeats: how often they run, with which items, and what ends them.
#include "support/rows.h"

TEST(Repeat, RunsItsLinesOnceForEachCountOrItem)
{
    static const std::pair<std::string, std::string> cases[] = {
        {" repeat 1+1\n dc.b \\#,'\\@'\n endr\n", "00 2e 31 00 2e 32"},
        {" repeat 0\n dc.b 1\n endr\n dc.b 2\n", "02"},
        {" repeatl a,b ; c\n dc.b \\#,'\\1\\@'\n endr\n", "01 61 2e 31 01 62 2e 32"},
        {" irp \"a,b\",,c\n dc.b '\\1',0\n endr\n", "61 2c 62 00 00 63 00"},
        {" irp \\x , 1,2\n dc.b \\x,\\(x)\\#\n endr\n", "01 0b 02 15"},
        {" repeatl \\x\n dc.b 1\n endr\n dc.b 2\n", "02"},
        // The code of -1 is that of a list: the first line is taken for it, blanks and all.
        {" repeat -1\n a,b\n dc.b '\\1'\n endr\n", "20 61 62"},
        {" repeat 2\n irp \\x,1,2\n dc.b \\x\n endr\n dc.b 9\n endr\n", "01 02 09 01 02 09"},
        // The lines of a repeat within a macro have the macro's arguments put in when recorded.
        {"m: macro\n repeat \\1\n dc.b \\2\n endr\n endm\n m 2,3\n", "03 03"},
        {" repeat 2\n endm\n dc.b 1\n endr\n", "01 01"},
        // An empty list leaves its mark: the macro after it isn't closed by `endm`.
        {" repeatl\n endr\n dc.b 1\nm: macro\n endm\n dc.b 2\n", "01"},
        {" repeatl\n endr\n irp 3\n dc.b \\1\n endr\nm: macro\n endm\n dc.b 2\n", "03 02"},
        {" repeat -1\n endr\n dc.b 1\n repeatl \\ x ,2,3\n dc.b \\x\n endr\n", "01 02 03"},
        {" repeat 3\n dc.b 1\n if 1\n rexit\n endif\n endr\n dc.b 2\n", "01 02"},
        {" repeat 2\n irp \\x,1,2\n dc.b \\x\n rexit\n endr\n dc.b 3\n endr\n", "01 03 01 03"},
        // Counts have 16 bits; 0 in them is 65536 runs.
        {"k: set 0\n repeat 70000\nk: set k+1\n endr\n dc.l k\n", "00 00 11 70"},
        {"k: set 0\n repeat 65536\nk: set k+1\n endr\n dc.l k\n", "00 01 00 00"},
    };
    for (const auto &[source, expected] : cases)
        EXPECT_EQ(text_of(source), expected) << source;
}

TEST(Repeat, WithoutLinesDoesNothing)
{
    for (const std::string head : {" repeat 3", " repeatl a,b", " repeatl \\x,a,b,c", " irp \\x,a"})
        EXPECT_EQ(text_of(head + "\n; nothing\n\n endr\n dc.b 1\n"), "01") << head;
}

TEST(Repeat, LeavesAnEmptyListForMacros)
{
    // After an empty list the definition takes in the rest of the file, from the next pass on.
    EXPECT_EQ(text_of(" nop\nl: nop\nnop: macro\n \\\\nop\n \\\\nop\n endm\n repeatl\n endr\n"
                      " dc.b 7\n"),
              "9d 9d 07 9d 9d 07");
    // What the end of the file leaves open is still open in the next pass.
    EXPECT_EQ(text_of("m: macro\n nop\n endm\n m\nopen: macro\nn: macro\n"), "");
}

TEST(Repeat, ReportsWhatItCannotDo)
{
    static const std::pair<std::string, std::string> cases[] = {
        {"m: macro\n rexit\n endm\n repeat 1\n m\n endr\n", "6 = no repeat in expansion"},
        {"\n rexit\n", "2 = no repeat in expansion"},
        {"lab: repeat lab\n endr\n", "1 = bad relocatable expression"},
        {" repeat 1\nm: macro\n endr\n", "2 = misplaced macro directive"},
    };
    for (const auto &[source, errors] : cases)
        EXPECT_EQ(errors_of(source), reported(errors)) << source;
}

TEST(Repeat, IsListedAsItRuns)
{
    // A repeat within a macro stays out like the macro's own lines.
    EXPECT_EQ(
        assemble("m: macro\n repeat 1\n nop\n endr\n endm\n repeat 2\n dc.b 1 ; one\n endr\n m\n",
                 {"-l"})
            .listing,
        "   1                     m: macro\n   2                      repeat 1\n"
        "   3                      nop\n   4                      endr\n"
        "   5                      endm\n   8  0000 01             dc.b 1 ; one\n"
        "   8  0001 01             dc.b 1 ; one\n   9                      m\n");
    // Without a line it never comes to switch the listing of expansions off again, if it did so.
    const std::string macros = "m: macro\n repeat 1\n endr\n endm\nn: macro\n nop\n endm\n";
    const std::string head =
        "   1                     m: macro\n   2                      repeat 1\n"
        "   3                      endr\n   4                      endm\n"
        "   5                     n: macro\n   6                      nop\n"
        "   7                      endm\n";
    EXPECT_EQ(assemble(macros + " m\n n\n", {"-l"}).listing,
              head + "   8                      m\n   9                      n\n");
    // A backslash at the end of a line brings the line end in once more.
    EXPECT_EQ(assemble(" mlist on\nb: macro\n nop ; \\\n endm\n b\n ret\n", {"-l"}).listing,
              "   2                     b: macro\n   3                      nop ; \\\n   4         "
              "             endm\n"
              "   5                      b\n   5  0000 9d             nop ; \\\n\n"
              "   6  0001 81             ret\n");
    EXPECT_EQ(assemble(macros + " repeat 1\n endr\n n\n", {"-l"}).listing,
              head + "  10                      n\n  10  0000 9d             nop\n");
}
