/** A camera that a test scripts packet by packet, on an address of the loopback. */
#ifndef KXINFO_TESTS_GVCP_DEVICE_H
#define KXINFO_TESTS_GVCP_DEVICE_H

#include <netinet/in.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "gvcp/descriptor.h"

/** The protocol's numbers, beside those of gvcp: what is misread there is not mirrored here. */
namespace peer {

constexpr uint16_t kPort = 3956;

enum Command : uint16_t {
    Discovery = 0x0002,
    ReadRegister = 0x0080,
    WriteRegister = 0x0082,
    ReadMemory = 0x0084,
    WriteMemory = 0x0086,
    Pending = 0x0088,
};

enum Status : uint16_t {
    Success = 0x0000,
    NotImplemented = 0x8001,
    InvalidAddress = 0x8003,
    WriteProtect = 0x8004,
    AccessDenied = 0x8006,
    Busy = 0x8007,
};

constexpr uint32_t kUrl = 0x0200;
constexpr uint32_t kSecondUrl = 0x0400;
constexpr uint32_t kCapability = 0x0934;
constexpr uint32_t kHeartbeatTimeout = 0x0938;
constexpr uint32_t kControlPrivilege = 0x0a00;
constexpr uint32_t kControllerPort = 0x0a04;
constexpr uint32_t kControllerAddress = 0x0a14;
/** Below are the standard's registers. */
constexpr uint32_t kFirstOwn = 0x1000;
constexpr uint32_t kDescription = 0x1000000;

} // namespace peer

using Bytes = std::vector<uint8_t>;

/** "127.0.0.2" as a number. */
uint32_t addressOf(const std::string &dotted);

/** A command as it came. */
struct Received {
    uint16_t command;
    uint16_t id;
    Bytes payload;
    sockaddr_in from;
    std::chrono::nanoseconds at; /**< when it was sent, as the kernel says */
    bool broadcast = false;
    uint8_t flags = 0;
    bool repeated = false; /**< the one before had the same request id and sender */
    int number = 0;        /**< from 1 on; a repetition has that of what it repeats, discovery 0 */

    /** The payload's numbers of 4 bytes. */
    uint32_t word(size_t index) const;
    /** Whether it is \p wanted, for the memory or the first register at \p address. */
    bool is(uint16_t wanted, uint32_t address) const;
    bool isWrite() const { return command == peer::WriteRegister || command == peer::WriteMemory; }
    /** Whether \p address is among what it reads or writes. */
    bool reads(uint32_t address) const;
    bool writes(uint32_t address) const { return isWrite() && word(0) == address; }
};

/** For messages of failed tests. */
std::ostream &operator<<(std::ostream &out, const Received &command);

/** An answer with success. */
Bytes answerTo(const Received &command, const Bytes &payload);
Bytes refusalOf(const Received &command, uint16_t status);
/** The answer will be late by so many milliseconds. */
Bytes pendingOf(const Received &command, uint16_t milliseconds);
/** The answer to a discovery command of a camera that has this address. */
Bytes identityOf(const Received &command, uint32_t address, uint32_t mac,
                 const std::string &serial = "S1");

/** A socket there, beside others. */
gvcp::Descriptor socketAt(uint32_t address, uint16_t port = peer::kPort);
void sendTo(const sockaddr_in &to, const gvcp::Descriptor &from, const Bytes &packet);

/** A packet to send. */
struct Reply {
    Bytes packet;
    std::chrono::milliseconds delay{0};
    uint32_t from = 0; /**< 0: the device's own address */
    uint16_t port = peer::kPort;
};
using Replies = std::vector<Reply>;

/** Carries a command out, as a good camera does, and gives the answer. */
struct Good {
    std::function<Bytes()> carryOut;

    Bytes operator()() const { return carryOut(); }
    operator Bytes() const { return carryOut(); }
};

/**
 * Receives from its own thread between construction and destruction. Unless told otherwise it
 * answers as a good camera does: registers and memory hold what was written; control is given to
 * one program, which alone can write, and expires with its heartbeat, unless the timeout is shorter
 * than any camera's, which a busy computer might miss.
 *
 * Everything here may be called at any time.
 */
class Device {
public:
    struct Identity {
        std::string manufacturer = "Scripted";
        std::string model = "Model";
        std::string version = "1.0";
        std::string serial = "S1";
        std::string userName = "";
        uint32_t address = 0; /**< that it claims to have; 0: its own */
    };

    /**
     * What happens to a command. Called on the device's thread. One that takes a good camera's
     * answer as Bytes has the command carried out in any case.
     */
    using Behaviour = std::function<Replies(const Received &command, const Good &good)>;

    /**
     * Broadcasts do not reach it.
     *
     * \param address  "0.0.0.0" gets broadcasts, and has to say where each reply is from
     */
    explicit Device(const std::string &address) : Device(address, Identity(), false) {}
    /** Broadcasts reach it, too. */
    Device(const std::string &address, const Identity &identity)
        : Device(address, identity, true) {}
    ~Device();
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    /** From the next command on; null: as a good camera. */
    void behave(Behaviour behaviour);
    /** Refuses what \p matches, and all else is good. */
    void refuse(std::function<bool(const Received &)> matches, uint16_t status);
    /** Answers nothing. */
    void beSilent() {
        behave([](auto &&...) { return Replies(); });
    }

    void set(uint32_t address, uint32_t value);
    uint32_t get(uint32_t address) const;
    void setText(uint32_t address, const std::string &text, size_t room);
    /** All that was set or written from peer::kFirstOwn on. */
    std::map<uint32_t, uint32_t> ownRegisters() const;
    /** Serves \p content, a text or an archive, as its description. */
    void describe(const std::string &content);
    void setUrls(const std::string &first, const std::string &second = {});
    /** Where describe() puts a description of \p size bytes. */
    static std::string urlFor(size_t size);
    /** Memory where nothing was set is a pattern, in place of zeros. */
    void showPattern();
    /** A byte of that pattern. */
    static uint8_t pattern(uint32_t address);
    /** Memory commands see each own register with its bytes in reverse. */
    void reverseRegistersInMemory();

    /** Takes control from whoever has it, for a program that never loses it. */
    void giveControlTo(uint32_t privilege, const std::string &address, uint16_t port);
    void dropControl() { giveControlTo(0, "0.0.0.0", 0); }
    bool isControlled() const;

    /** What has come since construction, or since forget(). */
    std::vector<Received> received() const;
    void forget();
    /** How many commands have come since construction, without discovery and repetitions. */
    int commands() const;

    /** Waits until so many commands have come; false when they have not in that time. */
    bool waitFor(size_t commands,
                 std::chrono::milliseconds atMost = std::chrono::milliseconds(10000)) const;

private:
    using Clock = std::chrono::steady_clock;

    struct Due {
        Reply reply;
        sockaddr_in to;
    };

    Device(const std::string &address, const Identity &identity, bool hearsBroadcasts);

    void serve();
    void receive(const gvcp::Descriptor &socket);
    void send(const Due &due);
    Bytes goodAnswer(const Received &command);
    uint16_t write(uint32_t address, uint32_t value, const Received &by);
    uint32_t read(uint32_t address) const;
    bool expired(std::chrono::nanoseconds now) const;

    const uint32_t address_;
    gvcp::Descriptor socket_;
    gvcp::Descriptor broadcasts_; // none: they do not reach it
    int stop_[2];
    std::multimap<Clock::time_point, Due> due_; // the thread's own

    mutable std::mutex mutex_; // of all below
    mutable std::condition_variable came_;
    std::shared_ptr<Behaviour> behaviour_; // which may have a state of its own
    std::vector<Received> received_;
    int commands_ = 0;
    std::pair<uint16_t, in_port_t> last_; // command: its id, and whose
    std::map<uint32_t, uint32_t> registers_;
    std::string description_;
    bool showsPattern_ = false;
    bool reversed_ = false;
    uint32_t privilege_ = 0;
    sockaddr_in controller_{};
    std::optional<std::chrono::nanoseconds> heard_; // none: control does not expire

    std::thread thread_;
};

#endif
