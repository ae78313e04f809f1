// The value of expressions, and what may be done with values that only the linker knows.
#include "support/rows.h"

TEST(Expressions, Precedence)
{
    expect_rows("", rows_of(R"(
dc.b 2+3*4,(2+3)*4,9-4-3,40/4/2,7/2*2,17%6*2 = 0e 14 02 05 06 0a
dc.b 1<<2+1,16>>1+1,1<2==1,3>2>1,2=2<>0,6^5&3 = 08 04 01 00 01 07
dc.b 1+2*3-4,2*3+4*5-6 = 03 14
dc.b 5&3==3,12&10^1,1+1<<1+1 = 01 09 08
dc.b -2+3,!0+1,~1&15,- -3,!!5,-~0,!2*3 = 01 02 0e 03 01 01 00
dc.b 5!=4,5<>5,7>=7,7<=6,1&&2,1&&0,2==3 = 01 00 01 00 01 00 00)"));
    EXPECT_EQ(text_of(" dc.b 1|2&3,8|1^1,4||0&&0,1&&0||1,0||0,1||0==0\n"), "03 08 01 01 00 01");
}

TEST(Expressions, ThirtyTwoBitsWithAndWithoutASign)
{
    expect_rows("", rows_of(R"(
dc.l -1/2,-7/2,$80000000/-1 = 00 00 00 00 ff ff ff fd 80 00 00 00
dc.l -1%2,-1>>1,1<<32,1<<33 = 00 00 00 01 7f ff ff ff 00 00 00 01 00 00 00 02
dc.l $7fffffff*2,$ffffffff+2 = ff ff ff fe 00 00 00 01
dc.b -1<1,$80000000<1,-1>=0,$ffffffff=-1 = 01 01 00 01
dc.w low(-1),high(-2),page(-1),page($12345) = 00 ff 00 ff ff ff 00 01)"));
}

TEST(Expressions, TheLowOperatorTakesAllThatFollows)
{
    expect_rows("", rows_of(R"(
dc.w <$12ff+1,1+<$12ff+2,<$100<$101 = 00 00 00 02 00 01
dc.w >$12ff+1,2*>$80+$80,(<$1234)+$100 = 13 00 02 00 01 34)"));
}

TEST(Expressions, PlacesOfOneSectionHaveADistance)
{
    // "*" is the place of the byte itself; part selections are not looked at.
    EXPECT_EQ(
        text_of("l1: nop\nl2: nop\n dc.b l2-l1,high(l2)-high(l1),*-l2,l3-*,low(l3)-l1\nl3:\n"),
        "9d 9d 01 01 03 02 07");
    EXPECT_EQ(text_of(" wdef w\n nop\nw: nop\n dc.b w-w\n"), "9d 9d 00");
    EXPECT_EQ(section_of("at", "at: section abs\n org $1234\nlab: dc.w lab*2,*,high(lab)\n"),
              "24 68 12 36 00 12");
}

static const std::string PLACES = " xref ext\n wdef w\nother: section\n dc.b 0\nfar: dc.b 0\n"
                                  " switch .text\n nop\nl1: nop\nl2: nop\nw: nop\n";

TEST(Expressions, Faults)
{
    expect_faults(PLACES, {{"bad relocatable expression", R"(
dc.w l1+l2 | dc.w -l1+l2 | dc.w 2*l1 | dc.w l1*2 | dc.w l1&&1 | dc.w l1=l1 | dc.w l1>>8 | dc.w 3-l1
dc.w !l1 | dc.w ~l1 | dc.w +l1 | dc.w far-l1 | dc.w ext-ext | dc.w ext-l1 | dc.w w-l1
dc.b high(l1)+1 | dc.b 1+high(l1) | dc.b page(l1)-1 | dc.b low(high(l1)) | dc.b <page(l1)
dc.b high(high(l1)) | dc.b phigh(page(l1)) | dc.b phigh(3) | dc.w plow(3))"},
                           {"zero divide", "dc.b 1/0 | dc.b 1%0 | dc.b 0/(1-1)"},
                           {"syntax error", R"(
dc.b (1 | dc.b 1+ | dc.b 1+*/ | dc.b strlen(l1) | dc.b strlen("a" | dc.b high(1 | dc.b 1+a
dc.b ] | dc.b 1, | dc.b {1})"},
                           {"missing string", "dc.b defined(3) | dc.b defined(a) | dc.b defined()"},
                           {"invalid base", "base 3 | base 0 | base 32"},
                           {"relocatable expression not allowed", "base l1"}});
    expect_rows(PLACES, rows_of("dc.b high(low(l1)) = 01 | dc.w w-w+5 = 00 05"));
}

TEST(Expressions, GoOnWithAValueAfterAnError)
{
    const auto run = assemble(" nop\nl1: nop\n dc.w 9/0,7%0,2*l1\n dc.w l1*2,5-l1,~l1\n", {"-l"});
    EXPECT_EQ(run.listing, R"(   1  0000 9d             nop
   2  0001 9d            l1: nop
   3  0002 000900070002   dc.w 9/0,7%0,2*l1
******** ERROR:  zero divide  ********
   4  0008 00010004fffe   dc.w l1*2,5-l1,~l1
******** ERROR:  bad relocatable expression  ********
)");
}

TEST(Expressions, DefinedMeansOnALineAbove)
{
    // The answer is the same in every pass, and a name that is only asked about may be missing.
    EXPECT_EQ(text_of(" dc.b defined(l1)\nl1: dc.b defined(l1)\n dc.b defined(l1),DEFINED(no)\n"
                      " if defined(l1)&!defined(no)\n dc.b 7\n endif\n"),
              "00 00 01 00 07");
}
