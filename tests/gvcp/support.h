/** What the tests of channels share. */
#ifndef KXINFO_TESTS_GVCP_SUPPORT_H
#define KXINFO_TESTS_GVCP_SUPPORT_H

#include <gmock/gmock.h>

#include <chrono>
#include <string>

#include "device.h"
#include "gvcp/channel.h"

/** "Silent: it does not answer": the error that \p call raises. */
template <class Call>
std::string problemOf(Call call) {
    static constexpr const char *kCauses[] = {"Silent",      "Unreachable", "Refused", "Controlled",
                                              "ControlLost", "Description", "Stopped"};
    try {
        call();
    } catch (const gvcp::Error &error) {
        return kCauses[static_cast<int>(error.cause())] + std::string(": ") + error.what();
    }
    return "no problem";
}

class Stopwatch {
public:
    std::chrono::milliseconds elapsed() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - start_);
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/** What a computer that has much else to do may add to any time. */
constexpr std::chrono::milliseconds kStall{1000};

/** Waits for tests in which a camera falls silent, and nothing depends on how soon that is seen. */
inline gvcp::Waits quick() {
    using namespace std::chrono_literals;
    gvcp::Waits waits;
    waits.answer = {100ms, 100ms, 100ms, 200ms};
    return waits;
}

/** Waits for tests that count commands: nothing is repeated only because the computer is busy. */
inline gvcp::Waits patient() {
    using namespace std::chrono_literals;
    gvcp::Waits waits;
    waits.answer = {10s, 1s, 1s, 1s};
    return waits;
}

/** A device at 127.0.0.2. */
class OnADevice : public testing::Test {
protected:
    static constexpr uint32_t kRegister = 0x1000;

    /** The commands that have come for one register or place in memory. */
    std::vector<Received> commandsFor(gvcp::Command command, uint32_t address) const {
        std::vector<Received> matching;
        for (const Received &each : device.received()) {
            if (each.is(command, address))
                matching.push_back(each);
        }
        return matching;
    }
    std::vector<Received> readings() const { return commandsFor(gvcp::kReadRegister, kRegister); }

    Device device{"127.0.0.2"};
    const gvcp::Place place{addressOf("127.0.0.2")};
};

#endif
