#ifndef KXINFO_SIMCAM_DISPATCH_H
#define KXINFO_SIMCAM_DISPATCH_H

#include "faults.h"
#include "protocol.h"

#include <chrono>
#include <vector>

namespace simcam {

/**
 * A PENDING_ACK that no answer follows comes again after this time, each promising the answer
 * within the other: a client that believes it hears the next one before it gives up.
 */
constexpr std::chrono::milliseconds kPendingInterval{100};
constexpr std::chrono::milliseconds kPendingPromise{200};

/** ... and comes no more after this: longer than any host should wait for one answer. */
constexpr std::chrono::seconds kPendingLimit{60};

/** A packet on its way to a client. */
struct Dispatch {
    Bytes packet;
    std::chrono::milliseconds delay{0};
    bool isFromOtherPort = false; // of the camera's address
    bool isPendingAgain = false;  // goes on until the client says something, or for kPendingLimit
};

/** What a client gets in place of an answer, in the order of sending. */
std::vector<Dispatch> dispatch(const Bytes &answer, const AnswerFaults &befallen);

} // namespace simcam

#endif
