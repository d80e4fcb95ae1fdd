// Each camera is probed by 'kxinfo probe SERIAL' in a process of its own: the plug-in serves one
// camera at a time, and what one camera does to it must not reach the others.

#include "probe_all.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "camera_result.h"
#include "child_processes.h"
#include "listing.h"
#include "messages.h"
#include "standard_output.h"

namespace kxinfo {

namespace {

using Words = std::vector<std::string>;

// A probe takes a second or two; a camera that falls silent again and again makes it longer.
constexpr ChildLimits kLimits = {std::chrono::seconds(60), size_t{16} * 1024 * 1024, 8};

constexpr size_t kMostCamerasSeen = 8; // by the plug-in

Words commandFor(const std::string &serial, const ProbeRequest &request) {
    Words command{"/proc/self/exe", "probe"};
    const auto add = [&command](std::initializer_list<std::string> words) {
        command.insert(command.end(), words);
    };
    if (request.json)
        add({"--json"});
    if (request.log.mode) {
        const char *const sinks[] = {"none", "stdout", "syslog", "both"};
        const char *const levels[] = {"error", "warning", "info", "debug"};
        add({"--log", sinks[request.log.mode]});
        add({"--level", levels[request.log.level - KX_LOG_LEVEL_ERROR]});
    }
    if (request.plugin)
        add({"--plugin", *request.plugin});
    add({"--", serial});
    return command;
}

// This process's own.
Words environment() {
    Words variables;
    for (char **variable = environ; *variable; ++variable)
        variables.emplace_back(*variable);
    return variables;
}

/** What the plug-in's listing tells. */
struct Network {
    std::vector<ListedCamera> cameras; ///< the Dalsa ones
    Words seen;                        ///< as of seenSerials()
    bool wholeSerials;                 ///< as of Plugin::findsWholeSerials()
};

// The camera that the plug-in would open instead of this one: it takes the first, of whatever
// maker, whose serial number begins with the given one, unless its platform shows it no others.
std::optional<std::string> cameraInFrontOf(const ListedCamera &camera, const Network &network) {
    const auto fits = [&](const std::string &serial) {
        return network.wholeSerials ? serial == camera.serial
                                    : serial.compare(0, camera.serial.size(), camera.serial) == 0;
    };
    for (size_t number = 0; number < std::min<size_t>(camera.number, network.seen.size()); ++number)
        if (fits(network.seen[number]))
            return network.seen[number];
    for (const ListedCamera &other : network.cameras)
        if (other.number < camera.number && fits(other.serial))
            return other.serial;
    return std::nullopt;
}

CameraResult cannotBeNamed(const ListedCamera &camera, const std::string &inFront) {
    return {camera.serial,
            kNoCamera,
            {"the plug-in opens the first camera whose serial number begins with \"" +
             camera.serial + "\", and that is another one, \"" + inFront +
             "\". To probe this camera, disconnect the other one for the time."},
            {},
            {},
            nullptr};
}

std::vector<CameraResult> probeEach(const Network &network, const ProbeRequest &request) {
    std::vector<CameraResult> results;
    std::vector<size_t> places; // of those that are probed
    std::vector<Words> commands;
    for (const ListedCamera &camera : network.cameras) {
        if (const auto inFront = cameraInFrontOf(camera, network)) {
            results.push_back(cannotBeNamed(camera, *inFront));
            continue;
        }
        places.push_back(results.size());
        commands.push_back(commandFor(camera.serial, request));
        results.push_back({camera.serial, kFailed, {}, {}, {}, nullptr});
    }

    const auto ends = runChildren(commands, environment(), kLimits);
    for (size_t i = 0; i < ends.size(); ++i) {
        CameraResult &result = results[places[i]];
        result = readResult(result.serial, ends[i], request, kLimits);
    }
    return results;
}

void showTables(const std::vector<CameraResult> &results) {
    bool first = true;
    for (const CameraResult &result : results) {
        if (!result.table.empty()) {
            writeOut((first ? "" : "\n") + result.table +
                     (result.table.back() == '\n' ? "" : "\n"));
            (void)fflush(stdout); // its messages follow
            first = false;
        }
        for (const std::string &message : result.messages)
            tell("camera \"" + result.serial + "\": " + message);
    }
}

void showJson(const std::vector<CameraResult> &results, bool moreMayExist) {
    Json cameras = Json::array();
    for (const CameraResult &result : results) {
        cameras.push_back({{"serial", result.serial},
                           {"status", result.status},
                           {"messages", result.messages},
                           {"parameters", result.parameters}});
        std::istringstream lines(result.log);
        for (std::string line; std::getline(lines, line);)
            (void)fprintf(stderr, "%s: %s\n", result.serial.c_str(), line.c_str());
    }
    writeOut(jsonText({{"version", 1}, {"moreMayExist", moreMayExist}, {"cameras", cameras}}));
}

} // namespace

int probeAll(const Plugin &plugin, const ProbeRequest &request) {
    // Nobody has asked for the log of this run: it goes to no sink, and tells all cameras here.
    const CollectedRun run = runCollected(plugin, nullptr, 0, KX_LOG_LEVEL_DEBUG);
    const Listing listing =
        readListing(run, "Run 'kxinfo list --level debug' to see how far it came.");
    if (listing.status != kDone && listing.status != kNoCamera)
        return listing.status;

    const Network network{listing.cameras, seenSerials(run.log), plugin.findsWholeSerials()};
    const bool moreMayExist = network.seen.size() >= kMostCamerasSeen;
    const auto results = probeEach(network, request);
    if (request.json)
        showJson(results, moreMayExist);
    else
        showTables(results);
    if (moreMayExist)
        tell("the plug-in sees eight cameras at most, and it sees as many: more may be there, "
             "which 'kxinfo probe SERIAL' may find by their whole serial numbers alone. To list "
             "them, disconnect some of these for the time, or set KXGIGE_INTERFACES to search one "
             "network at a time.");
    int status = listing.status;
    for (const CameraResult &result : results)
        status = std::max(status, result.status);
    return status;
}

} // namespace kxinfo
