// Sections: how they are asked for, and where the bytes go.
#include "support/rows.h"

TEST(SectionDirectives, Attributes)
{
    // The operands = what they give / what they give under -a.
    for (const Row &row : rows_of(R"(
; none = 82 92 | code = 82 92 | -hilo = 00 10 | -code,+even = 06 16 | bss , - hilo = 01 11
abs,bit,long,zpage = 7a 7a | long,-long,new = 02 12 | .data = 02 12 | .debug = 02 02
+.ubsct,-hilo = 09 19 | .data,.bsct,-zpage = 02 12 | even,.text = 86 96 | -.data = 00 00)")) {
        std::string text;
        for (const char *option : {"-si", "-a"}) {
            const auto run = assemble("c: section " + row.source + " nop\n", {"-si", option});
            ASSERT_EQ(run.object.sections.size(), 1U) << run.err;
            text += hex({run.object.sections[0].attributes}) + " ";
        }
        EXPECT_EQ(trimmed(text), row.expected) << row.source;
    }
}

TEST(SectionDirectives, Faults)
{
    expect_faults("c: section\n switch .text\n",
                  {{"unknown attribute Code", "c1: section Code"},
                   {"missing label", "c2: section code,,bss | c3: section even, | switch"},
                   {"symbol nosec not defined", "switch nosec"},
                   {"missing save directive", "restore and more"},
                   {"section name abcdefghijklmno too long",
                    "abcdefghijklmno: section | switch abcdefghijklmno"},
                   {"bad comment delimiter", "bsct 5 | switch .text 5 | c4: section code 5"}});
    // Reported once, when the section is made; the next ones in both passes.
    EXPECT_EQ(errors_of("c: section\n nop\nc: section\n.text: section\n"),
              reported("3 = symbol c multiply defined | 4 = symbol .text multiply defined"));
    EXPECT_EQ(errors_of(" section\n"), reported("1 = missing label | 1 = missing label"));
    EXPECT_EQ(errors_of("c: section 5\n"), reported("1 = syntax error | 1 = syntax error"));
    EXPECT_EQ(errors_of("1$: section\n"),
              reported("1 = bad symbol name: 1$ | 1 = bad symbol name: 1$"));
}

TEST(SectionDirectives, NumbersOfTheOldSyntax)
{
    const std::string source = "s1: section 1\n nop\ns2: section 2,.data,even\n nop\n section 255\n"
                               " dc.b 1\n section 1\n dc.b 2\ns1: section 1\n dc.b 3\n";
    EXPECT_EQ(section_of("s1", source, {"-m"}), "9d 02 03");
    EXPECT_EQ(section_of("s2", source, {"-m", "-f", "7"}), "9d 07");
    EXPECT_EQ(errors_of("s1: section 1\ns1: section 2\n", {"-m"}),
              reported("2 = symbol s1 multiply defined"));
    // Numbers and what is saved end with their source file.
    const auto next = run_program({"-m", "a.s", "prog.s"}, {{"a.s", " save\n" + source},
                                                            {"prog.s", " restore\n section 1\n"}});
    EXPECT_EQ(next.err, reported("1 = missing save directive | 2 = section number not assigned"));
    EXPECT_EQ(errors_of("s1: section 1\ns3: section 1\ns4: section 255\ns5: section 256\n"
                        "s6: section 3,4\n section 7\n section 1,code\n",
                        {"-m"}),
              reported("2 = section number already assigned | 3 = section number already assigned |"
                       "4 = value too large | 5 = syntax error | 4 = value too large |"
                       "5 = syntax error | 6 = section number not assigned | 7 = syntax error"));
}

TEST(SectionDirectives, SectionsGoOnWhereTheyWere)
{
    const std::string source = " bsct\n dc.b 1\n save\n switch .data\n dc.b 2\n save\n bsct\n"
                               " dc.b 3\n restore x\n dc.b 4\n restore\n dc.b 5\nlab: dc.b *\n";
    EXPECT_EQ(section_of(".bsct", source, {"-a"}), "01 03 05 03");
    EXPECT_EQ(section_of(".data", source, {"-a"}), "02 04");
}

TEST(SectionDirectives, NewOpensAnotherInstance)
{
    const std::string source = "x: section new\nl1: dc.b 1\n switch .text\nx: section new\n"
                               "l2: dc.b 2\nx: section new\nl3: dc.b 3\n bsct\n switch x\n"
                               " dc.b 4\n switch .text\n dc.w l1,l2,l3\n.text: section new\n nop\n";
    const auto run = assemble(source, {"-si"});
    ASSERT_EQ(run.object.sections.size(), 5U) << run.err;
    EXPECT_EQ(hex(run.object.sections[0].relocation_stream), "81 02 81 03 81 04");
    EXPECT_EQ(section_of("x", source), "01 | 02 | 03 04");
    // Every pass finds them in their order, the third too.
    EXPECT_EQ(section_of("x", source + " jreq l4\n nop\nl4:\n"), "01 | 02 | 03 04");
    EXPECT_EQ(section_of(".text", source), "00 00 00 00 00 00 | 9d");
    EXPECT_EQ(errors_of("x: section new\nx: section\n"), reported("2 = symbol x multiply defined"));
}

TEST(SectionDirectives, MergedSectionsAreListedAsSwitches)
{
    std::string source;
    for (int i = 1; i <= 300; ++i)
        source += "x: section new\n dc.b " + std::to_string(i % 256) + "\n";
    const std::string listing = assemble(source, {"-l"}).listing;
    EXPECT_EQ(listing.substr(0, listing.find("   5 ")),
              "   1                     x: section new\n   2  0000 01             dc.b 1\n"
              "   3                     \tswitch\tx\n   4  0001 02             dc.b 2\n");
}

TEST(SectionDirectives, EvenSectionsEndOnAnEvenAddress)
{
    for (const Row &row : rows_of(R"(dc.b 1 = 01 09 | dc.w 1 = 00 01 | org 3\ dc.b 1 = 01
org 4\ dc.b 1 = 01 09)")) {
        EXPECT_EQ(section_of("x", "x: section abs,even\n " + row.source, {"-f", "9"}), row.expected)
            << row.source;
    }
}
