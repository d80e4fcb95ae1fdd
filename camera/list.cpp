// kxinfo list: the cameras of all makers that answer, and how each of them stands.

#include <algorithm>
#include <memory>

#include "camera/command.h"
#include "camera/find.h"
#include "cli/json.h"

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

int list(bool json) {
    const Cameras cameras = gvcp::discover(gvcp::searchFromEnvironment());
    const std::vector<State> states = statesOf(cameras);
    const std::vector<gvcp::Interface> up = gvcp::interfacesUp();
    const auto orNull = [](const std::string &text) { return text.empty() ? Json() : Json(text); };
    std::vector<Row> rows{{{"Serial", "Model", "Maker", "Address", "State", "Host", "Interface",
                            "MAC address", "User name"},
                           false}};
    Json all = Json::array();
    Words unreachable;
    for (size_t i = 0; i < cameras.size(); ++i) {
        const auto &[maker, model, serial, userName] = nameOf(cameras[i].identity);
        const auto &[state, text, problem, by] = states[i];
        const std::string address = gvcp::dotted(cameras[i].identity.address);
        const std::string mac = macText(macOf(cameras[i].identity));
        const std::string interface = interfaceOf(cameras[i], up);
        const std::string host = hostText(cameras, i);
        rows.push_back(
            {{serial, model, maker, address, text, host, interface, mac, userName}, false});
        std::replace(rows.back().cells.begin(), rows.back().cells.end(), std::string(),
                     std::string(kNone));
        const Json controller =
            by.address ? Json{{"address", gvcp::dotted(by.address)}, {"port", by.port}} : Json();
        all.push_back({{"manufacturer", maker},
                       {"model", model},
                       {"serial", serial},
                       {"userName", orNull(userName)},
                       {"address", address},
                       {"mac", mac},
                       {"interface", orNull(interface)},
                       {"seenByHost", host == kSeen},
                       {"state", state},
                       {"controller", controller},
                       {"problem", orNull(problem)}});
        if (state == "unreachable")
            unreachable.push_back(say("camera ", serial, " is not reachable from here: ", problem,
                                      ".", kGiveAddress));
    }
    if (json)
        writeOut(jsonText({{"version", 2}, {"cameras", all}}));
    else if (!cameras.empty())
        writeOut(tableText(rows));
    if (const std::string why = noDalsaCamera(cameras); !why.empty())
        tell(why);
    for (const Shared &shared : sharedBy(cameras))
        tell(shared.seen, ". ", shared.remedy, ".");
    for (const std::string &why : unreachable)
        tell(why);
    return cameras.empty() ? kNoCamera : kDone;
}

} // namespace

Run declareList(CLI::App &command) {
    const auto json = std::make_shared<bool>(false);
    command.add_flag("--json", *json, "Write a JSON document");
    command.footer("Example:\n  kxinfo list");
    return [json] { return list(*json); };
}

} // namespace kxinfo
