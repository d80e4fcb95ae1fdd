// Switches and automatic control when nothing is logged: the results are the same, and neither sink
// receives anything.

#include "plug_in.h"

namespace {

class Unlogged : public OpenedCamera {
protected:
    Unlogged() {
        describeWholeCamera(camera);
        camera.enumeration("autoBrightnessSequence", "Gain_Exposure_Iris",
                           {"Gain_Exposure_Iris", "Exposure_Gain_Iris"});
    }

    static int silently(const std::function<int()> &call) {
        int result = -99;
        EXPECT_EQ(silence, host::caught([&] { result = call(); }));
        return result;
    }
    int setExposureLimits() { return cam().ExPropertySetAutoRangeExpo(100.0f, 20000.0f); }
};

TEST_F(Unlogged, SwitchingIsDone) {
    EXPECT_EQ(0, silently([&] { return cam().ExPropertySetEna(REVERSE_X_PROPERTY_TYPE, true); }));
    EXPECT_EQ("true", camera.value("ReverseX"));
    EXPECT_EQ(0, silently([&] { return cam().ExSetAutoExpoEna(true); }));
    EXPECT_EQ("Active", camera.value("autoBrightnessMode"));
    EXPECT_EQ("Exposure_Gain_Iris", camera.value("autoBrightnessSequence"));
}

TEST_F(Unlogged, AMissingNodeMapIsMinusOne) {
    framework.nodeMap(NodeMap::None);
    EXPECT_EQ(-1, silently([&] { return cam().ExPropertySetEnumFromStr("GainAuto", "Off"); }));
    EXPECT_EQ(-1, silently([&] { return cam().ExPropertySetAutoOff(GAIN_AUTO_PROPERTY_TYPE); }));
    EXPECT_EQ(-1, silently([&] { return cam().ExSetAutoExpoEna(true); }));
}

TEST_F(Unlogged, ALowerLimitOutOfBoundsIsMinusFive) {
    EXPECT_EQ(-5, silently([&] { return cam().ExPropertySetAutoRangeExpo(1.0f, 20000.0f); }));
}

TEST_F(Unlogged, LimitsWithoutARangeAreMinusFourAndMinusSix) {
    camera.without("exposureAutoMaxValue");
    EXPECT_EQ(-6, silently([&] { return setExposureLimits(); }));
    camera.without("exposureAutoMinValue");
    wrapAnew();
    EXPECT_EQ(-4, silently([&] { return setExposureLimits(); }));
}

TEST_F(Unlogged, LimitsThatAreNoIntegersAreMinusEightAndMinusNine) {
    EXPECT_EQ(-8, silently([&] { return setExposureLimits(); }));
    camera.floating("exposureAutoMinValue", 0.0).range(20.0, 1000.0, 2.0).alsoInteger();
    wrapAnew();
    EXPECT_EQ(-9, silently([&] { return setExposureLimits(); }));
    EXPECT_EQ("100", camera.value("exposureAutoMinValue"));
}

} // namespace
