#include "camera_test.h"

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
using testing::HasSubstr;
using SteadyClock = std::chrono::steady_clock;

constexpr uint32_t kControlPrivilege = 0x0A00;
const char *const kDiscovery = "42 01 0002 0000 0001";
const char *const kFound = "0000 0003 00F8 0001";
const char *const kReadWidth = "42 01 0080 0004 0007 00010110";
const char *const kWidthAnswer = "0000 0081 0004 0007 00000790";
const char *const kTakeControl = "42 01 0082 0008 0042 00000A00 00000002";
const char *const kControlAnswer = "0000 0083 0004 0042 00000001";

const char *const kControlRefusal = "8006 0083 0004 0042 00000000";

// Whether a host is told that nobody listens at the camera's address.
bool isUnreachable(const char *address) {
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(3956);
    inet_pton(AF_INET, address, &to.sin_addr);
    const timeval patience{5, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    const uint8_t command[] = {0x42, 0x01, 0x00, 0x02, 0x00, 0x00, 0x00, 0x09};
    char answer[600];
    const bool isSent = connect(fd, reinterpret_cast<const sockaddr *>(&to), sizeof to) == 0 &&
                        send(fd, command, sizeof command, 0) == sizeof command;
    const bool isRefused =
        isSent && recv(fd, answer, sizeof answer, 0) < 0 && errno == ECONNREFUSED;
    close(fd);
    return isRefused;
}

TEST(Drop, LosesTheFirstCommandsAsThoughTheyHadNeverCome) {
    EXPECT_EQ("kxinfo-simcam: S1 discovery=3 readreg=1 writereg=1 readmem=0 writemem=0 other=0 "
              "refused=0 repeated=0 dropped=3 nacked=0 delayed=0\n"
              "kxinfo-simcam: S2 discovery=0 readreg=0 writereg=0 readmem=0 writemem=0 other=0 "
              "refused=0 repeated=0 dropped=0 nacked=0 delayed=0\n",
              served("--drop 3", R"(
                  42 01 0082 0008 0042 00000A00 00000002 = nothing
                  42 01 0082 0008 0042 00000A00 00000002 = nothing
                  42 01 0080 0004 0007 00010110 = nothing
                  read 0A00 = 00000000
                  42 01 0082 0008 0042 00000A00 00000002 = 0000 0083 0004 0042 00000001
              )"));
}

// A camera has to be found before it can misbehave.
TEST(Faults, SpareDiscovery) {
    for (const char *fault : {"--drop 100%", "--nack 100%", "--delay 3600000", "--pending forever",
                              "--cut 100%", "--double 100%", "--wrong 100%", "--refuse-control"}) {
        const Simcam camera = two(fault);
        Client client;
        EXPECT_EQ(kFound, client.ask(kDiscovery).substr(0, 19));
        client.broadcast(kDiscovery);
        EXPECT_EQ(kFound, client.receive().packet.substr(0, 19));
        EXPECT_EQ(kFound, client.receive().packet.substr(0, 19));
        EXPECT_TRUE(client.isIgnored("42 00 0080 0004 0007 00010110")) << "it wants no answer";
    }
}

// Which of some commands a camera answers, '1', or drops, '0'.
std::string pattern(const std::string &options, const char *address, int commands) {
    const Simcam camera = two(options);
    Client client(address);
    std::string seen;
    for (int i = 0; i < commands; ++i)
        seen += client.isIgnored(kReadWidth) ? '0' : (client.receive(), '1');
    return seen;
}

TEST(Drop, ByChanceFollowsFromSeedAndSerialNumber) {
    const std::string first = pattern("--drop 50%", "127.0.0.2", 64);

    EXPECT_THAT(first, HasSubstr("0"));
    EXPECT_THAT(first, HasSubstr("1"));
    EXPECT_EQ(first, pattern("--drop 50%", "127.0.0.2", 64));
    EXPECT_EQ(first, pattern("--drop 50% --seed 1", "127.0.0.2", 64));
    EXPECT_NE(first, pattern("--drop 50% --seed 2", "127.0.0.2", 64));
    EXPECT_NE(first, pattern("--drop 50%", "127.0.0.3", 64));
}

TEST(Drop, ByChanceMeetsAsManyAsItSays) {
    const std::string seen = pattern("--drop 12.5%", "127.0.0.2", 800);

    // Five standard deviations around 100.
    const auto dropped = std::count(seen.begin(), seen.end(), '0');
    EXPECT_LT(53, dropped);
    EXPECT_GT(147, dropped);
}

TEST(Drop, MayMeetEachSoManythOrOneCommandAlone) {
    EXPECT_EQ("110110110", pattern("--drop 1/3", "127.0.0.2", 9));
    EXPECT_EQ("000", pattern("--drop 1/1", "127.0.0.2", 3));
    EXPECT_EQ("1110111", pattern("--drop @4", "127.0.0.2", 7));
    EXPECT_EQ("0111", pattern("--drop S1:@1", "127.0.0.2", 4));
}

TEST(Drop, SaidOfOneCameraWinsWhereverItStands) {
    served("--drop S1:0 --drop 100%", R"(
        read 10110 = 00000790
        B3: 42 01 0080 0004 0007 00010110 = nothing
    )");
}

TEST(Nack, AnswersBusyAndCarriesNothingOut) {
    const std::string end = served("--nack 4", R"(
        42 01 0082 0008 0042 00000A00 00000002 = 8007 0083 0004 0042 00000000
        42 01 0082 0008 0042 00000A00 00000002 = 8007 0083 0004 0042 00000000 # a retransmission
        42 01 0080 0004 0007 00010110 = 8007 0081 0000 0007
        42 01 0086 0008 0008 000000E8 41000000 = 8007 0087 0004 0008 00000000
        42 01 0086 0008 0008 000000E8 41000000 = 8007 0087 0004 0008 00000000
        42 01 0080 0004 0007 00010110 = 8007 0081 0000 0007
        read 0A00 = 00000000
    )");
    EXPECT_THAT(end, HasSubstr("S1 discovery=0 readreg=3 writereg=2 readmem=0 writemem=2 other=0 "
                               "refused=6 repeated=2 dropped=0 nacked=4 delayed=0\n"));
}

TEST(Nack, CountsTheCommandsThatWereNotDropped) {
    served("--drop @1 --nack S1:@2 --nack 1", R"(
        42 01 0080 0004 0007 00010110 = nothing
        42 01 0080 0004 0007 00010110 = 0000 0081 0004 0007 00000790
        42 01 0080 0004 0007 00010110 = 8007 0081 0000 0007
        42 01 0080 0004 0007 00010110 = 0000 0081 0004 0007 00000790
        B3: 42 01 0080 0004 0007 00010110 = nothing
        B3: 42 01 0080 0004 0007 00010110 = 8007 0081 0000 0007
    )");
}

TEST(Delay, HoldsEachAnswerBackAndKeepsTheirOrder) {
    constexpr int kCount = 20;
    Simcam camera = two("--delay 300");
    Client client;
    const auto start = SteadyClock::now();
    const auto number = [](int i) { return hex(static_cast<uint32_t>(i + 1), 4); };
    for (int i = 0; i < kCount; ++i)
        client.send("42 01 0080 0004" + number(i) + "00010110");

    for (int i = 0; i < kCount; ++i)
        EXPECT_EQ("0000 0081 0004 " + number(i) + " 00000790", client.receive().packet);
    EXPECT_LE(milliseconds(300), SteadyClock::now() - start);
    EXPECT_GT(milliseconds(300 * kCount), SteadyClock::now() - start) << "one by one";
    EXPECT_THAT(camera.stop().output, HasSubstr(" dropped=0 nacked=0 delayed=20\n"));
}

TEST(Delay, KeepsNobodyElseWaiting) {
    const Simcam camera = two("--delay S1:2000,1");
    Client client, other("127.0.0.3");
    const auto start = SteadyClock::now();

    client.send(kTakeControl);

    EXPECT_EQ("00000002", client.read(kControlPrivilege)) << "it was carried out at once";
    EXPECT_EQ(kWidthAnswer, other.ask(kReadWidth));
    EXPECT_GT(milliseconds(2000), SteadyClock::now() - start);
    EXPECT_EQ(kControlAnswer, client.receive().packet);
    EXPECT_LE(milliseconds(2000), SteadyClock::now() - start);
}

TEST(Delay, MakesHostsAskAgainAndCarriesAWriteOutOnce) {
    Simcam camera = two("--delay S1:200,1");
    Client client;

    client.send(kTakeControl);
    EXPECT_EQ(kControlAnswer, client.ask(kTakeControl));
    EXPECT_EQ(kControlAnswer, client.receive().packet);

    EXPECT_THAT(camera.stop().output, HasSubstr("writereg=2 readmem=0 writemem=0 other=0 refused=0 "
                                                "repeated=1 dropped=0 nacked=0 delayed=1\n"));
}

TEST(Delay, ByChanceLetsOtherAnswersOvertake) {
    const Simcam camera = two("--delay 300,50%");
    Client client;
    for (int i = 1; i <= 32; ++i)
        client.send("42 01 0080 0004" + hex(static_cast<uint32_t>(i), 4) + "00010110");

    std::string order, sorted;
    for (int i = 1; i <= 32; ++i) {
        order += client.receive().packet.substr(15, 4);
        sorted += hex(static_cast<uint32_t>(i), 4);
    }

    EXPECT_NE(sorted, order);
    EXPECT_EQ(32u * 4, order.size());
}

TEST(Pending, AnnouncesTheAnswerWhichComesThatMuchLater) {
    Simcam camera = two("--pending S1:2000");
    Client client;
    const auto start = SteadyClock::now();

    EXPECT_EQ("0000 0089 0004 0042 000007D0", client.ask(kTakeControl));
    EXPECT_GT(milliseconds(2000), SteadyClock::now() - start);
    EXPECT_EQ(kControlAnswer, client.receive().packet);
    EXPECT_LE(milliseconds(2000), SteadyClock::now() - start);

    EXPECT_EQ("kxinfo-simcam: S1 discovery=0 readreg=0 writereg=1 readmem=0 writemem=0 other=0 "
              "refused=0 repeated=0 pending=1 cut=0 doubled=0 wrong=0\n"
              "kxinfo-simcam: S2 discovery=0 readreg=0 writereg=0 readmem=0 writemem=0 other=0 "
              "refused=0 repeated=0\n",
              camera.stop().output);
}

TEST(Pending, IsAmongTheCapabilitiesOfACameraThatDoesItAndMayMeetAShareOfTheAnswers) {
    served("--pending S1:65535,1", R"(
        42 01 0080 0004 0007 00000934 = 0000 0089 0004 0007 0000FFFF
        42 01 0080 0004 0007 00000934 = 0000 0081 0004 0007 C8000023
        B3: read 0934 = C8000003
    )");
}

TEST(Pending, OfAnAnswerThatIsDelayedTooPromisesItTooEarly) {
    const auto start = SteadyClock::now();
    served("--pending 10 --delay 500", R"(
        42 01 0080 0004 0007 00010110 = 0000 0089 0004 0007 0000000A
        then = 0000 0081 0004 0007 00000790
    )");
    EXPECT_LE(milliseconds(510), SteadyClock::now() - start);
}

TEST(PendingForever, PromisesTheAnswerAgainAndAgain) {
    const auto start = SteadyClock::now();
    const std::string end = served("--pending S1:forever", R"(
        42 01 0080 0004 0007 00010110 = 0000 0089 0004 0007 000000C8
        then = 0000 0089 0004 0007 000000C8
        then = 0000 0089 0004 0007 000000C8
    )");
    EXPECT_LE(milliseconds(200), SteadyClock::now() - start);
    EXPECT_THAT(end, HasSubstr("S1 discovery=0 readreg=1 writereg=0 readmem=0 writemem=0 other=0 "
                               "refused=0 repeated=0 pending=1 cut=0 doubled=0 wrong=0\n"));
}

TEST(PendingForever, GoesOnWhateverOthersSayAndWhateverIsLost) {
    served("--pending S1:forever,1 --drop S1:@3", R"(
        42 01 0080 0004 0007 00010110 = 0000 0089 0004 0007 000000C8
        B: read 10110 = 00000790
        42 01 0080 0004 0007 00010110 = 0000 0089 0004 0007 000000C8 # it is lost
        then = 0000 0089 0004 0007 000000C8
    )");
}

// Camera S2 answers late, so that time goes by in which a PENDING_ACK would come.
TEST(PendingForever, EndsWithTheClientsNextCommandOrWithTheCamera) {
    const Simcam camera = two("--pending S1:forever,2 --delay S2:250 --silent-after S1:3");
    Client client, other, clock("127.0.0.3");
    const auto next = [](Client &of) { // that is no PENDING_ACK
        Client::Answer answer = of.receive();
        while (answer.packet.size() > 8 && answer.packet.substr(5, 4) == "0089")
            answer = of.receive();
        return answer;
    };
    EXPECT_EQ("0000 0089 0004 0007 000000C8", other.ask(kReadWidth));
    EXPECT_EQ("0000 0089 0004 0007 000000C8", client.ask(kReadWidth));
    client.send(kReadWidth);
    EXPECT_EQ(kWidthAnswer, next(client).packet);

    other.broadcast(kDiscovery); // S1 is dead now
    EXPECT_EQ("127.0.0.3:3956", next(other).from);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(kWidthAnswer, clock.ask(kReadWidth));
    for (Client *each : {&client, &other}) {
        each->broadcast(kDiscovery);
        EXPECT_EQ("127.0.0.3:3956", each->receive().from) << "S1 has said nothing more";
    }
}

TEST(PendingForever, KeepsNoCameraFromLeaving) {
    const Simcam camera = two("--pending forever --die-after S1:1");

    EXPECT_EQ("0000 0089 0004 0007 000000C8", Client().ask(kReadWidth));
    EXPECT_TRUE(isUnreachable("127.0.0.2"));
}

TEST(Cut, EndsAnswersAnywhereBeforeTheirEnd) {
    Simcam camera = two("--cut S1:100%");
    Client client, other("127.0.0.3");
    std::set<size_t> sizes;
    for (int i = 0; i < 200; ++i) {
        client.send(kReadWidth);
        const Client::Answer answer = client.receive();
        ASSERT_EQ("127.0.0.2:3956", answer.from);
        ASSERT_EQ(std::string(kWidthAnswer).substr(0, answer.packet.size()), answer.packet);
        sizes.insert(answer.packet.size());
    }

    EXPECT_EQ(12u, sizes.size()) << "from nothing to all but one byte";
    EXPECT_LT(*sizes.rbegin(), std::string(kWidthAnswer).size());
    EXPECT_EQ(kWidthAnswer, other.ask(kReadWidth));
    EXPECT_THAT(camera.stop().output, HasSubstr(" pending=0 cut=200 doubled=0 wrong=0\n"));
}

TEST(Double, SendsTheAnswerTwice) {
    const std::string end = served("--double @2", R"(
        42 01 0080 0004 0007 00010110 = 0000 0081 0004 0007 00000790
        42 01 0082 0008 0042 00000A00 00000002 = 0000 0083 0004 0042 00000001
        then = 0000 0083 0004 0042 00000001
        42 01 0080 0004 0007 00010110 = 0000 0081 0004 0007 00000790
    )");
    EXPECT_THAT(end, HasSubstr("S1 discovery=0 readreg=2 writereg=1 readmem=0 writemem=0 other=0 "
                               "refused=0 repeated=0 pending=0 cut=0 doubled=1 wrong=0\n"));
}

// Wrong in number, in kind and in port; blocks are of the right address.
TEST(Wrong, AnswersComeBeforeTheRightOne) {
    const std::string end = served("--wrong S1:100%", R"(
        42 01 0080 0004 0007 00010110 = 0000 0081 0004 0006 FFFFF86F
        then = 0000 0085 0004 0007 FFFFF86F
        then = 0000 0081 0004 0007 FFFFF86F
        then = 0000 0081 0004 0007 00000790
        42 01 0082 0008 0042 00000A00 00000002 = 0000 0083 0004 0041 FFFFFFFE
        then = 0000 0085 0004 0042 FFFFFFFE
        then = 0000 0083 0004 0042 FFFFFFFE
        then = 0000 0083 0004 0042 00000001
        42 01 0084 0008 0001 00010110 0000 0004 = 0000 0085 0008 FFFF 00010110FFFFF86F
        then = 0000 0081 0008 0001 00010110FFFFF86F
        then = 0000 0085 0008 0001 00010110FFFFF86F
        then = 0000 0085 0008 0001 0001011000000790
        B3: 42 01 0080 0004 0007 00010110 = 0000 0081 0004 0007 00000790
        B3: 42 01 0080 0004 0007 00010110 = 0000 0081 0004 0007 00000790
    )");
    EXPECT_THAT(end, HasSubstr(" pending=0 cut=0 doubled=0 wrong=3\n"));
}

TEST(Wrong, AnswerOfTheRightNumberAndKindComesFromAnotherPort) {
    const Simcam camera = two("--wrong 1");
    Client client;
    client.send(kReadWidth);
    for (const bool isOther : {false, false, true, false}) {
        const std::string from = client.receive().from;
        EXPECT_EQ("127.0.0.2:", from.substr(0, 10));
        EXPECT_EQ(isOther, from != "127.0.0.2:3956");
    }
}

TEST(Faults, MeetAtOneAnswer) {
    served("--pending 1 --wrong 1/1 --double 1/1 --nack 1", R"(
        42 01 0080 0004 0007 00010110 = 0000 0089 0004 0007 00000001
        then = 8007 0081 0000 0006
        then = 8007 0085 0000 0007
        then = 8007 0081 0000 0007
        then = 8007 0081 0000 0007
        then = 8007 0081 0000 0007
    )");
}

TEST(DieAfter, LeavesNobodyListeningAtTheAddress) {
    Simcam camera = two("--die-after S1:2");
    Client client, other("127.0.0.3"), asking;
    EXPECT_EQ(kWidthAnswer, client.ask(kReadWidth));
    EXPECT_EQ(kFound, client.ask(kDiscovery).substr(0, 19));

    EXPECT_TRUE(isUnreachable("127.0.0.2"));
    asking.broadcast(kDiscovery);
    EXPECT_EQ("127.0.0.3:3956", asking.receive().from);
    EXPECT_EQ(kWidthAnswer, other.ask(kReadWidth));
    EXPECT_THAT(camera.stop().output, HasSubstr("S1 discovery=1 readreg=1 writereg=0"));
}

TEST(DieAfter, CountsAnswersToBroadcastsTooAndMayMeanTheBeginning) {
    const Simcam camera = two("--die-after 1 --die-after S2:0");
    EXPECT_TRUE(isUnreachable("127.0.0.3"));
    Client client;
    client.broadcast(kDiscovery);
    EXPECT_EQ("127.0.0.2:3956", client.receive().from);

    EXPECT_TRUE(isUnreachable("127.0.0.2"));
}

TEST(DieAfter, StillSendsTheAnswersThatAreLate) {
    const Simcam camera = two("--die-after 2 --delay 100");
    Client client;
    for (const char *number : {"1", "2", "3"})
        client.send("42 01 0080 0004 000" + std::string(number) + " 00010110");

    EXPECT_EQ("0000 0081 0004 0001 00000790", client.receive().packet);
    EXPECT_EQ("0000 0081 0004 0002 00000790", client.receive().packet);
    EXPECT_TRUE(isUnreachable("127.0.0.2"));
}

// The broadcast comes after the write, so its one answer shows that both are dead letters.
TEST(SilentAfter, MayHoldForOneCameraAndLeavesItsSocketAndRegistersAsTheyWere) {
    const TemporaryFolder folder;
    Simcam camera = two("--silent-after S1:3 --snapshot " + folder.path());
    Client client, other("127.0.0.3"), asking;
    converse("write 0A00 2 = 0000\nwrite 10110 640 = 0000\nread 10110 = 00000640");

    client.send("42 01 0082 0008 0007 00010110 00000320");
    asking.broadcast(kDiscovery);

    EXPECT_EQ("127.0.0.3:3956", asking.receive().from);
    EXPECT_EQ(kWidthAnswer, other.ask(kReadWidth));
    EXPECT_THAT(camera.stop().output, HasSubstr("S1 discovery=0 readreg=1 writereg=2 readmem=0"));
    EXPECT_THAT(readFile(folder.path() + "/S1.txt"), HasSubstr("\nWidth = 1600\n"));
}

TEST(RefuseControl, GivesControlToNobodyAndValuesToEverybody) {
    for (const std::string options :
         {"--refuse-control", "--refuse-control=S1", "--refuse-control S2 --refuse-control S1"}) {
        const Simcam camera = two(options);
        converse(R"(
            42 01 0082 0008 0042 00000A00 00000002 = 8006 0083 0004 0042 00000000
            write 0A00 1 = 8006
            write 0A00 0 = 0000
            write 10110 640 = 8006
            read 10110 = 00000790
        )");
        EXPECT_EQ(options == "--refuse-control=S1" ? kControlAnswer : kControlRefusal,
                  Client("127.0.0.3").ask(kTakeControl));
    }
}

} // namespace
