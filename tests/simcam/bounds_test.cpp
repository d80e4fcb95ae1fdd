// What a virtual camera keeps of others, and how much of it at most.

#include "client.h"
#include "outbox.h"
#include "process.h"
#include "senders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

using simcam::Clock;
using simcam::Dispatch;
using simcam::kMaxLate;
using simcam::kMaxSenders;
using simcam::kPendingInterval;
using simcam::kPendingLimit;
using simcam::Outbox;
using std::chrono::milliseconds;
using testing::HasSubstr;

// A camera S1, and clients that each send one command and read its answer.
class Senders : public testing::Test {
protected:
    Simcam camera{{"--camera", "S1@127.0.0.2", "--watch"}};
    Client first;
    std::vector<std::unique_ptr<Client>> others;

    void othersSend(std::size_t count, const std::string &command) {
        for (std::size_t i = 0; i < count; ++i) {
            others.push_back(std::make_unique<Client>());
            others.back()->ask(command);
            camera.nextLine();
        }
    }
    std::string firstSends(const std::string &command) {
        first.ask(command);
        const std::string line = camera.nextLine();
        return line.substr(line.find("->"));
    }
    const std::string take = "42 01 0082 0008 0042 00000A00 00000002";
    const std::string write = "42 01 0082 0008 0043 00010110 00000640";
    const std::string read = "42 01 0080 0004 0001 00010110";
};

TEST_F(Senders, AreRememberedWithTheirWritesUpToAMaximum) {
    firstSends(take);
    othersSend(kMaxSenders - 1, write);

    EXPECT_EQ("-> ok, repeated", firstSends(take));
}

TEST_F(Senders, BeyondItTheOldestIsForgottenWithItsWrite) {
    firstSends(take);
    othersSend(kMaxSenders, write);

    EXPECT_EQ("-> ok", firstSends(take));
}

TEST_F(Senders, AreRememberedByTheWatcherUpToAMaximum) {
    firstSends(read);
    othersSend(kMaxSenders - 1, read);

    EXPECT_EQ("-> ok, retransmitted", firstSends(read));
}

TEST_F(Senders, BeyondItTheOldestIsForgottenByTheWatcher) {
    firstSends(read);
    othersSend(kMaxSenders, read);

    EXPECT_EQ("-> ok", firstSends(read));
}

class Late : public testing::Test {
protected:
    const simcam::Endpoint client{0x7F000001, 1000};
    const Clock::time_point start{};
    Outbox outbox;

    void add(std::size_t count, milliseconds delay, bool isPendingAgain = false) {
        for (std::size_t i = 0; i < count; ++i)
            outbox.add(0, client, {Dispatch{{0x00}, delay, false, isPendingAgain}}, start);
    }
    std::size_t taken(Clock::time_point now) {
        std::size_t count = 0;
        while (outbox.take(now))
            ++count;
        return count;
    }
};

TEST_F(Late, AnswersWaitUpToAMaximum) {
    add(kMaxLate, milliseconds(50));

    EXPECT_EQ(0u, taken(start + milliseconds(49)));
    EXPECT_EQ(kMaxLate, taken(start + milliseconds(50)));
}

TEST_F(Late, AnswersBeyondItAreLostAndOthersAreNot) {
    add(kMaxLate + 1, milliseconds(50));
    add(1, milliseconds(0));

    EXPECT_EQ(1u, taken(start));
    EXPECT_EQ(kMaxLate, taken(start + milliseconds(50)));
}

TEST_F(Late, PendingAcksComeAgainUntilTheirLimit) {
    add(1, milliseconds(0), true);

    for (auto now = start; now <= start + kPendingLimit; now += kPendingInterval)
        ASSERT_EQ(1u, taken(now)) << (now - start).count();
    EXPECT_FALSE(outbox.nextDue());
}

} // namespace
