// The forms that branches, jumps and calls are given, at the limits of each.
#include "support/rows.h"

// A target that nothing below reaches.
static const std::string FAR = "far: equ *+1000\n";

TEST(Branches, BecomeLongJumpsBeyondTheirReach)
{
    expect_rows(" xref ext\n", rows_of(R"(
jra *+129 = 20 7f | jra *+130 = ac 82 00 82 | jra *-126 = 20 80 | jra *-127 = ac 81 ff 81
jrt *+130 = ac 82 00 82 | jra $10 = 20 0e | jra $1000 = ac 00 10 00 | jra ext = ac 00 00 00
jrne *+129 = 26 7f | jrne *+130 = 27 04 ac 82 00 82
jrult *-126 = 25 80 | jrult *-127 = 24 04 ac 81 ff 81 | jrne ext = 27 04 ac 00 00 00
jrh *+130 = 90 29 7f | jrh *+131 = 90 28 04 ac 83 00 83
jrnm *-125 = 90 2c 80 | jrnm *-126 = 90 2d 04 ac 82 ff 82
btjt $1234,#3,*+132 = 72 06 12 34 7f | btjt $1234,#3,*+133 = 72 07 12 34 04 ac 85 00 85
btjf $1234,#7,*-123 = 72 0f 12 34 80 | btjf $1234,#7,*-124 = 72 0e 12 34 04 ac 84 ff 84
btjf $80,#0,ext = 72 00 00 80 04 ac 00 00 00
callr *+129 = ad 7f | callr *+130 = cd 00 82 | callr *-127 = cd ff 81 | callr ext = cd 00 00
jrf *+129 = 21 7f | jrf *-126 = 21 80)"));
}

TEST(Branches, WithoutScrossTheLongJumpHas16Bits)
{
    expect_rows("scross off\n", rows_of(R"(
jra *+129 = 20 7f | jra *+130 = cc 00 82 | jrne *+130 = 27 03 cc 00 82 | jra $1000 = cc 10 00
jrh *+131 = 90 28 03 cc 00 83 | btjt $1234,#3,*+133 = 72 07 12 34 03 cc 00 85
callr *+130 = cd 00 82 | jp *+130 = cc 00 82 | jpf *+130 = ac 82 00 82)"));
    // The words that scross takes; each pass begins with it on.
    EXPECT_EQ(text_of(FAR + "jra far\nscross oFf\njra far\nscross\njra far\nscross ON\njra far\n"
                            "scross OF\njra far\n"),
              "ac e8 03 e8 cc 03 e8 cc 03 e8 ac e8 03 e8 cc 03 e8");
}

TEST(Branches, JumpsAndCallsToNearLabelsAreShortened)
{
    expect_rows("", rows_of(R"(
jp *+129 = 20 7f | jp *+130 = cc 00 82 | jp *-126 = 20 80 | jp *-127 = cc ff 81
call *+129 = ad 7f | call *+130 = cd 00 82 | jpf *+129 = 20 7f | jpf *+130 = ac 82 00 82
callf *+2 = 8d 02 00 02 | jp $10 = cc 00 10 | call $10 = cd 00 10 | jpf $10 = ac 00 00 10
jp (*+2,x) = dc 00 02 | jp [*+2] = 72 cc 00 02)"));
    expect_rows("", rows_of(R"(
jra *+129 = 20 7f | jrne *-126 = 26 80 | callr *+129 = ad 7f | btjt $10,#1,*+132 = 72 02 00 10 7f
jp *+2 = cc 00 02 | call *+2 = cd 00 02 | jpf *+2 = ac 02 00 02)"),
                {"-b"});
    EXPECT_EQ(section_of("code", "code: section abs\n org $8000\nlab: nop\njra lab\njp lab\n"
                                 "jreq $9000\n"),
              "9d 20 fd cc 80 00 26 04 ac 00 90 00");
}

// Each source is alone in its file, and the bytes are the last ones of .text.
static void expect_ends(const std::string &preamble, const std::vector<Row> &rows)
{
    for (const Row &row : rows) {
        const std::string text = text_of(preamble + row.source);
        EXPECT_TRUE(text.ends_with(row.expected))
            << row.source << "expected " << row.expected << "\ngot " << text;
    }
}

TEST(Branches, HopThroughAnEarlierJump)
{
    expect_ends(FAR, rows_of(R"(
jra far\ jrne far = ac e8 03 e8 26 fa
jra far\ ds.b 122\ jrne far = 00 26 80
jra far\ ds.b 123\ jrne far = 00 27 04 ac e8 03 e8
jra far\ jra far\ jrne far = ac e8 03 e8 ac e8 03 e8 26 fa
jra far\ jrh far = ac e8 03 e8 90 29 f9
jra far\ btjt $1234,#3,far = ac e8 03 e8 72 06 12 34 f7
jra far\ ds.b 119\ btjt $1234,#3,far = 00 72 06 12 34 80
jra far\ ds.b 120\ btjt $1234,#3,far = 00 72 07 12 34 04 ac e8 03 e8
jrne far\ jreq far = 27 04 ac e8 03 e8 27 fa
btjf $1234,#0,far\ jrne far = 72 00 12 34 04 ac e8 03 e8 26 fa
jrne far\ jra far = 27 04 ac e8 03 e8 ac e8 03 e8
callr far\ jrne far = cd 03 e8 27 04 ac e8 03 e8
callf far\ jrne far = 8d e8 03 e8 27 04 ac e8 03 e8)"));
    EXPECT_EQ(section_of(".data", "jra $4000\n switch .data\n jrne $4000\n"), "27 04 ac 00 40 00");
}

TEST(Branches, HopThroughWrittenJumps)
{
    expect_ends(FAR, rows_of(R"(
jpf far\ jrne far = ac e8 03 e8 26 fa
jp far\ jrne far = cc 03 e8 27 04 ac e8 03 e8
scross off\ jp far\ jrne far = cc 03 e8 26 fb
scross off\ jpf far\ jrne far = ac e8 03 e8 27 03 cc 03 e8
scross off\ jp (far,x)\ jrne far = dc 03 e8 27 03 cc 03 e8)"));
    // Short jumps count as well: lab is just out of reach, the jump to it just in reach.
    expect_ends("lab: nop\n", rows_of(R"(
jra lab\ ds.b 124\ jreq lab = 27 80
jp lab\ ds.b 124\ jreq lab = 27 80
jpf lab\ ds.b 124\ jreq lab = 26 04 ac 00 00 00)"));
}

TEST(Branches, JumpsAreRememberedByTargetValueAlone)
{
    expect_ends(" xref ext\nlab: nop\n", rows_of(R"(
jra ext\ ds.b 122\ jrne lab = 26 80
jra ext\ jrne ext = ac 00 00 00 27 04 ac 00 00 00)"));
}

TEST(Branches, ManyJumpsAreRemembered)
{
    std::string source = FAR + "scross off\n";
    for (int i = 0; i <= 40; ++i)
        source += "jra far+" + std::to_string(i) + "\n";
    expect_ends(source, rows_of("jrne far\\ jrne far+40 = 26 83 26 f9"));
}

TEST(Branches, ForwardBranchesSettle)
{
    EXPECT_EQ(text_of("jra lab\ncall lab\njrne lab\njp lab\nlab: ret\n"),
              "20 06 ad 04 26 02 20 00 81");
    // The first pass takes the long form, and a branch stays long that can't leave it at once.
    for (const Row &row : rows_of(R"(
jra lab\ ds.b 125\lab: nop = 20 7d
jra lab\ ds.b 126\lab: nop = ac 82 00 82
jra end\ jra mid\ ds.b 122\mid: nop\end: nop = 20 7d 20 7a)")) {
        EXPECT_EQ(text_of(row.source).substr(0, row.expected.size()), row.expected) << row.source;
    }
}

TEST(Branches, BitSymbols)
{
    const std::string symbols = R"( xref ext
flag: equ $5000:3
last: equ $10:7
alias: equ ext:2
 switch .ubsct
 ds.b 3
zp: ds.b 1
zpbit: equ zp:5
 switch .text
)";
    expect_rows(symbols, rows_of(R"(
bset flag = 72 16 50 00 | bres flag = 72 17 50 00 | bcpl flag = 90 16 50 00
bccm flag = 90 17 50 00 | bset last = 72 1e 00 10 | bset zpbit = 72 1a 00 03
btjt flag,*+132 = 72 06 50 00 7f | btjt flag,*+133 = 72 07 50 00 04 ac 85 00 85
btjf flag,*+133 = 72 06 50 00 04 ac 85 00 85)"));
    EXPECT_EQ(relocations_of(symbols + "bset zpbit\nbset alias\n"),
              "0002 word .ubsct+0x3\n0006 word ext+0\n");
}

TEST(Branches, BitsThatOnlyTheLinkerKnows)
{
    const std::string source = " xbit flag\nbset flag+$12345\nbtjt flag,*+133\n";
    EXPECT_EQ(text_of(source), "72 10 23 45 72 01 00 00 04 ac 89 00 89");
    EXPECT_EQ(relocations_of(source), "0001 bit flag+0x12345\n0005 bit flag+0\n"
                                      "000a page-byte .text+0x89\n000b word .text+0x89\n");
    EXPECT_EQ(text_of(FAR + " xbit flag\njra far\nbtjf flag,far\nbtjt flag,*+5\n"),
              "ac e8 03 e8 72 01 00 00 f7 72 00 00 00 00");
    EXPECT_EQ(relocations_of("bits: section bit,bss\nbit0: ds.b 1\n switch .text\nbres bit0\n"),
              "0001 bit bits+0\n");
    EXPECT_EQ(section_of("lohi", " xbit flag\nlohi: section -hilo\nbset flag+$1234\n"),
              "72 10 12 34");
}

TEST(Branches, CheckItemsStandBefore16BitTargets)
{
    EXPECT_EQ(relocations_of(" xref ext\njp ext\ncall ext+2\njp (ext,x)\njp [ext]\njpf ext\n"
                             "callr ext\nld a,ext\n"),
              "0001 check ext+0\n0001 word ext+0\n0004 check ext+0x2\n0004 word ext+0x2\n"
              "0007 check ext+0\n0007 word ext+0\n000b word ext+0\n"
              "000e page-byte ext+0\n000f word ext+0\n0012 check ext+0\n0012 word ext+0\n"
              "0015 word ext+0\n");
    EXPECT_EQ(relocations_of(FAR + "scross off\njra far\njrne far+1\nbtjt $10,#0,far+2\n"),
              "0001 check .text+0x3e8\n0001 word .text+0x3e8\n"
              "0006 check .text+0x3e9\n0006 word .text+0x3e9\n"
              "000e check .text+0x3ea\n000e word .text+0x3ea\n");
    EXPECT_EQ(relocations_of("lab: call lab\njra lab\njp lab\njp $10\n"), "");
}

TEST(Branches, Faults)
{
    const std::string relocatable = "bad relocatable expression";
    expect_faults(" xref ext\n switch .data\ndata: dc.b 0\n switch .text\n"
                  "ox: equ 0\nf: equ 0\n",
                  {{relocatable, "jra data | jrne data | btjt $10,#0,data | callr data | jrf ext"},
                   {"value too large", "jrf *+130 | jrf *-127"},
                   {"bad comment delimiter", "scross 1 | scross x | scross ox | scross offf"}});
    expect_faults(" xref ext\n",
                  {{relocatable, "jra ext | btjf $10,#0,ext | callr ext"},
                   {"value too large", "jrne *+130 | jrh *-126"}},
                  {"-b"});
}
