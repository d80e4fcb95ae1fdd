// Cameras that answer late, not at all, otherwise than asked, or that drown what they say.

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <random>

#include "hostile.h"

namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

constexpr std::chrono::seconds kSilenceNoticed(4);

const std::vector<std::string> kGetWidth = {"get", "S1234", "Width"};
const std::vector<std::string> kProbe = {"probe", "S1234", "--json"};

// How many commands a whole run takes.
int commandsOf(const std::vector<std::string> &arguments) {
    const Device camera("127.0.0.3");
    const Ending ending = Child(arguments, {{"KXGIGE_ADDRESSES", camera.address()}}).wait();
    EXPECT_EQ(0, ending.status) << ending;
    return camera.commands();
}

// PENDING_ACK without end, for what is asked at one place.
struct Postponement {
    const char *name;
    bool (*concerns)(const Command &command);
    std::chrono::milliseconds time;
    size_t atOnce;
};

void PrintTo(const Postponement &postponement, std::ostream *stream) {
    *stream << postponement.name;
}

class Postponed : public Hostile, public testing::WithParamInterface<Postponement> {};

TEST_P(Postponed, ForEverEndsWithTheCause) {
    camera.onCommand([](const Command &command, const Device::Answer &answer) {
        if (!GetParam().concerns(command))
            return std::vector<Bytes>{answer()};
        return std::vector<Bytes>(GetParam().atOnce, pendingAnswer(command, GetParam().time));
    });

    expectRefusal(HasSubstr("it keeps putting its answer off"));
}

bool readsDescription(const Command &command) {
    return command.code == kReadMemory && command.address() >= 0x1000000;
}
bool readsWidth(const Command &command) {
    return command.reads(reg::kWidth);
}
bool takesControl(const Command &command) {
    return command.writes(reg::kControlPrivilege);
}

const Postponement kPostponements[] = {
    {"TheDescriptionByAMinuteEachTime", readsDescription, 65535ms, 1},
    {"TheDescriptionManyTimesAtOnce", readsDescription, 1000ms, 100},
    {"AFeatureByAMinuteEachTime", readsWidth, 65535ms, 1},
    {"AFeatureManyTimesAtOnce", readsWidth, 1000ms, 100},
    {"ControlByAMinuteEachTime", takesControl, 65535ms, 1},
    {"ControlManyTimesAtOnce", takesControl, 1000ms, 100},
};

INSTANTIATE_TEST_SUITE_P(Answer, Postponed, testing::ValuesIn(kPostponements),
                         testing::PrintToStringParamName());

class Busy : public Hostile {};

TEST_F(Busy, OnceAtAnyCommandOfAProbeChangesNothingOfIt) {
    const std::string undisturbed = probed();
    const Bytes registers = camera.registers();
    const int commands = camera.commands();
    ASSERT_GT(commands, 40);

    sideBySide(1, commands, [&](int number, Device &busy, const Environment &environment) {
        busy.onCommand([number](const Command &command, const Device::Answer &answer) {
            return std::vector<Bytes>{command.number == number ? answerTo(command, kBusy)
                                                               : answer()};
        });
        const Ending ending = Child(kProbe, environment).wait();
        expectOrderly(ending);
        EXPECT_EQ(0, ending.status) << ending;
        EXPECT_EQ(undisturbed, ending.out);
        EXPECT_EQ(commands + 1, busy.commands());
        EXPECT_TRUE(registers == busy.registers());
        EXPECT_FALSE(busy.isControlled());
    });
}

class Silent : public Hostile {};

Device::Hook silentAfter(int answered) {
    return [answered](const Command &command, const Device::Answer &answer) {
        return command.number > answered ? std::vector<Bytes>{} : std::vector<Bytes>{answer()};
    };
}

TEST_F(Silent, AfterDiscoveryIsNotTakenForAnothersControl) {
    camera.onCommand(silentAfter(0));

    expectRefusal(AllOf(HasSubstr("it does not answer"), Not(HasSubstr("another program"))),
                  kSilenceNoticed);
}

TEST_F(Silent, AtAnyMomentOfAGetEndsItInSeconds) {
    sideBySide(0, commandsOf(kGetWidth) - 1,
               [](int answered, Device &quiet, const Environment &environment) {
                   quiet.onCommand(silentAfter(answered));
                   const Ending ending = Child(kGetWidth, environment).wait();
                   expectOrderly(ending);
                   EXPECT_LT(ending.took, kSilenceNoticed) << ending;
                   // All has been shown when control is given back.
                   if (ending.status != 0)
                       EXPECT_THAT(ending.err, ContainsRegex("does not answer|stopped answering"));
                   else
                       EXPECT_THAT(ending.out, HasSubstr("1936"));
               });
}

TEST_F(Silent, AtMomentsOfAProbeEndsItInSeconds) {
    constexpr int kEach = 8;
    const int commands = commandsOf(kProbe);
    sideBySide(0, (commands - 1) / kEach,
               [](int number, Device &quiet, const Environment &environment) {
                   quiet.onCommand(silentAfter(number * kEach + kEach / 2));
                   const Ending ending = Child(kProbe, environment).wait();
                   expectOrderly(ending);
                   EXPECT_LT(ending.took, kSilenceNoticed) << ending;
               });
}

class Loss : public Hostile {};

TEST_F(Loss, OfEveryThirdAnswerLeavesAProbeComplete) {
    const std::string undisturbed = probed();
    const Bytes registers = camera.registers();
    camera.onCommand([count = 0](const Command &, const Device::Answer &answer) mutable {
        const Bytes packet = answer();
        return ++count % 3 == 0 ? std::vector<Bytes>{} : std::vector<Bytes>{packet};
    });

    // More than others may take, but then it is complete.
    const Ending ending = Child(kProbe).wait();

    expectOrderly(ending);
    EXPECT_EQ(0, ending.status) << ending;
    EXPECT_EQ(undisturbed, ending.out);
    EXPECT_TRUE(registers == camera.registers());
    EXPECT_FALSE(camera.isControlled());
}

class LittleEndianMemory : public Hostile {
protected:
    LittleEndianMemory() { camera.reverseRegistersInMemory(); }
};

TEST_F(LittleEndianMemory, IsReadAsTheNumbersThatItsRegistersHold) {
    const Ending ending = kxinfo(kGetWidth);

    EXPECT_EQ(0, ending.status) << ending;
    EXPECT_THAT(ending.out, ContainsRegex("\nWidth +1936 +16 +1936 +16 "));
}

TEST_F(LittleEndianMemory, IsWrittenWithTheNumberThatItsRegisterIsToHold) {
    const Ending ending = kxinfo({"set", "S1234", "Width=640"});

    EXPECT_EQ(0, ending.status) << ending;
    EXPECT_EQ(640u, camera.get(reg::kWidth));
}

TEST_F(LittleEndianMemory, IsProbedAsAnyOther) {
    const std::string reversed = probed();
    const Device other("127.0.0.3");
    const Ending usual = Child(kProbe, {{"KXGIGE_ADDRESSES", other.address()}}).wait();

    EXPECT_EQ(usual.out, reversed);
    EXPECT_TRUE(other.registers() == camera.registers());
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
        for (char &byte : noise_)
            byte = static_cast<char>(random_());
        sockaddr_in from{};
        from.sin_family = AF_INET;
        from.sin_addr.s_addr = inet_addr("127.0.0.66");
        if (bind(elsewhere_, reinterpret_cast<sockaddr *>(&from), sizeof from) != 0)
            ADD_FAILURE() << "no socket elsewhere";
    }
    ~Garbage() override { close(elsewhere_); }

    std::string_view garbage() {
        constexpr size_t kLargest = 600;
        return std::string_view(noise_).substr(random_() % (noise_.size() - kLargest),
                                               random_() % kLargest);
    }

    void flood(const sockaddr_in &to, int count, const Bytes &forgery) {
        for (int i = 0; i < count && sent_ < kMostPackets; ++i, ++sent_) {
            const std::string_view packet = i % 2 ? std::string_view(forgery) : garbage();
            sendto(elsewhere_, packet.data(), packet.size(), 0,
                   reinterpret_cast<const sockaddr *>(&to), sizeof to);
        }
    }

    std::vector<Bytes> before(const Bytes &answer) {
        std::vector<Bytes> packets;
        for (int i = 0; i < kFromCamera && sent_ < kMostPackets; ++i, ++sent_) {
            Bytes cut = answer;
            cut.resize(random_() % answer.size()); // says that it is longer
            packets.push_back(i % 2 ? cut : Bytes(garbage()));
        }
        packets.push_back(answer);
        return packets;
    }

    int sent() const { return sent_; }

private:
    int elsewhere_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    std::minstd_rand random_{1};
    Bytes noise_ = Bytes(1 << 16, '\0');
    int sent_ = 0;
};

TEST_F(Garbage, InFrontOfEachAnswerChangesNothingOfAProbe) {
    const std::string undisturbed = probed();
    const Bytes registers = camera.registers();
    camera.onCommand([this](const Command &command, const Device::Answer &answer) {
        const Bytes packet = answer();
        if (command.code == kDiscovery) {
            flood(command.from, kWhileSearching, packet);
            return std::vector<Bytes>{packet};
        }
        if (!command.repeated)
            flood(command.from, kFromElsewhere, answerTo(command, 0x8fff));
        return before(packet);
    });

    EXPECT_EQ(undisturbed, probed());

    EXPECT_TRUE(registers == camera.registers());
    EXPECT_GT(sent(), kMostPackets / 2);
    camera.onCommand({});
}

} // namespace
