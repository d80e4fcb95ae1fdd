// When the camera is asked, and when what it said before is used.

#include <gmock/gmock.h>

#include <stdexcept>

#include "genapi/bounds.h"
#include "genapi/errors.h"
#include "support.h"

namespace {

using GenApi_3_0::IInteger;
using std::string;
using testing::ElementsAre;

// Registers of 4 bytes, of which nothing is said of whether they are kept.
const string kA = "IntReg A @0:: unsigned big ";
const string kRow = kA + "IntReg B @4:: unsigned big IntReg C @8:: unsigned big ";
const string kTrigger = "IntReg Trigger @4:: unsigned big ";

void noAnswer(char, uint64_t) {
    KXGENAPI_RAISE(TimeoutException, "%s", "no answer");
}

// What the camera is asked for when nodes are read, and written where a value is given.
string accessesFor(Camera &camera, const string &steps) {
    std::istringstream words(steps);
    for (string step; words >> step;)
        if (const size_t at = step.find('='); at == string::npos)
            camera.text(step);
        else
            EXPECT_EQ("", camera.type(step.substr(0, at), step.substr(at + 1))) << step;
    return camera.memory.accesses();
}
string accessesFor(const string &elements, const string &steps) {
    Camera camera(elements);
    return accessesFor(camera, steps);
}

TEST(Cache, KeepsWhatWasReadAndWrittenUnlessSaidOtherwise) {
    for (const char *cachable : {"", "WriteThrough"}) {
        Camera camera(with("IntReg R @0::$ unsigned big", cachable));
        camera.memory.put32(0, 5);
        IInteger &r = camera.integer("R");

        EXPECT_EQ(5, r.GetValue());
        EXPECT_EQ(5, r.GetValue());
        EXPECT_EQ("5", camera.text("R"));
        EXPECT_EQ("r0", camera.memory.accesses()) << cachable;
        r.SetValue(6);
        EXPECT_EQ(6, r.GetValue());
        EXPECT_EQ("w0", camera.memory.accesses()) << cachable;
    }
}

TEST(Cache, KeepsUntilWrittenWhereWritesGoAroundIt) {
    Camera camera("IntReg R @0::WriteAround unsigned big");

    EXPECT_EQ("r0 w0", accessesFor(camera, "R R R=6"));
    camera.memory.put32(0, 7); // what the camera made of it
    EXPECT_THAT(camera.gets("R R"), ElementsAre(7, 7));
    EXPECT_EQ("r0", camera.memory.accesses());
}

TEST(Cache, KeepsNothingWhereThereIsToBeNone) {
    EXPECT_EQ("r0 w0 r0 r0", accessesFor("IntReg R @0::NoCache unsigned big", "R R=6 R R"));
}

TEST(Cache, KeepsTextsAndBytesToo) {
    EXPECT_EQ(
        "r0+8 r8+8 r16",
        accessesFor("StringReg S @0+8:: Register R @8+8:: FloatReg F @16:: big", "S R F S R F"));
}

TEST(Cache, ReadsOnceForAllNodesAtAPlace) {
    Camera camera("MaskedIntReg Low @0:: LSB=31 MSB=16 unsigned big "
                  "MaskedIntReg High @0:: LSB=15 MSB=0 unsigned big");
    camera.memory.put32(0, 0x00010002);

    EXPECT_THAT(camera.gets("Low High"), ElementsAre(2, 1));
    EXPECT_EQ("r0", camera.memory.accesses());
}

// GenICam's own GenApi leaves the others, also those that overlap, with what they have read before.
TEST(Cache, ShowsAWriteToAllNodesAtThePlaceAndAsksAgainWhereItOverlaps) {
    Camera camera(kA + "IntReg B @0:: unsigned big IntReg Overlap @2:: unsigned big "
                       "IntReg Beside @8:: unsigned big");
    camera.gets("A B Overlap Beside");
    camera.memory.accesses();

    EXPECT_EQ("", camera.set("A", 0x0000ABCD));
    EXPECT_EQ(0xABCD, camera.get("B"));
    EXPECT_EQ("w0", camera.memory.accesses());
    EXPECT_THAT(camera.gets("Overlap Beside"), ElementsAre(0xABCD0000, 0));
    EXPECT_EQ("r2", camera.memory.accesses());
}

TEST(Cache, IsIgnoredOnRequestAndAsksOnceMoreAfterwards) {
    Camera camera(kA);
    camera.get("A");
    camera.memory.put32(0, 5);
    camera.memory.accesses();

    EXPECT_EQ(5, camera.integer("A").GetValue(false, true));
    camera.memory.put32(0, 6);
    EXPECT_THAT(camera.gets("A A"), ElementsAre(6, 6)); // what was read past the cache is not kept
    EXPECT_EQ("r0 r0", camera.memory.accesses());
}

TEST(Cache, IsIgnoredThroughFormulasAndFeatures) {
    Camera camera(kA + "IntSwissKnife K pVariable.V=A Formula=V+1 Float F pValue=K "
                       "Boolean B pValue=A Enumeration E EnumEntry.X=0 pValue=A");
    camera.get("A");
    camera.memory.accesses();

    EXPECT_EQ(1, camera.floating("F").GetValue(false, true));
    EXPECT_STREQ("1", camera.value("K").ToString(false, true).c_str());
    EXPECT_FALSE(camera.boolean("B").GetValue(false, true));
    EXPECT_EQ(0, camera.enumeration("E").GetIntValue(false, true));
    EXPECT_NE(nullptr, camera.enumeration("E").GetCurrentEntry(false, true));
    EXPECT_EQ("r0 r0 r0 r0 r0", camera.memory.accesses());
}

TEST(Cache, IsNotBypassedByVerifying) {
    Camera camera(kA);
    camera.get("A");
    camera.memory.accesses();

    camera.integer("A").GetValue(true);
    EXPECT_EQ("", camera.memory.accesses());
}

TEST(Cache, IsDroppedByAWriteOfAnInvalidator) {
    Camera camera("IntReg R @0:: pInvalidator=Trigger unsigned big " + kTrigger);
    EXPECT_EQ("r0 r4 w4", accessesFor(camera, "R Trigger R Trigger=1"));
    camera.memory.put32(0, 8);
    EXPECT_THAT(camera.gets("R R"), ElementsAre(8, 8));
    EXPECT_EQ("r0", camera.memory.accesses());
}

TEST(Cache, IsDroppedByAWriteOfAConstantOrCommandThatInvalidates) {
    EXPECT_EQ("r0 r0 w4 r0",
              accessesFor("IntReg R @0:: pInvalidator=Constant pInvalidator=Go unsigned big "
                          "Integer Constant Value=1 IntReg Target @4 unsigned big "
                          "Command Go pValue=Target CommandValue=1",
                          "R Constant=2 R Go=1 R"));
}

TEST(Cache, IsDroppedByAWriteOfWhatAnInvalidatorReads) {
    // The register itself, or what leads to it.
    EXPECT_EQ("r0 w4 r0 w4 r0",
              accessesFor("IntReg R @0:: pInvalidator=Feature unsigned big "
                          "Integer Feature pValue=Below IntConverter Below FormulaTo=FROM "
                          "FormulaFrom=TO pValue=Trigger Slope=Increasing " +
                              kTrigger,
                          "R Trigger=1 R Feature=2 R"));
}

TEST(Cache, OfARegisterIsNotDroppedByInvalidatorsOfAFeature) {
    EXPECT_EQ("r0", accessesFor(kA + "Integer Trigger Value=1 "
                                     "Integer Feature pInvalidator=Trigger pValue=A "
                                     "IntSwissKnife K pInvalidator=Trigger pVariable.V=A Formula=V",
                                "Feature K Trigger=2 Feature K"));
}

TEST(Cache, IsDroppedByAWriteOfWhatTheAddressDependsOn) {
    for (const char *where : {"Address=0 pIndex.4=Selector", "pAddress=Place",
                              "IntSwissKnife.Inside={pVariable.V=Selector Formula=V*4}"}) {
        SCOPED_TRACE(where);
        Camera camera(with("IntReg Selector @100:: unsigned big IntReg R $ @:: unsigned big "
                           "IntSwissKnife Place pVariable.V=Selector Formula=V*4",
                           where));
        EXPECT_EQ("r100 r0 w100", accessesFor(camera, "R R Selector=1"));
        camera.memory.put32(4, 40);
        EXPECT_EQ(40, camera.get("R"));
        EXPECT_EQ("r4 w100 r0", accessesFor(camera, "Selector=0 R R"));
    }
}

// The index is the camera's own to change, so nothing was written between the two places.
TEST(Cache, IsDroppedAtEachPlaceWhereTheRegisterWas) {
    Camera camera("IntReg Index @100 unsigned big IntReg Trigger @104:: unsigned big "
                  "IntReg R pIndex=Index @:: pInvalidator=Trigger unsigned big");
    camera.get("R"); // at 0
    camera.memory.put32(100, 1);
    camera.get("R"); // at 4
    EXPECT_EQ("", camera.set("Trigger", 1));
    camera.memory.put32(0, 5);
    camera.memory.put32(4, 6);

    EXPECT_EQ(6, camera.get("R"));
    camera.memory.put32(100, 0);
    EXPECT_EQ(5, camera.get("R"));
}

TEST(Cache, IsDroppedByAWriteOfWhatTheLengthDependsOn) {
    EXPECT_EQ("r0 r0", accessesFor("Integer L Value=4 StringReg S @0+L::", "S L=4 S S"));
}

TEST(Cache, IsNotDroppedBySelectors) {
    EXPECT_EQ("r0 w4 w0", accessesFor(kA + "IntReg Selector @4:: unsigned big pSelected=A",
                                      "A Selector=1 A A=2 Selector"));
}

// Nobody polls a node map of ours, so what changes by itself is asked for each time.
TEST(Cache, KeepsNothingThatWantsPolling) {
    EXPECT_EQ("r0 r0",
              accessesFor("IntReg R @0::WriteThrough PollingTime=1000 unsigned big", "R R"));
}

TEST(Cache, IsEachRegistersOwnBelowAFormula) {
    Camera camera(kA + "IntReg Asked @4 unsigned big "
                       "IntSwissKnife K pVariable.A=A pVariable.B=Asked Formula=A+B");
    camera.get("K");
    camera.memory.accesses();
    camera.memory.put32(4, 5);

    EXPECT_EQ(5, camera.get("K"));
    EXPECT_EQ("r4", camera.memory.accesses());
}

TEST(Cache, KeepsBoundsAndConditionsAsAnyValue) {
    Camera camera("IntReg Limit @0:: unsigned big IntReg There @4:: unsigned big "
                  "Integer A pIsAvailable=There Value=1 pMax=Limit");
    camera.memory.put32(0, 10);
    camera.memory.put32(4, 1);
    EXPECT_EQ(10, camera.integer("A").GetMax());
    camera.memory.accesses();

    camera.memory.put32(0, 20);
    camera.memory.put32(4, 0);
    EXPECT_EQ(10, camera.integer("A").GetMax());
    EXPECT_EQ("", camera.set("A", 10));
    EXPECT_EQ(GenApi_3_0::RW, camera.mode("A"));
    EXPECT_EQ("", camera.memory.accesses());

    EXPECT_EQ("", camera.set("Limit", 5));
    EXPECT_EQ(5, camera.integer("A").GetMax());
    EXPECT_EQ("OutOfRange", camera.set("A", 10));
}

TEST(Cache, IsNotUsedWhereAnotherProgramControlsTheCamera) {
    Camera camera(kRow, genapi::Use::Monitor);
    camera.memory.readsTogether = true;
    EXPECT_EQ("r0 r0", accessesFor(camera, "A A")); // nor is a neighbour read
}

TEST(Cache, IsUsedWhileThePortAllowsIt) {
    class Leaving : public Memory {
    public:
        void requireKept() override {
            if (gone)
                KXGENAPI_RAISE(RuntimeException, "%s", "the camera is gone");
        }
        bool gone = false;
    } memory;
    genapi::NodeMap map(describe(kA + "IntSwissKnife K pVariable.V=A Formula=V "
                                      "MaskedIntReg Bits @0:: LSB=31 MSB=24 unsigned big"),
                        memory);
    const auto node = [&map](const char *name) -> IInteger & {
        return dynamic_cast<IInteger &>(*map.GetNode(name));
    };
    node("A").GetValue();
    node("K").GetValue();

    memory.gone = true;
    for (const char *name : {"A", "K"})
        EXPECT_EQ("Runtime", raised([&] { node(name).GetValue(); })) << name;
    EXPECT_EQ("Runtime", raised([&] { node("Bits").SetValue(1); }));
    memory.gone = false;
    for (const char *name : {"A", "K"})
        EXPECT_EQ(0, node(name).GetValue()) << name;
    EXPECT_EQ("r0", memory.accesses());
}

TEST(Cache, LetsThePortsExceptionsPassAndKeepsNothing) {
    Camera camera(kA + "Integer F pValue=A");
    const auto reason = [&]() -> string {
        try {
            camera.get("F");
        } catch (const GenICam_3_0::TimeoutException &error) {
            return string("Timeout: ") + error.GetDescription();
        } catch (const GenICam_3_0::RuntimeException &error) {
            return string("Runtime: ") + error.GetDescription();
        } catch (const std::length_error &error) {
            return string("length: ") + error.what();
        }
        return "none";
    };
    camera.memory.before = noAnswer;
    EXPECT_EQ("Timeout: no answer", reason());
    EXPECT_EQ("Timeout", camera.set("F", 1));
    camera.memory.before = [](char, uint64_t) { KXGENAPI_RAISE(RuntimeException, "%s", "gone"); };
    EXPECT_EQ("Runtime: gone", reason());
    camera.memory.before = [](char, uint64_t) { throw std::length_error("of the port"); };
    EXPECT_EQ("length: of the port", reason());

    camera.memory.before = nullptr;
    camera.memory.put32(0, 5);
    EXPECT_EQ(5, camera.get("F"));
}

// Whether the camera took it, nobody knows.
TEST(Cache, ForgetsWhatAFailedWriteMayHaveChanged) {
    Camera camera(kA);
    camera.get("A");
    camera.memory.before = noAnswer;
    EXPECT_EQ("Timeout", camera.set("A", 7));
    camera.memory.before = nullptr;
    camera.memory.put32(0, 7);

    EXPECT_EQ(7, camera.get("A"));
}

// Registers side by side are read by one command where the camera lets that be done.
struct Together : Camera {
    explicit Together(const string &elements) : Camera(elements) { memory.readsTogether = true; }
};

TEST(Cache, HasRegistersSideBySideFromOneCommand) {
    Together camera(kRow);
    camera.memory.put32(4, 44);

    EXPECT_THAT(camera.gets("C B A"), ElementsAre(0, 44, 0));
    EXPECT_EQ("r0+12", camera.memory.accesses());
}

TEST(Cache, ReadsTogetherOnlyWhatMayBeKeptAndIsSurelyThere) {
    Together camera(kRow + "IntReg NoCache @12 unsigned big "
                           "IntReg Conditioned pIsAvailable=A @16:: unsigned big "
                           "IntReg Write @20:WO: unsigned big IntReg Apart @24:: unsigned big");
    EXPECT_EQ("r0+12 r24", accessesFor(camera, "B Apart"));
}

TEST(Cache, ForgetsWhatNobodyHasAskedForWithTheNextWrite) {
    Together camera(kRow + "IntReg Other @100:: unsigned big");
    camera.gets("A B");
    camera.memory.accesses();

    EXPECT_EQ("", camera.set("Other", 1));
    camera.memory.put32(8, 88); // the camera did that, and no description says so

    EXPECT_THAT(camera.gets("A B C"), ElementsAre(0, 0, 88));
    EXPECT_EQ("w100 r8", camera.memory.accesses());
}

TEST(Cache, ReadsNoMoreTogetherThanOneCommandTakes) {
    constexpr size_t kMost = genapi::kMostTogether;
    string row, names;
    for (size_t i = 0; i <= 2 * kMost / 4; ++i) {
        row += with("IntReg R$ @", std::to_string(i)) + std::to_string(4 * i) + ":: unsigned big ";
        names += " R" + std::to_string(i);
    }
    Together camera(row);
    camera.gets(names);

    const string most = std::to_string(kMost);
    EXPECT_EQ("r0+" + most + " r" + most + "+" + most + " r" + std::to_string(2 * kMost),
              camera.memory.accesses());
}

TEST(Cache, ReadsNoNeighbourThatAnotherNodeSaysMustNotBeRead) {
    for (const char *other : {"MaskedIntReg Event @4 Bit=0 unsigned big "
                              "IntReg Trigger @8:WO: unsigned big",
                              "IntReg Imposed ImposedAccessMode=WO @4:: unsigned big"}) {
        Together camera(kRow + other);
        EXPECT_EQ("r0", accessesFor(camera, "A")) << other;
    }
}

TEST(Cache, ForgetsNeighboursAfterAWhile) {
    Together camera(kRow);
    camera.get("A");
    camera.memory.put32(4, 44);
    camera.memory.put32(8, 88);
    camera.memory.clock = genapi::kLongestUnasked.count();
    EXPECT_EQ(0, camera.get("B"));
    camera.memory.clock += 1;

    EXPECT_EQ(88, camera.get("C"));
    EXPECT_EQ(0, camera.get("B")); // it had been asked for in time
    EXPECT_EQ("r0+12 r8", camera.memory.accesses());
}

// So descriptions say that the camera makes something else of what is written.
TEST(Cache, AsksAgainForARegisterThatItsOwnFeatureMakesStale) {
    Camera camera("IntReg R @0:: pInvalidator=F unsigned big Integer F pValue=R");
    EXPECT_EQ("", camera.set("F", 7));
    camera.memory.put32(0, 5);

    EXPECT_EQ(5, camera.get("F"));
}

TEST(Cache, ForgetsARegisterThatWasReadThroughAnotherNodeAlone) {
    Camera camera(kA + "IntReg B @0:: pInvalidator=X unsigned big IntReg X @100 unsigned big");
    camera.get("A");
    EXPECT_EQ("", camera.set("X", 1));
    camera.memory.put32(0, 5);

    EXPECT_EQ(5, camera.get("B"));
}

TEST(Cache, IsPassedByForTheValueAndNotForItsConditions) {
    Camera camera(kA + "IntReg R pIsAvailable=A @100:: unsigned big");
    camera.memory.put32(0, 1);
    camera.get("R");
    camera.memory.accesses();

    camera.integer("R").GetValue(false, true);
    camera.integer("R").GetValue(false, false);
    EXPECT_EQ("r100 r100", camera.memory.accesses());
}

} // namespace
