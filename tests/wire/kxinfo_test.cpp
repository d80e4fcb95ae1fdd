// kxinfo with the plug-in and the open platform, asking virtual cameras.

#include "wire.h"

#include <cstdlib>

#include <nlohmann/json.hpp>

namespace {

class Kxinfo : public Wire {
protected:
    // What the virtual camera's description starts it with.
    const std::string table =
        R"(Setting                      Current  Minimum  Maximum        Step  Unit
Horizontal offset                  0        0     1920           4  px
Vertical offset                    0        0     1200           2  px
Width                           1936       16     1936          16  px
Height                          1216        4     1216           4  px
Frame rate                        30      0.1  81.5661         0.1  1/s
Rotation                           0        -        -           -  -
Gain                          6.0206        0  18.0618         0.5  dB
Exposure time                  10000       20    33333           0  us
Gamma                           0.45     0.25        4         0.1  -
Auto brightness target      0.501961        0        1  0.00392157  -
Auto gain, lower limit        1.9382        0  18.0618         0.5  dB
Auto gain, upper limit       12.0412        0  18.0618         0.5  dB
Auto exposure, lower limit       100       20   100000           1  us
Auto exposure, upper limit     30000       20   100000           1  us
Output line                     None  one of None, Out1, Out2
)";
};

TEST_F(Kxinfo, ListsTheCameras) {
    const Simcam cameras({"--camera", "S1234@127.0.0.2", "--camera", "S5678@127.0.0.3"});

    EXPECT_EQ(kxinfo({"list"}), (Result{0,
                                        "Printing all Dalsa devices information found:\n"
                                        "  == 0. Dalsa Device Information ==\n"
                                        "  ===================================\n"
                                        "  \tDeviceSerial     : S1234\n"
                                        "  \tDeviceInterface  : GigE\n"
                                        "  \tDeviceModel      : C1936\n"
                                        "  == 1. Dalsa Device Information ==\n"
                                        "  ===================================\n"
                                        "  \tDeviceSerial     : S5678\n"
                                        "  \tDeviceInterface  : GigE\n"
                                        "  \tDeviceModel      : C1936\n",
                                        ""}));
}

TEST_F(Kxinfo, ShowsTheSettingsOfACameraAgainAndAgain) {
    const Simcam cameras({"--camera", "S1234@127.0.0.2", "--camera", "S5678@127.0.0.3"});
    const Result expected{0, "Camera whose serial number begins with \"S56\"\n\n" + table, ""};

    EXPECT_EQ(kxinfo({"probe", "S56"}), expected);
    EXPECT_EQ(kxinfo({"probe", "S56"}), expected);
}

TEST_F(Kxinfo, WritesJson) {
    const Simcam camera({"--camera", "S1234@127.0.0.2"});

    const Result result = kxinfo({"probe", "", "--json", "--log", "stdout", "--level", "info"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const auto document = nlohmann::json::parse(result.out);
    EXPECT_EQ(document["version"], 1);
    EXPECT_EQ(document["serial"], "");
    std::vector<int> ids;
    for (const auto &parameter : document["parameters"])
        ids.push_back(parameter["id"]);
    EXPECT_EQ(ids, (std::vector<int>{3, 4, 5, 6, 0, 2, 18, 19, 1, 11, 13, 14, 16, 17, 21}));
    const auto &gain = document["parameters"][6];
    EXPECT_EQ(gain["name"], "KxScParamGain");
    EXPECT_FLOAT_EQ(gain["current"], 6.0206f);
    EXPECT_EQ(gain["increment"], 0.5);
    EXPECT_EQ(document["parameters"][14]["choices"], nlohmann::json({"None", "Out1", "Out2"}));
}

TEST_F(Kxinfo, ShowsThePluginsLogAboveTheTable) {
    const Simcam camera({"--camera", "S1234@127.0.0.2"});

    const Result result = kxinfo({"probe", "S1", "--log", "stdout", "--level", "debug"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const std::string beginning =
        "[CIPROC:d]: init Dalsa staff\n"
        "[CIPROC:d]: 0. Vendor \"Dalsa\", Model \"C1936\", Serial \"S1234\"\n";
    EXPECT_EQ(result.out.substr(0, beginning.size()), beginning);
    const std::string end = "[CIPROC:d]: device is disconnected\n"
                            "[CIPROC:d]: Loop completed (exitCode = 0)\n"
                            "\n"
                            "Camera whose serial number begins with \"S1\"\n"
                            "\n" +
                            table;
    ASSERT_GT(result.out.size(), end.size());
    EXPECT_EQ(result.out.substr(result.out.size() - end.size()), end);
}

TEST_F(Kxinfo, FindsItsOwnPlatformThoughAnotherOfThatNameIsLookedForFirst) {
    const Simcam camera({"--camera", "S1234@127.0.0.2"});
    const TemporaryFolder folder;
    folder.file("libGevApi.so.2", "of another maker");
    setenv("LD_LIBRARY_PATH", folder.path().c_str(), 1);

    const Result throughThePlugin = kxinfo({"list"});
    const Result onTheCamera = kxinfo({"lut", "S1234", "show"});
    unsetenv("LD_LIBRARY_PATH");

    EXPECT_EQ(
        (Result{0, "Printing all Dalsa devices information found:\n" + listed(0, "S1234"), ""}),
        throughThePlugin);
    EXPECT_EQ((Result{0, "Camera S1234 (C1936)\nLookup table: off\n", ""}), onTheCamera);
}

TEST_F(Kxinfo, SaysThatThereIsNoCamera) {
    const Result noCamera{1, "",
                          "kxinfo: no Dalsa camera answered. Check that the camera has power, is "
                          "on this computer's network, and that no firewall keeps its answer away; "
                          "then try again.\n"};
    EXPECT_EQ(kxinfo({"probe", "S1234"}), noCamera);
    EXPECT_EQ(kxinfo({"list"}), (Result{1, "no any Dalsa devices found\n", noCamera.err}));
}

TEST_F(Kxinfo, SaysThatNoCameraHasTheSerialNumber) {
    const Simcam camera({"--camera", "S1234@127.0.0.2"});

    EXPECT_EQ(kxinfo({"probe", "S12345"}),
              (Result{1, "",
                      "kxinfo: no camera has a serial number that begins with \"S12345\". Run "
                      "'kxinfo list' to see the cameras that answer.\n"}));
}

TEST_F(Kxinfo, SaysThatAnotherProgramControlsTheCamera) {
    const Simcam camera({"--camera", "S1234@127.0.0.2"});
    Client other;
    other.write(0xA00, 2); // control privilege, kept for the heartbeat's three seconds

    const Result result = kxinfo({"probe", "S1234"});

    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, testing::MatchesRegex("kxinfo: " + controlledByAnother("S1234")));
}

TEST_F(Kxinfo, SaysWhichSettingsAreMissingWhenTheCameraFallsSilentDuringTheProbe) {
    int commands = 0;
    {
        Simcam camera({"--camera", "S1234@127.0.0.2"});
        ASSERT_EQ(0, kxinfo({"probe", "S1234"}).status);
        commands = commandsIn(camera.stop().output);
    }
    const Simcam camera(
        {"--camera", "S1234@127.0.0.2", "--silent-after", std::to_string(commands - 12)});

    const Result result = kxinfo({"probe", "S1234"});

    EXPECT_EQ(result.status, 0);
    const std::string beginning = "Camera whose serial number begins with \"S1234\"\n\n";
    EXPECT_EQ(result.out.substr(0, beginning.size()), beginning);
    EXPECT_EQ(result.out.find("Auto exposure, upper limit"), std::string::npos);
    EXPECT_EQ(result.out.find("Output line"), std::string::npos);
    EXPECT_NE(result.err.find(" of 15 settings; missing: "), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("KxScParamAutoExpoUpper, "), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("KxScParamOutLines. An error of the camera may have cut the probe "
                              "short: add '--log stdout --level debug' to see it.\n"),
              std::string::npos)
        << result.err;
}

} // namespace
