// Which cameras are found, in which order, and how long that takes.

#include <poll.h>

#include <cstdlib>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "support.h"

using namespace std::chrono_literals;

namespace {

// By how much this thread comes too late to its next poll().
thread_local std::chrono::milliseconds delay = 0ms;

} // namespace

// In front of the C library's, for the platform too.
extern "C" __attribute__((visibility("default"))) int poll(pollfd *polled, nfds_t count,
                                                           int milliseconds) {
    std::this_thread::sleep_for(std::exchange(delay, 0ms));
    const timespec timeout{milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
    return ppoll(polled, count, milliseconds < 0 ? nullptr : &timeout, nullptr);
}

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::Lt;

class Discovery : public testing::Test {
protected:
    Discovery() {
        setenv("KXGIGE_DISCOVERY_MS", "150", 1);
        unsetenv("KXGIGE_EXPECTED_CAMERAS");
        unsetenv("KXGIGE_INTERFACES");
        unsetenv("KXGIGE_SERIAL");
        unsetenv("KXGIGE_ADDRESSES");
    }

    ScriptedCamera &add(const std::string &address, const std::string &serial = "S1") {
        ScriptedCamera::Identity identity;
        identity.serial = serial;
        cameras_.push_back(std::make_unique<ScriptedCamera>(address, identity));
        return *cameras_.back();
    }

    std::vector<std::string> serials(int room = 8) {
        std::vector<GEV_CAMERA_INFO> records(static_cast<size_t>(room));
        int count = -1;
        EXPECT_EQ(GEVLIB_OK, GevGetCameraList(records.data(), room, &count));
        std::vector<std::string> found;
        for (int i = 0; i < count; ++i)
            found.push_back(records[static_cast<size_t>(i)].serial);
        return found;
    }

private:
    std::vector<std::unique_ptr<ScriptedCamera>> cameras_;
};

TEST_F(Discovery, FindsNothingWhereThereIsNoCamera) {
    EXPECT_THAT(serials(), ElementsAre());
}

TEST_F(Discovery, TellsWhatACameraIsAndWhereItWasFound) {
    ScriptedCamera camera("127.0.0.2", {"Maker", "Model", "1.2", "S1234", "left"});
    GEV_CAMERA_INFO info{};
    int count = 0;

    ASSERT_EQ(GEVLIB_OK, GevGetCameraList(&info, 1, &count));

    ASSERT_EQ(1, count);
    EXPECT_STREQ("Maker", info.manufacturer);
    EXPECT_STREQ("Model", info.model);
    EXPECT_STREQ("1.2", info.version);
    EXPECT_STREQ("S1234", info.serial);
    EXPECT_STREQ("left", info.username);
    EXPECT_EQ(0x7f000002u, info.ipAddr);
    EXPECT_EQ(0xff000000u, info.ipMask);
    EXPECT_EQ(0x7f000001u, info.hostIpAddr);
    EXPECT_EQ(1u, info.hostIfIndex);
    EXPECT_EQ(0x80000001u, info.capabilities);
    EXPECT_EQ(0u, info.mode);
}

TEST_F(Discovery, OrdersCamerasByAddress) {
    add("127.0.0.10", "ten");
    add("127.0.0.9", "nine");
    add("127.0.1.1", "far");
    add("127.0.0.2", "two");

    EXPECT_THAT(serials(), ElementsAre("two", "nine", "ten", "far"));
}

TEST_F(Discovery, FillsNoMoreRecordsThanThereIsRoomFor) {
    for (int i = 1; i <= 9; ++i)
        add("127.0.0." + std::to_string(10 + i), "S" + std::to_string(i));

    EXPECT_THAT(serials(8), ElementsAre("S1", "S2", "S3", "S4", "S5", "S6", "S7", "S8"));
    EXPECT_EQ(9u, serials(9).size());
}

TEST_F(Discovery, SendsOneCommandPerInterfaceHoweverManyAddressesItHas) {
    ASSERT_EQ(0, system("ip address replace 10.9.8.7/8 dev lo"));
    ScriptedCamera &camera = add("127.0.0.2");

    serials();

    EXPECT_EQ(1u, camera.received());
}

TEST_F(Discovery, IgnoresMalformedAnswers) {
    ScriptedCamera &good = add("127.0.0.2", "good");
    auto answer = good.discoveryAnswer();
    answer.resize(answer.size() - 1);
    add("127.0.0.3", "short").answerDiscoveryWith(answer);
    answer = good.discoveryAnswer();
    answer[0] = 0x80;
    add("127.0.0.4", "refusing").answerDiscoveryWith(answer);
    answer = good.discoveryAnswer();
    answer[3] = 0x81;
    add("127.0.0.5", "other").answerDiscoveryWith(answer);
    add("127.0.0.6", "tiny").answerDiscoveryWith({1, 2, 3});

    EXPECT_THAT(serials(), ElementsAre("good"));
}

TEST_F(Discovery, ListsACameraOnceThoughItAnswersTwice) {
    ScriptedCamera &camera = add("127.0.0.2", "good");
    add("127.0.0.3", "echo").answerDiscoveryWith(camera.discoveryAnswer());

    EXPECT_THAT(serials(), ElementsAre("good"));
}

TEST_F(Discovery, IsNotHeldUpByAFloodOfAnswers) {
    add("127.0.0.2", "flood").floodDiscovery(100'000'000);
    const Stopwatch stopwatch;

    const size_t found = serials(10000).size();

    EXPECT_THAT(stopwatch.elapsed(), AllOf(Ge(150ms), Lt(1000ms)));
    EXPECT_THAT(found, AllOf(Ge(1u), testing::Le(4096u)));
}

TEST_F(Discovery, WaitsAsLongAsTheEnvironmentSays) {
    setenv("KXGIGE_DISCOVERY_MS", "300", 1);
    const Stopwatch stopwatch;

    serials();

    EXPECT_THAT(stopwatch.elapsed(), AllOf(Ge(300ms), Lt(900ms)));
}

TEST_F(Discovery, WaitsASecondUnlessTold) {
    unsetenv("KXGIGE_DISCOVERY_MS");
    const Stopwatch stopwatch;

    serials();

    EXPECT_THAT(stopwatch.elapsed(), AllOf(Ge(1000ms), Lt(2000ms)));
}

TEST_F(Discovery, ReportsAWindowThatIsNone) {
    for (const char *text : {"soon", "0", "1001", "-5", "10ms", "99999999999999999999"}) {
        setenv("KXGIGE_DISCOVERY_MS", text, 1);
        const Stopwatch stopwatch;
        testing::internal::CaptureStderr();

        serials();

        EXPECT_EQ("KXGIGE_DISCOVERY_MS: '" + std::string(text) +
                      "' is no whole number of milliseconds from 1 to 1000; waiting 1000 ms\n",
                  testing::internal::GetCapturedStderr());
        EXPECT_THAT(stopwatch.elapsed(), Ge(1000ms));
    }
}

TEST_F(Discovery, TakesTheAnswersThatHaveComeWhenTheComputerIsTooBusyToTakeThemInTime) {
    add("127.0.0.3", "three");
    add("127.0.0.2", "two");
    delay = 300ms;

    EXPECT_THAT(serials(), ElementsAre("two", "three"));
}

TEST_F(Discovery, WaitsNoLongerThanForTheExpectedCameras) {
    add("127.0.0.3", "three");
    add("127.0.0.2", "two");
    setenv("KXGIGE_DISCOVERY_MS", "1000", 1);
    setenv("KXGIGE_EXPECTED_CAMERAS", "2", 1);
    const Stopwatch stopwatch;

    EXPECT_THAT(serials(), ElementsAre("two", "three"));

    EXPECT_THAT(stopwatch.elapsed(), Lt(900ms));
}

TEST_F(Discovery, WaitsTheWholeWindowWhenAnExpectedCameraDoesNotAnswer) {
    add("127.0.0.3", "three");
    ScriptedCamera &twice = add("127.0.0.2", "two");
    add("127.0.0.4", "echo").answerDiscoveryWith(twice.discoveryAnswer());
    add("127.0.0.5", "tiny").answerDiscoveryWith({1, 2, 3});
    setenv("KXGIGE_EXPECTED_CAMERAS", "3", 1);
    const Stopwatch stopwatch;

    EXPECT_THAT(serials(), ElementsAre("two", "three"));

    EXPECT_THAT(stopwatch.elapsed(), AllOf(Ge(150ms), Lt(900ms)));
}

TEST_F(Discovery, IsNotHeldUpByAFloodOfAnswersBeyondTheExpectedOnes) {
    add("127.0.0.2", "flood").floodDiscovery(100'000'000);
    setenv("KXGIGE_EXPECTED_CAMERAS", "1", 1);
    const Stopwatch stopwatch;

    serials(10000);

    EXPECT_THAT(stopwatch.elapsed(), Lt(1000ms));
}

TEST_F(Discovery, ReportsAnExpectedNumberThatIsNoneAndWaitsTheWholeWindow) {
    ScriptedCamera &camera = add("127.0.0.2", "here");
    for (const char *text : {"all", "0", "65", "-1", "2 ", "99999999999999999999"}) {
        setenv("KXGIGE_EXPECTED_CAMERAS", text, 1);
        const Stopwatch stopwatch;
        testing::internal::CaptureStderr();

        EXPECT_THAT(serials(), ElementsAre("here"));

        EXPECT_EQ("KXGIGE_EXPECTED_CAMERAS: '" + std::string(text) +
                      "' is no whole number of cameras from 1 to 64; waiting the whole 150 ms\n",
                  testing::internal::GetCapturedStderr());
        EXPECT_THAT(stopwatch.elapsed(), Ge(150ms));
    }
    EXPECT_EQ(6u, camera.received());
}

TEST_F(Discovery, TakesAnEmptyExpectedNumberForNone) {
    add("127.0.0.2", "here");
    setenv("KXGIGE_EXPECTED_CAMERAS", "", 1);
    const Stopwatch stopwatch;
    testing::internal::CaptureStderr();

    EXPECT_THAT(serials(), ElementsAre("here"));

    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_THAT(stopwatch.elapsed(), Ge(150ms));
}

TEST_F(Discovery, AsksTheInterfacesThatTheEnvironmentNames) {
    add("127.0.0.2", "here");

    setenv("KXGIGE_INTERFACES", "lo", 1);
    EXPECT_THAT(serials(), ElementsAre("here"));
    setenv("KXGIGE_INTERFACES", "127.0.0.1", 1);
    EXPECT_THAT(serials(), ElementsAre("here"));
    setenv("KXGIGE_INTERFACES", "lo,127.0.0.1", 1);
    EXPECT_THAT(serials(), ElementsAre("here"));
    setenv("KXGIGE_INTERFACES", "", 1);
    EXPECT_THAT(serials(), ElementsAre("here"));
}

TEST_F(Discovery, ReportsAnInterfaceThatIsNotThere) {
    ScriptedCamera &camera = add("127.0.0.2", "here");
    setenv("KXGIGE_INTERFACES", "camera0", 1);
    testing::internal::CaptureStderr();

    EXPECT_THAT(serials(), ElementsAre());

    EXPECT_EQ("KXGIGE_INTERFACES: no network interface 'camera0' is up; expected names or IPv4 "
              "addresses of this machine, separated by commas (see `ip -4 address`)\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(0u, camera.received());
}

TEST_F(Discovery, EndsWithTheCameraThatTheEnvironmentNamesAndListsItAlone) {
    add("127.0.0.2", "S12");
    add("127.0.0.3", "S1");
    setenv("KXGIGE_DISCOVERY_MS", "1000", 1);
    setenv("KXGIGE_SERIAL", "S1", 1);
    const Stopwatch stopwatch;

    EXPECT_THAT(serials(), ElementsAre("S1"));

    EXPECT_THAT(stopwatch.elapsed(), Lt(900ms));
}

TEST_F(Discovery, GoesOnToItsEndWhenNoCameraHasExactlyTheSerialNumber) {
    add("127.0.0.2", "S12");
    add("127.0.0.3", "S13");
    setenv("KXGIGE_SERIAL", "S1", 1);
    const Stopwatch stopwatch;

    EXPECT_THAT(serials(), ElementsAre("S12", "S13"));

    EXPECT_THAT(stopwatch.elapsed(), Ge(150ms));
}

TEST_F(Discovery, AsksTheAddressesThatTheEnvironmentNamesAndNobodyElse) {
    ScriptedCamera &other = add("127.0.0.2", "other");
    add("127.0.0.3", "three");
    add("127.0.0.4", "four");
    setenv("KXGIGE_DISCOVERY_MS", "1000", 1);
    setenv("KXGIGE_ADDRESSES", "127.0.0.4, 127.0.0.3 ,127.0.0.4, ", 1);
    const Stopwatch stopwatch;

    EXPECT_THAT(serials(), ElementsAre("three", "four"));

    EXPECT_THAT(stopwatch.elapsed(), Lt(900ms));
    EXPECT_EQ(0u, other.received());
}

TEST_F(Discovery, AsksAddressesBesideTheInterfacesWhenBothAreNamed) {
    add("127.0.0.2", "two");
    add("127.0.0.3", "three");
    setenv("KXGIGE_ADDRESSES", "127.0.0.3", 1);
    setenv("KXGIGE_INTERFACES", "lo", 1);

    EXPECT_THAT(serials(), ElementsAre("two", "three"));
}

TEST_F(Discovery, OpensACameraThatWasAskedDirectly) {
    add("127.0.0.3", "three").describe(descriptionOf(intReg("Width", "0x1000")));
    setenv("KXGIGE_ADDRESSES", "127.0.0.3", 1);
    GEV_CAMERA_INFO info{};
    GEV_CAMERA_HANDLE handle = nullptr;
    int count = 0;
    GevGetCameraList(&info, 1, &count);

    EXPECT_EQ(GEVLIB_OK, GevOpenCamera(&info, GevControlMode, &handle));

    EXPECT_NE(0u, info.hostIpAddr);
    EXPECT_EQ(0u, info.hostIfIndex);
    GevCloseCamera(&handle);
}

TEST_F(Discovery, ReportsAnAddressThatIsNoneAndAsksTheOthers) {
    add("127.0.0.3", "three");
    setenv("KXGIGE_ADDRESSES", "camera,127.0.0.3", 1);
    testing::internal::CaptureStderr();

    EXPECT_THAT(serials(), ElementsAre("three"));

    EXPECT_EQ("KXGIGE_ADDRESSES: 'camera' is no IPv4 address; expected are cameras' addresses, "
              "such as 192.168.0.20, separated by commas\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(Discovery, AsksSixtyFourAddressesAndNoMore) {
    std::string addresses;
    for (int i = 1; i <= 64; ++i)
        addresses += "127.0.1." + std::to_string(i) + ",";
    add("127.0.1.64", "last");
    add("127.0.1.65", "next");

    setenv("KXGIGE_ADDRESSES", addresses.c_str(), 1);
    EXPECT_THAT(serials(), ElementsAre("last"));
    setenv("KXGIGE_ADDRESSES", (addresses + "127.0.1.65").c_str(), 1);
    testing::internal::CaptureStderr();
    EXPECT_THAT(serials(), ElementsAre("last"));

    EXPECT_EQ("KXGIGE_ADDRESSES: 65 addresses, expected at most 64; asking the first\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(Discovery, WantsItsArguments) {
    GEV_CAMERA_INFO info{};
    int count = 7;

    EXPECT_EQ(GEVLIB_ERROR_NULL_PTR, GevGetCameraList(&info, 1, nullptr));
    EXPECT_EQ(GEVLIB_ERROR_NULL_PTR, GevGetCameraList(nullptr, 1, &count));
    EXPECT_EQ(0, count);
    EXPECT_EQ(GEVLIB_ERROR_ARG_INVALID, GevGetCameraList(&info, 0, &count));
}

} // namespace
