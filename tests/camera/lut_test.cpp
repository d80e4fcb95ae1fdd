// kxinfo lut: shows, switches or loads the lookup table.

#include "watched_camera.h"
#include "wire.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <numeric>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Lut : public Wire {
protected:
    static Result done(const std::string &text) {
        return {0, "Camera S1234 (C1936)\nLookup table: " + text + "\n", ""};
    }

    // One value a line, of a table of that many entries.
    static std::string valuesUpTo(int count) {
        std::string text;
        for (int value = 0; value < count; ++value)
            text += std::to_string(value) + "\n";
        return text;
    }

    // Leaves the selector the entries of these colours.
    static Replacement onlyColours(const std::vector<std::string> &colours) {
        const std::string whole = readFile(BUILT_IN_DESCRIPTION);
        const size_t node = whole.find("<Enumeration Name=\"LUTSelector\">");
        const size_t begin = whole.find("<EnumEntry", node);
        const size_t end = whole.find("<pValue>", node);
        std::string entries;
        for (const std::string &colour : colours) {
            const size_t entry = whole.find("<EnumEntry Name=\"" + colour + "\">", node);
            entries += whole.substr(entry, whole.find("</EnumEntry>", entry) + 12 - entry);
        }
        return {whole.substr(begin, end - begin), entries};
    }

    // Makes other limits of LUTIndex or LUTValue.
    static Replacement limits(const std::string &feature, const std::string &min,
                              const std::string &max) {
        const std::string value = "<pValue>" + feature + "Reg</pValue>\n    ";
        return {value + "<Min>0</Min>\n    <pMax>LUTLimit</pMax>",
                value + "<Min>" + min + "</Min>\n    <Max>" + max + "</Max>"};
    }

    static const Writes usersTableOn, gammaOn;
};

const Writes Lut::usersTableOn = {{reg::kLutMode, 1}, {reg::kLutType, 0}, {reg::kLutSize, 2}};
const Writes Lut::gammaOn = {{reg::kLutMode, 1}, {reg::kLutType, 1}};

TEST_F(Lut, IsShownAndNothingChangedInWhateverState) {
    WatchedCamera camera;
    for (const StartingState &state : startingStates()) {
        SCOPED_TRACE(state.name);
        camera.write(state.writes);
        const std::string before = camera.snapshot();
        const bool off = before.find("lutMode = Off\n") != before.npos;
        const bool user = before.find("lutType = UserDefined\n") != before.npos;

        const Result result = kxinfo({"lut", "S1234", "show"});
        EXPECT_EQ(0, result.status);
        EXPECT_THAT(result.out, testing::StartsWith(done(off    ? "off"
                                                         : user ? "the user's table"
                                                                : "the gamma curve")
                                                        .out));
        EXPECT_EQ(result, kxinfo({"lut"}));
        EXPECT_EQ(before, camera.snapshot());
    }
}

TEST_F(Lut, IsSwitched) {
    WatchedCamera camera;
    EXPECT_EQ(done("off -> the user's table"), kxinfo({"lut", "S1234", "user"}));
    EXPECT_THAT(camera.changes(), ElementsAre("lutMode: Off -> Active", "lutSize: Bpp8 -> Bpp12"));
    EXPECT_EQ(done("the user's table -> the gamma curve"), kxinfo({"lut", "S1234", "gamma"}));
    EXPECT_THAT(camera.changes(), ElementsAre("lutType: UserDefined -> GammaCorrection"));
    EXPECT_EQ(done("the gamma curve"), kxinfo({"lut", "S1234", "gamma"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
    EXPECT_EQ(done("the gamma curve -> the user's table"), kxinfo({"lut", "S1234", "user"}));
    EXPECT_THAT(camera.changes(), ElementsAre("lutType: GammaCorrection -> UserDefined"));
    EXPECT_EQ(done("the user's table -> off"), kxinfo({"lut", "S1234", "off"}));
    EXPECT_THAT(camera.changes(), ElementsAre("lutMode: Active -> Off"));
    EXPECT_EQ(done("off"), kxinfo({"lut", "S1234", "off"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Lut, IsLoadedWithOneValueALineForAllColoursAndSwitchedOn) {
    WatchedCamera camera({smallTables()});
    const std::string file =
        camera.folder().file("curve", "# a curve\n0\n0 # black\n\n1\r\n2\n3\n4\n5\n6\n7\n8\n9\n10\n"
                                      "11\n12\n13\n  15  ");

    EXPECT_EQ(done("off -> the user's table, 16 entries of Red, Green, Blue"),
              kxinfo({"lut", "S1234", "load", file}));
    std::vector<std::string> expected;
    for (const std::string colour : {"Blue", "Green", "Red"})
        for (int index : {10, 11, 12, 13, 14, 15, 2, 3, 4, 5, 6, 7, 8, 9})
            expected.push_back("LUTValue[" + colour + "][" + std::to_string(index) +
                               "]: (none) -> " + std::to_string(index == 15 ? 15 : index - 1));
    expected.insert(expected.end(), {"lutMode: Off -> Active", "lutSize: Bpp8 -> Bpp12"});
    EXPECT_THAT(camera.changes(), testing::UnorderedElementsAreArray(expected));
}

TEST_F(Lut, IsLoadedInPartsWithLinesOfIndexAndValue) {
    WatchedCamera camera({smallTables()});
    camera.write(gammaOn);
    const std::string file = camera.folder().file("curve.csv", "Index,Value\n15,1\n 3 , 12 \n");

    EXPECT_EQ(done("the gamma curve -> the user's table, 2 entries of Green"),
              kxinfo({"lut", "S1234", "load", file, "--channel", "green"}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("LUTValue[Green][15]: (none) -> 1", "LUTValue[Green][3]: (none) -> 12",
                            "lutSize: Bpp8 -> Bpp12", "lutType: GammaCorrection -> UserDefined"));
    EXPECT_EQ(done("the user's table -> the user's table, 2 entries of Green"),
              kxinfo({"lut", "S1234", "load", file, "--channel", "green"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Lut, IsLoadedOnceForAllColoursWhereTheCameraHasOneTable) {
    WatchedCamera camera({smallTables(), without("LUTSelector")});
    const std::string file = camera.folder().file("curve.csv", "\xEF\xBB\xBF" // as some editors do
                                                               "1,5\n");

    EXPECT_EQ(done("off -> the user's table, 1 entries"), kxinfo({"lut", "S1234", "load", file}));
    EXPECT_THAT(camera.changes(), testing::Contains("LUTValue[Red][1]: (none) -> 5"));
    EXPECT_EQ((Result{2, "",
                      "kxinfo: this camera has no lookup table for red alone. Leave out --channel "
                      "to mean that of all colours.\n"}),
              kxinfo({"lut", "S1234", "load", file, "--channel", "red"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Lut, IsLoadedForTheColoursThatTheCameraHas) {
    WatchedCamera two({smallTables(), onlyColours({"Blue", "Red"})});
    const std::string file = two.folder().file("curve.csv", "1,5\n");

    EXPECT_EQ(done("off -> the user's table, 1 entries of Red, Blue"),
              kxinfo({"lut", "S1234", "load", file}));
    EXPECT_THAT(two.changes(),
                ElementsAre("LUTValue[Blue][1]: (none) -> 5", "LUTValue[Red][1]: (none) -> 5",
                            "lutMode: Off -> Active", "lutSize: Bpp8 -> Bpp12"));
}

TEST_F(Lut, IsLoadedForTheOnlyColourAlsoWhenThatIsNotSelected) {
    Replacement entries = onlyColours({"Blue"});
    entries.by += "<EnumEntry Name=\"Grey\"><Value>0</Value></EnumEntry>\n";
    WatchedCamera camera({smallTables(), entries});
    const std::string file = camera.folder().file("curve.csv", "1,5\n");

    EXPECT_EQ(done("off -> the user's table, 1 entries of Blue"),
              kxinfo({"lut", "S1234", "load", file, "--channel", "blue"}));
    EXPECT_THAT(camera.changes(), ElementsAre("LUTValue[Blue][1]: (none) -> 5",
                                              "lutMode: Off -> Active", "lutSize: Bpp8 -> Bpp12"));
}

TEST_F(Lut, IsRefusedWhenItsIndexesAreThoseOfNoTable) {
    const struct {
        std::string min;
        std::string max;
    } cases[] = {{"1", "16"}, {"0", "1048576"}, {"0", "2147483647"}, {"0", "4294967295"}};
    for (const auto &[min, max] : cases) {
        SCOPED_TRACE(max);
        WatchedCamera camera({limits("LUTIndex", min, max)});
        const std::string file = camera.folder().file("curve.csv", "1,5\n");
        camera.write(gammaOn);

        EXPECT_EQ((Result{3, "",
                          "kxinfo: the lookup table cannot be used: \"LUTIndex\" goes from " + min +
                              " to " + max +
                              "; expected is a table from 0 on, of at most 1048576 entries.\n"}),
                  kxinfo({"lut", "S1234", "load", file}));
        EXPECT_THAT(camera.changes(), IsEmpty());
    }
}

TEST_F(Lut, TakesValuesUpToWhatAFileMayHoldWhereTheCameraTakesMore) {
    WatchedCamera camera({smallTables(), limits("LUTValue", "0", "4294967295")});
    const std::string file = camera.folder().file("curve.csv", "1,2147483647\n");

    EXPECT_EQ(done("off -> the user's table, 1 entries of Red"),
              kxinfo({"lut", "S1234", "load", file, "--channel", "red"}));
    EXPECT_THAT(camera.changes(), testing::Contains("LUTValue[Red][1]: (none) -> 2147483647"));
    EXPECT_EQ(
        (Result{2, "", "kxinfo: " + file + ", line 1: value -1 is outside 0 to 4294967295.\n"}),
        kxinfo({"lut", "S1234", "load", camera.folder().file("curve.csv", "1,-1\n")}));

    camera.write({{reg::kLutValues + 8, 0x80000000}});
    EXPECT_EQ((Result{3, "",
                      "kxinfo: entry 2 of the lookup table holds 2147483648, which is more than "
                      "kxinfo can keep.\n"}),
              kxinfo({"lut", "S1234", "load", camera.folder().file("curve.csv", "2,1\n")}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Lut, ShowsOnATerminalHowFarLoadingHasCome) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(0, grantpt(terminal));
    ASSERT_EQ(0, unlockpt(terminal));
    const int held = open(ptsname(terminal), O_RDWR | O_NOCTTY); // keeps what has been written
    WatchedCamera camera({smallTables()});
    const std::string file = camera.folder().file("curve", valuesUpTo(16));

    EXPECT_EQ(done("off -> the user's table, 16 entries of Red, Green, Blue"),
              kxinfo({"lut", "S1234", "load", file}, {}, Stream::to(ptsname(terminal))));
    std::string shown;
    // It comes in pieces, as a terminal likes to pass it on.
    pollfd arrival = {terminal, POLLIN, 0};
    const auto isWhole = [&] {
        const size_t last = shown.find("32 of 48");
        return last != shown.npos && shown.find("\033[K", last) != shown.npos;
    };
    while (!isWhole() && poll(&arrival, 1, 10000) > 0) {
        char piece[256];
        const ssize_t count = read(terminal, piece, sizeof piece);
        ASSERT_GT(count, 0);
        shown.append(piece, static_cast<size_t>(count));
    }
    const std::string part = "\r\033\\[K.. of 48 entries written, about [0-9]+ s left";
    EXPECT_THAT(shown, testing::MatchesRegex(part + part + "\r\033\\[K"));
    (void)close(held);
    (void)close(terminal);

    EXPECT_EQ(done("the user's table -> the user's table, 16 entries of Red, Green, Blue"),
              kxinfo({"lut", "S1234", "load", file}));
}

TEST_F(Lut, IsOffWhileItsEntriesAreWritten) {
    WatchedCamera camera; // a table of full size takes long enough
    camera.write(usersTableOn);
    const std::string before = camera.snapshot();
    const std::string file = camera.folder().file("curve", valuesUpTo(4096));

    Process kxinfo(KXINFO_PROGRAM, {"lut", "S1234", "load", file});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    std::string during;
    do
        during = camera.snapshot();
    while (during.find("LUTValue[Red][9] = 9\n") == std::string::npos &&
           std::chrono::steady_clock::now() < deadline);
    kxinfo.signal(SIGINT);
    (void)kxinfo.wait();

    EXPECT_THAT(during, testing::HasSubstr("lutMode = Off\n"));
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(Lut, IsSavedAsItIsLoadedAndOnlySwitchedWhereAnotherTableHasToBeSelected) {
    WatchedCamera camera({smallTables(), refusesWrites("lutMode")}); // reads as "Active"
    const std::string file = camera.folder().path() + "/curve.csv";
    camera.write({{reg::kLutType, 0}, {reg::kLutSize, 2}});
    std::string table;
    for (uint32_t index = 0; index < 16; ++index)
        table += index == 15 ? "9\n" : "0\n";
    for (uint32_t colour = 0; colour < 3; ++colour)
        camera.write({{reg::kLutValues + colour * reg::kBytesOfTable + 4 * 15, 9}});
    EXPECT_EQ(
        (Result{0, "Camera S1234 (C1936)\n16 entries of the lookup table saved to " + file + "\n",
                ""}),
        kxinfo({"lut", "save", file}));
    EXPECT_EQ(table, readFile(file));
    EXPECT_THAT(kxinfo({"lut", "save", file + '\x1b'}).out,
                testing::HasSubstr("saved to " + file + "\\x1b\n"));
    EXPECT_EQ(table, kxinfo({"lut", "save", "-", "--channel", "blue"}).out);

    for (const Writes &state : {Writes{{reg::kLutSize, 1}}, Writes{{reg::kLutType, 1}}}) {
        camera.write(state);
        EXPECT_EQ((Result{3, "",
                          "kxinfo: camera S1234 refuses: Cannot write the camera's register 0x904 "
                          "for 'lutMode': the register cannot be written (0x8004).\n"}),
                  kxinfo({"lut", "S1234", "save", file}));
        EXPECT_THAT(camera.changes(), IsEmpty());
    }
}

TEST_F(Lut, IsNotSavedWhereTheColoursDiffer) {
    WatchedCamera camera({smallTables()});
    ASSERT_EQ(0,
              kxinfo({"lut", "load", camera.folder().file("curve", "3,9\n"), "--channel", "green"})
                  .status);

    EXPECT_EQ((Result{2, "",
                      "kxinfo: the tables of the colours differ, and a file holds one: name it "
                      "with --channel red, green or blue.\n"}),
              kxinfo({"lut", "save", "-"}));
}

TEST_F(Lut, IsRefusedAFileThatIsNone) {
    const TemporaryFolder folder;
    const struct {
        std::string content;
        std::string why;
    } cases[] = {
        {"", "\"FILE\" is empty. Expected is one value a line, or lines of index,value."},
        {"# nothing\nindex,value\n",
         "\"FILE\" holds no values. Expected is one value a line, or lines of index,value."},
        {"1\nx\n",
         "FILE, line 2: \"x\" is no whole number; expected is one value, or index,value."},
        {"1.5\n",
         "FILE, line 1: \"1.5\" is no whole number; expected is one value, or index,value."},
        {"0,\n", "FILE, line 1: \"\" is no whole number; expected is one value, or index,value."},
        {"0,1,2\n",
         "FILE, line 1: \"1,2\" is no whole number; expected is one value, or index,value."},
        {std::string(1000, '1') + "\n", "FILE, line 1: \"" + std::string(40, '1') +
                                            "...\" is no whole number; expected is one value, or "
                                            "index,value."},
        {"99999999999\n", "FILE, line 1: \"99999999999\" is no whole number; expected is one "
                          "value, or index,value."},
        {"1\n0,1\n", "FILE, line 2: either all lines hold one value, or all hold index,value."},
        {"0,1\n1\n", "FILE, line 2: either all lines hold one value, or all hold index,value."},
        {"0,1\n# again\n0,2\n", "FILE, line 3: index 0 stands in line 1 already."},
    };
    for (const auto &wrong : cases) {
        const std::string file = folder.file("curve", wrong.content);
        std::string why = wrong.why;
        why.replace(why.find("FILE"), 4, file);
        EXPECT_EQ((Result{2, "", "kxinfo: " + why + "\n"}), kxinfo({"lut", "S1234", "load", file}));
    }
}

TEST_F(Lut, IsRefusedAFileThatDoesNotFitItAndNothingChangedInWhateverState) {
    WatchedCamera camera({smallTables()});
    const struct {
        std::string content;
        std::string why;
    } cases[] = {
        {valuesUpTo(15), "\"FILE\" holds 15 values, but the camera's table has 16 entries. Lines "
                         "of index,value may set some of them."},
        {valuesUpTo(16) + "1\n", "\"FILE\" holds 17 values, but the camera's table has 16 "
                                 "entries. Lines of index,value may set some of them."},
        {"15,0\n16,0\n", "FILE, line 2: index 16 is outside 0 to 15."},
        {"0,15\n1,16\n", "FILE, line 2: value 16 is outside 0 to 15."},
        {"0,-1\n", "FILE, line 1: value -1 is outside 0 to 15."},
    };
    for (const StartingState &state : startingStates()) {
        SCOPED_TRACE(state.name);
        camera.write(state.writes);
        const std::string before = camera.snapshot();
        for (const auto &wrong : cases) {
            const std::string file = camera.folder().file("curve", wrong.content);
            std::string why = wrong.why;
            why.replace(why.find("FILE"), 4, file);
            EXPECT_EQ((Result{2, "", "kxinfo: " + why + "\n"}),
                      kxinfo({"lut", "S1234", "load", file}));
        }
        EXPECT_EQ(before, camera.snapshot());
    }
}

TEST_F(Lut, IsMissedOnACameraWithoutIt) {
    WatchedCamera camera({without("LUTValue"), without("lutType")});
    const std::string file = camera.folder().file("curve", "0,1\n");
    const std::string unreadable =
        "kxinfo: what the lookup table does cannot be read: the camera lacks \"lutMode\" or "
        "\"lutType\".\n";

    for (const char *action : {"show", "user", "gamma", "off"})
        EXPECT_EQ((Result{3, "", unreadable}), kxinfo({"lut", "S1234", action}));
    EXPECT_EQ((Result{3, "", unreadable}), kxinfo({"lut", "S1234", "load", file}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Lut, IsNotLoadedIntoACameraThatCannotTakeEntries) {
    WatchedCamera camera({without("LUTValue")});
    const std::string file = camera.folder().file("curve", "0,1\n");

    EXPECT_EQ((Result{3, "",
                      "kxinfo: this camera has no lookup table whose entries can be written "
                      "(\"LUTIndex\" and \"LUTValue\").\n"}),
              kxinfo({"lut", "S1234", "load", file}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Lut, HasEachIndexWrittenOnceAndEachValueReadOnceAndWrittenWhereItDiffers) {
    Simcam camera({"--watch", "--camera", "S1234@127.0.0.2"});
    const TemporaryFolder folder;
    const std::string file = folder.file("curve", "0,0\n7,5\n9,6\n");
    ASSERT_EQ(0, kxinfo({"lut", "S1234", "load", file, "--channel", "green"}).status);

    // Of lines such as "S1234 127.0.0.1:4711 WRITEMEM LUTIndex=7 -> ok".
    std::vector<std::string> written;
    std::vector<std::string> read;
    for (const std::string &line : linesOf(camera.stop().output)) {
        const size_t feature = line.find(" LUT");
        const size_t end = line.find(" -> ok");
        if (feature == line.npos || end == line.npos)
            continue;
        const std::string access = line.substr(feature + 1, end - feature - 1);
        if (line.find(" WRITE") != line.npos && access.find("LUTSelector") == access.npos)
            written.push_back(access);
        if (line.find(" READ") != line.npos && access.find("LUTValue") != access.npos)
            read.push_back(access);
    }
    EXPECT_THAT(written, ElementsAre("LUTIndex=0", "LUTIndex=7", "LUTValue[Green][7]=5",
                                     "LUTIndex=9", "LUTValue[Green][9]=6", "LUTIndex=0"));
    EXPECT_THAT(
        read, ElementsAre("LUTValue[Green][0]=0", "LUTValue[Green][7]=0", "LUTValue[Green][9]=0"));
}

TEST_F(Lut, GetsItsEntriesBackWhenTheCameraRefusesOneInWhateverState) {
    // Of the blue table only the first eight entries are there.
    WatchedCamera camera({smallTables(), {"<Cells>12288</Cells>", "<Cells>8200</Cells>"}});
    const std::string file = camera.folder().file("curve", valuesUpTo(16));
    for (const StartingState &state : startingStates()) {
        SCOPED_TRACE(state.name);
        camera.write(state.writes);
        const std::string before = camera.snapshot();

        EXPECT_EQ(
            (Result{3, "",
                    "kxinfo: camera S1234 refuses: Cannot read the camera's register 0x28020 for "
                    "'LUTValue': it has no such register (0x8003).\n"
                    "kxinfo: the entries written to the user's lookup table are put back.\n"}),
            kxinfo({"lut", "S1234", "load", file}));
        EXPECT_EQ(before, camera.snapshot());
    }
}

TEST_F(Lut, StaysAsItWasWhenTheCameraRefusesToSwitchIt) {
    WatchedCamera camera({smallTables(), refusesWrites("lutMode")}); // reads as "Active"
    camera.write({{reg::kLutType, 1}});
    const std::string file = camera.folder().file("curve", valuesUpTo(16));
    const std::string before = camera.snapshot();
    const Result refused{
        3, "",
        "kxinfo: camera S1234 refuses: Cannot write the camera's register 0x904 for 'lutMode': "
        "the register cannot be written (0x8004).\n"};

    EXPECT_EQ(refused, kxinfo({"lut", "S1234", "off"}));
    EXPECT_EQ(refused, kxinfo({"lut", "S1234", "load", file}));
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(Lut, GetsItsEntriesBackWhenTheUserInterruptsLoading) {
    WatchedCamera camera; // a table of full size takes long enough
    camera.write(gammaOn);
    camera.write({{reg::kLutValues + 4, 7}});
    const std::string before = camera.snapshot();
    const std::string file = camera.folder().file("curve", valuesUpTo(4096));

    Process kxinfo(KXINFO_PROGRAM, {"lut", "S1234", "load", file});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (camera.snapshot().find("LUTValue[Red][9] = 9\n") == std::string::npos &&
           std::chrono::steady_clock::now() < deadline) {
    }
    kxinfo.signal(SIGINT);
    const Process::End end = kxinfo.wait();

    EXPECT_EQ(-1, end.status) << "it dies of the signal";
    EXPECT_EQ("", end.output);
    EXPECT_EQ("kxinfo: stopped, as asked for.\n"
              "kxinfo: putting back the entries of the lookup table; once more (Ctrl-C) ends at "
              "once.\n"
              "kxinfo: the entries written to the user's lookup table are put back.\n",
              end.errors);
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(Lut, IsToldWhenTheCameraHasItsModeAsSomethingElse) {
    const Replacement asText{
        "<Enumeration Name=\"lutMode\">",
        "<StringReg Name=\"lutMode\"><Address>0xF0000</Address><Length>8</Length>"
        "<AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>"
        "<Enumeration Name=\"lutModeOfAnotherName\">"};
    WatchedCamera camera({asText});

    EXPECT_EQ((Result{3, "",
                      "kxinfo: what the lookup table does cannot be read: the camera lacks "
                      "\"lutMode\" or \"lutType\".\n"}),
              kxinfo({"lut"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Lut, LoadingSaysThatTheCameraFallsSilent) {
    const TemporaryFolder folder;
    const std::string file = folder.file("curve", valuesUpTo(16));

    const Result result =
        whenSilentHalfway({"lut", "S1234", "load", file}, {smallTables()}, gammaOn);

    EXPECT_EQ(3, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(
        result.err,
        saysSilent(
            "kxinfo: [0-9]+ of [0-9]+ entries of the user's lookup table could not be put back .*\n"
            "kxinfo: this could not be put back: .*lutType to GammaCorrection.*\n"));
}

TEST_F(Lut, SwitchingSaysThatTheCameraFallsSilent) {
    const Result result = whenSilentHalfway({"lut", "S1234", "user"}, {}, gammaOn);

    EXPECT_EQ(3, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(result.err, saysSilent("kxinfo: this could not be put back: .*\n"));
}

} // namespace
