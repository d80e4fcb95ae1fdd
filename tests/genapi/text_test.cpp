// Numbers as texts: those of a description, and those that people read and type.

#include <clocale>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "genapi/text.h"

namespace {

using namespace genapi;
using testing::ElementsAre;
using testing::Optional;

constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kMost = std::numeric_limits<double>::max();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

template <class Value>
using Parse = std::optional<Value> (*)(const std::string &text);

template <class Value>
void expectTaken(Parse<Value> parse, const std::vector<std::pair<const char *, Value>> &cases) {
    for (const auto &[text, value] : cases)
        EXPECT_THAT(parse(text), Optional(value)) << text;
}

template <class Value>
void expectNone(Parse<Value> parse, const std::vector<const char *> &texts) {
    for (const char *text : texts)
        EXPECT_EQ(std::nullopt, parse(text)) << text;
}

std::string automatic(double value, int64_t precision = 6, double min = -kMost,
                      double max = kMost) {
    return textOf(value, Notation::Automatic, precision, min, max);
}
std::string fixed(double value, int64_t precision, double min = -kMost, double max = kMost) {
    return textOf(value, Notation::Fixed, precision, min, max);
}
std::string scientific(double value, int64_t precision, double min = -kMost, double max = kMost) {
    return textOf(value, Notation::Scientific, precision, min, max);
}

// ---- Descriptions ----

TEST(Text, OfADescriptionIsAWholeIntegerOrNone) {
    const Parse<int64_t> parse = [](const auto &text) { return integerOfDescription(text); };
    expectTaken(parse, {{"0", 0}, {"010", 10}, {"+7", 7}, {"-7", -7}, {"0x10", 16}, {"0XfF", 255}});
    expectTaken(parse, {{"0x7FFFFFFFFFFFFFFF", kMax},
                        {"9223372036854775807", kMax},
                        {"-9223372036854775808", kMin}});
    expectNone(parse, {"", "-", "+", "+-1", "--1", " 1", "1 ", "1\n", "1.0", "1.", "1e2", "abc",
                       "0x", "0xg", "x1", "-0x10", "1,5"});
    expectNone(parse, {"9223372036854775808", "-9223372036854775809", "0x8000000000000000",
                       "0xFFFFFFFFFFFFFFFF", "0x10000000000000000"});
}

TEST(Text, OfADescriptionIsAWholeFloatOrNone) {
    const Parse<double> parse = [](const auto &text) { return floatOfDescription(text); };
    expectTaken(parse, {{"0", 0.0}, {"1.5", 1.5}, {"-1.5e3", -1500.0}, {"+2E-1", 0.2}});
    expectTaken(parse, {{".5", 0.5}, {"5.", 5.0}, {"0x10", 16.0}, {"-0x10", -16.0}});
    expectTaken(parse, {{"1.7976931348623157e308", kMost}, {"5e-324", 5e-324}});
    expectTaken(parse, {{"INF", kInfinity}, {"-inf", -kInfinity}, {"+Infinity", kInfinity}});
    expectNone(parse, {"", "-", "+", ".", "e5", " 1", "1 ", "1,5", "1.5x", "1e", "1e+", "--1",
                       "+-1", "0x", "abc", "1e5000", "-1e5000", "infi", "0x-1"});
}

// ---- Integers ----

TEST(Text, ShowsAnIntegerAsItsRepresentationSays) {
    EXPECT_EQ("-42", textOf(-42, Representation::Number));
    EXPECT_EQ("-9223372036854775808", textOf(kMin, Representation::Number));
    EXPECT_EQ("0x0", textOf(0, Representation::HexNumber));
    EXPECT_EQ("0xab", textOf(0xAB, Representation::HexNumber));
    EXPECT_EQ("0xffffffffffffffff", textOf(-1, Representation::HexNumber));
    EXPECT_EQ("false", textOf(int64_t{0}, Representation::Boolean));
    EXPECT_EQ("true", textOf(1, Representation::Boolean));
    EXPECT_EQ("true", textOf(-3, Representation::Boolean));
    EXPECT_EQ("192.168.0.1", textOf(0xC0A80001, Representation::IPV4Address));
    EXPECT_EQ("255.255.255.255", textOf(-1, Representation::IPV4Address));
    EXPECT_EQ("00:11:22:33:aa:bb", textOf(0x00112233AABB, Representation::MACAddress));
    EXPECT_EQ("ff:ff:ff:ff:ff:ff", textOf(-1, Representation::MACAddress));
}

TEST(Text, TakesTheIntegerThatATextBeginsWith) {
    const Parse<int64_t> number = [](const auto &text) {
        return integerOf(text, Representation::Number);
    };
    const Parse<int64_t> hex = [](const auto &text) {
        return integerOf(text, Representation::HexNumber);
    };
    for (const auto parse : {number, hex}) {
        expectTaken(parse, {{"15", 15}, {" \t15\r\n", 15}, {"15abc", 15}, {"15 16", 15}});
        expectTaken(parse, {{"50.0", 50}, {"5e1", 5}, {"010", 10}, {"+7", 7}, {"-7", -7}});
        expectTaken(parse, {{"-0x10", 0}, {"0x10", 16}, {" 0XaBg", 0xAB}, {"0x", 0}});
        expectTaken(parse, {{"9223372036854775807", kMax},
                            {"9223372036854775808", kMax},
                            {"99999999999999999999999", kMax},
                            {"-9223372036854775808", kMin},
                            {"-9223372036854775809", kMin},
                            {"0x7fffffffffffffff", kMax},
                            {"0x8000000000000000", kMin},
                            {"0xFFFFFFFFFFFFFFFF", -1},
                            {"0x10000000000000000", kMax}});
        expectNone(parse, {"", " ", "abc", "ff", "-", "+", "- 5", "+-5", "--5", ".5", "true"});
    }
}

TEST(Text, TakesOnlyTrueAndFalseForAnIntegerShownSo) {
    const Parse<int64_t> parse = [](const auto &text) {
        return integerOf(text, Representation::Boolean);
    };
    expectTaken(parse, {{"true", 1}, {"false", 0}});
    expectNone(parse, {"", "1", "0", "True", " true", "truex"});
}

TEST(Text, TakesAddressesInTheirFormOnly) {
    const Parse<int64_t> ip = [](const auto &text) {
        return integerOf(text, Representation::IPV4Address);
    };
    expectTaken(ip, {{"192.168.0.1", 0xC0A80001}, {"255.255.255.255", 0xFFFFFFFF}});
    expectNone(ip, {"", "5", "0xC0A80001", "1.2.3", "1.2.3.4.5", "1.2.3.256", "1.2.3.4 ",
                    " 1.2.3.4", "1.2..4", "1.2.3.", "1.2.3.-4", "1.2.3.+4", "1.2.3.0004", "1,2,3,4",
                    "1.2.3.99999999999", "a.b.c.d"});

    const Parse<int64_t> mac = [](const auto &text) {
        return integerOf(text, Representation::MACAddress);
    };
    expectTaken(mac,
                {{"00:11:22:33:aa:bb", 0x00112233AABB}, {"FF:FF:FF:FF:FF:FF", 0xFFFFFFFFFFFF}});
    expectNone(mac, {"", "5", "0x00112233aabb", "00:11:22:33:aa", "00:11:22:33:aa:bb:cc",
                     "00:11:22:33:aa:b", "00:11:22:33:aa:bbb", "00-11-22-33-aa-bb",
                     "00:11:22:33:aa:bg", "00:11:22:33:aa:bb ", "0x:11:22:33:aa:bb"});
}

// ---- Floats ----

TEST(Text, ShowsAFloatAsPrintfDoes) {
    EXPECT_EQ("0.1", automatic(double{0.1F}));
    EXPECT_EQ("1.23457e+07", automatic(12345678.9));
    EXPECT_EQ("1e-07", automatic(1e-7));
    EXPECT_EQ("1e+10", automatic(1e10));
    EXPECT_EQ("100000", automatic(100000.0));
    EXPECT_EQ("0", automatic(0.0));
    EXPECT_EQ("-2.5", automatic(-2.5));
    EXPECT_EQ("inf", automatic(kInfinity));
    EXPECT_EQ("-inf", automatic(-kInfinity));
    EXPECT_EQ("nan", automatic(kNan));
    EXPECT_EQ("nan", automatic(-kNan));
    EXPECT_EQ("3.14", fixed(3.14159, 2));
    EXPECT_EQ("3", fixed(3.14159, 0));
    EXPECT_EQ("12345678.900", fixed(12345678.9, 3));
    EXPECT_EQ("3.14e+00", scientific(3.14159, 2));
    EXPECT_EQ("-1e-07", scientific(-1e-7, 0));
    EXPECT_EQ("inf", fixed(kInfinity, 2));
}

TEST(Text, ShowsAFloatWithItsPrecisionWithinBounds) {
    EXPECT_EQ("3.1", automatic(3.14159, 2));
    EXPECT_EQ("3", automatic(3.14159, 0));
    EXPECT_EQ("3", automatic(3.14159, -5));
    EXPECT_EQ("3", fixed(3.14159, kMin));
    EXPECT_EQ("0.1000000000000000055511151231257827021182", automatic(0.1, 40));
    EXPECT_EQ(automatic(0.1, 40), automatic(0.1, kMax));
    EXPECT_EQ(309u + 1u + 40u, fixed(kMost, kMax).size());
    EXPECT_EQ(1u + 309u + 1u + 40u, fixed(-kMost, kMax).size());
    EXPECT_EQ(2u + 40u + 5u, scientific(kMost, kMax).size());
}

TEST(Text, MovesTheLastDigitInwardsWhereRoundingWouldLeaveTheRange) {
    const double value = 10.1234567;
    EXPECT_EQ("10.1235", automatic(value));
    EXPECT_EQ("10.1234", automatic(value, 6, 0, 10.123456789));
    EXPECT_EQ("10.1234", automatic(value, 6, 0, value));
    EXPECT_EQ("10.1235", automatic(value, 6, 0, 10.1235));
    EXPECT_EQ("-10.1234", automatic(-value, 6, -10.123456789, 0));
    EXPECT_EQ("10.124", automatic(10.1234, 5, 10.12335, 20));
    EXPECT_EQ("9.99999", automatic(9.9999999, 6, 0, 9.99999995));
    EXPECT_EQ("9.9", fixed(9.96, 1, 0, 9.97));
    EXPECT_EQ("10", fixed(10.4, 0, 9, 10.45));
    EXPECT_EQ("11", fixed(10.4, 0, 10.2, 20));
    EXPECT_EQ("1.2e+03", scientific(1270, 1, 0, 1280));
    EXPECT_EQ("1.797e+308", automatic(kMost, 4));
    EXPECT_EQ("-1.797e+308", automatic(-kMost, 4));
    EXPECT_EQ("3.4028234e+38",
              automatic(3.4028234663852886e38, 8, -3.4028234663852886e38, 3.4028234663852886e38));
    EXPECT_EQ("0.01", fixed(0.001, 2, 0.0005, 1));
}

TEST(Text, StaysRoundedWhereNoDigitIsInsideOrTheValueIsOutside) {
    EXPECT_EQ("10.1235", automatic(10.1234567, 6, 10.1234567, 10.1234567));
    EXPECT_EQ("11", automatic(11, 6, 0, 10));
    EXPECT_EQ("10.0001", automatic(10.00006, 6, 0, 10));
    EXPECT_EQ("9.99999", automatic(9.999994, 6, 10, 20));
    EXPECT_EQ("-1", automatic(-1, 6, 0, 10));
    EXPECT_EQ("5", automatic(5, 6, 10, 0));
}

TEST(Text, TakesTheFloatThatATextBeginsWith) {
    const Parse<double> parse = [](const auto &text) { return floatOf(text); };
    expectTaken(parse, {{"2.5", 2.5}, {" \t2.5\n", 2.5}, {"2,5", 2.0}, {"2.5x", 2.5}});
    expectTaken(parse, {{"-1e3", -1000.0}, {"+.5", 0.5}, {"5.", 5.0}, {"5e", 5.0}});
    expectTaken(parse, {{"0x10", 16.0}, {" -0x1.8p1z", -3.0}, {"0x", 0.0}});
    expectTaken(parse, {{"1.7976931348623157e308", kMost}});
    expectNone(parse, {"", " ", "abc", "-", "+", ".", "+-1", "- 1", "inf", "-inf", "INFINITY",
                       "nan", "NAN(1)", "1e400", "-1e400", "0x1p5000"});
}

TEST(Text, IsTheSameInALocaleWithADecimalComma) {
    for (const char *locale : {"de_DE.UTF-8", "fr_FR.UTF-8", "de_DE"})
        if (std::setlocale(LC_ALL, locale))
            break;
    if (std::localeconv()->decimal_point != std::string(","))
        GTEST_SKIP() << "no such locale is installed";
    EXPECT_EQ("2.5", automatic(2.5));
    EXPECT_EQ("12345.50", fixed(12345.5, 2));
    EXPECT_THAT(floatOf("2.5"), Optional(2.5));
    EXPECT_THAT(floatOf("2,5"), Optional(2.0));
    EXPECT_THAT(floatOfDescription("2.5"), Optional(2.5));
    std::setlocale(LC_ALL, "C");
}

// ---- Booleans, bytes ----

TEST(Text, OfABooleanIsOneOfFourWithBlanksAround) {
    const Parse<bool> parse = [](const auto &text) { return booleanOf(text); };
    expectTaken(parse, {{"1", true}, {"true", true}, {" true", true}, {"1\t\n", true}});
    expectTaken(parse, {{"0", false}, {"false", false}, {"false ", false}, {" 0", false}});
    expectNone(parse, {"", " ", "True", "FALSE", "2", "-1", "on", "true false", "10"});
}

TEST(Text, OfBytesIsTwoDigitsEach) {
    EXPECT_EQ("0x00a1ff", textOf(std::vector<uint8_t>{0x00, 0xA1, 0xFF}));
    EXPECT_EQ("0x", textOf(std::vector<uint8_t>{}));
    for (const char *text : {"0x00a1ff", "00a1ff", "00A1FF", "0X00a1Ff"})
        EXPECT_THAT(bytesOf(text), Optional(ElementsAre(0x00, 0xA1, 0xFF))) << text;
    for (const char *text : {"", "0x", "0", "0x123", "0g", " 00", "00 ", "00 11", "x00", "0x0x00"})
        EXPECT_EQ(std::nullopt, bytesOf(text)) << text;
}

} // namespace
