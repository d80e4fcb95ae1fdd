// What may be done with a node, and what decides it.

#include <gmock/gmock.h>

#include "support.h"

namespace {

using namespace GenApi_3_0;
using std::string;
using testing::ElementsAre;

// Nodes of every mode, by the name of the mode.
const string kEveryMode = "Integer RW Value=1 Integer Zero Value=0 "
                          "IntReg RO @0:RO unsigned big IntReg WO @0:WO unsigned big "
                          "Integer NA pIsAvailable=Zero Value=1 "
                          "Integer NI pIsImplemented=Zero Value=1 ";

const std::pair<string, EAccessMode> kModes[] = {
    {"NI", NI}, {"NA", NA}, {"WO", WO}, {"RO", RO}, {"RW", RW}};

// Of A, which is said like "Integer pValue=RW".
EAccessMode modeOf(const string &node) {
    const size_t kind = std::min(node.find(' '), node.size());
    return Camera(kEveryMode + node.substr(0, kind) + " A" + node.substr(kind)).mode("A");
}

// The same of four that refer to a node by '$': NA, NI, RO and WO.
std::vector<EAccessMode> modesWith(const string &node) {
    std::vector<EAccessMode> modes;
    for (const char *target : {"NA", "NI", "RO", "WO"})
        modes.push_back(modeOf(with(node, target)));
    return modes;
}

TEST(Access, IsReadAndWriteForConstantsAndReadOnlyForFormulas) {
    for (const char *constant : {"Integer Value=1", "Float Value=1", "Boolean Value=true",
                                 "String Value=x", "Enumeration EnumEntry.X=1 Value=1"})
        EXPECT_EQ(RW, modeOf(constant)) << constant;
    for (const char *formula : {"IntSwissKnife Formula=1", "SwissKnife Formula=1"})
        EXPECT_EQ(RO, modeOf(formula)) << formula;
}

TEST(Access, OfRegistersIsAsSaid) {
    for (const char *node :
         {"IntReg @0:$ unsigned big", "FloatReg @0:$ big", "StringReg @0:$", "Register @0:$"})
        for (const auto &[name, mode] : {kModes[2], kModes[3], kModes[4]})
            EXPECT_EQ(mode, modeOf(with(node, name))) << node << ' ' << name;
}

TEST(Access, IsThatOfTheTarget) {
    for (const char *node :
         {"Integer pValue=$", "Float pValue=$", "Boolean pValue=$",
          "Command pValue=$ CommandValue=1", "Enumeration EnumEntry.X=1 pValue=$",
          "Converter FormulaTo=FROM FormulaFrom=TO pValue=$",
          "IntConverter FormulaTo=FROM FormulaFrom=TO pValue=$",
          "Integer pIndex=Zero pValueIndexed.0=$ ValueDefault=1"})
        for (const auto &[name, mode] : kModes)
            EXPECT_EQ(mode, modeOf(with(node, name))) << node << ' ' << name;
}

TEST(Access, IsNarrowedByWhatIsImposed) {
    const struct {
        EAccessMode expected;
        const char *target, *imposed;
    } cases[] = {{RO, "RW", "RO"}, {WO, "RW", "WO"}, {RW, "RW", "RW"}, {RO, "RO", "RW"},
                 {WO, "WO", "RW"}, {NA, "RO", "WO"}, {NA, "WO", "RO"}, {RO, "RO", "RO"},
                 {NA, "NA", "RW"}, {NA, "NA", "RO"}, {NI, "NI", "RW"}, {NI, "NI", "WO"}};
    for (const auto &[expected, target, imposed] : cases)
        EXPECT_EQ(expected,
                  modeOf(with("Integer ImposedAccessMode=$", imposed) + with(" pValue=$", target)))
            << target << " imposed " << imposed;
    // Of a register, too.
    EXPECT_EQ(RO, modeOf("IntReg ImposedAccessMode=RO @0 unsigned big"));
    EXPECT_EQ(NA, modeOf("IntReg ImposedAccessMode=RO @0:WO unsigned big"));
}

TEST(Access, IsNoneWhereThePortIsNotConnected) {
    Camera camera("IntReg R Address=0 Length=4 AccessMode=RW pPort=Chunk unsigned big "
                  "Port Chunk Integer A pValue=R");

    EXPECT_THAT(camera.modes("R A"), ElementsAre(NI, NI));
    EXPECT_EQ("Access", camera.refuses("R"));
    EXPECT_EQ("", camera.memory.accesses());
}

TEST(Access, IsByTheDeviceOrTheOnlyPortWhateverItsName) {
    Memory memory;
    memory.put32(0, 5);
    const string reg = "IntReg R Address=0 Length=4 AccessMode=RW pPort=Camera unsigned big";
    genapi::NodeMap one(describe(reg, nodes("Port Camera")), memory);
    EXPECT_EQ(5, dynamic_cast<IInteger &>(*one.GetNode("R")).GetValue());
    genapi::NodeMap two(describe(reg, nodes("Port Camera Port Other")), memory);
    EXPECT_EQ(NI, two.GetNode("R")->GetAccessMode());
}

TEST(Access, IsReadOnlyAtMostWhereAnotherProgramControlsTheCamera) {
    Camera camera(kEveryMode + "IntReg R @0 unsigned big Integer A pValue=R", genapi::Use::Monitor);

    EXPECT_THAT(camera.modes("R A RO WO"), ElementsAre(RO, RO, RO, NA));
    EXPECT_EQ("Access", camera.set("A", 1, false));
    EXPECT_EQ("", camera.memory.accesses());
}

TEST(Access, DependsOnItsConditions) {
    const struct {
        EAccessMode expected;
        const char *condition, *value, *target;
    } cases[] = {
        {NI, "pIsImplemented", "0", "RW"}, {RW, "pIsImplemented", "1", "RW"},
        {RW, "pIsImplemented", "7", "RW"}, {RO, "pIsImplemented", "-1", "RO"},
        {NA, "pIsAvailable", "0", "RW"},   {RW, "pIsAvailable", "2", "RW"},
        {RW, "pIsAvailable", "-1", "RW"},  {RW, "pIsLocked", "0", "RW"},
        {RO, "pIsLocked", "1", "RW"},      {RO, "pIsLocked", "-1", "RW"},
        {NA, "pIsLocked", "1", "WO"},      {RO, "pIsLocked", "1", "RO"},
        {WO, "pIsLocked", "0", "WO"},      {NI, "pIsAvailable", "0", "NI"},
    };
    for (const auto &[expected, condition, value, target] : cases) {
        Camera camera(kEveryMode + with("Integer C Value=$", value) +
                      with(" Integer A $=C", condition) + with(" pValue=$", target));
        EXPECT_EQ(expected, camera.mode("A")) << condition << ' ' << value << ' ' << target;
    }
}

TEST(Access, HasConditionsThatMayBeBooleans) {
    Camera camera("Boolean C Value=false Integer There pIsImplemented=C Value=1 "
                  "Integer Now pIsAvailable=C Value=1 Integer Locked pIsLocked=C Value=1");
    EXPECT_THAT(camera.modes("There Now Locked"), ElementsAre(NI, NA, RW));
    camera.boolean("C").SetValue(true);
    EXPECT_THAT(camera.modes("There Now Locked"), ElementsAre(RW, RW, RO));
}

TEST(Access, IsNoneWhereAConditionCannotBeRead) {
    for (const char *node : {"Integer pIsImplemented=$ Value=1", "Integer pIsAvailable=$ Value=1",
                             "Integer pIsLocked=$ Value=1"})
        EXPECT_THAT(modesWith(node), ElementsAre(NA, NI, testing::_, NA)) << node;
}

// What needs what is write-only raises, but is there.
TEST(Access, GoesWithWhatTheRangeAndTheAddressNeed) {
    for (const char *node :
         {"Integer Value=1 pMin=$", "Integer Value=1 pMax=$", "Integer Value=1 pInc=$",
          "Float Value=1 pMin=$", "Float Value=1 pMax=$", "Float Value=1 pInc=$",
          "IntReg Address=0 pAddress=$ @:: unsigned big",
          "IntReg Address=0 pIndex=$ @:: unsigned big"})
        EXPECT_THAT(modesWith(node), ElementsAre(NA, NI, RW, RW)) << node;
}

TEST(Access, GoesWithTheVariablesOfAFormula) {
    for (const char *node :
         {"IntSwissKnife pVariable.V=$ Formula=V", "SwissKnife pVariable.V=$ Formula=V"}) {
        EXPECT_THAT(modesWith(node), ElementsAre(NA, NI, RO, RO)) << node;
        EXPECT_EQ(RO, modeOf(with(node, "RW"))) << node;
    }
    for (const char *node :
         {"IntConverter pVariable.V=$ FormulaTo=FROM+V FormulaFrom=TO-V pValue=RW",
          "Converter pVariable.V=$ FormulaTo=FROM+V FormulaFrom=TO-V pValue=RW"})
        EXPECT_THAT(modesWith(node), ElementsAre(NA, NI, RW, testing::_)) << node;
}

TEST(Access, GoesWithCopiesAndIndices) {
    EXPECT_THAT(modesWith("Integer pValue=RW pValueCopy=$"),
                ElementsAre(NA, NI, testing::_, testing::_));
    EXPECT_THAT(modesWith("Integer pIndex=$ ValueIndexed.1=1 ValueDefault=2"),
                ElementsAre(NA, NI, RW, NA));
}

TEST(Access, IsMissedWhereAnUnreadableNodeIsNeeded) {
    Camera camera(kEveryMode + "Integer A Value=1 Min=0 pMax=WO "
                               "IntSwissKnife K pVariable.V=WO Formula=V "
                               "IntReg R pAddress=WO @:: unsigned big");

    EXPECT_EQ(1, camera.get("A"));
    EXPECT_EQ(0, camera.integer("A").GetMin());
    EXPECT_EQ("Access", raised([&] { camera.integer("A").GetMax(); }));
    EXPECT_EQ("Access", camera.set("A", 1));
    EXPECT_EQ("Access", camera.refuses("K"));
    EXPECT_EQ("Access", camera.refuses("R"));
    EXPECT_EQ("Access", camera.set("R", 1));
}

TEST(Access, IsNeededForValuesAndTexts) {
    Camera camera(kEveryMode);

    for (const char *name : {"NI", "NA", "WO"}) {
        EXPECT_EQ("Access", camera.refuses(name)) << name;
        EXPECT_EQ("Access", raised([&] { camera.text(name); })) << name;
    }
    for (const char *name : {"NI", "NA", "RO"}) {
        EXPECT_EQ("Access", camera.set(name, 1)) << name;
        EXPECT_EQ("Access", camera.type(name, "1")) << name;
    }
}

TEST(Access, IsNeededForBoundsUnlessTheNodeIsWriteOnly) {
    Camera camera(kEveryMode + "FloatReg WOF @0:WO big Float NAF pIsAvailable=Zero Value=1");

    EXPECT_EQ(0, camera.integer("WO").GetMin());
    EXPECT_EQ(0xFFFFFFFF, camera.integer("WO").GetMax());
    EXPECT_EQ(1, camera.integer("WO").GetInc());
    EXPECT_GT(camera.floating("WOF").GetMax(), 1e38);
    for (const char *name : {"NI", "NA"}) {
        EXPECT_EQ("Access", raised([&] { camera.integer(name).GetMin(); })) << name;
        EXPECT_EQ("Access", raised([&] { camera.integer(name).GetMax(); })) << name;
        EXPECT_EQ("Access", raised([&] { camera.integer(name).GetInc(); })) << name;
    }
    EXPECT_EQ("Access", raised([&] { camera.floating("NAF").GetMin(); }));
    EXPECT_EQ("Access", raised([&] { camera.floating("NAF").GetMax(); }));
}

TEST(Access, OfAnEnumerationNeedsAnAvailableEntry) {
    const std::pair<EAccessMode, const char *> cases[] = {
        {RW, "EnumEntry.X=1 EnumEntry.Y={pIsAvailable=Zero Value=2} "
             "EnumEntry.Z={pIsImplemented=Zero Value=3}"},
        {NA, "EnumEntry.Y={pIsAvailable=Zero Value=1} EnumEntry.Z={pIsImplemented=Zero Value=2}"},
        {NI, "EnumEntry.Y={pIsImplemented=Zero Value=1} "
             "EnumEntry.Z={pIsImplemented=Zero Value=2}"}};
    for (const auto &[expected, entries] : cases)
        EXPECT_EQ(expected, modeOf(with("Enumeration $ Value=1", entries))) << entries;
}

TEST(Access, OfEntriesIsByTheirOwnConditions) {
    Camera camera(kEveryMode + "Enumeration E EnumEntry.Plain=1 "
                               "EnumEntry.Now={pIsAvailable=RW Value=2} "
                               "EnumEntry.NotNow={pIsAvailable=Zero Value=3} "
                               "EnumEntry.Never={pIsImplemented=Zero Value=4} "
                               "EnumEntry.Locked={pIsLocked=RW Value=5} "
                               "EnumEntry.Imposed={ImposedAccessMode=WO Value=6} Value=1");

    EXPECT_THAT(camera.modes("EnumEntry_E_Plain EnumEntry_E_Now EnumEntry_E_Locked"),
                ElementsAre(RO, RO, RO));
    EXPECT_THAT(camera.modes("EnumEntry_E_NotNow EnumEntry_E_Never EnumEntry_E_Imposed"),
                ElementsAre(NA, NI, NA));
}

TEST(Access, OfACategoryIsThatSomethingIsInIt) {
    EXPECT_THAT(modesWith("Category pFeature=$"), ElementsAre(RO, NI, testing::_, RO));
    EXPECT_EQ(RO, modeOf("Category pFeature=RW"));
    EXPECT_EQ(RO, modeOf("Category pFeature=NI pFeature=NA"));
    EXPECT_EQ(NI, modeOf("Category"));
    EXPECT_EQ(NI, modeOf("Category pIsImplemented=Zero pFeature=RW"));
    EXPECT_EQ(RO, modeOf("Category pIsAvailable=Zero pFeature=RW"));
}

TEST(Access, DoesNotDependOnSelectorsOrVisibility) {
    Camera camera(kEveryMode + "Integer Selector pIsAvailable=Zero Value=0 pSelected=A "
                               "Integer A Visibility=Invisible Value=1");

    EXPECT_THAT(camera.modes("Selector A"), ElementsAre(NA, RW));
    EXPECT_EQ(1, camera.get("A"));
}

TEST(Access, IsAskedForByFreeFunctions) {
    Camera camera(kEveryMode);
    const auto asked = [](INode *node) {
        return std::vector<bool>{IsImplemented(node), IsAvailable(node), IsReadable(node),
                                 IsWritable(node)};
    };
    EXPECT_THAT(asked(&camera.node("NI")), ElementsAre(false, false, false, false));
    EXPECT_THAT(asked(&camera.node("NA")), ElementsAre(true, false, false, false));
    EXPECT_THAT(asked(&camera.node("WO")), ElementsAre(true, true, false, true));
    EXPECT_THAT(asked(&camera.node("RO")), ElementsAre(true, true, true, false));
    EXPECT_THAT(asked(&camera.node("RW")), ElementsAre(true, true, true, true));
    EXPECT_THAT(asked(nullptr), ElementsAre(false, false, false, false));
}

} // namespace
