// Lookup table and gamma: the table holds the user's entries or the gamma curve.

#include "plug_in.h"

#include <cmath>

namespace {

constexpr float kUntouched = -12345.0f;

class LookupTable : public OpenedCamera {
protected:
    void table(const char *mode, const char *type) {
        camera.enumeration("lutMode", mode, {"Off", "Active", "Transparent", "off", "active"});
        camera.enumeration("lutType", type,
                           {"UserDefined", "GammaCorrection", "Contrast", "gammacorrection"});
        camera.enumeration("lutSize", "Bpp8", {"Bpp8", "Bpp10", "Bpp12"});
    }
    void gamma() {
        camera.floating("gammaCorrection", 0.5)
            .range(0.25, 4.0, 0.125)
            .onlyWhile("lutType", "GammaCorrection");
    }
    int set(int state) { return cam().ExPropertySetLUTMode(static_cast<td_lg_states>(state)); }

    static Line stateLine(const std::string &mode, const std::string &type) {
        return features.debug("ExPropertyGetLUTMode",
                              "### get Lut mode \"" + mode + "\"; Lut type \"" + type + "\" ###\n");
    }
    static Line switchLine(const std::string &mode, const std::string &type) {
        return features.debug("ExPropertySetLUTMode", "### set Lut mode to \"" + mode +
                                                          "\"; Lut type to \"" + type + "\" ###\n");
    }
    const Line noNodeMap =
        features.warning("ExPropertyGetLUTMode", "can't get dev params to get LutGamma mode\n");
    const std::vector<Event> askingTheState = {readText("lutMode"), readText("lutType")};

    static std::vector<Event> joined(std::vector<Event> first, const std::vector<Event> &second) {
        first.insert(first.end(), second.begin(), second.end());
        return first;
    }
};

// The state of the table.

struct TableState {
    const char *mode;
    const char *type;
    td_lg_states state;
};

class StateOfTheTable : public LookupTable, public testing::WithParamInterface<TableState> {};

TEST_P(StateOfTheTable, FollowsFromModeAndType) {
    const auto &[mode, type, state] = GetParam();
    table(mode, type);
    td_lg_states found = TD_LG_UNKNOWN;
    EXPECT_EQ(lines({stateLine(mode, type)}), logOf([&] { found = cam().ExPropertyGetLUTMode(); }));
    EXPECT_EQ(state, found);
    EXPECT_THAT(camera.accesses(), ElementsAreArray(askingTheState));
}

INSTANTIATE_TEST_SUITE_P(Combinations, StateOfTheTable,
                         testing::Values(TableState{"Off", "UserDefined", TD_LG_OFF},
                                         TableState{"Off", "GammaCorrection", TD_LG_OFF},
                                         TableState{"Off", "Contrast", TD_LG_OFF},
                                         TableState{"Active", "UserDefined", TD_LG_USER_LUT},
                                         TableState{"Active", "GammaCorrection", TD_LG_GAMMA},
                                         TableState{"Active", "Contrast", TD_LG_OTHER},
                                         TableState{"Active", "gammacorrection", TD_LG_OTHER},
                                         TableState{"Transparent", "UserDefined", TD_LG_OTHER},
                                         TableState{"Transparent", "GammaCorrection", TD_LG_OTHER},
                                         TableState{"off", "UserDefined", TD_LG_OTHER},
                                         TableState{"active", "GammaCorrection", TD_LG_OTHER}));

TEST_F(LookupTable, HasStatesNumberedAsCallersKnowThem) {
    EXPECT_EQ(0, TD_LG_UNKNOWN);
    EXPECT_EQ(1, TD_LG_OFF);
    EXPECT_EQ(2, TD_LG_USER_LUT);
    EXPECT_EQ(3, TD_LG_GAMMA);
    EXPECT_EQ(4, TD_LG_OTHER);
    EXPECT_EQ(4u, sizeof(td_lg_states));
}

TEST_F(LookupTable, IsInAnUnknownStateWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    EXPECT_EQ(lines({noNodeMap}),
              logOf([&] { EXPECT_EQ(TD_LG_UNKNOWN, cam().ExPropertyGetLUTMode()); }));
}

TEST_F(LookupTable, IsInAnUnknownStateWithoutModeOrType) {
    for (const char *missing : {"lutMode", "lutType"}) {
        table("Active", "UserDefined");
        camera.without(missing);
        EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(TD_LG_UNKNOWN, cam().ExPropertyGetLUTMode()); }));
        camera.integer(missing, 1);
        EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(TD_LG_UNKNOWN, cam().ExPropertyGetLUTMode()); }));
    }
    EXPECT_THAT(camera.accesses(), IsEmpty());
}

TEST_F(LookupTable, IsLookedUpWholeBeforeItIsRead) {
    table("Off", "UserDefined");
    cam().ExPropertyGetLUTMode();
    EXPECT_THAT(trace(), ElementsAre(lookup("lutMode"), lookup("lutType"), readText("lutMode"),
                                     readText("lutType")));
}

TEST_F(LookupTable, LetsTheErrorOfReadingItsStateOut) {
    table("Off", "UserDefined");
    camera.feature("lutMode").access(WO);
    EXPECT_EQ(silence, logOf([&] {
                  EXPECT_THROW(cam().ExPropertyGetLUTMode(), GenICam_3_0::AccessException);
              }));
}

// Switching the table.

TEST_F(LookupTable, IsSwitchedToTheUsersTableIn12Bits) {
    table("Off", "GammaCorrection");
    EXPECT_EQ(lines({switchLine("Active", "UserDefined")}), logOf([&] { EXPECT_EQ(0, set(2)); }));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(write("lutType", "UserDefined"), write("lutSize", "Bpp12"),
                            write("lutMode", "Active")));
}

TEST_F(LookupTable, IsSwitchedToTheUsersTableWhateverItsSizeWhereThatCannotBeChosen) {
    table("Off", "GammaCorrection");
    for (const bool present : {false, true}) {
        camera.without("lutSize");
        if (present)
            camera.integer("lutSize", 8);
        forget();
        EXPECT_EQ(lines({switchLine("Active", "UserDefined")}),
                  logOf([&] { EXPECT_EQ(0, set(2)); }));
        EXPECT_THAT(camera.accesses(),
                    ElementsAre(write("lutType", "UserDefined"), write("lutMode", "Active")));
    }
}

TEST_F(LookupTable, IsSwitchedToTheGammaCurve) {
    table("Off", "UserDefined");
    EXPECT_EQ(lines({switchLine("Active", "GammaCorrection")}),
              logOf([&] { EXPECT_EQ(0, set(3)); }));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(write("lutType", "GammaCorrection"), write("lutMode", "Active")));
    EXPECT_EQ("Bpp8", camera.value("lutSize"));
}

TEST_F(LookupTable, IsSwitchedOffByAnyOtherStateWithItsTypeLeftAlone) {
    for (const int state : {4, 0, 1, -1, 5}) {
        table("Active", "Contrast");
        forget();
        EXPECT_EQ(lines({switchLine("Off", "")}), logOf([&] { EXPECT_EQ(0, set(state)); }));
        EXPECT_THAT(camera.accesses(), ElementsAre(write("lutMode", "Off")));
        EXPECT_EQ("Contrast", camera.value("lutType"));
    }
}

TEST_F(LookupTable, IsNotSwitchedWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    EXPECT_EQ(lines({features.warning("ExPropertySetLUTMode",
                                      "can't get dev params to change LutGamma mode\n")}),
              logOf([&] { EXPECT_EQ(-1, set(3)); }));
}

TEST_F(LookupTable, IsNotSwitchedWithoutModeOrType) {
    for (const char *missing : {"lutMode", "lutType"}) {
        for (const int state : {0, 1, 2, 3, 4}) {
            table("Active", "Contrast");
            camera.without(missing);
            EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(-2, set(state)); }));
            EXPECT_THAT(camera.accesses(), IsEmpty());
        }
    }
}

TEST_F(LookupTable, LetsTheRefusalOfAnEntryOut) {
    table("Off", "UserDefined");
    camera.enumeration("lutType", "UserDefined", {"UserDefined"});
    EXPECT_EQ(silence, logOf([&] { EXPECT_THROW(set(3), GenICam_3_0::InvalidArgumentException); }));
    EXPECT_EQ("Off", camera.value("lutMode"));
}

// The range of gamma.

class GammaRange : public LookupTable {
protected:
    float min = kUntouched;
    float max = kUntouched;
    float inc = kUntouched;

    int range() { return cam().ExPropertyGetGammaRange(&min, &max, &inc); }
    void expectRange(float wantedMin, float wantedMax, float wantedInc) {
        EXPECT_EQ(wantedMin, min);
        EXPECT_EQ(wantedMax, max);
        EXPECT_EQ(wantedInc, inc);
    }
    static Line line(const char *text) { return features.debug("ExPropertyGetGammaRange", text); }

    const Line disabled = line("### Gamma feature is disabled ###\n");
    const Line obtained = line("Gamma correction range: node is obtained\n");
    const Line rangeRead = line("### Gamma range: min=0.250000 max=4.000000 ###\n");
    const std::vector<Event> reading = {readMin("gammaCorrection"), readMax("gammaCorrection"),
                                        readInc("gammaCorrection")};
};

TEST_F(GammaRange, IsReadAtOnceWhenTheTableHoldsGamma) {
    table("Active", "GammaCorrection");
    gamma();
    EXPECT_EQ(lines({stateLine("Active", "GammaCorrection"), obtained, rangeRead}),
              logOf([&] { EXPECT_EQ(0, range()); }));
    expectRange(0.25f, 4.0f, 0.125f);
    EXPECT_THAT(camera.accesses(), ElementsAreArray(joined(askingTheState, reading)));
}

TEST_F(GammaRange, IsReadWithTheTypeSwitchedForAMoment) {
    for (const auto &[mode, type] :
         {std::pair("Active", "UserDefined"), std::pair("Off", "UserDefined"),
          std::pair("Active", "Contrast"), std::pair("Transparent", "Contrast")}) {
        table(mode, type);
        gamma();
        wrapAnew();
        cam();
        EXPECT_EQ(lines({stateLine(mode, type), disabled, obtained, rangeRead}),
                  logOf([&] { EXPECT_EQ(0, range()); }));
        expectRange(0.25f, 4.0f, 0.125f);
        EXPECT_THAT(camera.accesses(),
                    ElementsAre(readText("lutMode"), readText("lutType"), readText("lutType"),
                                write("lutType", "GammaCorrection"), readMin("gammaCorrection"),
                                readMax("gammaCorrection"), readInc("gammaCorrection"),
                                write("lutType", type)));
        EXPECT_EQ(mode, camera.value("lutMode"));
    }
}

TEST_F(GammaRange, IsReadWithoutAWriteWhenTheTypeIsGammaThoughTheTableIsOff) {
    table("Off", "GammaCorrection");
    gamma();
    EXPECT_EQ(lines({stateLine("Off", "GammaCorrection"), obtained, rangeRead}),
              logOf([&] { EXPECT_EQ(0, range()); }));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("lutMode"), readText("lutType"), readText("lutType"),
                            readMin("gammaCorrection"), readMax("gammaCorrection"),
                            readInc("gammaCorrection")));
}

TEST_F(GammaRange, IsReadOnce) {
    table("Active", "UserDefined");
    gamma();
    range();
    camera.range(0.1, 9.0, 0.5);
    forget();
    min = max = inc = kUntouched;
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, range()); }));
    expectRange(0.25f, 4.0f, 0.125f);
    EXPECT_THAT(trace(), IsEmpty());
    cam().nodeMap = nullptr;
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, range()); }));
}

TEST_F(GammaRange, HasEachPartDeliveredAlone) {
    table("Active", "GammaCorrection");
    gamma();
    for (int i = 0; i < 2; ++i) {
        min = max = inc = kUntouched;
        EXPECT_EQ(0, cam().ExPropertyGetGammaRange(&min, nullptr, nullptr));
        EXPECT_EQ(0, cam().ExPropertyGetGammaRange(nullptr, &max, nullptr));
        EXPECT_EQ(0, cam().ExPropertyGetGammaRange(nullptr, nullptr, &inc));
        expectRange(0.25f, 4.0f, 0.125f);
    }
}

TEST_F(GammaRange, IsReadEvenWhenNobodyWantsIt) {
    table("Active", "GammaCorrection");
    gamma();
    EXPECT_EQ(0, cam().ExPropertyGetGammaRange(nullptr, nullptr, nullptr));
    EXPECT_THAT(camera.accesses(), ElementsAreArray(joined(askingTheState, reading)));
}

TEST_F(GammaRange, IsTheSameAsTheFloatRangeOfGammaWhicheverIsReadFirst) {
    table("Active", "GammaCorrection");
    gamma();
    EXPECT_EQ(0, cam().ExPropertyGetFloatRange(GAMMA_PROPERTY_TYPE, nullptr, nullptr, nullptr));
    camera.range(0.1, 9.0, 0.5);
    forget();
    EXPECT_EQ(0, range());
    expectRange(0.25f, 4.0f, 0.125f);
    EXPECT_THAT(trace(), IsEmpty());

    wrapAnew();
    EXPECT_EQ(0, range());
    expectRange(0.1f, 9.0f, 0.5f);
    forget();
    min = max = inc = kUntouched;
    EXPECT_EQ(0, cam().ExPropertyGetFloatRange(GAMMA_PROPERTY_TYPE, &min, &max, &inc));
    expectRange(0.1f, 9.0f, 0.5f);
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(GammaRange, IsOneWhenTheStateOfTheTableIsUnknown) {
    camera.enumeration("lutType", "GammaCorrection", {"GammaCorrection"});
    gamma();
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(1, range()); }));
    expectRange(kUntouched, kUntouched, kUntouched);
    EXPECT_THAT(camera.accesses(), IsEmpty());

    framework.nodeMap(NodeMap::None);
    wrapAnew();
    EXPECT_EQ(lines({noNodeMap}), logOf([&] { EXPECT_EQ(1, range()); }));
    expectRange(kUntouched, kUntouched, kUntouched);
}

TEST_F(GammaRange, HasTheTypePutBackWhenTheCameraHasNoGamma) {
    table("Active", "UserDefined");
    EXPECT_EQ(lines({stateLine("Active", "UserDefined"), disabled}),
              logOf([&] { EXPECT_EQ(-2, range()); }));
    expectRange(kUntouched, kUntouched, kUntouched);
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("lutMode"), readText("lutType"), readText("lutType"),
                            write("lutType", "GammaCorrection"), write("lutType", "UserDefined")));
}

TEST_F(GammaRange, LeavesTheTypeSwitchedWhenAnErrorGetsOutAndIsAskedForAgain) {
    table("Active", "UserDefined");
    gamma();
    camera.raises(Op::GetMax, Fault::Timeout);
    EXPECT_EQ(lines({stateLine("Active", "UserDefined"), disabled, obtained}),
              logOf([&] { EXPECT_THROW(range(), GenICam_3_0::TimeoutException); }));
    EXPECT_EQ("GammaCorrection", camera.value("lutType"));
    expectRange(kUntouched, kUntouched, kUntouched);

    EXPECT_EQ(0, range());
    expectRange(0.25f, 4.0f, 0.125f);
}

// Reading gamma.

class ReadingGamma : public GammaRange {
protected:
    float value = kUntouched;
    int get() { return cam().ExPropertyGetGamma(&value); }
    const Line noGamma = features.warning("ExPropertyGetGamma", "Can't get Gamma enum parameter\n");
    const Line noRange = features.warning("ExPropertyGetGamma", "Can't get Gamma range\n");
    const Line valueRead =
        features.debug("ExPropertyGetGamma", "### get Gamma value: 0.500000 ###\n");
};

TEST_F(ReadingGamma, ReadsTheRangeFirstAndThenTheValue) {
    table("Active", "GammaCorrection");
    gamma();
    const Line state = stateLine("Active", "GammaCorrection");
    EXPECT_EQ(lines({state, state, obtained, rangeRead, valueRead}),
              logOf([&] { EXPECT_EQ(0, get()); }));
    EXPECT_EQ(0.5f, value);
    EXPECT_THAT(camera.accesses(),
                ElementsAreArray(joined(joined(askingTheState, askingTheState),
                                        joined(reading, {read("gammaCorrection")}))));
}

TEST_F(ReadingGamma, ReadsTheRangeOnlyOnce) {
    table("Active", "GammaCorrection");
    gamma();
    get();
    forget();
    EXPECT_EQ(lines({stateLine("Active", "GammaCorrection"), valueRead}),
              logOf([&] { EXPECT_EQ(0, get()); }));
    EXPECT_THAT(camera.accesses(),
                ElementsAreArray(joined(askingTheState, {read("gammaCorrection")})));
}

TEST_F(ReadingGamma, ReadsEvenWhenNobodyWantsTheValue) {
    table("Active", "GammaCorrection");
    gamma();
    EXPECT_EQ(0, cam().ExPropertyGetGamma(nullptr));
    EXPECT_EQ(read("gammaCorrection"), camera.accesses().back());
}

TEST_F(ReadingGamma, DeliversMinusOneWhenTheTableDoesSomethingElse) {
    const TableState cases[] = {{"Off", "GammaCorrection", TD_LG_OFF},
                                {"Active", "UserDefined", TD_LG_USER_LUT},
                                {"Transparent", "UserDefined", TD_LG_OTHER}};
    for (const auto &[mode, type, state] : cases) {
        table(mode, type);
        gamma();
        value = kUntouched;
        forget();
        EXPECT_EQ(
            lines({stateLine(mode, type),
                   features.debug("ExPropertyGetGamma", "### Gamma feature is disabled (" +
                                                            std::to_string(state) + ") ###\n")}),
            logOf([&] { EXPECT_EQ(0, get()); }));
        EXPECT_EQ(-1.0f, value);
        EXPECT_EQ(0, cam().ExPropertyGetGamma(nullptr));
        EXPECT_THAT(camera.accesses(), ElementsAreArray(joined(askingTheState, askingTheState)));
    }
}

TEST_F(ReadingGamma, ReadsTheValueOfACameraWithoutATable) {
    camera.floating("gammaCorrection", 0.5);
    EXPECT_EQ(lines({valueRead}), logOf([&] { EXPECT_EQ(0, get()); }));
    EXPECT_EQ(0.5f, value);
    EXPECT_THAT(camera.accesses(), ElementsAre(read("gammaCorrection")));
}

TEST_F(ReadingGamma, WarnsOfACameraWithATableButWithoutGamma) {
    table("Active", "GammaCorrection");
    const Line state = stateLine("Active", "GammaCorrection");
    EXPECT_EQ(lines({state, state, noRange, noGamma}), logOf([&] { EXPECT_EQ(-2, get()); }));
    EXPECT_EQ(kUntouched, value);

    camera.integer("gammaCorrection", 1);
    EXPECT_EQ(lines({state, state, noRange, noGamma}), logOf([&] { EXPECT_EQ(-2, get()); }));
}

TEST_F(ReadingGamma, WarnsOfACameraWithNeitherTableNorGamma) {
    EXPECT_EQ(lines({noGamma}), logOf([&] { EXPECT_EQ(-2, get()); }));
    EXPECT_EQ(kUntouched, value);
}

TEST_F(ReadingGamma, WarnsTwiceWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    EXPECT_EQ(lines({noNodeMap, noGamma}), logOf([&] { EXPECT_EQ(-2, get()); }));
    EXPECT_EQ(kUntouched, value);
    EXPECT_EQ(-2, cam().ExPropertyGetGamma(nullptr));
}

TEST_F(ReadingGamma, LetsTheErrorOfReadingOut) {
    table("Active", "GammaCorrection");
    gamma();
    camera.raises(Op::GetValue, Fault::Runtime);
    EXPECT_THROW(get(), GenICam_3_0::RuntimeException);
    EXPECT_EQ(kUntouched, value);
}

// Writing gamma.

class WritingGamma : public GammaRange {
protected:
    int set(float gamma) { return cam().ExPropertySetGamma(gamma); }
    static Line warning(const char *text) { return features.warning("ExPropertySetGamma", text); }
    static Line debug(const char *text) { return features.debug("ExPropertySetGamma", text); }

    // The camera's own limits, as they were when the object read them; it has wider ones now.
    void limits(double low, double high) {
        table("Active", "GammaCorrection");
        camera.floating("gammaCorrection", 1.0).range(low, high);
        wrapAnew();
        range();
        camera.range(-100.0, 100.0);
        forget();
    }
};

TEST_F(WritingGamma, ReadsTheRangeAndWritesTheValue) {
    table("Active", "GammaCorrection");
    gamma();
    const Line state = stateLine("Active", "GammaCorrection");
    EXPECT_EQ(
        lines({state, state, obtained, rangeRead, debug("### set Gamma value: 0.750000 ###\n")}),
        logOf([&] { EXPECT_EQ(0, set(0.75f)); }));
    EXPECT_THAT(camera.accesses(),
                ElementsAreArray(joined(joined(askingTheState, askingTheState),
                                        joined(reading, {write("gammaCorrection", 0.75)}))));
}

TEST_F(WritingGamma, ReadsTheRangeOnlyOnce) {
    limits(0.45, 2.2);
    EXPECT_EQ(0, set(1.5f));
    EXPECT_THAT(camera.accesses(),
                ElementsAreArray(joined(askingTheState, {write("gammaCorrection", 1.5)})));
}

TEST_F(WritingGamma, ToleratesALittleBeyondTheRange) {
    limits(0.45, 2.2);
    for (const float accepted : {2.25f, 2.26f, 0.40f, 0.395f}) {
        forget();
        EXPECT_EQ(0, set(accepted)) << accepted;
        EXPECT_EQ(write("gammaCorrection", static_cast<double>(accepted)),
                  camera.accesses().back());
    }
}

TEST_F(WritingGamma, RefusesAValueFurtherOutWithTheWidenedBounds) {
    limits(0.45, 2.2);
    const Line state = stateLine("Active", "GammaCorrection");
    EXPECT_EQ(lines({state, warning("Asked Gamma value 2.270000 is out of bounds "
                                    "[0.390000..2.260000]\n")}),
              logOf([&] { EXPECT_EQ(-6, set(2.27f)); }));
    EXPECT_EQ(lines({state, warning("Asked Gamma value 0.380000 is out of bounds "
                                    "[0.390000..2.260000]\n")}),
              logOf([&] { EXPECT_EQ(-6, set(0.38f)); }));
    EXPECT_THAT(camera.accesses(), ElementsAreArray(joined(askingTheState, askingTheState)));
    EXPECT_EQ("1", camera.value("gammaCorrection"));
}

// In single precision 0.25 - 0.06 would round to 0.19 and let the next smaller number through.
TEST_F(WritingGamma, ComparesInDoublePrecision) {
    limits(0.25, 4.0);
    const float low = static_cast<float>(0.25 - 0.06);
    const float high = static_cast<float>(4.0 + 0.06);
    const auto expected = [](double gamma) {
        return 0.25 - 0.06 > gamma || gamma > 4.0 + 0.06 ? -6 : 0;
    };
    for (const float gamma : {std::nextafter(low, 0.0f), low, std::nextafter(low, 1.0f),
                              std::nextafter(high, 0.0f), high, std::nextafter(high, 9.0f)})
        EXPECT_EQ(expected(static_cast<double>(gamma)), set(gamma));
}

TEST_F(WritingGamma, LetsAValueThatIsNotANumberThroughToTheCamera) {
    limits(0.45, 2.2);
    EXPECT_EQ(0, set(std::numeric_limits<float>::quiet_NaN()));
    EXPECT_EQ("nan", camera.value("gammaCorrection"));
}

TEST_F(WritingGamma, SwitchesToGammaWithoutARangeCheck) {
    table("Off", "UserDefined");
    gamma();
    camera.range(-100.0, 100.0);
    EXPECT_EQ(lines({stateLine("Off", "UserDefined"), debug("### Gamma feature is disabled ###\n"),
                     switchLine("Active", "GammaCorrection"),
                     debug("### set Gamma value: 77.000000 ###\n")}),
              logOf([&] { EXPECT_EQ(0, set(77.0f)); }));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("lutMode"), readText("lutType"),
                            write("lutType", "GammaCorrection"), write("lutMode", "Active"),
                            write("gammaCorrection", 77.0)));
}

TEST_F(WritingGamma, LeavesGammaOnWhenTheCameraRefusesTheValue) {
    table("Active", "UserDefined");
    gamma();
    EXPECT_EQ(
        lines({stateLine("Active", "UserDefined"), debug("### Gamma feature is disabled ###\n"),
               switchLine("Active", "GammaCorrection")}),
        logOf([&] { EXPECT_THROW(set(77.0f), GenICam_3_0::OutOfRangeException); }));
    EXPECT_EQ("Active", camera.value("lutMode"));
    EXPECT_EQ("GammaCorrection", camera.value("lutType"));
}

TEST_F(WritingGamma, LeavesGammaOnWhenTheCameraHasNoGamma) {
    table("Off", "UserDefined");
    EXPECT_EQ(lines({stateLine("Off", "UserDefined"), debug("### Gamma feature is disabled ###\n"),
                     switchLine("Active", "GammaCorrection"),
                     warning("Can't get Gamma enum parameter\n")}),
              logOf([&] { EXPECT_EQ(-2, set(1.0f)); }));
    EXPECT_EQ("Active", camera.value("lutMode"));
    EXPECT_EQ("GammaCorrection", camera.value("lutType"));
}

TEST_F(WritingGamma, IsMinusFiveWhenTheRangeCannotBeRead) {
    table("Active", "GammaCorrection");
    const Line state = stateLine("Active", "GammaCorrection");
    EXPECT_EQ(lines({state, state, warning("Can't get Gamma range\n")}),
              logOf([&] { EXPECT_EQ(-5, set(1.0f)); }));
}

TEST_F(WritingGamma, IsMinusTwoWhenGammaVanishesAfterItsRangeWasRead) {
    limits(0.45, 2.2);
    camera.without("gammaCorrection");
    EXPECT_EQ(lines({stateLine("Active", "GammaCorrection"),
                     warning("Can't get Gamma enum parameter\n")}),
              logOf([&] { EXPECT_EQ(-2, set(1.0f)); }));
}

TEST_F(WritingGamma, IsMinusFourWhenTheTableCannotBeSwitched) {
    table("Off", "UserDefined");
    gamma();
    // The type vanishes between the question for the state and the switch.
    camera.feature("lutType").raises(
        Op::Lookup, [this] { camera.without("lutType"); }, 2);
    EXPECT_EQ(lines({stateLine("Off", "UserDefined"), debug("### Gamma feature is disabled ###\n"),
                     warning("Can't enable Gamma feature\n")}),
              logOf([&] { EXPECT_EQ(-4, set(1.0f)); }));
    EXPECT_THAT(camera.accesses(), ElementsAreArray(askingTheState));
}

TEST_F(WritingGamma, FailsTheSameWhenNothingIsLogged) {
    table("Active", "GammaCorrection");
    EXPECT_EQ(-2, cam().ExPropertyGetGamma(nullptr));
    EXPECT_EQ(-5, set(1.0f));

    table("Off", "UserDefined");
    EXPECT_EQ(-2, set(1.0f));

    table("Off", "UserDefined");
    camera.feature("lutType").raises(
        Op::Lookup, [this] { camera.without("lutType"); }, 2);
    EXPECT_EQ(-4, set(1.0f));
}

TEST_F(WritingGamma, IsMinusOneWhenTheStateOfTheTableIsUnknown) {
    camera.floating("gammaCorrection", 0.5);
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(-1, set(1.0f)); }));
    EXPECT_THAT(camera.accesses(), IsEmpty());

    framework.nodeMap(NodeMap::None);
    wrapAnew();
    EXPECT_EQ(lines({noNodeMap}), logOf([&] { EXPECT_EQ(-1, set(1.0f)); }));
}

// Writing the user's table.

class UsersTable : public OpenedCamera {
protected:
    UsersTable() {
        camera.enumeration("LUTSelector", "Luminance", {"Luminance", "Red", "Green", "Blue"})
            .integer("LUTIndex", 0)
            .range(-10, 4095)
            .integer("LUTValue", 0)
            .range(-10, 4095);
    }
};

TEST_F(UsersTable, HasItsChannelSelected) {
    const std::pair<int, const char *> cases[] = {
        {0, "Red"},  {1, "Green"}, {2, "Blue"},
        {5, "Blue"}, {-1, "Blue"}, {std::numeric_limits<int>::min(), "Blue"}};
    for (const auto &each : cases) {
        cam();
        forget();
        EXPECT_EQ(silence,
                  logOf([&] { EXPECT_EQ(0, cam().ExPropertySetLUTChannel(each.first, 3)); }));
        EXPECT_THAT(camera.accesses(), ElementsAre(write("LUTSelector", each.second)));
    }
    EXPECT_EQ(0, cam().ExPropertySetLUTChannel(0, 2));
    EXPECT_EQ("Red", camera.value("LUTSelector"));
}

TEST_F(UsersTable, HasNoChannelToSelectWhenThereIsOneOrNone) {
    for (const int channels : {1, 0, -1, std::numeric_limits<int>::min()})
        EXPECT_EQ(0, cam().ExPropertySetLUTChannel(0, channels));
    EXPECT_THAT(trace(), IsEmpty());

    framework.nodeMap(NodeMap::None);
    wrapAnew();
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, cam().ExPropertySetLUTChannel(0, 1)); }));
}

TEST_F(UsersTable, WarnsWhenTheChannelCannotBeSelected) {
    const Logged missing =
        lines({features.warning("ExPropertySetLUTChannel", "can't get LUTSelector parameter\n")});
    camera.without("LUTSelector");
    EXPECT_EQ(missing, logOf([&] { EXPECT_EQ(-2, cam().ExPropertySetLUTChannel(0, 3)); }));
    camera.integer("LUTSelector", 0);
    EXPECT_EQ(missing, logOf([&] { EXPECT_EQ(-2, cam().ExPropertySetLUTChannel(0, 3)); }));

    framework.nodeMap(NodeMap::None);
    wrapAnew();
    EXPECT_EQ(lines({features.warning("ExPropertySetLUTChannel",
                                      "can't get dev params to set LUT value\n")}),
              logOf([&] { EXPECT_EQ(-1, cam().ExPropertySetLUTChannel(0, 3)); }));
}

TEST_F(UsersTable, HasAnEntryWrittenAtAnIndex) {
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, cam().ExPropertySetLUTValue(17, 1023)); }));
    EXPECT_THAT(camera.accesses(), ElementsAre(write("LUTIndex", 17), write("LUTValue", 1023)));
    forget();
    EXPECT_EQ(0, cam().ExPropertySetLUTValue(-1, -2));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(write("LUTIndex", int64_t{-1}), write("LUTValue", int64_t{-2})));
}

TEST_F(UsersTable, IsLookedUpWholeBeforeItIsWritten) {
    cam().ExPropertySetLUTValue(1, 2);
    EXPECT_THAT(trace(), ElementsAre(lookup("LUTIndex"), lookup("LUTValue"), write("LUTIndex", 1),
                                     write("LUTValue", 2)));
}

TEST_F(UsersTable, IsNotWrittenWithoutIndexOrValue) {
    for (const char *missing : {"LUTIndex", "LUTValue"}) {
        camera.integer("LUTIndex", 0).integer("LUTValue", 0).without(missing);
        EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(-2, cam().ExPropertySetLUTValue(1, 2)); }));
        camera.floating(missing, 0.0);
        EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(-2, cam().ExPropertySetLUTValue(1, 2)); }));
    }
    EXPECT_THAT(camera.accesses(), IsEmpty());

    framework.nodeMap(NodeMap::None);
    wrapAnew();
    EXPECT_EQ(lines({features.warning("ExPropertySetLUTValue",
                                      "can't get dev params to set LUT value\n")}),
              logOf([&] { EXPECT_EQ(-1, cam().ExPropertySetLUTValue(1, 2)); }));
}

TEST_F(UsersTable, FailsTheSameWhenNothingIsLogged) {
    camera.without("LUTSelector");
    EXPECT_EQ(-2, cam().ExPropertySetLUTChannel(0, 3));

    framework.nodeMap(NodeMap::None);
    wrapAnew();
    EXPECT_EQ(-1, cam().ExPropertySetLUTChannel(0, 3));
    EXPECT_EQ(-1, cam().ExPropertySetLUTValue(1, 2));
}

TEST_F(UsersTable, LetsTheRefusalOfAnIndexOutBeforeTheEntryIsWritten) {
    EXPECT_THROW(cam().ExPropertySetLUTValue(4096, 1), GenICam_3_0::OutOfRangeException);
    EXPECT_THAT(camera.accesses(), ElementsAre(write("LUTIndex", 4096)));
}

} // namespace
