// Kinds of nodes, their values, ranges and increments, and where their bytes lie.

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "support.h"

namespace {

using GenApi_3_0::IBoolean;
using GenApi_3_0::IEnumEntry;
using GenApi_3_0::IEnumeration;
using GenApi_3_0::IFloat;
using GenApi_3_0::IInteger;
using GenApi_3_0::INode;
using GenApi_3_0::IValue;
using GenApi_3_0::NA;
using GenApi_3_0::RO;
using GenApi_3_0::RW;
using GenICam_3_0::AccessException;
using GenICam_3_0::LogicalErrorException;
using GenICam_3_0::OutOfRangeException;
using GenICam_3_0::RuntimeException;
using testing::ElementsAre;

constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();
constexpr double kLimit = std::numeric_limits<double>::max();
constexpr double kFloatLimit = std::numeric_limits<float>::max();

void expectRange(IInteger &node, int64_t min, int64_t max, int64_t inc = 1) {
    EXPECT_EQ(min, node.GetMin());
    EXPECT_EQ(max, node.GetMax());
    EXPECT_EQ(inc, node.GetInc());
}

void expectRange(IFloat &node, double min, double max) {
    EXPECT_EQ(min, node.GetMin());
    EXPECT_EQ(max, node.GetMax());
    EXPECT_FALSE(node.HasInc());
    EXPECT_EQ(
        0, node.GetInc()); // GenICam's own GenApi raises here; whoever has not asked first gets 0
}

void expectInc(double inc, IFloat &node) {
    EXPECT_TRUE(node.HasInc());
    EXPECT_EQ(inc, node.GetInc());
}

std::string ranged(const std::string &name, int64_t value, int64_t min, int64_t max, int64_t inc) {
    return element("Integer", name,
                   "<Value>" + std::to_string(value) + "</Value><Min>" + std::to_string(min) +
                       "</Min><Max>" + std::to_string(max) + "</Max><Inc>" + std::to_string(inc) +
                       "</Inc>");
}

// Which of the value interfaces a node has, as letters: Value, Integer, Float, Boolean, eNumeration,
// Entry.
std::string kindsOf(INode &node) {
    std::string kinds;
    if (dynamic_cast<IValue *>(&node))
        kinds += 'V';
    if (dynamic_cast<IInteger *>(&node))
        kinds += 'I';
    if (dynamic_cast<IFloat *>(&node))
        kinds += 'F';
    if (dynamic_cast<IBoolean *>(&node))
        kinds += 'B';
    if (dynamic_cast<IEnumeration *>(&node))
        kinds += 'N';
    if (dynamic_cast<IEnumEntry *>(&node))
        kinds += 'E';
    return kinds;
}

TEST(Values, AreOfTheKindOfTheirElement) {
    Camera camera(
        constant("Integer", 1) + intReg("IntReg", 0) +
        element("MaskedIntReg", "MaskedIntReg", place(0, 4) + "<Bit>1</Bit>" + kUnsignedBig) +
        element("IntSwissKnife", "IntSwissKnife", "<Formula>1</Formula>") +
        element(
            "IntConverter", "IntConverter",
            "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>Integer</pValue>") +
        constantFloat("Float", "1") + element("FloatReg", "FloatReg", place(0, 4) + kBig) +
        element("SwissKnife", "SwissKnife", "<Formula>1</Formula>") +
        element("Converter", "Converter",
                "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>Float</pValue>") +
        element("Boolean", "Boolean", "<Value>true</Value>") +
        element("Enumeration", "Enumeration",
                R"(<EnumEntry Name="A"><Value>1</Value></EnumEntry><Value>1</Value>)") +
        element("Command", "Command", "<pValue>IntReg</pValue><CommandValue>1</CommandValue>") +
        element("String", "String", "<Value>x</Value>") +
        element("StringReg", "StringReg", place(0, 4)) +
        element("Register", "Register", place(0, 4)) +
        element("Category", "Category", "<pFeature>Integer</pFeature>") +
        R"(<StructReg Comment="StructReg"><Address>0</Address><Length>4</Length>
             <AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>BigEndian</Endianess>
             <StructEntry Name="StructEntry"><Bit>1</Bit></StructEntry></StructReg>)");

    const std::pair<const char *, const char *> kinds[] = {
        {"Integer", "VI"},     {"IntReg", "VI"},        {"MaskedIntReg", "VI"},
        {"StructEntry", "VI"}, {"IntSwissKnife", "VI"}, {"IntConverter", "VI"},
        {"Float", "VF"},       {"FloatReg", "VF"},      {"SwissKnife", "VF"},
        {"Converter", "VF"},   {"Boolean", "VB"},       {"Enumeration", "VN"},
        {"Command", "V"},      {"String", "V"},         {"StringReg", "V"},
        {"Register", "V"},     {"Category", "V"},       {"EnumEntry_Enumeration_A", "VE"},
        {"Device", ""}, // a port
    };
    for (const auto &[name, expected] : kinds)
        EXPECT_EQ(expected, kindsOf(camera.node(name))) << name;
    EXPECT_EQ(nullptr, camera.map.GetNode("StructReg"));
}

TEST(Values, OfAFormulaInAnAddressAreNoNode) {
    Camera camera(element("IntReg", "R",
                          R"(<IntSwissKnife Name="Where"><Formula>8+8</Formula></IntSwissKnife>
                             <Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>)" +
                              std::string(kUnsignedBig)));
    camera.memory.put32(16, 7);

    EXPECT_EQ(7, camera.integer("R").GetValue());
    EXPECT_EQ(nullptr, camera.map.GetNode("Where"));
}

TEST(Values, OfAnIntegerAreItsNumberAndUnlimited) {
    Camera camera(constant("A", -5));

    EXPECT_EQ(-5, camera.integer("A").GetValue());
    expectRange(camera.integer("A"), kLowest, kHighest);
    camera.integer("A").SetValue(kHighest);
    EXPECT_EQ(kHighest, camera.integer("A").GetValue());
}

TEST(Values, OfAnIntegerWithATargetAreTheTargets) {
    Camera camera(element("Integer", "A", "<pValue>B</pValue>") + ranged("B", 20, 10, 100, 5));

    EXPECT_EQ(20, camera.integer("A").GetValue());
    expectRange(camera.integer("A"), 10, 100, 5);
    camera.integer("A").SetValue(25);
    EXPECT_EQ(25, camera.integer("B").GetValue());
}

TEST(Values, OfAFloatAreItsNumberAndUnlimited) {
    Camera camera(constantFloat("F", "-2.5e3"));

    EXPECT_EQ(-2500, camera.floating("F").GetValue());
    expectRange(camera.floating("F"), -kLimit, kLimit);
    camera.floating("F").SetValue(0.1);
    EXPECT_EQ(0.1, camera.floating("F").GetValue());
}

TEST(Values, OfAFloatWithATargetAreTheTargets) {
    Camera camera(element("Float", "F", "<pValue>G</pValue>") +
                  element("Float", "G", "<Value>2</Value><Min>1</Min><Max>3</Max><Inc>0.25</Inc>"));

    EXPECT_EQ(2, camera.floating("F").GetValue());
    EXPECT_EQ(1, camera.floating("F").GetMin());
    EXPECT_EQ(3, camera.floating("F").GetMax());
    expectInc(0.25, camera.floating("F"));
    camera.floating("F").SetValue(2.75);
    EXPECT_EQ(2.75, camera.floating("G").GetValue());
}

TEST(Values, OfFormulasAreUnlimitedAndReadOnly) {
    Camera camera(element("IntSwissKnife", "I", "<Formula>6*7</Formula>") +
                  element("SwissKnife", "F", "<Formula>1/8</Formula>"));

    EXPECT_EQ(42, camera.integer("I").GetValue());
    EXPECT_EQ(0.125, camera.floating("F").GetValue());
    expectRange(camera.integer("I"), kLowest, kHighest);
    expectRange(camera.floating("F"), -kLimit, kLimit);
    EXPECT_EQ(RO, camera.mode("I"));
    EXPECT_EQ(RO, camera.mode("F"));
}

TEST(Values, HaveTheirOwnBoundsInPlaceOfTheTargetsOneByOne) {
    Camera camera(
        ranged("T", 20, 10, 100, 5) + constant("Three", 3) +
        element("Integer", "Max", "<pValue>T</pValue><Max>500</Max>") +
        element("Integer", "Min", "<pValue>T</pValue><Min>-7</Min>") +
        element("Integer", "Inc", "<pValue>T</pValue><Inc>2</Inc>") +
        element("Integer", "References",
                "<pValue>T</pValue><pMin>Three</pMin><pMax>Three</pMax><pInc>Three</pInc>"));

    expectRange(camera.integer("Max"), 10, 500, 5);
    expectRange(camera.integer("Min"), -7, 100, 5);
    expectRange(camera.integer("Inc"), 10, 100, 2);
    expectRange(camera.integer("References"), 3, 3, 3);
}

TEST(Values, OfFloatsHaveTheirOwnBoundsToo) {
    Camera camera(element("Float", "T", "<Value>2</Value><Min>1</Min><Max>3</Max><Inc>0.25</Inc>") +
                  constantFloat("Half", "0.5") +
                  element("Float", "Max", "<pValue>T</pValue><Max>500</Max>") +
                  element("Float", "Inc", "<pValue>T</pValue><pMin>Half</pMin><pInc>Half</pInc>"));

    EXPECT_EQ(1, camera.floating("Max").GetMin());
    EXPECT_EQ(500, camera.floating("Max").GetMax());
    expectInc(0.25, camera.floating("Max"));
    EXPECT_EQ(0.5, camera.floating("Inc").GetMin());
    EXPECT_EQ(3, camera.floating("Inc").GetMax());
    expectInc(0.5, camera.floating("Inc"));
}

TEST(Values, HaveBoundsAsTheyAreSaidEvenIfTheyMakeNoSense) {
    Camera camera(ranged("A", 5, 10, 1, 0));

    expectRange(camera.integer("A"), 10, 1, 0);
}

TEST(Values, OfAFloatAreRoundedForAnIntegerHalvesAwayFromZero) {
    const std::pair<const char *, int64_t> cases[] = {
        {"2.4", 2}, {"2.5", 3}, {"-2.4", -2}, {"-2.5", -3}, {"0.49999999999999994", 0}};
    for (const auto &[value, expected] : cases) {
        Camera camera(constantFloat("F", value) + element("Integer", "A", "<pValue>F</pValue>"));
        EXPECT_EQ(expected, camera.integer("A").GetValue()) << value;
    }
}

TEST(Values, OfAFloatAreRoundedAsBoundsIncrementsIndicesAndAddressesToo) {
    Camera camera(
        constantFloat("F", "1.5") + constantFloat("G", "9.5") + constantFloat("Where", "15.5") +
        element("Integer", "A", "<Value>4</Value><pMin>F</pMin><pMax>G</pMax><pInc>F</pInc>") +
        element("Integer", "Over", "<pValue>Ranged</pValue>") +
        element("Float", "Ranged", "<Value>5</Value><Min>1.5</Min><Max>9.5</Max><Inc>2.5</Inc>") +
        element("IntReg", "ByAddress",
                "<pAddress>Where</pAddress><Length>4</Length><AccessMode>RW</AccessMode>"
                "<pPort>Device</pPort>" +
                    std::string(kUnsignedBig)) +
        element("IntReg", "ByIndex",
                "<pIndex>F</pIndex><Length>4</Length><AccessMode>RW</AccessMode>"
                "<pPort>Device</pPort>" +
                    std::string(kUnsignedBig)));
    camera.memory.put32(16, 16);
    camera.memory.put32(8, 8);

    expectRange(camera.integer("A"), 2, 10, 2);
    expectRange(camera.integer("Over"), 2, 10, 1); // the float's increment does not count
    EXPECT_EQ(16, camera.integer("ByAddress").GetValue());
    EXPECT_EQ(8, camera.integer("ByIndex").GetValue());
}

TEST(Values, OfAFloatThatNoIntegerHoldsRaise) {
    Camera camera(constantFloat("F", "1e19") + element("Integer", "A", "<pValue>F</pValue>") +
                  element("FloatReg", "Plain", place(0, 4) + kBig) +
                  element("Integer", "OverPlain", "<pValue>Plain</pValue>"));

    EXPECT_THROW(camera.integer("A").GetValue(), RuntimeException);
    EXPECT_EQ(0, camera.integer("OverPlain").GetValue());
    EXPECT_THROW(camera.integer("OverPlain").GetMin(), RuntimeException);
    EXPECT_THROW(camera.integer("OverPlain").GetMax(), RuntimeException);
    EXPECT_EQ(1, camera.integer("OverPlain").GetInc());

    camera.memory.put32(0, 0x7FC00000); // no number
    EXPECT_THROW(camera.integer("OverPlain").GetValue(), RuntimeException);
}

TEST(Values, OfAnIntegerMakeAFloatWithItsBoundsAndIncrement) {
    Camera camera(ranged("I", 20, 10, 100, 5) + intReg("R", 0) +
                  element("Float", "OverInteger", "<pValue>I</pValue>") +
                  element("Float", "OverRegister", "<pValue>R</pValue>"));

    EXPECT_EQ(20, camera.floating("OverInteger").GetValue());
    EXPECT_EQ(10, camera.floating("OverInteger").GetMin());
    EXPECT_EQ(100, camera.floating("OverInteger").GetMax());
    expectInc(5, camera.floating("OverInteger"));
    EXPECT_EQ(0, camera.floating("OverRegister").GetMin());
    EXPECT_EQ(4294967295.0, camera.floating("OverRegister").GetMax());
    expectInc(1, camera.floating("OverRegister"));
}

const char *const kEnumeration = R"(<Enumeration Name="E"><EnumEntry Name="One"><Value>1</Value>
    </EnumEntry><EnumEntry Name="Three"><Value>3</Value></EnumEntry><pValue>R</pValue></Enumeration>)";

TEST(Values, OfEnumerationsAndBooleansMakeUnlimitedNumbers) {
    Camera camera(kEnumeration + intReg("R", 0) + intReg("S", 4) +
                  element("Boolean", "B", "<pValue>S</pValue>") +
                  element("Integer", "OverE", "<pValue>E</pValue>") +
                  element("Integer", "OverB", "<pValue>B</pValue>") +
                  element("Float", "FloatOverE", "<pValue>E</pValue>"));
    camera.memory.put32(0, 3);
    camera.memory.put32(4, 1);

    EXPECT_EQ(3, camera.integer("OverE").GetValue());
    EXPECT_EQ(1, camera.integer("OverB").GetValue());
    EXPECT_EQ(3, camera.floating("FloatOverE").GetValue());
    expectRange(camera.integer("OverE"), kLowest, kHighest);
    expectRange(camera.integer("OverB"), kLowest, kHighest);
    expectRange(camera.floating("FloatOverE"), -kLimit, kLimit);

    camera.integer("OverE").SetValue(7); // of no entry
    EXPECT_EQ(7u, camera.memory.get32(0));
    camera.integer("OverB").SetValue(0);
    EXPECT_EQ(0u, camera.memory.get32(4));
    camera.integer("OverB").SetValue(1);
    EXPECT_EQ(1u, camera.memory.get32(4));
}

TEST(Values, OfEveryNumericKindMayStandBelowBooleansAndEnumerations) {
    const std::string entry = R"(<EnumEntry Name="On"><Value>1</Value></EnumEntry>)";
    Camera camera(constantFloat("F", "1") + constant("I", 1) +
                  element("Boolean", "B", "<Value>1</Value>") +
                  element("Enumeration", "E", entry + "<Value>1</Value>") +
                  element("Boolean", "BoolF", "<pValue>F</pValue>") +
                  element("Boolean", "BoolB", "<pValue>B</pValue>") +
                  element("Boolean", "BoolE", "<pValue>E</pValue>") +
                  element("Enumeration", "EnumF", entry + "<pValue>F</pValue>") +
                  element("Enumeration", "EnumB", entry + "<pValue>B</pValue>") +
                  element("Enumeration", "EnumE", entry + "<pValue>E</pValue>"));

    for (const char *name : {"BoolF", "BoolB", "BoolE"})
        EXPECT_TRUE(camera.boolean(name).GetValue()) << name;
    for (const char *name : {"EnumF", "EnumB", "EnumE"})
        EXPECT_EQ("On", camera.text(name)) << name;
}

TEST(Values, OfAFloatOverAFloatHaveItsIncrementOverAFormulaNone) {
    Camera camera(element("Float", "T", "<Value>2</Value><Inc>0.5</Inc>") +
                  element("SwissKnife", "K", "<Formula>1</Formula>") +
                  element("Converter", "C",
                          "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>"
                          "<pValue>T</pValue>") +
                  element("Float", "OverFloat", "<pValue>T</pValue>") +
                  element("Float", "OverKnife", "<pValue>K</pValue>") +
                  element("Float", "OverConverter", "<pValue>C</pValue>"));

    expectInc(0.5, camera.floating("OverFloat"));
    EXPECT_FALSE(camera.floating("OverKnife").HasInc());
    EXPECT_FALSE(camera.floating("OverConverter").HasInc());
}

TEST(Values, OfIntegerRegistersAreLimitedByTheirLength) {
    for (int length = 1; length <= 8; ++length) {
        Camera camera(element("IntReg", "U", place(0, length) + kUnsignedBig) +
                      element("IntReg", "S", place(0, length) + kSignedBig) +
                      element("IntReg", "Unsaid", place(0, length) + kBig));
        const int64_t half = length == 8 ? kLowest : -(int64_t{1} << (8 * length - 1));
        const int64_t all = length == 8 ? kHighest : (int64_t{1} << (8 * length)) - 1;

        expectRange(camera.integer("U"), 0, all);
        expectRange(camera.integer("S"), half, -(half + 1));
        expectRange(camera.integer("Unsaid"), 0, all);

        camera.memory.put(0, std::vector<uint8_t>(static_cast<size_t>(length), 0xFF));
        EXPECT_EQ(length == 8 ? -1 : all, camera.integer("U").GetValue()) << length;
        EXPECT_EQ(-1, camera.integer("S").GetValue()) << length;
    }
}

TEST(Values, OfRegistersAreInTheByteOrderSaid) {
    Camera camera(
        element("IntReg", "Big", place(0, 3) + kUnsignedBig) +
        element("IntReg", "Little",
                place(0, 3) + "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>") +
        element("FloatReg", "BigFloat", place(8, 4) + kBig) +
        element("FloatReg", "LittleDouble", place(16, 8) + "<Endianess>LittleEndian</Endianess>"));
    camera.memory.put(0, {1, 2, 3});
    camera.memory.put(8, {0x3F, 0xC0, 0, 0});
    camera.memory.put(16, {0, 0, 0, 0, 0, 0, 0x04, 0xC0});

    EXPECT_EQ(0x010203, camera.integer("Big").GetValue());
    EXPECT_EQ(0x030201, camera.integer("Little").GetValue());
    EXPECT_EQ(1.5, camera.floating("BigFloat").GetValue());
    EXPECT_EQ(-2.5, camera.floating("LittleDouble").GetValue());

    camera.integer("Little").SetValue(0x0A0B0C);
    camera.floating("BigFloat").SetValue(-2.5);
    EXPECT_THAT(camera.memory.get(0, 3), ElementsAre(0x0C, 0x0B, 0x0A));
    EXPECT_THAT(camera.memory.get(8, 4), ElementsAre(0xC0, 0x20, 0, 0));
}

TEST(Values, TellThePortTheirByteOrder) {
    class Listener : public Memory {
    public:
        void read(uint64_t address, uint8_t *bytes, size_t size, genapi::ByteOrder order) override {
            orders.push_back(order);
            Memory::read(address, bytes, size, order);
        }
        void write(uint64_t address, const uint8_t *bytes, size_t size,
                   genapi::ByteOrder order) override {
            orders.push_back(order);
            Memory::write(address, bytes, size, order);
        }
        std::vector<genapi::ByteOrder> orders;
    } memory;
    genapi::NodeMap map(describe(intReg("Big", 0) +
                                 element("FloatReg", "Little",
                                         place(8, 4) + "<Endianess>LittleEndian</Endianess>") +
                                 element("StringReg", "Text", place(16, 8))),
                        memory);

    for (const char *name : {"Big", "Little", "Text"})
        dynamic_cast<IValue *>(map.GetNode(name))->ToString();
    dynamic_cast<IInteger *>(map.GetNode("Big"))->SetValue(1);

    EXPECT_THAT(memory.orders, ElementsAre(genapi::ByteOrder::Big, genapi::ByteOrder::Little,
                                           genapi::ByteOrder::None, genapi::ByteOrder::Big));
}

TEST(Values, OfFloatRegistersAreLimitedByTheirFormat) {
    Camera camera(element("FloatReg", "F", place(0, 4) + kBig) +
                  element("FloatReg", "D", place(0, 8) + kBig) +
                  element("Float", "OverF", "<pValue>F</pValue>"));

    expectRange(camera.floating("F"), -kFloatLimit, kFloatLimit);
    expectRange(camera.floating("D"), -kLimit, kLimit);
    expectRange(camera.floating("OverF"), -kFloatLimit, kFloatLimit);
}

TEST(Values, OfARegisterWhoseLengthHoldsNoNumberRaiseEachTime) {
    for (const int length : {0, 9, 100}) {
        Camera camera(element("IntReg", "R", place(0, length) + kUnsignedBig));
        EXPECT_THROW(camera.integer("R").GetValue(), OutOfRangeException) << length;
        EXPECT_THROW(camera.integer("R").SetValue(0), OutOfRangeException) << length;
        EXPECT_THROW(camera.integer("R").GetValue(), OutOfRangeException) << length;
    }
    for (const int length : {0, 1, 2, 3, 5, 7, 9}) {
        Camera camera(element("FloatReg", "R", place(0, length) + kBig));
        EXPECT_THROW(camera.floating("R").GetValue(), OutOfRangeException) << length;
        EXPECT_THROW(camera.floating("R").SetValue(0), OutOfRangeException) << length;
    }
}

TEST(Values, FollowALengthThatIsAnotherNodes) {
    Camera camera(constant("L", 2) +
                  element("IntReg", "R",
                          "<Address>0</Address><pLength>L</pLength><AccessMode>RW</AccessMode>"
                          "<pPort>Device</pPort>" +
                              std::string(kUnsignedBig)));
    camera.memory.put(0, {1, 2, 3, 4});

    EXPECT_EQ(0x0102, camera.integer("R").GetValue());
    EXPECT_EQ(0xFFFF, camera.integer("R").GetMax());
    camera.integer("L").SetValue(3);
    EXPECT_EQ(0x010203, camera.integer("R").GetValue());
    EXPECT_EQ(0xFFFFFF, camera.integer("R").GetMax());
}

std::string masked(const std::string &name, const std::string &bits, const std::string &sign,
                   const std::string &order, int length = 4) {
    return element("MaskedIntReg", name,
                   place(0, length) + bits + "<Sign>" + sign + "</Sign><Endianess>" + order +
                       "Endian</Endianess>");
}

TEST(Values, OfBitsCountFromTheLeastSignificantInLittleEndian) {
    Camera camera(masked("Low", "<LSB>0</LSB><MSB>3</MSB>", "Unsigned", "Little") +
                  masked("Middle", "<LSB>4</LSB><MSB>11</MSB>", "Unsigned", "Little") +
                  masked("Bit", "<Bit>31</Bit>", "Unsigned", "Little"));
    camera.memory.put(0, {0x21, 0x43, 0x65, 0x87}); // 0x87654321

    EXPECT_EQ(0x1, camera.integer("Low").GetValue());
    EXPECT_EQ(0x32, camera.integer("Middle").GetValue());
    EXPECT_EQ(1, camera.integer("Bit").GetValue());
    expectRange(camera.integer("Middle"), 0, 255);
    expectRange(camera.integer("Bit"), 0, 1);
}

TEST(Values, OfBitsCountFromTheMostSignificantInBigEndian) {
    Camera camera(masked("Low", "<LSB>31</LSB><MSB>28</MSB>", "Unsigned", "Big") +
                  masked("Middle", "<LSB>27</LSB><MSB>20</MSB>", "Unsigned", "Big") +
                  masked("Bit", "<Bit>0</Bit>", "Unsigned", "Big") +
                  masked("Short", "<LSB>15</LSB><MSB>12</MSB>", "Unsigned", "Big", 2));
    camera.memory.put32(0, 0x87654321);

    EXPECT_EQ(0x1, camera.integer("Low").GetValue());
    EXPECT_EQ(0x32, camera.integer("Middle").GetValue());
    EXPECT_EQ(1, camera.integer("Bit").GetValue());
    EXPECT_EQ(0x5, camera.integer("Short").GetValue()); // of 0x8765
}

TEST(Values, OfBitsAreSignedIfSaid) {
    Camera camera(masked("Four", "<LSB>31</LSB><MSB>28</MSB>", "Signed", "Big") +
                  masked("One", "<Bit>31</Bit>", "Signed", "Big") +
                  masked("Most", "<LSB>63</LSB><MSB>1</MSB>", "Unsigned", "Big", 8));
    camera.memory.put32(0, 0x0000000F);

    EXPECT_EQ(-1, camera.integer("Four").GetValue());
    expectRange(camera.integer("Four"), -8, 7);
    EXPECT_EQ(-1, camera.integer("One").GetValue());
    expectRange(camera.integer("One"), -1, 0);
    expectRange(camera.integer("Most"), 0, kHighest);
}

// GenICam's own GenApi has a maximum of -1 here, so that nothing can be written.
TEST(Values, OfAll64BitsAreLimitedAsThoseOfTheWholeRegister) {
    Camera camera(masked("All", "<LSB>63</LSB><MSB>0</MSB>", "Unsigned", "Big", 8));

    expectRange(camera.integer("All"), 0, kHighest);
}

TEST(Values, WrittenToBitsLeaveTheOthers) {
    Camera camera(masked("Middle", "<LSB>27</LSB><MSB>20</MSB>", "Unsigned", "Big"));
    camera.memory.put32(0, 0x87654321);

    camera.integer("Middle").SetValue(0xAB);

    EXPECT_EQ(0x87654AB1u, camera.memory.get32(0));
}

TEST(Values, OfAStructsEntriesShareItsRegister) {
    Camera camera(constant("Base", 16) +
                  R"(<StructReg Comment="Status"><Address>4</Address><pAddress>Base</pAddress>
                       <Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
                       <Cachable>NoCache</Cachable><Endianess>LittleEndian</Endianess>
                       <StructEntry Name="Bit"><Bit>1</Bit></StructEntry>
                       <StructEntry Name="Signed"><LSB>4</LSB><MSB>7</MSB><Sign>Signed</Sign>
                       </StructEntry>
                       <StructEntry Name="ReadOnly"><AccessMode>RO</AccessMode><LSB>8</LSB>
                         <MSB>15</MSB></StructEntry></StructReg>)");
    camera.memory.put(20, {0xF2, 0x34, 0, 0});

    EXPECT_EQ(1, camera.integer("Bit").GetValue());
    EXPECT_EQ(-1, camera.integer("Signed").GetValue());
    EXPECT_EQ(0x34, camera.integer("ReadOnly").GetValue());
    EXPECT_EQ(RW, camera.mode("Bit"));
    EXPECT_EQ(RO, camera.mode("ReadOnly"));
    EXPECT_EQ(3u, camera.memory.accesses().size()); // NoCache is inherited, too

    camera.integer("Bit").SetValue(0);
    EXPECT_THAT(camera.memory.get(20, 4), ElementsAre(0xF0, 0x34, 0, 0));
}

// An unsigned register of 4 bytes, big endian, not kept, at a place of these elements.
std::string at(const std::string &name, const std::string &where) {
    return element("IntReg", name,
                   where +
                       "<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
                       "<Cachable>NoCache</Cachable>" +
                       kUnsignedBig);
}

TEST(Values, LieAtTheSumOfAllPartsOfAnAddress) {
    Camera camera(constant("A", 0x100) + constant("B", 0x20) +
                  at("R", "<Address>0x1000</Address><pAddress>A</pAddress><Address>2</Address>"
                          R"(<IntSwissKnife Name="Inside"><pVariable Name="V">B</pVariable>
                   <Formula>V*2</Formula></IntSwissKnife><pAddress>B</pAddress>)"));

    camera.integer("R").GetValue();
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0x1162)));
}

TEST(Values, LieWhereTheirIndicesSay) {
    Camera camera(constant("I", 3) + constant("Stride", 16) +
                  R"(<Enumeration Name="E"><EnumEntry Name="Two"><Value>2</Value></EnumEntry>
                     <Value>2</Value></Enumeration>)" +
                  at("Offset", R"(<Address>100</Address><pIndex Offset="8">I</pIndex>)") +
                  at("Referred", R"(<Address>100</Address><pIndex pOffset="Stride">I</pIndex>)") +
                  at("ByLength", "<Address>100</Address><pIndex>I</pIndex>") +
                  at("Enumerated", R"(<Address>100</Address><pIndex Offset="8">E</pIndex>)") +
                  at("Two", R"(<Address>100</Address><pIndex Offset="8">I</pIndex>
                               <pIndex Offset="100">E</pIndex>)"));
    const std::pair<const char *, uint64_t> places[] = {
        {"Offset", 124}, {"Referred", 148}, {"ByLength", 112}, {"Enumerated", 116}, {"Two", 324}};
    for (const auto &[name, address] : places) {
        camera.integer(name).GetValue();
        EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(address))) << name;
    }

    camera.integer("I").SetValue(-3);
    camera.integer("Offset").GetValue();
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(76)));
}

TEST(Values, MayLieBeyond32Bits) {
    Camera camera(at("R", "<Address>0x123456789A</Address>"));

    camera.integer("R").GetValue();
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0x123456789A)));
}

// A node over T, from 0 to 100.
std::string converted(const std::string &kind, const std::string &to, const std::string &from,
                      const std::string &more) {
    return element(kind, "C",
                   "<FormulaTo>" + to + "</FormulaTo><FormulaFrom>" + from +
                       "</FormulaFrom><pValue>T</pValue>" + more) +
           ranged("T", 40, 0, 100, 5);
}

TEST(Values, AreConvertedBothWays) {
    Camera camera(converted("Converter", "FROM*2", "TO/2", ""));

    EXPECT_EQ(20, camera.floating("C").GetValue());
    camera.floating("C").SetValue(32.5);
    EXPECT_EQ(65, camera.integer("T").GetValue());

    Camera whole(converted("IntConverter", "FROM-1", "TO+1", "<Slope>Increasing</Slope>"));
    EXPECT_EQ(41, whole.integer("C").GetValue());
    whole.integer("C").SetValue(61);
    EXPECT_EQ(60, whole.integer("T").GetValue());
    EXPECT_EQ(1, whole.integer("C").GetInc());
}

TEST(Values, ConvertedHaveBoundsByTheSlope) {
    struct {
        const char *slope;
        const char *from;
        double min, max;
    } cases[] = {
        {"<Slope>Increasing</Slope>", "TO+1", 1, 101},
        {"<Slope>Increasing</Slope>", "1-TO", 1, -99}, // not sorted
        {"<Slope>Decreasing</Slope>", "1-TO", -99, 1},
        {"<Slope>Decreasing</Slope>", "TO+1", 101, 1}, // not sorted
        {"<Slope>Automatic</Slope>", "TO+1", 1, 101},
        {"<Slope>Automatic</Slope>", "1-TO", -99, 1},
        {"", "1-TO", -99, 1},
        {"<Slope>Varying</Slope>", "TO+1", -kLimit, kLimit},
    };
    for (const auto &[slope, from, min, max] : cases) {
        SCOPED_TRACE(std::string(slope) + from);
        Camera camera(converted("Converter", "FROM", from, slope));
        expectRange(camera.floating("C"), min, max);
        if (*slope && std::abs(min) < kLimit) {
            Camera whole(converted("IntConverter", "FROM", from, slope));
            expectRange(whole.integer("C"), static_cast<int64_t>(min), static_cast<int64_t>(max));
        }
    }
    Camera varying(converted("IntConverter", "FROM", "TO", "<Slope>Varying</Slope>"));
    expectRange(varying.integer("C"), kLowest, kHighest);
}

TEST(Values, OfAnIntConverterWithoutASlopeMayOnlyBe0) {
    Camera camera(converted("IntConverter", "FROM", "TO", ""));

    expectRange(camera.integer("C"), 0, 0);
    EXPECT_EQ(40, camera.integer("C").GetValue());
    EXPECT_THROW(camera.integer("C").SetValue(5), OutOfRangeException);
    camera.integer("C").SetValue(0);
    EXPECT_EQ(0, camera.integer("T").GetValue());
}

TEST(Values, ConvertedLinearlyHaveTheTargetsIncrementScaled) {
    Camera linear(converted("Converter", "FROM*2", "TO/2", "<IsLinear>Yes</IsLinear>"));
    expectInc(2.5, linear.floating("C"));

    Camera said(converted("Converter", "FROM*2", "TO/2", "<IsLinear>No</IsLinear>"));
    EXPECT_FALSE(said.floating("C").HasInc());
    Camera unsaid(converted("Converter", "FROM*2", "TO/2", ""));
    EXPECT_FALSE(unsaid.floating("C").HasInc());
}

TEST(Values, WithCopiesAreReadFromTheOneAndWrittenToAllInOrder) {
    Camera camera(element("Integer", "A",
                          "<pValueCopy>Before</pValueCopy><pValue>R</pValue>"
                          "<pValueCopy>After</pValueCopy>") +
                  intReg("R", 0) + intReg("Before", 4) + intReg("After", 8));
    camera.memory.put32(0, 5);
    camera.memory.put32(4, 6);

    EXPECT_EQ(5, camera.integer("A").GetValue());
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0)));
    camera.integer("A").SetValue(7);
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(writing(4), writing(0), writing(8)));
    EXPECT_EQ(7u, camera.memory.get32(8));
}

TEST(Values, WithCopiesHaveTheNarrowestRangeAndTheWorstAccess) {
    const std::string copied =
        element("Integer", "A", "<pValue>B</pValue><pValueCopy>C</pValueCopy>");
    Camera camera(copied + ranged("B", 20, 0, 50, 5) + ranged("C", 20, 10, 100, 5));
    expectRange(camera.integer("A"), 10, 50, 5);
    EXPECT_EQ(RW, camera.mode("A"));

    EXPECT_EQ(RO, Camera(copied + intReg("B", 0) + intReg("C", 4, "RO")).mode("A"));
    EXPECT_EQ(NA, Camera(copied + intReg("B", 0, "WO") + intReg("C", 4, "RO")).mode("A"));
}

TEST(Values, WithCopiesOfDifferentIncrementsAreReadOnly) {
    Camera camera(element("Integer", "A", "<pValue>B</pValue><pValueCopy>C</pValueCopy>") +
                  ranged("B", 20, 0, 100, 5) + ranged("C", 20, 0, 100, 10));

    EXPECT_EQ(RO, camera.mode("A"));
    EXPECT_EQ(20, camera.integer("A").GetValue());
    EXPECT_THROW(camera.integer("A").SetValue(30), AccessException);
}

TEST(Values, OfAnIndexAreTheChosenOnesWithItsBounds) {
    Camera camera(constant("Index", 1) + ranged("B", 20, 10, 100, 5) + intReg("R", 0, "RO") +
                  element("Integer", "A",
                          R"(<pIndex>Index</pIndex><ValueIndexed Index="1">11</ValueIndexed>
                             <pValueIndexed Index="2">B</pValueIndexed>
                             <pValueIndexed Index="3">R</pValueIndexed>
                             <ValueDefault>99</ValueDefault>)"));
    IInteger &a = camera.integer("A");

    EXPECT_EQ(11, a.GetValue());
    expectRange(a, kLowest, kHighest);
    a.SetValue(12);
    EXPECT_EQ(12, a.GetValue());

    camera.integer("Index").SetValue(2);
    EXPECT_EQ(20, a.GetValue());
    expectRange(a, 10, 100, 5);
    EXPECT_THROW(a.SetValue(21), OutOfRangeException);
    a.SetValue(25);
    EXPECT_EQ(25, camera.integer("B").GetValue());

    camera.integer("Index").SetValue(3);
    EXPECT_EQ(RO, camera.mode("A"));

    camera.integer("Index").SetValue(-7);
    EXPECT_EQ(99, a.GetValue());
    EXPECT_EQ(RW, camera.mode("A"));
    a.SetValue(98);
    EXPECT_EQ(98, a.GetValue());

    camera.integer("Index").SetValue(1);
    EXPECT_EQ(12, a.GetValue());
}

TEST(Values, OfAnIndexMayBeFloatsAndHaveADefaultElsewhere) {
    Camera camera(constant("Index", 1) +
                  element("Float", "G", "<Value>2</Value><Min>1</Min><Max>3</Max><Inc>0.25</Inc>") +
                  element("Float", "A",
                          R"(<pIndex>Index</pIndex><ValueIndexed Index="1">0.5</ValueIndexed>
                   <pValueDefault>G</pValueDefault>)"));
    IFloat &a = camera.floating("A");

    EXPECT_EQ(0.5, a.GetValue());
    expectRange(a, -kLimit, kLimit);
    camera.integer("Index").SetValue(2);
    EXPECT_EQ(2, a.GetValue());
    EXPECT_EQ(3, a.GetMax());
    expectInc(0.25, a);
}

TEST(Values, DoNotDependOnWhatSelectsThem) {
    Camera camera(element("Integer", "Selector",
                          "<Value>0</Value><Min>0</Min><Max>1</Max><pSelected>A</pSelected>") +
                  ranged("A", 20, 10, 100, 5));

    camera.integer("Selector").SetValue(1);

    EXPECT_EQ(20, camera.integer("A").GetValue());
    expectRange(camera.integer("A"), 10, 100, 5);
    EXPECT_EQ(RW, camera.mode("A"));
}

} // namespace
