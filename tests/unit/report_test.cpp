// The device report. The publication that follows it is put aside: this program has a step of its
// own in front of the library's, which only notes that it was called.

#include "plug_in.h"

int KxTd::CCamProc::ProcParametrizeCam(CExCam *) {
    scripted::record(call("ProcParametrizeCam"));
    return 7;
}

namespace {

class Report : public OpenedCamera {
protected:
    Report() {
        describeWholeCamera(camera);
        framework.featureValue("PixelFormat", 0x01080001);
    }

    // All that it does; its own lines are [* …].
    std::string report(int level = 4, int mode = kSystemLog) {
        wrappedAnew();
        gKxLogLevel = level;
        gKxLogMode = mode;
        host::caught([&] { EXPECT_EQ(0, CCamProc().ProcCheckCamConfig(&cam())); });
        return happenedTo("ProcCheckCamConfig");
    }
    void expectWith(const std::string &part, const std::string &all) {
        EXPECT_NE(all.npos, all.find(part)) << "expected " << part << " in " << all;
    }

    const std::string identity = "[*] [*] [*] [* M2020] [* 1.02] [* S1234] ";
    const std::string settings =
        "[*] [*] OffsetX? OffsetY? [* 8 4] Width? Height? [* 1920 1200] AcquisitionFrameRate? "
        "[* 30.0] GainSelector:=SensorAll Gain? [* 20.0] ExposureTime? [* 5000.0] lutMode?? "
        "lutType?? [d|ExPropertyGetLUTMode \"Off\" \"UserDefined\"] [d|ExPropertyGetGamma 1] "
        "[* -1.00] GevGetFeatureValue(PixelFormat, 4) [* 0x01080001] [*] ProcParametrizeCam()";
    const std::string choice = "DeviceTemperatureSelector?? ";
};

TEST_F(Report, TellsIdentityTemperatureAndSettingsAndHasThemPublished) {
    EXPECT_EQ(identity + choice + "DeviceTemperature? [* 41.25] " + settings, report());
    wrappedAnew();
    CCamProc().ProcCheckCamConfig(&cam());
    const std::string all = everything();
    expectWith("@DeviceTemperatureSelector @DeviceTemperatureSelector.Internal "
               "@DeviceTemperatureSelector.Internal? " +
                   choice + "@DeviceTemperature DeviceTemperature?",
               all);
    expectWith("@lutMode @lutType lutMode??", all);
}

TEST_F(Report, ReadsTheSameWhateverIsLoggedButTheTemperatureOnceForEachSink) {
    std::string silent = choice + settings;
    for (std::size_t at; (at = silent.find('[')) != silent.npos;)
        silent.erase(at, silent.find(']') + 2 - at);
    for (const auto &[level, mode] :
         {std::pair(3, kBothSinks), {0, kBothSinks}, {-1, kSystemLog}, {4, 0}})
        EXPECT_EQ(silent, report(level, mode));
    camera.feature("DeviceTemperature").readings({41.254, 41.5});
    expectWith(choice + "DeviceTemperature? [* 41.25] DeviceTemperature? [*]",
               report(4, kBothSinks));
    expectWith(choice + "DeviceTemperature? OffsetX?", report(4, kStandardOutput));
}

TEST_F(Report, SelectsTheInternalSensorForGoodWhateverTheLevel) {
    for (const int level : {4, 0}) {
        camera.enumeration("DeviceTemperatureSelector", "Mainboard", {"Internal", "Mainboard"});
        expectWith(choice + "DeviceTemperatureSelector:=Internal " +
                       (level == 4 ? "DeviceTemperature? [* 41.25] " : "OffsetX?"),
                   report(level));
        EXPECT_EQ("Internal", camera.value("DeviceTemperatureSelector"));
    }
}

TEST_F(Report, SkipsATemperatureThatCannotBeChosen) {
    const std::string none = identity + settings;
    camera.enumeration("DeviceTemperatureSelector", "Mainboard", {"Internal", "Mainboard"})
        .entryAccess("Internal", GenApi_3_0::NI);
    EXPECT_EQ(none, report());
    camera.enumeration("DeviceTemperatureSelector", "Mainboard", {"Mainboard"});
    EXPECT_EQ(none, report());
    camera.integer("DeviceTemperatureSelector", 0);
    EXPECT_EQ(none, report());
    camera.without("DeviceTemperatureSelector");
    EXPECT_EQ(none, report());
    CCamProc().ProcCheckCamConfig(&cam());
    EXPECT_EQ(std::string::npos, everything().find("@DeviceTemperature "));
}

TEST_F(Report, SkipsATemperatureThatIsMissingOrOfAnotherKind) {
    camera.without("DeviceTemperature");
    EXPECT_EQ(identity + choice + settings, report());
    camera.integer("DeviceTemperature", 41);
    EXPECT_EQ(identity + choice + settings, report());
}

TEST_F(Report, GoesOnWithoutANodeMap) {
    framework.nodeMap(NodeMap::None);
    const std::string all = report();
    EXPECT_EQ(0u, all.find(identity + "[*] [*] [w|ExPropertyGetInt 4]"));
    for (const char *line : {" [* 0 0] ", " [* 0.0] ", " [* -1.00] "})
        expectWith(line, all);
}

TEST_F(Report, EndsWhereAnErrorGetsOut) {
    camera.feature("Gain").raises(Op::GetValue, Fault::Timeout);
    cam();
    EXPECT_THROW(CCamProc().ProcCheckCamConfig(&cam()), GenICam_3_0::TimeoutException);
    const std::string all = happenedTo("ProcCheckCamConfig");
    const std::string end = "[* 30.0] GainSelector:=SensorAll Gain?";
    EXPECT_EQ(end, all.substr(all.size() - end.size()));
    framework.nodeMap(NodeMap::WithoutMap);
    wrappedAnew();
    EXPECT_THROW(CCamProc().ProcCheckCamConfig(&cam()), GenICam_3_0::AccessException);
    EXPECT_EQ(identity, happenedTo("ProcCheckCamConfig") + " ");
}

TEST_F(Report, ShowsOffsetsWithTheirSignAndSizesWithoutOne) {
    camera.integer("OffsetX", -1).integer("OffsetY", -2).integer("Width", -1).integer("Height", -2);
    const std::string all = report();
    expectWith("[* -1 -2]", all);
    expectWith("[* 4294967295 4294967294]", all);
}

TEST_F(Report, ShowsTheGammaOfATableThatHoldsItAndMinusOneForNone) {
    camera.enumeration("lutMode", "Active", {"Off", "Active"})
        .enumeration("lutType", "GammaCorrection", {"UserDefined", "GammaCorrection"})
        .floating("gammaCorrection", 0.45);
    expectWith("[d|ExPropertyGetGamma 0.450000] [* 0.45] Gev", report());
    camera.without("lutMode").without("gammaCorrection");
    expectWith("[w|ExPropertyGetGamma] [* -1.00] Gev", report());
}

TEST_F(Report, ShowsThePixelFormatInEightUpperCaseDigitsWhateverItsStatus) {
    framework.featureValue("PixelFormat", 0xABCDEF12u);
    expectWith("[* 0xABCDEF12]", report());
    framework.featureValue("PixelFormat", 1, GEVLIB_ERROR_GENERIC);
    expectWith("[* 0x00000001]", report());
    scripted::reset(); // which leaves none to be read
    expectWith("[* 0x00000000]", report());
}

// Two variables serve offsets and sizes, one serves frame rate, gain and exposure time in turn: a
// value that cannot be read shows the one before it.
TEST_F(Report, ShowsTheValueBeforeForOneThatIsMissing) {
    camera.without("Width").without("Gain");
    std::string all = report();
    expectWith("[* 8 4] Height? [* 8 1200] AcquisitionFrameRate? [* 30.0] GainSelector:=SensorAll "
               "[* 30.0] ExposureTime? [* 5000.0]",
               all);
    camera.without("Height").without("ExposureTime");
    all = report();
    expectWith("[* 8 4] [* 8 4]", all);
    expectWith("[* 30.0] lutMode??", all);
}

} // namespace
