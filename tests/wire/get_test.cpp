// kxinfo get: shows, and changes nothing.

#include "watched_camera.h"
#include "wire.h"

#include <nlohmann/json.hpp>

namespace {

class Get : public Wire {
protected:
    static std::string all() {
        return R"(Camera S1234 (C1936)

Property                Value  Minimum  Maximum        Step  Unit  Access  Kind
WidthMax                 1936        -        -           -    px      RO  integer
HeightMax                1216        -        -           -    px      RO  integer
Width                    1936       16     1936          16    px      RW  integer
Height                   1216        4     1216           4    px      RW  integer
OffsetX                     0        0        0           4    px      RW  integer
OffsetY                     0        0        0           2    px      RW  integer
Gain                   6.0206        0  18.0618           -    dB      RW  float
ExposureTime            10000       20    33333           -    us      RW  float
gammaCorrection             -     0.25        4           -     -      RW  float
AcquisitionFrameRate       30      0.1  81.5661           -   1/s      RW  float
autoBrightnessTarget      128        0      255           1     -      RW  integer
exposureAutoMinValue      100       20   100000           1    us      RW  float
exposureAutoMaxValue    30000       20   100000           1    us      RW  float
gainAutoMinValue       1.9382        0  18.0618  to 1.02305    dB      RW  float
gainAutoMaxValue      12.0412        0  18.0618  to 1.02305    dB      RW  float
ExposureAuto              Off        -        -           -     -      RW  enumeration: Off, Continuous
GainAuto                  Off        -        -           -     -      RW  enumeration: Off, Continuous
ReverseX                false        -        -           -     -      RW  boolean
ReverseY                false        -        -           -     -      RW  boolean
balanceWhitePeriod          -        -        -           -     -      NA  integer
BalanceRatio[Red]     3.52183        0  12.0412           -    dB      RW  float
BalanceRatio[Blue]     6.0206        0  12.0412           -    dB      RW  float
)";
    }

    static Result unknown(const std::string &name, const std::string &meant) {
        return {2, "",
                "kxinfo: there is no property \"" + name + "\"" + meant +
                    " 'kxinfo get SERIAL' shows all of them.\n"};
    }
};

TEST_F(Get, ShowsAllProperties) {
    const WatchedCamera camera;

    EXPECT_EQ((Result{0, all(), ""}), kxinfo({"get", "S1234"}));
}

TEST_F(Get, ShowsWhatWasNamedInAnyCaseOnceAndInThatOrder) {
    const WatchedCamera camera;

    EXPECT_EQ((Result{0,
                      R"(Camera S1234 (C1936)

Property             Value  Minimum  Maximum  Step  Unit  Access  Kind
ReverseX             false        -        -     -     -      RW  boolean
Gain                6.0206        0  18.0618     -    dB      RW  float
ExposureAuto           Off        -        -     -     -      RW  enumeration: Off, Continuous
Width                 1936       16     1936    16    px      RW  integer
BalanceRatio[Blue]  6.0206        0  12.0412     -    dB      RW  float
)",
                      ""}),
              kxinfo({"get", "S1234", "REVERSEX", "gain", "exposureAuto", "Width", "GAIN",
                      "balanceratio[blue]"}));
}

TEST_F(Get, ShowsAllThatShareAName) {
    const WatchedCamera camera;

    EXPECT_EQ((Result{0,
                      R"(Camera S1234 (C1936)

Property              Value  Minimum  Maximum  Step  Unit  Access  Kind
BalanceRatio[Red]   3.52183        0  12.0412     -    dB      RW  float
BalanceRatio[Blue]   6.0206        0  12.0412     -    dB      RW  float
)",
                      ""}),
              kxinfo({"get", "S1234", "BalanceRatio"}));
}

TEST_F(Get, MissesAPropertyThatWasNamedAndHasNoValue) {
    WatchedCamera camera;
    camera.write({{reg::kLutMode, 1}}); // the user's table: gamma counts for nothing

    EXPECT_EQ((Result{3,
                      R"(Camera S1234 (C1936)

Property            Value  Minimum  Maximum  Step  Unit  Access  Kind
balanceWhitePeriod      -        -        -     -     -      NA  integer
Width                1936       16     1936    16    px      RW  integer
gammaCorrection         -     0.25        4     -     -      RW  float
)",
                      "kxinfo: balanceWhitePeriod has no value: it is not available at present.\n"
                      "kxinfo: gammaCorrection has no value: gamma is disabled: the lookup table "
                      "does not hold the gamma curve.\n"}),
              kxinfo({"get", "S1234", "balanceWhitePeriod", "Width", "gammaCorrection",
                      "GAMMACORRECTION"}));
}

TEST_F(Get, ShowsWhatIsAvailableOnceItIs) {
    WatchedCamera camera;
    camera.write({{reg::kBalanceWhiteAuto, 2}, {reg::kLutMode, 1}, {reg::kLutType, 1}});

    EXPECT_EQ((Result{0,
                      R"(Camera S1234 (C1936)

Property            Value  Minimum  Maximum  Step  Unit  Access  Kind
balanceWhitePeriod     60        1     3600     1     -      RW  integer
gammaCorrection      0.45     0.25        4     -     -      RW  float
)",
                      ""}),
              kxinfo({"get", "S1234", "balanceWhitePeriod", "gammaCorrection"}));
}

TEST_F(Get, WritesJson) {
    const WatchedCamera camera;

    EXPECT_EQ(
        (Result{3,
                R"({
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
                "kxinfo: balanceWhitePeriod has no value: it is not available at present.\n"}),
        kxinfo({"get", "S1234", "Width", "exposureAutoMinValue", "ExposureAuto", "ReverseX",
                "balanceWhitePeriod", "--json"}));
}

TEST_F(Get, WritesJsonAsTheSchemaSays) {
    {
        const WatchedCamera camera;
        EXPECT_EQ("", violations(kxinfo({"get", "S1234", "--json"}).out, "get.schema.json"));
    }
    const WatchedCamera poor({without("Gain"), {"<Min>1.0</Min>", "<Min>0.0</Min>"}});
    EXPECT_EQ("", violations(kxinfo({"get", "S1234", "--json"}).out, "get.schema.json"));
}

TEST_F(Get, HasASchemaThatTellsBrokenDocuments) {
    using nlohmann::json;
    const WatchedCamera camera;
    const json whole = json::parse(kxinfo({"get", "S1234", "--json"}).out);
    const auto with = [&whole](const std::string &path, const json &value) {
        json changed = whole;
        changed[json::json_pointer(path)] = value;
        return violations(changed.dump(), "get.schema.json");
    };
    ASSERT_EQ("Gain", whole["properties"][6]["name"]);
    EXPECT_EQ("", with("/properties/6/value", "-Infinity"));
    EXPECT_EQ("", with("/added", "later"));

    EXPECT_NE("", with("/version", 2));
    EXPECT_NE("", with("/camera/serial", 1234));
    EXPECT_NE("", with("/properties", json::array()));
    EXPECT_NE("", with("/properties/6/value", "much"));
    EXPECT_NE("", with("/properties/6/value", nullptr)) << "and no problem";
    EXPECT_NE("", with("/properties/6/unit", "decibels"));
    EXPECT_NE("", with("/properties/6/kind", "integer"));
    EXPECT_NE("", with("/properties/6/entries", json::array()));
    EXPECT_NE("", with("/properties/15/entries/0", 1));
    EXPECT_NE("", with("/properties/15/minimum", 1));
    EXPECT_NE("", with("/properties/17/value", "false"));
    EXPECT_NE("", with("/properties/0/access", "RX"));
}

TEST_F(Get, KeepsTheLogOutOfTheDocument) {
    const WatchedCamera camera;
    const Result silent = kxinfo({"get", "S1234", "Width", "--json"});

    const Result logged =
        kxinfo({"get", "S1234", "Width", "--json", "--log", "stdout", "--level", "debug"});

    EXPECT_EQ(0, logged.status);
    EXPECT_EQ(silent.out, logged.out);
    EXPECT_EQ("[KX_TD_EXCAM:d]: ### get property 2 (Width) range: min=16 max=1936 inc=16 ###\n",
              logged.err);
}

TEST_F(Get, LeavesTheCameraAsItWasInWhateverState) {
    WatchedCamera camera({smallTables()});
    for (const StartingState &state : startingStates()) {
        SCOPED_TRACE(state.name);
        camera.write(state.writes);
        const std::string before = camera.snapshot();

        EXPECT_EQ(0, kxinfo({"get", "S1234"}).status);
        EXPECT_EQ(before, camera.snapshot());
    }
}

TEST_F(Get, NamesTheNearestPropertiesForAnUnknownOne) {
    EXPECT_EQ(unknown("gamme", "; did you mean gammaCorrection?"),
              kxinfo({"get", "S1234", "gamme"}));
    EXPECT_EQ(
        unknown("GainAutoo", "; did you mean GainAuto, gainAutoMinValue or gainAutoMaxValue?"),
        kxinfo({"get", "S1234", "Width", "GainAutoo"}));
    EXPECT_EQ(unknown("ReverseZ", "; did you mean ReverseX or ReverseY?"),
              kxinfo({"get", "S1234", "ReverseZ"}));
    EXPECT_EQ(unknown("xyzzy", "."), kxinfo({"get", "S1234", "xyzzy"}));
    EXPECT_EQ(unknown("", "."), kxinfo({"get", "S1234", ""}));
}

TEST_F(Get, ShowsMinusInfinityForAFactorOfZero) {
    const WatchedCamera camera({Replacement{"<Min>1.0</Min>", "<Min>0.0</Min>"}});

    EXPECT_EQ((Result{0,
                      R"(Camera S1234 (C1936)

Property           Value    Minimum  Maximum         Step  Unit  Access  Kind
Gain              6.0206  -Infinity  18.0618            -    dB      RW  float
gainAutoMinValue  1.9382  -Infinity  18.0618  to -18.0618    dB      RW  float
)",
                      ""}),
              kxinfo({"get", "S1234", "Gain", "gainAutoMinValue"}));
    const auto document = nlohmann::json::parse(kxinfo({"get", "S1234", "Gain", "--json"}).out);
    EXPECT_EQ("-Infinity", document["properties"][0]["minimum"]);
}

TEST_F(Get, SaysWhatACameraLacks) {
    const WatchedCamera camera({without("Gain"), without("lutMode"),
                                alwaysAvailable("TableIsGamma"), without("ReverseX")});

    EXPECT_EQ((Result{3,
                      R"(Camera S1234 (C1936)

Property         Value  Minimum  Maximum  Step  Unit  Access  Kind
Gain                 -        -        -     -    dB      NI  missing
gammaCorrection   0.45        -        -     -     -      RW  float
ReverseX             -        -        -     -     -      NI  missing
)",
                      "kxinfo: Gain has no value: the camera has no such feature, or has it as "
                      "another kind.\n"
                      "kxinfo: gammaCorrection has no range: what the lookup table does cannot be "
                      "read.\n"
                      "kxinfo: ReverseX has no value: the camera has no such feature, or has it as "
                      "another kind.\n"}),
              kxinfo({"get", "S1234", "Gain", "gammaCorrection", "ReverseX"}));
    EXPECT_EQ(0, kxinfo({"get", "S1234"}).status) << "none was asked for by name";
}

TEST_F(Get, SaysThatTheCameraFallsSilent) {
    const Result result = whenSilentHalfway({"get", "S1234"});

    EXPECT_EQ(3, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(result.err, saysSilent("kxinfo: this could not be put back: .*\n"));
}

} // namespace
