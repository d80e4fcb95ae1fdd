// Which cameras are found, where the environment says to look, and how long that takes.

#include <cstdlib>
#include <deque>
#include <map>

#include "support.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Ge;
using testing::Lt;
using testing::SizeIs;

class Discovery : public testing::Test {
protected:
    ScriptedCamera &add(const std::string &address, const std::string &serial = "S1") {
        Device::Identity identity;
        identity.serial = serial;
        return cameras_.emplace_back(address, identity);
    }

    static void set(const std::map<std::string, std::string> &environment) {
        for (const char *name : {"KXGIGE_EXPECTED_CAMERAS", "KXGIGE_INTERFACES", "KXGIGE_SERIAL",
                                 "KXGIGE_ADDRESSES", "KXGIGE_DISCOVERY_MS"})
            unsetenv(name);
        for (const auto &[name, value] : environment)
            setenv(name.c_str(), value.c_str(), 1);
    }

    // The serial numbers of what is found where \p environment says something beside the window.
    std::vector<std::string> find(std::map<std::string, std::string> environment = {},
                                  size_t room = 8) {
        environment.insert({"KXGIGE_DISCOVERY_MS", "150"});
        set(environment);
        const Stopwatch stopwatch;
        testing::internal::CaptureStderr();
        std::vector<GEV_CAMERA_INFO> records(room);
        int count = -1;
        EXPECT_EQ(GEVLIB_OK, GevGetCameraList(records.data(), static_cast<int>(room), &count));
        took = stopwatch.elapsed();
        said = testing::internal::GetCapturedStderr();
        std::vector<std::string> serials;
        for (size_t i = 0; i < static_cast<size_t>(count); ++i)
            serials.push_back(records[i].serial);
        return serials;
    }

    std::chrono::milliseconds took{};
    std::string said;

private:
    std::deque<ScriptedCamera> cameras_;
};

TEST_F(Discovery, TellsWhatACameraIsAndWhereItWasFound) {
    ScriptedCamera camera("127.0.0.2", {"Maker", "Model", "1.2", "S1234", "left"});
    camera.set(0x08, 0xaabb); // the MAC address begins with it
    set({{"KXGIGE_EXPECTED_CAMERAS", "1"}});
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
    EXPECT_EQ(0xaabbu, info.macHigh);
    EXPECT_EQ(0x7f000002u, info.macLow);
    EXPECT_EQ(0x7f000001u, info.hostIpAddr);
    EXPECT_EQ(1u, info.hostIfIndex);
    EXPECT_EQ(0x80000001u, info.capabilities);
    EXPECT_EQ(0u, info.mode);
}

TEST_F(Discovery, FillsNoMoreRecordsThanThereIsRoomFor) {
    for (int i = 9; i >= 1; --i)
        add("127.0.0." + std::to_string(10 + i), "S" + std::to_string(i));

    EXPECT_THAT(find(), ElementsAre("S1", "S2", "S3", "S4", "S5", "S6", "S7", "S8"));
    EXPECT_THAT(find({}, 9), SizeIs(9));
}

TEST_F(Discovery, SendsOneCommandPerInterfaceHoweverManyAddressesItHas) {
    ASSERT_EQ(0, system("ip address replace 10.9.8.7/8 dev lo"));
    const ScriptedCamera &camera = add("127.0.0.2");

    find();

    EXPECT_THAT(camera.received(), SizeIs(1));
}

TEST_F(Discovery, WaitsAsLongAsTheEnvironmentSays) {
    find({{"KXGIGE_DISCOVERY_MS", "300"}});

    EXPECT_THAT(took, lasts(300ms));
}

TEST_F(Discovery, WaitsASecondUnlessToldAndFindsNothingWhereThereIsNoCamera) {
    EXPECT_THAT(find({{"KXGIGE_DISCOVERY_MS", ""}}), ElementsAre());

    EXPECT_THAT(took, lasts(1000ms));
    EXPECT_EQ("", said);
}

TEST_F(Discovery, ReportsAWindowThatIsNone) {
    add("127.0.0.2", "here");
    for (const std::string text : {"soon", "0", "1001", "-5", "10ms", "99999999999999999999"}) {
        // Most of the seconds are saved.
        const std::string expected = text == "soon" ? "" : "1";

        EXPECT_THAT(find({{"KXGIGE_DISCOVERY_MS", text}, {"KXGIGE_EXPECTED_CAMERAS", expected}}),
                    ElementsAre("here"));

        EXPECT_EQ("KXGIGE_DISCOVERY_MS: '" + text +
                      "' is no whole number of milliseconds from 1 to 1000; waiting 1000 ms\n",
                  said);
        EXPECT_THAT(took, Ge(expected.empty() ? 1000ms : 0ms));
    }
}

TEST_F(Discovery, EndsWithTheExpectedCamerasOrItsWindow) {
    add("127.0.0.3", "three");
    add("127.0.0.2", "two");

    EXPECT_THAT(find({{"KXGIGE_DISCOVERY_MS", "1000"}, {"KXGIGE_EXPECTED_CAMERAS", "2"}}),
                ElementsAre("two", "three"));
    EXPECT_THAT(took, Lt(1000ms));

    for (const char *expected : {"3", "64", ""}) {
        EXPECT_THAT(find({{"KXGIGE_EXPECTED_CAMERAS", expected}}), ElementsAre("two", "three"));
        EXPECT_THAT(took, lasts(150ms)) << expected;
        EXPECT_EQ("", said);
    }
}

TEST_F(Discovery, ReportsAnExpectedNumberThatIsNoneAndWaitsTheWholeWindow) {
    const ScriptedCamera &camera = add("127.0.0.2", "here");
    for (const std::string text : {"all", "0", "65", "-1", "2 ", "99999999999999999999"}) {
        EXPECT_THAT(find({{"KXGIGE_EXPECTED_CAMERAS", text}}), ElementsAre("here"));

        EXPECT_EQ("KXGIGE_EXPECTED_CAMERAS: '" + text +
                      "' is no whole number of cameras from 1 to 64; waiting the whole 150 ms\n",
                  said);
        EXPECT_THAT(took, Ge(150ms));
    }
    EXPECT_THAT(camera.received(), SizeIs(6));
}

TEST_F(Discovery, AsksTheInterfacesThatTheEnvironmentNames) {
    const ScriptedCamera &camera = add("127.0.0.2", "here");

    for (const char *named : {"lo", "127.0.0.1", "lo,127.0.0.1", ""}) {
        EXPECT_THAT(find({{"KXGIGE_INTERFACES", named}}), ElementsAre("here")) << named;
        EXPECT_EQ("", said);
    }

    EXPECT_THAT(find({{"KXGIGE_INTERFACES", "camera0"}}), ElementsAre());
    EXPECT_EQ("KXGIGE_INTERFACES: no network interface 'camera0' is up; expected names or IPv4 "
              "addresses of this machine, separated by commas (see `ip -4 address`)\n",
              said);
    EXPECT_THAT(camera.received(), SizeIs(4));
}

TEST_F(Discovery, EndsWithTheCameraThatTheEnvironmentNamesAndListsItAlone) {
    add("127.0.0.2", "S12");
    add("127.0.0.3", "S1");

    EXPECT_THAT(find({{"KXGIGE_DISCOVERY_MS", "1000"}, {"KXGIGE_SERIAL", "S1"}}),
                ElementsAre("S1"));
    EXPECT_THAT(took, Lt(1000ms));

    EXPECT_THAT(find({{"KXGIGE_SERIAL", "S"}}), ElementsAre("S12", "S1"));
    EXPECT_THAT(took, Ge(150ms));
}

TEST_F(Discovery, AsksTheAddressesThatTheEnvironmentNamesAndNobodyElse) {
    const ScriptedCamera &other = add("127.0.0.2", "other");
    add("127.0.0.3", "three");
    add("127.0.0.4", "four");

    EXPECT_THAT(find({{"KXGIGE_DISCOVERY_MS", "1000"},
                      {"KXGIGE_ADDRESSES", "127.0.0.4, 127.0.0.3 ,127.0.0.4, "}}),
                ElementsAre("three", "four"));

    EXPECT_THAT(took, Lt(1000ms));
    EXPECT_THAT(other.received(), SizeIs(0));
    EXPECT_THAT(find({{"KXGIGE_ADDRESSES", "127.0.0.3"}, {"KXGIGE_INTERFACES", "lo"}}),
                ElementsAre("other", "three", "four"));
}

TEST_F(Discovery, OpensACameraThatWasAskedDirectly) {
    add("127.0.0.3", "three").describe(descriptionOf(intReg("Width", "0x1000")));
    set({{"KXGIGE_ADDRESSES", "127.0.0.3"}});
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

    EXPECT_THAT(find({{"KXGIGE_ADDRESSES", "camera,127.0.0.3"}}), ElementsAre("three"));

    EXPECT_EQ("KXGIGE_ADDRESSES: 'camera' is no IPv4 address; expected are cameras' addresses, "
              "such as 192.168.0.20, separated by commas\n",
              said);
}

TEST_F(Discovery, ReportsAnAddressThatThisComputerHasNoWayToAndAsksTheOthers) {
    add("127.0.0.3", "three");

    EXPECT_THAT(find({{"KXGIGE_ADDRESSES", "172.16.8.7,127.0.0.3"}}), ElementsAre("three"));

    EXPECT_EQ("KXGIGE_ADDRESSES: this computer has no way to 172.16.8.7; expected are addresses of "
              "its networks, or that a gateway leads to (see `ip -4 route`)\n",
              said);
}

TEST_F(Discovery, AsksSixtyFourAddressesAndNoMore) {
    std::string addresses;
    for (int i = 1; i <= 64; ++i)
        addresses += "127.0.1." + std::to_string(i) + ",";
    add("127.0.1.64", "last");
    add("127.0.1.65", "next");

    EXPECT_THAT(find({{"KXGIGE_ADDRESSES", addresses}}), ElementsAre("last"));
    EXPECT_EQ("", said);
    EXPECT_THAT(find({{"KXGIGE_ADDRESSES", addresses + "127.0.1.65"}}), ElementsAre("last"));
    EXPECT_EQ("KXGIGE_ADDRESSES: 65 addresses, expected at most 64; asking the first\n", said);
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
