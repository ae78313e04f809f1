// Data, reserved room and the location counter.
#include "support/rows.h"

TEST(DataDirectives, Items)
{
    expect_rows("lab: nop\n", rows_of(R"(
dc.b $ff,-1,-256,'a' = ff ff 00 61
dc "ab",'c"', 0 = 61 62 63 22 00 | fcb 1 = 01 | fcc "a",2 = 61 02
dc.w $12345,-1 = 23 45 ff ff | fdb 1 = 00 01 | dc.l 1,-2 = 00 00 00 01 ff ff ff fe
dc.w "abc" = 11 61 62 63 | dc.w "abcd" = 61 62 63 64 | dc.l "abcdef" = 11 11 61 62 63 64 65 66
dc.w "a" = 61 | dc.w "a",1 = 61 00 01 | dc.l "abc" = 61 62 63 | dc.b "a","bc" = 61 62 63
dc.b 1\ dc.w "bc" = 01 11 62 63 | dc.b 1\ dc.w "b" = 01 62
dc.b 1\ dc.l "bcdef" = 01 11 11 11 11 11 11 62 63 64 65 66
dcb 2,$ff = ff ff | dcb.b 3,-256 = 00 00 00 | dcb.w 2,$10203 = 02 03 02 03 | dcb 0,1\ nop = 9d
dcb.l 2,5 = 00 00 00 05 00 00 00 05 | dcb.w 2,lab+1 = 00 01 00 01 / 81 01 81 01
ds 2 = 11 11 | rmb 1 = 11 | ds.b 1 = 11 | ds.w 1 = 11 11 | ds.l 2 = 11 11 11 11 11 11 11 11)"),
                {"-f", "17"});
    expect_rows("lab: nop\n", rows_of(R"(dc.b 256 = 00 | dc.b lab+3 = 03 / 80 01
ds 0\ nop = 9d | ds.w 0\ nop = 9d)"),
                {"-m"});
}

TEST(DataDirectives, Faults)
{
    expect_faults(
        "lab: nop\n",
        {{"value too large", "dc.b 256 | dc.b -257 | dc.b lab | dcb -1,0 | fcb 1,256"},
         {"relocatable expression not allowed",
          "dcb lab,0 | ds lab | align lab | align 2,lab | org lab | offset lab | even lab"},
         {"bad relocatable expression", "dcb 1,256 | dcb.b 0,lab"},
         {"illegal size", "ds 0 | ds.l -1"},
         {"illegal alignment", "align 0 | align -4"},
         {"illegal fill value", "align 2,256 | even -257"},
         {"syntax error", "dcb 1 2 | dc.b 1,"},
         {"bad comment delimiter", "dc.w \"a\"+1 | even 1 2 | ds 1,2 | dcb 1,2,3"}});
    expect_faults("", {{"bad relocatable expression", "dcb 1,256"}, {"illegal size", "ds -1"}},
                  {"-m"});
}

TEST(LocationDirectives, AlignmentAndOrigin)
{
    expect_rows("", rows_of(R"(
nop\ even = 9d 11 | nop\ even 0 = 9d 00 | nop\ even,5 = 9d 05 | dc.w 1\ even = 00 01
nop\ align 4 = 9d 11 11 11 | nop\ align 4 2 = 9d 02 02 02 | nop\ align 3,-1 = 9d ff ff
nop\ align 1 = 9d | nop\ align 2,-256 = 9d 00)"),
                {"-f", "17"});
    // The address is aligned, not the offset in the section.
    EXPECT_EQ(text_of(" org $8003\n dc.b 1\n align 8\n nop\n", {"-a"}), "01 00 00 00 00 9d");
    EXPECT_EQ(text_of(" nop\n org 3\n nop\n org 4\n nop\n", {"-f", "17"}), "9d 11 11 9d 9d");
    expect_faults(" nop\n nop\n", {{"cannot move back current pc", "org 1"}});
    // In an absolute section the first one sets the address, which the next pass starts with.
    const auto run =
        assemble("v: section abs\nl0: org $8000\nl1: dc.w l0,l1\n org $8006\n dc.w *\n", {"-si"});
    ASSERT_EQ(run.object.sections.size(), 1U) << run.err;
    EXPECT_EQ(run.object.sections[0].address, 0x8000U);
    EXPECT_EQ(hex(run.object.sections[0].contents), "80 00 80 00 00 00 80 06");
    EXPECT_EQ(run.object.sections[0].relocation_size, 0U);
    EXPECT_EQ(text_of(" org $100\n org $200\nl: dc.w l\n", {"-a"}), "02 00");
    expect_faults(" org 8\n nop\n", {{"cannot move back current pc", "org 8 | org 0"}}, {"-a"});
}

TEST(LocationDirectives, OffsetLaysOutNames)
{
    EXPECT_EQ(text_of(" nop\n offset 4\nf1: ds.w 1\nf2: align 4\nf3: ds.l 1\nf4: nop\n"
                      " dc.b f1,f2,f3,f4\n"),
              "9d 9d 04 06 08 0c");
    // A label still counts before the directive that leaves.
    for (const Row &row : rows_of(R"(dc.b g = 08 | dcb 1,g = 08 | org 1\ dc.b g = 00 08
offset 9\n: dc.b g,n = 08 09 | save\ dc.b g = 08 | switch .text\ dc.b g = 08)")) {
        EXPECT_EQ(text_of(" offset 8\ng: " + row.source), row.expected) << row.source;
    }
    // The listing shows the new place.
    const auto run = assemble(" offset 4\nf: ds 2\ng: dc.b 1\n org 3\nw: dc.w \"a\"\n", {"-l"});
    EXPECT_EQ(run.listing, "   1                      offset 4\n   2  0004               f: ds 2\n"
                           "   3  0000 01            g: dc.b 1\n   4  0003                org 3\n"
                           "   5  0003 61            w: dc.w \"a\"\n");
}
