// Cameras that answer late, not at all, otherwise than asked, or that drown what they say.

#include "hostile.h"

#include <algorithm>
#include <random>

namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::ContainsRegex;
using testing::Ge;
using testing::HasSubstr;
using testing::Le;
using testing::Not;

const std::vector<std::string> kGetWidth = {"get", "S1234", "Width"};
const std::vector<std::string> kProbe = {"probe", "S1234", "--json"};

// How many commands a whole run takes.
int commandsOf(const std::vector<std::string> &arguments) {
    const Camera camera("127.0.0.3");
    const Ending ending = runKxinfo(arguments, camera.address);
    EXPECT_EQ(0, ending.status) << ending;
    return camera.commands();
}

// PENDING_ACK without end for what is asked at one place, several at once.
Deceit postponing(const char *name, bool (*concerns)(const Received &), uint16_t milliseconds,
                  size_t atOnce) {
    return {name,
            [=](Camera &camera) {
                camera.behave([=](const Received &command, const Good &good) {
                    return concerns(command)
                               ? Replies(atOnce, Reply{pendingOf(command, milliseconds)})
                               : Replies{{good()}};
                });
            },
            "it keeps putting its answer off"};
}

TEST(Answers, PutOffForEverEndWithTheCause) {
    const auto readsDescription = [](const Received &command) {
        return command.command == peer::ReadMemory && command.word(0) >= peer::kDescription;
    };
    const auto readsWidth = [](const Received &command) { return command.reads(kWidth); };
    const auto takesControl = [](const Received &command) {
        return command.writes(peer::kControlPrivilege);
    };
    expectRefusals({
        postponing("the description by a minute each time", readsDescription, 65535, 1),
        postponing("the description many times at once", readsDescription, 1000, 100),
        postponing("a feature by a minute each time", readsWidth, 65535, 1),
        postponing("a feature many times at once", readsWidth, 1000, 100),
        postponing("control by a minute each time", takesControl, 65535, 1),
        postponing("control many times at once", takesControl, 1000, 100),
    });
}

class Busy : public Hostile {};

TEST_F(Busy, OnceAtAnyCommandOfAProbeChangesNothingOfIt) {
    const Ending undisturbed = kxinfo(kProbe);
    const auto registers = camera.ownRegisters();
    const int commands = camera.commands();
    ASSERT_GT(commands, 40);
    // They come on top.
    const auto heartbeats = [](const Ending &ending) { return static_cast<int>(ending.took / 1s); };

    sideBySide(1, commands, [&](int number, Camera &busy) {
        busy.refuse([=](const Received &command) { return command.number == number; }, peer::Busy);
        const Ending ending = runKxinfo(kProbe, busy.address);
        expectOrderly(ending);
        EXPECT_EQ(0, ending.status) << ending;
        EXPECT_EQ(undisturbed.out, ending.out);
        EXPECT_THAT(busy.commands(), AllOf(Ge(commands + 1 - heartbeats(undisturbed)),
                                           Le(commands + 1 + heartbeats(ending))));
        EXPECT_TRUE(registers == busy.ownRegisters());
        EXPECT_FALSE(busy.isControlled());
    });
}

Device::Behaviour silentAfter(int answered) {
    return [answered](const Received &command, const Good &good) {
        return command.number > answered ? Replies() : Replies{{good()}};
    };
}

// It is asked for a second and a half, and once more to be left free. A probe looks at it then.
void expectSilenceNoticed(const Camera &quiet, int answered, const Ending &ending, int looks = 0) {
    expectOrderly(ending);
    EXPECT_LE(quiet.commands(), answered + 2 + looks) << ending;
}

class Silent : public Hostile {};

TEST_F(Silent, AfterDiscoveryIsNotTakenForAnothersControl) {
    camera.behave(silentAfter(0));

    const Stopwatch stopwatch;
    expectRefusal(camera,
                  AllOf(HasSubstr("it does not answer"), Not(HasSubstr("another program"))));
    EXPECT_LT(stopwatch.elapsed(), 3000ms + kStall);
}

TEST_F(Silent, AtAnyMomentOfAGetEndsItWithTwoCommands) {
    sideBySide(0, commandsOf(kGetWidth) - 1, [](int answered, Camera &quiet) {
        quiet.behave(silentAfter(answered));
        const Ending ending = runKxinfo(kGetWidth, quiet.address);
        expectSilenceNoticed(quiet, answered, ending);
        // All has been shown when control is given back.
        if (ending.status != 0)
            EXPECT_THAT(ending.err, ContainsRegex("does not answer|stopped answering"));
        else
            EXPECT_THAT(ending.out, HasSubstr("1936"));
    });
}

TEST_F(Silent, AtMomentsOfAProbeEndsItWithTwoCommandsAndALook) {
    constexpr int kEach = 8;
    sideBySide(0, (commandsOf(kProbe) - 1) / kEach, [](int number, Camera &quiet) {
        const int answered = number * kEach + kEach / 2;
        quiet.behave(silentAfter(answered));
        expectSilenceNoticed(quiet, answered, runKxinfo(kProbe, quiet.address), 1);
    });
}

class Loss : public Hostile {};

TEST_F(Loss, OfEveryThirdAnswerLeavesAProbeComplete) {
    const std::string undisturbed = probed();
    const auto registers = camera.ownRegisters();
    camera.behave([count = 0](const Received &, const Bytes &good) mutable {
        return ++count % 3 == 0 ? Replies() : Replies{{good}};
    });

    EXPECT_EQ(undisturbed, probed());

    EXPECT_TRUE(registers == camera.ownRegisters());
}

class LittleEndianMemory : public Hostile {
protected:
    LittleEndianMemory() { camera.reverseRegistersInMemory(); }
};

TEST_F(LittleEndianMemory, IsReadAndWrittenAsTheNumbersThatItsRegistersHold) {
    const Ending ending = kxinfo(kGetWidth);
    EXPECT_EQ(0, ending.status) << ending;
    EXPECT_THAT(ending.out, ContainsRegex("\nWidth +1936 +16 +1936 +16 "));

    EXPECT_EQ(0, kxinfo({"set", "S1234", "Width=640"}).status);
    EXPECT_EQ(640u, camera.get(kWidth));
}

TEST_F(LittleEndianMemory, IsProbedAsAnyOther) {
    const std::string reversed = probed();
    const Camera other("127.0.0.3");

    EXPECT_EQ(runKxinfo(kProbe, other.address).out, reversed);
    EXPECT_TRUE(other.ownRegisters() == camera.ownRegisters());
}

// Packets that are no answers, in front of each answer: many from elsewhere, also such as look like
// answers, and some from the camera's own port.
class Garbage : public Hostile {
protected:
    static constexpr int kMostPackets = 100'000;
    static constexpr int kFromElsewhere = 1000;
    static constexpr int kFromCamera = 50;
    // A search's socket has room for some hundred packets.
    static constexpr int kWhileSearching = 200;

    Garbage() {
        std::generate(noise_.begin(), noise_.end(),
                      [this] { return static_cast<uint8_t>(random_() >> 8); });
    }

    Bytes garbage() {
        constexpr size_t kLargest = 600;
        const uint8_t *const begin = noise_.data() + random_() % (noise_.size() - kLargest);
        return Bytes(begin, begin + random_() % kLargest);
    }

    void flood(const sockaddr_in &to, int count, const Bytes &forgery) {
        for (int i = 0; i < count && sent_ < kMostPackets; ++i, ++sent_)
            sendTo(to, elsewhere_, i % 2 ? forgery : garbage());
    }

    Replies before(const Bytes &answer) {
        Replies replies;
        for (int i = 0; i < kFromCamera && sent_ < kMostPackets; ++i, ++sent_) {
            Bytes cut = answer;
            cut.resize(random_() % answer.size()); // says that it is longer
            replies.push_back({i % 2 ? cut : garbage()});
        }
        replies.push_back({answer});
        return replies;
    }

    int sent() const { return sent_; }

private:
    const gvcp::Descriptor elsewhere_ = socketAt(addressOf("127.0.0.66"), 0);
    std::minstd_rand random_{1};
    Bytes noise_ = Bytes(1 << 16);
    int sent_ = 0;
};

TEST_F(Garbage, InFrontOfEachAnswerChangesNothingOfAProbe) {
    const std::string undisturbed = probed();
    const auto registers = camera.ownRegisters();
    camera.behave([this](const Received &command, const Bytes &good) {
        if (command.command == peer::Discovery) {
            flood(command.from, kWhileSearching, good);
            return Replies{{good}};
        }
        if (!command.repeated)
            flood(command.from, kFromElsewhere, refusalOf(command, 0x8fff));
        return before(good);
    });

    EXPECT_EQ(undisturbed, probed());

    EXPECT_TRUE(registers == camera.ownRegisters());
    EXPECT_GT(sent(), kMostPackets / 2);
    camera.behave(nullptr);
}

} // namespace
