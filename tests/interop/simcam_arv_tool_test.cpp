#include "client.h"
#include "process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// The virtual camera as Aravis' own client sees it: an implementation of GigE Vision and of GenICam
// descriptions that shares nothing with it.

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string arvTool(std::vector<std::string> arguments) {
    const Process::End end = Process(ARV_TOOL, arguments).wait();
    EXPECT_EQ(0, end.status) << end.errors;
    EXPECT_EQ("", end.errors);
    return end.output;
}

class ArvTool : public testing::Test {
protected:
    const TemporaryFolder folder;
    Simcam camera{{"--camera", "S1234@127.0.0.2", "--snapshot", folder.path()}};

    /// What the camera's features show and take, one after another in one session.
    std::string control(const std::vector<std::string> &features) {
        std::vector<std::string> arguments{"-n", "Dalsa-C1936-S1234", "control"};
        arguments.insert(arguments.end(), features.begin(), features.end());
        return arvTool(arguments);
    }

    std::string snapshotAfterwards() {
        camera.stop();
        return readFile(folder.path() + "/S1234.txt");
    }
};

TEST_F(ArvTool, ListsTheCamera) {
    EXPECT_EQ("Dalsa-C1936-S1234 (127.0.0.2)\n", arvTool({}));
}

TEST_F(ArvTool, ListsCamerasOfSeveralProgramsAndMakers) {
    const Simcam others({"--vendor", "Other", "--model", "M9", "--camera", "A@127.0.0.3",
                         "--camera", "B@127.0.0.4"});

    EXPECT_EQ("Dalsa-C1936-S1234 (127.0.0.2)\n"
              "Other-M9-A (127.0.0.3)\n"
              "Other-M9-B (127.0.0.4)\n",
              arvTool({}));
}

TEST_F(ArvTool, GetsTheDescriptionZipped) {
    EXPECT_EQ(readFile(BUILT_IN_DESCRIPTION) + "\n", arvTool({"-a", "127.0.0.2", "genicam"}));
}

TEST_F(ArvTool, GetsTheDescriptionPlain) {
    const Simcam plain({"--camera", "P@127.0.0.3", "--plain"});

    EXPECT_EQ(readFile(BUILT_IN_DESCRIPTION) + "\n", arvTool({"-a", "127.0.0.3", "genicam"}));
}

TEST_F(ArvTool, ReadsFeaturesWithTheirRanges) {
    EXPECT_EQ(
        "Width = 1936 px min:16 max:1936 inc:16\n"
        "Height = 1216 px min:4 max:1216 inc:4\n"
        "OffsetX = 0 px min:0 max:0 inc:4\n"
        "OffsetY = 0 px min:0 max:0 inc:2\n"
        "PixelFormat = Mono8\n"
        "PayloadSize = 2354176\n"
        "Gain = 1 min:1 max:8\n"
        "ExposureTime = 10000 us min:20 max:33333\n"
        "AcquisitionFrameRate = 30 Hz min:0.1 max:81.5661\n"
        "DeviceTemperature = 36.25 C min:-55 max:125\n"
        "ReverseX = false\n",
        control({"Width", "Height", "OffsetX", "OffsetY", "PixelFormat", "PayloadSize", "Gain",
                 "ExposureTime", "AcquisitionFrameRate", "DeviceTemperature", "ReverseX"}));
}

TEST_F(ArvTool, WritesFeaturesAndReadsThemBack) {
    EXPECT_EQ("Width = 1600 px min:16 max:1936 inc:16\n"
              "ExposureTime = 2500 us min:20 max:33333\n"
              "ReverseX = true\n"
              "PixelFormat = BayerRG12\n"
              "DeviceUserID = left door\n",
              control({"Width=1600", "ExposureTime=2500", "ReverseX=true", "PixelFormat=BayerRG12",
                       "DeviceUserID=left door"}));

    EXPECT_THAT(snapshotAfterwards(),
                AllOf(HasSubstr("\nWidth = 1600\n"), HasSubstr("\nExposureTime = 2500\n"),
                      HasSubstr("\nReverseX = 1\n"), HasSubstr("\nPixelFormat = BayerRG12\n"),
                      HasSubstr("\nDeviceUserID = \"left door\"\n")));
}

TEST_F(ArvTool, SeesRangesFollowOtherFeatures) {
    EXPECT_EQ("Width = 1600 px min:16 max:1936 inc:16\n"
              "OffsetX = 0 px min:0 max:336 inc:4\n"
              "OffsetX = 320 px min:0 max:336 inc:4\n"
              "Width = 1600 px min:16 max:1616 inc:16\n"
              "AcquisitionFrameRate = 50 Hz min:0.1 max:81.5661\n"
              "ExposureTime = 10000 us min:20 max:20000\n"
              "ExposureTime = 20000 us min:20 max:20000\n"
              "AcquisitionFrameRate = 50 Hz min:0.1 max:50\n",
              control({"Width=1600", "OffsetX", "OffsetX=320", "Width", "AcquisitionFrameRate=50",
                       "ExposureTime", "ExposureTime=20000", "AcquisitionFrameRate"}));
}

TEST_F(ArvTool, SeesSelectedFeaturesFollowTheirSelectors) {
    EXPECT_EQ(
        "Gain = 1 min:1 max:8\n"
        "GainSelector = SensorAll\n"
        "Gain = 2 min:1 max:8\n"
        "Gain = 3.5 min:1 max:8\n"
        "GainSelector = DigitalAll\n"
        "Gain = 1 min:1 max:8\n"
        "BalanceRatioSelector = Red\n"
        "BalanceRatio = 1.5 min:1 max:4\n"
        "BalanceRatioSelector = Blue\n"
        "BalanceRatio = 2 min:1 max:4\n"
        "DeviceTemperatureSelector = Internal\n"
        "DeviceTemperature = 41.5 C min:-55 max:125\n",
        control({"Gain", "GainSelector=SensorAll", "Gain", "Gain=3.5", "GainSelector=DigitalAll",
                 "Gain", "BalanceRatioSelector=Red", "BalanceRatio", "BalanceRatioSelector=Blue",
                 "BalanceRatio", "DeviceTemperatureSelector=Internal", "DeviceTemperature"}));
}

TEST_F(ArvTool, SeesFeaturesComeAndGoWithTheirModes) {
    const std::string fresh = arvTool({"-a", "127.0.0.2", "values"});
    for (const char *feature :
         {"autoBrightnessTarget", "autoBrightnessSequence", "ExposureAuto", "GainAuto",
          "exposureAutoMinValue", "exposureAutoMaxValue", "gainAutoMinValue", "gainAutoMaxValue",
          "gainAutoSource", "gammaCorrection", "balanceWhitePeriod", "AcquisitionFrameCount"})
        EXPECT_THAT(fresh, Not(HasSubstr("'" + std::string(feature) + "'")));

    control({"autoBrightnessMode=Active"});
    const std::string active = arvTool({"-a", "127.0.0.2", "values"});
    EXPECT_THAT(active, AllOf(HasSubstr("Integer      : [RW] 'autoBrightnessTarget' = 128\n"),
                              HasSubstr("Enumeration  : [RW] 'ExposureAuto' = 'Off'\n"),
                              HasSubstr("Enumeration  : [RW] 'GainAuto' = 'Off'\n"),
                              Not(HasSubstr("'exposureAutoMinValue'")),
                              Not(HasSubstr("'gainAutoMinValue'"))));

    EXPECT_EQ("ExposureAuto = Continuous\n"
              "exposureAutoMinValue = 100 us min:20 max:100000 inc:1\n"
              "exposureAutoMaxValue = 30000 us min:20 max:100000 inc:1\n"
              "GainAuto = Continuous\n"
              "gainAutoMinValue = 1 min:1 max:8 inc:0.125\n"
              "gainAutoMaxValue = 2 min:1 max:8 inc:0.125\n"
              "gainAutoSource = SensorAll\n"
              "gainAutoMinValue = 1.25 min:1 max:8 inc:0.125\n"
              "gainAutoMaxValue = 4 min:1 max:8 inc:0.125\n"
              "lutType = GammaCorrection\n"
              "gammaCorrection = 0.45 min:0.25 max:4\n",
              control({"ExposureAuto=Continuous", "exposureAutoMinValue", "exposureAutoMaxValue",
                       "GainAuto=Continuous", "gainAutoMinValue", "gainAutoMaxValue",
                       "gainAutoSource=SensorAll", "gainAutoMinValue", "gainAutoMaxValue",
                       "lutType=GammaCorrection", "gammaCorrection"}));
}

TEST_F(ArvTool, WritesTheLookupTable) {
    EXPECT_EQ("LUTValue = 200 min:0 max:255\n"
              "lutSize = Bpp12\n"
              "LUTSelector = Blue\n"
              "LUTIndex = 4095 min:0 max:4095\n"
              "LUTValue = 4000 min:0 max:4095\n",
              control({"LUTValue=200", "lutSize=Bpp12", "LUTSelector=Blue", "LUTIndex=4095",
                       "LUTValue=4000"}));

    EXPECT_THAT(snapshotAfterwards(), AllOf(HasSubstr("\nLUTValue[Blue][4095] = 4000\n"),
                                            HasSubstr("\nLUTValue[Red][0] = 200\n")));
}

std::vector<std::string> offeredFeatures() {
    const std::string description = readFile(BUILT_IN_DESCRIPTION);
    const std::string tag = "<pFeature>";
    std::vector<std::string> names;
    for (std::size_t at = description.find(tag); at != std::string::npos;
         at = description.find(tag, at + 1)) {
        const std::size_t begin = at + tag.size();
        names.push_back(description.substr(begin, description.find('<', begin) - begin));
    }
    EXPECT_LT(50u, names.size());
    return names;
}

// Every feature of every category has a value, is a command, or is said to be unavailable.
TEST_F(ArvTool, ReadsEveryFeature) {
    const std::string features = arvTool({"-a", "127.0.0.2", "features"});
    const std::string values = arvTool({"-a", "127.0.0.2", "values"});
    const auto shows = [](const std::string &text, const std::string &part) {
        return text.find(part) != std::string::npos;
    };

    std::vector<std::string> unavailable;
    for (const std::string &name : offeredFeatures()) {
        const std::string quoted = "'" + name + "'";
        if (shows(features, quoted + " (Not available)\n"))
            unavailable.push_back(name);
        else if (!shows(values, "Category    : " + quoted) &&
                 !shows(values, "Command      : [WO] " + quoted)) {
            EXPECT_PRED2(shows, values, "] " + quoted + " = ");
        }
    }
    EXPECT_THAT(unavailable,
                ElementsAre("AcquisitionFrameCount", "balanceWhitePeriod", "autoBrightnessSequence",
                            "autoBrightnessTarget", "ExposureAuto", "exposureAutoMinValue",
                            "exposureAutoMaxValue", "GainAuto", "gainAutoSource",
                            "gainAutoMinValue", "gainAutoMaxValue", "gammaCorrection"));
    EXPECT_THAT(camera.stop().output, HasSubstr(" refused=0 "));
}

TEST_F(ArvTool, LeavesTheCameraOpenAndNothingRefused) {
    control({"Width", "GainSelector=SensorAll", "Gain=4"});
    arvTool({"-a", "127.0.0.2", "values"});

    EXPECT_THAT(camera.stop().output, HasSubstr(" refused=0 "));
    EXPECT_THAT(readFile(folder.path() + "/S1234.txt"), HasSubstr("\nGevCCP = OpenAccess\n"));
}

TEST_F(ArvTool, IsTurnedAwayWhileAnotherClientHasControl) {
    Client other;
    EXPECT_EQ("0000", other.write(0x0A00, 2));

    const Process::End end = Process(ARV_TOOL, {"-a", "127.0.0.2", "control", "Width=1600"}).wait();

    EXPECT_EQ("Width write error: [Width] [WidthReg] GigEVision write_memory error "
              "(access-denied)\n",
              end.output);
    EXPECT_EQ("00000790", other.read(0x10110));
}

} // namespace
