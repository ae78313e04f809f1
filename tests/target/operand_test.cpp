// Which addressing mode an operand is taken for, seen in the bytes of instructions that have rows
// for several of them.
#include "support/rows.h"

// zero and zp are zero-page addresses, lab is a long one.
static const std::string SYMBOLS = R"( xref ext
 xref.b extz
 switch .ubsct
zero: ds.b 3
zp: ds.b 1
 switch .text
 nop
lab: nop
)";

TEST(Operands, TheValueChoosesTheForm)
{
    expect_rows(SYMBOLS, rows_of(R"(
ld a,#255 = a6 ff | ld a,#-256 = a6 00 | ldw x,#-257 = ae fe ff | ldw x,#$12345 = ae 23 45
ldw x,#lab = ae 00 01 | ld a,#low(lab) = a6 01 | ld a,#phigh(lab) = a6 01 | LD.W A,XH = 9e
ld a,255 = b6 ff | ld a,256 = c6 01 00 | ld a,zp = b6 03 | ld a,extz = b6 00 | ld a,ext = c6 00 00
ld a,lab = c6 00 01 | ld a,page(lab) = b6 01 | ld a,plow(lab) = c6 00 01 | pop $10 = 32 00 10
ldf a,$ffff = bc 00 ff ff | ldf a,zp = bc 03 00 03 | ldf a,-1 = bc ff ff ff
ldf a,$1234567 = bc 23 45 67 | mov $10,$100 = 55 01 00 00 10 | mov zp,lab = 55 00 01 00 03
mov $10,#-1 = 35 ff 00 10 | bset $10,#7 = 72 1e 00 10 | btjf zp,#7,*+5 = 72 0f 00 03 00)"));
}

TEST(Operands, IndexedForms)
{
    expect_rows(SYMBOLS, rows_of(R"(
ld a,(X) = f6 | ld a,(0,x) = f6 | ld a,(,y) = 90 f6 | ld a,(zero,x) = e6 00
ld a,(ext,x) = d6 00 00 | ld a,(255,y) = 90 e6 ff | ld a,(256,x) = d6 01 00
ld a,(-1,x) = d6 ff ff | ld a,(-32768,x) = d6 80 00 | ld a,(,sp) = 7b 00 | ld a,(0,sp) = 7b 00
ld a,(zp,sp) = 7b 03 | ldf a,(,x) = af 00 00 00 | ldf a,(lab,y) = 90 af 01 00 01)"));
}

TEST(Operands, PointersIgnoreTheirSizeExtension)
{
    expect_rows(SYMBOLS, rows_of(R"(
ld a,[$10.w] = 92 c6 10 | ld a,[255.E] = 92 c6 ff | ld a,[256.e] = 72 c6 01 00
ld a,[zp.W] = 92 c6 03 | ld a,[lab.w] = 72 c6 00 01 | ld a,([$10.w],x) = 92 d6 10
ld a,([ext.w],x) = 72 d6 00 00 | ldw y,([0],y) = 91 de 00 | ldf a,[$10] = 92 bc 00 10
ldf a,([zp.e],y) = 91 af 00 03 | callf [$10.e] = 92 8d 00 10)"));
}

TEST(Operands, ForwardReferencesSettleOnTheShortForm)
{
    EXPECT_EQ(text_of("ldw x,#after\nld a,abs\nafter: ld a,zp\nbset $5000,#bit\nld a,(abs,sp)\n"
                      "abs: equ $12\nbit: equ 3\n switch .bsct\nzp: dc.b 0\n"),
              "ae 00 05 b6 12 b6 00 72 16 50 00 7b 12");
}

TEST(Operands, Faults)
{
    expect_faults(SYMBOLS,
                  {{"bad size extension", "ld a,[$10.a] | ld a,([$10.x],x)"},
                   {"bad index register", "ld a,(sp) | ld a,(a) | ld a,($10,xl) | ld a,($10,s)"},
                   {"syntax error", R"(
ld a,(lab) | ld a,(lab x) | ld a,(lab,lab) | ld a,(x,lab) | ld a,($10,x | ld a,[$10
ld a,([$10,x) | ld | btjt $10,#1)"},
                   {"bad addressing mode", R"(
ld a,([$10],sp) | ld a,s | ld a | ld a,#256 | ld a,#lab | ld a,-1 | ld a,$10000 | ld a,([lab],y)
inc $10,$20 | exgw y,x | jra [$10] | jra (x) | callr #5 | jrne $10000 | bset $10 | bset $10,3
bset $10,#low(lab) | bset (x),#1)"},
                   {"value too large", R"(
bset $10,#8 | bset $10,#-1 | ld a,(256,sp) | ld a,(-1,sp) | ld a,(lab,sp) | ld a,(65536,x)
ld a,(-32769,y) | ld a,[65536])"},
                   {"bad comment delimiter", "nop a | ld a,$10,x"}});
}
