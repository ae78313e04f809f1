// How the text of a line is cut into numbers, strings, names and literals.
#include "support/rows.h"

TEST(Lexer, NumbersInEveryNotation)
{
    expect_rows("", rows_of(R"(
dc.b 31,0x1F,0X1f,1Fh,1fH,31d,37q,37Q,11111b,$1f,$ 1F,$0x1f,@37,%11111 = )"
                            R"(1f 1f 1f 1f 1f 1f 1f 1f 1f 1f 1f 1f 1f 1f
dc.b 19b,29q,%12,@9,1dh,0bh = 0b 19 04 09 1d 0b
dc.w $-1,%+101,0fh = ff ff 00 05 00 0f
dc.l 0x123456789,4294967297 = 23 45 67 89 00 00 00 01)"));
}

TEST(Lexer, TheBaseDirectiveReachesNumbersWithoutAMark)
{
    // The suffixes win over the base.
    EXPECT_EQ(text_of(" base $10\n dc.b 12,1b,1d,0ff,0fh\n base 10q\n dc.b 17\n base 0x2\n"
                      " dc.b 101,12\n base $A\n dc.b 12\n"),
              "12 01 01 ff 0f 0f 05 04 0c");
    // It holds until the next one, into the next pass, where 16 is 22, and the next source file.
    EXPECT_EQ(errors_of(" base 16\n"), "#error nvasm8 prog.s:1\tinvalid base\n");
    EXPECT_EQ(run_program({"a.s", "b.s"}, {{"a.s", " base $10\n"}, {"b.s", " fail 10\n"}}).err,
              "#error nvasm8 b.s:1\tfail 16\n");
}

TEST(Lexer, StringsEndAtTheirOwnQuote)
{
    expect_rows("", {{" dc.b 'a\"',\"b'\"\n", "61 22 62 27"},
                     {" dc.b 'a;b//c\\'\n", "61 3b 62 2f 2f 63 5c"},
                     {" dc.w 0+'AB',''\n", "41 42"},
                     {" dc.l 0+\"abcd\"\n", "61 62 63 64"},
                     {" dc.b strlen(\"\"),STRLEN('abc')\n", "00 03"}});
    // The length is one byte with a sign.
    const auto quoted = [](int length) {
        return '"' + std::string(static_cast<size_t>(length), 'x') + '"';
    };
    for (const auto &[length, value] : {std::pair{127, "00 7f"}, {200, "ff c8"}, {256, "00 00"}})
        EXPECT_EQ(text_of(" dc.w strlen(" + quoted(length) + ")\n"), value);
    EXPECT_EQ(text_of(" dc.w 0+" + quoted(128) + "\n"), "00 00");
    expect_faults("", {{"string constant too long", "dc.b strlen(" + quoted(257) + ")"},
                       {"bad string constant", "dc.b 'abc | dc.b \"'"},
                       {"bad character constant", "dc.w 0+'abcde' | dc.w 0+" + quoted(127)}});
}

TEST(Lexer, FunctionWordsNeedTheirParenthesisAtOnce)
{
    const std::string symbols = "high: equ 3\nPage: equ 4\nlab: nop\n";
    expect_rows(symbols, rows_of("dc.b high,Page,HIGH( $1234),page($123456) = 03 04 12 12"));
    expect_faults(symbols, {{"bad comment delimiter", "dc.b high (1) | dc.b Page(1)"}});
}

TEST(Lexer, NamesTakeDotsAndDollars)
{
    EXPECT_EQ(text_of("_a.b$1: equ 5\n.: equ 6\n..x: equ 7\na1$: equ 8\n"
                      " dc.b _a.b$1,.,..x,a1$\n"),
              "05 06 07 08");
    EXPECT_EQ(errors_of(" dc.b \\x\n dc.b $x\n dc.b \x80\n"),
              reported("1 = syntax error | 2 = bad constant | 3 = syntax error"));
}

TEST(Lexer, ASpoiltNumberLeavesItsRest)
{
    // 0b1 is "0b", and its rest a name.
    expect_faults("fb: equ 1\nad: equ 1\nb1: equ 1\nr: equ 1\nUL: equ 1\n",
                  {{"bad constant", "dc.b 1fb | dc.b 1ad | dc.b $ | dc.b @,1 | dc.b 1+%"},
                   {"bad comment delimiter", "dc.b 0b1 | dc.b 1r | dc.b 10UL"}});
}

TEST(Lexer, CommentsEndAStatement)
{
    EXPECT_EQ(text_of(" dc.b 1//2\n dc.b 6/2;3\n dc.b 6 / 2 // 3\n dc.b 4\r\n ; ;\n//\n dc.b 5"),
              "01 03 03 04 05");
}

TEST(Lexer, LiteralsAreReadInPlaceOfTheirNames)
{
    const std::string literals = R"(five: lit "5+"
empty: lit ""
cut: lit ";"
str: lit '"abc",'
a1: lit "7"
a2: lit "a1+1"
a3: lit "a2+1"
a4: lit "a3+1"
a5: lit "a4+1"
a6: lit "a5+1"
self: lit "1+self"
)";
    expect_rows(literals, rows_of("dc.b five 3,five five 1 = 08 0b | dc.b 1 empty +2 = 03"
                                  "| dc.b 3 cut ) garbage = 03 | dc.b str 4 = 61 62 63 04"
                                  "| dc.b a5*2 = 0c | dc.b five empty empty a1 = 0c"));
    expect_faults(literals, {{"too many embedded literals", "dc.b a6 | dc.b self"}});
}

TEST(Lexer, EndlessNestingEndsTheRun)
{
    const auto run = assemble("deep: lit \"" + std::string(100, '(') + "deep\"\n dc.b deep\n");
    EXPECT_EQ(run.err, "no memory\n");
    EXPECT_EQ(run.status, 1);
}

TEST(Lexer, LiteralsMayBeMany)
{
    std::string thirty = "one";
    std::string lists = "list";
    for (int i = 1; i < 30; ++i)
        thirty += ",one";
    for (int i = 1; i < 35; ++i)
        lists += ",list";
    const std::string source = "one: lit \"1\"\nlist: lit \"" + thirty + "\"\n dc.b " + lists;
    EXPECT_EQ(assemble(source + "\n").object.sections.at(0).contents,
              std::vector<uint8_t>(1050, 1));
}

TEST(LocalLabels, BelongToTheScopeOfTheLabelAbove)
{
    EXPECT_EQ(text_of("l1: jra 10$\n nop\n10$: nop\nl2: jra 10$\n10$: nop\n"),
              "20 01 9d 9d 20 00 9d");
    // A dot and a digit open no scope, and the text of the number counts.
    EXPECT_EQ(text_of("l1: nop\n10$: nop\n.1: jra 10$\n.x: nop\n10$: jra 10$\n"),
              "9d 9d 20 fd 9d 20 fe");
    EXPECT_EQ(errors_of("l1: nop\n10$: nop\n jra 010$\nl2: jra 10$\n"),
              reported("3 = symbol 010$ not defined | 4 = symbol 10$ not defined"));
    EXPECT_EQ(errors_of("l1: nop\n10$: nop\n10$: nop\n"),
              "#error nvasm8 prog.s:3\tsymbol 10$ multiply defined\n");
}

TEST(CrossReference, NotesALineOnce)
{
    std::string source = "val: equ 1\n dc.b val,val\n";
    for (int i = 3; i <= 24; ++i)
        source += " dc.b val\n";
    const auto run = assemble(source + "1$: jra 1$\n", {"-c"});
    EXPECT_NE(run.listing.find("\nval        00000001    Defined, Absolute\n"
                               "               1     2     3     4     5     6     7     8     9"
                               "    10\n"
                               "              11    12    13    14    15    16    17    18    19"
                               "    20\n"
                               "              21    22    23    24\n"),
              std::string::npos)
        << run.listing;
    // A line of the later passes shifts the uses: each stands there as often as it has places.
    const auto shifted = assemble(
        " repeat late\n nop\n endr\n dc.b k\n nop\n dc.b k\nk: equ 2\nlate: equ 1\n", {"-c"});
    EXPECT_NE(shifted.listing.find("\nk          00000002    Defined, Absolute\n"
                                   "               7     4     6     5     7\n"),
              std::string::npos)
        << shifted.listing;
}
