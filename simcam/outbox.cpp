#include "outbox.h"

#include <algorithm>
#include <utility>

namespace simcam {

void Outbox::add(size_t camera, const Endpoint &to, std::vector<Dispatch> packets,
                 Clock::time_point now) {
    for (Dispatch &what : packets) {
        const auto delay = what.delay;
        if (delay.count() == 0 || packets_.size() < kMaxLate)
            packets_.emplace(now + delay, Packet{camera, to, std::move(what), now + kPendingLimit});
    }
}

std::optional<Outbox::Packet> Outbox::take(Clock::time_point now) {
    if (packets_.empty() || packets_.begin()->first > now)
        return std::nullopt;
    Packet packet = std::move(packets_.begin()->second);
    packets_.erase(packets_.begin());
    const auto again = now + kPendingInterval;
    if (packet.what.isPendingAgain && again <= packet.end && packets_.size() < kMaxLate)
        packets_.emplace(again, packet);
    return packet;
}

template <typename Condition>
void Outbox::eraseIf(const Condition &condition) {
    for (auto it = packets_.begin(); it != packets_.end();)
        it = condition(it->second) ? packets_.erase(it) : ++it;
}

void Outbox::endPending(size_t camera, const Endpoint &client) {
    eraseIf([&](const Packet &packet) {
        return packet.what.isPendingAgain && packet.camera == camera && packet.to == client;
    });
}

void Outbox::endPending(size_t camera) {
    eraseIf([&](const Packet &packet) {
        return packet.what.isPendingAgain && packet.camera == camera;
    });
}

bool Outbox::isDoneFor(size_t camera) const {
    return std::none_of(packets_.begin(), packets_.end(), [camera](const auto &packet) {
        return packet.second.camera == camera && !packet.second.what.isPendingAgain;
    });
}

std::optional<Clock::time_point> Outbox::nextDue() const {
    return packets_.empty() ? std::nullopt : std::optional(packets_.begin()->first);
}

} // namespace simcam
