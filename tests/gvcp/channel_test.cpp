// What becomes of a command: repetition, the check of its answer, and every bound on waiting.

#include "support.h"

#include "gvcp/network.h"

namespace {

using namespace gvcp;
using namespace std::chrono_literals;
using std::chrono::milliseconds;
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

Device::Behaviour silentFor(uint32_t address) {
    return forRegister(address, [](auto &&...) { return Replies{}; });
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
    constexpr Waits kUsual;
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(commands[i].id, commands[i + 1].id);
        EXPECT_THAT(commands[i + 1].at - commands[i].at, lasts(kUsual.answer[i])) << i;
    }
}

TEST_F(LostAnswers, AreThoseOfASilentCameraAfterTheFourthCommand) {
    device.behave(silentFor(kRegister));
    Channel channel(place, Access::Monitor);
    const Stopwatch stopwatch;

    EXPECT_EQ("Silent: it does not answer", problemOf([&] { channel.readRegisters({kRegister}); }));

    EXPECT_THAT(stopwatch.elapsed(), lasts(1500ms));
    EXPECT_THAT(readings(), SizeIs(4));
}

TEST_F(LostAnswers, MakeEveryLaterOperationFailAtOnceAndSendNothing) {
    device.behave(silentFor(kRegister));
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

Bytes with(Bytes packet, size_t at, unsigned value) {
    put16(&packet[at], static_cast<uint16_t>(value));
    return packet;
}

Bytes cut(const Bytes &packet, long bytes) {
    return Bytes(packet.begin(), packet.end() - bytes);
}

// Replies that must not be taken for the answer. All of them hold 7 where the right one holds 42.
std::vector<std::pair<const char *, Reply>> wrongAnswers(const Received &command,
                                                         const Bytes &good) {
    return {
        {"of another request", {with(good, 6, command.id + 1u)}},
        {"of another command", {with(good, 2, kWriteRegister + 1)}},
        {"that is a command", {with(good, 2, kReadRegister)}},
        {"from another port", {good, 0ms, 0, 3957}},
        {"from another address", {good, 0ms, addressOf("127.0.0.3")}},
        {"with a number too many", {answerTo(command, {0, 0, 0, 7, 0, 0, 0, 7})}},
        {"with no number", {answerTo(command, {})}},
        {"with half a number", {answerTo(command, {0, 7})}},
        {"that was cut short", {cut(good, 1)}},
        {"of which little is left", {cut(good, 5)}},
        {"that is empty", {Bytes()}},
        {"that is longer than any packet", {answerTo(command, Bytes(1400, 7))}},
    };
}

class Answers : public OnADevice {};

TEST_F(Answers, ThatAreNotTheRightOneAreNotTaken) {
    device.set(kRegister, 7);
    Channel channel(place, Access::Monitor, patient());
    const size_t count = wrongAnswers({}, Bytes(12)).size();
    for (size_t i = 0; i < count; ++i) {
        const char *name = "none";
        device.behave(forRegister(kRegister, [&](const Received &command, const Bytes &good, int) {
            const auto wrong = wrongAnswers(command, good)[i];
            name = wrong.first;
            return Replies{wrong.second, {with(good, 10, 42)}};
        }));
        EXPECT_THAT(channel.readRegisters({kRegister}), ElementsAre(42)) << name;
    }

    // Nor when no other comes.
    device.behave(forRegister(kRegister, [](const Received &command, const Bytes &good, int) {
        Replies replies;
        for (const auto &[name, reply] : wrongAnswers(command, good))
            replies.push_back(reply);
        return replies;
    }));
    Channel another(place, Access::Monitor, quick());
    EXPECT_EQ("Silent: it does not answer", problemOf([&] { another.readRegisters({kRegister}); }));
}

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
        // More than a socket holds: the right answer may be lost among it, however often it comes.
        // So the last one comes when there is room again.
        Replies replies(before < 3 ? 3000 : 0, Reply{Bytes(500, 0xaa)});
        replies.push_back({good, before < 3 ? 0ms : 1000ms});
        return replies;
    }));
    Waits waits;
    waits.answer[3] = 10s; // for what comes after all the rubbish
    Channel channel(place, Access::Monitor, waits);

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

    EXPECT_THAT(stopwatch.elapsed(), lasts(1500ms));
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
        Waits waits = patient();
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

    EXPECT_THAT(stopwatch.elapsed(), lasts(300ms));
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

    EXPECT_THAT(stopwatch.elapsed(), lasts(1500ms));
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

    EXPECT_THAT(stopwatch.elapsed(), lasts(100ms));
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

    EXPECT_THAT(stopwatch.elapsed(), lasts(1000ms));
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
    device.refuse([](const Received &command) { return command.is(kReadRegister, kRegister); },
                  kInvalidAddress);
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
    EXPECT_THAT(stopwatch.elapsed(), lasts(600ms));
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

    EXPECT_THAT(stopwatch.elapsed(), lasts(1000ms));
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
    ~Stop() override {
        device.behave(nullptr);
        stopWhen(nullptr);
    }

    void ask() {
        asked.emplace();
        flag = 1;
    }

    /** Asks at the reading of the register that has \p before others before it. */
    Device::Behaviour asking(Replies (*replies)(const Received &), int before = 0) {
        return forRegister(kRegister, [=](const Received &command, const Bytes &, int count) {
            if (count == before)
                ask();
            return replies(command);
        });
    }

    static Replies nothing(const Received &) { return {}; }

    template <class Call>
    void expectStopped(Call call) {
        EXPECT_EQ("Stopped: stopped while waiting for it", problemOf(call));
        EXPECT_THAT(asked->elapsed(), Lt(200ms + kStall));
    }
    void expectReadingStopped(const Waits &waits = Waits()) {
        Channel channel(place, Access::Monitor, waits);
        expectStopped([&] { channel.readRegisters({kRegister}); });
    }

    volatile sig_atomic_t flag = 0;
    std::optional<Stopwatch> asked;
};

TEST_F(Stop, EndsTheWaitForAnAnswer) {
    Waits waits;
    waits.answer = {10ms, 10ms, 10ms, 20s};
    device.behave(asking(nothing, 3));

    expectReadingStopped(waits);
}

TEST_F(Stop, EndsTheWaitForAnAnswerThatWasPutOff) {
    Waits waits;
    waits.longestPending = 20s;
    device.behave(
        asking([](const Received &command) { return Replies{{pendingOf(command, 60000)}}; }));

    expectReadingStopped(waits);
}

TEST_F(Stop, EndsThePauseAfterABusyAnswer) {
    Waits waits;
    waits.busyPause = waits.longestBusy = 20s;
    device.behave(
        asking([](const Received &command) { return Replies{{refusalOf(command, kBusy)}}; }));

    expectReadingStopped(waits);
}

TEST_F(Stop, EndsOpening) {
    device.behave([&](auto &&...) {
        ask();
        return Replies{};
    });

    expectStopped([&] { Channel(place, Access::Monitor, patient()); });
}

TEST_F(Stop, EndsTheWaitForTheHeartbeatToComeToItsEnd) {
    device.set(bootstrap::kHeartbeatTimeout, 300);
    Channel channel(place, Access::Control);
    device.behave([&, count = 0](auto &&...) mutable {
        if (++count == 2)
            ask();
        return Replies{};
    });
    device.forget();
    ASSERT_TRUE(device.waitFor(1)); // now the heart waits, and the next has to wait for it

    expectStopped([&] { channel.readRegisters({kRegister}); });
}

TEST_F(Stop, IsNotTheEndOfAChannel) {
    device.behave(asking(nothing));
    Channel channel(place, Access::Monitor);
    problemOf([&] { channel.readRegisters({kRegister}); });
    device.behave(nullptr);
    flag = 0;

    EXPECT_EQ("no problem", problemOf([&] { channel.readRegisters({kRegister}); }));
}

} // namespace
