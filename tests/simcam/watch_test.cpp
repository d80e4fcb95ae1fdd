#include "camera_test.h"

namespace {

// What the watcher of a camera S1 reads about packets, "PACKET = LINE" for each; a broadcast, after
// "all:", has a line for each camera.
void watch(std::vector<std::string> options, const std::string &transcript) {
    options.insert(options.end(), {"--camera", "S1@127.0.0.2", "--watch"});
    Simcam camera(options);
    Client client;
    const std::string sender = " 127.0.0.1:" + std::to_string(client.port()) + " ";
    std::istringstream lines(transcript);
    for (std::string line; std::getline(lines, line);) {
        const size_t equals = line.find(" = ");
        if (equals == std::string::npos)
            continue;
        const std::string packet = line.substr(0, equals);
        if (packet.find("all:") != std::string::npos)
            client.broadcast(packet.substr(packet.find(':')));
        else if (packet.find_first_not_of(' ') != std::string::npos)
            client.send(packet);
        std::string expected = line.substr(equals + 3);
        const bool isNamed = expected.find("S3 ") == 0;
        expected = isNamed ? "S3" + sender + expected.substr(3) : "S1" + sender + expected;
        EXPECT_EQ(expected, camera.nextLine());
    }
}

TEST(Watch, NamesRegistersAndTheirValues) {
    watch({}, R"(
        42 01 0002 0000 0001 = DISCOVERY -> ok
        42 01 0082 0008 0002 00000A00 00000002 = WRITEREG GevCCP=ControlAccess -> ok
        42 01 0080 0008 0003 00010110 00010114 = READREG Width=1936 Height=1216 -> ok
        42 01 0082 0010 0004 00010304 40600000 0001040C 00000001 = WRITEREG Gain[SensorAll]=3.5 ExposureAuto=Continuous -> ok
        42 01 0080 0004 0005 00028044 = READREG LUTValue[Blue][17]=0 -> ok
        42 01 0086 0014 0006 000000E8 6C65667420646F6F 72000000 00000000 = WRITEMEM DeviceUserID="left door" -> ok
        42 01 0084 0008 0007 000000E8 0000 0010 = READMEM DeviceUserID="left door" -> ok
        42 01 0082 0008 0008 00010204 00000001 = WRITEREG AcquisitionStart=1 -> ok
    )");
}

TEST(Watch, GivesAddressesWhereTheDescriptionNamesNothing) {
    watch({}, R"(
        42 01 0084 0008 0001 00000200 0000 0200 = READMEM 0x00000200 512 bytes -> ok
        42 01 0080 0004 0002 00000934 = READREG 0x00000934=0xC8000003 -> ok
        42 01 0080 0008 0003 00010110 0001FFFC = READREG Width=1936 0x0001FFFC -> INVALID_ADDRESS
        42 01 0082 0008 0004 0001FFFC 000000FF = WRITEREG 0x0001FFFC=0x000000FF -> ACCESS_DENIED
        42 01 0086 000C 0005 00020000 00000001 00000002 = WRITEMEM 0x00020000 8 bytes -> ACCESS_DENIED
    )");
}

TEST(Watch, ShowsWhatIsNoProperCommand) {
    watch({}, R"(
        42 01 00 = PACKET 3 bytes -> ignored
        43 01 0002 0000 0001 = PACKET 8 bytes -> ignored
        42 01 1234 0004 0001 00000000 = 0x1234 4 bytes -> NOT_IMPLEMENTED
        42 01 0080 0003 0002 000000 = READREG 3 bytes -> INVALID_PARAMETER
        42 01 0080 0008 0003 00000938 = READREG 4 bytes -> INVALID_HEADER
        42 01 0080 0000 0004 = READREG -> INVALID_PARAMETER
        42 01 0084 0004 0005 00000000 = READMEM 4 bytes -> INVALID_PARAMETER
    )");
}

TEST(Watch, MarksRetransmissionsAndThoseAnsweredFromMemory) {
    watch({}, R"(
        42 01 0080 0004 0001 00010110 = READREG Width=1936 -> ok
        42 01 0080 0004 0001 00010110 = READREG Width=1936 -> ok, retransmitted
        42 01 0082 0008 0002 00000A00 00000002 = WRITEREG GevCCP=ControlAccess -> ok
        42 01 0082 0008 0002 00000A00 00000002 = WRITEREG GevCCP=ControlAccess -> ok, repeated
        42 01 0080 0004 0001 00010110 = READREG Width=1936 -> ok
    )");
}

TEST(Watch, TellsFaults) {
    watch({"--drop", "1", "--nack", "1", "--delay", "5", "--silent-after", "4"}, R"(
        42 01 0080 0004 0001 00010110 = READREG Width -> dropped
        42 01 0080 0004 0001 00010110 = READREG Width -> BUSY, retransmitted, delayed 5 ms
        42 00 0082 0008 0002 00000A00 00000002 = WRITEREG GevCCP=ControlAccess -> ok, no answer wanted
        42 01 0080 0004 0001 00010110 = READREG Width=1936 -> ok, delayed 5 ms
        42 01 0002 0000 0003 = DISCOVERY -> ok
        42 01 0082 0008 0004 00010110 00000280 = WRITEREG Width=640 -> silent
        42 01 0002 0000 0005 = DISCOVERY -> silent
    )");
}

TEST(Watch, TellsWhatBefellAnAnswer) {
    watch({"--pending", "20,@1", "--cut", "@2", "--double", "@3", "--wrong", "@4", "--delay",
           "10,@1"},
          R"(
        42 01 0080 0004 0001 00010110 = READREG Width=1936 -> ok, delayed 10 ms, pending 20 ms
        42 01 0080 0004 0002 00010110 = READREG Width=1936 -> ok, cut
        42 01 0080 0004 0003 00010110 = READREG Width=1936 -> ok, doubled
        42 01 0080 0004 0004 00010110 = READREG Width=1936 -> ok, wrong answers first
        42 01 0080 0004 0005 00010110 = READREG Width=1936 -> ok
    )");
    watch({"--pending", "forever"}, R"(
        42 01 0080 0004 0001 00010110 = READREG Width=1936 -> ok, pending forever
    )");
}

TEST(Watch, ShowsABroadcastOnceForEachCameraThatIsThere) {
    watch({"--camera", "S3@127.0.0.4", "--camera", "S2@127.0.0.3", "--die-after", "S2:0",
           "--silent-after", "S3:0"},
          R"(
        all: 42 01 0002 0000 0001 = S3 DISCOVERY broadcast -> silent
        = DISCOVERY broadcast -> ok
        all: 42 01 0080 0004 0002 00010110 = S3 READREG broadcast Width -> silent
        = READREG broadcast Width -> ignored
    )");
}

// Names are as the description's author, and whoever changed it, liked.
TEST(Watch, NamesNoFieldWhereSeveralShareTheWordAndNothingThatATerminalWouldObey) {
    const TemporaryFolder folder;
    const auto field = [](const std::string &name, const std::string &address, int first,
                          int last) {
        return "<MaskedIntReg Name=\"" + name + "\"><Extension><Initial>5</Initial></Extension>" +
               "<Address>" + address + "</Address><Length>4</Length><LSB>" + std::to_string(last) +
               "</LSB><MSB>" + std::to_string(first) +
               "</MSB><Endianess>BigEndian</Endianess></MaskedIntReg>";
    };
    watch({"--description",
           folder.file("m.xml",
                       "<RegisterDescription>" + field("High", "0x10000", 0, 3) +
                           field("Low", "0x10000", 28, 31) + field("Lone", "0x10004", 0, 15) +
                           field("&#27;[2J&#10;S1", "0x10008", 0, 15) + "</RegisterDescription>")},
          R"(
        42 01 0080 0008 0001 00010000 00010004 = READREG 0x00010000=0x50000005 Lone=5 -> ok
        42 01 0080 0004 0001 00010008 = READREG \x1B[2J\x0AS1=5 -> ok
    )");
}

TEST(Watch, SaysNothingUnlessAskedFor) {
    EXPECT_EQ("kxinfo-simcam: S1 discovery=0 readreg=1 writereg=0 readmem=0 writemem=0 other=0 "
              "refused=0 repeated=0\n",
              served("--set Width=640", "read 10110 = 00000280").substr(0, 101));
}

} // namespace
