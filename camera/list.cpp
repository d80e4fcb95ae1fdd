// kxinfo list: the cameras of all makers that answer, and how each of them stands.

#include <algorithm>
#include <memory>

#include "camera/command.h"
#include "camera/find.h"
#include "cli/json.h"
#include "gvcp/environment.h"

namespace kxinfo {

namespace {

using Cameras = std::vector<gvcp::Found>;

// The plug-in has room for as many, and looks at the first that the platform finds, by address.
constexpr size_t kSeenByHost = 8;

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
    for (const Shared &shared : sharedBy(cameras))
        tell(shared.seen + ". " + shared.remedy + ".");
    for (const Line &line : lines)
        if (line.state.name == "unreachable")
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
