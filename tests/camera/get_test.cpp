// kxinfo get: shows, and changes nothing.

#include "watched_camera.h"
#include "wire.h"

#include <algorithm>
#include <cstdlib>

#include <nlohmann/json.hpp>

namespace {

class Get : public Wire {
protected:
    static Result shown(const std::string &table, const std::string &told = "") {
        return {told.empty() ? 0 : 3, "Camera S1234 (C1936)\n\n" + table, told};
    }
};

TEST_F(Get, ShowsAllThatItKnowsOfTheCameraAndWhyTheRestHasNoValue) {
    const WatchedCamera camera;

    EXPECT_EQ(
        shown(
            R"(Feature                       Value  Minimum     Maximum  Step  Unit  Access  Kind
WidthMax                       1936        0  4294967295     1    px      RO  integer
HeightMax                      1216        0  4294967295     1    px      RO  integer
Width                          1936       16        1936    16    px      RW  integer
Height                         1216        4        1216     4    px      RW  integer
OffsetX                           0        0           0     4    px      RW  integer
OffsetY                           0        0           0     2    px      RW  integer
Gain                              -        -           -     -    dB      RW  float; it needs GainSelector on SensorAll, which is on DigitalAll
ExposureTime                  10000       20       33333     -    us      RW  float
gammaCorrection                   -        -           -     -     -      NA  float; it needs lutType on GammaCorrection, which is on UserDefined
AcquisitionFrameRate             30      0.1     81.5661     -   1/s      RW  float
autoBrightnessTarget              -        -           -     -     -      NA  integer; it needs autoBrightnessMode on Active, which is on Off
exposureAutoMinValue              -        -           -     -    us      NA  float; it needs autoBrightnessMode on Active, which is on Off
exposureAutoMaxValue              -        -           -     -    us      NA  float; it needs autoBrightnessMode on Active, which is on Off
gainAutoMinValue                  -        -           -     -    dB      NA  float; it needs autoBrightnessMode on Active, which is on Off
gainAutoMaxValue                  -        -           -     -    dB      NA  float; it needs autoBrightnessMode on Active, which is on Off
ExposureAuto                      -        -           -     -     -      NA  enumeration; it needs autoBrightnessMode on Active, which is on Off
GainAuto                          -        -           -     -     -      NA  enumeration; it needs autoBrightnessMode on Active, which is on Off
ReverseX                      false        -           -     -     -      RW  boolean
ReverseY                      false        -           -     -     -      RW  boolean
balanceWhitePeriod                -        -           -     -     -      NA  integer; it is not available at present
BalanceRatio[Red]                 -        -           -     -    dB      RW  float; it needs BalanceRatioSelector on Red, which is on Green
BalanceRatio[Blue]                -        -           -     -    dB      RW  float; it needs BalanceRatioSelector on Blue, which is on Green
autoBrightnessMode              Off        -           -     -     -      RW  enumeration: Off, Active
autoBrightnessSequence            -        -           -     -     -      NA  enumeration; it needs autoBrightnessMode on Active, which is on Off
gainAutoSource                    -        -           -     -     -      NA  enumeration; it needs autoBrightnessMode on Active, which is on Off
GainSelector             DigitalAll        -           -     -     -      RW  enumeration: SensorAll, DigitalAll
BalanceRatioSelector          Green        -           -     -     -      RW  enumeration: Red, Green, Blue
lutMode                         Off        -           -     -     -      RW  enumeration: Off, Active
lutType                 UserDefined        -           -     -     -      RW  enumeration: UserDefined, GammaCorrection
lutSize                        Bpp8        -           -     -     -      RW  enumeration: Bpp8, Bpp10, Bpp12
LUTSelector                     Red        -           -     -     -      RW  enumeration: Red, Green, Blue
LUTIndex                          0        0         255     1     -      RW  integer
LUTValue                          -        -           -     -     -      RW  integer; it needs lutSize on Bpp12, which is on Bpp8
)"),
        kxinfo({"get", "S1234"}));
}

TEST_F(Get, FitsItsTableToTheTerminal) {
    const WatchedCamera camera;
    const Result result = run(
        {"/usr/bin/script", "-qec", "stty cols 60 && " KXINFO_PROGRAM " get S1234", "/dev/null"});
    EXPECT_EQ(0, result.status) << result;
    size_t widest = 0;
    for (const std::string &line : linesOf(replaced(result.out, {"…\r", ".\r"})))
        widest = std::max(widest, line.size() - 1); // without the '\r' of a terminal
    EXPECT_EQ(60u, widest) << result;
}

TEST_F(Get, SwitchesWhatIsNeededWhenToldAndSaysSo) {
    WatchedCamera camera;

    EXPECT_EQ(
        (Result{0, R"(Camera S1234 (C1936)

Feature               Value  Minimum  Maximum        Step  Unit  Access  Kind
Gain                 6.0206        0  18.0618           -    dB      RW  float
gainAutoMinValue     1.9382        0  18.0618  to 1.02305    dB      RW  float
ExposureAuto            Off        -        -           -     -      RW  enumeration: Off, Continuous
gammaCorrection        0.45     0.25        4           -     -      RW  float
BalanceRatio[Red]   3.52183        0  12.0412           -    dB      RW  float
BalanceRatio[Blue]   6.0206        0  12.0412           -    dB      RW  float
)",
                "kxinfo: switched for a moment, and put back: GainSelector, "
                "autoBrightnessMode, GainAuto, gainAutoSource, lutType, BalanceRatioSelector.\n"}),
        kxinfo({"get", "S1234", "GAIN", "gainAutoMinValue", "exposureAuto", "gain",
                "gammaCorrection", "BalanceRatio", "--switch"}));
    EXPECT_THAT(camera.changes(), testing::IsEmpty());
}

TEST_F(Get, WritesNothingAndLeavesTheCameraAsItWasInWhateverState) {
    WatchedCamera camera({smallTables()});
    for (const StartingState &state : startingStates()) {
        SCOPED_TRACE(state.name);
        camera.write(state.writes);
        const std::string before = camera.snapshot();
        for (const std::vector<std::string> &command :
             {std::vector<std::string>{"get"}, {"get", "--switch"}, {"auto"}, {"lut"}}) {
            EXPECT_EQ(0, kxinfo(command).status);
            EXPECT_EQ(before, camera.snapshot());
        }
    }
}

TEST_F(Get, ShowsFeaturesOfTheCamerasOwnInAllTheirBits) {
    const WatchedCamera camera;

    EXPECT_EQ(
        shown(
            R"(Feature                         Value  Minimum     Maximum  Step  Unit  Access  Kind
GevTimestampTickFrequency  1000000000        0  4294967295     1    Hz      RO  integer
DeviceSerialNumber              S1234        -           -     -     -      RO  text
TriggerMode                       Off        -           -     -     -      RW  enumeration: Off, On
)"),
        kxinfo({"get", "S1234", "GevTimestampTickFrequency", "DeviceSerialNumber", "TriggerMode"}));
}

TEST_F(Get, WritesOneBareValue) {
    WatchedCamera camera;
    camera.write({{reg::kGainSelector, 1}});

    EXPECT_EQ((Result{0, "1936\n", ""}), kxinfo({"get", "S1234", "Width", "--value"}));
    EXPECT_EQ((Result{0, "Off\n", ""}), kxinfo({"get", "lutMode", "--value"}));
    EXPECT_EQ((Result{0, "10000\n", ""}), kxinfo({"get", "ExposureTime", "--value"}));
    EXPECT_EQ((Result{2, "",
                      "kxinfo: --json excludes --value. Run 'kxinfo get --help' for what is "
                      "expected.\n"}),
              kxinfo({"get", "Width", "--value", "--json"}));
    EXPECT_EQ((Result{3, "",
                      "kxinfo: gammaCorrection has no value: it needs lutType on GammaCorrection, "
                      "which is on UserDefined. --switch reaches it.\n"}),
              kxinfo({"get", "gammaCorrection", "--value"}));
    EXPECT_EQ((Result{2, "",
                      "kxinfo: --value prints the value of one feature; name one, for example "
                      "'kxinfo get Gain --value'.\n"}),
              kxinfo({"get", "Width", "Height", "--value"}));
}

TEST_F(Get, TakesAFirstWordThatIsNoCamerasForAFeatureWhereACameraIsMeantWithoutName) {
    WatchedCamera camera;
    const std::string none = "\". These answered: S1234 (Dalsa C1936, 127.0.0.2).";
    const auto value = [] { return kxinfo({"get", "DeviceSerialNumber", "--value"}); };

    EXPECT_EQ((Result{0, "S1234\n", ""}), value());
    EXPECT_EQ((Result{1, "",
                      "kxinfo: no camera fits \"Wdth" + none +
                          " Nor has camera S1234 such a feature. Did you mean Width?\n"}),
              kxinfo({"get", "Wdth", "Height"}));
    const Simcam other({"--camera", "T5@127.0.0.3"});
    EXPECT_THAT(value().err,
                testing::HasSubstr("no camera fits \"DeviceSerialNumber\". These answered: S1234"));
    setenv("KXINFO_CAMERA", "T5", 1);
    EXPECT_EQ((Result{0, "T5\n", ""}), value());
    unsetenv("KXINFO_CAMERA");
}

TEST_F(Get, WritesJson) {
    const WatchedCamera camera;
    const Result result = kxinfo({"get", "S1234", "Width", "exposureAutoMinValue", "ExposureAuto",
                                  "ReverseX", "balanceWhitePeriod", "--json", "--switch"});

    EXPECT_EQ(3, result.status);
    EXPECT_EQ(R"({
  "version": 1,
  "camera": {
    "manufacturer": "Dalsa",
    "model": "C1936",
    "serial": "S1234"
  },
  "properties": [
    {
      "name": "Width",
      "kind": "integer",
      "access": "RW",
      "unit": "px",
      "value": 1936,
      "minimum": 16,
      "maximum": 1936,
      "increment": 16
    },
    {
      "name": "exposureAutoMinValue",
      "kind": "float",
      "access": "RW",
      "unit": "us",
      "value": 100.0,
      "minimum": 20.0,
      "maximum": 100000.0,
      "increment": 1.0
    },
    {
      "name": "ExposureAuto",
      "kind": "enumeration",
      "access": "RW",
      "unit": null,
      "value": "Off",
      "minimum": null,
      "maximum": null,
      "increment": null,
      "entries": [
        "Off",
        "Continuous"
      ]
    },
    {
      "name": "ReverseX",
      "kind": "boolean",
      "access": "RW",
      "unit": null,
      "value": false,
      "minimum": null,
      "maximum": null,
      "increment": null
    },
    {
      "name": "balanceWhitePeriod",
      "kind": "integer",
      "access": "NA",
      "unit": null,
      "value": null,
      "minimum": null,
      "maximum": null,
      "increment": null,
      "problem": "it is not available at present"
    }
  ]
}
)",
              result.out);
    const std::vector<std::string> own{
        "get", "DeviceTemperature", "DeviceModelName", "TriggerSoftware", "GevSCPD", "--json"};
    EXPECT_THAT(kxinfo(own).out, testing::HasSubstr("\"unit\": \"C\""));
    EXPECT_EQ("", violations(kxinfo(own).out, "get.schema.json"));
    EXPECT_EQ("", violations(kxinfo({"get", "--json"}).out, "get.schema.json"));
    EXPECT_EQ("", violations(kxinfo({"get", "--json", "--switch"}).out, "get.schema.json"));
}

TEST_F(Get, HasASchemaThatTellsBrokenDocuments) {
    using nlohmann::json;
    const WatchedCamera camera;
    const json whole = json::parse(kxinfo({"get", "S1234", "--json", "--switch"}).out);
    const auto with = [&whole](const std::string &path, const json &value) {
        json changed = whole;
        changed[json::json_pointer(path)] = value;
        return violations(changed.dump(), "get.schema.json");
    };
    ASSERT_EQ("Gain", whole["properties"][6]["name"]);
    EXPECT_EQ("", with("/properties/6/value", "-Infinity"));
    EXPECT_EQ("", with("/added", "later"));

    for (const auto &[path, value] : std::vector<std::pair<std::string, json>>{
             {"/version", 2},
             {"/camera/serial", 1234},
             {"/properties", json::array()},
             {"/properties/6/value", "much"},
             {"/properties/6/value", nullptr}, // and no problem
             {"/properties/6/unit", ""},
             {"/properties/6/kind", "integer"},
             {"/properties/6/entries", json::array()},
             {"/properties/15/entries/0", 1},
             {"/properties/15/minimum", 1},
             {"/properties/17/value", "false"},
             {"/properties/0/access", "RX"}})
        EXPECT_NE("", with(path, value)) << path;
}

TEST_F(Get, NamesTheNearestFeaturesForAnUnknownOne) {
    const WatchedCamera camera;
    const struct {
        std::string name, meant;
    } cases[] = {{"gamme", " Did you mean gammaCorrection?"},
                 {"GainAutoo", " Did you mean GainAuto, gainAutoMinValue or gainAutoMaxValue?"},
                 {"ReverseZ", " Did you mean ReverseX or ReverseY?"},
                 {"xyzzy", ""}};
    for (const auto &[name, meant] : cases) {
        const Result result = kxinfo({"get", "S1234", name});
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("kxinfo: \"" + name + "\" has no value: the camera has no such feature." + meant +
                      "\n",
                  result.err);
    }
}

TEST_F(Get, ShowsMinusInfinityForAFactorOfZero) {
    WatchedCamera camera({Replacement{"<Min>1.0</Min>", "<Min>0.0</Min>"}});
    camera.write({{reg::kGainSelector, 0}});

    EXPECT_EQ(shown(R"(Feature   Value    Minimum  Maximum  Step  Unit  Access  Kind
Gain     6.0206  -Infinity  18.0618     -    dB      RW  float
)"),
              kxinfo({"get", "S1234", "Gain"}));
    const auto document = nlohmann::json::parse(kxinfo({"get", "Gain", "--json"}).out);
    EXPECT_EQ("-Infinity", document["properties"][0]["minimum"]);
}

TEST_F(Get, SaysWhatACameraLacksAndWhatItHasInstead) {
    const WatchedCamera camera({without("Gain"), {"ExposureTime", "ExposureTimeAbs", true}});

    EXPECT_EQ(shown(R"(Feature       Value  Minimum  Maximum  Step  Unit  Access  Kind
Gain              -        -        -     -     -      NI  missing; the camera has no such feature
ExposureTime      -        -        -     -     -      NI  missing; the camera has no such feature; it has ExposureTimeAbs instead
)",
                    "kxinfo: Gain has no value: the camera has no such feature.\n"
                    "kxinfo: ExposureTime has no value: the camera has no such feature; it has "
                    "ExposureTimeAbs instead.\n"),
              kxinfo({"get", "S1234", "Gain", "ExposureTime"}));
    EXPECT_EQ(0, kxinfo({"get", "S1234"}).status) << "none was asked for by name";
}

TEST_F(Get, SaysThatTheCameraFallsSilent) {
    const Result result = whenSilentHalfway({"get", "S1234", "--switch"});

    EXPECT_EQ(3, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(result.err, saysSilent("kxinfo: this could not be put back: .*\n"));
}

} // namespace
