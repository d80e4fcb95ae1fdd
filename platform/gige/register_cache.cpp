#include "register_cache.h"

#include <algorithm>
#include <tuple>

namespace gige {

void RegisterCache::learn(const Register &reg) {
    if (!reg.place)
        return;
    const auto order = bigEndian_.try_emplace(*reg.place, reg.isBigEndian).first;
    order->second = order->second && reg.isBigEndian;
    if (!inControl_)
        return;
    Entry &entry = entries_.try_emplace(*reg.place, Entry{reg.caching, {}}).first->second;
    entry.caching = std::min(entry.caching, reg.caching);
    longest_ = std::max(longest_, reg.place->size);
    for (const auto &invalidator : reg.invalidators) {
        if (invalidator) {
            dependents_[*invalidator].insert(*reg.place);
            longest_ = std::max(longest_, invalidator->size);
        } else {
            dependOnMoving_.insert(*reg.place);
        }
    }
}

std::optional<bool> RegisterCache::isBigEndian(uint64_t address, uint64_t size) const {
    const auto found = bigEndian_.find({address, size});
    return found == bigEndian_.end() ? std::nullopt : std::optional<bool>(found->second);
}

const uint8_t *RegisterCache::find(uint64_t address, uint64_t size) const {
    const auto found = entries_.find({address, size});
    return found == entries_.end() || found->second.bytes.empty() ? nullptr
                                                                  : found->second.bytes.data();
}

void RegisterCache::read(uint64_t address, uint64_t size, const uint8_t *bytes) {
    const auto found = entries_.find({address, size});
    if (found != entries_.end() && found->second.caching != Register::Caching::Never)
        found->second.bytes.assign(bytes, bytes + size);
}

void RegisterCache::written(uint64_t address, uint64_t size, const uint8_t *bytes, bool surely) {
    const Place first{address > longest_ ? address - longest_ : 0, 0};
    const auto isTouched = [&](const Place &place) {
        return place.address < address + size && address < place.address + place.size;
    };
    for (auto it = entries_.lower_bound(first);
         it != entries_.end() && it->first.address < address + size; ++it) {
        auto &[place, entry] = *it;
        const bool same = place.address == address && place.size == size;
        if (same && surely && entry.caching == Register::Caching::WriteThrough)
            entry.bytes.assign(bytes, bytes + size);
        else if (isTouched(place))
            entry.bytes.clear();
    }
    for (auto it = dependents_.lower_bound(first);
         it != dependents_.end() && it->first.address < address + size; ++it) {
        if (isTouched(it->first))
            forget(it->second);
    }
    forget(dependOnMoving_); // whether this is one that has moved here is not known
}

void RegisterCache::forget(const std::set<Place> &places) {
    for (const Place &place : places)
        entries_.at(place).bytes.clear();
}

} // namespace gige
