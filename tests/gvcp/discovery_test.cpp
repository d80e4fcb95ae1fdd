// Which cameras a search finds, and when it ends, whatever else answers.

#include "gvcp/discovery.h"

#include <poll.h>
#include <sys/syscall.h>

#include <atomic>
#include <cstring>
#include <functional>

#include "gvcp/bounds.h"
#include "support.h"

namespace {

// Packets of one sender, or of all, that were read, and whether a sender was shut out.
std::atomic<uint32_t> watched{0};
std::atomic<int> packetsOfWatched{0};
std::atomic<int> packets{0};
std::atomic<int> filters{0};

// By how much this thread comes too late to its next poll().
thread_local std::chrono::milliseconds lateness{0};
// A network that has another packet for this thread whenever it looks.
thread_local std::function<Reply()> nextPacket;

} // namespace

// In front of the C library's.
extern "C" __attribute__((visibility("default"))) ssize_t
recvfrom(int fd, void *to, size_t room, int flags, sockaddr *from, socklen_t *length) {
    if (nextPacket) {
        const Reply packet = nextPacket();
        const sockaddr_in source = gvcp::socketAddress(packet.from, packet.port);
        memcpy(from, &source, sizeof source);
        memcpy(to, packet.packet.data(), packet.packet.size());
        return static_cast<ssize_t>(packet.packet.size());
    }
    const ssize_t size = syscall(SYS_recvfrom, fd, to, room, flags, from, length);
    sockaddr_in sender;
    if (size >= 0 && from && room == gvcp::kLargestPacket) { // not the device's
        memcpy(&sender, from, sizeof sender);
        ++packets;
        packetsOfWatched += ntohl(sender.sin_addr.s_addr) == watched;
    }
    return size;
}

extern "C" __attribute__((visibility("default"))) int
setsockopt(int fd, int level, int option, const void *value, socklen_t size) noexcept {
    const auto result = static_cast<int>(syscall(SYS_setsockopt, fd, level, option, value, size));
    filters += option == SO_ATTACH_FILTER && result == 0;
    return result;
}

extern "C" __attribute__((visibility("default"))) int poll(pollfd *polled, nfds_t count,
                                                           int milliseconds) {
    std::this_thread::sleep_for(std::exchange(lateness, {}));
    const timespec timeout{milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
    const int ready = ppoll(polled, count, milliseconds < 0 ? nullptr : &timeout, nullptr);
    if (!nextPacket)
        return ready;
    for (nfds_t i = 0; i < count; ++i)
        polled[i].revents = POLLIN;
    return static_cast<int>(count);
}

namespace {

using namespace gvcp;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Ge;
using testing::Lt;

constexpr uint32_t kFirst = 0x7f000002; // 127.0.0.2
constexpr uint32_t kFlooder = 0x7f000042;

std::vector<std::string> namesOf(const std::vector<Found> &cameras) {
    std::vector<std::string> names;
    for (const Found &camera : cameras)
        names.push_back(dotted(camera.identity.address) + " " + camera.identity.serial);
    return names;
}

/** The answer of a camera at that address. */
Reply cameraAt(const Received &command, uint32_t address, const std::string &serial = "S1",
               std::chrono::milliseconds delay = 0ms) {
    return {identityOf(command, address, address, serial), delay, address};
}

// A network in which a broadcast reaches the device, which answers for all cameras.
class Discovery : public testing::Test {
protected:
    Discovery() {
        search.window = 500ms;
        search.interfaces = interfacesUp();
        watched = kFlooder;
        packetsOfWatched = packets = filters = 0;
    }

    template <class Replies>
    void answer(Replies replies) {
        network.behave([=](const Received &command, const Bytes &) { return replies(command); });
    }

    std::vector<std::string> found() { return namesOf(discover(search)); }

    void askDirectly(std::vector<uint32_t> addresses) {
        search.interfaces.clear();
        search.addresses = std::move(addresses);
    }

    Device network{"0.0.0.0"};
    Search search;
};

TEST_F(Discovery, FindsCamerasByABroadcastAndOrdersThemByAddress) {
    answer([](const Received &command) {
        return Replies{cameraAt(command, kFirst + 8, "ten"), cameraAt(command, kFirst, "two"),
                       cameraAt(command, kFirst + 0x100, "far")};
    });
    search.expected = 3;

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 two", "127.0.0.10 ten", "127.0.1.2 far"));

    ASSERT_THAT(network.received(), testing::SizeIs(1));
    EXPECT_EQ(kDiscovery, network.received()[0].command);
    EXPECT_NE(0, network.received()[0].id);
}

TEST_F(Discovery, TellsWhereACameraWasFound) {
    answer([](const Received &command) { return Replies{cameraAt(command, kFirst)}; });
    search.expected = 1;

    const auto cameras = discover(search);

    ASSERT_THAT(cameras, testing::SizeIs(1));
    EXPECT_EQ(0x7f000001u, cameras[0].host);
    EXPECT_EQ(interfacesUp()[0].index, cameras[0].interface);
    EXPECT_NE(0u, cameras[0].interface);
}

TEST_F(Discovery, TakesOnlyAnswersOfTheAddressThatTheyClaimAndOfTheCamerasPort) {
    answer([](const Received &command) {
        const Bytes good = identityOf(command, kFirst, 1, "good");
        Received other = command;
        ++other.id;
        Bytes tooShort = good;
        tooShort.pop_back();
        const Bytes bad = identityOf(command, kFirst, 1, "bad");
        return Replies{{bad, 0ms, kFirst + 1},
                       {bad, 0ms, kFirst, 3957},
                       {identityOf(other, kFirst, 1, "bad"), 0ms, kFirst},
                       {tooShort, 0ms, kFirst},
                       {refusalOf(command, kBusy), 0ms, kFirst},
                       {Bytes(), 0ms, kFirst},
                       {Bytes(1400, 3), 0ms, kFirst},
                       {good, 0ms, kFirst}};
    });

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 good"));
}

TEST_F(Discovery, Lasts) {
    const Stopwatch stopwatch;

    EXPECT_THAT(found(), ElementsAre());

    EXPECT_THAT(stopwatch.elapsed(), lasts(500ms));
}

TEST_F(Discovery, TakesTheAnswersThatComeWithinItsWindow) {
    answer([](const Received &command) {
        return Replies{cameraAt(command, kFirst, "early", 100ms),
                       cameraAt(command, kFirst + 1, "late", 3000ms)};
    });

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 early"));
}

TEST_F(Discovery, EndsOnceSoManyCamerasHaveAnswered) {
    answer([](const Received &command) {
        return Replies{cameraAt(command, kFirst), cameraAt(command, kFirst),
                       cameraAt(command, kFirst + 1, "S2", 20ms)};
    });
    search.window = 10s;
    search.expected = 2;
    const Stopwatch stopwatch;

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 S1", "127.0.0.3 S2"));

    EXPECT_THAT(stopwatch.elapsed(), Lt(10s));
    search.window = 500ms;
    search.expected = 3;
    const Stopwatch another;
    EXPECT_THAT(found(), ElementsAre("127.0.0.2 S1", "127.0.0.3 S2"));
    EXPECT_THAT(another.elapsed(), Ge(500ms));
}

TEST_F(Discovery, EndsOnceTheCameraThatIsWantedHasAnsweredAndListsNoOther) {
    answer([](const Received &command) {
        return Replies{cameraAt(command, kFirst, "S12"), cameraAt(command, kFirst + 1, "S1"),
                       cameraAt(command, kFirst + 2, "S1", 1ms)};
    });
    search.window = 10s;
    search.serial = "S1";
    const Stopwatch stopwatch;

    EXPECT_THAT(found(), ElementsAre("127.0.0.3 S1"));

    EXPECT_THAT(stopwatch.elapsed(), Lt(10s));
}

TEST_F(Discovery, ListsAllCamerasWhenTheOneThatIsWantedDoesNotAnswer) {
    answer([](const Received &command) {
        return Replies{cameraAt(command, kFirst, "S12"), cameraAt(command, kFirst + 1, "s1")};
    });
    search.serial = "S1";

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 S12", "127.0.0.3 s1"));
}

TEST_F(Discovery, CountsASenderOnceHoweverManyCamerasItMakesUp) {
    answer([](const Received &command) {
        Replies replies;
        for (uint32_t i = 0; i < 5000; ++i)
            replies.push_back({identityOf(command, kFlooder, i, "fake"), 0ms, kFlooder});
        replies.push_back(cameraAt(command, kFirst, "real", 100ms));
        return replies;
    });
    search.window = 10s;
    search.expected = 2;

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 real", "127.0.0.66 fake"));
}

TEST_F(Discovery, TellsCamerasThatShareAnAddressApartWhereThatIsAskedForAndNoMoreThanABound) {
    answer([](const Received &command) {
        Replies replies{cameraAt(command, kFirst, "real")};
        for (uint32_t i = 0; i < 50; ++i)
            replies.push_back({identityOf(command, kFlooder, i / 2, "fake"), 0ms, kFlooder});
        return replies;
    });
    for (const bool shared : {false, true}) {
        search.sharedAddresses = shared;
        EXPECT_EQ(1 + (shared ? kMostPacketsOfSender / 2U : 1U), found().size());
    }
}

TEST_F(Discovery, FindsACameraInAFloodThatLastsAsLongAsItselfAndIsNotHeldUpByIt) {
    for (const bool expected : {false, true}) {
        std::atomic<bool> over{false};
        std::thread flood;
        answer([&](const Received &command) {
            const Replies camera{cameraAt(command, kFirst, "real", 150ms)};
            if (flood.joinable())
                return camera; // it is asked again
            flood = std::thread([&over, command] {
                const Descriptor socket = socketAt(kFlooder);
                for (uint32_t i = 0; !over; ++i)
                    sendTo(command.from, socket, identityOf(command, kFlooder, i, "fake"));
            });
            return camera;
        });
        search.window = expected ? 20s : 2s; // for computers that have other work, too
        search.expected = expected ? std::optional<size_t>(2) : std::nullopt;
        const Stopwatch stopwatch;

        const auto names = found();

        EXPECT_THAT(stopwatch.elapsed(), expected ? lasts(0ms) : lasts(2000ms));
        over = true;
        flood.join();
        EXPECT_THAT(names, ElementsAre("127.0.0.2 real", "127.0.0.66 fake"));
    }
}

TEST_F(Discovery, TakesTheAnswersThatHaveComeWhenTheComputerIsTooBusyToTakeThemInTime) {
    answer([](const Received &command) {
        return Replies{cameraAt(command, kFirst), cameraAt(command, kFirst + 1)};
    });
    search.window = 50ms;
    lateness = 300ms;

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 S1", "127.0.0.3 S1"));
}

TEST_F(Discovery, ReadsWhatNeverEndsNoMoreThanSoOftenOnceItsTimeIsOver) {
    answer([](auto &&...) { return Replies{}; });
    search.window = 0ms;
    for (const int answered : {kMostLateRounds, kMostLateRounds + 1}) {
        network.forget();
        int round = 0;
        nextPacket = [&] {
            if (++round == answered && network.waitFor(1))
                return cameraAt(network.received()[0], kFirst);
            if (round > 2 * kMostLateRounds)
                nextPacket = nullptr; // for a search without a bound
            return Reply{Bytes(1), 0ms, kFlooder + static_cast<uint32_t>(round)};
        };

        EXPECT_EQ(answered == kMostLateRounds ? 1u : 0u, found().size());

        nextPacket = nullptr;
        EXPECT_EQ(kMostLateRounds, round);
    }
}

TEST_F(Discovery, HasTheKernelDropWhatASenderSendsBeyondABoundAndAsksAgain) {
    std::thread more;
    std::atomic<int> asked{0};
    answer([&](const Received &command) {
        if (++asked > 1)
            return Replies{};
        // All but one; then that one; then, once the sender is shut out, many, and the camera.
        Replies replies(kMostPacketsOfSender - 1, Reply{Bytes(8), 0ms, kFlooder});
        more = std::thread([command] {
            const Descriptor socket = socketAt(kFlooder, 3957);
            const auto send = [&] { sendTo(command.from, socket, Bytes(1)); };
            EXPECT_TRUE(happens([] { return packetsOfWatched == kMostPacketsOfSender - 1; }));
            EXPECT_EQ(0, filters);
            send();
            EXPECT_TRUE(happens([] { return filters == 1; }));
            for (int i = 0; i < 1000; ++i)
                send();
            const Descriptor camera = socketAt(kFirst);
            const Bytes packet = identityOf(command, kFirst, 1, "real");
            sendTo(command.from, camera, packet);
        });
        return replies;
    });
    search.window = 10s;
    search.expected = 1;

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 real"));

    more.join();
    EXPECT_TRUE(happens([&] { return asked == 2; }));
    EXPECT_EQ(kMostPacketsOfSender, packetsOfWatched);
    EXPECT_EQ(kMostPacketsOfSender + 1, packets);
}

TEST_F(Discovery, ShutsOutSeveralSendersAndHearsTheOthers) {
    // As many as are shut out, and one more, whose packets are only not looked at.
    constexpr uint32_t kFlooders = 65;
    answer([](const Received &command) {
        Replies replies;
        for (uint32_t i = 0; i < kFlooders; ++i) {
            for (int n = 0; n < 2 * kMostPacketsOfSender; ++n)
                replies.push_back({Bytes(8), std::chrono::milliseconds(n), kFlooder + i});
        }
        for (uint32_t i = 0; i < kFlooders; ++i)
            replies.push_back(cameraAt(command, kFlooder + i, "loud", 100ms));
        replies.push_back(cameraAt(command, kFirst, "quiet", 100ms));
        return replies;
    });
    search.window = 1500ms;

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 quiet"));

    EXPECT_EQ(64, filters);
}

// As many cameras as that answer, as fast as their answers are read, so that none is lost.
Replies sendMany(const Received &command, size_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        if (!happens([=] { return packets + 100 >= static_cast<int>(i); }))
            break;
        const uint32_t address = 0x7f010001 + i;
        sendTo(command.from, socketAt(address), identityOf(command, address, i));
    }
    return {};
}

TEST_F(Discovery, KeepsManyCameras) {
    answer([](const Received &command) { return sendMany(command, kMostCameras); });
    search.window = 10s;
    search.expected = kMostCameras;

    const auto cameras = discover(search);

    ASSERT_EQ(kMostCameras, cameras.size());
    EXPECT_EQ(0x7f010001 + kMostCameras - 1, cameras.back().identity.address);
}

TEST_F(Discovery, KeepsNoMoreCamerasThanABoundOnAllInterfacesTogether) {
    Device two("127.0.0.2");
    search.addresses = {kFirst};
    answer([](const Received &command) { return sendMany(command, kMostCameras + 50); });
    search.window = 3s;

    EXPECT_EQ(kMostCameras, discover(search).size());

    EXPECT_EQ(1 + kMostCameras + 50, static_cast<size_t>(packets));
}

TEST_F(Discovery, EndsWithTheAnswersOfTheCamerasThatAreAskedDirectly) {
    Device two("127.0.0.2"), three("127.0.0.3");
    askDirectly({kFirst + 1, kFirst});
    search.window = 10s;
    const Stopwatch stopwatch;

    const auto cameras = discover(search);

    EXPECT_THAT(namesOf(cameras), ElementsAre("127.0.0.2 S1", "127.0.0.3 S1"));
    EXPECT_THAT(stopwatch.elapsed(), Lt(10s));
    EXPECT_EQ(0u, cameras[0].interface);
    EXPECT_EQ(0x7f000001u, cameras[0].host);
}

TEST_F(Discovery, WaitsForTheWholeWindowWhenOneThatIsAskedDirectlyDoesNotAnswer) {
    Device two("127.0.0.2");
    askDirectly({kFirst + 1, kFirst});
    answer([](auto &&...) { return Replies{}; });
    const Stopwatch stopwatch;

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 S1"));

    EXPECT_THAT(stopwatch.elapsed(), Ge(500ms));
}

TEST_F(Discovery, DoesNotCountAnAnswerOfAnAddressThatWasNotAskedDirectly) {
    Device two("127.0.0.2");
    two.behave([](const Received &command, const Bytes &) {
        return Replies{cameraAt(command, kFirst + 1, "uninvited"),
                       cameraAt(command, kFirst, "asked", 20ms)};
    });
    askDirectly({kFirst});
    search.window = 10s;

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 asked"));
}

TEST_F(Discovery, AsksTheOthersWhenOneOfTheAddressesIsInNoNetwork) {
    Device two("127.0.0.2");
    askDirectly({addressOf("10.1.2.3"), kFirst});

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 S1"));

    askDirectly({addressOf("10.1.2.3")});
    EXPECT_THROW(found(), std::system_error);
}

TEST_F(Discovery, AsksAnAddressOnceThoughItIsTwiceAmongThem) {
    Device two("127.0.0.2");
    askDirectly({kFirst, kFirst});
    search.window = 10s;
    const Stopwatch stopwatch;

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 S1"));

    EXPECT_THAT(stopwatch.elapsed(), Lt(10s));
    EXPECT_THAT(two.received(), testing::SizeIs(1));
}

TEST_F(Discovery, AsksByBroadcastAndDirectlyAtOnceAndWaitsForTheWindow) {
    Device two("127.0.0.2");
    answer([](const Received &command) { return Replies{cameraAt(command, kFirst + 1, "S2")}; });
    search.addresses = {kFirst};
    const Stopwatch stopwatch;

    const auto cameras = discover(search);

    EXPECT_THAT(namesOf(cameras), ElementsAre("127.0.0.2 S1", "127.0.0.3 S2"));
    EXPECT_THAT(stopwatch.elapsed(), Ge(500ms));
    EXPECT_EQ(0u, cameras[0].interface);
    EXPECT_NE(0u, cameras[1].interface);
}

TEST_F(Discovery, OfNobodyEndsAtOnce) {
    askDirectly({});
    search.window = 10s;
    const Stopwatch stopwatch;

    EXPECT_THAT(found(), ElementsAre());

    EXPECT_THAT(stopwatch.elapsed(), Lt(10s));
}

TEST_F(Discovery, AsksOtherInterfacesWhenOneIsGone) {
    answer([](const Received &command) { return Replies{cameraAt(command, kFirst)}; });
    search.interfaces.insert(search.interfaces.begin(),
                             Interface{"gone", 99, addressOf("192.168.0.2"), 0xffffff00});

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 S1"));

    search.interfaces.pop_back();
    EXPECT_THROW(found(), std::system_error);
}

TEST_F(Discovery, EndsWhenAStopIsAskedFor) {
    static volatile sig_atomic_t flag = 0;
    std::chrono::steady_clock::time_point asked;
    stopWhen(&flag);
    answer([&](const Received &) {
        asked = std::chrono::steady_clock::now();
        flag = 1;
        return Replies{};
    });
    search.window = 10s;

    EXPECT_EQ("Stopped: stopped while looking for cameras", problemOf([&] { found(); }));

    EXPECT_THAT(std::chrono::steady_clock::now() - asked, Lt(200ms + kStall));
    stopWhen(nullptr);
}

TEST_F(Discovery, FindsTheOneOfTwoCamerasAtOneAddressThatIsNamedByItsMac) {
    answer([](const Received &command) {
        return Replies{{identityOf(command, kFirst, 1, "one"), 0ms, kFirst},
                       {identityOf(command, kFirst, 2, "two"), 0ms, kFirst}};
    });

    search.mac = 2;

    EXPECT_THAT(found(), ElementsAre("127.0.0.2 two"));
}

// A camera that is forced to 127.0.0.9.
class Forcing : public Discovery {
protected:
    Forcing() {
        camera.identity.address = kFirst;
        camera.identity.macHigh = 0x0102;
        camera.identity.macLow = 0x03040506;
        camera.interface = interfacesUp()[0].index;
    }

    std::optional<uint16_t> force() {
        return forceAddress(camera, {0x7f000009, 0xff000000, 0x7f000001});
    }

    Found camera{};
};

TEST_F(Forcing, NamesTheCameraAndWhatLeadsToItAndHearsFromItsOldOrNewAddress) {
    Bytes payload(56);
    const auto put = [&](size_t at, const Bytes &bytes) {
        std::copy(bytes.begin(), bytes.end(), payload.begin() + static_cast<long>(at));
    };
    put(2, {1, 2, 3, 4, 5, 6});
    put(20, {127, 0, 0, 9});
    put(36, {255, 0, 0, 0});
    put(52, {127, 0, 0, 1});
    for (const uint32_t from : {kFirst, 0x7f000009u}) {
        network.forget();
        answer([=](const Received &command) {
            return Replies{{refusalOf(command, peer::AccessDenied), 0ms, from}};
        });
        EXPECT_EQ(peer::AccessDenied, force());
        ASSERT_EQ(1u, network.received().size());
        EXPECT_EQ(4, network.received()[0].command);
        EXPECT_EQ(0x11, network.received()[0].flags); // it may broadcast the answer
        EXPECT_EQ(payload, network.received()[0].payload);
    }
}

TEST_F(Forcing, IsRepeatedAndEndsWhateverElseAnswers) {
    answer([](const Received &command) {
        Received other = command;
        ++other.id;
        Received discovery = command;
        discovery.command = peer::Discovery;
        return Replies{{answerTo(other, {}), 0ms, kFirst},
                       {answerTo(discovery, {}), 0ms, kFirst},
                       {answerTo(command, {}), 0ms, kFirst, 4000},
                       {answerTo(command, {}), 0ms, kFlooder},
                       {{}, 0ms, kFirst}};
    });
    const auto start = std::chrono::steady_clock::now();

    EXPECT_EQ(std::nullopt, force());

    EXPECT_EQ(Waits().answer.size(), network.received().size());
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
}

} // namespace
