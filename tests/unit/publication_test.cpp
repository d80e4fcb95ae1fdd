// The eight publishing steps: what they read in which order, what they change, log and publish.

#include "plug_in.h"

#include <cmath>

namespace {

class Publishing : public OpenedCamera {
protected:
    Publishing() { describeWholeCamera(camera); }

    using Step = void (CCamProc::*)(CExCam *);

    Logged run(Step step) {
        cam();
        return logOf([&] { (CCamProc().*step)(&cam()); });
    }
    Logged runAoi() {
        cam();
        return logOf([&] { EXPECT_EQ(0, CCamProc().ProcParametrizeCamAoi(&cam())); });
    }

    // The lines that the step itself writes.
    static std::vector<std::string> ownLines(const Logged &logged, const std::string &operation) {
        std::vector<std::string> own;
        for (const host::SystemLine &line : logged.system) {
            if (line.text.rfind("[d|" + operation + "]", 0) == 0)
                own.push_back(line.text.substr(operation.size() + 4));
        }
        return own;
    }

    static Line rangeLine(const char *operation, const std::string &property,
                          const std::string &numbers) {
        return features.debug(operation,
                              "### get property " + property + " range: " + numbers + " ###\n");
    }
};

// Region of interest.

TEST_F(Publishing, OfTheRegionOfInterestTakesItsMaximaFromTheSensor) {
    const auto line = [](const char *text) {
        return scenario.debug("ProcParametrizeCamAoi", text);
    };
    const auto range = [](const char *property, const char *numbers) {
        return rangeLine("ExPropertyGetIntRange", property, numbers);
    };
    EXPECT_EQ(lines({range("4 (OffsetX)", "min=0 max=16 inc=8"),
                     line("  cur OffsX val is 8 (min 0, max 1920, inc 8)\n"),
                     range("5 (OffsetY)", "min=0 max=12 inc=4"),
                     line("  cur OffsY val is 4 (min 0, max 1200, inc 4)\n"),
                     range("2 (Width)", "min=16 max=1928 inc=16"),
                     line("  cur Width val is 1920 (min 16, max 1936, inc 16)\n"),
                     range("3 (Height)", "min=2 max=1212 inc=2"),
                     line("  cur Height val is 1200 (min 2, max 1216, inc 2)\n")}),
              runAoi());
    EXPECT_THAT(published(), ElementsAre(integers(KxScParamOffsetX, 8, 0, 1920, 8),
                                         integers(KxScParamOffsetY, 4, 0, 1200, 4),
                                         integers(KxScParamWidth, 1920, 16, 1936, 16),
                                         integers(KxScParamHeight, 1200, 2, 1216, 2)));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(read("WidthMax"), read("OffsetX"), readMin("OffsetX"),
                            readMax("OffsetX"), readInc("OffsetX"), read("HeightMax"),
                            read("OffsetY"), readMin("OffsetY"), readMax("OffsetY"),
                            readInc("OffsetY"), read("Width"), readMin("Width"), readMax("Width"),
                            readInc("Width"), read("Height"), readMin("Height"), readMax("Height"),
                            readInc("Height")));
}

TEST_F(Publishing, OfTheRegionOfInterestMayHaveNegativeMaxima) {
    camera.integer("WidthMax", 15).integer("HeightMax", 0);
    runAoi();
    EXPECT_THAT(published(), ElementsAre(integers(KxScParamOffsetX, 8, 0, -1, 8),
                                         integers(KxScParamOffsetY, 4, 0, -16, 4),
                                         integers(KxScParamWidth, 1920, 16, 15, 16),
                                         integers(KxScParamHeight, 1200, 2, 0, 2)));
}

TEST_F(Publishing, OfTheRegionOfInterestLogsBeforeItPublishes) {
    runAoi();
    const std::vector<Event> all = trace();
    EXPECT_THAT(std::vector<Event>(all.end() - 2, all.end()),
                ElementsAre(scripted::event(Op::Log, "7",
                                            "[d|ProcParametrizeCamAoi]   cur Height val is 1200 "
                                            "(min 2, max 1216, inc 2)\n"),
                            setParamVal(KxScParamHeight)));
}

TEST_F(Publishing, OfTheRegionOfInterestWithoutAnyFeaturePublishesZeros) {
    scripted::reset();
    runAoi();
    EXPECT_THAT(published(), ElementsAre(integers(KxScParamOffsetX, 0, 0, -16, 0),
                                         integers(KxScParamOffsetY, 0, 0, -16, 0),
                                         integers(KxScParamWidth, 0, 0, 0, 0),
                                         integers(KxScParamHeight, 0, 0, 0, 0)));
}

// The four parts share their variables: a part that cannot be read shows the part before it.
TEST_F(Publishing, OfTheRegionOfInterestShowsTheLastValueReadForAMissingPart) {
    camera.without("OffsetY").without("Width");
    runAoi();
    EXPECT_THAT(published(), ElementsAre(integers(KxScParamOffsetX, 8, 0, 1920, 8),
                                         integers(KxScParamOffsetY, 8, 0, 1200, 0),
                                         integers(KxScParamWidth, 8, 0, 1936, 0),
                                         integers(KxScParamHeight, 1200, 2, 1216, 2)));
}

TEST_F(Publishing, OfTheRegionOfInterestEndsWhereAnErrorGetsOut) {
    camera.feature("OffsetY").raises(Op::GetMax, Fault::Runtime);
    cam();
    EXPECT_THROW(CCamProc().ProcParametrizeCamAoi(&cam()), GenICam_3_0::RuntimeException);
    EXPECT_THAT(published(), ElementsAre(integers(KxScParamOffsetX, 8, 0, 1920, 8)));
}

// Frame rate.

TEST_F(Publishing, OfTheFrameRateReadsTheRangeFirst) {
    camera.feature("AcquisitionFrameRate").range(1.0, 60.0, 0.25);
    EXPECT_EQ(lines({rangeLine("ExPropertyGetFloatRange", "9 (AcquisitionFrameRate)",
                               "min=1.000000 max=60.000000 inc=0.250000"),
                     scenario.debug("ProcParametrizeCamFps",
                                    "  cur AcqFps val is 29.969999 (min 1.000000, max 60.000000, "
                                    "inc 0.250000)\n")}),
              run(&CCamProc::ProcParametrizeCamFps));
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamFps, 29.97f, 1.0f, 60.0f, 0.25f)));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readMin("AcquisitionFrameRate"), readMax("AcquisitionFrameRate"),
                            readInc("AcquisitionFrameRate"), read("AcquisitionFrameRate")));
}

TEST_F(Publishing, OfTheFrameRateHasAStepOfAtLeastATenth) {
    const std::pair<double, float> cases[] = {
        {0.0, 0.1f},
        {0.01, 0.1f},
        {0.099999, 0.1f},
        {-1.0, 0.1f},
        {static_cast<double>(0.1f), 0.1f},
        {static_cast<double>(std::nextafter(0.1f, 0.0f)), 0.1f},
        {static_cast<double>(std::nextafter(0.1f, 1.0f)), std::nextafter(0.1f, 1.0f)},
        {0.2, 0.2f}};
    for (const auto &[reported, step] : cases) {
        host::reset();
        camera.feature("AcquisitionFrameRate").range(1.0, 60.0, reported);
        wrapAnew();
        run(&CCamProc::ProcParametrizeCamFps);
        EXPECT_THAT(published(), ElementsAre(floats(KxScParamFps, 29.97f, 1.0f, 60.0f, step)));
    }
}

TEST_F(Publishing, OfTheFrameRateWithoutTheFeaturePublishesZerosAndTheStep) {
    camera.without("AcquisitionFrameRate");
    EXPECT_EQ(lines({scenario.debug("ProcParametrizeCamFps",
                                    "  cur AcqFps val is 0.000000 (min 0.000000, max 0.000000, inc "
                                    "0.100000)\n")}),
              run(&CCamProc::ProcParametrizeCamFps));
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamFps, 0.0f, 0.0f, 0.0f, 0.1f)));
}

TEST_F(Publishing, OfTheFrameRateShowsItsStepInTheLog) {
    EXPECT_THAT(ownLines(run(&CCamProc::ProcParametrizeCamFps), "ProcParametrizeCamFps"),
                ElementsAre("   cur AcqFps val is 29.969999 (min 1.000000, max 60.000000, inc "
                            "0.100000)\n"));
}

// Rotation.

TEST_F(Publishing, OfRotationIsZeroWithoutARangeWhateverTheCameraSays) {
    camera.boolean("ReverseX", true).boolean("ReverseY", true);
    EXPECT_EQ(silence, run(&CCamProc::ProcParametrizeCamRotate));
    EXPECT_THAT(published(), ElementsAre(Publication{KxScParamRotate, 0, {}, {}, {}}));
    EXPECT_THAT(trace(), ElementsAre(setParamVal(KxScParamRotate)));
}

// Manual gain and exposure time.

TEST_F(Publishing, OfManualGainHasStepsOfHalfADecibel) {
    camera.feature("Gain").range(1.0, 100.0, 9.0);
    EXPECT_EQ(lines({rangeLine("ExPropertyGetFloatRange", "6 (Gain)",
                               "min=0.000000 max=40.000000 inc=20.000000"),
                     scenario.debug("ProcParametrizeCamManGain",
                                    "  cur Gain val is 20.000000 (min 0.000000, max 40.000000, inc "
                                    "0.500000)\n")}),
              run(&CCamProc::ProcParametrizeCamManGain));
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGain, 20.0f, 0.0f, 40.0f, 0.5f)));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(write("GainSelector", "SensorAll"), readMin("Gain"), readMax("Gain"),
                            readInc("Gain"), write("GainSelector", "SensorAll"), read("Gain")));
}

TEST_F(Publishing, OfManualGainWithoutTheFeaturePublishesZerosAndTheStep) {
    camera.without("Gain");
    run(&CCamProc::ProcParametrizeCamManGain);
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGain, 0.0f, 0.0f, 0.0f, 0.5f)));
}

TEST_F(Publishing, OfManualExposureTimeIsAsTheCameraReportsIt) {
    camera.feature("ExposureTime").range(20.0, 1000000.0, 0.01);
    EXPECT_EQ(lines({rangeLine("ExPropertyGetFloatRange", "7 (ExposureTime)",
                               "min=20.000000 max=1000000.000000 inc=0.010000"),
                     scenario.debug("ProcParametrizeCamManExpo",
                                    "  cur ExpoTime val is 5000.000000 (min 20.000000, max "
                                    "1000000.000000, inc 0.010000)\n")}),
              run(&CCamProc::ProcParametrizeCamManExpo));
    EXPECT_THAT(published(),
                ElementsAre(floats(KxScParamExposure, 5000.0f, 20.0f, 1000000.0f, 0.01f)));
    EXPECT_THAT(camera.accesses(), ElementsAre(readMin("ExposureTime"), readMax("ExposureTime"),
                                               readInc("ExposureTime"), read("ExposureTime")));
}

TEST_F(Publishing, OfManualExposureTimeWithoutTheFeaturePublishesZeros) {
    camera.without("ExposureTime");
    run(&CCamProc::ProcParametrizeCamManExpo);
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamExposure, 0.0f, 0.0f, 0.0f, 0.0f)));
}

TEST_F(Publishing, PassesARangeWithoutSenseOn) {
    camera.floating("ExposureTime", 5.0).range(9.0, 1.0, 0.5);
    run(&CCamProc::ProcParametrizeCamManExpo);
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamExposure, 5.0f, 9.0f, 1.0f, 0.5f)));
}

// Gamma.

class PublishingGamma : public Publishing {
protected:
    Logged run() { return Publishing::run(&CCamProc::ProcParametrizeCamGamma); }

    static Line own(const std::string &text) {
        return scenario.debug("ProcParametrizeCamGamma", text);
    }
    static Line state(const char *mode, const char *type) {
        return features.debug("ExPropertyGetLUTMode", std::string("### get Lut mode \"") + mode +
                                                          "\"; Lut type \"" + type + "\" ###\n");
    }
    static Line switched(const char *mode, const char *type) {
        return features.debug("ExPropertySetLUTMode", std::string("### set Lut mode to \"") + mode +
                                                          "\"; Lut type to \"" + type + "\" ###\n");
    }
    const Line onState = state("Active", "GammaCorrection");
    const Line obtained =
        features.debug("ExPropertyGetGammaRange", "Gamma correction range: node is obtained\n");
    const Line rangeRead = features.debug("ExPropertyGetGammaRange",
                                          "### Gamma range: min=0.250000 max=4.000000 ###\n");
    const Line valueRead =
        features.debug("ExPropertyGetGamma", "### get Gamma value: 0.500000 ###\n");
};

TEST_F(PublishingGamma, SwitchesGammaOnForTheReadingAndTheTableOffAgain) {
    EXPECT_EQ(
        lines({state("Off", "UserDefined"), own("### Gamma feature is disabled (lutMode=1) ###\n"),
               switched("Active", "GammaCorrection"), onState, obtained, rangeRead, onState,
               valueRead, switched("Off", ""),
               own("  cur Gamma val is 0.500000 (min 0.250000, max 4.000000, inc 0.100000) "
                   "(status 0)\n")}),
        run());
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.5f, 0.25f, 4.0f, 0.1f)));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readText("lutMode"), readText("lutType"),
                            write("lutType", "GammaCorrection"), write("lutMode", "Active"),
                            readText("lutMode"), readText("lutType"), readMin("gammaCorrection"),
                            readMax("gammaCorrection"), readInc("gammaCorrection"),
                            readText("lutMode"), readText("lutType"), read("gammaCorrection"),
                            write("lutMode", "Off")));
    EXPECT_EQ("Off", camera.value("lutMode"));
}

TEST_F(PublishingGamma, PutsTheUsersTableBack) {
    camera.enumeration("lutMode", "Active", {"Off", "Active"});
    const Logged logged = run();
    EXPECT_THAT(ownLines(logged, "ProcParametrizeCamGamma"),
                ElementsAre(" ### Gamma feature is disabled (lutMode=2) ###\n",
                            "   cur Gamma val is 0.500000 (min 0.250000, max 4.000000, inc "
                            "0.100000) (status 0)\n"));
    EXPECT_EQ("Active", camera.value("lutMode"));
    EXPECT_EQ("UserDefined", camera.value("lutType"));
    EXPECT_EQ("Bpp12", camera.value("lutSize"));
    const std::vector<Event> all = camera.accesses();
    EXPECT_THAT(std::vector<Event>(all.end() - 3, all.end()),
                ElementsAre(write("lutType", "UserDefined"), write("lutSize", "Bpp12"),
                            write("lutMode", "Active")));
}

TEST_F(PublishingGamma, LeavesATableThatHoldsGammaAlone) {
    camera.enumeration("lutMode", "Active", {"Off", "Active"})
        .enumeration("lutType", "GammaCorrection", {"UserDefined", "GammaCorrection"})
        .floating("gammaCorrection", 0.5)
        .range(0.25, 4.0, 0.25);
    EXPECT_EQ(lines({onState, onState, obtained, rangeRead, onState, valueRead,
                     own("  cur Gamma val is 0.500000 (min 0.250000, max 4.000000, inc 0.250000) "
                         "(status 0)\n")}),
              run());
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.5f, 0.25f, 4.0f, 0.25f)));
    for (const Event &event : camera.accesses())
        EXPECT_NE(Op::FromString, event.op);
}

TEST_F(PublishingGamma, SwitchesATableInAnyOtherStateOff) {
    camera.enumeration("lutMode", "Active", {"Off", "Active"})
        .enumeration("lutType", "Contrast", {"Contrast", "UserDefined", "GammaCorrection"});
    EXPECT_EQ(" ### Gamma feature is disabled (lutMode=4) ###\n",
              ownLines(run(), "ProcParametrizeCamGamma").front());
    EXPECT_EQ("Off", camera.value("lutMode"));
    EXPECT_EQ("GammaCorrection", camera.value("lutType"));
}

TEST_F(PublishingGamma, HasAStepOfAtLeastATenth) {
    const std::pair<double, float> cases[] = {
        {0.0, 0.1f}, {0.01, 0.1f}, {static_cast<double>(0.1f), 0.1f}, {0.125, 0.125f}};
    for (const auto &[reported, step] : cases) {
        host::reset();
        camera.feature("gammaCorrection").range(0.25, 4.0, reported);
        wrapAnew();
        run();
        EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.5f, 0.25f, 4.0f, step)));
    }
}

TEST_F(PublishingGamma, WarnsAndCarriesOnWhenTheTableIsUnknown) {
    camera.without("lutMode").floating("gammaCorrection", 0.5);
    EXPECT_EQ(lines({own("### Gamma feature is disabled (lutMode=0) ###\n"),
                     scenario.warning("ProcParametrizeCamGamma", "Can't enable Gamma feature\n"),
                     valueRead,
                     own("  cur Gamma val is 0.500000 (min -1.000000, max -1.000000, inc 0.100000) "
                         "(status 0)\n")}),
              run());
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.5f, -1.0f, -1.0f, 0.1f)));
}

TEST_F(PublishingGamma, PublishesItsDefaultsWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    const Line noState =
        features.warning("ExPropertyGetLUTMode", "can't get dev params to get LutGamma mode\n");
    const Line noSwitch =
        features.warning("ExPropertySetLUTMode", "can't get dev params to change LutGamma mode\n");
    EXPECT_EQ(
        lines({noState, own("### Gamma feature is disabled (lutMode=0) ###\n"), noSwitch,
               scenario.warning("ProcParametrizeCamGamma", "Can't enable Gamma feature\n"), noState,
               noState, features.warning("ExPropertyGetGamma", "Can't get Gamma enum parameter\n"),
               noSwitch,
               own("  cur Gamma val is 0.000000 (min -1.000000, max -1.000000, inc 0.100000) "
                   "(status 0)\n")}),
        run());
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.0f, -1.0f, -1.0f, 0.1f)));
}

TEST_F(PublishingGamma, PublishesItsDefaultsForACameraWithoutGamma) {
    camera.without("gammaCorrection");
    run();
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.0f, -1.0f, -1.0f, 0.1f)));
    EXPECT_EQ("Off", camera.value("lutMode"));
}

TEST_F(PublishingGamma, PublishesItsDefaultsWhenTheStateOfTheTableRaisesAnError) {
    camera.feature("lutMode").raises(Op::ToString, Fault::Access);
    EXPECT_EQ(lines({own(" Origin check gamma config - GenApi: Access Exception the sensor is "
                         "asleep\n"),
                     own("  cur Gamma val is 0.000000 (min -1.000000, max -1.000000, inc 0.000000) "
                         "(status -17)\n")}),
              run());
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.0f, -1.0f, -1.0f, 0.0f)));
    EXPECT_THAT(camera.accesses(), ElementsAre(readText("lutMode")));
}

TEST_F(PublishingGamma, KeepsWhatWasReadBeforeAnErrorAndLeavesGammaOn) {
    camera.feature("gammaCorrection").raises(Op::GetValue, Fault::Timeout);
    EXPECT_EQ(
        lines({state("Off", "UserDefined"), own("### Gamma feature is disabled (lutMode=1) ###\n"),
               switched("Active", "GammaCorrection"), onState, obtained, rangeRead, onState,
               own(" Origin check gamma config - GenApi: Timeout Exception the sensor is "
                   "asleep\n"),
               own("  cur Gamma val is 0.000000 (min 0.250000, max 4.000000, inc 0.000000) "
                   "(status -6)\n")}),
        run());
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.0f, 0.25f, 4.0f, 0.0f)));
    EXPECT_EQ("Active", camera.value("lutMode"));
    EXPECT_EQ("GammaCorrection", camera.value("lutType"));
}

TEST_F(PublishingGamma, KeepsItsDefaultsWhenTheRangeRaisesAnError) {
    camera.feature("gammaCorrection").raises(Op::GetInc, Fault::OutOfRange);
    run();
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.0f, -1.0f, -1.0f, 0.0f)));
}

TEST_F(PublishingGamma, KeepsEverythingWhenPuttingTheTableBackRaisesAnError) {
    camera.feature("gammaCorrection").range(0.25, 4.0, 0.0);
    camera.feature("lutMode").raises(Op::FromString, Fault::Runtime, 2);
    EXPECT_EQ("   cur Gamma val is 0.500000 (min 0.250000, max 4.000000, inc 0.000000) "
              "(status -1)\n",
              ownLines(run(), "ProcParametrizeCamGamma").back());
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.5f, 0.25f, 4.0f, 0.0f)));
    EXPECT_EQ("Active", camera.value("lutMode"));
}

// Automatic functions.

TEST_F(Publishing, OfTheAutomaticFunctionsReadsValuesBeforeRanges) {
    const Logged logged = run(&CCamProc::ProcParametrizeCamAutoFuncParams);
    EXPECT_THAT(camera.accesses(),
                ElementsAre(
                    // brightness target
                    readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                    read("autoBrightnessTarget"), write("autoBrightnessMode", "Off"),
                    readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                    readMin("autoBrightnessTarget"), readMax("autoBrightnessTarget"),
                    readInc("autoBrightnessTarget"), write("autoBrightnessMode", "Off"),
                    // lower limit of gain
                    readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                    readText("GainAuto"), write("GainAuto", "Continuous"),
                    write("gainAutoSource", "SensorAll"), read("gainAutoMinValue"),
                    write("autoBrightnessMode", "Off"), readText("autoBrightnessMode"),
                    write("autoBrightnessMode", "Active"), readText("GainAuto"),
                    write("gainAutoSource", "SensorAll"), readMin("gainAutoMinValue"),
                    readMax("gainAutoMinValue"), readInc("gainAutoMinValue"),
                    write("autoBrightnessMode", "Off"),
                    // upper limit of gain
                    readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                    readText("GainAuto"), write("gainAutoSource", "SensorAll"),
                    read("gainAutoMaxValue"), write("autoBrightnessMode", "Off"),
                    readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                    readText("GainAuto"), write("gainAutoSource", "SensorAll"),
                    readMin("gainAutoMaxValue"), readMax("gainAutoMaxValue"),
                    readInc("gainAutoMaxValue"), write("autoBrightnessMode", "Off"),
                    // lower limit of exposure time
                    readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                    readText("ExposureAuto"), write("ExposureAuto", "Continuous"),
                    read("exposureAutoMinValue"), write("autoBrightnessMode", "Off"),
                    readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                    readText("ExposureAuto"), readMin("exposureAutoMinValue"),
                    readMax("exposureAutoMinValue"), readInc("exposureAutoMinValue"),
                    write("autoBrightnessMode", "Off"),
                    // upper limit of exposure time
                    readText("autoBrightnessMode"), write("autoBrightnessMode", "Active"),
                    readText("ExposureAuto"), read("exposureAutoMaxValue"),
                    write("autoBrightnessMode", "Off"), readText("autoBrightnessMode"),
                    write("autoBrightnessMode", "Active"), readText("ExposureAuto"),
                    readMin("exposureAutoMaxValue"), readMax("exposureAutoMaxValue"),
                    readInc("exposureAutoMaxValue"), write("autoBrightnessMode", "Off")));
    EXPECT_THAT(ownLines(logged, "ProcParametrizeCamAutoFuncParams"),
                ElementsAre(" AutoFunc params: bright 0.501961 (min 0.000000, max 1.000000, inc "
                            "0.003922)\n",
                            " AutoFunc params: gainLimit Lower - 0.000000 (min 0.000000, max "
                            "18.061800, inc 0.500000)\n",
                            " AutoFunc params: gainLimit Upper - 20.000000 (min 0.000000, max "
                            "40.000000, inc 0.500000)\n",
                            " AutoFunc params: expoTime Lower - 100.000000 (min 20.000000, max "
                            "1000.000000, inc 2.000000)\n",
                            " AutoFunc params: expoTime Upper - 20000.000000 (min 1000.000000, max "
                            "33000.000000, inc 4.000000)\n"));
}

TEST_F(Publishing, OfTheAutomaticFunctionsHasGainInHalfDecibelsAndExposureAsReported) {
    run(&CCamProc::ProcParametrizeCamAutoFuncParams);
    const std::vector<Publication> &all = published();
    ASSERT_EQ(5u, all.size());
    EXPECT_EQ(floats(KxScParamAutoBrightTarget, 128.0f / 255.0f, 0.0f, 1.0f, 1.0f / 255.0f),
              all[0]);
    EXPECT_EQ(KxScParamAutoGainLower, all[1].id);
    EXPECT_EQ(0.0f, std::get<float>(*all[1].cur));
    EXPECT_EQ(0.0f, std::get<float>(*all[1].min));
    EXPECT_FLOAT_EQ(decibels(8.0f), std::get<float>(*all[1].max));
    EXPECT_EQ(0.5f, std::get<float>(*all[1].inc));
    EXPECT_EQ(floats(KxScParamAutoGainUpper, 20.0f, 0.0f, 40.0f, 0.5f), all[2]);
    EXPECT_EQ(floats(KxScParamAutoExpoLower, 100.0f, 20.0f, 1000.0f, 2.0f), all[3]);
    EXPECT_EQ(floats(KxScParamAutoExpoUpper, 20000.0f, 1000.0f, 33000.0f, 4.0f), all[4]);
}

TEST_F(Publishing, OfTheAutomaticFunctionsLogsInBothForms) {
    // Without anything to prepare, nothing else is logged in between.
    scripted::reset();
    camera.integer("autoBrightnessTarget", 51).range(0, 255, 51);
    const auto own = [](const char *text) {
        return scenario.debug("ProcParametrizeCamAutoFuncParams", text);
    };
    EXPECT_EQ(lines({rangeLine("ExPropertyGetIntRange", "10 (autoBrightnessTarget)",
                               "min=0 max=255 inc=51"),
                     own("AutoFunc params: bright 0.200000 (min 0.000000, max 1.000000, inc "
                         "0.200000)\n"),
                     own("AutoFunc params: gainLimit Lower - 0.200000 (min 0.000000, max 1.000000, "
                         "inc 0.500000)\n"),
                     own("AutoFunc params: gainLimit Upper - 0.200000 (min 0.000000, max 1.000000, "
                         "inc 0.500000)\n"),
                     own("AutoFunc params: expoTime Lower - 0.200000 (min 0.000000, max 1.000000, "
                         "inc 0.500000)\n"),
                     own("AutoFunc params: expoTime Upper - 0.200000 (min 0.000000, max 1.000000, "
                         "inc 0.500000)\n")}),
              run(&CCamProc::ProcParametrizeCamAutoFuncParams));
    // The five parts share their variables: a missing part shows the part before it.
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamAutoBrightTarget, 0.2f, 0.0f, 1.0f, 0.2f),
                                         floats(KxScParamAutoGainLower, 0.2f, 0.0f, 1.0f, 0.5f),
                                         floats(KxScParamAutoGainUpper, 0.2f, 0.0f, 1.0f, 0.5f),
                                         floats(KxScParamAutoExpoLower, 0.2f, 0.0f, 1.0f, 0.5f),
                                         floats(KxScParamAutoExpoUpper, 0.2f, 0.0f, 1.0f, 0.5f)));
}

TEST_F(Publishing, OfTheAutomaticFunctionsWithoutAnyPublishesZeros) {
    scripted::reset();
    run(&CCamProc::ProcParametrizeCamAutoFuncParams);
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamAutoBrightTarget, 0.0f, 0.0f, 0.0f, 0.0f),
                                         floats(KxScParamAutoGainLower, 0.0f, 0.0f, 0.0f, 0.5f),
                                         floats(KxScParamAutoGainUpper, 0.0f, 0.0f, 0.0f, 0.5f),
                                         floats(KxScParamAutoExpoLower, 0.0f, 0.0f, 0.0f, 0.5f),
                                         floats(KxScParamAutoExpoUpper, 0.0f, 0.0f, 0.0f, 0.5f)));
}

// Output lines.

TEST_F(Publishing, OfTheOutputLinesOffersTheSameChoiceEveryTime) {
    for (int i = 0; i < 2; ++i) {
        host::reset();
        forget();
        EXPECT_EQ(silence, run(&CCamProc::ProcParametrizeCamOutLines));
        EXPECT_THAT(published(),
                    ElementsAre(Publication{KxScParamOutLines,
                                            std::string("None"),
                                            std::string("\"None\", \"Out1\", \"Out2\""),
                                            {},
                                            {}}));
        EXPECT_EQ(0, host::outLineNumber());
        EXPECT_THAT(trace(), ElementsAre(setParamVal(KxScParamOutLines)));
    }
    EXPECT_EQ(22u, std::get<std::string>(*published()[0].min).size());
}

// All steps together.

TEST_F(Publishing, RunsItsStepsInOrder) {
    cam();
    EXPECT_EQ(0, CCamProc().ProcParametrizeCam(&cam()));
    std::vector<KxScParamId> ids;
    for (const Publication &each : published()) {
        ids.push_back(each.id);
        EXPECT_EQ(0xFFFFFFFFu, each.index);
    }
    EXPECT_THAT(ids, ElementsAre(3, 4, 5, 6, 0, 2, 18, 19, 1, 11, 13, 14, 16, 17, 21));
}

TEST_F(Publishing, PublishesTheSameAtEveryLogLevelAndWritesNothingBelowFour) {
    const auto everything = [this] { CCamProc().ProcParametrizeCam(&cam()); };
    logOf(everything, 4);
    const std::vector<Publication> first = published();
    for (const int level : {3, 2, 1, 0, -1}) {
        describeWholeCamera(camera);
        wrapAnew();
        host::reset();
        cam();
        EXPECT_EQ(silence, logOf(everything, level));
        EXPECT_EQ(first, published());
    }
}

TEST_F(Publishing, RunsAllStepsWithoutANodeMapAndReturnsZero) {
    framework.nodeMap(NodeMap::None);
    cam();
    EXPECT_EQ(0, CCamProc().ProcParametrizeCam(&cam()));
    EXPECT_THAT(published(), ElementsAre(integers(KxScParamOffsetX, 0, 0, -16, 0),
                                         integers(KxScParamOffsetY, 0, 0, -16, 0),
                                         integers(KxScParamWidth, 0, 0, 0, 0),
                                         integers(KxScParamHeight, 0, 0, 0, 0),
                                         floats(KxScParamFps, 0.0f, 0.0f, 0.0f, 0.1f),
                                         Publication{KxScParamRotate, 0, {}, {}, {}},
                                         floats(KxScParamGain, 0.0f, 0.0f, 0.0f, 0.5f),
                                         floats(KxScParamExposure, 0.0f, 0.0f, 0.0f, 0.0f),
                                         floats(KxScParamGamma, 0.0f, -1.0f, -1.0f, 0.1f),
                                         floats(KxScParamAutoBrightTarget, 0.0f, 0.0f, 0.0f, 0.0f),
                                         floats(KxScParamAutoGainLower, 0.0f, 0.0f, 0.0f, 0.5f),
                                         floats(KxScParamAutoGainUpper, 0.0f, 0.0f, 0.0f, 0.5f),
                                         floats(KxScParamAutoExpoLower, 0.0f, 0.0f, 0.0f, 0.5f),
                                         floats(KxScParamAutoExpoUpper, 0.0f, 0.0f, 0.0f, 0.5f),
                                         Publication{KxScParamOutLines,
                                                     std::string("None"),
                                                     std::string("\"None\", \"Out1\", \"Out2\""),
                                                     {},
                                                     {}}));
}

TEST_F(Publishing, EndsAtTheStepThatLetsAnErrorOut) {
    const std::pair<const char *, std::size_t> cases[] = {{"WidthMax", 0},
                                                          {"HeightMax", 1},
                                                          {"Height", 3},
                                                          {"AcquisitionFrameRate", 4},
                                                          {"Gain", 6},
                                                          {"ExposureTime", 7},
                                                          {"autoBrightnessTarget", 9},
                                                          {"gainAutoMinValue", 10},
                                                          {"gainAutoMaxValue", 11},
                                                          {"exposureAutoMinValue", 12},
                                                          {"exposureAutoMaxValue", 13}};
    for (const auto &[name, publications] : cases) {
        scripted::reset();
        host::reset();
        describeWholeCamera(camera);
        camera.feature(name).raises(Op::GetValue, Fault::Runtime);
        wrapAnew();
        cam();
        EXPECT_THROW(CCamProc().ProcParametrizeCam(&cam()), GenICam_3_0::RuntimeException) << name;
        EXPECT_EQ(publications, published().size()) << name;
    }
}

} // namespace
