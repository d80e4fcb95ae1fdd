// kxinfo auto: switches automatic control of brightness on, within limits, or off.

#include "watched_camera.h"
#include "wire.h"

#include <tuple>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Auto : public Wire {
protected:
    static Result done(const std::string &lines) {
        return {0, "Camera S1234 (C1936)\n" + lines, ""};
    }

    // Makes whole numbers of a float feature and its register.
    static std::vector<Replacement> asInteger(const std::string &feature) {
        const std::string whole = readFile(BUILT_IN_DESCRIPTION);
        std::vector<Replacement> replacements;
        for (const auto &[kind, integer, name] :
             {std::tuple<std::string, std::string, std::string>("Float", "Integer", feature),
              {"FloatReg", "IntReg", feature + "Reg"}}) {
            const size_t begin = whole.find("<" + kind + " Name=\"" + name + "\">");
            const size_t end = whole.find("</" + kind + ">", begin);
            const std::string content = whole.substr(begin, end - begin).substr(1 + kind.size());
            replacements.push_back(
                {"<" + kind + content + "</" + kind + ">",
                 "<" + integer + replaced(content, {".0<", "<"}) + "</" + integer + ">"});
        }
        return replacements;
    }
};

TEST_F(Auto, IsSwitchedOnAndOff) {
    WatchedCamera camera;

    EXPECT_EQ(done("autoBrightnessMode: Off -> Active\n"
                   "autoBrightnessSequence: Gain_Exposure_Iris -> Exposure_Gain_Iris\n"
                   "ExposureAuto: Off -> Continuous\n"
                   "GainAuto: Off -> Continuous\n"),
              kxinfo({"auto", "S1234", "on"}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("ExposureAuto: Off -> Continuous", "GainAuto: Off -> Continuous",
                            "autoBrightnessMode: Off -> Active",
                            "autoBrightnessSequence: Gain_Exposure_Iris -> Exposure_Gain_Iris"));
    EXPECT_EQ(done("autoBrightnessMode: Active\n"
                   "autoBrightnessSequence: Exposure_Gain_Iris\n"
                   "ExposureAuto: Continuous\n"
                   "GainAuto: Continuous\n"),
              kxinfo({"auto", "S1234", "on"}));
    EXPECT_THAT(camera.changes(), IsEmpty());

    EXPECT_EQ(done("autoBrightnessMode: Active -> Off\n"), kxinfo({"auto", "S1234", "off"}));
    EXPECT_THAT(camera.changes(), ElementsAre("autoBrightnessMode: Active -> Off"));
    EXPECT_EQ(done("autoBrightnessMode: Off\n"), kxinfo({"auto", "S1234", "off"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Auto, TakesATargetAndLimits) {
    WatchedCamera camera;

    EXPECT_EQ(done("autoBrightnessMode: Off -> Active\n"
                   "autoBrightnessSequence: Gain_Exposure_Iris -> Exposure_Gain_Iris\n"
                   "ExposureAuto: Off -> Continuous\n"
                   "GainAuto: Off -> Continuous\n"
                   "gainAutoSource: DigitalAll -> SensorAll\n"
                   "autoBrightnessTarget: 128 -> 64\n"
                   "gainAutoMinValue: 1.9382 dB -> 0 dB\n"
                   "gainAutoMaxValue: 12.0412 dB -> 6.0206 dB\n"
                   "exposureAutoMinValue: 100 us -> 200 us\n"
                   "exposureAutoMaxValue: 30000 us -> 20000 us\n"),
              kxinfo({"auto", "S1234", "on", "--target", "0.25", "--gain", "0..6", "--exposure",
                      "200..20000"}));
    EXPECT_THAT(
        camera.changes(),
        ElementsAre("ExposureAuto: Off -> Continuous", "GainAuto: Off -> Continuous",
                    "autoBrightnessMode: Off -> Active",
                    "autoBrightnessSequence: Gain_Exposure_Iris -> Exposure_Gain_Iris",
                    "autoBrightnessTarget: 128 -> 64", "exposureAutoMaxValue: 30000 -> 20000",
                    "exposureAutoMinValue: 100 -> 200", "gainAutoMaxValue[SensorAll]: 4 -> 2",
                    "gainAutoMinValue[SensorAll]: 1.25 -> 1",
                    "gainAutoSource: DigitalAll -> SensorAll"));
}

TEST_F(Auto, SetsLimitsThatTheCameraHasAsWholeNumbers) {
    std::vector<Replacement> replacements = asInteger("exposureAutoMinValue");
    for (const Replacement &replacement : asInteger("exposureAutoMaxValue"))
        replacements.push_back(replacement);
    WatchedCamera camera(replacements);

    const Result result = kxinfo({"auto", "S1234", "on", "--exposure", "200..20000"});

    EXPECT_EQ(done("autoBrightnessMode: Off -> Active\n"
                   "autoBrightnessSequence: Gain_Exposure_Iris -> Exposure_Gain_Iris\n"
                   "ExposureAuto: Off -> Continuous\n"
                   "GainAuto: Off -> Continuous\n"
                   "exposureAutoMinValue: 100 us -> 200 us\n"
                   "exposureAutoMaxValue: 30000 us -> 20000 us\n"),
              result);
    EXPECT_THAT(camera.changes(),
                ElementsAre("ExposureAuto: Off -> Continuous", "GainAuto: Off -> Continuous",
                            "autoBrightnessMode: Off -> Active",
                            "autoBrightnessSequence: Gain_Exposure_Iris -> Exposure_Gain_Iris",
                            "exposureAutoMaxValue: 30000 -> 20000",
                            "exposureAutoMinValue: 100 -> 200"));
}

TEST_F(Auto, TakesDecibelsForLimitsOfGainThatTheCameraHasAsWholeFactors) {
    std::vector<Replacement> replacements;
    for (const std::string feature : {"gainAutoMinValue", "gainAutoMaxValue"})
        for (Replacement &replacement : asInteger(feature)) {
            for (const auto &[fraction, whole] :
                 {std::pair("0.125", "1"), {"1.25</Initial>", "1</Initial>"}})
                if (replacement.by.find(fraction) != std::string::npos)
                    replacement.by = replaced(replacement.by, {fraction, whole});
            replacements.push_back(replacement);
        }
    WatchedCamera camera(replacements);

    EXPECT_EQ(done("autoBrightnessMode: Off -> Active\n"
                   "autoBrightnessSequence: Gain_Exposure_Iris -> Exposure_Gain_Iris\n"
                   "ExposureAuto: Off -> Continuous\n"
                   "GainAuto: Off -> Continuous\n"
                   "gainAutoSource: DigitalAll -> SensorAll\n"
                   "gainAutoMinValue: 1 -> 2\n"
                   "gainAutoMaxValue: 4 -> 8\n"),
              kxinfo({"auto", "S1234", "on", "--gain", "5.3..18.0618"}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("ExposureAuto: Off -> Continuous", "GainAuto: Off -> Continuous",
                            "autoBrightnessMode: Off -> Active",
                            "autoBrightnessSequence: Gain_Exposure_Iris -> Exposure_Gain_Iris",
                            "gainAutoMaxValue[SensorAll]: 4 -> 8",
                            "gainAutoMinValue[SensorAll]: 1 -> 2",
                            "gainAutoSource: DigitalAll -> SensorAll"));
    EXPECT_EQ((Result{2, "",
                      "kxinfo: gainAutoMaxValue=19dB is not possible; expected is a whole number, "
                      "1 to 8.\n"}),
              kxinfo({"auto", "S1234", "on", "--gain", "5.3..19"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Auto, MovesLimitsThatBoundEachOtherUpAndDown) {
    std::vector<Replacement> replacements;
    for (const auto &[feature, min, max] :
         {std::tuple<std::string, std::string, std::string>("gainAuto", "1.0", "8.0"),
          {"exposureAuto", "20.0", "100000.0"}}) {
        const std::string lower =
            "<pValue>" + feature + "MinValueReg</pValue>\n    <Min>" + min + "</Min>\n    ";
        replacements.push_back(
            {lower + "<Max>" + max + "</Max>", lower + "<pMax>" + feature + "MaxValueReg</pMax>"});
        const std::string upper = "<pValue>" + feature + "MaxValueReg</pValue>\n    ";
        replacements.push_back(
            {upper + "<Min>" + min + "</Min>", upper + "<pMin>" + feature + "MinValueReg</pMin>"});
    }
    WatchedCamera camera(replacements);
    const auto moved = [](const std::string &gain, const std::string &exposure) {
        return kxinfo({"auto", "S1234", "on", "--gain", gain, "--exposure", exposure});
    };

    EXPECT_EQ(0, moved("0..6.0206", "100..200").status);
    EXPECT_EQ(done("autoBrightnessMode: Active\n"
                   "autoBrightnessSequence: Exposure_Gain_Iris\n"
                   "ExposureAuto: Continuous\n"
                   "GainAuto: Continuous\n"
                   "gainAutoSource: SensorAll\n"
                   "gainAutoMinValue: 0 dB -> 12.0412 dB\n"
                   "gainAutoMaxValue: 6.0206 dB -> 18.0618 dB\n"
                   "exposureAutoMinValue: 100 us -> 1000 us\n"
                   "exposureAutoMaxValue: 200 us -> 100000 us\n"),
              moved("12.0412..18.0618", "1000..100000"));
    EXPECT_EQ(done("autoBrightnessMode: Active\n"
                   "autoBrightnessSequence: Exposure_Gain_Iris\n"
                   "ExposureAuto: Continuous\n"
                   "GainAuto: Continuous\n"
                   "gainAutoSource: SensorAll\n"
                   "gainAutoMinValue: 12.0412 dB -> 0 dB\n"
                   "gainAutoMaxValue: 18.0618 dB -> 6.0206 dB\n"
                   "exposureAutoMinValue: 1000 us -> 20 us\n"
                   "exposureAutoMaxValue: 100000 us -> 30 us\n"),
              moved("0..6.0206", "20..30"));
}

TEST_F(Auto, RefusesWhatDoesNotFitAndLeavesTheCameraAsItWasInWhateverState) {
    WatchedCamera camera({smallTables()});
    const struct {
        std::vector<std::string> options;
        std::string why;
    } cases[] = {
        {{"--gain", "0..19"},
         "gainAutoMaxValue=19dB is not possible; expected is a number, 0 to 18.0618 dB."},
        {{"--gain", "-1..3"},
         "gainAutoMinValue=-1dB is not possible; expected is a number, 0 to 18.0618 dB."},
        {{"--gain", "a..b"},
         "gainAutoMinValue=a is not possible; expected is a number, 0 to 18.0618 dB."},
        {{"--gain", "6..3"},
         "gainAutoMinValue would be 6.0206 dB, above gainAutoMaxValue, 2.76605 dB. Give limits "
         "whose lower is below the upper."},
        {{"--exposure", "1..100"},
         "exposureAutoMinValue=1 is not possible; expected is a number, 20 to 100000 us."},
        {{"--gain", "0..3", "--exposure", "20..100001"},
         "exposureAutoMaxValue=100001 is not possible; expected is a number, 20 to 100000 us."},
    };
    for (const StartingState &state : startingStates()) {
        SCOPED_TRACE(state.name);
        camera.write(state.writes);
        const std::string before = camera.snapshot();
        for (const auto &wrong : cases) {
            std::vector<std::string> command = {"auto", "S1234", "on"};
            command.insert(command.end(), wrong.options.begin(), wrong.options.end());
            const Result result = kxinfo(command);
            EXPECT_EQ(2, result.status);
            EXPECT_THAT(result.err, testing::StartsWith("kxinfo: " + wrong.why + "\n"));
        }
        EXPECT_EQ(before, camera.snapshot());
    }
}

TEST_F(Auto, WorksWithWhatTheCameraHas) {
    WatchedCamera camera({without("autoBrightnessSequence"), without("GainAuto")});

    EXPECT_EQ((Result{0,
                      "Camera S1234 (C1936)\n"
                      "autoBrightnessMode: Off -> Active\n"
                      "ExposureAuto: Off -> Continuous\n",
                      "kxinfo: this camera has no \"autoBrightnessSequence\"; it is left out.\n"
                      "kxinfo: this camera has no \"GainAuto\"; it is left out.\n"}),
              kxinfo({"auto", "S1234", "on"}));
    EXPECT_THAT(camera.changes(), ElementsAre("ExposureAuto: Off -> Continuous",
                                              "autoBrightnessMode: Off -> Active"));
}

TEST_F(Auto, SwitchesExposureAndGainThemselvesOnACameraWithoutBrightnessMode) {
    WatchedCamera camera({without("autoBrightnessMode"), alwaysAvailable("BrightnessIsAutomatic")});
    EXPECT_EQ((Result{0,
                      "Camera S1234 (C1936)\n"
                      "ExposureAuto: Off -> Continuous\n"
                      "GainAuto: Off -> Continuous\n",
                      "kxinfo: this camera has no \"autoBrightnessMode\"; it is left out.\n"}),
              kxinfo({"auto", "S1234", "on"}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("ExposureAuto: Off -> Continuous", "GainAuto: Off -> Continuous"));
    EXPECT_EQ((Result{0,
                      "Camera S1234 (C1936)\n"
                      "ExposureAuto: Continuous -> Off\n"
                      "GainAuto: Continuous -> Off\n",
                      ""}),
              kxinfo({"auto", "S1234", "off"}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("ExposureAuto: Continuous -> Off", "GainAuto: Continuous -> Off"));
}

TEST_F(Auto, IsMissedOnACameraWithoutIt) {
    WatchedCamera camera(
        {without("autoBrightnessMode"), without("ExposureAuto"), without("GainAuto")});

    for (const char *state : {"on", "off"})
        EXPECT_EQ((Result{3, "",
                          "kxinfo: this camera has no automatic functions "
                          "(\"autoBrightnessMode\", \"ExposureAuto\" or \"GainAuto\").\n"}),
                  kxinfo({"auto", "S1234", state}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Auto, PutsBackAllThatItHadSwitchedWhenTheCameraRefuses) {
    // It reads as next to nothing, so the limits move up: it is written before the lower one.
    WatchedCamera camera({refusesWrites("exposureAutoMaxValue")});
    const std::string before = camera.snapshot();

    const Result result = kxinfo(
        {"auto", "S1234", "on", "--target", "0.25", "--gain", "0..6", "--exposure", "200..20000"});

    EXPECT_EQ((Result{3, "",
                      "kxinfo: camera S1234 refuses: Cannot write the camera's register 0x904 for "
                      "'exposureAutoMaxValue': the register cannot be written (0x8004).\n"
                      "kxinfo: what had been set is put back: autoBrightnessMode, "
                      "autoBrightnessSequence, ExposureAuto, GainAuto, gainAutoSource, "
                      "autoBrightnessTarget, gainAutoMinValue, gainAutoMaxValue, "
                      "exposureAutoMinValue.\n"}),
              result);
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(Auto, SaysThatTheCameraFallsSilent) {
    const Result result = whenSilentHalfway(
        {"auto", "S1234", "on", "--target", "0.25", "--gain", "0..6", "--exposure", "200..20000"});

    EXPECT_EQ(3, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(
        result.err,
        saysSilent("kxinfo: this could not be put back: .*gainAutoSource to DigitalAll.*\n"));
}

} // namespace
