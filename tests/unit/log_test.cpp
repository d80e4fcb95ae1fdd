// Log levels and sinks. Vendor__Proc() is given both; discovery's lines serve as examples of
// warnings, information and debug messages.

#include "plug_in.h"

namespace {

class Log : public Probe {
protected:
    // A camera that cannot be opened brings a warning; a serial that is not found an information.
    Log() {
        framework.sees({{"DALSA", "Nano", "S1"}}).opensWith(GEVLIB_ERROR_ACCESS_DENIED, false);
    }

    const Line warningLine =
        frame.warning("_t_kxtd_check_loop", "Can't connect to device with SerialID \"S1\"\n");
    const Line notFound = info("Configured device with SerialID \"other\" is not found\n");
};

TEST_F(Log, IsSilentAtLevelZeroAndBelow) {
    for (const int level : {0, -1, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(silence, probe("S1", level));
        EXPECT_EQ(1, exitCode);
        EXPECT_EQ(silence, probe("other", level));
        EXPECT_EQ(1, exitCode);
    }
}

TEST_F(Log, HasNoWarningAtLevelOne) {
    EXPECT_EQ(silence, probe("S1", 1));
    EXPECT_EQ(silence, probe("other", 1));
}

TEST_F(Log, HasWarningsButNoInformationFromLevelTwo) {
    EXPECT_EQ(lines({warningLine}), probe("S1", 2));
    EXPECT_EQ(silence, probe("other", 2));
}

TEST_F(Log, HasInformationButNoDebugMessagesFromLevelThree) {
    EXPECT_EQ(lines({warningLine}), probe("S1", 3));
    EXPECT_EQ(lines({notFound}), probe("other", 3));
}

TEST_F(Log, HasDebugMessagesFromLevelFour) {
    const auto debug = [](const char *text) { return frame.debug("_t_kxtd_check_loop", text); };
    for (const int level : {4, 5, std::numeric_limits<int>::max()})
        EXPECT_EQ(lines({debug("init Dalsa staff\n"),
                         debug("0. Vendor \"DALSA\", Model \"Nano\", Serial \"S1\"\n"),
                         debug("Check configured Serial \"S1\" with \"S1\" (result 0)\n"),
                         warningLine, debug("Loop completed (exitCode = 1)\n")}),
                  probe("S1", level));
}

TEST_F(Log, NamesTheFunctionInTheSystemLogAndTheModuleOnStandardOutput) {
    const Logged logged = probe("S1", 2);
    EXPECT_EQ("[CIPROC:w]: Can't connect to device with SerialID \"S1\"\n", logged.out);
    ASSERT_EQ(1u, logged.system.size());
    EXPECT_EQ(LOG_WARNING, logged.system[0].priority);
    EXPECT_EQ("[w|_t_kxtd_check_loop] Can't connect to device with SerialID \"S1\"\n",
              logged.system[0].text);
}

TEST_F(Log, GoesToTheChosenSinksAlone) {
    const Logged both = probe("S1", 4, 3);
    EXPECT_FALSE(both.out.empty());
    EXPECT_FALSE(both.system.empty());

    EXPECT_EQ((Logged{both.out, {}}), probe("S1", 4, 1));
    EXPECT_EQ((Logged{{}, both.system}), probe("S1", 4, 2));
    EXPECT_EQ(silence, probe("S1", 4, 0));
}

TEST_F(Log, OfAnInformationGoesToTheChosenSinksAlone) {
    framework.sees({{"Acme", "Other", "S1"}});
    const Line none = info("no any Dalsa devices found\n");
    EXPECT_EQ(lines({none}), probe("S1", 3, 3));
    EXPECT_EQ((Logged{none.out, {}}), probe("S1", 3, 1));
    EXPECT_EQ((Logged{{}, {none.system}}), probe("S1", 3, 2));
    EXPECT_EQ(silence, probe("S1", 3, 0));
}

TEST_F(Log, IgnoresModeBitsThatItDoesNotKnow) {
    const Logged both = probe("S1", 4, 3);
    EXPECT_EQ(silence, probe("S1", 4, 4));
    EXPECT_EQ(silence, probe("S1", 4, ~3));
    EXPECT_EQ((Logged{both.out, {}}), probe("S1", 4, 0x11));
    EXPECT_EQ(both, probe("S1", 4, -1));
}

TEST_F(Log, WritesEachMessageToTheSystemLogFirst) {
    const Logged logged = probe("S1");
    std::size_t written = 0;
    const std::vector<Line> expected = {
        frame.debug("_t_kxtd_check_loop", "init Dalsa staff\n"),
        frame.debug("_t_kxtd_check_loop", "0. Vendor \"DALSA\", Model \"Nano\", Serial \"S1\"\n"),
        frame.debug("_t_kxtd_check_loop",
                    "Check configured Serial \"S1\" with \"S1\" (result 0)\n"),
        warningLine, frame.debug("_t_kxtd_check_loop", "Loop completed (exitCode = 1)\n")};
    ASSERT_EQ(expected.size(), logged.system.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(written, logged.system[i].outBefore) << expected[i].out;
        written += expected[i].out.size();
    }
}

TEST_F(Log, KeepsModeAndLevelOfTheLastCall) {
    probe(nullptr, 3, 1);
    EXPECT_EQ(3, gKxLogLevel);
    EXPECT_EQ(1, gKxLogMode);
    probe(nullptr, -7, 6);
    EXPECT_EQ(-7, gKxLogLevel);
    EXPECT_EQ(6, gKxLogMode);
}

TEST_F(Log, CutsALongMessageInTheSystemLogOnly) {
    const std::string serial(2000, 'x');
    const std::string whole = "Configured device with SerialID \"" + serial + "\" is not found\n";
    const Logged logged = probe(serial.c_str(), 3);
    EXPECT_EQ(whole, logged.out);
    ASSERT_EQ(1u, logged.system.size());
    EXPECT_EQ(whole.substr(0, 1022), logged.system[0].text);
}

TEST_F(Log, CountsThePrefixWhenItCutsALongMessage) {
    const std::string serial(2000, 'x');
    const Logged logged = probe(serial.c_str(), 4);
    ASSERT_EQ(5u, logged.system.size());
    const std::string whole = "[d|_t_kxtd_check_loop] Check configured Serial \"" + serial;
    EXPECT_EQ(whole.substr(0, 1022), logged.system[2].text);
}

TEST_F(Log, KeepsAMessageOf1022CharactersWhole) {
    const std::string before = "Configured device with SerialID \"";
    const std::string after = "\" is not found\n";
    const std::string fits(1022 - before.size() - after.size(), 'x');

    const Logged whole = probe(fits.c_str(), 3);
    ASSERT_EQ(1u, whole.system.size());
    EXPECT_EQ(before + fits + after, whole.system[0].text);

    const Logged cut = probe((fits + "x").c_str(), 3);
    ASSERT_EQ(1u, cut.system.size());
    EXPECT_EQ(before + fits + "x\" is not found", cut.system[0].text);
}

TEST_F(Log, TakesPercentSignsInTextsAsTheyAre) {
    EXPECT_EQ(lines({info("Configured device with SerialID \"%s%n%d\" is not found\n")}),
              probe("%s%n%d", 3));
}

TEST_F(Log, AllocatesNothing) {
    probe("S1", 4, kSystemLog);
    if (host::allocations() < 0)
        GTEST_SKIP() << "allocations cannot be counted under a sanitizer";
    long before = 0;
    long after = 0;
    host::caught([&] {
        before = host::allocations();
        Vendor__Proc("S1", kSystemLog, 4);
        after = host::allocations();
    });
    EXPECT_EQ(before, after);
}

using LogInAFreshProcess = Log;

// Without a fixture, which would set both.
TEST(LogOfTheLoadedLibrary, IsOffUntilTheFirstCall) {
    IN_FRESH_PROCESS({
        EXPECT_EQ(0, gKxLogLevel);
        EXPECT_EQ(0, gKxLogMode);
    });
}

TEST_F(LogInAFreshProcess, LeavesTheSystemLogAloneWhenOnlyStandardOutputIsChosen) {
    IN_FRESH_PROCESS({
        EXPECT_EQ((Logged{"[CIPROC:w]: Can't connect to device with SerialID \"S1\"\n", {}}),
                  probe("S1", 3, 1));
        EXPECT_TRUE(host::openings().empty());
    });
}

TEST_F(LogInAFreshProcess, OpensTheSystemLogOnceBeforeAnythingElse) {
    IN_FRESH_PROCESS({
        probe("S1", 4, 2);
        ASSERT_EQ(1u, host::openings().size());
        EXPECT_EQ("kxinfo-dalsa", host::openings()[0].ident);
        EXPECT_EQ(5, host::openings()[0].option);
        EXPECT_EQ(LOG_PID | LOG_ODELAY, host::openings()[0].option);
        EXPECT_EQ(LOG_DAEMON, host::openings()[0].facility);
        EXPECT_EQ(scripted::event(Op::Log, "openlog"), trace().front());

        probe("S1", 4, 2);
        probe("S1", 4, 1);
        probe("S1", 4, 3);
        EXPECT_EQ(1u, host::openings().size());
    });
}

TEST_F(LogInAFreshProcess, OpensTheSystemLogAtTheFirstCallThatChoosesIt) {
    IN_FRESH_PROCESS({
        probe("S1", 4, 1);
        EXPECT_EQ(0u, host::openings().size());
        probe("S1", 4, 2);
        EXPECT_EQ(1u, host::openings().size());
    });
}

TEST_F(LogInAFreshProcess, OpensTheSystemLogEvenWhenTheLevelSilencesIt) {
    IN_FRESH_PROCESS({
        probe("S1", 0, 2);
        EXPECT_EQ(1u, host::openings().size());
    });
}

} // namespace
