// A channel to a device on the loopback whose answers are made up. An input is:
//
//   1 byte    bits 0 and 1: access; bit 2: another program has control; bit 3: the heart beats fast;
//             bits 4 to 6: capabilities
//   16 bytes  operations, two bytes each: which, and of what; 0 ends them
//   then      what becomes of each command, in the order in which they come
//
// Where the input ends, all answers are good. Every read is answered with other numbers, so that an
// answer that is taken for another's is seen.

#include "input.h"

#include <array>
#include <mutex>
#include <optional>
#include <vector>

#include "../gvcp/device.h"
#include "gvcp/channel.h"
#include "gvcp/network.h"

namespace {

using namespace gvcp;
using namespace std::chrono_literals;

constexpr const char *kAddress = "127.0.0.2";
// Not a bootstrap register: from here on numbers are made up.
constexpr uint32_t kOwn = 0x1000;
// All waits together are far below that, also on a busy computer.
constexpr auto kLongest = 8s;

volatile sig_atomic_t stopFlag = 0;

Waits shortWaits(bool fastHeart) {
    Waits waits;
    waits.answer = {5ms, 5ms, 5ms, 5ms};
    waits.longestPending = 10ms;
    waits.busyPause = 1ms;
    waits.longestBusy = 5ms;
    waits.patience = 100ms;
    waits.prompt = 4ms;
    waits.patienceGain = 4ms;
    waits.longestOpening = 150ms;
    waits.shortestHeartbeat = fastHeart ? 2ms : 1h;
    waits.longestHeartbeat = fastHeart ? 3ms : 1h;
    return waits;
}

// The device's side: makes answers up, and remembers which were right. Outlives the device.
class Script {
public:
    explicit Script(Input input) : input_(input) {}

    void play(Device &device) {
        device.behave([this](const Received &command, const Bytes &good) {
            const std::lock_guard<std::mutex> lock(mutex_);
            return answer(command, good);
        });
    }

    // An operation begins: only what is answered from here on can be its answer.
    void begin() {
        const std::lock_guard<std::mutex> lock(mutex_);
        numbers_.clear();
        bytes_.clear();
        written_ = false;
    }

    bool saidNumber(uint32_t address, uint32_t value) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return holds(numbers_, address, value);
    }
    bool saidByte(uint32_t address, uint8_t value) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return holds(bytes_, address, value);
    }
    bool saidWritten() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return written_;
    }

private:
    template <class Value>
    using Said = std::multimap<uint32_t, Value>;

    template <class Value>
    static bool holds(const Said<Value> &said, uint32_t address, Value value) {
        const auto [first, last] = said.equal_range(address);
        return std::any_of(first, last, [=](const auto &each) { return each.second == value; });
    }

    Replies answer(const Received &command, Bytes good) {
        // Other numbers each time.
        if (command.word(0) >= kOwn && good.size() > kHeader &&
            (command.command == kReadRegister || command.command == kReadMemory)) {
            const size_t first = command.command == kReadMemory ? kHeader + 4 : kHeader;
            for (size_t i = first; i < good.size(); ++i)
                good[i] = static_cast<uint8_t>(salt_ = salt_ * 1103515245 + 12345);
        }
        const Replies replies = deform(command, good);
        for (const Reply &reply : replies) {
            if (reply.port == kPort)
                remember(command, reply.packet);
        }
        return replies;
    }

    Replies deform(const Received &command, Bytes packet) {
        switch (input_.below(16)) {
        case 1:
            return {};
        case 2:
            return {{refusalOf(command, static_cast<uint16_t>(0x8000 | input_.byte()))}};
        case 3:
            return {{refusalOf(command, kBusy)}};
        case 4:
            return {{pendingOf(command, input_.byte())}};
        case 5:
            return {{pendingOf(command, 20)},
                    {packet, std::chrono::milliseconds(input_.below(16))}};
        case 6:                                                 // a header's byte
            packet[input_.below(kHeader - 1)] ^= input_.byte(); // not to a neighbour's request id
            return {{packet}};
        case 7: // any byte
            if (const size_t at = input_.byte() % packet.size(); at != kHeader - 1)
                packet[at] = input_.byte();
            return {{packet}};
        case 8: // another size, with or without telling so
            packet.resize(input_.byte() % 32 * 2);
            if (packet.size() >= kHeader && input_.oneIn(2))
                put16(&packet[4], static_cast<uint16_t>(packet.size() - kHeader));
            return {{packet}};
        case 9:
            packet.resize(packet.size() + input_.number<uint16_t>() % 2048);
            return {{packet}};
        case 10: {
            Received other = command;
            // Of a command that is long over: what a camera says to one that is under way is its word.
            other.id = static_cast<uint16_t>(other.id - 1000 - input_.byte());
            const uint16_t length = get16(&packet[4]);
            const Bytes stale =
                answerTo(other, Bytes(packet.begin() + kHeader, packet.begin() + kHeader + length));
            return {{stale}, {packet}};
        }
        case 11: {
            const std::string junk = input_.bytes(64);
            return {{Bytes(junk.begin(), junk.end())}, {packet}};
        }
        case 12:
            return {{packet}, {packet}};
        case 13:
            return {{packet, 0ms, 0, 3957}};
        case 14:
            return {{packet, std::chrono::milliseconds(input_.below(16))}};
        case 15:
            stopFlag = 1;
            return {};
        default:
            return {{packet}};
        }
    }

    // What a right answer to the command says.
    void remember(const Received &command, const Bytes &packet) {
        if (packet.size() < kHeader || get16(&packet[0]) != 0 ||
            get16(&packet[2]) != command.command + 1 || get16(&packet[6]) != command.id)
            return;
        const size_t size = get16(&packet[4]);
        if (size > packet.size() - kHeader)
            return;
        const uint8_t *payload = packet.data() + kHeader;
        if (command.command == kReadRegister && size == command.payload.size()) {
            for (size_t i = 0; i < size / 4; ++i)
                numbers_.emplace(command.word(i), get32(payload + 4 * i));
        } else if (command.command == kReadMemory && size == 4 + (command.word(1) & 0xffff) &&
                   get32(payload) == command.word(0)) {
            for (uint32_t i = 4; i < size; ++i)
                bytes_.emplace(command.word(0) + i - 4, payload[i]);
        } else if ((command.command == kWriteRegister || command.command == kWriteMemory) &&
                   size == 4) {
            written_ = true;
        }
    }

    std::mutex mutex_;
    Input input_;
    uint32_t salt_ = 1;
    Said<uint32_t> numbers_;
    Said<uint8_t> bytes_;
    bool written_ = false;
};

void operate(Channel &channel, Script &script, unsigned operation, uint8_t what) {
    const uint32_t address = kOwn + what;
    switch (operation) {
    case 1: {
        std::vector<uint32_t> addresses;
        for (uint32_t i = 0; i < what % 3u * 70 + 1; ++i)
            addresses.push_back(kOwn + 4 * i);
        const auto values = channel.readRegisters(addresses);
        MUST(values.size() == addresses.size(), "each register has a number");
        for (size_t i = 0; i < values.size(); ++i)
            MUST(script.saidNumber(addresses[i], values[i]), "a number is a right answer's");
        break;
    }
    case 2: {
        // A block of exactly that size, so that writing beyond is noticed.
        std::vector<uint8_t> bytes(what * 5u);
        channel.read(address, bytes.data(), bytes.size());
        for (uint32_t i = 0; i < bytes.size(); ++i)
            MUST(script.saidByte(address + i, bytes[i]), "a byte is a right answer's");
        break;
    }
    case 3:
        channel.writeRegister(address, what);
        MUST(script.saidWritten(), "a right answer says that it is written");
        break;
    case 4: {
        const std::vector<uint8_t> bytes(what * 5u);
        channel.write(address, bytes.data(), bytes.size());
        MUST(bytes.empty() || script.saidWritten(), "a right answer says that it is written");
        break;
    }
    case 5:
        channel.controller();
        break;
    default:
        channel.openingEnds();
    }
}

// Whether it has no way to fail but with the camera.
bool asksTheCamera(unsigned operation, uint8_t what) {
    return operation == 1 || operation == 3 || operation == 5 ||
           ((operation == 2 || operation == 4) && what > 0);
}

// Waits until the device has seen all that was sent so far.
std::vector<Received> allReceived(const Device &device) {
    const Descriptor probe = socketAt(addressOf("127.0.0.3"));
    sendTo(socketAddress(addressOf(kAddress), kPort), probe, Bytes(kHeader));
    const auto isProbe = [](const Received &each) { return each.command == 0; };
    for (;;) {
        auto all = device.received();
        if (const auto end = std::find_if(all.begin(), all.end(), isProbe); end != all.end())
            return {all.begin(), end};
        MUST(device.waitFor(all.size() + 1), "the device receives what is sent");
    }
}

bool isFinal(Cause cause) {
    return cause == Cause::Silent || cause == Cause::Unreachable || cause == Cause::ControlLost;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const uint8_t how = input.byte();
    std::array<uint8_t, 16> operations;
    for (uint8_t &each : operations)
        each = input.byte();

    stopFlag = 0;
    stopWhen(&stopFlag);
    const Access access = how % 4 == 0   ? Access::Monitor
                          : how % 4 == 1 ? Access::Exclusive
                                         : Access::Control;
    Script script(input);
    Device device(kAddress);
    device.set(bootstrap::kCapability, (how & 16 ? kCanConcatenate : 0) |
                                           (how & 32 ? kCanWriteMemory : 0) |
                                           (how & 64 ? kTellsController : 0));
    if (how & 4)
        device.giveControlTo(kControlAccess, "127.0.0.9", 9);
    script.play(device);

    const auto start = std::chrono::steady_clock::now();
    bool opened = false;
    std::optional<Cause> ended;
    try {
        Channel channel({addressOf(kAddress)}, access, shortWaits(how & 8));
        opened = true;
        for (size_t i = 0; i < operations.size() && operations[i] % 8 != 0; i += 2) {
            script.begin();
            stopFlag = 0;
            const unsigned operation = operations[i] % 8;
            const uint8_t what = operations[i + 1];
            try {
                operate(channel, script, operation, what);
                MUST(!ended || !asksTheCamera(operation, what),
                     "nothing succeeds once the camera is lost");
            } catch (const Error &error) {
                const bool asMonitor =
                    access == Access::Monitor && (operation == 3 || operation == 4);
                MUST(!ended || error.cause() == *ended || asMonitor, "a lost camera stays so");
                if (isFinal(error.cause()))
                    ended = error.cause();
            }
        }
    } catch (const Error &) {
        MUST(!opened, "nothing is told in the end");
    }
    MUST(std::chrono::steady_clock::now() - start < kLongest, "all ends soon");

    bool wrote = false, gaveBack = false; // by the last command
    for (const Received &each : allReceived(device)) {
        wrote = wrote || each.command == kWriteRegister || each.command == kWriteMemory;
        gaveBack = each.is(kWriteRegister, bootstrap::kControlPrivilege) && each.word(1) == 0;
    }
    MUST(access != Access::Monitor || !wrote, "a monitor writes nothing");
    // A fast heart may have noticed what no operation did.
    if (opened && access != Access::Monitor && ended != Cause::ControlLost && !(how & 8))
        MUST(gaveBack, "control is given back");
    stopWhen(nullptr);
    return 0;
}
