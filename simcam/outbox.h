#ifndef KXINFO_SIMCAM_OUTBOX_H
#define KXINFO_SIMCAM_OUTBOX_H

#include "dispatch.h"
#include "senders.h"

#include <cstddef>
#include <map>
#include <optional>
#include <vector>

namespace simcam {

/**
 * Packets that wait until they are due. A client waits for a few at a time; one that floods a
 * camera makes them take a few megabytes, and loses what comes beyond.
 */
constexpr size_t kMaxLate = 4096;

/** What some cameras are about to send, by the time when it is due. */
class Outbox {
public:
    struct Packet {
        size_t camera;
        Endpoint to;
        Dispatch what;
        Clock::time_point end; // of what comes again and again
    };

    void add(size_t camera, const Endpoint &to, std::vector<Dispatch> packets,
             Clock::time_point now);

    /** Takes the next packet that is due, if one is. */
    std::optional<Packet> take(Clock::time_point now);

    /** No PENDING_ACK comes again to this client, or to any of this camera's. */
    void endPending(size_t camera, const Endpoint &client);
    void endPending(size_t camera);

    /** Whether a camera has said all that it had begun to say. */
    bool isDoneFor(size_t camera) const;

    /** When the next packet is due. */
    std::optional<Clock::time_point> nextDue() const;

private:
    template <typename Condition>
    void eraseIf(const Condition &condition);

    std::multimap<Clock::time_point, Packet> packets_;
};

} // namespace simcam

#endif
