#ifndef KXINFO_SIMCAM_SENDERS_H
#define KXINFO_SIMCAM_SENDERS_H

#include "protocol.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

namespace simcam {

using Clock = std::chrono::steady_clock;

/** A client gives a command up long before; what comes later with the same number is a new one. */
constexpr std::chrono::seconds kRetransmissionWindow{5};

/**
 * Far more clients than ask one camera within that time. A command and its answer have kMaxPacket
 * bytes each at most, so what is kept of so many takes 300 KiB.
 */
constexpr size_t kMaxSenders = 256;

/** A client's address and port, in host byte order. */
struct Endpoint {
    uint32_t address = 0;
    uint16_t port = 0;

    bool operator==(const Endpoint &other) const {
        return address == other.address && port == other.port;
    }
    bool operator<(const Endpoint &other) const {
        return address != other.address ? address < other.address : port < other.port;
    }
};

/**
 * What each sender has sent last and was answered, as long as it may be sent once more: for
 * kRetransmissionWindow. Of more than kMaxSenders the one that has sent nothing for the longest time
 * is forgotten. What is larger than a command may be is refused each time anew, and not kept.
 */
class LastPackets {
public:
    /** The answer to this packet if it is the last of its sender; null otherwise. */
    const Bytes *answerTo(const Endpoint &sender, const Bytes &packet,
                          Clock::time_point now) const {
        const auto found = entries_.find(sender);
        return found != entries_.end() && !isOver(found->second, now) &&
                       found->second.packet == packet
                   ? &found->second.answer
                   : nullptr;
    }

    void keep(const Endpoint &sender, const Bytes &packet, const Bytes &answer,
              Clock::time_point now) {
        forget(sender);
        for (auto it = entries_.begin(); it != entries_.end();)
            it = isOver(it->second, now) ? entries_.erase(it) : ++it;
        if (packet.size() > kMaxPacket)
            return;
        entries_[sender] = {packet, answer, now};
        if (entries_.size() > kMaxSenders)
            entries_.erase(std::min_element(
                entries_.begin(), entries_.end(),
                [](const auto &a, const auto &b) { return a.second.when < b.second.when; }));
    }

    void forget(const Endpoint &sender) { entries_.erase(sender); }

private:
    struct Entry {
        Bytes packet;
        Bytes answer;
        Clock::time_point when;
    };

    static bool isOver(const Entry &entry, Clock::time_point now) {
        return now - entry.when > kRetransmissionWindow;
    }

    std::map<Endpoint, Entry> entries_;
};

} // namespace simcam

#endif
