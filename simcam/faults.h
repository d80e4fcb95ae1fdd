#ifndef KXINFO_SIMCAM_FAULTS_H
#define KXINFO_SIMCAM_FAULTS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string>

namespace simcam {

/** Which of some commands, or answers, a fault befalls. */
struct Share {
    uint64_t first = 0; // the first so many
    double chance = 0;  // of the others each by this chance, 0 to 1
    uint64_t every = 0; // each one whose number, from 1, is a multiple of this; 0: none
    uint64_t at = 0;    // the one of this number; 0: none

    bool isNone() const { return first == 0 && chance <= 0 && every == 0 && at == 0; }
    bool isAll() const { return chance >= 1 || every == 1; }
};

/** How a camera misbehaves. A fresh one behaves. */
struct Faults {
    Share drop;
    Share nack;
    Share delay;
    std::chrono::milliseconds delayTime{0};
    Share pending;
    std::chrono::milliseconds pendingTime{0};
    bool isPendingForever = false; // then there is no time
    Share cut;
    Share twice;
    Share wrong;
    bool refuseControl = false;
    std::optional<uint64_t> silentAfter; // answered commands
    std::optional<uint64_t> dieAfter;

    /**
     * Whether there is anything that befalls some commands, or their answers as a whole, and
     * spares others.
     */
    bool befallCommands() const { return !drop.isNone() || !nack.isNone() || !delay.isNone(); }

    /** Whether there is anything that makes other packets of some answers. */
    bool befallPackets() const {
        return !pending.isNone() || !cut.isNone() || !twice.isNone() || !wrong.isNone();
    }
};

/** What befalls one answer. */
struct AnswerFaults {
    std::chrono::milliseconds delay{0};   // how late it is
    std::chrono::milliseconds pending{0}; // announced by a PENDING_ACK, and comes as much later
    bool isNeverSent = false;             // a PENDING_ACK again and again in its place
    std::optional<size_t> cutTo;          // only so many bytes of it
    bool isTwice = false;
    bool isAfterWrongOnes = false;
};

/**
 * Decides, command by command, what goes wrong. The same seed, serial number and questions give the
 * same decisions, on every machine.
 */
class FaultPlan {
public:
    FaultPlan() : FaultPlan({}, 0, "") {} // nothing ever goes wrong
    FaultPlan(const Faults &faults, uint64_t seed, const std::string &serial);

    const Faults &faults() const { return faults_; }

    /** Asked once for each command that arrives. */
    bool drops() { return befalls(faults_.drop, commands_++); }

    /** Asked once for each command that was not dropped and would be carried out. */
    bool nacks() { return befalls(faults_.nack, carriedOut_++); }

    /** Asked once for each answer, of so many bytes. */
    AnswerFaults befallAnswer(size_t size);

private:
    /** Whether a share befalls the command, or the answer, that has so many before it. */
    bool befalls(const Share &share, uint64_t before);

    Faults faults_;
    std::mt19937_64 random_;
    uint64_t commands_ = 0; // how often was asked
    uint64_t carriedOut_ = 0;
    uint64_t answers_ = 0;
};

} // namespace simcam

#endif
