// What has a number in the object file: equates whose meaning stands below them, and what the
// sizing pass doesn't come across.
#include "support/rows.h"
#include <algorithm>

// The contents of .text, a slash, its relocations on one line; or the messages.
static std::string field_of(const std::string &source, const std::vector<std::string> &options = {})
{
    std::string relocations = relocations_of(source, options);
    std::ranges::replace(relocations, '\n', ' ');
    return trimmed(text_of(source, options) + (relocations.empty() ? "" : " / " + relocations));
}

TEST(Resolver, EquatesAreGoodInAnyOrder)
{
    // After each definition comes `ldw x,#top`, and what the linker finds in its field.
    for (const Row &row : rows_of(R"(
top: equ e1\e1: equ lab+1\lab:                     = 0001 word .text+0x4
top: equ e1+1\e1: equ ext+1\ xref ext              = 0001 word ext+0x2
e1: equ ext+1\ xref ext\top: equ e1+1              = 0001 word ext+0x2
top: equ e2+1\e2: equ e1+1\e1: equ ext\ xref ext   = 0001 word ext+0x2
e1: equ e2+1\top: equ e1+1\ xref ext\e2: equ ext   = 0001 word ext+0x2
top: equ e1\e1: equ weak+1                         = 0001 word weak+0x1
e1: equ weak\top: equ e1+2                         = 0001 word weak+0x2)")) {
        // The declaration makes a definition weak, above it or below.
        const std::string use = " ldw x,#top\n";
        const std::string weak = "weak: nop\n wdef weak\n";
        EXPECT_EQ(relocations_of(use + row.source + weak), row.expected + "\n") << row.source;
        EXPECT_EQ(relocations_of(use + row.source + weak, {"-p"}), row.expected + "\n");
    }
    EXPECT_EQ(field_of("w: nop\ne: equ w\n wdef w\n ldw x,#e\n", {"-p"}),
              "9d ae 00 00 / 0002 word w+0");
    EXPECT_EQ(text_of(" ld a,e1\ne1: equ n\nn: equ 5\n"), "b6 05");
    EXPECT_EQ(text_of(" xdef e2\n ldw x,#e2\ne2: equ e1\ne1: equ n\nn: equ 5\n"), "ae 00 05");
    // Bit symbols.
    EXPECT_EQ(field_of(" bset b\nb: equ e:3\ne: equ lab\nlab: nop\n"),
              "72 16 00 04 9d / 0002 word .text+0x4");
    EXPECT_EQ(field_of(" bset b\nb: equ e:3\ne: equ ext\n xref ext\n"),
              "72 16 00 00 / 0002 word ext+0");
}

TEST(Resolver, AFieldHasToNameSomething)
{
    const std::string bad = "#error nvasm8 prog.s:1\tbad relocatable expression\n";
    EXPECT_EQ(errors_of(" ldw x,#b1\n xref ext\nb1: equ ext:3\n"), bad);
    EXPECT_EQ(errors_of(" ldw x,#e1\n xref ext\nb1: equ ext:3\ne1: equ b1-3\n"), bad);
    EXPECT_EQ(errors_of("q: equ e\n xdef q\ne: equ w\nw: nop\n wdef w\n"), bad);
    // A circle is one error, wherever it is used.
    EXPECT_EQ(errors_of(" dc.w a1\na1: equ b1\nb1: equ c1\nc1: equ a1\n"),
              reported("4 = recursive definition of symbol c1"));
}

TEST(Resolver, WhatOnlyALaterPassMeetsIsThere)
{
    // n is taken for 0 in the sizing pass.
    for (const Row &row : rows_of(R"(
 if n\ xref ext\ ldw x,#ext\ endif                        = ae 00 00 / 0001 word ext+0
 jp ext\ if n\ xref ext\ endif            = cc 00 00 / 0001 check ext+0 0001 word ext+0
 jp lab\ if n\lab: nop\ endif                             = 20 00 9d
 if n\ dc.b t2-t1\t1: nop\t2: nop\ endif                  = 01 9d 9d
 if n\ switch .data\lab:\ switch .text\ dc.w lab\ endif   = 00 00 / 0000 word .data+0
 if n-1\lab: nop\ endif\ dc.w lab\ xref lab               = 00 00 / 0000 word lab+0
 if n\ if 1\lab: nop\ endif\ endif\ dc.w lab              = 9d 00 00 / 0001 word .text+0
w: nop\ dc.w w\ if n\ wdef w\ endif                      = 9d 00 00 / 0001 word w+0
 bset ext\ if n\ xbit ext\ endif                         = 72 10 00 00 / 0001 bit ext+0
 if n\ nop\ else\ ld a,qq\ endif                         = 9d
 if n\ dc.w e\e: equ ext+1\ xref ext\ endif               = 00 01 / 0000 word ext+0x1)")) {
        EXPECT_EQ(field_of(row.source + "n: equ 1\n"), row.expected) << row.source;
    }
    const auto run = assemble(" messg \"m\"\n if n\nlab: nop\n xdef lab\n endif\nn: equ 1\n");
    EXPECT_EQ(run.out, "m\n");
    ASSERT_EQ(run.object.symbols.size(), 1U) << run.err;
    EXPECT_EQ(run.object.symbols[0].name, "lab");
    EXPECT_EQ(text_of(" if n\nlab: nop\n endif\ne: equ lab\nn: equ 1\n", {"-p"}), "9d");
    EXPECT_EQ(text_of(" if n\n wdef w\n endif\ne: equ w\nw: nop\nn: equ 1\n", {"-p"}), "9d");
    EXPECT_EQ(text_of(" if n\n call ext\n endif\n xref ext\nn: equ 1\n", {"-u"}), "cd 00 00");
    // What no pass defines is still reported.
    for (const Row &row : rows_of(R"(if n\ jp lab\ endif = 2 = symbol lab not defined
if n-1\lab: nop\ endif\ jp lab = 4 = symbol lab not defined
if n-1\1$: nop\ endif\ jp 1$ = 4 = symbol 1$ not defined)"))
        EXPECT_EQ(errors_of(" " + row.source + "n: equ 1\n"), reported(row.expected));
    EXPECT_EQ(errors_of(" if n\nlab: nop\n endif\n jp lab\n jp no\nn: equ 1\n"),
              reported("5 = symbol no not defined | 4 = symbol lab not defined"));
}

TEST(Resolver, SectionsMayBeSelectedAboveTheirDefinition)
{
    const std::string early = " switch foo\n nop\nlab: jra next\n dc.b next-lab\n dc.w lab\nnext:\n"
                              " switch .text\n";
    EXPECT_EQ(section_of("foo", early + "foo: section\n"), "9d 20 03 05 00 01");
    EXPECT_EQ(relocations_of(early + "foo: section\n", {}, "foo"), "0004 word foo+0x1\n");
    EXPECT_EQ(relocations_of(" switch foo\nlab:\n switch .text\n dc.w lab\nfoo: section\n"),
              "0000 word foo+0\n");
    // A label leaves the attributes of the section where it seemed to lie.
    const std::string zero_page = " switch .bsct\n switch foo\n ds.b 1\nlab: ds.b 1\n"
                                  " switch .text\n ld a,lab\nfoo: section .bss\n";
    EXPECT_EQ(text_of(zero_page), "c6 00 01");
    // Sizing again finds the instruction that a macro has covered.
    EXPECT_EQ(text_of(" switch foo\n ret\n switch .text\nnop: macro\n \\\\nop\n ret\n endm\n nop\n"
                      "foo: section\n"),
              "9d 81");
}

TEST(Resolver, WhatIsPublishedKeepsItsSection)
{
    const auto run = assemble(" switch .data\nlab: switch .text\n nop\n", {"-p", "-si"});
    ASSERT_EQ(run.object.symbols.size(), 1U) << run.err;
    EXPECT_EQ(run.object.sections.at(run.object.symbols[0].section_number - 1U).name, ".data");
    const auto debug = assemble(" nop\n switch .data\n .dcall \"x\"\n", {"-si"});
    ASSERT_EQ(debug.object.debug_records.size(), 1U) << debug.err;
    EXPECT_EQ(debug.object.sections.at(debug.object.debug_records[0].section_number - 1U).name,
              ".data");
}
