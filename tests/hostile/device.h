/** A GigE Vision camera that does what a test wants: right by itself, misled by a hook. */
#ifndef KXINFO_TESTS_HOSTILE_DEVICE_H
#define KXINFO_TESTS_HOSTILE_DEVICE_H

#include <netinet/in.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

/** A packet, or any bytes. */
using Bytes = std::string;

constexpr uint16_t kGvcpPort = 3956;

/** The numbers of commands; an answer has the next. */
enum Code : uint16_t {
    kDiscovery = 0x0002,
    kReadRegister = 0x0080,
    kWriteRegister = 0x0082,
    kReadMemory = 0x0084,
    kWriteMemory = 0x0086,
    kPending = 0x0088,
};

constexpr uint16_t kBusy = 0x8007;

/** Addresses of registers: the standard's, and the built-in model's. */
namespace reg {
constexpr uint32_t kUrl = 0x200;
constexpr uint32_t kSecondUrl = 0x400;
constexpr uint32_t kHeartbeatTimeout = 0x938;
constexpr uint32_t kControlPrivilege = 0xa00;
constexpr uint32_t kWidth = 0x10110;
} // namespace reg

struct Command {
    uint16_t code;
    uint16_t id;
    Bytes payload;
    sockaddr_in from;
    int number;    ///< from 1 on; a repetition has that of what it repeats, discovery 0
    bool repeated; ///< the packet before it was the same

    /** The first address that it names. */
    uint32_t address() const;
    bool writes(uint32_t address) const;
    /** As memory, perhaps together with what lies beside it. */
    bool reads(uint32_t address) const;
};

/** The packet that answers a command. */
Bytes answerTo(const Command &command, uint16_t status, const Bytes &payload = {});

/** "The answer to this command will take so long." */
Bytes pendingAnswer(const Command &command, std::chrono::milliseconds time);

/**
 * Camera S1234 of Dalsa, with the registers and the description of the model in simcam/, that
 * answers on an address and to broadcasts from its construction to its end, on a thread of its own.
 * It has control, which expires when its holder is not heard for the heartbeat timeout, and it
 * repeats its answer to a command that comes again.
 *
 * Everything here may be called at any time.
 */
class Device {
public:
    struct Identity {
        std::string serial = "S1234";
        uint32_t address = 0; ///< that it claims to have; 0: its own
    };

    /**
     * \param address  such as "127.0.0.2", of the network namespace that the caller is in
     */
    explicit Device(const std::string &address) : Device(address, Identity()) {}
    Device(const std::string &address, const Identity &identity);
    ~Device();
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    const std::string &address() const { return address_; }

    /** Carries the command out, if that has not been done yet, and gives the packet for it. */
    using Answer = std::function<Bytes()>;
    /** What is sent for a command, in that order; it runs on the device's thread. */
    using Hook = std::function<std::vector<Bytes>(const Command &, const Answer &)>;
    void onCommand(Hook hook);

    /** Serves \p content, a text or an archive, as its description. */
    void describe(const Bytes &content);
    /** The description's URLs, in place of those that describe() makes. */
    void setUrls(const std::string &first, const std::string &second = {});

    uint32_t get(uint32_t address) const;
    void set(uint32_t address, uint32_t value);
    /** All of its own registers. */
    Bytes registers() const;

    /** Shows its own registers to memory commands with their bytes in reverse. */
    void reverseRegistersInMemory();

    /** Lets a program at that place control it, which never ends. */
    void controlFrom(const std::string &address, uint16_t port);
    bool isControlled() const;

    /** What came to its address, discovery too; and how many commands, without repetitions. */
    std::vector<Command> received() const;
    int commands() const;

    /** Sends packets from its control port. */
    void send(const sockaddr_in &to, const std::vector<Bytes> &packets) const;

private:
    using Clock = std::chrono::steady_clock;

    void serve();
    void takePacket(int socket);
    Bytes carryOut(const Command &command);
    Bytes discoveryAnswer(const Command &command) const;
    std::optional<Bytes> read(uint32_t address, size_t size) const;
    uint16_t write(const Command &command, uint32_t address, const Bytes &content);
    bool controls(const sockaddr_in &peer) const;

    const std::string address_;
    mutable std::mutex mutex_;
    std::shared_ptr<Hook> hook_; // it may have a state
    Bytes memory_;
    Bytes description_;
    bool reversed_ = false;
    sockaddr_in controller_{};
    std::optional<Clock::time_point> heard_; // from the controller; nothing: always there
    std::vector<Command> received_;
    int commands_ = 0;
    std::optional<Bytes> lastAnswer_; // to the latest command

    int unicast_;
    int broadcasts_;
    int end_;
    std::thread thread_;
};

/** The description in simcam/. */
const std::string &builtInDescription();

/** Where describe() puts a description of \p size bytes. */
std::string urlFor(size_t size);

#endif
