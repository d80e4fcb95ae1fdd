// Loads a large description by our evaluator and by Aravis', in turn and each time in a process of
// its own; run in a folder where files may be made.
//
//   bench-evaluators RUNS BENCH-DESCRIPTION OUT.json

#include <fstream>

#include "child.h"
#include "large_description.h"

namespace {

using nlohmann::json;

constexpr size_t kMegabyte = 1 << 20;
constexpr const char *kPath = "large-camera.xml";

void load(const std::string &program, const std::string &evaluator, Series &series) {
    Child child({program, evaluator, kPath});
    const std::string said = child.finish();
    double microseconds = 0, peak = 0, heap = 0;
    if (std::sscanf(said.c_str(), "%lf %lf %lf", &microseconds, &peak, &heap) != 3)
        throw std::runtime_error(program + " said: " + said);
    series.add("ms", microseconds / 1000);
    series.add("peak_kb", peak);
    series.add("heap_kb", heap);
}

json evaluators(const std::string &program, int runs) {
    const std::string description = largeDescription(kMegabyte);
    std::ofstream(kPath) << description;
    constexpr const char *kEvaluators[] = {"own", "checked", "aravis"};
    std::map<std::string, Series> series;
    for (int run = 0; run < runs; ++run) {
        for (const char *each : kEvaluators)
            load(program, each, series[each]);
    }
    json result{{"runs", runs}, {"kb", description.size() / 1024}};
    for (const char *each : kEvaluators)
        result[each] = series[each].medians();
    for (const char *each : {"own", "checked"}) {
        for (const char *value : {"ms", "peak_kb", "heap_kb"})
            result[each]["ratio"][value] = result.at(each).at(value).get<double>() /
                                           result.at("aravis").at(value).get<double>();
    }
    return result;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: bench-evaluators RUNS BENCH-DESCRIPTION OUT.json\n");
        return 2;
    }
    try {
        std::ofstream(argv[3]) << evaluators(argv[2], std::atoi(argv[1])).dump(2) << '\n';
    } catch (const std::exception &error) {
        std::fprintf(stderr, "bench-evaluators: %s\n", error.what());
        return 1;
    }
    return 0;
}
