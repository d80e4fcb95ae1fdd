#include "device.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "gvcp/network.h"

using namespace gvcp;
using namespace std::chrono_literals;

namespace {

constexpr size_t kRegister = 4;
constexpr auto kShortestTimeout = 500ms;

Bytes packetOf(uint16_t status, unsigned answer, uint16_t id, const Bytes &payload) {
    Bytes packet(kHeader);
    put16(&packet[0], status);
    put16(&packet[2], static_cast<uint16_t>(answer));
    put16(&packet[4], static_cast<uint16_t>(payload.size()));
    put16(&packet[6], id);
    packet.insert(packet.end(), payload.begin(), payload.end());
    return packet;
}

void append32(Bytes &bytes, uint32_t value) {
    bytes.resize(bytes.size() + kRegister);
    put32(&bytes[bytes.size() - kRegister], value);
}

bool same(const sockaddr_in &a, const sockaddr_in &b) {
    return a.sin_addr.s_addr == b.sin_addr.s_addr && a.sin_port == b.sin_port;
}

} // namespace

uint32_t addressOf(const std::string &dotted) {
    return ntohl(inet_addr(dotted.c_str()));
}

std::ostream &operator<<(std::ostream &out, const Received &command) {
    return out << std::hex << "0x" << command.command << " (0x" << command.word(0) << ", 0x"
               << command.word(1) << ")" << std::dec;
}

Descriptor socketAt(uint32_t address, uint16_t port) {
    Descriptor bound(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    setsockopt(bound.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in to = socketAddress(address, port);
    if (bind(bound.get(), reinterpret_cast<const sockaddr *>(&to), sizeof to) != 0)
        throw std::system_error(errno, std::generic_category(), "bind to " + dotted(address));
    return bound;
}

void sendTo(const sockaddr_in &to, const Descriptor &from, const Bytes &packet) {
    sendto(from.get(), packet.data(), packet.size(), MSG_NOSIGNAL,
           reinterpret_cast<const sockaddr *>(&to), sizeof to);
}

uint32_t Received::word(size_t index) const {
    return payload.size() < (index + 1) * kRegister ? 0 : get32(&payload[index * kRegister]);
}

bool Received::is(Command wanted, uint32_t address) const {
    return command == wanted && payload.size() >= kRegister && word(0) == address;
}

Bytes answerTo(const Received &command, const Bytes &payload) {
    return packetOf(kSuccess, command.command + 1u, command.id, payload);
}

Bytes refusalOf(const Received &command, uint16_t status) {
    return packetOf(status, command.command + 1u, command.id, {});
}

Bytes pendingOf(const Received &command, uint16_t milliseconds) {
    Bytes payload(4);
    put16(&payload[2], milliseconds);
    return packetOf(kSuccess, kPending + 1u, command.id, payload);
}

Bytes identityOf(const Received &command, uint32_t address, uint32_t mac,
                 const std::string &serial) {
    Bytes payload(0xf8);
    put32(&payload[0x0c], mac);
    put32(&payload[0x24], address);
    memcpy(&payload[0xd8], serial.data(), serial.size());
    return answerTo(command, payload);
}

Device::Device(const std::string &address)
    : address_(addressOf(address)), socket_(socketAt(address_, kPort)) {
    set(bootstrap::kCapability, 0);
    set(bootstrap::kHeartbeatTimeout, 3000);
    const int on = 1;
    setsockopt(socket_.get(), SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
    if (pipe(stop_) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
    thread_ = std::thread(&Device::serve, this);
}

Device::~Device() {
    close(stop_[1]);
    thread_.join();
    close(stop_[0]);
}

void Device::behave(Behaviour behaviour) {
    const std::lock_guard<std::mutex> lock(mutex_);
    behaviour_ = behaviour ? std::make_shared<Behaviour>(std::move(behaviour)) : nullptr;
}

void Device::set(uint32_t address, uint32_t value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    registers_[address] = value;
}

uint32_t Device::get(uint32_t address) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return read(address);
}

uint8_t Device::pattern(uint32_t address) {
    return static_cast<uint8_t>(address * 7 + (address >> 8));
}

void Device::giveControlTo(uint32_t privilege, const std::string &address, uint16_t port) {
    const std::lock_guard<std::mutex> lock(mutex_);
    privilege_ = privilege;
    controller_ = socketAddress(addressOf(address), port);
    heard_.reset();
}

std::vector<Received> Device::received() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

void Device::forget() {
    const std::lock_guard<std::mutex> lock(mutex_);
    received_.clear();
}

bool Device::waitFor(size_t commands, std::chrono::milliseconds atMost) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return came_.wait_for(lock, atMost, [&] { return received_.size() >= commands; });
}

void Device::serve() {
    pollfd waits[] = {{stop_[0], POLLIN, 0}, {socket_.get(), POLLIN, 0}};
    for (;;) {
        int left = -1;
        if (!due_.empty())
            left = static_cast<int>(std::max<int64_t>(
                0, std::chrono::ceil<std::chrono::milliseconds>(due_.begin()->first - Clock::now())
                       .count()));
        poll(waits, 2, left);
        if (waits[0].revents)
            return;
        if (waits[1].revents)
            receive();
        while (!due_.empty() && due_.begin()->first <= Clock::now()) {
            send(due_.begin()->second);
            due_.erase(due_.begin());
        }
    }
}

void Device::receive() {
    uint8_t packet[2048];
    sockaddr_in from{};
    iovec room{packet, sizeof packet};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(timespec))];
    msghdr message{&from, sizeof from, &room, 1, control, sizeof control, 0};
    const ssize_t size = recvmsg(socket_.get(), &message, MSG_DONTWAIT);
    if (size < static_cast<ssize_t>(kHeader))
        return;
    const auto now = Clock::now();
    timespec at;
    memcpy(&at, CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof at);
    const Received command{get16(packet + 2), get16(packet + 6),
                           Bytes(packet + kHeader, packet + size), from,
                           std::chrono::seconds(at.tv_sec) + std::chrono::nanoseconds(at.tv_nsec)};
    Bytes good;
    std::shared_ptr<Behaviour> behaviour;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        received_.push_back(command);
        behaviour = behaviour_;
        good = goodAnswer(command);
    }
    const Replies replies = behaviour ? (*behaviour)(command, good) : Replies{{good}};
    for (const Reply &reply : replies)
        due_.insert({now + reply.delay, Due{reply, from}});
    came_.notify_all();
}

void Device::send(const Due &due) {
    const uint32_t address = due.reply.from ? due.reply.from : address_;
    const bool own = address == address_ && due.reply.port == kPort;
    const Descriptor other = own ? Descriptor() : socketAt(address, due.reply.port);
    sendTo(due.to, own ? socket_ : other, due.reply.packet);
}

Bytes Device::goodAnswer(const Received &command) {
    const std::chrono::milliseconds timeout(read(bootstrap::kHeartbeatTimeout));
    if (heard_ && timeout >= kShortestTimeout && command.at - *heard_ > timeout)
        privilege_ = 0;
    if (heard_ && same(controller_, command.from))
        heard_ = command.at;

    Bytes payload;
    switch (command.command) {
    case kDiscovery:
        return identityOf(command, address_, 1);
    case kReadRegister:
        for (size_t i = 0; i < command.payload.size() / kRegister; ++i)
            append32(payload, read(command.word(i)));
        return answerTo(command, payload);
    case kReadMemory:
        append32(payload, command.word(0));
        for (size_t i = 0; i < command.word(1); i += kRegister)
            append32(payload, read(static_cast<uint32_t>(command.word(0) + i)));
        return answerTo(command, payload);
    case kWriteRegister: {
        const uint16_t status = write(command.word(0), command.word(1), command);
        return status ? refusalOf(command, status) : answerTo(command, {0, 0, 0, 1});
    }
    case kWriteMemory:
        for (size_t i = 1; i < command.payload.size() / kRegister; ++i) {
            const auto offset = static_cast<uint32_t>((i - 1) * kRegister);
            if (const uint16_t status = write(command.word(0) + offset, command.word(i), command))
                return refusalOf(command, status);
        }
        append32(payload, static_cast<uint32_t>(command.payload.size() - kRegister));
        return answerTo(command, payload);
    default:
        return refusalOf(command, kNotImplemented);
    }
}

uint16_t Device::write(uint32_t address, uint32_t value, const Received &by) {
    if (privilege_ && !same(controller_, by.from))
        return kAccessDenied;
    if (address == bootstrap::kControlPrivilege) {
        privilege_ = value;
        controller_ = by.from;
        heard_ = by.at;
    } else if (!privilege_) {
        return kAccessDenied;
    } else {
        registers_[address] = value;
    }
    return kSuccess;
}

uint32_t Device::read(uint32_t address) const {
    switch (address) {
    case bootstrap::kControlPrivilege:
        return privilege_;
    case bootstrap::kControllerPort:
        return ntohs(controller_.sin_port);
    case bootstrap::kControllerAddress:
        return ntohl(controller_.sin_addr.s_addr);
    default:
        break;
    }
    if (const auto found = registers_.find(address); found != registers_.end())
        return found->second;
    uint8_t bytes[kRegister];
    for (uint32_t i = 0; i < kRegister; ++i)
        bytes[i] = pattern(address + i);
    return get32(bytes);
}
