// Float features: conversion to and from decibels, ranges. Examples, in numbers; the kind sweep
// proves the rest, as it does what the limits of automation need of the camera.

#include "plug_in.h"

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

class FloatFeature : public OpenedCamera {
protected:
    float value = -12345;
    float range[3] = {-12345, -12345, -12345};
    int ranged(PropertyType type) {
        return cam().ExPropertyGetFloatRange(type, &range[0], &range[1], &range[2]);
    }
};

TEST_F(FloatFeature, IsReadWrittenAndRangedAsItIsWhereNothingElseIsSaid) {
    const std::pair<PropertyType, std::string> rows[] = {
        {WIDTH_MAX_PROPERTY_TYPE, "WidthMax"},
        {EXPOSURE_TIME_PROPERTY_TYPE, "ExposureTime"},
        {GAMMA_PROPERTY_TYPE, "gammaCorrection"},
        {FRAME_RATE_PROPERTY_TYPE, "AcquisitionFrameRate"},
        {AUTO_BRIGHTNESS_TARGET_PROPERTY_TYPE, "autoBrightnessTarget"},
        {BALANCE_WHITE_PERIOD_PROPERTY_TYPE, "balanceWhitePeriod"}};
    for (const auto &[type, name] : rows) {
        const std::string row = std::to_string(type);
        camera.floating(name, 2.5).range(0.5, 100.0, 0.25);
        EXPECT_EQ(0, cam().ExPropertyGetFloat(type, &value));
        EXPECT_EQ(2.5f, value);
        EXPECT_EQ(0, ranged(type));
        EXPECT_THAT(range, ElementsAre(0.5f, 100.0f, 0.25f));
        EXPECT_EQ(0, cam().ExPropertySetFloat(type, 12.75f));
        EXPECT_EQ(name + "? " + name + ".min " + name + ".max " + name + ".inc " +
                      "[d|ExPropertyGetFloatRange " + row + " 0.500000 100.000000 0.250000] " +
                      name + "=12.75 [d|ExPropertySetFloat " + row + " 12.750000]",
                  happened());
    }
}

TEST_F(FloatFeature, IsNarrowedTo32BitsAndWidenedAgain) {
    camera.floating("ExposureTime", 0.1).range(0.1, 0.7, 0.3);
    EXPECT_EQ(0, cam().ExPropertyGetFloat(EXPOSURE_TIME_PROPERTY_TYPE, &value));
    EXPECT_EQ(0.1f, value);
    EXPECT_EQ(0, ranged(EXPOSURE_TIME_PROPERTY_TYPE));
    EXPECT_THAT(range, ElementsAre(0.1f, 0.7f, 0.3f));
    forget();
    EXPECT_EQ(0, cam().ExPropertySetFloat(EXPOSURE_TIME_PROPERTY_TYPE, 0.3f));
    EXPECT_EQ(write("ExposureTime", static_cast<double>(0.3f)), camera.accesses().back());
}

TEST_F(FloatFeature, IsLeftToTheCameraToRefuseAndWrittenBesideItsSteps) {
    camera.floating("ExposureTime", 100.0).range(20.0, 1000.0, 0.5);
    EXPECT_EQ(0, cam().ExPropertySetFloat(EXPOSURE_TIME_PROPERTY_TYPE, 20.25f));
    EXPECT_EQ("20.25", camera.value("ExposureTime"));
    EXPECT_THROW(cam().ExPropertySetFloat(EXPOSURE_TIME_PROPERTY_TYPE, 1000.5f),
                 GenICam_3_0::OutOfRangeException);
}

TEST_F(FloatFeature, HasItsRangeReadOnceAndDeliversNoneThatItLacks) {
    EXPECT_EQ(-2, ranged(FRAME_RATE_PROPERTY_TYPE));
    EXPECT_THAT(range, ElementsAre(-12345, -12345, -12345));
    camera.floating("AcquisitionFrameRate", 30.0).range(1.0, 60.0);
    for (const char *expected :
         {"AcquisitionFrameRate.min AcquisitionFrameRate.max AcquisitionFrameRate.inc "
          "[d|ExPropertyGetFloatRange 9 1.000000 60.000000 0.000000]",
          ""}) {
        forget();
        EXPECT_EQ(0, ranged(FRAME_RATE_PROPERTY_TYPE));
        EXPECT_THAT(range, ElementsAre(1.0f, 60.0f, 0.0f));
        EXPECT_EQ(expected, happened());
        camera.range(2.0, 90.0, 0.25);
    }
}

// Properties that are shown in decibels under a selector.

struct Selected {
    PropertyType type;
    const char *name, *selector, *entry;
};
const Selected kSelected[] = {
    {GAIN_PROPERTY_TYPE, "Gain", "GainSelector", "SensorAll"},
    {BALANCE_RATIO_RED_PROPERTY_TYPE, "BalanceRatio", "BalanceRatioSelector", "Red"},
    {BALANCE_RATIO_BLUE_PROPERTY_TYPE, "BalanceRatio", "BalanceRatioSelector", "Blue"},
};

class Decibels : public FloatFeature {
protected:
    void gain(double linear) { camera.floating("Gain", linear); }
};

TEST_F(Decibels, AreThoseOfTheSelectedEntry) {
    for (const auto &[type, name, selector, entry] : kSelected) {
        camera.enumeration(selector, "Elsewhere", {"Elsewhere", entry})
            .floating(name, 1.0)
            .range(1.0, 100.0, 9.0)
            .selectedBy(selector, {{"Elsewhere", 2.0}, {entry, 10.0}});
        const std::string number = std::to_string(type);
        const std::string it = name;
        const std::string select = std::string(selector) + ":=" + entry + " ";
        wrappedAnew();
        for (int time = 0; time < 2; ++time) { // it is selected each time, and not asked before
            EXPECT_EQ(0, cam().ExPropertyGetFloat(type, &value));
            EXPECT_EQ(20.0f, value);
            EXPECT_EQ(select + it + "?", happened());
        }
        EXPECT_EQ(0, ranged(type));
        EXPECT_THAT(range, ElementsAre(0.0f, 40.0f, 20.0f)); // the first step, not its width
        EXPECT_EQ(select + it + ".min " + it + ".max " + it + ".inc [d|ExPropertyGetFloatRange " +
                      number + " 0.000000 40.000000 20.000000]",
                  happened());
        EXPECT_EQ(0, cam().ExPropertySetFloat(type, 0.0f));
        EXPECT_EQ(select + it + "=1 [d|ExPropertySetFloat " + number + " 0.000000]", happened());
        EXPECT_EQ(entry, camera.value(selector));
    }
}

TEST_F(Decibels, AreReadInSinglePrecision) {
    int unlikeDouble = 0;
    for (int step = 1; step <= 400; ++step) {
        const float linear = 0.37f * static_cast<float>(step);
        gain(static_cast<double>(linear));
        cam().ExPropertyGetFloat(GAIN_PROPERTY_TYPE, &value);
        EXPECT_EQ(20.0f * std::log10(linear), value) << linear;
        unlikeDouble += value != static_cast<float>(20.0 * std::log10(static_cast<double>(linear)));
    }
    EXPECT_LT(10, unlikeDouble);
}

TEST_F(Decibels, AreWrittenInSinglePrecision) {
    gain(1.0);
    int unlikeDouble = 0;
    for (int step = -200; step <= 200; ++step) {
        const float db = 0.23f * static_cast<float>(step);
        EXPECT_EQ(0, cam().ExPropertySetFloat(GAIN_PROPERTY_TYPE, db));
        const double written = std::stod(camera.value("Gain"));
        EXPECT_EQ(static_cast<double>(std::pow(10.0f, db / 20.0f)), written) << db;
        unlikeDouble +=
            written !=
            static_cast<double>(static_cast<float>(std::pow(10.0, static_cast<double>(db) / 20)));
    }
    EXPECT_LT(10, unlikeDouble);
    cam().ExPropertySetFloat(GAIN_PROPERTY_TYPE, 6.0f);
    EXPECT_FLOAT_EQ(1.9952623f, std::stof(camera.value("Gain")));
}

TEST_F(Decibels, OfNothingAndLessAreKeptAsTheyCome) {
    gain(0.0);
    EXPECT_EQ(0, cam().ExPropertyGetFloat(GAIN_PROPERTY_TYPE, &value));
    EXPECT_EQ(-kInfinity, value);
    camera.range(0.0, 100.0, 0.0);
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(0, ranged(GAIN_PROPERTY_TYPE));
        EXPECT_THAT(range, ElementsAre(-kInfinity, 40.0f, -kInfinity));
    }
    gain(-1.0);
    EXPECT_EQ(0, cam().ExPropertyGetFloat(GAIN_PROPERTY_TYPE, &value));
    EXPECT_TRUE(std::isnan(value));
}

TEST_F(Decibels, OfTheFirstStepAddMinimumAndIncrementBeforeNarrowingThem) {
    gain(1.0);
    camera.range(-1.0, 100.0, 1.0000001);
    EXPECT_EQ(0, ranged(GAIN_PROPERTY_TYPE));
    EXPECT_NEAR(-140.0, range[2], 0.001); // narrowed first, it would be -138.47
}

} // namespace
