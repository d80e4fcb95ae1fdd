// Which camera a command works on, and what it says when that is none. All commands choose it
// alike; 'get' stands for them.

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "wire.h"

namespace {

class Find : public Wire {
protected:
    // The user name of the camera that is found; or what is said instead.
    static std::string foundBy(const std::string &name) {
        const Result result = kxinfo({"get", name, "DeviceUserID", "--value"});
        EXPECT_EQ(result.err.empty() ? 0 : 1, result.status);
        return result.out + result.err;
    }

    static std::string none(const std::string &why) { return "kxinfo: " + why + "\n"; }
};

class FindAmongFour : public Find {
protected:
    const Simcam cameras{{"--camera", "S10@127.0.0.2", "--camera", "S1@127.0.0.3", "--camera",
                          "T5@127.0.0.4", "--vendor", "Other", "--camera", "X1@127.0.0.5", "--set",
                          "S10:DeviceUserID=ten", "--set", "S1:DeviceUserID=one", "--set",
                          "T5:DeviceUserID=S10", "--set", "X1:DeviceUserID=T"}};
    const std::string advice = ". Name one of them, for example by its address.";
    const std::string all = " These answered: S10 (Dalsa C1936, 127.0.0.2), S1 (Dalsa C1936, "
                            "127.0.0.3), T5 (Dalsa C1936, 127.0.0.4) and X1 (Other C1936, "
                            "127.0.0.5).";
};

TEST_F(FindAmongFour, TakesTheOneThatIsNamed) {
    const std::pair<const char *, const char *> names[] = {
        {"S1", "one"},  // though another one begins so
        {"S10", "ten"}, // though it is another one's user name
        {"T5", "S10"},
        {"X1", "T"}, // of another maker
        {"127.0.0.5", "T"},
        {"02:00:7F:00:00:03", "one"},
        {"02-00-7f-00-00-05", "T"},
        {"ten", "ten"},
        {"T", "T"}, // though another one's serial number begins so
    };
    for (const auto &[name, user] : names)
        EXPECT_EQ(user + std::string("\n"), foundBy(name)) << name;
    setenv("KXINFO_CAMERA", "T5", 1);
    EXPECT_EQ("S10\n", foundBy(""));
    EXPECT_EQ("one\n", foundBy("S1"));
    unsetenv("KXINFO_CAMERA");
}

TEST_F(FindAmongFour, SaysWhichAreThereWhenNoneOrSeveralFit) {
    EXPECT_EQ(none("several cameras fit \"S\": S10 (Dalsa C1936, 127.0.0.2) and S1 (Dalsa C1936, "
                   "127.0.0.3)" +
                   advice),
              foundBy("S"));
    const std::string several = "several cameras answered: S10 (Dalsa C1936, 127.0.0.2), S1 (Dalsa "
                                "C1936, 127.0.0.3) and T5 (Dalsa C1936, 127.0.0.4)" +
                                advice;
    EXPECT_EQ(none(several), foundBy(""));
    EXPECT_EQ(none("no camera fits \"S100\"." + all), foundBy("S100"));
    EXPECT_EQ(none("no camera fits \"X\"." + all), foundBy("X"));
    setenv("KXINFO_CAMERA", "nothing-like-it", 1);
    EXPECT_EQ(none("no camera fits \"nothing-like-it\" (KXINFO_CAMERA)." + all), foundBy(""));
    unsetenv("KXINFO_CAMERA");
    EXPECT_EQ(none("no camera answers at 127.0.0.9. Check that the camera has power, that this is "
                   "its address ('kxinfo list' shows it), and that no firewall keeps its answer "
                   "away; then try again."),
              foundBy("127.0.0.9"));
    EXPECT_EQ(none("no camera answers at 10.1.2.3: its address 10.1.2.3 is in no network of this "
                   "computer (no network interface has an address). Give the camera an address in "
                   "a network of this computer, or this computer one in the camera's network."),
              foundBy("10.1.2.3"));
}

TEST_F(FindAmongFour, WaitsForNobodyElseWhenItsSerialNumberOrAddressIsKnown) {
    for (const char *name : {"T5", "127.0.0.4", "02:00:7f:00:00:04"}) {
        auto least = std::chrono::steady_clock::duration::max();
        for (int i = 0; i < 3; ++i) { // the computer may be busy
            const auto start = std::chrono::steady_clock::now();
            EXPECT_EQ("S10\n", foundBy(name));
            least = std::min(least, std::chrono::steady_clock::now() - start);
        }
        EXPECT_LT(least, kSearchWindow) << name;
    }
}

TEST_F(Find, WaitsForACameraThatIsNamedThoughAsManyAsAreExpectedHaveAnswered) {
    Simcam first({"--watch", "--camera", "S1@127.0.0.2"});
    const Simcam late({"--camera", "T5@127.0.0.3", "--set", "DeviceUserID=late"});
    late.signal(SIGSTOP);
    std::thread resume([&] {
        EXPECT_THAT(first.nextLine(), testing::HasSubstr("DISCOVERY"));
        // Time in which the first one's answer would end the search.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        late.signal(SIGCONT);
    });
    setenv("KXGIGE_EXPECTED_CAMERAS", "1", 1);
    EXPECT_EQ("late\n", foundBy("T5"));
    unsetenv("KXGIGE_EXPECTED_CAMERAS");
    resume.join();
}

TEST_F(Find, TakesTheOnlyDalsaCameraWithoutAName) {
    const Simcam cameras({"--vendor", "Other", "--camera", "X1@127.0.0.2", "--vendor", "DALSA",
                          "--camera", "S1@127.0.0.3", "--set", "S1:DeviceUserID=one"});
    EXPECT_EQ("one\n", foundBy(""));
}

TEST_F(Find, SaysThatNoDalsaCameraAnswers) {
    const std::string nobody =
        none("no Dalsa camera answered. Check that the camera has power, is on this computer's "
             "network, and that no firewall keeps its answer away; then try again.");
    EXPECT_EQ(nobody, foundBy(""));
    EXPECT_EQ(nobody, foundBy("S1"));
    const Simcam other({"--vendor", "Other", "--camera", "X1@127.0.0.2"});
    const std::string others =
        none("no Dalsa camera answered, but cameras of other makers did: X1 (Other C1936, "
             "127.0.0.2). All commands but probe work on one that is named exactly: by its serial "
             "number, address, MAC address or user name.");
    EXPECT_EQ(others, foundBy(""));
    EXPECT_EQ(others, kxinfo({"save", "--all", "."}).err);
    EXPECT_EQ(others, kxinfo({"probe", "--all"}).err);
    EXPECT_EQ(others + nobody, kxinfo({"probe", "X9"}).err);
}

TEST_F(Find, TakesADalsaCameraRatherThanOneOfAnotherMakerWithThatSerialNumber) {
    const Simcam other({"--vendor", "Other", "--camera", "S1@127.0.0.2", "--camera", "S2@127.0.0.3",
                        "--set", "S2:DeviceUserID=other"});
    const Simcam dalsa({"--camera", "S1@127.0.0.4", "--set", "S1:DeviceUserID=dalsa"});
    EXPECT_EQ("dalsa\n", foundBy("S1"));
    EXPECT_EQ("other\n", foundBy("S2"));
}

TEST_F(Find, TakesNeitherOfTwoCamerasWithOneSerialNumber) {
    const Simcam one({"--camera", "S1@127.0.0.2", "--set", "DeviceUserID=first"});
    const Simcam two({"--camera", "S1@127.0.0.3"});
    for (const char *name : {"S1", "S", ""})
        EXPECT_THAT(foundBy(name),
                    testing::MatchesRegex(".*: S1 \\(Dalsa C1936, 127\\.0\\.0\\.[23]\\) and S1 "
                                          "\\(Dalsa C1936, 127\\.0\\.0\\.[32]\\)\\. Name one of "
                                          "them, for example by its address\\.\n"));
    EXPECT_EQ("first\n", foundBy("127.0.0.2"));
    EXPECT_EQ("first\n", foundBy("02:00:7f:00:00:02"));
}

TEST_F(Find, NamesEightOfManyCameras) {
    std::vector<std::string> arguments;
    for (int i = 10; i < 90; ++i)
        arguments.insert(arguments.end(),
                         {"--camera", "S" + std::to_string(i) + "@127.0.0." + std::to_string(i)});
    const Simcam cameras(arguments);
    EXPECT_THAT(foundBy("S"),
                testing::HasSubstr("S17 (Dalsa C1936, 127.0.0.17) and 72 more. Name"));
}

} // namespace
