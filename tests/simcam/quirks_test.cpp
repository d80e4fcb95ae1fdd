#include "camera_test.h"

namespace {

constexpr uint32_t kFirstUrl = 0x0200;
constexpr uint32_t kSecondUrl = 0x0400;

std::vector<std::string> serving(std::vector<std::string> options) {
    options.insert(options.end(), {"--camera", "S1@127.0.0.2"});
    return options;
}

// A model with a number of each kind, of big-endian ones what a LittleEndian one is not.
class LittleEndian : public testing::Test {
protected:
    const TemporaryFolder folder;
    const std::string file = folder.file("m.xml", model(R"(
        IntReg Integer Address=0x10000 AccessMode=RW Initial=0x01020304
        FloatReg Float Address=0x10004 AccessMode=RW Initial=1.5
        IntReg Little Address=0x10008 Endianess=LittleEndian Initial=0x01020304
        IntReg Long Address=0x1000C Length=8 Initial=0x01020304
        StringReg Text Address=0x10014 Initial=abcd
        Register Block Address=0x10018 AccessMode=RW
        IntReg Table Address=0x10100 pIndex@4=Integer Initial=1 Initial=2
        IntReg Heartbeat Address=0x938
    )"));
    Client client;

    std::vector<std::string> options(std::vector<std::string> more = {}) const {
        more.insert(more.begin(), {"--description", file, "--little-endian"});
        return serving(more);
    }
    std::string block(uint32_t address, uint32_t size) {
        return client.ask("42 01 0084 0008 0001" + hex(address, 8) + hex(size, 8)).substr(28);
    }
};

TEST_F(LittleEndian, NumbersOfFourBytesAreTurnedInMemoryAndNotInRegisters) {
    const Simcam camera(options());

    converse(R"(
        42 01 0084 0008 0001 00010000 0000 001C = 0000 0085 0020 0001 00010000040302010000C03F0403020100000000010203046162636400000000
        42 01 0080 0014 0002 00010000 00010004 00010008 0001000C 00010010 = 0000 0081 0014 0002 010203043FC00000040302010000000001020304
        42 01 0080 0008 0002 00010014 00010018 = 0000 0081 0008 0002 6162636400000000
        # Each cell behind a selector.
        42 01 0084 0008 0001 00010100 0000 0008 = 0000 0085 000C 0001 000101000100000002000000
        42 01 0084 0008 0001 00010104 0000 0004 = 0000 0085 0008 0001 0001010402000000
        read 10104 = 00000002
        # What is written one way is read the other; blocks stay as they are.
        write 0A00 2 = 0000
        42 01 0086 0008 0001 00010000 2A000000 = 0000 0087 0004 0001 00000004
        read 10000 = 0000002A
        write 10000 0B0C0D0E = 0000
        42 01 0084 0008 0001 00010000 0000 0004 = 0000 0085 0008 0001 000100000E0D0C0B
        42 01 0086 0008 0001 00010018 2A000000 = 0000 0087 0004 0001 00000004
        read 10018 = 2A000000
        # The standard's registers stay as they are.
        42 01 0084 0008 0001 00000938 0000 0004 = 0000 0085 0008 0001 0000093800000BB8
    )");
    EXPECT_EQ(readFile(file), client.memory(0xF0000000, uint32_t(readFile(file).size())));
}

TEST(LittleEndianCamera, IsToldByTheDeviceMode) {
    served("--little-endian S1", R"(
        read 0004 = 00000001
        B3: read 0004 = 80000001
        42 01 0084 0008 0001 00010110 0000 0004 = 0000 0085 0008 0001 0001011090070000
        B3: 42 01 0084 0008 0001 00010110 0000 0004 = 0000 0085 0008 0001 0001011000000790
    )");
}

TEST_F(LittleEndian, StartingValuesAndWhatIsWatchedAreNumbers) {
    Simcam camera(options({"--watch", "--set", "Integer=7"}));
    const std::string start = "S1 127.0.0.1:" + std::to_string(client.port()) + " ";

    EXPECT_EQ("07000000", block(0x10000, 4));
    EXPECT_EQ(start + "READMEM Integer=7 -> ok", camera.nextLine());
    client.ask("42 01 0086 0008 0001 00010000 2A000000");
    EXPECT_EQ(start + "WRITEMEM Integer=42 -> ACCESS_DENIED", camera.nextLine());
}

// The text of a URL's register up to its end, which NULs fill.
std::string urlAt(Client &client, uint32_t address) {
    const std::string bytes = client.memory(address, 512);
    const std::string text = bytes.c_str();
    EXPECT_EQ(std::string(512 - text.size(), '\0'), bytes.substr(text.size()));
    return text;
}

TEST(Url, MayBeAnyTextOrNone) {
    for (const std::string &text :
         {std::string("Local:camera.xml;F0000000;1"), std::string("File:/camera.xml"),
          std::string("http://127.0.0.1/camera.xml"), std::string(511, 'x'), std::string()}) {
        const Simcam camera(serving({"--first-url", text, "--second-url", text}));
        Client client;

        EXPECT_EQ(text, urlAt(client, kFirstUrl));
        EXPECT_EQ(text, urlAt(client, kSecondUrl));
    }
}

TEST(Url, OfOneRegisterLeavesTheOtherAsItIsAndHoldsForTheCamerasThatFollow) {
    const Simcam cameras({"--camera", "S1@127.0.0.2", "--first-url", "x", "--camera",
                          "S2@127.0.0.3", "--camera", "S3@127.0.0.4", "--second-url", "y",
                          "--camera", "S4@127.0.0.5"});
    const auto urls = [](const char *address) {
        Client client(address);
        return std::make_pair(urlAt(client, kFirstUrl), urlAt(client, kSecondUrl));
    };
    const std::string usual = urls("127.0.0.2").second;

    EXPECT_EQ("Local:", usual.substr(0, 6));
    EXPECT_NE("x", urls("127.0.0.2").first);
    EXPECT_EQ(std::make_pair(std::string("x"), usual), urls("127.0.0.3"));
    EXPECT_EQ(std::make_pair(std::string("x"), usual), urls("127.0.0.4"));
    EXPECT_EQ(std::make_pair(std::string("x"), std::string("y")), urls("127.0.0.5"));
}

// The bits of the capability register, and what is answered without what they promise.
TEST(NoCapability, LacksWhatItsBitPromises) {
    served("--no-capability concatenation", R"(
        read 0934 = C8000002
        42 01 0080 0008 0001 00010110 00010114 = 8002 0081 0000 0001
        write 0A00 2 = 0000
        42 01 0082 0010 0001 00010110 00000640 00010114 00000200 = 8002 0083 0000 0001
        read 10110 = 00000790
        write 10110 640 = 0000
    )");
    served("--no-capability writemem", R"(
        read 0934 = C8000001
        write 0A00 2 = 0000
        42 01 0086 0008 0001 000000E8 41000000 = 8001 0087 0000 0001
        read 00E8 = 00000000
    )");
    served("--no-capability primary-application", R"(
        read 0934 = C0000003
        write 0A00 2 = 0000
        read 0A04 = 8003
        read 0A14 = 8003
        read 0A00 = 00000002
        write 0A00 0 = 0000
    )");
    served("--no-capability user-defined-name", R"(
        read 0934 = 48000003
        write 0A00 2 = 0000
        42 01 0084 0008 0001 000000E8 00000010 = 8003 0085 0000 0001
        42 01 0086 0008 0001 000000E8 41000000 = 8003 0087 0004 0001 00000000
        read 00D8 = 53310000 # it has a serial number all the same
    )");
    served("--no-capability S1:writemem,concatenation,user-defined-name "
           "--no-capability primary-application",
           R"(
        read 0934 = 48000000
        B3: read 0934 = C0000003
    )");
}

} // namespace
