// When the camera is asked, and when what it said before is used.

#include <gmock/gmock.h>

#include <stdexcept>

#include "genapi/bounds.h"
#include "genapi/errors.h"
#include "support.h"

namespace {

using GenApi_3_0::IInteger;
using testing::ElementsAre;
using testing::IsEmpty;

// A register of 4 bytes, its place said by Address or by others.
std::string kept(const std::string &name, uint64_t address, const std::string &cachable = "",
                 const std::string &more = "") {
    return element("IntReg", name, place(address, 4, "RW", cachable) + more + kUnsignedBig);
}

std::string invalidator(const std::string &name) {
    return "<pInvalidator>" + name + "</pInvalidator>";
}

TEST(Cache, KeepsWhatWasReadAndWrittenUnlessSaidOtherwise) {
    for (const char *cachable : {"", "WriteThrough"}) {
        Camera camera(kept("R", 0, cachable));
        camera.memory.put32(0, 5);
        IInteger &r = camera.integer("R");

        EXPECT_EQ(5, r.GetValue());
        EXPECT_EQ(5, r.GetValue());
        EXPECT_EQ("5", camera.text("R"));
        EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0))) << cachable;
        r.SetValue(6);
        EXPECT_EQ(6, r.GetValue());
        EXPECT_THAT(camera.memory.accesses(), ElementsAre(writing(0))) << cachable;
    }
}

TEST(Cache, KeepsUntilWrittenWhereWritesGoAroundIt) {
    Camera camera(kept("R", 0, "WriteAround"));
    IInteger &r = camera.integer("R");

    r.GetValue();
    r.GetValue();
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0)));
    r.SetValue(6);
    camera.memory.put32(0, 7); // what the camera made of it
    EXPECT_EQ(7, r.GetValue());
    EXPECT_EQ(7, r.GetValue());
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(writing(0), reading(0)));
}

TEST(Cache, KeepsNothingWhereThereIsToBeNone) {
    Camera camera(kept("R", 0, "NoCache"));

    camera.integer("R").GetValue();
    camera.integer("R").SetValue(6);
    camera.integer("R").GetValue();
    camera.integer("R").GetValue();

    EXPECT_THAT(camera.memory.accesses(),
                ElementsAre(reading(0), writing(0), reading(0), reading(0)));
}

TEST(Cache, KeepsTextsAndBytesToo) {
    Camera camera(element("StringReg", "S", place(0, 8, "RW", "")) +
                  element("Register", "R", place(8, 8, "RW", "")) +
                  element("FloatReg", "F", place(16, 4, "RW", "") + kBig));
    for (int i = 0; i < 2; ++i)
        for (const char *name : {"S", "R", "F"})
            camera.text(name);
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0, 8), reading(8, 8), reading(16)));
}

TEST(Cache, ReadsOnceForAllNodesAtAPlace) {
    Camera camera(element("MaskedIntReg", "Low",
                          place(0, 4, "RW", "") + "<LSB>31</LSB><MSB>16</MSB>" + kUnsignedBig) +
                  element("MaskedIntReg", "High",
                          place(0, 4, "RW", "") + "<LSB>15</LSB><MSB>0</MSB>" + kUnsignedBig));
    camera.memory.put32(0, 0x00010002);

    EXPECT_EQ(2, camera.integer("Low").GetValue());
    EXPECT_EQ(1, camera.integer("High").GetValue());
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0)));
}

// GenICam's own GenApi leaves the others with what they have read before.
TEST(Cache, ShowsAWriteToAllNodesAtThePlace) {
    Camera camera(kept("A", 0) + kept("B", 0));
    camera.integer("A").GetValue();
    camera.integer("B").GetValue();
    camera.memory.accesses();

    camera.integer("A").SetValue(9);

    EXPECT_EQ(9, camera.integer("B").GetValue());
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(writing(0)));
}

// GenICam's own GenApi leaves overlapping nodes with what they have read before, too.
TEST(Cache, AsksAgainWhereAWriteOverlaps) {
    Camera camera(kept("A", 0) + element("IntReg", "B", place(2, 4, "RW", "") + kUnsignedBig) +
                  kept("Beside", 8));
    for (const char *name : {"A", "B", "Beside"})
        camera.integer(name).GetValue();
    camera.memory.accesses();

    camera.integer("A").SetValue(0x0000ABCD);

    EXPECT_EQ(0xABCD0000, camera.integer("B").GetValue());
    EXPECT_EQ(0, camera.integer("Beside").GetValue());
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(writing(0), reading(2)));
}

TEST(Cache, IsIgnoredOnRequestAndAsksOnceMoreAfterwards) {
    Camera camera(kept("R", 0));
    IInteger &r = camera.integer("R");
    r.GetValue();
    camera.memory.put32(0, 5);
    camera.memory.accesses();

    EXPECT_EQ(5, r.GetValue(false, true));
    camera.memory.put32(0, 6);
    EXPECT_EQ(6, r.GetValue()); // what was read past the cache is not kept
    EXPECT_EQ(6, r.GetValue());
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0), reading(0)));
}

TEST(Cache, IsIgnoredThroughFormulasAndFeatures) {
    Camera camera(kept("R", 0) +
                  element("IntSwissKnife", "K",
                          R"(<pVariable Name="V">R</pVariable><Formula>V+1</Formula>)") +
                  element("Float", "F", "<pValue>K</pValue>") +
                  element("Boolean", "B", "<pValue>R</pValue>") +
                  R"(<Enumeration Name="E"><EnumEntry Name="X"><Value>0</Value></EnumEntry>
                     <pValue>R</pValue></Enumeration>)");
    camera.integer("R").GetValue();
    camera.memory.accesses();

    EXPECT_EQ(1, camera.floating("F").GetValue(false, true));
    EXPECT_STREQ("1", camera.value("K").ToString(false, true).c_str());
    EXPECT_FALSE(camera.boolean("B").GetValue(false, true));
    EXPECT_EQ(0, camera.enumeration("E").GetIntValue(false, true));
    EXPECT_NE(nullptr, camera.enumeration("E").GetCurrentEntry(false, true));
    EXPECT_THAT(camera.memory.accesses(),
                ElementsAre(reading(0), reading(0), reading(0), reading(0), reading(0)));
}

TEST(Cache, IsNotBypassedByVerifying) {
    Camera camera(kept("R", 0));
    camera.integer("R").GetValue();
    camera.memory.accesses();

    camera.integer("R").GetValue(true);
    EXPECT_THAT(camera.memory.accesses(), IsEmpty());
}

TEST(Cache, IsDroppedByAWriteOfAnInvalidator) {
    Camera camera(kept("R", 0, "", invalidator("Trigger")) + kept("Trigger", 4));
    camera.integer("R").GetValue();
    camera.integer("Trigger").GetValue();
    camera.integer("R").GetValue();
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0), reading(4)));

    camera.integer("Trigger").SetValue(1);
    camera.memory.put32(0, 8);
    EXPECT_EQ(8, camera.integer("R").GetValue());
    EXPECT_EQ(8, camera.integer("R").GetValue());
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(writing(4), reading(0)));
}

TEST(Cache, IsDroppedByAWriteOfAConstantOrCommandThatInvalidates) {
    Camera camera(
        kept("R", 0, "", invalidator("Constant") + invalidator("Go")) + constant("Constant", 1) +
        intReg("Target", 4) +
        element("Command", "Go", "<pValue>Target</pValue><CommandValue>1</CommandValue>"));
    camera.integer("R").GetValue();
    camera.memory.accesses();

    camera.integer("Constant").SetValue(2);
    camera.integer("R").GetValue();
    camera.value("Go").FromString("1");
    camera.integer("R").GetValue();
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0), writing(4), reading(0)));
}

TEST(Cache, IsDroppedByAWriteOfWhatAnInvalidatorReads) {
    Camera camera(kept("R", 0, "", invalidator("Feature")) +
                  element("Integer", "Feature", "<pValue>Below</pValue>") +
                  element("IntConverter", "Below",
                          "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>"
                          "<pValue>Trigger</pValue><Slope>Increasing</Slope>") +
                  kept("Trigger", 4));
    camera.integer("R").GetValue();
    camera.memory.accesses();

    camera.integer("Trigger").SetValue(1); // the register itself
    camera.integer("R").GetValue();
    camera.integer("Feature").SetValue(2); // or what leads to it
    camera.integer("R").GetValue();
    EXPECT_THAT(camera.memory.accesses(),
                ElementsAre(writing(4), reading(0), writing(4), reading(0)));
}

TEST(Cache, OfARegisterIsNotDroppedByInvalidatorsOfAFeature) {
    Camera camera(kept("R", 0) + constant("Trigger", 1) +
                  element("Integer", "Feature", invalidator("Trigger") + "<pValue>R</pValue>") +
                  element("IntSwissKnife", "K",
                          invalidator("Trigger") +
                              R"(<pVariable Name="V">R</pVariable><Formula>V</Formula>)"));
    camera.integer("Feature").GetValue();
    camera.integer("K").GetValue();
    camera.integer("Trigger").SetValue(2);
    camera.integer("Feature").GetValue();
    camera.integer("K").GetValue();

    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0)));
}

TEST(Cache, IsDroppedByAWriteOfWhatTheAddressDependsOn) {
    const std::string rest = std::string("<Length>4</Length><AccessMode>RW</AccessMode>"
                                         "<pPort>Device</pPort>") +
                             kUnsignedBig;
    for (const char *where :
         {R"(<Address>0</Address><pIndex Offset="4">Selector</pIndex>)",
          "<pAddress>Place</pAddress>",
          R"(<IntSwissKnife Name="Inside"><pVariable Name="V">Selector</pVariable>
             <Formula>V*4</Formula></IntSwissKnife>)"}) {
        SCOPED_TRACE(where);
        Camera camera(kept("Selector", 100) +
                      element("IntSwissKnife", "Place",
                              R"(<pVariable Name="V">Selector</pVariable><Formula>V*4</Formula>)") +
                      element("IntReg", "R", where + rest));
        camera.memory.put32(4, 40);
        IInteger &r = camera.integer("R");
        r.GetValue();
        r.GetValue();
        EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(100), reading(0)));

        camera.integer("Selector").SetValue(1);
        EXPECT_EQ(40, r.GetValue());
        camera.integer("Selector").SetValue(0);
        EXPECT_EQ(0, r.GetValue());
        EXPECT_EQ(0, r.GetValue());
        EXPECT_THAT(camera.memory.accesses(),
                    ElementsAre(writing(100), reading(4), writing(100), reading(0)));
    }
}

// The index is the camera's own to change, so nothing was written between the two places.
TEST(Cache, IsDroppedAtEachPlaceWhereTheRegisterWas) {
    Camera camera(intReg("Index", 100) + kept("Trigger", 104) +
                  element("IntReg", "R",
                          "<pIndex>Index</pIndex><Length>4</Length><AccessMode>RW</AccessMode>"
                          "<pPort>Device</pPort>" +
                              invalidator("Trigger") + kUnsignedBig));
    camera.integer("R").GetValue(); // at 0
    camera.memory.put32(100, 1);
    camera.integer("R").GetValue(); // at 4
    camera.integer("Trigger").SetValue(1);
    camera.memory.put32(0, 5);
    camera.memory.put32(4, 6);

    EXPECT_EQ(6, camera.integer("R").GetValue());
    camera.memory.put32(100, 0);
    EXPECT_EQ(5, camera.integer("R").GetValue());
}

TEST(Cache, IsDroppedByAWriteOfWhatTheLengthDependsOn) {
    Camera camera(constant("L", 4) +
                  element("StringReg", "S",
                          "<Address>0</Address><pLength>L</pLength><AccessMode>RW</AccessMode>"
                          "<pPort>Device</pPort>"));
    camera.text("S");
    camera.integer("L").SetValue(4);
    camera.text("S");
    camera.text("S");

    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0), reading(0)));
}

TEST(Cache, IsNotDroppedBySelectors) {
    Camera camera(kept("R", 0) +
                  element("IntReg", "Selector",
                          place(4, 4, "RW", "") + kUnsignedBig + "<pSelected>R</pSelected>"));
    camera.integer("R").GetValue();
    camera.integer("Selector").SetValue(1);
    camera.integer("R").GetValue();
    camera.integer("R").SetValue(2);
    camera.integer("Selector").GetValue();

    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0), writing(4), writing(0)));
}

// Nobody polls a node map of ours, so what changes by itself is asked for each time.
TEST(Cache, KeepsNothingThatWantsPolling) {
    Camera camera(kept("R", 0, "WriteThrough", "<PollingTime>1000</PollingTime>"));
    camera.integer("R").GetValue();
    camera.integer("R").GetValue();

    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0), reading(0)));
}

TEST(Cache, IsEachRegistersOwnBelowAFormula) {
    Camera camera(
        kept("Kept", 0) + kept("Asked", 4, "NoCache") +
        element("IntSwissKnife", "K",
                R"(<pVariable Name="A">Kept</pVariable><pVariable Name="B">Asked</pVariable>
                             <Formula>A+B</Formula>)"));
    camera.integer("K").GetValue();
    camera.memory.accesses();
    camera.memory.put32(4, 5);

    EXPECT_EQ(5, camera.integer("K").GetValue());
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(4)));
}

TEST(Cache, KeepsBoundsAndConditionsAsAnyValue) {
    Camera camera(kept("Limit", 0) + kept("There", 4) +
                  element("Integer", "A",
                          "<pIsAvailable>There</pIsAvailable><Value>1</Value><pMax>Limit</pMax>"));
    camera.memory.put32(0, 10);
    camera.memory.put32(4, 1);
    EXPECT_EQ(10, camera.integer("A").GetMax());
    camera.memory.accesses();

    camera.memory.put32(0, 20);
    camera.memory.put32(4, 0);
    EXPECT_EQ(10, camera.integer("A").GetMax());
    camera.integer("A").SetValue(10);
    EXPECT_EQ(GenApi_3_0::RW, camera.mode("A"));
    EXPECT_THAT(camera.memory.accesses(), IsEmpty());

    camera.integer("Limit").SetValue(5);
    EXPECT_EQ(5, camera.integer("A").GetMax());
    EXPECT_THROW(camera.integer("A").SetValue(10), GenICam_3_0::OutOfRangeException);
}

TEST(Cache, IsNotUsedWhereAnotherProgramControlsTheCamera) {
    Camera camera(describe(kept("R", 0)), genapi::Use::Monitor);
    camera.integer("R").GetValue();
    camera.integer("R").GetValue();

    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0), reading(0)));
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
    const std::string formula = R"(<pVariable Name="V">R</pVariable><Formula>V</Formula>)";
    genapi::NodeMap map(
        describe(kept("R", 0) + element("IntSwissKnife", "K", formula) +
                 element("MaskedIntReg", "Bits",
                         place(0, 4, "RW", "") + "<LSB>31</LSB><MSB>24</MSB>" + kUnsignedBig)),
        memory);
    const auto node = [&map](const char *name) -> IInteger & {
        return dynamic_cast<IInteger &>(*map.GetNode(name));
    };
    node("R").GetValue();
    node("K").GetValue();

    memory.gone = true;
    for (const char *name : {"R", "K"})
        EXPECT_EQ("Runtime", raised([&] { node(name).GetValue(); })) << name;
    EXPECT_EQ("Runtime", raised([&] { node("Bits").SetValue(1); }));
    memory.gone = false;
    for (const char *name : {"R", "K"})
        EXPECT_EQ(0, node(name).GetValue()) << name;
    EXPECT_THAT(memory.accesses(), ElementsAre(reading(0)));
}

TEST(Cache, LetsThePortsExceptionsPassAndKeepsNothing) {
    Camera camera(kept("R", 0) + element("Integer", "A", "<pValue>R</pValue>"));
    IInteger &a = camera.integer("A");

    camera.memory.before = [](char, uint64_t) {
        KXGENAPI_RAISE(TimeoutException, "%s", "no answer");
    };
    try {
        a.GetValue();
        FAIL() << "nothing was raised";
    } catch (const GenICam_3_0::TimeoutException &error) {
        EXPECT_STREQ("no answer", error.GetDescription());
    }
    EXPECT_THROW(a.SetValue(1), GenICam_3_0::TimeoutException);

    camera.memory.before = [](char, uint64_t) { throw std::length_error("of the port"); };
    try {
        a.GetValue();
        FAIL() << "nothing was raised";
    } catch (const std::length_error &error) {
        EXPECT_STREQ("of the port", error.what());
    }

    camera.memory.before = nullptr;
    camera.memory.put32(0, 5);
    EXPECT_EQ(5, a.GetValue());
}

// Whether the camera took it, nobody knows.
TEST(Cache, ForgetsWhatAFailedWriteMayHaveChanged) {
    Camera camera(kept("R", 0));
    IInteger &r = camera.integer("R");
    r.GetValue();
    camera.memory.before = [](char, uint64_t) {
        KXGENAPI_RAISE(TimeoutException, "%s", "no answer");
    };
    EXPECT_THROW(r.SetValue(7), GenICam_3_0::TimeoutException);
    camera.memory.before = nullptr;
    camera.memory.put32(0, 7);

    EXPECT_EQ(7, r.GetValue());
}

// Registers side by side are read by one command where the camera lets that be done.
struct Row : Camera {
    explicit Row(const std::string &more = "")
        : Camera(kept("A", 0) + kept("B", 4) + kept("C", 8) + more) {
        memory.readsTogether = true;
    }
    int64_t get(const char *name) { return integer(name).GetValue(); }
};

TEST(Cache, HasRegistersSideBySideFromOneCommand) {
    Row camera;
    camera.memory.put32(4, 44);

    camera.get("C");
    EXPECT_EQ(44, camera.get("B"));
    camera.get("A");

    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0, 12)));
}

TEST(Cache, ReadsTogetherOnlyWhatMayBeKeptAndIsSurelyThere) {
    Row camera(intReg("NoCache", 12) +
               element("IntReg", "Conditioned",
                       "<pIsAvailable>A</pIsAvailable>" + place(16, 4, "RW", "") + kUnsignedBig) +
               element("IntReg", "Write", place(20, 4, "WO", "") + kUnsignedBig) +
               kept("Apart", 24));

    camera.get("B");
    camera.get("Apart");

    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0, 12), reading(24)));
}

TEST(Cache, ForgetsWhatNobodyHasAskedForWithTheNextWrite) {
    Row camera(kept("Other", 100));
    camera.get("A");
    camera.get("B");
    camera.memory.accesses();

    camera.integer("Other").SetValue(1);
    camera.memory.put32(8, 88); // the camera did that, and no description says so

    camera.get("A");
    camera.get("B");
    EXPECT_EQ(88, camera.get("C"));
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(writing(100), reading(8)));
}

TEST(Cache, ReadsNoMoreTogetherThanOneCommandTakes) {
    std::string row;
    for (size_t i = 0; i <= 2 * genapi::kMostTogether / 4; ++i)
        row += kept("R" + std::to_string(i), 4 * i);
    Camera camera(row);
    camera.memory.readsTogether = true;

    for (size_t i = 0; i <= 2 * genapi::kMostTogether / 4; ++i)
        camera.integer("R" + std::to_string(i)).GetValue();

    EXPECT_THAT(camera.memory.accesses(),
                ElementsAre(reading(0, genapi::kMostTogether),
                            reading(genapi::kMostTogether, genapi::kMostTogether),
                            reading(2 * genapi::kMostTogether)));
}

TEST(Cache, ReadsNothingTogetherOfACameraThatAnotherProgramMayControl) {
    Memory memory;
    memory.readsTogether = true;
    genapi::NodeMap map(describe(kept("A", 0) + kept("B", 4)), memory, genapi::Use::Monitor);

    dynamic_cast<IInteger &>(*map.GetNode("A")).GetValue();

    EXPECT_THAT(memory.accesses(), ElementsAre(reading(0)));
}

TEST(Cache, ReadsNoNeighbourThatAnotherNodeSaysMustNotBeRead) {
    Row camera(element("MaskedIntReg", "Event",
                       place(4, 4, "RW", "NoCache") + "<Bit>0</Bit>" + kUnsignedBig) +
               element("IntReg", "Trigger", place(8, 4, "WO", "") + kUnsignedBig));

    camera.get("A");

    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0)));
}

TEST(Cache, ForgetsNeighboursAfterAWhile) {
    Row camera;
    camera.get("A");
    camera.memory.put32(4, 44);
    camera.memory.put32(8, 88);
    camera.memory.clock = genapi::kLongestUnasked.count();
    EXPECT_EQ(0, camera.get("B"));
    camera.memory.clock += 1;

    EXPECT_EQ(88, camera.get("C"));

    EXPECT_EQ(0, camera.get("B")); // it had been asked for in time
    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0, 12), reading(8)));
}

// So descriptions say that the camera makes something else of what is written.
TEST(Cache, AsksAgainForARegisterThatItsOwnFeatureMakesStale) {
    Camera camera(kept("R", 0, "", "<pInvalidator>F</pInvalidator>") +
                  element("Integer", "F", "<pValue>R</pValue>"));
    camera.integer("F").SetValue(7);
    camera.memory.put32(0, 5);

    EXPECT_EQ(5, camera.integer("F").GetValue());
}

TEST(Cache, ForgetsARegisterThatWasReadThroughAnotherNodeAlone) {
    Camera camera(kept("A", 0) + kept("B", 0, "", "<pInvalidator>X</pInvalidator>") +
                  intReg("X", 100));
    camera.integer("A").GetValue();
    camera.integer("X").SetValue(1);
    camera.memory.put32(0, 5);

    EXPECT_EQ(5, camera.integer("B").GetValue());
}

TEST(Cache, IsPassedByForTheValueAndNotForItsConditions) {
    Camera camera(kept("C", 0) + element("IntReg", "R",
                                         "<pIsAvailable>C</pIsAvailable>" +
                                             place(100, 4, "RW", "") + kUnsignedBig));
    camera.memory.put32(0, 1);
    camera.integer("R").GetValue();
    camera.memory.accesses();

    camera.integer("R").GetValue(false, true);
    camera.integer("R").GetValue(false, false);

    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(100), reading(100)));
}

TEST(Cache, AsksForNoNeighbourOfAnImposedAccessMode) {
    Row camera(element("IntReg", "Imposed",
                       "<ImposedAccessMode>WO</ImposedAccessMode>" + place(4, 4, "RW", "") +
                           kUnsignedBig));

    camera.get("A");

    EXPECT_THAT(camera.memory.accesses(), ElementsAre(reading(0)));
}

} // namespace
