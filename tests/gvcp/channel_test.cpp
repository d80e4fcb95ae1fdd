// What becomes of a command: repetition, the check of its answer, and every bound on waiting.

#include "support.h"

#include <algorithm>
#include <set>

#include "gvcp/network.h"

namespace {

using namespace gvcp;
using namespace std::chrono_literals;
using std::chrono::milliseconds;
using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::Le;
using testing::Lt;
using testing::SizeIs;

/** Has \p behaviour, which is told how often it came before, for one register; else all is good. */
Device::Behaviour
forRegister(uint32_t address,
            std::function<Replies(const Received &, const Bytes &good, int before)> behaviour) {
    return [=, count = 0](const Received &command, const Bytes &good) mutable -> Replies {
        if (!command.is(kReadRegister, address))
            return {{good}};
        return behaviour(command, good, count++);
    };
}

class LostAnswers : public OnADevice {};

TEST_F(LostAnswers, AreAskedForAgainAfterLongerAndLongerWaitsWithTheSameRequestId) {
    device.set(kRegister, 42);
    device.behave(forRegister(kRegister, [](const Received &, const Bytes &good, int before) {
        return before == 3 ? Replies{{good, 300ms}} : Replies{};
    }));
    Channel channel(place, Access::Monitor);

    EXPECT_THAT(channel.readRegisters({kRegister}), ElementsAre(42));

    const auto commands = readings();
    ASSERT_THAT(commands, SizeIs(4));
    EXPECT_THAT(
        std::set<uint16_t>({commands[0].id, commands[1].id, commands[2].id, commands[3].id}),
        SizeIs(1));
    constexpr Waits kUsual;
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_THAT(commands[i + 1].at - commands[i].at,
                    AllOf(Ge(kUsual.answer[i]), Lt(kUsual.answer[i] + kStall)))
            << i;
    }
}

TEST_F(LostAnswers, AreThoseOfASilentCameraAfterTheFourthCommand) {
    device.behave(forRegister(kRegister, [](auto &&...) { return Replies{}; }));
    Channel channel(place, Access::Monitor);
    const Stopwatch stopwatch;

    EXPECT_EQ("Silent: it does not answer", problemOf([&] { channel.readRegisters({kRegister}); }));

    EXPECT_THAT(stopwatch.elapsed(), AllOf(Ge(1500ms), Lt(1500ms + kStall)));
    EXPECT_THAT(readings(), SizeIs(4));
}

TEST_F(LostAnswers, MakeEveryLaterOperationFailAtOnceAndSendNothing) {
    device.behave(forRegister(kRegister, [](auto &&...) { return Replies{}; }));
    Channel channel(place, Access::Control, quick());
    problemOf([&] { channel.readRegisters({kRegister}); });
    device.behave(nullptr);
    device.forget();

    uint8_t bytes[4] = {};
    const std::string earlier = "Silent: it stopped answering earlier";
    EXPECT_EQ(earlier, problemOf([&] { channel.readRegisters({kRegister}); }));
    EXPECT_EQ(earlier, problemOf([&] { channel.writeRegister(kRegister, 1); }));
    EXPECT_EQ(earlier, problemOf([&] { channel.read(kRegister, bytes, 4); }));
    EXPECT_EQ(earlier, problemOf([&] { channel.write(kRegister, bytes, 4); }));
    EXPECT_EQ(earlier, problemOf([&] { channel.controller(); }));

    EXPECT_THAT(device.received(), SizeIs(0));
}

// A reply that must not be taken for the answer, which is to hold the number 42.
struct Wrong {
    const char *name;
    std::function<Replies(const Received &, const Bytes &good)> replies;
};

Bytes with(Bytes packet, size_t at, uint16_t value) {
    put16(&packet[at], value);
    return packet;
}

Bytes cut(Bytes packet, size_t bytes) {
    packet.resize(packet.size() - bytes);
    return packet;
}

void PrintTo(const Wrong &wrong, std::ostream *out) {
    *out << wrong.name;
}

// All of them hold 7 where the right answer holds 42.
const std::vector<Wrong> kWrongAnswers = {
    {"of another request",
     [](const Received &command, const Bytes &good) {
         return Replies{{with(good, 6, static_cast<uint16_t>(command.id + 1))}};
     }},
    {"of another command",
     [](const Received &, const Bytes &good) {
         return Replies{{with(good, 2, kWriteRegister + 1)}};
     }},
    {"that is a command",
     [](const Received &, const Bytes &good) { return Replies{{with(good, 2, kReadRegister)}}; }},
    {"from another port",
     [](const Received &, const Bytes &good) {
         return Replies{{good, 0ms, 0, 3957}};
     }},
    {"from another address",
     [](const Received &, const Bytes &good) {
         return Replies{{good, 0ms, addressOf("127.0.0.3")}};
     }},
    {"with a number too many",
     [](const Received &command, const Bytes &) {
         return Replies{{answerTo(command, {0, 0, 0, 7, 0, 0, 0, 7})}};
     }},
    {"with no number",
     [](const Received &command, const Bytes &) { return Replies{{answerTo(command, {})}}; }},
    {"with half a number",
     [](const Received &command, const Bytes &) {
         return Replies{{answerTo(command, {0, 7})}};
     }},
    {"that was cut short",
     [](const Received &, const Bytes &good) { return Replies{{cut(good, 1)}}; }},
    {"of which little is left",
     [](const Received &, const Bytes &good) { return Replies{{cut(good, 5)}}; }},
    {"that is empty", [](const Received &, const Bytes &) { return Replies{{Bytes()}}; }},
    {"that is longer than any packet",
     [](const Received &command, const Bytes &) {
         return Replies{{answerTo(command, Bytes(1400, 7))}};
     }},
};

class Answers : public OnADevice, public testing::WithParamInterface<Wrong> {};

TEST_P(Answers, ThatAreNotTheRightOneAreNotTaken) {
    const Wrong &wrong = GetParam();
    device.set(kRegister, 7);
    device.behave(forRegister(kRegister, [&](const Received &command, const Bytes &good, int) {
        Replies replies = wrong.replies(command, good);
        replies.push_back({with(good, 10, 42)});
        return replies;
    }));
    Channel channel(place, Access::Monitor);

    EXPECT_THAT(channel.readRegisters({kRegister}), ElementsAre(42));

    device.behave(forRegister(kRegister, [&](const Received &command, const Bytes &good, int) {
        return wrong.replies(command, good);
    }));
    Channel another(place, Access::Monitor, quick());
    EXPECT_EQ("Silent: it does not answer", problemOf([&] { another.readRegisters({kRegister}); }));
}

INSTANTIATE_TEST_SUITE_P(, Answers, testing::ValuesIn(kWrongAnswers), [](const auto &test) {
    std::string name = test.param.name;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
});

class SeveralAnswers : public OnADevice {};

TEST_F(SeveralAnswers, ToOneCommandAreNotTakenForThoseOfTheNext) {
    device.set(kRegister, 1);
    device.set(kRegister + 4, 2);
    device.behave(forRegister(kRegister, [](const Received &, const Bytes &good, int) {
        return Replies{{good}, {good}, {good}};
    }));
    Channel channel(place, Access::Monitor, patient());

    EXPECT_THAT(channel.readRegisters({kRegister, kRegister + 4, kRegister}), ElementsAre(1, 2, 1));

    EXPECT_THAT(readings(), SizeIs(2));
}

TEST_F(SeveralAnswers, AreReadUntilTheRightOneHoweverMuchRubbishComesBefore) {
    device.set(kRegister, 42);
    device.behave(forRegister(kRegister, [](const Received &, const Bytes &good, int before) {
        // More than a socket holds: the right answer may be lost among it, but not always.
        Replies replies(before < 3 ? 5000 : 0, Reply{Bytes(500, 0xaa)});
        replies.push_back({good});
        return replies;
    }));
    Channel channel(place, Access::Monitor);

    EXPECT_THAT(channel.readRegisters({kRegister}), ElementsAre(42));
}

TEST_F(SeveralAnswers, DoNotProlongTheWaitWhenNoneIsRight) {
    device.behave(forRegister(kRegister, [](const Received &, const Bytes &, int before) {
        Replies replies;
        for (int i = 0; before == 0 && i < 20000; ++i)
            replies.push_back({Bytes(8, 0xaa), milliseconds(i / 10)});
        return replies;
    }));
    Channel channel(place, Access::Monitor);
    const Stopwatch stopwatch;

    EXPECT_EQ("Silent: it does not answer", problemOf([&] { channel.readRegisters({kRegister}); }));

    EXPECT_THAT(stopwatch.elapsed(), AllOf(Ge(1500ms), Lt(1500ms + kStall)));
}

class MemoryAnswers : public OnADevice {};

TEST_F(MemoryAnswers, OfAnotherPlaceOrSizeAreNotTaken) {
    device.behave([](const Received &command, const Bytes &good) -> Replies {
        if (!command.is(kReadMemory, kRegister))
            return {{good}};
        Bytes elsewhere = good;
        put32(&elsewhere[8], kRegister + 8);
        put32(&elsewhere[12], 7);
        Bytes shorter(good.begin() + 8, good.end() - 4);
        Bytes longer(good.begin() + 8, good.end());
        longer.resize(longer.size() + 4);
        return {{elsewhere}, {answerTo(command, shorter)}, {answerTo(command, longer)}, {good}};
    });
    Channel channel(place, Access::Monitor);
    uint8_t bytes[8];

    channel.read(kRegister, bytes, sizeof bytes);

    for (uint32_t i = 0; i < sizeof bytes; ++i)
        EXPECT_EQ(Device::pattern(kRegister + i), bytes[i]) << i;
}

class Pending : public OnADevice {
protected:
    static Waits shortened() {
        Waits waits = quick();
        waits.longestPending = 1500ms;
        return waits;
    }
};

TEST_F(Pending, MakesTheAnswerLaterThanAllRepetitionsWouldLast) {
    device.set(kRegister, 42);
    device.behave(forRegister(kRegister, [](const Received &command, const Bytes &good, int) {
        return Replies{{pendingOf(command, 3000)}, {good, 1700ms}};
    }));
    Channel channel(place, Access::Monitor);

    EXPECT_THAT(channel.readRegisters({kRegister}), ElementsAre(42));

    EXPECT_THAT(readings(), SizeIs(1));
}

TEST_F(Pending, MakesTheCommandBeRepeatedWhenItsTimeIsOver) {
    device.set(kRegister, 42);
    device.behave(forRegister(kRegister, [](const Received &command, const Bytes &good, int n) {
        return n == 0 ? Replies{{pendingOf(command, 300)}} : Replies{{good}};
    }));
    Channel channel(place, Access::Monitor);
    const Stopwatch stopwatch;

    EXPECT_THAT(channel.readRegisters({kRegister}), ElementsAre(42));

    EXPECT_THAT(stopwatch.elapsed(), AllOf(Ge(300ms), Lt(300ms + kStall)));
    EXPECT_THAT(readings(), SizeIs(2));
}

TEST_F(Pending, DoesNotMakeAWaitShorter) {
    device.set(kRegister, 42);
    device.behave(forRegister(kRegister, [](const Received &command, const Bytes &good, int) {
        return Replies{{pendingOf(command, 0)}, {good, 60ms}};
    }));
    Channel channel(place, Access::Monitor, patient());

    EXPECT_THAT(channel.readRegisters({kRegister}), ElementsAre(42));

    EXPECT_THAT(readings(), SizeIs(1));
}

TEST_F(Pending, PutsAnAnswerOffUntilTheLongestTimeInAll) {
    device.set(kRegister, 42);
    device.behave(forRegister(kRegister, [](const Received &command, const Bytes &good, int) {
        return Replies{
            {pendingOf(command, 60000)}, {pendingOf(command, 60000), 500ms}, {good, 800ms}};
    }));
    Channel channel(place, Access::Monitor, shortened());

    EXPECT_THAT(channel.readRegisters({kRegister}), ElementsAre(42));

    EXPECT_THAT(readings(), SizeIs(1));
}

TEST_F(Pending, DoesNotPutAnAnswerOffBeyondTheLongestTimeInAll) {
    device.behave(forRegister(kRegister, [](const Received &command, const Bytes &, int) {
        return Replies{{pendingOf(command, 60000)}};
    }));
    Channel channel(place, Access::Monitor, shortened());
    const Stopwatch stopwatch;

    EXPECT_EQ("Silent: it keeps putting its answer off",
              problemOf([&] { channel.readRegisters({kRegister}); }));

    EXPECT_THAT(stopwatch.elapsed(), AllOf(Ge(1500ms), Lt(1500ms + kStall)));
    EXPECT_THAT(readings(), SizeIs(2));
}

TEST_F(Pending, CountsOfOneCommandEndAtABound) {
    for (const int pendings : {kMostPending, kMostPending + 1}) {
        device.behave(forRegister(kRegister, [=](const Received &command, const Bytes &good, int) {
            Replies replies(static_cast<size_t>(pendings), Reply{pendingOf(command, 100)});
            replies.push_back({good});
            return replies;
        }));
        Channel channel(place, Access::Monitor);

        EXPECT_EQ(pendings == kMostPending ? "no problem"
                                           : "Silent: it keeps putting its answer off",
                  problemOf([&] { channel.readRegisters({kRegister}); }));
    }
}

TEST_F(Pending, OfAnotherRequestOrCutShortIsIgnored) {
    device.set(kRegister, 42);
    device.behave(forRegister(kRegister, [](const Received &command, const Bytes &good, int n) {
        Received other = command;
        ++other.id;
        Bytes tooShort = answerTo(command, {0xff, 0xff});
        put16(&tooShort[2], kPending + 1);
        return n == 0 ? Replies{{pendingOf(other, 60000)}, {tooShort}} : Replies{{good}};
    }));
    Channel channel(place, Access::Monitor);
    const Stopwatch stopwatch;

    EXPECT_THAT(channel.readRegisters({kRegister}), ElementsAre(42));

    EXPECT_THAT(stopwatch.elapsed(), AllOf(Ge(100ms), Lt(100ms + kStall)));
}

class Busy : public OnADevice {
protected:
    static Waits shortened() {
        Waits waits;
        waits.busyPause = 200ms;
        waits.longestBusy = 1000ms;
        return waits;
    }

    /** Is busy for so long from the first reading of the register on. */
    void beBusyFor(milliseconds time) {
        device.behave(forRegister(
            kRegister, [=, end = std::chrono::nanoseconds()](
                           const Received &command, const Bytes &good, int before) mutable {
                if (before == 0)
                    end = command.at + time;
                return Replies{{command.at < end ? refusalOf(command, kBusy) : good}};
            }));
    }
};

TEST_F(Busy, MakesTheCommandBeSentAgainAsANewOneAfterPausesThatDouble) {
    device.set(kRegister, 42);
    device.behave(forRegister(kRegister, [](const Received &command, const Bytes &good, int n) {
        return Replies{{n < 4 ? refusalOf(command, kBusy) : good}};
    }));
    Channel channel(place, Access::Monitor);

    EXPECT_THAT(channel.readRegisters({kRegister}), ElementsAre(42));

    const auto commands = readings();
    ASSERT_THAT(commands, SizeIs(5));
    milliseconds pause = Waits().busyPause;
    for (size_t i = 0; i < 4; ++i, pause *= 2) {
        EXPECT_EQ(commands[i].id % UINT16_MAX + 1, commands[i + 1].id);
        EXPECT_THAT(commands[i + 1].at - commands[i].at, Ge(pause)) << i;
    }
}

TEST_F(Busy, IsBorneWithUntilTheLongestTime) {
    beBusyFor(700ms); // the pauses after that would be longer than what is left
    device.set(kRegister, 42);
    Channel channel(place, Access::Monitor, shortened());

    EXPECT_THAT(channel.readRegisters({kRegister}), ElementsAre(42));
}

TEST_F(Busy, IsToldAsARefusalAfterTheLongestTime) {
    beBusyFor(1h);
    Channel channel(place, Access::Monitor, shortened());
    const Stopwatch stopwatch;

    try {
        channel.readRegisters({kRegister});
        ADD_FAILURE() << "no error";
    } catch (const Error &error) {
        EXPECT_EQ(Cause::Refused, error.cause());
        EXPECT_EQ(kBusy, error.status());
        EXPECT_STREQ("it is busy (0x8007)", error.what());
    }

    EXPECT_THAT(stopwatch.elapsed(), AllOf(Ge(1000ms), Lt(1000ms + kStall)));
    const auto commands = readings();
    EXPECT_THAT(commands.back().at - commands.front().at, Lt(1400ms)); // pauses in full
}

TEST_F(Busy, IsNotTheEndOfAChannel) {
    beBusyFor(100ms);
    Waits waits;
    waits.longestBusy = 20ms;
    Channel channel(place, Access::Monitor, waits);
    EXPECT_EQ("Refused: it is busy (0x8007)",
              problemOf([&] { channel.readRegisters({kRegister}); }));
    device.behave(nullptr);

    EXPECT_EQ("no problem", problemOf([&] { channel.readRegisters({kRegister}); }));
}

class Refusals : public OnADevice {};

TEST_F(Refusals, AreToldWithTheirStatusInWords) {
    device.behave(forRegister(kRegister, [](const Received &command, const Bytes &, int) {
        return Replies{{refusalOf(command, kInvalidAddress)}};
    }));
    Channel channel(place, Access::Monitor);

    EXPECT_EQ("Refused: it has no such register (0x8003)",
              problemOf([&] { channel.readRegisters({kRegister}); }));
    EXPECT_EQ("no problem", problemOf([&] { channel.readRegisters({kRegister + 4}); }));
}

TEST_F(Refusals, AreTakenWithAnyPayload) {
    device.behave(forRegister(kRegister, [](const Received &command, const Bytes &, int before) {
        Bytes refusal = answerTo(command, Bytes(before == 0 ? 4 : 540));
        put16(&refusal[0], kAccessDenied);
        return Replies{{refusal}};
    }));
    Channel channel(place, Access::Monitor);

    for (int i = 0; i < 2; ++i)
        EXPECT_EQ("Refused: access denied (0x8006)",
                  problemOf([&] { channel.readRegisters({kRegister}); }));
}

class Patience : public OnADevice {
protected:
    static Waits shortened() {
        Waits waits;
        waits.patience = 600ms;
        return waits;
    }
};

TEST_F(Patience, EndsWithACameraThatDragsEveryAnswerOut) {
    device.behave(forRegister(kRegister, [](const Received &, const Bytes &good, int before) {
        return Replies{{good, before < 20 ? 0ms : 95ms}};
    }));
    Channel channel(place, Access::Monitor, shortened());
    // Prompt answers do not make it more patient than it was.
    for (int i = 0; i < 20; ++i)
        channel.readRegisters({kRegister});

    const Stopwatch stopwatch;
    int answers = 0;
    std::string problem;
    for (; problem.empty() || problem == "no problem"; ++answers)
        problem = problemOf([&] { channel.readRegisters({kRegister}); });

    EXPECT_EQ("Silent: it answers too slowly", problem);
    EXPECT_THAT(stopwatch.elapsed(), AllOf(Ge(600ms), Lt(600ms + kStall)));
    EXPECT_THAT(answers - 1, Le(7));
}

TEST_F(Patience, LastsForANetworkThatLosesEveryThirdAnswer) {
    device.behave(forRegister(kRegister, [](const Received &, const Bytes &good, int before) {
        return before % 3 == 2 ? Replies{} : Replies{{good}};
    }));
    Waits waits;
    waits.patience = 1500ms;
    Channel channel(place, Access::Monitor, waits);
    const Stopwatch stopwatch;

    for (int i = 0; i < 60; ++i)
        EXPECT_EQ("no problem", problemOf([&] { channel.readRegisters({kRegister}); })) << i;

    EXPECT_THAT(stopwatch.elapsed(), Ge(2000ms)); // of which 1500 would have been too much
}

class Opening : public OnADevice {
protected:
    Opening() {
        device.behave(forRegister(kRegister, [](const Received &, const Bytes &good, int) {
            return Replies{{good, 40ms}};
        }));
        waits.longestOpening = 1000ms;
    }

    Waits waits;
};

TEST_F(Opening, TakesABoundedTimeInAll) {
    const Stopwatch stopwatch;
    Channel channel(place, Access::Monitor, waits);

    EXPECT_EQ("Silent: opening it takes too long", problemOf([&] {
                  for (;;)
                      channel.readRegisters({kRegister});
              }));

    EXPECT_THAT(stopwatch.elapsed(), AllOf(Ge(1000ms), Lt(1000ms + kStall)));
}

TEST_F(Opening, IsOverWhenTheCallerSaysSo) {
    Channel channel(place, Access::Monitor, waits);
    channel.openingEnds();
    const Stopwatch stopwatch;

    while (stopwatch.elapsed() < 1300ms)
        EXPECT_EQ("no problem", problemOf([&] { channel.readRegisters({kRegister}); }));
}

// Where a stop is asked for by the device's thread, as soon as something has come.
class Stop : public OnADevice {
protected:
    Stop() { stopWhen(&flag); }
    ~Stop() override { stopWhen(nullptr); }

    void ask() {
        asked = std::chrono::steady_clock::now();
        flag = 1;
    }

    milliseconds sinceAsked() const {
        return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - asked);
    }

    volatile sig_atomic_t flag = 0;
    std::chrono::steady_clock::time_point asked;
};

TEST_F(Stop, EndsTheWaitForAnAnswer) {
    device.behave(forRegister(kRegister, [&](const Received &, const Bytes &, int before) {
        if (before == 3) // the longest wait
            ask();
        return Replies{};
    }));
    Channel channel(place, Access::Monitor);

    EXPECT_EQ("Stopped: stopped while waiting for it",
              problemOf([&] { channel.readRegisters({kRegister}); }));

    EXPECT_THAT(sinceAsked(), Lt(200ms + kStall));
}

TEST_F(Stop, EndsTheWaitForAnAnswerThatWasPutOff) {
    device.behave(forRegister(kRegister, [&](const Received &command, const Bytes &, int) {
        ask();
        return Replies{{pendingOf(command, 60000)}};
    }));
    Channel channel(place, Access::Monitor);

    EXPECT_EQ("Stopped: stopped while waiting for it",
              problemOf([&] { channel.readRegisters({kRegister}); }));

    EXPECT_THAT(sinceAsked(), Lt(200ms + kStall));
}

TEST_F(Stop, EndsThePauseAfterABusyAnswer) {
    Waits waits;
    waits.busyPause = 2000ms;
    device.behave(forRegister(kRegister, [&](const Received &command, const Bytes &, int) {
        ask();
        return Replies{{refusalOf(command, kBusy)}};
    }));
    Channel channel(place, Access::Monitor, waits);

    EXPECT_EQ("Stopped: stopped while waiting for it",
              problemOf([&] { channel.readRegisters({kRegister}); }));

    EXPECT_THAT(sinceAsked(), Lt(200ms + kStall));
}

TEST_F(Stop, EndsOpening) {
    device.behave([&](const Received &, const Bytes &) {
        ask();
        return Replies{};
    });

    EXPECT_EQ("Stopped: stopped while waiting for it",
              problemOf([&] { Channel(place, Access::Monitor); }));

    EXPECT_THAT(sinceAsked(), Lt(200ms + kStall));
}

TEST_F(Stop, EndsTheWaitForTheHeartbeatToComeToItsEnd) {
    device.set(bootstrap::kHeartbeatTimeout, 300);
    Channel channel(place, Access::Control);
    device.behave([&, count = 0](const Received &, const Bytes &) mutable {
        if (++count == 2)
            ask();
        return Replies{};
    });
    device.forget();
    ASSERT_TRUE(device.waitFor(1)); // now the heart waits, and the next has to wait for it

    EXPECT_EQ("Stopped: stopped while waiting for it",
              problemOf([&] { channel.readRegisters({kRegister}); }));

    EXPECT_THAT(sinceAsked(), Lt(200ms + kStall));
    device.behave(nullptr);
}

TEST_F(Stop, IsNotTheEndOfAChannel) {
    device.behave(forRegister(kRegister, [&](auto &&...) {
        ask();
        return Replies{};
    }));
    Channel channel(place, Access::Monitor);
    problemOf([&] { channel.readRegisters({kRegister}); });
    device.behave(nullptr);
    flag = 0;

    EXPECT_EQ("no problem", problemOf([&] { channel.readRegisters({kRegister}); }));
}

} // namespace
