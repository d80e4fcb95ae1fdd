/** What the tests of channels share. */
#ifndef KXINFO_TESTS_GVCP_SUPPORT_H
#define KXINFO_TESTS_GVCP_SUPPORT_H

#include <vector>

#include "device.h"
#include "gvcp/channel.h"
#include "problem.h"
#include "timing.h"

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

    OnADevice() { device.showPattern(); }

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
