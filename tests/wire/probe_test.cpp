// A whole probe over the wire, as the demo runs it.

#include "wire.h"

#include <cmath>

#include <nlohmann/json.hpp>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Probe : public Wire {};

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

TEST_F(Probe, ListsTheCamerasInTheOrderOfTheirAddresses) {
    const Simcam cameras({"--camera", "S5678@127.0.0.3", "--camera", "S1234@127.0.0.2"});

    EXPECT_EQ((Result{0,
                      "Printing all Dalsa devices information found:\n" + listed(0, "S1234") +
                          listed(1, "S5678"),
                      ""}),
              kxinfo({"list"}));
}

TEST_F(Probe, LogsTheReportAndEveryStepToTheLetter) {
    const Simcam cameras({"--camera", "S1234@127.0.0.2", "--camera", "S5678@127.0.0.3"});

    const Result result = probeWithLog("S12");

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
    const size_t end = result.out.find("\n\n");
    EXPECT_EQ(kLog, result.out.substr(0, end + 1));
    EXPECT_THAT(result.out.substr(end + 1), testing::StartsWith(kTable));
}

TEST_F(Probe, GivesFifteenParametersInTheOrderOfPublication) {
    const Simcam camera({"--camera", "S1234@127.0.0.2"});

    const Result result = kxinfo({"probe", "S12", "--json"});

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
    const auto document = nlohmann::json::parse(result.out);
    EXPECT_EQ("S12", document["serial"]);

    // Numbers that no float holds exactly are compared as what the decibel and 255th arithmetic
    // gives in single precision.
    const auto tenth = static_cast<double>(0.1f);
    const auto decibels = [](float linear) { return static_cast<double>(20.0f * log10f(linear)); };
    const auto of255 = [](float level) { return static_cast<double>(level / 255.0f); };
    struct Row {
        int id;
        const char *name;
        const char *type;
        std::vector<double> values; // current, minimum, maximum, increment
    };
    const Row rows[] = {
        {3, "KxScParamOffsetX", "integer", {0, 0, 1920, 4}},
        {4, "KxScParamOffsetY", "integer", {0, 0, 1200, 2}},
        {5, "KxScParamWidth", "integer", {1936, 16, 1936, 16}},
        {6, "KxScParamHeight", "integer", {1216, 4, 1216, 4}},
        {0, "KxScParamFps", "float", {30, tenth, 81.56607, tenth}},
        {2, "KxScParamRotate", "integer", {0}},
        {18, "KxScParamGain", "float", {decibels(2), 0, decibels(8), 0.5}},
        {19, "KxScParamExposure", "float", {10000, 20, 33333, 0}},
        {1, "KxScParamGamma", "float", {static_cast<double>(0.45f), 0.25, 4, tenth}},
        {11, "KxScParamAutoBrightTarget", "float", {of255(128), 0, 1, of255(1)}},
        {13, "KxScParamAutoGainLower", "float", {decibels(1.25), 0, decibels(8), 0.5}},
        {14, "KxScParamAutoGainUpper", "float", {decibels(4), 0, decibels(8), 0.5}},
        {16, "KxScParamAutoExpoLower", "float", {100, 20, 100000, 1}},
        {17, "KxScParamAutoExpoUpper", "float", {30000, 20, 100000, 1}},
    };
    const auto &parameters = document["parameters"];
    ASSERT_EQ(15u, parameters.size());
    size_t place = 0;
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const auto &parameter = parameters[place++];
        EXPECT_EQ(row.id, parameter["id"]);
        EXPECT_EQ(row.name, parameter["name"]);
        EXPECT_EQ(row.type, parameter["type"]);
        size_t value = 0;
        for (const char *key : {"current", "minimum", "maximum", "increment"}) {
            SCOPED_TRACE(key);
            if (value >= row.values.size())
                EXPECT_TRUE(parameter[key].is_null());
            else
                EXPECT_FLOAT_EQ(static_cast<float>(row.values[value]), parameter[key].get<float>());
            ++value;
        }
    }
    const auto outLines = nlohmann::json::parse(R"({
        "id": 21, "name": "KxScParamOutLines", "type": "text", "unit": null, "current": "None",
        "minimum": null, "maximum": null, "increment": null, "choices": ["None", "Out1", "Out2"]})");
    EXPECT_EQ(outLines, parameters[14]);
}

TEST_F(Probe, LeavesOnlyThatSwitchedWhichIsToStay) {
    const TemporaryFolder folder;
    Simcam camera({"--snapshot", folder.path(), "--camera", "S1234@127.0.0.2"});
    const std::string before = snapshotOf(camera, folder);

    ASSERT_EQ(0, kxinfo({"probe", "S12"}).status);

    EXPECT_THAT(changes(before, snapshotOf(camera, folder)),
                ElementsAre("DeviceTemperatureSelector: MainBoard -> Internal",
                            "ExposureAuto: Off -> Continuous", "GainAuto: Off -> Continuous",
                            "GainSelector: DigitalAll -> SensorAll",
                            "gainAutoSource: DigitalAll -> SensorAll",
                            "lutType: UserDefined -> GammaCorrection"));
}

TEST_F(Probe, PutsAUsersLookupTableBack) {
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

    ASSERT_EQ(0, kxinfo({"probe", "S12"}).status);

    const std::string after = snapshotOf(camera, folder);
    EXPECT_THAT(after, HasSubstr("lutMode = Active\n"));
    EXPECT_THAT(after, HasSubstr("lutType = UserDefined\n"));
    EXPECT_THAT(after, HasSubstr("lutSize = Bpp12\n"));
}

TEST_F(Probe, WorksAgainAtOnce) {
    Simcam camera({"--camera", "S1234@127.0.0.2"});

    const Result first = kxinfo({"probe", "S12"});
    const Result second = kxinfo({"probe", "S12"});

    EXPECT_EQ(0, first.status);
    EXPECT_EQ(first, second);
    const Process::End end = camera.stop();
    EXPECT_THAT(end.output, HasSubstr(" refused=0 repeated=0\n"));
}

TEST_F(Probe, ReadsAPlainDescriptionAsWellAsAZippedOne) {
    Result plain;
    {
        const Simcam camera({"--plain", "--camera", "S1234@127.0.0.2"});
        plain = kxinfo({"probe", "S12"});
    }
    const Simcam camera({"--zip", "--camera", "S1234@127.0.0.2"});

    EXPECT_EQ(0, plain.status);
    EXPECT_EQ(plain, kxinfo({"probe", "S12"}));
}

} // namespace
