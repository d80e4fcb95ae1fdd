// kxinfo list: what it tells of each camera on the network.

#include <chrono>
#include <memory>

#include <nlohmann/json.hpp>

#include "wire.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;

const std::string kNobody =
    "kxinfo: no Dalsa camera answered. Check that the camera has power, is on this computer's "
    "network, and that no firewall keeps its answer away; then try again.\n";

class List : public Wire {
protected:
    static json document() {
        const std::string text = kxinfo({"list", "--json"}).out;
        EXPECT_EQ("", violations(text, "list.schema.json"));
        return json::parse(text);
    }
};

TEST_F(List, ShowsTheCamerasOfAllMakersByAddress) {
    const Simcam cameras({"--vendor", "Teledyne DALSA", "--model", "C\x1b[31m", "--camera",
                          "S2@127.0.0.3", "--vendor", "Other", "--model", "M9", "--camera",
                          "X1@127.0.0.2", "--set", "S2:DeviceUserID=left"});

    EXPECT_EQ(
        (Result{
            0,
            "Serial  Model      Maker           Address    State  Host               Interface  "
            "MAC address        User name\n"
            "X1      M9         Other           127.0.0.2  free   no: another maker  lo         "
            "02:00:7f:00:00:02  -\n"
            "S2      C\\x1b[31m  Teledyne DALSA  127.0.0.3  free   yes                lo        "
            " 02:00:7f:00:00:03  left\n",
            ""}),
        kxinfo({"list"}));
    EXPECT_EQ((json{{"manufacturer", "Teledyne DALSA"},
                    {"model", "C\\x1b[31m"},
                    {"serial", "S2"},
                    {"userName", "left"},
                    {"address", "127.0.0.3"},
                    {"mac", "02:00:7f:00:00:03"},
                    {"interface", "lo"},
                    {"seenByHost", true},
                    {"state", "free"},
                    {"controller", nullptr},
                    {"problem", nullptr}}),
              document()["cameras"][1]);
}

TEST_F(List, TellsWhoControlsACameraAndWritesNothingToIt) {
    Simcam camera({"--camera", "S1@127.0.0.2"});
    Client other;
    for (const uint32_t privilege : {2u, 1u}) { // control; nobody else may even read
        ASSERT_EQ("0000", other.write(0xA00, privilege));
        ASSERT_EQ("0000", other.write(0x938, 60000)); // ms without a heartbeat
        const std::string by = "127.0.0.1, port " + std::to_string(other.port());
        const Result result = kxinfo({"list"});
        EXPECT_EQ("", result.err);
        EXPECT_THAT(result.out, HasSubstr("  controlled by another program"));
        const json listed = document()["cameras"][0];
        EXPECT_EQ("controlled", listed["state"]);
        if (privilege != 2)
            continue;
        EXPECT_THAT(result.out, HasSubstr("  controlled by another program (" + by + ")  yes"));
        EXPECT_EQ((json{{"address", "127.0.0.1"}, {"port", other.port()}}), listed["controller"]);
    }
    EXPECT_THAT(camera.stop().output, HasSubstr("writereg=4 "));
}

TEST_F(List, ShowsEightyCamerasWithThoseThatFallSilentAndTheEightThatAHostLooksAt) {
    std::vector<std::string> arguments{"--silent-after", "1"};
    for (int i = 10; i < 90; ++i) {
        if (i == 12)
            arguments.insert(arguments.end(), {"--vendor", "Other"});
        if (i == 13)
            arguments.insert(arguments.end(), {"--vendor", "Dalsa"});
        const std::string number = std::to_string(i);
        arguments.insert(arguments.end(), {"--camera", "S" + number + "@127.0.0." + number});
    }
    const Simcam cameras(arguments);
    const auto start = std::chrono::steady_clock::now();

    const auto lines = linesOf(kxinfo({"list"}).out);

    // One after the other they would be waited for a minute.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    ASSERT_EQ(81u, lines.size());
    for (size_t i = 0; i < 80; ++i) {
        const std::string host = i == 2  ? "no: another maker"
                                 : i < 8 ? "yes"
                                         : "no: beyond the first eight";
        EXPECT_THAT(lines[i + 1], HasSubstr("  it does not answer  " + host + " "));
    }
}

TEST_F(List, TellsThatNoCameraAnswers) {
    EXPECT_EQ((Result{1, "", kNobody}), kxinfo({"list"}));
    EXPECT_EQ((Result{1, "{\n  \"version\": 2,\n  \"cameras\": []\n}\n", kNobody}),
              kxinfo({"list", "--json"}));
}

TEST_F(List, TellsThatOnlyCamerasOfOtherMakersAnswer) {
    const Simcam camera({"--vendor", "Other", "--camera", "X1@127.0.0.2"});

    const Result result = kxinfo({"list"});

    EXPECT_EQ(0, result.status);
    EXPECT_EQ(2u, linesOf(result.out).size());
    EXPECT_THAT(result.err, HasSubstr("no Dalsa camera answered, but cameras of other makers did"));
}

TEST_F(List, TellsOfTwoCamerasWithOneSerialNumber) {
    const Simcam one({"--camera", "S1@127.0.0.2"});
    const Simcam other({"--camera", "S1@127.0.0.3"});

    const Result result = kxinfo({"list"});

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("kxinfo: 2 cameras have the serial number S1: 127.0.0.2 and 127.0.0.3. Name each of "
              "them by its address or MAC address.\n",
              result.err);
}

TEST_F(List, IsHeldAgainstASchemaThatNoticesWhatIsWrong) {
    const Simcam camera({"--camera", "S1@127.0.0.2"});
    const json whole = document();
    const std::pair<const char *, json> changes[] = {
        {"/version", 1},
        {"/cameras/0/serial", nullptr},
        {"/cameras/0/mac", "02-00-7F-00-00-02"},
        {"/cameras/0/seenByHost", "yes"},
        {"/cameras/0/state", "silent"}, // which is a problem
        {"/cameras/0/controller", {{"address", "127.0.0.1"}}},
    };
    for (const auto &[path, value] : changes) {
        json changed = whole;
        changed[json::json_pointer(path)] = value;
        EXPECT_NE("", violations(changed.dump(), "list.schema.json")) << path;
    }
}

class ListBehindACable : public Wire {
protected:
    const std::unique_ptr<Simcam> camera_ = cameraBehindACable({"--watch"});
};

TEST_F(ListBehindACable, TellsOfACameraOutOfReachAndWhatHelps) {
    const std::string why =
        "its address 169.254.3.4 is in no network of this computer (eth0 has 192.168.0.2/24)";
    EXPECT_EQ((Result{0,
                      "Serial  Model  Maker  Address      State                    Host  Interface "
                      " MAC address        User name\n"
                      "S1      C1936  Dalsa  169.254.3.4  not reachable from here  yes   eth0      "
                      " 02:00:a9:fe:03:04  -\n",
                      "kxinfo: camera S1 is not reachable from here: " + why +
                          ". Give the camera an address in a network of this computer, or this "
                          "computer one in the camera's network.\n"}),
              kxinfo({"list"}));

    const Result got = kxinfo({"get", "S1", "Width"});
    EXPECT_EQ(1, got.status);
    EXPECT_THAT(got.err, HasSubstr("camera S1 cannot be opened: " + why));
    EXPECT_THAT(camera_->stop().output, testing::Not(HasSubstr("READ")));
}

} // namespace
