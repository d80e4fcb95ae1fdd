#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <random>
#include <string>

namespace simcam {

/// Which commands a fault befalls: the first so many, and of the others each by this chance.
struct Share {
    std::uint64_t first = 0;
    double chance = 0; // 0 to 1
};

/// How a camera misbehaves. A fresh one behaves.
struct Faults {
    Share drop;
    Share nack;
    Share delay;
    std::chrono::milliseconds delayTime{0};
    bool refuseControl = false;
    std::optional<std::uint64_t> silentAfter; // answered commands
    std::optional<std::uint64_t> dieAfter;

    /// Whether there is anything that befalls some commands and spares others.
    bool befallCommands() const;
};

/**
 * Decides, command by command, what goes wrong. The same seed, serial number and questions give the
 * same decisions, on every machine.
 */
class Misfortune {
public:
    Misfortune() : Misfortune({}, 0, "") {} // nothing ever goes wrong
    Misfortune(const Faults &faults, std::uint64_t seed, const std::string &serial);

    const Faults &faults() const { return faults_; }

    /// Asked once for each command that arrives.
    bool drops() { return befalls(faults_.drop, commands_); }

    /// Asked once for each command that was not dropped and would be carried out.
    bool nacks() { return befalls(faults_.nack, carriedOut_); }

    /// How late to send an answer; asked once for each.
    std::chrono::milliseconds delays() {
        return befalls(faults_.delay, answers_) ? faults_.delayTime : std::chrono::milliseconds{0};
    }

private:
    bool befalls(const Share &share, std::uint64_t &asked);

    Faults faults_;
    std::mt19937_64 random_;
    std::uint64_t commands_ = 0; // how often was asked
    std::uint64_t carriedOut_ = 0;
    std::uint64_t answers_ = 0;
};

} // namespace simcam
