// Kinds of nodes, their values, ranges and increments, and where their bytes lie.

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "support.h"

namespace {

using namespace GenApi_3_0;
using std::string;
using testing::Each;
using testing::ElementsAre;

constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();
constexpr double kLimit = std::numeric_limits<double>::max();
constexpr double kFloatLimit = std::numeric_limits<float>::max();
constexpr double kNoInc = 0; // GenICam's own GenApi raises where nobody has asked for it first

void expectRange(Camera &camera, const string &name, int64_t min, int64_t max, int64_t inc = 1) {
    IInteger &node = camera.integer(name);
    EXPECT_THAT((std::vector{node.GetMin(), node.GetMax(), node.GetInc()}),
                ElementsAre(min, max, inc))
        << name;
}

void expectFloatRange(Camera &camera, const string &name, double min, double max,
                      double inc = kNoInc) {
    IFloat &node = camera.floating(name);
    EXPECT_THAT((std::vector{node.GetMin(), node.GetMax(), node.GetInc()}),
                ElementsAre(min, max, inc))
        << name;
    EXPECT_EQ(inc != kNoInc, node.HasInc()) << name;
}

TEST(Values, AreOfTheKindOfTheirElement) {
    Camera camera("Integer Integer Value=1 IntReg IntReg @0 unsigned big "
                  "MaskedIntReg MaskedIntReg @0 Bit=1 unsigned big "
                  "IntSwissKnife IntSwissKnife Formula=1 SwissKnife SwissKnife Formula=1 "
                  "IntConverter IntConverter FormulaTo=FROM FormulaFrom=TO pValue=Integer "
                  "Float Float Value=1 FloatReg FloatReg @0 big "
                  "Converter Converter FormulaTo=FROM FormulaFrom=TO pValue=Float "
                  "Boolean Boolean Value=true Enumeration Enumeration EnumEntry.A=1 Value=1 "
                  "Command Command pValue=IntReg CommandValue=1 String String Value=x "
                  "StringReg StringReg @0 Register Register @0 Category Category pFeature=Integer "
                  "StructReg StructReg @0:: big StructEntry.StructEntry={Bit=1}");

    // Which of the value interfaces a node has: Value, Integer, Float, Boolean, eNumeration, Entry.
    const auto kindsOf = [&camera](const char *name) {
        INode *node = &camera.node(name);
        return string(dynamic_cast<IValue *>(node) ? "V" : "") +
               (dynamic_cast<IInteger *>(node) ? "I" : "") +
               (dynamic_cast<IFloat *>(node) ? "F" : "") +
               (dynamic_cast<IBoolean *>(node) ? "B" : "") +
               (dynamic_cast<IEnumeration *>(node) ? "N" : "") +
               (dynamic_cast<IEnumEntry *>(node) ? "E" : "");
    };
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
        EXPECT_EQ(expected, kindsOf(name)) << name;
    EXPECT_EQ(nullptr, camera.map.GetNode("StructReg"));
}

TEST(Values, OfAFormulaInAnAddressAreNoNode) {
    Camera camera("IntReg R IntSwissKnife.Where={Formula=8+8} @:: unsigned big");
    camera.memory.put32(16, 7);

    EXPECT_EQ(7, camera.get("R"));
    EXPECT_EQ(nullptr, camera.map.GetNode("Where"));
}

TEST(Values, OfNumbersAreTheirOwnAndUnlimited) {
    Camera camera("Integer A Value=-5 Float F Value=-2.5e3");

    EXPECT_EQ(-5, camera.get("A"));
    expectRange(camera, "A", kLowest, kHighest);
    EXPECT_EQ("", camera.set("A", kHighest));
    EXPECT_EQ(kHighest, camera.get("A"));

    EXPECT_EQ(-2500, camera.getFloat("F"));
    expectFloatRange(camera, "F", -kLimit, kLimit);
    EXPECT_EQ("", camera.set("F", 0.1));
    EXPECT_EQ(0.1, camera.getFloat("F"));
}

TEST(Values, OfNumbersWithATargetAreTheTargets) {
    Camera camera("Integer A pValue=B Integer B Value=20 Min=10 Max=100 Inc=5 "
                  "Float F pValue=G Float G Value=2 Min=1 Max=3 Inc=0.25");

    EXPECT_EQ(20, camera.get("A"));
    expectRange(camera, "A", 10, 100, 5);
    EXPECT_EQ("", camera.set("A", 25));
    EXPECT_EQ(25, camera.get("B"));

    EXPECT_EQ(2, camera.getFloat("F"));
    expectFloatRange(camera, "F", 1, 3, 0.25);
    EXPECT_EQ("", camera.set("F", 2.75));
    EXPECT_EQ(2.75, camera.getFloat("G"));
}

TEST(Values, OfFormulasAreUnlimitedAndReadOnly) {
    Camera camera("IntSwissKnife I Formula=6*7 SwissKnife F Formula=1/8");

    EXPECT_EQ(42, camera.get("I"));
    EXPECT_EQ(0.125, camera.getFloat("F"));
    expectRange(camera, "I", kLowest, kHighest);
    expectFloatRange(camera, "F", -kLimit, kLimit);
    EXPECT_THAT(camera.modes("I F"), Each(RO));
}

TEST(Values, HaveTheirOwnBoundsInPlaceOfTheTargetsOneByOne) {
    Camera camera("Integer T Value=20 Min=10 Max=100 Inc=5 Integer Three Value=3 "
                  "Integer Max pValue=T Max=500 Integer Min pValue=T Min=-7 "
                  "Integer Inc pValue=T Inc=2 "
                  "Integer References pValue=T pMin=Three pMax=Three pInc=Three "
                  "Float F Value=2 Min=1 Max=3 Inc=0.25 Float Half Value=0.5 "
                  "Float FMax pValue=F Max=500 Float FInc pValue=F pMin=Half pInc=Half");

    expectRange(camera, "Max", 10, 500, 5);
    expectRange(camera, "Min", -7, 100, 5);
    expectRange(camera, "Inc", 10, 100, 2);
    expectRange(camera, "References", 3, 3, 3);
    expectFloatRange(camera, "FMax", 1, 500, 0.25);
    expectFloatRange(camera, "FInc", 0.5, 3, 0.5);
}

TEST(Values, HaveBoundsAsTheyAreSaidEvenIfTheyMakeNoSense) {
    Camera camera("Integer A Value=5 Min=10 Max=1 Inc=0");
    expectRange(camera, "A", 10, 1, 0);
}

TEST(Values, OfAFloatAreRoundedForAnIntegerHalvesAwayFromZero) {
    for (const auto &[value, expected] :
         {std::pair{"2.4", 2}, {"2.5", 3}, {"-2.4", -2}, {"-2.5", -3}, {"0.49999999999999994", 0}})
        EXPECT_EQ(expected, Camera(with("Float F Value=$ Integer A pValue=F", value)).get("A"))
            << value;
}

TEST(Values, OfAFloatAreRoundedAsBoundsIncrementsIndicesAndAddressesToo) {
    Camera camera("Float F Value=1.5 Float G Value=9.5 Float Where Value=15.5 "
                  "Integer A Value=4 pMin=F pMax=G pInc=F Integer Over pValue=Ranged "
                  "Float Ranged Value=5 Min=1.5 Max=9.5 Inc=2.5 "
                  "IntReg ByAddress pAddress=Where @:: unsigned big "
                  "IntReg ByIndex pIndex=F @:: unsigned big");
    camera.memory.put32(16, 16);
    camera.memory.put32(8, 8);

    expectRange(camera, "A", 2, 10, 2);
    expectRange(camera, "Over", 2, 10, 1); // the float's increment does not count
    EXPECT_THAT(camera.gets("ByAddress ByIndex"), ElementsAre(16, 8));
}

TEST(Values, OfAFloatThatNoIntegerHoldsRaise) {
    Camera camera("Float F Value=1e19 Integer A pValue=F "
                  "FloatReg Plain @0 big Integer OverPlain pValue=Plain");

    EXPECT_EQ("Runtime", camera.refuses("A"));
    IInteger &over = camera.integer("OverPlain");
    EXPECT_EQ(0, over.GetValue());
    EXPECT_EQ("Runtime", raised([&] { over.GetMin(); }));
    EXPECT_EQ("Runtime", raised([&] { over.GetMax(); }));
    EXPECT_EQ(1, over.GetInc());

    camera.memory.put32(0, 0x7FC00000); // no number
    EXPECT_EQ("Runtime", camera.refuses("OverPlain"));
}

TEST(Values, OfAnIntegerMakeAFloatWithItsBoundsAndIncrement) {
    Camera camera("Integer I Value=20 Min=10 Max=100 Inc=5 IntReg R @0 unsigned big "
                  "Float OverInteger pValue=I Float OverRegister pValue=R");

    EXPECT_EQ(20, camera.getFloat("OverInteger"));
    expectFloatRange(camera, "OverInteger", 10, 100, 5);
    expectFloatRange(camera, "OverRegister", 0, 4294967295.0, 1);
}

TEST(Values, OfEnumerationsAndBooleansMakeUnlimitedNumbers) {
    Camera camera("Enumeration E EnumEntry.One=1 EnumEntry.Three=3 pValue=R "
                  "IntReg R @0 unsigned big IntReg S @4 unsigned big Boolean B pValue=S "
                  "Integer OverE pValue=E Integer OverB pValue=B Float FloatOverE pValue=E");
    camera.memory.put32(0, 3);
    camera.memory.put32(4, 1);

    EXPECT_THAT(camera.gets("OverE OverB"), ElementsAre(3, 1));
    EXPECT_EQ(3, camera.getFloat("FloatOverE"));
    expectRange(camera, "OverE", kLowest, kHighest);
    expectRange(camera, "OverB", kLowest, kHighest);
    expectFloatRange(camera, "FloatOverE", -kLimit, kLimit);

    EXPECT_EQ("", camera.set("OverE", 7)); // of no entry
    EXPECT_EQ(7u, camera.memory.get32(0));
    for (const uint32_t on : {0u, 1u}) {
        EXPECT_EQ("", camera.set("OverB", on));
        EXPECT_EQ(on, camera.memory.get32(4));
    }
}

TEST(Values, OfEveryNumericKindMayStandBelowBooleansAndEnumerations) {
    Camera camera("Float F Value=1 Integer I Value=1 Boolean B Value=1 "
                  "Enumeration E EnumEntry.On=1 Value=1 "
                  "Boolean BoolF pValue=F Boolean BoolB pValue=B Boolean BoolE pValue=E "
                  "Enumeration EnumF EnumEntry.On=1 pValue=F "
                  "Enumeration EnumB EnumEntry.On=1 pValue=B "
                  "Enumeration EnumE EnumEntry.On=1 pValue=E");

    for (const char *name : {"BoolF", "BoolB", "BoolE"})
        EXPECT_TRUE(camera.boolean(name).GetValue()) << name;
    EXPECT_THAT(camera.texts("EnumF EnumB EnumE"), Each("On"));
}

TEST(Values, OfAFloatOverAFloatHaveItsIncrementOverAFormulaNone) {
    Camera camera("Float T Value=2 Inc=0.5 SwissKnife K Formula=1 "
                  "Converter C FormulaTo=FROM FormulaFrom=TO pValue=T "
                  "Float OverFloat pValue=T Float OverKnife pValue=K Float OverConverter pValue=C");

    for (const auto &[name, inc] :
         {std::pair{"OverFloat", 0.5}, {"OverKnife", kNoInc}, {"OverConverter", kNoInc}})
        expectFloatRange(camera, name, -kLimit, kLimit, inc);
}

TEST(Values, OfIntegerRegistersAreLimitedByTheirLength) {
    for (int length = 1; length <= 8; ++length) {
        Camera camera(with("IntReg U @0+$ unsigned big IntReg S @0+$ signed big "
                           "IntReg Unsaid @0+$ big",
                           std::to_string(length)));
        const int64_t half = length == 8 ? kLowest : -(int64_t{1} << (8 * length - 1));
        const int64_t all = length == 8 ? kHighest : (int64_t{1} << (8 * length)) - 1;

        expectRange(camera, "U", 0, all);
        expectRange(camera, "S", half, -(half + 1));
        expectRange(camera, "Unsaid", 0, all);

        camera.memory.put(0, std::vector<uint8_t>(static_cast<size_t>(length), 0xFF));
        EXPECT_THAT(camera.gets("U S"), ElementsAre(length == 8 ? -1 : all, -1)) << length;
    }
}

TEST(Values, OfRegistersAreInTheByteOrderSaid) {
    Camera camera("IntReg Big @0+3 unsigned big IntReg Little @0+3 unsigned little "
                  "FloatReg BigFloat @8 big FloatReg LittleDouble @16+8 little");
    camera.memory.put(0, {1, 2, 3});
    camera.memory.put(8, {0x3F, 0xC0, 0, 0});
    camera.memory.put(16, {0, 0, 0, 0, 0, 0, 0x04, 0xC0});

    EXPECT_THAT(camera.gets("Big Little"), ElementsAre(0x010203, 0x030201));
    EXPECT_EQ(1.5, camera.getFloat("BigFloat"));
    EXPECT_EQ(-2.5, camera.getFloat("LittleDouble"));

    EXPECT_EQ("", camera.set("Little", 0x0A0B0C));
    EXPECT_EQ("", camera.set("BigFloat", -2.5));
    EXPECT_THAT(camera.memory.get(0, 3), ElementsAre(0x0C, 0x0B, 0x0A));
    EXPECT_THAT(camera.memory.get(8, 4), ElementsAre(0xC0, 0x20, 0, 0));
}

TEST(Values, TellThePortTheirByteOrder) {
    using genapi::ByteOrder;
    class Listener : public Memory {
    public:
        void read(uint64_t address, uint8_t *bytes, size_t size, ByteOrder order) override {
            orders.push_back(order);
            Memory::read(address, bytes, size, order);
        }
        void write(uint64_t address, const uint8_t *bytes, size_t size, ByteOrder order) override {
            orders.push_back(order);
            Memory::write(address, bytes, size, order);
        }
        std::vector<ByteOrder> orders;
    } memory;
    genapi::NodeMap map(
        describe("IntReg Big @0 unsigned big FloatReg Little @8 little StringReg Text @16+8"),
        memory);

    for (const char *name : {"Big", "Little", "Text"})
        dynamic_cast<IValue *>(map.GetNode(name))->ToString();
    dynamic_cast<IInteger *>(map.GetNode("Big"))->SetValue(1);

    EXPECT_THAT(memory.orders,
                ElementsAre(ByteOrder::Big, ByteOrder::Little, ByteOrder::None, ByteOrder::Big));
}

TEST(Values, OfFloatRegistersAreLimitedByTheirFormat) {
    Camera camera("FloatReg F @0 big FloatReg D @0+8 big Float OverF pValue=F");

    expectFloatRange(camera, "F", -kFloatLimit, kFloatLimit);
    expectFloatRange(camera, "D", -kLimit, kLimit);
    expectFloatRange(camera, "OverF", -kFloatLimit, kFloatLimit);
}

TEST(Values, OfARegisterWhoseLengthHoldsNoNumberRaiseEachTime) {
    for (const auto &[node, lengths] :
         {std::pair{"IntReg R @0+$ unsigned big", std::vector{0, 9, 100}},
          {"FloatReg R @0+$ big", {0, 1, 2, 3, 5, 7, 9}}})
        for (const int length : lengths) {
            Camera camera(with(node, std::to_string(length)));
            EXPECT_EQ("OutOfRange", camera.refuses("R")) << node << length;
            EXPECT_EQ("OutOfRange", camera.set("R", 0)) << node << length;
            EXPECT_EQ("OutOfRange", camera.refuses("R")) << node << length;
        }
}

TEST(Values, FollowALengthThatIsAnotherNodes) {
    Camera camera("Integer L Value=2 IntReg R @0+L:: unsigned big");
    camera.memory.put(0, {1, 2, 3, 4});

    EXPECT_EQ(0x0102, camera.get("R"));
    EXPECT_EQ(0xFFFF, camera.integer("R").GetMax());
    EXPECT_EQ("", camera.set("L", 3));
    EXPECT_EQ(0x010203, camera.get("R"));
    EXPECT_EQ(0xFFFFFF, camera.integer("R").GetMax());
}

TEST(Values, OfBitsCountFromTheLeastSignificantInLittleEndian) {
    Camera camera("MaskedIntReg Low @0 LSB=0 MSB=3 unsigned little "
                  "MaskedIntReg Middle @0 LSB=4 MSB=11 unsigned little "
                  "MaskedIntReg Bit @0 Bit=31 unsigned little");
    camera.memory.put(0, {0x21, 0x43, 0x65, 0x87}); // 0x87654321

    EXPECT_THAT(camera.gets("Low Middle Bit"), ElementsAre(0x1, 0x32, 1));
    expectRange(camera, "Middle", 0, 255);
    expectRange(camera, "Bit", 0, 1);
}

TEST(Values, OfBitsCountFromTheMostSignificantInBigEndian) {
    Camera camera("MaskedIntReg Low @0 LSB=31 MSB=28 unsigned big "
                  "MaskedIntReg Middle @0 LSB=27 MSB=20 unsigned big "
                  "MaskedIntReg Bit @0 Bit=0 unsigned big "
                  "MaskedIntReg Short @0+2 LSB=15 MSB=12 unsigned big");
    camera.memory.put32(0, 0x87654321);

    EXPECT_THAT(camera.gets("Low Middle Bit Short"), // the last of 0x8765
                ElementsAre(0x1, 0x32, 1, 0x5));
    EXPECT_EQ("", camera.set("Middle", 0xAB)); // which leaves the others
    EXPECT_EQ(0x87654AB1u, camera.memory.get32(0));
}

TEST(Values, OfBitsAreSignedIfSaid) {
    Camera camera("MaskedIntReg Four @0 LSB=31 MSB=28 signed big "
                  "MaskedIntReg One @0 Bit=31 signed big "
                  "MaskedIntReg Most @0+8 LSB=63 MSB=1 unsigned big "
                  "MaskedIntReg All @0+8 LSB=63 MSB=0 unsigned big");
    camera.memory.put32(0, 0x0000000F);

    EXPECT_THAT(camera.gets("Four One"), Each(-1));
    expectRange(camera, "Four", -8, 7);
    expectRange(camera, "One", -1, 0);
    expectRange(camera, "Most", 0, kHighest);
    // GenICam's own GenApi has a maximum of -1 here, so that nothing can be written.
    expectRange(camera, "All", 0, kHighest);
}

TEST(Values, OfAStructsEntriesShareItsRegister) {
    Camera camera("Integer Base Value=16 StructReg Status Address=4 pAddress=Base @ little "
                  "StructEntry.Bit={Bit=1} StructEntry.Signed={LSB=4 MSB=7 signed} "
                  "StructEntry.ReadOnly={AccessMode=RO LSB=8 MSB=15}");
    camera.memory.put(20, {0xF2, 0x34, 0, 0});

    EXPECT_THAT(camera.gets("Bit Signed ReadOnly"), ElementsAre(1, -1, 0x34));
    EXPECT_THAT(camera.modes("Bit ReadOnly"), ElementsAre(RW, RO));
    EXPECT_EQ("r20 r20 r20", camera.memory.accesses()); // NoCache is inherited, too

    EXPECT_EQ("", camera.set("Bit", 0));
    EXPECT_THAT(camera.memory.get(20, 4), ElementsAre(0xF0, 0x34, 0, 0));
}

TEST(Values, LieAtTheSumOfAllPartsOfAnAddress) {
    Camera camera("Integer A Value=0x100 Integer B Value=0x20 "
                  "IntReg R Address=0x1000 pAddress=A Address=2 "
                  "  IntSwissKnife.Inside={pVariable.V=B Formula=V*2} pAddress=B @ unsigned big "
                  "IntReg Beyond32Bits @0x123456789A unsigned big");
    camera.gets("R Beyond32Bits");
    EXPECT_EQ("r" + std::to_string(0x1162) + " r" + std::to_string(0x123456789A),
              camera.memory.accesses());
}

TEST(Values, LieWhereTheirIndicesSay) {
    Camera camera("Integer I Value=3 Integer Stride Value=16 "
                  "Enumeration E EnumEntry.Two=2 Value=2 "
                  "IntReg Offset Address=100 pIndex.8=I @ unsigned big "
                  "IntReg Referred Address=100 pIndex.Stride=I @ unsigned big "
                  "IntReg ByLength Address=100 pIndex=I @ unsigned big "
                  "IntReg Enumerated Address=100 pIndex.8=E @ unsigned big "
                  "IntReg Two Address=100 pIndex.8=I pIndex.100=E @ unsigned big");
    camera.gets("Offset Referred ByLength Enumerated Two");
    EXPECT_EQ("r124 r148 r112 r116 r324", camera.memory.accesses());

    EXPECT_EQ("", camera.set("I", -3));
    camera.get("Offset");
    EXPECT_EQ("r76", camera.memory.accesses());
}

// A node C over T, from 0 to 100.
string converted(const string &kind, const string &to, const string &from, const string &more) {
    return kind + " C FormulaTo=" + to + " FormulaFrom=" + from + " pValue=T " + more +
           " Integer T Value=40 Min=0 Max=100 Inc=5";
}

TEST(Values, AreConvertedBothWays) {
    Camera camera(converted("Converter", "FROM*2", "TO/2", ""));
    EXPECT_EQ(20, camera.getFloat("C"));
    EXPECT_EQ("", camera.set("C", 32.5));
    EXPECT_EQ(65, camera.get("T"));

    Camera whole(converted("IntConverter", "FROM-1", "TO+1", "Slope=Increasing"));
    EXPECT_EQ(41, whole.get("C"));
    EXPECT_EQ("", whole.set("C", 61));
    EXPECT_EQ(60, whole.get("T"));
    EXPECT_EQ(1, whole.integer("C").GetInc());
}

TEST(Values, ConvertedHaveBoundsByTheSlope) {
    const struct {
        const char *slope, *from;
        double min, max;
    } cases[] = {
        {"Slope=Increasing", "TO+1", 1, 101},
        {"Slope=Increasing", "1-TO", 1, -99}, // not sorted
        {"Slope=Decreasing", "1-TO", -99, 1},
        {"Slope=Decreasing", "TO+1", 101, 1}, // not sorted
        {"Slope=Automatic", "TO+1", 1, 101},
        {"Slope=Automatic", "1-TO", -99, 1},
        {"", "1-TO", -99, 1},
        {"Slope=Varying", "TO+1", -kLimit, kLimit},
    };
    for (const auto &[slope, from, min, max] : cases) {
        SCOPED_TRACE(string(slope) + from);
        Camera camera(converted("Converter", "FROM", from, slope));
        expectFloatRange(camera, "C", min, max);
        if (*slope && std::abs(min) < kLimit) {
            Camera whole(converted("IntConverter", "FROM", from, slope));
            expectRange(whole, "C", static_cast<int64_t>(min), static_cast<int64_t>(max));
        }
    }
    Camera varying(converted("IntConverter", "FROM", "TO", "Slope=Varying"));
    expectRange(varying, "C", kLowest, kHighest);
}

TEST(Values, OfAnIntConverterWithoutASlopeMayOnlyBe0) {
    Camera camera(converted("IntConverter", "FROM", "TO", ""));

    expectRange(camera, "C", 0, 0);
    EXPECT_EQ(40, camera.get("C"));
    EXPECT_EQ("OutOfRange", camera.set("C", 5));
    EXPECT_EQ("", camera.set("C", 0));
    EXPECT_EQ(0, camera.get("T"));
}

TEST(Values, ConvertedLinearlyHaveTheTargetsIncrementScaled) {
    for (const auto &[linear, inc] :
         {std::pair{"IsLinear=Yes", 2.5}, {"IsLinear=No", kNoInc}, {"", kNoInc}}) {
        Camera camera(converted("Converter", "FROM*2", "TO/2", linear));
        expectFloatRange(camera, "C", 0, 50, inc);
    }
}

TEST(Values, WithCopiesAreReadFromTheOneAndWrittenToAllInOrder) {
    Camera camera("Integer A pValueCopy=Before pValue=R pValueCopy=After IntReg R @0 unsigned big "
                  "IntReg Before @4 unsigned big IntReg After @8 unsigned big");
    camera.memory.put32(0, 5);
    camera.memory.put32(4, 6);

    EXPECT_EQ(5, camera.get("A"));
    EXPECT_EQ("r0", camera.memory.accesses());
    EXPECT_EQ("", camera.set("A", 7));
    EXPECT_EQ("w4 w0 w8", camera.memory.accesses());
    EXPECT_EQ(7u, camera.memory.get32(8));
}

TEST(Values, WithCopiesHaveTheNarrowestRangeAndTheWorstAccess) {
    const string copied = "Integer A pValue=B pValueCopy=C ";
    Camera camera(copied + "Integer B Value=20 Min=0 Max=50 Inc=5 "
                           "Integer C Value=20 Min=10 Max=100 Inc=5");
    expectRange(camera, "A", 10, 50, 5);
    EXPECT_EQ(RW, camera.mode("A"));

    for (const auto &[modeOfB, expected] : {std::pair{"RW", RO}, {"WO", NA}})
        EXPECT_EQ(expected, Camera(copied + with("IntReg B @0:$ unsigned big "
                                                 "IntReg C @4:RO unsigned big",
                                                 modeOfB))
                                .mode("A"));
}

TEST(Values, WithCopiesOfDifferentIncrementsAreReadOnly) {
    Camera camera("Integer A pValue=B pValueCopy=C Integer B Value=20 Min=0 Max=100 Inc=5 "
                  "Integer C Value=20 Min=0 Max=100 Inc=10");

    EXPECT_EQ(RO, camera.mode("A"));
    EXPECT_EQ(20, camera.get("A"));
    EXPECT_EQ("Access", camera.set("A", 30));
}

TEST(Values, OfAnIndexAreTheChosenOnesWithItsBounds) {
    Camera camera("Integer Index Value=1 Integer B Value=20 Min=10 Max=100 Inc=5 "
                  "IntReg R @0:RO unsigned big Integer A pIndex=Index ValueIndexed.1=11 "
                  "pValueIndexed.2=B pValueIndexed.3=R ValueDefault=99");
    EXPECT_EQ(11, camera.get("A"));
    expectRange(camera, "A", kLowest, kHighest);
    EXPECT_EQ("", camera.set("A", 12));
    EXPECT_EQ(12, camera.get("A"));

    EXPECT_EQ("", camera.set("Index", 2));
    EXPECT_EQ(20, camera.get("A"));
    expectRange(camera, "A", 10, 100, 5);
    EXPECT_EQ("OutOfRange", camera.set("A", 21));
    EXPECT_EQ("", camera.set("A", 25));
    EXPECT_EQ(25, camera.get("B"));

    EXPECT_EQ("", camera.set("Index", 3));
    EXPECT_EQ(RO, camera.mode("A"));

    EXPECT_EQ("", camera.set("Index", -7));
    EXPECT_EQ(99, camera.get("A"));
    EXPECT_EQ(RW, camera.mode("A"));
    EXPECT_EQ("", camera.set("A", 98));
    EXPECT_EQ(98, camera.get("A"));

    EXPECT_EQ("", camera.set("Index", 1));
    EXPECT_EQ(12, camera.get("A"));
}

TEST(Values, OfAnIndexMayBeFloatsAndHaveADefaultElsewhere) {
    Camera camera("Integer Index Value=1 Float G Value=2 Min=1 Max=3 Inc=0.25 "
                  "Float A pIndex=Index ValueIndexed.1=0.5 pValueDefault=G");

    EXPECT_EQ(0.5, camera.getFloat("A"));
    expectFloatRange(camera, "A", -kLimit, kLimit);
    EXPECT_EQ("", camera.set("Index", 2));
    EXPECT_EQ(2, camera.getFloat("A"));
    expectFloatRange(camera, "A", 1, 3, 0.25);
}

TEST(Values, DoNotDependOnWhatSelectsThem) {
    Camera camera("Integer Selector Value=0 Min=0 Max=1 pSelected=A "
                  "Integer A Value=20 Min=10 Max=100 Inc=5");
    EXPECT_EQ("", camera.set("Selector", 1));

    EXPECT_EQ(20, camera.get("A"));
    expectRange(camera, "A", 10, 100, 5);
    EXPECT_EQ(RW, camera.mode("A"));
}

} // namespace
