// What a line is: label, word, suffix, comment; and what is done with it when.
#include "support/rows.h"

TEST(Statements, SuffixesAndCase)
{
    expect_rows("m: macro\n ifc '\\0','w'\n dc.b 1\n endif\n ifc '\\0',''\n dc.b 2\n endif\n"
                " dc.b \\1\n endm\n",
                rows_of(R"(
ld.zz a,#3 = a6 03 | LD.w A,#3 = a6 03 | dc.bb 5 = 05 | DC.L 5 = 00 00 00 05 | Dc.W 5 = 00 05
m.w 9 = 01 09 | M.wx 9 = 01 09 | m 9 = 02 09 | m.x 9 = 09)"));
    expect_faults("", {{"bad comment delimiter", R"(
123 | lab: 123 | l2: -x | nop 1 | ld a,#1 2 | (nop) | * text | & text | = 3 | :nop | # 1)"},
                       {"missing label", "equ 3 | set 3 | lit 'x' | macro"}});
    EXPECT_EQ(text_of(".ab: macro\n nop\n endm\n .ab\n"), "9d");
    // A word nobody knows is reported by the sizing pass and by each one after it.
    for (const char *word : {"foo", "dc.x", "-x", "#foo", "ld.abc", "nop.", "10$", "equ.w"}) {
        const std::string error = "1 = unknown instruction " + std::string(word) + "\n";
        EXPECT_EQ(errors_of(" " + std::string(word) + " ) garbage\n"), reported(error + error));
    }
}

TEST(Statements, LabelsNeedTheirColon)
{
    EXPECT_EQ(text_of("l1:nop\n  l2 :\tnop\n l3:\nl4: ; text\n dc.b l2-l1,l3-l1,l4-l1\n"),
              "9d 9d 01 02 02");
    EXPECT_EQ(errors_of("foo equ 1\n"),
              reported("1 = unknown instruction foo | 1 = unknown instruction foo"));
}

TEST(Statements, TheOldSyntaxFindsLabelsInTheFirstColumn)
{
    EXPECT_EQ(text_of("* text\nfoo equ 1\nbar nop\n dc.b foo\n baz: nop\nlone\nnop nop\n"
                      " dc.b baz-bar,lone-bar,nop-bar\n",
                      {"-m"}),
              "9d 01 9d 9d 02 03 03");
    EXPECT_EQ(errors_of(" * text\n", {"-m"}), reported("1 = bad comment delimiter"));
}

TEST(Statements, ALabelIsDefinedBeforeItsStatement)
{
    // Also when the statement is a macro call, a conditional or unknown.
    EXPECT_EQ(text_of("m: macro\n dc.b 1\n endm\nl1: dc.b *-l1\nl2: m\nl3: if 1\nl4: dc.b 2\n"
                      "l5: endif\n dc.b l2-l1,l3-l1,l4-l1,l5-l1\n"),
              "00 01 02 01 02 02 03");
    // The label of an instruction after "offset" still counts in the offsets.
    EXPECT_EQ(text_of(" nop\n offset 4\nf: nop\n dc.b f\n"), "9d 9d 04");
    EXPECT_EQ(errors_of("lab: zork\n dc.w lab\nzork: zork\n dc.w zork\n"),
              reported("1 = unknown instruction zork | 3 = unknown instruction zork |"
                       "1 = unknown instruction zork | 3 = unknown instruction zork"));
}

TEST(Statements, ASecondLabelIsReportedOnceAndListedAtBothPlaces)
{
    const auto run = assemble("l1: nop\nl1: nop\nl2: jra l2\nsp: nop\n", {"-l"});
    EXPECT_EQ(run.err, reported("2 = symbol l1 multiply defined | 4 = bad symbol name: sp"));
    EXPECT_EQ(run.listing, R"(   1  0000 9d            l1: nop
******** ERROR:  symbol l1 multiply defined  ********
   2  0001 9d            l1: nop
******** ERROR:  symbol l1 multiply defined  ********
   3  0002 20fe          l2: jra l2
   4  0004 9d            sp: nop
******** ERROR:  bad symbol name: sp  ********
)");
}
