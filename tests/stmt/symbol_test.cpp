// What gives a symbol its value and its standing: equ, set, #define, lit, xref and its kin, -d.
#include "support/rows.h"
#include <algorithm>

// The symbols of the object as "name value attributes section", sorted by name.
static std::string symbols_of(const std::string &source,
                              const std::vector<std::string> &options = {})
{
    Run run = assemble(source, options);
    std::ranges::sort(run.object.symbols, {}, &ObjectSymbol::name);
    std::string text = run.err;
    for (const ObjectSymbol &symbol : run.object.symbols) {
        text += symbol.name + " " + std::to_string(symbol.value) + " ";
        text += hex({symbol.attrs, symbol.section_number}) + "\n";
    }
    return text;
}

TEST(SymbolDirectives, OnlySetMayChangeASymbol)
{
    EXPECT_EQ(text_of("v: set 1\n dc.b v\nv: set v+1\n dc.b v\n"), "01 02");
    EXPECT_EQ(errors_of("v: set 1\nw: equ 1\nw: set 2\nw: equ 1\nv: equ 1\nv:\nlab:\nlab: set 1\n"
                        "#define v\nk: lit \"1\"\nk: equ 2\nsp: set 1\n"),
              reported("3 = symbol w multiply defined | 4 = symbol w multiply defined |"
                       "5 = symbol v multiply defined | 6 = symbol v multiply defined |"
                       "8 = symbol lab multiply defined | 9 = symbol v multiply defined |"
                       "11 = symbol k multiply defined | 12 = symbol sp multiply defined"));
}

TEST(SymbolDirectives, DefineAndPublicEquates)
{
    EXPECT_EQ(text_of("#define F\n#define C ; text\n#define N 10UL\n#define E 2+3lu\n"
                      "#define B $50:3\n dc.b F,C,N,E\n dc.w B\n"),
              "01 01 0a 05 02 83");
    EXPECT_EQ(symbols_of("v: equ 7\nw: set 2\n#define F\nlab:\n", {"-pe"}),
              "F 1 15 00\nv 7 15 00\n");
    EXPECT_EQ(errors_of("#define 5\n"), reported("1 = missing label | 1 = missing label"));
    // The letters after a number are for #define alone; elsewhere they are a name.
    EXPECT_EQ(errors_of("v: equ 10UL\n"),
              reported("1 = symbol UL not defined | 1 = bad comment delimiter"));
}

TEST(SymbolDirectives, BitNumbers)
{
    EXPECT_EQ(symbols_of(" xdef b,c\nb: equ $50:3\n nop\n nop\nlab:\nc: equ lab:1\n"),
              "b 643 35 00\nc 17 a5 01\n");
    expect_faults(" xbit xb\n xref ext\nb: equ $50:3\nbits: section bit\nlb: nop\n switch .text\n",
                  {{"invalid bit number", "n1: equ 0:8 | n2: equ 0:-1 | n3: equ 0:ext"},
                   {"invalid bit definition", "d1: equ b:1 | d2: equ lb:1 | d3: equ xb:1"}});
}

TEST(SymbolDirectives, AnEquateOfWhatComesLater)
{
    EXPECT_EQ(
        errors_of("c1: equ c2\nc2: equ c1\nfoo: equ foo\n"),
        reported("2 = recursive definition of symbol c2 | 3 = recursive definition of symbol foo"));
    expect_faults("lab:\nv: set 1\n", {{"relocatable expression not allowed", "v: set lab"}});
    // A public name can't stand for an external; its first mention counts as its definition.
    EXPECT_EQ(errors_of(" xdef al\n xref ext\nal: equ ext\n"),
              reported("1 = bad relocatable expression"));
    // An absolute one that comes later asks for no pass: the byte is that of the first pass after
    // the sizing pass, unless the listing takes one more.
    const std::string source = " dc.b v\nv: equ l2-l1\nl1: nop\nl2:\n";
    EXPECT_EQ(text_of(source), "00 9d");
    EXPECT_EQ(text_of(source, {"-l"}), "01 9d");
}

TEST(SymbolDirectives, LiteralsAreReadAsText)
{
    EXPECT_EQ(text_of("k: lit \"1+2\"\n dc.b k*2,2*k\n"), "05 04");
    EXPECT_EQ(text_of("acc: lit \"a,#1\"\n ld acc\n"), "a6 01");
    expect_faults("", {{"bad literal definition", "k: lit 5 | k: lit (1)"}});
    EXPECT_EQ(errors_of(" dc.w k\nk: lit \"1\"\n"),
              reported("2 = symbol k multiply defined | 1 = symbol k not defined"));
    EXPECT_EQ(text_of("k: lit \"" + std::string(126, ' ') + "7\"\n dc.b k\n"), "07");
    EXPECT_EQ(errors_of("k: lit \"" + std::string(127, ' ') + "7\"\n dc.b k\n"), "no memory\n");
}

TEST(SymbolDirectives, ExternalsAndLocals)
{
    EXPECT_EQ(symbols_of(" xref.b e1\n xrefb e2\n xref.w e3\n xref e4\n xdef e5\n xref.l e6\n"
                         " xbit e7\n xbit.w e8\n xbit.b e9\n wdef e0, f1\n xref.b unused\n"
                         " dc.w e0,e1,e2,e3,e4,e5,e6,e7,e8,e9\n"),
              "e0 0 06 00\ne1 0 0e 00\ne2 0 0e 00\ne3 0 06 00\ne4 0 06 00\ne5 0 06 00\ne6 0 46 00\n"
              "e7 0 26 00\ne8 0 26 00\ne9 0 2e 00\n");
    // Only a symbol that no definition has placed takes them, and it keeps what it took.
    EXPECT_EQ(symbols_of(" xref.b p1\np1: nop\np2: equ 5\np3: nop\n xref.b p2,p3\n"),
              "p1 0 8d 01\np2 5 15 00\np3 1 85 01\n");
    EXPECT_EQ(symbols_of(" wdef ww\nww: nop\n"), " ww 0 85 01\n");
    expect_faults("ok:\n", {{"bad symbol name: sp", "xdef sp | xref ok,sp"},
                            {"missing label", "xdef ok,,ok | xdef | xdef ok,"},
                            {"bad comment delimiter", "xdef ok ok"}});
    // A scope of local labels.
    EXPECT_EQ(text_of("1$: nop\n jra 1$\n local\n1$: nop\n jra 1$\n"), "9d 20 fd 9d 20 fd");
    EXPECT_EQ(errors_of("1$: nop\n local\n jra 1$\n"), reported("3 = symbol 1$ not defined"));
}

TEST(SymbolDirectives, DefinitionsOfTheCommandLineAreTakenWithoutAWord)
{
    EXPECT_EQ(text_of(" dc.b V1,V2,V3,V4,V5,__NVRN__\n ld a,(3,sp)\n",
                      {"-dV1", "-dV2=1", "-dV2=V1+1", "-dV3=(", "-dV4,3", "-dV5=5 6", "-d7=1",
                       "-dsp=5", "-d__NVRN__=9", "-dV6=*"}),
              "01 02 00 01 05 01 7b 03");
    EXPECT_EQ(errors_of("", {"-dV=zz"}), reported("command_line:0 = symbol zz not defined"));
    EXPECT_EQ(errors_of("", {"-dn=1+", "-d", "=", "-dm=1 2"}), "");
    const auto run =
        run_program({"-dV=5", "first.s", "prog.s"},
                    {{"first.s", "w: equ 1\nk: lit \"1\"\n"}, {"prog.s", "w: equ V\nk: dc.b w\n"}});
    ASSERT_TRUE(run.has_object) << run.err;
    EXPECT_EQ(hex(run.object.sections.at(0).contents), "05");
}
