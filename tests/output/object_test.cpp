// Which sections and symbols reach the object file, under which numbers, and the file byte by byte.
#include "support/rows.h"
#include <algorithm>

template <typename Record> static std::string names_of(const std::vector<Record> &records)
{
    std::string names;
    for (const Record &record : records)
        names += (names.empty() ? "" : " ") + record.name;
    return names;
}

static std::string file_bytes(const std::string &source)
{
    const Run run = assemble(source, {"-si"});
    return run.err + hex({run.object_bytes.begin(), run.object_bytes.end()});
}

TEST(ObjectOutput, TheWholeFile)
{
    EXPECT_EQ(file_bytes(" xdef lab\n nop\nlab: dc.w lab\n switch .bss\n ds 10\n .dcall \"x\"\n"),
              "cc 06 03 02 00 00 00 01 00 00 00 72 00 00 00 0a "
              "00 00 00 01 00 00 00 7c 00 00 00 08 "
              "82 05 2e 74 65 78 74 00 00 00 00 00 00 00 00 00 "
              "00 00 00 6c 00 00 00 03 00 00 00 6f 00 00 00 03 00 00 00 00 00 00 00 00 "
              "03 04 2e 62 73 73 00 00 00 00 00 00 00 00 00 00 "
              "00 00 00 00 00 00 00 0a 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
              "9d 00 01 01 81 01 00 00 00 01 87 01 03 6c 61 62 00 00 00 0a 00 02 01 78");
    EXPECT_EQ(file_bytes(""), "cc 06 03 00 00 00 00 00 00 00 00 1c 00 00 00 00 "
                              "00 00 00 00 00 00 00 1c 00 00 00 00");
}

TEST(ObjectOutput, OnlySectionsThatMatter)
{
    const std::string empty = "e1: section\nlab:\ne2: section\n switch .data\n nop\n";
    EXPECT_EQ(names_of(assemble(empty).object.sections), ".data .info.");
    EXPECT_EQ(names_of(assemble(empty, {"-pl"}).object.sections), ".data .info. e1");
    EXPECT_EQ(names_of(assemble(empty + " xdef lab\n").object.sections), ".data .info. e1");
    const auto run = assemble(empty + " dc.w lab,here\nhere:\n", {"-si"});
    ASSERT_EQ(names_of(run.object.sections), ".data e1");
    EXPECT_EQ(hex(run.object.sections[0].relocation_stream), "01 81 02 81 01");
}

TEST(ObjectOutput, SymbolsAreNumberedInTheOrderOfTheTable)
{
    // A new bucket comes first; "aZ" hashes like "b" and so follows it.
    const auto run = assemble(" xref b,c,aZ\nd: dc.w b,c,aZ,d\n xdef d\n nop\n dc.w b\n", {"-si"});
    ASSERT_EQ(names_of(run.object.symbols), "d c b aZ") << run.err;
    EXPECT_EQ(hex(run.object.sections.at(0).relocation_stream), "81 04 81 03 81 05 81 01 01 81 04");
}

TEST(ObjectOutput, WhichSymbolsAreWritten)
{
    const std::string source = " wdef ww\nww: nop\nk: lit \"1\"\ns1: set 3\ne1: equ 4\n1$: nop\n"
                               "lab: nop\nal: equ ext\n ifdef tst\n endif\n xref ext,none\n"
                               " dc.w ext,al,ww\nd1: equ $50:1\n";
    const auto sorted = [&source](const std::vector<std::string> &options) {
        auto run = assemble(source, options);
        std::ranges::sort(run.object.symbols, {}, &ObjectSymbol::name);
        return names_of(run.object.symbols);
    };
    EXPECT_EQ(sorted({}), " ww ext");
    EXPECT_EQ(sorted({"-p", "-dPP"}), " ww d1 e1 ext lab");
    EXPECT_EQ(sorted({"-pl", "-dPP"}), " ww PP __NVRN__ al d1 e1 ext lab s1");
    // Those without a number stand after the others, so that place and number agree.
    EXPECT_EQ(relocations_of(source, {"-pl"}),
              "0003 word ext+0\n0005 word ext+0\n0007 word ww+0\n");
}

TEST(ObjectOutput, UndefinedSymbolsAreReportedOnce)
{
    const std::string source = " xref ext\n ifdef tst\n endif\n dc.w nn\n dc.w nn\n nop\n";
    EXPECT_EQ(errors_of(source), reported("4 = symbol nn not defined"));
    // Under -u they are reported where they are used.
    EXPECT_EQ(errors_of(source, {"-u"}),
              reported("4 = symbol nn not defined | 5 = symbol nn not defined"));
    // A public equate of what turns out to be weak has a number, but can have no record.
    EXPECT_EQ(errors_of("w: nop\n xdef al\nal: equ w\n wdef w\n dc.w al\n"),
              reported("2 = bad relocatable expression"));
}

TEST(ObjectOutput, EmptyRangesAreLeftOut)
{
    const auto run = assemble(" .dstart \"f\"\n .dendfn \"f\"\n .dstart \"g\"\n nop\n"
                              " .dendfn \"g\"\n");
    ASSERT_EQ(run.object.debug_records.size(), 2U) << run.err;
    EXPECT_EQ(run.object.debug_records[0].text + run.object.debug_records[1].text, "gg");
}

TEST(ObjectOutput, AliasesThatCannotBePublicAreReportedOnce)
{
    EXPECT_EQ(errors_of(" xref k\nq: equ 5\nq: equ k\n xdef q\n dc.w q\n"),
              reported("3 = symbol q multiply defined"));
    EXPECT_EQ(errors_of("q: equ plow(5)\n", {"-p"}), reported("1 = bad relocatable expression"));
}

TEST(ObjectOutput, AWeakNameNeedsRoomForItsMark)
{
    const auto source = [](size_t length) {
        const std::string name(length, 'w');
        return " wdef " + name + "\n" + name + ": nop\n";
    };
    EXPECT_EQ(errors_of(source(254)), "");
    EXPECT_EQ(errors_of(source(255)), reported("1 = bad symbol name: " + std::string(255, 'w')));
}

TEST(ObjectOutput, NumbersEndAt65535)
{
    // Two sections and as many externals as there are numbers, all of them in relocations.
    std::string source;
    for (int i = 0; i < 65533; ++i)
        source += " xref s" + std::to_string(i) + "\n dc.w s" + std::to_string(i) + "\n";
    EXPECT_EQ(errors_of(source), "");
    const std::string errors = errors_of(source + " xref more\n dc.w more\n");
    EXPECT_TRUE(errors.ends_with("\ttoo many symbols\n"));
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1);
}
