// Integer features: reading, writing, ranges, and the brightness target, which the camera shows
// only while its brightness mode is active.

#include "plug_in.h"

namespace {

constexpr int kUntouched = -12345;

class IntegerFeature : public OpenedCamera {
protected:
    int value = kUntouched;
    int min = kUntouched;
    int max = kUntouched;
    int inc = kUntouched;

    void expectRange(int wantedMin, int wantedMax, int wantedInc) {
        EXPECT_EQ(wantedMin, min);
        EXPECT_EQ(wantedMax, max);
        EXPECT_EQ(wantedInc, inc);
    }
    int range(PropertyType type) { return cam().ExPropertyGetIntRange(type, &min, &max, &inc); }
};

TEST_F(IntegerFeature, IsReadAsItIsWithoutALogLine) {
    camera.integer("OffsetX", 8);
    EXPECT_EQ(silence,
              logOf([&] { EXPECT_EQ(0, cam().ExPropertyGetInt(OFFSET_X_PROPERTY_TYPE, &value)); }));
    EXPECT_EQ(8, value);
    EXPECT_THAT(camera.accesses(), ElementsAre(read("OffsetX")));
}

TEST_F(IntegerFeature, IsReadEvenWhenNobodyWantsTheValue) {
    camera.integer("OffsetX", 8);
    EXPECT_EQ(0, cam().ExPropertyGetInt(OFFSET_X_PROPERTY_TYPE, nullptr));
    EXPECT_THAT(camera.accesses(), ElementsAre(read("OffsetX")));
}

TEST_F(IntegerFeature, IsReadAsItsLow32Bits) {
    const std::pair<int64_t, int> cases[] = {{4294967296, 0},
                                             {4294967295, -1},
                                             {4294967303, 7},
                                             {-4294967297, -1},
                                             {2147483648, std::numeric_limits<int>::min()},
                                             {std::numeric_limits<int64_t>::max(), -1},
                                             {std::numeric_limits<int64_t>::min(), 0},
                                             {-5, -5}};
    for (const auto &[held, delivered] : cases) {
        camera.integer("Width", held);
        EXPECT_EQ(0, cam().ExPropertyGetInt(WIDTH_PROPERTY_TYPE, &value));
        EXPECT_EQ(delivered, value) << held;
    }
}

TEST_F(IntegerFeature, LeavesTheVariableAloneWhenItIsMissing) {
    EXPECT_EQ(-2, cam().ExPropertyGetInt(WIDTH_PROPERTY_TYPE, &value));
    EXPECT_EQ(kUntouched, value);
    framework.nodeMap(NodeMap::None);
    wrapAnew();
    EXPECT_EQ(-1, cam().ExPropertyGetInt(WIDTH_PROPERTY_TYPE, &value));
    EXPECT_EQ(kUntouched, value);
}

TEST_F(IntegerFeature, LetsTheErrorOfReadingOut) {
    camera.integer("Width", 1).access(WO);
    EXPECT_THROW(cam().ExPropertyGetInt(WIDTH_PROPERTY_TYPE, &value), GenICam_3_0::AccessException);
    EXPECT_EQ(kUntouched, value);
    EXPECT_THAT(camera.accesses(), ElementsAre(read("Width")));
}

TEST_F(IntegerFeature, IsWrittenWithVerificationAndLogged) {
    camera.integer("Width", 64).range(16, 1920, 16);
    EXPECT_EQ(
        lines({features.debug("ExPropertySetInt", "### set property 2 (Width) to 640 ###\n")}),
        logOf([&] { EXPECT_EQ(0, cam().ExPropertySetInt(WIDTH_PROPERTY_TYPE, 640)); }));
    EXPECT_THAT(camera.accesses(), ElementsAre(write("Width", 640)));
    EXPECT_EQ("640", camera.value("Width"));
}

TEST_F(IntegerFeature, IsWrittenWithItsSign) {
    camera.integer("OffsetX", 0);
    EXPECT_EQ(
        lines({features.debug("ExPropertySetInt", "### set property 4 (OffsetX) to -1 ###\n")}),
        logOf([&] { EXPECT_EQ(0, cam().ExPropertySetInt(OFFSET_X_PROPERTY_TYPE, -1)); }));
    EXPECT_THAT(camera.accesses(), ElementsAre(write("OffsetX", int64_t{-1})));
    EXPECT_EQ("-1", camera.value("OffsetX"));
}

TEST_F(IntegerFeature, IsLoggedWithItsRowWhenThePropertyLiesBeyondTheTable) {
    camera.integer("WidthMax", 0);
    EXPECT_EQ(
        lines({features.debug("ExPropertySetInt", "### set property 0 (WidthMax) to 5 ###\n")}),
        logOf([&] { cam().ExPropertySetInt(static_cast<PropertyType>(23), 5); }));
}

TEST_F(IntegerFeature, IsWrittenAfterItIsLookedUpAndBeforeItIsLogged) {
    camera.integer("Width", 0);
    cam();
    logOf([&] { cam().ExPropertySetInt(WIDTH_PROPERTY_TYPE, 7); });
    EXPECT_THAT(trace(), ElementsAre(lookup("Width"), write("Width", 7),
                                     scripted::event(Op::Log, "7",
                                                     "[d|ExPropertySetInt] ### set property 2 "
                                                     "(Width) to 7 ###\n")));
}

TEST_F(IntegerFeature, LetsTheRefusalOfAValueOutUnlogged) {
    camera.integer("Width", 64).range(16, 1920, 16);
    for (const int refused : {0, 1936, 65}) {
        EXPECT_EQ(silence, logOf([&] {
                      EXPECT_THROW(cam().ExPropertySetInt(WIDTH_PROPERTY_TYPE, refused),
                                   GenICam_3_0::OutOfRangeException);
                  }));
        EXPECT_EQ("64", camera.value("Width"));
    }
    camera.access(RO);
    EXPECT_EQ(silence, logOf([&] {
                  EXPECT_THROW(cam().ExPropertySetInt(WIDTH_PROPERTY_TYPE, 32),
                               GenICam_3_0::AccessException);
              }));
    EXPECT_EQ("64", camera.value("Width"));
}

TEST_F(IntegerFeature, HasItsRangeReadInOrderAndLogged) {
    camera.integer("Width", 64).range(16, 1920, 32);
    EXPECT_EQ(
        lines({features.debug("ExPropertyGetIntRange",
                              "### get property 2 (Width) range: min=16 max=1920 inc=32 ###\n")}),
        logOf([&] { EXPECT_EQ(0, range(WIDTH_PROPERTY_TYPE)); }));
    expectRange(16, 1920, 32);
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readMin("Width"), readMax("Width"), readInc("Width")));
}

TEST_F(IntegerFeature, HasItsRangeDeliveredAsLow32Bits) {
    camera.integer("Width", 0)
        .range(int64_t{-4294967297}, int64_t{4294967303}, int64_t{4294967298});
    EXPECT_EQ(lines({features.debug("ExPropertyGetIntRange",
                                    "### get property 2 (Width) range: min=-1 max=7 inc=2 ###\n")}),
              logOf([&] { EXPECT_EQ(0, range(WIDTH_PROPERTY_TYPE)); }));
    expectRange(-1, 7, 2);
}

TEST_F(IntegerFeature, HasItsRangeReadOnce) {
    camera.integer("Width", 64).range(16, 1920, 16);
    range(WIDTH_PROPERTY_TYPE);
    camera.range(0, 99, 3);
    forget();

    min = max = inc = kUntouched;
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, range(WIDTH_PROPERTY_TYPE)); }));
    expectRange(16, 1920, 16);
    EXPECT_THAT(trace(), IsEmpty());

    wrapAnew();
    EXPECT_EQ(0, range(WIDTH_PROPERTY_TYPE));
    expectRange(0, 99, 3);
}

TEST_F(IntegerFeature, HasItsRangeReadEvenWhenNobodyWantsIt) {
    camera.integer("Width", 64).range(16, 1920, 16);
    EXPECT_EQ(0, cam().ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, nullptr, nullptr, nullptr));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readMin("Width"), readMax("Width"), readInc("Width")));
    EXPECT_EQ(0, cam().ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, nullptr, nullptr, nullptr));
    EXPECT_EQ(3u, camera.accesses().size());
}

TEST_F(IntegerFeature, HasEachPartOfItsRangeDeliveredAlone) {
    camera.integer("Width", 64).range(16, 1920, 32);
    for (int i = 0; i < 2; ++i) { // from the camera, then from the object
        min = max = inc = kUntouched;
        cam().ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, &min, nullptr, nullptr);
        cam().ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, nullptr, &max, nullptr);
        cam().ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, nullptr, nullptr, &inc);
        expectRange(16, 1920, 32);
    }
}

TEST_F(IntegerFeature, HasItsKeptRangeDeliveredEvenWithoutANodeMap) {
    camera.integer("Width", 64).range(16, 1920, 16);
    range(WIDTH_PROPERTY_TYPE);
    cam().nodeMap = nullptr;
    min = max = inc = kUntouched;
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, range(WIDTH_PROPERTY_TYPE)); }));
    expectRange(16, 1920, 16);
}

TEST_F(IntegerFeature, HasNoRangeDeliveredWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    EXPECT_EQ(-1, range(WIDTH_PROPERTY_TYPE));
    expectRange(kUntouched, kUntouched, kUntouched);
}

TEST_F(IntegerFeature, HasZerosDeliveredAsTheRangeOfAFeatureThatIsMissingOrAFloat) {
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(-2, range(WIDTH_PROPERTY_TYPE)); }));
    expectRange(0, 0, 0);
    camera.floating("ExposureTime", 1.0).range(1.0, 2.0, 0.5);
    min = max = inc = kUntouched;
    EXPECT_EQ(-2, range(EXPOSURE_TIME_PROPERTY_TYPE));
    expectRange(0, 0, 0);
}

TEST_F(IntegerFeature, HasItsRangeAskedForAgainAfterAFailure) {
    EXPECT_EQ(-2, range(WIDTH_PROPERTY_TYPE));
    camera.integer("Width", 64).range(16, 1920, 16).raises(Op::GetInc, Fault::Timeout);
    min = max = inc = kUntouched;
    EXPECT_THROW(range(WIDTH_PROPERTY_TYPE), GenICam_3_0::TimeoutException);
    expectRange(kUntouched, kUntouched, kUntouched);
    forget();
    EXPECT_EQ(0, range(WIDTH_PROPERTY_TYPE));
    expectRange(16, 1920, 16);
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readMin("Width"), readMax("Width"), readInc("Width")));
}

// The brightness target.

class BrightnessTarget : public IntegerFeature {
protected:
    BrightnessTarget() { mode("Off"); }

    void mode(const char *current) {
        camera.enumeration("autoBrightnessMode", current, {"Off", "Active", "Once"});
        camera.integer("autoBrightnessTarget", 128)
            .range(0, 255, 5)
            .onlyWhile("autoBrightnessMode", "Active");
    }

    static constexpr PropertyType kTarget = AUTO_BRIGHTNESS_TARGET_PROPERTY_TYPE;
};

TEST_F(BrightnessTarget, IsReadWhileTheModeIsActive) {
    for (const char *before : {"Off", "Once"}) {
        mode(before);
        cam();
        forget();
        EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, cam().ExPropertyGetInt(kTarget, &value)); }));
        EXPECT_EQ(128, value);
        EXPECT_THAT(camera.accesses(),
                    ElementsAre(readText("autoBrightnessMode"),
                                write("autoBrightnessMode", "Active"), read("autoBrightnessTarget"),
                                write("autoBrightnessMode", before)));
        EXPECT_EQ(before, camera.value("autoBrightnessMode"));
    }
}

TEST_F(BrightnessTarget, IsReadWithoutAWriteWhenTheModeIsActiveAlready) {
    mode("Active");
    EXPECT_EQ(0, cam().ExPropertyGetInt(kTarget, &value));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("autoBrightnessMode"), read("autoBrightnessTarget")));
}

TEST_F(BrightnessTarget, IsReadAtOnceOnACameraWithoutTheMode) {
    camera.integer("autoBrightnessTarget", 128).without("autoBrightnessMode");
    EXPECT_EQ(0, cam().ExPropertyGetInt(kTarget, &value));
    EXPECT_EQ(128, value);
    EXPECT_THAT(camera.accesses(), ElementsAre(read("autoBrightnessTarget")));
}

TEST_F(BrightnessTarget, IsReadAtOnceWhenTheModeIsOfAnotherKind) {
    camera.integer("autoBrightnessTarget", 128).integer("autoBrightnessMode", 0);
    EXPECT_EQ(0, cam().ExPropertyGetInt(kTarget, &value));
    EXPECT_THAT(camera.accesses(), ElementsAre(read("autoBrightnessTarget")));
}

TEST_F(BrightnessTarget, IsReadWithTheSwitchAlsoWhenNobodyWantsIt) {
    EXPECT_EQ(0, cam().ExPropertyGetInt(kTarget, nullptr));
    EXPECT_EQ(4u, camera.accesses().size());
}

TEST_F(BrightnessTarget, IsWrittenWhileTheModeIsActive) {
    EXPECT_EQ(lines({features.debug("ExPropertySetInt",
                                    "### set property 10 (autoBrightnessTarget) to 200 ###\n")}),
              logOf([&] { EXPECT_EQ(0, cam().ExPropertySetInt(kTarget, 200)); }));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                            write("autoBrightnessTarget", 200),
                            write("autoBrightnessMode", "Off")));
}

TEST_F(BrightnessTarget, IsWrittenWithoutTouchingAModeThatIsActiveAlready) {
    mode("Active");
    EXPECT_EQ(0, cam().ExPropertySetInt(kTarget, 200));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("autoBrightnessMode"), write("autoBrightnessTarget", 200)));
}

TEST_F(BrightnessTarget, IsLoggedBeforeTheModeIsPutBack) {
    cam();
    logOf([&] { cam().ExPropertySetInt(kTarget, 200); });
    const std::vector<Event> all = trace();
    EXPECT_THAT(std::vector<Event>(all.end() - 2, all.end()),
                ElementsAre(scripted::event(Op::Log, "7",
                                            "[d|ExPropertySetInt] ### set property 10 "
                                            "(autoBrightnessTarget) to 200 ###\n"),
                            write("autoBrightnessMode", "Off")));
}

TEST_F(BrightnessTarget, HasItsRangeReadWhileTheModeIsActive) {
    EXPECT_EQ(lines({features.debug("ExPropertyGetIntRange",
                                    "### get property 10 (autoBrightnessTarget) range: min=0 "
                                    "max=255 inc=5 ###\n")}),
              logOf([&] { EXPECT_EQ(0, range(kTarget)); }));
    expectRange(0, 255, 5);
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                            readMin("autoBrightnessTarget"), readMax("autoBrightnessTarget"),
                            readInc("autoBrightnessTarget"), write("autoBrightnessMode", "Off")));
}

TEST_F(BrightnessTarget, HasItsKeptRangeDeliveredWithoutTheSwitch) {
    range(kTarget);
    forget();
    EXPECT_EQ(silence, logOf([&] { EXPECT_EQ(0, range(kTarget)); }));
    expectRange(0, 255, 5);
    EXPECT_THAT(trace(), IsEmpty());
}

TEST_F(BrightnessTarget, HasTheModePutBackWhenItIsMissing) {
    camera.without("autoBrightnessTarget");
    const auto expectSwitch = [this] {
        EXPECT_THAT(camera.accesses(), ElementsAre(readText("autoBrightnessMode"),
                                                   write("autoBrightnessMode", "Active"),
                                                   write("autoBrightnessMode", "Off")));
        forget();
    };
    EXPECT_EQ(-2, cam().ExPropertyGetInt(kTarget, &value));
    EXPECT_EQ(kUntouched, value);
    expectSwitch();
    EXPECT_EQ(-2, cam().ExPropertySetInt(kTarget, 1));
    expectSwitch();
    EXPECT_EQ(-2, range(kTarget));
    expectRange(0, 0, 0);
    expectSwitch();
}

TEST_F(BrightnessTarget, LeavesTheModeActiveWhenAnErrorGetsOut) {
    camera.feature("autoBrightnessTarget").raises(Op::GetValue, Fault::Timeout);
    EXPECT_THROW(cam().ExPropertyGetInt(kTarget, &value), GenICam_3_0::TimeoutException);
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                            read("autoBrightnessTarget")));
    EXPECT_EQ("Active", camera.value("autoBrightnessMode"));

    mode("Off");
    EXPECT_EQ(silence, logOf([&] {
                  EXPECT_THROW(cam().ExPropertySetInt(kTarget, 256),
                               GenICam_3_0::OutOfRangeException);
              }));
    EXPECT_EQ("Active", camera.value("autoBrightnessMode"));
    EXPECT_EQ("128", camera.value("autoBrightnessTarget"));

    mode("Off");
    camera.raises(Op::GetMax, Fault::Runtime);
    EXPECT_THROW(range(kTarget), GenICam_3_0::RuntimeException);
    EXPECT_EQ("Active", camera.value("autoBrightnessMode"));
}

TEST_F(BrightnessTarget, LetsTheErrorOfTheSwitchItselfOut) {
    camera.feature("autoBrightnessMode").access(WO);
    EXPECT_THROW(cam().ExPropertyGetInt(kTarget, &value), GenICam_3_0::AccessException);
    EXPECT_THAT(camera.accesses(), ElementsAre(readText("autoBrightnessMode")));

    forget();
    camera.access(RO);
    EXPECT_THROW(cam().ExPropertySetInt(kTarget, 1), GenICam_3_0::AccessException);
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("autoBrightnessMode"), write("autoBrightnessMode", "Active")));

    camera.enumeration("autoBrightnessMode", "Off", {"Off"});
    EXPECT_THROW(range(kTarget), GenICam_3_0::InvalidArgumentException);
}

TEST_F(BrightnessTarget, IsWarnedOfWithoutANodeMapBeforeAnySwitch) {
    framework.nodeMap(NodeMap::None);
    EXPECT_EQ(lines({features.warning("ExPropertyGetInt",
                                      "can't get property info 10 (autoBrightnessTarget)\n")}),
              logOf([&] { EXPECT_EQ(-1, cam().ExPropertyGetInt(kTarget, &value)); }));
    EXPECT_THAT(camera.accesses(), IsEmpty());
}

TEST_F(BrightnessTarget, IsTheOnlyIntegerFeatureWithTheSwitch) {
    describeWholeCamera(camera);
    for (const PropertyType type :
         {WIDTH_MAX_PROPERTY_TYPE, HEIGHT_MAX_PROPERTY_TYPE, WIDTH_PROPERTY_TYPE,
          HEIGHT_PROPERTY_TYPE, OFFSET_X_PROPERTY_TYPE, OFFSET_Y_PROPERTY_TYPE,
          BALANCE_WHITE_PERIOD_PROPERTY_TYPE}) {
        cam();
        forget();
        EXPECT_EQ(0, cam().ExPropertyGetInt(type, &value));
        EXPECT_EQ(2u, trace().size()) << "a lookup and a read";
    }
    // The automatic limits, where the camera has them as integers, are written as they are.
    for (const char *name :
         {"exposureAutoMinValue", "exposureAutoMaxValue", "gainAutoMinValue", "gainAutoMaxValue"})
        camera.integer(name, 1);
    for (const PropertyType type :
         {AUTO_EXPOSURE_MIN_PROPERTY_TYPE, AUTO_EXPOSURE_MAX_PROPERTY_TYPE,
          AUTO_GAIN_MIN_PROPERTY_TYPE, AUTO_GAIN_MAX_PROPERTY_TYPE}) {
        forget();
        EXPECT_EQ(0, cam().ExPropertySetInt(type, 3));
        EXPECT_EQ(2u, trace().size()) << "a lookup and a write";
    }
}

} // namespace
