// From the source files to the objects: names, settings, definitions, and the passes over a file.
#include "support/rows.h"

TEST(Driver, RecordsTheSettingsInForce)
{
    static const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, ""},
        {{"+v", "ver", "-dq=3", "-b"}, " -a -b -d q=3"},
        {{"-xxxppl", "-d", "r", "-d", "q", "-h", "/dev/null"},
         " -h /dev/null -d r -d q -pl -xp -xx"},
    };
    for (const auto &[options, record] : cases) {
        const auto run = assemble(" nop\n", options);
        EXPECT_NE(run.object_bytes.find("nvasm8 V4.8.1:" + record + '\0'), std::string::npos)
            << record << run.err;
    }
    const auto run = run_program({"prog.s"}, {{"prog.s", " nop\n"}},
                                 {"SOURCE_DATE_EPOCH=1000000000", "TZ=EST5"});
    EXPECT_NE(run.object_bytes.find("> prog.o:  9 Sep 2001 01:46"), std::string::npos);
    // A year beyond 9999 has no room in the stamp.
    const auto late =
        run_program({"prog.s"}, {{"prog.s", " nop\n"}}, {"SOURCE_DATE_EPOCH=999999999999"});
    EXPECT_NE(late.object_bytes.find("> prog.o:  1 Jan 1970 00:00"), std::string::npos);
}

TEST(Driver, GeneratedSourcesEndLineRecordsForGood)
{
    const auto run = run_program({"-x", "-p", "a.s", "b.nvm", "c.s"},
                                 {{"a.s", "l: nop\n"}, {"b.nvm", " nop\n"}, {"c.s", " nop\n"}});
    EXPECT_NE(run.files.at("a.o").find("a.s:1"), std::string::npos);
    EXPECT_EQ(run.files.at("b.o").find(" -x"), std::string::npos);
    EXPECT_EQ(run.files.at("c.o").find("c.s:1"), std::string::npos);
    // Line records make no symbol public, whatever -p says.
    EXPECT_EQ(run.files.at("a.o").find("l\0", 0, 2), std::string::npos);
}

TEST(Driver, KeepsOnlyDefinitionsBetweenFiles)
{
    const auto run =
        run_program({"-l", "-dk=5", "a.s", "none.s", "gone.s", "b.s"},
                    {{"a.s", "m: macro\n nop\n endm\nl: m\n"}, {"b.s", "l: dc.b k\n m\n"}});
    // The error that opening leaves behind is reported at the first statement that follows.
    EXPECT_EQ(run.err, "can't open none.s\ncan't open gone.s\n"
                       "#error nvasm8 b.s:1\tcan't open none.s\n"
                       "#error nvasm8 b.s:2\tunknown instruction m\n"
                       "#error nvasm8 b.s:2\tunknown instruction m\n");
    EXPECT_TRUE(run.status == 1 && run.files.contains("a.o"));
    // The missing files don't cost the others their listings.
    EXPECT_TRUE(run.files.at("b.ls").starts_with("   1  0000 05            l: dc.b k\n"));
}

TEST(Driver, DependencyRunsIgnoreErrors)
{
    const auto run =
        run_program({"-md", "-v", "-c", "dir.v2/none", "a.s"},
                    {{"a.s", " bad\n include \"a.i\"\n include \"a.i\"\n"}, {"a.i", ""}});
    EXPECT_EQ(run.out, "dir.o:\na.o: a.s a.i\n");
    EXPECT_EQ(run.err, "#error nvasm8 a.s:1\tunknown instruction bad\n");
    EXPECT_TRUE(run.status == 0 && !run.files.contains("a.o"));
}

TEST(Driver, ReadsTheHeaderBeforeTheSource)
{
    const auto run = assemble(" fail \"s\"\n", {"-h", "h.i"}, {{"h.i", " dc.b 9\n fail \"h\"\n"}});
    EXPECT_EQ(run.err, reported("h.i:2 = h | 1 = s"));
    // A header that is missing is reported in each pass that shows errors.
    EXPECT_EQ(errors_of(" nop\n", {"-l", "-h", "h.i"}),
              reported("0 = can't open h.i | 0 = can't open h.i"));
}

TEST(Passes, GoOnUntilNothingMoves)
{
    // The second branch is short enough only when the first has become short.
    EXPECT_TRUE(text_of(" jreq l1\n jrne l2\nl1: ds.b 122\nl2:\n").starts_with("27 02 26 7a "));

    const std::string unsettled = " if q-1\n ds.b 1\n endif\nq:\n\n";
    const auto run = assemble(unsettled, {"-a"});
    EXPECT_EQ(run.err, reported("5 = labels do not settle"));
    EXPECT_FALSE(run.has_object);
    // With an error counted, a label that moves asks for no pass after the first.
    EXPECT_EQ(errors_of(" fail \"x\"\n" + unsettled, {"-a"}), reported("1 = x | 1 = x"));
}

TEST(Passes, GoOnAsLongAsSomethingStillSettles)
{
    std::string chain = " ldw x,#e0\n";
    for (int i = 0; i < 1100; ++i)
        chain += "e" + std::to_string(i) + ": equ e" + std::to_string(i + 1) + "+1\n";
    EXPECT_EQ(text_of(chain + "e1100: equ lab\nlab: nop\n"), "ae 04 4f 9d");
}

TEST(Passes, MergeNewSectionsThatAreTooMany)
{
    // How many there are, and how many of them make one: each of the others leaves room for 247.
    static const std::pair<size_t, size_t> cases[] = {{300, 2}, {493, 2}, {494, 3}, {600, 3}};
    std::string source;
    for (const auto &[count, group] : cases) {
        source.clear();
        for (size_t i = 0; i < count; ++i)
            source += ".text: section new\n dc.b " + std::to_string(i & 255) + "\n";
        const auto run = assemble(source);
        // .info. is the second
        ASSERT_EQ(run.object.sections.size(), (count + group - 1) / group + 1) << run.err;
        const std::vector<uint8_t> &third = run.object.sections[2].contents;
        EXPECT_EQ(third.size(), group);
        EXPECT_EQ(third[0], group);
    }

    source.clear();
    for (int i = 0; i < 248; ++i)
        source += "s" + std::to_string(i) + ": section\n nop\n";
    EXPECT_EQ(errors_of(source), reported("496 = too many sections"));
    EXPECT_EQ(errors_of(source, {"-sm"}), "");
    // A label can't tell that it lies in a section above 255.
    for (int i = 248; i < 300; ++i)
        source += "s" + std::to_string(i) + ": section\n nop\n";
    EXPECT_EQ(errors_of(source + "l: jra l\n"),
              reported("601 = too many sections | 601 = bad relocatable expression"));
}
