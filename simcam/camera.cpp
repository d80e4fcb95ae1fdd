#include "camera.h"

#include "settings.h"
#include "snapshot.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace simcam {

// Every packet goes the same way: receive() drops what is no command, answers a retransmission from
// memory, has carryOut() do the rest, counts and wraps the reply. carryOut() checks the payload's
// shape and hands it to one function per command; those ask mayRead() and write(), where access to
// registers is decided. FaultPlan has its say in receive(), before a command is looked at, before it
// is carried out and before it is answered; faults() where control is asked for.

namespace {

// Where the two forms of the description lie. Registers of a camera description stay below.
constexpr uint32_t kZippedAddress = 0xE0000000;
constexpr uint32_t kPlainAddress = 0xF0000000;

constexpr uint32_t kDefaultHeartbeatMs = 3000;
constexpr uint32_t kShortestHeartbeatMs = 500;

std::string localUrl(const std::string &file, uint32_t address, size_t size) {
    char place[32];
    std::snprintf(place, sizeof place, ";%X;%zX", address, size);
    return "Local:" + file + place;
}

// Whether one host can have an address of this network: no broadcast, multicast or reserved one, nor
// the network's own.
bool isForOneHost(uint32_t address, uint32_t mask) {
    const uint32_t hosts = ~mask;
    const uint32_t host = address & hosts;
    return address >> 24 != 0 && address >> 24 < 224 && (hosts & (hosts + 1)) == 0 && host != 0 &&
           host != hosts;
}

Bytes indexOf(size_t done) {
    Bytes payload;
    append16(payload, 0);
    append16(payload, static_cast<uint16_t>(done));
    return payload;
}

} // namespace

Camera::Camera(Identity identity, std::shared_ptr<const Description> description, FirstUrl firstUrl,
               Clock::time_point now, const Quirks &quirks)
    : identity_(std::move(identity)),
      description_(std::move(description)),
      now_(now),
      timestampStart_(now) {
    mapBootstrap(quirks);
    mapFile(kZippedAddress, description_->zipped);
    mapFile(kPlainAddress, description_->plain);
    mapRegisters(quirks);

    const std::string zipped =
        localUrl(description_->name + ".zip", kZippedAddress, description_->zipped.size());
    const std::string plain =
        localUrl(description_->name + ".xml", kPlainAddress, description_->plain.size());
    const bool zippedFirst = firstUrl == FirstUrl::Zipped;
    using namespace bootstrap;
    memory_.pokeText(kFirstUrl, kUrlSize, quirks.firstUrl.value_or(zippedFirst ? zipped : plain));
    memory_.pokeText(kSecondUrl, kUrlSize, quirks.secondUrl.value_or(zippedFirst ? plain : zipped));

    if (!can(capability::kUserDefinedName))
        unmap(kUserDefinedName, kDiscoveryEnd - kUserDefinedName);
    if (!can(capability::kPrimaryApplication)) {
        unmap(kPrimaryApplicationPort, 4);
        unmap(kPrimaryApplicationIp, 4);
    }
}

// Neither clients nor the user can put anything there.
void Camera::unmap(uint32_t address, uint32_t size) {
    memory_.unmap(address, size);
    for (uint32_t at = address; at < address + size; at += 4)
        kept_.insert(at);
}

bool Camera::can(uint32_t capability) const {
    return memory_.peek32(bootstrap::kCommandCapability) & capability;
}

void Camera::mapBootstrap(const Quirks &quirks) {
    using namespace bootstrap;
    const auto number = [&](uint32_t address, uint32_t value, Memory::Access access) {
        memory_.map(address, 4, access);
        memory_.poke32(address, value);
    };
    const auto text = [&](uint32_t address, uint32_t size, const std::string &value,
                          Memory::Access access) {
        memory_.map(address, size, access);
        memory_.pokeText(address, size, value);
    };

    for (const uint32_t address :
         {kCurrentGateway, kMessageChannelCount, kActionSignalCount, kStreamCapability,
          kMessageCapability, kTickFrequencyHigh, kTimestampHigh, kTimestampLow,
          kPrimaryApplicationPort, kPrimaryApplicationIp, kStreamSourcePort})
        number(address, 0, Memory::kRead);
    for (const uint32_t address : {kPersistentGateway, kControlPrivilege, kStreamHostPort,
                                   kStreamPacketDelay, kStreamDestination})
        number(address, 0, Memory::kReadWrite);
    number(kVersion, 0x00010002, Memory::kRead);
    // The highest bit says that it is big-endian, the lowest that texts are UTF-8.
    number(kDeviceMode, quirks.isLittleEndian ? 0x00000001 : 0x80000001, Memory::kRead);
    number(kMacHigh, 0x0200, Memory::kRead); // a locally administered MAC address
    number(kMacLow, identity_.address, Memory::kRead);
    number(kSupportedIpConfiguration, way::kPersistent | way::kDhcp | way::kLinkLocal,
           Memory::kRead);
    number(kCurrentIpConfiguration, way::kPersistent | way::kLinkLocal, Memory::kReadWrite);
    number(kCurrentIp, identity_.address, Memory::kRead);
    number(kCurrentSubnet, 0xFF000000, Memory::kRead);
    text(kManufacturerName, 32, identity_.vendor, Memory::kRead);
    text(kModelName, 32, identity_.model, Memory::kRead);
    text(kDeviceVersion, 32, "1.0", Memory::kRead);
    text(kManufacturerInfo, 48, "virtual camera", Memory::kRead);
    text(kSerialNumber, 16, identity_.serial, Memory::kRead);
    text(kUserDefinedName, 16, "", Memory::kReadWrite);
    memory_.map(kFirstUrl, kUrlSize, Memory::kRead);
    memory_.map(kSecondUrl, kUrlSize, Memory::kRead);
    number(kInterfaceCount, 1, Memory::kRead);
    number(kPersistentIp, identity_.address, Memory::kReadWrite);
    number(kPersistentSubnet, 0xFF000000, Memory::kReadWrite);
    number(kStreamChannelCount, 1, Memory::kRead);
    number(kCommandCapability,
           (capability::kUserDefinedName | capability::kSerialNumber |
            capability::kPrimaryApplication | capability::kWriteMem | capability::kConcatenation) &
               ~quirks.missing,
           Memory::kRead);
    number(kHeartbeatTimeout, kDefaultHeartbeatMs, Memory::kReadWrite);
    number(kTickFrequencyLow, 1'000'000'000, Memory::kRead);
    number(kTimestampControl, 0, Memory::kWrite);
    number(kStreamPacketSize, 1500, Memory::kReadWrite);
}

void Camera::mapFile(uint32_t address, const Bytes &file) {
    const auto size = static_cast<uint32_t>(file.size());
    memory_.map(address, size, Memory::kRead);
    memory_.poke(address, file.data(), size);
}

// A register that the description places where something is mapped already (a bootstrap register, a
// field of a word that another register has) shares it. What the camera itself has there keeps its
// access and its value.
void Camera::mapRegisters(const Quirks &quirks) {
    const Memory own = memory_;
    for (const Register &reg : description_->registers) {
        for (uint32_t cell = 0; cell < reg.cellCount; ++cell) {
            const uint32_t address = reg.address + cell * reg.stride;
            if (own.isMapped(address)) {
                const bool mayBeSet = own.canRead(address, reg.length) == Status::Success &&
                                      own.canWrite(address, reg.length) == Status::Success &&
                                      address != bootstrap::kControlPrivilege;
                if (!mayBeSet)
                    kept_.insert(address);
                continue;
            }
            memory_.map(address, reg.length, reg.access);
            const bool isNumber =
                reg.kind == Register::Kind::Integer || reg.kind == Register::Kind::Float;
            if (quirks.isLittleEndian && isNumber && reg.length == 4 && !reg.littleEndian)
                turned_.push_back(address);
            if (cell >= reg.initial.size())
                continue;
            Bytes bytes = memory_.peek(address, reg.length);
            for (uint32_t i = 0; i < reg.length; ++i)
                bytes[i] = static_cast<uint8_t>(bytes[i] | reg.initial[cell][i]);
            memory_.poke(address, bytes.data(), reg.length);
        }
    }
    std::sort(turned_.begin(), turned_.end());
}

void Camera::turnWords(uint32_t address, Bytes &block) const {
    for (uint32_t at = 0; at + 4 <= block.size(); at += 4) {
        if (std::binary_search(turned_.begin(), turned_.end(), address + at))
            std::reverse(block.begin() + at, block.begin() + at + 4);
    }
}

void Camera::misbehave(const Faults &faults, uint64_t seed) {
    plan_ = FaultPlan(faults, seed, identity_.serial);
    if (!faults.pending.isNone())
        memory_.poke32(bootstrap::kCommandCapability,
                       memory_.peek32(bootstrap::kCommandCapability) | capability::kPendingAck);
}

void Camera::set(const std::string &feature, const std::string &value) {
    setFeature(*description_, feature, value, kept_, memory_);
}

bool Camera::isGone() const {
    return faults().dieAfter && counts_.answered() >= *faults().dieAfter;
}

bool Camera::isSilent() const {
    return isGone() || (faults().silentAfter && counts_.answered() >= *faults().silentAfter);
}

Outcome Camera::receive(const uint8_t *packet, size_t size, const Endpoint &sender,
                        Delivery delivery, Clock::time_point now) {
    now_ = now;
    forcedTo_.reset();
    expireControl();
    Outcome outcome;
    if (isSilent()) {
        outcome.kind = Outcome::Kind::Silent;
        return outcome;
    }
    if (size < kHeaderSize || packet[0] != kKey)
        return outcome;

    const bool acknowledge = packet[1] & kAcknowledgeRequired;
    const Request request{load16(packet + 2), packet + kHeaderSize, load16(packet + 4), sender};
    const uint16_t id = load16(packet + 6);
    const Bytes bytes(packet, packet + size);

    // A camera has to be found before it can misbehave.
    const bool mayMisbehave = delivery == Delivery::Unicast &&
                              static_cast<Command>(request.command) != Command::Discovery;
    if (mayMisbehave && plan_.drops()) {
        ++counts_.dropped;
        outcome.kind = Outcome::Kind::Dropped;
        return outcome;
    }
    if (sender == controller_)
        lastHeartbeat_ = now;

    const auto done = [&](const Bytes &answer) {
        outcome.kind = Outcome::Kind::Done;
        outcome.status = static_cast<Status>(load16(answer.data()));
        outcome.forcedTo = forcedTo_;
        count(request.command, outcome.status);
        if (!acknowledge)
            return outcome;
        outcome.answer = answer;
        if (mayMisbehave)
            outcome.befallen = plan_.befallAnswer(answer.size());
        count(outcome.befallen);
        return outcome;
    };

    const Bytes *const before = lastWrites_.answerTo(sender, bytes, now);
    if (delivery == Delivery::Unicast && before) {
        ++counts_.repeated;
        outcome.isRepeated = true;
        return done(*before);
    }

    std::optional<Reply> reply;
    if (request.size != size - kHeaderSize || id == 0) {
        if (delivery == Delivery::Unicast)
            reply = Reply{Status::InvalidHeader, {}};
    } else if (mayMisbehave && plan_.nacks()) {
        ++counts_.nacked;
        reply = nack(request);
    } else {
        reply = carryOut(request, delivery);
    }
    if (!reply)
        return outcome;

    Bytes answer;
    append16(answer, static_cast<uint16_t>(reply->status));
    append16(answer, static_cast<uint16_t>(request.command | 1));
    append16(answer, static_cast<uint16_t>(reply->payload.size()));
    append16(answer, id);
    answer.insert(answer.end(), reply->payload.begin(), reply->payload.end());

    const auto command = static_cast<Command>(request.command);
    if (command == Command::WriteReg || command == Command::WriteMem)
        lastWrites_.keep(sender, bytes, answer, now);
    else
        lastWrites_.forget(sender); // a client repeats only its latest command
    return done(answer);
}

// Refused before anything was written.
Camera::Reply Camera::nack(const Request &request) {
    const auto command = static_cast<Command>(request.command);
    const bool isWrite = command == Command::WriteReg || command == Command::WriteMem;
    return {Status::Busy, isWrite ? indexOf(0) : Bytes{}};
}

std::optional<Camera::Reply> Camera::carryOut(const Request &request, Delivery delivery) {
    const auto command = static_cast<Command>(request.command);
    if (command == Command::ForceIp)
        return forceIp(request);
    if (command == Command::Discovery)
        return request.size == 0 ? discover() : Reply{Status::InvalidParameter, {}};
    if (delivery == Delivery::Broadcast)
        return std::nullopt;
    switch (command) {
    case Command::ReadReg:
        return readRegisters(request);
    case Command::WriteReg:
        return writeRegisters(request);
    case Command::ReadMem:
        return readMemory(request);
    case Command::WriteMem:
        return writeMemory(request);
    default:
        return Reply{Status::NotImplemented, {}};
    }
}

Camera::Reply Camera::discover() const {
    return {Status::Success, memory_.peek(bootstrap::kVersion, bootstrap::kDiscoveryEnd)};
}

// The command is broadcast, and meant for the camera whose MAC address it names. Without an address
// it asks the camera to get one by itself: it stays where it is.
std::optional<Camera::Reply> Camera::forceIp(const Request &request) {
    if (request.size != 56)
        return Reply{Status::InvalidParameter, {}};
    if (load16(request.payload + 2) != memory_.peek32(bootstrap::kMacHigh) ||
        load32(request.payload + 4) != memory_.peek32(bootstrap::kMacLow))
        return std::nullopt;
    if (controller_)
        return Reply{Status::AccessDenied, {}};
    const Place place{load32(request.payload + 20), load32(request.payload + 36),
                      load32(request.payload + 52)};
    if (place.address == 0)
        return Reply{};
    if (!isForOneHost(place.address, place.mask))
        return Reply{Status::InvalidParameter, {}};
    forcedTo_ = place;
    return Reply{};
}

void Camera::moveTo(const Place &place) {
    identity_.address = place.address;
    memory_.poke32(bootstrap::kCurrentIp, place.address);
    memory_.poke32(bootstrap::kCurrentSubnet, place.mask);
    memory_.poke32(bootstrap::kCurrentGateway, place.gateway);
}

Camera::Reply Camera::readRegisters(const Request &request) const {
    if (request.size == 0 || request.size % 4 != 0 || request.size > kMaxPayload ||
        (request.size > 4 && !can(capability::kConcatenation)))
        return {Status::InvalidParameter, {}};
    Reply reply;
    for (size_t at = 0; at < request.size; at += 4) {
        const uint32_t address = load32(request.payload + at);
        reply.status = mayRead(address, 4, request.sender);
        if (reply.status != Status::Success)
            break; // the values read so far are part of the answer
        append32(reply.payload, memory_.peek32(address));
    }
    return reply;
}

Camera::Reply Camera::writeRegisters(const Request &request) {
    if (request.size == 0 || request.size % 8 != 0 || request.size > kMaxPayload ||
        (request.size > 8 && !can(capability::kConcatenation)))
        return {Status::InvalidParameter, {}};
    size_t done = 0;
    Status status = Status::Success;
    for (size_t at = 0; at < request.size; at += 8) {
        const uint8_t *pair = request.payload + at;
        status = write(load32(pair), pair + 4, 4, request.sender);
        if (status != Status::Success)
            break; // the writes before it stay done
        ++done;
    }
    return {status, indexOf(done)};
}

Camera::Reply Camera::readMemory(const Request &request) const {
    if (request.size != 8)
        return {Status::InvalidParameter, {}};
    const uint32_t address = load32(request.payload);
    const uint32_t size = load16(request.payload + 6);
    if (size == 0 || size > kMaxMemoryBlock)
        return {Status::InvalidParameter, {}};
    const Status status = mayRead(address, size, request.sender);
    if (status != Status::Success)
        return {status, {}};
    Reply reply;
    append32(reply.payload, address);
    Bytes bytes = memory_.peek(address, size);
    turnWords(address, bytes);
    reply.payload.insert(reply.payload.end(), bytes.begin(), bytes.end());
    return reply;
}

Camera::Reply Camera::writeMemory(const Request &request) {
    if (!can(capability::kWriteMem))
        return {Status::NotImplemented, {}};
    if (request.size < 8 || request.size > 4 + kMaxMemoryBlock)
        return {Status::InvalidParameter, {}};
    const auto size = static_cast<uint32_t>(request.size - 4);
    const uint32_t address = load32(request.payload);
    Bytes bytes(request.payload + 4, request.payload + request.size);
    turnWords(address, bytes);
    const Status status = write(address, bytes.data(), size, request.sender);
    return {status, indexOf(status == Status::Success ? size : 0)};
}

// Everybody may see who controls the camera; the rest is the controller's alone while it has
// exclusive access.
Status Camera::mayRead(uint32_t address, uint32_t size, const Endpoint &sender) const {
    if (address % 4 != 0 || size % 4 != 0)
        return Status::BadAlignment;
    const bool exclusive = memory_.peek32(bootstrap::kControlPrivilege) & kExclusiveAccess;
    const bool asksForControl = address == bootstrap::kControlPrivilege && size == 4;
    if (exclusive && !asksForControl && !(sender == controller_))
        return Status::AccessDenied;
    return memory_.canRead(address, size);
}

// All of it or nothing.
Status Camera::write(uint32_t address, const uint8_t *bytes, uint32_t size,
                     const Endpoint &sender) {
    if (address % 4 != 0 || size % 4 != 0)
        return Status::BadAlignment;
    if (address == bootstrap::kControlPrivilege && size == 4)
        return writeControlPrivilege(load32(bytes), sender);
    if (!(sender == controller_))
        return Status::AccessDenied;
    const Status status = memory_.canWrite(address, size);
    if (status != Status::Success)
        return status;
    memory_.poke(address, bytes, size);

    if (address == bootstrap::kTimestampControl)
        writeTimestampControl(load32(bytes));
    if (address == bootstrap::kCurrentIpConfiguration)
        memory_.poke32(address,
                       (load32(bytes) & memory_.peek32(bootstrap::kSupportedIpConfiguration)) |
                           way::kLinkLocal);
    if (address == bootstrap::kHeartbeatTimeout)
        memory_.poke32(address, std::max(load32(bytes), kShortestHeartbeatMs));
    return Status::Success;
}

Status Camera::writeControlPrivilege(uint32_t value, const Endpoint &sender) {
    if (controller_ && !(sender == controller_))
        return Status::AccessDenied;
    if (value & ~(kExclusiveAccess | kControlAccess))
        return Status::InvalidParameter;
    if (value == 0) {
        releaseControl();
        return Status::Success;
    }
    if (faults().refuseControl)
        return Status::AccessDenied;
    controller_ = sender;
    lastHeartbeat_ = now_;
    memory_.poke32(bootstrap::kControlPrivilege, value);
    memory_.poke32(bootstrap::kPrimaryApplicationIp, sender.address);
    memory_.poke32(bootstrap::kPrimaryApplicationPort, sender.port);
    return Status::Success;
}

void Camera::writeTimestampControl(uint32_t value) {
    constexpr uint32_t kReset = 0x1;
    constexpr uint32_t kLatch = 0x2;
    if (value & kLatch) {
        const auto ticks = static_cast<uint64_t>(
            std::chrono::duration_cast<std::chrono::nanoseconds>(now_ - timestampStart_).count());
        memory_.poke32(bootstrap::kTimestampHigh, static_cast<uint32_t>(ticks >> 32));
        memory_.poke32(bootstrap::kTimestampLow, static_cast<uint32_t>(ticks & 0xFFFFFFFF));
    }
    if (value & kReset)
        timestampStart_ = now_;
}

// A client that has gone without a word loses control, and its retransmissions are forgotten: the
// next client may come from the same port and count from the same number.
void Camera::expireControl() {
    const std::chrono::milliseconds timeout{memory_.peek32(bootstrap::kHeartbeatTimeout)};
    if (!controller_ || now_ - lastHeartbeat_ <= timeout)
        return;
    lastWrites_.forget(*controller_);
    releaseControl();
}

// Streaming ends with the control.
void Camera::releaseControl() {
    controller_.reset();
    for (const uint32_t address : {bootstrap::kControlPrivilege, bootstrap::kPrimaryApplicationIp,
                                   bootstrap::kPrimaryApplicationPort, bootstrap::kStreamHostPort})
        memory_.poke32(address, 0);
}

void Camera::count(uint16_t command, Status status) {
    static const std::map<Command, uint64_t Counts::*> kinds{
        {Command::Discovery, &Counts::discovery},
        {Command::ReadReg, &Counts::readreg},
        {Command::WriteReg, &Counts::writereg},
        {Command::ReadMem, &Counts::readmem},
        {Command::WriteMem, &Counts::writemem}};
    const auto kind = kinds.find(static_cast<Command>(command));
    ++(counts_.*(kind != kinds.end() ? kind->second : &Counts::other));
    if (status != Status::Success)
        ++counts_.refused;
}

void Camera::count(const AnswerFaults &befallen) {
    counts_.delayed += befallen.delay.count() > 0;
    counts_.pending += befallen.pending.count() > 0 || befallen.isNeverSent;
    counts_.cut += befallen.cutTo.has_value();
    counts_.doubled += befallen.isTwice;
    counts_.wrong += befallen.isAfterWrongOnes;
}

std::string Camera::snapshot(Clock::time_point now) {
    now_ = now;
    expireControl();
    return describe(description_->registers, memory_);
}

} // namespace simcam
