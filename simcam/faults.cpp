#include "faults.h"

#include <vector>

namespace simcam {

namespace {

std::mt19937_64 engine(uint64_t seed, const std::string &serial) {
    std::vector<uint32_t> parts{static_cast<uint32_t>(seed >> 32), static_cast<uint32_t>(seed)};
    for (const char c : serial)
        parts.push_back(static_cast<unsigned char>(c));
    std::seed_seq sequence(parts.begin(), parts.end());
    return std::mt19937_64(sequence);
}

} // namespace

FaultPlan::FaultPlan(const Faults &faults, uint64_t seed, const std::string &serial)
    : faults_(faults), random_(engine(seed, serial)) {}

AnswerFaults FaultPlan::befallAnswer(size_t size) {
    const uint64_t answer = answers_++;
    AnswerFaults befallen;
    if (befalls(faults_.delay, answer))
        befallen.delay = faults_.delayTime;
    if (befalls(faults_.pending, answer)) {
        befallen.pending = faults_.pendingTime;
        befallen.isNeverSent = faults_.isPendingForever;
    }
    if (befalls(faults_.cut, answer))
        befallen.cutTo = static_cast<size_t>(random_() % size);
    befallen.isTwice = befalls(faults_.twice, answer);
    befallen.isAfterWrongOnes = befalls(faults_.wrong, answer);
    if (!befallen.isNeverSent)
        return befallen;
    AnswerFaults alone; // nothing else befalls what is not sent
    alone.isNeverSent = true;
    return alone;
}

// The standard's engines give the same numbers everywhere, its distributions do not.
bool FaultPlan::befalls(const Share &share, uint64_t before) {
    const uint64_t number = before + 1;
    if (number <= share.first || number == share.at ||
        (share.every > 0 && number % share.every == 0))
        return true;
    if (share.chance <= 0)
        return false;
    constexpr double kSteps = 1ull << 53;
    return static_cast<double>(random_() >> 11) / kSteps < share.chance;
}

} // namespace simcam
