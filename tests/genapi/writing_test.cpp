// What is checked before a write, what is written, and what is asked of the camera for it.

#include <gmock/gmock.h>

#include <limits>

#include "support.h"

namespace {

using testing::ElementsAre;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Writing, AsksForAccessBeforeAnythingElse) {
    Camera camera("Integer A pValue=T Min=0 Max=10 IntReg T @0:RO unsigned big");

    EXPECT_EQ("Access", camera.set("A", 11));
    EXPECT_EQ("Access", camera.type("A", "abc"));
    EXPECT_EQ("Access", camera.type("A", "5"));
    EXPECT_EQ("", camera.memory.accesses());
}

TEST(Writing, TakesTextsThatAreNumbersWithinTheRange) {
    Camera camera("Integer A pValue=T Min=0 Max=10 IntReg T @0 unsigned big");

    EXPECT_EQ("InvalidArgument", camera.type("A", "abc"));
    EXPECT_EQ("OutOfRange", camera.type("A", "11"));
    EXPECT_EQ("", camera.memory.accesses());
    EXPECT_EQ("", camera.type("A", "7"));
    EXPECT_EQ(7u, camera.memory.get32(0));
    EXPECT_EQ("", camera.type("A", "11", false));
    EXPECT_EQ(11u, camera.memory.get32(0));
}

TEST(Writing, ChecksTheRangeAndTheIncrementFromTheMinimum) {
    Camera camera("Integer A Value=3 Min=3 Max=23 Inc=5");

    for (const int64_t value : {3, 8, 23})
        EXPECT_EQ("", camera.set("A", value)) << value;
    for (const int64_t value : {2, 24, 28, -2, 5, 10})
        EXPECT_EQ("OutOfRange", camera.set("A", value)) << value;
    EXPECT_EQ(23, camera.get("A"));
}

TEST(Writing, FindsIncrementsOverTheWholeRangeOfIntegers) {
    Camera camera("Integer A Value=0 Inc=10"); // from -2^63

    EXPECT_EQ("", camera.set("A", 2));
    EXPECT_EQ(2, camera.get("A"));
    EXPECT_EQ("OutOfRange", camera.set("A", 10));
}

TEST(Writing, RaisesALogicalErrorWhereTheIncrementIs0) {
    Camera camera("Integer A Value=3 Min=0 Max=10 Inc=0");

    EXPECT_EQ("LogicalError", camera.set("A", 4));
    EXPECT_EQ("", camera.set("A", 4, false));
    EXPECT_EQ(4, camera.get("A"));
}

TEST(Writing, IsCheckedAtEveryLevel) {
    Camera camera("Integer A pValue=T Min=0 Max=500 Inc=1 Integer T pValue=U "
                  "Integer U Value=20 Min=10 Max=100 Inc=5");
    for (const int64_t value : {5, 105, 21}) // below, above, off the increment
        EXPECT_EQ("OutOfRange", camera.set("A", value)) << value;
    EXPECT_EQ("", camera.set("A", 35));
    EXPECT_EQ(35, camera.get("U"));

    Camera byte("Integer A pValue=T Min=0 Max=500 Inc=1 IntReg T @0+1 unsigned big");
    EXPECT_EQ("OutOfRange", byte.set("A", 256));
    EXPECT_EQ("", byte.memory.accesses());
    EXPECT_EQ("", byte.set("A", 255));

    Camera converted("Integer A pValue=C Min=0 Max=500 "
                     "IntConverter C FormulaTo=FROM FormulaFrom=TO pValue=T Slope=Increasing "
                     "Integer T Value=20 Min=10 Max=100 Inc=5");
    EXPECT_EQ("OutOfRange", converted.set("A", 105));
    EXPECT_EQ("OutOfRange", converted.set("A", 21));
}

TEST(Writing, IsDoneOnceAndReadsNothingBack) {
    Camera camera("Integer A pValue=T IntReg T @0:: unsigned big");

    EXPECT_EQ("", camera.set("A", 5));
    EXPECT_EQ("", camera.set("A", 5)); // the value already there is still sent
    EXPECT_EQ("w0 w0", camera.memory.accesses());
}

TEST(Writing, NeverChecksTheIncrementOfAFloat) {
    Camera camera("Float F Value=2 Min=1 Max=50 Inc=1");

    for (const double value : {33.3, 50.0, 1.0}) {
        EXPECT_EQ("", camera.set("F", value));
        EXPECT_EQ(value, camera.getFloat("F"));
    }
    EXPECT_EQ("OutOfRange", camera.set("F", 50.000001));
    EXPECT_EQ("OutOfRange", camera.set("F", 0.999999));
    EXPECT_EQ(1, camera.getFloat("F"));
}

// GenICam's own GenApi takes NaN for within any range, and makes -2^63 of it for an integer.
TEST(Writing, TakesNeitherInfinityNorWhatIsNoNumber) {
    Camera camera("Float F Value=2 FloatReg R @0+8 big IntReg T @8 unsigned big Float A pValue=T");

    for (const char *name : {"F", "R"})
        for (const double value : {kInfinity, -kInfinity, kNaN})
            EXPECT_EQ("OutOfRange", camera.set(name, value)) << name << value;
    EXPECT_EQ("OutOfRange", camera.set("A", kNaN));
    EXPECT_EQ("", camera.memory.accesses());
    EXPECT_EQ("OutOfRange", camera.set("A", kNaN, false));
}

TEST(Writing, PutsAFloatOnTheNearestStepOfAnIntegerHalvesUp) {
    Camera camera("Float A pValue=T Integer T Value=20 Min=10 Max=100 Inc=5 "
                  "Converter C FormulaTo=FROM*10 FormulaFrom=TO/10 pValue=T "
                  "Float B pValue=One Integer One Value=20 Min=10 Max=100 Inc=1");
    const std::pair<double, int64_t> cases[] = {{26, 25},   {27.9, 30}, {27.4, 25},
                                                {27.5, 30}, {10.1, 10}, {100, 100}};
    for (const auto &[value, expected] : cases) {
        EXPECT_EQ("", camera.set("A", value));
        EXPECT_EQ(expected, camera.get("T")) << value;
    }
    EXPECT_EQ("OutOfRange", camera.set("A", 100.4));
    EXPECT_EQ("OutOfRange", camera.set("A", 9.9));

    EXPECT_EQ("", camera.set("C", 2.61)); // what a converter gives, too
    EXPECT_EQ(25, camera.get("T"));
    EXPECT_EQ("", camera.set("C", 2.79));
    EXPECT_EQ(30, camera.get("T"));
    EXPECT_EQ("", camera.set("B", 22.5));
    EXPECT_EQ(23, camera.get("One"));
}

TEST(Writing, WantsExactStepsOfAnIntConverter) {
    Camera camera("IntConverter A FormulaTo=FROM*2 FormulaFrom=TO/2 pValue=T Slope=Increasing "
                  "Integer T Value=20 Min=0 Max=100 Inc=5");

    EXPECT_EQ("", camera.set("A", 15));
    EXPECT_EQ(30, camera.get("T"));
    EXPECT_EQ("OutOfRange", camera.set("A", 16));
    EXPECT_EQ(30, camera.get("T"));
}

TEST(Writing, WantsAnIntegerThatHoldsAFloat) {
    Camera camera("Float A pValue=T Min=-1e300 Max=1e300 Integer T Value=5");

    EXPECT_EQ("OutOfRange", camera.set("A", 1e19));
    EXPECT_EQ("OutOfRange", camera.set("A", -1e19));
    EXPECT_EQ("OutOfRange", camera.set("A", 1e19, false));
    EXPECT_EQ(5, camera.get("T"));
}

TEST(Writing, UnverifiedKnowsNoRangeOnAnyLevel) {
    Camera camera("Integer A pValue=T Min=0 Max=10 Inc=2 Integer T Value=20 Min=10 Max=100 Inc=5");
    for (const int64_t value : {-7, 103}) {
        EXPECT_EQ("", camera.set("A", value, false));
        EXPECT_EQ(value, camera.get("T"));
    }
}

TEST(Writing, UnverifiedKeepsTheLowBits) {
    Camera camera("IntReg Byte @0+1 unsigned big MaskedIntReg Bits @4 LSB=27 MSB=20 unsigned big "
                  "FloatReg F @8 big");
    camera.memory.put32(4, 0xFFFFFFFF);

    EXPECT_EQ("", camera.set("Byte", 300, false));
    EXPECT_EQ("", camera.set("Bits", 256, false));
    EXPECT_THAT(camera.memory.get(0, 2), ElementsAre(0x2C, 0));
    EXPECT_EQ(0xFFFFF00Fu, camera.memory.get32(4));

    EXPECT_EQ("", camera.set("F", 1e300, false));
    EXPECT_EQ(0x7F800000u, camera.memory.get32(8));
    EXPECT_EQ("", camera.set("F", -1e300, false));
    EXPECT_EQ(0xFF800000u, camera.memory.get32(8));
    EXPECT_EQ("OutOfRange", camera.set("F", 1e300));
}

TEST(Writing, UnverifiedStillNeedsAccess) {
    Camera camera("IntReg R @0:RO unsigned big Integer A pValue=R Integer Never Value=0 "
                  "Integer NotThere pIsImplemented=Never Value=1 "
                  "Integer NotNow pIsAvailable=Never Value=1");

    for (const char *name : {"R", "A", "NotThere", "NotNow"}) {
        EXPECT_EQ("Access", camera.set(name, 1, false)) << name;
        EXPECT_EQ("Access", camera.type(name, "1", false)) << name;
    }
    EXPECT_EQ("", camera.memory.accesses());
}

TEST(Writing, OfFormulasAndEntriesIsNoAccess) {
    Camera camera("IntSwissKnife I Formula=1 SwissKnife F Formula=1 "
                  "Enumeration E EnumEntry.X=1 Value=1");

    EXPECT_EQ("Access", camera.set("I", 1));
    EXPECT_EQ("Access", camera.set("F", 1));
    EXPECT_EQ("Access", camera.type("EnumEntry_E_X", "1"));
}

TEST(Writing, LeavesValuesThatAVerifiedReadRefuses) {
    Camera camera("Integer A pValue=T Min=0 Max=10 Inc=2 IntReg T @0 unsigned big "
                  "Float F Value=5 Min=0 Max=10");
    camera.memory.put32(0, 11);
    EXPECT_EQ("", camera.set("F", 10.5, false));

    EXPECT_EQ(11, camera.get("A"));
    EXPECT_EQ("OutOfRange", camera.refuses("A", true));
    EXPECT_EQ(10.5, camera.getFloat("F"));
    EXPECT_EQ("OutOfRange", camera.refuses("F", true));

    camera.memory.put32(0, 9); // off the increment, which does not matter
    EXPECT_EQ(9, camera.integer("A").GetValue(true));
}

constexpr char kBits[] = "MaskedIntReg Bits @0:$ LSB=31 MSB=24 unsigned big";

TEST(Writing, OfBitsReadsTheOthersOnce) {
    Camera camera(with(kBits, "RW:WriteThrough"));
    camera.memory.put32(0, 0x11223344);

    EXPECT_EQ("", camera.set("Bits", 0x55));
    EXPECT_EQ("r0 w0", camera.memory.accesses());
    EXPECT_EQ("", camera.set("Bits", 0x66));
    EXPECT_EQ("w0", camera.memory.accesses());
    EXPECT_EQ(0x11223366u, camera.memory.get32(0));
}

TEST(Writing, OfBitsThatAreNotKeptReadsTheOthersEachTime) {
    for (const char *cachable : {"RW:NoCache", "RW:WriteAround"}) {
        Camera camera(with(kBits, cachable));
        camera.get("Bits");
        camera.memory.accesses();
        EXPECT_EQ("", camera.set("Bits", 0x55));
        EXPECT_EQ("", camera.set("Bits", 0x66));
        EXPECT_EQ("r0 w0 r0 w0", camera.memory.accesses()) << cachable;
    }
}

TEST(Writing, OfBitsNeedsTheOthersToBeReadable) {
    Camera camera(with(kBits, "WO:WriteThrough"));

    EXPECT_EQ("Access", camera.set("Bits", 0x55));
    EXPECT_EQ("", camera.memory.accesses());
}

TEST(Writing, OfACommandSendsItsValue) {
    Camera camera("IntReg R @0 unsigned big IntReg S @4:WO unsigned big Integer Go Value=9 "
                  "Command A pValue=R CommandValue=5 Command B pValue=S pCommandValue=Go");

    EXPECT_EQ("", camera.type("A", "1"));
    EXPECT_EQ(5u, camera.memory.get32(0));
    EXPECT_EQ("", camera.type("B", "true"));
    EXPECT_EQ(9u, camera.memory.get32(4));
    camera.memory.accesses();
    for (const char *text : {"0", "false", "", "go"})
        EXPECT_EQ("InvalidArgument", camera.type("A", text)) << text;
    EXPECT_EQ("", camera.memory.accesses());
}

TEST(Writing, RoundsFloatsExactly) {
    Camera camera("Float F pValue=I Integer I Value=0");
    for (const auto &[written, expected] : {std::pair{0.49999999999999994, int64_t{0}},
                                            {4503599627370497.0, 4503599627370497},
                                            {-0.5, 0},
                                            {-9223372036854775808.0, INT64_MIN}}) {
        EXPECT_EQ("", camera.set("F", written));
        EXPECT_EQ(expected, camera.get("I"));
    }
}

} // namespace
