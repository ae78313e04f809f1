// Names: what tells two of them apart, and how long they last.
#include "support/rows.h"

TEST(Names, SymbolsKeepTheirCaseAndKeywordsDoNot)
{
    EXPECT_EQ(text_of("Foo: nop\nfoo: NOP\n DC.B foo-Foo\nMac: Macro\n dc.b 1\n EndM\n MAC\n mac\n"
                      "ld: ld a,#ld-ld\nXl: equ 3\n Dc.b Xl\n"),
              "9d 9d 01 01 01 a6 00 03");
    expect_faults("", {{"bad symbol name: XL", "XL: nop"}, {"bad symbol name: cc", "cc: nop"}});
}

TEST(Names, LengthsCountModulo256)
{
    EXPECT_EQ(text_of(std::string(44, 'n') + ": equ 5\n dc.b " + std::string(300, 'n') + "\n"),
              "05");
    // 256 becomes 0, so the text is measured to the end of its line, 262 characters: six are left.
    EXPECT_EQ(text_of(" nop\n" + std::string(256, 'n') + ": nop\nend: dc.b end-nnnnnn\n"),
              "9d 9d 01");
    const std::string word(300, 'q');
    const std::string error = "#error nvasm8 prog.s:1\tunknown instruction " + word + "\n";
    EXPECT_EQ(errors_of(" " + word + "\n"), error + error);
}

TEST(Names, MacrosEndWithTheirSourceFileAndTakeAnOverriddenKeywordAlong)
{
    const std::string unknown = "#error nvasm8 b.s:1\tunknown instruction m\n"
                                "#error nvasm8 b.s:2\tunknown instruction nop\n";
    EXPECT_EQ(run_program({"a.s", "b.s"},
                          {{"a.s", "m: macro\n endm\nnop: macro\n \\\\nop\n endm\n m\n nop\n"},
                           {"b.s", " m\n nop\n ld a,#1\n"}})
                  .err,
              unknown + unknown);
}

TEST(Names, AMacroCanWrapTheInstructionOfItsName)
{
    EXPECT_EQ(text_of("nop: macro\n dc.b $aa\n \\\\nop\n dc.b $bb\n endm\n nop\n NOP.w\n"),
              "aa 9d bb aa 9d bb");
    EXPECT_EQ(text_of("LD: macro\n dc.b 1\n \\\\ld \\1,\\2\n endm\n ld a,(x)\n Ld.b a,(x)\n"),
              "01 f6 01 f6");
    EXPECT_EQ(text_of("even: macro\n \\\\even\n dc.b 1\n endm\n nop\n even\n"), "9d 00 01");
    // A directive of its own isn't the macro with a suffix.
    EXPECT_EQ(text_of("dc: macro\n nop\n endm\n dc.b 5\n dc 1\n dc.x 1\n dc.w 3\n"),
              "05 9d 9d 00 03");
}
