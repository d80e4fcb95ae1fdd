// The scenario as a whole, on a camera that has every feature, and on cameras that fail.

#include "plug_in.h"

namespace {

class Scenario : public OpenedCamera {
protected:
    Scenario() {
        describeWholeCamera(camera);
        framework.featureValue("PixelFormat", 0x01080001);
        std::snprintf(info_.manufacturer, sizeof info_.manufacturer, "Teledyne DALSA");
        std::snprintf(info_.model, sizeof info_.model, "Nano-M2020");
        std::snprintf(info_.version, sizeof info_.version, "1.02");
        std::snprintf(info_.serial, sizeof info_.serial, "S1234");
        info_.mode = 2;
    }

    Logged run(int level = 4) {
        cam();
        return logOf([&] { result = KxTd__Proc(&cam()); }, level);
    }

    int result = -99;
};

Line once(const std::string &text) {
    return scenario.debug("ProcOnce", text);
}
Line proc(const std::string &text) {
    return scenario.debug("KxTd__Proc", text);
}

TEST_F(Scenario, WritesThisLogOfAWholeCamera) {
    const auto report = [](const char *text) { return scenario.debug("ProcCheckCamConfig", text); };
    const auto ranged = [](const char *operation, const char *text) {
        return features.debug(operation, text);
    };
    const Line stateOff = features.debug(
        "ExPropertyGetLUTMode", "### get Lut mode \"Off\"; Lut type \"UserDefined\" ###\n");
    const Line stateGamma = features.debug(
        "ExPropertyGetLUTMode", "### get Lut mode \"Active\"; Lut type \"GammaCorrection\" ###\n");
    const auto limit = [](const char *text) { return features.debug("ExPropertyGetFloat", text); };
    const std::vector<Line> gainPreparation = {
        limit("temporary enabling auto mode...\n"), limit("done\n"),
        limit("temporary enabling SensorAll mode for autogain ...\n"), limit("done\n")};
    const auto automatic = [](const char *text) {
        return scenario.debug("ProcParametrizeCamAutoFuncParams", text);
    };

    std::vector<Line> expected = {
        proc("KxTdProc entry: mode=2\n"),
        once("Using device Model:Nano-M2020 Serial:S1234\n"),
        report("== Camera Device Information ==\n"),
        report("===============================\n"),
        report("Vendor           : Teledyne DALSA\n"),
        report("Model            : Nano-M2020\n"),
        report("Version          : 1.02\n"),
        report("DeviceSerialID   : S1234\n"),
        report("Temperature, C   : 41.25\n"),
        report("~~ Camera Device Current Settings ~~\n"),
        report("~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n"),
        report("ROI OffsX x OffsY   : 8 x 4\n"),
        report("ROI Width x Height  : 1920 x 1200\n"),
        report("ResultingFrameRate  : 30.0\n"),
        report("Gain, dB            : 20.0\n"),
        report("ExposureTimeAbs, us : 5000.0\n"),
        stateOff,
        features.debug("ExPropertyGetGamma", "### Gamma feature is disabled (1) ###\n"),
        report("Gamma               : -1.00\n"),
        report("PixelFormat         : 0x01080001\n"),
        report("~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n"),
        ranged("ExPropertyGetIntRange",
               "### get property 4 (OffsetX) range: min=0 max=16 inc=8 ###\n"),
        scenario.debug("ProcParametrizeCamAoi", "  cur OffsX val is 8 (min 0, max 1920, inc 8)\n"),
        ranged("ExPropertyGetIntRange",
               "### get property 5 (OffsetY) range: min=0 max=12 inc=4 ###\n"),
        scenario.debug("ProcParametrizeCamAoi", "  cur OffsY val is 4 (min 0, max 1200, inc 4)\n"),
        ranged("ExPropertyGetIntRange",
               "### get property 2 (Width) range: min=16 max=1928 inc=16 ###\n"),
        scenario.debug("ProcParametrizeCamAoi",
                       "  cur Width val is 1920 (min 16, max 1936, inc 16)\n"),
        ranged("ExPropertyGetIntRange",
               "### get property 3 (Height) range: min=2 max=1212 inc=2 ###\n"),
        scenario.debug("ProcParametrizeCamAoi",
                       "  cur Height val is 1200 (min 2, max 1216, inc 2)\n"),
        ranged("ExPropertyGetFloatRange", "### get property 9 (AcquisitionFrameRate) range: "
                                          "min=1.000000 max=60.000000 inc=0.000000 ###\n"),
        scenario.debug("ProcParametrizeCamFps",
                       "  cur AcqFps val is 29.969999 (min 1.000000, max 60.000000, inc "
                       "0.100000)\n"),
        ranged("ExPropertyGetFloatRange", "### get property 6 (Gain) range: min=0.000000 "
                                          "max=40.000000 inc=0.000000 ###\n"),
        scenario.debug("ProcParametrizeCamManGain",
                       "  cur Gain val is 20.000000 (min 0.000000, max 40.000000, inc "
                       "0.500000)\n"),
        ranged("ExPropertyGetFloatRange", "### get property 7 (ExposureTime) range: min=20.000000 "
                                          "max=1000000.000000 inc=1.000000 ###\n"),
        scenario.debug("ProcParametrizeCamManExpo",
                       "  cur ExpoTime val is 5000.000000 (min 20.000000, max 1000000.000000, inc "
                       "1.000000)\n"),
        stateOff,
        scenario.debug("ProcParametrizeCamGamma",
                       "### Gamma feature is disabled (lutMode=1) ###\n"),
        features.debug("ExPropertySetLUTMode",
                       "### set Lut mode to \"Active\"; Lut type to \"GammaCorrection\" ###\n"),
        stateGamma,
        features.debug("ExPropertyGetGammaRange", "Gamma correction range: node is obtained\n"),
        features.debug("ExPropertyGetGammaRange",
                       "### Gamma range: min=0.250000 max=4.000000 ###\n"),
        stateGamma,
        features.debug("ExPropertyGetGamma", "### get Gamma value: 0.500000 ###\n"),
        features.debug("ExPropertySetLUTMode",
                       "### set Lut mode to \"Off\"; Lut type to \"\" ###\n"),
        scenario.debug("ProcParametrizeCamGamma",
                       "  cur Gamma val is 0.500000 (min 0.250000, max 4.000000, inc 0.100000) "
                       "(status 0)\n"),
        ranged("ExPropertyGetIntRange", "### get property 10 (autoBrightnessTarget) range: min=0 "
                                        "max=255 inc=1 ###\n"),
        automatic("AutoFunc params: bright 0.501961 (min 0.000000, max 1.000000, inc 0.003922)\n"),
    };
    const auto append = [&](const std::vector<Line> &more) {
        expected.insert(expected.end(), more.begin(), more.end());
    };
    append(gainPreparation);
    append({ranged("ExPropertyGetFloatRange", "### get property 13 (gainAutoMinValue) range: "
                                              "min=0.000000 max=18.061800 inc=6.020600 ###\n"),
            automatic("AutoFunc params: gainLimit Lower - 0.000000 (min 0.000000, max 18.061800, "
                      "inc 0.500000)\n")});
    append(gainPreparation);
    append(
        {ranged("ExPropertyGetFloatRange", "### get property 14 (gainAutoMaxValue) range: "
                                           "min=0.000000 max=40.000000 inc=6.020600 ###\n"),
         automatic("AutoFunc params: gainLimit Upper - 20.000000 (min 0.000000, max 40.000000, "
                   "inc 0.500000)\n"),
         ranged("ExPropertyGetFloatRange", "### get property 11 (exposureAutoMinValue) range: "
                                           "min=20.000000 max=1000.000000 inc=2.000000 ###\n"),
         automatic("AutoFunc params: expoTime Lower - 100.000000 (min 20.000000, max "
                   "1000.000000, inc 2.000000)\n"),
         ranged("ExPropertyGetFloatRange", "### get property 12 (exposureAutoMaxValue) range: "
                                           "min=1000.000000 max=33000.000000 inc=4.000000 ###\n"),
         automatic("AutoFunc params: expoTime Upper - 20000.000000 (min 1000.000000, max "
                   "33000.000000, inc 4.000000)\n"),
         once("Finished loop with: status=0, rc=0\n"), proc("scenario is completed (rc = 0)\n")});

    EXPECT_EQ(lines(expected), run());
    EXPECT_EQ(0, result);
}

TEST_F(Scenario, LeavesTheCameraLikeThis) {
    run(0);
    EXPECT_EQ("SensorAll", camera.value("GainSelector"));
    EXPECT_EQ("Off", camera.value("lutMode"));
    EXPECT_EQ("GammaCorrection", camera.value("lutType"));
    EXPECT_EQ("Off", camera.value("autoBrightnessMode"));
    EXPECT_EQ("Continuous", camera.value("ExposureAuto"));
    EXPECT_EQ("Continuous", camera.value("GainAuto"));
    EXPECT_EQ("SensorAll", camera.value("gainAutoSource"));
    EXPECT_EQ("Internal", camera.value("DeviceTemperatureSelector"));
    EXPECT_EQ("Green", camera.value("BalanceRatioSelector"));
}

TEST_F(Scenario, IsSilentBelowLevelFour) {
    for (const int level : {3, 2, 1, 0}) {
        scripted::reset();
        host::reset();
        describeWholeCamera(camera);
        wrapAnew();
        EXPECT_EQ(silence, run(level));
        EXPECT_EQ(0, result);
        EXPECT_EQ(15u, published().size());
    }
}

TEST_F(Scenario, ShowsTheModeOfTheRecord) {
    framework.nodeMap(NodeMap::WithoutMap);
    info_.mode = 0xFFFFFFFFu;
    EXPECT_EQ("[d|KxTd__Proc] KxTdProc entry: mode=4294967295\n", run().system.front().text);
}

TEST_F(Scenario, ReportsAnAccessErrorWhenNoMapIsBehindTheReference) {
    framework.nodeMap(NodeMap::WithoutMap);
    const auto report = [](const char *text) { return scenario.debug("ProcCheckCamConfig", text); };
    EXPECT_EQ(lines({proc("KxTdProc entry: mode=2\n"),
                     once("Using device Model:Nano-M2020 Serial:S1234\n"),
                     report("== Camera Device Information ==\n"),
                     report("===============================\n"),
                     report("Vendor           : Teledyne DALSA\n"),
                     report("Model            : Nano-M2020\n"), report("Version          : 1.02\n"),
                     report("DeviceSerialID   : S1234\n"),
                     once(" Origin check config - GenApi: Access Exception Feature not present "
                          "(reference not valid)\n"),
                     once("Finished loop with: status=-17, rc=0\n"),
                     proc("scenario is completed (rc = 0)\n")}),
              run());
    EXPECT_EQ(0, result);
    EXPECT_THAT(published(), IsEmpty());
}

TEST_F(Scenario, RunsToItsEndWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    const Logged logged = run();
    EXPECT_EQ(0, result);
    EXPECT_EQ(15u, published().size());
    ASSERT_LT(2u, logged.system.size());
    EXPECT_EQ("[d|ProcOnce] Finished loop with: status=0, rc=0\n",
              logged.system[logged.system.size() - 2].text);
}

TEST_F(Scenario, EndsWithZeroAfterAnErrorInALaterStep) {
    camera.feature("ExposureTime").raises(Op::GetMin, Fault::Property);
    const Logged logged = run();
    EXPECT_EQ(0, result);
    EXPECT_EQ(7u, published().size());
    const std::string end = "[KX_TD_PROC:d]:  Origin check config - GenApi: Property Exception the "
                            "sensor is asleep[KX_TD_PROC:d]: Finished loop with: status=0, rc=0\n"
                            "[KX_TD_PROC:d]: scenario is completed (rc = 0)\n";
    EXPECT_EQ(end, logged.out.substr(logged.out.size() - end.size()));
}

// As GenICam's own GenApi has it: the increment of a float that has none is an error.
TEST_F(Scenario, EndsAtTheFrameRateWhereAFloatHasNoIncrement) {
    camera.raisesWithoutIncrement();
    const Logged logged = run();
    EXPECT_EQ(0, result);
    EXPECT_THAT(published(), ElementsAre(integers(KxScParamOffsetX, 8, 0, 1920, 8),
                                         integers(KxScParamOffsetY, 4, 0, 1200, 4),
                                         integers(KxScParamWidth, 1920, 16, 1936, 16),
                                         integers(KxScParamHeight, 1200, 2, 1216, 2)));
    const std::string end = "[KX_TD_PROC:d]:  Origin check config - GenApi: Runtime Exception Node "
                            "has no increment. : AcquisitionFrameRate\n"
                            "[KX_TD_PROC:d]: Finished loop with: status=-1, rc=0\n"
                            "[KX_TD_PROC:d]: scenario is completed (rc = 0)\n";
    EXPECT_EQ(end, logged.out.substr(logged.out.size() - end.size()));
}

TEST_F(Scenario, EndsInItsReportWhereAGammaThatIsOnHasNoIncrement) {
    camera.raisesWithoutIncrement();
    camera.enumeration("lutMode", "Active", {"Off", "Active"})
        .enumeration("lutType", "GammaCorrection", {"UserDefined", "GammaCorrection"});
    run(0);
    EXPECT_EQ(0, result);
    EXPECT_THAT(published(), IsEmpty());
}

TEST_F(Scenario, LetsNoErrorOutWhateverAccessRaisesIt) {
    run(0);
    const std::size_t accesses = camera.accessCount();
    ASSERT_LT(100u, accesses);
    for (std::size_t k = 1; k <= accesses; ++k) {
        scripted::reset();
        describeWholeCamera(camera);
        wrapAnew();
        cam();
        camera.raiseAt(k, Fault::Runtime);
        EXPECT_NO_THROW(run(0)) << "access " << k;
        EXPECT_EQ(0, result) << "access " << k;
    }
}

} // namespace
