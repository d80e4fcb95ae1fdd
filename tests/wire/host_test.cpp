// kxinfo-host, the plug-in and the open platform with virtual cameras.

#include "wire.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Host : public Wire {};

constexpr uint32_t kControlPrivilege = 0x0A00;
constexpr uint32_t kLutMode = 0x10500;

constexpr char kTable[] = R"(
Camera whose serial number begins with "S12"

)";

// What the built-in camera says, told from its description and the texts that log tools look for.
constexpr char kLog[] =
    R"([CIPROC:d]: init Dalsa staff
[CIPROC:d]: 0. Vendor "Dalsa", Model "C1936", Serial "S1234"
[CIPROC:d]: 1. Vendor "Dalsa", Model "C1936", Serial "S5678"
[CIPROC:d]: Check configured Serial "S12" with "S1234" (result 0)
[KX_TD_PROC:d]: KxTdProc entry: mode=2
[KX_TD_PROC:d]: Using device Model:C1936 Serial:S1234
[KX_TD_PROC:d]: == Camera Device Information ==
[KX_TD_PROC:d]: ===============================
[KX_TD_PROC:d]: Vendor           : Dalsa
[KX_TD_PROC:d]: Model            : C1936
[KX_TD_PROC:d]: Version          : 1.0
[KX_TD_PROC:d]: DeviceSerialID   : S1234
[KX_TD_PROC:d]: Temperature, C   : 41.50
[KX_TD_PROC:d]: ~~ Camera Device Current Settings ~~
[KX_TD_PROC:d]: ~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~
[KX_TD_PROC:d]: ROI OffsX x OffsY   : 0 x 0
[KX_TD_PROC:d]: ROI Width x Height  : 1936 x 1216
[KX_TD_PROC:d]: ResultingFrameRate  : 30.0
[KX_TD_PROC:d]: Gain, dB            : 6.0
[KX_TD_PROC:d]: ExposureTimeAbs, us : 10000.0
[KX_TD_EXCAM:d]: ### get Lut mode "Off"; Lut type "UserDefined" ###
[KX_TD_EXCAM:d]: ### Gamma feature is disabled (1) ###
[KX_TD_PROC:d]: Gamma               : -1.00
[KX_TD_PROC:d]: PixelFormat         : 0x01080001
[KX_TD_PROC:d]: ~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~
[KX_TD_EXCAM:d]: ### get property 4 (OffsetX) range: min=0 max=0 inc=4 ###
[KX_TD_PROC:d]:   cur OffsX val is 0 (min 0, max 1920, inc 4)
[KX_TD_EXCAM:d]: ### get property 5 (OffsetY) range: min=0 max=0 inc=2 ###
[KX_TD_PROC:d]:   cur OffsY val is 0 (min 0, max 1200, inc 2)
[KX_TD_EXCAM:d]: ### get property 2 (Width) range: min=16 max=1936 inc=16 ###
[KX_TD_PROC:d]:   cur Width val is 1936 (min 16, max 1936, inc 16)
[KX_TD_EXCAM:d]: ### get property 3 (Height) range: min=4 max=1216 inc=4 ###
[KX_TD_PROC:d]:   cur Height val is 1216 (min 4, max 1216, inc 4)
[KX_TD_EXCAM:d]: ### get property 9 (AcquisitionFrameRate) range: min=0.100000 max=81.566071 inc=0.000000 ###
[KX_TD_PROC:d]:   cur AcqFps val is 30.000000 (min 0.100000, max 81.566071, inc 0.100000)
[KX_TD_EXCAM:d]: ### get property 6 (Gain) range: min=0.000000 max=18.061800 inc=0.000000 ###
[KX_TD_PROC:d]:   cur Gain val is 6.020600 (min 0.000000, max 18.061800, inc 0.500000)
[KX_TD_EXCAM:d]: ### get property 7 (ExposureTime) range: min=20.000000 max=33333.000000 inc=0.000000 ###
[KX_TD_PROC:d]:   cur ExpoTime val is 10000.000000 (min 20.000000, max 33333.000000, inc 0.000000)
[KX_TD_EXCAM:d]: ### get Lut mode "Off"; Lut type "UserDefined" ###
[KX_TD_PROC:d]: ### Gamma feature is disabled (lutMode=1) ###
[KX_TD_EXCAM:d]: ### set Lut mode to "Active"; Lut type to "GammaCorrection" ###
[KX_TD_EXCAM:d]: ### get Lut mode "Active"; Lut type "GammaCorrection" ###
[KX_TD_EXCAM:d]: Gamma correction range: node is obtained
[KX_TD_EXCAM:d]: ### Gamma range: min=0.250000 max=4.000000 ###
[KX_TD_EXCAM:d]: ### get Lut mode "Active"; Lut type "GammaCorrection" ###
[KX_TD_EXCAM:d]: ### get Gamma value: 0.450000 ###
[KX_TD_EXCAM:d]: ### set Lut mode to "Off"; Lut type to "" ###
[KX_TD_PROC:d]:   cur Gamma val is 0.450000 (min 0.250000, max 4.000000, inc 0.100000) (status 0)
[KX_TD_EXCAM:d]: ### get property 10 (autoBrightnessTarget) range: min=0 max=255 inc=1 ###
[KX_TD_PROC:d]: AutoFunc params: bright 0.501961 (min 0.000000, max 1.000000, inc 0.003922)
[KX_TD_EXCAM:d]: temporary enabling auto mode...
[KX_TD_EXCAM:d]: done
[KX_TD_EXCAM:d]: temporary enabling SensorAll mode for autogain ...
[KX_TD_EXCAM:d]: done
[KX_TD_EXCAM:d]: ### get property 13 (gainAutoMinValue) range: min=0.000000 max=18.061800 inc=1.023050 ###
[KX_TD_PROC:d]: AutoFunc params: gainLimit Lower - 1.938200 (min 0.000000, max 18.061800, inc 0.500000)
[KX_TD_EXCAM:d]: temporary enabling auto mode...
[KX_TD_EXCAM:d]: done
[KX_TD_EXCAM:d]: temporary enabling SensorAll mode for autogain ...
[KX_TD_EXCAM:d]: done
[KX_TD_EXCAM:d]: ### get property 14 (gainAutoMaxValue) range: min=0.000000 max=18.061800 inc=1.023050 ###
[KX_TD_PROC:d]: AutoFunc params: gainLimit Upper - 12.041201 (min 0.000000, max 18.061800, inc 0.500000)
[KX_TD_EXCAM:d]: ### get property 11 (exposureAutoMinValue) range: min=20.000000 max=100000.000000 inc=1.000000 ###
[KX_TD_PROC:d]: AutoFunc params: expoTime Lower - 100.000000 (min 20.000000, max 100000.000000, inc 1.000000)
[KX_TD_EXCAM:d]: ### get property 12 (exposureAutoMaxValue) range: min=20.000000 max=100000.000000 inc=1.000000 ###
[KX_TD_PROC:d]: AutoFunc params: expoTime Upper - 30000.000000 (min 20.000000, max 100000.000000, inc 1.000000)
[KX_TD_PROC:d]: Finished loop with: status=0, rc=0
[KX_TD_PROC:d]: scenario is completed (rc = 0)
[CIPROC:d]: device is disconnected
[CIPROC:d]: Loop completed (exitCode = 0)
)";

TEST_F(Host, LogsTheReportAndEveryStepToTheLetter) {
    const Simcam cameras({"--camera", "S1234@127.0.0.2", "--camera", "S5678@127.0.0.3"});

    const Result result = probeWithLog("S12");

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
    const size_t end = result.out.find("\n\n");
    EXPECT_EQ(kLog, result.out.substr(0, end + 1));
    EXPECT_THAT(result.out.substr(end + 1), testing::StartsWith(kTable));
}

TEST_F(Host, LeavesOnlyThatSwitchedWhichIsToStay) {
    const TemporaryFolder folder;
    Simcam camera({"--snapshot", folder.path(), "--camera", "S1234@127.0.0.2"});
    const std::string before = snapshotOf(camera, folder);

    ASSERT_EQ(0, kxinfoHost({"S12"}).status);

    EXPECT_THAT(changes(before, snapshotOf(camera, folder)),
                ElementsAre("DeviceTemperatureSelector: MainBoard -> Internal",
                            "ExposureAuto: Off -> Continuous", "GainAuto: Off -> Continuous",
                            "GainSelector: DigitalAll -> SensorAll",
                            "gainAutoSource: DigitalAll -> SensorAll",
                            "lutType: UserDefined -> GammaCorrection"));
}

TEST_F(Host, PutsAUsersLookupTableBack) {
    const TemporaryFolder folder;
    Simcam camera({"--snapshot", folder.path(), "--camera", "S1234@127.0.0.2"});
    {
        Client user;
        ASSERT_EQ("0000", user.write(kControlPrivilege, 2));
        ASSERT_EQ("0000", user.write(kLutMode, 1));
        ASSERT_EQ("0000", user.write(kControlPrivilege, 0));
    }
    const std::string before = snapshotOf(camera, folder);
    ASSERT_THAT(before, HasSubstr("lutMode = Active\n"));
    ASSERT_THAT(before, HasSubstr("lutType = UserDefined\n"));

    ASSERT_EQ(0, kxinfoHost({"S12"}).status);

    const std::string after = snapshotOf(camera, folder);
    EXPECT_THAT(after, HasSubstr("lutMode = Active\n"));
    EXPECT_THAT(after, HasSubstr("lutType = UserDefined\n"));
    EXPECT_THAT(after, HasSubstr("lutSize = Bpp12\n"));
}

TEST_F(Host, WorksAgainAtOnce) {
    Simcam camera({"--camera", "S1234@127.0.0.2"});

    const Result first = kxinfoHost({"S12"});
    const Result second = kxinfoHost({"S12"});

    EXPECT_EQ(0, first.status);
    EXPECT_EQ(first, second);
    const Process::End end = camera.stop();
    EXPECT_THAT(end.output, HasSubstr(" refused=0 repeated=0\n"));
}

TEST_F(Host, ReadsAPlainDescriptionAsWellAsAZippedOne) {
    Result plain;
    {
        const Simcam camera({"--plain", "--camera", "S1234@127.0.0.2"});
        plain = kxinfoHost({"S12"});
    }
    const Simcam camera({"--zip", "--camera", "S1234@127.0.0.2"});

    EXPECT_EQ(0, plain.status);
    EXPECT_EQ(plain, kxinfoHost({"S12"}));
}

TEST_F(Host, ShowsEightOfNineCameras) {
    std::vector<std::string> arguments;
    std::string listing = "Printing all Dalsa devices information found:\n";
    for (int i = 0; i < 9; ++i) {
        const std::string serial = "S" + std::to_string(i) + "0";
        arguments.insert(arguments.end(), {"--camera", serial + "@127.0.0.1" + std::to_string(i)});
        if (i < 8)
            listing += listed(i, serial);
    }
    const Simcam cameras(arguments);

    EXPECT_EQ((Result{0, listing, ""}), kxinfoHost({}));
    EXPECT_EQ(0, kxinfoHost({"S7"}).status);
    const Result ninth = probeWithLog("S8"); // how its number begins
    EXPECT_EQ(1, ninth.status);
    EXPECT_THAT(ninth.out, HasSubstr("Configured device with SerialID \"S8\" is not found\n"));
}

TEST_F(Host, CountsCamerasOfOtherMakersAndOpensOneIfItsSerialNumberFits) {
    const Simcam cameras({"--vendor", "Other", "--camera", "X1@127.0.0.2", "--vendor", "DALSA",
                          "--camera", "S1@127.0.0.3"});

    EXPECT_EQ((Result{0, "Printing all Dalsa devices information found:\n" + listed(1, "S1"), ""}),
              kxinfoHost({}));
    const Result result = probeWithLog("X");
    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.out, HasSubstr("[KX_TD_PROC:d]: Vendor           : Other\n"));
    EXPECT_THAT(result.out, HasSubstr("[KX_TD_PROC:d]: DeviceSerialID   : X1\n"));
}

TEST_F(Host, FindsNoDalsaCameraAmongForeignOnes) {
    const Simcam cameras({"--vendor", "Other", "--camera", "X1@127.0.0.2"});

    const Result result = kxinfoHost({"X1", "--log", "stdout", "--level", "info"});

    EXPECT_EQ(1, result.status);
    EXPECT_EQ("no any Dalsa devices found\n", result.out);
}

} // namespace
