/** The way to one camera: its registers and memory, and control of it. */
#ifndef KXINFO_GVCP_CHANNEL_H
#define KXINFO_GVCP_CHANNEL_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "gvcp/bounds.h"
#include "gvcp/description.h"
#include "gvcp/descriptor.h"
#include "gvcp/error.h"
#include "gvcp/packets.h"

namespace gvcp {

/** What is wanted of a camera. */
enum class Access {
    Monitor,   /**< reading; nothing is ever written, and another program may control the camera */
    Control,   /**< control; other programs may read */
    Exclusive, /**< control; other programs are kept out altogether */
};

/** Where a camera is. Addresses are IPv4, in host byte order. */
struct Place {
    uint32_t camera;
    uint32_t host = 0;   /**< the address of this computer to send from; 0: the kernel chooses */
    bool onLink = false; /**< it answered a broadcast: no command to it passes a gateway */
};

/** Who controls a camera. */
struct Controller {
    uint32_t privilege = 0; /**< the control privilege register; 0: nobody */
    uint32_t address = 0;   /**< 0: the camera does not tell */
    uint16_t port = 0;

    bool operator==(const Controller &other) const {
        return privilege == other.privilege && address == other.address && port == other.port;
    }
};

/** "another program controls it (192.168.0.5, port 40123)" */
std::string textOf(const Controller &controller);

/** Cause::Controlled, and who does. */
class Controlled : public Error {
public:
    explicit Controlled(const Controller &by) : Error(Cause::Controlled, textOf(by)), by_(by) {}

    const Controller &by() const { return by_; }

private:
    Controller by_;
};

/**
 * An open channel. With control, a thread of its own keeps it while the caller is elsewhere, and
 * notices its loss; the thread ends with the channel.
 *
 * Every operation takes a bounded time (bounds.h) and throws Error. Once a camera has fallen silent
 * or control is lost, every further one fails at once with the same cause and sends nothing.
 *
 * Operations may be called from any thread.
 */
class Channel final : public Memory {
public:
    /**
     * Opens a channel; with control, only if the camera gives it. Until openingEnds() all
     * operations together take at most Waits::longestOpening.
     *
     * \throw Error  Controlled, Silent, Unreachable, Refused, Stopped
     * \throw std::system_error when this computer lacks a socket or a thread
     */
    Channel(const Place &place, Access access, const Waits &waits = Waits());

    /** Gives control back before it returns, if there is any and the camera answers. */
    ~Channel() override;

    /** What belongs to opening is done: from here on only each operation's own time is bounded. */
    void openingEnds();

    /** Reads bytes of memory as they lie there; any address and size will do. */
    void read(uint32_t address, uint8_t *to, size_t size) override;

    /**
     * Writes bytes of memory, with control only. A camera that can only write registers has these
     * written; it takes multiples of 4 bytes, and so do most others.
     */
    void write(uint32_t address, const uint8_t *from, size_t size);

    /** Whether one command can read several registers. */
    bool readsSeveralRegisters() const { return (capability_ & kCanConcatenate) != 0; }

    /** Numbers in registers, in as few commands as the camera allows. */
    std::vector<uint32_t> readRegisters(const std::vector<uint32_t> &addresses);
    void writeRegister(uint32_t address, uint32_t value);

    /** Asks the camera who controls it now. */
    Controller controller();

    /** How often a command was sent again, since no answer to it had come in time. */
    size_t repetitions() const { return repetitions_; }

    /** Sends nothing. \throw Error when every further operation would: it is lost */
    void requireUse();

private:
    using Clock = std::chrono::steady_clock;

    struct Request {
        Command command;
        const uint8_t *payload;
        size_t size;
        size_t answerSize; // of the payload of an answer that tells success
    };

    struct Pending {
        int count = 0;
        Clock::time_point until;     // no answer is put off beyond
        Clock::time_point heartbeat; // when the next is due
    };

    // All with the mutex held. Answers lie in the buffer: good until the next command.
    Answer transact(const Request &request);
    Answer tryWhileBusy(const Request &request);
    Answer exchange(const Request &request);
    std::optional<Answer> await(const Request &request, uint16_t requestId, Pending &pending,
                                Clock::time_point deadline);
    uint16_t nextRequestId();
    std::optional<Answer> receive();
    void send(const Packet &packet);
    void pause(Clock::time_point end, short events);

    std::vector<uint32_t> fetch(const std::vector<uint32_t> &addresses);
    std::vector<uint32_t> fetchUnlessLacking(const std::vector<uint32_t> &addresses);
    void store(uint32_t address, uint32_t value);
    template <class Do>
    void change(Do write);
    void writeBlock(uint32_t address, const uint8_t *from, size_t size);
    Controller readController();
    void noticeLoss();

    void open();
    void takeControl();
    void beat();
    void giveControlBack();

    const Place place_;
    const Access access_;
    Waits waits_;
    Descriptor socket_;

    std::mutex mutex_; // of all below
    std::array<uint8_t, kLargestPacket> buffer_;
    uint16_t requestId_;
    std::atomic<size_t> repetitions_{0};
    std::optional<Clock::time_point> openingDeadline_;
    Clock::duration patience_ = waits_.patience;
    std::optional<Error> lost_;
    uint32_t capability_ = 0;
    size_t largestBlock_ = kLargestBlock;

    std::optional<Controller> self_; // what the camera says while this channel controls it
    Clock::duration heartbeat_ = waits_.longestHeartbeat;
    size_t tries_ = waits_.answer.size();
    bool heedsStop_ = true;
    bool closing_ = false;
    std::condition_variable wake_;
    std::thread heart_;
};

} // namespace gvcp

#endif
