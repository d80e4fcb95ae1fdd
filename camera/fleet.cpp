#include "camera/fleet.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <sstream>
#include <system_error>
#include <utility>

#include "camera/camera.h"
#include "camera/find.h"
#include "cli/error.h"
#include "cli/json.h"
#include "cli/process.h"
#include "gvcp/environment.h"
#include "gvcp/network.h"

namespace kxinfo {

namespace {

// A lookup table is written entry by entry.
constexpr std::chrono::minutes kLongest{10};
constexpr size_t kMostOutput = size_t{16} << 20;
constexpr size_t kSideBySide = 8;
// Cameras that one message names.
constexpr size_t kMostNamed = 8;

const std::string kMark = "kxinfo: "; // in front of what is told

int highest(const std::vector<FleetResult> &results) {
    int status = kDone;
    for (const FleetResult &result : results)
        status = std::max(status, result.status);
    return status;
}

} // namespace

std::string failureOf(const ChildEnd &end, const ChildLimits &limits) {
    using How = ChildEnd::How;
    const std::string number = std::to_string(end.number);
    switch (end.how) {
    case How::NotStarted:
        return "could not be started: " + std::generic_category().message(end.number) +
               ". End other programs, and try again.";
    case How::Signalled:
        // NOLINTNEXTLINE(concurrency-mt-unsafe)
        return "crashed, by signal " + number + " (" + strsignal(end.number) + ").";
    case How::Overdue:
        return "had not ended after " +
               std::to_string(
                   std::chrono::duration_cast<std::chrono::seconds>(*limits.time).count()) +
               " s, and was ended.";
    case How::Flooding:
        return "wrote more than " + std::to_string(limits.output >> 20) + " MiB, and was ended.";
    default:
        return end.number > kFailed ? "ended with status " + number + ", expected was 0 to 3." : "";
    }
}

std::vector<FleetResult>
onAllCameras(const std::function<Words(const gvcp::Found &camera)> &arguments) {
    std::vector<gvcp::Found> cameras = gvcp::discover(gvcp::searchFromEnvironment());
    if (const std::string why = noDalsaCamera(cameras); !why.empty())
        throw Error(kNoCamera, why);
    cameras.erase(std::remove_if(cameras.begin(), cameras.end(),
                                 [](const auto &camera) { return !isDalsa(camera.identity); }),
                  cameras.end());
    std::vector<Words> commands;
    for (const gvcp::Found &camera : cameras) {
        commands.push_back(arguments(camera));
        commands.back().insert(commands.back().begin(), "/proc/self/exe");
    }
    const ChildLimits limits = {kLongest, kMostOutput, kSideBySide};
    const std::vector<ChildEnd> ends = runChildren(commands, Collect::Both, limits);
    stopIfAsked();
    std::vector<FleetResult> results;
    for (size_t i = 0; i < ends.size(); ++i) {
        const std::string failure = failureOf(ends[i], limits);
        FleetResult result{cameras[i], failure.empty() ? ends[i].number : kFailed, {}, ends[i].out};
        std::istringstream lines(ends[i].err);
        for (std::string line; std::getline(lines, line);)
            result.messages.push_back(line.substr(line.rfind(kMark, 0) == 0 ? kMark.size() : 0));
        if (!failure.empty())
            result.messages.push_back("kxinfo " + failure);
        results.push_back(std::move(result));
    }
    return results;
}

int showFleet(const std::vector<FleetResult> &results, const Words &columns,
              const std::function<Words(const FleetResult &result)> &cells) {
    std::vector<Row> rows{{{"Serial", "Address"}}};
    rows.front().cells.insert(rows.front().cells.end(), columns.begin(), columns.end());
    for (const FleetResult &result : results) {
        const gvcp::Identity &identity = result.found.identity;
        Words row{nameOf(identity).serial, gvcp::dotted(identity.address)};
        const Words own = cells(result);
        row.insert(row.end(), own.begin(), own.end());
        if (own.empty())
            row.emplace_back("failed");
        rows.push_back({row});
    }
    writeOut(tableText(rows));
    // What many say is told once.
    std::vector<std::pair<std::string, Words>> told;
    for (const FleetResult &result : results)
        for (const std::string &message : result.messages) {
            const auto known = std::find_if(
                told.begin(), told.end(), [&](const auto &each) { return each.first == message; });
            Words &serials =
                known == told.end() ? told.emplace_back(message, Words{}).second : known->second;
            if (serials.size() <= kMostNamed)
                serials.push_back(nameOf(result.found.identity).serial);
        }
    for (auto &[message, serials] : told) {
        if (serials.size() > kMostNamed)
            serials.back() = "more";
        std::string who = serials.size() > 1 ? "cameras " : "camera ";
        who.append(joined(serials, " and "));
        tell(message.rfind(who, 0) == 0 ? message : who.append(": ").append(message));
    }
    return highest(results);
}

int showFleetJson(const std::vector<FleetResult> &results) {
    Json cameras = Json::array();
    for (const FleetResult &result : results) {
        Json document = Json::parse(result.out, nullptr, false);
        cameras.push_back({{"serial", nameOf(result.found.identity).serial},
                           {"address", gvcp::dotted(result.found.identity.address)},
                           {"status", result.status},
                           {"messages", result.messages},
                           {"document", document.is_discarded() ? Json() : std::move(document)}});
    }
    writeOut(jsonText({{"version", 1}, {"cameras", cameras}}));
    return highest(results);
}

} // namespace kxinfo
