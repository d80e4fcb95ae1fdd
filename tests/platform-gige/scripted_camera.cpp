#include "scripted_camera.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

// A thread waits on two sockets: one on the camera's own address, and one on any address, which is
// the one that gets broadcasts. Both are answered from the camera's own address. Each packet is
// handled under the mutex, so that what a test sets holds from the next packet on.

namespace {

constexpr size_t kMemorySize = 1u << 20;
constexpr uint32_t kDescriptionAddress = 0x20000;
constexpr uint32_t kFirstFeature = 0x1000;
constexpr uint16_t kPort = 3956;

// The address and port of a program that is not there.
const in_addr_t kOtherAddress = inet_addr("127.9.9.9");
constexpr in_port_t kOtherPort = 1;

uint16_t get16(const uint8_t *at) {
    return static_cast<uint16_t>(at[0] << 8 | at[1]);
}
uint32_t get32(const uint8_t *at) {
    return static_cast<uint32_t>(get16(at)) << 16 | get16(at + 2);
}
void put16(uint8_t *at, uint32_t value) {
    at[0] = static_cast<uint8_t>(value >> 8);
    at[1] = static_cast<uint8_t>(value);
}
void put32(uint8_t *at, uint32_t value) {
    put16(at, value >> 16);
    put16(at + 2, value);
}

int bindTo(in_addr_t address) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(kPort);
    to.sin_addr.s_addr = address;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr *>(&to), sizeof to) != 0)
        throw std::runtime_error(std::string("scripted camera cannot bind: ") + strerror(errno));
    return fd;
}

void putText(std::vector<uint8_t> &memory, size_t at, const std::string &text, size_t room) {
    memcpy(&memory[at], text.data(), text.size() < room ? text.size() : room);
}

void reverseRegisters(uint8_t *bytes, size_t size) {
    for (size_t at = 0; at + 4 <= size; at += 4)
        std::reverse(bytes + at, bytes + at + 4);
}

} // namespace

std::ostream &operator<<(std::ostream &out, const Access &access) {
    const char *name = "?";
    switch (access.command) {
    case peer::Discovery:
        name = "discovery";
        break;
    case peer::ReadRegister:
        name = "read register";
        break;
    case peer::WriteRegister:
        name = "write register";
        break;
    case peer::ReadMemory:
        name = "read memory";
        break;
    case peer::WriteMemory:
        name = "write memory";
        break;
    }
    return out << name << " 0x" << std::hex << access.address << std::dec;
}

ScriptedCamera::ScriptedCamera(const std::string &address) : ScriptedCamera(address, Identity()) {}

ScriptedCamera::ScriptedCamera(const std::string &address, const Identity &identity)
    : address_(inet_addr(address.c_str())), memory_(kMemorySize) {
    put32(&memory_[0x0000], 0x00010002); // version 1.2
    put32(&memory_[0x0004], 0x80000001); // device mode: big endian, UTF-8
    put32(&memory_[0x0008], 0x0000aabb);
    put32(&memory_[0x000c], ntohl(address_));
    memcpy(&memory_[0x24], &address_, 4);
    put32(&memory_[0x34], 0xff000000);
    putText(memory_, 0x48, identity.manufacturer, 32);
    putText(memory_, 0x68, identity.model, 32);
    putText(memory_, 0x88, identity.version, 32);
    putText(memory_, 0xd8, identity.serial, 16);
    putText(memory_, 0xe8, identity.username, 16);
    put32(&memory_[0x0934], 0x00000003); // writing memory and several registers at once
    put32(&memory_[0x0938], 3000);       // heartbeat timeout

    unicast_ = bindTo(address_);
    broadcast_ = bindTo(INADDR_ANY);
    if (pipe(stop_) != 0)
        throw std::runtime_error("scripted camera has no pipe");
    thread_ = std::thread(&ScriptedCamera::serve, this);
}

ScriptedCamera::~ScriptedCamera() {
    ended_ = true;
    close(stop_[1]);
    thread_.join();
    close(stop_[0]);
    close(unicast_);
    close(broadcast_);
}

void ScriptedCamera::describe(const std::string &xml) {
    char url[512];
    snprintf(url, sizeof url, "Local:scripted.xml;%x;%zx", kDescriptionAddress, xml.size());
    setMemory(0x200, url, strlen(url) + 1);
    setMemory(kDescriptionAddress, xml.data(), xml.size());
}

void ScriptedCamera::setRegister(uint32_t address, uint32_t value) {
    std::lock_guard<std::mutex> lock(mutex_);
    put32(&memory_.at(address), value);
}

void ScriptedCamera::showMemoryLittleEndian() {
    std::lock_guard<std::mutex> lock(mutex_);
    littleEndian_ = true;
}

uint32_t ScriptedCamera::getRegister(uint32_t address) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return get32(&memory_.at(address));
}

void ScriptedCamera::setMemory(uint32_t address, const void *data, size_t size) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (address + size > memory_.size())
        throw std::out_of_range("scripted camera: beyond its memory");
    memcpy(&memory_[address], data, size);
}

std::string ScriptedCamera::memory(uint32_t address, size_t size) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return std::string(reinterpret_cast<const char *>(&memory_.at(address)), size);
}

void ScriptedCamera::refuseReading(uint32_t address, peer::Status status) {
    std::lock_guard<std::mutex> lock(mutex_);
    refusedReads_[address] = status;
}

void ScriptedCamera::refuseWriting(uint32_t address, peer::Status status) {
    std::lock_guard<std::mutex> lock(mutex_);
    refusedWrites_[address] = status;
}

void ScriptedCamera::refuseCommand(peer::Command command) {
    std::lock_guard<std::mutex> lock(mutex_);
    refusedCommand_ = command;
}

void ScriptedCamera::setSilent(bool silent) {
    std::lock_guard<std::mutex> lock(mutex_);
    silent_ = silent;
}

void ScriptedCamera::fallSilentAt(uint32_t address) {
    std::lock_guard<std::mutex> lock(mutex_);
    silentAt_ = address;
}

void ScriptedCamera::controlByAnotherProgram() {
    std::lock_guard<std::mutex> lock(mutex_);
    privilege_ = 2;
    controller_ = {kOtherAddress, kOtherPort};
}

void ScriptedCamera::letAnotherProgramBeFaster() {
    std::lock_guard<std::mutex> lock(mutex_);
    otherIsFaster_ = true;
}

void ScriptedCamera::dropControl() {
    std::lock_guard<std::mutex> lock(mutex_);
    privilege_ = 0;
}

void ScriptedCamera::pretendToGrantControl() {
    std::lock_guard<std::mutex> lock(mutex_);
    pretends_ = true;
}

uint32_t ScriptedCamera::controlPrivilege() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return privilege_;
}

void ScriptedCamera::answerDiscoveryWith(std::vector<uint8_t> answer) {
    std::lock_guard<std::mutex> lock(mutex_);
    discoveryAnswer_ = std::move(answer);
}

void ScriptedCamera::floodDiscovery(int times) {
    std::lock_guard<std::mutex> lock(mutex_);
    discoveryRepeats_ = times;
}

std::vector<uint8_t> ScriptedCamera::discoveryAnswer() const {
    std::vector<uint8_t> answer(8 + 0xf8);
    put16(&answer[2], peer::Discovery + 1);
    put16(&answer[4], 0xf8);
    memcpy(&answer[8], memory_.data(), 0xf8);
    return answer;
}

std::vector<Access> ScriptedCamera::accesses() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return accesses_;
}

void ScriptedCamera::clearAccesses() {
    std::lock_guard<std::mutex> lock(mutex_);
    accesses_.clear();
}

unsigned ScriptedCamera::received() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

void ScriptedCamera::serve() {
    pollfd waits[] = {{stop_[0], POLLIN, 0}, {unicast_, POLLIN, 0}, {broadcast_, POLLIN, 0}};
    while (poll(waits, 3, -1) > 0 && !waits[0].revents) {
        if (waits[1].revents)
            answer(unicast_);
        if (waits[2].revents)
            answer(broadcast_);
    }
}

void ScriptedCamera::answer(int socket) {
    uint8_t packet[2048];
    sockaddr_in from{};
    socklen_t fromSize = sizeof from;
    const ssize_t size = recvfrom(socket, packet, sizeof packet, MSG_DONTWAIT,
                                  reinterpret_cast<sockaddr *>(&from), &fromSize);
    if (size < 8 || packet[0] != 0x42)
        return;

    std::vector<uint8_t> reply;
    int times = 1;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (get16(packet + 2) == peer::Discovery)
            times = discoveryRepeats_;
        reply = handle(packet, static_cast<size_t>(size), from);
    }
    for (int i = 0; i < times && !reply.empty() && !ended_; ++i) {
        if (i > 0)
            put32(&reply[8 + 0x0c], static_cast<uint32_t>(i));
        sendto(unicast_, reply.data(), reply.size(), 0, reinterpret_cast<sockaddr *>(&from),
               fromSize);
    }
}

// The answer to one packet; empty for none.
std::vector<uint8_t> ScriptedCamera::handle(const uint8_t *packet, size_t size,
                                            const sockaddr_in &from) {
    const auto command = static_cast<peer::Command>(get16(packet + 2));
    const uint16_t id = get16(packet + 6);
    const uint8_t *payload = packet + 8;
    const size_t payloadSize = size - 8;
    ++received_;

    if (command == peer::Discovery) {
        if (silent_)
            return {};
        std::vector<uint8_t> reply =
            discoveryAnswer_.empty() ? discoveryAnswer() : discoveryAnswer_;
        if (reply.size() >= 8)
            put16(&reply[6], id);
        return reply;
    }
    if (payloadSize < 4)
        return {};

    const uint32_t address = get32(payload);
    const bool heartbeat = command == peer::ReadRegister && address == peer::kControlPrivilege;
    if (!heartbeat)
        accesses_.push_back({command, address});
    if (address == silentAt_)
        silent_ = true;
    if (silent_)
        return {};

    std::vector<uint8_t> reply(8);
    put16(&reply[2], command + 1u);
    put16(&reply[6], id);
    peer::Status status = peer::NotImplemented;
    switch (command == refusedCommand_ ? peer::Command() : command) {
    case peer::ReadRegister:
        reply.resize(8 + payloadSize);
        status = peer::Success;
        for (size_t at = 0; at + 4 <= payloadSize && status == peer::Success; at += 4)
            status = read(get32(payload + at), &reply[8 + at], 4);
        break;
    case peer::ReadMemory: {
        const size_t count = get16(payload + 6);
        reply.resize(12 + count);
        put32(&reply[8], address);
        status = read(address, &reply[12], count);
        if (littleEndian_ && address >= kFirstFeature && address < kDescriptionAddress)
            reverseRegisters(&reply[12], count);
        break;
    }
    case peer::WriteRegister:
        status = write(address, payload + 4, 4, from);
        reply.resize(12);
        put16(&reply[10], status == peer::Success ? 1 : 0);
        break;
    case peer::WriteMemory: {
        std::vector<uint8_t> data(payload + 4, packet + size);
        if (littleEndian_ && address >= kFirstFeature)
            reverseRegisters(data.data(), data.size());
        status = write(address, data.data(), data.size(), from);
        reply.resize(12);
        put16(&reply[10], status == peer::Success ? static_cast<uint32_t>(payloadSize - 4) : 0);
        break;
    }
    default:
        break;
    }
    if (status != peer::Success)
        reply.resize(8);
    put16(&reply[0], status);
    put16(&reply[4], static_cast<uint32_t>(reply.size() - 8));
    return reply;
}

peer::Status ScriptedCamera::read(uint32_t address, uint8_t *data, size_t size) const {
    const auto refused = refusedReads_.lower_bound(address);
    if (refused != refusedReads_.end() && refused->first < address + size)
        return refused->second;
    if (address + size > memory_.size())
        return peer::InvalidAddress;
    if (address == peer::kControlPrivilege)
        put32(data, privilege_);
    else
        memcpy(data, &memory_[address], size);
    return peer::Success;
}

peer::Status ScriptedCamera::write(uint32_t address, const uint8_t *data, size_t size,
                                   const sockaddr_in &from) {
    const bool ours =
        controller_.address == from.sin_addr.s_addr && controller_.port == from.sin_port;
    const auto refused = refusedWrites_.lower_bound(address);
    if (refused != refusedWrites_.end() && refused->first < address + size)
        return refused->second;
    if (address == peer::kControlPrivilege) {
        if (pretends_)
            return peer::Success;
        if (otherIsFaster_) {
            privilege_ = 2;
            controller_ = {kOtherAddress, kOtherPort};
        }
        if (privilege_ && (otherIsFaster_ || !ours))
            return peer::AccessDenied;
        privilege_ = get32(data);
        controller_ = {from.sin_addr.s_addr, from.sin_port};
        return peer::Success;
    }
    if (!privilege_ || !ours)
        return peer::AccessDenied;
    if (address + size > memory_.size())
        return peer::InvalidAddress;
    memcpy(&memory_[address], data, size);
    return peer::Success;
}
