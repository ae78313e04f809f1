// Replay is a shorter way to the same result: what comes of a source must be what comes of it when
// every pass reads the text.
#include "support/rows.h"
#include <algorithm>
#include <array>
#include <random>
#include <span>

using Options = std::vector<std::string>;

// All that a run leaves behind.
static std::string outcome_of(const std::string &source, const Options &options, bool replays)
{
    Options arguments = options;
    arguments.emplace_back("prog.s");
    std::vector<std::string> environment = {"SOURCE_DATE_EPOCH=1"};
    if (!replays)
        environment.emplace_back("NVASM8_NO_REPLAY=1");
    const auto run = run_program(arguments, {{"prog.s", source}}, environment);
    std::string outcome = std::to_string(run.status) + '\n' + run.out + run.err;
    for (const auto &[name, contents] : run.files)
        outcome += name + '\n' + contents;
    return outcome;
}

static void expect_same_outcome(const std::string &source, const Options &options = {})
{
    const std::string by_text = outcome_of(source, options, false);
    EXPECT_TRUE(outcome_of(source, options, true) == by_text) << source << "\nby text:\n"
                                                              << by_text.substr(0, 200);
}

// Branches of which each gets short one pass after the next one, so that the distance from `head`
// to `tail` loses four bytes a pass: 1320 to 1240 with 20 steps.
static std::string staircase(int steps)
{
    std::string text = "head: jreq t0\n ds.b 60\n";
    for (int step = 1; step < steps; ++step) {
        const std::string above = std::to_string(step - 1);
        text += " jreq t" + std::to_string(step) + "\n ds.b 60\nt" + above + ":\n";
    }
    return text + "t" + std::to_string(steps - 1) + ":\ntail:\n";
}

// A number that mixes the value of an expression in all passes: it starts with 1 in the sizing pass
// and then goes on from where the pass before left it.
static std::string trace_of(const std::string &expression)
{
    return " ifeq trace\ntrace: set 1\n endif\ntrace: set trace*33+(" + expression +
           ")\n dc.l trace\n";
}

// A program of the lines below. In them % defines the next label of the section, @ is a label of
// the section near by, ~ a distance of two labels, # a number and ^ one that comes in no other
// line.
static constexpr std::array LINES = {
    "%",
    "%",
    "%",
    "%",
    "%",
    " jreq @",
    " jrne @",
    " jrult @+3",
    " jra @",
    " jra @",
    " jp @",
    " jpf @",
    " call @",
    " callr @",
    " btjt $20,#1,@",
    " jreq *+#",
    " jreq outside",
    " jp outside",
    " m @",
    " ds.b #",
    " ds.b #",
    " ds.b #",
    " nop",
    " scross off",
    " scross on",
    " switch .text",
    " switch .text",
    " switch .data",
    " switch place",
    " align 4",
    " ifgt ~-#\n nop\n endif",
    " ifeq ~-#\n ds.b 5\n else\n jreq @\n endif",
    " repeat ~&3\n jrne @\n endr",
    " ds.b (~&7)+1",
    " dcb.b ~&7,1",
    " ld a,(~&$1ff,x)",
    " dc.b ~&$7f",
    " ldw x,#~*3/2",
    "v: set v+~\n dc.w v",
    "e^: equ @+1\n jreq e^",
    "r^: equ q^\nq^: equ p^+1\np^: equ @\n jrne r^",
    "b^: equ (~&$ff):3\n bset b^",
    " dc.w *-@",
};

// A long program of these has stretches that only move in most passes. Here ! is a label further
// off.
static constexpr std::array LONG_LINES = {
    "%",
    "%",
    "%",
    "%",
    " jreq @",
    " jrne @",
    " jrmi !",
    " jra @",
    " jp @",
    " jp !",
    " call !",
    " callr @",
    " btjt $20,#1,@",
    " jreq *+5\n jp @",
    " jreq outside",
    " jp outside",
    " nop",
    " ldw x,#1234",
    " ds.b 9",
};

// What makes stretches of it less regular.
static constexpr std::array RARE_LINES = {
    " ds.b #",
    " even",
    " align 8",
    " jra *+4",
    " jreq @+3",
    " jra $90",
    " call @+5",
    "e^: equ *-@",
    " switch .data",
    " switch .text",
    " scross off",
    " scross on",
    " jp @-2",
    " ds.b (@-@)&7",
    " switch place",
    "q^: equ p^+1\np^: equ @\n jra q^",
    " jreq $20\n jra $20",
    " jra outside\n jreq outside",
};

struct Place {
    std::string section;
    char letter; // of its labels
    int labels;  // defined so far
};

struct Generator {
    std::mt19937 random;
    std::array<Place, 3> places = {{{".text", 'a', 0}, {".data", 'b', 0}, {"place", 'c', 0}}};
    Place *current = places.data();
    int labels = 30; // of each section
    int lines = 0;
    std::string text;
};

static int pick(Generator *generator, int count)
{
    return static_cast<int>(generator->random() % static_cast<unsigned>(count));
}

static std::string label_near(Generator *generator, const Place &place, int reach = 4)
{
    const int number = place.labels - reach + pick(generator, 2 * reach + 1);
    return place.letter + std::to_string(std::clamp(number, 0, generator->labels - 1));
}

static std::string next_label(Place *place, int labels)
{
    return place->labels == labels ? "" : place->letter + std::to_string(place->labels++) + ":";
}

static std::string expanded(Generator *generator, char mark)
{
    const Place &place = generator->places[static_cast<size_t>(pick(generator, 3))];
    switch (mark) {
    case '%':
        return next_label(generator->current, generator->labels);
    case '!':
        return label_near(generator, *generator->current, 40);
    case '@':
        return label_near(generator, *generator->current);
    case '~':
        return "(" + label_near(generator, place) + "-" + label_near(generator, place) + ")";
    case '#':
        return std::to_string(1 + pick(generator, 120));
    case '^':
        return std::to_string(generator->lines);
    default:
        return {mark};
    }
}

static void add_line(Generator *generator, std::string_view pattern)
{
    ++generator->lines;
    for (Place &place : generator->places) {
        if (pattern == " switch " + place.section)
            generator->current = &place;
    }
    // "#1" is an operand that is written so.
    for (size_t i = 0; i < pattern.size(); ++i) {
        const bool plain = i > 0 && pattern[i] == '#' && pattern[i - 1] == ',';
        generator->text += plain ? "#" : expanded(generator, pattern[i]);
    }
    generator->text += '\n';
}

static const char *pick_line(Generator *generator, std::span<const char *const> lines)
{
    return lines[static_cast<size_t>(pick(generator, static_cast<int>(lines.size())))];
}

static Generator make_generator(unsigned seed)
{
    Generator generator;
    generator.random.seed(seed);
    generator.text = " xref outside\nplace: section\nm: macro\n jreq \\1\n jra \\1\n endm\n"
                     "v: set 1\n switch .text\n";
    return generator;
}

static std::string finished(Generator *generator)
{
    for (const Place &place : generator->places) {
        add_line(generator, " switch " + place.section);
        while (place.labels < generator->labels)
            add_line(generator, "%");
    }
    return generator->text + " switch .text\n";
}

static std::string random_program(unsigned seed)
{
    Generator generator = make_generator(seed);
    for (int line = 0; line < 150; ++line)
        add_line(&generator, pick_line(&generator, LINES));
    return finished(&generator);
}

static std::string long_program(unsigned seed)
{
    Generator generator = make_generator(seed);
    generator.labels = 300;
    const int rarity = 10 << seed % 8;
    for (int line = 0; line < 1500; ++line) {
        const bool rare = pick(&generator, rarity) == 0;
        add_line(&generator,
                 rare ? pick_line(&generator, RARE_LINES) : pick_line(&generator, LONG_LINES));
    }
    return finished(&generator);
}

TEST(Replay, ChangesNothingInRandomPrograms)
{
    const Options options[] = {{}, {"-l"}, {"-c", "-l"}, {"-p", "-xx"}, {"-x"}};
    for (unsigned seed = 0; seed < 300 && !testing::Test::HasFailure(); ++seed)
        expect_same_outcome(random_program(seed), options[seed % std::size(options)]);
}

TEST(Replay, PassesOverWhatOnlyMoves)
{
    for (unsigned seed = 0; seed < 40 && !testing::Test::HasFailure(); ++seed)
        expect_same_outcome(long_program(seed));
}

// Labels with branches among them that are near in any pass.
static std::string words(const std::string &name, int count)
{
    std::string text;
    for (int word = 0; word < count; ++word) {
        const std::string below = name + std::to_string(std::min(word + 3, count - 1));
        text += name + std::to_string(word) + ": jreq " + below + "\n ldw x,#1\n jrne " + name +
                std::to_string(std::max(word - 2, 0)) + "\n";
    }
    return text;
}

// Each pass takes the staircase four bytes and the room one; all else only moves, and is read.
TEST(Replay, KnowsWhereStretchesHaveMoved)
{
    std::string edges;
    for (int room = 118; room < 128; ++room) {
        const std::string edge = "e" + std::to_string(room);
        edges += " jreq " + edge + "\n ds.b " + std::to_string(room) + "\n" + edge + ":\n";
    }
    const std::string source = words("a", 180) + staircase(40) + words("b", 30) +
                               "span: equ tail-t36\n dc.w span\n" + words("c", 90) + edges +
                               words("d", 60) + "size: equ *-d50\n dc.w size\n";
    const std::string readers[] = {
        "",
        " ds.b (c40-a40)/4\n",
        " ds.b (c40-a40)/4\nlow: ds.b d50-c40-1500\n",
        " ds.b (c40-a40)/4\n jra c3\n jrne c3\n jp a170\n jreq a170\n",
    };
    for (const std::string &reader : readers)
        expect_same_outcome(reader + source);
}

static std::string repeated(int count, const std::string &lines)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += lines;
    return text;
}

// In the sizing pass the branches to `head`, at 0, hop through jumps to labels that are still
// unknown. The next pass takes them their hops: what lies below moves down past the place that
// `far` had, and to one pass looks near.
TEST(Replay, RunsAgainWhatWasNearInOnePass)
{
    const std::string hops = repeated(20, " jreq tail\n jrne head\n ds.b 126\n");
    expect_same_outcome("head:\n" + hops + " jreq far\n ds.b 128\nfar:\n ds.b 200\ntail:\n");
}

// What the sizing pass takes for a place below, or can't see, may be something else in the next
// one.
TEST(Replay, KnowsWhatTheSizingPassCannotTell)
{
    const std::string unknowns[] = {
        " ld a,below\n ld a,(below,x)\nbelow: equ 9",
        " ld a,short\n switch .bsct\nshort: ds.b 1\n switch .text",
        "e: equ below\n jreq e\n dc.w e\nbelow: nop",
        "e: equ below-head\n ldw x,#e\nbelow: nop",
        " jp below\n call below\n dc.w below,outside\n jra outside\n xref outside\nbelow: nop",
        " jreq elsewhere\n switch .data\nelsewhere: dc.b 1\n switch .text",
        " jp elsewhere\n switch .data\nelsewhere: dc.b 1\n switch .text",
        " ldw x,#below-head\n dc.w below-head,tail-below\n ds.b 9\nbelow: nop",
        " dc.w below-head\n switch .data\nbelow: nop\n switch .text",
        " dc.w outside-head\n xref outside",
        " jreq below+tail-head-tail+head\nbelow: nop",
        " jrf below\n nop\nbelow: nop",
        " jrne later\nlater: nop\n wdef later",
        "known: nop\n dc.w known\n wdef known",
        " ldw x,declared\n xref.b declared",
        " ld a,#1\nld: macro\n nop\n endm",
        " nop\n switch lower\n nop\nlower: section\n switch .text",
        " nop\n bsct\n nop\n switch .text",
        "n: section new\n jreq n1\nn1: nop\nn: section new\n nop\n switch .text",
        "abs: section abs\n switch abs\nahead: org $8000\n jreq inside\ninside:\n switch .text\n"
        " dc.w ahead,inside",
        " ifeq below-below+below\n nop\n endif\nbelow: nop",
        " repeat (below-head)&3\n nop\n endr\nbelow: nop",
        "v: set v+1\n ds.b v",
        "b: equ below:1\n bset b\nbelow: equ 3",
        " bset below,#1\n btjt below,#1,tail\nbelow: nop",
        " dc.b high(below),low(below)\n ldw x,#high(below)\nbelow: nop",
        " dc.b below\nbelow: nop",
        " ld a,missing",
        " jreq missing",
        " dc.b 300",
        " foo",
        "head: nop",
        " lit",
    };
    for (const std::string &unknown : unknowns) {
        for (const Options &options :
             {Options{}, Options{"-l", "-c"}, Options{"-x"}, Options{"-u"}}) {
            expect_same_outcome(unknown + "\n" + staircase(8), options);
            expect_same_outcome(staircase(8) + unknown + "\n", options);
        }
    }
}

TEST(Replay, FollowsEveryValue)
{
    const std::string cases[] = {
        "tail-head",
        "(tail-head)/3+((tail-head)>>1)*(tail-head)%7",
        "aligned-head",  // behind an alignment
        "after-aligned", // room that moves
        "c1",            // reverse chains of equates settle by a link a pass
        "hopped-head",   // a hop through a jump that comes into reach
    };
    for (const std::string &expression : cases) {
        expect_same_outcome(
            staircase(20) +
            " align 64\naligned: ds.b (tail-head)&63+1\n dcb.w (tail-head)&7,1\nafter:\n"
            "c1: equ c2\nc2: equ c3+1\nc3: equ c4\nc4: equ hopped+1\n"
            " jra head\n ds.b 50\n jreq head\n ds.b 66\n jrne head\nhopped:\n" +
            trace_of(expression));
    }
}

TEST(Replay, RunsWhatReadsItselfInEachPass)
{
    const std::string count = " ifeq w\nv: set 1\n endif\nw: set 1\nv: set v+1\n";
    expect_same_outcome(count + staircase(20) + " dc.l v\n");
    expect_same_outcome(staircase(20) + count + " ds.b v\n");
}

// A text that comes in late reads chains of equates as text passes would have left them by then.
TEST(Replay, LetsChangedTextFindChainsHalfWay)
{
    const std::string count = " ifeq w\nv: set 1\n endif\nw: set 1\n";
    std::string chain;
    for (int link = 0; link < 14; ++link)
        chain += "q" + std::to_string(link) + ": equ q" + std::to_string(link + 1) + "+1\n";
    const std::string ends[][2] = {{"5", "q0"}, {"tail", "q0-head"}, {"tail", "q13-head"}};
    for (const auto &[end, value] : ends) {
        for (const std::string passed : {"1310", "1290", "1250"})
            expect_same_outcome(count + chain + "q14: equ " + end + "\n" + staircase(20) +
                                " ifgt " + passed + "-(tail-head)\nv: set v*2+" + value +
                                "\n endif\n dc.l v\n");
    }
}

// Two chains, one at the end of the other, where the code attribute comes and goes in waves.
TEST(Replay, SeesAttributesGetLost)
{
    const std::string count = " ifeq w\nv: set 1\n endif\nw: set 1\nv: set v+1\n";
    for (const std::string links : {"q2: equ p0\n", "q2: equ q3\nq3: equ p0\n"})
        expect_same_outcome(count + "p0: equ p1\np1: equ t1\n" + staircase(4) +
                            "q0: equ q1\nq1: equ q2\n" + links + " dc.l v\n");
}

// What a value decides beside the layout holds in a pass only as long as the answer is the same.
TEST(Replay, EndsWhereTheTextReadsOtherwise)
{
    const std::string decisions[] = {
        " ifgt tail-head-1280\n ds.b 9\n endif",
        " iflt tail-head-1280\n ds.b 9\n endif",
        " ifeq tail-head-1280\n ds.b 9\n endif",
        " ifne tail-head-1280\n ds.b 9\n endif",
        " repeat (tail-head)>>4&3\n nop\n endr",
        " ld a,(tail-head-1000,x)",
        " ld a,(tail-head-1280,x)",
        " ldw x,tail-head-1000",
        " dc.b tail-head-1000",
        " jrf *-head-1140+*",
        " align tail-head&3+1",
        "k: equ $20:((tail-head)>>2&7)\n bset k",
        " offset tail-head\nf: ds.b 1\n switch .text\n dc.w f",
        " dc.w k\n ifgt tail-head-1280\nk: equ 5\n else\nk: equ head\n endif",
        "abs: section abs\n switch abs\nahead: org $8000+(tail-head>1280)\n nop\ninside:\n switch "
        ".text\n"
        " dc.w inside,ahead",
    };
    for (const std::string &decision : decisions) {
        expect_same_outcome(staircase(20) + decision + "\nz:\n" + trace_of("z-head"), {"-l"});
    }
}

// What a pass hands on to the next one beside the values of symbols.
TEST(Replay, KeepsWhatPassesHandOn)
{
    const std::string ends[] = {
        " ifgt tail-head-1280\n base 16\n endif",
        " ifgt tail-head-1280\n save\n switch .data\n endif",
        " ifgt tail-head-1280\n#line 50\n endif",
        " save\n",
        " base 16",
        " repeat 3\n nop",
        " repeat tail-head-1240\n nop",
    };
    for (const std::string &end : ends) {
        for (const Options &options : {Options{"-l"}, Options{"-c", "-l"}, Options{"-x"}})
            expect_same_outcome(" dc.b 10\n" + staircase(20) + trace_of("tail-head") + end + "\n",
                                options);
    }
}

// Links of equates, each above what it stands for: a pass takes the value, the code attribute and
// that it is a number one link further up.
TEST(Replay, FollowsEquatesInReverse)
{
    std::string chain;
    for (int link = 0; link < 20; ++link)
        chain += "q" + std::to_string(link) + ": equ q" + std::to_string(link + 1) + "+1\n";
    const std::string ends[] = {"tail", "7", "$300", "outside+2", "tail-head", "late\nlate: equ 9"};
    const std::string readers[] = {
        "",
        " ldw x,#q0\n",
        " ld a,q7\n ldw x,q3\n",
        " dc.b low(q5)\n jreq q4\n jp q8\n",
        "b: equ q9:1\n bset b\n",
        " xdef q0,q3\np: equ q2-1\nr: equ high(q6)\n dc.w p,r\n",
        "v: set 3\nv: set v+q1-q2\n ds.b v\n",
        " ifdef q5\n nop\n endif\n ifgt q5-q6\n nop\n endif\n",
        trace_of("q0-q9"),
    };
    for (const std::string &end : ends) {
        for (const std::string &reader : readers) {
            const std::string definitions = chain + "q20: equ " + end + "\n xref outside\n";
            expect_same_outcome(reader + definitions + staircase(20), {"-p"});
            expect_same_outcome(definitions + reader + staircase(8), {"-l"});
        }
    }
}

TEST(Replay, FindsValuesThatNeverSettle)
{
    const std::string circle =
        " ifgt tail-head-1279\n ds.b (q-p)%7+1\n endif\np: ds.b 7-(q-p)%7\nq:\n";
    expect_same_outcome(staircase(20) + circle, {"-l"});
    // A drift of one byte a pass is given up after so many passes, replayed or not.
    const std::string drift = "p: ds.b q-p+1\nq: dc.w p\n";
    EXPECT_EQ(errors_of(staircase(20) + drift), errors_of(staircase(20) + drift, {"-l"}));
    expect_same_outcome(staircase(20) + drift + trace_of("q-p"));
}
