// kxinfo list: the cameras of all makers that answer, and how each of them stands.

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>

#include "camera/command.h"
#include "camera/find.h"
#include "camera/side_by_side.h"
#include "cli/json.h"
#include "gvcp/channel.h"
#include "gvcp/environment.h"

namespace kxinfo {

namespace {

using namespace std::chrono_literals;
using Cameras = std::vector<gvcp::Found>;

// The plug-in has room for as many, and looks at the first that the platform finds, by address.
constexpr size_t kSeenByHost = 8;

// Cameras that are asked at the same time, and how long new ones are. Two questions, so that
// all are shown also where most of them do not answer.
constexpr size_t kMostAsked = 64;
constexpr auto kLongestAsking = 2s;

gvcp::Waits waits() {
    gvcp::Waits waits;
    waits.answer = {100ms, 150ms, 200ms, 250ms};
    waits.longestPending = waits.longestBusy = 500ms;
    waits.longestOpening = 1500ms;
    return waits;
}

constexpr const char *kUnreachable = "unreachable";

struct State {
    std::string name = "unknown"; ///< as programs know it
    std::string text = "not asked";
    std::string problem = "too many others do not answer"; ///< empty: it can be worked on
    gvcp::Controller controller{}; ///< address 0: nobody, or the camera does not tell
};

State controlledBy(const gvcp::Controller &controller) {
    State state{"controlled", "controlled by another program", textOf(controller), controller};
    if (controller.address)
        state.text += " (" + gvcp::dotted(controller.address) + ", port " +
                      std::to_string(controller.port) + ")";
    return state;
}

State stateOf(const gvcp::Found &camera) {
    try {
        gvcp::Channel channel({camera.identity.address, camera.host, camera.interface != 0},
                              gvcp::Access::Monitor, waits());
        const gvcp::Controller controller = channel.controller();
        return controller.privilege ? controlledBy(controller) : State{"free", "free", "", {}};
    } catch (const gvcp::Controlled &error) {
        return controlledBy(error.by());
    } catch (const gvcp::Error &error) {
        if (error.cause() == gvcp::Cause::Unreachable)
            return {kUnreachable, "not reachable from here", error.what(), {}};
        return {"silent", error.what(), error.what(), {}};
    } catch (const std::exception &error) { // this computer's
        return {"unknown", "not asked", error.what(), {}};
    }
}

std::vector<State> statesOf(const Cameras &cameras) {
    std::vector<State> states(cameras.size());
    const auto end = std::chrono::steady_clock::now() + kLongestAsking;
    sideBySide(cameras.size(), kMostAsked, [&](size_t i) {
        if (std::chrono::steady_clock::now() < end)
            states[i] = stateOf(cameras[i]);
    });
    return states;
}

constexpr const char *kSeen = "yes";

const char *hostText(const Cameras &cameras, size_t place) {
    if (!isDalsa(cameras[place].identity))
        return "no: another maker";
    return place < kSeenByHost ? kSeen : "no: beyond the first eight";
}

std::string interfaceOf(const gvcp::Found &camera, const std::vector<gvcp::Interface> &up) {
    for (const gvcp::Interface &interface : up)
        if (camera.interface ? interface.index == camera.interface : interface.address == camera.host)
            return interface.name;
    return "";
}

struct Line {
    CameraName name;
    std::string address, mac, interface, host;
    State state;
};

std::vector<Line> linesOf(const Cameras &cameras) {
    const std::vector<State> states = statesOf(cameras);
    const std::vector<gvcp::Interface> up = gvcp::interfacesUp();
    std::vector<Line> lines;
    for (size_t i = 0; i < cameras.size(); ++i)
        lines.push_back({nameOf(cameras[i].identity), gvcp::dotted(cameras[i].identity.address),
                         macText(macOf(cameras[i].identity)), interfaceOf(cameras[i], up),
                         hostText(cameras, i), states[i]});
    return lines;
}

std::string asTable(const std::vector<Line> &lines) {
    std::vector<Row> rows{{{"Serial", "Model", "Maker", "Address", "State", "Host", "Interface",
                            "MAC address", "User name"},
                           false}};
    for (const auto &[name, address, mac, interface, host, state] : lines)
        rows.push_back({{name.serial, name.model, name.manufacturer, address, state.text, host,
                         interface, mac, name.userName},
                        false});
    for (Row &row : rows)
        std::replace(row.cells.begin(), row.cells.end(), std::string(), std::string(kNone));
    return tableText(rows);
}

Json asJson(const Line &line) {
    const auto orNull = [](const std::string &text) { return text.empty() ? Json() : Json(text); };
    const gvcp::Controller &by = line.state.controller;
    return {{"manufacturer", line.name.manufacturer},
            {"model", line.name.model},
            {"serial", line.name.serial},
            {"userName", orNull(line.name.userName)},
            {"address", line.address},
            {"mac", line.mac},
            {"interface", orNull(line.interface)},
            {"seenByHost", line.host == kSeen},
            {"state", line.state.name},
            {"controller",
             by.address ? Json{{"address", gvcp::dotted(by.address)}, {"port", by.port}} : Json()},
            {"problem", orNull(line.state.problem)}};
}

// What several cameras have that should be one camera's alone.
void tellShared(const char *what, const std::map<std::string, Words> &cameras, const char *remedy) {
    for (const auto &[text, sharing] : cameras)
        if (sharing.size() > 1 && !text.empty())
            tell(std::to_string(sharing.size()) + " cameras have the " + what + " " + text + ": " +
                 joined(sharing, " and ") + remedy);
}

void tellShared(const std::vector<Line> &lines) {
    std::map<std::string, Words> bySerial, byAddress;
    for (const Line &line : lines) {
        bySerial[line.name.serial].push_back(line.address);
        byAddress[line.address].push_back(line.name.serial + " (" + line.mac + ")");
    }
    tellShared("serial number", bySerial, ". Name each of them by its address or MAC address.");
    tellShared("address", byAddress,
               ". Give each of them an address of its own; until then none can be relied on.");
}

int list(bool json) {
    const Cameras cameras = gvcp::discover(gvcp::searchFromEnvironment());
    const std::vector<Line> lines = linesOf(cameras);
    if (json) {
        Json list = Json::array();
        std::transform(lines.begin(), lines.end(), std::back_inserter(list), asJson);
        writeOut(jsonText({{"version", 2}, {"cameras", list}}));
    } else if (!lines.empty()) {
        writeOut(asTable(lines));
    }

    if (const std::string why = noDalsaCamera(cameras); !why.empty())
        tell(why);
    tellShared(lines);
    for (const Line &line : lines)
        if (line.state.name == kUnreachable)
            tell("camera " + line.name.serial +
                 " is not reachable from here: " + line.state.problem + "." + kGiveAddress);
    return lines.empty() ? kNoCamera : kDone;
}

} // namespace

Run declareList(CLI::App &command) {
    const auto json = std::make_shared<bool>(false);
    command.add_flag("--json", *json, "Write a JSON document");
    command.footer("Example:\n"
                   "  kxinfo list");
    return [json] { return list(*json); };
}

} // namespace kxinfo
