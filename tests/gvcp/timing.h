/** Time in tests. */
#ifndef KXINFO_TESTS_GVCP_TIMING_H
#define KXINFO_TESTS_GVCP_TIMING_H

#include <gmock/gmock.h>

#include <chrono>
#include <thread>

class Stopwatch {
public:
    std::chrono::milliseconds elapsed() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - start_);
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/** What a computer that has much else to do may add to any time; sanitizers look for else. */
constexpr std::chrono::milliseconds kStall{KXINFO_SANITIZED ? 10000 : 1000};

/** A time, or what a busy computer makes of it. */
inline auto lasts(std::chrono::milliseconds time) {
    return testing::AllOf(testing::Ge(time), testing::Lt(time + kStall));
}

/** Waits for what another thread does; false when it does not happen in that time. */
template <class Condition>
bool happens(Condition condition, std::chrono::seconds atMost = std::chrono::seconds(20)) {
    for (const Stopwatch stopwatch; !condition(); std::this_thread::yield()) {
        if (stopwatch.elapsed() > atMost)
            return false;
    }
    return true;
}

#endif
