#include "client.h"
#include "process.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint32_t kDeviceMode = 0x0004;
constexpr std::uint32_t kFirstUrl = 0x0200;
constexpr std::uint32_t kSecondUrl = 0x0400;
constexpr std::uint32_t kCapability = 0x0934;
constexpr std::uint32_t kControlPrivilege = 0x0A00;
constexpr std::uint32_t kWidth = 0x00010110;

std::vector<std::string> serving(std::vector<std::string> options) {
    options.insert(options.end(), {"--camera", "S1@127.0.0.2"});
    return options;
}

// A model with a number of each kind, of big-endian ones what a LittleEndian one is not.
class LittleEndian : public testing::Test {
protected:
    const TemporaryFolder folder;
    const std::string model = folder.file("m.xml", R"(<RegisterDescription>
        <IntReg Name="Integer"><Extension><Initial>0x01020304</Initial></Extension>
          <Address>0x10000</Address><Length>4</Length><AccessMode>RW</AccessMode>
          <Endianess>BigEndian</Endianess></IntReg>
        <FloatReg Name="Float"><Extension><Initial>1.5</Initial></Extension>
          <Address>0x10004</Address><Length>4</Length><AccessMode>RW</AccessMode>
          <Endianess>BigEndian</Endianess></FloatReg>
        <IntReg Name="Little"><Extension><Initial>0x01020304</Initial></Extension>
          <Address>0x10008</Address><Length>4</Length><Endianess>LittleEndian</Endianess></IntReg>
        <IntReg Name="Long"><Extension><Initial>0x01020304</Initial></Extension>
          <Address>0x1000C</Address><Length>8</Length><Endianess>BigEndian</Endianess></IntReg>
        <StringReg Name="Text"><Extension><Initial>abcd</Initial></Extension>
          <Address>0x10014</Address><Length>4</Length></StringReg>
        <Register Name="Block"><Address>0x10018</Address><Length>4</Length>
          <AccessMode>RW</AccessMode></Register>
        <IntReg Name="Table"><Extension><Initial>1</Initial><Initial>2</Initial></Extension>
          <Address>0x10100</Address><pIndex Offset="4">Integer</pIndex><Length>4</Length>
          <Endianess>BigEndian</Endianess></IntReg>
        <IntReg Name="Heartbeat"><Address>0x938</Address><Length>4</Length>
          <Endianess>BigEndian</Endianess></IntReg></RegisterDescription>)");
    Client client;

    std::vector<std::string> options(std::vector<std::string> more = {}) const {
        more.insert(more.begin(), {"--description", model, "--little-endian"});
        return serving(more);
    }
    std::string block(std::uint32_t address, std::uint32_t size) {
        return client.ask("42 01 0084 0008 0001" + hex(address, 8) + hex(size, 8)).substr(28);
    }
};

TEST_F(LittleEndian, NumbersOfFourBytesAreTurnedInMemoryAndNotInRegisters) {
    const Simcam camera(options());

    EXPECT_EQ("04030201"
              "0000C03F"
              "04030201"
              "0000000001020304"
              "61626364"
              "00000000",
              block(0x10000, 28));
    EXPECT_EQ("0000 0081 001C 0002 "
              "01020304"
              "3FC00000"
              "04030201"
              "0000000001020304"
              "61626364"
              "00000000",
              client.ask("42 01 0080 001C 0002 00010000 00010004 00010008 0001000C 00010010"
                         "00010014 00010018"));
}

TEST_F(LittleEndian, EachCellBehindASelectorIsTurned) {
    const Simcam camera(options());

    EXPECT_EQ("0100000002000000", block(0x10100, 8));
    EXPECT_EQ("02000000", block(0x10104, 4));
    EXPECT_EQ("00000002", client.read(0x10104));
}

TEST_F(LittleEndian, WhatIsWrittenOneWayIsReadTheOther) {
    const Simcam camera(options({"--snapshot", folder.path()}));
    client.write(kControlPrivilege, 2);

    EXPECT_EQ("0000 0087 0004 0001 00000004", client.ask("42 01 0086 0008 0001 00010000 2A000000"));
    EXPECT_EQ("0000002A", client.read(0x10000));
    EXPECT_EQ("0000", client.write(0x10000, 0x0B0C0D0E));
    EXPECT_EQ("0E0D0C0B", block(0x10000, 4));
    EXPECT_EQ("0000 0087 0004 0001 00000004", client.ask("42 01 0086 0008 0001 00010018 2A000000"));
    EXPECT_EQ("2A000000", client.read(0x10018));
}

TEST_F(LittleEndian, RegistersOfTheStandardStayAsTheyAre) {
    const Simcam camera(options());

    EXPECT_EQ("00000BB8", block(0x938, 4));
    EXPECT_EQ(readFile(model), client.memory(0xF0000000, std::uint32_t(readFile(model).size())));
}

TEST_F(LittleEndian, IsToldByTheDeviceMode) {
    Simcam camera(
        {"--little-endian", "S1", "--camera", "S1@127.0.0.2", "--camera", "S2@127.0.0.3"});
    Client other("127.0.0.3");

    EXPECT_EQ("00000001", client.read(kDeviceMode));
    EXPECT_EQ("0000 0003 00F8 0001 0001000200000001",
              client.ask("42 01 0002 0000 0001").substr(0, 36));
    EXPECT_EQ("80000001", other.read(kDeviceMode));
    EXPECT_EQ("90070000", block(kWidth, 4));
    EXPECT_EQ("0000 0085 0008 0001 0001011000000790",
              other.ask("42 01 0084 0008 0001 00010110 00000004"));
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
std::string urlAt(Client &client, std::uint32_t address) {
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

TEST(Url, OfOneRegisterLeavesTheOtherAsItIs) {
    const auto urls = [](const std::vector<std::string> &options) {
        const Simcam camera(serving(options));
        Client client;
        return std::make_pair(urlAt(client, kFirstUrl), urlAt(client, kSecondUrl));
    };
    const auto usual = urls({});

    EXPECT_EQ(std::make_pair(std::string("x"), usual.second), urls({"--first-url", "x"}));
    EXPECT_EQ(std::make_pair(usual.first, std::string("x")), urls({"--second-url", "x"}));
    EXPECT_EQ(std::make_pair(std::string("x"), usual.first), urls({"--plain", "--first-url", "x"}));
}

TEST(Url, HoldsForTheCamerasThatFollow) {
    const Simcam camera({"--camera", "S1@127.0.0.2", "--first-url", "x", "--camera", "S2@127.0.0.3",
                         "--camera", "S3@127.0.0.4"});
    Client first, second("127.0.0.3"), third("127.0.0.4");

    EXPECT_NE("x", urlAt(first, kFirstUrl));
    EXPECT_EQ("x", urlAt(second, kFirstUrl));
    EXPECT_EQ("x", urlAt(third, kFirstUrl));
}

class NoCapability : public testing::Test {
protected:
    Client client;

    Simcam lacking(const std::string &names) { return Simcam(serving({"--no-capability", names})); }
};

TEST_F(NoCapability, OfConcatenationTakesOneRegisterAtATime) {
    const Simcam camera = lacking("concatenation");

    EXPECT_EQ("C8000002", client.read(kCapability));
    EXPECT_EQ("8002 0081 0000 0001", client.ask("42 01 0080 0008 0001 00010110 00010114"));
    EXPECT_EQ("0000", client.write(kControlPrivilege, 2));
    EXPECT_EQ("8002 0083 0000 0001",
              client.ask("42 01 0082 0010 0001 00010110 00000640 00010114 00000200"));
    EXPECT_EQ("00000790", client.read(kWidth));
    EXPECT_EQ("0000", client.write(kWidth, 0x640));
}

TEST_F(NoCapability, OfWritememKnowsNoSuchCommand) {
    const Simcam camera = lacking("writemem");

    EXPECT_EQ("C8000001", client.read(kCapability));
    EXPECT_EQ("0000", client.write(kControlPrivilege, 2));
    EXPECT_EQ("8001 0087 0000 0001", client.ask("42 01 0086 0008 0001 000000E8 41000000"));
    EXPECT_EQ("00000000", client.read(0xE8));
}

TEST_F(NoCapability, OfThePrimaryApplicationHidesWhoHasControl) {
    const Simcam camera = lacking("primary-application");

    EXPECT_EQ("C0000003", client.read(kCapability));
    EXPECT_EQ("0000", client.write(kControlPrivilege, 2));
    EXPECT_EQ("8003", client.read(0x0A04));
    EXPECT_EQ("8003", client.read(0x0A14));
    EXPECT_EQ("00000002", client.read(kControlPrivilege));
    EXPECT_EQ("0000", client.write(kControlPrivilege, 0));
}

TEST_F(NoCapability, OfAUserDefinedNameHasNone) {
    const Simcam camera = lacking("user-defined-name");

    EXPECT_EQ("48000003", client.read(kCapability));
    EXPECT_EQ("0000", client.write(kControlPrivilege, 2));
    EXPECT_EQ("8003 0085 0000 0001", client.ask("42 01 0084 0008 0001 000000E8 00000010"));
    EXPECT_EQ("8003 0087 0004 0001 00000000", client.ask("42 01 0086 0008 0001 000000E8 41000000"));
    EXPECT_EQ("53310000", client.read(0xD8)) << "it has a serial number all the same";
}

TEST_F(NoCapability, MayBeOfSeveralAndOfOneCamera) {
    const Simcam camera({"--no-capability", "S1:writemem,concatenation,user-defined-name",
                         "--no-capability", "primary-application", "--camera", "S1@127.0.0.2",
                         "--camera", "S2@127.0.0.3"});
    Client other("127.0.0.3");

    EXPECT_EQ("48000000", client.read(kCapability));
    EXPECT_EQ("C0000003", other.read(kCapability));
}

} // namespace
