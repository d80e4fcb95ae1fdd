// The URLs of a camera's description, as its registers have them.

#include <gtest/gtest.h>

#include "camera_memory.h"
#include "gvcp/description.h"
#include "problem.h"

namespace {

using gvcp::LocalUrl;
using gvcp::parseUrl;

constexpr char kThreeParts[] = "expected Local:NAME;ADDRESS;LENGTH with hexadecimal numbers";
const std::string kElsewhere =
    std::string(" does not lie in its own memory, and nothing else is ever opened; ") + kThreeParts;

std::string refused(const std::string &text) {
    return refusalOf([&text] { parseUrl(text); });
}

void expectPlace(uint32_t address, uint32_t size, const std::string &text) {
    SCOPED_TRACE(text);
    const LocalUrl url = parseUrl(text);
    EXPECT_EQ(address, url.address);
    EXPECT_EQ(size, url.size);
    EXPECT_EQ(text, url.text);
}

TEST(Url, NamesAPlaceInTheCameraAsCamerasWriteIt) {
    expectPlace(0x1c400, 0x23d8, "Local:camera.zip;1C400;23D8");
    expectPlace(0xabcd, 0x10, "local:camera.xml;abcd;10");
    expectPlace(0xabcd, 0x10, "LOCAL:///camera.xml;ABCD;10");
    expectPlace(0xabcd, 0x10, "Local:camera.xml;0xABCD;0X10");
    expectPlace(0xabcd, 0x10, "Local:camera.xml;000000000000abcd;00010");
    expectPlace(0xabcd, 0x10, " Local: camera.xml ; ABCD ; 10 \r\n");
    expectPlace(0xabcd, 0x10, "Local:camera.xml;ABCD;10?SchemaVersion=1.1.0");
    expectPlace(0xabcd, 0x10, "Local:;ABCD;10 ?SchemaVersion=1.1.0");
}

TEST(Url, MayReachTheBoundsOfSizeAndOfTheAddressSpace) {
    expectPlace(0, 16 << 20, "Local:a.xml;0;1000000");
    expectPlace(0xffffffff, 1, "Local:a.xml;ffffffff;1");
    expectPlace(0xff000000, 16 << 20, "Local:a.xml;ff000000;1000000");
}

TEST(Url, HasALengthWithinBounds) {
    EXPECT_EQ("its length is 0 bytes; expected 1 to 16777216", refused("Local:a.xml;0;0"));
    EXPECT_EQ("its length is 16777217 bytes; expected 1 to 16777216",
              refused("Local:a.xml;0;1000001"));
    EXPECT_EQ("its length is 2147483648 bytes; expected 1 to 16777216",
              refused("Local:a.xml;0;80000000"));
    EXPECT_EQ("its length is 9223372036854775807 bytes; expected 1 to 16777216",
              refused("Local:a.xml;0;7fffffffffffffff"));
}

TEST(Url, StaysWithinTheAddressSpace) {
    const char *why = "its address and length lead beyond an address space of 32 bits";
    EXPECT_EQ(why, refused("Local:a.xml;ffffffff;2"));
    EXPECT_EQ(why, refused("Local:a.xml;100000000;10"));
    EXPECT_EQ(why, refused("Local:a.xml;fffffffffffffff0;20"));
}

TEST(Url, HasNumbersThatAreNotWrapped) {
    EXPECT_EQ("its address '10000000000001000' is no hexadecimal number of 64 bits",
              refused("Local:a.xml;10000000000001000;10"));
    EXPECT_EQ("its length '10000000000000010' is no hexadecimal number of 64 bits",
              refused("Local:a.xml;1000;10000000000000010"));
}

TEST(Url, HasHexadecimalNumbers) {
    const std::string why = " is no hexadecimal number of 64 bits";
    EXPECT_EQ("its address 'xyz'" + why, refused("Local:a.xml;xyz;10"));
    EXPECT_EQ("its length '-1'" + why, refused("Local:a.xml;1000;-1"));
    EXPECT_EQ("its length '10;20'" + why, refused("Local:a.xml;1000;10;20"));
    EXPECT_EQ(std::string("its length is missing; ") + kThreeParts, refused("Local:a.xml;1000;"));
    EXPECT_EQ(std::string("its address is missing; ") + kThreeParts, refused("Local:a.xml;0x;1"));
}

TEST(Url, HasThreeParts) {
    EXPECT_EQ(std::string("'Local:a.xml;1000' has fewer than three parts; ") + kThreeParts,
              refused("Local:a.xml;1000"));
    EXPECT_EQ(std::string("'Local:' has fewer than three parts; ") + kThreeParts,
              refused(" Local: "));
}

TEST(Url, OfAFileIsNeverOpened) {
    EXPECT_EQ("'File:/dev/zero'" + kElsewhere, refused("File:/dev/zero"));
    EXPECT_EQ("'file:///etc/passwd'" + kElsewhere, refused("file:///etc/passwd"));
    EXPECT_EQ("'FILE:camera.xml?SchemaVersion=1.0.0'" + kElsewhere,
              refused(" FILE:camera.xml?SchemaVersion=1.0.0"));
}

TEST(Url, OfTheNetworkIsNeverOpened) {
    for (const std::string url : {"http://192.168.0.1/camera.xml", "HTTPS://example.org/camera.xml",
                                  "ftp://example.org/camera.xml"})
        EXPECT_EQ("'" + url + "'" + kElsewhere, refused(url));
}

TEST(Url, OfAnotherKindIsToldInPrintableCharacters) {
    EXPECT_EQ("it is empty", refused(""));
    EXPECT_EQ("it is empty", refused(" \r\n"));
    EXPECT_EQ("'?[31mred'" + kElsewhere, refused("\x1b[31mred"));
    EXPECT_EQ("'" + std::string(60, 'x') + "...'" + kElsewhere, refused(std::string(512, 'x')));
}

TEST(Url, EndsAtANulOrWithItsRegister) {
    CameraMemory camera;
    camera.setUrl(gvcp::kFirstUrl, std::string("Local:\0garbage", 14));
    camera.setUrl(gvcp::kSecondUrl, std::string(512, 'x'));

    EXPECT_EQ("Local:", readUrl(camera, gvcp::kFirstUrl));
    EXPECT_EQ(1u, camera.commands());
    EXPECT_EQ(std::string(512, 'x'), readUrl(camera, gvcp::kSecondUrl));
}

} // namespace
