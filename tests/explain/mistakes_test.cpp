// The mistakes that newcomers make: each gets a message at the line to mend, with a note that says
// what to do.
#include "support/run.h"
#include <algorithm>
#include <gtest/gtest.h>

struct Mistake {
    const char *source;
    const char *message; // place and text
    const char *note;    // part of the notes below it
    std::vector<SourceFile> files = {};
};

// The notes below a message, as one text.
static std::string notes_below(const std::string &text, const std::string &message)
{
    const size_t found = text.find(message + '\n');
    if (found == std::string::npos)
        return "no such message";
    std::string notes;
    for (size_t at = text.find('\n', found) + 1; text.compare(at, 4, "    ") == 0;) {
        const size_t end = text.find('\n', at);
        notes += text.substr(at + 4, end + 1 - (at + 4));
        at = end + 1;
    }
    return notes;
}

static void expect_notes(const std::vector<Mistake> &mistakes)
{
    for (const Mistake &mistake : mistakes) {
        const auto run = assemble(mistake.source, {"--explain", "--warn"}, mistake.files);
        const std::string notes = notes_below(run.err, mistake.message);
        EXPECT_NE(notes.find(mistake.note), std::string::npos)
            << mistake.source << "\nwanted: " << mistake.message << "\n    " << mistake.note
            << "\ngot: " << run.err;
    }
}

TEST(Mistakes, OfWordsAndOperands)
{
    expect_notes({
        {" ldd a,#5\n", "prog.s:1\tunknown instruction ldd",
         "\n ^\ndid you mean ldf, ldw or add?\n"},
        {" .byte 1,2\n", "prog.s:1\tunknown instruction .byte", "dc.b 1,2,3"},
        {"t: db 1\n", "prog.s:1\tunknown instruction db", "dc.b 1,2,3"},
        {" ld a,\n", "prog.s:1\tsyntax error", " ld a,\n      ^\nan operand is missing"},
        {" bset\n", "prog.s:1\tsyntax error", "bset takes:  addr,#bit\n"},
        {" ld a,(t,x\nt: nop\n", "prog.s:1\tsyntax error", "a closing parenthesis is missing"},
        {" ld a,[t\nt: nop\n", "prog.s:1\tsyntax error", "a closing bracket is missing"},
        {" mov a,#5\n", "prog.s:1\tbad addressing mode",
         "did you mean ld? It takes these operands\nmov takes:  addr,#byte  addr,addr\n"},
        {" inc x\n", "prog.s:1\tbad addressing mode", "did you mean incw?"},
        {" ld a #5\n", "prog.s:1\tbad addressing mode", "\n      ^\noperands are parted by commas"},
        {" cp a,#300\n", "prog.s:1\tbad addressing mode", "value 300 needs two bytes: #byte takes"},
        {" ld a,(300,sp)\n", "prog.s:1\tvalue too large", "is 300, allowed are 0 to 255"},
        {" btjt 5,#9,*\n", "prog.s:1\tvalue too large", "is 9, allowed are 0 to 7"},
        {" ldw x,#70000\n", "prog.s:1\tvalue 70000 is cut to 4464", "takes up to 65535"},
        {" ld a,#5 set it\n", "prog.s:1\tbad comment delimiter", "\n         ^\n"},
        {" nop do it\n", "prog.s:1\tsymbol do not defined", "put a `;` ahead of it"},
        {" ld a,5,x\n", "prog.s:1\tbad comment delimiter", "stands in parentheses: (offset,x)"},
        {" this is a comment\n", "prog.s:1\tunknown instruction this", "put a `;` ahead of it"},
    });
}

TEST(Mistakes, OfNames)
{
    expect_notes({
        {" ld a,cuont\ncount: equ 1\n", "prog.s:1\tsymbol cuont not defined",
         "did you mean count?\ncount is defined at prog.s:2\n"},
        {"count: equ 1\n ld a,Count\n", "prog.s:2\tsymbol Count not defined",
         "Upper and lower case"},
        {"Count: nop\ncount: nop\n", "prog.s:2\tname count differs from Count in case only",
         "stands at prog.s:1"},
        {" call uart_init\n xref uart_inti\n", "prog.s:2\txref of uart_inti, which nothing uses",
         "did you mean uart_init?"},
        {" call uart_init\n xref uart_inti\n", "prog.s:1\tsymbol uart_init not defined",
         "did you mean uart_inti?\nuart_inti is declared by xref at prog.s:2\n"},
        {" xdef mian\nmain: ret\n", "prog.s:1\txdef of mian, which nothing here defines",
         "did you mean main?"},
        {" xdef init_uart\nuart_init: ret\n",
         "prog.s:1\txdef of init_uart, which nothing here defines", "did you mean uart_init?"},
        {"a1: nop\na1: ret\n", "prog.s:2\tsymbol a1 multiply defined",
         "first defined at prog.s:1\n"},
        {"loop nop\n jra loop\n", "prog.s:1\tunknown instruction loop",
         "ends in a colon: loop: nop"},
        {"loop nop\n jra loop\n", "prog.s:2\tsymbol loop not defined", "isn't defined at prog.s:1"},
        {"end1\n", "prog.s:1\tunknown instruction end1", "a label ends in a colon: end1:"},
        {"FOO = 5\n", "prog.s:1\tunknown instruction FOO", "by equ: FOO: equ 5\n"},
        {"SIZE: equ CONUT*2\nCOUNT: equ 4\n", "prog.s:1\tsymbol CONUT not defined",
         "did you mean COUNT?"},
        {" switch .dtaa\n", "prog.s:1\tsymbol .dtaa not defined", "did you mean .data?"},
        {" jreq b1\nc: section\nb1: nop\n", "prog.s:1\tbad relocatable expression",
         "in section c, the branch in section .text"},
        {" switch .bss\nv: ds.b 1\n ld a,#1\n nop\n",
         "prog.s:3\tbytes in section .bss, a bss section, are lost", "for code put switch .text"},
    });
}

TEST(Mistakes, OfFilesAndBlocks)
{
    const std::vector<SourceFile> header = {{"stm8.inc", "\tnop\n"}};
    expect_notes({
        {" include \"stm8.icn\"\n", "prog.s:1\tcan't open stm8.icn", "did you mean stm8.inc?",
         header},
        {" include \"stm8.inc\n", "prog.s:1\tbad string constant", "no end quote", header},
        {" if 1\n nop\n", "prog.s:2\tunclosed if", "opened at prog.s:1\n   if 1\n"},
        {" if 1\n nop\n", "prog.s:1\tif without endif", "end it with endif"},
        {" include \"i\"\n nop\n",
         "i:2\tif without endif",
         "included at prog.s:1\n",
         {{"i", " nop\n if 1\n"}}},
        {" if 1\n include \"i\"\n endif\n",
         "i:1\tif without endif in its file",
         "the endif at prog.s:3 ends it",
         {{"i", " if 1\n"}}},
        {" if 1\n endif\n endif\n", "prog.s:3\tbad endif",
         "began at prog.s:1, ended at prog.s:2\n"},
        {" if 0\n#elif 1\n endif\n", "prog.s:2\t#elif is no conditional and is skipped",
         "use else"},
        {"m: macro\n nop\nn: macro\n endm\n", "prog.s:1\tmacro without endm", "end it with endm"},
        {" nop\n repeat 3\n nop\n", "prog.s:2\trepeat without endr", "end them with endr"},
        {" include \"prog.s\"\n", "prog.s:1\tcan't open prog.s",
         "prog.s includes itself at prog.s:1\n"},
        {" include \"x\"\n",
         "x:1\tcan't open y",
         "x includes itself at y:1\n",
         {{"x", " include \"y\"\n"}, {"y", " include \"x\"\n"}}},
    });
}

TEST(Mistakes, OfMacros)
{
    expect_notes({
        {"lo: macro \\r\n; text\n mov a,#\\r\n endm\nmi: macro \\r\n lo \\r\n endm\nhi: macro\n mi "
         "5\n"
         " endm\n nop\n hi\n",
         "prog.s:12\tbad addressing mode",
         "in macro lo, line 2 of its body (prog.s:3), called at prog.s:6\n"
         "in macro mi, line 1 of its body (prog.s:6), called at prog.s:9\n"
         "in macro hi, line 1 of its body (prog.s:9), called at prog.s:12\n"},
        {" nop\n repeat 2\n ld b1\n endr\n", "prog.s:4\tbad addressing mode",
         "in run 1 of the repeat of prog.s:2, line 1 of its body (prog.s:3)\n"},
        {"m: macro \\value\n ld a,#\\vaule\n endm\n m 1\n",
         "prog.s:4\tunknown macro argument vaule", "did you mean value?"},
        {"m: macro\n ld a,#\\foo\n endm\n m 1\n", "prog.s:4\tsyntax error",
         "no parameter of the macro"},
        {"m: macro foo\n endm\n", "prog.s:1\tbad comment delimiter", "written with a backslash"},
        {"m: macro \\a,\\b\n ld a,\\a+\\b\n endm\n m 1\n",
         "prog.s:4\tno argument for \\b in the call of macro m", "prog.s:4 gives 1 of 2 arguments"},
        {"m: macro\n ld a,\\2\n endm\n m 1\n", "prog.s:4\tbad argument number", "fewer arguments"},
        {"m: macro\n ld a,\\1\n endm\n m 1,2\n", "prog.s:4\targument 2 of macro m is not used: 2",
         "the macro of prog.s:1 uses 1"},
        {"m: macro\nl: nop\n endm\n m\n m\n", "prog.s:5\tsymbol l multiply defined", "end in \\@"},
        {"m: macro\nw\\@: nop\n endm\n10$: nop\n m\n jra 10$\n", "prog.s:6\tsymbol 10$ not defined",
         "the label `w.1` at prog.s:5, in macro m, line 1 of its body"},
    });
    const auto endless = assemble("m: macro\n nop\n m\n endm\n m\n", {"--explain", "--warn"});
    EXPECT_EQ(endless.status, 1);
    EXPECT_TRUE(endless.err.starts_with(
        "no memory\n#warning nvasm8 prog.s:3\tmacro m calls itself without end\n"
        "    macro m, called at prog.s:5, calls itself at prog.s:3\n"))
        << endless.err;
}

// What is right gets no warning.
TEST(Mistakes, AreNotSeenWhereThereAreNone)
{
    const auto run = assemble(R"(	xref ext,tested
	xdef main
opt:	macro \a,\b
	ifnc "\b",""
	ld a,#\b
	endif
	ld a,#\a
	endm
any:	macro
	dc.b \#,\*
	endm
main:	opt 1 ; comment
	any 1,2,3
	and a,#~$80
	ldw x,#-1
	dc.w ~1,65535
	ifdef tested
	endif
	call ext
	if 0
	unknown words
	endif
	repeat 0
	nop
	endr
	switch .bss
room:	ds.b 4
ROOM:	equ 4
	switch .text
	ldw x,#room+ROOM
)",
                              {"--warn=error"});
    EXPECT_EQ(run.err, "");
    EXPECT_TRUE(run.has_object);
}
