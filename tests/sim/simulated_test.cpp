// Programs that are assembled, linked and run: what the simulated chip prints, sends and holds in
// memory at the end tells whether instructions, relocations and layout are right together.
#include "support/run.h"
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

// The simulator is sstm8 of the package sdcc-ucsim.
class Simulated : public testing::Test
{
  protected:
    void SetUp() override
    {
        static const bool present = std::system("command -v sstm8 >/dev/null") == 0;
        if (!present)
            GTEST_SKIP() << "needs sstm8, of the package sdcc-ucsim";
    }
};

struct Simulation {
    std::string sources; // paths below the tests, parted by blanks
    std::string assembler_options;
    std::string link_options;
    std::string device = "stm8s105c6";
    std::string chip = "S105"; // the simulator's name for it
    std::string commands = "step 500 ms";
    std::string input; // of UART 2
};

struct Outcome {
    std::string text;    // of the commands and the console; messages of what failed ahead of them
    std::string sent;    // by UART 2, mostly after a stray byte
    std::string symbols; // as --export writes them
};

// A call or return counts the stack pointer against a limit that isn't the chip's, unless told.
static const char *const SCRIPT = R"sh(
set -e
top=$PWD
for source in $SOURCES; do
    cd "$TESTS/${source%/*}"
    "$NVASM8" $ASSEMBLER_OPTIONS -o "$top/$(basename "$source" .s).o" "$(basename "$source")"
    objects="$objects $(basename "$source" .s).o"
done
cd "$top"
"$NVLINK8" -o x.hex -L "$TESTS/../share/devices" --device $DEVICE --export symbols \
    $LINK_OPTIONS $objects
printf 'set error stack off\n%s\nquit\n' "$COMMANDS" >commands
timeout 50 sstm8 -q -b -t $CHIP -S uart=2,in=input,out=sent -I 'if=rom[0x57ff]' x.hex \
    <commands 2>/dev/null | sed '1,/^quit$/d'
)sh";

static std::string setting(const char *name, const std::string &value)
{
    return std::string(name) + "='" + value + "'\n";
}

static Outcome outcome_of(const Simulation &simulation)
{
    const std::string settings =
        setting("TESTS", NVASM8_SOURCE_DIR) + setting("SOURCES", simulation.sources) +
        setting("ASSEMBLER_OPTIONS", simulation.assembler_options) +
        setting("LINK_OPTIONS", simulation.link_options) + setting("DEVICE", simulation.device) +
        setting("CHIP", simulation.chip) + setting("COMMANDS", simulation.commands);
    Run run = run_shell(settings + SCRIPT, {{"input", simulation.input}});
    Outcome outcome{run.err + run.out, run.files["sent"], run.files["symbols"]};
    return outcome;
}

// The simulator begins with a byte of its own, or with none.
static void expect_sent(const Outcome &outcome, const std::string &text)
{
    EXPECT_TRUE(outcome.sent.ends_with(text)) << outcome.text << outcome.sent;
    EXPECT_LE(outcome.sent.size(), text.size() + 1);
}

// What a program of tests/sim/programs prints on the console until it stops itself.
static std::string printed_by(const std::string &names, Simulation simulation = {})
{
    simulation.sources = "sim/programs/start.s";
    for (size_t at = 0; at < names.size();) {
        const size_t end = std::min(names.find(' ', at), names.size());
        simulation.sources += " sim/programs/" + names.substr(at, end - at) + ".s";
        at = end + 1;
    }
    const std::string text = outcome_of(simulation).text;
    const size_t end = text.find("\nStop at");
    const bool stopped = text.find("Program stopped itself") != std::string::npos;
    return stopped ? text.substr(0, end) : "didn't stop: " + text;
}

// An example on an otherwise empty chip. The simulator doesn't know wfi: it becomes what it also
// does, to let interrupts in.
static Outcome outcome_of_example(const std::string &name, Simulation simulation)
{
    simulation.sources = "../examples/" + name + "/" + name + ".s";
    simulation.assembler_options += " -h " NVASM8_SOURCE_DIR "/sim/no_wfi.inc";
    return outcome_of(simulation);
}

// The line of a dump that begins with the address.
static std::string dumped(const Outcome &outcome, const std::string &address)
{
    const std::string text = "\n" + outcome.text;
    const size_t at = text.find("\n0x" + address + " ");
    if (at == std::string::npos)
        return text;
    const std::string line = text.substr(at + 9, text.find('\n', at + 1) - at - 9);
    return line.substr(line.find_first_not_of(' '), line.find_last_of(' ') + 1);
}

static std::string formatted(const char *format, unsigned a, unsigned b, unsigned c, unsigned d = 0,
                             unsigned e = 0)
{
    std::array<char, 80> text;
    std::snprintf(text.data(), text.size(), format, a, b, c, d, e);
    return text.data();
}

TEST_F(Simulated, SortsAnArray)
{
    EXPECT_EQ(printed_by("sort"), "0000 0003 0003 0100 1234 7FFF 8000 FFFF ");
}

TEST_F(Simulated, Divides)
{
    const std::vector<std::pair<unsigned, unsigned>> cases{{1000, 7}, {65535, 255}, {65535, 1},
                                                           {5, 200},  {0, 3},       {0x1234, 0x12}};
    for (const auto &[dividend, divisor] : cases) {
        Simulation numbers;
        numbers.assembler_options =
            "-dDIVIDEND=" + std::to_string(dividend) + " -dDIVISOR=" + std::to_string(divisor);
        const unsigned quotient = dividend / divisor;
        const unsigned rest = dividend % divisor;
        EXPECT_EQ(printed_by("divide", numbers),
                  formatted("%04X %02X%04X %04X %04X ", quotient, rest, quotient, rest,
                            (dividend & 255) * divisor));
    }
}

TEST_F(Simulated, ChecksumIsThatOfTheFlash)
{
    Simulation filled;
    filled.link_options = "--fill flash=0x9D --checksum crc16=0x8000-0x8FFD@0x8FFE";
    const std::string words = printed_by("checksum", filled);
    ASSERT_EQ(words.size(), 10U) << words;
    EXPECT_EQ(words.substr(0, 5), words.substr(5));
}

TEST_F(Simulated, StartUpCopiesAndClears)
{
    Simulation placed;
    placed.link_options = "--place fast=ram --load fast=flash";
    EXPECT_EQ(printed_by("startup", placed), "data bsct 0000R");
}

TEST_F(Simulated, FarCodeCallsAndReturns)
{
    Simulation large;
    large.device = "stm8s208mb";
    large.chip = "S208";
    EXPECT_EQ(printed_by("far far_data", large), "84 far 221");
    large.link_options = "--place fartext=0x20100 --place farconst=0x1FFFE";
    EXPECT_EQ(printed_by("far far_data", large), "84 far 222") << "data across two pages";
}

// Twenty conditions, four of them with a prefix, three that always branch, jrf, bit tests. In reach
// a branch has 2 bytes, with a prefix 3, a bit test 5; out of it 4 more, but a jump has 4 and a
// call 3.
TEST_F(Simulated, BranchesReachTheirTargets)
{
    Simulation only_short;
    only_short.assembler_options = "-b -dSHORT_ONLY";
    const unsigned in_reach = 16 * 4 * 2 + 4 * 4 * 3 + 3 * 2 * 2 + 2 * 2 + 2 * 4 * 5;
    EXPECT_EQ(printed_by("branches", only_short), formatted("%04X %04X %04X ", 0, 96, in_reach));
    const unsigned out_of_reach = 16 * 4 * 6 + 4 * 4 * 7 + 2 * 2 * 4 + 2 * 3 + 2 * 4 * 9;
    EXPECT_EQ(printed_by("branches"),
              formatted("%04X %04X %04X ", 0, 190, in_reach + out_of_reach));
}

TEST_F(Simulated, TasksAreSwitched)
{
    EXPECT_EQ(printed_by("switch"), "ababab");
}

TEST_F(Simulated, BitsOfAnotherFile)
{
    EXPECT_EQ(printed_by("bits bits_data"), "038001 0C");
}

TEST_F(Simulated, FieldsLeadToTheirTargets)
{
    Simulation large;
    large.device = "stm8s208mb";
    large.chip = "S208";
    large.link_options = "--place neartext=0x8FF0 --place fartext=0x1FEFE";
    EXPECT_EQ(printed_by("fields fields_data", large), "12bcdeFFF0 ");
}

TEST_F(Simulated, StrongDefinitionsWin)
{
    EXPECT_EQ(printed_by("weak"), "w.");
    EXPECT_EQ(printed_by("weak strong"), "s.");
    EXPECT_EQ(printed_by("strong weak"), "s.");
}

TEST_F(Simulated, BytesAreSent)
{
    Simulation uart;
    uart.sources = "sim/programs/start.s sim/programs/uart.s";
    expect_sent(outcome_of(uart), "42 bytes, or so\n");
}

TEST_F(Simulated, ExampleBlink)
{
    Simulation soon; // the countdown is cut short by hand
    soon.commands = "step 2 ms\nset memory rom 0 0 3\nstep 5 ms\ndump /h rom 0x500f 0x500f";
    EXPECT_EQ(dumped(outcome_of_example("blink", soon), "0500f"), "01 ");
}

TEST_F(Simulated, ExampleCrcPassesItsTest)
{
    Simulation crc;
    crc.assembler_options = "-p";
    crc.commands = "step 50 ms\nstate\ndump /h rom 0 3";
    const Outcome outcome = outcome_of_example("crc", crc);
    EXPECT_EQ(dumped(outcome, "00000"), "cb f4 39 26 ");
    const size_t at = outcome.symbols.find("passed=0x");
    ASSERT_NE(at, std::string::npos) << outcome.symbols;
    EXPECT_NE(outcome.text.find("PC= 0x00" + outcome.symbols.substr(at + 9, 4)), std::string::npos)
        << outcome.text;
}

TEST_F(Simulated, ExampleBoardReports)
{
    Simulation debug;
    debug.assembler_options = "-dDEBUG_UART";
    debug.commands = "step 50 ms";
    expect_sent(outcome_of_example("board", debug), "board: clock running, LED next\r\n");
}

// Its first byte is lost on the simulated line, as the transmitter is still idle.
TEST_F(Simulated, ExampleUartEchoAnswers)
{
    Simulation typed;
    typed.input = "x";
    typed.commands = "step 50 ms\nstep 50 ms\nstep 50 ms";
    expect_sent(outcome_of_example("uart_echo", typed), "art_echo ready\r\nx");
}

TEST_F(Simulated, ExampleI2cMissesItsSensor)
{
    Simulation alone;
    alone.commands = "step 50 ms\ndump /h rom 0 0";
    EXPECT_EQ(dumped(outcome_of_example("i2c_master", alone), "00000"), "02 ");
}

// The simulator's ret loses the page, so the far sections are placed in page 0 to run. The effect
// runs once, and then the program waits for the button, which is down. Where they belong they are
// looked at: the vectors lead there, and the entry jumps there.
TEST_F(Simulated, ExampleFarCodeRunsAFrame)
{
    Simulation near;
    near.link_options = "--place far_text,far_const=0xA000";
    near.commands = "step 50 ms\ndump /h rom 0 3";
    EXPECT_EQ(dumped(outcome_of_example("far_code", near), "00000"), "01 01 00 00 ");
    Simulation far;
    far.device = "stm8s208mb";
    far.chip = "S208";
    far.commands = "dump /h rom 0x8000 0x8003\nbreak 0x10000\nstep 1 ms\nstate";
    const Outcome outcome = outcome_of_example("far_code", far);
    EXPECT_EQ(dumped(outcome, "08000"), "82 00 80 80 ");
    EXPECT_NE(outcome.text.find("PC= 0x010000"), std::string::npos) << outcome.text;
}

TEST_F(Simulated, ExampleSchedulerTurnsAmber)
{
    Simulation crossing; // green; the button is down, which counts after four samples
    crossing.commands = "step 100 ms\ndump /h rom 0x500f 0x500f\n"
                        "step 50 ms\ndump /h rom 0x500f 0x500f\ndump /h rom 0 1";
    const Outcome outcome = outcome_of_example("scheduler", crossing);
    EXPECT_EQ(dumped(outcome, "0500f"), "08 ");
    EXPECT_EQ(dumped(outcome, "00000"), "00 01 ");
}

TEST_F(Simulated, ExampleProjectGreets)
{
    const auto run = run_shell("cp -r " NVASM8_SOURCE_DIR "/../examples/project " NVASM8_SOURCE_DIR
                               "/../examples/include . && cd project && make -s "
                               "LINKFLAGS='-L " NVASM8_SOURCE_DIR "/../share/devices' run");
    EXPECT_EQ(run.out, "Hello from the STM8S105!\r\n365 days, 366 in a leap year\r\n") << run.err;
    EXPECT_EQ(run.files.at("project/project.map").find("put_hex"), std::string::npos);
}
