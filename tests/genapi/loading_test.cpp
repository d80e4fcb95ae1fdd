// Which descriptions are taken, which are refused as a whole, and how their nodes are found.

#include <limits>

#include <gmock/gmock.h>

#include "support.h"

namespace {

std::string refusalOfDocument(const std::string &document) {
    return raised([&document] {
        Memory memory;
        const genapi::NodeMap map(document, memory);
    });
}

std::string replaced(std::string text, const std::string &what, const std::string &by) {
    const size_t at = text.find(what);
    EXPECT_NE(std::string::npos, at) << what;
    return at == std::string::npos ? text : text.replace(at, what.size(), by);
}

// What stands around the case that is tried: targets of several kinds, none of which refuses alone.
std::string others() {
    return constant("I", 1) + constant("J", 2) + constantFloat("F", "1") +
           element("Boolean", "B", "<Value>true</Value>") +
           element("Enumeration", "E",
                   R"(<EnumEntry Name="X"><Value>1</Value></EnumEntry><Value>1</Value>)") +
           element("String", "S", "<Value>x</Value>") +
           element("Category", "C", "<pFeature>I</pFeature>") +
           element("Command", "Go", "<pValue>I</pValue><CommandValue>1</CommandValue>") +
           intReg("R", 0);
}

void expectTaken(const std::string &elements) {
    EXPECT_EQ("", refusal(others() + elements)) << elements;
}

void expectRefused(const std::string &elements, const char *with = "Runtime") {
    EXPECT_EQ(with, refusal(others() + elements)) << elements;
}

std::string integer(const std::string &content) {
    return element("Integer", "A", content);
}

const std::string kRegisterEnd =
    std::string("<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>") +
    kUnsignedBig;

TEST(Loading, TakesAWellFormedDescription) {
    expectTaken("");
    expectTaken("<!-- a comment --><?an instruction?>");
    EXPECT_EQ("Runtime", refusalOfDocument(""));
    EXPECT_EQ("Runtime", refusalOfDocument("no document"));
    EXPECT_EQ("Runtime", refusalOfDocument(replaced(describe(""), "</Register", "</register")));
    EXPECT_EQ("Runtime", refusalOfDocument(describe("<Integer Name=\"A\"><Value>1</Value>")));
    EXPECT_EQ("Runtime", refusalOfDocument("<Other/>"));
}

TEST(Loading, SaysWhereAndWhy) {
    try {
        const Camera camera(element("Integer", "Width", "<pValue>WidthRaw</pValue>"));
        FAIL() << "nothing was refused";
    } catch (const GenICam_3_0::RuntimeException &error) {
        EXPECT_THAT(error.GetDescription(), testing::HasSubstr("Width"));
        EXPECT_THAT(error.GetDescription(), testing::HasSubstr("WidthRaw"));
        EXPECT_THAT(error.GetDescription(), testing::HasSubstr("pValue"));
    }
}

TEST(Loading, KnowsTwoNameSpacesOfTheSchema) {
    const std::string document = describe(constant("A", 1));
    EXPECT_EQ("", refusalOfDocument(replaced(document, "Version_1_1", "Version_1_0")));
    EXPECT_EQ("Runtime", refusalOfDocument(replaced(document, "Version_1_1", "Version_1_2")));
    EXPECT_EQ("Runtime",
              refusalOfDocument(replaced(document, "http://www.genicam.org", "http://elsewhere")));
}

TEST(Loading, KnowsTheAttributesOfTheRoot) {
    const std::string document = describe(constant("A", 1));
    for (const char *missing :
         {R"(ModelName="Test")", R"(VendorName="Test")", R"(StandardNameSpace="None")",
          R"(SchemaMajorVersion="1")", R"(SchemaMinorVersion="1")", R"(SchemaSubMinorVersion="0")",
          R"( MajorVersion="1")", R"( MinorVersion="0")", R"( SubMinorVersion="0")",
          R"(ProductGuid="11111111-2222-3333-4444-555555555555")",
          R"(VersionGuid="11111111-2222-3333-4444-666666666666")"})
        EXPECT_EQ("Runtime", refusalOfDocument(replaced(document, missing, " "))) << missing;
    EXPECT_EQ("Runtime",
              refusalOfDocument(replaced(document, "ModelName", "Colour=\"red\" ModelName")));
    EXPECT_EQ("", refusalOfDocument(replaced(
                      document, "ModelName",
                      R"(ToolTip="of a camera" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"
                         xsi:schemaLocation="http://www.genicam.org/GenApi/Version_1_1 x" ModelName)")));
}

TEST(Loading, DoesNotCheckTheNumbersOfTheSchema) {
    const std::string document = describe(constant("A", 1));
    EXPECT_EQ("", refusalOfDocument(replaced(document, R"(SchemaMajorVersion="1")",
                                             R"(SchemaMajorVersion="7")")));
    EXPECT_EQ("", refusalOfDocument(replaced(document, R"(SchemaMinorVersion="1")",
                                             R"(SchemaMinorVersion="9")")));
}

TEST(Loading, TellsTheNumbersOfTheSchema) {
    const auto written = [](const std::string &major, const std::string &minor) {
        return replaced(replaced(describe(""), R"(SchemaMajorVersion="1")",
                                 "SchemaMajorVersion=\"" + major + "\""),
                        R"(SchemaMinorVersion="1")", "SchemaMinorVersion=\"" + minor + "\"");
    };
    Memory memory;
    const genapi::NodeMap map(written("1", "1"), memory);
    EXPECT_TRUE(map.isForSchema(1, 0));
    EXPECT_TRUE(map.isForSchema(1, 1));
    EXPECT_FALSE(map.isForSchema(1, 2));
    EXPECT_FALSE(map.isForSchema(2, 0));
    EXPECT_TRUE(genapi::NodeMap(written("2", "0"), memory).isForSchema(1, 1));
    EXPECT_FALSE(genapi::NodeMap(written("1", "0"), memory).isForSchema(1, 1));
}

TEST(Loading, RefusesUnknownElementsAtAnyPlace) {
    expectRefused(element("Unknown", "A", ""));
    expectRefused(integer("<Unknown>1</Unknown><Value>1</Value>"));
    expectRefused(integer("<Value>1<Unknown/></Value>"));
    expectRefused(integer("<Value>1</Value><Formula>1</Formula>")); // known elsewhere
    expectRefused(element("Enumeration", "A",
                          R"(<EnumEntry Name="X"><Value>1</Value><Unknown/></EnumEntry>
                             <Value>1</Value>)"));
    expectRefused("<Group Comment=\"g\"><Unknown Name=\"A\"/></Group>");
    expectRefused(element("IntReg", "A",
                          R"(<IntSwissKnife Name="Inside"><Unknown/><Formula>1</Formula>
                             </IntSwissKnife>)" +
                              kRegisterEnd));
}

TEST(Loading, RefusesElementsOutOfOrder) {
    for (const std::string content :
         {"<Value>1</Value><ToolTip>late</ToolTip>", "<Max>5</Max><Value>1</Value>",
          "<Value>1</Value><pIsAvailable>I</pIsAvailable>",
          "<Value>1</Value><Max>5</Max><Min>0</Min>"})
        expectRefused(integer(content));
    expectRefused(
        element("IntSwissKnife", "A", R"(<Formula>V</Formula><pVariable Name="V">I</pVariable>)"));
    expectRefused(element("IntReg", "A",
                          "<AccessMode>RW</AccessMode><Address>0</Address><Length>4</Length>"
                          "<pPort>Device</pPort>" +
                              std::string(kUnsignedBig)));
    expectRefused(element("IntReg", "A", kUnsignedBig + place(0, 4)));
    expectRefused(element("Enumeration", "A",
                          R"(<Value>1</Value><EnumEntry Name="X"><Value>1</Value></EnumEntry>)"));
    expectRefused(element("Command", "A", "<CommandValue>1</CommandValue><pValue>I</pValue>"));
    expectRefused(element("Boolean", "A", "<OnValue>1</OnValue><pValue>I</pValue>"));
    expectTaken(integer("<ToolTip>first</ToolTip><pIsAvailable>I</pIsAvailable><Value>1</Value>"
                        "<Min>0</Min><Max>5</Max><Inc>1</Inc>"
                        "<Representation>Linear</Representation><pSelected>I</pSelected>"));
    EXPECT_EQ("Runtime",
              refusalOfDocument(replaced(describe(integer("<Max>5</Max><Value>1</Value>")),
                                         "Version_1_1", "Version_1_0")));
}

TEST(Loading, RefusesWhatLacksARequiredElement) {
    expectRefused(integer(""));
    expectRefused(integer("<Min>0</Min>"));
    expectRefused(element("Float", "A", ""));
    expectRefused(element("Boolean", "A", ""));
    expectRefused(element("Command", "A", "<CommandValue>1</CommandValue>"));
    expectRefused(element("String", "A", ""));
    expectRefused(element("Enumeration", "A", "<Value>1</Value>"));
    expectRefused(
        element("Enumeration", "A", R"(<EnumEntry Name="X"><Value>1</Value></EnumEntry>)"));
    expectRefused(element("Enumeration", "A", R"(<EnumEntry Name="X"/><Value>1</Value>)"));
    expectRefused(element("IntSwissKnife", "A", ""));
    expectRefused(
        element("IntConverter", "A", "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>"));
    for (const char *part : {"<Address>0</Address>", "<Length>4</Length>",
                             "<AccessMode>RW</AccessMode>", "<pPort>Device</pPort>", kBig})
        expectRefused(
            replaced(element("IntReg", "A", place(0, 4) + kUnsignedBig), part, std::string()));
    expectRefused("<Integer><Value>1</Value></Integer>"); // a name
    expectTaken(element("Port", "A", "") + element("Category", "D", ""));
}

TEST(Loading, RefusesBothOfTwoThatExcludeEachOther) {
    expectRefused(integer("<Value>1</Value><pValue>I</pValue>"));
    expectRefused(integer("<Value>1</Value><Value>2</Value>"));
    expectRefused(integer("<Value>1</Value><Min>0</Min><pMin>I</pMin>"));
    expectRefused(integer("<Value>1</Value><Max>0</Max><pMax>I</pMax>"));
    expectRefused(integer("<Value>1</Value><Inc>1</Inc><pInc>I</pInc>"));
    expectRefused(integer("<Value>1</Value><pValueCopy>I</pValueCopy>"));
    expectRefused(element("Float", "A", "<pValue>F</pValue><pValueCopy>I</pValueCopy>"));
    expectRefused(element("Command", "A",
                          "<pValue>I</pValue><CommandValue>1</CommandValue>"
                          "<pCommandValue>J</pCommandValue>"));
    expectRefused(element("IntReg", "A",
                          "<Address>0</Address><Length>4</Length><pLength>I</pLength>"
                          "<AccessMode>RW</AccessMode><pPort>Device</pPort>" +
                              std::string(kUnsignedBig)));
}

TEST(Loading, RefusesTextsThatAreNotInTheirList) {
    const std::string reg = element("IntReg", "A", place(0, 4) + kUnsignedBig);
    expectRefused(replaced(reg, "RW", "XX"));
    expectRefused(replaced(reg, "RW", "rw"));
    expectRefused(replaced(reg, "NoCache", "Sometimes"));
    expectRefused(replaced(reg, "Unsigned", "None"));
    expectRefused(replaced(reg, "BigEndian", "MiddleEndian"));
    expectRefused(integer("<Visibility>Wizard</Visibility><Value>1</Value>"));
    expectRefused(integer("<ImposedAccessMode>X</ImposedAccessMode><Value>1</Value>"));
    expectRefused(integer("<Value>1</Value><Representation>Octal</Representation>"));
    expectRefused(element("Float", "A", "<Value>1</Value><DisplayNotation>Odd</DisplayNotation>"));
    expectRefused(element("Converter", "A",
                          "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>"
                          "<pValue>I</pValue><Slope>Steep</Slope>"));
    expectRefused(R"(<Integer Name="A" NameSpace="Mine"><Value>1</Value></Integer>)");
    expectTaken(integer("<Visibility>Guru</Visibility><Value>1</Value>"));
}

TEST(Loading, RefusesNumbersThatAreNone) {
    for (const char *number :
         {" 5", "5 ", "5.5", "5.0", "abc", "", "9223372036854775808", "5x", "0x"})
        for (const char *tag : {"Value", "Max"})
            expectRefused(integer((std::string(tag) == "Max" ? "<Value>1</Value><" : "<") +
                                  std::string(tag) + ">" + number + "</" + tag + ">"),
                          "Property");
    expectRefused(element("IntReg", "A", replaced(place(0, 4), ">0<", ">0 <") + kUnsignedBig),
                  "Property");
    expectRefused(element("IntReg", "A", replaced(place(0, 4), ">4<", ">four<") + kUnsignedBig),
                  "Property");
    expectRefused(element("Enumeration", "A",
                          R"(<EnumEntry Name="X"><Value>1.0</Value></EnumEntry><Value>1</Value>)"),
                  "Property");
    expectRefused(constantFloat("A", "abc"), "Property");
    expectRefused(constantFloat("A", " 1.5"), "Property");
    for (const char *number : {"-9223372036854775808", "9223372036854775807", "0x1F", "-5"})
        expectTaken(integer("<Value>" + std::string(number) + "</Value>"));
    for (const char *number : {"1", "-1.5", "1e-3"})
        expectTaken(constantFloat("A", number));
}

// A node A that refers to a node, by every element that can.
std::vector<std::string> referring(const std::string &name) {
    const auto tag = [&name](const std::string &element) {
        return "<" + element + ">" + name + "</" + element + ">";
    };
    std::vector<std::string> all;
    for (const char *before : {"pIsImplemented", "pIsAvailable", "pIsLocked", "pBlockPolling",
                               "pError", "pAlias", "pCastAlias"})
        all.push_back(integer(tag(before) + "<Value>1</Value>"));
    for (const char *after : {"pMin", "pMax", "pInc", "pSelected"})
        all.push_back(integer("<Value>1</Value>" + tag(after)));
    all.push_back(integer(tag("pValue")));
    all.push_back(integer("<pValue>I</pValue>" + tag("pValueCopy")));
    all.push_back(integer(tag("pIndex") + R"(<ValueIndexed Index="1">1</ValueIndexed>
                                             <ValueDefault>1</ValueDefault>)"));
    all.push_back(integer("<pIndex>I</pIndex><pValueIndexed Index=\"1\">" + name +
                          "</pValueIndexed><ValueDefault>1</ValueDefault>"));
    all.push_back(integer("<pIndex>I</pIndex><ValueIndexed Index=\"1\">1</ValueIndexed>" +
                          tag("pValueDefault")));
    all.push_back(element("IntSwissKnife", "A",
                          "<pVariable Name=\"V\">" + name + "</pVariable><Formula>1</Formula>"));
    all.push_back(element("Command", "A", "<pValue>I</pValue>" + tag("pCommandValue")));
    all.push_back(element("Category", "A", tag("pFeature")));
    all.push_back(element("IntReg", "A", tag("pAddress") + kRegisterEnd));
    all.push_back(element("IntReg", "A", "<Address>0</Address>" + tag("pIndex") + kRegisterEnd));
    all.push_back(
        element("IntReg", "A",
                "<Address>0</Address><pIndex pOffset=\"" + name + "\">I</pIndex>" + kRegisterEnd));
    all.push_back(element(
        "IntReg", "A",
        replaced("<Address>0</Address>" + kRegisterEnd, "<Length>4</Length>", tag("pLength"))));
    all.push_back(
        element("IntReg", "A", place(0, 4, "RW", "") + tag("pInvalidator") + kUnsignedBig));
    return all;
}

TEST(Loading, RefusesNamesThatAreNotThere) {
    for (const char *name : {"Nobody", " I", "I ", "Std::I", "Cust::I", "i", ""})
        for (const std::string &elements : referring(name))
            expectRefused(elements);
    for (const std::string &elements : referring("I"))
        expectTaken(elements);
    for (const char *port : {"Nobody", " Device", "I"})
        expectRefused(element("IntReg", "A", replaced(place(0, 4), "Device", port) + kUnsignedBig));
}

TEST(Loading, RefusesTargetsOfAKindThatDoesNotFit) {
    for (const char *target : {"S", "C", "Go", "Device"}) {
        const std::string name(target);
        expectRefused(integer("<pValue>" + name + "</pValue>"));
        expectRefused(integer("<Value>1</Value><pMax>" + name + "</pMax>"));
        expectRefused(integer("<pIsAvailable>" + name + "</pIsAvailable><Value>1</Value>"));
        expectRefused(element("Float", "A", "<pValue>" + name + "</pValue>"));
        expectRefused(element("Boolean", "A", "<pValue>" + name + "</pValue>"));
        expectRefused(
            element("IntSwissKnife", "A",
                    "<pVariable Name=\"V\">" + name + "</pVariable><Formula>1</Formula>"));
        expectRefused(element("IntReg", "A", "<pAddress>" + name + "</pAddress>" + kRegisterEnd));
    }
    expectRefused(element("String", "A", "<pValue>Device</pValue>"));
}

TEST(Loading, RefusesBooleansAsFloats) {
    expectRefused(element("Float", "A", "<pValue>B</pValue>"));
    expectRefused(element("Float", "A", "<Value>1</Value><pMax>B</pMax>"));
    expectRefused(
        element("SwissKnife", "A", R"(<pVariable Name="V">B</pVariable><Formula>V</Formula>)"));
    expectRefused(element("Converter", "A",
                          "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>"
                          "<pValue>B</pValue>"));
    expectTaken(integer("<pValue>B</pValue>"));
    for (const char *target : {"I", "F", "E"})
        expectTaken(element("Float", "A", "<pValue>" + std::string(target) + "</pValue>"));
}

TEST(Loading, RefusesTwoOfAName) {
    expectRefused(constant("A", 1) + constant("A", 2));
    expectRefused(constant("A", 1) + element("Category", "A", ""));
    expectRefused(R"(<Integer Name="A" NameSpace="Standard"><Value>1</Value></Integer>
                     <Integer Name="A" NameSpace="Custom"><Value>1</Value></Integer>)");
    expectRefused(constant("A", 1) + "<Group Comment=\"g\">" + constant("A", 2) + "</Group>");
    expectRefused(element("Enumeration", "A",
                          R"(<EnumEntry Name="X"><Value>1</Value></EnumEntry>
                             <EnumEntry Name="X"><Value>2</Value></EnumEntry><Value>1</Value>)"));
    expectTaken(element("Enumeration", "A", // X is in E, too
                        R"(<EnumEntry Name="X"><Value>1</Value></EnumEntry><Value>1</Value>)"));
}

TEST(Loading, RefusesBitsThatAreNotThere) {
    const auto bits = [](const std::string &which, const std::string &order) {
        return element("MaskedIntReg", "A",
                       place(0, 4) + which + "<Endianess>" + order + "</Endianess>");
    };
    const std::string low = "<LSB>3</LSB><MSB>7</MSB>";
    const std::string high = "<LSB>7</LSB><MSB>3</MSB>";
    expectTaken(bits(low, "LittleEndian"));
    expectTaken(bits(high, "BigEndian"));
    expectRefused(bits(high, "LittleEndian"));
    expectRefused(bits(low, "BigEndian"));
    expectTaken(bits("<Bit>31</Bit>", "LittleEndian"));
    expectRefused(bits("<Bit>32</Bit>", "LittleEndian"));
    expectRefused(bits("<Bit>32</Bit>", "BigEndian"));
    expectRefused(bits("<LSB>0</LSB><MSB>32</MSB>", "LittleEndian"));
    expectRefused(bits("", "LittleEndian"));
}

TEST(Loading, RefusesCircles) {
    const auto formula = [](const std::string &name, const std::string &target) {
        return element("IntSwissKnife", name,
                       "<pVariable Name=\"V\">" + target + "</pVariable><Formula>V</Formula>");
    };
    for (const char *tag : {"pIsImplemented", "pIsAvailable", "pIsLocked"}) {
        const std::string reference = "<" + std::string(tag) + ">K</" + tag + "><Value>1</Value>";
        expectRefused(integer(reference) + formula("K", "A"));
        expectRefused(integer(replaced(reference, ">K<", ">A<"))); // itself
    }
    for (const char *tag : {"pMin", "pMax", "pInc"}) {
        const std::string reference = "<Value>1</Value><" + std::string(tag) + ">K</" + tag + ">";
        expectRefused(integer(reference) + formula("K", "A"));
        expectRefused(integer(replaced(reference, ">K<", ">A<")));
    }
    expectRefused(integer("<pValue>K</pValue>") + formula("K", "A"));
    expectRefused(integer("<pValue>A</pValue>"));
    expectRefused(integer("<pValue>I</pValue><pValueCopy>K</pValueCopy>") + formula("K", "A"));
    expectRefused(integer("<pIndex>K</pIndex><ValueIndexed Index=\"1\">1</ValueIndexed>"
                          "<ValueDefault>1</ValueDefault>") +
                  formula("K", "A"));
    expectRefused(formula("K", "K"));
    expectRefused(formula("K", "L") + formula("L", "M") + formula("M", "K"));
    expectRefused(element("IntReg", "A", "<pAddress>K</pAddress>" + kRegisterEnd) +
                  formula("K", "A"));
    expectRefused(element("IntReg", "A", "<pIndex>K</pIndex>" + kRegisterEnd) + formula("K", "A"));
    expectRefused(element("Category", "D", "<pFeature>D</pFeature>"));
    expectRefused(element("Category", "D", "<pFeature>H</pFeature>") +
                  element("Category", "H", "<pFeature>D</pFeature>"));
    expectRefused(element("Integer", "K", "<Value>1</Value><pSelected>L</pSelected>") +
                  element("Integer", "L", "<Value>1</Value><pSelected>K</pSelected>"));
    // Two maxima that depend on each other, by way of the features.
    expectRefused(element("Integer", "K", "<Value>1</Value><pMax>KMax</pMax>") +
                  element("Integer", "L", "<Value>1</Value><pMax>LMax</pMax>") +
                  formula("KMax", "L") + formula("LMax", "K"));
}

TEST(Loading, TakesWhatIsNoCircle) {
    const auto formula = [](const std::string &name, const std::string &target) {
        return element("IntSwissKnife", name,
                       "<pVariable Name=\"V\">" + target + "</pVariable><Formula>V</Formula>");
    };
    expectTaken(element("IntReg", "K",
                        place(0, 4, "RW", "") + "<pInvalidator>L</pInvalidator>" + kUnsignedBig) +
                element("IntReg", "L",
                        place(4, 4, "RW", "") + "<pInvalidator>K</pInvalidator>" + kUnsignedBig));
    expectTaken(element("Integer", "K", "<pAlias>L</pAlias><Value>1</Value>") +
                element("Float", "L", "<pAlias>K</pAlias><Value>1</Value>"));
    expectTaken(element("Enumeration", "K",
                        R"(<EnumEntry Name="X"><Value>1</Value></EnumEntry>
                           <EnumEntry Name="Y"><pIsAvailable>L</pIsAvailable><Value>2</Value>
                           </EnumEntry><Value>1</Value>)") +
                formula("L", "K"));
    // A selector selects what its value decides.
    expectTaken(element("Integer", "K", "<Value>0</Value><pSelected>L</pSelected>") +
                element("IntReg", "L", "<pIndex>K</pIndex>" + kRegisterEnd));
    // Two maxima that depend on each other, by way of the registers.
    expectTaken(element("Integer", "K", "<pValue>KReg</pValue><pMax>KMax</pMax>") +
                element("Integer", "L", "<pValue>LReg</pValue><pMax>LMax</pMax>") +
                formula("KMax", "LReg") + formula("LMax", "KReg") + intReg("KReg", 0) +
                intReg("LReg", 4));
    // Several ways to one node.
    expectTaken(element("IntSwissKnife", "K",
                        R"(<pVariable Name="V">L</pVariable><pVariable Name="W">M</pVariable>
                           <Formula>V+W</Formula>)") +
                formula("L", "I") + formula("M", "I"));
}

TEST(Loading, TakesWhatNeedsNoMore) {
    expectTaken(integer("<pValue>Later</pValue>") + constant("Later", 1)); // no Root either
    expectTaken(constant("Any ~ character. ä-1", 1));
    expectTaken("<Group Comment=\"g\">" + constant("A", 1) + "</Group>");
    EXPECT_EQ("", refusalOfDocument(describe(constant("A", 1), ""))); // no port
}

TEST(Loading, AsksTheCameraForNothing) {
    Camera camera(others());
    EXPECT_TRUE(camera.memory.accesses().empty());
}

TEST(Loading, FindsNodesInGroups) {
    Camera camera("<Group Comment=\"g\">" + constant("A", 7) + "</Group>");
    EXPECT_EQ(7, camera.integer("A").GetValue());
}

TEST(Loading, FindsNodesByTheirNameAndNameSpace) {
    Camera camera(R"(<Integer Name="Std" NameSpace="Standard"><Value>1</Value></Integer>
                     <Integer Name="Cust" NameSpace="Custom"><Value>1</Value></Integer>)" +
                  constant("Unsaid", 1));
    const struct {
        const char *name;
        const char *full;
        const char *wrong;
    } nodes[] = {{"Std", "Std::Std", "Cust::Std"},
                 {"Cust", "Cust::Cust", "Std::Cust"},
                 {"Unsaid", "Cust::Unsaid", "Std::Unsaid"}};
    for (const auto &[name, full, wrong] : nodes) {
        GenApi_3_0::INode *node = camera.map.GetNode(name);
        ASSERT_NE(nullptr, node) << name;
        EXPECT_EQ(node, camera.map.GetNode(full)) << full;
        EXPECT_EQ(nullptr, camera.map.GetNode(wrong)) << wrong;
        EXPECT_STREQ(name, node->GetName().c_str());
        EXPECT_STREQ(full, node->GetName(true).c_str());
        EXPECT_EQ(node, camera.map.reference()._GetNode(name));
    }
    for (const char *unknown : {"", "std", "STD", "Nobody", "Std::", "Cust::", " Std", "::Std"})
        EXPECT_EQ(nullptr, camera.map.GetNode(unknown)) << unknown;
}

// What means nothing to a node is no reason to do without a camera.
TEST(Loading, PassesOverWhatMeansNothing) {
    Camera camera(R"(<Extension><Any><Thing/></Any></Extension>
                     <Integer Name="A"><ToolTip>T</ToolTip><Extension/><Extension>x</Extension>
                       -<Value>1</Value>-</Integer>-
                     <IntReg Name="B"><IntSwissKnife><Formula>4</Formula></IntSwissKnife>
                       <Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
                       <Endianess>BigEndian</Endianess></IntReg>)");
    camera.memory.put32(4, 44);

    EXPECT_EQ(1, camera.integer("A").GetValue());
    EXPECT_EQ(44, camera.integer("B").GetValue());
    std::string document = describe("");
    document.replace(document.find("ModelName"), 0, "xml:space=\"preserve\" other:hint=\"1\" ");
    Memory memory;
    EXPECT_NO_THROW(genapi::NodeMap(document, memory));
}

// That is how some programs print the largest double, and it is a little beyond.
TEST(Loading, TakesFloatsThatRoundBeyondADouble) {
    Camera camera(element("Float", "A",
                          "<Value>1e-400</Value><Min>-1.79769313486232E+308</Min>"
                          "<Max>1.79769313486232E+308</Max>"));

    EXPECT_EQ(0, camera.floating("A").GetValue());
    EXPECT_EQ(std::numeric_limits<double>::lowest(), camera.floating("A").GetMin());
    EXPECT_EQ(std::numeric_limits<double>::max(), camera.floating("A").GetMax());
}

} // namespace
