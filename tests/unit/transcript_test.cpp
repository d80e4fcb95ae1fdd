// What is written at level debug, compared byte for byte with the files in transcripts/: what a log
// tool gets to read. Those files are written by hand, from the messages and from the values
// scripted here; none is a recording. NAME.stdout.txt is all that came to standard output.
// NAME.syslog.txt is all that came to the system log, one message after the other, each behind its
// priority and a blank; a message brings its own line end or, as three of them, has none.
//
// Messages are held to their words here and in as few tests as can be: elsewhere their keys do.

#include "plug_in.h"

#include <fstream>
#include <iterator>

namespace {

std::string contents(const std::string &name) {
    std::ifstream file(std::string(TRANSCRIPTS "/") + name, std::ios::binary);
    EXPECT_TRUE(file) << "no transcript " << name;
    std::string text(std::istreambuf_iterator<char>(file), {});
    if (const std::size_t at = text.find("(result N)"); at != text.npos)
        text.replace(at + 8, 1, comparison("S1234", "S12345"));
    return text;
}

std::string systemLog(const Logged &logged, int leastPriority = LOG_DEBUG) {
    std::string all;
    for (const host::SystemLine &line : logged.system)
        if (line.priority <= leastPriority)
            all += std::to_string(line.priority) + ' ' + line.text;
    return all;
}

class Transcript : public Probe {
protected:
    // Runs at level debug into both sinks, each of them and none, and at lower levels. The run
    // describes its cameras first; what it returns must not depend on what is logged.
    template <typename Run>
    void expect(const std::string &name, Run run) {
        SCOPED_TRACE(name);
        const std::string out = contents(name + ".stdout.txt");
        const std::string system = contents(name + ".syslog.txt");
        const auto start = [&](int level, int mode) {
            scripted::reset();
            host::reset();
            return run(level, mode);
        };
        const auto [both, results] = start(4, kBothSinks);
        EXPECT_EQ(out, both.out);
        EXPECT_EQ(system, systemLog(both));
        for (const auto &[level, mode] : {std::pair(4, kStandardOutput),
                                          {4, kSystemLog},
                                          {4, 0},
                                          {3, kBothSinks},
                                          {2, kBothSinks},
                                          {0, kBothSinks}}) {
            const auto [logged, same] = start(level, mode);
            EXPECT_EQ(results, same) << "level " << level << ", mode " << mode;
            if (level == 4) {
                EXPECT_EQ(mode & kStandardOutput ? out : "", logged.out);
                EXPECT_EQ(mode & kSystemLog ? system : "", systemLog(logged));
            } else {
                EXPECT_EQ(systemLog(both, level == 3   ? LOG_INFO
                                          : level == 2 ? LOG_WARNING
                                                       : -1),
                          systemLog(logged));
                EXPECT_EQ(logged.system.empty(), logged.out.empty());
            }
        }
    }
};

// Whole probes.

struct Camera {
    const char *transcript;
    std::function<void(scripted::Camera &, scripted::Framework &)> describe;
    std::vector<std::pair<const char *, const char *>> leaves; // values after the probe
    const char *serial = "S12";
};

void describeTable(scripted::Camera &camera, const char *mode, const char *type, double gammaStep) {
    camera.enumeration("lutType", type, {"UserDefined", "GammaCorrection"});
    camera.enumeration("lutSize", "Bpp8", {"Bpp8", "Bpp12"});
    camera.floating("gammaCorrection", 0.45)
        .range(0.25, 4.0, gammaStep)
        .onlyWhile("lutType", "GammaCorrection");
    if (mode)
        camera.enumeration("lutMode", mode, {"Off", "Active"});
}

const Camera kCameras[] = {
    {"whole_camera",
     [](auto &camera, auto &framework) {
         describeWholeCamera(camera);
         framework.featureValue("PixelFormat", 0x01080001);
         // It is read once for each sink, and for the system log first.
         if (gKxLogMode == kBothSinks)
             camera.floating("DeviceTemperature", 0).readings({41.25, 41.5});
         else
             camera.floating("DeviceTemperature", gKxLogMode == kSystemLog ? 41.25 : 41.5);
     },
     {{"GainSelector", "SensorAll"},
      {"lutMode", "Off"},
      {"lutType", "GammaCorrection"},
      {"autoBrightnessMode", "Off"},
      {"ExposureAuto", "Continuous"},
      {"GainAuto", "Continuous"},
      {"gainAutoSource", "SensorAll"},
      {"DeviceTemperatureSelector", "Internal"},
      {"BalanceRatioSelector", "Green"}}},
    {"nothing_but_a_node_map", [](auto &, auto &) {}, {}},
    {"table_off",
     [](auto &camera, auto &) { describeTable(camera, "Off", "UserDefined", 0.05); },
     {{"lutMode", "Off"}, {"lutType", "GammaCorrection"}}},
    {"user_table",
     [](auto &camera, auto &) { describeTable(camera, "Active", "UserDefined", 0.25); },
     {{"lutMode", "Active"}, {"lutType", "UserDefined"}, {"lutSize", "Bpp12"}}},
    {"gamma_on",
     [](auto &camera, auto &) { describeTable(camera, "Active", "GammaCorrection", 0.25); },
     {{"lutMode", "Active"}, {"lutType", "GammaCorrection"}}},
    {"table_state_unknown",
     [](auto &camera, auto &) { describeTable(camera, nullptr, "GammaCorrection", 0.25); },
     {{"lutType", "GammaCorrection"}}},
    {"mainboard_temperature",
     [](auto &camera, auto &) {
         camera.enumeration("DeviceTemperatureSelector", "Mainboard", {"Internal", "Mainboard"});
         camera.floating("DeviceTemperature", 0)
             .selectedBy("DeviceTemperatureSelector", {{"Internal", 41.25}, {"Mainboard", 55.5}});
     },
     {{"DeviceTemperatureSelector", "Internal"}}},
    {"foreign_camera",
     [](auto &, auto &framework) {
         framework.sees(
             {{"Acme", "Eye-7", "S1299", "3.1", 0}, {"Teledyne DALSA", "Nano-M2020", "S1234"}});
     },
     {}},
    {"no_node_map",
     [](auto &, auto &framework) {
         framework.nodeMap(NodeMap::None).featureValue("PixelFormat", 0x01080001);
     },
     {}},
    {"empty_node_map_reference",
     [](auto &, auto &framework) { framework.nodeMap(NodeMap::WithoutMap); },
     {}},
    // Messages without a line end: the next one follows on the same line.
    {"property_error",
     [](auto &camera, auto &) {
         camera.floating("ExposureTime", 5000.0).raises(Op::GetMin, Fault::Property);
     },
     {}},
    {"gamma_curve_unknown",
     [](auto &camera, auto &) {
         camera.enumeration("lutType", "UserDefined", {"UserDefined"});
         camera.floating("gammaCorrection", 0.45);
         camera.enumeration("lutMode", "Off", {"Off", "Active"});
     },
     {{"lutMode", "Off"}, {"lutType", "UserDefined"}}},
    // Where there is no probe.
    {"listing",
     [](auto &, auto &framework) {
         framework.sees(
             {{"DALSA", "Nano-M2020", "S1234"}, {"Acme", "Eye", "A1"}, {"dalsa", "Linea", "T5"}});
     },
     {},
     nullptr},
    {"not_found", [](auto &, auto &) {}, {}, "S12345"},
    {"no_dalsa_camera",
     [](auto &, auto &framework) {
         framework.sees({{"Acme", "Eye", "S12"}});
     },
     {}},
    {"not_opened",
     [](auto &, auto &framework) { framework.opensWith(GEVLIB_ERROR_ACCESS_DENIED, false); },
     {}},
};

TEST_F(Transcript, OfAProbeIsWrittenLikeThis) {
    for (const Camera &each : kCameras) {
        expect(each.transcript, [&](int level, int mode) {
            framework.sees({{"Teledyne DALSA", "Nano-M2020", "S1234"}});
            gKxLogMode = mode; // for the description
            each.describe(camera, framework);
            const Logged logged = probe(each.serial, level, mode);
            for (const auto &[name, value] : each.leaves)
                EXPECT_EQ(value, camera.value(name)) << name;
            return std::pair(logged, std::tuple(exitCode, published(), calls()));
        });
    }
}

// The camera class, whose other messages no probe brings.

class CameraClass {
public:
    explicit CameraClass(scripted::Camera &described) : camera(described) {}

    std::vector<int> codes;

    void withoutNodeMap() {
        CExCam cam = wrapped(NodeMap::None);
        note(cam.ExPropertyGetInt(WIDTH_PROPERTY_TYPE, nullptr));
        note(cam.ExPropertySetInt(WIDTH_PROPERTY_TYPE, 1));
        note(cam.ExPropertyGetIntRange(kBeyond, nullptr, nullptr, nullptr));
        note(cam.ExPropertyGetFloat(kBeyond, nullptr));
        note(cam.ExPropertySetFloat(WIDTH_PROPERTY_TYPE, 1));
        note(cam.ExPropertyGetFloatRange(kBeyond, nullptr, nullptr, nullptr));
        note(cam.ExPropertySetEna(REVERSE_X_PROPERTY_TYPE, true));
        note(cam.ExPropertySetEnumFromStr("GainAuto", "Off"));
        note(cam.ExPropertySetAutoOff(GAIN_AUTO_PROPERTY_TYPE));
        note(cam.ExPropertySetAutoCont(GAIN_AUTO_PROPERTY_TYPE));
        note(cam.ExSetAutoExpoEna(true));
        note(cam.ExSetAutoExpoVal(0.5f));
        note(cam.ExPropertyGetLUTMode());
        note(cam.ExPropertySetLUTMode(TD_LG_GAMMA));
        note(cam.ExPropertyGetGammaRange(nullptr, nullptr, nullptr));
        note(cam.ExPropertyGetGamma(nullptr));
        note(cam.ExPropertySetGamma(1));
        note(cam.ExPropertySetLUTChannel(0, 3));
        note(cam.ExPropertySetLUTValue(0, 0));
        note(cam.ExPropertySetAutoRangeGain(1, 2));
        note(cam.ExPropertySetAutoRangeExpo(1, 2));
    }

    void switches() {
        CExCam cam = wrapped();
        note(cam.ExPropertySetInt(WIDTH_PROPERTY_TYPE, 640));
        note(cam.ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, nullptr, nullptr, nullptr));
        note(cam.ExPropertySetFloat(GAIN_PROPERTY_TYPE, 6));
        note(cam.ExPropertyGetFloatRange(EXPOSURE_TIME_PROPERTY_TYPE, nullptr, nullptr, nullptr));
        note(cam.ExPropertyGetFloat(AUTO_GAIN_MAX_PROPERTY_TYPE, nullptr));
        note(cam.ExPropertySetEna(REVERSE_X_PROPERTY_TYPE, true));
        note(cam.ExPropertySetEnumFromStr("lutSize", "Bpp12"));
        note(cam.ExPropertySetAutoCont(GAIN_AUTO_PROPERTY_TYPE));
        note(cam.ExSetAutoExpoEna(false));
        note(cam.ExSetAutoExpoEna(true));
        note(cam.ExSetAutoExpoVal(1.5f));
    }

    // Asks for what is out of bounds, and then for the good ones while one of both is no integer
    // or has no range.
    void limits(int (CExCam::*set)(float, float), const char *min, const char *max, float low,
                float high) {
        CExCam cam = wrapped();
        camera.enumeration("autoBrightnessMode", "Active", {"Active"}); // shows the limits
        note((cam.*set)(high, low));
        note((cam.*set)(low, high * 2));
        note((cam.*set)(low, high));
        camera.feature(min).alsoInteger();
        note((cam.*set)(low, high));
        CExCam another = wrapped();
        camera.without(max);
        note((another.*set)(low, high));
    }

    void gamma() {
        CExCam cam = wrapped();
        note(cam.ExPropertyGetGamma(nullptr));
        note(cam.ExPropertyGetGammaRange(nullptr, nullptr, nullptr));
        note(cam.ExPropertySetGamma(0.75f));
        note(cam.ExPropertyGetGamma(nullptr));
        note(cam.ExPropertySetGamma(9));
        note(cam.ExPropertySetLUTMode(TD_LG_USER_LUT));

        CExCam another = wrapped();
        camera.without("gammaCorrection").without("LUTSelector");
        note(another.ExPropertySetGamma(1)); // on, to no avail
        note(another.ExPropertySetGamma(1));
        note(another.ExPropertyGetGamma(nullptr));
        note(another.ExPropertySetLUTChannel(0, 3));
        // The type vanishes between the question for the state and the switch.
        note(another.ExPropertySetLUTMode(TD_LG_OFF));
        camera.feature("lutType").raises(
            Op::Lookup, [this] { camera.without("lutType"); }, 2);
        note(another.ExPropertySetGamma(1));
    }

private:
    static constexpr auto kBeyond = static_cast<PropertyType>(23 + WIDTH_PROPERTY_TYPE);

    CExCam wrapped(NodeMap nodeMap = NodeMap::Present) {
        describeWholeCamera(camera);
        camera.enumeration("autoBrightnessSequence", "Gain_Exposure_Iris",
                           {"Gain_Exposure_Iris", "Exposure_Gain_Iris"});
        scripted::framework().nodeMap(nodeMap);
        return CExCam(scripted::framework().handle());
    }
    void note(int code) { codes.push_back(code); }

    scripted::Camera &camera;
};

TEST_F(Transcript, OfTheCameraClassIsWrittenLikeThis) {
    expect("camera_class", [&](int level, int mode) {
        gKxLogLevel = level;
        gKxLogMode = mode;
        CameraClass all(camera);
        const Logged logged = host::caught([&] {
            all.withoutNodeMap();
            all.switches();
            all.limits(&CExCam::ExPropertySetAutoRangeGain, "gainAutoMinValue", "gainAutoMaxValue",
                       6.0f, 25.0f);
            all.limits(&CExCam::ExPropertySetAutoRangeExpo, "exposureAutoMinValue",
                       "exposureAutoMaxValue", 100.0f, 20000.0f);
            all.gamma();
        });
        return std::pair(logged, all.codes);
    });
}

TEST_F(Transcript, OfTheCamerasErrorsIsWrittenLikeThis) {
    expect("errors", [&](int level, int mode) {
        gKxLogLevel = level;
        gKxLogMode = mode;
        CExCam cam(framework.handle());
        const Logged logged = host::caught([&] {
            for (const Fault fault : scripted::kFaults) {
                forget();
                camera.raiseAt(1, fault);
                CCamProc().ProcParametrizeCamGamma(&cam);
            }
        });
        return std::pair(logged, published());
    });
}

} // namespace
