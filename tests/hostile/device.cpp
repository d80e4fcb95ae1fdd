#include "device.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <pugixml.hpp>
#include <sstream>
#include <system_error>

#include "archive.h"

namespace {

constexpr size_t kHeader = 8;
constexpr size_t kIdentitySize = 0xf8;
constexpr uint32_t kOwnRegisters = 0x10000; // below are the standard's
constexpr size_t kMemorySize = 0x30000;
constexpr uint32_t kDescriptionAddress = 0x1000000;
constexpr uint32_t kControllerPort = 0xa04;
constexpr uint32_t kControllerAddress = 0xa14;

constexpr uint16_t kNotImplemented = 0x8001;
constexpr uint16_t kInvalidAddress = 0x8003;
constexpr uint16_t kAccessDenied = 0x8006;

uint16_t get16(std::string_view bytes, size_t at) {
    return static_cast<uint16_t>(static_cast<uint8_t>(bytes.at(at)) << 8 |
                                 static_cast<uint8_t>(bytes.at(at + 1)));
}

uint32_t get32(std::string_view bytes, size_t at) {
    return static_cast<uint32_t>(get16(bytes, at)) << 16 | get16(bytes, at + 2);
}

Bytes big16(uint32_t value) {
    return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

Bytes big32(uint32_t value) {
    return big16(value >> 16) + big16(value);
}

bool isOwn(uint32_t address) {
    return address >= kOwnRegisters && address < kMemorySize;
}

Bytes wordsReversed(Bytes bytes) {
    for (auto word = bytes.begin(); bytes.end() - word >= 4; word += 4)
        std::reverse(word, word + 4);
    return bytes;
}

[[noreturn]] void fail(const char *what) {
    throw std::system_error(errno, std::generic_category(), what);
}

int boundSocket(in_addr_t address) {
    const int made = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(kGvcpPort);
    to.sin_addr.s_addr = address;
    if (made < 0 || setsockopt(made, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        bind(made, reinterpret_cast<sockaddr *>(&to), sizeof to) != 0)
        fail("a device's socket");
    return made;
}

// What the model's own registers hold in a fresh camera.
std::map<uint32_t, Bytes> initialRegisters() {
    pugi::xml_document document;
    document.load_string(builtInDescription().c_str());
    std::map<uint32_t, Bytes> registers;
    for (const auto &found : document.select_nodes("//*[Extension/Initial]")) {
        const pugi::xml_node node = found.node();
        auto address = static_cast<uint32_t>(std::stoul(node.child_value("Address"), nullptr, 0));
        for (const auto &initial : node.child("Extension").children("Initial")) {
            uint32_t value = 0;
            if (std::string_view(node.name()) == "FloatReg") {
                const float number = std::stof(initial.child_value());
                memcpy(&value, &number, sizeof value);
            } else {
                value = static_cast<uint32_t>(std::stoll(initial.child_value(), nullptr, 0));
            }
            registers[address] = big32(value);
            address += 4;
        }
    }
    return registers;
}

} // namespace

uint32_t Command::address() const {
    return payload.size() < 4 ? 0 : get32(payload, 0);
}

bool Command::writes(uint32_t where) const {
    return (code == kWriteRegister || code == kWriteMemory) && address() == where;
}

bool Command::reads(uint32_t where) const {
    return code == kReadMemory && address() <= where && where - address() < get16(payload, 6);
}

Bytes answerTo(const Command &command, uint16_t status, const Bytes &payload) {
    return big16(status) + big16(command.code + 1u) + big16(static_cast<uint32_t>(payload.size())) +
           big16(command.id) + payload;
}

Bytes pendingAnswer(const Command &command, std::chrono::milliseconds time) {
    Command pending = command;
    pending.code = kPending;
    return answerTo(pending, 0, big16(0) + big16(static_cast<uint32_t>(time.count())));
}

Device::Device(const std::string &address, const Identity &identity)
    : address_(address),
      memory_(kMemorySize, '\0'),
      unicast_(boundSocket(inet_addr(address.c_str()))),
      broadcasts_(boundSocket(INADDR_ANY)),
      end_(eventfd(0, EFD_CLOEXEC)) {
    const uint32_t own = ntohl(inet_addr(address.c_str()));
    const auto put = [this](uint32_t at, const Bytes &bytes) {
        memory_.replace(at, bytes.size(), bytes);
    };
    put(0x00, big32(0x00010002)); // version 1.2 of the protocol
    put(0x04, big32(0x80000001)); // big endian, UTF-8
    put(0x08, big32(0x0200));     // MAC address
    put(0x0c, big32(own));
    put(0x24, big32(identity.address ? identity.address : own));
    put(0x34, big32(0xff000000));
    put(0x48, "Dalsa");
    put(0x68, "C1936");
    put(0x88, "1.0");
    put(0xd8, identity.serial);
    // It writes memory, reads several registers at once and tells who controls it.
    put(0x934, big32(0x08000003));
    put(reg::kHeartbeatTimeout, big32(3000));
    static const std::map<uint32_t, Bytes> initial = initialRegisters();
    for (const auto &[at, bytes] : initial)
        put(at, bytes);
    static const Bytes archive = Archive(builtInDescription()).bytes();
    describe(archive);
    thread_ = std::thread(&Device::serve, this);
}

Device::~Device() {
    eventfd_write(end_, 1);
    thread_.join();
    for (const int descriptor : {unicast_, broadcasts_, end_})
        close(descriptor);
}

void Device::onCommand(Hook hook) {
    const std::lock_guard<std::mutex> lock(mutex_);
    hook_ = hook ? std::make_shared<Hook>(std::move(hook)) : nullptr;
}

void Device::describe(const Bytes &content) {
    setUrls(urlFor(content.size()));
    const std::lock_guard<std::mutex> lock(mutex_);
    description_ = content;
}

void Device::setUrls(const std::string &first, const std::string &second) {
    const std::lock_guard<std::mutex> lock(mutex_);
    memory_.replace(reg::kUrl, 512, first + Bytes(512 - first.size(), '\0'));
    memory_.replace(reg::kSecondUrl, 512, second + Bytes(512 - second.size(), '\0'));
}

uint32_t Device::get(uint32_t address) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return get32(memory_, address);
}

void Device::set(uint32_t address, uint32_t value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    memory_.replace(address, 4, big32(value));
}

Bytes Device::registers() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return memory_.substr(kOwnRegisters);
}

void Device::reverseRegistersInMemory() {
    const std::lock_guard<std::mutex> lock(mutex_);
    reversed_ = true;
}

void Device::controlFrom(const std::string &address, uint16_t port) {
    set(reg::kControlPrivilege, 2);
    set(kControllerPort, port);
    set(kControllerAddress, ntohl(inet_addr(address.c_str())));
    const std::lock_guard<std::mutex> lock(mutex_);
    controller_.sin_addr.s_addr = inet_addr(address.c_str());
    controller_.sin_port = htons(port);
    heard_.reset();
}

bool Device::isControlled() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::chrono::milliseconds timeout(get32(memory_, reg::kHeartbeatTimeout));
    return get32(memory_, reg::kControlPrivilege) != 0 &&
           (!heard_ || Clock::now() < *heard_ + timeout);
}

std::vector<Command> Device::received() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

int Device::commands() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return commands_;
}

void Device::send(const sockaddr_in &to, const std::vector<Bytes> &packets) const {
    for (const Bytes &packet : packets)
        sendto(unicast_, packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr *>(&to),
               sizeof to);
}

void Device::serve() {
    pollfd waits[] = {{end_, POLLIN, 0}, {unicast_, POLLIN, 0}, {broadcasts_, POLLIN, 0}};
    while (poll(waits, 3, -1) > 0 && !waits[0].revents) {
        for (const pollfd &wait : {waits[1], waits[2]}) {
            if (wait.revents)
                takePacket(wait.fd);
        }
    }
}

void Device::takePacket(int socket) {
    char packet[2048];
    Command command{};
    socklen_t length = sizeof command.from;
    const ssize_t size = recvfrom(socket, packet, sizeof packet, MSG_DONTWAIT,
                                  reinterpret_cast<sockaddr *>(&command.from), &length);
    if (size < static_cast<ssize_t>(kHeader) || packet[0] != 0x42)
        return;
    const std::string_view bytes(packet, static_cast<size_t>(size));
    command.code = get16(bytes, 2);
    command.id = get16(bytes, 6);
    command.payload = bytes.substr(kHeader);

    std::unique_lock<std::mutex> lock(mutex_);
    if (socket == unicast_) {
        const Command *last = received_.empty() ? nullptr : &received_.back();
        command.repeated = last && last->code == command.code && last->id == command.id &&
                           last->from.sin_port == command.from.sin_port;
        if (!command.repeated)
            lastAnswer_.reset();
        if (!command.repeated && command.code != kDiscovery)
            ++commands_;
        command.number = command.code == kDiscovery ? 0 : commands_;
        received_.push_back(command);
        if (controls(command.from) && heard_)
            heard_ = Clock::now();
    }
    const auto hook = hook_;
    lock.unlock();

    const Answer answer = [this, &command] {
        const std::lock_guard<std::mutex> guard(mutex_);
        if (command.code == kDiscovery)
            return discoveryAnswer(command);
        if (!lastAnswer_)
            lastAnswer_ = carryOut(command);
        return *lastAnswer_;
    };
    send(command.from, hook ? (*hook)(command, answer) : std::vector<Bytes>{answer()});
}

Bytes Device::discoveryAnswer(const Command &command) const {
    return answerTo(command, 0, memory_.substr(0, kIdentitySize));
}

Bytes Device::carryOut(const Command &command) {
    const Bytes &payload = command.payload;
    std::optional<Bytes> content;
    uint16_t status = 0;
    switch (command.code) {
    case kReadRegister: {
        content.emplace();
        for (size_t at = 0; content && at + 4 <= payload.size(); at += 4) {
            const auto value = read(get32(payload, at), 4);
            content = value ? std::optional(*content + *value) : std::nullopt;
        }
        break;
    }
    case kWriteRegister:
        status = payload.size() == 8 ? write(command, get32(payload, 0), payload.substr(4))
                                     : kNotImplemented;
        return answerTo(command, status, big32(status ? 0 : 1));
    case kReadMemory: {
        const uint32_t address = get32(payload, 0);
        content = read(address, get16(payload, 6));
        if (content && reversed_ && isOwn(address))
            content = wordsReversed(*content);
        if (content)
            content = payload.substr(0, 4) + *content;
        break;
    }
    case kWriteMemory: {
        const Bytes sent = payload.substr(4);
        const bool reversed = reversed_ && isOwn(command.address());
        status = write(command, command.address(), reversed ? wordsReversed(sent) : sent);
        return answerTo(command, status, big32(status ? 0 : static_cast<uint32_t>(sent.size())));
    }
    default:
        return answerTo(command, kNotImplemented);
    }
    return content ? answerTo(command, 0, *content) : answerTo(command, kInvalidAddress);
}

std::optional<Bytes> Device::read(uint32_t address, size_t size) const {
    if (address + size <= memory_.size())
        return memory_.substr(address, size);
    // The description's last word is filled up.
    const size_t at = address - size_t{kDescriptionAddress};
    if (address < kDescriptionAddress || at + size > (description_.size() + 3) / 4 * 4)
        return std::nullopt;
    Bytes bytes = description_.substr(at, size);
    bytes.resize(size);
    return bytes;
}

bool Device::controls(const sockaddr_in &peer) const {
    return get32(memory_, reg::kControlPrivilege) != 0 &&
           controller_.sin_addr.s_addr == peer.sin_addr.s_addr &&
           controller_.sin_port == peer.sin_port;
}

uint16_t Device::write(const Command &command, uint32_t address, const Bytes &content) {
    if (address + content.size() > memory_.size())
        return kInvalidAddress;
    const bool free = get32(memory_, reg::kControlPrivilege) == 0;
    if (!controls(command.from) && !(free && address == reg::kControlPrivilege))
        return kAccessDenied;
    memory_.replace(address, content.size(), content);
    if (address == reg::kControlPrivilege) {
        const bool taken = get32(memory_, address) != 0;
        controller_ = command.from;
        heard_ = Clock::now();
        memory_.replace(kControllerPort, 4, big32(taken ? ntohs(command.from.sin_port) : 0));
        memory_.replace(kControllerAddress, 4,
                        big32(taken ? ntohl(command.from.sin_addr.s_addr) : 0));
    }
    return 0;
}

const std::string &builtInDescription() {
    static const std::string text = [] {
        std::ostringstream content;
        content << std::ifstream(BUILT_IN_DESCRIPTION).rdbuf();
        return content.str();
    }();
    return text;
}

std::string urlFor(size_t size) {
    char url[64];
    snprintf(url, sizeof url, "Local:camera;%x;%zx", kDescriptionAddress, size);
    return url;
}
