// What a virtual camera keeps of others, and how much of it at most.

#include "outbox.h"
#include "senders.h"

#include <gtest/gtest.h>

namespace {

using simcam::Bytes;
using simcam::Clock;
using simcam::Dispatch;
using simcam::kMaxLate;
using simcam::kMaxSenders;
using simcam::kPendingInterval;
using simcam::kPendingLimit;
using simcam::Outbox;
using std::chrono::milliseconds;

// What they have sent last, which a camera and its watcher keep.
class Senders : public testing::Test {
protected:
    const Clock::time_point start{};
    simcam::LastPackets last;

    static simcam::Endpoint sender(size_t number) {
        return {0x7F000001, static_cast<uint16_t>(number)};
    }
    bool isKnown(size_t number, const Bytes &packet, Clock::time_point now) const {
        const Bytes *answer = last.answerTo(sender(number), packet, now);
        return answer && *answer == Bytes{2};
    }
};

TEST_F(Senders, AreRememberedUpToAMaximumBeyondWhichTheOldestIsForgotten) {
    for (size_t i = 1; i <= kMaxSenders; ++i)
        last.keep(sender(i), {1}, {2}, start + milliseconds(i));
    const auto now = start + milliseconds(kMaxSenders + 1);

    EXPECT_TRUE(isKnown(1, {1}, now));
    last.keep(sender(2), {1}, {2}, now); // no more of them
    EXPECT_TRUE(isKnown(1, {1}, now));
    last.keep(sender(kMaxSenders + 1), {1}, {2}, now);
    EXPECT_FALSE(isKnown(1, {1}, now));
    EXPECT_TRUE(isKnown(2, {1}, now));
    EXPECT_TRUE(isKnown(3, {1}, now));
}

TEST_F(Senders, AreRememberedWithTheirLastPacketIfItIsNoLargerThanACommand) {
    const Bytes largest(548, 1), larger(549, 1);
    last.keep(sender(1), largest, {2}, start);
    EXPECT_TRUE(isKnown(1, largest, start));
    EXPECT_FALSE(isKnown(1, {1}, start));

    last.keep(sender(1), larger, {2}, start);
    EXPECT_FALSE(isKnown(1, larger, start));
    EXPECT_FALSE(isKnown(1, largest, start)) << "it is not the last any more";
}

TEST_F(Senders, AreRememberedForFiveSeconds) {
    last.keep(sender(1), {1}, {2}, start);

    EXPECT_TRUE(isKnown(1, {1}, start + milliseconds(5000)));
    EXPECT_FALSE(isKnown(1, {1}, start + milliseconds(5001)));
}

class Late : public testing::Test {
protected:
    const simcam::Endpoint client{0x7F000001, 1000};
    const Clock::time_point start{};
    Outbox outbox;

    void add(size_t count, milliseconds delay, bool isPendingAgain = false) {
        for (size_t i = 0; i < count; ++i)
            outbox.add(0, client, {Dispatch{{0x00}, delay, false, isPendingAgain}}, start);
    }
    size_t taken(Clock::time_point now) {
        size_t count = 0;
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
