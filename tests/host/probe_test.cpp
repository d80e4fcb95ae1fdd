// kxinfo-host with a serial number: what it asks of the plug-in, what it makes of what is published, and what it says
// when there is nothing to show.

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "program.h"

namespace {

const std::string kTable =
    R"(Setting                      Current  Minimum   Maximum        Step  Unit
Horizontal offset                  8        0      1920           4  px
Vertical offset                    4        0      1200           2  px
Width                           1920       16      1936          16  px
Height                          1200        2      1216           2  px
Frame rate                     29.97      0.1       120         0.1  1/s
Rotation                           0        -         -           -  -
Gain                             6.5        0   24.0824         0.5  dB
Exposure time                  10000     20.5  16777215         0.5  us
Gamma                           0.45      0.1         4         0.1  -
Auto brightness target      0.501961        0         1  0.00392157  -
Auto gain, lower limit             0        0        18         0.5  dB
Auto gain, upper limit            12        0        18         0.5  dB
Auto exposure, lower limit       100       20   1000000           1  us
Auto exposure, upper limit   33333.3       20   1000000           1  us
Output line                     None  one of None, Out1, Out2
)";

std::string camera(const std::string &serial) {
    return "Camera whose serial number begins with \"" + serial + "\"\n\n";
}

Result probe(const std::string &serial, const std::string &name,
             const std::vector<std::string> &options = {}) {
    std::vector<std::string> arguments{serial, "--plugin", plugin(name)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return kxinfoHost(arguments);
}

nlohmann::json parameterOf(const nlohmann::json &document, const std::string &name) {
    for (const auto &parameter : document.at("parameters"))
        if (parameter.at("name") == name)
            return parameter;
    return nullptr;
}

TEST(Probe, ShowsTheSettingsInTheOrderOfPublication) {
    EXPECT_EQ(probe("S12", "two_cameras"), (Result{0, camera("S12") + kTable, ""}));
}

TEST(Probe, LetsTheOpenPlatformSearchForTheSerialNumberUnlessOneIsSet) {
    const auto searchedFor = [](const std::string &serial) {
        const std::string err = probe(serial, "tells_search").err;
        return err.substr(0, err.find('\n'));
    };
    unsetenv("KXGIGE_SERIAL");
    EXPECT_EQ("searched for: everything", searchedFor(""));
    EXPECT_EQ("searched for: S1", searchedFor("S1"));

    setenv("KXGIGE_SERIAL", "S17", 1);
    EXPECT_EQ("searched for: S17", searchedFor("S1"));
    EXPECT_EQ("searched for: S17", searchedFor(""));
    unsetenv("KXGIGE_SERIAL");
}

TEST(Probe, TakesTheFirstCameraForAnEmptySerialNumber) {
    EXPECT_EQ(probe("", "two_cameras"), (Result{0, "First camera found\n\n" + kTable, ""}));
}

TEST(Probe, TakesASerialNumberThatLooksLikeAnOptionAfterTwoDashes) {
    EXPECT_EQ(kxinfoHost({"--plugin", plugin("tells_arguments"), "--", "--json"}),
              (Result{0, camera("--json") + kTable, "serial \"--json\" mode 1 level 4\n"}));
}

TEST(Probe, WritesJson) {
    const Result result = probe("S12", "two_cameras", {"--json"});
    const std::string beginning = R"({
  "version": 1,
  "serial": "S12",
  "parameters": [
    {
      "id": 3,
      "name": "KxScParamOffsetX",
      "type": "integer",
      "unit": "px",
      "current": 8,
      "minimum": 0,
      "maximum": 1920,
      "increment": 4
    },
)";
    const std::string end = R"(
    {
      "id": 17,
      "name": "KxScParamAutoExpoUpper",
      "type": "float",
      "unit": "us",
      "current": 33333.332,
      "minimum": 20.0,
      "maximum": 1000000.0,
      "increment": 1.0
    },
    {
      "id": 21,
      "name": "KxScParamOutLines",
      "type": "text",
      "unit": null,
      "current": "None",
      "minimum": null,
      "maximum": null,
      "increment": null,
      "choices": [
        "None",
        "Out1",
        "Out2"
      ]
    }
  ]
}
)";
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out.substr(0, beginning.size()), beginning);
    EXPECT_EQ(result.out.substr(result.out.size() - end.size()), end);
    const auto document = nlohmann::json::parse(result.out);
    std::vector<int> ids;
    for (const auto &parameter : document["parameters"])
        ids.push_back(parameter["id"]);
    EXPECT_EQ(ids, (std::vector<int>{3, 4, 5, 6, 0, 2, 18, 19, 1, 11, 13, 14, 16, 17, 21}));
}

TEST(Probe, CopiesValuesDuringTheCallAndTakesThoseOfTheLastPublicationOfASetting) {
    EXPECT_EQ(probe("", "reuses_variables"), (Result{0, R"(First camera found

Setting                      Current  Minimum   Maximum        Step  Unit
Horizontal offset                  8        0      1920           4  px
Vertical offset                    4        0      1200           2  px
Width                           1920       16      1936          16  px
Height                          1200        2      1216           2  px
Frame rate                         5        6         7           8  1/s
Rotation                           0        -         -           -  -
Gain                               1        2         3           4  dB
Exposure time                  10000     20.5  16777215         0.5  us
Gamma                           0.45      0.1         4         0.1  -
Auto brightness target      0.501961        0         1  0.00392157  -
Auto gain, lower limit             0        0        18         0.5  dB
Auto gain, upper limit            12        0        18         0.5  dB
Auto exposure, lower limit       100       20   1000000           1  us
Auto exposure, upper limit   33333.3       20   1000000           1  us
Output line                     Out1  one of Out1
)",
                                                     ""}));
}

TEST(Probe, ShowsADashForEveryNullPointer) {
    EXPECT_EQ(probe("", "nulls"), (Result{0, R"(First camera found

Setting                     Current  Minimum  Maximum  Step  Unit
Frame rate                        -        -        -     -  1/s
Gamma                             -        -        -     -  -
Rotation                          -        -        -     -  -
Horizontal offset                 -        -        -     -  px
Vertical offset                   -        -        -     -  px
Width                             -        -        -     -  px
Height                            -        -        -     -  px
Auto brightness target            -        -        -     -  -
Auto gain, lower limit            -        -        -     -  dB
Auto gain, upper limit            -        -        -     -  dB
Auto exposure, lower limit        -        -        -     -  us
Auto exposure, upper limit        -        -        -     -  us
Gain                              -        -        -     -  dB
Exposure time                     -        -        -     -  us
Output line                       -  -
)",
                                          ""}));
}

TEST(Probe, ShowsSixSignificantDigitsAndWholeNumbersInFullAndAlignsTextOfAnyScript) {
    const Result result = probe("Kärnten", "strange_values");

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, R"(Camera whose serial number begins with "Kärnten"

Setting                         Current      Minimum      Maximum         Step  Unit
Horizontal offset                     8            0         1920            4  px
Vertical offset                       4            0         1200            2  px
Width                       -2147483648  -2147483648   2147483647           -1  px
Height                             1200            2         1216            2  px
Frame rate                       100000        1e-05    999999936        1e+09  1/s
Rotation                              0            -            -            -  -
Gain                          -Infinity          NaN     Infinity            0  dB
Exposure time                  16777216   1.4013e-45  3.40282e+38          0.1  us
Gamma                          0.333333           -1       123457  9.99999e-06  -
Auto brightness target         0.501961            0            1   0.00392157  -
Auto gain, lower limit                0            0           18          0.5  dB
Auto gain, upper limit               12            0           18          0.5  dB
Auto exposure, lower limit          100           20      1000000            1  us
Auto exposure, upper limit      33333.3           20      1000000            1  us
Output line                      Schütz  one of Schütz, , a\b, caf\xe9
)");
}

TEST(Probe, WritesNullForEveryNullPointerInJson) {
    const Result result = probe("", "nulls", {"--json"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const auto document = nlohmann::json::parse(result.out);
    ASSERT_EQ(document["parameters"].size(), 15u);
    for (const auto &parameter : document["parameters"])
        for (const char *member : {"current", "minimum", "maximum", "increment"})
            EXPECT_TRUE(parameter.at(member).is_null()) << parameter;
    EXPECT_EQ(document["parameters"][14]["choices"], nlohmann::json::array());
}

TEST(Probe, WritesNumbersThatJsonLacksAsTextAndReplacesWhatIsNotUtf8) {
    const Result result = probe("Kärnten", "strange_values", {"--json"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const auto document = nlohmann::json::parse(result.out);
    EXPECT_EQ(document["serial"], "Kärnten");
    const auto gain = parameterOf(document, "KxScParamGain");
    EXPECT_EQ(gain["current"], "-Infinity");
    EXPECT_EQ(gain["minimum"], "NaN");
    EXPECT_EQ(gain["maximum"], "Infinity");
    EXPECT_EQ(gain["increment"], 0.0);
    const auto width = parameterOf(document, "KxScParamWidth");
    EXPECT_EQ(width["minimum"], std::numeric_limits<int32_t>::min());
    EXPECT_EQ(width["maximum"], std::numeric_limits<int32_t>::max());
    const auto exposure = parameterOf(document, "KxScParamExposure");
    EXPECT_EQ(exposure["current"].get<float>(), 16777216.0f);
    EXPECT_EQ(exposure["minimum"].get<float>(), std::numeric_limits<float>::denorm_min());
    EXPECT_EQ(exposure["maximum"].get<float>(), std::numeric_limits<float>::max());
    EXPECT_EQ(exposure["increment"].dump(), "0.1");
    const auto lines = parameterOf(document, "KxScParamOutLines");
    EXPECT_EQ(lines["current"], "Schütz");
    EXPECT_EQ(lines["choices"], nlohmann::json({"Schütz", "", "a\\b", "caf\uFFFD"}));
}

TEST(Probe, LeavesOutSettingsThatItDoesNotKnowAndSaysSoOnce) {
    EXPECT_EQ(probe("S1", "unknown_ids"),
              (Result{0, camera("S1") + kTable,
                      "kxinfo: the plug-in published settings that kxinfo does not know, which are "
                      "left out: identifier -1, 7, 18, 99.\n"}));
}

TEST(Probe, SaysWhichSettingsAreMissingAndWhyWhereTheLogTells) {
    const std::string missing =
        "kxinfo: the plug-in published 2 of 15 settings; missing: KxScParamWidth, KxScParamHeight, "
        "KxScParamFps, KxScParamRotate, KxScParamGain, KxScParamExposure, KxScParamGamma, "
        "KxScParamAutoBrightTarget, KxScParamAutoGainLower, KxScParamAutoGainUpper, "
        "KxScParamAutoExpoLower, KxScParamAutoExpoUpper, KxScParamOutLines. ";
    const std::string table =
        camera("S1") + R"(Setting            Current  Minimum  Maximum  Step  Unit
Horizontal offset        8        0     1920     4  px
Vertical offset          4        0     1200     2  px
)";
    EXPECT_EQ(probe("S1", "cut_short"),
              (Result{0, table,
                      missing + "An error of the camera ended the probe: Property Exception it is "
                                "asleep.\n"}));
    EXPECT_EQ(probe("S1", "cut_short", {"--log", "syslog"}),
              (Result{0, table,
                      missing + "An error of the camera may have cut the probe short: add '--log "
                                "stdout --level debug' to see it.\n"}));
}

TEST(Probe, MarksWhatIsMissingInItsJson) {
    const auto document = nlohmann::json::parse(probe("S1", "cut_short", {"--json"}).out);

    ASSERT_EQ(document["parameters"].size(), 15u);
    EXPECT_FALSE(document["parameters"][1].contains("problem"));
    EXPECT_EQ(document["parameters"][2], nlohmann::json::parse(R"({
        "id": 5, "name": "KxScParamWidth", "type": "integer", "unit": "px", "current": null,
        "minimum": null, "maximum": null, "increment": null,
        "problem": "an error of the camera ended the probe: Property Exception it is asleep"})"));
}

TEST(Probe, TellsAnErrorOfGammaAlone) {
    const Result result = probe("S1", "gamma_fails", {"--json"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "kxinfo: KxScParamGamma: gamma could not be read: Timeout Exception no "
                          "answer.\n");
    EXPECT_EQ(parameterOf(nlohmann::json::parse(result.out), "KxScParamGamma")["problem"],
              "gamma could not be read: Timeout Exception no answer");
}

TEST(Probe, ShowsThatNothingWasPublishedBeforeAnErrorOfTheCamera) {
    EXPECT_EQ(probe("", "cut_short").out, "First camera found\n\nNo settings were published.\n");
}

TEST(Probe, SaysWhyItShowsNothing) {
    const std::string hint = " Add '--log stdout --level debug' to see how far it came.";
    const std::string unsure =
        "no camera was probed: no Dalsa camera answered, none has a serial number that begins with "
        "\"S2\", or it could not be opened. Run 'kxinfo list' to see the cameras; ";
    const struct {
        const char *plugin, *serial;
        std::vector<std::string> options;
        int status;
        std::string says;
    } rows[] = {
        {"no_camera",
         "S1",
         {},
         1,
         "no Dalsa camera answered. Check that the camera has power, is on this computer's "
         "network, and that no firewall keeps its answer away; then try again."},
        {"two_cameras",
         "S2",
         {"--json"},
         1,
         "no camera has a serial number that begins with \"S2\". Run 'kxinfo list' to see the "
         "cameras that answer."},
        {"two_cameras",
         "S7",
         {},
         1,
         "the camera whose serial number begins with \"S7\" cannot be opened. Probably another "
         "program controls it: end that program, or wait some seconds if it crashed, and try "
         "again."},
        {"open_platform",
         "S7",
         {"--log", "syslog", "--level", "error"},
         1,
         "the camera whose serial number begins with \"S7\" cannot be opened: another program "
         "controls it (192.168.0.5, port 40123). Once that is mended, try again."},
        {"two_cameras",
         "S2",
         {"--log", "stdout", "--level", "warning"},
         1,
         unsure + "the log says the reason at level info."},
        {"two_cameras",
         "S2",
         {"--log", "syslog", "--level", "warning"},
         1,
         unsure + "the log says the reason at level info."},
        {"returns_seven", "S1", {}, 3, "the plug-in failed: it returned 7." + hint},
        {"negative", "S1", {}, 3, "the plug-in failed: it returned -2." + hint},
        {"never_exports",
         "S1",
         {},
         3,
         "the plug-in reported success, but exported no settings; there is nothing to show. Check "
         "that --plugin names a plug-in that fits this kxinfo."},
        {"throws_exception",
         "S1",
         {},
         3,
         "the plug-in failed with an exception: the camera's description is damaged." + hint},
        {"throws_int",
         "S1",
         {},
         3,
         "the plug-in failed with an exception: an exception without a message." + hint},
    };
    for (const auto &row : rows)
        EXPECT_EQ(probe(row.serial, row.plugin, row.options),
                  (Result{row.status, "", "kxinfo: " + row.says + "\n"}));
}

TEST(Probe, ShowsNothingWhenMemoryDoesNotSufficeToCopyAValue) {
    if (KXINFO_SANITIZED)
        GTEST_SKIP() << "a sanitizer ends the process when memory is exhausted";
    EXPECT_EQ(probe("S1", "exhausts_memory"),
              (Result{3, "",
                      "kxinfo: there is not enough memory. End other programs, or allow this one "
                      "more, and try again.\n"}));
}

TEST(ProbeLog, IsCollectedAtLevelDebugWhenNoneIsAskedFor) {
    EXPECT_EQ(probe("S1", "tells_arguments").err, "serial \"S1\" mode 1 level 4\n");
}

TEST(ProbeLog, GoesToTheSinksAtTheLevelAskedFor) {
    const auto arguments = [](const std::vector<std::string> &options) {
        return probe("S1", "tells_arguments", options).err;
    };
    EXPECT_EQ(arguments({"--log", "stdout"}), "serial \"S1\" mode 1 level 3\n");
    EXPECT_EQ(arguments({"--log", "both"}), "serial \"S1\" mode 3 level 3\n");
    EXPECT_EQ(arguments({"--log", "stdout", "--level", "error"}), "serial \"S1\" mode 1 level 1\n");
    EXPECT_EQ(arguments({"--log", "stdout", "--level", "warning"}),
              "serial \"S1\" mode 1 level 2\n");
    EXPECT_EQ(arguments({"--log", "both", "--level", "info"}), "serial \"S1\" mode 3 level 3\n");
    EXPECT_EQ(arguments({"--log", "both", "--level", "debug"}), "serial \"S1\" mode 3 level 4\n");
}

TEST(ProbeLog, GivesTheSystemLogNoMoreThanAskedFor) {
    EXPECT_EQ(probe("S1", "tells_arguments", {"--log", "syslog", "--level", "error"}).err,
              "serial \"S1\" mode 3 level 1\n");
}

TEST(ProbeLog, StandsAboveTheTable) {
    EXPECT_EQ(probe("S1", "two_cameras", {"--log", "stdout", "--level", "debug"}),
              (Result{0,
                      "[CIPROC:d]: init Dalsa staff\n"
                      "[CIPROC:d]: device is disconnected\n"
                      "\n" +
                          camera("S1") + kTable,
                      ""}));
    EXPECT_EQ(probe("S1", "two_cameras", {"--log", "syslog", "--level", "debug"}),
              (Result{0, camera("S1") + kTable, ""}));
}

TEST(ProbeLog, GoesToStandardErrorWithJsonAlsoBeforeAnException) {
    const Result plain = probe("S1", "two_cameras", {"--json"});
    const std::vector<std::string> logged{"--json", "--log", "both", "--level", "debug"};

    EXPECT_EQ(probe("S1", "two_cameras", logged), (Result{0, plain.out,
                                                          "[CIPROC:d]: init Dalsa staff\n"
                                                          "[CIPROC:d]: device is disconnected\n"}));
    EXPECT_EQ(probe("S1", "throws_exception", logged).out, "");
    // What standard error does not take goes nowhere else.
    std::vector<std::string> arguments{"S1", "--plugin", plugin("two_cameras")};
    arguments.insert(arguments.end(), logged.begin(), logged.end());
    EXPECT_EQ(kxinfoHost(arguments, {}, Stream::to("/dev/full")), (Result{0, plain.out, ""}));
    EXPECT_EQ(kxinfoHost(arguments, {}, Stream::closed()), (Result{0, plain.out, ""}));
}

TEST(ProbeLog, StaysApartFromTheResultWhenItsLastLineHasNoEnd) {
    const std::string line = "[KX_TD_PROC:d]: no line end";

    EXPECT_EQ(probe("S1", "unfinished_line"), (Result{0, camera("S1") + kTable, ""}));
    EXPECT_EQ(probe("S1", "unfinished_line", {"--json", "--log", "stdout"}),
              (Result{0, probe("S1", "two_cameras", {"--json"}).out, line}));
    EXPECT_EQ(probe("S1", "unfinished_line", {"--log", "stdout"}),
              (Result{0, line + "\n" + camera("S1") + kTable, ""}));
}

TEST(ProbeLog, IsCompleteUpToACrashOfThePlugin) {
    EXPECT_EQ(probe("S1", "crashes", {"--log", "stdout"}),
              (Result{-SIGKILL, "[CIPROC:d]: the last line before the crash\n", ""}));
}

} // namespace
