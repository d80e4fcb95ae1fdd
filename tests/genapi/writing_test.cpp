// What is checked before a write, what is written, and what is asked of the camera for it.

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "support.h"

namespace {

using GenICam_3_0::AccessException;
using GenICam_3_0::InvalidArgumentException;
using GenICam_3_0::LogicalErrorException;
using GenICam_3_0::OutOfRangeException;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Over T, which lies at 0.
std::string over(const std::string &kind, const std::string &more) {
    return element(kind, "A", "<pValue>T</pValue>" + more);
}

std::string ranged(const std::string &name, int64_t value, int64_t min, int64_t max, int64_t inc) {
    return element("Integer", name,
                   "<Value>" + std::to_string(value) + "</Value><Min>" + std::to_string(min) +
                       "</Min><Max>" + std::to_string(max) + "</Max><Inc>" + std::to_string(inc) +
                       "</Inc>");
}

TEST(Writing, AsksForAccessBeforeAnythingElse) {
    Camera camera(over("Integer", "<Min>0</Min><Max>10</Max>") + intReg("T", 0, "RO"));

    EXPECT_THROW(camera.integer("A").SetValue(11), AccessException);
    EXPECT_THROW(camera.value("A").FromString("abc"), AccessException);
    EXPECT_THROW(camera.value("A").FromString("5"), AccessException);
    EXPECT_THAT(camera.memory.accesses(), IsEmpty());
}

TEST(Writing, TakesTextsThatAreNumbersWithinTheRange) {
    Camera camera(over("Integer", "<Min>0</Min><Max>10</Max>") + intReg("T", 0));

    EXPECT_THROW(camera.value("A").FromString("abc"), InvalidArgumentException);
    EXPECT_THROW(camera.value("A").FromString("11"), OutOfRangeException);
    EXPECT_THAT(camera.memory.accesses(), IsEmpty());
    camera.value("A").FromString("7");
    EXPECT_EQ(7u, camera.memory.get32(0));
    camera.value("A").FromString("11", false);
    EXPECT_EQ(11u, camera.memory.get32(0));
}

TEST(Writing, ChecksTheRangeAndTheIncrementFromTheMinimum) {
    Camera camera(ranged("A", 3, 3, 23, 5));

    for (const int64_t value : {3, 8, 23})
        EXPECT_NO_THROW(camera.integer("A").SetValue(value)) << value;
    for (const int64_t value : {2, 24, 28, -2, 5, 10})
        EXPECT_THROW(camera.integer("A").SetValue(value), OutOfRangeException) << value;
    EXPECT_EQ(23, camera.integer("A").GetValue());
}

TEST(Writing, FindsIncrementsOverTheWholeRangeOfIntegers) {
    Camera camera(element("Integer", "A", "<Value>0</Value><Inc>10</Inc>")); // from -2^63

    camera.integer("A").SetValue(2);
    EXPECT_EQ(2, camera.integer("A").GetValue());
    EXPECT_THROW(camera.integer("A").SetValue(10), OutOfRangeException);
}

TEST(Writing, RaisesALogicalErrorWhereTheIncrementIs0) {
    Camera camera(ranged("A", 3, 0, 10, 0));

    EXPECT_THROW(camera.integer("A").SetValue(4), LogicalErrorException);
    camera.integer("A").SetValue(4, false);
    EXPECT_EQ(4, camera.integer("A").GetValue());
}

TEST(Writing, IsCheckedAtEveryLevel) {
    const std::string wide = over("Integer", "<Min>0</Min><Max>500</Max><Inc>1</Inc>");
    Camera camera(wide + element("Integer", "T", "<pValue>U</pValue>") +
                  ranged("U", 20, 10, 100, 5));
    for (const int64_t value : {5, 105, 21}) // below, above, off the increment
        EXPECT_THROW(camera.integer("A").SetValue(value), OutOfRangeException) << value;
    camera.integer("A").SetValue(35);
    EXPECT_EQ(35, camera.integer("U").GetValue());

    Camera byte(wide + element("IntReg", "T", place(0, 1) + kUnsignedBig));
    EXPECT_THROW(byte.integer("A").SetValue(256), OutOfRangeException);
    EXPECT_THAT(byte.memory.accesses(), IsEmpty());
    byte.integer("A").SetValue(255);

    Camera converted(element("Integer", "A", "<pValue>C</pValue><Min>0</Min><Max>500</Max>") +
                     element("IntConverter", "C",
                             "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>"
                             "<pValue>T</pValue><Slope>Increasing</Slope>") +
                     ranged("T", 20, 10, 100, 5));
    EXPECT_THROW(converted.integer("A").SetValue(105), OutOfRangeException);
    EXPECT_THROW(converted.integer("A").SetValue(21), OutOfRangeException);
}

TEST(Writing, IsDoneOnceAndReadsNothingBack) {
    Camera camera(over("Integer", "") +
                  element("IntReg", "T", place(0, 4, "RW", "") + kUnsignedBig));

    camera.integer("A").SetValue(5);
    camera.integer("A").SetValue(5); // the value already there is still sent

    EXPECT_THAT(camera.memory.accesses(), ElementsAre(writing(0), writing(0)));
}

TEST(Writing, NeverChecksTheIncrementOfAFloat) {
    Camera camera(element("Float", "F", "<Value>2</Value><Min>1</Min><Max>50</Max><Inc>1</Inc>"));

    camera.floating("F").SetValue(33.3);
    EXPECT_EQ(33.3, camera.floating("F").GetValue());
    camera.floating("F").SetValue(50);
    camera.floating("F").SetValue(1);
    EXPECT_THROW(camera.floating("F").SetValue(50.000001), OutOfRangeException);
    EXPECT_THROW(camera.floating("F").SetValue(0.999999), OutOfRangeException);
    EXPECT_EQ(1, camera.floating("F").GetValue());
}

TEST(Writing, TakesNoInfinity) {
    Camera camera(constantFloat("F", "2") + element("FloatReg", "R", place(0, 8) + kBig));

    for (const char *name : {"F", "R"}) {
        EXPECT_THROW(camera.floating(name).SetValue(kInfinity), OutOfRangeException) << name;
        EXPECT_THROW(camera.floating(name).SetValue(-kInfinity), OutOfRangeException) << name;
    }
}

// GenICam's own GenApi takes it for within any range, and makes -2^63 of it for an integer.
TEST(Writing, TakesNothingThatIsNoNumber) {
    Camera camera(constantFloat("F", "2") + element("FloatReg", "R", place(0, 8) + kBig) +
                  intReg("T", 8) + over("Float", ""));

    for (const char *name : {"F", "R", "A"})
        EXPECT_THROW(camera.floating(name).SetValue(kNaN), OutOfRangeException) << name;
    EXPECT_THAT(camera.memory.accesses(), IsEmpty());
    EXPECT_THROW(camera.floating("A").SetValue(kNaN, false), OutOfRangeException);
}

TEST(Writing, PutsAFloatOnTheNearestStepOfAnIntegerHalvesUp) {
    Camera camera(over("Float", "") + ranged("T", 20, 10, 100, 5));
    const std::pair<double, int64_t> cases[] = {{26, 25},   {27.9, 30}, {27.4, 25},
                                                {27.5, 30}, {10.1, 10}, {100, 100}};
    for (const auto &[value, expected] : cases) {
        camera.floating("A").SetValue(value);
        EXPECT_EQ(expected, camera.integer("T").GetValue()) << value;
    }
    EXPECT_THROW(camera.floating("A").SetValue(100.4), OutOfRangeException);
    EXPECT_THROW(camera.floating("A").SetValue(9.9), OutOfRangeException);

    Camera one(over("Float", "") + ranged("T", 20, 10, 100, 1));
    one.floating("A").SetValue(22.5);
    EXPECT_EQ(23, one.integer("T").GetValue());
}

TEST(Writing, PutsWhatAConverterGivesOnTheNearestStepOfAnInteger) {
    Camera camera(element("Converter", "A",
                          "<FormulaTo>FROM*10</FormulaTo><FormulaFrom>TO/10</FormulaFrom>"
                          "<pValue>T</pValue>") +
                  ranged("T", 20, 10, 100, 5));

    camera.floating("A").SetValue(2.61);
    EXPECT_EQ(25, camera.integer("T").GetValue());
    camera.floating("A").SetValue(2.79);
    EXPECT_EQ(30, camera.integer("T").GetValue());
}

TEST(Writing, WantsExactStepsOfAnIntConverter) {
    Camera camera(element("IntConverter", "A",
                          "<FormulaTo>FROM*2</FormulaTo><FormulaFrom>TO/2</FormulaFrom>"
                          "<pValue>T</pValue><Slope>Increasing</Slope>") +
                  ranged("T", 20, 0, 100, 5));

    camera.integer("A").SetValue(15);
    EXPECT_EQ(30, camera.integer("T").GetValue());
    EXPECT_THROW(camera.integer("A").SetValue(16), OutOfRangeException);
    EXPECT_EQ(30, camera.integer("T").GetValue());
}

TEST(Writing, WantsAnIntegerThatHoldsAFloat) {
    Camera camera(over("Float", "<Min>-1e300</Min><Max>1e300</Max>") +
                  element("Integer", "T", "<Value>5</Value>"));

    EXPECT_THROW(camera.floating("A").SetValue(1e19), OutOfRangeException);
    EXPECT_THROW(camera.floating("A").SetValue(-1e19), OutOfRangeException);
    EXPECT_THROW(camera.floating("A").SetValue(1e19, false), OutOfRangeException);
    EXPECT_EQ(5, camera.integer("T").GetValue());
}

TEST(Writing, UnverifiedKnowsNoRangeOnAnyLevel) {
    Camera camera(over("Integer", "<Min>0</Min><Max>10</Max><Inc>2</Inc>") +
                  ranged("T", 20, 10, 100, 5));

    camera.integer("A").SetValue(-7, false);
    EXPECT_EQ(-7, camera.integer("T").GetValue());
    camera.integer("A").SetValue(103, false);
    EXPECT_EQ(103, camera.integer("T").GetValue());
}

TEST(Writing, UnverifiedKeepsTheLowBits) {
    Camera camera(
        element("IntReg", "Byte", place(0, 1) + kUnsignedBig) +
        element("MaskedIntReg", "Bits", place(4, 4) + "<LSB>27</LSB><MSB>20</MSB>" + kUnsignedBig) +
        element("FloatReg", "F", place(8, 4) + kBig));
    camera.memory.put32(4, 0xFFFFFFFF);

    camera.integer("Byte").SetValue(300, false);
    camera.integer("Bits").SetValue(256, false);
    EXPECT_THAT(camera.memory.get(0, 2), ElementsAre(0x2C, 0));
    EXPECT_EQ(0xFFFFF00Fu, camera.memory.get32(4));

    camera.floating("F").SetValue(1e300, false);
    EXPECT_EQ(0x7F800000u, camera.memory.get32(8));
    camera.floating("F").SetValue(-1e300, false);
    EXPECT_EQ(0xFF800000u, camera.memory.get32(8));
    EXPECT_THROW(camera.floating("F").SetValue(1e300), OutOfRangeException);
}

TEST(Writing, UnverifiedStillNeedsAccess) {
    Camera camera(
        intReg("R", 0, "RO") + element("Integer", "A", "<pValue>R</pValue>") +
        constant("Never", 0) +
        element("Integer", "NotThere", "<pIsImplemented>Never</pIsImplemented><Value>1</Value>") +
        element("Integer", "NotNow", "<pIsAvailable>Never</pIsAvailable><Value>1</Value>"));

    for (const char *name : {"R", "A", "NotThere", "NotNow"}) {
        EXPECT_THROW(camera.integer(name).SetValue(1, false), AccessException) << name;
        EXPECT_THROW(camera.value(name).FromString("1", false), AccessException) << name;
    }
    EXPECT_THAT(camera.memory.accesses(), IsEmpty());
}

TEST(Writing, OfFormulasAndEntriesIsNoAccess) {
    Camera camera(element("IntSwissKnife", "I", "<Formula>1</Formula>") +
                  element("SwissKnife", "F", "<Formula>1</Formula>") +
                  element("Enumeration", "E",
                          R"(<EnumEntry Name="X"><Value>1</Value></EnumEntry><Value>1</Value>)"));

    EXPECT_THROW(camera.integer("I").SetValue(1), AccessException);
    EXPECT_THROW(camera.floating("F").SetValue(1), AccessException);
    EXPECT_THROW(camera.value("EnumEntry_E_X").FromString("1"), AccessException);
}

TEST(Writing, LeavesValuesThatAVerifiedReadRefuses) {
    Camera camera(over("Integer", "<Min>0</Min><Max>10</Max><Inc>2</Inc>") + intReg("T", 0) +
                  element("Float", "F", "<Value>5</Value><Min>0</Min><Max>10</Max>"));
    camera.memory.put32(0, 11);
    camera.floating("F").SetValue(10.5, false);

    EXPECT_EQ(11, camera.integer("A").GetValue());
    EXPECT_THROW(camera.integer("A").GetValue(true), OutOfRangeException);
    EXPECT_EQ(10.5, camera.floating("F").GetValue());
    EXPECT_THROW(camera.floating("F").GetValue(true), OutOfRangeException);

    camera.memory.put32(0, 9); // off the increment, which does not matter
    EXPECT_EQ(9, camera.integer("A").GetValue(true));
}

std::string bits(const std::string &mode, const std::string &cachable) {
    return element("MaskedIntReg", "Bits",
                   place(0, 4, mode, cachable) + "<LSB>31</LSB><MSB>24</MSB>" + kUnsignedBig);
}

TEST(Writing, OfBitsReadsTheOthersOnce) {
    Camera camera(bits("RW", "WriteThrough"));
    camera.memory.put32(0, 0x11223344);

    camera.integer("Bits").SetValue(0x55);
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0), writing(0)));
    camera.integer("Bits").SetValue(0x66);
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(writing(0)));
    EXPECT_EQ(0x11223366u, camera.memory.get32(0));
}

TEST(Writing, OfBitsThatAreNotKeptReadsTheOthersEachTime) {
    for (const char *cachable : {"NoCache", "WriteAround"}) {
        Camera camera(bits("RW", cachable));
        camera.integer("Bits").GetValue();
        camera.memory.accesses();
        camera.integer("Bits").SetValue(0x55);
        camera.integer("Bits").SetValue(0x66);
        EXPECT_THAT(camera.memory.accesses(),
                    ElementsAre(reading(0), writing(0), reading(0), writing(0)))
            << cachable;
    }
}

TEST(Writing, OfBitsNeedsTheOthersToBeReadable) {
    Camera camera(bits("WO", "WriteThrough"));

    EXPECT_THROW(camera.integer("Bits").SetValue(0x55), AccessException);
    EXPECT_THAT(camera.memory.accesses(), IsEmpty());
}

TEST(Writing, OfACommandSendsItsValue) {
    Camera camera(intReg("R", 0) + intReg("S", 4, "WO") + constant("Go", 9) +
                  element("Command", "A", "<pValue>R</pValue><CommandValue>5</CommandValue>") +
                  element("Command", "B", "<pValue>S</pValue><pCommandValue>Go</pCommandValue>"));

    camera.value("A").FromString("1");
    EXPECT_EQ(5u, camera.memory.get32(0));
    camera.value("B").FromString("true");
    EXPECT_EQ(9u, camera.memory.get32(4));
    camera.memory.accesses();
    for (const char *text : {"0", "false", "", "go"})
        EXPECT_THROW(camera.value("A").FromString(text), InvalidArgumentException) << text;
    EXPECT_THAT(camera.memory.accesses(), IsEmpty());
}

TEST(Writing, RoundsFloatsExactly) {
    Camera camera(element("Float", "F", "<pValue>I</pValue>") + constant("I", 0));
    for (const auto &[written, expected] : {std::pair{0.49999999999999994, int64_t{0}},
                                            {4503599627370497.0, 4503599627370497},
                                            {-0.5, 0},
                                            {-9223372036854775808.0, INT64_MIN}}) {
        camera.floating("F").SetValue(written);
        EXPECT_EQ(expected, camera.integer("I").GetValue());
    }
}

} // namespace
