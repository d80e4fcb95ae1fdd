// kxinfo set: all that was asked for, or nothing.

#include "watched_camera.h"
#include "wire.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Set : public Wire {
protected:
    static Result done(const std::string &lines) {
        return {0, "Camera S1234 (C1936)\n" + lines, ""};
    }
};

TEST_F(Set, SetsAPropertyOfEachKindAndNothingElse) {
    WatchedCamera camera;

    EXPECT_EQ(
        done("Gain: 6.0206 dB -> 12 dB\n"
             "Width: 1936 px -> 640 px\n"
             "OffsetX: 0 px -> 1296 px\n"
             "ReverseX: false -> true\n"
             "ExposureAuto: Off -> Continuous\n"
             "ExposureTime: 10000 us -> 5000.5 us\n"
             "autoBrightnessTarget: 128 -> 100\n"
             "exposureAutoMaxValue: 30000 us -> 25000 us\n"
             "BalanceRatio[Red]: 3.52183 dB -> 1 dB\n"
             "BalanceRatio[Blue]: 6.0206 dB -> 2 dB\n"),
        kxinfo({"set", "S1234", "Gain=12", "width=640", "OFFSETX=1296", "ReverseX=true",
                "ExposureAuto=Continuous", "ExposureTime=5000.5", "autoBrightnessTarget=100",
                "exposureAutoMaxValue=25000", "BalanceRatio[Red]=1", "BalanceRatio[Blue]=2"}));
    EXPECT_THAT(
        camera.changes(),
        ElementsAre("BalanceRatio[Blue]: 2 -> 1.2589254", "BalanceRatio[Red]: 1.5 -> 1.1220185",
                    "ExposureAuto: Off -> Continuous", "ExposureTime: 10000 -> 5000.5",
                    "Gain[SensorAll]: 2 -> 3.9810717", "OffsetX: 0 -> 1296", "ReverseX: 0 -> 1",
                    "Width: 1936 -> 640", "autoBrightnessTarget: 128 -> 100",
                    "exposureAutoMaxValue: 30000 -> 25000"));
}

TEST_F(Set, TakesASwitchInThreeSpellings) {
    WatchedCamera camera;
    for (const char *on : {"true", "on", "1"}) {
        EXPECT_EQ(done("ReverseX: false -> true\n"),
                  kxinfo({"set", "S1234", std::string("ReverseX=") + on}));
        EXPECT_THAT(camera.changes(), ElementsAre("ReverseX: 0 -> 1"));
        const char *off = *on == 't' ? "false" : *on == 'o' ? "off" : "0";
        EXPECT_EQ(done("ReverseX: true -> false\n"),
                  kxinfo({"set", "S1234", std::string("ReverseX=") + off}));
        EXPECT_THAT(camera.changes(), ElementsAre("ReverseX: 1 -> 0"));
    }
}

TEST_F(Set, TakesTheEndsOfARangeAsTheyAreShown) {
    WatchedCamera camera;

    EXPECT_EQ(done("Gain: 6.0206 dB -> 18.0618 dB\n"
                   "BalanceRatio[Red]: 3.52183 dB -> 0 dB\n"
                   "AcquisitionFrameRate: 30 1/s -> 81.5661 1/s\n"),
              kxinfo({"set", "S1234", "Gain=18.0618", "BalanceRatio[Red]=0",
                      "AcquisitionFrameRate=81.5661"}));
    EXPECT_THAT(camera.changes(),
                ElementsAre("AcquisitionFrameRate: 30 -> 81.56607", "BalanceRatio[Red]: 1.5 -> 1",
                            "Gain[SensorAll]: 2 -> 8"));
}

TEST_F(Set, SetsWhatAutomaticFunctionsLockBesideTheirLimits) {
    for (const bool limitFirst : {true, false}) {
        WatchedCamera camera({lockedBy("ExposureTime", "ExposureAuto")});
        std::vector<std::string> settings = {"exposureAutoMinValue=200", "ExposureTime=5000"};
        std::string lines[] = {"exposureAutoMinValue: 100 us -> 200 us\n",
                               "ExposureTime: 10000 us -> 5000 us\n"};
        if (!limitFirst) {
            std::swap(settings[0], settings[1]);
            std::swap(lines[0], lines[1]);
        }
        EXPECT_EQ(done(lines[0] + lines[1]), kxinfo({"set", "S1234", settings[0], settings[1]}));
        EXPECT_THAT(camera.changes(),
                    ElementsAre("ExposureTime: 10000 -> 5000", "exposureAutoMinValue: 100 -> 200"));
    }
}

TEST_F(Set, SaysWhatLocksAnExposureTime) {
    WatchedCamera camera({lockedBy("ExposureTime", "ExposureAuto")});
    ASSERT_EQ(0, kxinfo({"auto", "S1234", "on"}).status);
    camera.changes();

    EXPECT_EQ((Result{2, "",
                      "kxinfo: ExposureTime cannot be set: it can only be read, probably because "
                      "the camera sets it by itself; 'kxinfo auto off' ends that.\n"}),
              kxinfo({"set", "S1234", "ExposureTime=5000"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Set, PutsDecibelsOnTheNearestStepOfTheFactor) {
    WatchedCamera camera;

    EXPECT_EQ(done("gainAutoMinValue: 1.9382 dB -> 2.76605 dB\n"
                   "gainAutoMaxValue: 12.0412 dB -> 18.0618 dB\n"),
              kxinfo({"set", "S1234", "gainAutoMinValue=3", "gainAutoMaxValue=18"}));
    EXPECT_THAT(camera.changes(), ElementsAre("gainAutoMaxValue[SensorAll]: 4 -> 8",
                                              "gainAutoMinValue[SensorAll]: 1.25 -> 1.375"));
}

TEST_F(Set, PutsALimitThatIsOnNoStepOnTheStepBelowIt) {
    WatchedCamera camera({Replacement{"<Inc>0.125</Inc>", "<Inc>0.4</Inc>"}}); // from 1 to 7.8

    EXPECT_EQ(done("gainAutoMaxValue: 12.0412 dB -> 17.8419 dB\n"),
              kxinfo({"set", "S1234", "gainAutoMaxValue=18.0618"}));
    EXPECT_THAT(camera.changes(), ElementsAre("gainAutoMaxValue[SensorAll]: 4 -> 7.8"));
}

TEST_F(Set, WritesANumberBesideItsSteps) {
    WatchedCamera camera;

    EXPECT_EQ(done("exposureAutoMinValue: 100 us -> 100.25 us\n"),
              kxinfo({"set", "S1234", "exposureAutoMinValue=100.25"}));
    EXPECT_THAT(camera.changes(), ElementsAre("exposureAutoMinValue: 100 -> 100.25"));
}

TEST_F(Set, SetsAGainWhoseRangeBeginsAtAFactorOfZero) {
    WatchedCamera camera({Replacement{"<Min>1.0</Min>", "<Min>0.0</Min>"}});

    EXPECT_EQ(done("Gain: 6.0206 dB -> -6 dB\n"
                   "gainAutoMinValue: 1.9382 dB -> -6.0206 dB\n"),
              kxinfo({"set", "S1234", "Gain=-6", "gainAutoMinValue=-6"}));
    EXPECT_THAT(camera.changes(), ElementsAre("Gain[SensorAll]: 2 -> 0.5011872",
                                              "gainAutoMinValue[SensorAll]: 1.25 -> 0.5"));
    EXPECT_EQ(done("Gain: -6 dB -> -Infinity dB\n"), kxinfo({"set", "S1234", "Gain=-Infinity"}));
    EXPECT_THAT(camera.changes(), ElementsAre("Gain[SensorAll]: 0.5011872 -> 0"));
    EXPECT_EQ((Result{2, "",
                      "kxinfo: Gain=19 is not possible; expected is a number, -Infinity to 18.0618 "
                      "dB.\n"}),
              kxinfo({"set", "S1234", "Gain=19"}));
}

TEST_F(Set, SetsGammaAndLeavesWhatTheTableDoes) {
    WatchedCamera camera;

    EXPECT_EQ(done("gammaCorrection: 0.45 -> 0.75\n"),
              kxinfo({"set", "S1234", "gammaCorrection=0.75"}));
    EXPECT_THAT(camera.changes(), ElementsAre("gammaCorrection: 0.45 -> 0.75"));
}

TEST_F(Set, FindsTheOrderThatWorks) {
    WatchedCamera camera;

    EXPECT_EQ((Result{2, "",
                      "kxinfo: OffsetX=1296 is not possible; expected is a whole number, 0 to 0 "
                      "px. Width is 1936 px: set it first.\n"}),
              kxinfo({"set", "S1234", "OffsetX=1296"}));
    EXPECT_EQ(done("OffsetX: 0 px -> 1296 px\nWidth: 1936 px -> 640 px\n"),
              kxinfo({"set", "S1234", "OffsetX=1296", "Width=640"}));
}

TEST_F(Set, TakesValuesAsPeopleTypeThem) {
    WatchedCamera camera;
    const struct {
        std::string typed, value;
    } cases[] = {{"ExposureTime=5ms", "5000 us"},
                 {"ExposureTime=0.02s", "20000 us"},
                 {"exposuretime=7000 us", "7000 us"},
                 {"Gain=6dB", "6 dB"},
                 {"Gain=2x", "6.0206 dB"},
                 {"autoBrightnessTarget=50%", "128"},
                 {"AcquisitionFrameRate=25fps", "25 1/s"},
                 {"Width=640px", "640 px"},
                 {"ReverseX=YES", "true"},
                 {"ReverseX=off", "false"},
                 {"lutMode=active", "Active"},
                 {"TriggerMode=ON", "On"}};
    for (const auto &[typed, value] : cases) {
        const Result result = kxinfo({"set", "S1234", typed});
        EXPECT_EQ(0, result.status) << typed << result.err;
        EXPECT_THAT(result.out, testing::EndsWith(" " + value + "\n")) << typed;
    }
}

TEST_F(Set, RefusesLimitsThatAreUpsideDown) {
    WatchedCamera camera;

    EXPECT_EQ((Result{2, "",
                      "kxinfo: gainAutoMinValue would be 12.0412 dB, above gainAutoMaxValue, "
                      "2.76605 dB. Give limits whose lower is below the upper.\n"
                      "kxinfo: what had been set is put back: gainAutoMinValue, "
                      "gainAutoMaxValue.\n"}),
              kxinfo({"set", "S1234", "gainAutoMinValue=12", "gainAutoMaxValue=3"}));
    EXPECT_EQ(2, kxinfo({"set", "S1234", "exposureAutoMinValue=40000"}).status);
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Set, RefusesWhatDoesNotFitAndLeavesTheCameraAsItWas) {
    WatchedCamera camera;
    const std::string range = "; expected is ";
    const struct {
        std::string assignment;
        std::string why;
    } cases[] = {
        {"Gain=18.1", " is not possible; expected is a number, 0 to 18.0618 dB."},
        {"Gain=-0.1", " is not possible; expected is a number, 0 to 18.0618 dB."},
        {"Gain=nan", " is not possible; expected is a number, 0 to 18.0618 dB."},
        {"Gain=inf", " is not possible; expected is a number, 0 to 18.0618 dB."},
        {"Gain=1e999", " is not possible; expected is a number, 0 to 18.0618 dB."},
        {"Gain=six", " is not possible; expected is a number, 0 to 18.0618 dB."},
        {"Gain=6ms", " is not possible; expected is a number, 0 to 18.0618 dB."},
        {"Gain=6 dBm", " is not possible; expected is a number, 0 to 18.0618 dB."},
        {"BalanceRatio[Red]=13", " is not possible; expected is a number, 0 to 12.0412 dB."},
        {"gainAutoMaxValue=19", " is not possible; expected is a number, 0 to 18.0618 dB."},
        {"ExposureTime=33334", " is not possible; expected is a number, 20 to 33333 us. "
                               "AcquisitionFrameRate is 30 1/s: set it first."},
        {"AcquisitionFrameRate=0", " is not possible; expected is a number, 0.1 to 81.5661 1/s."},
        {"gammaCorrection=4.1", " is not possible; expected is a number, 0.25 to 4."},
        {"autoBrightnessTarget=256", " is not possible; expected is a whole number, 0 to 255."},
        {"autoBrightnessTarget=-1", " is not possible; expected is a whole number, 0 to 255."},
        {"Width=1952", " is not possible; expected is a whole number, 16 to 1936 px."},
        {"Width=0", " is not possible; expected is a whole number, 16 to 1936 px."},
        {"Width=640.5", " is not possible; expected is a whole number, 16 to 1936 px."},
        {"Width=99999999999", " is not possible; expected is a whole number, 16 to 1936 px."},
        {"Width=99", " is not possible: its step is 16; the nearest are 96 and 112."},
        {"ReverseX=maybe", " is not possible; expected is true or false."},
        {"ExposureAuto=Once", " is not possible; expected is one of Off, Continuous."},
        {"ExposureAuto=cont",
         " is not possible; expected is one of Off, Continuous. Did you mean Continuous?"},
    };
    const std::string before = camera.snapshot();
    for (const auto &wrong : cases)
        EXPECT_EQ((Result{2, "", "kxinfo: " + wrong.assignment + wrong.why + "\n"}),
                  kxinfo({"set", "S1234", wrong.assignment}));
    EXPECT_EQ((Result{2, "", "kxinfo: WidthMax cannot be set: it can only be read.\n"}),
              kxinfo({"set", "S1234", "WidthMax=1936"}));
    EXPECT_EQ((Result{2, "",
                      "kxinfo: balanceWhitePeriod cannot be set: it is not available at "
                      "present.\n"}),
              kxinfo({"set", "S1234", "balanceWhitePeriod=30"}));
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(Set, NamesOneNearestStepAtTheEndOfTheRange) {
    WatchedCamera camera({Replacement{"<Inc>16</Inc>", "<Inc>100</Inc>"}});
    const std::string before = camera.snapshot();

    EXPECT_EQ((Result{2, "",
                      "kxinfo: Width=1930 is not possible: its step is 100; the nearest is "
                      "1916.\n"}),
              kxinfo({"set", "S1234", "Width=1930"}));
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(Set, PutsBackWhatItHadSetInWhateverStateTheCameraWas) {
    WatchedCamera camera({smallTables()});
    for (const StartingState &state : startingStates()) {
        SCOPED_TRACE(state.name);
        camera.write(state.writes);
        const std::string before = camera.snapshot();

        const Result result =
            kxinfo({"set", "S1234", "Width=640", "OffsetX=128", "Gain=3", "gainAutoMinValue=6",
                    "gammaCorrection=2", "GainAuto=Off", "BalanceRatio[Red]=2", "ReverseY=maybe"});
        EXPECT_EQ(2, result.status);
        EXPECT_THAT(result.err,
                    testing::MatchesRegex(
                        "kxinfo: ReverseY=maybe is not possible; expected is true or false.\n"
                        "kxinfo: what had been set is put back: Width, OffsetX, Gain, (GainAuto, )?"
                        "gainAutoMinValue, gammaCorrection, BalanceRatio.Red..\n"));
        EXPECT_EQ(before, camera.snapshot());
    }
}

TEST_F(Set, PutsBackWhatFitsOnlyOnceAnotherIsBack) {
    WatchedCamera camera;
    camera.write({{reg::kWidth, 16}, {reg::kOffsetX, 1920}});
    const std::string before = camera.snapshot();

    EXPECT_EQ((Result{2, "",
                      "kxinfo: Gain=99 is not possible; expected is a number, 0 to 18.0618 dB.\n"
                      "kxinfo: what had been set is put back: OffsetX, Width.\n"}),
              kxinfo({"set", "S1234", "Width=16", "OffsetX=0", "Width=1936", "Gain=99"}));
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(Set, TellsTheCamerasReasonAndPutsBackWhatItHadSet) {
    WatchedCamera camera({refusesWrites("ReverseY")});
    const std::string before = camera.snapshot();

    EXPECT_EQ((Result{3, "",
                      "kxinfo: camera S1234 refuses: Cannot write the camera's register 0x904 for "
                      "'ReverseY': the register cannot be written (0x8004).\n"
                      "kxinfo: what had been set is put back: Gain.\n"}),
              kxinfo({"set", "S1234", "Gain=3", "ReverseY=false"}));
    EXPECT_EQ(before, camera.snapshot());
}

TEST_F(Set, PutsATextBackAsItWasWhateverBytesAreInIt) {
    WatchedCamera camera;
    camera.write({{0xE8, 0x42FC726F}}); // the user name, in Latin-1
    const std::string before = camera.snapshot();
    EXPECT_EQ(2, kxinfo({"set", "S1234", "DeviceUserID=x", "Width=3"}).status);
    EXPECT_EQ(before, camera.snapshot());
    EXPECT_EQ("B\\xfcro\n", kxinfo({"get", "S1234", "DeviceUserID", "--value"}).out);
    EXPECT_EQ(0, kxinfo({"set", "S1234", "DeviceUserID="}).status);
    EXPECT_EQ("\n", kxinfo({"get", "S1234", "DeviceUserID", "--value"}).out);
}

TEST_F(Set, SaysWhatTheCameraLacks) {
    WatchedCamera camera({without("Gain")});

    EXPECT_EQ((Result{3, "", "kxinfo: Gain cannot be set: the camera has no such feature.\n"}),
              kxinfo({"set", "S1234", "Gain=3"}));
    EXPECT_EQ((Result{2, "",
                      "kxinfo: \"ReverseZ\" cannot be set: the camera has no such feature. Did you "
                      "mean ReverseX or ReverseY?\n"}),
              kxinfo({"set", "S1234", "ReverseZ=on"}));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Set, SaysThatTheCameraFallsSilent) {
    const Result result =
        whenSilentHalfway({"set", "S1234", "Gain=3", "Width=640", "gainAutoMinValue=3",
                           "exposureAutoMinValue=200", "ExposureTime=5000"});

    EXPECT_EQ(3, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(result.err,
                saysSilent("kxinfo: this could not be put back: .*Gain to 6.0206 dB.*\n"));
}

} // namespace
