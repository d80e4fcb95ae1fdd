// Control of a camera: how it is taken, kept, lost and given back.

#include "support.h"

#include <dirent.h>

#include <csignal>
#include <fstream>
#include <memory>
#include <set>

#include "gvcp/network.h"

namespace {

using namespace gvcp;
using namespace std::chrono_literals;
using std::chrono::milliseconds;
using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::Lt;
using testing::SizeIs;

constexpr uint32_t kPrivilege = bootstrap::kControlPrivilege;

class ControlledDevice : public OnADevice {
protected:
    /** What was written to the control privilege register. */
    std::vector<uint32_t> privilegesWritten() const {
        std::vector<uint32_t> values;
        for (const Received &each : commandsFor(kWriteRegister, kPrivilege))
            values.push_back(each.word(1));
        return values;
    }
    size_t heartbeats() const { return commandsFor(kReadRegister, kPrivilege).size(); }

    /** Answers what \p matches with \p reply, and all else as a good camera does. */
    template <class Matches, class Answer>
    void answer(Matches matches, Answer reply) {
        device.behave([=](const Received &command, const Bytes &good) mutable {
            return matches(command) ? reply(command, good) : Replies{{good}};
        });
    }

    /** Refused so, or not answered, three times, and good then. */
    static auto thrice(std::optional<uint16_t> status) {
        return [=, count = 0](const Received &command, const Bytes &good) mutable {
            if (++count > 3)
                return Replies{{good}};
            return status ? Replies{{refusalOf(command, *status)}} : Replies{};
        };
    }

    static bool asksForControl(const Received &command) {
        return command.is(kWriteRegister, kPrivilege) && command.word(1) != 0;
    }
    static bool givesControlBack(const Received &command) {
        return command.is(kWriteRegister, kPrivilege) && command.word(1) == 0;
    }
};

class Control : public ControlledDevice {};

TEST_F(Control, IsTakenAndIsTheCallersThen) {
    device.set(bootstrap::kCapability, kTellsController);
    Channel channel(place, Access::Control, patient());

    EXPECT_EQ(kControlAccess, device.get(kPrivilege));
    EXPECT_EQ((Controller{kControlAccess, addressOf("127.0.0.1"),
                          ntohs(device.received().front().from.sin_port)}),
              channel.controller());
    channel.writeRegister(kRegister, 42);
    EXPECT_EQ(42u, device.get(kRegister));
}

TEST_F(Control, IsTakenWithOthersKeptOut) {
    const Channel channel(place, Access::Exclusive, patient());

    EXPECT_EQ(kControlAccess | kExclusiveAccess, device.get(kPrivilege));
}

TEST_F(Control, IsNotTakenFromAnotherProgramThatTheCameraTells) {
    device.set(bootstrap::kCapability, kTellsController | kCanConcatenate);
    device.giveControlTo(kControlAccess, "192.168.0.5", 40123);

    for (const Access access : {Access::Control, Access::Exclusive})
        EXPECT_EQ("Controlled: another program controls it (192.168.0.5, port 40123)",
                  problemOf([&] { const Channel channel(place, access, patient()); }));

    EXPECT_THAT(privilegesWritten(), ElementsAre());
}

TEST_F(Control, IsNotTakenFromAnotherProgramThatTheCameraDoesNotTell) {
    device.giveControlTo(kControlAccess, "192.168.0.5", 40123);

    EXPECT_EQ("Controlled: another program controls it",
              problemOf([&] { Channel(place, Access::Control, patient()); }));

    EXPECT_THAT(privilegesWritten(), ElementsAre());
}

TEST_F(Control, IsNotTakenFromAnotherProgramThatTheCameraSaysItTellsAndDoesNot) {
    device.set(bootstrap::kCapability, kTellsController);
    device.giveControlTo(kExclusiveAccess, "192.168.0.5", 40123);
    device.refuse([](const Received &command) { return command.is(kReadRegister, 0x0a04); },
                  kInvalidAddress);

    EXPECT_EQ("Controlled: another program controls it",
              problemOf([&] { Channel(place, Access::Control, patient()); }));
}

TEST_F(Control, IsNotHadWhenAnotherProgramIsFaster) {
    device.set(bootstrap::kCapability, kTellsController);
    device.behave([this](const Received &command, const Bytes &good) -> Replies {
        if (!asksForControl(command))
            return {{good}};
        device.giveControlTo(kControlAccess, "192.168.0.5", 40123);
        return {{refusalOf(command, kAccessDenied)}};
    });

    EXPECT_EQ("Controlled: another program controls it (192.168.0.5, port 40123)",
              problemOf([&] { Channel(place, Access::Control, patient()); }));

    EXPECT_THAT(privilegesWritten(), ElementsAre(kControlAccess));
}

TEST_F(Control, IsNotHadOfACameraThatGivesItInWordsOnly) {
    answer(asksForControl, [this](const Received &, const Bytes &good) {
        device.dropControl();
        return Replies{{good}};
    });

    EXPECT_EQ("Controlled: it says that it gives control, and gives none",
              problemOf([&] { Channel(place, Access::Control, patient()); }));
}

TEST_F(Control, IsNotExclusiveWhereTheCameraOnlyLetsTheCallerWrite) {
    answer(asksForControl, [this](const Received &, const Bytes &good) {
        device.giveControlTo(kControlAccess, "127.0.0.1", 1);
        return Replies{{good}};
    });

    EXPECT_EQ("Controlled: it gives control, but does not keep other programs out",
              problemOf([&] { Channel(place, Access::Exclusive, patient()); }));
}

TEST_F(Control, IsAskedForAgainWhileTheCameraIsBusy) {
    answer(asksForControl, thrice(kBusy));

    // The device has given it at once, and says so only later.
    const Channel channel(place, Access::Control, patient());

    EXPECT_THAT(privilegesWritten(), SizeIs(4));
}

TEST_F(Control, IsRefusedWithTheCamerasReasonAndGivenBackForAllThat) {
    answer(asksForControl, [](const Received &command, const Bytes &) {
        return Replies{{refusalOf(command, 0x8008)}}; // and means yes
    });

    EXPECT_EQ("Refused: a problem of its own (0x8008)",
              problemOf([&] { Channel(place, Access::Control, patient()); }));

    EXPECT_EQ(0u, device.get(kPrivilege));
}

TEST_F(Control, IsGivenBackWhenTheCameraFallsSilentRightAfter) {
    device.behave([silent = false](const Received &command, const Bytes &good) mutable {
        const bool answers = !silent;
        silent = silent || asksForControl(command);
        return answers ? Replies{{good}} : Replies{};
    });

    EXPECT_EQ("Silent: it does not answer",
              problemOf([&] { Channel(place, Access::Control, quick()); }));

    EXPECT_THAT(privilegesWritten(), ElementsAre(kControlAccess, 0));
}

TEST_F(Control, IsGivenBackWhenTheCameraGivesItAndDoesNotSaySo) {
    answer(asksForControl, [](auto &&...) { return Replies{}; });

    EXPECT_EQ("Silent: it does not answer",
              problemOf([&] { Channel(place, Access::Control, quick()); }));

    EXPECT_EQ(0u, device.get(kPrivilege));
}

TEST_F(Control, IsGivenBackWhenAStopIsAskedForMeanwhile) {
    static volatile sig_atomic_t flag = 0;
    stopWhen(&flag);
    answer(asksForControl, [](const Received &, const Bytes &) {
        flag = 1;
        return Replies{};
    });

    EXPECT_EQ("Stopped: stopped while waiting for it",
              problemOf([&] { Channel(place, Access::Control, patient()); }));

    EXPECT_EQ(0u, device.get(kPrivilege));
    stopWhen(nullptr);
}

class Monitor : public ControlledDevice {
protected:
    /** All that one does who only looks. */
    std::string look() {
        return problemOf([&] {
            Channel channel(place, Access::Monitor, patient());
            channel.openingEnds();
            uint8_t bytes[600];
            channel.read(kRegister, bytes, sizeof bytes);
            channel.readRegisters({kRegister});
            channel.controller();
        });
    }
};

TEST_F(Monitor, SendsNothingButReads) {
    EXPECT_EQ("no problem", look());

    for (const Received &each : device.received())
        EXPECT_THAT(each.command, testing::AnyOf(kReadRegister, kReadMemory));
}

TEST_F(Monitor, DoesNotLetTheCallerWrite) {
    Channel channel(place, Access::Monitor, patient());
    device.forget();
    const Bytes bytes(8);

    EXPECT_EQ("Refused: it was opened for reading only",
              problemOf([&] { channel.writeRegister(kRegister, 1); }));
    EXPECT_EQ("Refused: it was opened for reading only",
              problemOf([&] { channel.write(kRegister, bytes.data(), bytes.size()); }));

    EXPECT_THAT(device.received(), SizeIs(0));
}

TEST_F(Monitor, WorksWhileAnotherProgramControlsTheCamera) {
    device.set(bootstrap::kCapability, kTellsController);
    device.giveControlTo(kControlAccess, "192.168.0.5", 40123);

    EXPECT_EQ("no problem", look());
    EXPECT_EQ((Controller{kControlAccess, addressOf("192.168.0.5"), 40123}),
              Channel(place, Access::Monitor, patient()).controller());
}

TEST_F(Monitor, DoesNotOpenWhileAnotherProgramKeepsOthersOutAndTheCameraTells) {
    device.set(bootstrap::kCapability, kTellsController);
    device.giveControlTo(kExclusiveAccess, "192.168.0.5", 40123);

    EXPECT_EQ("Controlled: another program controls it (192.168.0.5, port 40123)", look());
}

TEST_F(Monitor, DoesNotOpenWhileAnotherProgramKeepsOthersOutAndTheCameraDeniesEverything) {
    device.refuse([](auto &) { return true; }, kAccessDenied);

    EXPECT_EQ("Controlled: another program controls it", look());
}

class Heartbeat : public ControlledDevice {};

TEST_F(Heartbeat, KeepsControlWhileTheCallerIsElsewhere) {
    device.set(bootstrap::kHeartbeatTimeout, 1000);
    Channel channel(place, Access::Control, patient());
    device.forget();

    // Nobody does anything else for twice the timeout.
    ASSERT_TRUE(device.waitFor(7));

    const auto commands = device.received();
    EXPECT_THAT(commands.back().at - commands.front().at, Ge(1990ms));
    EXPECT_EQ(commands.size(), heartbeats());
    EXPECT_EQ(kControlAccess, device.get(kPrivilege));
    EXPECT_EQ("no problem", problemOf([&] { channel.writeRegister(kRegister, 1); }));
}

TEST_F(Heartbeat, ComesThreeTimesWithinTheCamerasTimeoutAndWithinBounds) {
    struct Case {
        std::string address;
        std::optional<uint32_t> timeout; // none: the camera has no such register
        milliseconds period;
    };
    const Case cases[] = {{"127.0.0.11", 0, 100ms},           {"127.0.0.12", 299, 100ms},
                          {"127.0.0.13", 900, 300ms},         {"127.0.0.14", 3300, 1000ms},
                          {"127.0.0.15", UINT32_MAX, 1000ms}, {"127.0.0.16", {}, 1000ms}};
    std::vector<std::unique_ptr<Device>> devices;
    std::vector<std::unique_ptr<Channel>> channels;
    for (const Case &each : cases) {
        Device &added = *devices.emplace_back(std::make_unique<Device>(each.address));
        added.set(bootstrap::kHeartbeatTimeout, each.timeout.value_or(0));
        added.behave([&](const Received &command, const Bytes &good) {
            const bool missing =
                !each.timeout && command.is(kReadRegister, bootstrap::kHeartbeatTimeout);
            return Replies{{missing ? refusalOf(command, kInvalidAddress) : good}};
        });
        channels.push_back(
            std::make_unique<Channel>(Place{addressOf(each.address)}, Access::Control, patient()));
        added.forget();
    }
    for (size_t i = 0; i < devices.size(); ++i) {
        ASSERT_TRUE(devices[i]->waitFor(3)) << cases[i].address;
    }
    for (size_t i = 0; i < devices.size(); ++i) {
        const auto commands = devices[i]->received();
        auto shortest = commands[1].at - commands[0].at; // the others a busy computer made longer
        for (size_t n = 2; n < commands.size(); ++n)
            shortest = std::min(shortest, commands[n].at - commands[n - 1].at);
        EXPECT_THAT(shortest, AllOf(Ge(cases[i].period), Lt(cases[i].period + 150ms)))
            << cases[i].address;
    }
}

TEST_F(Heartbeat, IsNotNeededByAMonitor) {
    device.set(bootstrap::kHeartbeatTimeout, 300);
    const Channel channel(place, Access::Monitor, patient());
    device.forget();

    EXPECT_FALSE(device.waitFor(1, 350ms));
}

std::set<std::string> threads() {
    std::set<std::string> ids;
    const std::unique_ptr<DIR, int (*)(DIR *)> tasks(opendir("/proc/self/task"), closedir);
    while (const dirent *task = readdir(tasks.get()))
        ids.insert(task->d_name);
    return ids;
}

/** A bit for each signal, from 1 on. */
uint64_t blockedSignals(const std::string &thread) {
    std::ifstream status("/proc/self/task/" + thread + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("SigBlk:\t", 0) == 0)
            return std::stoull(line.substr(8), nullptr, 16);
    }
    return 0;
}

TEST_F(Heartbeat, GetsNoneOfTheCallersSignalsAndLeavesThemToTheCaller) {
    sigset_t usr1, before, after;
    sigemptyset(&usr1);
    sigaddset(&usr1, SIGUSR1);
    pthread_sigmask(SIG_SETMASK, &usr1, &before);
    const auto others = threads();
    device.set(bootstrap::kHeartbeatTimeout, 300);
    std::optional<Channel> channel(std::in_place, place, Access::Control, patient());
    device.forget();
    ASSERT_TRUE(device.waitFor(1)); // while it is made, a thread gets none anyway

    std::vector<std::string> added;
    const auto now = threads();
    std::set_difference(now.begin(), now.end(), others.begin(), others.end(),
                        std::back_inserter(added));
    ASSERT_THAT(added, SizeIs(1));
    // KILL and STOP cannot be blocked; 32 and 33 are the C library's own.
    const uint64_t own = uint64_t{3} << 31;
    EXPECT_EQ(~(uint64_t{1} << (SIGKILL - 1) | uint64_t{1} << (SIGSTOP - 1)),
              blockedSignals(added[0]) | own);
    pthread_sigmask(SIG_SETMASK, &before, &after);
    EXPECT_EQ(1, sigismember(&after, SIGUSR1));
    EXPECT_EQ(0, sigismember(&after, SIGINT));

    channel.reset();
    EXPECT_EQ(others, threads());
}

class Loss : public ControlledDevice {
protected:
    /** A heartbeat each 100 ms. */
    void open(uint32_t capability = 0) {
        device.set(bootstrap::kCapability, capability);
        device.set(bootstrap::kHeartbeatTimeout, 300);
        channel.emplace(place, Access::Control, patient());
        device.forget();
    }

    std::string read() {
        return problemOf([&] { channel->readRegisters({kRegister}); });
    }
    std::string write() {
        return problemOf([&] { channel->writeRegister(kRegister, 1); });
    }

    std::optional<Channel> channel;
};

TEST_F(Loss, IsNoticedByTheHeartbeatAndNothingIsSentAnyMore) {
    open();
    device.dropControl();
    device.forget();
    ASSERT_TRUE(device.waitFor(1)); // the next operation waits until the heart has the answer

    const std::string lost =
        "ControlLost: control of it is lost: it has not heard from this program in time";
    EXPECT_EQ(lost, read());
    EXPECT_EQ(lost, write());
    EXPECT_FALSE(device.waitFor(2, 350ms));
    channel.reset();
    EXPECT_THAT(device.received(), SizeIs(1));
}

TEST_F(Loss, ToAnotherProgramIsNoticedByTheHeartbeatWhereTheCameraTells) {
    open(kTellsController | kCanConcatenate);
    device.giveControlTo(kControlAccess, "192.168.0.5", 40123);
    device.forget();
    ASSERT_TRUE(device.waitFor(1));

    EXPECT_EQ("ControlLost: control of it is lost: another program controls it (192.168.0.5, port "
              "40123)",
              read());
}

TEST_F(Loss, ToAProgramThatKeepsOthersOutIsNoticedByTheHeartbeat) {
    open();
    device.refuse([](auto &) { return true; }, kAccessDenied);
    device.forget();
    ASSERT_TRUE(device.waitFor(1));

    EXPECT_EQ("ControlLost: control of it is lost: another program controls it", read());
}

TEST_F(Loss, IsNoticedByAWriteThatIsDenied) {
    for (const bool memory : {false, true}) {
        device.dropControl();
        device.set(bootstrap::kCapability, kTellsController | kCanWriteMemory);
        channel.emplace(place, Access::Control, patient());
        device.giveControlTo(kControlAccess, "192.168.0.5", 40123);
        const Bytes bytes(8);

        const std::string lost = "ControlLost: control of it is lost: another program controls it "
                                 "(192.168.0.5, port 40123)";
        EXPECT_EQ(lost,
                  memory ? problemOf([&] { channel->write(kRegister, bytes.data(), bytes.size()); })
                         : write());
        device.forget();
        EXPECT_EQ(lost, read());
        channel.reset();
        EXPECT_THAT(device.received(), SizeIs(0));
    }
}

TEST_F(Loss, ToAProgramThatKeepsOthersOutIsNoticedByAWriteThatIsDenied) {
    channel.emplace(place, Access::Control, patient());
    device.refuse([](auto &) { return true; }, kAccessDenied);

    EXPECT_EQ("ControlLost: control of it is lost: another program controls it", write());
}

TEST_F(Loss, IsNotWhatADeniedWriteMeansWhileTheCameraGivesControl) {
    device.refuse([](const Received &command) { return command.is(kWriteRegister, kRegister); },
                  kAccessDenied);
    channel.emplace(place, Access::Control, patient());

    EXPECT_EQ("Refused: access denied (0x8006)", write());
    EXPECT_EQ("no problem", read());
}

TEST_F(Loss, IsNotWhatABusyHeartbeatMeans) {
    Waits waits = patient();
    waits.longestBusy = 20ms;
    device.set(bootstrap::kCapability, kTellsController);
    device.set(bootstrap::kHeartbeatTimeout, 300);
    channel.emplace(place, Access::Control, waits);
    // The first heartbeat is refused in the end, and the next ones are not.
    answer(
        [](const Received &command) {
            return command.is(kReadRegister, bootstrap::kControllerPort);
        },
        thrice(kBusy));
    device.forget();
    ASSERT_TRUE(device.waitFor(12));

    EXPECT_EQ("no problem", write());
    device.giveControlTo(kControlAccess, "192.168.0.5", 40123);
    EXPECT_EQ("ControlLost: control of it is lost: another program controls it (192.168.0.5, port "
              "40123)",
              write());
}

TEST_F(Loss, IsNotWhatItMeansThatTheCameraStopsTellingWhoHasControl) {
    open(kTellsController | kCanConcatenate);
    device.refuse([](const Received &command) { return command.payload.size() == 12; }, 0x8008);
    device.forget();
    ASSERT_TRUE(device.waitFor(3)); // refused, privilege alone, and the next heartbeat

    EXPECT_EQ("no problem", write());
    EXPECT_EQ(4u, device.received().size());
    device.dropControl();
    device.forget();
    ASSERT_TRUE(device.waitFor(1));
    EXPECT_EQ("ControlLost: control of it is lost: it has not heard from this program in time",
              write());
}

class Release : public ControlledDevice {
protected:
    void release(const Waits &waits = patient()) { Channel(place, Access::Control, waits); }
};

TEST_F(Release, GivesControlBack) {
    release();

    EXPECT_EQ(0u, device.get(kPrivilege));
    EXPECT_THAT(privilegesWritten(), ElementsAre(kControlAccess, 0));
}

TEST_F(Release, IsTriedAgainWhileTheCameraIsBusy) {
    answer(givesControlBack, thrice(kBusy));

    release();

    EXPECT_THAT(privilegesWritten(), ElementsAre(kControlAccess, 0, 0, 0, 0));
}

TEST_F(Release, IsRepeatedUntilItIsAnswered) {
    answer(givesControlBack, thrice({}));

    release(Waits());

    EXPECT_THAT(privilegesWritten(), ElementsAre(kControlAccess, 0, 0, 0, 0));
}

TEST_F(Release, IsTriedOnceMoreOfACameraThatFellSilent) {
    {
        Channel channel(place, Access::Control, quick());
        device.beSilent();
        EXPECT_EQ("Silent: it does not answer",
                  problemOf([&] { channel.readRegisters({kRegister}); }));
        device.forget();
    }

    EXPECT_THAT(device.received(), SizeIs(1));
    EXPECT_THAT(privilegesWritten(), ElementsAre(0));
}

TEST_F(Release, TakesABoundedTimeOfASilentCamera) {
    std::optional<Channel> channel(std::in_place, place, Access::Control);
    device.beSilent();
    const Stopwatch stopwatch;

    channel.reset();

    EXPECT_THAT(stopwatch.elapsed(), lasts(1500ms));
}

TEST_F(Release, IsNotHinderedByAStop) {
    static volatile sig_atomic_t flag = 0;
    std::optional<Channel> channel(std::in_place, place, Access::Control, patient());
    stopWhen(&flag);
    flag = 1;

    channel.reset();

    EXPECT_EQ(0u, device.get(kPrivilege));
    stopWhen(nullptr);
}

} // namespace
