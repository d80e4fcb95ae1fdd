#include "camera_test.h"

#include <chrono>

namespace {

using Control = Camera;
using SteadyClock = std::chrono::steady_clock;

// Of the camera, once its owner has lost control; how long that has taken.
SteadyClock::duration untilControlIsFree() {
    const auto start = SteadyClock::now();
    Client other;
    while (other.read(0x0A00) != "00000000" &&
           SteadyClock::now() - start < std::chrono::seconds(20))
        continue;
    return SteadyClock::now() - start;
}

TEST_F(Control, NobodyHasItInTheBeginning) {
    converse(R"(
        read 0A00 = 00000000
        write 10110 640 = 8006
        42 01 0086 0008 0007 000000E8 41000000 = 8006 0087 0004 0007 00000000
        write 0A00 0 = 0000 # released by nobody it stays free
        read 0A00 = 00000000
        write 0A00 4 = 8002 # no kind of control
        read 10110 = 00000790
    )");
}

TEST_F(Control, IsSeenByEverybody) {
    takeControl();
    Client other;

    EXPECT_EQ("00000002", other.read(kControlPrivilege));
    EXPECT_EQ("7F000001", other.read(0x0A14));
    EXPECT_EQ("0000" + hex(client.port(), 4), other.read(0x0A04));
}

TEST_F(Control, BelongsToOneClientUntilItIsReleased) {
    converse(R"(
        write 0A00 2 = 0000
        B: write 0A00 2 = 8006
        B: write 0A00 1 = 8006
        B: write 0A00 0 = 8006
        B: write 10110 640 = 8006
        write 10110 320 = 0000
        B: read 10110 = 00000320
        write 0D00 1234 = 0000 # a stream
        write 0A00 0 = 0000
        B: read 0A00 = 00000000
        B: read 0A14 = 00000000
        B: read 0D00 = 00000000 # ends with the control
        B: write 0A00 2 = 0000
        write 10110 640 = 8006
    )");
}

TEST_F(Control, ExclusiveKeepsOthersFromReadingToo) {
    converse(R"(
        write 0A00 1 = 0000
        B: read 10110 = 8006
        B: 42 01 0084 0008 0007 000000D8 0000 0010 = 8006 0085 0000 0007
        B: read 0A00 = 00000001
        read 10110 = 00000790
        write 0A00 2 = 0000
        B: read 10110 = 00000790
        write 0A00 3 = 0000
        B: read 10110 = 8006
    )");
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
    converse(R"(
        write 0A00 2 = 0000
        read 0938 = 00000BB8
        write 0938 3E8 = 0000
        read 0938 = 000003E8
        write 0938 64 = 0000
        read 0938 = 000001F4
    )");
}

TEST_F(Control, IsLostByAnOwnerThatIsSilentForTheHeartbeatTimeout) {
    takeControl();
    const auto silentSince = SteadyClock::now();
    EXPECT_EQ("0000", client.write(0x0938, 500));

    EXPECT_GT(std::chrono::seconds(20), untilControlIsFree());

    EXPECT_GE(SteadyClock::now() - silentSince, std::chrono::milliseconds(500));
    EXPECT_EQ("8006", client.write(kWidth, 0x640));
    EXPECT_EQ("0000", Client().write(kControlPrivilege, 2));
}

// The timeout is long enough for a machine that is busy with something else.
TEST_F(Control, IsKeptByAnOwnerThatGoesOnReading) {
    takeControl();
    EXPECT_EQ("0000", client.write(0x0938, 2000));
    const auto start = SteadyClock::now();
    Client other;

    while (SteadyClock::now() - start < std::chrono::milliseconds(2500)) {
        ASSERT_EQ("00000002", client.read(kControlPrivilege));
        ASSERT_EQ("8006", other.write(kControlPrivilege, 2));
    }
    EXPECT_EQ("0000", client.write(kWidth, 0x640));
}

// The release has been carried out; done once more it would be refused.
TEST_F(Control, RetransmissionIsAnsweredAgainWithoutWritingTwice) {
    converse(R"(
        write 0A00 2 = 0000
        42 01 0082 0008 0042 00000A00 00000000 = 0000 0083 0004 0042 00000001
        B: write 0A00 2 = 0000
        42 01 0082 0008 0042 00000A00 00000000 = 0000 0083 0004 0042 00000001
        read 0A00 = 00000002
        # Of the same number but from another sender, or with other content, it is a command of its own.
        42 01 0082 0008 0043 00000A00 00000000 = 8006 0083 0004 0043 00000000
        B: 42 01 0082 0008 0043 00000A00 00000000 = 0000 0083 0004 0043 00000001
        B: 42 01 0082 0008 0043 00000A00 00000002 = 0000 0083 0004 0043 00000001
        read 0A00 = 00000002
    )");
    EXPECT_EQ("kxinfo-simcam: S1 discovery=0 readreg=2 writereg=7 readmem=0 writemem=0 other=0 "
              "refused=1 repeated=1\n",
              camera.stop().output);
}

TEST_F(Control, RetransmissionIsForgottenWithTheControlThatWasLost) {
    const std::string take = "42 01 0082 0010 0042 00000A00 00000002 00000938 000001F4";
    EXPECT_EQ("0000 0083 0004 0042 00000002", client.ask(take));
    EXPECT_GT(std::chrono::seconds(20), untilControlIsFree());

    EXPECT_EQ("0000 0083 0004 0042 00000002", client.ask(take));

    EXPECT_EQ("00000002", Client().read(kControlPrivilege));
}

} // namespace
