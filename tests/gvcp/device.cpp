#include "device.h"

#include <arpa/inet.h>
#include <byteswap.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>

namespace {

using namespace std::chrono_literals;

constexpr size_t kHeader = 8;
constexpr size_t kIdentity = 0xf8;
constexpr size_t kRegister = 4;
constexpr auto kShortestTimeout = 500ms;

void append16(Bytes &bytes, uint32_t value) {
    bytes.push_back(static_cast<uint8_t>(value >> 8));
    bytes.push_back(static_cast<uint8_t>(value));
}

void append32(Bytes &bytes, uint32_t value) {
    append16(bytes, value >> 16);
    append16(bytes, value);
}

uint16_t get16(const uint8_t *at) {
    return static_cast<uint16_t>(at[0] << 8 | at[1]);
}

Bytes packetOf(uint16_t status, unsigned answer, uint16_t id, const Bytes &payload) {
    Bytes packet;
    append16(packet, status);
    append16(packet, answer);
    append16(packet, static_cast<uint32_t>(payload.size()));
    append16(packet, id);
    packet.insert(packet.end(), payload.begin(), payload.end());
    return packet;
}

sockaddr_in placeOf(uint32_t address, uint16_t port) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_addr.s_addr = htonl(address);
    place.sin_port = htons(port);
    return place;
}

bool same(const sockaddr_in &a, const sockaddr_in &b) {
    return a.sin_addr.s_addr == b.sin_addr.s_addr && a.sin_port == b.sin_port;
}

} // namespace

uint32_t addressOf(const std::string &dotted) {
    return ntohl(inet_addr(dotted.c_str()));
}

gvcp::Descriptor socketAt(uint32_t address, uint16_t port) {
    gvcp::Descriptor bound(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    setsockopt(bound.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    setsockopt(bound.get(), SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
    const sockaddr_in place = placeOf(address, port);
    if (bind(bound.get(), reinterpret_cast<const sockaddr *>(&place), sizeof place) != 0)
        throw std::system_error(errno, std::generic_category(), "bind a device's socket");
    return bound;
}

void sendTo(const sockaddr_in &to, const gvcp::Descriptor &from, const Bytes &packet) {
    sendto(from.get(), packet.data(), packet.size(), MSG_NOSIGNAL,
           reinterpret_cast<const sockaddr *>(&to), sizeof to);
}

std::ostream &operator<<(std::ostream &out, const Received &command) {
    return out << std::hex << "0x" << command.command << " (0x" << command.word(0) << ", 0x"
               << command.word(1) << ")" << std::dec;
}

uint32_t Received::word(size_t index) const {
    if (payload.size() < (index + 1) * kRegister)
        return 0;
    const uint8_t *bytes = &payload[index * kRegister];
    return static_cast<uint32_t>(get16(bytes)) << 16 | get16(bytes + 2);
}

bool Received::is(uint16_t wanted, uint32_t address) const {
    return command == wanted && payload.size() >= kRegister && word(0) == address;
}

bool Received::reads(uint32_t address) const {
    return (command == peer::ReadRegister && word(0) == address) ||
           (command == peer::ReadMemory && address - word(0) < word(1));
}

Bytes answerTo(const Received &command, const Bytes &payload) {
    return packetOf(peer::Success, command.command + 1u, command.id, payload);
}

Bytes refusalOf(const Received &command, uint16_t status) {
    return packetOf(status, command.command + 1u, command.id, {});
}

Bytes pendingOf(const Received &command, uint16_t milliseconds) {
    Bytes payload;
    append32(payload, milliseconds);
    return packetOf(peer::Success, peer::Pending + 1u, command.id, payload);
}

Bytes identityOf(const Received &command, uint32_t address, uint32_t mac,
                 const std::string &serial) {
    Bytes payload(0x0c);
    append32(payload, mac);
    payload.resize(0x24);
    append32(payload, address);
    payload.resize(kIdentity);
    memcpy(&payload[0xd8], serial.data(), serial.size());
    return answerTo(command, payload);
}

Device::Device(const std::string &address, const Identity &identity, bool hearsBroadcasts)
    : address_(addressOf(address)), socket_(socketAt(address_)) {
    if (hearsBroadcasts)
        broadcasts_ = socketAt(INADDR_ANY);
    set(0x00, 0x00010002); // version 1.2 of the protocol
    set(0x04, 0x80000001); // big endian, UTF-8
    set(0x0c, address_);   // MAC address
    set(0x24, identity.address ? identity.address : address_);
    set(0x34, 0xff000000);
    setText(0x48, identity.manufacturer, 32);
    setText(0x68, identity.model, 32);
    setText(0x88, identity.version, 32);
    setText(0xd8, identity.serial, 16);
    setText(0xe8, identity.userName, 16);
    set(peer::kHeartbeatTimeout, 3000);
    set(peer::kCapability, 0);
    setUrls({});
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

void Device::refuse(std::function<bool(const Received &)> matches, uint16_t status) {
    behave([matches = std::move(matches), status](const Received &command, const Good &good) {
        return Replies{{matches(command) ? refusalOf(command, status) : good()}};
    });
}

void Device::set(uint32_t address, uint32_t value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    registers_[address] = value;
}

uint32_t Device::get(uint32_t address) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return read(address);
}

void Device::setText(uint32_t address, const std::string &text, size_t room) {
    Received bytes{};
    bytes.payload.assign(text.begin(), text.end());
    bytes.payload.resize(room);
    for (uint32_t i = 0; i < room / kRegister; ++i)
        set(address + i * uint32_t{kRegister}, bytes.word(i));
}

std::map<uint32_t, uint32_t> Device::ownRegisters() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return {registers_.lower_bound(peer::kFirstOwn), registers_.end()};
}

void Device::describe(const std::string &content) {
    setUrls(urlFor(content.size()));
    const std::lock_guard<std::mutex> lock(mutex_);
    description_ = content;
}

void Device::setUrls(const std::string &first, const std::string &second) {
    setText(peer::kUrl, first, 512);
    setText(peer::kSecondUrl, second, 512);
}

std::string Device::urlFor(size_t size) {
    char url[64];
    snprintf(url, sizeof url, "Local:camera;%x;%zx", peer::kDescription, size);
    return url;
}

void Device::showPattern() {
    const std::lock_guard<std::mutex> lock(mutex_);
    showsPattern_ = true;
}

uint8_t Device::pattern(uint32_t address) {
    return static_cast<uint8_t>(address * 7 + (address >> 8));
}

void Device::reverseRegistersInMemory() {
    const std::lock_guard<std::mutex> lock(mutex_);
    reversed_ = true;
}

void Device::giveControlTo(uint32_t privilege, const std::string &address, uint16_t port) {
    const std::lock_guard<std::mutex> lock(mutex_);
    privilege_ = privilege;
    controller_ = placeOf(addressOf(address), port);
    heard_.reset();
}

bool Device::isControlled() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return privilege_ && !expired(std::chrono::system_clock::now().time_since_epoch());
}

std::vector<Received> Device::received() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

void Device::forget() {
    const std::lock_guard<std::mutex> lock(mutex_);
    received_.clear();
}

int Device::commands() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return commands_;
}

bool Device::waitFor(size_t commands, std::chrono::milliseconds atMost) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return came_.wait_for(lock, atMost, [&] { return received_.size() >= commands; });
}

void Device::serve() {
    pollfd waits[] = {
        {stop_[0], POLLIN, 0}, {socket_.get(), POLLIN, 0}, {broadcasts_.get(), POLLIN, 0}};
    for (;;) {
        int left = -1;
        if (!due_.empty())
            left = static_cast<int>(std::max<int64_t>(
                0, std::chrono::ceil<std::chrono::milliseconds>(due_.begin()->first - Clock::now())
                       .count()));
        poll(waits, 3, left);
        if (waits[0].revents)
            return;
        if (waits[1].revents)
            receive(socket_);
        if (waits[2].revents)
            receive(broadcasts_);
        while (!due_.empty() && due_.begin()->first <= Clock::now()) {
            send(due_.begin()->second);
            due_.erase(due_.begin());
        }
    }
}

void Device::receive(const gvcp::Descriptor &socket) {
    uint8_t packet[2048];
    sockaddr_in from{};
    iovec room{packet, sizeof packet};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(timespec))];
    msghdr message{&from, sizeof from, &room, 1, control, sizeof control, 0};
    const ssize_t size = recvmsg(socket.get(), &message, MSG_DONTWAIT);
    if (size < static_cast<ssize_t>(kHeader))
        return;
    const auto now = Clock::now();
    timespec at;
    memcpy(&at, CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof at);
    Received command{get16(packet + 2), get16(packet + 6), Bytes(packet + kHeader, packet + size),
                     from, std::chrono::seconds(at.tv_sec) + std::chrono::nanoseconds(at.tv_nsec)};
    command.broadcast = &socket == &broadcasts_;
    command.flags = packet[1];
    const Good good{[this, &command] {
        const std::lock_guard<std::mutex> lock(mutex_);
        return goodAnswer(command);
    }};
    std::shared_ptr<Behaviour> behaviour;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (command.command != peer::Discovery) {
            const std::pair present(command.id, from.sin_port);
            command.repeated = std::exchange(last_, present) == present;
            command.number = commands_ += command.repeated ? 0 : 1;
        }
        received_.push_back(command);
        behaviour = behaviour_;
        if (privilege_ && expired(command.at))
            privilege_ = 0;
        if (heard_ && same(controller_, from))
            heard_ = command.at;
    }
    const Replies replies = behaviour ? (*behaviour)(command, good) : Replies{{good()}};
    for (const Reply &reply : replies)
        due_.insert({now + reply.delay, Due{reply, from}});
    came_.notify_all();
}

void Device::send(const Due &due) {
    const uint32_t address = due.reply.from ? due.reply.from : address_;
    const bool own = address == address_ && due.reply.port == peer::kPort;
    const gvcp::Descriptor other = own ? gvcp::Descriptor() : socketAt(address, due.reply.port);
    sendTo(due.to, own ? socket_ : other, due.reply.packet);
}

Bytes Device::goodAnswer(const Received &command) {
    const uint32_t address = command.word(0);
    // Whether memory commands see the registers from there on in reverse.
    const bool reversed = reversed_ && address >= peer::kFirstOwn && address < peer::kDescription;
    const auto inMemory = [=](uint32_t word) { return reversed ? bswap_32(word) : word; };
    Bytes payload;
    uint16_t status = peer::Success;
    switch (command.command) {
    case peer::Discovery:
        for (uint32_t at = 0; at < kIdentity; at += kRegister)
            append32(payload, read(at));
        break;
    case peer::ReadRegister:
        for (size_t i = 0; i < command.payload.size() / kRegister; ++i)
            append32(payload, read(command.word(i)));
        break;
    case peer::ReadMemory:
        append32(payload, address);
        for (uint32_t i = 0; i < command.word(1); i += kRegister)
            append32(payload, inMemory(read(address + i)));
        break;
    case peer::WriteRegister:
        status = write(address, command.word(1), command);
        append32(payload, 1);
        break;
    case peer::WriteMemory:
        for (uint32_t i = 0; (i + 2) * kRegister <= command.payload.size() && !status; ++i)
            status =
                write(address + i * uint32_t{kRegister}, inMemory(command.word(i + 1)), command);
        append32(payload, static_cast<uint32_t>(command.payload.size() - kRegister));
        break;
    default:
        status = peer::NotImplemented;
    }
    return status ? refusalOf(command, status) : answerTo(command, payload);
}

uint16_t Device::write(uint32_t address, uint32_t value, const Received &by) {
    if (privilege_ && !same(controller_, by.from))
        return peer::AccessDenied;
    if (address == peer::kControlPrivilege) {
        privilege_ = value;
        controller_ = by.from;
        heard_ = by.at;
    } else if (!privilege_) {
        return peer::AccessDenied;
    } else {
        registers_[address] = value;
    }
    return peer::Success;
}

uint32_t Device::read(uint32_t address) const {
    switch (address) {
    case peer::kControlPrivilege:
        return privilege_;
    case peer::kControllerPort:
        return ntohs(controller_.sin_port);
    case peer::kControllerAddress:
        return ntohl(controller_.sin_addr.s_addr);
    default:
        break;
    }
    if (const auto found = registers_.find(address); found != registers_.end())
        return found->second;
    uint32_t word = 0;
    for (uint32_t i = 0; i < kRegister; ++i) {
        const uint32_t inDescription = address + i - peer::kDescription;
        word <<= 8;
        if (inDescription < description_.size())
            word |= static_cast<uint8_t>(description_[inDescription]);
        else if (showsPattern_)
            word |= pattern(address + i);
    }
    return word;
}

// Control that was not heard of for its timeout.
bool Device::expired(std::chrono::nanoseconds now) const {
    const std::chrono::milliseconds timeout(read(peer::kHeartbeatTimeout));
    return heard_ && timeout >= kShortestTimeout && now - *heard_ > timeout;
}
