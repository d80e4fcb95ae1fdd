// The eight publishing steps: what they read in which order, what they change, log and publish. The
// report's and the driver's programs look at what comes before and after them.

#include "plug_in.h"

#include <dlfcn.h>
#include <fstream>
#include <iterator>

namespace {

class Publishing : public OpenedCamera {
protected:
    Publishing() { describeWholeCamera(camera); }

    using Step = void (CCamProc::*)(CExCam *);

    // All that a step does; its own lines are [* …].
    std::string run(Step step, const char *name) {
        host::reset();
        wrappedAnew();
        (CCamProc().*step)(&cam());
        return happenedTo(name);
    }
    std::string aoi() {
        host::reset();
        wrappedAnew();
        EXPECT_EQ(0, CCamProc().ProcParametrizeCamAoi(&cam()));
        return happenedTo("ProcParametrizeCamAoi");
    }
    std::string fps() { return run(&CCamProc::ProcParametrizeCamFps, "ProcParametrizeCamFps"); }
    std::string gain() {
        return run(&CCamProc::ProcParametrizeCamManGain, "ProcParametrizeCamManGain");
    }
    std::string exposure() {
        return run(&CCamProc::ProcParametrizeCamManExpo, "ProcParametrizeCamManExpo");
    }
    std::string gamma() {
        return run(&CCamProc::ProcParametrizeCamGamma, "ProcParametrizeCamGamma");
    }
    std::string automatic() {
        return run(&CCamProc::ProcParametrizeCamAutoFuncParams, "ProcParametrizeCamAutoFuncParams");
    }

    // A float range that is read and logged.
    static std::string ranged(const std::string &name, const std::string &logged) {
        return name + ".min " + name + ".max " + name + ".inc [d|ExPropertyGetFloatRange " +
               logged + "] ";
    }
    static std::string intRanged(const std::string &name, const std::string &logged) {
        return name + ".min " + name + ".max " + name + ".inc [d|ExPropertyGetIntRange " + logged +
               "] ";
    }
};

// Region of interest.

TEST_F(Publishing, OfTheRegionOfInterestTakesItsMaximaFromTheSensor) {
    EXPECT_EQ("WidthMax? OffsetX? " + intRanged("OffsetX", "4 0 16 8") +
                  "[* 8 0 1920 8] KxSc__SetParamVal(3) "
                  "HeightMax? OffsetY? " +
                  intRanged("OffsetY", "5 0 12 4") +
                  "[* 4 0 1200 4] KxSc__SetParamVal(4) "
                  "Width? " +
                  intRanged("Width", "2 16 1928 16") +
                  "[* 1920 16 1936 16] KxSc__SetParamVal(5) "
                  "Height? " +
                  intRanged("Height", "3 2 1212 2") + "[* 1200 2 1216 2] KxSc__SetParamVal(6)",
              aoi());
    EXPECT_THAT(published(), ElementsAre(integers(KxScParamOffsetX, 8, 0, 1920, 8),
                                         integers(KxScParamOffsetY, 4, 0, 1200, 4),
                                         integers(KxScParamWidth, 1920, 16, 1936, 16),
                                         integers(KxScParamHeight, 1200, 2, 1216, 2)));
}

// The four parts share their variables: a part that cannot be read shows the part before it.
TEST_F(Publishing, OfTheRegionOfInterestMayLackParts) {
    camera.without("OffsetY").without("Width").integer("WidthMax", 15);
    aoi();
    EXPECT_THAT(published(), ElementsAre(integers(KxScParamOffsetX, 8, 0, -1, 8),
                                         integers(KxScParamOffsetY, 8, 0, 1200, 0),
                                         integers(KxScParamWidth, 8, 0, 15, 0),
                                         integers(KxScParamHeight, 1200, 2, 1216, 2)));
    scripted::reset();
    camera.integer("HeightMax", std::numeric_limits<int>::min());
    aoi();
    EXPECT_THAT(published(),
                ElementsAre(integers(KxScParamOffsetX, 0, 0, -16, 0),
                            integers(KxScParamOffsetY, 0, 0, 2147483632, 0),
                            integers(KxScParamWidth, 0, 0, 0, 0),
                            integers(KxScParamHeight, 0, 0, std::numeric_limits<int>::min(), 0)));
}

// Frame rate, rotation, manual gain and exposure time.

TEST_F(Publishing, OfTheFrameRateHasAStepOfAtLeastATenth) {
    const std::pair<double, float> cases[] = {
        {0.25, 0.25f},
        {0.0, 0.1f},
        {0.01, 0.1f},
        {0.099999, 0.1f},
        {-1.0, 0.1f},
        {static_cast<double>(0.1f), 0.1f},
        {static_cast<double>(std::nextafter(0.1f, 0.0f)), 0.1f},
        {static_cast<double>(std::nextafter(0.1f, 1.0f)), std::nextafter(0.1f, 1.0f)}};
    for (const auto &[reported, step] : cases) {
        camera.feature("AcquisitionFrameRate").range(1.0, 60.0, reported);
        const std::string all = fps();
        EXPECT_THAT(published(), ElementsAre(floats(KxScParamFps, 29.97f, 1.0f, 60.0f, step)));
        EXPECT_EQ("] AcquisitionFrameRate? [* 29.969999 1.000000 60.000000 " +
                      std::to_string(step) + "] KxSc__SetParamVal(0)",
                  all.substr(all.find(']')));
    }
    camera.without("AcquisitionFrameRate");
    EXPECT_EQ("[* 0.000000 0.000000 0.000000 0.100000] KxSc__SetParamVal(0)", fps());
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamFps, 0.0f, 0.0f, 0.0f, 0.1f)));
}

TEST_F(Publishing, OfRotationIsZeroWithoutARangeWhateverTheCameraSays) {
    camera.boolean("ReverseX", true).boolean("ReverseY", true);
    EXPECT_EQ("KxSc__SetParamVal(2)", run(&CCamProc::ProcParametrizeCamRotate, ""));
    EXPECT_THAT(published(), ElementsAre(Publication{KxScParamRotate, 0, {}, {}, {}}));
}

TEST_F(Publishing, OfManualGainHasStepsOfHalfADecibel) {
    camera.feature("Gain").range(1.0, 100.0, 9.0);
    EXPECT_EQ("GainSelector:=SensorAll " + ranged("Gain", "6 0.000000 40.000000 20.000000") +
                  "GainSelector:=SensorAll Gain? [* 20.000000 0.000000 40.000000 0.500000] "
                  "KxSc__SetParamVal(18)",
              gain());
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGain, 20.0f, 0.0f, 40.0f, 0.5f)));
    camera.without("Gain");
    gain();
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGain, 0.0f, 0.0f, 0.0f, 0.5f)));
}

TEST_F(Publishing, OfManualExposureTimeIsAsTheCameraReportsItWhateverTheSense) {
    camera.feature("ExposureTime").range(9000.0, 20.0, 0.01);
    EXPECT_EQ(ranged("ExposureTime", "7 9000.000000 20.000000 0.010000") +
                  "ExposureTime? [* 5000.000000 9000.000000 20.000000 0.010000] "
                  "KxSc__SetParamVal(19)",
              exposure());
    EXPECT_THAT(published(),
                ElementsAre(floats(KxScParamExposure, 5000.0f, 9000.0f, 20.0f, 0.01f)));
    camera.without("ExposureTime");
    exposure();
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamExposure, 0.0f, 0.0f, 0.0f, 0.0f)));
}

// Gamma.

class PublishingGamma : public Publishing {
protected:
    void table(const char *mode, const char *type) {
        camera.enumeration("lutMode", mode, {"Off", "Active"});
        camera.enumeration("lutType", type, {"Contrast", "UserDefined", "GammaCorrection"});
        camera.enumeration("lutSize", "Bpp8", {"Bpp8", "Bpp12"});
    }
    static std::string state(const std::string &mode, const std::string &type) {
        return "lutMode?? lutType?? [d|ExPropertyGetLUTMode \"" + mode + "\" \"" + type + "\"] ";
    }
    const std::string on = state("Active", "GammaCorrection");
    const std::string reading =
        on +
        "[d|ExPropertyGetGammaRange] gammaCorrection.min gammaCorrection.max gammaCorrection.inc "
        "[d|ExPropertyGetGammaRange 0.250000 4.000000] " +
        on + "gammaCorrection? [d|ExPropertyGetGamma 0.500000] ";
    const std::string switching = "lutType:=GammaCorrection lutMode:=Active "
                                  "[d|ExPropertySetLUTMode \"Active\" \"GammaCorrection\"] ";
    static std::string end(const std::string &numbers, int status = 0) {
        return "[* " + numbers + " " + std::to_string(status) + "] KxSc__SetParamVal(1)";
    }
};

TEST_F(PublishingGamma, SwitchesGammaOnForTheReadingAndPutsTheTableBack) {
    struct {
        const char *mode, *type;
        std::string asked, putBack;
    } const cases[] = {
        {"Off", "UserDefined", "[* 1] ", "lutMode:=Off [d|ExPropertySetLUTMode \"Off\" \"\"] "},
        {"Active", "UserDefined", "[* 2] ",
         "lutType:=UserDefined lutSize:=Bpp12 lutMode:=Active "
         "[d|ExPropertySetLUTMode \"Active\" \"UserDefined\"] "},
        {"Active", "Contrast", "[* 4] ", "lutMode:=Off [d|ExPropertySetLUTMode \"Off\" \"\"] "}};
    for (const auto &[mode, type, asked, putBack] : cases) {
        table(mode, type);
        EXPECT_EQ(state(mode, type) + asked + switching + reading + putBack +
                      end("0.500000 0.250000 4.000000 0.100000"),
                  gamma());
        EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.5f, 0.25f, 4.0f, 0.1f)));
    }
}

TEST_F(PublishingGamma, LeavesATableThatHoldsGammaAlone) {
    table("Active", "GammaCorrection");
    for (const auto &[reported, step, shown] : {std::tuple(0.25, 0.25f, "0.250000"),
                                                {static_cast<double>(0.1f), 0.1f, "0.100000"},
                                                {0.05, 0.1f, "0.100000"}}) {
        camera.feature("gammaCorrection").range(0.25, 4.0, reported);
        EXPECT_EQ(on + reading + end(std::string("0.500000 0.250000 4.000000 ") + shown), gamma());
        EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.5f, 0.25f, 4.0f, step)));
    }
}

TEST_F(PublishingGamma, WarnsWhenTheTableCannotBeSwitchedAndPutsAnUnknownStateBackAllTheSame) {
    camera.without("lutMode").floating("gammaCorrection", 0.5);
    wrappedAnew();
    CCamProc().ProcParametrizeCamGamma(&cam());
    const std::string state = "@lutMode @lutType ";
    // For the state, the switch, the range, the value, and the switch back.
    EXPECT_EQ(state + "[* 0] " + state + "[w|ProcParametrizeCamGamma] " + state + state +
                  "@gammaCorrection gammaCorrection? [d|ExPropertyGetGamma 0.500000] " + state +
                  end("0.500000 -1.000000 -1.000000 0.100000"),
              happenedTo("ProcParametrizeCamGamma", everything()));
}

TEST_F(PublishingGamma, PublishesWhatWasReadUntilAnErrorAndLeavesTheTable) {
    const auto publishes = [&](const std::string &feature, Op op, Fault fault, int nth,
                               const Publication &what, const std::string &ending) {
        table("Off", "UserDefined");
        camera.floating("gammaCorrection", 0.5).range(0.25, 4.0, 0.0);
        camera.feature(feature).raises(op, fault, nth);
        const std::string all = gamma();
        EXPECT_EQ("[*] " + ending, all.substr(all.size() - ending.size() - 4));
        EXPECT_THAT(published(), ElementsAre(what));
    };
    publishes("lutMode", Op::ToString, Fault::Access, 1,
              floats(KxScParamGamma, 0.0f, -1.0f, -1.0f, 0.0f),
              end("0.000000 -1.000000 -1.000000 0.000000", -17));
    publishes("gammaCorrection", Op::GetInc, Fault::OutOfRange, 1,
              floats(KxScParamGamma, 0.0f, -1.0f, -1.0f, 0.0f),
              end("0.000000 -1.000000 -1.000000 0.000000", -13));
    publishes("gammaCorrection", Op::GetValue, Fault::Timeout, 1,
              floats(KxScParamGamma, 0.0f, 0.25f, 4.0f, 0.0f),
              end("0.000000 0.250000 4.000000 0.000000", -6));
    EXPECT_EQ("Active", camera.value("lutMode"));
    publishes("lutMode", Op::FromString, Fault::Runtime, 2,
              floats(KxScParamGamma, 0.5f, 0.25f, 4.0f, 0.0f),
              end("0.500000 0.250000 4.000000 0.000000", -1));
    EXPECT_EQ("Active", camera.value("lutMode"));
}

TEST_F(PublishingGamma, PublishesItsDefaultsForACameraWithoutGamma) {
    camera.without("gammaCorrection");
    gamma();
    EXPECT_THAT(published(), ElementsAre(floats(KxScParamGamma, 0.0f, -1.0f, -1.0f, 0.1f)));
    EXPECT_EQ("Off", camera.value("lutMode"));
}

// Automatic functions.

TEST_F(Publishing, OfTheAutomaticFunctionsReadsValuesBeforeRanges) {
    const std::string begin = "autoBrightnessMode?? autoBrightnessMode:=Active ";
    const std::string end = "autoBrightnessMode:=Off ";
    const auto limit = [&](const std::string &name, const std::string &automation,
                           const std::string &source, const std::string &forced,
                           const std::string &rangeLogged, const std::string &logged, int id) {
        const bool isGain = !source.empty();
        const std::string line = isGain ? "[d|ExPropertyGetFloat] " : "";
        return "autoBrightnessMode?? " + line + "autoBrightnessMode:=Active " + line + automation +
               "?? " + forced + line + source + line + name + "? " + end + begin + automation +
               "?? " + source + ranged(name, rangeLogged) + end + "[* " + logged +
               "] KxSc__SetParamVal(" + std::to_string(id) + ")";
    };
    const std::string source = "gainAutoSource:=SensorAll ";
    EXPECT_EQ(
        begin + "autoBrightnessTarget? " + end + begin +
            intRanged("autoBrightnessTarget", "10 0 255 1") + end +
            "[* 0.501961 0.000000 1.000000 0.003922] KxSc__SetParamVal(11) " +
            limit("gainAutoMinValue", "GainAuto", source, "GainAuto:=Continuous ",
                  "13 0.000000 18.061800 6.020600", "0.000000 0.000000 18.061800 0.500000", 13) +
            " " +
            limit("gainAutoMaxValue", "GainAuto", source, "", "14 0.000000 40.000000 6.020600",
                  "20.000000 0.000000 40.000000 0.500000", 14) +
            " " +
            limit("exposureAutoMinValue", "ExposureAuto", "", "ExposureAuto:=Continuous ",
                  "11 20.000000 1000.000000 2.000000", "100.000000 20.000000 1000.000000 2.000000",
                  16) +
            " " +
            limit("exposureAutoMaxValue", "ExposureAuto", "", "",
                  "12 1000.000000 33000.000000 4.000000",
                  "20000.000000 1000.000000 33000.000000 4.000000", 17),
        automatic());
    EXPECT_THAT(
        published(),
        ElementsAre(floats(KxScParamAutoBrightTarget, 128.0f / 255.0f, 0.0f, 1.0f, 1.0f / 255.0f),
                    floats(KxScParamAutoGainLower, 0.0f, 0.0f, 20.0f * std::log10(8.0f), 0.5f),
                    floats(KxScParamAutoGainUpper, 20.0f, 0.0f, 40.0f, 0.5f),
                    floats(KxScParamAutoExpoLower, 100.0f, 20.0f, 1000.0f, 2.0f),
                    floats(KxScParamAutoExpoUpper, 20000.0f, 1000.0f, 33000.0f, 4.0f)));
}

// The five parts share their variables: a missing part shows the part before it.
TEST_F(Publishing, OfTheAutomaticFunctionsMayLackParts) {
    scripted::reset();
    camera.integer("autoBrightnessTarget", 51).range(0, 255, 51);
    automatic();
    const auto expectAll = [](float target, float max, float targetStep) {
        std::vector<Publication> all = {
            floats(KxScParamAutoBrightTarget, target, 0.0f, max, targetStep)};
        for (const KxScParamId id : {KxScParamAutoGainLower, KxScParamAutoGainUpper,
                                     KxScParamAutoExpoLower, KxScParamAutoExpoUpper})
            all.push_back(floats(id, target, 0.0f, max, 0.5f));
        EXPECT_EQ(all, published());
    };
    expectAll(0.2f, 1.0f, 0.2f);
    scripted::reset();
    automatic();
    expectAll(0.0f, 0.0f, 0.0f);
}

TEST_F(Publishing, OfTheBrightnessTargetComputesInSinglePrecision) {
    int unlikeDouble = 0;
    for (int value = 2000000000; value < 2000002000; value += 17) {
        camera.integer("autoBrightnessTarget", value);
        automatic();
        const float target = std::get<float>(*published()[0].cur);
        EXPECT_EQ(static_cast<float>(value) / 255.0f, target);
        unlikeDouble += target != static_cast<float>(value / 255.0);
    }
    EXPECT_LT(0, unlikeDouble);
}

// All steps together.

TEST_F(Publishing, RunsItsStepsInOrderAndAsksForNoIndex) {
    const auto expectIds = [&] {
        host::reset();
        EXPECT_EQ(0, CCamProc().ProcParametrizeCam(&wrappedAnew()));
        std::vector<KxScParamId> ids;
        for (const Publication &each : published()) {
            ids.push_back(each.id);
            EXPECT_EQ(0xFFFFFFFFu, each.index);
        }
        EXPECT_THAT(ids, ElementsAre(3, 4, 5, 6, 0, 2, 18, 19, 1, 11, 13, 14, 16, 17, 21));
    };
    expectIds();
    framework.nodeMap(NodeMap::None);
    expectIds();
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
        EXPECT_THROW(CCamProc().ProcParametrizeCam(&wrappedAnew()), GenICam_3_0::RuntimeException)
            << name;
        EXPECT_EQ(publications, published().size()) << name;
    }
}

// Output lines.

struct Pin {
    char name[128];
    int32_t number;
};

TEST_F(Publishing, OfTheOutputLinesPointsIntoTheTableOfLinesEveryTime) {
    const void *before = nullptr;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ("KxSc__SetParamVal(21)", run(&CCamProc::ProcParametrizeCamOutLines, ""));
        EXPECT_THAT(published(),
                    ElementsAre(Publication{KxScParamOutLines,
                                            std::string("None"),
                                            std::string("\"None\", \"Out1\", \"Out2\""),
                                            {},
                                            {}}));
        Dl_info info;
        ASSERT_NE(0, dladdr(host::outLine(), &info)) << "it points to no constant of a library";
        EXPECT_NE(std::string(info.dli_fname).npos,
                  std::string(info.dli_fname).find("libkxinfo-dalsa"));
        const Pin lines[] = {{"None", 0}, {"Line1", 1}, {"Line2", 2}, {"Line3", 3}, {"Line4", 4}};
        EXPECT_EQ(0, std::memcmp(lines, host::outLine(), sizeof lines));
        EXPECT_TRUE(!before || before == host::outLine());
        before = host::outLine();
    }
}

// Nobody reads most of it: it is the vocabulary of the host's service, and looked for in the file.
TEST_F(Publishing, KnowsAllPins) {
    const Pin pins[] = {{"None", 0},   {"Line1", 1},  {"Line2", 2}, {"Line3", 3}, {"Line4", 4},
                        {"Out1", 5},   {"Out2", 6},   {"Out3", 7},  {"Out4", 8},  {"Gpio0", 9},
                        {"Gpio1", 10}, {"Gpio2", 11}, {"Gpio3", 12}};
    run(&CCamProc::ProcParametrizeCamOutLines, "");
    Dl_info info;
    ASSERT_NE(0, dladdr(host::outLine(), &info));
    std::ifstream file(info.dli_fname, std::ios::binary);
    const std::string library(std::istreambuf_iterator<char>(file), {});
    const std::string table(reinterpret_cast<const char *>(pins), sizeof pins);
    EXPECT_NE(library.npos, library.find(table));
    // It begins like the table of lines, which the current value points into.
    const auto place = static_cast<size_t>(static_cast<const char *>(host::outLine()) -
                                           static_cast<const char *>(info.dli_fbase));
    EXPECT_EQ(0, library.compare(place, 5 * sizeof(Pin), table, 0, 5 * sizeof(Pin)));
    EXPECT_NE(place, library.find(table));
}

} // namespace
