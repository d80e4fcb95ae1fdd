// What nodes add to numbers as texts: whose representation counts, which exception is raised, and
// registers of text and of bytes.

#include <gmock/gmock.h>

#include "support.h"

namespace {

using testing::Each;
using testing::ElementsAre;

TEST(Texts, OfIntegersAreByTheirRepresentation) {
    const struct {
        const char *representation;
        int64_t value;
        const char *text;
    } cases[] = {
        {"Linear", 255, "255"},
        {"Logarithmic", -255, "-255"},
        {"PureNumber", 255, "255"},
        {"HexNumber", 255, "0xff"},
        {"HexNumber", -1, "0xffffffffffffffff"},
        {"Boolean", 1, "true"},
        {"Boolean", 0, "false"},
        {"IPV4Address", 0xC0A80001, "192.168.0.1"},
        {"MACAddress", 0x00112233AABB, "00:11:22:33:aa:bb"},
    };
    for (const auto &[representation, value, text] : cases) {
        Camera camera(with("Integer A Value=$", std::to_string(value)) +
                      with(" Representation=$", representation));
        EXPECT_EQ(text, camera.text("A")) << representation;
        EXPECT_EQ("", camera.set("A", 7));
        EXPECT_EQ("", camera.type("A", text));
        EXPECT_EQ(value, camera.get("A")) << representation;
    }
}

TEST(Texts, OfIntegersAreByTheNearestRepresentationTowardsTheTarget) {
    Camera camera("IntReg R @0 unsigned big Representation=HexNumber Integer Between pValue=R "
                  "Integer Unsaid pValue=Between Integer Said pValue=R Representation=Linear");
    camera.memory.put32(0, 255);

    EXPECT_THAT(camera.texts("R Unsaid Said"), ElementsAre("0xff", "0xff", "255"));
}

TEST(Texts, OfIntegersThatAreNoneAreInvalid) {
    Camera camera("Integer A Value=1 Integer Ip Value=1 Representation=IPV4Address "
                  "Integer Flag Value=1 Representation=Boolean "
                  "Integer Hex Value=1 Representation=HexNumber");
    const std::pair<const char *, const char *> texts[] = {
        {"A", ""}, {"A", "abc"}, {"Ip", "1"}, {"Ip", "256.0.0.1"}, {"Flag", "1"}, {"Hex", "ff"}};
    for (const auto &[name, text] : texts)
        EXPECT_EQ("InvalidArgument", camera.type(name, text)) << name << ' ' << text;
    EXPECT_EQ("", camera.type("A", " 0x1F "));
    EXPECT_EQ(31, camera.get("A"));
    EXPECT_EQ("", camera.type("Hex", "0xFFFFFFFFFFFFFFFF"));
    EXPECT_EQ(-1, camera.get("Hex"));
    EXPECT_EQ("", camera.type("A", "15abc")); // a leading number is enough
    EXPECT_EQ(15, camera.get("A"));
}

TEST(Texts, OfFloatsAreByTheNearestNotationTowardsTheTarget) {
    Camera camera("Float T Value=1234.5678 DisplayNotation=Fixed DisplayPrecision=2 "
                  "Float Unsaid pValue=T Float Notation pValue=T DisplayNotation=Scientific "
                  "Float Precision pValue=T DisplayPrecision=1 "
                  "Float Automatic pValue=T DisplayNotation=Automatic DisplayPrecision=6 "
                  "Float Plain Value=1234.5678");

    EXPECT_THAT(camera.texts("T Unsaid Automatic Plain"), // automatic, of 6 digits
                Each("1234.57"));
    EXPECT_THAT(camera.texts("Notation Precision"), ElementsAre("1.23e+03", "1234.6"));
}

TEST(Texts, OfFloatsStayWithinTheRange) {
    Camera camera("Float F Value=10.1234567 Max=10.123456789");

    EXPECT_EQ("10.1234", camera.text("F"));
    EXPECT_EQ("", camera.type("F", camera.text("F")));
}

TEST(Texts, OfFloatsThatAreNoneAreInvalid) {
    Camera camera("Float F Value=1");

    for (const char *text : {"", "abc", "inf", "nan", "1e400"})
        EXPECT_EQ("InvalidArgument", camera.type("F", text)) << text;
    EXPECT_EQ("", camera.type("F", "2.5x"));
    EXPECT_EQ(2.5, camera.getFloat("F"));
}

TEST(Texts, OfFloatRegistersReadAsTheirBytesSay) {
    Camera camera("FloatReg F @0 big");
    for (const auto &[bytes, text] :
         {std::pair{0x3DCCCCCDu, "0.1"}, {0x7F800000u, "inf"}, {0x7FC00000u, "nan"}}) {
        camera.memory.put32(0, bytes);
        EXPECT_EQ(text, camera.text("F"));
    }
}

TEST(Texts, InRegistersEndAtTheFirstNul) {
    Camera camera("StringReg S @0+8");
    camera.memory.put(0, {'a', 'b', 0, 'c', 0, 0, 0, 0});
    EXPECT_EQ("ab", camera.text("S"));

    camera.memory.put(0, {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'});
    EXPECT_EQ("abcdefgh", camera.text("S"));
    EXPECT_EQ("r0+8 r0+8", camera.memory.accesses());
}

TEST(Texts, InRegistersArePaddedWithNul) {
    Camera camera("StringReg S @0");
    camera.memory.put(0, {1, 2, 3, 4, 5});

    EXPECT_EQ("", camera.type("S", "x"));
    EXPECT_THAT(camera.memory.get(0, 5), ElementsAre('x', 0, 0, 0, 5));
    EXPECT_EQ("", camera.type("S", "wxyz"));
    EXPECT_THAT(camera.memory.get(0, 5), ElementsAre('w', 'x', 'y', 'z', 5));
    EXPECT_EQ("OutOfRange", camera.type("S", "vwxyz"));
    EXPECT_THAT(camera.memory.get(0, 5), ElementsAre('w', 'x', 'y', 'z', 5));
}

TEST(Texts, OfStringsAreConstantsOrTheTargets) {
    Camera camera("String Constant Value='some & text' StringReg R @0 String Over pValue=R");
    camera.memory.put(0, {'a', 'b', 0, 0});

    EXPECT_EQ("some & text", camera.text("Constant"));
    EXPECT_EQ("", camera.type("Constant", "another"));
    EXPECT_THAT(camera.texts("Constant Over"), ElementsAre("another", "ab"));
    EXPECT_EQ("", camera.type("Over", "xyz"));
    EXPECT_THAT(camera.memory.get(0, 4), ElementsAre('x', 'y', 'z', 0));
    EXPECT_EQ("OutOfRange", camera.type("Over", "vwxyz"));
}

TEST(Texts, OfPlainRegistersAreTheirBytes) {
    Camera camera("Register R @0+3");
    camera.memory.put(0, {0x0A, 0x00, 0xFF});

    EXPECT_EQ("0x0a00ff", camera.text("R"));
    EXPECT_EQ("", camera.type("R", "0x010203"));
    EXPECT_THAT(camera.memory.get(0, 3), ElementsAre(1, 2, 3));
    EXPECT_EQ("", camera.type("R", "AAbbCc"));
    EXPECT_THAT(camera.memory.get(0, 3), ElementsAre(0xAA, 0xBB, 0xCC));
    EXPECT_EQ("InvalidArgument", camera.type("R", "0x01020x"));
    EXPECT_EQ("OutOfRange", camera.type("R", "0x01020304"));
    EXPECT_THAT(camera.memory.get(0, 4), ElementsAre(0xAA, 0xBB, 0xCC, 0));
}

TEST(Texts, OfFloatsNeedNoRangeThatCannotBeComputed) {
    Camera camera("Integer Period Value=3 Min=0 "
                  "Converter Rate FormulaTo=1/FROM FormulaFrom=1/TO pValue=Period");

    EXPECT_EQ("0.333333", camera.text("Rate"));
    EXPECT_EQ("LogicalError", raised([&] { camera.floating("Rate").GetMax(); }));
}

} // namespace
