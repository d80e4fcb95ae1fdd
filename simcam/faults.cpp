#include "faults.h"

#include <vector>

namespace simcam {

namespace {

std::mt19937_64 engine(std::uint64_t seed, const std::string &serial) {
    std::vector<std::uint32_t> parts{static_cast<std::uint32_t>(seed >> 32),
                                     static_cast<std::uint32_t>(seed)};
    for (const char c : serial)
        parts.push_back(static_cast<unsigned char>(c));
    std::seed_seq sequence(parts.begin(), parts.end());
    return std::mt19937_64(sequence);
}

} // namespace

bool Faults::befallCommands() const {
    const auto some = [](const Share &share) { return share.first > 0 || share.chance > 0; };
    return some(drop) || some(nack) || some(delay);
}

Misfortune::Misfortune(const Faults &faults, std::uint64_t seed, const std::string &serial)
    : faults_(faults), random_(engine(seed, serial)) {}

// The standard's engines give the same numbers everywhere, its distributions do not.
bool Misfortune::befalls(const Share &share, std::uint64_t &asked) {
    if (asked++ < share.first)
        return true;
    if (share.chance <= 0)
        return false;
    constexpr double kSteps = 1ull << 53;
    return static_cast<double>(random_() >> 11) / kSteps < share.chance;
}

} // namespace simcam
