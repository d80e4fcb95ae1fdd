// Switches, enumerations, and automatic control of brightness, exposure and gain.

#include "plug_in.h"

#include <limits>

namespace {

const float kInfinity = std::numeric_limits<float>::infinity();
const float kNoNumber = std::numeric_limits<float>::quiet_NaN();

class AutomaticControl : public OpenedCamera {
protected:
    void brightnessMode(const char *mode) {
        camera.enumeration("autoBrightnessMode", mode, {"Off", "Active", "Paused"});
    }
    void automation(const char *name) {
        camera.enumeration(name, "Once", {"Off", "Once", "Continuous"});
    }
    static Line intLine(const std::string &property, int value) {
        return features.debug("ExPropertySetInt", "### set property " + property + " to " +
                                                      std::to_string(value) + " ###\n");
    }
    static Line rangeLine(const std::string &property, const std::string &numbers) {
        return features.debug("ExPropertyGetFloatRange",
                              "### get property " + property + " range: " + numbers + " ###\n");
    }
};

// Switches.

TEST_F(AutomaticControl, SwitchesABooleanFeature) {
    camera.boolean("ReverseX", false);
    EXPECT_EQ(lines({features.debug("ExPropertySetEna", "### set property 17 (ReverseX) to 1 "
                                                        "###\n")}),
              logOf([&] { EXPECT_EQ(0, cam().ExPropertySetEna(REVERSE_X_PROPERTY_TYPE, true)); }));
    EXPECT_THAT(trace(),
                ElementsAre(lookup("ReverseX"), write("ReverseX", true),
                            scripted::event(Op::Log, "7",
                                            "[d|ExPropertySetEna] ### set property 17 (ReverseX) "
                                            "to 1 ###\n")));
    EXPECT_EQ("true", camera.value("ReverseX"));
}

TEST_F(AutomaticControl, SwitchesABooleanFeatureOff) {
    camera.boolean("ReverseY", true);
    EXPECT_EQ(lines({features.debug("ExPropertySetEna", "### set property 18 (ReverseY) to 0 "
                                                        "###\n")}),
              logOf([&] { EXPECT_EQ(0, cam().ExPropertySetEna(REVERSE_Y_PROPERTY_TYPE, false)); }));
    EXPECT_THAT(camera.accesses(), ElementsAre(write("ReverseY", false)));
}

TEST_F(AutomaticControl, DoesNotSwitchAFeatureThatIsMissingOrNoBoolean) {
    EXPECT_EQ(silence,
              logOf([&] { EXPECT_EQ(-2, cam().ExPropertySetEna(REVERSE_X_PROPERTY_TYPE, true)); }));
    camera.enumeration("ReverseX", "Off", {"Off", "On"});
    EXPECT_EQ(silence,
              logOf([&] { EXPECT_EQ(-2, cam().ExPropertySetEna(REVERSE_X_PROPERTY_TYPE, true)); }));
    EXPECT_THAT(trace(), ElementsAre(lookup("ReverseX"), lookup("ReverseX")));
}

TEST_F(AutomaticControl, WarnsOfASwitchWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    EXPECT_EQ(
        lines({features.warning("ExPropertySetEna", "can't get property info 17 (ReverseX)\n")}),
        logOf([&] { EXPECT_EQ(-1, cam().ExPropertySetEna(REVERSE_X_PROPERTY_TYPE, true)); }));
    // The row's number, not the caller's.
    EXPECT_EQ(
        lines({features.warning("ExPropertySetEna", "can't get property info 17 (ReverseX)\n")}),
        logOf([&] { EXPECT_EQ(-1, cam().ExPropertySetEna(static_cast<PropertyType>(40), true)); }));
}

TEST_F(AutomaticControl, LetsTheErrorOfASwitchOutAndLogsNothing) {
    camera.boolean("ReverseX", false).access(RO);
    EXPECT_EQ(silence, logOf([&] {
                  EXPECT_THROW(cam().ExPropertySetEna(REVERSE_X_PROPERTY_TYPE, true),
                               GenICam_3_0::AccessException);
              }));
}

// Enumerations by name.

TEST_F(AutomaticControl, WritesAnyEnumerationByName) {
    camera.enumeration("TriggerMode", "Off", {"Off", "On"});
    // No closing ### here: log tools know it so.
    EXPECT_EQ(lines({features.debug("ExPropertySetEnumFromStr",
                                    "### set enum param \"TriggerMode\" to \"On\"\n")}),
              logOf([&] { EXPECT_EQ(0, cam().ExPropertySetEnumFromStr("TriggerMode", "On")); }));
    EXPECT_THAT(camera.accesses(), ElementsAre(write("TriggerMode", "On")));
    EXPECT_EQ("On", camera.value("TriggerMode"));
}

TEST_F(AutomaticControl, WritesAnEnumerationThatShowsTheEntryAlready) {
    camera.enumeration("TriggerMode", "On", {"Off", "On"});
    EXPECT_EQ(0, cam().ExPropertySetEnumFromStr("TriggerMode", "On"));
    EXPECT_THAT(trace(), ElementsAre(lookup("TriggerMode"), write("TriggerMode", "On")));
}

TEST_F(AutomaticControl, WritesNoEnumerationThatIsMissingOrOfAnotherKind) {
    EXPECT_EQ(silence,
              logOf([&] { EXPECT_EQ(-2, cam().ExPropertySetEnumFromStr("TriggerMode", "On")); }));
    camera.boolean("TriggerMode", false);
    EXPECT_EQ(silence,
              logOf([&] { EXPECT_EQ(-2, cam().ExPropertySetEnumFromStr("TriggerMode", "On")); }));
    EXPECT_THAT(camera.accesses(), IsEmpty());
}

TEST_F(AutomaticControl, LetsTheErrorOfAnUnknownEntryOutAndLogsNothing) {
    camera.enumeration("TriggerMode", "Off", {"Off", "On"});
    EXPECT_EQ(silence, logOf([&] {
                  EXPECT_THROW(cam().ExPropertySetEnumFromStr("TriggerMode", "on"),
                               GenICam_3_0::InvalidArgumentException);
              }));
    EXPECT_EQ("Off", camera.value("TriggerMode"));
}

TEST_F(AutomaticControl, WarnsOfAnEnumerationWithoutANodeMapInTheLookupTablesWords) {
    framework.nodeMap(NodeMap::None);
    EXPECT_EQ(lines({features.warning("ExPropertySetEnumFromStr",
                                      "can't get dev params to change LutGamma mode\n")}),
              logOf([&] { EXPECT_EQ(-1, cam().ExPropertySetEnumFromStr("TriggerMode", "On")); }));
}

// Automatic functions.

TEST_F(AutomaticControl, SwitchesNoFunctionOffWhileBrightnessIsNotControlled) {
    automation("ExposureAuto");
    for (const char *mode : {"Off", "Paused"}) {
        brightnessMode(mode);
        EXPECT_EQ(silence, logOf([&] {
                      EXPECT_EQ(0,
                                cam().ExPropertySetEnaAutoPush(EXPOSURE_AUTO_PROPERTY_TYPE, false));
                  }));
        EXPECT_THAT(trace(),
                    ElementsAre(lookup("autoBrightnessMode"), readText("autoBrightnessMode")));
        forget();
    }
    EXPECT_EQ("Once", camera.value("ExposureAuto"));
}

TEST_F(AutomaticControl, SwitchesNoMissingFunctionOffWhileBrightnessIsNotControlled) {
    brightnessMode("Off");
    EXPECT_EQ(0, cam().ExPropertySetAutoOff(EXPOSURE_AUTO_PROPERTY_TYPE));
    EXPECT_EQ(0, cam().ExPropertySetAutoOff(UNSPECIFIED_PROPERTY_TYPE));
}

TEST_F(AutomaticControl, SwitchesAFunctionOffWhileBrightnessIsControlled) {
    automation("ExposureAuto");
    brightnessMode("Active");
    EXPECT_EQ(lines({features.debug("ExPropertySetEnaAutoPush",
                                    "### set property 15 (ExposureAuto) to \"Off\" ###\n")}),
              logOf([&] {
                  EXPECT_EQ(0, cam().ExPropertySetEnaAutoPush(EXPOSURE_AUTO_PROPERTY_TYPE, false));
              }));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("autoBrightnessMode"), write("ExposureAuto", "Off")));
}

TEST_F(AutomaticControl, SwitchesAFunctionOnWhileBrightnessIsControlled) {
    automation("ExposureAuto");
    brightnessMode("Active");
    EXPECT_EQ(lines({features.debug("ExPropertySetEnaAutoPush",
                                    "### set property 15 (ExposureAuto) to \"Continuous\" ###\n")}),
              logOf([&] {
                  EXPECT_EQ(0, cam().ExPropertySetEnaAutoPush(EXPOSURE_AUTO_PROPERTY_TYPE, true));
              }));
    EXPECT_THAT(trace(), ElementsAre(lookup("autoBrightnessMode"), readText("autoBrightnessMode"),
                                     lookup("ExposureAuto"), write("ExposureAuto", "Continuous"),
                                     scripted::event(Op::Log, "7",
                                                     "[d|ExPropertySetEnaAutoPush] ### set "
                                                     "property 15 (ExposureAuto) to "
                                                     "\"Continuous\" ###\n")));
}

TEST_F(AutomaticControl, ControlsBrightnessOnlyWhileAFunctionIsSwitchedOn) {
    automation("GainAuto");
    brightnessMode("Off");
    // The shorthand logs under the name of the operation that it stands for.
    EXPECT_EQ(lines({features.debug("ExPropertySetEnaAutoPush",
                                    "### set property 16 (GainAuto) to \"Continuous\" ###\n")}),
              logOf([&] { EXPECT_EQ(0, cam().ExPropertySetAutoCont(GAIN_AUTO_PROPERTY_TYPE)); }));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                            write("GainAuto", "Continuous"), write("autoBrightnessMode", "Off")));
    EXPECT_EQ("Continuous", camera.value("GainAuto"));
    EXPECT_EQ("Off", camera.value("autoBrightnessMode"));
}

TEST_F(AutomaticControl, PutsBackWhateverModeItFound) {
    automation("GainAuto");
    brightnessMode("Paused");
    EXPECT_EQ(0, cam().ExPropertySetAutoCont(GAIN_AUTO_PROPERTY_TYPE));
    EXPECT_EQ("Paused", camera.value("autoBrightnessMode"));
}

TEST_F(AutomaticControl, PutsTheModeBackWhenTheFunctionIsMissingOrOfAnotherKind) {
    brightnessMode("Off");
    for (const bool present : {false, true}) {
        if (present)
            camera.boolean("GainAuto", false);
        forget();
        EXPECT_EQ(silence, logOf([&] {
                      EXPECT_EQ(-2, cam().ExPropertySetAutoCont(GAIN_AUTO_PROPERTY_TYPE));
                  }));
        EXPECT_THAT(trace(),
                    ElementsAre(lookup("autoBrightnessMode"), readText("autoBrightnessMode"),
                                write("autoBrightnessMode", "Active"), lookup("GainAuto"),
                                write("autoBrightnessMode", "Off")));
    }
}

TEST_F(AutomaticControl, LeavesTheModeActiveWhenSwitchingAFunctionFails) {
    automation("GainAuto");
    camera.access(RO);
    brightnessMode("Off");
    EXPECT_EQ(silence, logOf([&] {
                  EXPECT_THROW(cam().ExPropertySetAutoCont(GAIN_AUTO_PROPERTY_TYPE),
                               GenICam_3_0::AccessException);
              }));
    EXPECT_EQ("Active", camera.value("autoBrightnessMode"));
}

TEST_F(AutomaticControl, SwitchesAFunctionDirectlyWithoutABrightnessMode) {
    automation("ExposureAuto");
    for (const bool present : {false, true}) {
        if (present)
            camera.integer("autoBrightnessMode", 0);
        forget();
        EXPECT_EQ(0, cam().ExPropertySetEnaAutoPush(EXPOSURE_AUTO_PROPERTY_TYPE, true));
        EXPECT_EQ(0, cam().ExPropertySetEnaAutoPush(EXPOSURE_AUTO_PROPERTY_TYPE, false));
        EXPECT_THAT(camera.accesses(),
                    ElementsAre(write("ExposureAuto", "Continuous"), write("ExposureAuto", "Off")));
    }
    EXPECT_EQ(-2, cam().ExPropertySetAutoOff(GAIN_AUTO_PROPERTY_TYPE));
}

TEST_F(AutomaticControl, SwitchesOffByTheShorthandUnderTheSameName) {
    automation("GainAuto");
    brightnessMode("Active");
    EXPECT_EQ(lines({features.debug("ExPropertySetEnaAutoPush",
                                    "### set property 16 (GainAuto) to \"Off\" ###\n")}),
              logOf([&] { EXPECT_EQ(0, cam().ExPropertySetAutoOff(GAIN_AUTO_PROPERTY_TYPE)); }));
    EXPECT_EQ("Off", camera.value("GainAuto"));
}

TEST_F(AutomaticControl, WarnsOfAFunctionWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    const Logged warned = lines({features.warning("ExPropertySetEnaAutoPush",
                                                  "Can't get dev params to enable Auto mode\n")});
    EXPECT_EQ(warned, logOf([&] {
                  EXPECT_EQ(-1, cam().ExPropertySetEnaAutoPush(EXPOSURE_AUTO_PROPERTY_TYPE, true));
              }));
    EXPECT_EQ(warned, logOf([&] {
                  EXPECT_EQ(-1, cam().ExPropertySetAutoCont(EXPOSURE_AUTO_PROPERTY_TYPE));
              }));
    EXPECT_EQ(warned, logOf([&] {
                  EXPECT_EQ(-1, cam().ExPropertySetAutoOff(EXPOSURE_AUTO_PROPERTY_TYPE));
              }));
}

// Automatic control as a whole.

class ControlOfBrightness : public AutomaticControl {
protected:
    void sequence() {
        camera.enumeration("autoBrightnessSequence", "Gain_Exposure_Iris",
                           {"Gain_Exposure_Iris", "Exposure_Gain_Iris"});
    }
    static Line modeLine(const std::string &mode) {
        return features.debug("ExSetAutoExpoEna",
                              "### set property autoBrightnessMode to " + mode + " ###\n");
    }
};

TEST_F(ControlOfBrightness, IsSwitchedOnWithExposureFirst) {
    brightnessMode("Off");
    sequence();
    // The message has a name of its own for the entry written.
    EXPECT_EQ(
        lines({modeLine("Active"),
               features.debug("ExSetAutoExpoEna",
                              "### set property autoBrightnessSequence to ExpoGainIris ###\n")}),
        logOf([&] { EXPECT_EQ(0, cam().ExSetAutoExpoEna(true)); }));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(write("autoBrightnessMode", "Active"),
                            write("autoBrightnessSequence", "Exposure_Gain_Iris")));
    EXPECT_EQ("Active", camera.value("autoBrightnessMode"));
    EXPECT_EQ("Exposure_Gain_Iris", camera.value("autoBrightnessSequence"));
}

TEST_F(ControlOfBrightness, IsSwitchedOffAndKeepsItsSequence) {
    brightnessMode("Active");
    sequence();
    EXPECT_EQ(lines({modeLine("Off")}),
              logOf([&] { EXPECT_EQ(0, cam().ExSetAutoExpoEna(false)); }));
    EXPECT_THAT(camera.accesses(), ElementsAre(write("autoBrightnessMode", "Off")));
    EXPECT_EQ("Gain_Exposure_Iris", camera.value("autoBrightnessSequence"));
}

TEST_F(ControlOfBrightness, IsNotThereWithoutItsMode) {
    sequence();
    for (const bool present : {false, true}) {
        if (present)
            camera.boolean("autoBrightnessMode", false);
        for (const bool enable : {false, true})
            EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(-2, cam().ExSetAutoExpoEna(enable)); }));
    }
    EXPECT_THAT(camera.accesses(), IsEmpty());
}

TEST_F(ControlOfBrightness, StaysOnWhenNoSequenceCanBeChosen) {
    for (const bool present : {false, true}) {
        brightnessMode("Off");
        if (present)
            camera.integer("autoBrightnessSequence", 0);
        forget();
        EXPECT_EQ(lines({modeLine("Active")}),
                  logOf([&] { EXPECT_EQ(-3, cam().ExSetAutoExpoEna(true)); }));
        EXPECT_THAT(camera.accesses(), ElementsAre(write("autoBrightnessMode", "Active")));
        EXPECT_EQ("Active", camera.value("autoBrightnessMode"));
    }
}

TEST_F(ControlOfBrightness, StaysOnWhenTheCameraRefusesTheSequence) {
    brightnessMode("Off");
    camera.enumeration("autoBrightnessSequence", "Gain_Exposure_Iris", {"Gain_Exposure_Iris"});
    EXPECT_EQ(lines({modeLine("Active")}), logOf([&] {
                  EXPECT_THROW(cam().ExSetAutoExpoEna(true), GenICam_3_0::InvalidArgumentException);
              }));
    EXPECT_EQ("Active", camera.value("autoBrightnessMode"));
}

TEST_F(ControlOfBrightness, WarnsWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    for (const bool enable : {false, true})
        EXPECT_EQ(lines({features.warning("ExSetAutoExpoEna",
                                          "can't get dev params to trigger Auto mode\n")}),
                  logOf([&] { EXPECT_EQ(-1, cam().ExSetAutoExpoEna(enable)); }));
}

// The target of automatic control.

class TargetOfBrightness : public AutomaticControl {
protected:
    void target() {
        brightnessMode("Off");
        camera.integer("autoBrightnessTarget", 77)
            .range(0, 255, 1)
            .onlyWhile("autoBrightnessMode", "Active");
    }
    static Line targetLine(int value) { return intLine("10 (autoBrightnessTarget)", value); }
};

struct Level {
    float target;
    int written;
};

void PrintTo(const Level &each, std::ostream *out) {
    *out << each.target;
}

class LevelOfBrightness : public TargetOfBrightness, public testing::WithParamInterface<Level> {};

TEST_P(LevelOfBrightness, IsTheNearestOf256AndHalvesGoUp) {
    const float asked = GetParam().target;
    const int written = GetParam().written;
    target();
    EXPECT_EQ(lines({targetLine(written)}),
              logOf([&] { EXPECT_EQ(0, cam().ExSetAutoExpoVal(asked)); }));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                            write("autoBrightnessTarget", written),
                            write("autoBrightnessMode", "Off")));
}

INSTANTIATE_TEST_SUITE_P(
    Targets, LevelOfBrightness,
    testing::Values(Level{0.0f, 0}, Level{-0.0f, 0}, Level{1.0f, 255}, Level{0.5f, 128},
                    Level{0.75f, 191}, Level{0.25f, 64}, Level{0.001f, 0}, Level{0.002f, 1},
                    // 0.3 of full scale is 76.5 in single precision, and less than that in double.
                    Level{0.3f, 77}, Level{std::numeric_limits<float>::denorm_min(), 0},
                    Level{std::nextafter(1.0f, 0.0f), 255}));

TEST_F(TargetOfBrightness, IsWrittenWithoutSwitchingAModeThatIsActive) {
    target();
    camera.enumeration("autoBrightnessMode", "Active", {"Off", "Active"});
    EXPECT_EQ(0, cam().ExSetAutoExpoVal(1.0f));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("autoBrightnessMode"), write("autoBrightnessTarget", 255)));
}

struct BadTarget {
    float target;
    const char *shown;
};

void PrintTo(const BadTarget &each, std::ostream *out) {
    *out << each.shown;
}

class TargetOutOfBounds : public TargetOfBrightness,
                          public testing::WithParamInterface<BadTarget> {};

TEST_P(TargetOutOfBounds, IsRefusedInAMessageWithoutLineEndBeforeTheCameraIsTouched) {
    const float asked = GetParam().target;
    const std::string shown = GetParam().shown;
    target();
    EXPECT_EQ(
        lines({features.warning("ExSetAutoExpoVal",
                                "the value " + shown + " is out of bounds [0.000000;1.000000]")}),
        logOf([&] { EXPECT_EQ(-5, cam().ExSetAutoExpoVal(asked)); }));
    forget();
    EXPECT_EQ(-5, cam().ExSetAutoExpoVal(asked));
    EXPECT_THAT(trace(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Targets, TargetOutOfBounds,
    testing::Values(BadTarget{1.0001f, "1.000100"}, BadTarget{-0.01f, "-0.010000"},
                    BadTarget{std::nextafter(1.0f, 2.0f), "1.000000"},
                    BadTarget{-std::numeric_limits<float>::denorm_min(), "-0.000000"},
                    BadTarget{kInfinity, "inf"}, BadTarget{-kInfinity, "-inf"}));

TEST_F(TargetOfBrightness, OutOfBoundsIsRefusedEvenWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    EXPECT_EQ(-5, cam().ExSetAutoExpoVal(2.0f));
}

TEST_F(TargetOfBrightness, ThatIsNoNumberIsWrittenAsZero) {
    target();
    EXPECT_EQ(lines({targetLine(0)}),
              logOf([&] { EXPECT_EQ(0, cam().ExSetAutoExpoVal(kNoNumber)); }));
    EXPECT_EQ("0", camera.value("autoBrightnessTarget"));
}

TEST_F(TargetOfBrightness, HandsOnTheResultsOfWritingIt) {
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(-2, cam().ExSetAutoExpoVal(0.5f)); }));
    framework.nodeMap(NodeMap::None);
    wrapAnew();
    EXPECT_EQ(lines({features.warning("ExPropertySetInt",
                                      "can't get property info 10 (autoBrightnessTarget)\n")}),
              logOf([&] { EXPECT_EQ(-1, cam().ExSetAutoExpoVal(0.5f)); }));
}

TEST_F(TargetOfBrightness, PutsTheModeBackWhenItIsMissingButNotWhenItIsRefused) {
    brightnessMode("Off");
    EXPECT_EQ(-2, cam().ExSetAutoExpoVal(0.5f));
    EXPECT_EQ("Off", camera.value("autoBrightnessMode"));
    camera.integer("autoBrightnessTarget", 10).range(0, 100, 1);
    EXPECT_THROW(cam().ExSetAutoExpoVal(0.5f), GenICam_3_0::OutOfRangeException);
    EXPECT_EQ("Active", camera.value("autoBrightnessMode"));
}

// The limits of automatic gain and of automatic exposure. A camera ranges them as floats and takes
// them as integers.

struct LimitsOf {
    const char *title; // in messages about ranges
    const char *name;  // in messages about limits
    const char *operation;
    int (CExCam::*set)(float, float);
    PropertyType min, max;
    const char *minName, *maxName;
    const char *automation;
    const char *source;
    double lowest, highest; // what the camera allows of both
    const char *shownLowest, *shownHighest, *shownInc;
    float goodMin, goodMax;
    int goodMinWritten, goodMaxWritten;
    float tooLow, tooHigh;
    const char *shownTooLow, *shownTooHigh;
};

void PrintTo(const LimitsOf &each, std::ostream *out) {
    *out << each.title;
}

const LimitsOf kGain{"Gain",
                     "GAIN",
                     "ExPropertySetAutoRangeGain",
                     &CExCam::ExPropertySetAutoRangeGain,
                     AUTO_GAIN_MIN_PROPERTY_TYPE,
                     AUTO_GAIN_MAX_PROPERTY_TYPE,
                     "gainAutoMinValue",
                     "gainAutoMaxValue",
                     "GainAuto",
                     "gainAutoSource",
                     1.0,
                     100.0,
                     "0.000000",
                     "40.000000",
                     "6.020600",
                     6.0f,
                     26.0f,
                     1,
                     19,
                     -0.5f,
                     40.25f,
                     "-0.500000",
                     "40.250000"};
const LimitsOf kExposure{"Shutter",
                         "SHUTTER",
                         "ExPropertySetAutoRangeExpo",
                         &CExCam::ExPropertySetAutoRangeExpo,
                         AUTO_EXPOSURE_MIN_PROPERTY_TYPE,
                         AUTO_EXPOSURE_MAX_PROPERTY_TYPE,
                         "exposureAutoMinValue",
                         "exposureAutoMaxValue",
                         "ExposureAuto",
                         nullptr,
                         20.0,
                         33000.0,
                         "20.000000",
                         "33000.000000",
                         "1.000000",
                         100.9f,
                         5000.7f,
                         100,
                         5000,
                         19.75f,
                         33000.5f,
                         "19.750000",
                         "33000.500000"};

class AutomaticLimits : public AutomaticControl {
protected:
    void bounds(const char *name, double lowest, double highest, double inc = 0) {
        camera.floating(name, 0).range(lowest, highest, inc).alsoInteger();
    }
    void describe(const LimitsOf &of, const char *mode = "Active") {
        brightnessMode(mode);
        automation(of.automation);
        if (of.source)
            camera.enumeration(of.source, "AnalogAll", {"AnalogAll", "SensorAll"});
        bounds(of.minName, of.lowest, of.highest, 1.0);
        bounds(of.maxName, of.lowest, of.highest, 1.0);
    }
    int set(const LimitsOf &of, float min, float max) { return (cam().*of.set)(min, max); }
    int setGood(const LimitsOf &of) { return set(of, of.goodMin, of.goodMax); }

    static std::string property(PropertyType type, const char *name) {
        return std::to_string(type) + " (" + name + ")";
    }
    static Line minRange(const LimitsOf &of) { return range(of, of.min, of.minName); }
    static Line maxRange(const LimitsOf &of) { return range(of, of.max, of.maxName); }
    static Line minSet(const LimitsOf &of) {
        return intLine(property(of.min, of.minName), of.goodMinWritten);
    }
    static Line maxSet(const LimitsOf &of) {
        return intLine(property(of.max, of.maxName), of.goodMaxWritten);
    }
    static Line warning(const LimitsOf &of, const std::string &text) {
        return features.warning(of.operation, text + "\n");
    }
    static Line noRange(const LimitsOf &of, const std::string &which) {
        return warning(of, std::string("Can't get ") + of.title + " " + which +
                               " values range for auto mode");
    }
    static Line outOfBounds(const LimitsOf &of, const std::string &which,
                            const std::string &shown) {
        return warning(of, std::string("AUTO_") + of.name + "_RANGE " + which +
                               " is out of bounds: " + shown + " is out of " + of.shownLowest +
                               ".." + of.shownHighest);
    }
    static Line notSet(const LimitsOf &of, const std::string &which) {
        return warning(of, std::string("Can't set AUTO_") + of.name + "_" + which);
    }
    static Line noNodeMap(const std::string &operation, const std::string &about) {
        return features.warning(operation, "can't get property info " + about + "\n");
    }

    // What reading a range does while brightness is controlled and the function is "Once" or, the
    // second time, "Continuous".
    static std::vector<Event> readingRange(const LimitsOf &of, const char *name, bool first) {
        std::vector<Event> all{readText("autoBrightnessMode"), readText(of.automation)};
        if (first)
            all.push_back(write(of.automation, "Continuous"));
        if (of.source)
            all.push_back(write(of.source, "SensorAll"));
        for (const Event &each : {readMin(name), readMax(name), readInc(name)})
            all.push_back(each);
        return all;
    }

private:
    static Line range(const LimitsOf &of, PropertyType type, const char *name) {
        return rangeLine(property(type, name), std::string("min=") + of.shownLowest + " max=" +
                                                   of.shownHighest + " inc=" + of.shownInc);
    }
};

class EitherLimits : public AutomaticLimits, public testing::WithParamInterface<LimitsOf> {
protected:
    const LimitsOf &of = GetParam();
};

INSTANTIATE_TEST_SUITE_P(Limits, EitherLimits, testing::Values(kGain, kExposure),
                         [](const auto &each) { return std::string(each.param.title); });

TEST_P(EitherLimits, AreBothRangedBeforeTheLowerIsWrittenBeforeTheUpper) {
    describe(of);
    EXPECT_EQ(lines({minRange(of), maxRange(of), minSet(of), maxSet(of)}),
              logOf([&] { EXPECT_EQ(0, setGood(of)); }));

    std::vector<Event> expected = readingRange(of, of.minName, true);
    for (const Event &each : readingRange(of, of.maxName, false))
        expected.push_back(each);
    expected.push_back(write(of.minName, of.goodMinWritten));
    expected.push_back(write(of.maxName, of.goodMaxWritten));
    EXPECT_THAT(camera.accesses(), ElementsAreArray(expected));
}

TEST_P(EitherLimits, SwitchTheirFunctionOnForGoodButTheBrightnessModeOnlyWhileRanged) {
    describe(of, "Off");
    EXPECT_EQ(0, setGood(of));
    EXPECT_EQ("Continuous", camera.value(of.automation));
    if (of.source) {
        EXPECT_EQ("SensorAll", camera.value(of.source));
    }
    EXPECT_EQ("Off", camera.value("autoBrightnessMode"));

    std::vector<Event> modeWrites;
    for (const Event &each : camera.accesses())
        if (each.op == Op::FromString && each.subject.view() == "autoBrightnessMode")
            modeWrites.push_back(each);
    const Event on = write("autoBrightnessMode", "Active");
    const Event off = write("autoBrightnessMode", "Off");
    EXPECT_THAT(modeWrites, ElementsAre(on, off, on, off));
}

TEST_P(EitherLimits, AreRangedOnlyTheFirstTime) {
    describe(of, "Off");
    EXPECT_EQ(0, setGood(of));
    automation(of.automation);
    bounds(of.minName, of.lowest, of.highest + 1000);
    bounds(of.maxName, of.lowest, of.highest + 1000);

    forget();
    EXPECT_EQ(lines({minSet(of), maxSet(of)}), logOf([&] { EXPECT_EQ(0, setGood(of)); }));
    EXPECT_THAT(camera.accesses(), ElementsAre(write(of.minName, of.goodMinWritten),
                                               write(of.maxName, of.goodMaxWritten)));
    EXPECT_EQ("Once", camera.value(of.automation));
    // Nor does the camera's new range count.
    EXPECT_EQ(-7, set(of, of.goodMin, of.tooHigh));
}

TEST_P(EitherLimits, LeaveTheFunctionAloneWhenTheirRangesAreKnownAlready) {
    describe(of);
    cam().ExPropertyGetFloatRange(of.min, nullptr, nullptr, nullptr);
    cam().ExPropertyGetFloatRange(of.max, nullptr, nullptr, nullptr);
    automation(of.automation);
    EXPECT_EQ(0, setGood(of));
    EXPECT_EQ("Once", camera.value(of.automation));
}

TEST_P(EitherLimits, AreKeptFromAFailedCallWhichRangedThem) {
    describe(of);
    EXPECT_EQ(-7, set(of, of.goodMin, of.tooHigh));
    forget();
    EXPECT_EQ(0, setGood(of));
    EXPECT_THAT(camera.accesses(), ElementsAre(write(of.minName, of.goodMinWritten),
                                               write(of.maxName, of.goodMaxWritten)));
}

TEST_P(EitherLimits, AreNotSetWhenTheLowerIsMissingOrNoFloat) {
    describe(of, "Off");
    for (const bool present : {false, true}) {
        camera.without(of.minName);
        if (present)
            camera.integer(of.minName, 1);
        forget();
        EXPECT_EQ(lines({noRange(of, "Min")}), logOf([&] { EXPECT_EQ(-4, setGood(of)); }));
        EXPECT_EQ("0", camera.value(of.maxName));
        // The function is switched on all the same; the mode is put back.
        EXPECT_EQ("Continuous", camera.value(of.automation));
        EXPECT_EQ("Off", camera.value("autoBrightnessMode"));
        EXPECT_THAT(trace(), testing::Not(testing::Contains(lookup(of.maxName))));
    }
}

TEST_P(EitherLimits, AreNotSetWhenTheUpperIsMissingOrNoFloat) {
    describe(of, "Off");
    for (const bool present : {false, true}) {
        camera.without(of.maxName);
        if (present)
            camera.integer(of.maxName, 1);
        wrapAnew();
        EXPECT_EQ(lines({minRange(of), noRange(of, "Max")}),
                  logOf([&] { EXPECT_EQ(-6, setGood(of)); }));
        EXPECT_EQ("0", camera.value(of.minName));
        EXPECT_EQ("Off", camera.value("autoBrightnessMode"));
    }
}

TEST_P(EitherLimits, AreNotSetWhenTheLowerIsOutOfRange) {
    describe(of);
    EXPECT_EQ(lines({minRange(of), outOfBounds(of, "Min", of.shownTooLow)}),
              logOf([&] { EXPECT_EQ(-5, set(of, of.tooLow, of.goodMax)); }));
    EXPECT_EQ(lines({outOfBounds(of, "Min", of.shownTooHigh)}),
              logOf([&] { EXPECT_EQ(-5, set(of, of.tooHigh, of.tooHigh + 1)); }));
    EXPECT_THAT(camera.accesses(), ElementsAreArray(readingRange(of, of.minName, true)));
    EXPECT_THAT(trace(), testing::Not(testing::Contains(lookup(of.maxName))));
    EXPECT_EQ("Continuous", camera.value(of.automation));
}

TEST_P(EitherLimits, AreNotSetWhenTheUpperIsOutOfRange) {
    describe(of);
    bounds(of.minName, of.lowest / 2, of.highest, 1.0);
    EXPECT_EQ(0, cam().ExPropertyGetFloatRange(of.min, nullptr, nullptr, nullptr));
    EXPECT_EQ(lines({maxRange(of), outOfBounds(of, "Max", of.shownTooHigh)}),
              logOf([&] { EXPECT_EQ(-7, set(of, of.goodMin, of.tooHigh)); }));
    EXPECT_EQ(lines({outOfBounds(of, "Max", of.shownTooLow)}),
              logOf([&] { EXPECT_EQ(-7, set(of, of.tooLow, of.tooLow)); }));
    EXPECT_EQ("0", camera.value(of.minName));
    EXPECT_EQ("0", camera.value(of.maxName));
}

TEST_P(EitherLimits, MayBeEqualAndAtTheEndsOfTheirRange) {
    describe(of);
    const auto lowest = of.source ? 0.0f : static_cast<float>(of.lowest);
    const auto highest = of.source ? 40.0f : static_cast<float>(of.highest);
    EXPECT_EQ(0, set(of, lowest, highest));
    EXPECT_THAT(std::stod(camera.value(of.minName)), of.lowest);
    EXPECT_THAT(std::stod(camera.value(of.maxName)), of.highest);
    EXPECT_EQ(0, set(of, lowest, lowest));
    EXPECT_THAT(std::stod(camera.value(of.maxName)), of.lowest);
    EXPECT_EQ(0, set(of, highest, highest));
    EXPECT_THAT(std::stod(camera.value(of.minName)), of.highest);
}

TEST_P(EitherLimits, AreNotSetWhenTheLowerIsNoInteger) {
    describe(of);
    camera.floating(of.minName, 0).range(of.lowest, of.highest, 1.0);
    EXPECT_EQ(lines({minRange(of), maxRange(of), notSet(of, "MIN")}),
              logOf([&] { EXPECT_EQ(-8, setGood(of)); }));
    EXPECT_EQ("0", camera.value(of.minName));
    EXPECT_EQ("0", camera.value(of.maxName));
}

TEST_P(EitherLimits, KeepTheNewLowerWhenTheUpperIsNoInteger) {
    describe(of);
    camera.floating(of.maxName, 0).range(of.lowest, of.highest, 1.0);
    EXPECT_EQ(lines({minRange(of), maxRange(of), minSet(of), notSet(of, "MAX")}),
              logOf([&] { EXPECT_EQ(-9, setGood(of)); }));
    EXPECT_EQ(std::to_string(of.goodMinWritten), camera.value(of.minName));
    EXPECT_EQ("0", camera.value(of.maxName));
}

TEST_P(EitherLimits, LetTheErrorOfWritingTheLowerOut) {
    describe(of);
    camera.feature(of.minName).access(RO);
    EXPECT_EQ(lines({minRange(of), maxRange(of)}),
              logOf([&] { EXPECT_THROW(setGood(of), GenICam_3_0::AccessException); }));
    EXPECT_EQ("0", camera.value(of.maxName));
}

TEST_P(EitherLimits, KeepTheNewLowerWhenTheUpperIsRefused) {
    describe(of);
    camera.feature(of.maxName).access(RO);
    EXPECT_EQ(lines({minRange(of), maxRange(of), minSet(of)}),
              logOf([&] { EXPECT_THROW(setGood(of), GenICam_3_0::AccessException); }));
    EXPECT_EQ(std::to_string(of.goodMinWritten), camera.value(of.minName));
}

TEST_P(EitherLimits, LeaveTheModeActiveWhenTheirRangeCannotBeRead) {
    describe(of, "Off");
    camera.feature(of.maxName).raises(Op::GetMax, Fault::Timeout);
    EXPECT_EQ(lines({minRange(of)}),
              logOf([&] { EXPECT_THROW(setGood(of), GenICam_3_0::TimeoutException); }));
    EXPECT_EQ("Active", camera.value("autoBrightnessMode"));
    EXPECT_EQ("Continuous", camera.value(of.automation));
    EXPECT_EQ("0", camera.value(of.minName));
    // The failed range is asked for again.
    EXPECT_EQ(0, setGood(of));
}

TEST_P(EitherLimits, WarnWithoutANodeMapAfterTheOperationThatTheyAreMadeOf) {
    framework.nodeMap(NodeMap::None);
    EXPECT_EQ(lines({noNodeMap("ExPropertyGetFloatRange", property(of.min, of.minName)),
                     noRange(of, "Min")}),
              logOf([&] { EXPECT_EQ(-4, setGood(of)); }));
}

TEST_P(EitherLimits, WarnOfEachStepThatLostItsNodeMap) {
    describe(of);
    GenApi_3_0::CNodeMapRef *const nodeMap = cam().nodeMap;
    cam().ExPropertyGetFloatRange(of.min, nullptr, nullptr, nullptr);
    cam().nodeMap = nullptr;
    EXPECT_EQ(lines({noNodeMap("ExPropertyGetFloatRange", property(of.max, of.maxName)),
                     noRange(of, "Max")}),
              logOf([&] { EXPECT_EQ(-6, setGood(of)); }));
    cam().nodeMap = nodeMap;
    cam().ExPropertyGetFloatRange(of.max, nullptr, nullptr, nullptr);
    cam().nodeMap = nullptr;
    EXPECT_EQ(
        lines({noNodeMap("ExPropertySetInt", property(of.min, of.minName)), notSet(of, "MIN")}),
        logOf([&] { EXPECT_EQ(-8, setGood(of)); }));
}

TEST_P(EitherLimits, ThatAreNoNumbersPassTheBoundsAndAreWrittenAsZero) {
    describe(of);
    bounds(of.minName, 0, of.highest);
    bounds(of.maxName, 0, of.highest);
    EXPECT_EQ(0, set(of, kNoNumber, kNoNumber));
    EXPECT_THAT(camera.accesses(),
                testing::IsSupersetOf({write(of.minName, 0), write(of.maxName, 0)}));
    EXPECT_EQ(0, set(of, kNoNumber, of.goodMax));
    EXPECT_EQ("0", camera.value(of.minName));
    EXPECT_EQ(std::to_string(of.goodMaxWritten), camera.value(of.maxName));
    EXPECT_EQ(0, set(of, of.goodMin, kNoNumber));
    EXPECT_EQ(std::to_string(of.goodMinWritten), camera.value(of.minName));
    EXPECT_EQ("0", camera.value(of.maxName));
}

TEST_P(EitherLimits, ThatAreNoNumbersAreLeftToTheCameraToRefuse) {
    describe(of);
    EXPECT_EQ(lines({minRange(of), maxRange(of)}), logOf([&] {
                  EXPECT_THROW(set(of, kNoNumber, kNoNumber), GenICam_3_0::OutOfRangeException);
              }));
    EXPECT_EQ("0", camera.value(of.minName));
}

TEST_P(EitherLimits, BeyondAnIntegerAreWrittenAsTheNearestOne) {
    describe(of);
    // Of a float from 0 on, the range in decibels starts at minus infinity.
    const double lowest = of.source ? 0.0 : -static_cast<double>(kInfinity);
    bounds(of.minName, lowest, static_cast<double>(kInfinity));
    bounds(of.maxName, lowest, static_cast<double>(kInfinity));
    EXPECT_EQ(0, set(of, -kInfinity, kInfinity));
    EXPECT_EQ(of.source ? "0" : "-2147483648", camera.value(of.minName));
    EXPECT_EQ("2147483647", camera.value(of.maxName));
    EXPECT_EQ(0, set(of, 3.0e38f, 3.0e38f));
    EXPECT_EQ("2147483647", camera.value(of.minName));
}

TEST_P(EitherLimits, ThatAreInfiniteAreOutOfAnOrdinaryRange) {
    describe(of);
    EXPECT_EQ(lines({minRange(of), outOfBounds(of, "Min", "-inf")}),
              logOf([&] { EXPECT_EQ(-5, set(of, -kInfinity, of.goodMax)); }));
    EXPECT_EQ(lines({maxRange(of), outOfBounds(of, "Max", "inf")}),
              logOf([&] { EXPECT_EQ(-7, set(of, of.goodMin, kInfinity)); }));
}

TEST_F(AutomaticLimits, OfGainAboveEachOtherAreReportedInTheWordsForTheMinimum) {
    describe(kGain);
    EXPECT_EQ(lines({minRange(kGain), outOfBounds(kGain, "Min", "12.000000")}),
              logOf([&] { EXPECT_EQ(-5, cam().ExPropertySetAutoRangeGain(12.0f, 6.0f)); }));
    EXPECT_EQ("0", camera.value("gainAutoMinValue"));
}

TEST_F(AutomaticLimits, OfExposureAboveEachOtherAreReportedInTheWordsForTheMinimum) {
    describe(kExposure);
    EXPECT_EQ(lines({minRange(kExposure), outOfBounds(kExposure, "Min", "5000.000000")}),
              logOf([&] { EXPECT_EQ(-5, cam().ExPropertySetAutoRangeExpo(5000.0f, 100.0f)); }));
    EXPECT_EQ("0", camera.value("exposureAutoMinValue"));
}

TEST_F(AutomaticLimits, OfExposureAreWrittenWithoutTheirFraction) {
    describe(kExposure);
    EXPECT_EQ(0, cam().ExPropertySetAutoRangeExpo(100.9f, 5000.7f));
    EXPECT_EQ("100", camera.value("exposureAutoMinValue"));
    EXPECT_EQ("5000", camera.value("exposureAutoMaxValue"));
}

TEST_F(AutomaticLimits, OfExposureAreTruncatedTowardsZero) {
    describe(kExposure);
    bounds("exposureAutoMinValue", -1000, 1000);
    bounds("exposureAutoMaxValue", -1000, 1000);
    EXPECT_EQ(0, cam().ExPropertySetAutoRangeExpo(-100.9f, -0.9f));
    EXPECT_EQ("-100", camera.value("exposureAutoMinValue"));
    EXPECT_EQ("0", camera.value("exposureAutoMaxValue"));
}

TEST_F(AutomaticLimits, AreComparedInSinglePrecision) {
    describe(kExposure);
    // The nearest float is above this bound.
    bounds("exposureAutoMaxValue", 20.0, 33000.1);
    ASSERT_GT(static_cast<double>(33000.1f), 33000.1);
    EXPECT_EQ(0, cam().ExPropertySetAutoRangeExpo(100.0f, 33000.1f));
    EXPECT_EQ("33000", camera.value("exposureAutoMaxValue"));
}

struct Factor {
    float decibels;
    int written;
};

void PrintTo(const Factor &each, std::ostream *out) {
    *out << each.decibels << " dB";
}

class FactorOfGain : public AutomaticLimits, public testing::WithParamInterface<Factor> {};

TEST_P(FactorOfGain, IsWrittenWithoutItsFraction) {
    describe(kGain);
    const auto &[decibels, written] = GetParam();
    EXPECT_EQ(0, cam().ExPropertySetAutoRangeGain(0.0f, decibels));
    EXPECT_EQ(std::to_string(written), camera.value("gainAutoMaxValue"));
    EXPECT_EQ(0, cam().ExPropertySetAutoRangeGain(decibels, 40.0f));
    EXPECT_EQ(std::to_string(written), camera.value("gainAutoMinValue"));
}

INSTANTIATE_TEST_SUITE_P(Decibels, FactorOfGain,
                         testing::Values(Factor{0.0f, 1}, Factor{6.0f, 1}, Factor{12.0f, 3},
                                         Factor{20.0f, 10}, Factor{26.0f, 19}, Factor{40.0f, 100},
                                         // Where double precision would end on the other side.
                                         Factor{22.2788658f, 13}, Factor{24.6089783f, 17},
                                         Factor{29.5424252f, 29}));

} // namespace
