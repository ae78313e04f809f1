// Debug records, the closing table of .debug, and the text sections.
#include "support/rows.h"
#include <cstdio>

using Options = std::vector<std::string>;

// A line for each record: section, address and kind in hex, text.
static std::string records_in(const Run &run)
{
    std::string text = run.err;
    for (const ObjectDebugRecord &record : run.object.debug_records) {
        char position[32];
        std::snprintf(position, sizeof position, " %x %02x ", record.address, record.kind);
        text += index_name(run.object, record.section_number) + position + record.text + "\n";
    }
    return text;
}

static std::string records_of(const std::string &source, const Options &options)
{
    return records_in(assemble(source, options, {{"i.h", " nop\n"}}));
}

// What the prologue leaves.
static const std::string HEAD = ".debug 0 40 prog.s\n.text 0 20 prog.s~:1-1\n";

TEST(DebugRecords, OneForEachInstruction)
{
    EXPECT_EQ(
        records_of("m: macro\n ld a,#1\n nop\n endm\n dc.b 1\n m\n include 'i.h'\n end\n", {"-x"}),
        HEAD + ".text 1 08 prog.s:6\n.text 3 08 prog.s:6\n.text 4 08 i.h:1\n"
               ".text 5 10 prog.s:8-8\n");
}

TEST(DebugRecords, RangesOfLinesInTheirSections)
{
    EXPECT_EQ(records_of(" dc.b 1\n save\nd: section .data\n nop\n bsct\n switch .text\n dc.b 2\n"
                         " restore\n dc.b 3\n offset 7\n switch d\n nop\n offset 9\n",
                         {"-x"}),
              HEAD + ".text 1 10 prog.s:3-3\n"
                     "d 0 20 prog.s~:3-3\nd 0 08 prog.s:4\nd 1 10 prog.s:5-5\n"
                     ".text 1 20 prog.s~:6-6\n.text 2 10 prog.s:8-8\n"
                     ".text 2 20 prog.s~:8-8\n.text 3 10 prog.s:11-11\n"
                     "d 1 20 prog.s~:11-11\nd 1 08 prog.s:12\nd 2 10 prog.s:13-13\n");
}

TEST(DebugRecords, WithoutDirectories)
{
    for (const char *name : {"d.s/prog", "d.s\\prog"}) {
        const auto run = run_program({"-x", "-xp", "-oprog.o", name}, {{name, " nop\n"}});
        EXPECT_EQ(records_in(run), ".debug 0 40 prog\n.text 0 20 prog~:1-1\n"
                                   ".text 0 08 prog:1\n.text 1 10 prog:1-1\n");
    }
}

TEST(DebugRecords, OfTheSourceItself)
{
    EXPECT_EQ(records_of(" .dcall 'a'\n nop\n .dentry 'b'\n .dtable 'c'\n .dquit ''\n .dline 'd'\n"
                         " .dendfn 'e'\n .dstart 'f'\n .dfile 'g'\n .dstring 'h'\n .dstore 'i'\n"
                         " .dopt 'j',0\n",
                         {}),
              ".text 0 00 a\n.text 1 01 b\n.text 1 02 c\n.text 1 04 \n.text 1 08 d\n.text 1 10 e\n"
              ".text 1 20 f\n.text 1 40 g\n.text 1 41 h\n.text 1 42 i\n.text 1 80 j\n");
    expect_faults(
        "", {{"missing string", ".dline | .dopt 5"}, {"syntax error", ".dopt 'a' | .dopt 'a',"}});
}

TEST(DebugRecords, TheSourcesOwnEndTheLineRecords)
{
    // A call leaves them, and survives. Expansions are counted as without the prologue.
    const std::string source = "m: macro\n dc.b '\\@'\n endm\n .dcall \"c\"\n nop\n m\n";
    const std::string own = " .dline \"own\"\n m\n .dopt \"o\",$1234\n";
    EXPECT_EQ(records_of(source, {"-x"}), HEAD + ".text 0 00 c\n.text 0 08 prog.s:5\n"
                                                 ".text 3 10 prog.s:6-6\n");
    for (const char *option : {"-x", "-xx"}) {
        EXPECT_EQ(records_of(source + own, {option}),
                  ".text 0 00 c\n.text 3 08 own\n.text 5 80 o\n");
        EXPECT_EQ(section_of(".debug", source + own, {option}), "00 00 12 34");
        EXPECT_EQ(section_of(".text", source + own, {option}), "9d 2e 31 2e 32");
    }
    const auto next =
        run_program({"-x", "a", "prog"}, {{"a", " .dfile 'x'\n"}, {"prog", " nop\n"}});
    EXPECT_TRUE(next.has_object && records_in(next).empty());
}

TEST(DebugRecords, AreBuiltAnewWhenTheyDiffer)
{
    // The condition holds from pass 1 on.
    const std::string tail = " nop\nlate: equ 1\n";
    EXPECT_EQ(records_of(" if late\n .dline 'longer'\n else\n .dline 'x'\n endif\n" + tail, {}),
              ".text 0 08 longer\n");
    EXPECT_EQ(
        records_of(" if late\n .dline 'longer'\n else\n .dline 'x'\n .dline 'y'\n endif\n" + tail,
                   {}),
        ".text 0 08 longer\n");
    EXPECT_EQ(records_of(" if late\n .dline 'x'\n else\n .dcall 'x'\n endif\n" + tail, {}),
              ".text 0 08 x\n");
    EXPECT_EQ(records_of(" if late\n nop\n endif\n" + tail, {"-x"}),
              HEAD + ".text 0 08 prog.s:2\n.text 1 08 prog.s:4\n.text 2 10 prog.s:5-5\n");
    // Only length and kind are compared: this is the text of the sizing pass.
    EXPECT_EQ(records_of(" if late\n .dline 'new'\n else\n .dline 'old'\n endif\n" + tail, {}),
              ".text 0 08 old\n");
}

TEST(DebugTable, SymbolsWithTheirTypes)
{
    // In the order of the symbol table: the last one first.
    const std::string source = " xdef far,n4\nn1: dc.b 1\nfar: dc.w n1,n5\nn2: ds.b 2\nn5: ds.b 5\n"
                               "n3: nop\nn4: jra n3\nk: equ 7\nt: lit \"3\"\ns1: set 3\n"
                               "1$: jra 1$\n ld a,#k+s1+t\n";
    const std::string table =
        "00 00 00 30 "
        "00 00 00 94 00 00 00 07 58 00 00 00 00 00 00 00 " // k
        "00 00 00 97 00 00 00 0c 58 00 00 00 00 00 00 00 " // n3
        "00 00 00 9b 00 00 00 07 0a 00 00 c0 00 00 00 9f " // n5
        "00 00 00 a3 00 00 00 00 0a 00 00 00 00 00 00 00 " // n1
        "00 00 00 a7 00 00 00 0d 58 00 00 00 00 00 00 00 " // n4
        "00 00 00 ab 00 00 00 01 21 00 00 00 00 00 00 00 " // far
        "00 00 00 00 6b 00 12 6e 33 00 12 6e 35 00 01 00 00 00 05 6e 31 00 01 6e 34 00 13 "
        "66 61 72 00 06";
    EXPECT_EQ(section_of(".debug", source, {"-xx"}).substr(3 * 0x2c), table);
    const std::string relocations = relocations_of(source, {"-xx"}, ".debug");
    EXPECT_EQ(relocations.substr(relocations.find("002c")),
              "002c long .debug+0x30\n0030 long .debug+0x94\n0040 long .debug+0x97\n"
              "0044 long .text+0xc\n0050 long .debug+0x9b\n0054 long .text+0x7\n"
              "005c long .debug+0x9f\n0060 long .debug+0xa3\n0064 long .text+0\n"
              "0070 long .debug+0xa7\n0074 long .text+0xd\n0080 long .debug+0xab\n"
              "0084 long .text+0x1\n");
}

TEST(DebugTable, TypesGoByTheSizeOfTheData)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"ds.b 1", "0a 00 00 00"}, {"ds.b 2", "11 00 00 00"},   {"ds.b 3", "0a 00 00 c0"},
        {"ds.l 1", "21 00 00 00"}, {"dc.b 1,2", "11 00 00 00"},
    };
    for (const auto &[data, type] : cases) {
        // After the prologue and the pointer to the table: name, value, type.
        const std::string table = section_of(".debug", " dc.w n\nn: " + data + "\n", {"-xx"});
        EXPECT_EQ(table.substr(3 * (0x2c + 4 + 8), 11), type) << data;
    }
}

TEST(TextSections, HoldTheTextsOfOnePass)
{
    // The branch takes several passes.
    const std::string source = " .info \"x\"\n .info\n .misra \"a\"\n .misra\n jreq l\n"
                               " .info \"y\"\n .misra \"bc\"\nl: nop\n";
    const auto run = run_program({"prog.s"}, {{"prog.s", source}}, {"SOURCE_DATE_EPOCH=0"});
    const char info[] = "> prog.o:  1 Jan 1970 00:00\0x\0ynvasm8 V4.8.1:";
    EXPECT_NE(run.object_bytes.find({info, sizeof info}), std::string::npos) << run.err;
    EXPECT_EQ(section_of(".misra.", source), "61 00 62 63");
    const auto without = assemble(source, {"-si", "-sm"});
    EXPECT_TRUE(without.has_object && without.object.sections.size() == 1) << without.err;
    EXPECT_EQ(assemble(" nop\n").object.sections.size(), 2u); // .misra. is unused
    expect_faults(
        "", {{"syntax error", ".info 5 | .misra 6"}, {"bad comment delimiter", ".misra 'a' 5"}});
}
