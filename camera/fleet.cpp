#include "camera/fleet.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "camera/camera.h"
#include "camera/child_processes.h"
#include "camera/find.h"
#include "cli/process.h"
#include "gvcp/network.h"

namespace kxinfo {

namespace {

// Ten minutes: a lookup table is written entry by entry.
constexpr ChildLimits kLimits = {std::chrono::minutes(10), size_t{16} << 20, 8,
                                 std::chrono::seconds(15)};

const std::string kMark = "kxinfo: "; // in front of what is told

FleetResult resultOf(const gvcp::Found &camera, const ChildEnd &end, bool logs) {
    FleetResult result{camera, end.status, {}, {}, end.out};
    if (Json::accept(end.out)) {
        result.document = Json::parse(end.out);
        result.out.clear(); // it may be large
    }
    std::istringstream lines(end.err);
    for (std::string line; std::getline(lines, line);) {
        // A log line without an end has the next message behind it.
        const size_t mark = logs ? line.find(kMark) : line.rfind(kMark, 0);
        if (logs && mark != 0)
            result.log.push_back(line.substr(0, mark));
        if (mark != line.npos)
            result.messages.push_back(line.substr(mark + kMark.size()));
        else if (!logs)
            result.messages.push_back(line);
    }
    if (!end.failure.empty()) {
        result.status = kFailed;
        if (!stopSignal() || result.messages.empty())
            result.messages.push_back("kxinfo " + end.failure);
    }
    return result;
}

} // namespace

std::vector<FleetResult>
onAllCameras(const std::function<Words(const gvcp::Found &camera)> &arguments, bool logs) {
    std::vector<gvcp::Found> cameras = gvcp::discover(gvcp::searchFromEnvironment());
    if (const std::string why = noDalsaCamera(cameras); !why.empty())
        tell(why);
    cameras.erase(std::remove_if(cameras.begin(), cameras.end(),
                                 [](const auto &camera) { return !isDalsa(camera.identity); }),
                  cameras.end());
    std::vector<FleetResult> results;
    std::vector<size_t> asked; // of the results
    std::vector<Words> commands;
    for (const gvcp::Found &camera : cameras) {
        results.push_back({camera, kNoCamera});
        Words command = arguments(camera);
        if (command.empty())
            continue;
        command.insert(command.begin(), "/proc/self/exe");
        commands.push_back(std::move(command));
        asked.push_back(results.size() - 1);
    }
    const std::vector<ChildEnd> ends = runChildren(commands, Collect::Both, kLimits);
    for (size_t i = 0; i < ends.size(); ++i)
        results[asked[i]] = resultOf(cameras[asked[i]], ends[i], logs);
    return results;
}

int statusOf(const std::vector<FleetResult> &results) {
    int status = results.empty() ? kNoCamera : kDone;
    for (const FleetResult &result : results)
        status = std::max(status, result.status);
    return status;
}

void tellMessages(const std::vector<FleetResult> &results) {
    nlohmann::ordered_map<std::string, Words> serials; // of whom each is told
    for (const FleetResult &result : results)
        for (const std::string &message : result.messages)
            serials[message].push_back(nameOf(result.found.identity).serial);
    for (const auto &[message, all] : serials) {
        const std::string who = (all.size() > 1 ? "cameras " : "camera ") + joinedBriefly(all);
        tell(message.rfind(who, 0) == 0 ? message : say(who, ": ", message));
    }
}

int showFleet(const std::vector<FleetResult> &results, const Words &columns,
              const std::function<Words(const FleetResult &result)> &cells) {
    std::vector<Row> rows{{columns}};
    rows.front().cells.insert(rows.front().cells.begin(), {"Serial", "Address"});
    for (const FleetResult &result : results) {
        const gvcp::Identity &identity = result.found.identity;
        Words row = cells(result);
        if (row.empty())
            row.emplace_back("failed");
        row.insert(row.begin(), {nameOf(identity).serial, gvcp::dotted(identity.address)});
        rows.push_back({row});
    }
    if (!results.empty())
        writeOut(tableText(rows));
    tellMessages(results);
    return statusOf(results);
}

int showFleetJson(const std::vector<FleetResult> &results) {
    Json cameras = Json::array();
    for (const auto &[found, status, messages, log, out, document] : results)
        cameras.push_back({{"serial", nameOf(found.identity).serial},
                           {"address", gvcp::dotted(found.identity.address)},
                           {"status", status},
                           {"messages", messages},
                           {"document", document}});
    writeOut(jsonText({{"version", 1}, {"cameras", cameras}}));
    return statusOf(results);
}

} // namespace kxinfo
