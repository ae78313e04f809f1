// Whole links: short sources a.s, b.s, ... are assembled and linked, and what is looked at is the
// image, by address, or the messages.
#include "support/run.h"
#include <algorithm>
#include <gtest/gtest.h>

using Sources = std::vector<std::string>;

// Runs `command` in a shell after all sources were assembled to a.o, b.o, ...
static Run run_after_assembly(const Sources &sources, const std::string &command)
{
    std::vector<SourceFile> files;
    std::string script;
    for (size_t i = 0; i < sources.size(); ++i) {
        const std::string name(1, static_cast<char>('a' + i));
        files.push_back({name + ".s", sources[i]});
        script += "\"$NVASM8\" " + name + ".s || exit 9\n";
    }
    return run_shell(script + command, files);
}

static Run link_sources(const Sources &sources, const std::string &arguments,
                        const std::string &preparation = ":")
{
    std::string objects;
    for (size_t i = 0; i < sources.size(); ++i)
        objects += std::string(" ") + static_cast<char>('a' + i) + ".o";
    const bool named = arguments.find(".o") != std::string::npos;
    const bool has_output = arguments.find("-o x.hex") != std::string::npos;
    return run_after_assembly(sources, preparation + "\n\"$NVLINK8\" " +
                                           (has_output ? "" : "-o x.hex ") + arguments +
                                           (named ? "" : objects));
}

// Data records as "8000: 9d 81", a line for each stretch; the sums are checked on the way.
static std::string image_text(const std::string &file)
{
    std::string text;
    unsigned long upper = 0;
    unsigned long next = ~0UL;
    for (size_t at = 0; at < file.size(); at = file.find('\n', at) + 1) {
        std::vector<unsigned long> bytes;
        for (size_t i = at + 1; file[i] != '\n'; i += 2)
            bytes.push_back(std::stoul(file.substr(i, 2), nullptr, 16));
        unsigned long sum = 0;
        for (const unsigned long byte : bytes)
            sum += byte;
        EXPECT_EQ(sum & 0xFF, 0U) << file;
        if (bytes[3] == 4)
            upper = bytes[4] << 24 | bytes[5] << 16;
        if (bytes[3] != 0)
            continue;
        const unsigned long address = upper + (bytes[1] << 8) + bytes[2];
        char buffer[16];
        if (address != next) {
            std::snprintf(buffer, sizeof buffer, "%s%lx:", text.empty() ? "" : "\n", address);
            text += buffer;
        }
        for (size_t i = 4; i + 1 < bytes.size(); ++i) {
            std::snprintf(buffer, sizeof buffer, " %02lx", bytes[i]);
            text += buffer;
        }
        next = address + bytes[0];
    }
    return text;
}

// The image, or standard error if there is none. Warnings don't count.
static std::string image(const Sources &sources, const std::string &arguments = "",
                         const std::string &preparation = ":")
{
    const Run run = link_sources(sources, arguments, preparation);
    const auto file = run.files.find("x.hex");
    return file == run.files.end() ? run.err : image_text(file->second);
}

static std::string first_error(const Sources &sources, const std::string &arguments = "",
                               const std::string &preparation = ":")
{
    const Run run = link_sources(sources, arguments, preparation);
    EXPECT_EQ(run.status, 1);
    EXPECT_FALSE(run.files.contains("x.hex"));
    const std::string head = "nvlink8: error: ";
    const size_t at = run.err.find(head);
    if (at == std::string::npos)
        return run.err;
    return run.err.substr(at + head.size(), run.err.find('\n', at) - at - head.size());
}

// What each kind of relocation puts into its field, for an external of b.s that ends up at 0x12345
// (big), 0x8003 (near), 0x42 (zero), and bit 3 of 0x42 (flag).
static const char *const EXTERNALS = " xref.l big\n xref near\n xref.b zero\n xbit flag\n";
static const char *const DEFINITIONS =
    "far: section long,code\n xdef big\n switch far\n ds.b $2345\nbig: retf\n"
    " xdef near,zero,flag\nlow: section code\n switch low\n ds.b 3\nnear: ret\n"
    " switch .ubsct\n ds.b $42\nzero: ds.b 1\nflag: equ zero:3\n";

TEST(Relocation, PutsEveryKindIntoItsField)
{
    const std::pair<const char *, const char *> rows[] = {
        {"dc.b low(big),high(big),page(big)", "45 23 01"},
        {"dc.w plow(big),page(big),high(big)", "23 45 00 01 00 23"},
        {"dc.w phigh(big)", "00 23"},
        {"dc.l big,big-1,$82000000+near", "00 01 23 45 00 01 23 44 82 00 80 03"},
        {"dc.w near,near+$7000,near-$8000,near-1", "80 03 f0 03 00 03 80 02"},
        {"callf big", "8d 01 23 45"},
        {"ld a,zero", "b6 42"},
        {"ld a,zero-$42", "b6 00"},
        {"ldw x,#zero-$43", "ae ff ff"},
        {"bset flag", "72 16 00 42"},
        {"bset flag+5", "72 10 00 43"},
        {"call near", "cd 80 03"},
    };
    for (const auto &[statement, bytes] : rows) {
        const std::string source = std::string(EXTERNALS) + " switch .text\n " + statement + "\n";
        EXPECT_EQ(
            image({source, DEFINITIONS},
                  "--place .text=0x9000 --place far=0x10000 "
                  "--place low=0x8000 --format bin -o all.bin "
                  "--region far=0x10000+64K --region code=0x9000+64 --format ihex --only code "
                  "-o x.hex"),
            std::string("9000: ") + bytes)
            << statement;
    }
}

TEST(Relocation, TurnsFieldsOfLittleEndianSections)
{
    EXPECT_EQ(image({" xref num\n xbit b\nle: section -hilo\n switch le\n"
                     " dc.w plow(num),page(num)\n dc.l num\n bset b\n"},
                    "--define num=0x12345 --define b=0x3000a --place le=0x8000"),
              "8000: 45 23 01 00 45 23 01 00 72 14 60 01");
}

// A weak symbol goes by its own number within its file, too, and the strong one takes all of it.
TEST(Symbols, StrongDefinitionsReplaceWeakOnes)
{
    const char *const weak = " wdef hook\n nop\nhook: ret\n dc.w hook,hook+1\n call hook\n";
    const char *const other = " wdef hook\nhook: rim\n";
    const char *const strong = " xdef hook\nhook: sim\n";
    EXPECT_EQ(image({weak}), "8000: 9d 81 80 01 80 02 cd 80 01");
    EXPECT_EQ(image({weak, other}), "8000: 9d 81 80 01 80 02 cd 80 01 9a");
    EXPECT_EQ(image({weak, strong}), "8000: 9d 81 80 09 80 0a cd 80 09 9b");
    // The distance of its check counts from where the weak one was.
    EXPECT_EQ(image({" wdef hook\n nop\nhook: ret\n call hook\n",
                     "k: section code\n xdef hook\nhook: sim\n"},
                    "--place k=0x20000 --place .text=0x20100"),
              "20000: 9b\n20100: 9d 81 cd 00 00");
    EXPECT_EQ(image({weak}, "--define hook=0x8100"), "8000: 9d 81 81 00 81 01 cd 81 00");
}

TEST(Symbols, AreMadeForSections)
{
    const char *const source =
        " xref __start_data,__end_data,__size_data,__load_data,__start_text,__load_text\n"
        " xref __size_bsct,__end_ubsct,__stack_top,__size_eeprom\n"
        " dc.w __start_data,__end_data,__size_data,__load_data,__start_text,__load_text\n"
        " dc.w __size_bsct,__end_ubsct,__stack_top,__size_eeprom\n"
        " switch .data\n dc.b 1,2,3\n switch .ubsct\n ds.b 5\n";
    EXPECT_EQ(image({source}, "--place .eeprom=0x4000"),
              "8000: 01 00 01 03 00 03 80 14 80 00 80 00 00 00 00 05 07 ff 00 00 01 02 03");
    EXPECT_EQ(first_error({"data: section\n dc.b 1\n switch .data\n dc.b 1\n"}),
              "sections .data and data would both have __start_data; one is to be renamed");
}

struct Case {
    Sources sources;
    const char *arguments;
    const char *expected;
};

TEST(Placement, JoinsAndFillsGaps)
{
    const char *const fixed = "v: section abs\n org $8002\n dc.b 1,2\n switch .text\n";
    const Case cases[] = {
        // Sections of one name, in the order of the files.
        {{" dc.b 1\nk: section\n dc.b 2\n", "k: section\n dc.b 3\n switch .text\n dc.b 4\n"},
         "",
         "8000: 01 04 02 03"},
        {{" dc.b 1\n", " dc.b 2\n"}, "b.o a.o", "8000: 02 01"},
        // The first gap that holds a section, around what is fixed.
        {{std::string(fixed) + " dc.b 9,9\n"}, "", "8000: 09 09 01 02"},
        {{std::string(fixed) + " dc.b 9,9,9\n"}, "", "8002: 01 02 09 09 09"},
        // An order by --place, at an address and in regions; what follows goes after it.
        {{" dc.b 1\nk: section\n dc.b 2\nm: section\n dc.b 3\n"},
         "--place m,k=0x9000",
         "8000: 01\n9000: 03 02"},
        {{std::string(fixed) + " dc.b 1\nk: section\n dc.b 4,4,4\n"},
         "--place k=flash",
         "8002: 01 02 04 04 04 01"},
        {{" dc.b 1,1,1\nk: section\n dc.b 2,2\nm: section\n dc.b 3\n"},
         "--region r=0x8100+4 --region q=0x9000-0x9fff --place .text,k,m=r,q",
         "8100: 01 01 01\n9000: 02 02 03"},
        {{" dc.b 1\n", " dc.b 2\n"}, "--place b.o:.text=0x8100 a.o b.o", "8000: 01\n8100: 02"},
        {{" dc.b 1\nk: section\n dc.b 2\n"},
         "--place k=0x8100 --place *=0x9000",
         "8100: 02\n9000: 01"},
        // Alignment of sections, and of pieces.
        {{" dc.b 1\nk: section\n dc.b 2\n"}, "--align k=0x10", "8000: 01\n8010: 02"},
        {{" dc.b 1\ne: section even\n dc.b 2\n", "e: section even\n dc.b 3\n"},
         "",
         "8000: 01\n8002: 02 00 03 00"},
        // What runs in RAM and is stored in flash; what has no bytes takes none.
        {{" dc.w d\n switch .bsct\n dc.b 7\n switch .data\n dc.b 6\nd: dc.b 8\n switch .bss\n"
          " ds.b 3\n"},
         "",
         "8000: 01 01 06 08 07"},
        {{"ramcode: section code\nf: ret\n switch .text\n dc.w f\n"},
         "--place ramcode=ram --load ramcode=0x8010",
         "8000: 01 00\n8010: 81"},
        {{" dc.w a1,b1\nu1: section bss\na1: ds.b 4\nu2: section bss\nb1: ds.b 9\nu3: section bss\n"
          " ds.b 1\nc1: ds.b 1\n switch .text\n dc.w c1\n"},
         "--overlay u1,u2",
         "8000: 01 00 01 00 01 0a"},
        // Code stays within 64 KiB, other sections needn't.
        {{"c: section code\n dc.b 1,2,3\nk: section\n dc.b 4,5\n"},
         "--region flash=0xfffe-0x10fff --place k=0x10003",
         "10000: 01 02 03 04 05"},
        {{"f: section code,long\n dc.b 1\n dc.b 2\n"},
         "--region far=0x10000-0x17fff",
         "10000: 01 02"},
    };
    for (const Case &c : cases)
        EXPECT_EQ(image(c.sources, c.arguments), c.expected) << c.sources[0] << c.arguments;
}

TEST(Archives, GiveTheMembersThatAreWanted)
{
    const Sources sources = {" xref one\n dc.w one\n", " xdef one\n xref two\none: dc.w two\n",
                             " xdef two\ntwo: dc.b 2\n", " xdef three\nthree: dc.b 3\n",
                             " wdef one\none: dc.b $ee\n"};
    const char *const make = "ar rcD l.a c.o b.o d.o; ar rcSD a_name_longer_than_16.a b.o c.o";
    // Members stand in the order of the archive, whoever was wanted first.
    EXPECT_EQ(image(sources, "a.o l.a", make), "8000: 80 03 02 80 02");
    EXPECT_EQ(image(sources, "l.a a.o", make), "8000: 02 80 00 80 01");
    EXPECT_EQ(image(sources, "a.o a_name_longer_than_16.a", make), "8000: 80 02 80 04 02");
    EXPECT_EQ(image(sources, "a.o e.o l.a", make), "8000: 80 02 ee");
    EXPECT_EQ(image(sources, "--undefined three -L. -l n a.o", "ar rcD libn.a b.o c.o d.o"),
              "8000: 80 02 02 03 80 00");
}

TEST(GarbageCollection, KeepsWhatRootsReach)
{
    const Sources sources = {" xref f\nv: section abs,code\n org $8000\n dc.l f\n"
                             "unused: section\n xdef u\nu: dc.b 9\n.debug: section\n",
                             "t: section new\n xdef f,g\nf: call h\n"
                             "t: section new\ng: ret\nt: section new\nh: ret\n"
                             " switch .debug\n dc.w g\n"};
    EXPECT_EQ(image({sources[0].substr(0, sources[0].find(".debug")), sources[1]}, "--gc-sections"),
              "8000: 00 00 80 04 cd 80 07 81");
    EXPECT_EQ(image({" nop\n", " xdef go\ngo: rim\n"}, "--gc-sections --entry go"), "8000: 9a");
    EXPECT_EQ(image({" nop\nk: section\n dc.b 7\n"}, "--gc-sections --keep k"), "8000: 07");
    EXPECT_EQ(image({" xref d\n xdef go\ngo: rim\n .scheck d\n", "k: section\n xdef d\nd: nop\n"},
                    "--gc-sections --entry go"),
              "8000: 9a");
    EXPECT_EQ(image({" ldw x,#__start_t\n xref __start_t\n", "t: section\n dc.w 1\n"},
                    "--gc-sections --keep .text"),
              "8000: ae 80 03 00 01");
    EXPECT_EQ(first_error({" nop\n"}, "--gc-sections").substr(0, 36),
              "--gc-sections would drop everything:");
}

TEST(Errors, NamePlaceValueAndRemedy)
{
    const char *const far = "far: section code,long\n xdef far1\n switch far\n ds.b 4\nfar1: ret\n";
    const Case cases[] = {
        {{" xref.l far1\n nop\n ldw x,#far1\n", far},
         "--place far=0x10000",
         "a.o: .text+0x2: far1: value 0x10004 doesn't fit a word, -0x8000 to 0xffff; write "
         "plow(...) for its low word, "
         "or use callf, jpf or ldf, which take three bytes"},
        {{" xref.l far1\n call far1\n", far},
         "--place far=0x10000",
         "a.o: .text+0x1: far1: value 0x10004 lies in another 64 KiB than the place, 0x8001; use "
         "callf or jpf"},
        {{" xref.b z\n ld a,z\n"},
         "--define z=0x100",
         "a.o: .text+0x1: z: value 0x100 doesn't fit the byte of a zero page address, 0 to 0xff; "
         "place the section into zpage, or write low(...) for its low byte"},
        {{" xref counter\n nop\n ldw x,counter\n ldw counter,x\n", " xdef countr\ncountr: ret\n"},
         "",
         "undefined symbol counter: a.o: .text+0x2, a.o: .text+0x5; is countr meant?"},
        {{" xdef f\nf: ret\n", " xdef f\nf: ret\n"},
         "",
         "b.o: symbol f is defined here and in a.o; one of them is to be renamed, or made weak by "
         "wdef"},
        {{" xref.b v\n ld a,v\n", " xdef v\n switch .bss\nv: ds.b 1\n"},
         "",
         "a.o: symbol v is a zero page address here, but not a zero page address in b.o, which "
         "defines it"},
        {{"s: section bss\n ds.b 1\n", "s: section\n dc.b 1\n"},
         "",
         "b.o: section s is not bss here and bss in a.o; give it the same attributes in all files, "
         "or two names"},
        {{" ds.b 20\n"},
         "--region flash=0x8000+16",
         "region flash, 0x8000-0x800f, is overflown by 4 bytes; its biggest sections: .text (20 "
         "bytes)"},
        {{" dc.b 1,2\nk: section\n dc.b 3\n"},
         "--place .text=0x8000 --place k=0x8001",
         "section k, 0x8001-0x8001, overlaps section .text, 0x8000-0x8001; move one of them, or "
         "let them share by --overlay"},
        {{"k: section\n dc.b 3\n"},
         "--place k=ram",
         "section k has 1 bytes that would run at 0x100, in RAM, and are stored nowhere; --load "
         "k=flash stores them"},
        {{" switch .bss\n ds.b 1700\n"},
         "--stack 100",
         "only 92 bytes are left for the stack at the end of region ram, not 100"},
        {{"bits: section bit,bss\nb: ds.b 1\n xdef b\n", " xref b\n dc.w b\n"},
         "",
         "b.o: symbol b is not a bit symbol here, but a bit symbol in a.o, which defines it"},
        {{" nop\n"},
         "--place .text=rom",
         "--place .text=rom: there is no region rom; --region rom=START-END makes it"},
        {{" nop\nk: section code\n ret\n"},
         "--overlay .text,k",
         "section k shares 0x8000 by --overlay with section .text, and both are stored there; "
         "--load k=flash stores it elsewhere"},
        {{" nop\n"}, "--checksum sum=0x8000+1@0x300", "--checksum: 0x300 lies in RAM"},
        {{" nop\n"}, "--map ./x.hex", "the output ./x.hex would be written over x.hex"},
        {{" nop\n"}, "--export a.o a.o", "the output a.o would be written over a.o"},
        {{" nop\n"}, "--define v=010", "--define v=010: expected NAME=VALUE or ADDRESS:BIT"},
        {{" nop\n"}, "a.o -o", "-o: expected FILE"},
        {{" nop\n"},
         "--map m --map m --map n",
         "--map n: it was m before, and there can be one only"},
        {{" nop\n"},
         "--region e=0x3ff+2,rom --region ram=0x100-0x3ff",
         "regions ram, 0x100-0x3ff, ram, and e, 0x3ff-0x400, rom, overlap; --region changes "
         "either"},
        {{" nop\n"}, "--fill ram=1", "--fill ram=0x1: region ram is RAM, where nothing is stored"},
        {{" nop\n"},
         "--entry e --define e=0x1000000",
         "--entry e: 0x1000000 is no address; the last is 0xffffff"},
        {{" switch .bss\n ds.b 2\n"},
         "--place .bss=0x8000 --region flash=0x8000-0xffff",
         "section .bss, 2 bytes of variables at 0x8000, lies in region flash, which is ROM"},
        {{"v: section abs,code\n org $ffff\n dc.b 1,2\n"},
         "--region flash=0x8000-0x10fff",
         "section v of a.o, 0xffff-0x10000, is code and crosses a boundary of 64 KiB; its org is "
         "to "
         "be moved"},
        {{" .scheck $18000\n dc.b 1\n"},
         "",
         "a.o: .text+0x0: 0: value 0x18000 lies in another 64 KiB than the place, 0x8000; use "
         "callf "
         "or jpf"},
        {{"u: section bss\n ds.b 1\nw: section bss\n ds.b 1\n"},
         "--overlay u,w --place u=ram --place w=0x200",
         "sections u and w share an address by --overlay, and --place u=ram and --place w=0x200 "
         "give "
         "them two"},
        {{"u: section bss\n ds.b 1\nw: section bss\n ds.b 1\n"},
         "--overlay u,w --overlay w",
         "section w can't share its address by two --overlay"},
        {{" xref b\n dc.w b\n"},
         "--define b=0x50:3",
         "a.o: symbol b is not a bit symbol here, but a bit symbol in --define, which defines it"},
        {{" wdef v\n switch .ubsct\nv: ds.b 1\n", " xdef v\n switch .bss\nv: ds.b 1\n"},
         "",
         "a.o: symbol v is a zero page address here, but not a zero page address in b.o, which "
         "defines it"},
        {{" xref counter\n ldw x,counter\n xref alpha\n dc.w alpha\n", " xdef conuter\nconuter:\n"},
         "--define alpah=1",
         "undefined symbol alpha: a.o: .text+0x3; is alpah meant?"},
        {{" nop\n"}, "--frob", "unknown option --frob; --help lists the options"},
    };
    for (const Case &c : cases)
        EXPECT_EQ(first_error(c.sources, c.arguments), c.expected) << c.sources[0];
}

TEST(Errors, AreOnlyWarningsWhereASlipIsLikely)
{
    const Case cases[] = {
        {{" nop\n"}, "--place k=0x9000", "--place k=0x9000: there is no section k"},
        {{" nop\n"},
         "--load b.?:.t*=flash",
         "--load b.?:.t*=flash: there is no section .t* of b.?"},
        {{" nop\n"}, "--align k=2", "--align k=2: there is no section k"},
        {{" nop\n"}, "--keep k", "--keep k: there is no section k"},
        {{" nop\n"}, "--overlay k", "--overlay k: there is no section k"},
        {{"v: section abs\n org $8000\n dc.b 1\n"},
         "--place v=0x9000",
         "--place v=0x9000: section v of a.o is absolute and stays"},
        {{" nop\n"},
         "--region r=0xff-0x1ff,ram",
         "regions ram, 0x100-0x7ff, ram, and r, 0xff-0x1ff, ram, overlap; --region changes either"},
        {{" xbit b\n bset b\n"},
         "--define b=0x283",
         "a.o: symbol b is a bit symbol here, and --define gives it a plain number, which is "
         "taken as 0x50:3; --define b=ADDRESS:BIT says so"},
    };
    for (const Case &c : cases) {
        const auto run = link_sources(c.sources, c.arguments);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_NE(run.err.find("warning: " + std::string(c.expected) + "\n"), std::string::npos)
            << run.err;
    }
    // A layout may speak of more than a program has.
    EXPECT_EQ(link_sources({" nop\n"}, "@l", "echo --place k=0x9000 --keep m >l").err, "");
}

TEST(Errors, LeaveOldOutputsAndAreAllShown)
{
    const auto run = link_sources({" xref u\n dcb.w 60,u\n xref.b z\n dcb.b 60,z\n"},
                                  "--define u=0x10000 --define z=256", "echo old >x.hex");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.files.at("x.hex"), "old\n");
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 51);
    EXPECT_NE(run.err.find("nvlink8: 70 errors more are not shown\n"), std::string::npos);
    for (const char *const map : {"d", "none/map", "/dev/full"}) {
        const auto failed = link_sources({" nop\n"}, "--map " + std::string(map),
                                         "mkdir d; echo old >x.hex; trap 'ls -A >list' EXIT");
        EXPECT_EQ(failed.status, 1) << map;
        EXPECT_EQ(failed.files.at("x.hex"), "old\n") << map;
        EXPECT_EQ(failed.files.at("list").find(".nvasm8"), std::string::npos) << map;
    }
}

TEST(Inputs, DamagedAndForeignOnesAreRefused)
{
    const std::pair<const char *, const char *> rows[] = {
        {"head -c 60 a.o >d.o", "d.o: the file ends within the section table, at entry 1 of 2"},
        {"echo text >d.o", "d.o: not an object file: it doesn't begin with 0xcc"},
        {"cp a.o d.o; printf '\\002' | dd of=d.o bs=1 seek=1 conv=notrunc 2>&-",
         "d.o: made for machine 2, variant 3; the STM8 is 6, 3"},
        {"ar rcD t.a a.o; head -c 67 t.a >d.o", "d.o: the head of a member at 0x8 is cut off"},
        {"ar rcTD d.o a.o",
         "d.o: a thin archive, which has only the names of its members; make it without T"},
        {":", "can't read d.o: no such file"},
    };
    for (const auto &[preparation, message] : rows) {
        EXPECT_EQ(first_error({" nop\n"}, "d.o", preparation), message) << preparation;
    }
}

TEST(Options, StandInFilesToo)
{
    const char *const layout = "mkdir -p d; mv a.o 'd/my a.o'; cat >d/l.txt <<'END'\n"
                               "# where everything goes\n--place .text=0x9000 'my a.o' # blank\n"
                               "--region=ram=0x0-0x3FF,ram --define=v=2K\nEND\n";
    EXPECT_EQ(
        image({" xref v,__stack_top\n dc.w v,__stack_top\n"}, "@d/l.txt --verbose -o y.o", layout),
        "nvlink8: error: -o y.o: no format goes by this extension; name one ahead with "
        "--format ihex, srec or bin\n");
    EXPECT_EQ(image({" xref v,__stack_top\n dc.w v,__stack_top\n"}, "@d/l.txt # .o", layout),
              "9000: 08 00 03 ff");
    EXPECT_EQ(image({" nop\n"}, "@l", "printf '\\357\\273\\277--place .text=0x9000' >l"),
              "9000: 9d");
    EXPECT_EQ(first_error({" nop\n"}, "@l", "printf '\\n\"\" b' >l"),
              "l:2: an empty word, which is neither an option nor a file");
}

TEST(Outputs, HaveTheirFormats)
{
    const auto run =
        link_sources({" xdef go\ngo: dc.b 1,2\nk: section\n dc.b 3\n"},
                     "--entry go --place k=0x10000 -o x.s19 -o x.bin --format srec --only flash "
                     "-o low.txt --export x.def --depfile x.d --map x.map");
    EXPECT_EQ(run.files.at("x.hex"), ":028000000102"
                                     "7B\n:0200000400"
                                     "01F9\n:0100000003FC\n"
                                     ":0400000500008000"
                                     "77\n:00000001FF\n");
    EXPECT_EQ(run.files.at("x.s19"), "S00A00006E766C696E6B382B\nS206008000010276\n"
                                     "S20501000003F6\nS8040080007B\n");
    EXPECT_EQ(run.files.at("low.txt"), "S00A00006E766C696E6B382B\nS1058000010277\nS90380007C\n");
    EXPECT_EQ(run.files.at("x.bin").size(), 0x8001U);
    EXPECT_EQ(run.files.at("x.def"), "--define go=0x8000\n");
    EXPECT_EQ(link_sources({" xdef b\n switch .bss\nv: ds.b 2\nb: equ v+1:7\n"}, "--export x.def")
                  .files.at("x.def"),
              "--define b=0x101:7\n");
    EXPECT_EQ(image({" xbit b\n bset b\n"}, "--define b=0x101:7"), "8000: 72 1e 01 01");
    EXPECT_EQ(run.files.at("x.d"), "x.hex: \\\n a.o\na.o:\n");
    EXPECT_NE(run.files.at("x.map").find("  008000  go                       a.o\n"),
              std::string::npos);
}

TEST(Outputs, AreFilledAndCarryChecksums)
{
    const char *const digits = " dc.b \"123456789\"\n";
    EXPECT_EQ(image({digits}, "--checksum crc16=0x8000+9@0x8010 --checksum sum=0x8000+9@0x8012 "
                              "--checksum crc32=0x8000-0x8008@0x8014"),
              "8000: 31 32 33 34 35 36 37 38 39\n8010: 29 b1 01 dd cb f4 39 26");
    EXPECT_EQ(image({" dc.b 1\nk: section\n dc.b 2\n"},
                    "--place k=0x8003 --fill 0x9d --checksum sum=0x8000-0x8005@0x8008"),
              "8000: 01 9d 9d 02 9d 9d 9d 9d 02 77");
    EXPECT_EQ(image({" dc.b 1\n"}, "--region flash=0x8000+4 --fill flash=0xff"),
              "8000: 01 ff ff ff");
}
