// The device report. The publication that follows it is put aside: this program has a step of its
// own in front of the library's, which only notes that it was called.

#include "plug_in.h"

namespace {

Event publication() {
    return call("ProcParametrizeCam");
}

} // namespace

int KxTd::CCamProc::ProcParametrizeCam(CExCam *) {
    scripted::record(publication());
    return 7;
}

namespace {

class Report : public OpenedCamera {
protected:
    Report() {
        describeWholeCamera(camera);
        framework.featureValue("PixelFormat", 0x01080001);
        std::snprintf(info_.manufacturer, sizeof info_.manufacturer, "Teledyne DALSA");
        std::snprintf(info_.model, sizeof info_.model, "Nano-M2020");
        std::snprintf(info_.version, sizeof info_.version, "1.02");
        std::snprintf(info_.serial, sizeof info_.serial, "S1234");
    }

    Logged run(int level = 4, int mode = kBothSinks) {
        cam();
        forget();
        return logOf([&] { EXPECT_EQ(0, CCamProc().ProcCheckCamConfig(&cam())); }, level, mode);
    }

    static Line line(const std::string &text) { return scenario.debug("ProcCheckCamConfig", text); }

    // The report's own lines, without those of the camera operations.
    std::vector<std::string> report(int level = 4) {
        std::vector<std::string> own;
        const std::string prefix = "[d|ProcCheckCamConfig] ";
        for (const host::SystemLine &each : run(level).system) {
            if (each.text.rfind(prefix, 0) == 0)
                own.push_back(each.text.substr(prefix.size()));
        }
        return own;
    }

    // Reads of the settings block, on a camera whose table is off.
    const std::vector<Event> settings = {read("OffsetX"),
                                         read("OffsetY"),
                                         read("Width"),
                                         read("Height"),
                                         read("AcquisitionFrameRate"),
                                         write("GainSelector", "SensorAll"),
                                         read("Gain"),
                                         read("ExposureTime"),
                                         readText("lutMode"),
                                         readText("lutType")};

    static std::vector<Event> joined(std::vector<Event> first, const std::vector<Event> &second) {
        first.insert(first.end(), second.begin(), second.end());
        return first;
    }
};

TEST_F(Report, IsWrittenLikeThisInBothForms) {
    EXPECT_EQ(
        lines({line("== Camera Device Information ==\n"), line("===============================\n"),
               line("Vendor           : Teledyne DALSA\n"), line("Model            : Nano-M2020\n"),
               line("Version          : 1.02\n"), line("DeviceSerialID   : S1234\n"),
               line("Temperature, C   : 41.25\n"), line("~~ Camera Device Current Settings ~~\n"),
               line("~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n"),
               line("ROI OffsX x OffsY   : 8 x 4\n"), line("ROI Width x Height  : 1920 x 1200\n"),
               line("ResultingFrameRate  : 30.0\n"), line("Gain, dB            : 20.0\n"),
               line("ExposureTimeAbs, us : 5000.0\n"),
               features.debug("ExPropertyGetLUTMode",
                              "### get Lut mode \"Off\"; Lut type \"UserDefined\" ###\n"),
               features.debug("ExPropertyGetGamma", "### Gamma feature is disabled (1) ###\n"),
               line("Gamma               : -1.00\n"), line("PixelFormat         : 0x01080001\n"),
               line("~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n")}),
        run());
}

TEST_F(Report, IsFollowedByThePublicationWhoseResultDoesNotMatter) {
    run(0);
    const std::vector<Event> all = trace();
    EXPECT_THAT(std::vector<Event>(all.end() - 2, all.end()),
                ElementsAre(getFeatureValue("PixelFormat", 4), publication()));
    EXPECT_THAT(calls(), ElementsAre(getFeatureValue("PixelFormat", 4), publication()));
}

TEST_F(Report, ReadsTheCameraInThisOrder) {
    run(4, kStandardOutput);
    EXPECT_THAT(trace(),
                ElementsAre(lookup("DeviceTemperatureSelector"),
                            lookupEntry("DeviceTemperatureSelector", "Internal"),
                            entryAccessMode("DeviceTemperatureSelector", "Internal"),
                            readText("DeviceTemperatureSelector"), lookup("DeviceTemperature"),
                            read("DeviceTemperature"), lookup("OffsetX"), read("OffsetX"),
                            lookup("OffsetY"), read("OffsetY"), lookup("Width"), read("Width"),
                            lookup("Height"), read("Height"), lookup("AcquisitionFrameRate"),
                            read("AcquisitionFrameRate"), lookup("GainSelector"),
                            write("GainSelector", "SensorAll"), lookup("Gain"), read("Gain"),
                            lookup("ExposureTime"), read("ExposureTime"), lookup("lutMode"),
                            lookup("lutType"), readText("lutMode"), readText("lutType"),
                            getFeatureValue("PixelFormat", 4), publication()));
}

TEST_F(Report, ReadsTheSameBelowLevelFourButNoTemperatureAndPrintsNothing) {
    for (const int level : {3, 1, 0, -1}) {
        describeWholeCamera(camera);
        wrapAnew();
        EXPECT_EQ(silence, run(level));
        EXPECT_THAT(camera.accesses(),
                    ElementsAreArray(joined({readText("DeviceTemperatureSelector")}, settings)));
        EXPECT_THAT(calls(), ElementsAre(getFeatureValue("PixelFormat", 4), publication()));
    }
}

TEST_F(Report, SelectsTheInternalSensorForGoodWhateverTheLevel) {
    for (const int level : {4, 0}) {
        camera.enumeration("DeviceTemperatureSelector", "Mainboard", {"Internal", "Mainboard"});
        wrapAnew();
        run(level, kStandardOutput);
        std::vector<Event> expected = {readText("DeviceTemperatureSelector"),
                                       write("DeviceTemperatureSelector", "Internal")};
        if (level == 4)
            expected.push_back(read("DeviceTemperature"));
        EXPECT_THAT(camera.accesses(), ElementsAreArray(joined(expected, settings)));
        EXPECT_EQ("Internal", camera.value("DeviceTemperatureSelector"));
    }
}

TEST_F(Report, WritesNothingToASelectorThatShowsTheInternalSensor) {
    run(4, kStandardOutput);
    EXPECT_THAT(camera.accesses(),
                ElementsAreArray(joined(
                    {readText("DeviceTemperatureSelector"), read("DeviceTemperature")}, settings)));
}

TEST_F(Report, ReadsTheTemperatureOncePerSink) {
    camera.feature("DeviceTemperature").readings({41.254, 41.5});
    const Logged logged = run();
    EXPECT_EQ("[d|ProcCheckCamConfig] Temperature, C   : 41.25\n", logged.system[6].text);
    EXPECT_NE(std::string::npos, logged.out.find("[KX_TD_PROC:d]: Temperature, C   : 41.50\n"));
    EXPECT_THAT(camera.accesses(),
                ElementsAreArray(joined({readText("DeviceTemperatureSelector"),
                                         read("DeviceTemperature"), read("DeviceTemperature")},
                                        settings)));
}

TEST_F(Report, ReadsNoTemperatureWhenNoSinkIsChosen) {
    EXPECT_EQ(silence, run(4, 0));
    EXPECT_THAT(camera.accesses(),
                ElementsAreArray(joined({readText("DeviceTemperatureSelector")}, settings)));
}

TEST_F(Report, GoesStraightToTheSettingsWithoutATemperatureSelector) {
    camera.without("DeviceTemperatureSelector");
    const std::vector<std::string> texts = report();
    EXPECT_EQ("DeviceSerialID   : S1234\n", texts[5]);
    EXPECT_EQ("~~ Camera Device Current Settings ~~\n", texts[6]);
    for (const Event &event : trace())
        EXPECT_NE("DeviceTemperature", event.subject.view());

    camera.integer("DeviceTemperatureSelector", 0);
    EXPECT_EQ(texts, report());
    for (const Event &event : trace())
        EXPECT_NE("DeviceTemperature", event.subject.view());
}

TEST_F(Report, SkipsTheTemperatureWhenTheInternalSensorIsNotImplemented) {
    camera.enumeration("DeviceTemperatureSelector", "Mainboard", {"Internal", "Mainboard"})
        .entryAccess("Internal", NI);
    EXPECT_EQ("~~ Camera Device Current Settings ~~\n", report()[6]);
    EXPECT_THAT(camera.accesses(), ElementsAreArray(settings));
    EXPECT_EQ("Mainboard", camera.value("DeviceTemperatureSelector"));
}

TEST_F(Report, SkipsTheTemperatureWhenThereIsNoInternalSensor) {
    camera.enumeration("DeviceTemperatureSelector", "Mainboard", {"Mainboard"});
    EXPECT_EQ("~~ Camera Device Current Settings ~~\n", report()[6]);
    EXPECT_THAT(camera.accesses(), ElementsAreArray(settings));
}

TEST_F(Report, HasNoTemperatureLineWhenTheTemperatureIsMissingOrOfAnotherKind) {
    camera.without("DeviceTemperature");
    for (int i = 0; i < 2; ++i) {
        camera.enumeration("DeviceTemperatureSelector", "Mainboard", {"Internal", "Mainboard"});
        EXPECT_EQ("~~ Camera Device Current Settings ~~\n", report()[6]);
        EXPECT_EQ("Internal", camera.value("DeviceTemperatureSelector"));
        camera.integer("DeviceTemperature", 41);
    }
}

TEST_F(Report, SkipsTheTemperatureWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    const std::vector<std::string> texts = report();
    EXPECT_THAT(std::vector<std::string>(texts.begin() + 6, texts.end()),
                ElementsAre("~~ Camera Device Current Settings ~~\n",
                            "~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n",
                            "ROI OffsX x OffsY   : 0 x 0\n", "ROI Width x Height  : 0 x 0\n",
                            "ResultingFrameRate  : 0.0\n", "Gain, dB            : 0.0\n",
                            "ExposureTimeAbs, us : 0.0\n", "Gamma               : -1.00\n",
                            "PixelFormat         : 0x01080001\n",
                            "~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n"));
    EXPECT_EQ(publication(), calls().back());
}

TEST_F(Report, EndsAfterTheIdentityWhenNoMapIsBehindTheReference) {
    framework.nodeMap(NodeMap::WithoutMap);
    cam();
    EXPECT_EQ(
        lines({line("== Camera Device Information ==\n"), line("===============================\n"),
               line("Vendor           : Teledyne DALSA\n"), line("Model            : Nano-M2020\n"),
               line("Version          : 1.02\n"), line("DeviceSerialID   : S1234\n")}),
        logOf([&] {
            EXPECT_THROW(CCamProc().ProcCheckCamConfig(&cam()), GenICam_3_0::AccessException);
        }));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Report, EndsWhereAnErrorGetsOut) {
    camera.feature("Gain").raises(Op::GetValue, Fault::Timeout);
    cam();
    const Logged logged = logOf([&] {
        EXPECT_THROW(CCamProc().ProcCheckCamConfig(&cam()), GenICam_3_0::TimeoutException);
    });
    EXPECT_EQ("[d|ProcCheckCamConfig] ResultingFrameRate  : 30.0\n", logged.system.back().text);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Report, EndsWhenTheTemperatureCannotBeRead) {
    camera.feature("DeviceTemperature").access(NA);
    cam();
    logOf(
        [&] { EXPECT_THROW(CCamProc().ProcCheckCamConfig(&cam()), GenICam_3_0::AccessException); });
    EXPECT_EQ(read("DeviceTemperature"), camera.accesses().back());
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Report, ShowsOffsetsWithTheirSignAndSizesWithoutOne) {
    camera.integer("OffsetX", -1).integer("OffsetY", -2).integer("Width", -1).integer("Height", -2);
    const std::vector<std::string> texts = report();
    EXPECT_EQ("ROI OffsX x OffsY   : -1 x -2\n", texts[9]);
    EXPECT_EQ("ROI Width x Height  : 4294967295 x 4294967294\n", texts[10]);
}

TEST_F(Report, ShowsTheGammaOfATableThatHoldsIt) {
    camera.enumeration("lutMode", "Active", {"Off", "Active"})
        .enumeration("lutType", "GammaCorrection", {"UserDefined", "GammaCorrection"})
        .floating("gammaCorrection", 0.45);
    const std::vector<std::string> texts = report();
    EXPECT_EQ("Gamma               : 0.45\n", texts[14]);
}

TEST_F(Report, ShowsMinusOneForACameraWithoutGamma) {
    camera.without("lutMode").without("gammaCorrection");
    EXPECT_EQ("Gamma               : -1.00\n", report()[14]);
}

TEST_F(Report, ShowsThePixelFormatInEightUpperCaseDigits) {
    framework.featureValue("PixelFormat", 0xABCDEF12u);
    EXPECT_EQ("PixelFormat         : 0xABCDEF12\n", report()[15]);
    framework.featureValue("PixelFormat", 1);
    EXPECT_EQ("PixelFormat         : 0x00000001\n", report()[15]);
}

TEST_F(Report, ShowsAPixelFormatThatWasNotReadAsZero) {
    scripted::reset();
    describeWholeCamera(camera);
    EXPECT_EQ("PixelFormat         : 0x00000000\n", report()[15]);
}

TEST_F(Report, MindsNeitherStatusNorTypeOfThePixelFormat) {
    framework.featureValue("PixelFormat", 0x01100003, GEVLIB_ERROR_GENERIC);
    EXPECT_EQ("PixelFormat         : 0x01100003\n", report()[15]);
}

// Two variables serve offsets and sizes, one serves frame rate, gain and exposure time in turn: a
// value that cannot be read shows the one before it.
TEST_F(Report, ShowsTheValueBeforeForOneThatIsMissing) {
    camera.without("Width").without("Gain");
    std::vector<std::string> texts = report();
    EXPECT_EQ("ROI OffsX x OffsY   : 8 x 4\n", texts[9]);
    EXPECT_EQ("ROI Width x Height  : 8 x 1200\n", texts[10]);
    EXPECT_EQ("ResultingFrameRate  : 30.0\n", texts[11]);
    EXPECT_EQ("Gain, dB            : 30.0\n", texts[12]);
    EXPECT_EQ("ExposureTimeAbs, us : 5000.0\n", texts[13]);

    camera.without("Height").without("ExposureTime");
    texts = report();
    EXPECT_EQ("ROI Width x Height  : 8 x 4\n", texts[10]);
    EXPECT_EQ("ExposureTimeAbs, us : 30.0\n", texts[13]);
}

} // namespace
