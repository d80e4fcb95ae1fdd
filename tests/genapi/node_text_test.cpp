// What nodes add to numbers as texts: whose representation counts, which exception is raised, and
// registers of text and of bytes.

#include <gmock/gmock.h>

#include "support.h"

namespace {

using GenICam_3_0::InvalidArgumentException;
using GenICam_3_0::OutOfRangeException;
using testing::ElementsAre;

std::string shown(const std::string &representation) {
    return "<Representation>" + representation + "</Representation>";
}

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
        Camera camera(
            element("Integer", "A",
                    "<Value>" + std::to_string(value) + "</Value>" + shown(representation)));
        EXPECT_EQ(text, camera.text("A")) << representation;
        camera.integer("A").SetValue(7);
        camera.value("A").FromString(text);
        EXPECT_EQ(value, camera.integer("A").GetValue()) << representation;
    }
}

TEST(Texts, OfIntegersAreByTheNearestRepresentationTowardsTheTarget) {
    Camera camera(element("IntReg", "R", place(0, 4) + kUnsignedBig + shown("HexNumber")) +
                  element("Integer", "Between", "<pValue>R</pValue>") +
                  element("Integer", "Unsaid", "<pValue>Between</pValue>") +
                  element("Integer", "Said", "<pValue>R</pValue>" + shown("Linear")));
    camera.memory.put32(0, 255);

    EXPECT_EQ("0xff", camera.text("R"));
    EXPECT_EQ("0xff", camera.text("Unsaid"));
    EXPECT_EQ("255", camera.text("Said"));
}

TEST(Texts, OfIntegersThatAreNoneAreInvalid) {
    Camera camera(constant("A", 1) +
                  element("Integer", "Ip", "<Value>1</Value>" + shown("IPV4Address")) +
                  element("Integer", "Flag", "<Value>1</Value>" + shown("Boolean")) +
                  element("Integer", "Hex", "<Value>1</Value>" + shown("HexNumber")));
    const std::pair<const char *, const char *> texts[] = {
        {"A", ""}, {"A", "abc"}, {"Ip", "1"}, {"Ip", "256.0.0.1"}, {"Flag", "1"}, {"Hex", "ff"}};
    for (const auto &[name, text] : texts)
        EXPECT_THROW(camera.value(name).FromString(text), InvalidArgumentException)
            << name << ' ' << text;
    camera.value("A").FromString(" 0x1F ");
    EXPECT_EQ(31, camera.integer("A").GetValue());
    camera.value("Hex").FromString("0xFFFFFFFFFFFFFFFF");
    EXPECT_EQ(-1, camera.integer("Hex").GetValue());
    camera.value("A").FromString("15abc"); // a leading number is enough
    EXPECT_EQ(15, camera.integer("A").GetValue());
}

TEST(Texts, OfFloatsAreByTheNearestNotationTowardsTheTarget) {
    Camera camera(
        element("Float", "T",
                "<Value>1234.5678</Value><DisplayNotation>Fixed</DisplayNotation>"
                "<DisplayPrecision>2</DisplayPrecision>") +
        element("Float", "Unsaid", "<pValue>T</pValue>") +
        element("Float", "Notation",
                "<pValue>T</pValue><DisplayNotation>Scientific</DisplayNotation>") +
        element("Float", "Precision", "<pValue>T</pValue><DisplayPrecision>1</DisplayPrecision>") +
        element("Float", "Automatic",
                "<pValue>T</pValue><DisplayNotation>Automatic</DisplayNotation>"
                "<DisplayPrecision>6</DisplayPrecision>") +
        constantFloat("Plain", "1234.5678"));

    EXPECT_EQ("1234.57", camera.text("T"));
    EXPECT_EQ("1234.57", camera.text("Unsaid"));
    EXPECT_EQ("1.23e+03", camera.text("Notation"));
    EXPECT_EQ("1234.6", camera.text("Precision"));
    EXPECT_EQ("1234.57", camera.text("Automatic"));
    EXPECT_EQ("1234.57", camera.text("Plain")); // automatic, of 6 digits
}

TEST(Texts, OfFloatsStayWithinTheRange) {
    Camera camera(element("Float", "F", "<Value>10.1234567</Value><Max>10.123456789</Max>"));

    EXPECT_EQ("10.1234", camera.text("F"));
    camera.value("F").FromString(camera.text("F").c_str());
}

TEST(Texts, OfFloatsThatAreNoneAreInvalid) {
    Camera camera(constantFloat("F", "1"));

    for (const char *text : {"", "abc", "inf", "nan", "1e400"})
        EXPECT_THROW(camera.value("F").FromString(text), InvalidArgumentException) << text;
    camera.value("F").FromString("2.5x");
    EXPECT_EQ(2.5, camera.floating("F").GetValue());
}

TEST(Texts, OfFloatRegistersReadAsTheirBytesSay) {
    Camera camera(element("FloatReg", "F", place(0, 4) + kBig));
    const std::pair<uint32_t, const char *> values[] = {
        {0x3DCCCCCD, "0.1"}, {0x7F800000, "inf"}, {0x7FC00000, "nan"}};
    for (const auto &[bytes, text] : values) {
        camera.memory.put32(0, bytes);
        EXPECT_EQ(text, camera.text("F"));
    }
}

TEST(Texts, InRegistersEndAtTheFirstNul) {
    Camera camera(element("StringReg", "S", place(0, 8)));
    camera.memory.put(0, {'a', 'b', 0, 'c', 0, 0, 0, 0});
    EXPECT_EQ("ab", camera.text("S"));

    camera.memory.put(0, {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'});
    EXPECT_EQ("abcdefgh", camera.text("S"));
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0, 8), reading(0, 8)));
}

TEST(Texts, InRegistersArePaddedWithNul) {
    Camera camera(element("StringReg", "S", place(0, 4)));
    camera.memory.put(0, {1, 2, 3, 4, 5});

    camera.value("S").FromString("x");
    EXPECT_THAT(camera.memory.get(0, 5), ElementsAre('x', 0, 0, 0, 5));
    camera.value("S").FromString("wxyz");
    EXPECT_THAT(camera.memory.get(0, 5), ElementsAre('w', 'x', 'y', 'z', 5));
    EXPECT_THROW(camera.value("S").FromString("vwxyz"), OutOfRangeException);
    EXPECT_THAT(camera.memory.get(0, 5), ElementsAre('w', 'x', 'y', 'z', 5));
}

TEST(Texts, OfStringsAreConstantsOrTheTargets) {
    Camera camera(element("String", "Constant", "<Value>some &amp; text</Value>") +
                  element("StringReg", "R", place(0, 4)) +
                  element("String", "Over", "<pValue>R</pValue>"));
    camera.memory.put(0, {'a', 'b', 0, 0});

    EXPECT_EQ("some & text", camera.text("Constant"));
    camera.value("Constant").FromString("another");
    EXPECT_EQ("another", camera.text("Constant"));
    EXPECT_EQ("ab", camera.text("Over"));
    camera.value("Over").FromString("xyz");
    EXPECT_THAT(camera.memory.get(0, 4), ElementsAre('x', 'y', 'z', 0));
    EXPECT_THROW(camera.value("Over").FromString("vwxyz"), OutOfRangeException);
}

TEST(Texts, OfPlainRegistersAreTheirBytes) {
    Camera camera(element("Register", "R", place(0, 3)));
    camera.memory.put(0, {0x0A, 0x00, 0xFF});

    EXPECT_EQ("0x0a00ff", camera.text("R"));
    camera.value("R").FromString("0x010203");
    EXPECT_THAT(camera.memory.get(0, 3), ElementsAre(1, 2, 3));
    camera.value("R").FromString("AAbbCc");
    EXPECT_THAT(camera.memory.get(0, 3), ElementsAre(0xAA, 0xBB, 0xCC));
    EXPECT_THROW(camera.value("R").FromString("0x01020x"), InvalidArgumentException);
    EXPECT_THROW(camera.value("R").FromString("0x01020304"), OutOfRangeException);
    EXPECT_THAT(camera.memory.get(0, 4), ElementsAre(0xAA, 0xBB, 0xCC, 0));
}

TEST(Texts, OfFloatsNeedNoRangeThatCannotBeComputed) {
    Camera camera(element("Integer", "Period", "<Value>3</Value><Min>0</Min>") +
                  element("Converter", "Rate",
                          "<FormulaTo>1/FROM</FormulaTo><FormulaFrom>1/TO</FormulaFrom>"
                          "<pValue>Period</pValue>"));

    EXPECT_EQ("0.333333", camera.text("Rate"));
    EXPECT_THROW(camera.floating("Rate").GetMax(), GenICam_3_0::LogicalErrorException);
}

} // namespace
