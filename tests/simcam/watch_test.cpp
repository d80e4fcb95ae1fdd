#include "client.h"
#include "process.h"

#include <gtest/gtest.h>

namespace {

// A camera S1 at 127.0.0.2 that is watched, and a client.
class Watch : public testing::Test {
protected:
    std::vector<std::string> options;
    Client client;

    // What the watcher reads about packets that are sent one after the other.
    std::vector<std::string> seen(const std::vector<std::string> &packets) {
        options.insert(options.end(), {"--camera", "S1@127.0.0.2", "--watch"});
        Simcam camera(options);
        std::vector<std::string> lines;
        for (const std::string &packet : packets) {
            client.send(packet);
            lines.push_back(camera.nextLine());
        }
        return lines;
    }
    std::string line(const std::string &rest) const {
        return "S1 127.0.0.1:" + std::to_string(client.port()) + " " + rest;
    }
    std::vector<std::string> lines(std::vector<std::string> rests) const {
        for (std::string &rest : rests)
            rest = line(rest);
        return rests;
    }
};

TEST_F(Watch, NamesRegistersAndTheirValues) {
    EXPECT_EQ(lines({
                  "DISCOVERY -> ok",
                  "WRITEREG GevCCP=ControlAccess -> ok",
                  "READREG Width=1936 Height=1216 -> ok",
                  "WRITEREG Gain[SensorAll]=3.5 ExposureAuto=Continuous -> ok",
                  "READREG LUTValue[Blue][17]=0 -> ok",
                  "WRITEMEM DeviceUserID=\"left door\" -> ok",
                  "READMEM DeviceUserID=\"left door\" -> ok",
                  "WRITEREG AcquisitionStart=1 -> ok",
              }),
              seen({
                  "42 01 0002 0000 0001",
                  "42 01 0082 0008 0002 00000A00 00000002",
                  "42 01 0080 0008 0003 00010110 00010114",
                  "42 01 0082 0010 0004 00010304 40600000 0001040C 00000001",
                  "42 01 0080 0004 0005" + hex(0x20000 + 2 * 16384 + 17 * 4, 8),
                  "42 01 0086 0014 0006 000000E8" + hexText("left door", 16),
                  "42 01 0084 0008 0007 000000E8 0000 0010",
                  "42 01 0082 0008 0008 00010204 00000001",
              }));
}

TEST_F(Watch, GivesAddressesWhereTheDescriptionNamesNothing) {
    EXPECT_EQ(lines({
                  "READMEM 0x00000200 512 bytes -> ok",
                  "READREG 0x00000934=0xC8000003 -> ok",
                  "READREG Width=1936 0x0001FFFC -> INVALID_ADDRESS",
                  "WRITEREG 0x0001FFFC=0x000000FF -> ACCESS_DENIED",
                  "WRITEMEM 0x00020000 8 bytes -> ACCESS_DENIED",
              }),
              seen({
                  "42 01 0084 0008 0001 00000200 0000 0200",
                  "42 01 0080 0004 0002 00000934",
                  "42 01 0080 0008 0003 00010110 0001FFFC",
                  "42 01 0082 0008 0004 0001FFFC 000000FF",
                  "42 01 0086 000C 0005 00020000 00000001 00000002",
              }));
}

TEST_F(Watch, ShowsWhatIsNoProperCommand) {
    EXPECT_EQ(lines({
                  "PACKET 3 bytes -> ignored",
                  "PACKET 8 bytes -> ignored",
                  "0x1234 4 bytes -> NOT_IMPLEMENTED",
                  "READREG 3 bytes -> INVALID_PARAMETER",
                  "READREG 4 bytes -> INVALID_HEADER",
                  "READREG -> INVALID_PARAMETER",
                  "READMEM 4 bytes -> INVALID_PARAMETER",
              }),
              seen({
                  "42 01 00",
                  "43 01 0002 0000 0001",
                  "42 01 1234 0004 0001 00000000",
                  "42 01 0080 0003 0002 000000",
                  "42 01 0080 0008 0003 00000938",
                  "42 01 0080 0000 0004",
                  "42 01 0084 0004 0005 00000000",
              }));
}

TEST_F(Watch, MarksRetransmissionsAndThoseAnsweredFromMemory) {
    const std::string read = "42 01 0080 0004 0001 00010110";
    const std::string take = "42 01 0082 0008 0002 00000A00 00000002";
    EXPECT_EQ(lines({
                  "READREG Width=1936 -> ok",
                  "READREG Width=1936 -> ok, retransmitted",
                  "WRITEREG GevCCP=ControlAccess -> ok",
                  "WRITEREG GevCCP=ControlAccess -> ok, repeated",
                  "READREG Width=1936 -> ok",
              }),
              seen({read, read, take, take, read}));
}

TEST_F(Watch, TellsFaults) {
    options = {"--drop", "1", "--nack", "1", "--delay", "5", "--silent-after", "4"};
    const std::string read = "42 01 0080 0004 0001 00010110";
    EXPECT_EQ(lines({
                  "READREG Width -> dropped",
                  "READREG Width -> BUSY, retransmitted, delayed 5 ms",
                  "WRITEREG GevCCP=ControlAccess -> ok, no answer wanted",
                  "READREG Width=1936 -> ok, delayed 5 ms",
                  "DISCOVERY -> ok",
                  "WRITEREG Width=640 -> silent",
                  "DISCOVERY -> silent",
              }),
              seen({
                  read,
                  read,
                  "42 00 0082 0008 0002 00000A00 00000002",
                  read,
                  "42 01 0002 0000 0003",
                  "42 01 0082 0008 0004 00010110 00000280",
                  "42 01 0002 0000 0005",
              }));
}

TEST_F(Watch, TellsWhatBefellAnAnswer) {
    options = {"--pending", "20,@1",   "--cut", "@2",      "--double",
               "@3",        "--wrong", "@4",    "--delay", "10,@1"};
    const std::string read = "42 01 0080 0004 0001 00010110";
    const std::string other = "42 01 0080 0004 0002 00010110";
    EXPECT_EQ(lines({
                  "READREG Width=1936 -> ok, delayed 10 ms, pending 20 ms",
                  "READREG Width=1936 -> ok, cut",
                  "READREG Width=1936 -> ok, doubled",
                  "READREG Width=1936 -> ok, wrong answers first",
                  "READREG Width=1936 -> ok",
              }),
              seen({read, other, read, other, read}));
}

TEST_F(Watch, TellsOfAnAnswerThatIsNeverSent) {
    options = {"--pending", "forever"};
    EXPECT_EQ(lines({"READREG Width=1936 -> ok, pending forever"}),
              seen({"42 01 0080 0004 0001 00010110"}));
}

TEST_F(Watch, ShowsABroadcastOnceForEachCameraThatIsThere) {
    Simcam camera({"--camera", "S1@127.0.0.2", "--camera", "S2@127.0.0.3", "--camera",
                   "S3@127.0.0.4", "--die-after", "S2:0", "--silent-after", "S3:0", "--watch"});
    client.broadcast("42 01 0002 0000 0001");
    const std::string sender = "127.0.0.1:" + std::to_string(client.port());

    EXPECT_EQ("S1 " + sender + " DISCOVERY broadcast -> ok", camera.nextLine());
    EXPECT_EQ("S3 " + sender + " DISCOVERY broadcast -> silent", camera.nextLine());
    client.broadcast("42 01 0080 0004 0002 00010110");
    EXPECT_EQ("S1 " + sender + " READREG broadcast Width -> ignored", camera.nextLine());
}

TEST_F(Watch, NamesNoFieldWhereSeveralShareTheWord) {
    const TemporaryFolder folder;
    options = {"--description", folder.file("m.xml", R"(<RegisterDescription>
        <MaskedIntReg Name="High"><Address>0x10000</Address><Length>4</Length><LSB>3</LSB>
          <MSB>0</MSB><Endianess>BigEndian</Endianess></MaskedIntReg>
        <MaskedIntReg Name="Low"><Address>0x10000</Address><Length>4</Length><Bit>31</Bit>
          <Endianess>BigEndian</Endianess></MaskedIntReg>
        <MaskedIntReg Name="Lone"><Extension><Initial>5</Initial></Extension>
          <Address>0x10004</Address><Length>4</Length><LSB>15</LSB><MSB>0</MSB>
          <Endianess>BigEndian</Endianess></MaskedIntReg></RegisterDescription>)")};

    EXPECT_EQ(lines({"READREG 0x00010000=0x00000000 Lone=5 -> ok"}),
              seen({"42 01 0080 0008 0001 00010000 00010004"}));
}

TEST_F(Watch, SaysNothingUnlessAskedFor) {
    Simcam camera({"--camera", "S1@127.0.0.2"});
    client.ask("42 01 0002 0000 0001");

    EXPECT_EQ("kxinfo-simcam: S1 discovery=1 readreg=0 writereg=0 readmem=0 writemem=0 other=0 "
              "refused=0 repeated=0\n",
              camera.stop().output);
}

} // namespace
