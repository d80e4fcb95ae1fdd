#include "gvcp/network.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>

#include <atomic>
#include <bitset>
#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>

#include "gvcp/descriptor.h"
#include "gvcp/packets.h"

namespace gvcp {
namespace {

std::atomic<const volatile sig_atomic_t *> stopFlag{nullptr};

// The interfaces that a text names, so that it stays one line.
constexpr size_t kMostNamed = 4;

uint32_t numberOf(const sockaddr *address) {
    sockaddr_in inet;
    memcpy(&inet, address, sizeof inet);
    return ntohl(inet.sin_addr.s_addr);
}

} // namespace

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
        found.push_back({entry->ifa_name, if_nametoindex(entry->ifa_name),
                         numberOf(entry->ifa_addr),
                         entry->ifa_netmask ? numberOf(entry->ifa_netmask) : UINT32_MAX});
    }
    return found;
}

std::string whyOutside(uint32_t camera) {
    std::string networks;
    size_t count = 0;
    for (const Interface &interface : interfacesUp()) {
        if ((interface.address & interface.mask) == (camera & interface.mask))
            return {};
        if (interface.address >> 24 == IN_LOOPBACKNET || ++count > kMostNamed)
            continue;
        networks += (networks.empty() ? "" : ", ") + interface.name + " has " +
                    dotted(interface.address) + "/" +
                    std::to_string(std::bitset<32>(interface.mask).count());
    }
    if (count > kMostNamed)
        networks += ", …";
    return "its address " + dotted(camera) + " is in no network of this computer (" +
           (networks.empty() ? "no network interface has an address" : networks) + ")";
}

uint32_t hostTowards(uint32_t camera) {
    const Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = socketAddress(camera, kPort);
    socklen_t length = sizeof address;
    if (!socket ||
        connect(socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        getsockname(socket.get(), reinterpret_cast<sockaddr *>(&address), &length) != 0)
        return 0;
    return ntohl(address.sin_addr.s_addr);
}

std::string dotted(uint32_t address) {
    const in_addr inet{htonl(address)};
    char text[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &inet, text, sizeof text);
    return text;
}

std::optional<uint32_t> addressFrom(const std::string &text) {
    in_addr address;
    if (inet_pton(AF_INET, text.c_str(), &address) != 1)
        return std::nullopt;
    return ntohl(address.s_addr);
}

sockaddr_in socketAddress(uint32_t address, uint16_t port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = htonl(address);
    result.sin_port = htons(port);
    return result;
}

void stopWhen(const volatile sig_atomic_t *flag) {
    stopFlag = flag;
}

bool stopAsked() {
    const volatile sig_atomic_t *flag = stopFlag;
    return flag && *flag;
}

} // namespace gvcp
