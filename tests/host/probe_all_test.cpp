// kxinfo probe --all: every camera in a process of its own.

#include <cstdlib>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "program.h"

namespace {

const std::string kNoDalsaCamera =
    "kxinfo: no Dalsa camera answered. Check that the camera has power, is on this computer's "
    "network, and that no firewall keeps its answer away; then try again.\n";

const std::string kHint = "Add '--log stdout --level debug' to see how far it came.";

const std::string kMissing =
    "the plug-in published 1 of 15 settings; missing: KxScParamFps, KxScParamGamma, "
    "KxScParamRotate, KxScParamOffsetY, KxScParamWidth, KxScParamHeight, "
    "KxScParamAutoBrightTarget, KxScParamAutoGainLower, KxScParamAutoGainUpper, "
    "KxScParamAutoExpoLower, KxScParamAutoExpoUpper, KxScParamGain, KxScParamExposure, "
    "KxScParamOutLines. An error of the camera may have cut the probe short: add '--log stdout "
    "--level debug' to see it.";

const std::string kCannotBeOpened =
    "cannot be opened. Probably another program controls it: end that program, or wait some "
    "seconds if it crashed, and try again.";

Result probe(const std::string &serial, const std::string &name,
             const std::vector<std::string> &options = {}) {
    std::vector<std::string> arguments{"probe", serial, "--plugin", plugin(name)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return kxinfo(arguments);
}

Result probeAll(const std::string &name, const std::vector<std::string> &options = {}) {
    return probe("--all", name, options);
}

std::string message(const std::string &serial, const std::string &text) {
    return "kxinfo: camera \"" + serial + "\": " + text + "\n";
}

std::string inFront(const std::string &other, const std::string &serial) {
    return "the plug-in opens the first camera whose serial number begins with \"" + serial +
           "\", and that is another one, \"" + other +
           "\". To probe this camera, disconnect the other one for the time.";
}

class ProbeAll : public testing::Test {
protected:
    ProbeAll() { unsetenv("KXGIGE_SERIAL"); }
    ~ProbeAll() override { unsetenv("KXGIGE_SERIAL"); }
};

TEST_F(ProbeAll, ShowsTheTablesOfAllCamerasAndTellsWhatIsWrongWithEach) {
    EXPECT_EQ(
        probeAll("one_of_each"),
        (Result{
            3,
            probe("S1", "one_of_each").out + "\n" + probe("S6", "one_of_each").out + "\n" +
                probe("S7", "one_of_each").out,
            message("S2", "the probe crashed, by signal 9 (Killed). " + kHint) +
                message("S3",
                        "the camera whose serial number begins with \"S3\" " + kCannotBeOpened) +
                message("S4", "the plug-in failed with an exception: the camera's description "
                              "is damaged. " +
                                  kHint) +
                message("S5", "the probe ended without a result, and did not say why. " + kHint) +
                message("S6", kMissing)}));
}

TEST_F(ProbeAll, HasEveryCameraInItsJson) {
    const auto parametersOf = [](const std::string &serial) {
        return nlohmann::json::parse(probe(serial, "one_of_each", {"--json"}).out)["parameters"];
    };

    const Result result = probeAll("one_of_each", {"--json"});

    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "");
    using nlohmann::json;
    const auto camera = [](const std::string &serial, int status, json messages, json parameters) {
        return json{{"serial", serial},
                    {"status", status},
                    {"messages", std::move(messages)},
                    {"parameters", std::move(parameters)}};
    };
    const json expected = {
        {"version", 1},
        {"moreMayExist", false},
        {"cameras",
         {camera("S1", 0, json::array(), parametersOf("S1")),
          camera("S2", 3, {"the probe crashed, by signal 9 (Killed). " + kHint}, nullptr),
          camera("S3", 1, {"the camera whose serial number begins with \"S3\" " + kCannotBeOpened},
                 nullptr),
          camera("S4", 3,
                 {"the plug-in failed with an exception: the camera's description is damaged. " +
                  kHint},
                 nullptr),
          camera("S5", 3, {"the probe ended without a result, and did not say why. " + kHint},
                 nullptr),
          camera("S6", 0, {kMissing}, parametersOf("S6")),
          camera("S7", 0, json::array(), parametersOf("S7"))}}};
    EXPECT_EQ(json::parse(result.out), expected);
}

TEST_F(ProbeAll, WritesNumbersInItsJsonAsTheProbeOfOneCameraDoes) {
    const std::string one = probe("S1234567", "two_cameras", {"--json"}).out;
    std::string expected = R"({
  "version": 1,
  "moreMayExist": false,
  "cameras": [
    {
      "serial": "S1234567",
      "status": 0,
      "messages": [],
)";
    const size_t begin = one.find("  \"parameters\"");
    for (const char c : "    " + one.substr(begin, one.size() - 2 - begin))
        expected += c == '\n' ? std::string("\n    ") : std::string(1, c);
    expected.resize(expected.size() - 4);
    expected += "    },\n";

    EXPECT_EQ(probeAll("two_cameras", {"--json"}).out.substr(0, expected.size()), expected);
}

TEST_F(ProbeAll, ShowsTheLogOfEachCameraAboveItsTable) {
    const auto shown = [](const std::string &serial) {
        return probe(serial, "one_of_each", {"--log", "stdout"}).out;
    };

    const Result result = probeAll("one_of_each", {"--log", "stdout"});

    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, shown("S1") + "\nprobing S2\n\n" + shown("S3") + "\n" + shown("S4") +
                              "\nprobing S5\n\n" + shown("S6") + "\n" + shown("S7"));
}

TEST_F(ProbeAll, TellsTheLogOfEachCameraOnStandardErrorWithJson) {
    const Result plain = probeAll("two_cameras", {"--json"});
    ASSERT_EQ(plain.status, 1);

    const Result result =
        probeAll("two_cameras", {"--json", "--log", "stdout", "--level", "debug"});

    EXPECT_EQ(result.err, "S1234567: [CIPROC:d]: init Dalsa staff\n"
                          "S1234567: [CIPROC:d]: device is disconnected\n"
                          "S7654321: [CIPROC:d]: init Dalsa staff\n"
                          "S7654321: [CIPROC:w]: Can't connect to device with SerialID "
                          "\"S7654321\"\n");
    const auto messages = nlohmann::json::parse(result.out)["cameras"][1]["messages"];
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].get<std::string>().substr(0, 26), "no camera was probed: no D");
}

TEST_F(ProbeAll, SaysThatThereIsNoCameraAsAProbeOfOneDoes) {
    EXPECT_EQ(probeAll("no_camera"), (Result{1, "", kNoDalsaCamera}));
}

TEST_F(ProbeAll, HasAnEmptyListInItsJsonWhenThereIsNoCamera) {
    EXPECT_EQ(probeAll("no_camera", {"--json"}),
              (Result{1, "{\n  \"version\": 1,\n  \"moreMayExist\": false,\n  \"cameras\": []\n}\n",
                      kNoDalsaCamera}));
}

TEST_F(ProbeAll, FailsWhenThePluginCannotListTheCameras) {
    EXPECT_EQ(probeAll("throws_exception", {"--json"}),
              (Result{3, "",
                      "kxinfo: the plug-in failed with an exception: the camera's description is "
                      "damaged. Run 'kxinfo list --level debug' to see how far it came.\n"}));
}

TEST_F(ProbeAll, NamesCamerasByWhateverTheirSerialNumbersAreAndTakesNoneForAnother) {
    const std::string failed = "the plug-in failed: it returned -1. " + kHint;
    EXPECT_EQ(probeAll("odd_serials"),
              (Result{3, "",
                      message("--json", "<--json>") + message("--json", failed) +
                          message(" S\\t\"1\\", "< S\\t\"1\\>") + message(" S\\t\"1\\", failed) +
                          message("caf\\xe9", "<caf\\xe9>") + message("caf\\xe9", failed) +
                          message("X1", inFront("X10", "X1")) + message("S20", "<S20>") +
                          message("S20", failed) + message("S2", inFront("S20", "S2"))}));
}

TEST_F(ProbeAll, LetsEachProbeSearchForItsCameraAndItsOwnRunForWhatWasSet) {
    const std::string failed = "the plug-in failed: it returned -1. " + kHint;
    const auto searching = [&failed](const std::string &before) {
        return Result{3, "",
                      "searched for: " + before + "\n" + message("S1", "searched for: S1") +
                          message("S1", failed) + message("S2", "searched for: S2") +
                          message("S2", failed)};
    };
    EXPECT_EQ(searching("everything"), probeAll("tells_search"));

    setenv("KXGIGE_SERIAL", "S7", 1);
    EXPECT_EQ(searching("S7"), probeAll("tells_search"));
}

TEST_F(ProbeAll, LeavesOutOnlyASecondCameraOfTheSameSerialNumberWhereThePlatformFindsWholeOnes) {
    EXPECT_EQ(
        (Result{1, probe("S10", "open_platform").out + "\n" + probe("S1", "open_platform").out,
                message("S1", inFront("S1", "S1"))}),
        probeAll("open_platform"));
}

TEST_F(ProbeAll, TakesNoSerialNumber) {
    EXPECT_EQ(kxinfo({"probe", "S1", "--all"}),
              (Result{2, "",
                      "kxinfo: --all probes every camera, and takes no serial number. Leave out "
                      "one of them.\n"}));
}

} // namespace
