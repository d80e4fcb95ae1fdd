#include "camera/find.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <system_error>

#include "camera/camera.h"
#include "camera/child_processes.h"

namespace kxinfo {

namespace {

using namespace std::chrono_literals;
using Cameras = std::vector<gvcp::Found>;

// For a second camera with a serial number that should be the only one.
constexpr std::chrono::milliseconds kMoment{20};

// Cameras that are asked at the same time, and how long new ones are. Two questions, so that
// all are shown also where most of them do not answer.
constexpr size_t kMostAsked = 64;
constexpr std::chrono::seconds kLongestAsking{2};

Cameras those(const Cameras &cameras, const std::function<bool(const gvcp::Identity &)> &fits) {
    Cameras found;
    std::copy_if(cameras.begin(), cameras.end(), std::back_inserter(found),
                 [&](const gvcp::Found &camera) { return fits(camera.identity); });
    return found;
}

std::string listed(const Cameras &cameras) {
    Words words;
    for (const gvcp::Found &camera : cameras) {
        const auto [maker, model, serial, userName] = nameOf(camera.identity);
        words.push_back(
            say(serial, " (", maker, " ", model, ", ", gvcp::dotted(camera.identity.address), ")"));
    }
    return joinedBriefly(words);
}

State controlledBy(const gvcp::Controller &controller) {
    State state{"controlled", "controlled by another program", textOf(controller), controller};
    if (controller.address)
        state.text += say(" (", gvcp::dotted(controller.address), ", port ", controller.port, ")");
    return state;
}

State stateOf(const gvcp::Found &camera) {
    try {
        const gvcp::Controller controller = channelTo(camera)->controller();
        return controller.privilege ? controlledBy(controller) : State{"free", "free", "", {}};
    } catch (const gvcp::Controlled &error) {
        return controlledBy(error.by());
    } catch (const gvcp::Error &error) {
        if (error.cause() == gvcp::Cause::Unreachable)
            return {"unreachable", "not reachable from here", error.what(), {}};
        return {"silent", error.what(), error.what(), {}};
    } catch (const std::exception &error) { // this computer's
        return {"unknown", "not asked", error.what(), {}};
    }
}

// The only one; or what is wrong, which begins as given.
gvcp::Found only(const Cameras &cameras, const std::string &several) {
    if (cameras.size() == 1)
        return cameras.front();
    throw Error(kNoCamera, several, ": ", listed(cameras),
                ". Name one of them, for example by its address.");
}

// A colon or a dash stands between the bytes.
std::optional<uint64_t> macFrom(std::string text) {
    std::replace(text.begin(), text.end(), '-', ':');
    std::string digits = text;
    digits.erase(std::remove(digits.begin(), digits.end(), ':'), digits.end());
    const uint64_t mac = std::strtoull(digits.c_str(), nullptr, 16);
    return macText(mac) == lowered(text) ? std::optional(mac) : std::nullopt;
}

gvcp::Found cameraAt(uint32_t address) {
    gvcp::Search search;
    search.window = gvcp::searchFromEnvironment().window;
    search.addresses = {address};
    try {
        if (const Cameras answered = gvcp::discover(search); !answered.empty())
            return answered.front();
    } catch (const std::system_error &) {
        // There is no way there.
    }
    const std::string outside = gvcp::whyOutside(address);
    throw Error(kNoCamera, "no camera answers at ", gvcp::dotted(address),
                (outside.empty() ? ". Check that the camera has power, that this is its address "
                                   "('kxinfo list' shows it), and that no firewall keeps its "
                                   "answer away; then try again."
                                 : ": " + outside + "." + kGiveAddress));
}

// All that answer; of one with exactly this serial number or MAC address, no
// more than is needed to know that it is meant.
Cameras camerasFor(const std::string &name) {
    gvcp::Search search = gvcp::searchFromEnvironment();
    search.expected.reset(); // the one that is meant may be the last to answer
    search.serial = name;
    search.mac = macFrom(name);
    Cameras cameras = gvcp::discover(search);
    if (cameras.size() != 1 || cameras.front().identity.serial != name)
        return cameras;
    // One of another maker is meant only if no Dalsa camera has that number.
    if (isDalsa(cameras.front().identity))
        search.window = std::min(search.window, kMoment);
    search.serial.clear();
    const gvcp::Identity first = cameras.front().identity;
    const Cameras others = those(gvcp::discover(search), [&](const auto &identity) {
        return identity.address != first.address || macOf(identity) != macOf(first);
    });
    cameras.insert(cameras.end(), others.begin(), others.end());
    return cameras;
}

gvcp::Found cameraNamed(const std::string &name, const std::string &shown) {
    const Cameras cameras = camerasFor(name);
    if (cameras.empty())
        throw NoneFits(kNoCamera, kNoDalsaCamera);
    const auto hasSerial = [&](const auto &camera) { return nameOf(camera).serial == name; };
    // The first way in which it is meant for any of them.
    const std::function<bool(const gvcp::Identity &)> ways[] = {
        [&](const auto &camera) { return isDalsa(camera) && hasSerial(camera); },
        hasSerial,
        [&](const auto &camera) { return macFrom(name) == macOf(camera); },
        [&](const auto &camera) { return nameOf(camera).userName == name; },
        [&](const auto &camera) {
            return isDalsa(camera) && nameOf(camera).serial.find(name) == 0;
        },
    };
    for (const auto &way : ways)
        if (const Cameras fitting = those(cameras, way); !fitting.empty())
            return only(fitting, "several cameras fit " + shown);
    throw NoneFits(kNoCamera,
                   "no camera fits " + shown + ". These answered: " + listed(cameras) + ".");
}

} // namespace

std::string noDalsaCamera(const Cameras &answered) {
    if (answered.empty() || !those(answered, isDalsa).empty())
        return answered.empty() ? kNoDalsaCamera : "";
    return "no Dalsa camera answered, but cameras of other makers did: " + listed(answered) +
           ". All commands but probe work on one that is named exactly: by its serial number, "
           "address, MAC address or user name.";
}

gvcp::Found chosenCamera(const std::optional<std::string> &name) {
    std::string meant = name.value_or("");
    std::string source;
    if (const char *variable = getenv(kCameraVariable); meant.empty() && variable) {
        meant = variable;
        source = std::string(" (") + kCameraVariable + ")";
    }
    if (meant.empty()) {
        const Cameras cameras = gvcp::discover(gvcp::searchFromEnvironment());
        if (const std::string why = noDalsaCamera(cameras); !why.empty())
            throw Error(kNoCamera, why);
        return only(those(cameras, isDalsa), "several cameras answered");
    }
    if (const auto address = gvcp::addressFrom(meant))
        return cameraAt(*address);
    return cameraNamed(meant, '"' + shortened(meant) + '"' + source);
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

std::unique_ptr<gvcp::Channel> channelTo(const gvcp::Found &camera) {
    gvcp::Waits waits;
    waits.answer = {100ms, 150ms, 200ms, 250ms};
    waits.longestPending = waits.longestBusy = 500ms;
    waits.longestOpening = 1500ms;
    return std::make_unique<gvcp::Channel>(
        gvcp::Place{camera.identity.address, camera.host, camera.interface != 0},
        gvcp::Access::Monitor, waits);
}

std::vector<Shared> sharedBy(const Cameras &cameras) {
    std::map<std::pair<bool, std::string>, Words> owners; // of serial numbers, and of addresses
    for (const gvcp::Found &camera : cameras) {
        const std::string address = gvcp::dotted(camera.identity.address);
        const std::string serial = nameOf(camera.identity).serial;
        owners[{false, serial}].push_back(address);
        owners[{true, address}].push_back(serial + " (" + macText(macOf(camera.identity)) + ")");
    }
    std::vector<Shared> shared;
    for (const auto &[what, sharing] : owners)
        if (const auto &[isAddress, text] = what; sharing.size() > 1 && !text.empty())
            shared.push_back(
                {isAddress,
                 say(sharing.size(), " cameras have the ",
                     isAddress ? "address " : "serial number ", text, ": ",
                     joined(sharing, " and ")),
                 isAddress
                     ? "Give each of them an address of its own; until then none can be relied on"
                     : "Name each of them by its address or MAC address"});
    return shared;
}

bool isDalsa(const gvcp::Identity &identity) {
    return strcasestr(identity.manufacturer.c_str(), "Dalsa") != nullptr;
}

std::string macText(uint64_t mac) {
    char text[18];
    (void)snprintf(text, sizeof text, "%012llx", static_cast<unsigned long long>(mac));
    std::string result(text);
    for (size_t at = 10; at > 0; at -= 2)
        result.insert(at, ":");
    return result;
}

} // namespace kxinfo
