// The table of symbols after the listing.
#include "support/run.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <sys/resource.h>

static std::string table_of(const std::string &source, const std::string &option = "-v")
{
    const std::string listing = assemble(source, {"-c", option}).listing;
    return listing.substr(std::min(listing.find("\nSymbol table:"), listing.size()));
}

TEST(SymbolListing, ShowsValuesAttributesAndUses)
{
    std::string source = " xdef start\n xref ext,idle\nstart: nop\nfew: lit \"1+1+1+10\"\n"
                         "many: lit \"1+1+1+1+10\"\ndup: nop\ndup: nop\nweak: nop\n wdef weak\n"
                         " ifdef never\n endif\n1$: jra 1$\n jp ext\n jp lost\nExt: equ cmd\n"
                         "z: section zpage\nzp: ds.b few\nm: macro\n jp start\n endm\n m\n"
                         " switch .debug\nhidden: dc.b 1\n";
    for (int line = 25; line <= 35; ++line)
        source += " dc.w start\n";
    EXPECT_EQ(table_of(source, "-dcmd=17"), R"(
Symbol table:

Ext        00000011    Defined, Not Referenced, Absolute
              15
__NVRN__   00000001    Defined, Not Referenced, Absolute
             ***
cmd        00000011    Defined, Absolute
             ***    15
dup        00000002    Multiply Defined, Not Referenced
             ***
ext        00000000    Public
               2    13
few        "1+1+1+10"  Defined
               4    17
idle       00000000    Not Referenced, Public
               2
lost       00000000    Not Defined
             ***    14
many       "1+1+1+1+10" Defined, Not Referenced
               5
never      00000000    Not Defined Not Referenced
             ***    10
start      00000000    Defined, Public
               1    22    25    26    27    28    29    30    31    32
              33    34    35
weak       00000003    Defined Weak, Not Referenced, Public
               8
zp         00000000    Defined, Not Referenced, Zero Page
              17
)");
    EXPECT_EQ(assemble(source, {"-l"}).listing.find("Symbol table"), std::string::npos);
}

TEST(SymbolListing, MeasuresAllNamesButAFixedEnd)
{
    // These share the bucket of the first register, whose symbols end the list.
    const auto first_line = [](const std::string &source) {
        const std::string table = table_of(source).substr(16);
        return table.substr(0, table.find('\n'));
    };
    const std::string rest = "   00000001    Defined, Not Referenced, Absolute";
    EXPECT_EQ(first_line("z_far_at_the_end_bpa:\n"), "__NVRN__" + rest);
    const std::string wide = "__NVRN__" + std::string(12, ' ') + rest;
    EXPECT_EQ(first_line("z_far_at_the_end_bpa:\nz2_bpa:\n"), wide);
    EXPECT_EQ(first_line("a_last_and_then_1bpa:\n"), wide);
}

TEST(SymbolListing, SortsManySymbolsAtOnce)
{
    std::string source = "hub: nop\n";
    for (int i = 1; i <= 10000; ++i)
        source += "s" + std::to_string(10000 + i * 7919 % 10007) + ": jp hub\n";
    rusage before, after;
    getrusage(RUSAGE_CHILDREN, &before);
    const std::string table = table_of(source, "-l");
    getrusage(RUSAGE_CHILDREN, &after);
    EXPECT_EQ(std::ranges::count(table, '\n'), 3 + 2 * 10002 + 1000);
    const auto microseconds = (after.ru_utime.tv_sec - before.ru_utime.tv_sec) * 1000000 +
                              after.ru_utime.tv_usec - before.ru_utime.tv_usec;
    EXPECT_LT(microseconds, 1000000);
}
