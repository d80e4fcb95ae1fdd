// Which descriptions are taken, which are refused as a whole, and how their nodes are found.

#include <limits>

#include <gmock/gmock.h>

#include "support.h"

namespace {

using std::string;
using testing::HasSubstr;

string refusalOfDocument(const string &document) {
    return raised([&document] {
        Memory memory;
        const genapi::NodeMap map(document, memory);
    });
}

string replaced(string text, const string &what, const string &by) {
    const size_t at = text.find(what);
    EXPECT_NE(string::npos, at) << what;
    return at == string::npos ? text : text.replace(at, what.size(), by);
}

// What stands around the case that is tried: targets of several kinds, none of which refuses alone.
string others() {
    return nodes("Integer I Value=1 Integer J Value=2 Float F Value=1 Boolean B Value=true "
                 "Enumeration E EnumEntry.X=1 Value=1 String S Value=x Category C pFeature=I "
                 "Command Go pValue=I CommandValue=1 IntReg R @0 unsigned big");
}

// Of elements, or of nodes().
void expect(const string &expected, const std::vector<string> &cases) {
    for (const string &each : cases)
        EXPECT_EQ(expected, refusal(others() + (each.find('<') == 0 ? each : nodes(each)))) << each;
}
void expectTaken(const std::vector<string> &cases) {
    expect("", cases);
}
void expectRefused(const std::vector<string> &cases) {
    expect("Runtime", cases);
}

TEST(Loading, TakesAWellFormedDescription) {
    expectTaken({"", "<!-- a comment --><?an instruction?>"});
    for (const string &none : {string(), string("no document"), string("<Other/>"),
                               replaced(describe(""), "</Register", "</register"),
                               describe("<Integer Name=\"A\"><Value>1</Value>")})
        EXPECT_EQ("Runtime", refusalOfDocument(none)) << none;
}

TEST(Loading, SaysWhereAndWhy) {
    try {
        const Camera camera("Integer Width pValue=WidthRaw");
        FAIL() << "nothing was refused";
    } catch (const GenICam_3_0::RuntimeException &error) {
        for (const char *part : {"Width", "WidthRaw", "pValue"})
            EXPECT_THAT(error.GetDescription(), HasSubstr(part));
    }
}

TEST(Loading, KnowsTwoNameSpacesOfTheSchema) {
    const string document = describe("Integer A Value=1");
    EXPECT_EQ("", refusalOfDocument(replaced(document, "Version_1_1", "Version_1_0")));
    EXPECT_EQ("Runtime", refusalOfDocument(replaced(document, "Version_1_1", "Version_1_2")));
    EXPECT_EQ("Runtime",
              refusalOfDocument(replaced(document, "http://www.genicam.org", "http://elsewhere")));
}

TEST(Loading, KnowsTheAttributesOfTheRoot) {
    const string document = describe("Integer A Value=1");
    for (const char *missing :
         {R"(ModelName="Test")", R"(VendorName="Test")", R"(StandardNameSpace="None")",
          R"(SchemaMajorVersion="1")", R"(SchemaMinorVersion="1")", R"(SchemaSubMinorVersion="0")",
          R"( MajorVersion="1")", R"( MinorVersion="0")", R"( SubMinorVersion="0")",
          R"(ProductGuid="11111111-2222-3333-4444-555555555555")",
          R"(VersionGuid="11111111-2222-3333-4444-666666666666")"})
        EXPECT_EQ("Runtime", refusalOfDocument(replaced(document, missing, " "))) << missing;
    const auto with = [&](const string &attributes) {
        return refusalOfDocument(replaced(document, "ModelName", attributes + " ModelName"));
    };
    EXPECT_EQ("Runtime", with("Colour=\"red\""));
    EXPECT_EQ("",
              with(R"(ToolTip="of a camera" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"
                      xsi:schemaLocation="http://www.genicam.org/GenApi/Version_1_1 x")"));
    EXPECT_EQ("", with(R"(xml:space="preserve" other:hint="1")"));
}

TEST(Loading, TellsTheNumbersOfTheSchemaAndTakesAny) {
    const auto isForSchema = [](const char *major, const char *minor, uint16_t askedMajor,
                                uint16_t askedMinor) {
        Memory memory;
        return genapi::NodeMap(replaced(replaced(describe(""), "SchemaMajorVersion=\"1",
                                                 string("SchemaMajorVersion=\"") + major),
                                        "SchemaMinorVersion=\"1",
                                        string("SchemaMinorVersion=\"") + minor),
                               memory)
            .isForSchema(askedMajor, askedMinor);
    };
    EXPECT_TRUE(isForSchema("1", "1", 1, 0));
    EXPECT_TRUE(isForSchema("1", "1", 1, 1));
    EXPECT_FALSE(isForSchema("1", "1", 1, 2));
    EXPECT_FALSE(isForSchema("1", "1", 2, 0));
    EXPECT_TRUE(isForSchema("2", "0", 1, 1));
    EXPECT_FALSE(isForSchema("1", "0", 1, 1));
    EXPECT_TRUE(isForSchema("7", "1", 1, 1));
    EXPECT_TRUE(isForSchema("1", "9", 1, 1));
}

TEST(Loading, RefusesUnknownElementsAtAnyPlace) {
    expectRefused({"Unknown A", "Integer A Unknown=1 Value=1",
                   "<Integer Name=\"A\"><Value>1<Unknown/></Value></Integer>",
                   "Integer A Value=1 Formula=1", // known elsewhere
                   "Enumeration A EnumEntry.X={Value=1 Unknown=} Value=1",
                   "<Group Comment=\"g\"><Unknown Name=\"A\"/></Group>",
                   "IntReg A IntSwissKnife.Inside={Unknown= Formula=1} @:: unsigned big"});
}

TEST(Loading, RefusesElementsOutOfOrder) {
    const string wrong = "Integer A Max=5 Value=1";
    expectRefused({wrong, "Integer A Value=1 ToolTip=late", "Integer A Value=1 pIsAvailable=I",
                   "Integer A Value=1 Max=5 Min=0", "IntSwissKnife A Formula=V pVariable.V=I",
                   "IntReg A AccessMode=RW Address=0 Length=4 pPort=Device unsigned big",
                   "IntReg A unsigned big @0", "Enumeration A Value=1 EnumEntry.X=1",
                   "Command A CommandValue=1 pValue=I", "Boolean A OnValue=1 pValue=I"});
    expectTaken({"Integer A ToolTip=first pIsAvailable=I Value=1 Min=0 Max=5 Inc=1 "
                 "Representation=Linear pSelected=I"});
    EXPECT_EQ("Runtime",
              refusalOfDocument(replaced(describe(wrong), "Version_1_1", "Version_1_0")));
}

TEST(Loading, RefusesWhatLacksARequiredElement) {
    expectRefused({"Integer A", "Integer A Min=0", "Float A", "Boolean A",
                   "Command A CommandValue=1", "String A", "Enumeration A Value=1",
                   "Enumeration A EnumEntry.X=1", "Enumeration A EnumEntry.X={} Value=1",
                   "IntSwissKnife A", "IntConverter A FormulaTo=FROM FormulaFrom=TO",
                   "<Integer><Value>1</Value></Integer>"}); // the last a name
    for (const char *part :
         {"<Address>0</Address>", "<Length>4</Length>", "<AccessMode>RW</AccessMode>",
          "<pPort>Device</pPort>", "<Endianess>BigEndian</Endianess>"})
        expectRefused({replaced(nodes("IntReg A @0 unsigned big"), part, "")});
    expectTaken({"Port A Category D"});
}

TEST(Loading, RefusesBothOfTwoThatExcludeEachOther) {
    expectRefused({"Integer A Value=1 pValue=I", "Integer A Value=1 Value=2",
                   "Integer A Value=1 Min=0 pMin=I", "Integer A Value=1 Max=0 pMax=I",
                   "Integer A Value=1 Inc=1 pInc=I", "Integer A Value=1 pValueCopy=I",
                   "Float A pValue=F pValueCopy=I",
                   "Command A pValue=I CommandValue=1 pCommandValue=J",
                   "IntReg A Address=0 Length=4 pLength=I AccessMode=RW pPort=Device unsigned "
                   "big"});
}

TEST(Loading, RefusesTextsThatAreNotInTheirList) {
    const string before = "IntReg A Address=0 Length=4 AccessMode=";
    expectRefused({before + "XX pPort=Device unsigned big", before + "rw pPort=Device unsigned big",
                   "IntReg A @0::Sometimes unsigned big", "IntReg A @0 Sign=None big",
                   "IntReg A @0 unsigned Endianess=MiddleEndian",
                   "Integer A Visibility=Wizard Value=1", "Integer A ImposedAccessMode=X Value=1",
                   "Integer A Value=1 Representation=Octal", "Float A Value=1 DisplayNotation=Odd",
                   "Converter A FormulaTo=FROM FormulaFrom=TO pValue=I Slope=Steep",
                   R"(<Integer Name="A" NameSpace="Mine"><Value>1</Value></Integer>)"});
    expectTaken({before + "RW pPort=Device unsigned big", "Integer A Visibility=Guru Value=1"});
}

TEST(Loading, RefusesNumbersThatAreNone) {
    for (const char *number :
         {" 5", "5 ", "5.5", "5.0", "abc", "", "9223372036854775808", "5x", "0x"})
        expect("Property",
               {with("Integer A Value='$'", number), with("Integer A Value=1 Max='$'", number)});
    expect("Property",
           {"IntReg A Address='0 ' @ unsigned big",
            "IntReg A Address=0 Length=four "
            "AccessMode=RW pPort=Device Cachable=NoCache unsigned big",
            "Enumeration A EnumEntry.X=1.0 Value=1", "Float A Value=abc", "Float A Value=' 1.5'"});
    for (const char *number : {"-9223372036854775808", "9223372036854775807", "0x1F", "-5"})
        expectTaken({with("Integer A Value=$", number)});
    for (const char *number : {"1", "-1.5", "1e-3"})
        expectTaken({with("Float A Value=$", number)});
}

TEST(Loading, RefusesNamesThatAreNotThere) {
    // A node A that refers to a node, by every element that can.
    std::vector<string> referring;
    for (const char *before : {"pIsImplemented", "pIsAvailable", "pIsLocked", "pBlockPolling",
                               "pError", "pAlias", "pCastAlias"})
        referring.push_back(string("Integer A ") + before + "='$' Value=1");
    for (const char *after : {"pMin", "pMax", "pInc", "pSelected"})
        referring.push_back(string("Integer A Value=1 ") + after + "='$'");
    for (const char *content :
         {"Integer A pValue='$'", "Integer A pValue=I pValueCopy='$'",
          "Integer A pIndex='$' ValueIndexed.1=1 ValueDefault=1",
          "Integer A pIndex=I pValueIndexed.1='$' ValueDefault=1",
          "Integer A pIndex=I ValueIndexed.1=1 pValueDefault='$'",
          "IntSwissKnife A pVariable.V='$' Formula=1", "Command A pValue=I pCommandValue='$'",
          "Category A pFeature='$'", "IntReg A pAddress='$' @:: unsigned big",
          "IntReg A Address=0 pIndex='$' @:: unsigned big",
          "IntReg A Address=0 pLength='$' AccessMode=RW pPort=Device unsigned big",
          "IntReg A @0:: pInvalidator='$' unsigned big"})
        referring.emplace_back(content);
    const string byOffset = nodes("IntReg A Address=0 pIndex.$=I @:: unsigned big");
    for (const char *name : {"Nobody", " I", "I ", "Std::I", "Cust::I", "i", ""}) {
        for (const string &each : referring)
            expectRefused({with(each, name)});
        expectRefused({with(byOffset, name)});
    }
    for (const string &each : referring)
        expectTaken({with(each, "I")});
    expectTaken({with(byOffset, "I")});
    for (const char *port : {"Nobody", " Device", "I"})
        expectRefused(
            {with("IntReg A Address=0 Length=4 AccessMode=RW pPort='$' unsigned big", port)});
}

TEST(Loading, RefusesTargetsOfAKindThatDoesNotFit) {
    for (const char *target : {"S", "C", "Go", "Device"})
        for (const char *each :
             {"Integer A pValue=$", "Integer A Value=1 pMax=$", "Integer A pIsAvailable=$ Value=1",
              "Float A pValue=$", "Boolean A pValue=$", "IntSwissKnife A pVariable.V=$ Formula=1",
              "IntReg A pAddress=$ @:: unsigned big"})
            expectRefused({with(each, target)});
    expectRefused({"String A pValue=Device"});
    // Booleans are no floats.
    expectRefused({"Float A pValue=B", "Float A Value=1 pMax=B",
                   "SwissKnife A pVariable.V=B Formula=V",
                   "Converter A FormulaTo=FROM FormulaFrom=TO pValue=B"});
    expectTaken({"Integer A pValue=B", "Float A pValue=I", "Float A pValue=F", "Float A pValue=E"});
}

TEST(Loading, RefusesTwoOfAName) {
    const string one = nodes("Integer A Value=1");
    expectRefused({one + one, one + nodes("Category A"),
                   R"(<Integer Name="A" NameSpace="Standard"><Value>1</Value></Integer>
                      <Integer Name="A" NameSpace="Custom"><Value>1</Value></Integer>)",
                   one + "<Group Comment=\"g\">" + one + "</Group>",
                   "Enumeration A EnumEntry.X=1 EnumEntry.X=2 Value=1"});
    expectTaken({"Enumeration A EnumEntry.X=1 Value=1"}); // X is in E, too
}

TEST(Loading, RefusesBitsThatAreNotThere) {
    const string bits = "MaskedIntReg A @0 ";
    expectTaken({bits + "LSB=3 MSB=7 little", bits + "LSB=7 MSB=3 big", bits + "Bit=31 little"});
    expectRefused({bits + "LSB=7 MSB=3 little", bits + "LSB=3 MSB=7 big", bits + "Bit=32 little",
                   bits + "Bit=32 big", bits + "LSB=0 MSB=32 little", bits + "little"});
}

TEST(Loading, RefusesCircles) {
    // To A itself, and by way of K.
    for (const char *each :
         {"Integer A pIsImplemented=$ Value=1 ", "Integer A pIsAvailable=$ Value=1 ",
          "Integer A pIsLocked=$ Value=1 ", "Integer A Value=1 pMin=$ ",
          "Integer A Value=1 pMax=$ ", "Integer A Value=1 pInc=$ ", "Integer A pValue=$ ",
          "Integer A pValue=I pValueCopy=$ ", "Integer A pIndex=$ ValueIndexed.1=1 ValueDefault=1 ",
          "IntReg A pAddress=$ @:: unsigned big ", "IntReg A pIndex=$ @:: unsigned big "})
        expectRefused(
            {with(each, "A"), with(each, "K") + "IntSwissKnife K pVariable.V=A Formula=V"});
    expectRefused({"IntSwissKnife K pVariable.V=K Formula=V",
                   "IntSwissKnife K pVariable.V=L Formula=V IntSwissKnife L pVariable.V=M "
                   "Formula=V IntSwissKnife M pVariable.V=K Formula=V",
                   "Category D pFeature=D", "Category D pFeature=H Category H pFeature=D",
                   "Integer K Value=1 pSelected=L Integer L Value=1 pSelected=K",
                   // Two maxima that depend on each other, by way of the features.
                   "Integer K Value=1 pMax=KMax Integer L Value=1 pMax=LMax "
                   "IntSwissKnife KMax pVariable.V=L Formula=V "
                   "IntSwissKnife LMax pVariable.V=K Formula=V"});
}

TEST(Loading, TakesWhatIsNoCircle) {
    expectTaken(
        {"IntReg K @0:: pInvalidator=L unsigned big "
         "IntReg L @4:: pInvalidator=K unsigned big",
         "Integer K pAlias=L Value=1 Float L pAlias=K Value=1",
         "Enumeration K EnumEntry.X=1 EnumEntry.Y={pIsAvailable=L Value=2} Value=1 "
         "IntSwissKnife L pVariable.V=K Formula=V",
         // A selector selects what its value decides.
         "Integer K Value=0 pSelected=L IntReg L pIndex=K @:: unsigned big",
         // Two maxima that depend on each other, by way of the registers.
         "Integer K pValue=KReg pMax=KMax Integer L pValue=LReg pMax=LMax "
         "IntSwissKnife KMax pVariable.V=LReg Formula=V "
         "IntSwissKnife LMax pVariable.V=KReg Formula=V "
         "IntReg KReg @0 unsigned big IntReg LReg @4 unsigned big",
         // Several ways to one node.
         "IntSwissKnife K pVariable.V=L pVariable.W=M Formula=V+W "
         "IntSwissKnife L pVariable.V=I Formula=V IntSwissKnife M pVariable.V=I Formula=V"});
}

TEST(Loading, TakesWhatNeedsNoMore) {
    expectTaken({"Integer A pValue=Later Integer Later Value=1", // no Root either
                 element("Integer", "Any ~ character. ä-1", "<Value>1</Value>")});
    EXPECT_EQ("", refusalOfDocument(describe("Integer A Value=1", ""))); // no port
}

TEST(Loading, AsksTheCameraForNothingAndFindsNodesInGroups) {
    Camera camera(others() + "<Group Comment=\"g\">" + nodes("Integer A Value=7") + "</Group>");
    EXPECT_EQ("", camera.memory.accesses());
    EXPECT_EQ(7, camera.get("A"));
}

TEST(Loading, FindsNodesByTheirNameAndNameSpace) {
    Camera camera(R"(<Integer Name="Std" NameSpace="Standard"><Value>1</Value></Integer>
                     <Integer Name="Cust" NameSpace="Custom"><Value>1</Value></Integer>
                     <Integer Name="Unsaid"><Value>1</Value></Integer>)");
    const struct {
        const char *name, *full, *wrong;
    } found[] = {{"Std", "Std::Std", "Cust::Std"},
                 {"Cust", "Cust::Cust", "Std::Cust"},
                 {"Unsaid", "Cust::Unsaid", "Std::Unsaid"}};
    for (const auto &[name, full, wrong] : found) {
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

    EXPECT_EQ((std::vector<int64_t>{1, 44}), camera.gets("A B"));
}

// That is how some programs print the largest double, and it is a little beyond.
TEST(Loading, TakesFloatsThatRoundBeyondADouble) {
    Camera camera("Float A Value=1e-400 Min=-1.79769313486232E+308 Max=1.79769313486232E+308");

    EXPECT_EQ(0, camera.getFloat("A"));
    EXPECT_EQ(std::numeric_limits<double>::lowest(), camera.floating("A").GetMin());
    EXPECT_EQ(std::numeric_limits<double>::max(), camera.floating("A").GetMax());
}

} // namespace
