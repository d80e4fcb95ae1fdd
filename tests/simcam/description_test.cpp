#include "camera_test.h"

#include <pugixml.hpp>
#include <zip.h>

#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <sys/stat.h>

namespace {

// Where a camera says that its description is: "Local:NAME;ADDRESS;LENGTH", both hexadecimal.
struct Url {
    std::string name;
    std::uint32_t address = 0;
    std::uint32_t size = 0;
};

constexpr std::uint32_t kFirstUrl = 0x0200;
constexpr std::uint32_t kSecondUrl = 0x0400;

Url urlAt(Client &client, std::uint32_t address) {
    const std::string text = client.memory(address, 512).c_str();
    char name[64];
    Url url;
    int end = 0;
    const int parts = std::sscanf(text.c_str(), "Local:%63[^;];%8" SCNx32 ";%8" SCNx32 "%n", name,
                                  &url.address, &url.size, &end);
    EXPECT_EQ(3, parts) << "no URL: " << text;
    EXPECT_EQ(text.size(), static_cast<std::size_t>(end)) << "more than a URL: " << text;
    url.name = parts == 3 ? name : "";
    return url;
}

std::string fetch(Client &client, const Url &url) {
    return client.memory(url.address, url.size);
}

// Name and content of the one file in an archive.
std::pair<std::string, std::string> unzip(const std::string &archive) {
    zip_error_t error;
    zip_source_t *source = zip_source_buffer_create(archive.data(), archive.size(), 0, &error);
    zip_t *zip = zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &error);
    if (!zip || zip_get_num_entries(zip, 0) != 1) {
        ADD_FAILURE() << "no archive of one file";
        return {};
    }
    zip_stat_t stat;
    zip_stat_index(zip, 0, 0, &stat);
    std::string content(stat.size, '\0');
    zip_file_t *file = zip_fopen_index(zip, 0, 0);
    zip_fread(file, content.data(), content.size());
    zip_fclose(file);
    std::pair<std::string, std::string> result{zip_get_name(zip, 0, 0), content};
    zip_discard(zip);
    return result;
}

class BuiltInDescription : public Camera {
protected:
    const std::string source = readFile(BUILT_IN_DESCRIPTION);
};

TEST_F(BuiltInDescription, IsServedZippedFirst) {
    const Url url = urlAt(client, kFirstUrl);
    EXPECT_EQ("dalsa-1936x1216.zip", url.name);

    const std::string archive = fetch(client, url);

    EXPECT_LT(archive.size(), source.size() / 4);
    EXPECT_EQ("dalsa-1936x1216.xml", unzip(archive).first);
    EXPECT_EQ(source, unzip(archive).second);
}

TEST_F(BuiltInDescription, IsServedPlainSecond) {
    const Url url = urlAt(client, kSecondUrl);
    EXPECT_EQ("dalsa-1936x1216.xml", url.name);

    EXPECT_EQ(source, fetch(client, url));
}

TEST_F(BuiltInDescription, IsReadOnly) {
    takeControl();

    EXPECT_EQ("8004", client.write(urlAt(client, kFirstUrl).address, 0));
    EXPECT_EQ("8004", client.write(urlAt(client, kSecondUrl).address, 0));
}

TEST_F(BuiltInDescription, HasOnlyRegistersThatTheCameraHas) {
    pugi::xml_document xml;
    ASSERT_TRUE(xml.load_string(source.c_str()));
    int seen = 0;
    for (const auto &node : xml.child("RegisterDescription").children()) {
        if (!node.child("Address"))
            continue;
        ++seen;
        const std::uint32_t address = node.child("Address").text().as_uint();
        const std::uint32_t size = node.child("Length").text().as_uint();
        const std::string block = hex(address, 8) + hex(size, 8);
        const std::string answer = client.ask("42 01 0084 0008 0007" + block).substr(0, 4);
        const bool writeOnly = node.child("AccessMode").text().get() == std::string("WO");
        EXPECT_EQ(writeOnly ? "8006" : "0000", answer) << node.attribute("Name").value();
    }
    EXPECT_LT(50, seen);
}

TEST_F(BuiltInDescription, SaysWhatAFreshCameraHolds) {
    EXPECT_EQ("01080001", client.read(0x00010120)); // PixelFormat: Mono8
    EXPECT_EQ("41F00000", client.read(0x00010210)); // AcquisitionFrameRate: 30.0
    EXPECT_EQ("461C4000", client.read(0x00010214)); // ExposureTime: 10000.0
    EXPECT_EQ("00000001", client.read(0x00010300)); // GainSelector: DigitalAll
    EXPECT_EQ("40000000", client.read(0x00010304)); // Gain of SensorAll: 2.0
    EXPECT_EQ("3F800000", client.read(0x00010308)); // Gain of DigitalAll: 1.0
    EXPECT_EQ("00000080", client.read(0x00010408)); // autoBrightnessTarget: 128
    EXPECT_EQ("00000000", client.read(0x00020000)); // LUTValue of Red, first
    EXPECT_EQ("00000000", client.read(0x0002BFFC)); // LUTValue of Blue, last
}

TEST(PlainDescription, ComesFirstWhenAskedFor) {
    const Simcam camera({"--camera", "S1@127.0.0.2", "--plain"});
    Client client;

    EXPECT_EQ("dalsa-1936x1216.xml", urlAt(client, kFirstUrl).name);
    EXPECT_EQ("dalsa-1936x1216.zip", urlAt(client, kSecondUrl).name);
    EXPECT_EQ(readFile(BUILT_IN_DESCRIPTION), fetch(client, urlAt(client, kFirstUrl)));
}

std::string description(const std::string &nodes) {
    return "<RegisterDescription ModelName=\"M\">" + nodes + "</RegisterDescription>";
}

// A camera of a model that the test writes down.
class ForeignDescription : public testing::Test {
protected:
    const TemporaryFolder folder;

    std::vector<std::string> arguments(const std::string &xml) const {
        return {"--description", folder.file("some model.xml", xml),
                "--camera",      "S1@127.0.0.2",
                "--snapshot",    folder.path()};
    }
    std::string refusal(const std::string &nodes) const {
        const Process::End end = runSimcam(arguments(description(nodes)));
        EXPECT_EQ(1, end.status);
        EXPECT_EQ("", end.output);
        return end.errors;
    }
    std::string named(const std::string &sentence) const {
        return "kxinfo-simcam: description '" + folder.path() + "/some model.xml': " + sentence +
               "\n";
    }
};

TEST_F(ForeignDescription, IsServedUnderAFileNameFitForUrls) {
    const std::string xml = description("");
    const Simcam camera(arguments(xml));
    Client client;

    EXPECT_EQ("some_model.zip", urlAt(client, kFirstUrl).name);
    EXPECT_EQ(std::pair(std::string("some_model.xml"), xml),
              unzip(fetch(client, urlAt(client, kFirstUrl))));
    EXPECT_EQ(xml, fetch(client, urlAt(client, kSecondUrl)));
}

TEST_F(ForeignDescription, MayComeZipped) {
    const std::string xml = description("<!-- anything -->");
    std::string archive;
    {
        const Simcam camera(arguments(xml));
        Client client;
        archive = fetch(client, urlAt(client, kFirstUrl));
    }
    const Simcam camera(
        {"--description", folder.file("M.zip", archive), "--camera", "S1@127.0.0.2"});
    Client client;

    EXPECT_EQ(archive, fetch(client, urlAt(client, kFirstUrl)));
    EXPECT_EQ(xml, fetch(client, urlAt(client, kSecondUrl)));
}

TEST_F(ForeignDescription, RegistersAreZeroUnlessItSaysMore) {
    const Simcam camera(arguments(description(R"(
        <IntReg Name="Zero"><Address>0x10000</Address><Length>4</Length></IntReg>
        <Group Comment="values">
          <IntReg Name="Big"><Extension><Initial>-2</Initial></Extension>
            <Address>0x10000</Address><Address>16</Address><Length>8</Length><Sign>Signed</Sign>
            <Endianess>BigEndian</Endianess></IntReg>
          <IntReg Name="Little"><Extension><Initial>0x01020304</Initial></Extension>
            <Address>0x10018</Address><Length>4</Length><Endianess>LittleEndian</Endianess></IntReg>
        </Group>
        <FloatReg Name="Double"><Extension><Initial>-1.5</Initial></Extension>
          <Address>0x10020</Address><Length>8</Length><Endianess>BigEndian</Endianess></FloatReg>
        <StringReg Name="Text"><Extension><Initial>abc</Initial></Extension>
          <Address>0x10028</Address><Length>6</Length></StringReg>
        <MaskedIntReg Name="High"><Extension><Initial>0xA</Initial></Extension>
          <Address>0x10030</Address><Length>4</Length><LSB>3</LSB><MSB>0</MSB>
          <Endianess>BigEndian</Endianess></MaskedIntReg>
        <MaskedIntReg Name="Low"><Extension><Initial>1</Initial></Extension>
          <Address>0x10030</Address><Length>4</Length><Bit>31</Bit>
          <Endianess>BigEndian</Endianess></MaskedIntReg>)")));
    Client client;

    EXPECT_EQ("00000000", client.read(0x10000));
    EXPECT_EQ("FFFFFFFF", client.read(0x10010));
    EXPECT_EQ("FFFFFFFE", client.read(0x10014));
    EXPECT_EQ("04030201", client.read(0x10018));
    EXPECT_EQ("BFF80000", client.read(0x10020));
    EXPECT_EQ("00000000", client.read(0x10024));
    EXPECT_EQ("61626300", client.read(0x10028));
    EXPECT_EQ("00000000", client.read(0x1002C));
    EXPECT_EQ("A0000001", client.read(0x10030));
    EXPECT_EQ("8003", client.read(0x10004));
}

TEST_F(ForeignDescription, RegistersBehindASelectorHaveACellForEachInitialValue) {
    const Simcam camera(arguments(description(R"(
        <IntReg Name="Cells"><Extension><Initial>7</Initial><Initial>8</Initial></Extension>
          <Address>0x10000</Address><pIndex Offset="8">Which</pIndex><Length>4</Length></IntReg>
        <IntReg Name="Table"><Extension><Initial>1</Initial><Cells>3</Cells></Extension>
          <Address>0x10100</Address><pIndex>Which</pIndex><Length>4</Length></IntReg>)")));
    Client client;

    EXPECT_EQ("00000007", client.read(0x10000));
    EXPECT_EQ("8003", client.read(0x10004));
    EXPECT_EQ("00000008", client.read(0x10008));
    EXPECT_EQ("8003", client.read(0x10010));
    EXPECT_EQ("00000001", client.read(0x10100));
    EXPECT_EQ("00000000", client.read(0x10108));
    EXPECT_EQ("8003", client.read(0x1010C));
}

TEST_F(ForeignDescription, RegistersWhosePlaceIsComputedAreLeftOut) {
    const Simcam camera(arguments(description(R"(
        <IntReg Name="A"><Address>0x10000</Address><pAddress>X</pAddress><Length>4</Length></IntReg>
        <IntReg Name="B"><Address>0x10004</Address><IntSwissKnife Name="K"><Formula>4</Formula>
          </IntSwissKnife><Length>4</Length></IntReg>
        <Register Name="C"><Address>0x10008</Address><pLength>X</pLength></Register>
        <IntReg Name="D"><Address>0x1000C</Address><Length>4</Length></IntReg>)")));
    Client client;

    EXPECT_EQ("8003", client.read(0x10000));
    EXPECT_EQ("8003", client.read(0x10004));
    EXPECT_EQ("8003", client.read(0x10008));
    EXPECT_EQ("00000000", client.read(0x1000C));
}

TEST_F(ForeignDescription, MayUseTheLastRegisterAndBlocksWrapNowhere) {
    const Simcam camera(arguments(description(R"(
        <IntReg Name="Last"><Extension><Initial>9</Initial></Extension>
          <Address>0xFFFFFFFC</Address><Length>4</Length></IntReg>)")));
    Client client;

    EXPECT_EQ("00000009", client.read(0xFFFFFFFC));
    EXPECT_EQ("8003 0085 0000 0007", client.ask("42 01 0084 0008 0007 FFFFFFFC 0000 0008"));
}

TEST_F(ForeignDescription, DoesNotChangeTheStandardsRegisters) {
    const Simcam camera(arguments(description(R"(
        <IntReg Name="A"><Extension><Initial>1</Initial></Extension><Address>0x938</Address>
          <Length>4</Length></IntReg>
        <IntReg Name="B"><Address>0x0</Address><Length>4</Length><AccessMode>RW</AccessMode>
          </IntReg>)")));
    Client client;
    client.write(0x0A00, 2);

    EXPECT_EQ("00000BB8", client.read(0x938));
    EXPECT_EQ("8004", client.write(0, 1));
}

TEST_F(ForeignDescription, IsRefusedWithTheReason) {
    const auto reg = [](const std::string &kind, const std::string &extension,
                        const std::string &place) {
        return "<" + kind + " Name=\"R\"><Extension>" + extension + "</Extension>" + place + "</" +
               kind + ">";
    };
    const std::string place = "<Address>0x10000</Address><Length>4</Length>";

    EXPECT_EQ(named("register 'R': initial value 'red', expected an integer of 32 bits"),
              refusal(reg("IntReg", "<Initial>red</Initial>", place)));
    EXPECT_EQ(named("register 'R': initial value '0x100000000', expected an integer of 32 bits"),
              refusal(reg("IntReg", "<Initial>0x100000000</Initial>", place)));
    EXPECT_EQ(named("register 'R': initial value '-1', expected an integer of 32 bits"),
              refusal(reg("IntReg", "<Initial>-1</Initial>", place)));
    EXPECT_EQ(named("register 'R': initial value '1,5', expected a number"),
              refusal(reg("FloatReg", "<Initial>1,5</Initial>", place)));
    EXPECT_EQ(named("register 'R': initial value 'abcde', expected at most 4 characters"),
              refusal(reg("StringReg", "<Initial>abcde</Initial>", place)));
    EXPECT_EQ(named("register 'R': initial value '1', expected none: a block of bytes starts as "
                    "zeros"),
              refusal(reg("Register", "<Initial>1</Initial>", place)));
    EXPECT_EQ(named("register 'R': <Address> is 'here', expected a number"),
              refusal(reg("IntReg", "", "<Address>here</Address>")));
    EXPECT_EQ(named("register 'R': its length is 0 bytes"),
              refusal(reg("IntReg", "", "<Address>0</Address><Length>0</Length>")));
    EXPECT_EQ(named("register 'R': a float has 4 or 8 bytes, not 2"),
              refusal(reg("FloatReg", "", "<Address>0</Address><Length>2</Length>")));
    EXPECT_EQ(named("register 'R': more than 4194304 bytes"),
              refusal(reg("IntReg", "<Cells>99999999</Cells>", place)));
    EXPECT_EQ(named("register 'R': it lies outside of the 32-bit address space"),
              refusal(reg("IntReg", "", "<Address>0xFFFFFFFE</Address><Length>4</Length>")));
    EXPECT_EQ(named("register 'R': its bits lie outside of it"),
              refusal(reg("MaskedIntReg", "", place + "<Bit>32</Bit>")));
}

TEST_F(ForeignDescription, ThatIsNoneIsRefused) {
    const auto errors = [&](const std::string &content) {
        return runSimcam(arguments(content)).errors;
    };
    EXPECT_EQ(named("not well-formed XML at byte 23: Start-end tags mismatch"),
              errors("<RegisterDescription></Other>"));
    EXPECT_EQ(named("no <RegisterDescription>, so it is no GenICam camera description"),
              errors("<html/>"));
    EXPECT_EQ(named("zip archive: Not a zip archive"), errors("PK\x03\x04 nonsense"));
    EXPECT_EQ("kxinfo-simcam: description '/nowhere/m.xml': it cannot be read\n",
              runSimcam({"--description", "/nowhere/m.xml", "--camera", "S1@127.0.0.2"}).errors);
}

TEST_F(ForeignDescription, MayHaveHundredsOfKilobytesAndOfRegisters) {
    std::string nodes;
    for (std::uint32_t i = 0; i < 500; ++i) {
        const std::string name = "Feature" + std::to_string(i);
        nodes += "<Integer Name=\"" + name + "\"><ToolTip>" + std::string(400, 't') +
                 "</ToolTip><pValue>" + name + "Reg</pValue></Integer><IntReg Name=\"" + name +
                 "Reg\"><Description>" + std::string(400, 'd') +
                 "</Description><Extension><Initial>" + std::to_string(i) +
                 "</Initial></Extension><Address>0x" + hex(0x100000 + 4 * i, 6) +
                 "</Address><Length>4</Length><Endianess>BigEndian</Endianess></IntReg>\n";
    }
    const std::string xml = description(nodes);
    ASSERT_LT(300u << 10, xml.size());
    const Simcam camera(arguments(xml));
    Client client;

    EXPECT_TRUE(xml == unzip(fetch(client, urlAt(client, kFirstUrl))).second);
    const Url plain = urlAt(client, kSecondUrl);
    EXPECT_EQ(xml.size(), plain.size);
    EXPECT_EQ(xml.substr(xml.size() / 4 * 4 - 500),
              client.memory(plain.address + plain.size / 4 * 4 - 500, 500 + plain.size % 4));
    EXPECT_EQ(hex(499, 8), client.read(0x100000 + 4 * 499));
}

TEST_F(ForeignDescription, Has64MegabytesAtMost) {
    constexpr std::uintmax_t kMax = 64u << 20;
    const std::string path = folder.file("huge.xml", "");
    const auto errors = [&](std::uintmax_t size) {
        std::filesystem::resize_file(path, size);
        return runSimcam({"--description", path, "--camera", "S1@127.0.0.2"}).errors;
    };

    EXPECT_EQ("kxinfo-simcam: description '" + path +
                  "': not well-formed XML at byte 67108864: No document element found\n",
              errors(kMax));
    EXPECT_EQ("kxinfo-simcam: description '" + path +
                  "': it is too large, 67108865 bytes, expected at most 67108864\n",
              errors(kMax + 1));
}

TEST_F(ForeignDescription, IsARegularFile) {
    const std::string pipe = folder.path() + "/pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));

    for (const std::string &path : {pipe, std::string("/dev/zero"), folder.path()})
        EXPECT_EQ("kxinfo-simcam: description '" + path +
                      "': it is no regular file, expected a GenICam file, XML or zip\n",
                  runSimcam({"--description", path, "--camera", "S1@127.0.0.2"}).errors);
}

} // namespace
