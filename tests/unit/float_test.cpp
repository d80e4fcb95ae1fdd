// Float features: decibels, what is prepared for which property, ranges.

#include "plug_in.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kUntouched = -12345.0f;

class FloatFeature : public OpenedCamera {
protected:
    float value = kUntouched;
    float min = kUntouched;
    float max = kUntouched;
    float inc = kUntouched;

    int get(PropertyType type) { return cam().ExPropertyGetFloat(type, &value); }
    int range(PropertyType type) { return cam().ExPropertyGetFloatRange(type, &min, &max, &inc); }
    void expectRange(float wantedMin, float wantedMax, float wantedInc) {
        EXPECT_FLOAT_EQ(wantedMin, min);
        EXPECT_FLOAT_EQ(wantedMax, max);
        EXPECT_FLOAT_EQ(wantedInc, inc);
    }
};

Line rangeLine(const std::string &property, const std::string &numbers) {
    return features.debug("ExPropertyGetFloatRange",
                          "### get property " + property + " range: " + numbers + " ###\n");
}

// Properties that need no preparation and no conversion.

struct Plain {
    PropertyType type;
    const char *name;
};

class PlainFloat : public FloatFeature, public testing::WithParamInterface<Plain> {};

TEST_P(PlainFloat, IsReadWrittenAndRangedAsItIs) {
    const PropertyType type = GetParam().type;
    const char *const name = GetParam().name;
    camera.floating(name, 2.5).range(0.5, 100.0, 0.25);
    const std::string property = std::to_string(type) + " (" + name + ")";

    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, get(type)); }));
    EXPECT_EQ(2.5f, value);
    EXPECT_THAT(camera.accesses(), ElementsAre(read(name)));

    forget();
    EXPECT_EQ(lines({rangeLine(property, "min=0.500000 max=100.000000 inc=0.250000")}),
              logOf([&] { EXPECT_EQ(0, range(type)); }));
    EXPECT_EQ(0.5f, min);
    EXPECT_EQ(100.0f, max);
    EXPECT_EQ(0.25f, inc);
    EXPECT_THAT(camera.accesses(), ElementsAre(readMin(name), readMax(name), readInc(name)));

    forget();
    EXPECT_EQ(lines({features.debug("ExPropertySetFloat",
                                    "### set property " + property + " to 12.750000 ###\n")}),
              logOf([&] { EXPECT_EQ(0, cam().ExPropertySetFloat(type, 12.75f)); }));
    EXPECT_THAT(camera.accesses(), ElementsAre(write(name, 12.75)));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, PlainFloat,
    testing::Values(Plain{WIDTH_MAX_PROPERTY_TYPE, "WidthMax"},
                    Plain{EXPOSURE_TIME_PROPERTY_TYPE, "ExposureTime"},
                    Plain{GAMMA_PROPERTY_TYPE, "gammaCorrection"},
                    Plain{FRAME_RATE_PROPERTY_TYPE, "AcquisitionFrameRate"},
                    Plain{AUTO_BRIGHTNESS_TARGET_PROPERTY_TYPE, "autoBrightnessTarget"},
                    Plain{BALANCE_WHITE_PERIOD_PROPERTY_TYPE, "balanceWhitePeriod"}),
    [](const auto &each) { return each.param.name; });

TEST_F(FloatFeature, IsNarrowedTo32Bits) {
    camera.floating("ExposureTime", 0.1);
    EXPECT_EQ(0, get(EXPOSURE_TIME_PROPERTY_TYPE));
    EXPECT_EQ(0.1f, value);
    EXPECT_EQ(0, cam().ExPropertySetFloat(EXPOSURE_TIME_PROPERTY_TYPE, 0.3f));
    EXPECT_EQ(write("ExposureTime", static_cast<double>(0.3f)), camera.accesses().back());
}

TEST_F(FloatFeature, IsReadEvenWhenNobodyWantsTheValue) {
    camera.floating("ExposureTime", 0.1);
    EXPECT_EQ(0, cam().ExPropertyGetFloat(EXPOSURE_TIME_PROPERTY_TYPE, nullptr));
    EXPECT_THAT(camera.accesses(), ElementsAre(read("ExposureTime")));
}

TEST_F(FloatFeature, LeavesTheVariableAloneWhenItIsMissing) {
    EXPECT_EQ(-2, get(EXPOSURE_TIME_PROPERTY_TYPE));
    EXPECT_EQ(-2, range(EXPOSURE_TIME_PROPERTY_TYPE));
    expectRange(kUntouched, kUntouched, kUntouched);
    framework.nodeMap(NodeMap::None);
    wrapAnew();
    EXPECT_EQ(-1, get(EXPOSURE_TIME_PROPERTY_TYPE));
    EXPECT_EQ(-1, range(EXPOSURE_TIME_PROPERTY_TYPE));
    expectRange(kUntouched, kUntouched, kUntouched);
    EXPECT_EQ(kUntouched, value);
}

TEST_F(FloatFeature, LetsTheRefusalOfAValueOutUnlogged) {
    camera.floating("ExposureTime", 100.0).range(20.0, 1000.0, 0.5);
    for (const float refused : {19.9f, 1000.5f}) {
        EXPECT_EQ(silence, logOf([&] {
                      EXPECT_THROW(cam().ExPropertySetFloat(EXPOSURE_TIME_PROPERTY_TYPE, refused),
                                   GenICam_3_0::OutOfRangeException);
                  }));
        EXPECT_EQ("100", camera.value("ExposureTime"));
    }
}

TEST_F(FloatFeature, IsWrittenBesideItsStepsToo) {
    camera.floating("ExposureTime", 100.0).range(20.0, 1000.0, 0.5);
    EXPECT_EQ(0, cam().ExPropertySetFloat(EXPOSURE_TIME_PROPERTY_TYPE, 20.25f));
    EXPECT_EQ("20.25", camera.value("ExposureTime"));
}

TEST_F(FloatFeature, LetsTheErrorOfReadingOut) {
    camera.floating("ExposureTime", 1.0).access(WO);
    EXPECT_THROW(get(EXPOSURE_TIME_PROPERTY_TYPE), GenICam_3_0::AccessException);
    EXPECT_EQ(kUntouched, value);
}

TEST_F(FloatFeature, HasItsRangeReadOnce) {
    camera.floating("AcquisitionFrameRate", 30.0).range(1.0, 60.0, 0.5);
    range(FRAME_RATE_PROPERTY_TYPE);
    camera.range(2.0, 90.0, 0.25);
    forget();
    min = max = inc = kUntouched;
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, range(FRAME_RATE_PROPERTY_TYPE)); }));
    expectRange(1.0f, 60.0f, 0.5f);
    EXPECT_THAT(trace(), IsEmpty());

    cam().nodeMap = nullptr;
    min = max = inc = kUntouched;
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, range(FRAME_RATE_PROPERTY_TYPE)); }));
    expectRange(1.0f, 60.0f, 0.5f);

    wrapAnew();
    EXPECT_EQ(0, range(FRAME_RATE_PROPERTY_TYPE));
    expectRange(2.0f, 90.0f, 0.25f);
}

TEST_F(FloatFeature, HasEachPartOfItsRangeDeliveredAlone) {
    camera.floating("AcquisitionFrameRate", 30.0).range(1.0, 60.0, 0.5);
    for (int i = 0; i < 2; ++i) {
        min = max = inc = kUntouched;
        cam().ExPropertyGetFloatRange(FRAME_RATE_PROPERTY_TYPE, &min, nullptr, nullptr);
        cam().ExPropertyGetFloatRange(FRAME_RATE_PROPERTY_TYPE, nullptr, &max, nullptr);
        cam().ExPropertyGetFloatRange(FRAME_RATE_PROPERTY_TYPE, nullptr, nullptr, &inc);
        expectRange(1.0f, 60.0f, 0.5f);
        EXPECT_EQ(3u, camera.accesses().size());
    }
}

TEST_F(FloatFeature, HasItsRangeAskedForAgainAfterAFailure) {
    EXPECT_EQ(-2, range(FRAME_RATE_PROPERTY_TYPE));
    camera.floating("AcquisitionFrameRate", 30.0)
        .range(1.0, 60.0, 0.5)
        .raises(Op::GetInc, Fault::Timeout);
    EXPECT_THROW(range(FRAME_RATE_PROPERTY_TYPE), GenICam_3_0::TimeoutException);
    expectRange(kUntouched, kUntouched, kUntouched);
    EXPECT_EQ(0, range(FRAME_RATE_PROPERTY_TYPE));
    expectRange(1.0f, 60.0f, 0.5f);
}

TEST_F(FloatFeature, HasAnIncrementOfZeroWhereTheCameraHasNone) {
    camera.floating("AcquisitionFrameRate", 30.0).range(1.0, 60.0);
    EXPECT_EQ(
        lines({rangeLine("9 (AcquisitionFrameRate)", "min=1.000000 max=60.000000 inc=0.000000")}),
        logOf([&] { EXPECT_EQ(0, range(FRAME_RATE_PROPERTY_TYPE)); }));
    EXPECT_EQ(0.0f, inc);
}

// Gain.

class Gain : public FloatFeature {
protected:
    Gain() {
        camera.enumeration("GainSelector", "AnalogAll", {"AnalogAll", "SensorAll"})
            .floating("Gain", 1.0)
            .range(1.0, 100.0, 1.0)
            .selectedBy("GainSelector", {{"AnalogAll", 2.0}, {"SensorAll", 10.0}});
    }
};

TEST_F(Gain, IsReadInDecibelsAfterSelectingTheWholeSensor) {
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, get(GAIN_PROPERTY_TYPE)); }));
    EXPECT_EQ(20.0f, value);
    EXPECT_THAT(camera.accesses(), ElementsAre(write("GainSelector", "SensorAll"), read("Gain")));
    EXPECT_EQ("SensorAll", camera.value("GainSelector"));
}

TEST_F(Gain, IsZeroDecibelsAtOne) {
    camera.floating("Gain", 1.0);
    EXPECT_EQ(0, get(GAIN_PROPERTY_TYPE));
    EXPECT_EQ(0.0f, value);
}

TEST_F(Gain, HasItsSelectorWrittenEachTimeWithoutReadingIt) {
    get(GAIN_PROPERTY_TYPE);
    forget();
    get(GAIN_PROPERTY_TYPE);
    EXPECT_THAT(camera.accesses(), ElementsAre(write("GainSelector", "SensorAll"), read("Gain")));
}

TEST_F(Gain, IsMinusInfinityDecibelsAtZeroAndNoNumberBelow) {
    camera.floating("Gain", 0.0);
    EXPECT_EQ(0, get(GAIN_PROPERTY_TYPE));
    EXPECT_EQ(-std::numeric_limits<float>::infinity(), value);
    camera.floating("Gain", -1.0);
    EXPECT_EQ(0, get(GAIN_PROPERTY_TYPE));
    EXPECT_TRUE(std::isnan(value));
}

TEST_F(Gain, IsWrittenAsALinearFactor) {
    camera.range(1.0, 100.0);
    EXPECT_EQ(lines({features.debug("ExPropertySetFloat",
                                    "### set property 6 (Gain) to 6.000000 ###\n")}),
              logOf([&] { EXPECT_EQ(0, cam().ExPropertySetFloat(GAIN_PROPERTY_TYPE, 6.0f)); }));
    ASSERT_EQ(2u, camera.accesses().size());
    EXPECT_EQ(write("GainSelector", "SensorAll"), camera.accesses()[0]);
    EXPECT_EQ("SensorAll", camera.value("GainSelector"));
    EXPECT_NEAR(1.9953, std::stod(camera.value("Gain")), 0.00005);
    EXPECT_FLOAT_EQ(1.9952623f, std::stof(camera.value("Gain")));
}

TEST_F(Gain, IsWrittenInSinglePrecision) {
    camera.range(0.0, 100.0);
    cam().ExPropertySetFloat(GAIN_PROPERTY_TYPE, 6.0f);
    const double written = std::stod(camera.value("Gain"));
    EXPECT_EQ(written, static_cast<double>(static_cast<float>(written)));
}

TEST_F(Gain, IsWrittenAsExactlyOneAtZeroDecibels) {
    EXPECT_EQ(0, cam().ExPropertySetFloat(GAIN_PROPERTY_TYPE, 0.0f));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(write("GainSelector", "SensorAll"), write("Gain", 1.0)));
}

TEST_F(Gain, HasItsRangeInDecibelsWithTheFirstStepAsIncrement) {
    EXPECT_EQ(lines({rangeLine("6 (Gain)", "min=0.000000 max=40.000000 inc=6.020600")}),
              logOf([&] { EXPECT_EQ(0, range(GAIN_PROPERTY_TYPE)); }));
    expectRange(0.0f, 40.0f, decibels(2.0f));
    EXPECT_THAT(camera.accesses(), ElementsAre(write("GainSelector", "SensorAll"), readMin("Gain"),
                                               readMax("Gain"), readInc("Gain")));
}

TEST_F(Gain, AddsMinimumAndIncrementBeforeNarrowingThem) {
    camera.range(-1.0, 100.0, 1.0000001);
    EXPECT_EQ(0, range(GAIN_PROPERTY_TYPE));
    EXPECT_NEAR(-140.0, inc, 0.001); // narrowed first, it would be -138.47
}

TEST_F(Gain, HasARangeWithoutNumbersKeptAsItIs) {
    camera.range(0.0, 100.0, 0.0);
    EXPECT_EQ(lines({rangeLine("6 (Gain)", "min=-inf max=40.000000 inc=-inf")}),
              logOf([&] { EXPECT_EQ(0, range(GAIN_PROPERTY_TYPE)); }));
    forget();
    EXPECT_EQ(0, range(GAIN_PROPERTY_TYPE));
    expectRange(-std::numeric_limits<float>::infinity(), 40.0f,
                -std::numeric_limits<float>::infinity());
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(Gain, NeedsNoSelector) {
    for (const bool present : {false, true}) {
        if (present)
            camera.integer("GainSelector", 0);
        else
            camera.without("GainSelector");
        camera.floating("Gain", 10.0);
        wrapAnew();
        EXPECT_EQ(0, get(GAIN_PROPERTY_TYPE));
        EXPECT_EQ(20.0f, value);
        EXPECT_EQ(0, cam().ExPropertySetFloat(GAIN_PROPERTY_TYPE, 20.0f));
        EXPECT_EQ(0, range(GAIN_PROPERTY_TYPE));
        EXPECT_THAT(camera.accesses(),
                    ElementsAre(read("Gain"), write("Gain", 10.0), readMin("Gain"), readMax("Gain"),
                                readInc("Gain")));
    }
}

TEST_F(Gain, HasItsSelectorSetEvenWhenItIsMissingItself) {
    camera.without("Gain");
    EXPECT_EQ(-2, get(GAIN_PROPERTY_TYPE));
    EXPECT_EQ(-2, range(GAIN_PROPERTY_TYPE));
    EXPECT_EQ(-2, cam().ExPropertySetFloat(GAIN_PROPERTY_TYPE, 1.0f));
    const Event select = write("GainSelector", "SensorAll");
    EXPECT_THAT(camera.accesses(), ElementsAre(select, select, select));
    EXPECT_EQ("SensorAll", camera.value("GainSelector"));
}

TEST_F(Gain, LeavesItsSelectorSetWhenAnErrorGetsOut) {
    camera.raises(Op::GetValue, Fault::Runtime);
    EXPECT_THROW(get(GAIN_PROPERTY_TYPE), GenICam_3_0::RuntimeException);
    EXPECT_EQ("SensorAll", camera.value("GainSelector"));

    camera.enumeration("GainSelector", "AnalogAll", {"AnalogAll", "SensorAll"});
    camera.floating("Gain", 10.0).range(1.0, 8.0);
    EXPECT_THROW(cam().ExPropertySetFloat(GAIN_PROPERTY_TYPE, 40.0f),
                 GenICam_3_0::OutOfRangeException);
    EXPECT_EQ("SensorAll", camera.value("GainSelector"));
}

TEST_F(Gain, LetsTheErrorOfItsSelectorOut) {
    camera.enumeration("GainSelector", "AnalogAll", {"AnalogAll"});
    EXPECT_THROW(get(GAIN_PROPERTY_TYPE), GenICam_3_0::InvalidArgumentException);
    camera.enumeration("GainSelector", "AnalogAll", {"AnalogAll", "SensorAll"}).access(RO);
    EXPECT_THROW(range(GAIN_PROPERTY_TYPE), GenICam_3_0::AccessException);
    EXPECT_THROW(cam().ExPropertySetFloat(GAIN_PROPERTY_TYPE, 1.0f), GenICam_3_0::AccessException);
    EXPECT_EQ(kUntouched, value);
}

// White balance ratios: two properties, one feature.

class BalanceRatio : public FloatFeature {
protected:
    BalanceRatio() {
        camera.enumeration("BalanceRatioSelector", "Green", {"Red", "Green", "Blue"})
            .floating("BalanceRatio", 1.0)
            .range(0.1, 100.0, 0.0)
            .selectedBy("BalanceRatioSelector", {{"Red", 10.0}, {"Green", 1.0}, {"Blue", 100.0}});
    }
};

TEST_F(BalanceRatio, IsReadOfTheColourThatThePropertyNames) {
    EXPECT_EQ(0, get(BALANCE_RATIO_RED_PROPERTY_TYPE));
    EXPECT_EQ(20.0f, value);
    EXPECT_EQ("Red", camera.value("BalanceRatioSelector"));
    EXPECT_EQ(0, get(BALANCE_RATIO_BLUE_PROPERTY_TYPE));
    EXPECT_EQ(40.0f, value);
    EXPECT_EQ("Blue", camera.value("BalanceRatioSelector"));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(write("BalanceRatioSelector", "Red"), read("BalanceRatio"),
                            write("BalanceRatioSelector", "Blue"), read("BalanceRatio")));
}

TEST_F(BalanceRatio, IsWrittenOfTheColourThatThePropertyNames) {
    EXPECT_EQ(lines({features.debug("ExPropertySetFloat",
                                    "### set property 20 (BalanceRatio) to 0.000000 ###\n"),
                     features.debug("ExPropertySetFloat",
                                    "### set property 21 (BalanceRatio) to 20.000000 ###\n")}),
              logOf([&] {
                  EXPECT_EQ(0, cam().ExPropertySetFloat(BALANCE_RATIO_RED_PROPERTY_TYPE, 0.0f));
                  EXPECT_EQ(0, cam().ExPropertySetFloat(BALANCE_RATIO_BLUE_PROPERTY_TYPE, 20.0f));
              }));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(write("BalanceRatioSelector", "Red"), write("BalanceRatio", 1.0),
                            write("BalanceRatioSelector", "Blue"), write("BalanceRatio", 10.0)));
}

TEST_F(BalanceRatio, HasARangeOfItsOwnPerColour) {
    EXPECT_EQ(
        lines({rangeLine("20 (BalanceRatio)", "min=-20.000000 max=40.000000 inc=-20.000000")}),
        logOf([&] { EXPECT_EQ(0, range(BALANCE_RATIO_RED_PROPERTY_TYPE)); }));
    camera.range(1.0, 10.0, 0.0);
    EXPECT_EQ(lines({rangeLine("21 (BalanceRatio)", "min=0.000000 max=20.000000 inc=0.000000")}),
              logOf([&] { EXPECT_EQ(0, range(BALANCE_RATIO_BLUE_PROPERTY_TYPE)); }));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(write("BalanceRatioSelector", "Red"), readMin("BalanceRatio"),
                            readMax("BalanceRatio"), readInc("BalanceRatio"),
                            write("BalanceRatioSelector", "Blue"), readMin("BalanceRatio"),
                            readMax("BalanceRatio"), readInc("BalanceRatio")));
    EXPECT_EQ(0, range(BALANCE_RATIO_RED_PROPERTY_TYPE));
    expectRange(-20.0f, 40.0f, -20.0f);
    EXPECT_EQ("Blue", camera.value("BalanceRatioSelector"));
}

TEST_F(BalanceRatio, NeedsNoSelector) {
    camera.without("BalanceRatioSelector").floating("BalanceRatio", 10.0);
    EXPECT_EQ(0, get(BALANCE_RATIO_BLUE_PROPERTY_TYPE));
    EXPECT_EQ(20.0f, value);
    EXPECT_THAT(camera.accesses(), ElementsAre(read("BalanceRatio")));
}

// Limits of the automatic functions.

struct Limit {
    PropertyType type;
    const char *name;
    const char *automation;
    bool isGain;
};

class AutomaticLimit : public FloatFeature, public testing::WithParamInterface<Limit> {
protected:
    AutomaticLimit() { describe("Off", "Off"); }

    void describe(const char *mode, const char *automatic) {
        camera.enumeration("autoBrightnessMode", mode, {"Off", "Active"});
        camera.enumeration(automation, automatic, {"Off", "Once", "Continuous"});
        camera.enumeration("gainAutoSource", "AnalogAll", {"AnalogAll", "SensorAll"});
        camera.floating(name, 10.0).range(1.0, 8.0, 1.0).onlyWhile("autoBrightnessMode", "Active");
    }

    // The camera's preparation from everything off, what is done to the limit, and putting back.
    std::vector<Event> prepared(std::vector<Event> doing) const {
        std::vector<Event> all = {readText("autoBrightnessMode"),
                                  write("autoBrightnessMode", "Active"), readText(automation),
                                  write(automation, "Continuous")};
        if (GetParam().isGain)
            all.push_back(write("gainAutoSource", "SensorAll"));
        all.insert(all.end(), doing.begin(), doing.end());
        all.push_back(write("autoBrightnessMode", "Off"));
        return all;
    }

    float external(double linear) const {
        return GetParam().isGain ? decibels(static_cast<float>(linear))
                                 : static_cast<float>(linear);
    }

    std::vector<Line> preparationLines(bool modeSwitched, bool sourceSet) const {
        std::vector<Line> all;
        const auto add = [&](const char *text) {
            all.push_back(features.debug("ExPropertyGetFloat", text));
        };
        if (GetParam().isGain && modeSwitched) {
            add("temporary enabling auto mode...\n");
            add("done\n");
        }
        if (GetParam().isGain && sourceSet) {
            add("temporary enabling SensorAll mode for autogain ...\n");
            add("done\n");
        }
        return all;
    }

    const PropertyType type = GetParam().type;
    const std::string name = GetParam().name;
    const std::string automation = GetParam().automation;
    const std::string property = std::to_string(GetParam().type) + " (" + GetParam().name + ")";
};

TEST_P(AutomaticLimit, IsReadWithAutomationOnAndLeavesItOn) {
    EXPECT_EQ(lines(preparationLines(true, true)), logOf([&] { EXPECT_EQ(0, get(type)); }));
    EXPECT_FLOAT_EQ(external(10.0), value);
    EXPECT_THAT(camera.accesses(), ElementsAreArray(prepared({read(name)})));
    EXPECT_EQ("Off", camera.value("autoBrightnessMode"));
    EXPECT_EQ("Continuous", camera.value(automation));
    EXPECT_EQ(GetParam().isGain ? "SensorAll" : "AnalogAll", camera.value("gainAutoSource"));
}

TEST_P(AutomaticLimit, IsPreparedEvenWhenNobodyWantsTheValue) {
    EXPECT_EQ(0, cam().ExPropertyGetFloat(type, nullptr));
    EXPECT_THAT(camera.accesses(), ElementsAreArray(prepared({read(name)})));
}

TEST_P(AutomaticLimit, IsReadWithoutNeedlessWrites) {
    describe("Active", "Continuous");
    EXPECT_EQ(lines(preparationLines(false, true)), logOf([&] { EXPECT_EQ(0, get(type)); }));
    std::vector<Event> expected = {readText("autoBrightnessMode"), readText(automation)};
    if (GetParam().isGain)
        expected.push_back(write("gainAutoSource", "SensorAll"));
    expected.push_back(read(name));
    EXPECT_THAT(camera.accesses(), ElementsAreArray(expected));
}

TEST_P(AutomaticLimit, IsSwitchedFromAnyOtherEntryToContinuous) {
    describe("Off", "Once");
    EXPECT_EQ(0, get(type));
    EXPECT_THAT(camera.accesses(), ElementsAreArray(prepared({read(name)})));
}

TEST_P(AutomaticLimit, IsReadOnACameraWithoutAnythingToPrepare) {
    camera.floating(name, 10.0)
        .without("autoBrightnessMode")
        .without(automation)
        .without("gainAutoSource");
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, get(type)); }));
    EXPECT_FLOAT_EQ(external(10.0), value);
    EXPECT_THAT(camera.accesses(), ElementsAre(read(name)));
}

TEST_P(AutomaticLimit, SkipsPreparationsOfAnotherKind) {
    camera.floating(name, 10.0)
        .integer("autoBrightnessMode", 0)
        .boolean(automation, false)
        .command("gainAutoSource");
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, get(type)); }));
    EXPECT_THAT(camera.accesses(), ElementsAre(read(name)));
}

TEST_P(AutomaticLimit, HasTheModePutBackButAutomationLeftOnWhenItIsMissing) {
    camera.without(name);
    EXPECT_EQ(lines(preparationLines(true, true)), logOf([&] { EXPECT_EQ(-2, get(type)); }));
    EXPECT_EQ(kUntouched, value);
    EXPECT_THAT(camera.accesses(), ElementsAreArray(prepared({})));
    EXPECT_EQ("Continuous", camera.value(automation));

    describe("Off", "Off");
    camera.without(name);
    forget();
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(-2, range(type)); }));
    expectRange(kUntouched, kUntouched, kUntouched);
    EXPECT_THAT(camera.accesses(), ElementsAreArray(prepared({})));
}

TEST_P(AutomaticLimit, LeavesTheModeActiveWhenAnErrorGetsOut) {
    camera.raises(Op::GetValue, Fault::Timeout);
    EXPECT_THROW(get(type), GenICam_3_0::TimeoutException);
    EXPECT_EQ("Active", camera.value("autoBrightnessMode"));
    EXPECT_EQ("Continuous", camera.value(automation));
    EXPECT_EQ(read(name), camera.accesses().back());

    describe("Off", "Off");
    camera.raises(Op::GetMin, Fault::Timeout);
    forget();
    EXPECT_THROW(range(type), GenICam_3_0::TimeoutException);
    EXPECT_EQ("Active", camera.value("autoBrightnessMode"));
    EXPECT_EQ(readMin(name), camera.accesses().back());
}

TEST_P(AutomaticLimit, LeavesTheModeActiveWhenItsAutomationRaisesAnError) {
    camera.enumeration(automation, "Off", {"Off"});
    EXPECT_THROW(get(type), GenICam_3_0::InvalidArgumentException);
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                            readText(automation), write(automation, "Continuous")));
    EXPECT_EQ("Active", camera.value("autoBrightnessMode"));
}

TEST_P(AutomaticLimit, HasItsRangeReadWithAutomationOnAndItsPreparationUnlogged) {
    const std::string numbers = GetParam().isGain ? "min=0.000000 max=18.061800 inc=6.020600"
                                                  : "min=1.000000 max=8.000000 inc=1.000000";
    EXPECT_EQ(lines({rangeLine(property, numbers)}), logOf([&] { EXPECT_EQ(0, range(type)); }));
    expectRange(external(1.0), external(8.0), external(GetParam().isGain ? 2.0 : 1.0));
    EXPECT_THAT(camera.accesses(),
                ElementsAreArray(prepared({readMin(name), readMax(name), readInc(name)})));
    EXPECT_EQ("Continuous", camera.value(automation));
}

TEST_P(AutomaticLimit, HasItsRangePreparedOnceOnly) {
    range(type);
    describe("Off", "Off");
    forget();
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, range(type)); }));
    expectRange(external(1.0), external(8.0), external(GetParam().isGain ? 2.0 : 1.0));
    EXPECT_THAT(trace(), IsEmpty());
    EXPECT_EQ("Off", camera.value(automation));
}

TEST_P(AutomaticLimit, IsWrittenUnconvertedAndUnprepared) {
    camera.floating(name, 10.0).range(1.0, 8.0, 1.0);
    EXPECT_EQ(lines({features.debug("ExPropertySetFloat",
                                    "### set property " + property + " to 6.000000 ###\n")}),
              logOf([&] { EXPECT_EQ(0, cam().ExPropertySetFloat(type, 6.0f)); }));
    EXPECT_THAT(camera.accesses(), ElementsAre(write(name, 6.0)));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, AutomaticLimit,
    testing::Values(
        Limit{AUTO_EXPOSURE_MIN_PROPERTY_TYPE, "exposureAutoMinValue", "ExposureAuto", false},
        Limit{AUTO_EXPOSURE_MAX_PROPERTY_TYPE, "exposureAutoMaxValue", "ExposureAuto", false},
        Limit{AUTO_GAIN_MIN_PROPERTY_TYPE, "gainAutoMinValue", "GainAuto", true},
        Limit{AUTO_GAIN_MAX_PROPERTY_TYPE, "gainAutoMaxValue", "GainAuto", true}),
    [](const auto &each) { return each.param.name; });

// When the lines of a preparation appear.

TEST_F(FloatFeature, LogsThePreparationOfAGainLimitAroundEachWrite) {
    describeWholeCamera(camera);
    cam();
    logOf([&] { get(AUTO_GAIN_MIN_PROPERTY_TYPE); });
    std::vector<Event> all = trace();
    all.erase(std::remove_if(all.begin(), all.end(),
                             [](const Event &event) { return event.op == Op::Lookup; }),
              all.end());
    const auto logged = [](const char *text) {
        return scripted::event(Op::Log, "7", std::string("[d|ExPropertyGetFloat] ") + text);
    };
    EXPECT_THAT(all, ElementsAre(readText("autoBrightnessMode"),
                                 logged("temporary enabling auto mode...\n"),
                                 write("autoBrightnessMode", "Active"), logged("done\n"),
                                 readText("GainAuto"), write("GainAuto", "Continuous"),
                                 logged("temporary enabling SensorAll mode for autogain ...\n"),
                                 write("gainAutoSource", "SensorAll"), logged("done\n"),
                                 read("gainAutoMinValue"), write("autoBrightnessMode", "Off")));
}

} // namespace
