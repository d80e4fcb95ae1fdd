// Log levels and sinks: the macros by themselves, and what Vendor__Proc() makes of its arguments.
// No message of the plug-in's is looked at here, only how one is written.

#define KX_LOG_TAG "TEST"

#include "plug_in.h"

namespace {

struct Form {
    void (*write)(int &evaluated);
    int level, priority;
    const char *out, *system;
};

// The last line is written whatever line the call stands on.
const Form kForms[] = {
    {[](int &n) { KX_LOG_E("no %d\n", ++n); }, 1, 3, "[TEST:e]: no ", "[e|log_test.cpp:LINE] no "},
    {[](int &n) { KX_LOG_W("no %d\n", ++n); }, 2, 4, "[TEST:w]: no ", "[w|operator()] no "},
    {[](int &n) { KX_LOG_W_AS("Other", "no %d\n", ++n); }, 2, 4, "[TEST:w]: no ", "[w|Other] no "},
    {[](int &n) { KX_LOG_I("no %d\n", ++n); }, 3, 6, "no ", "no "},
    {[](int &n) { KX_LOG_D("no %d\n", ++n); }, 4, 7, "[TEST:d]: no ", "[d|operator()] no "},
    {[](int &n) { KX_LOG_D_AS("Other", "no %d\n", ++n); }, 4, 7, "[TEST:d]: no ", "[d|Other] no "},
    {[](int &n) { KX_LOG_E_AT(77, "no %d\n", ++n); }, 1, 3, "[TEST:e]: no ",
     "[e|log_test.cpp:77] no "},
};
constexpr int kFirstFormLine = __LINE__ - 9;

class Log : public Probe {};

TEST_F(Log, IsWrittenFromItsLevelOnToTheChosenSinksWithItsArgumentsEvaluatedForEach) {
    for (const Form &form : kForms) {
        std::string start = form.system;
        if (const std::size_t at = start.find("LINE"); at != start.npos)
            start.replace(at, 4, std::to_string(kFirstFormLine));
        if (const std::size_t at = start.find("log_test.cpp"); at != start.npos)
            start.replace(at, 12, __FILE__);
        for (const int level : {std::numeric_limits<int>::min(), -1, 0, 1, 2, 3, 4, 5,
                                std::numeric_limits<int>::max()})
            for (const int mode : {0, 1, 2, 3, 4, 0x11, 0x12, ~3, -1}) {
                gKxLogLevel = level;
                gKxLogMode = mode;
                int evaluated = 0;
                const Logged logged = host::caught([&] { form.write(evaluated); });
                const bool system = level >= form.level && mode & 2;
                const bool out = level >= form.level && mode & 1;
                SCOPED_TRACE(start + " at " + std::to_string(level) + ", " + std::to_string(mode));
                EXPECT_EQ(out ? form.out + std::string(system ? "2\n" : "1\n") : "", logged.out);
                EXPECT_EQ(system + out, evaluated);
                ASSERT_EQ(system ? 1u : 0u, logged.system.size());
                if (system) {
                    EXPECT_EQ(form.priority, logged.system[0].priority);
                    EXPECT_EQ(start + "1\n", logged.system[0].text);
                    EXPECT_EQ(0u, logged.system[0].outBefore); // it comes first
                }
            }
    }
}

TEST_F(Log, CutsALongMessageInTheSystemLogOnlyAndCountsItsPrefix) {
    for (const std::size_t length : {1000u, 1021u, 1022u, 1023u, 1024u, 3000u}) {
        const std::string text(length, 'x');
        const Logged logged = host::caught([&] {
            gKxLogMode = kBothSinks;
            KX_LOG_I("%s", text.c_str());
            KX_LOG_D_AS("Op", "%s", text.c_str());
            KX_LOG_D_AS(text.c_str(), "%s", "%n");
        });
        ASSERT_EQ(3u, logged.system.size());
        EXPECT_EQ(text.substr(0, 1022), logged.system[0].text);
        EXPECT_EQ(("[d|Op] " + text).substr(0, 1022), logged.system[1].text);
        EXPECT_EQ(("[d|" + text + "] %n").substr(0, 1022), logged.system[2].text);
        EXPECT_EQ(text + "[TEST:d]: " + text + "[TEST:d]: %n", logged.out);
    }
}

TEST_F(Log, OfThePlugInIsCutAtThatPlaceToo) {
    framework.sees({{"DALSA", "Nano", "S1"}});
    const std::string serial(2000, 'x');
    int cut = 0;
    for (const host::SystemLine &line : probe(serial.c_str(), 4).system)
        if (line.text.find("xxxx") != line.text.npos) {
            EXPECT_EQ(1022u, line.text.size());
            ++cut;
        }
    EXPECT_GE(cut, 2); // with a prefix and without
}

TEST_F(Log, TakesModeAndLevelOfTheLastCall) {
    framework.sees({{"DALSA", "Nano", "S1"}}).opensWith(GEVLIB_ERROR_ACCESS_DENIED, false);
    probe(nullptr, 3, 1);
    EXPECT_EQ(3, gKxLogLevel);
    EXPECT_EQ(1, gKxLogMode);
    probe(nullptr, -7, 6);
    EXPECT_EQ(-7, gKxLogLevel);
    EXPECT_EQ(6, gKxLogMode);
}

TEST_F(Log, TakesPercentSignsInTextsAsTheyAre) {
    framework.sees({{"DALSA", "Nano", "S1"}});
    const Logged logged = probe("%s%n%d", 3);
    EXPECT_NE(logged.out.npos, logged.out.find("\"%s%n%d\""));
    ASSERT_EQ(1u, logged.system.size());
    EXPECT_EQ(logged.out, logged.system[0].text);
}

TEST_F(Log, AllocatesNothing) {
    framework.sees({{"DALSA", "Nano", "S1"}, {"Acme", "Eye", "S2"}})
        .opensWith(GEVLIB_ERROR_ACCESS_DENIED, false);
    if (host::allocations() < 0)
        GTEST_SKIP() << "allocations cannot be counted here";
    probe("S1", 4, kSystemLog);
    for (const char *serial : {static_cast<const char *>(nullptr), "S2", "none"}) {
        long allocations = 0;
        host::caught([&] {
            const long before = host::allocations();
            Vendor__Proc(serial, kSystemLog, 4);
            allocations = host::allocations() - before;
        });
        EXPECT_EQ(0, allocations);
    }
}

// Without a fixture, which would set both.
TEST(LogOfTheLoadedLibrary, IsOffUntilTheFirstCall) {
    IN_FRESH_PROCESS({
        EXPECT_EQ(0, gKxLogLevel);
        EXPECT_EQ(0, gKxLogMode);
    });
}

using LogInAFreshProcess = Log;

TEST_F(LogInAFreshProcess, IsOpenedOnceBeforeAnythingElseByTheFirstCallThatChoosesIt) {
    for (const int first : {2, 3, 6, -1})
        for (const int level : {4, 0})
            IN_FRESH_PROCESS({
                for (const int before : {0, 1, 4})
                    Vendor__Proc(nullptr, before, 4);
                EXPECT_TRUE(host::openings().empty());
                gKxLogLevel = 9;
                forget();
                for (const int mode : {first, 1, 2, 3})
                    probe(nullptr, level, mode);
                ASSERT_EQ(1u, host::openings().size());
                const host::Opening &opening = host::openings()[0];
                EXPECT_EQ("kxinfo-dalsa", opening.ident);
                EXPECT_EQ(5, opening.option);
                EXPECT_EQ(LOG_PID | LOG_ODELAY, opening.option);
                EXPECT_EQ(LOG_DAEMON, opening.facility);
                EXPECT_EQ(0u, opening.eventsBefore);
                EXPECT_EQ(first, opening.logMode); // set before
                EXPECT_EQ(9, opening.logLevel);    // set afterwards
            });
    IN_FRESH_PROCESS({
        probe(nullptr, 4, 3);
        EXPECT_EQ(1u, host::openings().size());
    });
}

} // namespace
