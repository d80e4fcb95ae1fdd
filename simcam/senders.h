#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

namespace simcam {

using Clock = std::chrono::steady_clock;

/// A client gives a command up long before; what comes later with the same number is a new one.
constexpr std::chrono::seconds kRetransmissionWindow{5};

/// Far more clients than ask one camera within that time. A packet may have 64 KiB, so what is kept
/// of so many takes 16 MiB at most.
constexpr std::size_t kMaxSenders = 256;

/// A client's address and port, in host byte order.
struct Endpoint {
    std::uint32_t address = 0;
    std::uint16_t port = 0;

    bool operator==(const Endpoint &other) const {
        return address == other.address && port == other.port;
    }
    bool operator<(const Endpoint &other) const {
        return address != other.address ? address < other.address : port < other.port;
    }
};

/**
 * What each sender has said last, as long as it may be said once more: for kRetransmissionWindow.
 * Of more than kMaxSenders the one that has said nothing for the longest time is forgotten.
 */
template <typename Said>
class LastSaid {
public:
    /// Null when there is nothing, or nothing any more.
    const Said *find(const Endpoint &sender, Clock::time_point now) const {
        const auto found = entries_.find(sender);
        return found != entries_.end() && !isOver(found->second, now) ? &found->second.said
                                                                      : nullptr;
    }

    void keep(const Endpoint &sender, Said said, Clock::time_point now) {
        for (auto it = entries_.begin(); it != entries_.end();)
            it = isOver(it->second, now) ? entries_.erase(it) : ++it;
        entries_[sender] = {std::move(said), now};
        if (entries_.size() > kMaxSenders)
            entries_.erase(std::min_element(
                entries_.begin(), entries_.end(),
                [](const auto &a, const auto &b) { return a.second.when < b.second.when; }));
    }

    void forget(const Endpoint &sender) { entries_.erase(sender); }

private:
    struct Entry {
        Said said;
        Clock::time_point when;
    };

    static bool isOver(const Entry &entry, Clock::time_point now) {
        return now - entry.when > kRetransmissionWindow;
    }

    std::map<Endpoint, Entry> entries_;
};

} // namespace simcam
