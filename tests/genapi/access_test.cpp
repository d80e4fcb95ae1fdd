// What may be done with a node, and what decides it.

#include <gmock/gmock.h>

#include "support.h"

namespace {

using GenApi_3_0::EAccessMode;
using GenApi_3_0::NA;
using GenApi_3_0::NI;
using GenApi_3_0::RO;
using GenApi_3_0::RW;
using GenApi_3_0::WO;
using GenICam_3_0::AccessException;

// Nodes of every mode, by the name of the mode.
std::string everyMode() {
    return constant("RW", 1) + intReg("RO", 0, "RO") + intReg("WO", 0, "WO") + constant("Zero", 0) +
           element("Integer", "NA", "<pIsAvailable>Zero</pIsAvailable><Value>1</Value>") +
           element("Integer", "NI", "<pIsImplemented>Zero</pIsImplemented><Value>1</Value>");
}

const std::pair<const char *, EAccessMode> kModes[] = {
    {"NI", NI}, {"NA", NA}, {"WO", WO}, {"RO", RO}, {"RW", RW}};

EAccessMode modeOf(const std::string &kind, const std::string &content) {
    return Camera(everyMode() + element(kind, "A", content)).mode("A");
}

TEST(Access, IsReadAndWriteForConstantsAndReadOnlyForFormulas) {
    EXPECT_EQ(RW, modeOf("Integer", "<Value>1</Value>"));
    EXPECT_EQ(RW, modeOf("Float", "<Value>1</Value>"));
    EXPECT_EQ(RW, modeOf("Boolean", "<Value>true</Value>"));
    EXPECT_EQ(RW, modeOf("String", "<Value>x</Value>"));
    EXPECT_EQ(RW, modeOf("Enumeration",
                         R"(<EnumEntry Name="X"><Value>1</Value></EnumEntry><Value>1</Value>)"));
    EXPECT_EQ(RO, modeOf("IntSwissKnife", "<Formula>1</Formula>"));
    EXPECT_EQ(RO, modeOf("SwissKnife", "<Formula>1</Formula>"));
}

TEST(Access, OfRegistersIsAsSaid) {
    for (const auto &[name, mode] : kModes) {
        if (mode == NI || mode == NA)
            continue;
        EXPECT_EQ(mode, modeOf("IntReg", place(0, 4, name) + kUnsignedBig));
        EXPECT_EQ(mode, modeOf("FloatReg", place(0, 4, name) + kBig));
        EXPECT_EQ(mode, modeOf("StringReg", place(0, 4, name)));
        EXPECT_EQ(mode, modeOf("Register", place(0, 4, name)));
    }
}

TEST(Access, IsThatOfTheTarget) {
    const std::string formulas = "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>";
    for (const auto &[name, mode] : kModes) {
        SCOPED_TRACE(name);
        const std::string target = std::string("<pValue>") + name + "</pValue>";
        EXPECT_EQ(mode, modeOf("Integer", target));
        EXPECT_EQ(mode, modeOf("Float", target));
        EXPECT_EQ(mode, modeOf("Boolean", target));
        EXPECT_EQ(mode, modeOf("Command", target + "<CommandValue>1</CommandValue>"));
        EXPECT_EQ(mode, modeOf("Enumeration",
                               R"(<EnumEntry Name="X"><Value>1</Value></EnumEntry>)" + target));
        EXPECT_EQ(mode, modeOf("Converter", formulas + name + "</pValue>"));
        EXPECT_EQ(mode, modeOf("IntConverter", formulas + name + "</pValue>"));
        EXPECT_EQ(mode, modeOf("Integer", "<pIndex>Zero</pIndex><pValueIndexed Index=\"0\">" +
                                              std::string(name) +
                                              "</pValueIndexed><ValueDefault>1</ValueDefault>"));
    }
}

TEST(Access, IsNarrowedByWhatIsImposed) {
    const struct {
        EAccessMode expected;
        const char *target;
        const char *imposed;
    } cases[] = {{RO, "RW", "RO"}, {WO, "RW", "WO"}, {RW, "RW", "RW"}, {RO, "RO", "RW"},
                 {WO, "WO", "RW"}, {NA, "RO", "WO"}, {NA, "WO", "RO"}, {RO, "RO", "RO"},
                 {NA, "NA", "RW"}, {NA, "NA", "RO"}, {NI, "NI", "RW"}, {NI, "NI", "WO"}};
    for (const auto &[expected, target, imposed] : cases)
        EXPECT_EQ(expected,
                  modeOf("Integer", std::string("<ImposedAccessMode>") + imposed +
                                        "</ImposedAccessMode><pValue>" + target + "</pValue>"))
            << target << " imposed " << imposed;
}

TEST(Access, OfARegisterIsNarrowedByWhatIsImposedToo) {
    EXPECT_EQ(RO, modeOf("IntReg",
                         "<ImposedAccessMode>RO</ImposedAccessMode>" + place(0, 4) + kUnsignedBig));
    EXPECT_EQ(NA, modeOf("IntReg", "<ImposedAccessMode>RO</ImposedAccessMode>" + place(0, 4, "WO") +
                                       kUnsignedBig));
}

TEST(Access, IsNoneWhereThePortIsNotConnected) {
    Camera camera(element("IntReg", "R",
                          "<Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>"
                          "<pPort>Chunk</pPort>" +
                              std::string(kUnsignedBig)) +
                  element("Port", "Chunk", "") + element("Integer", "A", "<pValue>R</pValue>"));

    EXPECT_EQ(NI, camera.mode("R"));
    EXPECT_EQ(NI, camera.mode("A"));
    EXPECT_THROW(camera.integer("R").GetValue(), AccessException);
    EXPECT_TRUE(camera.memory.accesses().empty());
}

TEST(Access, IsByTheOnlyPortWhateverItsName) {
    Memory memory;
    memory.put32(0, 5);
    genapi::NodeMap map(
        describe(element("IntReg", "R",
                         "<Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>"
                         "<pPort>Camera</pPort>" +
                             std::string(kUnsignedBig)),
                 "<Port Name=\"Camera\"/>"),
        memory);

    EXPECT_EQ(5, dynamic_cast<GenApi_3_0::IInteger &>(*map.GetNode("R")).GetValue());
}

TEST(Access, IsNoneWhereNoneOfSeveralPortsIsTheDevice) {
    Memory memory;
    genapi::NodeMap map(
        describe(element("IntReg", "R",
                         "<Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>"
                         "<pPort>Camera</pPort>" +
                             std::string(kUnsignedBig)),
                 "<Port Name=\"Camera\"/><Port Name=\"Other\"/>"),
        memory);

    EXPECT_EQ(NI, map.GetNode("R")->GetAccessMode());
}

TEST(Access, IsReadOnlyAtMostWhereAnotherProgramControlsTheCamera) {
    Camera camera(
        describe(everyMode() + intReg("R", 0) + element("Integer", "A", "<pValue>R</pValue>")),
        genapi::Use::Monitor);

    EXPECT_EQ(RO, camera.mode("R"));
    EXPECT_EQ(RO, camera.mode("A"));
    EXPECT_EQ(RO, camera.mode("RO"));
    EXPECT_EQ(NA, camera.mode("WO"));
    EXPECT_THROW(camera.integer("A").SetValue(1, false), AccessException);
    EXPECT_TRUE(camera.memory.accesses().empty());
}

TEST(Access, DependsOnItsConditions) {
    const struct {
        EAccessMode expected;
        const char *condition;
        const char *value;
        const char *target;
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
        const std::string tag(condition);
        Camera camera(
            everyMode() + element("Integer", "C", "<Value>" + std::string(value) + "</Value>") +
            element("Integer", "A", "<" + tag + ">C</" + tag + "><pValue>" + target + "</pValue>"));
        EXPECT_EQ(expected, camera.mode("A")) << tag << ' ' << value << ' ' << target;
    }
}

TEST(Access, HasConditionsThatMayBeBooleans) {
    Camera camera(
        element("Boolean", "C", "<Value>false</Value>") +
        element("Integer", "There", "<pIsImplemented>C</pIsImplemented><Value>1</Value>") +
        element("Integer", "Now", "<pIsAvailable>C</pIsAvailable><Value>1</Value>") +
        element("Integer", "Locked", "<pIsLocked>C</pIsLocked><Value>1</Value>"));
    EXPECT_EQ(NI, camera.mode("There"));
    EXPECT_EQ(NA, camera.mode("Now"));
    EXPECT_EQ(RW, camera.mode("Locked"));

    camera.boolean("C").SetValue(true);
    EXPECT_EQ(RW, camera.mode("There"));
    EXPECT_EQ(RW, camera.mode("Now"));
    EXPECT_EQ(RO, camera.mode("Locked"));
}

TEST(Access, IsNoneWhereAConditionCannotBeRead) {
    for (const char *condition : {"pIsImplemented", "pIsAvailable", "pIsLocked"}) {
        const auto under = [condition](const char *mode) {
            return modeOf("Integer", std::string("<") + condition + ">" + mode + "</" + condition +
                                         "><Value>1</Value>");
        };
        EXPECT_EQ(NA, under("NA")) << condition;
        EXPECT_EQ(NA, under("WO")) << condition;
        EXPECT_EQ(NI, under("NI")) << condition;
    }
}

// What a node reads beside its target, with the kind of node around it.
const struct {
    const char *kind;
    const char *before;
    const char *tag;
    std::string after;
} kNeeds[] = {
    {"Integer", "<Value>1</Value>", "pMin", ""},
    {"Integer", "<Value>1</Value>", "pMax", ""},
    {"Integer", "<Value>1</Value>", "pInc", ""},
    {"Float", "<Value>1</Value>", "pMin", ""},
    {"Float", "<Value>1</Value>", "pMax", ""},
    {"Float", "<Value>1</Value>", "pInc", ""},
    {"IntReg", "<Address>0</Address>", "pAddress",
     std::string("<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>") +
         kUnsignedBig},
    {"IntReg", "<Address>0</Address>", "pIndex",
     std::string("<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>") +
         kUnsignedBig},
};

TEST(Access, GoesWithWhatTheRangeAndTheAddressNeed) {
    for (const auto &[kind, before, tag, after] : kNeeds) {
        SCOPED_TRACE(std::string(kind) + ' ' + tag);
        const auto needing = [kind = kind, before = before, tag = tag,
                              after = after](const char *mode) {
            return modeOf(kind,
                          std::string(before) + "<" + tag + ">" + mode + "</" + tag + ">" + after);
        };
        EXPECT_EQ(NA, needing("NA"));
        EXPECT_EQ(NI, needing("NI"));
        EXPECT_EQ(RW, needing("RO"));
        EXPECT_EQ(RW, needing("WO")); // what needs it raises
    }
}

TEST(Access, GoesWithTheVariablesOfAFormula) {
    for (const char *kind : {"IntSwissKnife", "SwissKnife"}) {
        const auto needing = [kind](const char *mode) {
            return modeOf(kind, std::string("<pVariable Name=\"V\">") + mode +
                                    "</pVariable><Formula>V</Formula>");
        };
        EXPECT_EQ(NA, needing("NA")) << kind;
        EXPECT_EQ(NI, needing("NI")) << kind;
        EXPECT_EQ(RO, needing("RW")) << kind;
        EXPECT_EQ(RO, needing("WO")) << kind;
    }
    for (const char *kind : {"IntConverter", "Converter"}) {
        const auto needing = [kind](const char *mode) {
            return modeOf(kind, std::string("<pVariable Name=\"V\">") + mode +
                                    "</pVariable><FormulaTo>FROM+V</FormulaTo>"
                                    "<FormulaFrom>TO-V</FormulaFrom><pValue>RW</pValue>");
        };
        EXPECT_EQ(NA, needing("NA")) << kind;
        EXPECT_EQ(NI, needing("NI")) << kind;
        EXPECT_EQ(RW, needing("RO")) << kind;
    }
}

TEST(Access, GoesWithCopiesAndIndices) {
    const auto copied = [](const char *mode) {
        return modeOf("Integer",
                      std::string("<pValue>RW</pValue><pValueCopy>") + mode + "</pValueCopy>");
    };
    EXPECT_EQ(NA, copied("NA"));
    EXPECT_EQ(NI, copied("NI"));

    const auto indexed = [](const char *mode) {
        return modeOf("Integer", std::string("<pIndex>") + mode +
                                     "</pIndex><ValueIndexed Index=\"1\">1</ValueIndexed>"
                                     "<ValueDefault>2</ValueDefault>");
    };
    EXPECT_EQ(NA, indexed("NA"));
    EXPECT_EQ(NI, indexed("NI"));
    EXPECT_EQ(NA, indexed("WO"));
    EXPECT_EQ(RW, indexed("RO"));
}

TEST(Access, IsMissedWhereAnUnreadableNodeIsNeeded) {
    Camera camera(
        everyMode() + element("Integer", "A", "<Value>1</Value><Min>0</Min><pMax>WO</pMax>") +
        element("IntSwissKnife", "K", R"(<pVariable Name="V">WO</pVariable><Formula>V</Formula>)") +
        element("IntReg", "R",
                "<pAddress>WO</pAddress><Length>4</Length><AccessMode>RW</AccessMode>"
                "<pPort>Device</pPort>" +
                    std::string(kUnsignedBig)));

    EXPECT_EQ(1, camera.integer("A").GetValue());
    EXPECT_EQ(0, camera.integer("A").GetMin());
    EXPECT_THROW(camera.integer("A").GetMax(), AccessException);
    EXPECT_THROW(camera.integer("A").SetValue(1), AccessException);
    EXPECT_THROW(camera.integer("K").GetValue(), AccessException);
    EXPECT_THROW(camera.integer("R").GetValue(), AccessException);
    EXPECT_THROW(camera.integer("R").SetValue(1), AccessException);
}

TEST(Access, IsNeededForValuesAndTexts) {
    Camera camera(everyMode());

    for (const char *name : {"NI", "NA", "WO"}) {
        EXPECT_THROW(camera.integer(name).GetValue(), AccessException) << name;
        EXPECT_THROW(camera.value(name).ToString(), AccessException) << name;
    }
    for (const char *name : {"NI", "NA", "RO"}) {
        EXPECT_THROW(camera.integer(name).SetValue(1), AccessException) << name;
        EXPECT_THROW(camera.value(name).FromString("1"), AccessException) << name;
    }
}

TEST(Access, IsNeededForBoundsUnlessTheNodeIsWriteOnly) {
    Camera camera(everyMode() + element("FloatReg", "WOF", place(0, 4, "WO") + kBig) +
                  element("Float", "NAF", "<pIsAvailable>Zero</pIsAvailable><Value>1</Value>"));

    EXPECT_EQ(0, camera.integer("WO").GetMin());
    EXPECT_EQ(0xFFFFFFFF, camera.integer("WO").GetMax());
    EXPECT_EQ(1, camera.integer("WO").GetInc());
    EXPECT_GT(camera.floating("WOF").GetMax(), 1e38);
    for (const char *name : {"NI", "NA"}) {
        EXPECT_THROW(camera.integer(name).GetMin(), AccessException) << name;
        EXPECT_THROW(camera.integer(name).GetMax(), AccessException) << name;
        EXPECT_THROW(camera.integer(name).GetInc(), AccessException) << name;
    }
    EXPECT_THROW(camera.floating("NAF").GetMin(), AccessException);
    EXPECT_THROW(camera.floating("NAF").GetMax(), AccessException);
}

std::string entry(const std::string &name, int value, const std::string &more = "") {
    return "<EnumEntry Name=\"" + name + "\">" + more + "<Value>" + std::to_string(value) +
           "</Value></EnumEntry>";
}

TEST(Access, OfAnEnumerationNeedsAnAvailableEntry) {
    const std::string notNow = "<pIsAvailable>Zero</pIsAvailable>";
    const std::string never = "<pIsImplemented>Zero</pIsImplemented>";
    const auto with = [](const std::string &entries) {
        return modeOf("Enumeration", entries + "<Value>1</Value>");
    };
    EXPECT_EQ(RW, with(entry("X", 1) + entry("Y", 2, notNow) + entry("Z", 3, never)));
    EXPECT_EQ(NA, with(entry("Y", 1, notNow) + entry("Z", 2, never)));
    EXPECT_EQ(NI, with(entry("Y", 1, never) + entry("Z", 2, never)));
}

TEST(Access, OfEntriesIsByTheirOwnConditions) {
    Camera camera(everyMode() +
                  element("Enumeration", "E",
                          entry("Plain", 1) + entry("Now", 2, "<pIsAvailable>RW</pIsAvailable>") +
                              entry("NotNow", 3, "<pIsAvailable>Zero</pIsAvailable>") +
                              entry("Never", 4, "<pIsImplemented>Zero</pIsImplemented>") +
                              entry("Locked", 5, "<pIsLocked>RW</pIsLocked>") +
                              entry("Imposed", 6, "<ImposedAccessMode>WO</ImposedAccessMode>") +
                              "<Value>1</Value>"));

    EXPECT_EQ(RO, camera.mode("EnumEntry_E_Plain"));
    EXPECT_EQ(RO, camera.mode("EnumEntry_E_Now"));
    EXPECT_EQ(NA, camera.mode("EnumEntry_E_NotNow"));
    EXPECT_EQ(NI, camera.mode("EnumEntry_E_Never"));
    EXPECT_EQ(RO, camera.mode("EnumEntry_E_Locked"));
    EXPECT_EQ(NA, camera.mode("EnumEntry_E_Imposed"));
}

TEST(Access, OfACategoryIsThatSomethingIsInIt) {
    const auto with = [](const std::string &content) { return modeOf("Category", content); };
    const auto feature = [](const std::string &name) {
        return "<pFeature>" + name + "</pFeature>";
    };
    EXPECT_EQ(RO, with(feature("RW")));
    EXPECT_EQ(RO, with(feature("WO")));
    EXPECT_EQ(RO, with(feature("NA")));
    EXPECT_EQ(RO, with(feature("NI") + feature("NA")));
    EXPECT_EQ(NI, with(feature("NI")));
    EXPECT_EQ(NI, with(""));
    EXPECT_EQ(NI, with("<pIsImplemented>Zero</pIsImplemented>" + feature("RW")));
    EXPECT_EQ(RO, with("<pIsAvailable>Zero</pIsAvailable>" + feature("RW")));
}

TEST(Access, DoesNotDependOnSelectorsOrVisibility) {
    Camera camera(everyMode() +
                  element("Integer", "Selector",
                          "<pIsAvailable>Zero</pIsAvailable><Value>0</Value>"
                          "<pSelected>A</pSelected>") +
                  element("Integer", "A", "<Visibility>Invisible</Visibility><Value>1</Value>"));

    EXPECT_EQ(NA, camera.mode("Selector"));
    EXPECT_EQ(RW, camera.mode("A"));
    EXPECT_EQ(1, camera.integer("A").GetValue());
}

TEST(Access, IsAskedForByFreeFunctions) {
    Camera camera(everyMode());
    const struct {
        const char *name;
        bool implemented, available, readable, writable;
    } cases[] = {{"NI", false, false, false, false},
                 {"NA", true, false, false, false},
                 {"WO", true, true, false, true},
                 {"RO", true, true, true, false},
                 {"RW", true, true, true, true}};
    for (const auto &[name, implemented, available, readable, writable] : cases) {
        EXPECT_EQ(implemented, IsImplemented(&camera.node(name))) << name;
        EXPECT_EQ(available, IsAvailable(&camera.node(name))) << name;
        EXPECT_EQ(readable, IsReadable(&camera.node(name))) << name;
        EXPECT_EQ(writable, IsWritable(&camera.node(name))) << name;
    }
    EXPECT_FALSE(GenApi_3_0::IsImplemented(nullptr));
    EXPECT_FALSE(GenApi_3_0::IsAvailable(nullptr));
    EXPECT_FALSE(GenApi_3_0::IsReadable(nullptr));
    EXPECT_FALSE(GenApi_3_0::IsWritable(nullptr));
}

} // namespace
