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
#include <vector>

#include "gvcp/descriptor.h"
#include "gvcp/packets.h"

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

    /** The payload's numbers of 4 bytes. */
    uint32_t word(size_t index) const;
    /** Whether it is \p wanted, for the memory or the first register at \p address. */
    bool is(gvcp::Command wanted, uint32_t address) const;
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
gvcp::Descriptor socketAt(uint32_t address, uint16_t port = gvcp::kPort);
void sendTo(const sockaddr_in &to, const gvcp::Descriptor &from, const Bytes &packet);

/** A packet to send. */
struct Reply {
    Bytes packet;
    std::chrono::milliseconds delay{0};
    uint32_t from = 0; /**< 0: the device's own address */
    uint16_t port = gvcp::kPort;
};
using Replies = std::vector<Reply>;

/**
 * Receives from its own thread between construction and destruction. Unless told otherwise it
 * answers as a good camera does: registers hold what was written, other memory a pattern; control
 * is given to one program, which alone can write, and expires with its heartbeat, unless the
 * timeout is shorter than any camera's, which a busy computer might miss.
 */
class Device {
public:
    /** What happens to a command, given a good camera's answer. Called on the device's thread. */
    using Behaviour = std::function<Replies(const Received &command, const Bytes &good)>;

    /** \param address  "0.0.0.0" gets broadcasts, and has to say where each reply is from */
    explicit Device(const std::string &address);
    ~Device();
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    /** From the next command on. */
    void behave(Behaviour behaviour);

    void set(uint32_t address, uint32_t value);
    uint32_t get(uint32_t address) const;
    /** A byte of memory that holds no register. */
    static uint8_t pattern(uint32_t address);

    /** Takes control from whoever has it, for a program that never loses it. */
    void giveControlTo(uint32_t privilege, const std::string &address, uint16_t port);
    void dropControl() { giveControlTo(0, "0.0.0.0", 0); }

    /** What has come since construction, or since forget(). */
    std::vector<Received> received() const;
    void forget();

    /** Waits until so many commands have come; false when they have not in that time. */
    bool waitFor(size_t commands,
                 std::chrono::milliseconds atMost = std::chrono::milliseconds(10000)) const;

private:
    using Clock = std::chrono::steady_clock;

    struct Due {
        Reply reply;
        sockaddr_in to;
    };

    void serve();
    void receive();
    void send(const Due &due);
    Bytes goodAnswer(const Received &command);
    uint16_t write(uint32_t address, uint32_t value, const Received &by);
    uint32_t read(uint32_t address) const;

    const uint32_t address_;
    gvcp::Descriptor socket_;
    int stop_[2];
    std::multimap<Clock::time_point, Due> due_; // the thread's own

    mutable std::mutex mutex_; // of all below
    mutable std::condition_variable came_;
    std::shared_ptr<Behaviour> behaviour_; // which may have a state of its own
    std::vector<Received> received_;
    std::map<uint32_t, uint32_t> registers_;
    uint32_t privilege_ = 0;
    sockaddr_in controller_{};
    std::optional<std::chrono::nanoseconds> heard_; // none: control does not expire

    std::thread thread_;
};

#endif
