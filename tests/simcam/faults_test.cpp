#include "client.h"
#include "process.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <set>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;
using testing::EndsWith;
using testing::HasSubstr;
using SteadyClock = std::chrono::steady_clock;

constexpr std::uint32_t kControlPrivilege = 0x0A00;
constexpr std::uint32_t kWidth = 0x00010110;
const char *const kDiscovery = "42 01 0002 0000 0001";
const char *const kReadWidth = "42 01 0080 0004 0007 00010110";
const char *const kWidthAnswer = "0000 0081 0004 0007 00000790";
const char *const kTakeControl = "42 01 0082 0008 0042 00000A00 00000002";
const char *const kControlAnswer = "0000 0083 0004 0042 00000001";

// Two cameras, S1 at 127.0.0.2 and S2 at 127.0.0.3.
std::vector<std::string> two(std::vector<std::string> options) {
    options.insert(options.end(), {"--camera", "S1@127.0.0.2", "--camera", "S2@127.0.0.3"});
    return options;
}

// Whether a host is told that nobody listens at the camera's address.
bool isUnreachable(const char *address) {
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(3956);
    inet_pton(AF_INET, address, &to.sin_addr);
    const timeval patience{5, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    const std::uint8_t command[] = {0x42, 0x01, 0x00, 0x02, 0x00, 0x00, 0x00, 0x09};
    char answer[600];
    const bool isSent = connect(fd, reinterpret_cast<const sockaddr *>(&to), sizeof to) == 0 &&
                        send(fd, command, sizeof command, 0) == sizeof command;
    const bool isRefused =
        isSent && recv(fd, answer, sizeof answer, 0) < 0 && errno == ECONNREFUSED;
    close(fd);
    return isRefused;
}

TEST(Drop, LosesTheFirstCommandsAsThoughTheyHadNeverCome) {
    Simcam camera(two({"--drop", "2"}));
    Client client;

    EXPECT_TRUE(client.isIgnored(kTakeControl));
    EXPECT_TRUE(client.isIgnored(kReadWidth));
    EXPECT_EQ("00000000", client.read(kControlPrivilege));

    EXPECT_EQ("kxinfo-simcam: S1 discovery=2 readreg=1 writereg=0 readmem=0 writemem=0 other=0 "
              "refused=0 repeated=0 dropped=2 nacked=0 delayed=0\n"
              "kxinfo-simcam: S2 discovery=0 readreg=0 writereg=0 readmem=0 writemem=0 other=0 "
              "refused=0 repeated=0 dropped=0 nacked=0 delayed=0\n",
              camera.stop().output);
}

TEST(Drop, LosesARetransmissionLikeAnyCommand) {
    const Simcam camera(two({"--drop", "2"}));
    Client client;

    EXPECT_TRUE(client.isIgnored(kTakeControl));
    EXPECT_TRUE(client.isIgnored(kTakeControl));
    EXPECT_EQ(kControlAnswer, client.ask(kTakeControl));
}

TEST(Drop, SparesDiscovery) {
    const Simcam camera(two({"--drop", "100%"}));
    Client client;

    EXPECT_EQ("0000 0003 00F8 0001", client.ask(kDiscovery).substr(0, 19));
    client.broadcast(kDiscovery);
    EXPECT_EQ("0000 0003 00F8 0001", client.receive().packet.substr(0, 19));
    EXPECT_EQ("0000 0003 00F8 0001", client.receive().packet.substr(0, 19));
    EXPECT_TRUE(client.isIgnored(kReadWidth));
}

// Which of some commands a camera answers, '1', or drops, '0'.
std::string pattern(const std::vector<std::string> &options, const char *address, int commands) {
    const Simcam camera(two(options));
    Client client(address);
    std::string seen;
    for (int i = 0; i < commands; ++i)
        seen += client.isIgnored(kReadWidth) ? '0' : (client.receive(), '1');
    return seen;
}

TEST(Drop, ByChanceFollowsFromSeedAndSerialNumber) {
    const std::string first = pattern({"--drop", "50%"}, "127.0.0.2", 64);

    EXPECT_THAT(first, HasSubstr("0"));
    EXPECT_THAT(first, HasSubstr("1"));
    EXPECT_EQ(first, pattern({"--drop", "50%"}, "127.0.0.2", 64));
    EXPECT_EQ(first, pattern({"--drop", "50%", "--seed", "1"}, "127.0.0.2", 64));
    EXPECT_NE(first, pattern({"--drop", "50%", "--seed", "2"}, "127.0.0.2", 64));
    EXPECT_NE(first, pattern({"--drop", "50%"}, "127.0.0.3", 64));
}

TEST(Drop, ByChanceMeetsAsManyAsItSays) {
    const std::string seen = pattern({"--drop", "12.5%"}, "127.0.0.2", 800);

    // Five standard deviations around 100.
    const auto dropped = std::count(seen.begin(), seen.end(), '0');
    EXPECT_LT(53, dropped);
    EXPECT_GT(147, dropped);
}

TEST(Drop, MayMeetEachSoManyth) {
    EXPECT_EQ("110110110", pattern({"--drop", "1/3"}, "127.0.0.2", 9));
    EXPECT_EQ("000", pattern({"--drop", "1/1"}, "127.0.0.2", 3));
}

TEST(Drop, MayMeetOneCommandAlone) {
    EXPECT_EQ("1110111", pattern({"--drop", "@4"}, "127.0.0.2", 7));
    EXPECT_EQ("0111", pattern({"--drop", "S1:@1"}, "127.0.0.2", 4));
}

TEST(Drop, SaidOfOneCameraWinsWhereverItStands) {
    const Simcam camera(two({"--drop", "S1:0", "--drop", "100%"}));
    Client first, second("127.0.0.3");

    EXPECT_EQ(kWidthAnswer, first.ask(kReadWidth));
    EXPECT_TRUE(second.isIgnored(kReadWidth));
}

TEST(Nack, AnswersBusyAndCarriesNothingOut) {
    Simcam camera(two({"--nack", "3"}));
    Client client;

    EXPECT_EQ("8007 0083 0004 0042 00000000", client.ask(kTakeControl));
    EXPECT_EQ("8007 0081 0000 0007", client.ask(kReadWidth));
    EXPECT_EQ("8007 0087 0004 0008 00000000", client.ask("42 01 0086 0008 0008 000000E8 41000000"));
    EXPECT_EQ("00000000", client.read(kControlPrivilege));

    EXPECT_THAT(camera.stop().output,
                HasSubstr("S1 discovery=0 readreg=2 writereg=1 readmem=0 writemem=1 other=0 "
                          "refused=3 repeated=0 dropped=0 nacked=3 delayed=0\n"));
}

TEST(Nack, OfARetransmissionIsTheSameAnswer) {
    const Simcam camera(two({"--nack", "1"}));
    Client client;

    EXPECT_EQ("8007 0083 0004 0042 00000000", client.ask(kTakeControl));
    EXPECT_EQ("8007 0083 0004 0042 00000000", client.ask(kTakeControl));
    EXPECT_EQ("0000", client.write(kControlPrivilege, 2));
}

TEST(Nack, SparesDiscovery) {
    const Simcam camera(two({"--nack", "100%"}));
    Client client;

    EXPECT_EQ("0000 0003 00F8 0001", client.ask(kDiscovery).substr(0, 19));
}

TEST(Nack, MeetsTheCommandsThatWereNotDropped) {
    const Simcam camera(two({"--drop", "S1:1", "--nack", "S1:1"}));
    Client client;

    EXPECT_TRUE(client.isIgnored(kReadWidth));
    EXPECT_EQ("8007 0081 0000 0007", client.ask(kReadWidth));
    EXPECT_EQ(kWidthAnswer, client.ask(kReadWidth));
}

TEST(Nack, AtAPlaceCountsTheCommandsThatWouldBeCarriedOut) {
    const Simcam camera(two({"--drop", "@1", "--nack", "@2"}));
    Client client;

    EXPECT_TRUE(client.isIgnored(kReadWidth));
    EXPECT_EQ(kWidthAnswer, client.ask(kReadWidth));
    EXPECT_EQ("8007 0081 0000 0007", client.ask(kReadWidth));
    EXPECT_EQ(kWidthAnswer, client.ask(kReadWidth));
}

TEST(Delay, HoldsEachAnswerBackAndKeepsTheirOrder) {
    Simcam camera(two({"--delay", "150"}));
    Client client;
    const auto start = SteadyClock::now();

    client.send("42 01 0080 0004 0001 00010110");
    client.send("42 01 0080 0004 0002 00010114");
    client.send("42 01 0080 0004 0003 00010110");

    EXPECT_EQ("0000 0081 0004 0001 00000790", client.receive().packet);
    EXPECT_LE(milliseconds(150), SteadyClock::now() - start);
    EXPECT_EQ("0000 0081 0004 0002 000004C0", client.receive().packet);
    EXPECT_EQ("0000 0081 0004 0003 00000790", client.receive().packet);
    EXPECT_GT(milliseconds(450), SteadyClock::now() - start) << "they were delayed one by one";
    EXPECT_THAT(camera.stop().output, HasSubstr(" dropped=0 nacked=0 delayed=3\n"));
}

TEST(Delay, KeepsNobodyElseWaiting) {
    const Simcam camera(two({"--delay", "S1:1000,1"}));
    Client client, other("127.0.0.3");
    const auto start = SteadyClock::now();

    client.send(kTakeControl);

    EXPECT_EQ("00000002", client.read(kControlPrivilege)) << "it was carried out at once";
    EXPECT_EQ(kWidthAnswer, other.ask(kReadWidth));
    EXPECT_GT(milliseconds(1000), SteadyClock::now() - start);
    EXPECT_EQ(kControlAnswer, client.receive().packet);
    EXPECT_LE(milliseconds(1000), SteadyClock::now() - start);
}

TEST(Delay, MakesHostsAskAgainAndCarriesAWriteOutOnce) {
    Simcam camera(two({"--delay", "S1:200,1"}));
    Client client;

    client.send(kTakeControl);
    EXPECT_EQ(kControlAnswer, client.ask(kTakeControl));
    EXPECT_EQ(kControlAnswer, client.receive().packet);

    EXPECT_THAT(camera.stop().output, HasSubstr("writereg=2 readmem=0 writemem=0 other=0 refused=0 "
                                                "repeated=1 dropped=0 nacked=0 delayed=1\n"));
}

TEST(Delay, ByChanceLetsOtherAnswersOvertake) {
    const Simcam camera(two({"--delay", "300,50%"}));
    Client client;
    for (int i = 1; i <= 32; ++i)
        client.send("42 01 0080 0004" + hex(static_cast<std::uint32_t>(i), 4) + "00010110");

    std::string order, sorted;
    for (int i = 1; i <= 32; ++i) {
        order += client.receive().packet.substr(15, 4);
        sorted += hex(static_cast<std::uint32_t>(i), 4);
    }

    EXPECT_NE(sorted, order);
    EXPECT_EQ(32u * 4, order.size());
}

TEST(Delay, SparesDiscovery) {
    const Simcam camera(two({"--delay", "3600000"}));
    Client client;

    EXPECT_EQ("0000 0003 00F8 0001", client.ask(kDiscovery).substr(0, 19));
}

constexpr std::uint32_t kCapability = 0x0934;

TEST(Pending, AnnouncesTheAnswerWhichComesThatMuchLater) {
    Simcam camera(two({"--pending", "S1:500"}));
    Client client;
    const auto start = SteadyClock::now();

    EXPECT_EQ("0000 0089 0004 0042 000001F4", client.ask(kTakeControl));
    EXPECT_GT(milliseconds(500), SteadyClock::now() - start);
    EXPECT_EQ(kControlAnswer, client.receive().packet);
    EXPECT_LE(milliseconds(500), SteadyClock::now() - start);

    EXPECT_EQ("kxinfo-simcam: S1 discovery=0 readreg=0 writereg=1 readmem=0 writemem=0 other=0 "
              "refused=0 repeated=0 pending=1 cut=0 doubled=0 wrong=0\n"
              "kxinfo-simcam: S2 discovery=0 readreg=0 writereg=0 readmem=0 writemem=0 other=0 "
              "refused=0 repeated=0\n",
              camera.stop().output);
}

TEST(Pending, IsAmongTheCapabilitiesOfACameraThatDoesIt) {
    const Simcam camera(two({"--pending", "S1:300,@100"}));
    Client first, second("127.0.0.3");

    EXPECT_EQ("C8000023", first.read(kCapability));
    EXPECT_EQ("C8000003", second.read(kCapability));
}

TEST(Pending, MayMeetAShareOfTheAnswers) {
    const Simcam camera(two({"--pending", "65535,1"}));
    Client client;

    EXPECT_EQ("0000 0089 0004 0007 0000FFFF", client.ask(kReadWidth));
    EXPECT_EQ(kWidthAnswer, client.ask(kReadWidth));
}

TEST(Pending, OfAnAnswerThatIsDelayedTooPromisesItTooEarly) {
    const Simcam camera(two({"--pending", "10", "--delay", "500"}));
    Client client;
    const auto start = SteadyClock::now();

    EXPECT_EQ("0000 0089 0004 0007 0000000A", client.ask(kReadWidth));
    EXPECT_GT(milliseconds(500), SteadyClock::now() - start);
    EXPECT_EQ(kWidthAnswer, client.receive().packet);
    EXPECT_LE(milliseconds(510), SteadyClock::now() - start);
}

TEST(Pending, SparesDiscoveryAndCommandsThatWantNoAnswer) {
    const Simcam camera(two({"--pending", "forever"}));
    Client client;

    EXPECT_EQ("0000 0003 00F8 0001", client.ask(kDiscovery).substr(0, 19));
    EXPECT_TRUE(client.isIgnored("42 00 0082 0008 0042 00000A00 00000002"));
}

class PendingForever : public testing::Test {
protected:
    const char *const pending = "0000 0089 0004 0007 000000C8";
    Client client, other, clock{"127.0.0.3"};

    // Camera S2 answers late, so that time goes by in which a PENDING_ACK would come.
    void letTimeGoBy() { EXPECT_EQ(kWidthAnswer, clock.ask(kReadWidth)); }

    // The next packet that is none.
    Client::Answer afterPending() {
        Client::Answer answer = client.receive();
        while (answer.packet == pending)
            answer = client.receive();
        return answer;
    }
    std::vector<std::string> options(const std::string &share) {
        return two({"--pending", "S1:forever" + share, "--delay", "S2:250"});
    }
};

TEST_F(PendingForever, PromisesTheAnswerAgainAndAgain) {
    Simcam camera(options(""));
    const auto start = SteadyClock::now();

    EXPECT_EQ(pending, client.ask(kReadWidth));
    EXPECT_EQ(pending, client.receive().packet);
    EXPECT_LE(milliseconds(100), SteadyClock::now() - start);
    EXPECT_EQ(pending, client.receive().packet);
    EXPECT_LE(milliseconds(200), SteadyClock::now() - start);
    EXPECT_THAT(camera.stop().output,
                HasSubstr("S1 discovery=0 readreg=1 writereg=0 readmem=0 writemem=0 other=0 "
                          "refused=0 repeated=0 pending=1 cut=0 doubled=0 wrong=0\n"));
}

TEST_F(PendingForever, EndsWithTheClientsNextCommand) {
    const Simcam camera(options(",1"));

    EXPECT_EQ(pending, client.ask(kReadWidth));
    client.send(kReadWidth);
    EXPECT_EQ(kWidthAnswer, afterPending().packet);
    letTimeGoBy();
    EXPECT_EQ("0000 0003 00F8 0001", client.ask(kDiscovery).substr(0, 19));
}

TEST_F(PendingForever, GoesOnWhateverOthersSayAndWhateverIsLost) {
    std::vector<std::string> arguments = options(",1");
    arguments.insert(arguments.end(), {"--drop", "S1:@3"});
    const Simcam camera(arguments);

    EXPECT_EQ(pending, client.ask(kReadWidth));
    EXPECT_EQ(kWidthAnswer, other.ask(kReadWidth));
    EXPECT_EQ(pending, client.ask(kReadWidth)); // lost
    EXPECT_EQ(pending, client.receive().packet);
}

TEST_F(PendingForever, EndsWithTheCamera) {
    std::vector<std::string> arguments = options("");
    arguments.insert(arguments.end(), {"--silent-after", "S1:2"});
    const Simcam camera(arguments);

    EXPECT_EQ(pending, client.ask(kReadWidth));
    EXPECT_EQ(pending, other.ask(kReadWidth));
    client.broadcast(kDiscovery);
    EXPECT_EQ("127.0.0.3:3956", afterPending().from);
    letTimeGoBy();
    client.broadcast(kDiscovery);
    EXPECT_EQ("127.0.0.3:3956", client.receive().from);
}

TEST_F(PendingForever, KeepsNoCameraFromLeaving) {
    std::vector<std::string> arguments = options("");
    arguments.insert(arguments.end(), {"--die-after", "S1:1"});
    const Simcam camera(arguments);

    EXPECT_EQ(pending, client.ask(kReadWidth));
    EXPECT_TRUE(isUnreachable("127.0.0.2"));
}

TEST(Cut, EndsAnswersAnywhereBeforeTheirEnd) {
    Simcam camera(two({"--cut", "S1:100%"}));
    Client client, other("127.0.0.3");
    std::set<std::size_t> sizes;
    for (int i = 0; i < 200; ++i) {
        client.send(kReadWidth);
        const Client::Answer answer = client.receive();
        ASSERT_EQ("127.0.0.2:3956", answer.from);
        ASSERT_EQ(std::string(kWidthAnswer).substr(0, answer.packet.size()), answer.packet);
        sizes.insert(answer.packet.size());
    }

    EXPECT_EQ(12u, sizes.size()) << "from nothing to all but one byte";
    EXPECT_LT(*sizes.rbegin(), std::string(kWidthAnswer).size());
    EXPECT_EQ("0000 0003 00F8 0001", client.ask(kDiscovery).substr(0, 19));
    EXPECT_EQ(kWidthAnswer, other.ask(kReadWidth));
    EXPECT_THAT(camera.stop().output, HasSubstr(" pending=0 cut=200 doubled=0 wrong=0\n"));
}

TEST(Double, SendsTheAnswerTwice) {
    Simcam camera(two({"--double", "@2"}));
    Client client;

    EXPECT_EQ(kWidthAnswer, client.ask(kReadWidth));
    EXPECT_EQ(kControlAnswer, client.ask(kTakeControl));
    EXPECT_EQ(kControlAnswer, client.receive().packet);
    EXPECT_EQ("0000 0003 00F8 0001", client.ask(kDiscovery).substr(0, 19));
    EXPECT_THAT(camera.stop().output,
                HasSubstr("S1 discovery=1 readreg=1 writereg=1 readmem=0 writemem=0 other=0 "
                          "refused=0 repeated=0 pending=0 cut=0 doubled=1 wrong=0\n"));
}

class Wrong : public testing::Test {
protected:
    Simcam camera{two({"--wrong", "S1:100%"})};
    Client client;

    // All four packets, as they come.
    std::vector<std::string> answers(const std::string &command) {
        client.send(command);
        std::vector<std::string> packets;
        for (const char *const port : {"3956", "3956", "another", "3956"}) {
            const Client::Answer answer = client.receive();
            EXPECT_EQ("127.0.0.2:", answer.from.substr(0, 10));
            if (std::string(port) == "another")
                EXPECT_NE("127.0.0.2:3956", answer.from);
            else
                EXPECT_EQ("127.0.0.2:3956", answer.from);
            packets.push_back(answer.packet);
        }
        return packets;
    }
};

TEST_F(Wrong, AnswersComeBeforeTheRightOne) {
    EXPECT_THAT(answers(kReadWidth),
                testing::ElementsAre("0000 0081 0004 0006 FFFFF86F", "0000 0085 0004 0007 FFFFF86F",
                                     "0000 0081 0004 0007 FFFFF86F", kWidthAnswer));
    EXPECT_THAT(answers(kTakeControl),
                testing::ElementsAre("0000 0083 0004 0041 FFFFFFFE", "0000 0085 0004 0042 FFFFFFFE",
                                     "0000 0083 0004 0042 FFFFFFFE", kControlAnswer));
    EXPECT_THAT(camera.stop().output, HasSubstr(" pending=0 cut=0 doubled=0 wrong=2\n"));
}

TEST_F(Wrong, BlocksAreOfTheRightAddress) {
    EXPECT_THAT(answers("42 01 0084 0008 0001 00010110 0000 0004"),
                testing::ElementsAre("0000 0085 0008 FFFF 00010110FFFFF86F",
                                     "0000 0081 0008 0001 00010110FFFFF86F",
                                     "0000 0085 0008 0001 00010110FFFFF86F",
                                     "0000 0085 0008 0001 0001011000000790"));
}

TEST_F(Wrong, AnswersHaveNothingToDoWithDiscoveryAndOtherCameras) {
    Client other("127.0.0.3");

    EXPECT_EQ("0000 0003 00F8 0001", client.ask(kDiscovery).substr(0, 19));
    EXPECT_EQ("0000 0003 00F8 0001", client.ask(kDiscovery).substr(0, 19));
    EXPECT_EQ(kWidthAnswer, other.ask(kReadWidth));
    EXPECT_EQ(kWidthAnswer, other.ask(kReadWidth));
}

TEST(AnswersMeet, SeveralFaultsAtOnce) {
    const Simcam camera(
        two({"--pending", "1", "--wrong", "1/1", "--double", "1/1", "--nack", "1"}));
    Client client;
    client.send(kReadWidth);

    EXPECT_EQ("0000 0089 0004 0007 00000001", client.receive().packet);
    EXPECT_EQ("8007 0081 0000 0006", client.receive().packet);
    EXPECT_EQ("8007 0085 0000 0007", client.receive().packet);
    EXPECT_EQ("8007 0081 0000 0007", client.receive().packet);
    EXPECT_EQ("8007 0081 0000 0007", client.receive().packet);
    EXPECT_EQ("8007 0081 0000 0007", client.receive().packet);
}

TEST(DieAfter, LeavesNobodyListeningAtTheAddress) {
    Simcam camera(two({"--die-after", "S1:2"}));
    Client client, other("127.0.0.3"), asking;
    EXPECT_EQ(kWidthAnswer, client.ask(kReadWidth));
    EXPECT_EQ("0000 0003 00F8 0001", client.ask(kDiscovery).substr(0, 19));

    EXPECT_TRUE(isUnreachable("127.0.0.2"));
    asking.broadcast(kDiscovery);
    EXPECT_EQ("127.0.0.3:3956", asking.receive().from);
    EXPECT_EQ(kWidthAnswer, other.ask(kReadWidth));
    EXPECT_THAT(camera.stop().output, HasSubstr("S1 discovery=1 readreg=1 writereg=0"));
}

TEST(DieAfter, CountsAnswersToBroadcastsToo) {
    const Simcam camera(two({"--die-after", "1"}));
    Client client;
    client.broadcast(kDiscovery);
    client.receive();
    client.receive();

    EXPECT_TRUE(isUnreachable("127.0.0.2"));
    EXPECT_TRUE(isUnreachable("127.0.0.3"));
}

TEST(DieAfter, NoCommandIsDeadFromTheBeginning) {
    const Simcam camera(two({"--die-after", "S1:0"}));

    EXPECT_TRUE(isUnreachable("127.0.0.2"));
    EXPECT_FALSE(isUnreachable("127.0.0.3"));
}

TEST(DieAfter, StillSendsTheAnswersThatAreLate) {
    const Simcam camera(two({"--die-after", "2", "--delay", "100"}));
    Client client;
    client.send("42 01 0080 0004 0001 00010110");
    client.send("42 01 0080 0004 0002 00010110");
    client.send("42 01 0080 0004 0003 00010110");

    EXPECT_EQ("0000 0081 0004 0001 00000790", client.receive().packet);
    EXPECT_EQ("0000 0081 0004 0002 00000790", client.receive().packet);
    EXPECT_TRUE(isUnreachable("127.0.0.2"));
}

TEST(SilentAfter, MayHoldForOneCameraAndLeavesItsSocketOpen) {
    const Simcam camera(two({"--silent-after", "S1:1"}));
    Client client, other("127.0.0.3"), asking;
    EXPECT_EQ(kWidthAnswer, client.ask(kReadWidth));

    client.send(kReadWidth);
    asking.broadcast(kDiscovery);

    EXPECT_EQ("127.0.0.3:3956", asking.receive().from);
    EXPECT_EQ(kWidthAnswer, other.ask(kReadWidth));
    EXPECT_EQ(kWidthAnswer, other.ask(kReadWidth));
}

TEST(RefuseControl, GivesControlToNobodyAndValuesToEverybody) {
    for (const char *const flag : {"--refuse-control", "--refuse-control=S1"}) {
        const Simcam camera(two({flag}));
        Client client;

        EXPECT_EQ("8006 0083 0004 0042 00000000", client.ask(kTakeControl));
        EXPECT_EQ("8006", client.write(kControlPrivilege, 1));
        EXPECT_EQ("0000", client.write(kControlPrivilege, 0));
        EXPECT_EQ("8006", client.write(kWidth, 0x640));
        EXPECT_EQ(kWidthAnswer, client.ask(kReadWidth));
    }
}

TEST(RefuseControl, MayBeSaidOfSeveralCameras) {
    const Simcam camera(two({"--refuse-control", "S2", "--refuse-control", "S1"}));
    Client first, second("127.0.0.3");

    EXPECT_EQ("8006 0083 0004 0042 00000000", first.ask(kTakeControl));
    EXPECT_EQ("8006 0083 0004 0042 00000000", second.ask(kTakeControl));
}

TEST(RefuseControl, MayHoldForOneCamera) {
    const Simcam camera(two({"--refuse-control", "S2"}));
    Client first, second("127.0.0.3");

    EXPECT_EQ(kControlAnswer, first.ask(kTakeControl));
    EXPECT_EQ("8006 0083 0004 0042 00000000", second.ask(kTakeControl));
}

} // namespace
