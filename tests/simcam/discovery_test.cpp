#include "camera_test.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

using Discovery = Camera;

// The registers 0x0000 to 0x00F7, as every GigE Vision device begins.
std::string identity(const std::string &address, const std::string &vendor,
                     const std::string &model, const std::string &serial) {
    return "00010002"
           "80000001"
           "00000200" +
           address +
           "00000007"
           "00000005" +
           hexText("", 12) + address + hexText("", 12) + "FF000000" + hexText("", 12) + "00000000" +
           hexText(vendor, 32) + hexText(model, 32) + hexText("1.0", 32) +
           hexText("virtual camera", 48) + hexText(serial, 16) + hexText("", 16);
}

TEST_F(Discovery, AnswersWithTheIdentityOfTheCamera) {
    EXPECT_EQ("0000 0003 00F8 0001 " + identity("7F000002", "Dalsa", "C1936", "S1"),
              client.ask("42 01 0002 0000 0001"));
}

TEST_F(Discovery, IsAnsweredOutsideOfAnyControlWithTheNameThatAUserGave) {
    takeControl();
    client.ask("42 01 0086 0014 0001 000000E8" + hexText("left door", 16));
    Client other;

    EXPECT_EQ(hexText("left door", 16), other.ask("42 01 0002 0000 0002").substr(20 + 2 * 0xE8));
    EXPECT_EQ("0000 0003 00F8 0001", other.ask("42 11 0002 0000 0001").substr(0, 19))
        << "also to who allows broadcast answers";
}

TEST_F(Discovery, BroadcastReachesEveryCameraOfEveryProgram) {
    const Simcam others({"--vendor", "Other", "--model", "M9", "--camera", "S2@127.0.0.3",
                         "--camera", "S3@127.0.0.4"});

    client.broadcast("42 01 0002 0000 0001");

    std::map<std::string, std::string> answers;
    for (int i = 0; i < 3; ++i) {
        const Client::Answer answer = client.receive();
        answers[answer.from] = answer.packet;
    }
    const std::string header = "0000 0003 00F8 0001 ";
    EXPECT_THAT(
        answers,
        ElementsAre(
            std::pair("127.0.0.2:3956", header + identity("7F000002", "Dalsa", "C1936", "S1")),
            std::pair("127.0.0.3:3956", header + identity("7F000003", "Other", "M9", "S2")),
            std::pair("127.0.0.4:3956", header + identity("7F000004", "Other", "M9", "S3"))));
}

// Nothing but DISCOVERY and FORCEIP may be broadcast: who would be meant?
TEST_F(Discovery, OtherCommandsAreNotTakenFromBroadcasts) {
    client.broadcast("42 01 0080 0004 0001 00000938");
    client.broadcast("42 01 0082 0008 0002 00000A00 00000002");
    client.broadcast("42 01 00C0 0000 0003");
    client.broadcast("42 01 0002 0000 0004");

    EXPECT_EQ("0000 0003 00F8 0004", client.receive().packet.substr(0, 19));
    EXPECT_EQ("00000000", client.read(kControlPrivilege));
}

std::string forceIp(const std::string &mac, const std::string &address,
                    const std::string &mask = "FF000000", const std::string &gateway = "00000000") {
    return "42 01 0004 0038 0009 0000" + mac + hexText("", 12) + address + hexText("", 12) + mask +
           hexText("", 12) + gateway;
}

TEST_F(Discovery, ForceIpMovesTheCameraThatItNamesUntilItsProgramEnds) {
    client.broadcast(forceIp("0200 7F000002", "7F000909", "FFFFFF00", "7F000901"));
    const Client::Answer answer = client.receive();
    EXPECT_EQ("127.0.9.9:3956", answer.from);
    EXPECT_EQ("0000 0005 0000 0009", answer.packet);

    Client there("127.0.9.9");
    EXPECT_EQ("7F000909", there.read(0x24));
    EXPECT_EQ("FFFFFF00", there.read(0x34));
    EXPECT_EQ("7F000901", there.read(0x44));
    EXPECT_EQ("7F000002", there.read(0x64C)) << "the persistent one stays";
    EXPECT_EQ("7F000002", there.read(0x0C)) << "and so does the MAC address";
    const Simcam next({"--camera", "S2@127.0.0.2"}); // nobody is there any more
}

TEST_F(Discovery, ForceIpIsObeyedByNoOtherNorWhileAProgramHasControlNorToWhereNoCameraCanBe) {
    const Simcam other({"--camera", "S2@127.0.0.3"});
    client.broadcast(forceIp("0200 7F000009", "7F000008"));
    EXPECT_TRUE(client.isIgnored(forceIp("0200 7F000003", "7F000008"))) << "it is for another";
    EXPECT_EQ("0000 0005 0000 0009", client.ask(forceIp("0200 7F000002", "7F000002")));
    EXPECT_EQ("0000 0005 0000 0009", client.ask(forceIp("0200 7F000002", "00000000")));
    for (const char *address : {"00000001", "7F000000", "7FFFFFFF", "E0000001", "FFFFFFFF"})
        EXPECT_EQ("8002 0005 0000 0009", client.ask(forceIp("0200 7F000002", address))) << address;
    EXPECT_EQ("8002 0005 0000 0009", client.ask(forceIp("0200 7F000002", "7F000008", "FF00FF00")));
    // One that another camera has, and one that this computer has not: it stays, without a word.
    EXPECT_TRUE(client.isIgnored(forceIp("0200 7F000002", "7F000003")));
    EXPECT_TRUE(client.isIgnored(forceIp("0200 7F000002", "0A010203")));
    takeControl();
    EXPECT_EQ("8006 0005 0000 0009", client.ask(forceIp("0200 7F000002", "7F000008")));
    EXPECT_EQ("7F000002", client.read(0x24));
    EXPECT_EQ(
        "kxinfo-simcam: camera S1 stays at 127.0.0.2: 127.0.0.3 port 3956 is taken by another "
        "camera or program. Choose another address.\n"
        "kxinfo-simcam: camera S1 stays at 127.0.0.2: no network interface of this host has "
        "the address 10.1.2.3. Choose one that has, or add it to one.\n",
        camera.stop().errors);
}

TEST_F(Discovery, TellsAndTakesHowTheCameraGetsItsAddress) {
    converse(R"(
        read 10 = 00000007 # persistent, DHCP and link-local
        read 14 = 00000005
        write 14 2 = 8006 # without control
        write 64C 7F000009 = 8006
        write A00 2 = 0000
        write 14 2 = 0000
        read 14 = 00000006 # no camera is without link-local
        write 14 FFFFFFF9 = 0000
        read 14 = 00000005 # what it does not know is not taken
        write 64C 7F000009 = 0000
        write 65C FFFF0000 = 0000
        write 66C 7F000001 = 0000
        read 64C = 7F000009
        read 65C = FFFF0000
        read 66C = 7F000001
        write 10 1 = 8004
        write 24 7F000009 = 8004
        write 34 FFFF0000 = 8004
        write 44 7F000001 = 8004
        read 24 = 7F000002
    )");
}

} // namespace
