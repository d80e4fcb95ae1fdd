#include "camera_test.h"

#include <chrono>

namespace {

using Control = Camera;
using SteadyClock = std::chrono::steady_clock;

TEST_F(Control, NobodyHasItInTheBeginning) {
    EXPECT_EQ("00000000", client.read(kControlPrivilege));
    EXPECT_EQ("8006", client.write(kWidth, 0x640));
    EXPECT_EQ("8006 0087 0004 0007 00000000", client.ask("42 01 0086 0008 0007 000000E8 41000000"));
    EXPECT_EQ("00000790", client.read(kWidth));
}

TEST_F(Control, AllowsItsOwnerToWrite) {
    takeControl();

    EXPECT_EQ("0000", client.write(kWidth, 0x640));
    EXPECT_EQ("00000640", client.read(kWidth));
}

TEST_F(Control, IsSeenByEverybody) {
    takeControl();
    Client other;

    EXPECT_EQ("00000002", other.read(kControlPrivilege));
    EXPECT_EQ("7F000001", other.read(0x0A14));
    EXPECT_EQ("0000" + hex(client.port(), 4), other.read(0x0A04));
}

TEST_F(Control, IsRefusedToASecondClient) {
    takeControl();
    Client other;

    EXPECT_EQ("8006", other.write(kControlPrivilege, 2));
    EXPECT_EQ("8006", other.write(kControlPrivilege, 1));
    EXPECT_EQ("8006", other.write(kControlPrivilege, 0));
    EXPECT_EQ("8006", other.write(kWidth, 0x640));
    EXPECT_EQ("0000", client.write(kWidth, 0x320));
    EXPECT_EQ("00000320", other.read(kWidth));
}

TEST_F(Control, IsFreeForOthersOnceReleased) {
    takeControl();
    EXPECT_EQ("0000", client.write(kControlPrivilege, 0));
    Client other;

    EXPECT_EQ("00000000", other.read(kControlPrivilege));
    EXPECT_EQ("00000000", other.read(0x0A14));
    EXPECT_EQ("0000", other.write(kControlPrivilege, 2));
    EXPECT_EQ("8006", client.write(kWidth, 0x640));
}

TEST_F(Control, ReleasedByNobodyStaysFree) {
    EXPECT_EQ("0000", client.write(kControlPrivilege, 0));
    EXPECT_EQ("00000000", client.read(kControlPrivilege));
}

TEST_F(Control, ExclusiveKeepsOthersFromReadingToo) {
    EXPECT_EQ("0000", client.write(kControlPrivilege, 1));
    Client other;

    EXPECT_EQ("8006", other.read(kWidth));
    EXPECT_EQ("8006 0085 0000 0007", other.ask("42 01 0084 0008 0007 000000D8 0000 0010"));
    EXPECT_EQ("00000001", other.read(kControlPrivilege));
    EXPECT_EQ("00000790", client.read(kWidth));
}

TEST_F(Control, MayBeMadeExclusiveAndSharedAgainByItsOwner) {
    takeControl();
    Client other;
    EXPECT_EQ("0000", client.write(kControlPrivilege, 3));
    EXPECT_EQ("8006", other.read(kWidth));
    EXPECT_EQ("0000", client.write(kControlPrivilege, 2));
    EXPECT_EQ("00000790", other.read(kWidth));
}

TEST_F(Control, OfAnUnknownKindIsInvalidParameter) {
    EXPECT_EQ("8002", client.write(kControlPrivilege, 4));
    EXPECT_EQ("00000000", client.read(kControlPrivilege));
}

TEST_F(Control, EndsTheStreamWhenItEnds) {
    takeControl();
    EXPECT_EQ("0000", client.write(0x0D00, 0x1234));
    EXPECT_EQ("00001234", client.read(0x0D00));
    EXPECT_EQ("0000", client.write(kControlPrivilege, 0));

    EXPECT_EQ("00000000", client.read(0x0D00));
}

TEST_F(Control, BelongsToOneCameraOnly) {
    const Simcam second({"--camera", "S2@127.0.0.3"});
    takeControl();
    Client other("127.0.0.3");

    EXPECT_EQ("0000", other.write(kControlPrivilege, 2));
    EXPECT_EQ("0000", other.write(kWidth, 0x640));
    EXPECT_EQ("00000790", client.read(kWidth));
}

TEST_F(Control, HeartbeatTimeoutIsThreeSecondsAndHalfASecondAtLeast) {
    takeControl();

    EXPECT_EQ("00000BB8", client.read(kHeartbeatTimeout));
    EXPECT_EQ("0000", client.write(kHeartbeatTimeout, 1000));
    EXPECT_EQ("000003E8", client.read(kHeartbeatTimeout));
    EXPECT_EQ("0000", client.write(kHeartbeatTimeout, 100));
    EXPECT_EQ("000001F4", client.read(kHeartbeatTimeout));
}

TEST_F(Control, IsLostByAnOwnerThatIsSilentForTheHeartbeatTimeout) {
    takeControl();
    Client other;
    const auto silentSince = SteadyClock::now();
    EXPECT_EQ("0000", client.write(kHeartbeatTimeout, 500));

    while (other.read(kControlPrivilege) != "00000000") {
        ASSERT_LT(SteadyClock::now() - silentSince, std::chrono::seconds(5));
    }

    EXPECT_GE(SteadyClock::now() - silentSince, std::chrono::milliseconds(500));
    EXPECT_EQ("8006", client.write(kWidth, 0x640));
    EXPECT_EQ("0000", other.write(kControlPrivilege, 2));
}

TEST_F(Control, IsKeptByAnOwnerThatGoesOnReading) {
    takeControl();
    EXPECT_EQ("0000", client.write(kHeartbeatTimeout, 1000));
    const auto start = SteadyClock::now();
    Client other;

    while (SteadyClock::now() - start < std::chrono::milliseconds(1500)) {
        ASSERT_EQ("00000002", client.read(kControlPrivilege));
        ASSERT_EQ("8006", other.write(kControlPrivilege, 2));
    }
    EXPECT_EQ("0000", client.write(kWidth, 0x640));
}

class Retransmission : public Camera {};

// The release has been carried out; done once more it would be refused.
TEST_F(Retransmission, IsAnsweredAgainWithoutWritingTwice) {
    takeControl();
    const std::string release = "42 01 0082 0008 0042 00000A00 00000000";
    EXPECT_EQ("0000 0083 0004 0042 00000001", client.ask(release));
    Client other;
    EXPECT_EQ("0000", other.write(kControlPrivilege, 2));

    EXPECT_EQ("0000 0083 0004 0042 00000001", client.ask(release));

    EXPECT_EQ("00000002", other.read(kControlPrivilege));
    EXPECT_EQ("kxinfo-simcam: S1 discovery=0 readreg=1 writereg=4 readmem=0 writemem=0 other=0 "
              "refused=0 repeated=1\n",
              camera.stop().output);
}

TEST_F(Retransmission, FromAnotherSenderIsACommandOfItsOwn) {
    const std::string take = "42 01 0082 0008 0042 00000A00 00000002";
    EXPECT_EQ("0000 0083 0004 0042 00000001", client.ask(take));
    Client other;

    EXPECT_EQ("8006 0083 0004 0042 00000000", other.ask(take));
}

TEST_F(Retransmission, WithTheSameNumberButOtherContentIsACommandOfItsOwn) {
    takeControl();
    EXPECT_EQ("0000 0083 0004 0042 00000001", client.ask("42 01 0082 0008 0042 00010110 00000640"));
    EXPECT_EQ("0000 0083 0004 0042 00000001", client.ask("42 01 0082 0008 0042 00010110 00000320"));

    EXPECT_EQ("00000320", client.read(kWidth));
}

TEST_F(Retransmission, IsForgottenWithTheControlThatWasLost) {
    const std::string take = "42 01 0082 0010 0042 00000A00 00000002 00000938 000001F4";
    EXPECT_EQ("0000 0083 0004 0042 00000002", client.ask(take));
    const auto start = SteadyClock::now();
    Client other;
    while (other.read(kControlPrivilege) != "00000000") {
        ASSERT_LT(SteadyClock::now() - start, std::chrono::seconds(5));
    }

    EXPECT_EQ("0000 0083 0004 0042 00000002", client.ask(take));

    EXPECT_EQ("00000002", other.read(kControlPrivilege));
}

} // namespace
