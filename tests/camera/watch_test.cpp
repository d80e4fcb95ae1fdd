// kxinfo watch: features as they change, seen by somebody who only looks.

#include "watched_camera.h"
#include "wire.h"

#include <csignal>
#include <regex>

#include <nlohmann/json.hpp>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class Watch : public Wire {};

TEST_F(Watch, PrintsALineForEachChangeByAnotherProgramUntilItIsStopped) {
    WatchedCamera camera;
    Process kxinfo(KXINFO_PROGRAM, {"watch", "S1234", "width", "Gain", "Width", "DeviceUserID",
                                    "--interval", "0.05"});
    const std::string time = "[0-9][0-9]:[0-9][0-9]:[0-9][0-9].[0-9][0-9][0-9]  ";
    EXPECT_THAT(kxinfo.nextLine(), MatchesRegex(time + "Width: 1936 px"));
    EXPECT_THAT(kxinfo.nextLine(),
                MatchesRegex(time + "Gain: - .it needs GainSelector on SensorAll.*"));
    EXPECT_THAT(kxinfo.nextLine(), MatchesRegex(time + "DeviceUserID: "));
    camera.write({{reg::kWidth, 640}});
    EXPECT_THAT(kxinfo.nextLine(), MatchesRegex(time + "Width: 1936 px -> 640 px"));
    camera.write({{reg::kGainSelector, 0}});
    EXPECT_THAT(kxinfo.nextLine(), MatchesRegex(time + "Gain: - .* -> 6.0206 dB"));

    kxinfo.signal(SIGTERM);
    const Process::End end = kxinfo.wait();
    EXPECT_EQ(-1, end.status) << "it dies of the signal";
    EXPECT_EQ("", end.output);
    EXPECT_EQ("kxinfo: stopped, as asked for.\n", end.errors);
}

TEST_F(Watch, WritesLinesOfJsonInAllDigits) {
    WatchedCamera camera;
    Process kxinfo(KXINFO_PROGRAM, {"watch", "S1234", "ExposureTime", "gammaCorrection", "--json",
                                    "--interval", "0.05"});
    std::string text;
    const auto next = [&] {
        text = kxinfo.nextLine();
        EXPECT_EQ("", violations(text, "watch.schema.json"));
        nlohmann::json line = nlohmann::json::parse(text);
        line.erase("time");
        return line.dump();
    };
    EXPECT_EQ(R"({"name":"ExposureTime","value":10000.0})", next());
    EXPECT_THAT(next(), HasSubstr(R"("name":"gammaCorrection","problem":"it needs lutType on)"));
    constexpr uint32_t kExposureTime = 0x10214, kJustAbove = 0x461C4001;
    camera.write({{kExposureTime, kJustAbove}}); // shown to people it is 10000 us, too
    EXPECT_EQ(R"({"name":"ExposureTime","value":10000.001})", next());
    EXPECT_NE("", violations(replaced(text, {"10000.001", "null"}), "watch.schema.json"));
    EXPECT_NE("", violations(replaced(text, {"Z", ""}), "watch.schema.json"));
}

TEST_F(Watch, ShowsTheTemperatureUnlessToldOtherwiseAndEndsAfterSoManyLooks) {
    const WatchedCamera camera;
    for (const std::string count : {"1", "3"})
        EXPECT_THAT(kxinfo({"watch", "--count", count, "--interval", "0.05"}).out,
                    MatchesRegex("[^\n]*  DeviceTemperature: 36.25 C\n"));
    const std::string table =
        "Camera S1234 (C1936)\n\n"
        "Feature            Value  Minimum  Maximum  Step  Unit  Access  Kind\n"
        "DeviceTemperature  36.25      -55      125     -     C      RO  float\n";
    const std::string options = " watch --table --count 2 --interval 0.05";
    EXPECT_EQ((Result{0, table + table, ""}),
              kxinfo({"watch", "--table", "--count", "2", "--interval", "0.05"}));
    EXPECT_THAT(run({"/usr/bin/script", "-qec", KXINFO_PROGRAM + options, "/dev/null"}).out,
                MatchesRegex("(\x1b\\[H\x1b\\[2JCamera S1234[^\x1b]*36.25[^\x1b]*)+"))
        << "from the top of the terminal each time";
}

TEST_F(Watch, WritesMetricsForAScraper) {
    WatchedCamera camera({Replacement{"<Min>1.0</Min>", "<Min>0.0</Min>"}},
                         {"--model", "C\\1\"936", "--set", "DeviceUserID=a\"b\\c\nd"});
    camera.write({{reg::kGainSelector, 0}, {0x10304, 0}});
    const Result result = kxinfo({"watch", "S1234", "Width", "Width", "ReverseX", "GainSelector",
                                  "Gain", "DeviceUserID", "gammaCorrection", "--metrics"});
    const std::string sample = R"(kxinfo_feature{serial="S1234",model="C\\1\"936",feature=)";
    EXPECT_EQ(
        (Result{0,
                "# TYPE kxinfo_feature gauge\n"
                "# HELP kxinfo_feature A feature of a camera; entries and texts are 1.\n" +
                    sample + "\"Width\"} 1936\n" + sample + "\"ReverseX\"} 0\n" + sample +
                    "\"GainSelector\",entry=\"SensorAll\"} 1\n" + sample + "\"Gain\"} -Infinity\n" +
                    sample + R"("DeviceUserID",entry="a\"b\\c\\nd"} 1)" + "\n# EOF\n",
                ""}),
        result);
    // As the format has it.
    const std::regex line(
        R"re((# (TYPE|HELP) kxinfo_feature .*|# EOF|kxinfo_feature\{([a-z]+="([^"\\]|\\["\\n])*",?)+\} ([-+]?[0-9.e+-]+|NaN|[-+]?Infinity)))re");
    for (const std::string &each : linesOf(result.out))
        EXPECT_TRUE(std::regex_match(each, line)) << each;
}

TEST_F(Watch, RefusesWhatIsNoIntervalAndWhatTheCameraLacks) {
    const WatchedCamera camera({without("DeviceTemperature")});
    const struct {
        std::vector<std::string> options;
        int status;
        std::string told;
    } cases[] = {
        {{"Width", "--interval", "0.05"}, 0, ""},
        {{"Width", "--interval", "0.0499"}, 2, "--interval: Value 0.0499 not in range"},
        {{"Width", "--interval", "3600"}, 0, ""},
        {{"Width", "--interval", "3600.1"}, 2, "--interval: Value 3600.1 not in range"},
        {{"Width", "--table", "--metrics"}, 2, "excludes --"},
        {{"Widht"}, 2, "the camera has no \"Widht\". Did you mean Width?"},
        {{}, 2, "the camera has no \"DeviceTemperature\"."},
    };
    for (const auto &[options, status, told] : cases) {
        std::vector<std::string> command{"watch", "S1234", "--count", "1"};
        command.insert(command.end(), options.begin(), options.end());
        const Result result = kxinfo(command);
        EXPECT_EQ(status, result.status) << result;
        EXPECT_THAT(result.err, HasSubstr(told));
    }
}

TEST_F(Watch, EndsWhenNobodyReadsItOrTheCameraFallsSilent) {
    {
        const WatchedCamera camera;
        EXPECT_EQ(
            (Result{-SIGPIPE, "", ""}),
            kxinfo({"watch", "S1234", "--table", "--interval", "0.05"}, Stream::brokenPipe()));
    }
    const Result result =
        whenSilentHalfway({"watch", "S1234", "Width", "--count", "30", "--interval", "0.05"});
    EXPECT_EQ(3, result.status);
    EXPECT_THAT(result.out, HasSubstr("Width: 1936 px\n"));
    EXPECT_THAT(result.err, saysSilent(""));
}

} // namespace
