#include "camera_test.h"

#include <pugixml.hpp>
#include <zip.h>

#include <cinttypes>
#include <cstdio>
#include <sys/stat.h>

namespace {

// Where a camera says that its description is: "Local:NAME;ADDRESS;LENGTH", both hexadecimal.
struct Url {
    std::string name;
    uint32_t address = 0;
    uint32_t size = 0;
};

constexpr uint32_t kFirstUrl = 0x0200;
constexpr uint32_t kSecondUrl = 0x0400;

Url urlAt(Client &client, uint32_t address) {
    const std::string text = client.memory(address, 512).c_str();
    char name[64];
    Url url;
    int end = 0;
    const int parts = std::sscanf(text.c_str(), "Local:%63[^;];%8" SCNx32 ";%8" SCNx32 "%n", name,
                                  &url.address, &url.size, &end);
    EXPECT_EQ(3, parts) << "no URL: " << text;
    EXPECT_EQ(text.size(), static_cast<size_t>(end)) << "more than a URL: " << text;
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

// An archive of some files.
std::string zip(const std::vector<std::string> &files) {
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/m.zip";
    zip_t *zip = zip_open(path.c_str(), ZIP_CREATE, nullptr);
    for (size_t i = 0; i < files.size(); ++i)
        zip_file_add(zip, (std::to_string(i) + ".xml").c_str(),
                     zip_source_buffer(zip, files[i].data(), files[i].size(), 0), 0);
    EXPECT_EQ(0, zip_close(zip));
    return readFile(path);
}

class BuiltInDescription : public Camera {
protected:
    const std::string source = readFile(BUILT_IN_DESCRIPTION);
};

TEST_F(BuiltInDescription, IsServedZippedFirstAndPlainSecond) {
    const Url zipped = urlAt(client, kFirstUrl), plain = urlAt(client, kSecondUrl);
    EXPECT_EQ("dalsa-1936x1216.zip", zipped.name);
    EXPECT_EQ("dalsa-1936x1216.xml", plain.name);

    EXPECT_LT(zipped.size, source.size() / 4);
    EXPECT_EQ(std::pair(std::string("dalsa-1936x1216.xml"), source), unzip(fetch(client, zipped)));
    EXPECT_EQ(source, fetch(client, plain));
    takeControl();
    EXPECT_EQ("8004", client.write(zipped.address, 0));
    EXPECT_EQ("8004", client.write(plain.address, 0));
}

TEST_F(BuiltInDescription, HasOnlyRegistersThatTheCameraHas) {
    pugi::xml_document xml;
    ASSERT_TRUE(xml.load_string(source.c_str()));
    int seen = 0;
    for (const auto &node : xml.child("RegisterDescription").children()) {
        if (!node.child("Address"))
            continue;
        ++seen;
        const uint32_t address = node.child("Address").text().as_uint();
        const uint32_t size = node.child("Length").text().as_uint();
        const std::string block = hex(address, 8) + hex(size, 8);
        const std::string answer = client.ask("42 01 0084 0008 0007" + block).substr(0, 4);
        const bool writeOnly = node.child("AccessMode").text().get() == std::string("WO");
        EXPECT_EQ(writeOnly ? "8006" : "0000", answer) << node.attribute("Name").value();
    }
    EXPECT_LT(50, seen);
}

TEST(PlainDescription, ComesFirstWhenAskedFor) {
    const Simcam camera({"--camera", "S1@127.0.0.2", "--plain"});
    Client client;

    EXPECT_EQ("dalsa-1936x1216.xml", urlAt(client, kFirstUrl).name);
    EXPECT_EQ("dalsa-1936x1216.zip", urlAt(client, kSecondUrl).name);
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

    // What is wrong with a file; "" if nothing is: there is no starting value for Nothing.
    std::string refusalOf(const std::string &path) const {
        const Process::End end =
            runSimcam({"--description", path, "--camera", "S1@127.0.0.2", "--set", "Nothing=1"});
        EXPECT_EQ("", end.output);
        const std::string begin = "kxinfo-simcam: description '" + path + "': ";
        if (end.status == 1 && end.errors.find(begin) == 0)
            return end.errors.substr(begin.size(), end.errors.size() - begin.size() - 1);
        EXPECT_EQ(2, end.status) << end.errors;
        return "";
    }
    std::string refusal(const std::string &nodes) const {
        return refusalOf(folder.file("m.xml", description(nodes)));
    }
};

// So many texts behind each other.
std::string times(size_t count, const std::string &text) {
    std::string all;
    for (size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

TEST_F(ForeignDescription, IsServedUnderAFileNameFitForUrlsAndMayComeZipped) {
    const std::string xml = description("<!-- anything -->");
    std::string archive;
    {
        const Simcam camera(arguments(xml));
        Client client;
        EXPECT_EQ("some_model.zip", urlAt(client, kFirstUrl).name);
        archive = fetch(client, urlAt(client, kFirstUrl));
        EXPECT_EQ(std::pair(std::string("some_model.xml"), xml), unzip(archive));
        EXPECT_EQ(xml, fetch(client, urlAt(client, kSecondUrl)));
    }
    const Simcam camera(
        {"--description", folder.file("M.zip", archive), "--camera", "S1@127.0.0.2"});
    Client client;

    EXPECT_EQ(archive, fetch(client, urlAt(client, kFirstUrl)));
    EXPECT_EQ(xml, fetch(client, urlAt(client, kSecondUrl)));
}

TEST_F(ForeignDescription, RegistersAreZeroUnlessItSaysMore) {
    const Simcam camera(arguments(model(R"(
        IntReg Zero Address=0x10000
        IntReg Big Address=0x10000 Address=16 Length=8 Sign=Signed Initial=-2
        IntReg Little Address=0x10018 Endianess=LittleEndian Initial=0x01020304
        FloatReg Double Address=0x10020 Length=8 Initial=-1.5
        StringReg Text Address=0x10028 Length=6 Initial=abc
        MaskedIntReg High Address=0x10030 LSB=3 MSB=0 Initial=0xA
        MaskedIntReg Low Address=0x10030 Bit=31 Initial=1
        IntReg Cells Address=0x10040 pIndex@8=Which Initial=7 Initial=8
        IntReg Table Address=0x10100 pIndex=Which Initial=1 Cells=3
        IntReg PlaceOf Address=0x10200 pAddress=X
        Register LengthOf Address=0x10208 pLength=X
        IntReg Last Address=0xFFFFFFFC Initial=9
        IntReg Heartbeat Address=0x938 Initial=1
        IntReg Version Address=0 AccessMode=RW
    )")));
    converse(R"(
        read 10000 = 00000000
        read 10004 = 8003
        read 10010 = FFFFFFFF
        read 10014 = FFFFFFFE
        read 10018 = 04030201
        read 10020 = BFF80000
        read 10024 = 00000000
        read 10028 = 61626300
        read 1002C = 00000000
        read 10030 = A0000001
        # A cell for each initial value, or as many as it says.
        read 10040 = 00000007
        read 10044 = 8003
        read 10048 = 00000008
        read 10050 = 8003
        read 10100 = 00000001
        read 10108 = 00000000
        read 1010C = 8003
        # What is computed is left out.
        read 10200 = 8003
        read 10208 = 8003
        # The last register may be used, and blocks wrap nowhere.
        read FFFFFFFC = 00000009
        42 01 0084 0008 0007 FFFFFFFC 0000 0008 = 8003 0085 0000 0007
        # The standard's registers are as they are.
        write 0A00 2 = 0000
        read 0938 = 00000BB8
        write 0000 1 = 8004
    )");
}

TEST_F(ForeignDescription, RegistersMayLieInGroupsAndBePlacedByAFormula) {
    const Simcam camera(arguments(description(R"(<Group Comment="values">
        <IntReg Name="A"><Address>0x10004</Address><IntSwissKnife Name="K"><Formula>4</Formula>
          </IntSwissKnife><Length>4</Length></IntReg>
        <IntReg Name="B"><Address>0x1000C</Address><Length>4</Length></IntReg></Group>)")));
    converse(R"(
        read 10004 = 8003
        read 1000C = 00000000
    )");
}

// A register R of four bytes, or of what else is said.
std::string reg(const std::string &kind, const std::string &extension,
                const std::string &place = "<Address>0x10000</Address><Length>4</Length>") {
    return "<" + kind + " Name=\"R\"><Extension>" + extension + "</Extension>" + place + "</" +
           kind + ">";
}

TEST_F(ForeignDescription, IsRefusedWithTheReason) {
    const std::string address = "<Address>0</Address>";
    const std::string longNumber(400, '9');
    const std::pair<std::string, std::string> wrong[] = {
        {"initial value 'red', expected an integer of 32 bits",
         reg("IntReg", "<Initial>red</Initial>")},
        {"initial value '0x100000000', expected an integer of 32 bits",
         reg("IntReg", "<Initial>0x100000000</Initial>")},
        {"initial value '-1', expected an integer of 32 bits",
         reg("IntReg", "<Initial>-1</Initial>")},
        {"initial value '1,5', expected a number", reg("FloatReg", "<Initial>1,5</Initial>")},
        {"initial value 'abcde', expected at most 4 characters",
         reg("StringReg", "<Initial>abcde</Initial>")},
        {"initial value '1', expected none: a block of bytes starts as zeros",
         reg("Register", "<Initial>1</Initial>")},
        {"<Address> is 'here', expected a number of 32 bits",
         reg("IntReg", "", "<Address>here</Address>")},
        {"<Address> is '" + longNumber + "', expected a number of 32 bits",
         reg("IntReg", "", "<Address>" + longNumber + "</Address>")},
        {"<Cells> is '0x4000000000000000', expected a number of 32 bits",
         reg("IntReg", "<Cells>0x4000000000000000</Cells>")},
        {"its length is 0 bytes", reg("IntReg", "", address + "<Length>0</Length>")},
        {"a float has 4 or 8 bytes, not 2", reg("FloatReg", "", address + "<Length>2</Length>")},
        {"it lies outside of the 32-bit address space",
         reg("IntReg", "", "<Address>0xFFFFFFFE</Address><Length>4</Length>")},
        {"its bits lie outside of it",
         reg("MaskedIntReg", "", address + "<Length>4</Length><Bit>32</Bit>")},
        {"its bits lie outside of it",
         reg("MaskedIntReg", "", address + "<Length>4</Length><Bit>-4294967296</Bit>")},
    };
    for (const auto &[sentence, nodes] : wrong)
        EXPECT_EQ("register 'R': " + sentence, refusal(nodes));
}

TEST_F(ForeignDescription, ThatIsNoneIsRefused) {
    const auto ofFile = [&](const std::string &content) {
        return refusalOf(folder.file("m", content));
    };
    EXPECT_EQ("not well-formed XML at byte 23: Start-end tags mismatch",
              ofFile("<RegisterDescription></Other>"));
    EXPECT_EQ("no <RegisterDescription>, so it is no GenICam camera description",
              ofFile("<html/>"));
    EXPECT_EQ("zip archive: Not a zip archive", ofFile("PK\x03\x04 nonsense"));
    EXPECT_EQ("it cannot be read: No such file or directory", refusalOf("/nowhere/m.xml"));
    const std::string pipe = folder.path() + "/pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    for (const std::string &path : {pipe, std::string("/dev/zero"), folder.path()})
        EXPECT_EQ("it is no regular file, expected a GenICam file, XML or zip", refusalOf(path));
}

TEST_F(ForeignDescription, MayHaveHundredsOfKilobytesAndOfRegisters) {
    std::string nodes;
    for (uint32_t i = 0; i < 500; ++i) {
        const std::string number = std::to_string(i);
        nodes += "Integer F" + number + " pValue=R" + number + " ToolTip=" + std::string(800, 't') +
                 "\nIntReg R" + number + " Address=0x" + hex(0x100000 + 4 * i, 6) +
                 " Initial=" + number + "\n";
    }
    const std::string xml = model(nodes);
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

// Each bound from both sides: what a description may be, and what it says of itself beyond.
TEST_F(ForeignDescription, IsBounded) {
    const auto cells = [](int count, int stride, int length) {
        return reg("IntReg", "<Cells>" + std::to_string(count) + "</Cells>",
                   "<Address>0</Address><pIndex Offset=\"" + std::to_string(stride) +
                       "\">S</pIndex><Length>" + std::to_string(length) + "</Length>");
    };
    const auto nodes = [](int count) {
        std::string all;
        for (int i = 0; i < count; ++i)
            all += "<Node Name=\"N" + std::to_string(i) + "\"/>";
        return all;
    };
    const auto groups = [](size_t count) {
        return times(count, "<Group>") + times(count, "</Group>");
    };
    const auto indexes = [](size_t count) {
        return reg("IntReg", "", "<Address>0</Address>" + times(count, "<pIndex>S</pIndex>"));
    };
    const auto texts = [](size_t count) {
        return reg("StringReg", times(count, "<Initial>x</Initial>"),
                   "<Address>0</Address><Length>2097152</Length>");
    };
    const std::string tooLarge = "register 'R': more than 4194304 bytes";
    const std::string tooDeep = "groups lie in groups more than 16 deep";
    struct Bound {
        std::string within, beyond, sentence;
    };
    const Bound bounds[] = {
        {cells(1048576, 4, 4), cells(1048577, 4, 4), tooLarge},
        {cells(1024, 1, 4096), cells(1025, 1, 4096), tooLarge}, // they overlap
        {cells(1024, 4096, 4), cells(1025, 4096, 4), tooLarge}, // they lie apart
        {cells(1, 4194304, 4), cells(1, 4194305, 4), tooLarge},
        {cells(1, 4, 4194304), cells(1, 4, 4194305), "register 'R': its length is 4194305 bytes"},
        {texts(2), texts(3), tooLarge},
        {cells(524288, 4, 4) + "<Register Name=\"T\"><Address>0</Address><Length>2097152</Length>"
                               "</Register>",
         cells(524289, 4, 4) + "<Register Name=\"T\"><Address>0</Address><Length>2097152</Length>"
                               "</Register>",
         "its registers take more than 4194304 bytes"},
        {nodes(65536), nodes(65537), "it has more than 65536 nodes"},
        {groups(16), groups(17), tooDeep},
        {groups(16), groups(1'000'000), tooDeep},
        {times(500'000, "<a>") + times(500'000, "</a>"), groups(3'000'000),
         "it is too large, 45000057 bytes, expected at most 16777216"},
        {indexes(16), indexes(17), "register 'R': it has 17 <pIndex>, expected at most 16"},
    };
    for (const Bound &bound : bounds) {
        EXPECT_EQ("", refusal(bound.within)) << "before: " << bound.sentence;
        EXPECT_EQ(bound.sentence, refusal(bound.beyond));
    }
}

TEST_F(ForeignDescription, Has16MegabytesAtMostPlainAndZipped) {
    const std::string begin = description("<!--"), end = "-->";
    const std::string head = begin.substr(0, begin.find("</"));
    const std::string tail = end + "</RegisterDescription>";
    const auto xml = [&](size_t size) {
        return head + std::string(size - head.size() - tail.size(), ' ') + tail;
    };
    constexpr size_t kMax = 16u << 20;

    EXPECT_EQ("", refusalOf(folder.file("m.xml", xml(kMax))));
    EXPECT_EQ("", refusalOf(folder.file("m.zip", zip({xml(kMax)}))));
    const std::string sentence = "it is too large, 16777217 bytes, expected at most 16777216";
    EXPECT_EQ(sentence, refusalOf(folder.file("m.xml", xml(kMax + 1))));
    EXPECT_EQ("zip archive: its file" + sentence.substr(2),
              refusalOf(folder.file("m.zip", zip({xml(kMax + 1)}))));
}

TEST_F(ForeignDescription, MayHaveAFewFilesBesideItInItsArchive) {
    std::vector<std::string> files(16, description(""));
    EXPECT_EQ("", refusalOf(folder.file("m.zip", zip(files))));

    files.emplace_back();
    EXPECT_EQ("zip archive: it holds 17 files, expected at most 16",
              refusalOf(folder.file("m.zip", zip(files))));
}

} // namespace
