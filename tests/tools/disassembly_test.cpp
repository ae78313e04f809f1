// What nvobj8 -d prints is assembled again and has to give the object that it was made from.
#include "base/object_format.h"
#include "support/rows.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

// All that the source is to bring back: sections without the texts of .info., their relocations,
// and public symbols, by name and in no order.
static std::string essence(const ObjectFile &object)
{
    std::ostringstream text;
    text << std::hex;
    for (const ObjectSection &section : object.sections) {
        if (section.name == ".info.")
            continue;
        text << section.name << ' ' << int{section.attributes} << ' ' << section.address << ' '
             << section.size << ": " << hex(section.contents) << '\n';
        for (const ObjectRelocation &relocation : section.relocations)
            text << relocation.offset << ' ' << relocation_kind_name(relocation.kind) << ' '
                 << index_name(object, relocation.index) << '+' << relocation.addend << '\n';
    }
    std::vector<std::string> symbols;
    for (const ObjectSymbol &symbol : object.symbols) {
        if (symbol.attrs & ATTR_PUBLIC)
            symbols.push_back(symbol.name + ' ' + std::to_string(symbol.attrs) + ' ' +
                              index_name(object, symbol.section_number) + ' ' +
                              std::to_string(symbol.value) + '\n');
    }
    std::sort(symbols.begin(), symbols.end());
    for (const std::string &symbol : symbols)
        text << symbol;
    return text.str();
}

static std::string source_of(const Run &made)
{
    const auto run = run_viewer({"-d", "prog.o"}, {{"prog.o", made.object_bytes}});
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
    return run.out;
}

// Gives the source between the two objects.
static std::string expect_to_come_back(const Run &made, const std::string &title)
{
    EXPECT_TRUE(made.has_object) << title << "\n" << made.err;
    const std::string source = source_of(made);
    const auto again = assemble(source, {"-b"});
    EXPECT_EQ(again.err, "") << title << "\n" << source;
    EXPECT_EQ(essence(again.object), essence(made.object)) << title << "\n" << source;
    return source;
}

static std::string comes_back(const std::string &source,
                              const std::vector<std::string> &options = {})
{
    return expect_to_come_back(assemble(source, options), source);
}

// The lines without comments, in one.
static std::string statements_of(const std::string &source)
{
    std::istringstream lines(source);
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line.substr(0, line.find(';')));
        std::string statement;
        for (std::string word; words >> word;)
            statement += (statement.empty() ? "" : " ") + word;
        if (!statement.empty())
            text += (text.empty() ? "" : " | ") + statement;
    }
    return text;
}

TEST(Disassembly, ExamplesComeBack)
{
    const std::filesystem::path root = std::filesystem::path(NVASM8_SOURCE_DIR).parent_path();
    size_t count = 0;
    for (const auto *folder : {"examples", "tests/sim/programs"}) {
        for (const auto &file : std::filesystem::recursive_directory_iterator(root / folder)) {
            if (file.path().extension() != ".s" || file.path().filename() == "divide.s")
                continue;
            ++count;
            for (const char *options : {"", "-pl -xx "}) {
                const std::string command =
                    std::string("out=$PWD; cd ") + file.path().parent_path().string() +
                    " && $NVASM8 " + options + "-o $out/prog.o " + file.path().filename().string();
                expect_to_come_back(run_shell(command), command);
            }
        }
    }
    EXPECT_GE(count, 20U);
}

// Targets of branches that lie in the middle of the next instruction would make data of it.
TEST(Disassembly, EveryInstructionComesBackAsOne)
{
    std::ostringstream table;
    table << std::ifstream(NVASM8_SOURCE_DIR "/target/instructions.cases").rdbuf();
    for (const char *attributes : {"code", "code,-hilo"}) {
        std::string source = "all: section " + std::string(attributes) + "\n";
        for (const Row &row : rows_of(table.str())) {
            std::string statement = row.source;
            if (const size_t target = statement.find("*+$12"); target != std::string::npos)
                statement.replace(target, 5, "*");
            source += " " + statement;
        }
        const std::string again = comes_back(source + " ret\n", {"-b"});
        EXPECT_EQ(again.find("dc.b"), std::string::npos) << again;
    }
}

TEST(Disassembly, TellsCodeFromData)
{
    EXPECT_EQ(
        statements_of(comes_back(" xref put,level\n xdef main\n"
                                 "main: ldw x,#text\n call put\n ld a,(table,x)\n jreq done\n"
                                 " inc level\n jra main\ndone: ret\n"
                                 "table: dc.w main,done\ntext: dc.b \"hello\",0\n"
                                 "loose: clr a\n ret\n"
                                 " switch .bss\nbuf: ds.b 4\n"
                                 " switch .data\n dc.l $82000000+loose,buf+2\n")),
        "xdef main | xref put | xref level | switch .text | "
        "main: | ldw x,#L_0016 | call put | ld a,(L_0012,x) | jreq L_0011 | inc level | jra main | "
        "L_0011: | ret | L_0012: | dc.w main | dc.w L_0011 | L_0016: | dc.b \"hello\" | dc.b $0 | "
        "L_001c: | clr a | ret | "
        "switch .data | dc.l L_001c+$82000000 | dc.l L3_0002 | "
        "switch .bss | ds.b 2 | L3_0002: | ds.b 2");
    // A trail that runs into what is no instruction, or a branch that leads out, was none.
    EXPECT_EQ(statements_of(comes_back(" xdef main\nmain: nop\n dc.b $71,$20,$70\n")),
              "xdef main | switch .text | main: | dc.b $9d,$71,$20,$70");
    // Vectors and calls lead into sections that say nothing of code.
    EXPECT_EQ(statements_of(comes_back("v: section abs\n org $8000\n dc.l $82008006\n dc.b 0,1\n"
                                       " call $800a\n iret\n clr a\n ret\n")),
              "v: section hilo,abs | org $8000 | dc.b $82,$0,$80,$6,$0,$1 | call L2_800a | iret | "
              "L2_800a: | clr a | ret");
}

// A form is only written where the assembler would choose it.
TEST(Disassembly, WritesWhatHasNoWordsAsData)
{
    EXPECT_EQ(statements_of(comes_back(" dc.b $e6,0,$c6,0,$12,$72,$c6,0,5,$81\n")),
              "switch .text | dc.b $e6,$0 | dc.b $c6,$0,$12 | dc.b $72,$c6,$0,$5 | ret");
    comes_back("z: section zpage\n xdef in\nd: ds.b 1\n ld a,*\n dc.b $c6\n dc.w d\n"
               "in: equ *-1\n dc.l d\nmid: equ *-2\n xdef mid\n");
    comes_back(" xref.b z\n xref a.b\n dc.b $c6\n dc.w z\n dc.b $92,$c6,low(a.b)\n ret\n");
}

TEST(Disassembly, RelocationsComeBack)
{
    const std::string names =
        " xref e\n xref.b z\n xref.l f\n xbit b\n xbit.b c\n wdef w\n xdef p\n"
        "q: nop\np: nop\nw: ret\n";
    for (const char *statements : {
             " call e+2\n call p-1\n call q\n call w+3\n jp *+5\n jp (p,x)\n jp (z,x)\n jp [q]",
             " callf e\n jpf q\n ldf a,(f-1,y)\n ldf a,z\n ld a,z+1\n mov z,#low(e)\n mov z,e",
             " ldw x,#high(e)\n ldw x,#page(q+70000)\n ldw x,#plow(e)\n push #phigh(q)\n ld a,e-3",
             " bset b\n btjt c+9,q\n bset e,#3\n btjf z,#7,w2\nw2: bres low(e),#1",
             " dc.w high(e),page(q),plow(e-1),z\n dc.b low(w),high(p),page(w),phigh(q),z",
             " dc.l p+5,e-1,$82000000+q\n .scheck e\n .scheck p+1\n .scheck w\n .scheck 7\n nop",
         }) {
        const std::string source = names + statements + "\n ret\n";
        comes_back(source, {"-b"});
        comes_back("s: section code,-hilo\n" + source, {"-b", "-pl"});
    }
}

TEST(Disassembly, SectionsAndSymbolsComeBack)
{
    for (const char *source : {
             "s: section new,code\n nop\ns: section new,even\n dc.b 1\n.text: section new,zpage\n "
             "nop",
             "v: section abs,code\n xdef at,n,k\nn: equ $8001\n org $8000\n nop\n nop\nat: nop\nk: "
             "equ 7:3",
             "m: section bss,abs,zpage\n org $10\n xdef v,w\nv: ds.b 2\nw: ds.b 1\n switch .text\n "
             "inc v",
             "f: section bit\nbx: dc.b 1\n xdef bx\n switch .text\n bset bx\n xdef l\nl: equ "
             "q:3\nq: nop",
             " xdef out,used,idle\nout: equ *+9\nused: nop\nidle: nop\n nop\n dc.w idle,used",
             " xref.b low\n xref.l far\nlow: nop\nfar: nop\n xdef low\n jp far",
             "empty: section\nlab:\n switch .text\n ldw x,#lab\n xref un\nalias: equ un",
             " .misra \"one\"\n .misra\n .misra 'a \"b\"'\n nop",
             "L_0000: jra L_0000\n xdef L_0000\nL0_x: nop\n jra L0_x\n",
         })
        comes_back(std::string(source) + "\n");
}

TEST(Disassembly, ArbitraryBytesComeBack)
{
    uint32_t state = 12345;
    for (const char *section : {"s: section code\n", "s: section code,abs\n org $fff0\n"}) {
        std::string source = section;
        for (int i = 0; i < 4000; ++i) {
            state = state * 1664525 + 1013904223;
            source += " dc.b " + std::to_string(state >> 24) + "\n";
        }
        comes_back(source);
    }
}

TEST(Disassembly, CarriesTextsOfInfo)
{
    const auto texts = [](const std::string &source) {
        const ObjectSection section = assemble(source, {"-b"}).object.sections.back();
        const std::string text(section.contents.begin(), section.contents.end());
        const size_t begin = text.find('\0') + 1;
        return text.substr(begin, text.rfind('\0', text.size() - 2) - begin);
    };
    const std::string source = " nop\n .info \"a ; b\"\n .info\n .info\n .info \"it's\"\n .info\n";
    EXPECT_EQ(texts(source), std::string("a ; b\0\0it's", 11));
    EXPECT_EQ(texts(comes_back(source)), std::string("a ; b\0\0it's", 11));
    EXPECT_NE(comes_back(" nop\n", {"-si"}).find("-b -si"), std::string::npos);
}

TEST(Disassembly, StandsAloneAndNeedsASoundObject)
{
    const std::string object = assemble(" nop\n").object_bytes;
    EXPECT_EQ(run_viewer({"-ds", "a.o"}, {{"a.o", object}}).status, 2);
    const auto run = run_viewer({"-d", "a.o"}, {{"a.o", object.substr(0, object.size() - 1)}});
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.status, 1);
}
