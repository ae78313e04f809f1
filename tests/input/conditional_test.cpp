// Which statements count.
#include "support/rows.h"

TEST(Conditionals, TakeTheBranchOfTheirCondition)
{
    static const std::pair<std::string, std::string> cases[] = {
        {"if 2", "if 0"},
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
        {"#ifndef below", "#ifndef above"},
    };
    for (const auto &[when_true, when_false] : cases) {
        for (const bool holds : {true, false}) {
            const std::string &line = holds ? when_true : when_false;
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
                      " #else\n #endif )\nlab: zork \"\n10$ 'x\n-x\n include \"nowhere\"\nm: "
                      "macro\n mexit\n 123\n"
                      " else\n ifdef lab\n dc.b 3\n#else\n dc.b 4\n endif\n endif\n"),
              "04");
}

TEST(Conditionals, ReportTheirMistakes)
{
    static const std::pair<std::string, std::string> cases[] = {
        // The second `else` changes nothing: what follows it is still assembled.
        {" if 0\n else\n else\n fail 'here'\n endif\n endif\n",
         "3 = bad else | 4 = here | 6 = bad endif"},
        {"lab: nop\n if lab\n fail 'one'\n endif\n nop\nend: if end\n fail 'two'\n endif\n",
         "2 = relocatable expression not allowed | 6 = relocatable expression not allowed |"
         "7 = two"},
        // A bad operand counts as equal strings, or as a symbol that is defined.
        {" ifc k,'b'\n fail 'c'\n endif\n ifnc 'b',k\n fail 'nc'\n endif\nk: equ 1\n",
         "1 = missing string | 2 = c | 4 = missing string"},
        {" ifdef 1\n fail 'def'\n endif\n ifndef a\n fail 'ndef'\n endif\n",
         "1 = missing string | 2 = def | 4 = missing string"},
        {" if 1 2\n endif 3\n", "1 = bad comment delimiter | 2 = bad comment delimiter"},
        {" if 1\n if 0\n if 1\n nop\n", "4 = unclosed if"},
        // An expansion knows its own: the new `if` may lie where the ended one lay.
        {" if 1\n repeat 1\n endif\n if 1\n rexit\n endr\n", "6 = bad if/endif balance"},
        {"m: macro\n endif\n if 1\n mexit\n endm\n if 1\n m\n endif\n",
         "7 = bad if/endif balance | 8 = bad endif"},
    };
    for (const auto &[source, errors] : cases)
        EXPECT_EQ(errors_of(source, {"-dif"}), reported(errors)) << source;
}

TEST(Conditionals, ReachAcrossMacros)
{
    EXPECT_EQ(text_of("open: macro\n if \\1\n endm\nclose: macro\n endif\n endm\n"
                      " open 0\n dc.b 1\n else\n dc.b 2\n close\n dc.b 3\n"),
              "02 03");
}

TEST(Conditionals, AreListedUnderClist)
{
    static const std::pair<std::string, std::string> cases[] = {
        {" if 0\n zork\n else\n clist on\n endif\n if 0\nx2: zork\n\n .dline 1\n endif\n",
         "   4                      clist on\n   5                      endif\n"
         "   6                      if 0\n   7                     x2: zork\n"
         "   8                     \n  10                      endif\n"},
        {" if 0\n zork\n else\n nop\n endif\n", "   4  0000 9d             nop\n"},
        {" if 1\n nop\n", "   2  0000 9d             nop\n"
                          "******** ERROR:  unclosed if  ********\n"},
    };
    for (const auto &[source, listing] : cases)
        EXPECT_EQ(assemble(source, {"-l", "-b"}).listing, listing);
}
