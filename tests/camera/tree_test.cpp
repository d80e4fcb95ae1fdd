// kxinfo tree and xml: what the camera's own description has.

#include "watched_camera.h"
#include "wire.h"

#include <csignal>
#include <set>

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// Puts nodes into the description, and a category Own that holds the features among them.
Replacement with(const std::string &nodes, const std::string &features) {
    const std::string first = "<Category Name=\"lutControl\">";
    return {first, nodes + "<Category Name=\"Own\">" + features + "</Category>" + first};
}
const Replacement kOwnInRoot{"<pFeature>lutControl</pFeature>",
                             "<pFeature>Own</pFeature><pFeature>lutControl</pFeature>"};

std::string features(const std::vector<std::string> &names) {
    std::string text;
    for (const std::string &name : names)
        text += "<pFeature>" + name + "</pFeature>";
    return text;
}

std::string integer(const std::string &name, const std::string &content) {
    return "<Integer Name=\"" + name + "\">" + content + "</Integer>";
}

class Tree : public Wire {
protected:
    static json featuresOf(const std::vector<std::string> &more) {
        std::vector<std::string> command{"tree", "S1234", "--json"};
        command.insert(command.end(), more.begin(), more.end());
        const Result result = kxinfo(command);
        EXPECT_EQ("", violations(result.out, "tree.schema.json")) << result;
        return json::parse(result.out)["features"];
    }

    // "Red,0=7", of all values that a feature has with the choices of its selectors.
    static std::vector<std::string> selectionsOf(const json &feature) {
        std::vector<std::string> texts;
        for (const json &selection : feature["selections"]) {
            std::string text;
            for (const json &entry : selection["choices"])
                text += (text.empty() ? "" : ",") + entry.get<std::string>();
            texts.push_back(text + "=" + selection["value"].dump());
        }
        return texts;
    }
};

TEST_F(Tree, HasEveryFeatureOnceInTheDescriptionsOrder) {
    const WatchedCamera camera;
    std::vector<std::string> described;
    std::set<std::string> categories;
    for (const std::string &line : linesOf(readFile(BUILT_IN_DESCRIPTION))) {
        const auto between = [&line](const std::string &begin, char end) {
            const size_t at = line.find(begin);
            return at == line.npos ? ""
                                   : line.substr(at + begin.size())
                                         .substr(0, line.substr(at + begin.size()).find(end));
        };
        if (const std::string name = between("<Category Name=\"", '"'); !name.empty())
            categories.insert(name);
        if (const std::string name = between("<pFeature>", '<'); !name.empty())
            described.push_back(name);
    }
    std::vector<std::string> expected, shown;
    for (const std::string &name : described)
        if (categories.count(name) == 0)
            expected.push_back(name);
    for (const json &feature : featuresOf({}))
        shown.push_back(feature["name"]);

    EXPECT_LT(60u, expected.size());
    EXPECT_EQ(expected, shown);
}

TEST_F(Tree, ShowsACategoryInTheCamerasOwnNumbersAndAFeatureWithItsToolTip) {
    const WatchedCamera camera;

    EXPECT_EQ((Result{0, R"(Camera S1234 (C1936)

Feature                      Value  Minimum  Maximum  Step  Unit  Access  Kind
AnalogControl
  GainSelector          DigitalAll        -        -     -     -      RW  enumeration: SensorAll, DigitalAll
  Gain                           1        1        8     -     -      RW  float
  BlackLevel                     0        0      255     -     -      RW  float
  BalanceRatioSelector       Green        -        -     -     -      RW  enumeration: Red, Green, Blue
  BalanceRatio                   1        1        4     -     -      RW  float
  BalanceWhiteAuto             Off        -        -     -     -      RW  enumeration: Off, OnDemand, Periodic
  balanceWhitePeriod             -        -        -     -     s      NA  integer; it is not available at present
)",
                      ""}),
              kxinfo({"tree", "S1234", "AnalogControl"}));
    EXPECT_EQ((Result{0, R"(Camera S1234 (C1936)

Feature            Value  Minimum  Maximum  Step  Unit  Access  Kind
DeviceTemperature  36.25      -55      125     -     C      RO  float

Temperature at the place that DeviceTemperatureSelector names.
)",
                      ""}),
              kxinfo({"tree", "DeviceTemperature"}));
}

TEST_F(Tree, TellsOfAFeatureWhatTheDescriptionDoes) {
    const WatchedCamera camera;
    const json temperature = featuresOf({"DeviceControl"}).back();

    EXPECT_EQ(json::parse(R"({"categories": ["DeviceControl"], "name": "DeviceTemperature",
        "kind": "float", "access": "RO", "unit": "C", "value": 36.25, "minimum": -55.0,
        "maximum": 125.0, "increment": null, "visibility": "expert",
        "toolTip": "Temperature at the place that DeviceTemperatureSelector names.",
        "selectors": ["DeviceTemperatureSelector"], "selections": []})"),
              temperature);
    const json command = featuresOf({"AcquisitionStart"})[0];
    EXPECT_EQ("command", command["kind"]);
    EXPECT_EQ("it can only be written", command["problem"]);
}

TEST_F(Tree, HasASchemaThatTellsBrokenDocuments) {
    const WatchedCamera camera;
    const json whole =
        json::parse(kxinfo({"tree", "S1234", "DeviceTemperature", "--json", "--switch"}).out);
    const auto with = [&whole](const std::string &path, const json &value) {
        json changed = whole;
        changed[json::json_pointer(path)] = value;
        return violations(changed.dump(), "tree.schema.json");
    };
    EXPECT_EQ("", with("/added", "later"));
    for (const auto &[path, value] : std::vector<std::pair<std::string, json>>{
             {"/version", 2},
             {"/features/0/value", "warm"},
             {"/features/0/value", nullptr}, // and no problem
             {"/features/0/kind", "thermometer"},
             {"/features/0/unit", 1},
             {"/features/0/entries", json::array()},
             {"/features/0/visibility", "all"},
             {"/features/0/toolTip", 1},
             {"/features/0/categories", "DeviceControl"},
             {"/features/0/selectors/0", 1},
             {"/features/0/selections/0/choices", json::array()},
             {"/features/0/selections/0/value", "warm"}})
        EXPECT_NE("", with(path, value)) << path;
}

TEST_F(Tree, WalksSelectorsWithSwitchAndPutsThemBack) {
    WatchedCamera camera({smallTables()});
    camera.write({{reg::kLutSize, 2},
                  {reg::kLutSelector, 2},
                  {reg::kLutIndex, 3},
                  {reg::kLutValues + 12, 7}});
    const Result result = kxinfo({"tree", "S1234", "AnalogControl", "--switch"});

    EXPECT_EQ("kxinfo: switched for a moment, and put back: GainSelector, BalanceRatioSelector.\n",
              result.err);
    EXPECT_THAT(result.out, HasSubstr(R"(
  Gain                           1        1        8     -     -      RW  float
  Gain[SensorAll]                2        1        8     -     -      RW  float
  Gain[DigitalAll]               1        1        8     -     -      RW  float
)"));
    const json lut = featuresOf({"lutControl", "--switch"});
    const json &value = lut.back();
    ASSERT_EQ("LUTValue", value["name"]);
    EXPECT_EQ((json{"LUTSelector", "LUTIndex"}), value["selectors"]);
    const auto selections = selectionsOf(value);
    ASSERT_EQ(48u, selections.size());
    EXPECT_EQ("Red,3=7", selections[3]);
    EXPECT_EQ("Blue,15=0", selections[47]);
    EXPECT_THAT(selectionsOf(lut[5]), testing::ElementsAre("Red=3", "Green=3", "Blue=3"));
    EXPECT_EQ(0, kxinfo({"tree", "--switch"}).status);
    EXPECT_THAT(camera.changes(), IsEmpty());
}

// Each choice of A has its own B.
const std::vector<Replacement> kNested{
    with(integer("A", "<pValue>AReg</pValue><Min>0</Min><Max>3</Max><pSelected>B</pSelected>"
                      "<pSelected>C</pSelected>") +
             integer("B", "<pValue>BReg</pValue><Min>0</Min><Max>7</Max><pSelected>C</pSelected>") +
             "<IntSwissKnife Name=\"C\"><pVariable Name=\"A\">A</pVariable>"
             "<pVariable Name=\"B\">B</pVariable><Formula>A * 10 + B</Formula></IntSwissKnife>"
             "<IntReg Name=\"AReg\"><Address>0x30000</Address><Length>4</Length>"
             "<AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign>"
             "<Endianess>BigEndian</Endianess></IntReg>"
             "<IntReg Name=\"BReg\"><Extension><Initial>1</Initial><Initial>3</Initial>"
             "<Initial>5</Initial><Initial>7</Initial></Extension><Address>0x30004</Address>"
             "<pIndex Offset=\"4\">AReg</pIndex><Length>4</Length><AccessMode>RW</AccessMode>"
             "<pPort>Device</pPort><pInvalidator>AReg</pInvalidator><Sign>Unsigned</Sign>"
             "<Endianess>BigEndian</Endianess></IntReg>",
         features({"A", "B", "C"})),
    kOwnInRoot};

TEST_F(Tree, PutsBackASelectorThatHasAValueForEachChoiceOfAnother) {
    WatchedCamera camera(kNested);
    const json own = featuresOf({"Own", "--switch"});

    EXPECT_THAT(selectionsOf(own[1]), testing::ElementsAre("0=1", "1=3", "2=5", "3=7"));
    const auto selections = selectionsOf(own[2]);
    ASSERT_EQ(32u, selections.size());
    EXPECT_EQ("3,7=37", selections[31]);
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Tree, LeavesASelectorAloneThatCouldNotBePutBack) {
    WatchedCamera camera({with(integer("Outside", "<Value>9</Value><Min>0</Min><Max>3</Max>"
                                                  "<pSelected>Chosen</pSelected>") +
                                   integer("Chosen", "<Value>5</Value>"),
                               features({"Outside", "Chosen"})),
                          kOwnInRoot});
    const Result result = kxinfo({"tree", "S1234", "Chosen", "--switch"});

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("kxinfo: Chosen: Outside, which selects it, could not be put back.\n", result.err);
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Tree, WalksTheOtherChoicesWhenASelectorIsNotThereWithOneOfThem) {
    WatchedCamera camera(
        {with("<Boolean Name=\"A\"><pValue>AReg</pValue><pSelected>B</pSelected></Boolean>"
              "<IntReg Name=\"AReg\"><Address>0x30000</Address><Length>4</Length><AccessMode>RW"
              "</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>BigEndian"
              "</Endianess></IntReg>" +
                  integer("B", "<pIsAvailable>AReg</pIsAvailable><pValue>BReg</pValue><Min>0</Min>"
                               "<Max>1</Max><pSelected>C</pSelected>") +
                  "<IntReg Name=\"BReg\"><Address>0x30004</Address><Length>4</Length><AccessMode>"
                  "RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>BigEndian"
                  "</Endianess></IntReg>" +
                  integer("C", "<pValue>BReg</pValue>"),
              features({"A", "B", "C"})),
         kOwnInRoot,
         {"<pSelected>B</pSelected>", "<pSelected>B</pSelected><pSelected>C</pSelected>"}});
    const Result result = kxinfo({"tree", "S1234", "C", "--switch", "--json"});

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("kxinfo: C: B, which selects it, cannot be read at present.\n"
              "kxinfo: switched for a moment, and put back: A, B.\n",
              result.err);
    EXPECT_THAT(selectionsOf(json::parse(result.out)["features"][0]),
                testing::ElementsAre("true,0=0", "true,1=1"));
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Tree, PutsSelectorsBackWhenItIsStoppedAndDiesOfTheSignal) {
    WatchedCamera camera(kNested, {"--delay", "20"});
    Process kxinfo(KXINFO_PROGRAM, {"tree", "S1234", "C", "--switch"});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    std::string during;
    do
        during = camera.snapshot();
    while (during.find("A = 2\n") == during.npos && std::chrono::steady_clock::now() < deadline);
    kxinfo.signal(SIGINT);
    const Process::End end = kxinfo.wait();

    EXPECT_THAT(during, HasSubstr("A = 2\n"));
    EXPECT_EQ(-1, end.status);
    EXPECT_EQ("", end.output);
    EXPECT_EQ("kxinfo: stopped, as asked for.\n", end.errors);
    EXPECT_THAT(camera.changes(), IsEmpty());
}

TEST_F(Tree, TellsWhichSelectorsHaveTooManyChoicesAndReadsWhatItMay) {
    const std::string ends = "<Min>-9223372036854775808</Min><Max>9223372036854775807</Max>";
    const struct {
        std::string range;
        size_t count;
        std::string told;
    } cases[] = {
        {"<Min>0</Min><Max>63</Max>", 64, ""},
        {"<Min>0</Min><Max>64</Max>", 0, "Choice, which selects it, has more than 64 values"},
        {ends, 0, "Choice, which selects it, has more than 64 values"},
        {ends + "<Inc>576460752303423488</Inc>", 32, ""},
        {"<Min>-10</Min><Max>10</Max><Inc>5</Inc>", 5, ""},
        {"<Min>0</Min><Max>2</Max><Inc>0</Inc>", 1, "'Choice' has an increment of 0"},
        {"<Min>1</Min><Max>0</Max>", 0, "Choice, which selects it, has no values"},
    };
    for (const auto &[range, count, told] : cases) {
        const WatchedCamera camera(
            {with(integer("Choice", "<Value>0</Value>" + range + "<pSelected>Chosen</pSelected>") +
                      integer("Chosen", "<pValue>Choice</pValue>"),
                  features({"Choice", "Chosen"})),
             kOwnInRoot});
        const json chosen = featuresOf({"Chosen", "--switch"})[0];
        EXPECT_EQ(count, chosen["selections"].size()) << range;
        for (const json &selection : chosen["selections"])
            EXPECT_EQ(selection["choices"][0], selection["value"].dump()) << range;
        EXPECT_EQ(told, chosen.value("problem", "")) << range;
        const Result result = kxinfo({"tree", "Chosen", "--switch"});
        EXPECT_EQ(0, result.status);
        EXPECT_EQ(!told.empty(), result.err.find("Chosen: " + told + ".\n") != result.err.npos)
            << result;
    }
}

TEST_F(Tree, WalksSoManySelectorsAndChoicesOfThemAndNoMore) {
    const std::string tooMany = "more than 8 selectors, or 64 of their choices, are not walked";
    const struct {
        int selectors, values;
        size_t count;
        std::string told;
    } cases[] = {{8, 1, 1, ""},
                 {9, 1, 0, tooMany},
                 {6, 2, 64, ""},
                 {7, 2, 64, tooMany},
                 {2000, 2, 0, tooMany}};
    for (const auto &[selectors, values, count, told] : cases) {
        std::string nodes = integer("Chosen", "<Value>1</Value>");
        std::vector<std::string> names{"Chosen"};
        for (int i = 0; i < selectors; ++i) {
            names.push_back("Choice" + std::to_string(i));
            nodes += integer(names.back(), "<Value>0</Value><Min>0</Min><Max>" +
                                               std::to_string(values - 1) +
                                               "</Max><pSelected>Chosen</pSelected>");
        }
        const WatchedCamera camera({with(nodes, features(names)), kOwnInRoot});
        const json chosen = featuresOf({"Chosen", "--switch"})[0];
        EXPECT_EQ(count, chosen["selections"].size()) << selectors;
        EXPECT_EQ(told, chosen.value("problem", "")) << selectors;
    }
}

TEST_F(Tree, TakesCategoriesSoDeepAndNoDeeper) {
    for (const int depth : {31, 32}) { // below Root
        std::string nodes;
        for (int i = 1; i < depth; ++i)
            nodes += "<Category Name=\"Deep" + std::to_string(i) + "\">" +
                     features({i + 1 < depth ? "Deep" + std::to_string(i + 1) : "Width"}) +
                     "</Category>";
        const WatchedCamera camera({with(nodes, features({"Deep1"})), kOwnInRoot});
        const Result result = kxinfo({"tree", "S1234"});
        EXPECT_EQ(depth == 31 ? 0 : 3, result.status);
        EXPECT_EQ(depth == 31 ? ""
                              : "kxinfo: the camera's description has more than 32 categories one "
                                "within the other.\n",
                  result.err);
    }
}

TEST_F(Tree, HasWhatIsInSeveralCategoriesOnce) {
    const WatchedCamera camera(
        {with("", features({"Width", "AnalogControl", "Width"})), kOwnInRoot});
    std::map<std::string, int> counts;
    for (const json &feature : featuresOf({}))
        ++counts[feature["name"]];
    EXPECT_EQ(1, counts["Width"]);
    EXPECT_EQ(1, counts["Gain"]);
    EXPECT_EQ(8u, featuresOf({"Own"}).size()) << "though others have them, too";
}

TEST_F(Tree, CleansWhatTheDescriptionSays) {
    const WatchedCamera camera(
        std::vector<Replacement>{{"<ToolTip>Mirrors images left to right.</ToolTip>",
                                  "<ToolTip>a&#x202e;b&#x9b;c</ToolTip>"},
                                 {"<Unit>C</Unit>", "<Unit>&#x9b;31m</Unit>"}});

    EXPECT_THAT(kxinfo({"tree", "ReverseX"}).out, HasSubstr("\n\na\\u202eb\\xc2\\x9bc\n"));
    EXPECT_THAT(kxinfo({"tree", "DeviceTemperature"}).out, HasSubstr("  \\xc2\\x9b31m  "));
    EXPECT_EQ("\\xc2\\x9b31m", featuresOf({"DeviceTemperature"})[0]["unit"]);
}

TEST_F(Tree, ShortensLongValuesInTheTableAlone) {
    const WatchedCamera camera(
        {with("<Register Name=\"Bytes\"><Address>0x40000</Address><Length>4096</Length>"
              "<AccessMode>RO</AccessMode><pPort>Device</pPort></Register>",
              features({"Bytes"}))});

    EXPECT_THAT(kxinfo({"tree", "Own"}).out,
                HasSubstr("  0x00000000000000000000000000000000000000..."));
    const json bytes = featuresOf({"Own"})[0];
    EXPECT_EQ("register", bytes["kind"]);
    EXPECT_EQ("0x" + std::string(8192, '0'), bytes["value"]);
}

TEST_F(Tree, SaysWhatTheCameraDoesNotHave) {
    const std::string neither = "kxinfo: the camera has neither a feature nor a category \"";
    const WatchedCamera camera({without("Root")});

    EXPECT_EQ((Result{3, "", neither + "Root\". Name another.\n"}), kxinfo({"tree", "S1234"}));
    EXPECT_EQ((Result{2, "", neither + "ReverseZ\". Did you mean ReverseX or ReverseY?\n"}),
              kxinfo({"tree", "S1234", "ReverseZ"}));
    EXPECT_EQ(0, kxinfo({"tree", "AnalogControl", "--switch"}).status);
    EXPECT_THAT(kxinfo({"tree", "NoSuchThing"}).err,
                HasSubstr("no camera fits \"NoSuchThing\". These answered"));
}

TEST_F(Tree, WorksWhileAnotherProgramControlsTheCameraUnlessItHasToSwitch) {
    const WatchedCamera camera;
    Client other;
    EXPECT_EQ("0000", other.write(0xA00, 2));

    EXPECT_EQ(0, kxinfo({"tree", "S1234"}).status);
    EXPECT_EQ(0, kxinfo({"xml", "S1234"}).status);
    EXPECT_EQ(0, kxinfo({"watch", "S1234", "--count", "1"}).status);
    const Result result = kxinfo({"tree", "S1234", "--switch"});
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err, HasSubstr("another program controls it (127.0.0.1, port"));
}

TEST_F(Tree, SaysThatTheCameraFallsSilent) {
    const Result result = whenSilentHalfway({"tree", "S1234", "--switch"});
    EXPECT_EQ(3, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(result.err, HasSubstr("kxinfo: camera S1234 has stopped answering."));
    EXPECT_EQ(3, whenSilentHalfway({"tree", "S1234"}).status);
}

class Xml : public Wire {};

TEST_F(Xml, IsTheCamerasByteForByteInAPipe) {
    for (const char *packed : {"--zip", "--plain"})
        for (const char *ends : {"\n", "\n\t \r\n"}) {
            const WatchedCamera camera(
                {{"</RegisterDescription>\n", std::string("</RegisterDescription>") + ends},
                 {"\n  <Category Name=\"Root\"", "\r\n\t<Category Name=\"Root\""}},
                {packed});
            EXPECT_EQ((Result{0, readFile(camera.folder().path() + "/model.xml"), ""}),
                      kxinfo({"xml", "S1234"}));
        }
}

TEST_F(Xml, IsCleanedOnATerminal) {
    const WatchedCamera camera(
        std::vector<Replacement>{{"Virtual 1936 x 1216 camera", "a\u009b31mb\u202ec"},
                                 {"\n  <Category Name=\"Root\"", "\r\n\t<Category Name=\"Root\""}});
    const Result result = run({"/usr/bin/script", "-qec", KXINFO_PROGRAM " xml", "/dev/null"});
    EXPECT_EQ(0, result.status);
    // Where a line ends, the terminal adds a carriage return, as the document has only one.
    EXPECT_THAT(result.out, HasSubstr("ToolTip=\"a\\xc2\\x9b31mb\\u202ec\"\r\n"));
    EXPECT_THAT(result.out, HasSubstr("\r\n\t<Category Name=\"Root\" NameSpace=\"Standard\">\r\n"));
    EXPECT_EQ(result.out.npos, result.out.find("\r\r"));
}

TEST_F(Xml, SaysWhyThereIsNone) {
    const struct {
        std::vector<std::string> options;
        std::string reason;
    } cases[] = {{{"--first-url", "File:a.xml", "--second-url", ""}, "first URL: "},
                 {{"--silent-after", "3"}, "it does not answer"}};
    for (const auto &[options, reason] : cases) {
        const WatchedCamera camera({}, options);
        const Result result = kxinfo({"xml", "S1234"});
        EXPECT_EQ(1, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_THAT(result.err,
                    StartsWith("kxinfo: camera S1234 does not give its description: " + reason));
    }
}

} // namespace
