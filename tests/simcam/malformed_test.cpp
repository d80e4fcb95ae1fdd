#include "camera_test.h"

namespace {

// What arrives at port 3956 need not be a command. The camera has one answer for each packet here,
// or none, and goes on.
struct Malformed {
    const char *name;
    std::string packet;
    std::string answer; // "" for none

    friend void PrintTo(const Malformed &malformed, std::ostream *to) { *to << malformed.name; }
};

class MalformedPacket : public Camera, public testing::WithParamInterface<Malformed> {
protected:
    void expectAnswer() {
        if (GetParam().answer.empty())
            EXPECT_TRUE(client.isIgnored(GetParam().packet));
        else
            EXPECT_EQ(GetParam().answer, client.ask(GetParam().packet));
    }
};

TEST_P(MalformedPacket, IsDealtWithAndTheCameraGoesOn) {
    expectAnswer();

    EXPECT_EQ("00000790", client.read(kWidth));
}

TEST_P(MalformedPacket, IsDealtWithAlsoFromTheOwnerAndChangesNothing) {
    takeControl();

    expectAnswer();

    EXPECT_EQ("00000790", client.read(kWidth));
    EXPECT_EQ("00000002", client.read(kControlPrivilege));
}

const Malformed kPackets[] = {
    {"Empty", "", ""},
    {"OneByte", "42", ""},
    {"HeaderCutShort", "42 01 0080 0004 00", ""},
    {"WrongKey", "43 01 0080 0004 0007 00010110", ""},
    {"KeyOfAnAcknowledge", "00 00 0081 0004 0007 00010110", ""},
    {"LengthBeyondThePacket", "42 01 0080 0008 0007 00010110", "800E 0081 0000 0007"},
    {"LengthFarBeyondThePacket", "42 01 0082 FFFF 0007 00010110 00000640", "800E 0083 0000 0007"},
    {"LengthShorterThanThePacket", "42 01 0080 0004 0007 00010110 00010114", "800E 0081 0000 0007"},
    {"RequestNumberZero", "42 01 0080 0004 0000 00010110", "800E 0081 0000 0000"},
    {"UnknownCommand", "42 01 1234 0000 0007", "8001 1235 0000 0007"},
    {"LastCommand", "42 01 FFFF 0000 0007", "8001 FFFF 0000 0007"},
    {"UnknownCommandUnacknowledged", "42 00 1234 0000 0007", ""},
    {"PacketResend", "42 01 0040 000C 0007 00000001 00000001 00000002", "8001 0041 0000 0007"},
    {"Event", "42 01 00C0 0000 0007", "8001 00C1 0000 0007"},
    {"Action", "42 01 0100 0000 0007", "8001 0101 0000 0007"},
    {"DiscoveryWithPayload", "42 01 0002 0004 0007 00000000", "8002 0003 0000 0007"},
    {"ForceIpCutShort", "42 01 0004 0004 0007 00000000", "8002 0005 0000 0007"},
    {"ReadRegOfNothing", "42 01 0080 0000 0007", "8002 0081 0000 0007"},
    {"ReadRegOfHalfAnAddress", "42 01 0080 0006 0007 00010110 0001", "8002 0081 0000 0007"},
    {"WriteRegOfNothing", "42 01 0082 0000 0007", "8002 0083 0000 0007"},
    {"WriteRegWithoutValue", "42 01 0082 0004 0007 00010110", "8002 0083 0000 0007"},
    {"WriteRegSecondWithoutValue", "42 01 0082 000C 0007 00010110 00000640 00010114",
     "8002 0083 0000 0007"},
    {"ReadMemWithoutSize", "42 01 0084 0004 0007 000000D8", "8002 0085 0000 0007"},
    {"ReadMemWithMore", "42 01 0084 000C 0007 000000D8 00000010 00000000", "8002 0085 0000 0007"},
    {"ReadMemOfTooMuch", "42 01 0084 0008 0007 000000D8 0000FFFF", "8002 0085 0000 0007"},
    {"ReadMemPastTheEnd", "42 01 0084 0008 0007 FFFFFFFC 00000008", "8003 0085 0000 0007"},
    {"WriteMemOfNothing", "42 01 0086 0000 0007", "8002 0087 0000 0007"},
    {"WriteMemOfAnAddress", "42 01 0086 0004 0007 000000E8", "8002 0087 0000 0007"},
    {"WriteMemOfTooMuch", "42 01 0086 0220 0007 00020000" + hexText("", 540),
     "8002 0087 0000 0007"},
    {"HugeDatagram", "42 01 0086 8000 0007 00020000" + hexText("", 0x7FFC), "8002 0087 0000 0007"},
};

INSTANTIATE_TEST_SUITE_P(Port3956, MalformedPacket, testing::ValuesIn(kPackets),
                         [](const auto &malformed) { return malformed.param.name; });

// Every beginning of a good command, and every byte of it replaced.
TEST_F(Camera, SurvivesPacketsCutAndBentAtEveryByte) {
    const std::string good = "42010084000800070000"
                             "00D800000010";
    std::size_t sent = 0;
    for (std::size_t cut = 0; cut < good.size(); cut += 2) {
        client.send("42000002" + good.substr(8, cut));
        client.send("4200" + good.substr(4, cut));
        for (const char *byte : {"00", "7F", "80", "FF"}) {
            std::string bent = good;
            bent.replace(cut, 2, byte);
            bent.replace(2, 2, "00");
            client.send(bent);
            ++sent;
        }
        ASSERT_EQ("00000790", client.read(kWidth)) << cut;
    }
    EXPECT_EQ(64u, sent);
}

} // namespace
