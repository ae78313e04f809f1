// The lines of the listing and their columns, which lines are shown, and pages.
#include "support/rows.h"
#include <cstdio>
#include <sstream>

using Options = std::vector<std::string>;

static std::string listing_of(const std::string &source, const Options &options = {"-l"})
{
    Options arguments = options;
    arguments.push_back("prog.s");
    return run_program(arguments, {{"prog.s", source}, {"i.h", " nop\n"}}, {"SOURCE_DATE_EPOCH=0"})
        .listing;
}

// `text` shows the lines of a source as they are listed. "-" marks a line of the source that isn't
// listed, "+" a line of the listing that isn't in the source.
static void expect_listing(const std::string &text, const Options &options = {"-l"})
{
    std::string source, listing;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const bool unlisted = line[0] == '-', extra = line[0] == '+';
        if (!unlisted)
            listing += line.substr(extra) + "\n";
        if (!extra)
            source += line.substr(unlisted ? 1 : 25) + "\n";
    }
    EXPECT_EQ(listing_of(source, options), listing);
}

TEST(Listing, Columns)
{
    expect_listing(R"(   1                     ; note
   2  0000 a612          start: ld a,#$12
   3  0002 010203040506   dc.b 1,2,3,4,5,6,7
   4       12345678      v: equ $12345678
   5       ffffffff      w: set -1
   6  000c                org 12
   7  000c               e:
   8                      switch .bss
   9  0000 000000000000   ds.b 8
  10                      offset 3
  11  0003               f: ds.w 1
  12  0008 00             nop
  13  0009 00            x: nop
+******** ERROR:  bad symbol name: x  ********
)");
    EXPECT_EQ(listing_of(" bad"), "   1                      bad"
                                  "******** ERROR:  unknown instruction bad  ********\n");
    EXPECT_TRUE(listing_of(" include \"i.h\"\n nop\n", {"-c"})
                    .starts_with("   2  0000 9d             nop\n   3  0001 9d             nop\n"));
}

TEST(Listing, LinesOfIncludesAndExpansions)
{
    expect_listing(R"(   1                     m: macro
   2                      nop
   3                      bad
   4                      nolist
   5                      endm
- include "i.h"
+   1  0000 9d             nop
   7                      m
+   7  --- (expanded) ---  bad
+******** ERROR:  unknown instruction bad  ********
- spc 3
- nop
- list
- mlist on
  12                      m
+  12  0003 9d             nop
+  12                      bad
+******** ERROR:  unknown instruction bad  ********
- m
)");
}

TEST(Listing, DebugLinesUnderDlist)
{
    // What leaves the debug section, a comment in it and externals are listed in any case.
    expect_listing(R"(- .dcall "a"
- switch .debug
-l: dc.b 1
   4                     ; note
   5                      xref ext
   6                      dlist on
   7  0001 02             dc.b 2
   8                      switch .text
   9  0002 00000102       .dopt "b",$102
  10                      dlist off
- .dopt "c",1
- switch .debug
  13                      end
)");
}

TEST(Listing, ComesFromThePassThatSettled)
{
    // The first passes take a 16-bit address.
    for (const Options &options : {Options{"-l"}, {"-l", "-b"}})
        expect_listing(R"(   1  0000 b605           ld a,v
   2  0002 9d            l: nop
   3  0003 2c             dc.b 300
+******** ERROR:  value too large  ********
   4       00000005      v: equ 5
)",
                       options);
}

static const std::string DATE = " 1 Jan 1970 00:00";

static std::string date_head(int page)
{
    return DATE + std::string(64 - 17, ' ') + " prog.s page " + std::to_string(page) + "\n\n\n";
}

static std::string title_head(const std::string &title, int page, const std::string &subtitle = "")
{
    return DATE + " " + title + std::string(44 - title.size(), ' ') + " prog.s page " +
           std::to_string(page) + "\n" + subtitle + "\n\n";
}

// The listing of " nop" on these lines, the first of them at `address`.
static std::string nops(unsigned address, const std::vector<int> &lines)
{
    std::string text;
    for (int line : lines) {
        char columns[32];
        std::snprintf(columns, sizeof columns, "%4d  %04x 9d             nop\n", line, address++);
        text += columns;
    }
    return text;
}

static std::string nop_source(size_t count)
{
    std::string source;
    while (count-- > 0)
        source += " nop\n";
    return source;
}

TEST(Pages, HaveHeadsUnderForceTitle)
{
    const std::string source = " plen 10\n" + nop_source(7);
    const std::string first = date_head(1) + nops(0, {2, 3, 4, 5, 6});
    const std::string second = date_head(2) + nops(5, {7, 8});
    EXPECT_EQ(listing_of(source, {"-lft"}), "\n\n" + first + "\n\n" + second + "\n\n\n");
    EXPECT_EQ(listing_of(source, {"-lft", "-ff"}), first + "\f" + second + "\f");
    EXPECT_EQ(listing_of(source, {"-lff"}), nops(0, {2, 3, 4, 5, 6, 7, 8}));
    // Too short for pages, by a constant, and by a value that is an error and taken all the same.
    for (const std::string length : {" plen 9\n", " ds.b 9\nl: plen l\n"})
        EXPECT_EQ(listing_of(length + source.substr(9), {"-lft"}).find("page"), std::string::npos);
}

TEST(Pages, HaveTheTitleThatStandsOnThem)
{
    const auto titled = [](size_t nops_above, size_t nops_below) {
        return listing_of(" plen 10\n" + nop_source(nops_above) + " title \"T\"\n" +
                          nop_source(nops_below));
    };
    EXPECT_EQ(titled(4, 1), "\n\n" + title_head("T", 1) + nops(0, {2, 3, 4, 5, 7}));
    EXPECT_EQ(titled(5, 1), "\n\n" + nops(0, {2, 3, 4, 5, 6, 8}) + "\n\n");
    EXPECT_EQ(titled(9, 0), "\n\n" + nops(0, {2, 3, 4, 5, 6, 7, 8, 9}) + "\n\n" +
                                title_head("T", 2) + nops(8, {10}) + "\n\n\n\n");
    EXPECT_EQ(listing_of(" plen 10\n title \"A\"\n subttl \"S\"\n" + nop_source(4) +
                             " ttl \"B\"\n subttl \"Z\"\n",
                         {"-lff"}),
              title_head("B", 1, "S\n") + nops(0, {4, 5, 6, 7}) + "\f");
}

TEST(Pages, EndByDirective)
{
    const std::string first = title_head("T", 1, "S\n") + nops(0, {4});
    const std::string second = title_head("T", 2, "S\n") + nops(1, {6});
    for (const std::string directive : {" page\n", " nopage\n"}) {
        const std::string source =
            " plen 10\n title \"T\"\n subttl \"S\"\n nop\n" + directive + " nop\n";
        EXPECT_EQ(listing_of(source), "\n\n" + first + "\n\n\n\n\n" + second + "\n\n\n");
        EXPECT_EQ(listing_of(source, {"-lff"}), first + "\f" + second + "\f");
        EXPECT_EQ(listing_of(" nop\n" + directive + " spc\n nop\n spc 2\n spc 0\n nop\n"),
                  nops(0, {1}) + "\n" + nops(1, {4}) + "\n\n" + nops(2, {7}));
    }
}

TEST(Pages, MakeRoomForLongFileNames)
{
    const std::string name(60, 'n');
    static const std::pair<std::string, std::string> cases[] = {
        {" nop\n", " 1 Jan 1970 "},
        {" title \"short\"\n nop\n", DATE + " short      "},
        {" title \"not cut any more\"\n nop\n", DATE + " not cut any more "},
    };
    for (const auto &[source, head] : cases) {
        const auto run =
            run_program({"-lff", "-ft", "+lls", name}, {{name, source}}, {"SOURCE_DATE_EPOCH=0"});
        EXPECT_TRUE(run.files.at("ls").starts_with(head + name + " page 1\n")) << head;
    }
}

TEST(Pages, OfTheNextSourceFile)
{
    // The length of a page stays, the wish for pages doesn't.
    const auto run = run_program(
        {"-l", "a", "b", "c"},
        {{"a", " title \"A\"\n nop\n"}, {"b", " plen 9\n nop\n"}, {"c", " title \"C\"\n nop\n"}});
    EXPECT_NE(run.files.at("a.ls").find(" a page 1\n"), std::string::npos);
    EXPECT_EQ(run.files.at("b.ls") + run.files.at("c.ls"), nops(0, {2}) + nops(0, {2}));
}

TEST(ListingDirectives, Faults)
{
    expect_faults("l: nop\n", {{"missing string", "title 5 | ttl | subttl l"},
                               {"relocatable expression not allowed", "plen l | spc l"},
                               {"bad comment delimiter", "list 1"}});
}

TEST(Pages, TakeAnyNumber)
{
    EXPECT_EQ(listing_of(" spc $80000000\n nop\n"), "   2  0000 9d             nop\n");
    const std::string endless = listing_of(" nop\n plen $7fffffff\n nop\n", {"-l", "-ff", "-ft"});
    EXPECT_EQ(endless.substr(endless.find("   3")), "   3  0001 9d             nop\n\f");
}
