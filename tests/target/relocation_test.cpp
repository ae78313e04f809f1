// The relocation stream byte by byte. lab and v lie in .text, which is section 1.
#include "support/rows.h"

static const std::string SYMBOLS = "lab: nop\nv: equ lab+$12345678\n";

TEST(Relocations, KindsAndTheirAddends)
{
    // Under -m dc.b takes any value, that of plow too.
    expect_rows(SYMBOLS, rows_of(R"(
dc.b low(v) = 78 / 80 01 | dc.b plow(v) = 78 / 80 01 | dc.w v = 56 78 / 81 01
dc.l v = 12 34 56 78 / 82 01 | dc.l high(v) = 12 34 56 78 / 82 01
dc.b high(v) = 78 / 84 01 12 34 56 | dc.b phigh(v) = 78 / 8a 01 12 34 56
dc.b page(v) = 78 / 86 01 12 34 56 | dc.w page(v) = 56 78 / 87 01 12 34
dc.w plow(v) = 56 78 / 8b 01 12 34 | dc.w high(v) = 00 78 / 01 84 01 12 34 56
dc.w phigh(v),lab = 00 78 00 00 / 01 8a 01 12 34 56 81 01
ldw x,#high(v) = ae 00 78 / 02 84 01 12 34 56 | ld a,low(v) = b6 78 / 01 80 01
ldf a,v = bc 78 56 78 / 01 86 01 12 34 56 81 01 | mov lab,#low(v) = 35 78 00 00 / 01 80 01 81 01
jp v = cc 56 78 / 01 8f 01 01 12 34 56 78 81 01 | jp lab = cc 00 00 / 01 8f 01 00 81 01
nop\ dc.w lab,lab+1\ nop = 9d 00 00 00 01 9d / 01 81 01 81 01
nop\ .scheck v\ nop\ .scheck lab = 9d 9d / 01 8f 01 01 12 34 56 78 01 8f 01 00
nop\ .scheck 5\ .scheck lab = 9d / 01 8f 00 01 00 00 00 05 8f 01 00)"),
                {"-m"});
}

TEST(Relocations, SectionsWithTheLowByteFirst)
{
    expect_rows(SYMBOLS, rows_of(R"(
dc.w $1234 = 34 12 / | dc.w v = 78 56 / 81 01 | dc.l v = 78 56 34 12 / 82 01
dc.w page(v) = 78 56 / 87 01 12 34 | dc.w high(v) = 78 00 / 84 01 12 34 56
dc.w phigh(v),lab = 78 00 00 00 / 8a 01 12 34 56 01 81 01 | ldw x,#$1234 = ae 34 12
ldf a,v = bc 78 78 56 / 01 86 01 12 34 56 81 01 | bset $1234,#0 = 72 10 34 12)"),
                {}, "-hilo");
}

// The relocation stream of .text, or what went wrong. Symbols are numbered from 2.
static std::string stream_of(const std::string &source)
{
    const Run run = assemble(source, {"-si", "-sm"});
    return run.has_object ? hex(run.object.sections.at(0).relocation_stream) : run.err;
}

TEST(Relocations, Gaps)
{
    for (const Row &row : rows_of(R"(63 = 3f 81 01 | 64 = 40 40 81 01 | 16383 = 7f ff 81 01
16384 = 7f ff 01 81 01 | 16447 = 7f ff 40 40 81 01)")) {
        EXPECT_EQ(stream_of("lab: ds.b " + row.source + " dc.w lab\n"), row.expected) << row.source;
    }
}

TEST(Relocations, NameTheSectionOrTheSymbol)
{
    EXPECT_EQ(stream_of(" xdef pub\n nop\npub: dc.w pub\n .scheck pub+5\n .scheck pub\n"),
              "01 81 01 8f 02 01 00 00 00 05 8f 02 00");
    EXPECT_EQ(stream_of(" xref ext\n dc.w ext\n .scheck ext-1\n"), "81 02 8f 02 01 ff ff ff ff");
    EXPECT_EQ(text_of(" wdef weak\n nop\nweak: dc.w weak+3\n"), "9d 00 03");
    EXPECT_EQ(stream_of(" wdef weak\n nop\nweak: dc.w weak+3\n"), "01 81 02");
}

TEST(Relocations, IndexesAbove255TakeTwoBytes)
{
    std::string source;
    std::string expected;
    for (int i = 0; i < 300; ++i) {
        const std::string name = "e" + std::to_string(i);
        source += " xref " + name + "\n dc.w " + name + "\n";
        char line[40];
        std::snprintf(line, sizeof line, "%04x word %s+0\n", 2 * i, name.c_str());
        expected += line;
    }
    EXPECT_EQ(relocations_of(source), expected);
    // The symbols have 2 to 301; 254 of them take one byte.
    EXPECT_EQ(stream_of(source).size() + 1, 3U * (254 * 2 + 46 * 3));
}

TEST(Relocations, StreamsOfSeveralPieces)
{
    for (size_t size : {1024U, 1025U, 2049U}) {
        const std::string text = text_of(" ds.b " + std::to_string(size - 1) + "\n dc.b $12\n");
        EXPECT_EQ(text.size() + 1, 3 * size);
        EXPECT_TRUE(text.ends_with(" 00 12")) << size;
    }
    std::string expected;
    for (int i = 0; i < 1025; ++i)
        expected += i == 0 ? "81 01" : " 81 01";
    EXPECT_EQ(stream_of("lab: dcb.w 1025,lab\n"), expected);
}

TEST(Relocations, WhereOtherRulesMeet)
{
    // The final 51 of the swapped form is a plain byte of the next gap.
    EXPECT_EQ(stream_of(" xref e\n ldw y,[e]\n dc.b low(e)\n"), "03 81 02 01 80 02");
    // A weak definition counts as 0, and the check as the distance from its place.
    EXPECT_EQ(stream_of(" wdef w\n nop\nw: nop\n .scheck w\n"), "02 8f 02 01 ff ff ff ff");
    // A section that is resumed goes on with its gap and with the jumps to hop through.
    const std::string resumed = " jra far\nfar: equ *+1000\n switch .data\n ds.b 5\n"
                                " switch .text\n dc.w far\n jrne far\n";
    EXPECT_EQ(text_of(resumed), "ac ec 03 ec 03 ec 26 f8");
    EXPECT_EQ(stream_of(resumed), "01 86 01 00 00 03 81 01 81 01");
    // A bit that is written beside a bit symbol is ignored, and taken for the target by btjt.
    EXPECT_EQ(text_of("f: equ $5000:3\n bset f,#9\n"), "72 16 50 00");
    EXPECT_EQ(errors_of("f: equ $5000:3\nl: btjt f,#1,l\n"),
              "#error nvasm8 prog.s:2\tbad comment delimiter\n");
}
