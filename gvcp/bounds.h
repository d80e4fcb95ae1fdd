/**
 * How long a camera is waited for, and how much is taken from it. What someone else chooses (a
 * camera, a neighbour on the network) ends at one of these. Those of the description stand beside
 * it, in description.h.
 */
#ifndef KXINFO_GVCP_BOUNDS_H
#define KXINFO_GVCP_BOUNDS_H

#include <array>
#include <chrono>
#include <cstddef>

namespace gvcp {

/**
 * How long a camera is waited for. Programs take these as they are; others make tests of what lasts
 * long short.
 */
struct Waits {
    /**
     * For an answer, the first time and after each repetition. A camera on the same network answers
     * within a millisecond, so what is lost is asked again soon; one that is busy for longer and
     * does not say so still has a second and a half.
     */
    std::array<std::chrono::milliseconds, 4> answer{
        std::chrono::milliseconds{100}, std::chrono::milliseconds{200},
        std::chrono::milliseconds{400}, std::chrono::milliseconds{800}};

    /** PENDING_ACK: how far in all one answer may be put off. */
    std::chrono::milliseconds longestPending{5000};

    /** BUSY: pause before a command is tried again (it doubles), and for how long in all. */
    std::chrono::milliseconds busyPause{10};
    std::chrono::milliseconds longestBusy{2000};

    /**
     * What a camera may cost beyond prompt answers, in all: each answer that took longer than
     * \ref prompt takes its time away, each prompt one gives \ref patienceGain back. So a lossy
     * network is borne with for hours, and a camera that drags every answer out is given up after
     * seconds.
     */
    std::chrono::milliseconds patience{15000};
    std::chrono::milliseconds prompt{90};
    std::chrono::milliseconds patienceGain{100};

    /**
     * From the first command to a node map. The largest descriptions known are 1.3 MB; at five
     * milliseconds a command that is 13 seconds.
     */
    std::chrono::milliseconds longestOpening{30000};

    /** The heartbeat comes several times within the camera's timeout, and within these. */
    std::chrono::milliseconds shortestHeartbeat{100};
    std::chrono::milliseconds longestHeartbeat{1000};
};

/** PENDING_ACK: how often one answer may be put off. */
constexpr int kMostPending = 64;

constexpr int kHeartbeatsPerTimeout = 3;

/** A wait is cut in slices so that a stop flag set between looking and waiting is seen. */
constexpr std::chrono::milliseconds kSlice{100};

/** Cameras kept of one search, and how often all sockets are read once its time is over. */
constexpr size_t kMostCameras = 4096;
constexpr int kMostLateRounds = 4096;
/** Senders that are told apart on each network interface: those of the largest networks. */
constexpr size_t kMostSenders = 65536;
/** Packets of one sender that are read; what it sends beyond is dropped by the kernel. */
constexpr int kMostPacketsOfSender = 16;

} // namespace gvcp

#endif
