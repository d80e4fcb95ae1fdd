// Discovery: which cameras are seen, listed and selected, and with what exit code.

#include "plug_in.h"

#include <cstring>

namespace {

constexpr char kLoop[] = "_t_kxtd_check_loop";

Line debug(const std::string &text) {
    return frame.debug(kLoop, text);
}

// The C library's own answer, whatever its size: only its sign is standard.
std::string comparison(const char *recordSerial, const char *configured) {
    int (*volatile compare)(const char *, const char *, size_t) = std::strncmp;
    return std::to_string(compare(recordSerial, configured, std::strlen(configured)));
}

Line checked(const std::string &configured, const std::string &recordSerial) {
    return debug("Check configured Serial \"" + configured + "\" with \"" + recordSerial +
                 "\" (result " + comparison(recordSerial.c_str(), configured.c_str()) + ")\n");
}

Line seen(int index, const std::string &vendor, const std::string &model,
          const std::string &serial) {
    return debug(std::to_string(index) + ". Vendor \"" + vendor + "\", Model \"" + model +
                 "\", Serial \"" + serial + "\"\n");
}

const Line init = debug("init Dalsa staff\n");
const Line noDalsa = info("no any Dalsa devices found\n");

Line completed(int exitCode) {
    return debug("Loop completed (exitCode = " + std::to_string(exitCode) + ")\n");
}

std::vector<Line> listed(int index, const std::string &serial, const std::string &model) {
    return {info("  == " + std::to_string(index) + ". Dalsa Device Information ==\n"),
            info("  ===================================\n"),
            info("  \tDeviceSerial     : " + serial + "\n"), info("  \tDeviceInterface  : GigE\n"),
            info("  \tDeviceModel      : " + model + "\n")};
}

class Discovery : public Probe {
protected:
    // Cameras that are opened fail to open, so that discovery alone is seen.
    Discovery() { framework.opensWith(GEVLIB_ERROR_GENERIC, false); }

    void expectNothingOpened() {
        EXPECT_THAT(calls(), ElementsAre(getCameraList(8), apiUninitialize(), closeSocketApi()));
    }
    void expectOpened(int index) {
        EXPECT_THAT(calls(), ElementsAre(getCameraList(8), openCamera(index, GevControlMode),
                                         apiUninitialize(), closeSocketApi()));
    }
};

TEST_F(Discovery, WithoutAnyCameraEndsWithOne) {
    EXPECT_EQ(lines({init, noDalsa, completed(1)}), probe(nullptr));
    EXPECT_EQ(1, exitCode);
    expectNothingOpened();

    forget();
    EXPECT_EQ(lines({init, noDalsa, completed(1)}), probe("S1"));
    EXPECT_EQ(1, exitCode);
    expectNothingOpened();
}

TEST_F(Discovery, ListsTheDalsaCameraByItsPlaceAmongAllCameras) {
    framework.sees({{"Acme", "Eye", "A1"}, {"Teledyne DALSA", "Nano-M2020", "S1234"}});

    std::vector<Line> expected = {init, seen(0, "Acme", "Eye", "A1"),
                                  seen(1, "Teledyne DALSA", "Nano-M2020", "S1234"),
                                  info("Printing all Dalsa devices information found:\n")};
    for (const Line &line : listed(1, "S1234", "Nano-M2020"))
        expected.push_back(line);
    expected.push_back(completed(0));
    EXPECT_EQ(lines(expected), probe(nullptr));
    EXPECT_EQ(0, exitCode);
    expectNothingOpened();
}

TEST_F(Discovery, WritesTheListExactlyLikeThis) {
    framework.sees(
        {{"DALSA", "Nano-M2020", "S1234"}, {"Acme", "Eye", "A1"}, {"dalsa", "Linea", "T5"}});
    const Logged logged = probe(nullptr, 3);
    EXPECT_EQ("Printing all Dalsa devices information found:\n"
              "  == 0. Dalsa Device Information ==\n"
              "  ===================================\n"
              "  \tDeviceSerial     : S1234\n"
              "  \tDeviceInterface  : GigE\n"
              "  \tDeviceModel      : Nano-M2020\n"
              "  == 2. Dalsa Device Information ==\n"
              "  ===================================\n"
              "  \tDeviceSerial     : T5\n"
              "  \tDeviceInterface  : GigE\n"
              "  \tDeviceModel      : Linea\n",
              logged.out);
    std::string system;
    for (const host::SystemLine &line : logged.system) {
        EXPECT_EQ(LOG_INFO, line.priority);
        system += line.text;
    }
    EXPECT_EQ(logged.out, system);
    EXPECT_EQ(11u, logged.system.size());
}

TEST_F(Discovery, ListsNothingBelowLevelThreeYetEndsWithZero) {
    framework.sees({{"DALSA", "Nano", "S1"}});
    EXPECT_EQ(silence, probe(nullptr, 2));
    EXPECT_EQ(0, exitCode);
}

TEST_F(Discovery, AsksForADalsaCameraBeforeItLooksForTheSerial) {
    framework.sees({{"Acme", "Eye", "S1"}});
    EXPECT_EQ(lines({init, seen(0, "Acme", "Eye", "S1"), noDalsa, completed(1)}), probe("S1"));
    EXPECT_EQ(1, exitCode);
    expectNothingOpened();
}

TEST_F(Discovery, FindsNoDalsaCameraAmongForeignOnes) {
    framework.sees({{"Acme", "Eye", "A1"}, {"", "", ""}});
    EXPECT_EQ(
        lines({init, seen(0, "Acme", "Eye", "A1"), seen(1, "", "", ""), noDalsa, completed(1)}),
        probe(nullptr));
    EXPECT_EQ(1, exitCode);
}

TEST_F(Discovery, SelectsAForeignCameraWhoseSerialMatches) {
    framework.sees({{"DALSA", "Nano", "D7"}, {"Acme", "Eye", "S1234"}});
    EXPECT_EQ(lines({init, seen(0, "DALSA", "Nano", "D7"), seen(1, "Acme", "Eye", "S1234"),
                     checked("S1234", "D7"), checked("S1234", "S1234"),
                     frame.warning(kLoop, "Can't connect to device with SerialID \"S1234\"\n"),
                     completed(1)}),
              probe("S1234"));
    expectOpened(1);
}

TEST_F(Discovery, TakesTheConfiguredSerialAsABeginning) {
    framework.sees(
        {{"DALSA", "Nano", "T1234"}, {"DALSA", "Nano", "S1234"}, {"DALSA", "Nano", "S12"}});
    EXPECT_EQ(
        lines({init, seen(0, "DALSA", "Nano", "T1234"), seen(1, "DALSA", "Nano", "S1234"),
               seen(2, "DALSA", "Nano", "S12"), checked("S12", "T1234"), checked("S12", "S1234"),
               frame.warning(kLoop, "Can't connect to device with SerialID \"S12\"\n"),
               completed(1)}),
        probe("S12"));
    expectOpened(1);
}

TEST_F(Discovery, SelectsTheFirstCameraForAnEmptySerial) {
    framework.sees({{"Acme", "Eye", "A1"}, {"DALSA", "Nano", "S1"}});
    const Logged logged = probe("");
    EXPECT_EQ(
        lines({init, seen(0, "Acme", "Eye", "A1"), seen(1, "DALSA", "Nano", "S1"),
               debug("Check configured Serial \"\" with \"A1\" (result 0)\n"),
               frame.warning(kLoop, "Can't connect to device with SerialID \"\"\n"), completed(1)}),
        logged);
    expectOpened(0);
}

TEST_F(Discovery, SelectsNoneForAnEmptySerialWithoutADalsaCamera) {
    framework.sees({{"Acme", "Eye", "A1"}});
    probe("");
    EXPECT_EQ(1, exitCode);
    expectNothingOpened();
}

TEST_F(Discovery, FindsNoMatchForASerialLongerThanTheCameras) {
    framework.sees({{"DALSA", "Nano", "S12"}});
    EXPECT_EQ(
        lines({init, seen(0, "DALSA", "Nano", "S12"), checked("S1234", "S12"),
               info("Configured device with SerialID \"S1234\" is not found\n"), completed(1)}),
        probe("S1234"));
    EXPECT_EQ(1, exitCode);
    expectNothingOpened();
}

TEST_F(Discovery, MindsTheCaseOfSerials) {
    framework.sees({{"DALSA", "Nano", "s12"}});
    probe("S12");
    EXPECT_EQ(1, exitCode);
    expectNothingOpened();
}

TEST_F(Discovery, SelectsByASerialThatFillsItsField) {
    const std::string serial(64, '7');
    framework.sees({{"DALSA", "Nano", serial}});
    probe(serial.c_str());
    expectOpened(0);

    forget();
    probe((serial + "7").c_str());
    expectNothingOpened();
}

TEST_F(Discovery, SeesEightCamerasAndNoMore) {
    framework.sees({{"Acme", "Eye", "0"},
                    {"Acme", "Eye", "1"},
                    {"Acme", "Eye", "2"},
                    {"Acme", "Eye", "3"},
                    {"Acme", "Eye", "4"},
                    {"Acme", "Eye", "5"},
                    {"Acme", "Eye", "6"},
                    {"Acme", "Eye", "7"},
                    {"DALSA", "Nano", "8"},
                    {"DALSA", "Nano", "9"}});
    std::vector<Line> expected = {init};
    for (int i = 0; i < 8; ++i)
        expected.push_back(seen(i, "Acme", "Eye", std::to_string(i)));
    expected.push_back(noDalsa);
    expected.push_back(completed(1));
    EXPECT_EQ(lines(expected), probe(nullptr));
    EXPECT_EQ(1, exitCode);
}

TEST_F(Discovery, SelectsTheEighthCameraButNotTheNinth) {
    framework.sees({{"DALSA", "Nano", "A"},
                    {"DALSA", "Nano", "B"},
                    {"DALSA", "Nano", "C"},
                    {"DALSA", "Nano", "D"},
                    {"DALSA", "Nano", "E"},
                    {"DALSA", "Nano", "F"},
                    {"DALSA", "Nano", "G"},
                    {"DALSA", "Nano", "H"},
                    {"DALSA", "Nano", "I"}});
    probe("I");
    EXPECT_EQ(1, exitCode);
    expectNothingOpened();

    forget();
    probe("H");
    expectOpened(7);
}

TEST_F(Discovery, SeesEightCamerasEvenWhenTheFrameworkCountsMore) {
    framework.sees({{"Acme", "Eye", "0"}}).counts(9);
    std::vector<Line> expected = {init, seen(0, "Acme", "Eye", "0")};
    for (int i = 1; i < 8; ++i)
        expected.push_back(seen(i, "", "", ""));
    expected.push_back(noDalsa);
    expected.push_back(completed(1));
    EXPECT_EQ(lines(expected), probe(nullptr));
}

TEST_F(Discovery, TakesANegativeCountAsNone) {
    framework.sees({{"DALSA", "Nano", "S1"}}).counts(-1);
    EXPECT_EQ(lines({init, noDalsa, completed(1)}), probe("S1"));
    EXPECT_EQ(1, exitCode);
}

TEST_F(Discovery, FindsNoCameraWhenEnumerationFails) {
    framework.sees({{"DALSA", "Nano", "S1"}}).failsToList(GEVLIB_ERROR_GENERIC);
    EXPECT_EQ(lines({init, noDalsa, completed(1)}), probe(nullptr));
    EXPECT_EQ(1, exitCode);
    expectNothingOpened();
}

TEST_F(Discovery, GoesByTheCountAndMindsNoStatus) {
    framework.sees({{"DALSA", "Nano", "S1"}}).complains(GEVLIB_ERROR_GENERIC);
    probe(nullptr, 0);
    EXPECT_EQ(0, exitCode);
    expectNothingOpened();
}

TEST_F(Discovery, EnumeratesAfreshAtEachCall) {
    framework.sees({{"DALSA", "Nano", "S1"}});
    probe(nullptr, 0);
    EXPECT_EQ(0, exitCode);
    framework.sees({});
    probe(nullptr, 0);
    EXPECT_EQ(1, exitCode);
    EXPECT_THAT(calls(), ElementsAre(getCameraList(8), apiUninitialize(), closeSocketApi(),
                                     getCameraList(8), apiUninitialize(), closeSocketApi()));
}

TEST_F(Discovery, LogsItsExitCodeAfterShuttingTheFrameworkDown) {
    probe(nullptr, 4, kSystemLog);
    std::vector<Event> all = trace();
    if (all.front() == scripted::event(Op::Log, "openlog"))
        all.erase(all.begin());
    EXPECT_THAT(
        all,
        ElementsAre(scripted::event(Op::Log, "7", "[d|_t_kxtd_check_loop] init Dalsa staff\n"),
                    getCameraList(8), scripted::event(Op::Log, "6", "no any Dalsa devices found\n"),
                    apiUninitialize(), closeSocketApi(),
                    scripted::event(Op::Log, "7",
                                    "[d|_t_kxtd_check_loop] Loop completed (exitCode = 1)\n")));
}

TEST_F(Discovery, AllocatesNothing) {
    framework.sees({{"DALSA", "Nano", "S1"}, {"Acme", "Eye", "S2"}});
    if (host::allocations() < 0)
        GTEST_SKIP() << "allocations cannot be counted under a sanitizer";
    Vendor__Proc(nullptr, 0, 4);
    const long before = host::allocations();
    Vendor__Proc(nullptr, 0, 4);
    Vendor__Proc("none", 0, 4);
    Vendor__Proc("S2", 0, 4);
    EXPECT_EQ(before, host::allocations());
}

struct Maker {
    const char *name;
    bool isDalsa;
};

class MakerOfACamera : public Discovery, public testing::WithParamInterface<Maker> {};

TEST_P(MakerOfACamera, IsDalsaWhenItsNameHoldsThatWordInAnyCase) {
    framework.sees({{GetParam().name, "Model", "S1"}});
    probe(nullptr, 0);
    EXPECT_EQ(GetParam().isDalsa ? 0 : 1, exitCode);
}

INSTANTIATE_TEST_SUITE_P(Names, MakerOfACamera,
                         testing::Values(Maker{"Dalsa", true}, Maker{"DALSA", true},
                                         Maker{"dalsa", true}, Maker{"Teledyne DALSA", true},
                                         Maker{"TeledyneDaLsaInc.", true}, Maker{"Dals a", false},
                                         Maker{"Dals", false}, Maker{"Acme", false},
                                         Maker{"", false}));

} // namespace
