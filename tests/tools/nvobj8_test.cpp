// The viewer against object files put together byte by byte, so that it is held to the format and
// not to what the assembler happens to write.
#include "nvobj8/debug_table.h"
#include "support/run.h"
#include <gtest/gtest.h>

static std::string bytes_of(std::string_view pairs)
{
    std::string bytes;
    for (size_t i = 0; i + 1 < pairs.size(); i += 2) {
        i += pairs[i] == ' ';
        bytes += static_cast<char>(std::stoi(std::string(pairs.substr(i, 2)), nullptr, 16));
    }
    return bytes;
}

static std::string long_word(size_t value)
{
    const auto byte = [value](int shift) { return static_cast<char>(value >> shift & 0xFF); };
    return {byte(24), byte(16), byte(8), byte(0)};
}

// A file with one section, ".text", and `symbols` externals of the name "x".
static std::string one_section(const char *attributes, const std::string &contents,
                               const std::string &stream, size_t symbols)
{
    const size_t stream_at = 28 + 40 + contents.size();
    const size_t symbols_at = stream_at + stream.size();
    std::string bytes = bytes_of("cc060301") + long_word(symbols) + long_word(symbols_at) +
                        long_word(8 * symbols) + long_word(0) +
                        long_word(symbols_at + 8 * symbols) + long_word(0) + bytes_of(attributes) +
                        bytes_of("05 2e74657874 000000000000000000") + long_word(28 + 40) +
                        long_word(contents.size()) + long_word(stream_at) +
                        long_word(stream.size()) + long_word(0) + long_word(0) + contents + stream;
    for (size_t i = 0; i < symbols; ++i)
        bytes += bytes_of("00000000 06 00 01 78");
    return bytes;
}

static ObjectFile read(const std::string &bytes)
{
    return read_object({reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size()});
}

static std::string problems_of(const std::string &bytes)
{
    std::string text;
    for (const std::string &problem : read(bytes).problems)
        text += problem + "\n";
    return text;
}

static std::string small_file()
{
    return bytes_of(
        "cc060304 00000003 00000116 00000021 00000002 00000137 00000017" // head; the section table:
        "8205 2e746578740000000000 00000000 000000bc 00000004 000000c0 00000006 00000000 00000000"
        "0304 2e627373000000000000 00000000 00000000 00000010 00000000 00000000 00000100 00000100"
        "0206 2e646562756700000000 00000000 000000c6 0000003b 00000101 0000000d 00000000 00000000"
        "0006 2e696e666f2e00000000 00000000 0000010e 00000008 00000116 00000000 00000000 00000000"
        "cd000a9d 01 8f0500 8105"             // bc: .text; c0: its relocations
        "ffffffff 00000008"                   // c6: .debug, with the pointer to the table
        "0000002c 00000002 58000000 00000000" // ce: the table's row for weak
        "00000032 00001234 0a0000c0 00000037" // de: for buf
        "00000000"                            // ee: the end of the rows
        "7765616b 0013 62756600 01 00000003"  // f2: the strings, with the size of buf
        "04 8203 8203 8201 08 8203 08 8203"   // 101: relocations of .debug
        "3e206100 7461696c"                   // 10e: .info.
        "00000000 06 00 03 666172"            // 116: symbols far, weak, loc\x01
        "00000002 87 01 05 207765616b 00000100 01 02 04 6c6f6301"
        "00000001 08 01 05 612e733a33 00000000 40 03 04 615c2e73"); // 137: debug records
}

static const char SMALL_FILE_TEXT[] = R"(a.o: 334 bytes

head:
  machine 6, variant 3
  sections 4
  symbols 3, 0x21 bytes at 0x00000116
  debug records 2, 0x17 bytes at 0x00000137

sections:
   no  address   contents           relocations        name and attributes
    1  00000000  000000bc 00000004  000000c0 00000006  .text: hilo code
    2  00000100  00000000 00000010  00000000 00000000  .bss: bss hilo
    3  00000000  000000c6 0000003b  00000101 0000000d  .debug: hilo
    4  00000000  0000010e 00000008  00000116 00000000  .info.: -

contents of section 1 .text:
  00000000  cd 00 0a 9d

contents of section 3 .debug:
  00000000  ff ff ff ff 00 00 00 08 00 00 00 2c 00 00 00 02
  00000010  58 00 00 00 00 00 00 00 00 00 00 32 00 00 12 34
  00000020  0a 00 00 c0 00 00 00 37 00 00 00 00 77 65 61 6b
  00000030  00 13 62 75 66 00 01 00 00 00 03

contents of section 4 .info.:
  00000000  3e 20 61 00 74 61 69 6c

relocations of section 1 .text:
  offset      gap  kind          addend    refers to             stream
  00000001      1  check         00000000      5 far             01 8f 05 00
  00000001      0  word          0000000a      5 far             81 05

relocations of section 3 .debug:
  offset      gap  kind          addend    refers to             stream
  00000004      4  long          00000008      3 .debug          04 82 03
  00000008      0  long          0000002c      3 .debug          82 03
  0000000c      0  long          00000002      1 .text           82 01
  00000018      8  long          00000032      3 .debug          08 82 03
  00000024      8  long          00000037      3 .debug          08 82 03

symbols:
     no  value     section         name and attributes
      5  00000000  -               far: referenced public
      6  00000002  .text           weak: defined referenced public code weak
      -  00000100  .bss            loc\x01: defined

debug records:
  address   section         kind     text
  00000001  .text           line     "a.s:3"
  00000000  .debug          file     "a\x5c.s"

symbol table of section 3 .debug:
  2 symbols, rows from 00000008
  value     section         type      class       size      name
  00000002  .text           58000000  19 public  00000000  weak
  00001234  -               0a0000c0   1 local   00000003  buf

texts of section 4 .info.:
  "> a"
  "tail" without an end
)";

TEST(ObjectViewer, PrintsEveryPart)
{
    const auto run = run_viewer({"a.o"}, {{"a.o", small_file()}});
    EXPECT_EQ(run.out, SMALL_FILE_TEXT);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
}

TEST(ObjectViewer, OptionsChooseParts)
{
    const std::string text = SMALL_FILE_TEXT;
    const size_t sections = text.find("\nsections:");
    const size_t symbols = text.find("\nsymbols:");
    const std::string expected =
        text.substr(0, sections) + text.substr(symbols, text.find("\ndebug records:") - symbols);
    EXPECT_EQ(run_viewer({"-th", "a.o"}, {{"a.o", small_file()}}).out, expected);
    EXPECT_EQ(run_viewer({"-h", "a.o", "-t"}, {{"a.o", small_file()}}).out, expected);
}

TEST(ObjectViewer, CommandLine)
{
    EXPECT_EQ(run_viewer({"--version"}).out, "nvobj8 4.8.1\n");
    const auto help = run_viewer({"--help"});
    EXPECT_TRUE(help.status == 0 && help.out.starts_with("usage: nvobj8 ")) << help.out;
    for (const auto &arguments : {std::vector<std::string>{}, {"-sq", "a.o"}, {"-s"}}) {
        const auto run = run_viewer(arguments, {{"a.o", small_file()}});
        EXPECT_EQ(run.status, 2);
        EXPECT_TRUE(run.out.empty() && run.err.starts_with("nvobj8: ")) << run.out << run.err;
    }
}

TEST(ObjectViewer, GoesOnAfterABadFile)
{
    std::string damaged = small_file();
    damaged[0x13b] = 3;
    const auto run =
        run_viewer({"-g", "none.o", "empty.o", "bad.o"}, {{"empty.o", ""}, {"bad.o", damaged}});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "nvobj8: can't read none.o: No such file or directory\n"
                       "nvobj8: empty.o: not an object file: it doesn't begin with 0xcc\n"
                       "nvobj8: bad.o: debug record 1: unknown kind 0x03\n");
    EXPECT_NE(run.out.find("00000000  .debug          file "), std::string::npos) << run.out;
}

TEST(ObjectReader, EveryRelocationKindAndGap)
{
    static const struct {
        size_t plain;
        const char *stream;
        const char *field;
        const char *expected; // offset, kind, index, addend
    } items[] = {
        {0, "8001", "12", "0 byte 1 12"},
        {0, "8103", "1234", "1 word 3 1234"},
        {1, "01 8202", "01020304", "4 long 2 1020304"},
        {63, "3f 8403 112233", "44", "47 high 3 11223344"},
        {64, "4040 8601 000102", "03", "88 page-byte 1 10203"},
        {16383, "7fff 8703 8001", "0203", "4088 page-word 3 80010203"},
        {16384, "7fff01 8903 0001", "113456", "808a bit 3 13456"},
        {0, "8a03 0a0b0c", "0d", "808d phigh 3 a0b0c0d"},
        {2, "02 8b03 0a0b", "0c0d", "8090 plow 3 a0b0c0d"},
        {0, "8c03", "f1020304", "8092 long-alt 3 f1020304"},
        {3, "03 8f0000", "", "8099 check 0 0"},
        {0, "8f0301 fffffffe", "", "8099 check 3 fffffffe"},
        {0, "9103", "0001", "8099 word 3 1"},     // with the modifier bit
        {0, "a10100", "0005", "809b word 256 5"}, // a two-byte index
        {0, "80ff", "07", "809d byte 255 7"},
    };
    std::string contents;
    std::string stream;
    for (const auto &item : items) {
        contents += std::string(item.plain, '\x9d') + bytes_of(item.field);
        stream += bytes_of(item.stream);
    }
    const ObjectFile object = read(one_section("82", contents + bytes_of("9d9d"), stream, 255));
    EXPECT_EQ(object.problems, std::vector<std::string>{});
    ASSERT_EQ(object.sections[0].relocations.size(), std::size(items));
    for (size_t i = 0; i < std::size(items); ++i) {
        const ObjectRelocation &item = object.sections[0].relocations[i];
        char line[80];
        std::snprintf(line, sizeof line, "%x %s %u %x", item.offset,
                      relocation_kind_name(item.kind), item.index, item.addend);
        EXPECT_STREQ(line, items[i].expected);
    }
    // Fields of a section without hilo begin with the low byte; an end mark may close a stream.
    const ObjectFile lohi = read(one_section("00", bytes_of("04030201"), bytes_of("8201 00"), 0));
    EXPECT_EQ(lohi.problems, std::vector<std::string>{});
    ASSERT_EQ(lohi.sections[0].relocations.size(), 1u);
    EXPECT_EQ(lohi.sections[0].relocations[0].addend, 0x01020304u);
}

TEST(ObjectReader, NamesTheDamage)
{
    static const struct {
        size_t offset;
        const char *bytes;
        const char *problem;
    } cases[] = {
        {3, "ff", "the file ends within the section table, at entry 8 of 255"},
        {29, "0f", "name length 15 is above 14"},
        {43, "41", "section 1 .text: the name isn't filled up with zeros"},
        {64, "00000001", "the two address words 0x0 and 0x1 differ"},
        {84, "00000001", "section 2 .bss: a bss section has an offset"},
        {44, "000000b0", ".text, contents: begins at 0xb0, inside what ends at 0xbc"},
        {52, "000000c4", ".text, relocations: begins at 0xc4, the bytes from 0xc0 belong to"},
        {48, "fffffff0", ".text, contents: 0xfffffff0 bytes at 0xbc reach beyond the file"},
        {124, "00000000 0000014e", ".debug, contents: not read, the areas are longer"},
        {4, "ffffffff", "the symbol area ends at record 4 of 4294967295"},
        {12, "00000020", "the symbol area ends at record 3 of 3"},
        {16, "00000001", "the debug area has 11 bytes behind its last record"},
        {0x11b, "05", "symbol record 1: there is no section 5"},
        {0x11a, "02", "symbol  weak is public but stands behind symbols that aren't"},
        {0x11a, "02", ".text: the relocation at 0x1 is about far, which has no number"},
        {0x13c, "09", "debug record 1: there is no section 9"},
        {0xc0, "03", ".text: the relocation at 0x3 lies outside the section"},
        {0xc0, "4001", "a gap of 1 is in the two-byte form"},
        {0xc1, "af0005", "index 5 is in the two-byte form"},
        {0xc3, "01", "the relocation stream ends within an item"},
        {0xc4, "83", "unknown relocation item 0x83"},
        {0xc4, "c1", "unknown relocation item 0xc1"},
        {0xc4, "0101", "the relocation stream ends with a gap"},
        {0xc4, "0001", "1 bytes behind the end mark"},
        {0xc5, "00", "has index 0, which names nothing"},
        {0xc5, "08", "has index 8, which names nothing"},
        {334, "00", "the bytes from 0x14e to the end of the file belong to nothing"},
    };
    for (const auto &damage : cases) {
        std::string bytes = small_file();
        const std::string patch = bytes_of(damage.bytes);
        bytes.replace(damage.offset, patch.size(), patch);
        const std::string problems = problems_of(bytes);
        EXPECT_NE(problems.find(damage.problem), std::string::npos)
            << "expected: " << damage.problem << "\ngot: " << problems;
    }
    for (size_t size = 0; size < small_file().size(); ++size)
        EXPECT_NE(problems_of(small_file().substr(0, size)), "") << "cut to " << size << " bytes";
}

TEST(ObjectViewer, ReadsNothingWithoutAnEnd)
{
    const auto run = run_viewer({"/dev/zero"});
    EXPECT_EQ(run.err, "nvobj8: can't read /dev/zero: File too large\n");
    EXPECT_EQ(run.status, 1);
}

// Of the table only values, names and the size of a sized symbol are free.
TEST(ObjectReader, TakesNothingElseForADebugTable)
{
    const auto is_free = [](size_t at) {
        return at < 4 || (at >= 0x0c && at < 0x10) || (at >= 0x1c && at < 0x20) ||
               (at >= 0x2c && at < 0x30) || (at >= 0x32 && at < 0x35) || at >= 0x37;
    };
    for (size_t at = 0; at < 0x3b; ++at) {
        std::string bytes = small_file();
        bytes[0xc6 + at] ^= '\x40';
        EXPECT_EQ(find_debug_table(read(bytes), 3).has_value(), is_free(at)) << "byte " << at;
    }
}
