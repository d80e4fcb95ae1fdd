// Probes a virtual camera, and reads the same features of it with arv-tool-0.8, in turn and each
// time with a fresh camera; run in a private network. Time is that of the whole process, from its
// start to its end, less the time that our own took for finding the camera: arv-tool is given the
// camera's address and looks for none. From open to close our own measures itself; of arv-tool it
// is what its process takes beyond one that only tells its version.
//
// Then 'kxinfo probe --all' of one and of eight cameras, and 'kxinfo probe' of one, a few times, each
// as a user runs it: with the whole time for finding cameras. At last the instructions of one probe,
// from the process's start to its end, its description known by then.
//
//   bench-wire RUNS KXINFO-SIMCAM BENCH-WIRE-PROBE KXINFO OUT.json

#include <filesystem>
#include <fstream>

#include "child.h"

namespace {

using Arguments = std::vector<std::string>;
using nlohmann::json;

// Every write that the probe makes, in its order, and each feature that it reads: arv-tool shows a
// value with its minimum, maximum and increment. Reads that the probe repeats stand here once.
const Arguments kSame = {
    "DeviceTemperatureSelector", "DeviceTemperatureSelector=Internal", "OffsetX", "OffsetY",
    "Width", "Height", "AcquisitionFrameRate", "GainSelector=SensorAll", "Gain", "ExposureTime",
    "PixelFormat", "WidthMax", "HeightMax", "GainSelector=SensorAll", "GainSelector=SensorAll",
    // gamma
    "lutMode", "lutType", "lutType=GammaCorrection", "lutMode=Active", "gammaCorrection",
    "lutMode=Off",
    // brightness target: value, range
    "autoBrightnessMode", "autoBrightnessMode=Active", "autoBrightnessTarget",
    "autoBrightnessMode=Off", "autoBrightnessMode=Active", "autoBrightnessMode=Off",
    // automatic gain, lower limit: value, range; upper limit
    "autoBrightnessMode=Active", "GainAuto", "GainAuto=Continuous", "gainAutoSource=SensorAll",
    "gainAutoMinValue", "autoBrightnessMode=Off", "autoBrightnessMode=Active",
    "gainAutoSource=SensorAll", "autoBrightnessMode=Off", "autoBrightnessMode=Active",
    "gainAutoSource=SensorAll", "gainAutoMaxValue", "autoBrightnessMode=Off",
    "autoBrightnessMode=Active", "gainAutoSource=SensorAll", "autoBrightnessMode=Off",
    // automatic exposure
    "autoBrightnessMode=Active", "ExposureAuto", "ExposureAuto=Continuous", "exposureAutoMinValue",
    "autoBrightnessMode=Off", "autoBrightnessMode=Active", "autoBrightnessMode=Off",
    "autoBrightnessMode=Active", "exposureAutoMaxValue", "autoBrightnessMode=Off",
    "autoBrightnessMode=Active", "autoBrightnessMode=Off"};

// The same features with each mode switched once: as little as anybody needs.
const Arguments kLeast = {"DeviceTemperatureSelector",
                          "DeviceTemperatureSelector=Internal",
                          "OffsetX",
                          "OffsetY",
                          "Width",
                          "Height",
                          "AcquisitionFrameRate",
                          "GainSelector=SensorAll",
                          "Gain",
                          "ExposureTime",
                          "PixelFormat",
                          "WidthMax",
                          "HeightMax",
                          "lutMode",
                          "lutType",
                          "lutType=GammaCorrection",
                          "lutMode=Active",
                          "gammaCorrection",
                          "lutMode=Off",
                          "autoBrightnessMode",
                          "autoBrightnessMode=Active",
                          "autoBrightnessTarget",
                          "GainAuto",
                          "GainAuto=Continuous",
                          "gainAutoSource=SensorAll",
                          "gainAutoMinValue",
                          "gainAutoMaxValue",
                          "ExposureAuto",
                          "ExposureAuto=Continuous",
                          "exposureAutoMinValue",
                          "exposureAutoMaxValue",
                          "autoBrightnessMode=Off"};

template <typename Use>
void withFreshCamera(const std::string &simcam, Series &series, Use use) {
    Child camera({simcam, "--camera", "S1234@127.0.0.2"});
    if (camera.line().empty())
        throw std::runtime_error("the virtual camera did not start");
    use();
    camera.stop();
    series.addCommands(camera.finish());
}

void arvTool(const std::string &simcam, const Arguments &features, Series &series) {
    Arguments command{"arv-tool-0.8", "-a", "127.0.0.2", "control"};
    command.insert(command.end(), features.begin(), features.end());
    withFreshCamera(simcam, series, [&] {
        Child tool(command);
        const std::string shown = tool.finish();
        if (std::count(shown.begin(), shown.end(), '\n') !=
            static_cast<std::ptrdiff_t>(features.size()))
            throw std::runtime_error("arv-tool-0.8 did not show every feature:\n" + shown);
        series.add("process_ms", tool.milliseconds());
        series.add("processor_ms", tool.processorMilliseconds());
    });
}

void arvToolVersion(Series &series) {
    Child tool({"arv-tool-0.8", "--version"});
    tool.finish();
    series.add("process_ms", tool.milliseconds());
}

void ourProbe(const std::string &simcam, const std::string &probe, Series &series) {
    withFreshCamera(simcam, series, [&] {
        Child child({probe});
        long long finding = 0, rest = 0;
        const std::string said = child.finish();
        if (std::sscanf(said.c_str(), "%lld %lld", &finding, &rest) != 2)
            throw std::runtime_error("the probe said no times: " + said);
        series.add("process_ms", child.milliseconds() - static_cast<double>(finding) / 1000);
        series.add("processor_ms", child.processorMilliseconds());
        series.add("open_to_close_ms", static_cast<double>(rest) / 1000);
    });
}

/** Of the whole process; what callgrind saw is left at \p out. */
double instructionsOfProbe(const std::string &simcam, const std::string &probe,
                           const std::string &out) {
    Series counted;
    withFreshCamera(simcam, counted, [&] {
        Child({"valgrind", "--quiet", "--tool=callgrind", "--callgrind-out-file=" + out, probe})
            .finish();
    });
    std::ifstream file(out);
    for (std::string line; std::getline(file, line);) {
        double instructions = 0;
        if (std::sscanf(line.c_str(), "totals: %lf", &instructions) == 1)
            return instructions;
    }
    throw std::runtime_error("callgrind counted nothing in " + out);
}

double millisecondsOf(const Arguments &command) {
    Child child(command);
    child.finish();
    return child.milliseconds();
}

void probeAll(const std::string &simcam, const std::string &kxinfo, Series &series) {
    constexpr int kRuns = 5;
    unsetenv("KXGIGE_DISCOVERY_MS");
    for (const int count : {1, 8}) {
        Arguments serve{simcam};
        for (int i = 0; i < count; ++i) {
            serve.emplace_back("--camera");
            serve.push_back("S" + std::to_string(i) + "@127.0.0.1" + std::to_string(i));
        }
        Child cameras(serve);
        if (cameras.line().empty())
            throw std::runtime_error("the virtual cameras did not start");
        for (int run = 0; run < kRuns; ++run) {
            series.add("all_of_" + std::to_string(count) + "_ms",
                       millisecondsOf({kxinfo, "probe", "--all"}));
            if (count == 1)
                series.add("one_ms", millisecondsOf({kxinfo, "probe", "S0"}));
        }
        cameras.stop();
        cameras.finish();
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 6) {
        std::fprintf(stderr,
                     "usage: bench-wire RUNS KXINFO-SIMCAM BENCH-WIRE-PROBE KXINFO OUT.json\n");
        return 2;
    }
    try {
        setenv("KXGIGE_DISCOVERY_MS", "50", 1);
        const int runs = std::atoi(argv[1]);
        Series probe, same, least, version, all;
        for (int run = 0; run < runs; ++run) {
            ourProbe(argv[2], argv[3], probe);
            arvTool(argv[2], kSame, same);
            arvTool(argv[2], kLeast, least);
            arvToolVersion(version);
        }
        probeAll(argv[2], argv[4], all);
        const auto withTime = [&](const Series &series) {
            json medians = series.medians();
            medians["open_to_close_ms"] = medians.at("process_ms").get<double>() -
                                          version.medians().at("process_ms").get<double>();
            return medians;
        };
        json own = probe.medians();
        own["instructions"] = instructionsOfProbe(
            argv[2], argv[3],
            std::filesystem::path(argv[5]).replace_filename("wire-probe.callgrind").string());
        const json result{{"runs", runs},
                          {"probe", own},
                          {"probe_all", all.medians()},
                          {"arv_tool_same", withTime(same)},
                          {"arv_tool_least", withTime(least)}};
        std::ofstream(argv[5]) << result.dump(2) << '\n';
    } catch (const std::exception &error) {
        std::fprintf(stderr, "bench-wire: %s\n", error.what());
        return 1;
    }
    return 0;
}
