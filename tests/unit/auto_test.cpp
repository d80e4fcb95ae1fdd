// Switches, enumerations, and automatic control of brightness, exposure and gain. Examples, in
// numbers; the kind sweep proves the rest.

#include "plug_in.h"

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
const float kNoNumber = std::numeric_limits<float>::quiet_NaN();

class AutomaticControl : public OpenedCamera {
protected:
    void brightnessMode(const char *mode) {
        camera.enumeration("autoBrightnessMode", mode, {"Off", "Active", "Paused"});
    }
};

TEST_F(AutomaticControl, SwitchesABooleanFeature) {
    camera.boolean("ReverseX", false).boolean("ReverseY", true);
    EXPECT_EQ(0, cam().ExPropertySetEna(REVERSE_X_PROPERTY_TYPE, true));
    EXPECT_EQ(0, cam().ExPropertySetEna(REVERSE_Y_PROPERTY_TYPE, false));
    EXPECT_EQ("@ReverseX ReverseX=true [d|ExPropertySetEna 17 1] "
              "@ReverseY ReverseY=false [d|ExPropertySetEna 18 0]",
              everything());
    camera.enumeration("ReverseX", "Off", {"Off", "On"});
    EXPECT_EQ(-2, cam().ExPropertySetEna(REVERSE_X_PROPERTY_TYPE, true));
    EXPECT_EQ("", happened());
}

TEST_F(AutomaticControl, WritesAnyEnumerationByNameEvenIfItShowsTheEntryAlready) {
    camera.enumeration("TriggerMode", "On", {"Off", "On"});
    EXPECT_EQ(0, cam().ExPropertySetEnumFromStr("TriggerMode", "On"));
    EXPECT_EQ("@TriggerMode TriggerMode:=On [d|ExPropertySetEnumFromStr \"TriggerMode\" \"On\"]",
              everything());
    EXPECT_THROW(cam().ExPropertySetEnumFromStr("TriggerMode", "on"),
                 GenICam_3_0::InvalidArgumentException);
    EXPECT_EQ("TriggerMode:=on", happened());
}

TEST_F(AutomaticControl, SwitchesFunctionsUnderAnActiveBrightnessMode) {
    const auto type = EXPOSURE_AUTO_PROPERTY_TYPE;
    const std::string on =
        "ExposureAuto:=Continuous [d|ExPropertySetEnaAutoPush 15 \"Continuous\"]";
    const std::string off = "ExposureAuto:=Off [d|ExPropertySetEnaAutoPush 15 \"Off\"]";
    camera.enumeration("ExposureAuto", "Once", {"Off", "Once", "Continuous"});
    for (const bool shorthand : {false, true}) { // which logs under the same name
        const auto set = [&](bool enable) {
            EXPECT_EQ(0, !shorthand ? cam().ExPropertySetEnaAutoPush(type, enable)
                         : enable   ? cam().ExPropertySetAutoCont(type)
                                    : cam().ExPropertySetAutoOff(type));
            return happened();
        };
        brightnessMode("Active");
        EXPECT_EQ("autoBrightnessMode?? " + on, set(true));
        EXPECT_EQ("autoBrightnessMode?? " + off, set(false));
        for (const std::string mode : {"Off", "Paused"}) {
            brightnessMode(mode.c_str());
            EXPECT_EQ("autoBrightnessMode?? autoBrightnessMode:=Active " + on +
                          " autoBrightnessMode:=" + mode,
                      set(true));
            EXPECT_EQ("autoBrightnessMode??", set(false)); // all of it is off already
        }
        camera.without("autoBrightnessMode");
        EXPECT_EQ(on, set(true));
        EXPECT_EQ(off, set(false));
    }
    brightnessMode("Off");
    EXPECT_EQ(0, cam().ExPropertySetAutoOff(GAIN_AUTO_PROPERTY_TYPE)); // though it is missing
    forget();
    EXPECT_EQ(-2, cam().ExPropertySetAutoCont(GAIN_AUTO_PROPERTY_TYPE));
    EXPECT_EQ("autoBrightnessMode?? autoBrightnessMode:=Active autoBrightnessMode:=Off",
              happened());
}

TEST_F(AutomaticControl, OfBrightnessIsSwitchedOnWithExposureFirst) {
    brightnessMode("Off");
    const std::string on = "autoBrightnessMode:=Active [d|ExSetAutoExpoEna]";
    EXPECT_EQ(-3, cam().ExSetAutoExpoEna(true)); // no sequence to choose: it stays on
    EXPECT_EQ(on, happened());
    camera.enumeration("autoBrightnessSequence", "Gain_Exposure_Iris",
                       {"Gain_Exposure_Iris", "Exposure_Gain_Iris"});
    EXPECT_EQ(0, cam().ExSetAutoExpoEna(true));
    EXPECT_EQ(on + " autoBrightnessSequence:=Exposure_Gain_Iris [d|ExSetAutoExpoEna]", happened());
    EXPECT_EQ(0, cam().ExSetAutoExpoEna(false));
    EXPECT_EQ("autoBrightnessMode:=Off [d|ExSetAutoExpoEna]", happened());
    camera.without("autoBrightnessMode");
    EXPECT_EQ(-2, cam().ExSetAutoExpoEna(true));
    EXPECT_EQ("", happened());
}

// The target of automatic control.

TEST_F(AutomaticControl, HasATargetOfTheNearestOf256AndHalvesGoUp) {
    camera.integer("autoBrightnessTarget", 77).range(0, 255, 1);
    const std::pair<float, int> cases[] = {{0.0f, 0},
                                           {-0.0f, 0},
                                           {1.0f, 255},
                                           {0.5f, 128},
                                           {0.75f, 191},
                                           {0.25f, 64},
                                           {0.001f, 0},
                                           {0.002f, 1},
                                           {0.3f, 77},
                                           {std::numeric_limits<float>::denorm_min(), 0},
                                           {std::nextafter(1.0f, 0.0f), 255},
                                           {kNoNumber, 0}};
    for (const auto &[target, written] : cases) {
        EXPECT_EQ(0, cam().ExSetAutoExpoVal(target));
        const std::string number = std::to_string(written);
        EXPECT_EQ("autoBrightnessTarget=" + number + " [d|ExPropertySetInt 10 " + number + "]",
                  happened())
            << target;
    }
    EXPECT_EQ(-2, [&] {
        camera.without("autoBrightnessTarget");
        return cam().ExSetAutoExpoVal(0.5f);
    }());
}

TEST_F(AutomaticControl, HasATargetComputedInSinglePrecision) {
    camera.integer("autoBrightnessTarget", 77);
    int unlikeDouble = 0;
    for (int level = 0; level < 255; ++level) {
        const float half = (static_cast<float>(level) + 0.5f) / 255.0f;
        for (const float target : {std::nextafter(half, 0.0f), half, std::nextafter(half, 1.0f)}) {
            EXPECT_EQ(0, cam().ExSetAutoExpoVal(target));
            const std::string written = camera.value("autoBrightnessTarget");
            EXPECT_EQ(std::to_string(std::lround(target * 255.0f)), written);
            unlikeDouble +=
                written != std::to_string(std::lround(static_cast<double>(target) * 255.0));
        }
    }
    EXPECT_LT(0, unlikeDouble);
}

TEST_F(AutomaticControl, HasATargetFromZeroToOneWhateverTheCamera) {
    framework.nodeMap(NodeMap::None);
    const std::pair<float, const char *> cases[] = {
        {1.0001f, "1.000100"},
        {-0.01f, "-0.010000"},
        {std::nextafter(1.0f, 2.0f), "1.000000"},
        {-std::numeric_limits<float>::denorm_min(), "-0.000000"},
        {kInfinity, "inf"},
        {-kInfinity, "-inf"}};
    for (const auto &[target, shown] : cases) {
        EXPECT_EQ(-5, cam().ExSetAutoExpoVal(target));
        EXPECT_EQ(std::string("[w|ExSetAutoExpoVal ") + shown + " 0.000000 1.000000]",
                  everything());
    }
    EXPECT_EQ(-1, cam().ExSetAutoExpoVal(1.0f));
}

// The limits of automatic gain and of automatic exposure. A camera ranges them as floats and takes
// them as integers.

class Limits : public AutomaticControl {
protected:
    // What the camera allows of both limits.
    void bounds(double lowest, double highest, const char *alone = nullptr) {
        brightnessMode("Active");
        for (const char *name : {"gainAutoMinValue", "gainAutoMaxValue", "exposureAutoMinValue",
                                 "exposureAutoMaxValue"})
            if (!alone || std::strstr(name, alone))
                camera.floating(name, 0).range(lowest, highest, 1.0).alsoInteger();
        wrappedAnew();
    }
    int gain(float min, float max) { return cam().ExPropertySetAutoRangeGain(min, max); }
    int exposure(float min, float max) { return cam().ExPropertySetAutoRangeExpo(min, max); }
    void expectGain(const char *min, const char *max) {
        EXPECT_EQ(min, camera.value("gainAutoMinValue"));
        EXPECT_EQ(max, camera.value("gainAutoMaxValue"));
    }
    void expectExposure(const char *min, const char *max) {
        EXPECT_EQ(min, camera.value("exposureAutoMinValue"));
        EXPECT_EQ(max, camera.value("exposureAutoMaxValue"));
    }
};

TEST_F(Limits, AreBothRangedOnceBeforeTheLowerIsWrittenBeforeTheUpper) {
    bounds(20.0, 33000.0);
    camera.enumeration("ExposureAuto", "Once", {"Once", "Continuous"});
    EXPECT_EQ(0, exposure(100.9f, 5000.7f));
    const std::string min = "exposureAutoMinValue";
    const std::string max = "exposureAutoMaxValue";
    const auto ranged = [](const std::string &name, const char *row) {
        return name + ".min " + name + ".max " + name + ".inc [d|ExPropertyGetFloatRange " + row +
               " 20.000000 33000.000000 1.000000] ";
    };
    const std::string written =
        min + "=100 [d|ExPropertySetInt 11 100] " + max + "=5000 [d|ExPropertySetInt 12 5000]";
    EXPECT_EQ("autoBrightnessMode?? ExposureAuto?? ExposureAuto:=Continuous " + ranged(min, "11") +
                  "autoBrightnessMode?? ExposureAuto?? " + ranged(max, "12") + written,
              happened());
    camera.enumeration("ExposureAuto", "Once", {"Once", "Continuous"});
    EXPECT_EQ(0, exposure(100.9f, 5000.7f));
    EXPECT_EQ(written, happened()); // the function is left alone
}

TEST_F(Limits, OfGainSwitchTheSourceForGood) {
    bounds(1.0, 100.0);
    camera.enumeration("gainAutoSource", "AnalogAll", {"AnalogAll", "SensorAll"});
    EXPECT_EQ(0, gain(6.0f, 26.0f));
    expectGain("1", "19");
    EXPECT_EQ("SensorAll", camera.value("gainAutoSource"));
}

TEST_F(Limits, MustBeInTheirOrderAndWithinTheirRange) {
    struct {
        float min, max;
        int gain, exposure;
    } const cases[] = {
        {12.0f, 6.0f, -5, -5},
        {12.0f, 12.0f, 0, 0},
        {0.0f, 40.0f, 0, -7},
        {-0.5f, 6.0f, -5, -5},
        {6.0f, 40.25f, -7, -7},
        {41.0f, 42.0f, -5, -5},
        {0.0f, 0.0f, 0, 0},
        {39.0f, 39.0f, 0, 0},
        {-kInfinity, 6.0f, -5, -5},
        {6.0f, kInfinity, -7, -7},
        // What is not a number passes every comparison; the camera is left to refuse it.
        {kNoNumber, 6.0f, 99, 0},
        {6.0f, kNoNumber, 99, 0},
        {kNoNumber, kNoNumber, 99, 0}};
    for (const auto &[min, max, ofGain, ofExposure] : cases) {
        SCOPED_TRACE(std::to_string(min) + ".." + std::to_string(max));
        bounds(1.0, 100.0, "gain");
        if (ofGain == 99)
            EXPECT_THROW(gain(min, max), GenICam_3_0::OutOfRangeException);
        else
            EXPECT_EQ(ofGain, gain(min, max));
        bounds(0.0, 39.0, "exposure");
        EXPECT_EQ(ofExposure, exposure(min, max));
        if (ofExposure != 0)
            expectExposure("0", "0");
    }
}

// The range of each counts for itself, and the lower one's is not that of the upper.
TEST_F(Limits, AreComparedWithTheirOwnRanges) {
    bounds(10.0, 20.0, "Min");
    bounds(30.0, 40.0, "Max");
    EXPECT_EQ(0, exposure(20.0f, 30.0f));
    EXPECT_EQ(-5, exposure(21.0f, 30.0f));
    EXPECT_EQ(-7, exposure(20.0f, 29.0f));
    EXPECT_EQ(-7, exposure(20.0f, 41.0f));
}

TEST_F(Limits, ThatCannotBeRangedOrWrittenSaySo) {
    bounds(1.0, 100.0);
    const auto expectBoth = [&](int code, const std::string &with = "") {
        for (const bool ofGain : {true, false}) {
            EXPECT_EQ(code, ofGain ? gain(1.0f, 2.0f) : exposure(1.0f, 2.0f));
            const std::string all = happened();
            const std::string last =
                ofGain ? "[w|ExPropertySetAutoRangeGain]" : "[w|ExPropertySetAutoRangeExpo]";
            EXPECT_EQ(last, all.substr(all.size() - last.size()));
            EXPECT_NE(all.npos, all.find(with)) << all;
        }
    };
    cam().nodeMap = nullptr;
    expectBoth(-4, "[w|ExPropertyGetFloatRange 1");
    bounds(1.0, 100.0);
    camera.without("gainAutoMaxValue").without("exposureAutoMaxValue");
    expectBoth(-6);
    bounds(1.0, 100.0);
    gain(1.0f, 2.0f);
    exposure(1.0f, 2.0f);
    camera.floating("gainAutoMaxValue", 0).floating("exposureAutoMaxValue", 0);
    expectBoth(-9);
    expectGain("1", "0"); // the new lower limit stays
    cam().nodeMap = nullptr;
    expectBoth(-8, "[w|ExPropertySetInt 1");
}

TEST_F(Limits, OfExposureAreTruncatedTowardsZeroToTheIntegersThereAre) {
    bounds(-static_cast<double>(kInfinity), static_cast<double>(kInfinity));
    struct {
        float min, max;
        const char *minWritten, *maxWritten;
    } const cases[] = {{-100.9f, -0.9f, "-100", "0"},
                       {0.9f, 5000.7f, "0", "5000"},
                       {-kInfinity, kInfinity, "-2147483648", "2147483647"},
                       {-3.0e38f, 3.0e38f, "-2147483648", "2147483647"},
                       {-2147483648.0f, 2147483648.0f, "-2147483648", "2147483647"},
                       {-2147483520.0f, 2147483520.0f, "-2147483520", "2147483520"},
                       {kNoNumber, kNoNumber, "0", "0"}};
    for (const auto &[min, max, minWritten, maxWritten] : cases) {
        EXPECT_EQ(0, exposure(min, max));
        expectExposure(minWritten, maxWritten);
    }
}

TEST_F(Limits, AreComparedInSinglePrecision) {
    ASSERT_GT(static_cast<double>(33000.1f), 33000.1); // the nearest float is above the bound
    bounds(20.0, 33000.1);
    EXPECT_EQ(0, exposure(33000.1f, 33000.1f));
    bounds(20.0, 33000.1, "gain");
    EXPECT_EQ(0, gain(decibels(33000.1f), decibels(33000.1f)));
}

TEST_F(Limits, OfGainAreFactorsWithoutTheirFraction) {
    const std::pair<float, const char *> cases[] = {
        {0.0f, "1"},
        {6.0f, "1"},
        {12.0f, "3"},
        {20.0f, "10"},
        {26.0f, "19"},
        {40.0f, "100"},
        // Where double precision would end on the other side.
        {22.2788658f, "13"},
        {24.6089783f, "17"},
        {29.5424252f, "29"}};
    bounds(1.0, 100.0);
    for (const auto &[db, written] : cases) {
        EXPECT_EQ(0, gain(db, db));
        expectGain(written, written);
    }
}

} // namespace
