// kxinfo address: how a camera gets its address, by the standard's registers and FORCEIP alone: it
// needs no description, and works on a camera that cannot be reached.

#include <algorithm>
#include <chrono>
#include <thread>

#include "camera/command.h"
#include "camera/find.h"
#include "cli/json.h"
#include "gvcp/channel.h"

namespace kxinfo {

namespace {

using namespace gvcp::bootstrap;
using gvcp::Found;
using gvcp::Reach;

// A camera that was given an address is waited for as long as so many searches take.
constexpr int kMostLooks = 10;
constexpr std::chrono::milliseconds kBetweenLooks{100};

struct Request {
    CameraArgument camera;
    std::string set, force, gateway;
    bool evenIfLost = false, json = false;
};

// What is kept for the next start, in the order of writing: the ways last.
constexpr uint32_t kKept[] = {kOwnAddress, kOwnMask, kOwnGateway, kWays};

std::string nameFor(const Found &camera) {
    return "camera " + nameOf(camera.identity).serial + " (" + macText(macOf(camera.identity)) +
           ")";
}

// Of one host: neither multicast and the like, nor the network's own or its broadcast address.
bool isHost(uint32_t address, uint32_t mask) {
    const uint32_t host = address & ~mask;
    return address >> 24 != 0 && address >> 24 < 224 && host != 0 && host != ~mask;
}

Reach reachFrom(const std::string &text, const std::string &gatewayText) {
    const auto gateway = gvcp::addressFrom(gatewayText.empty() ? "0.0.0.0" : gatewayText);
    if (!gateway)
        throw Error(kWrongUsage, "\"", shortened(gatewayText),
                    "\" is no gateway; expected is an address.");
    const size_t slash = text.find('/');
    const auto address = gvcp::addressFrom(text.substr(0, slash));
    for (int bits = 1; address && bits <= 30; ++bits)
        if (const uint32_t mask = UINT32_MAX << (32 - bits);
            text.substr(slash + 1) == std::to_string(bits) && isHost(*address, mask))
            return {*address, mask, *gateway};
    throw Error(kWrongUsage, "\"", shortened(text),
                "\" is no address for a camera; expected is that of one host, with the bits of its "
                "network, 1 to 30, for example 192.168.0.10/24.");
}

// What it says of its addresses, from kKnownWays on; then what is kept.
std::vector<uint32_t> registersOf(const Found &camera, gvcp::Channel &channel) {
    auto words = channel.readRegisters({kMacHigh, kMacLow, kKnownWays, kAddress, kMask, kGateway,
                                        kKept[0], kKept[1], kKept[2], kKept[3]});
    if ((words[0] & 0xffff) != camera.identity.macHigh || words[1] != camera.identity.macLow)
        throw gvcp::Error(gvcp::Cause::Unreachable, "another camera has its address, too");
    words.erase(words.begin(), words.begin() + 2);
    return words;
}

Error failure(const Found &camera, const gvcp::Error &error) {
    stopIfAsked();
    const gvcp::Cause cause = error.cause();
    const bool held = cause == gvcp::Cause::Controlled, far = cause == gvcp::Cause::Unreachable;
    return {held || far ? kNoCamera : kFailed,
            nameFor(camera) + " cannot be worked on: " + error.what() +
                (held ? ". End that program, or wait some seconds if it crashed, and try again."
                 : far || cause == gvcp::Cause::Silent
                     ? ". With '--force ADDRESS' it gets an address where it can be reached."
                     : ".")};
}

int show(const Found &camera, bool asJson) {
    const auto &[address, mask, gateway] =
        std::tie(camera.identity.address, camera.identity.mask, camera.identity.gateway);
    std::vector<uint32_t> words{camera.identity.knownWays, address, mask, gateway, 0, 0, 0,
                                camera.identity.ways};
    Json problem, ways;
    try {
        words = registersOf(camera, *channelTo(camera));
    } catch (const gvcp::Error &error) {
        problem = failure(camera, error).what();
    }
    const auto stateOf = [&](gvcp::AddressWay way) {
        return words[7] & way ? "on" : words[0] & way ? "off" : "unsupported";
    };
    const auto text = [](uint32_t number) { return number ? gvcp::dotted(number) : kNone; };
    const std::vector<Row> rows{
        {{"Way", "State", "Address", "Mask", "Gateway"}, false},
        {{"current", "in use", text(words[1]), text(words[2]), text(words[3])}, false},
        {{"persistent", stateOf(gvcp::kPersistent), text(words[4]), text(words[5]), text(words[6])},
         false},
        {{"dhcp", stateOf(gvcp::kDhcp), kNone, kNone, kNone}, false},
        {{"link-local", stateOf(gvcp::kLinkLocal), kNone, kNone, kNone}, false}};
    for (size_t row = 1; row < rows.size(); ++row)
        for (size_t i = 1; i < rows[row].cells.size(); ++i) {
            const std::string &cell = rows[row].cells[i];
            ways[rows[row].cells[0]][lowered(rows[0].cells[i])] =
                cell == kNone ? Json() : Json(cell);
        }
    const std::string serial = nameOf(camera.identity).serial;
    writeOut(asJson ? jsonText({{"version", 1},
                                {"serial", serial},
                                {"mac", macText(macOf(camera.identity))},
                                {"ways", ways},
                                {"problem", problem}})
                    : "Camera " + serial + "\n\n" + tableText(rows));
    if (problem.is_null())
        return kDone;
    tell(problem);
    return kFailed;
}

gvcp::Search searchFor(uint32_t address) {
    gvcp::Search search = gvcp::searchFromEnvironment();
    search.expected.reset();
    search.serial.clear();
    search.addresses = {address};
    return search;
}

// Throws when the camera would be cut off. Returns the index of the interface where it is.
uint32_t requireSafe(const Found &camera, const Reach &to, bool evenIfLost) {
    using gvcp::Interface;
    const auto up = gvcp::interfacesUp();
    uint32_t index = camera.interface;
    for (const Interface &each : up)
        if (index == 0 && each.address == camera.host)
            index = each.index;
    if (evenIfLost)
        return index;
    const auto isNear = [&](uint32_t other, uint32_t mask) {
        return ((other ^ to.address) & mask) == 0;
    };
    std::string why;
    if (std::none_of(up.begin(), up.end(), [&](const Interface &each) {
            return each.index == index && isNear(each.address, to.mask | each.mask) &&
                   isHost(to.address, each.mask);
        }))
        why = "it is in no network of this computer's interface where the camera is";
    else if (std::any_of(up.begin(), up.end(),
                         [&](const Interface &each) { return each.address == to.address; }))
        why = "this computer has it";
    else if (to.gateway && (!isNear(to.gateway, to.mask) || to.gateway == to.address ||
                            !isHost(to.gateway, to.mask)))
        why = "its gateway " + gvcp::dotted(to.gateway) + " is no other host of its network";
    else
        for (const Found &found : gvcp::discover(searchFor(to.address)))
            if (found.identity.address == to.address &&
                macOf(found.identity) != macOf(camera.identity))
                why = nameFor(found) + " has it";
    if (!why.empty())
        throw Error(kWrongUsage, gvcp::dotted(to.address), " would cut the camera off: ", why,
                    ". Choose another, or add --even-if-lost.");
    return index;
}

void keep(const Found &camera, const Request &request) {
    const Reach to = reachFrom(request.set, request.gateway);
    gvcp::Channel channel({camera.identity.address, camera.host, camera.interface != 0},
                          gvcp::Access::Control);
    const std::vector<uint32_t> before = registersOf(camera, channel);
    if (!(before[0] & gvcp::kPersistent))
        throw Error(kWrongUsage, nameFor(camera), " cannot keep an address.");
    requireSafe(camera, to, request.evenIfLost);
    const std::vector<uint32_t> after = {
        before[0],  before[1], before[2],  before[3],
        to.address, to.mask,   to.gateway, before[7] | gvcp::kPersistent};
    const auto write = [&](size_t i, const std::vector<uint32_t> &words) {
        if (before[4 + i] != after[4 + i])
            channel.writeRegister(kKept[i], words[4 + i]);
    };
    try {
        for (size_t i = 0; i < std::size(kKept); ++i)
            write(i, after);
        if (registersOf(camera, channel) != after)
            throw gvcp::Error(gvcp::Cause::Refused, "it says that it takes this, and does not");
    } catch (const gvcp::Error &) {
        stopWaitingWhen(nullptr);
        for (size_t i = std::size(kKept); i-- > 0;)
            try {
                write(i, before);
            } catch (const gvcp::Error &) { // the others may still be put back
            }
        bool isBack = false;
        try {
            isBack = registersOf(camera, channel) == before;
        } catch (const gvcp::Error &) { // nobody knows
        }
        if (!isBack)
            tell(nameFor(camera), ": what had been set cannot be put back.");
        throw;
    }
}

Found force(Found camera, const Request &request) {
    const Reach to = reachFrom(request.force, request.gateway);
    camera.interface = requireSafe(camera, to, request.evenIfLost);
    try {
        const auto channel = channelTo(camera);
        (void)registersOf(camera, *channel);
        if (const gvcp::Controller by = channel->controller(); by.privilege)
            throw gvcp::Controlled(by);
    } catch (const gvcp::Controlled &) {
        throw;
    } catch (const gvcp::Error &) {
        stopIfAsked(); // what cannot be reached is what this is for
    }
    if (const auto status = gvcp::forceAddress(camera, to).value_or(gvcp::kSuccess))
        throw gvcp::Error(gvcp::Cause::Refused, gvcp::statusText(status));
    gvcp::Search search = searchFor(to.address);
    search.mac = macOf(camera.identity);
    const auto end = std::chrono::steady_clock::now() + kMostLooks * search.window;
    while (std::chrono::steady_clock::now() < end) {
        for (const Found &found : gvcp::discover(search))
            if (found.identity.address == to.address && macOf(found.identity) == search.mac)
                return found;
        std::this_thread::sleep_for(kBetweenLooks);
    }
    throw Error(kFailed, nameFor(camera), " has not come back at ", gvcp::dotted(to.address),
                ". 'kxinfo list' shows whether it does later, or has stayed where it was. If it is "
                "not there, switch it off and on: this address is then forgotten.");
}

int address(const Request &request) {
    if (!request.gateway.empty() && request.set.empty() && request.force.empty())
        throw Error(kWrongUsage, "--gateway goes with --set or --force.");
    stopWaitingWhen(stopOnSignals());
    Found camera{};
    try {
        camera = chosenCamera(request.camera);
        if (!request.force.empty()) {
            camera = force(camera, request);
            tell(nameFor(camera), " has this address until it restarts; --set is for good.");
        } else if (!request.set.empty()) {
            keep(camera, request);
            tell(nameFor(camera), " does so when it restarts: switch it off and on.");
        }
        return show(camera, request.json);
    } catch (const gvcp::Error &error) {
        throw failure(camera, error);
    }
}

} // namespace

Run declareAddress(CLI::App &command) {
    const auto request = requestFor<Request>(command);
    const auto add = [&](const char *name, std::string &to, const char *what) {
        return addOption(command, name, to, what, "ADDRESS");
    };
    const auto set = add("--set", request->set, "Start at this address, such as 192.168.0.10/24");
    add("--force", request->force, "Have this address at once, until it restarts")->excludes(set);
    add("--gateway", request->gateway, "With --set or --force; none unless given");
    command.add_flag("--even-if-lost", request->evenIfLost, "Also where it can hardly be reached");
    command.add_flag("--json", request->json, "Write a JSON document");
    command.footer("Example:\n  kxinfo address S1234567");
    return [request] { return address(*request); };
}

} // namespace kxinfo
