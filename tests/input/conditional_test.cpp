// Which statements count.
#include "support/run.h"

#include <gtest/gtest.h>

static std::string error(int line, const std::string &message)
{
    return "#error nvasm8 prog.s:" + std::to_string(line) + "\t" + message + "\n";
}

TEST(Conditionals, TakeTheBranchOfTheirCondition)
{
    struct Case {
        std::string when_true, when_false;
    };
    const std::vector<Case> cases = {{"if 2", "if 0"},
                                     {"IFNE -1", "ifne 1-1"},
                                     {"ifeq 0", "ifeq $80000000"},
                                     {"iflt $80000000", "iflt 0"},
                                     {"ifle 0", "ifle 1"},
                                     {"ifgt $7fffffff", "ifgt $80000000"},
                                     {"ifge 0", "ifge -1"},
                                     {"ifc 'A',\"A\"", "ifc \"a\",'A'"},
                                     {"ifnc 'a','a '", "ifnc \"\",''"},
                                     {"ifdef above", "ifdef below"},

                                     {"ifndef same", "ifdef same"},
                                     {"ifdef __NVRN__", "ifndef given"},
                                     {"#if 1", "#if 0"},

                                     {"#ifndef below", "#ifndef above"}};
    for (const Case &c : cases) {
        for (const bool holds : {true, false}) {
            const std::string &line = holds ? c.when_true : c.when_false;
            // A label on the line itself has not been seen yet; a "#" must come first.
            const std::string label = line[0] == '#' ? " " : "same: ";
            const std::string source = "above: equ 1\n" + label + line +
                                       "\n dc.b 1\n else\n dc.b 2\n endif\nbelow: equ 1\n";
            EXPECT_EQ(text_of(source, {"-dgiven"}), holds ? "01" : "02") << line;
        }
    }
}

TEST(Conditionals, ReadNothingInSkippedCode)
{
    EXPECT_EQ(text_of(" if 0\n if zz+\"open\n dc.b 1\n elsec junk\n dc.b 2\n endc\n #ifdef (\n"
                      " #else\n #endif\nlab: zork\n include \"nowhere\"\nm: macro\n mexit\n 123\n"
                      " else\n ifdef lab\n dc.b 3\n#else\n dc.b 4\n endif\n endif\n"),
              "04");
}

TEST(Conditionals, ReportTheirMistakes)
{
    struct Case {
        std::string source, errors;
    };
    const std::vector<Case> cases = {
        // The second `else` changes nothing: what follows it is still assembled.
        {" if 0\n else\n else\n fail 'here'\n endif\n endif\n",
         error(3, "bad else") + error(4, "here") + error(6, "bad endif")},
        {"lab: nop\n if lab\n fail 'one'\n endif\n nop\nend: if end\n fail 'two'\n endif\n",
         error(2, "relocatable expression not allowed") +
             error(6, "relocatable expression not allowed") + error(7, "two")},
        // A bad operand counts as equal strings, or as a symbol that is defined.
        {" ifc k,'b'\n fail 'c'\n endif\n ifnc 'b',k\n fail 'nc'\n endif\nk: equ 1\n",
         error(1, "missing string") + error(2, "c") + error(4, "missing string")},
        {" ifdef 1\n fail 'def'\n endif\n ifndef a\n fail 'ndef'\n endif\n",
         error(1, "missing string") + error(2, "def") + error(4, "missing string")},
        {" if 1 2\n endif 3\n",
         error(1, "bad comment delimiter") + error(2, "bad comment delimiter")},
        {" if 1\n if 0\n if 1\n nop\n", error(4, "unclosed if")},
    };
    for (const Case &c : cases)
        EXPECT_EQ(errors_of(c.source, {"-dif"}), c.errors) << c.source;
}

TEST(Conditionals, LeftOpenAreListedAtTheEnd)
{
    EXPECT_EQ(assemble(" if 1\n nop\n", {"-l", "-b"}).listing,
              "   2  0000 9d             nop\n******** ERROR:  unclosed if  ********\n");
}

TEST(Conditionals, ReachAcrossMacros)
{
    EXPECT_EQ(text_of("open: macro\n if \\1\n endm\nclose: macro\n endif\n endm\n"
                      " open 0\n dc.b 1\n else\n dc.b 2\n close\n dc.b 3\n"),
              "02 03");
}

TEST(Conditionals, KnowTheirOwnFramesWhenAnExpansionIsLeft)
{
    // The new `if` may lie where the ended one lay.
    EXPECT_EQ(errors_of(" if 1\n repeat 1\n endif\n if 1\n rexit\n endr\n"),
              error(6, "bad if/endif balance"));
    EXPECT_EQ(errors_of("m: macro\n endif\n if 1\n mexit\n endm\n if 1\n m\n endif\n"),
              error(7, "bad if/endif balance") + error(8, "bad endif"));
}

TEST(Conditionals, AreListedUnderClist)
{
    EXPECT_EQ(
        assemble(" if 0\n zork\n else\n clist on\n endif\n if 0\nx2: zork\n\n endif\n", {"-l"})
            .listing,
        "   4                      clist on\n   5                      endif\n"
        "   6                      if 0\n   7                     x2: zork\n"
        "   8                     \n   9                      endif\n");
}
