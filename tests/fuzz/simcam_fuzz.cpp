// A virtual camera, and clients that send it anything. An input is a sequence of packets:
//
//   1 byte   bits 0 and 1: which client; bit 2: broadcast; bit 3: the header is made right
//            (key, length); bit 4: the packet is the one before once more
//   1 byte   time passes before it: so many milliseconds, squared
//   1 byte   size of the packet, in steps of 4 bytes less the lowest two bits
//   then     the packet
//
// An observer that never asks for control looks at the camera around each packet: who controls it
// tells which writes may have been carried out. At the end, every word holds what it held at first
// or what its controller wrote to it.

#include "input.h"

#include <map>
#include <optional>
#include <set>
#include <vector>

#include "camera.h"
#include "watch.h"

namespace {

using namespace simcam;
using std::chrono::milliseconds;

constexpr std::size_t kMaxAnswer = 548; // 576 bytes less the headers of IP and UDP
constexpr std::uint32_t kControl = bootstrap::kControlPrivilege;
constexpr Endpoint kObserver{0x7F000009, 9};

// A model with each kind of register and of access.
std::shared_ptr<const Description> description() {
    auto made = std::make_shared<Description>();
    made->name = "fuzzed";
    made->plain = Bytes(39, 'x'); // its last word is cut short
    made->zipped = Bytes(16, 'z');
    const auto add = [&](const char *name, Register::Kind kind, std::uint32_t address,
                         std::uint32_t length, Memory::Access access) -> Register & {
        Register reg;
        reg.name = reg.feature = name;
        reg.kind = kind;
        reg.address = address;
        reg.length = length;
        reg.access = access;
        reg.initial = {Bytes(length, 0x2A)};
        made->registers.push_back(reg);
        return made->registers.back();
    };
    using Kind = Register::Kind;
    add("WidthMax", Kind::Integer, 0x10000, 4, Memory::kRead);
    add("Width", Kind::Integer, 0x10004, 4, Memory::kReadWrite);
    add("AcquisitionStart", Kind::Integer, 0x10008, 4, Memory::kWrite);
    add("Gain", Kind::Float, 0x1000C, 8, Memory::kReadWrite);
    add("DeviceTemperature", Kind::Float, 0x10014, 4, Memory::kRead).littleEndian = true;
    add("DeviceID", Kind::Text, 0x10018, 16, Memory::kReadWrite);
    Register &table = add("LUTValue", Kind::Integer, 0x20000, 4, Memory::kReadWrite);
    table.cellCount = 8;
    table.stride = 4;
    add("Last", Kind::Block, 0xFFFFFFF8, 8, Memory::kReadWrite);
    return made;
}

// The words that the observer can read, in blocks.
struct Block {
    std::uint32_t address;
    std::uint32_t size;
};
constexpr Block kBlocks[] = {
    {0x0000, 0x14}, {0x0014, 4},      {0x0024, 4},      {0x0034, 4},     {0x0044, 0xB4},
    {0x0200, 512},  {0x0400, 512},    {0x0600, 4},      {0x064C, 4},     {0x065C, 4},
    {0x066C, 4},    {0x0900, 12},     {0x092C, 0x18},   {0x0948, 8},     {0x0A00, 8},
    {0x0A14, 4},    {0x0D00, 12},     {0x0D18, 8},      {0x10000, 8},    {0x1000C, 28},
    {0x20000, 32},  {0xE0000000, 16}, {0xF0000000, 40}, {0xFFFFFFF8, 8},
};

Bytes command(Command kind, const std::vector<std::uint32_t> &words) {
    Bytes packet{kKey, kAcknowledgeRequired};
    append16(packet, static_cast<std::uint16_t>(kind));
    append16(packet, static_cast<std::uint16_t>(4 * words.size()));
    append16(packet, 7);
    for (const std::uint32_t word : words)
        append32(packet, word);
    return packet;
}

using Words = std::map<std::uint32_t, std::uint32_t>;

struct Network {
    Camera camera;
    Clock::time_point now;

    Bytes ask(const Bytes &packet) {
        const auto answer =
            camera.receive(packet.data(), packet.size(), kObserver, Delivery::Unicast, now).answer;
        MUST(answer, "a command of the observer's is answered");
        return *answer;
    }

    std::uint32_t control() {
        const Bytes answer = ask(command(Command::ReadReg, {kControl}));
        MUST(answer.size() == 12 && load16(answer.data()) == 0, "everybody sees who has control");
        return load32(answer.data() + 8);
    }

    Words words() {
        Words all;
        for (const Block &block : kBlocks) {
            const Bytes answer = ask(command(Command::ReadMem, {block.address, block.size}));
            MUST(load16(answer.data()) == 0, "0x%X can be read", block.address);
            MUST(answer.size() == 12 + block.size, "0x%X is read whole", block.address);
            for (std::uint32_t at = 0; at < block.size; at += 4)
                all[block.address + at] = load32(answer.data() + 12 + at);
        }
        return all;
    }
};

// Busy is a fault, which nobody asked for.
bool isKnown(std::uint16_t status) {
    constexpr Status kKnown[] = {Status::Success,          Status::NotImplemented,
                                 Status::InvalidParameter, Status::InvalidAddress,
                                 Status::WriteProtect,     Status::BadAlignment,
                                 Status::AccessDenied,     Status::InvalidHeader};
    return std::find(std::begin(kKnown), std::end(kKnown), static_cast<Status>(status)) !=
           std::end(kKnown);
}

void checkAnswer(const Bytes &packet, Delivery delivery, const std::optional<Bytes> &answer) {
    if (!answer)
        return;
    MUST(packet.size() >= kHeaderSize && packet[0] == kKey, "only commands are answered");
    MUST(packet[1] & kAcknowledgeRequired, "only who asked for it gets an answer");
    const std::uint16_t asked = load16(packet.data() + 2);
    if (delivery == Delivery::Broadcast)
        MUST(asked == 2 || asked == 4, "a broadcast 0x%04X is not answered", asked);
    MUST(answer->size() >= kHeaderSize && answer->size() <= kMaxAnswer, "%zu bytes fit an answer",
         answer->size());
    MUST(isKnown(load16(answer->data())), "status 0x%04X is a status", load16(answer->data()));
    MUST(load16(answer->data() + 2) == (asked | 1), "the answer is of the command's kind");
    MUST(load16(answer->data() + 4) == answer->size() - kHeaderSize, "the length field is right");
    MUST(load16(answer->data() + 6) == load16(packet.data() + 6), "the id is the command's");
}

// The values that a write command carries, by word; nothing of any other command.
std::vector<std::pair<std::uint32_t, std::uint32_t>> written(const Bytes &packet) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> all;
    if (packet.size() < kHeaderSize || packet[0] != kKey ||
        load16(packet.data() + 4) != packet.size() - kHeaderSize)
        return all;
    const std::uint8_t *end = packet.data() + packet.size();
    const std::uint8_t *at = packet.data() + kHeaderSize;
    const auto kind = static_cast<Command>(load16(packet.data() + 2));
    if (kind == Command::WriteReg) {
        for (; end - at >= 8; at += 8)
            all.emplace_back(load32(at), load32(at + 4));
    } else if (kind == Command::WriteMem && end - at >= 8) {
        std::uint32_t address = load32(at);
        for (at += 4; end - at >= 4; at += 4, address += 4)
            all.emplace_back(address, load32(at));
    }
    return all;
}

// What the camera itself changes: who has control, the latched time, and that the stream ends.
bool isCamerasOwn(std::uint32_t address, std::uint32_t value) {
    using namespace bootstrap;
    return address == kTimestampHigh || address == kTimestampLow ||
           (address == kStreamHostPort && value == 0);
}

bool isReadOnly(std::uint32_t address) {
    using namespace bootstrap;
    return (address < 0x10000 && address != kHeartbeatTimeout &&
            address != kCurrentIpConfiguration && address != kPersistentIp &&
            address != kPersistentSubnet && address != kPersistentGateway &&
            address != kStreamHostPort && address != kStreamPacketSize &&
            address != kStreamPacketDelay && address != kStreamDestination &&
            !(address >= kUserDefinedName && address < kDiscoveryEnd)) ||
           address == 0x10000 || address == 0x10014 ||
           (address >= 0xE0000000 && address < 0xFFFFFFF8);
}

const Camera &freshCamera() {
    static const Camera fresh({"S1", 0x7F000002, "Teledyne DALSA", "Fuzzed"}, description(),
                              FirstUrl::Zipped, Clock::time_point{});
    return fresh;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    Network network{freshCamera(), Clock::time_point{}};
    Watcher watcher;
    static const Words before = network.words();
    std::map<std::uint32_t, std::set<std::uint32_t>> allowed;
    Words forced; // by the last FORCEIP

    bool controlled = false;
    Endpoint controller{};
    Clock::time_point heard; // the controller's last command
    Bytes packet;
    for (int count = 0; input.left() > 0 && count < 64; ++count) {
        const unsigned how = input.byte();
        const Endpoint sender{0x7F000010, static_cast<std::uint16_t>(1000 + (how & 3))};
        const Delivery delivery = how & 4 ? Delivery::Broadcast : Delivery::Unicast;
        const int pause = input.byte();
        network.now += milliseconds(pause * pause);
        if (!(how & 16)) {
            const unsigned length = input.byte();
            std::size_t taken = 0;
            const std::uint8_t *bytes =
                input.take(length * 4 - std::min(length * 4, how >> 6), taken);
            packet.assign(bytes, bytes + taken);
        }
        if ((how & 8) && packet.size() >= kHeaderSize) {
            packet[0] = kKey;
            const std::size_t payload = packet.size() - kHeaderSize;
            packet[4] = static_cast<std::uint8_t>(payload >> 8);
            packet[5] = static_cast<std::uint8_t>(payload & 0xFF);
        }

        if (network.control() == 0) {
            MUST(!controlled || network.now - heard > milliseconds(500),
                 "control is not lost within the shortest heartbeat timeout");
            controlled = false;
        }
        const bool couldWrite = !controlled || controller == sender;
        const Bytes exact(packet); // a block of exactly that size
        const Outcome outcome =
            network.camera.receive(exact.data(), exact.size(), sender, delivery, network.now);
        const std::string line = watcher.line(network.camera, exact.data(), exact.size(), sender,
                                              delivery, outcome, network.now);
        MUST(line.find('\n') == std::string::npos, "what is watched is one line");
        checkAnswer(exact, delivery, outcome.answer);

        const auto values = written(exact);
        const bool hasControl = network.control() != 0;
        bool tookControl = false;
        for (const auto &[address, value] : values) {
            // Within one command, control may be taken first and given back last.
            tookControl = tookControl || (address == kControl && (value & 3) != 0);
            if (couldWrite && (controlled || tookControl) && delivery == Delivery::Unicast)
                allowed[address].insert(
                    address == bootstrap::kHeartbeatTimeout         ? std::max(value, 500u)
                    : address == bootstrap::kCurrentIpConfiguration ? (value & 7) | 4
                                                                    : value);
        }
        if (outcome.forcedTo) {
            MUST(load16(exact.data() + 2) == 4 && exact.size() == 64 && !controlled,
                 "a FORCEIP moves a free camera, nothing else");
            MUST(load32(exact.data() + 12) == 0x7F000002, "... and the one that it names");
            MUST(outcome.forcedTo->address >> 24 < 224, "... to an address that one host can have");
            network.camera.moveTo(*outcome.forcedTo);
            forced[bootstrap::kCurrentIp] = outcome.forcedTo->address;
            forced[bootstrap::kCurrentSubnet] = outcome.forcedTo->mask;
            forced[bootstrap::kCurrentGateway] = outcome.forcedTo->gateway;
        }
        MUST(hasControl == controlled || (couldWrite && !values.empty()),
             "control changes by a write of its owner's, or to a free camera");
        if (hasControl && !controlled)
            controller = sender;
        controlled = hasControl;
        if (controlled && controller == sender && exact.size() >= kHeaderSize && exact[0] == kKey)
            heard = network.now;
    }

    // A timeout has 32 bits of milliseconds; after the longest nobody has control.
    network.now += milliseconds(std::int64_t{1} << 33);
    MUST(network.control() == 0, "control ends with the heartbeat");
    for (const auto &[address, value] : network.words()) {
        const std::uint32_t first = before.at(address);
        const auto moved = forced.find(address);
        if (moved != forced.end())
            MUST(value == moved->second, "0x%X is what FORCEIP said last", address);
        else if (value != first && !isCamerasOwn(address, value)) {
            MUST(!isReadOnly(address), "0x%X is read-only: 0x%X became 0x%X", address, first,
                 value);
            MUST(allowed[address].count(value), "0x%X holds 0x%X, which no controller wrote",
                 address, value);
        }
    }
    network.camera.snapshot(network.now);
    return 0;
}
