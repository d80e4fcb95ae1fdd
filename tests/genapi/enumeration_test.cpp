// Enumerations with their entries, and booleans.

#include <gmock/gmock.h>

#include "support.h"

namespace {

using GenApi_3_0::IEnumEntry;
using std::string;
using testing::ElementsAre;

// E over a register at 0, with an entry of each kind.
const string kEnumeration =
    "Integer Zero Value=0 IntReg R @0 unsigned big "
    "Enumeration E EnumEntry.Plain=5 EnumEntry.Named={Value=0x10 Symbolic='By Symbol'} "
    "EnumEntry.NotNow={pIsAvailable=Zero Value=2} EnumEntry.Never={pIsImplemented=Zero Value=3} "
    "EnumEntry.Abc=-1 pValue=R";

string symbolic(IEnumEntry *entry) {
    return entry ? entry->GetSymbolic().c_str() : "none";
}

TEST(Enumerations, ListTheirAvailableEntriesInTheDescriptionsOrder) {
    Camera camera(kEnumeration);
    const auto symbolics = [&camera] {
        GenApi_3_0::StringList_t list = {"what was there"};
        camera.enumeration("E").GetSymbolics(list);
        return std::vector<string>(list.begin(), list.end());
    };

    EXPECT_THAT(symbolics(), ElementsAre("Plain", "By Symbol", "Abc"));
    camera.integer("Zero").SetValue(1);
    EXPECT_THAT(symbolics(), ElementsAre("Plain", "By Symbol", "NotNow", "Never", "Abc"));
}

TEST(Enumerations, NameTheirAvailableEntriesWhenATextIsNone) {
    const auto reason = [](const string &elements) -> string {
        Camera camera(elements);
        try {
            camera.value("E").FromString("Nobody");
        } catch (const GenICam_3_0::InvalidArgumentException &error) {
            return error.GetDescription();
        }
        return "written";
    };
    EXPECT_EQ("Cannot write 'E': 'Nobody' is none of its entries (Plain, By Symbol, Abc)",
              reason(kEnumeration));

    string many = "Enumeration E";
    for (int i = 0; i < 1000; ++i)
        many += with(" EnumEntry.Entry$=$", std::to_string(i));
    EXPECT_THAT(reason(many + " Value=0"),
                testing::MatchesRegex(".* .Entry0, .*, Entry2[0-9], \\.\\.\\..$"));
}

TEST(Enumerations, HaveNothingInEntriesThatActsInALog) {
    Camera camera(
        "Enumeration E EnumEntry.O\x1b=0 EnumEntry.Named={Value=1 Symbolic='\u202eO'} Value=0");
    GenApi_3_0::StringList_t list;
    camera.enumeration("E").GetSymbolics(list);
    EXPECT_THAT(list, ElementsAre(testing::StrEq("O?"), testing::StrEq("???O")));
}

TEST(Enumerations, FindEntriesByTheirSymbol) {
    Camera camera(kEnumeration);
    for (const char *symbol : {"Plain", "By Symbol", "NotNow", "Never", "Abc"})
        EXPECT_EQ(symbol, symbolic(camera.enumeration("E").GetEntryByName(symbol)));
    EXPECT_EQ(16, camera.enumeration("E").GetEntryByName("By Symbol")->GetValue());
    for (const char *unknown : {"Nobody", "", "EnumEntry_E_Plain", "Named", "plain", "5"})
        EXPECT_EQ(nullptr, camera.enumeration("E").GetEntryByName(unknown)) << unknown;
}

TEST(Enumerations, HaveEntriesThatAreNodesByTheirNameAndReadAsTheirNumber) {
    Camera camera(kEnumeration);
    auto &entry = camera.as<IEnumEntry>("EnumEntry_E_Named");

    EXPECT_EQ("By Symbol", symbolic(&entry));
    EXPECT_EQ(camera.enumeration("E").GetEntryByName("By Symbol"), &entry);
    EXPECT_STREQ("EnumEntry_E_Named", camera.node("EnumEntry_E_Named").GetName().c_str());
    for (const char *unknown : {"Plain", "Named", "By Symbol", "EnumEntry_E_By Symbol"})
        EXPECT_EQ(nullptr, camera.map.GetNode(unknown)) << unknown;
    EXPECT_THAT(camera.texts("EnumEntry_E_Named EnumEntry_E_Abc"), ElementsAre("16", "-1"));
    EXPECT_EQ(5, camera.as<IEnumEntry>("EnumEntry_E_Plain").GetValue());
    EXPECT_EQ("Access", camera.type("EnumEntry_E_Plain", "5"));
}

TEST(Enumerations, ReadAsTheEntryOfTheirValue) {
    Camera camera(kEnumeration);
    camera.memory.put32(0, 16);

    EXPECT_EQ("By Symbol", camera.text("E"));
    EXPECT_EQ(16, camera.enumeration("E").GetIntValue());
    EXPECT_EQ("By Symbol", symbolic(camera.enumeration("E").GetCurrentEntry()));
    EXPECT_EQ(16, camera.enumeration("E").GetIntValue(true));
    EXPECT_STREQ("By Symbol", camera.value("E").ToString(true).c_str());
}

TEST(Enumerations, OfAValueWithoutEntryHaveNoText) {
    Camera camera(kEnumeration);
    camera.memory.put32(0, 99);

    EXPECT_EQ("InvalidArgument", camera.refuses("E"));
    EXPECT_EQ(99, camera.enumeration("E").GetIntValue());
    EXPECT_EQ(nullptr, camera.enumeration("E").GetCurrentEntry());
    EXPECT_EQ("OutOfRange", raised([&] { camera.enumeration("E").GetIntValue(true); }));
}

TEST(Enumerations, ReadAsEntriesThatAreNotAvailableUnlessVerified) {
    Camera camera(kEnumeration);
    for (const auto &[value, symbol] : {std::pair{2U, "NotNow"}, {3U, "Never"}}) {
        camera.memory.put32(0, value);
        EXPECT_EQ(symbol, camera.text("E"));
        EXPECT_EQ(value, camera.enumeration("E").GetIntValue()) << symbol;
        EXPECT_EQ(symbol, symbolic(camera.enumeration("E").GetCurrentEntry()));
        EXPECT_EQ("Access", camera.refuses("E", true)) << symbol;
        EXPECT_EQ("Access", raised([&] { camera.enumeration("E").GetIntValue(true); })) << symbol;
    }
}

TEST(Enumerations, AreWrittenBySymbolOrByNumber) {
    Camera camera(kEnumeration);

    EXPECT_EQ("", camera.type("E", "By Symbol"));
    EXPECT_EQ(16u, camera.memory.get32(0));
    EXPECT_EQ("", camera.type("E", "Plain", false));
    EXPECT_EQ(5u, camera.memory.get32(0));
    EXPECT_EQ("", camera.set("E", 16));
    EXPECT_EQ(16u, camera.memory.get32(0));
    camera.memory.accesses();
    for (const bool verify : {true, false}) {
        for (const char *text :
             {"Nobody", "16", "plain", "", "Named", "EnumEntry_E_Plain", "Plain "})
            EXPECT_EQ("InvalidArgument", camera.type("E", text, verify)) << text;
        EXPECT_EQ("InvalidArgument", camera.set("E", 99, verify));
    }
    EXPECT_EQ("", camera.memory.accesses());
}

TEST(Enumerations, TakeNoEntryThatIsNotAvailable) {
    Camera camera(kEnumeration);

    EXPECT_EQ("Access", camera.type("E", "NotNow"));
    EXPECT_EQ("Access", camera.type("E", "Never"));
    EXPECT_EQ("Access", camera.set("E", 2));
    EXPECT_EQ("Access", camera.set("E", 3));
    EXPECT_EQ("", camera.memory.accesses());
}

TEST(Enumerations, UnverifiedTakeEntriesThatAreImplemented) {
    Camera camera(kEnumeration);

    EXPECT_EQ("", camera.type("E", "NotNow", false));
    EXPECT_EQ(2u, camera.memory.get32(0));
    camera.memory.put32(0, 0);
    EXPECT_EQ("", camera.set("E", 2, false));
    EXPECT_EQ(2u, camera.memory.get32(0));
    EXPECT_EQ("Access", camera.type("E", "Never", false));
    EXPECT_EQ("Access", camera.set("E", 3, false));
    EXPECT_EQ(2u, camera.memory.get32(0));
}

TEST(Enumerations, WithTwoEntriesOfAValueReadAsTheLast) {
    Camera camera("Enumeration E EnumEntry.First=1 EnumEntry.Last=1 Value=1");

    EXPECT_EQ("Last", camera.text("E"));
    EXPECT_EQ("", camera.type("E", "First"));
    EXPECT_EQ("Last", camera.text("E"));
}

TEST(Enumerations, MayBeConstantsThatAreWritable) {
    Camera camera("Enumeration E EnumEntry.Off=0 EnumEntry.On=1 Value=1");

    EXPECT_EQ("On", camera.text("E"));
    EXPECT_EQ("", camera.type("E", "Off"));
    EXPECT_EQ("Off", camera.text("E"));
    EXPECT_EQ(0, camera.enumeration("E").GetIntValue());
}

// Booleans, which are enumerations of two.

TEST(Enumerations, BooleansAre1And0UnlessSaid) {
    const std::tuple<const char *, uint32_t, uint32_t> cases[] = {
        {"", 1, 0}, {" OnValue=7 OffValue=0x20", 7, 32}};
    for (const auto &[said, on, off] : cases) {
        Camera camera(with("IntReg R @0 unsigned big Boolean B pValue=R$", said));
        camera.boolean("B").SetValue(true);
        EXPECT_EQ(on, camera.memory.get32(0)) << said;
        EXPECT_TRUE(camera.boolean("B").GetValue()) << said;
        EXPECT_EQ("1", camera.text("B")) << said;
        camera.boolean("B").SetValue(false);
        EXPECT_EQ(off, camera.memory.get32(0)) << said;
        EXPECT_FALSE(camera.boolean("B").GetValue()) << said;
        EXPECT_EQ("0", camera.text("B")) << said;
    }
}

TEST(Enumerations, BooleansOfAnotherNumberAreALogicalError) {
    Camera camera("IntReg R @0 unsigned big Boolean B pValue=R");
    camera.memory.put32(0, 2);

    EXPECT_EQ("LogicalError", raised([&] { camera.boolean("B").GetValue(); }));
    EXPECT_EQ("LogicalError", camera.refuses("B"));
    camera.boolean("B").SetValue(true); // which mends it
    EXPECT_TRUE(camera.boolean("B").GetValue());
}

TEST(Enumerations, BooleansTakeFourWords) {
    Camera camera("Boolean B Value=true");
    const std::pair<const char *, bool> texts[] = {{"0", false},      {"1", true},
                                                   {"false", false},  {"true", true},
                                                   {" false", false}, {" 1  ", true}};
    for (const auto &[text, expected] : texts) {
        camera.boolean("B").SetValue(!expected);
        EXPECT_EQ("", camera.type("B", text));
        EXPECT_EQ(expected, camera.boolean("B").GetValue()) << text;
    }
    for (const char *text : {"", " ", "2", "True", "TRUE", "yes", "on", "1x", "01"})
        EXPECT_EQ("InvalidArgument", camera.type("B", text)) << text;
}

TEST(Enumerations, BooleansAreVerifiedByTheTargetsRange) {
    Camera camera("IntReg R @0+1 unsigned big Boolean B pValue=R OnValue=300");

    EXPECT_EQ("OutOfRange", raised([&] { camera.boolean("B").SetValue(true); }));
    EXPECT_EQ("", camera.memory.accesses());
    camera.boolean("B").SetValue(true, false);
    EXPECT_THAT(camera.memory.get(0, 1), ElementsAre(0x2C));
}

TEST(Enumerations, BooleansMayBeConstants) {
    for (const auto &[value, expected] :
         {std::pair{"true", true}, {"1", true}, {"false", false}, {"0", false}})
        EXPECT_EQ(expected, Camera(with("Boolean B Value=$", value)).boolean("B").GetValue());
    for (const char *value : {"2", "True", "yes", ""})
        EXPECT_NE("", refusal(with("Boolean B Value=$", value))) << value;
}

} // namespace
