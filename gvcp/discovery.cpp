#include "gvcp/discovery.h"

#include <linux/filter.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <random>
#include <system_error>
#include <utility>

#include "gvcp/bounds.h"
#include "gvcp/error.h"

// One socket per network interface, bound to the interface's address: the kernel then sends a
// limited broadcast out of that interface, without privileges. One more, bound to none, for the
// cameras that are asked directly. All sockets are read until one deadline, and then whatever has
// come by then, which may be much where the computer is busy.
//
// A sender that answers again and again is shut out: the kernel drops its packets from then on, so
// that they neither fill the socket's buffer nor take the time for those of others.

namespace gvcp {
namespace {

using Clock = std::chrono::steady_clock;

// Room for the answers of some hundred cameras that come at once; the kernel may give less.
constexpr int kReceiveBuffer = 1 << 20;
// A filter that shuts out more would be longer than the kernel takes without asking for memory.
constexpr size_t kMostShutOut = 64;

// What stands in front of an answer where packets are heard, and the sender's address in it.
constexpr size_t kIpHeader = 20;
constexpr size_t kHeaders = kIpHeader + 8;
constexpr size_t kIpSource = 12;

struct Sender {
    int packets = 0;
    bool counted = false; // as a camera
};

struct Line {
    Interface interface; // index 0: none, cameras are asked directly
    Descriptor socket;
    std::map<uint32_t, Sender> senders; // by address
    std::vector<uint32_t> shutOut;
};

bool send(const Descriptor &socket, uint32_t to, const Packet &command) {
    const sockaddr_in address = socketAddress(to, kPort);
    return sendto(socket.get(), command.bytes.data(), command.size, MSG_NOSIGNAL,
                  reinterpret_cast<const sockaddr *>(&address), sizeof address) >= 0;
}

Descriptor openSocket(uint32_t from) {
    Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int on = 1;
    const sockaddr_in address = socketAddress(from, 0);
    if (!socket || setsockopt(socket.get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on) != 0 ||
        bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return Descriptor();
    setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
    return socket;
}

// Has the kernel drop what comes from these senders.
void shutOut(const Line &line) {
    const auto count = static_cast<uint8_t>(line.shutOut.size());
    std::vector<sock_filter> program{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<uint32_t>(SKF_NET_OFF) + 12)}; // source
    for (uint8_t i = 0; i < count; ++i)
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, line.shutOut[i],
                                   static_cast<uint8_t>(count - i), 0));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, UINT32_MAX));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, 0));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    setsockopt(line.socket.get(), SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof filter);
}

class Cameras {
public:
    explicit Cameras(const Search &search) : search_(search) {}

    void add(const Found &camera) {
        const Identity &identity = camera.identity;
        const bool hasSerial = !search_.serial.empty() && identity.serial == search_.serial;
        if (!wanted_ && (hasSerial || search_.mac == macOf(identity)))
            wanted_ = camera;
        if (cameras_.size() < kMostCameras)
            cameras_.try_emplace({identity.address, macOf(identity)}, camera);
    }

    bool complete() const {
        return wanted_ || (search_.expected && cameras_.size() >= *search_.expected) ||
               (search_.interfaces.empty() && cameras_.size() >= search_.addresses.size());
    }

    std::vector<Found> sorted() const {
        if (wanted_)
            return {*wanted_};
        std::vector<Found> sorted;
        for (const auto &[key, camera] : cameras_)
            sorted.push_back(camera);
        return sorted;
    }

private:
    const Search &search_;
    std::map<std::pair<uint32_t, uint64_t>, Found> cameras_; // by IPv4 and MAC address
    std::optional<Found> wanted_;
};

// Sends the command to all that a line reaches; false, and errno, when it could be sent to nobody.
bool ask(const Line &line, const Search &search, uint16_t requestId) {
    const Packet command = makeCommand(kDiscovery, requestId, nullptr, 0);
    if (!line.socket)
        return false;
    if (line.interface.index != 0)
        return send(line.socket, INADDR_BROADCAST, command);
    bool sent = false;
    for (const uint32_t address : search.addresses)
        sent = send(line.socket, address, command) || sent;
    return sent;
}

std::vector<Line> ask(const Search &search, uint16_t requestId) {
    std::vector<Line> lines;
    int error = 0;
    const auto askOn = [&](const Interface &interface) {
        Line line{interface, openSocket(interface.address), {}, {}};
        if (ask(line, search, requestId))
            lines.push_back(std::move(line));
        else
            error = errno;
    };
    std::for_each(search.interfaces.begin(), search.interfaces.end(), askOn);
    if (!search.addresses.empty())
        askOn({"", 0, INADDR_ANY, 0});
    if (lines.empty() && error)
        throw std::system_error(error, std::generic_category(), "ask for cameras");
    return lines;
}

// Takes one packet, if there is one; false when the line is dead.
bool receive(Line &line, uint16_t requestId, const Search &search, Cameras &cameras) {
    uint8_t packet[kLargestPacket];
    sockaddr_in from{};
    socklen_t length = sizeof from;
    const ssize_t size = recvfrom(line.socket.get(), packet, sizeof packet, MSG_DONTWAIT,
                                  reinterpret_cast<sockaddr *>(&from), &length);
    if (size < 0)
        return errno == EAGAIN || errno == EINTR || errno == ECONNREFUSED || errno == EHOSTUNREACH;
    const uint32_t address = ntohl(from.sin_addr.s_addr);
    // Beyond the bound only the camera that is wanted counts.
    const bool isExtra = line.senders.size() >= kMostSenders && !line.senders.count(address);
    Sender extra;
    Sender &sender = isExtra ? extra : line.senders[address];
    if (++sender.packets == kMostPacketsOfSender && line.shutOut.size() < kMostShutOut) {
        line.shutOut.push_back(address);
        shutOut(line);
        // What others have said meanwhile may have found no room.
        if (line.shutOut.size() == 1)
            ask(line, search, requestId);
    }
    if (sender.packets > kMostPacketsOfSender)
        return true;
    const auto answer = parseAnswer(packet, static_cast<size_t>(size));
    const auto identity =
        answer && answer->requestId == requestId ? parseIdentity(*answer) : std::nullopt;
    if (!identity || identity->address != address || ntohs(from.sin_port) != kPort ||
        (sender.counted && !search.sharedAddresses && search.mac != macOf(*identity)))
        return true;
    Found found{*identity, line.interface.address, line.interface.index};
    if (line.interface.index == 0) {
        const auto &asked = search.addresses;
        if (std::find(asked.begin(), asked.end(), address) == asked.end())
            return true;
        found.host = hostTowards(address);
    }
    sender.counted = true;
    cameras.add(found);
    return true;
}

} // namespace

std::vector<Found> discover(Search search) {
    // Each answers once, so none is waited for twice.
    std::sort(search.addresses.begin(), search.addresses.end());
    search.addresses.erase(std::unique(search.addresses.begin(), search.addresses.end()),
                           search.addresses.end());

    // Any id but 0 will do; a new one each time tells late answers of an earlier call apart.
    std::random_device random;
    const auto requestId = static_cast<uint16_t>(1 + random() % UINT16_MAX);

    const auto deadline = Clock::now() + search.window;
    std::vector<Line> lines = ask(search, requestId);
    if (lines.empty())
        return {};
    std::vector<pollfd> waits;
    waits.reserve(lines.size());
    for (const Line &line : lines)
        waits.push_back({line.socket.get(), POLLIN, 0});

    Cameras cameras(search);
    for (int lateRounds = 0; lateRounds < kMostLateRounds;) {
        if (stopAsked())
            throw Error(Cause::Stopped, "stopped while looking for cameras");
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            std::min<Clock::duration>(deadline - Clock::now(), kSlice));
        const bool waiting = left.count() > 0 && !cameras.complete();
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
            if (waits[i].revents && !receive(lines[i], requestId, search, cameras))
                waits[i].fd = -1; // the interface is gone; poll() leaves the line out
        }
    }
    return cameras.sorted();
}

Arrivals::Arrivals() : socket_(::socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sock_filter camerasAlone[] = {
        BPF_STMT(BPF_LD | BPF_B | BPF_ABS, 9), // of the IP header, which has no options
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, IPPROTO_UDP, 0, 3),
        BPF_STMT(BPF_LD | BPF_H | BPF_ABS, kIpHeader),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kPort, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, UINT32_MAX),
        BPF_STMT(BPF_RET | BPF_K, 0),
    };
    const sock_fprog filter{std::size(camerasAlone), camerasAlone};
    sockaddr_ll everywhere{};
    everywhere.sll_family = AF_PACKET;
    everywhere.sll_protocol = htons(ETH_P_IP);
    if (setsockopt(socket_.get(), SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof filter) != 0 ||
        bind(socket_.get(), reinterpret_cast<sockaddr *>(&everywhere), sizeof everywhere) != 0)
        socket_ = Descriptor();
}

std::vector<Found> Arrivals::take() const {
    std::vector<Found> found;
    for (size_t packets = 0; packets < kMostSenders; ++packets) {
        uint8_t packet[kHeaders + kLargestPacket];
        sockaddr_ll from{};
        socklen_t length = sizeof from;
        const ssize_t size = recvfrom(socket_.get(), packet, sizeof packet, 0,
                                      reinterpret_cast<sockaddr *>(&from), &length);
        if (size < 0)
            break;
        if (from.sll_pkttype != PACKET_HOST || static_cast<size_t>(size) < kHeaders)
            continue;
        const auto answer = parseAnswer(packet + kHeaders, static_cast<size_t>(size) - kHeaders);
        const auto identity = answer ? parseIdentity(*answer) : std::nullopt;
        if (identity && identity->address == get32(packet + kIpSource))
            found.push_back({*identity, 0, static_cast<uint32_t>(from.sll_ifindex)});
    }
    return found;
}

std::optional<uint16_t> forceAddress(const Found &camera, const Reach &to) {
    std::array<uint8_t, 56> payload{};
    put32(&payload[0], camera.identity.macHigh);
    put32(&payload[4], camera.identity.macLow);
    put32(&payload[20], to.address);
    put32(&payload[36], to.mask);
    put32(&payload[52], to.gateway);
    const auto requestId = static_cast<uint16_t>(1 + std::random_device()() % UINT16_MAX);
    Packet command = makeCommand(kForceIp, requestId, payload.data(), payload.size());
    command.bytes[1] |= kAnswerMayBeBroadcast;
    // Of the interface's addresses it has none, so that it hears broadcasts.
    const Descriptor socket = openSocket(INADDR_ANY);
    const auto on = static_cast<int>(camera.interface);
    if (!socket || setsockopt(socket.get(), SOL_SOCKET, SO_BINDTOIFINDEX, &on, sizeof on) != 0)
        throw std::system_error(errno, std::generic_category(), "open a socket");
    for (const auto wait : Waits().answer) {
        if (stopAsked())
            break;
        if (!send(socket, INADDR_BROADCAST, command))
            throw std::system_error(errno, std::generic_category(), "give a camera an address");
        for (const auto end = Clock::now() + wait; !stopAsked() && Clock::now() < end;) {
            pollfd waits{socket.get(), POLLIN, 0};
            poll(&waits, 1, static_cast<int>(std::chrono::milliseconds(kSlice).count()));
            uint8_t packet[kLargestPacket];
            sockaddr_in from{};
            socklen_t length = sizeof from;
            const ssize_t size = recvfrom(socket.get(), packet, sizeof packet, MSG_DONTWAIT,
                                          reinterpret_cast<sockaddr *>(&from), &length);
            const auto answer = parseAnswer(packet, size < 0 ? 0 : static_cast<size_t>(size));
            const uint32_t sender = ntohl(from.sin_addr.s_addr);
            if (answer && answer->command == (kForceIp | 1) && answer->requestId == requestId &&
                (sender == camera.identity.address || sender == to.address) &&
                ntohs(from.sin_port) == kPort)
                return answer->status;
        }
    }
    return std::nullopt;
}

} // namespace gvcp
