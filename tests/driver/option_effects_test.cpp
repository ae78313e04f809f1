// What each option changes, and that it changes nothing else.
#include "support/rows.h"
#include <set>

using Options = std::vector<std::string>;

// Everything that can be seen of a run, a line for each part.
static Options outcome_of(const Run &run)
{
    std::string files = "files", sections = "sections", text = "text ", symbols = "symbols";
    std::string options = "options";
    for (const auto &[name, contents] : run.files)
        files += " " + name;
    for (const ObjectSection &section : run.object.sections) {
        sections += " " + section.name + ":" + hex({section.attributes});
        if (section.name == ".text")
            text += hex(section.contents);
    }
    std::set<std::string> names;
    for (const ObjectSymbol &symbol : run.object.symbols)
        names.insert(" " + symbol.name + ":" + hex({symbol.attrs}));
    for (const std::string &name : names)
        symbols += name;
    const size_t record = run.object_bytes.find("V4.8.1:");
    if (record != std::string::npos)
        options += run.object_bytes.substr(record + 7).c_str();
    const std::string records = std::to_string(run.object.debug_records.size()) + " records";
    return {"out " + run.out, "err " + run.err, files, sections, text, symbols, records, options};
}

// The parts in which the run differs from one without options.
static std::string changes_by(const Options &options)
{
    static const std::string source = "near: nop\nnop\n jp near\nsize: equ 3\n ds.b 1\n"
                                      " ifdef given\n dc.b 9\n endif\n .info 'i'\n .misra 'm'\n";
    static const std::vector<SourceFile> files = {{"h", " dc.b 8\n"}};
    static const Options plain = outcome_of(assemble(source, {}, files));
    const Options changed = outcome_of(assemble(source, options, files));
    std::string changes;
    for (size_t i = 0; i < plain.size(); ++i) {
        if (changed[i] != plain[i])
            changes += (changes.empty() ? "" : " | ") + changed[i];
    }
    return changes;
}

TEST(Options, ChangeWhatTheySay)
{
    const std::string listed = "files h prog.ls prog.o prog.s";
    // A jump to an absolute address isn't shortened.
    const std::string absolute = "sections .text:92 .info.:00 .misra.:00 | text 9d 9d cc 00 00 00";
    const std::string debug = "sections .text:82 .debug:02 .info.:00 .misra.:00";
    const std::string rule = "out prog.o: prog.s\n | files h prog.s | sections | text ";
    const std::pair<Options, std::string> cases[] = {
        {{}, ""},
        {{"-a"}, absolute + " | options -a"},
        {{"-b"}, "text 9d 9d cc 00 00 00 | options -b"},
        {{"-c"}, listed},
        {{"-dgiven"}, "text 9d 9d 20 fc 00 09 | options -d given"},
        {{"+eq"}, ""},
        {{"-ff"}, ""},
        {{"-ft"}, ""},
        {{"-f7"}, "text 9d 9d 20 fc 07"},
        {{"-ge"}, ""},
        {{"-hh"}, "text 08 9d 9d 20 fc 00 | options -h h"},
        {{"-i."}, ""},
        {{"-l"}, listed},
        {{"+lq"}, "files h prog.o prog.s q"},
        {{"-md"}, rule},
        {{"-mi"}, "text 9d 20 fd 00 | symbols near:87"},
        {{"-m"}, "text 9d 20 fd 00"},
        {{"-oq"}, "files h prog.s q | sections | text "},
        {{"-pe"}, "symbols size:15"},
        {{"-pl"}, "symbols __NVRN__:11 near:83 size:11 | options -pl"},
        {{"-p"}, "symbols near:87 size:15"},
        {{"-si"}, "sections .text:82 .misra.:00"},
        {{"-sm"}, "sections .text:82 .info.:00"},
        {{"-u"}, listed},
        {{"-v"}, "err prog.s:\n"},
        {{"+vq"}, listed + " q | " + absolute + " | options -a"},
        {{"-xp"}, "options -xp"},
        {{"-xx"}, debug + " | 6 records | options -xx"},
        {{"-x"}, debug + " | 6 records | options -x"},
        {{"-x", "-p"}, debug + " | 6 records | options -x"},
        {{"-mi", "-x"}, debug + " | text 9d 20 fd 00 | symbols near:87 | 5 records | options -x"},
        {{"-pl", "-xx"},
         debug + " | symbols __NVRN__:11 near:83 size:11 | 6 records | options -pl -xx"},
        {{"-lbc"}, listed + " | text 9d 9d cc 00 00 00 | options -b"},
        {{"-x", "-oq", "+lr"}, "files h prog.s q r | sections | text "},
        {{"-md", "+vq", "-lcv", "+er", "-x"}, rule},
        {{"-md", "-oq", "-hh"}, "out q: prog.s h\n | files h prog.s | sections | text "},
    };
    for (const auto &[options, changes] : cases)
        EXPECT_EQ(changes_by(options), changes) << ::testing::PrintToString(options);
}

TEST(Options, ReachEverySourceFile)
{
    const auto run = run_program({"-v", "+vq", "-bcx", "-hh", "a.s", "b.s"},
                                 {{"a.s", "&a\nla: nop\n nop\n"},
                                  {"b.s", "&b\n jp hid\n dc.b 300\nlb: nop\n"},
                                  {"h", "hid:\n"}});
    EXPECT_EQ(run.err, "a.s:\nb.s:\n#error nvasm8 b.s:3\tvalue too large\n");
    EXPECT_TRUE(run.status == 1 && run.files.contains("a.o") && !run.files.contains("b.o"));
    EXPECT_EQ(run.files.at("q"), "b\n"); // the constants of the last file
    // The lines are counted from the seven that open the debug information.
    EXPECT_EQ(run.files.at("b.ls"), R"(   8  0000               hid:
  10  0000 cc0000         jp hid
  11  0003 2c             dc.b 300
******** ERROR:  value too large  ********
  12  0004 9d            lb: nop

Symbol table:

__NVRN__   00000001    Defined, Not Referenced, Absolute
             ***
hid        00000000    Defined, Absolute
               8    10
lb         00000004    Defined, Not Referenced, Absolute
              12
)");
    const auto rules = run_program({"-md", "a.s", "b.s"}, {{"a.s", ""}, {"b.s", " bad\n"}});
    EXPECT_EQ(rules.out, "a.o: a.s\nb.o: b.s\n");
}
