// Lookup table and gamma: the table holds the user's entries or the gamma curve. Examples, in
// numbers; the kind sweep proves the rest.

#include "plug_in.h"

namespace {

class LookupTable : public OpenedCamera {
protected:
    void table(const char *mode, const char *type) {
        camera.enumeration("lutMode", mode, {"Off", "Active", "Transparent", "off", "active"});
        camera.enumeration("lutType", type,
                           {"UserDefined", "GammaCorrection", "Contrast", "gammacorrection"});
        camera.enumeration("lutSize", "Bpp8", {"Bpp8", "Bpp10", "Bpp12"});
    }
    void gamma(double present = 0.5) {
        camera.floating("gammaCorrection", present)
            .range(0.25, 4.0, 0.125)
            .onlyWhile("lutType", "GammaCorrection");
    }
    // What asking for the state of such a table comes to.
    static std::string state(const std::string &mode, const std::string &type) {
        return "lutMode?? lutType?? [d|ExPropertyGetLUTMode \"" + mode + "\" \"" + type + "\"]";
    }
    int set(int newState) {
        return cam().ExPropertySetLUTMode(static_cast<td_lg_states>(newState));
    }

    const std::string onState = state("Active", "GammaCorrection");
    const std::string reading =
        " [d|ExPropertyGetGammaRange] gammaCorrection.min gammaCorrection.max gammaCorrection.inc "
        "[d|ExPropertyGetGammaRange 0.250000 4.000000]";
    float value = -12345;
    float range[3] = {-12345, -12345, -12345};
    int ranged() { return cam().ExPropertyGetGammaRange(&range[0], &range[1], &range[2]); }
};

TEST_F(LookupTable, IsInAStateThatFollowsFromModeAndType) {
    struct {
        const char *mode, *type;
        int state;
    } const cases[] = {{"Off", "UserDefined", 1},
                       {"Off", "GammaCorrection", 1},
                       {"Off", "Contrast", 1},
                       {"Active", "UserDefined", 2},
                       {"Active", "GammaCorrection", 3},
                       {"Active", "Contrast", 4},
                       {"Active", "gammacorrection", 4},
                       {"Transparent", "UserDefined", 4},
                       {"Transparent", "GammaCorrection", 4},
                       {"off", "UserDefined", 4},
                       {"active", "GammaCorrection", 4}};
    for (const auto &each : cases) {
        table(each.mode, each.type);
        EXPECT_EQ(each.state, cam().ExPropertyGetLUTMode());
        EXPECT_EQ(state(each.mode, each.type), happened());
    }
    EXPECT_EQ(4u, sizeof(td_lg_states));
    camera.without("lutType");
    EXPECT_EQ(0, cam().ExPropertyGetLUTMode());
    EXPECT_EQ("@lutMode @lutType", everything());
    cam().nodeMap = nullptr;
    EXPECT_EQ(0, cam().ExPropertyGetLUTMode());
    EXPECT_EQ("[w|ExPropertyGetLUTMode]", happened());
}

TEST_F(LookupTable, IsSwitchedTypeFirstAndModeLast) {
    const std::string off = "lutMode:=Off [d|ExPropertySetLUTMode \"Off\" \"\"]";
    const std::string user = "lutMode:=Active [d|ExPropertySetLUTMode \"Active\" \"UserDefined\"]";
    const std::pair<int, std::string> cases[] = {
        {2, "lutType:=UserDefined lutSize:=Bpp12 " + user},
        {3, "lutType:=GammaCorrection lutMode:=Active [d|ExPropertySetLUTMode \"Active\" "
            "\"GammaCorrection\"]"},
        {0, off},
        {1, off},
        {4, off},
        {-1, off},
        {5, off}};
    table("Transparent", "Contrast");
    for (const auto &[newState, what] : cases) {
        EXPECT_EQ(0, set(newState));
        EXPECT_EQ(what, happened()) << newState;
    }
    camera.without("lutSize");
    EXPECT_EQ(0, set(2));
    EXPECT_EQ("lutType:=UserDefined " + user, happened());
    camera.without("lutType");
    for (const int newState : {1, 2, 3}) {
        EXPECT_EQ(-2, set(newState));
        EXPECT_EQ("@lutMode @lutType", everything());
    }
}

TEST_F(LookupTable, HasGammasRangeReadWithItsTypeSwitchedForAMoment) {
    struct {
        const char *mode, *type;
        bool switches;
    } const cases[] = {{"Active", "UserDefined", true},   {"Off", "UserDefined", true},
                       {"Active", "Contrast", true},      {"Transparent", "Contrast", true},
                       {"Off", "GammaCorrection", false}, {"Active", "GammaCorrection", false}};
    for (const auto &[mode, type, switches] : cases) {
        table(mode, type);
        gamma();
        wrappedAnew();
        EXPECT_EQ(0, ranged());
        EXPECT_THAT(range, ElementsAre(0.25f, 4.0f, 0.125f));
        EXPECT_EQ(state(mode, type) + (state(mode, type) == onState ? "" : " lutType??") +
                      (switches ? " lutType:=GammaCorrection [d|ExPropertyGetGammaRange]" : "") +
                      reading + (switches ? std::string(" lutType:=") + type : ""),
                  happened());
    }
}

TEST_F(LookupTable, HasGammasRangeKeptTogetherWithTheFloatRangeOfGamma) {
    table("Active", "GammaCorrection");
    const auto asFloat = [&] {
        return cam().ExPropertyGetFloatRange(GAMMA_PROPERTY_TYPE, &range[0], &range[1], &range[2]);
    };
    for (const bool floatFirst : {false, true}) {
        gamma();
        wrappedAnew();
        EXPECT_EQ(0, floatFirst ? asFloat() : ranged());
        camera.range(0.1, 9.0, 0.5);
        forget();
        cam().nodeMap = nullptr;
        EXPECT_EQ(0, ranged());
        EXPECT_THAT(range, ElementsAre(0.25f, 4.0f, 0.125f));
        EXPECT_EQ(0, asFloat());
        EXPECT_THAT(range, ElementsAre(0.25f, 4.0f, 0.125f));
        EXPECT_EQ("", everything());
    }
}

TEST_F(LookupTable, HasNoGammaRangeInAnUnknownState) {
    camera.floating("gammaCorrection", 0.5);
    EXPECT_EQ(1, ranged());
    EXPECT_THAT(range, ElementsAre(-12345, -12345, -12345));
    EXPECT_EQ("", happened());
}

TEST_F(LookupTable, HasGammaReadAfterItsRange) {
    table("Active", "GammaCorrection");
    gamma(0.45);
    EXPECT_EQ(0, cam().ExPropertyGetGamma(&value));
    EXPECT_EQ(0.45f, value);
    const std::string read = " gammaCorrection? [d|ExPropertyGetGamma 0.450000]";
    EXPECT_EQ(onState + " " + onState + reading + read, happened());
    EXPECT_EQ(0, cam().ExPropertyGetGamma(&value));
    EXPECT_EQ(onState + read, happened());
    camera.without("lutMode").without("lutType"); // it may have a gamma all the same
    EXPECT_EQ(0, wrappedAnew().ExPropertyGetGamma(&value));
    EXPECT_EQ(read.substr(1), happened());
}

TEST_F(LookupTable, HasAGammaOfMinusOneWhenItDoesSomethingElse) {
    const std::pair<const char *, int> cases[] = {{"Off", 1}, {"Active", 2}, {"Transparent", 4}};
    for (const auto &[mode, number] : cases) {
        table(mode, "UserDefined");
        gamma();
        value = 9;
        EXPECT_EQ(0, cam().ExPropertyGetGamma(&value));
        EXPECT_EQ(-1.0f, value);
        EXPECT_EQ(state(mode, "UserDefined") + " [d|ExPropertyGetGamma " + std::to_string(number) +
                      "]",
                  happened());
    }
}

TEST_F(LookupTable, WarnsOfAGammaThatIsMissing) {
    EXPECT_EQ(-2, cam().ExPropertyGetGamma(&value));
    EXPECT_EQ("[w|ExPropertyGetGamma]", happened());
    table("Active", "GammaCorrection");
    EXPECT_EQ(-2, cam().ExPropertyGetGamma(&value));
    EXPECT_EQ(onState + " " + onState + " [w|ExPropertyGetGamma] [w|ExPropertyGetGamma]",
              happened());
    EXPECT_EQ(-5, cam().ExPropertySetGamma(1.0f));
    EXPECT_EQ(onState + " " + onState + " [w|ExPropertySetGamma]", happened());
    cam().nodeMap = nullptr;
    EXPECT_EQ(-2, cam().ExPropertyGetGamma(&value));
    EXPECT_EQ("[w|ExPropertyGetLUTMode] [w|ExPropertyGetGamma]", happened());
    EXPECT_EQ(-1, cam().ExPropertySetGamma(1.0f));
    EXPECT_EQ("[w|ExPropertyGetLUTMode]", happened());
    EXPECT_EQ(-12345, value);
}

// Writing gamma.

class WritingGamma : public LookupTable {
protected:
    int set(float gamma) { return cam().ExPropertySetGamma(gamma); }

    // The camera's limits as they were when the object read them; it has wider ones now.
    void limits(double low, double high) {
        table("Active", "GammaCorrection");
        camera.floating("gammaCorrection", 1.0).range(low, high);
        wrappedAnew();
        ranged();
        camera.range(-100.0, 100.0);
        forget();
    }
};

TEST_F(WritingGamma, ToleratesALittleBeyondTheRange) {
    limits(0.45, 2.2);
    const std::pair<float, const char *> accepted[] = {
        {1.5f, "1.5"},
        {2.25f, "2.25"},
        {0.40625f, "0.40625"},
        {std::numeric_limits<float>::quiet_NaN(), "nan"}};
    for (const auto &[asked, shown] : accepted) {
        EXPECT_EQ(0, set(asked));
        EXPECT_EQ(0u, happened().find(onState + " gammaCorrection=" + shown + " [d|")) << shown;
    }
    for (const auto &[asked, shown] : {std::pair(2.27f, "2.270000"), {0.38f, "0.380000"}}) {
        EXPECT_EQ(-6, set(asked));
        EXPECT_EQ(onState + " [w|ExPropertySetGamma " + shown + " 0.390000 2.260000]", happened());
    }
}

// In single precision 0.25 - 0.06 would round to 0.19 and let the next smaller number through.
TEST_F(WritingGamma, ComparesInDoublePrecision) {
    for (const auto &[min, max] : {std::pair(0.25, 4.0), {0.5, 2.0}, {1.0, 16.0}, {3.0, 3.0}}) {
        limits(min, max);
        const auto low = static_cast<float>(min - 0.06);
        const auto high = static_cast<float>(max + 0.06);
        for (const float asked : {std::nextafter(low, 0.0f), low, std::nextafter(low, 99.0f),
                                  std::nextafter(high, 0.0f), high, std::nextafter(high, 99.0f)}) {
            const auto wide = static_cast<double>(asked);
            EXPECT_EQ(min - 0.06 > wide || wide > max + 0.06 ? -6 : 0, set(asked)) << asked;
        }
    }
}

TEST_F(WritingGamma, SwitchesToGammaWithoutARangeCheckAndForGood) {
    table("Off", "UserDefined");
    gamma();
    const std::string on = state("Off", "UserDefined") +
                           " [d|ExPropertySetGamma] lutType:=GammaCorrection lutMode:=Active "
                           "[d|ExPropertySetLUTMode \"Active\" \"GammaCorrection\"]";
    EXPECT_THROW(set(77.0f), GenICam_3_0::OutOfRangeException);
    EXPECT_EQ(on + " gammaCorrection=77", happened());
    table("Off", "UserDefined");
    EXPECT_EQ(0, set(0.75f));
    EXPECT_EQ(on + " gammaCorrection=0.75 [d|ExPropertySetGamma 0.750000]", happened());
    table("Off", "UserDefined");
    camera.without("gammaCorrection");
    EXPECT_EQ(-2, set(0.75f));
    EXPECT_EQ(on + " [w|ExPropertySetGamma]", happened());

    table("Off", "UserDefined");
    // The type vanishes between the question for the state and the switch.
    camera.feature("lutType").raises(
        Op::Lookup, [this] { camera.without("lutType"); }, 2);
    EXPECT_EQ(-4, set(0.75f));
    EXPECT_EQ(state("Off", "UserDefined") + " [d|ExPropertySetGamma] [w|ExPropertySetGamma]",
              happened());
}

TEST_F(WritingGamma, IsMinusTwoWhenGammaVanishesAfterItsRangeWasRead) {
    limits(0.45, 2.2);
    camera.without("gammaCorrection");
    EXPECT_EQ(-2, set(1.0f));
    EXPECT_EQ(onState + " [w|ExPropertySetGamma]", happened());
}

// Writing the user's table.

TEST_F(LookupTable, HasItsChannelSelectedWhereThereAreSeveral) {
    const int least = std::numeric_limits<int>::min();
    camera.enumeration("LUTSelector", "Luminance", {"Luminance", "Red", "Green", "Blue"});
    struct {
        int channel, channels;
        const char *what;
    } const cases[] = {{0, 3, "LUTSelector:=Red"},
                       {1, 3, "LUTSelector:=Green"},
                       {2, 3, "LUTSelector:=Blue"},
                       {5, 3, "LUTSelector:=Blue"},
                       {-1, 3, "LUTSelector:=Blue"},
                       {least, 3, "LUTSelector:=Blue"},
                       {0, 2, "LUTSelector:=Red"},
                       {0, 1, ""},
                       {0, 0, ""},
                       {0, -1, ""},
                       {0, least, ""}};
    for (const auto &[channel, channels, what] : cases) {
        EXPECT_EQ(0, cam().ExPropertySetLUTChannel(channel, channels));
        EXPECT_EQ(what, happened());
    }
    camera.without("LUTSelector");
    EXPECT_EQ(-2, cam().ExPropertySetLUTChannel(0, 3));
    EXPECT_EQ("[w|ExPropertySetLUTChannel]", happened());
    cam().nodeMap = nullptr;
    EXPECT_EQ(0, cam().ExPropertySetLUTChannel(0, 1));
    EXPECT_EQ("", happened());
}

TEST_F(LookupTable, HasAnEntryWrittenAfterItsIndex) {
    camera.integer("LUTIndex", 0).range(-10, 4095);
    EXPECT_EQ(-2, cam().ExPropertySetLUTValue(1, 2));
    EXPECT_EQ("@LUTIndex @LUTValue", everything());
    camera.integer("LUTValue", 0).range(-10, 4095);
    EXPECT_EQ(0, cam().ExPropertySetLUTValue(17, 1023));
    EXPECT_EQ("@LUTIndex @LUTValue LUTIndex=17 LUTValue=1023", everything());
    EXPECT_EQ(0, cam().ExPropertySetLUTValue(-1, -2));
    EXPECT_EQ("LUTIndex=-1 LUTValue=-2", happened());
    EXPECT_THROW(cam().ExPropertySetLUTValue(4096, 1), GenICam_3_0::OutOfRangeException);
    EXPECT_EQ("LUTIndex=4096", happened());
}

} // namespace
