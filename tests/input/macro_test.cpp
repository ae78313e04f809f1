// What a macro call turns into: its arguments, the elements of its lines, its place in the source.
#include "support/rows.h"
#include <array>

// `source` assembles to the same bytes as `plain`, which is written out by hand.
static void expect_same(const std::string &source, const std::string &plain,
                        const std::vector<std::string> &options = {})
{
    EXPECT_EQ(text_of(source, options), text_of(plain)) << source;
}

static std::string repeated(const std::string &text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

TEST(MacroCall, CutsItsArguments)
{
    static const std::tuple<std::string, int, std::string> cases[] = {
        {"", 0, ""},
        {" ,", 2, ","},
        {" a,,b", 3, "a,,b"},
        {"  a b \t,  c  ; d", 2, "a b,c"},
        {" \"a,b\",c", 2, "a,b,c"},
        {" \"a\" \"b\"\"c\"", 3, "a,b,c"},
        {" \" a;b \" , c", 2, " a;b ,c"},
        {" \"it\" , a\"b,c\"", 3, "it,a\"b,c\""},
        {" \"a\"lost,c", 2, "a,c"},
        {" \"open ; end", 1, "open ; end"},
        {" " + repeated("a,", 62) + "a", 63, repeated("a,", 62) + "a"},
        {" " + repeated("\"a\"", 35), 35, repeated("a,", 34) + "a"},
    };
    for (const auto &[call, count, joined] : cases)
        expect_same("m: macro\n dc.b \\#,'\\*',0\n endm\n m" + call + "\n",
                    " dc.b " + std::to_string(count) + ",'" + joined + "',0\n");
    expect_same("m macro\n dc.b \\#,'\\*'\n endm\n m \"a,b\"\n", " dc.b 2,'\"a,b\"'\n", {"-m"});
}

TEST(MacroCall, PutsElementsIntoItsLines)
{
    expect_same("m: macro\n dc.b '\\2\\1\\1\\C','\\q\\.\\'\n endm\n m a,b,,,,,,,,,,d\n",
                " dc.b 'baad','\\q\\.\\'\n");
    // The suffix is the first of one or two characters after the dot, as typed.
    expect_same("m: macro\n dc.b '\\0',1\n endm\n M.w\n m.Wx\n m\n m.b 5\n",
                " dc.b 'w',1,'W',1,1,'b',1\n");
    expect_same(
        "m: macro \\x , \\ y.z\n dc.b \\(x)1,\\y.z\n dc.b '\\y.z\\0'\n endm\n m 2, 3\n m.b 4,6\n"
        " dc.b 5\n",
        " dc.b 21,3,'3',41,6,'6b',5\n", {"-b"});
    expect_same("m: macro \\x\n dc.b (1+\\x)*2\n endm\n m 3\n", " dc.b 8\n");
}

TEST(MacroCall, ReportsBadElementsAtTheCall)
{
    static const std::array<std::string, 4> cases[] = {
        {"", " dc.b 1\\1", "", "bad argument number"},
        {"", " dc.b 1\\B", " " + repeated(",", 9), "bad argument number"},
        {" \\x", " dc.b 1\\1", " 1", "unknown macro argument 1"},
        {" \\x", " dc.b 1\\xy", " 1", "unknown macro argument xy"},
        {" \\x", " dc.b 1\\(y)", " 1", "unknown macro argument y"},
        {"", "", " " + repeated("a,", 63), "too many arguments"},
        {"", "", " " + repeated("'a'", 36), "bad comment delimiter"}};
    for (const auto &[head, line, call, message] : cases) {
        const std::string source = "m: macro" + head + "\n" + line + "\n endm\n m" + call;
        EXPECT_EQ(errors_of(source + "\n"), reported("4 = " + message)) << source;
    }
    // The old syntax takes a missing argument for an empty one, named ones do, and skipped code.
    expect_same("m macro\n dc.b 1\\1\n endm\n m\n", " dc.b 1\n", {"-m"});
    expect_same("m: macro \\x,\\y\n dc.b \\x\\y\n endm\n m 1\n", " dc.b 1\n");
    expect_same("m: macro\n if 0\n dc.b \\1\n endif\n endm\n m\n dc.b 7\n", " dc.b 7\n");
}

TEST(MacroCall, CutsLongLinesAtAnElement)
{
    // " dc.b 1 " has 8 characters and " +1" has 3; 240 are kept, whole elements only.
    const std::string head = "m: macro\n dc.b 1 \\1 +1\n endm\n m '";
    expect_same(head + repeated(" ", 229) + "'\n", " dc.b 2\n");
    expect_same(head + repeated(" ", 231) + "'\n dc.b 7\n", " dc.b 1,7\n");
    expect_same(head + repeated(" ", 231) + "+2'\n", " dc.b 1\n");
}

TEST(MacroCall, NumbersAreTheSameInEveryPass)
{
    // A jump grows in a later pass; labels keep their names all the same.
    expect_same("m: macro\nl\\@: jra l\\@\n dc.b '\\@'\n endm\n m\n repeat 0\n endr\n repeat 2\n"
                " m\n endr\n jra far\n ds.b 200\nfar: m\n",
                " jra *\n dc.b '.1'\n jra *\n dc.b '.3'\n jra *\n dc.b '.5'\n jra far\n"
                " ds.b 200\nfar: jra *\n dc.b '.6'\n");
}

TEST(MacroDefinition, StoresEveryStatementUpToItsEnd)
{
    // Inner definitions are stored whole, and made when the outer macro runs.
    expect_same("o: macro\ni\\1: macro \\x\n dc.b \\1\\x\n endm\n endm\n o 5\n o 6\n i6 7\n i5 8\n",
                " dc.b 67,58\n");
    // The end of a body is seen after every label that arguments may make up.
    for (const char *label : {"l\\@", "x\\(y)z", "1\\2$", "1\\#$", "\\1_"})
        expect_same("m: macro\n dc.b 1 ; \\\n" + std::string(label) + ": endm\n m\n", " dc.b 1\n");
    expect_same("m: macro\n endr\n repeatl \\1,b\n dc.b '\\1'\n endr\n endm\n m a\n endm\n",
                " dc.b 'aa'\n");
    static const std::pair<std::string, std::string> cases[] = {
        {"m: macro\n#line 100 \"f\"\n .sfile \"g\"\n\n zork\n endm\n m\n",
         "7 = unknown instruction zork | 7 = unknown instruction zork"},
        {"m: macro\n nop\n endm\nM: macro\n nop\n endm\n", "4 = symbol M multiply defined"},
        {"1$: macro\n", "1 = bad symbol name: 1$ | 1 = bad symbol name: 1$"},
        {"m: macro \\a,\\,\\b\n", "1 = missing argument name | 1 = missing argument name"},
    };
    for (const auto &[source, errors] : cases)
        EXPECT_EQ(errors_of(source), reported(errors)) << source;
}

TEST(MacroExit, EndsTheMacroAndItsConditionals)
{
    expect_same("m: macro\n if \\1\n if 1\n dc.b 1\n mexit\n endif\n endif\n dc.b 2\n endm\n"
                " if 1\n m 1\n m 0\n endif\n",
                " dc.b 1,2\n");
    // Repeats that run in the macro end with it.
    expect_same("m: macro\n repeat 3\n if 1\n repeat 2\n dc.b 1\n if 1\n mexit\n endif\n endr\n"
                " endif\n endr\n dc.b 2\n endm\n m\n dc.b 3\n",
                " dc.b 1,3\n");
    EXPECT_EQ(errors_of(" mexit\n repeat 3\n mexit\n endr\n"),
              reported("1 = no macro in expansion | 4 = no macro in expansion"));
    EXPECT_EQ(errors_of(" if 1\nm: macro\n endif\n mexit\n endm\n m\n"),
              reported("6 = bad if/endif balance"));
}

TEST(MacroExpansion, OpensTheDebugInformation)
{
    // Two addresses, the name, seven long words with the number of lines, the empty closing table.
    const std::string expected =
        "00 00 00 08 00 00 00 10 70 72 6f 67 2e 73 00 8a 00 00 00 00 00 00 00 00 "
        "00 00 00 00 00 00 00 01 00 00 00 05 00 00 00 00 00 00 00 00 00 00 00 00";
    EXPECT_EQ(section_of(".debug", "m: macro\n dc.b '\\@'\n endm\n m\n nop\n", {"-x"}), expected);
    EXPECT_EQ(section_of(".debug", "m macro\n dc.b '\\@'\n endm\n m\n nop\n", {"-xx", "-m"}),
              expected);
    EXPECT_EQ(text_of("m: macro\n dc.b '\\@'\n endm\n m\n", {"-x"}), "2e 32");
}

TEST(MacroExpansion, NestsAsDeepAsMemoryAllows)
{
    // \@ wraps at 65536: 131072 macros and as many conditionals are open at the deepest point.
    expect_same("m: macro\n ifc '\\@','.0'\n n\n else\n m\n endif\n endm\n"
                "n: macro\n ifc '\\@','.0'\n dc.b 1\n else\n n\n endif\n endm\n m\n dc.b 2\n",
                " dc.b 1,2\n");
    expect_same("m: macro\n endm\n repeat 60000\n m\n m 1\n endr\n m\n dc.b 3\n", " dc.b 3\n");
    // The use of a symbol on each level must not slow the way to the end down.
    const auto run = assemble("k: equ 1\nm: macro\n dc.b k\n m\n endm\n m\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "no memory\n");
}
