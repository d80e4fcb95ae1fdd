// kxinfo watch: features as they change, without control of the camera.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <thread>

#include "camera/command.h"
#include "cli/json.h"

namespace kxinfo {

namespace {

using Clock = std::chrono::system_clock;
using Seconds = std::chrono::duration<double>;

constexpr double kShortestInterval = 0.05; // seconds
constexpr double kLongestInterval = 3600;
// How soon a signal ends a wait.
constexpr Seconds kSlice{0.05};

struct Request {
    CameraArgument camera;
    Words names;
    double interval = 1;
    unsigned count = 0; ///< looks; 0: until it is stopped
    bool json = false, table = false, metrics = false;
};

std::string timeText(Clock::time_point time, bool forPrograms) {
    const time_t seconds = Clock::to_time_t(time);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count() %
        1000;
    std::tm parts{};
    (void)(forPrograms ? gmtime_r(&seconds, &parts) : localtime_r(&seconds, &parts));
    char text[40];
    const size_t size = std::strftime(text, sizeof text, forPrograms ? "%FT%T" : "%T", &parts);
    (void)snprintf(text + size, sizeof text - size, ".%03d%s", static_cast<int>(milliseconds),
                   forPrograms ? "Z" : "");
    return text;
}

std::string dumped(const Json &document) {
    return document.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Without the time: what differs from one look to the next.
std::string jsonOf(const Reading &reading) {
    Json members = {{"name", reading.feature->name},
                    {"value", shownValue(*reading.feature, reading.value)}};
    if (!reading.problem.empty())
        members["problem"] = reading.problem;
    return dumped(members);
}

// OpenMetrics: label values are escaped as JSON's texts are.
std::string metricsOf(const Camera &camera, const std::vector<Reading> &readings) {
    std::string text = "# TYPE kxinfo_feature gauge\n"
                       "# HELP kxinfo_feature A feature of a camera; entries and texts are 1.\n";
    for (const Reading &reading : readings) {
        if (!hasValue(reading.value))
            continue;
        const auto label = [](const char *name, const std::string &value) {
            return std::string(name) + '=' + dumped(value);
        };
        text += "kxinfo_feature{" + label("serial", camera.name().serial) + ',' +
                label("model", camera.name().model) + ',' + label("feature", reading.feature->name);
        const Json value = shownValue(*reading.feature, reading.value);
        if (std::holds_alternative<std::string>(reading.value))
            text += ',' + label("entry", value) + "} 1\n";
        else if (value.is_string()) // NaN, Infinity
            text += "} " + value.get<std::string>() + '\n';
        else if (value.is_boolean())
            text += value ? "} 1\n" : "} 0\n";
        else
            text += "} " + value.dump() + '\n';
    }
    return text + "# EOF\n";
}

void wait(Seconds interval) {
    const auto start = std::chrono::steady_clock::now();
    for (auto left = interval; !stopSignal() && left.count() > 0;
         left = interval - (std::chrono::steady_clock::now() - start))
        std::this_thread::sleep_for(std::min(kSlice, left));
}

int watch(const Request &request) {
    const auto work = [&](Camera &camera, Switches &, const Words &names) {
        const auto features = featuresMeant(names.empty() ? Words{"DeviceTemperature"} : names);
        for (const Feature *feature : features)
            if (camera.node(feature->node).kind() == Kind::Missing)
                throw Error(kWrongUsage,
                            whyMissing(camera, *feature, '"' + shortened(feature->name) + '"'), ".",
                            nearestFeatures(feature->name));
        std::vector<std::optional<std::string>> shown(features.size());
        for (unsigned look = 0; !brokenPipe(); wait(Seconds(request.interval))) {
            stopIfAsked();
            std::vector<Reading> readings;
            readings.reserve(features.size());
            for (const Feature *feature : features)
                readings.push_back(readFeature(camera, *feature, nullptr));
            for (size_t i = 0; i < features.size() && !request.table && !request.metrics; ++i) {
                const std::string now =
                    request.json ? jsonOf(readings[i]) : readingText(readings[i]);
                if (shown[i] == now)
                    continue;
                const std::string time = timeText(Clock::now(), request.json);
                writeOut(request.json
                             ? "{\"time\":\"" + time + "\"," + now.substr(1) + '\n'
                             : time + "  " +
                                   changeText(features[i]->name, shown[i].value_or(now), now));
                shown[i] = now;
            }
            if (request.table)
                writeOut((isatty(STDOUT_FILENO) ? "\x1b[H\x1b[2J" : "") + // from its top
                         tableOf(camera, readings));
            if (request.metrics)
                writeOut(metricsOf(camera, readings));
            if (request.metrics || ++look == request.count)
                break;
        }
        return kDone;
    };
    return onFeatures(request.camera, request.names, Purpose::Watch, work);
}

} // namespace

Run declareWatch(CLI::App &command) {
    const auto request = requestFor<Request>(command);
    addOption(command, "FEATURE", request->names, "Names of features; none: DeviceTemperature");
    addOption(command, "--interval", request->interval, "Seconds between two looks; 1 unless given",
              "SECONDS")
        ->check(CLI::Range(kShortestInterval, kLongestInterval));
    addOption(command, "--count", request->count, "End after so many looks; none: when stopped",
              "COUNT");
    const auto table = command.add_flag("--table", request->table, "Show a table that stays");
    const auto json =
        command.add_flag("--json", request->json, "Write JSON, a line for each change");
    const auto metrics = command.add_flag("--metrics", request->metrics,
                                          "Write OpenMetrics text for a scraper, once");
    table->excludes(json)->excludes(metrics);
    metrics->excludes(json);
    command.footer(R"(Asks the camera anew at each look, writes nothing to it and takes no control.

Example:
  kxinfo watch S1234567 DeviceTemperature --interval 0.5 --count 2)");
    return [request] { return watch(*request); };
}

} // namespace kxinfo
