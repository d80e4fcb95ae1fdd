#include "discovery.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <system_error>
#include <tuple>

#include "descriptor.h"
#include "packets.h"

// One socket per network interface, bound to the interface's address: the kernel then sends a
// limited broadcast out of that interface, without privileges. All sockets are read until one
// deadline, and then whatever has come by then, which may be much where the computer is busy. A
// flood of answers can neither hold that up nor, since cameras are kept once and up to a limit,
// fill the memory.

namespace gige {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kShortestWindow = 1;
constexpr int kLongestWindow = 1000;
constexpr int kMostExpected = 64;
constexpr size_t kMaxCameras = 4096;
// How often all sockets are read once there is nothing more to wait for.
constexpr int kMostLateRounds = 4096;

struct Interface {
    std::string name;
    uint32_t index;
    in_addr address;
};

struct Line {
    Interface interface;
    Descriptor socket;
};

std::string textOf(in_addr address) {
    char text[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &address, text, sizeof text);
    return text;
}

std::vector<Interface> interfacesUp() {
    ifaddrs *list = nullptr;
    if (getifaddrs(&list) != 0)
        throw std::system_error(errno, std::generic_category(), "list network interfaces");
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);

    std::vector<Interface> found;
    for (const ifaddrs *entry = list; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET ||
            !(entry->ifa_flags & IFF_UP))
            continue;
        sockaddr_in address;
        memcpy(&address, entry->ifa_addr, sizeof address);
        found.push_back({entry->ifa_name, if_nametoindex(entry->ifa_name), address.sin_addr});
    }
    return found;
}

bool isNamed(const Interface &interface, const std::string &wanted) {
    return interface.name == wanted || textOf(interface.address) == wanted;
}

// The interfaces to ask, one entry per interface: a second address of the same one would only
// ask the same cameras again.
std::vector<Interface> chosenInterfaces(const std::vector<std::string> &wanted) {
    const std::vector<Interface> up = interfacesUp();
    std::vector<Interface> chosen;
    const auto choose = [&chosen](const Interface &interface) {
        const bool known = std::any_of(chosen.begin(), chosen.end(), [&](const Interface &other) {
            return other.index == interface.index;
        });
        if (!known)
            chosen.push_back(interface);
    };

    if (wanted.empty()) {
        std::for_each(up.begin(), up.end(), choose);
        return chosen;
    }
    for (const std::string &name : wanted) {
        const auto match = std::find_if(
            up.begin(), up.end(), [&](const Interface &entry) { return isNamed(entry, name); });
        if (match == up.end())
            fprintf(stderr,
                    "KXGIGE_INTERFACES: no network interface '%s' is up; expected names or IPv4 "
                    "addresses of this machine, separated by commas (see `ip -4 address`)\n",
                    name.c_str());
        else
            choose(*match);
    }
    return chosen;
}

// Sends the one command; no descriptor, and errno, when that cannot be done.
Descriptor ask(const Interface &interface, uint16_t requestId) {
    Descriptor line(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!line)
        return line;

    const int on = 1;
    sockaddr_in from{};
    from.sin_family = AF_INET;
    from.sin_addr = interface.address;
    sockaddr_in everyone{};
    everyone.sin_family = AF_INET;
    everyone.sin_addr.s_addr = INADDR_BROADCAST;
    everyone.sin_port = htons(kControlPort);
    const auto command = discoveryCommand(requestId);
    if (setsockopt(line.get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on) == 0 &&
        bind(line.get(), reinterpret_cast<sockaddr *>(&from), sizeof from) == 0 &&
        sendto(line.get(), command.data(), command.size(), 0,
               reinterpret_cast<sockaddr *>(&everyone), sizeof everyone) >= 0)
        return line;
    const int error = errno; // closing the socket may change it
    line = Descriptor();
    errno = error;
    return line;
}

class Cameras {
public:
    void add(const GEV_CAMERA_INFO &info) {
        const Key key{info.ipAddr, info.macHigh, info.macLow};
        if (cameras_.size() < kMaxCameras && known_.insert(key).second)
            cameras_.push_back(info);
    }

    size_t count() const { return cameras_.size(); }

    std::vector<GEV_CAMERA_INFO> sorted() && {
        std::sort(cameras_.begin(), cameras_.end(),
                  [](const GEV_CAMERA_INFO &a, const GEV_CAMERA_INFO &b) {
                      return std::tie(a.ipAddr, a.macHigh, a.macLow) <
                             std::tie(b.ipAddr, b.macHigh, b.macLow);
                  });
        return std::move(cameras_);
    }

private:
    using Key = std::tuple<uint32_t, uint32_t, uint32_t>;

    std::set<Key> known_;
    std::vector<GEV_CAMERA_INFO> cameras_;
};

std::vector<GEV_CAMERA_INFO> collect(const std::vector<Line> &lines, uint16_t requestId,
                                     Clock::time_point deadline, std::optional<size_t> expected) {
    Cameras cameras;
    std::vector<pollfd> waits;
    waits.reserve(lines.size());
    for (const Line &line : lines)
        waits.push_back({line.socket.get(), POLLIN, 0});

    for (int lateRounds = 0; lateRounds <= kMostLateRounds;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        const bool complete = expected && cameras.count() >= *expected;
        const bool waiting = left.count() > 0 && !complete;
        if (!waiting)
            ++lateRounds;
        const int ready =
            poll(waits.data(), waits.size(), waiting ? static_cast<int>(left.count()) : 0);
        if (!waiting && ready == 0)
            break;
        if (ready <= 0)
            continue;
        // One packet of each line in turn, so that a flood on one hides no camera on another.
        for (size_t i = 0; i < lines.size(); ++i) {
            if (!waits[i].revents)
                continue;
            uint8_t packet[kMaxPacket];
            const ssize_t size = recv(waits[i].fd, packet, sizeof packet, MSG_DONTWAIT);
            if (size < 0 && errno != EAGAIN && errno != EINTR)
                waits[i].fd = -1; // the interface is gone; poll() leaves the line out
            if (size <= 0)
                continue;
            auto info = parseDiscoveryAnswer(packet, static_cast<size_t>(size), requestId);
            if (!info)
                continue;
            info->hostIpAddr = ntohl(lines[i].interface.address.s_addr);
            info->hostIfIndex = lines[i].interface.index;
            cameras.add(*info);
        }
    }
    return std::move(cameras).sorted();
}

std::optional<int> numberFrom(const char *text, int least, int most) {
    int value = 0;
    const char *end = text + strlen(text);
    const auto [stop, error] = std::from_chars(text, end, value);
    if (error != std::errc() || stop != end || value < least || value > most)
        return std::nullopt;
    return value;
}

} // namespace

DiscoveryOptions discoveryOptions() {
    DiscoveryOptions options;
    if (const char *text = getenv("KXGIGE_DISCOVERY_MS"); text && *text) {
        if (const auto window = numberFrom(text, kShortestWindow, kLongestWindow))
            options.window = std::chrono::milliseconds(*window);
        else
            fprintf(stderr,
                    "KXGIGE_DISCOVERY_MS: '%s' is no whole number of milliseconds from %d to %d; "
                    "waiting %d ms\n",
                    text, kShortestWindow, kLongestWindow,
                    static_cast<int>(options.window.count()));
    }
    if (const char *text = getenv("KXGIGE_EXPECTED_CAMERAS"); text && *text) {
        if (const auto expected = numberFrom(text, 1, kMostExpected))
            options.expected = *expected;
        else
            fprintf(stderr,
                    "KXGIGE_EXPECTED_CAMERAS: '%s' is no whole number of cameras from 1 to %d; "
                    "waiting the whole %d ms\n",
                    text, kMostExpected, static_cast<int>(options.window.count()));
    }
    if (const char *text = getenv("KXGIGE_INTERFACES")) {
        const std::string list = text;
        for (size_t start = 0; start <= list.size();) {
            const size_t end = std::min(list.find(',', start), list.size());
            if (end > start)
                options.interfaces.push_back(list.substr(start, end - start));
            start = end + 1;
        }
    }
    return options;
}

std::vector<GEV_CAMERA_INFO> discover(const DiscoveryOptions &options) {
    // Any id but 0 will do; a new one each time tells late answers of an earlier call apart.
    std::random_device random;
    const auto requestId = static_cast<uint16_t>(1 + random() % 0xffff);

    const std::vector<Interface> interfaces = chosenInterfaces(options.interfaces);
    const auto deadline = Clock::now() + options.window;
    std::vector<Line> lines;
    int error = 0;
    for (const Interface &interface : interfaces) {
        if (Descriptor socket = ask(interface, requestId))
            lines.push_back({interface, std::move(socket)});
        else
            error = errno;
    }
    if (lines.empty() && error)
        throw std::system_error(error, std::generic_category(), "ask for cameras");
    if (lines.empty())
        return {};
    return collect(lines, requestId, deadline, options.expected);
}

} // namespace gige
