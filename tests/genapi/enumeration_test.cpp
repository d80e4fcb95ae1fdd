// Enumerations with their entries, and booleans.

#include <gmock/gmock.h>

#include "support.h"

namespace {

using GenApi_3_0::IEnumEntry;
using GenICam_3_0::AccessException;
using GenICam_3_0::InvalidArgumentException;
using GenICam_3_0::LogicalErrorException;
using GenICam_3_0::OutOfRangeException;
using testing::ElementsAre;

// E over a register at 0, with an entry of each kind.
std::string enumeration() {
    return constant("Zero", 0) + intReg("R", 0) +
           R"(<Enumeration Name="E">
                <EnumEntry Name="Plain"><Value>5</Value></EnumEntry>
                <EnumEntry Name="Named"><Value>0x10</Value><Symbolic>By Symbol</Symbolic></EnumEntry>
                <EnumEntry Name="NotNow"><pIsAvailable>Zero</pIsAvailable><Value>2</Value></EnumEntry>
                <EnumEntry Name="Never"><pIsImplemented>Zero</pIsImplemented><Value>3</Value>
                </EnumEntry>
                <EnumEntry Name="Abc"><Value>-1</Value></EnumEntry>
                <pValue>R</pValue></Enumeration>)";
}

std::string symbolic(IEnumEntry *entry) {
    return entry ? entry->GetSymbolic().c_str() : "none";
}

TEST(Enumerations, ListTheirAvailableEntriesInTheDescriptionsOrder) {
    Camera camera(enumeration());
    const auto symbolics = [&camera] {
        GenApi_3_0::StringList_t list = {"what was there"};
        camera.enumeration("E").GetSymbolics(list);
        return std::vector<std::string>(list.begin(), list.end());
    };

    EXPECT_THAT(symbolics(), ElementsAre("Plain", "By Symbol", "Abc"));
    camera.integer("Zero").SetValue(1);
    EXPECT_THAT(symbolics(), ElementsAre("Plain", "By Symbol", "NotNow", "Never", "Abc"));
}

TEST(Enumerations, NameTheirAvailableEntriesWhenATextIsNone) {
    const auto reason = [](Camera &camera) -> std::string {
        try {
            camera.value("E").FromString("Nobody");
        } catch (const InvalidArgumentException &error) {
            return error.GetDescription();
        }
        return "written";
    };
    Camera camera(enumeration());
    EXPECT_EQ("Cannot write 'E': 'Nobody' is none of its entries (Plain, By Symbol, Abc)",
              reason(camera));

    std::string entries;
    for (int i = 0; i < 1000; ++i)
        entries += element("EnumEntry", "Entry" + std::to_string(i),
                           "<Value>" + std::to_string(i) + "</Value>");
    Camera many(element("Enumeration", "E", entries + "<Value>0</Value>"));
    EXPECT_THAT(reason(many), testing::MatchesRegex(".* .Entry0, .*, Entry2[0-9], \\.\\.\\..$"));
}

TEST(Enumerations, FindEntriesByTheirSymbol) {
    Camera camera(enumeration());
    const std::pair<const char *, int64_t> entries[] = {
        {"Plain", 5}, {"By Symbol", 16}, {"NotNow", 2}, {"Never", 3}, {"Abc", -1}};

    for (const auto &[symbol, value] : entries) {
        IEnumEntry *entry = camera.enumeration("E").GetEntryByName(symbol);
        ASSERT_NE(nullptr, entry) << symbol;
        EXPECT_EQ(symbol, symbolic(entry));
    }
    EXPECT_EQ(16, camera.enumeration("E").GetEntryByName("By Symbol")->GetValue());
    for (const char *unknown : {"Nobody", "", "EnumEntry_E_Plain", "Named", "plain", "5"})
        EXPECT_EQ(nullptr, camera.enumeration("E").GetEntryByName(unknown)) << unknown;
}

TEST(Enumerations, HaveEntriesThatAreNodesByTheirName) {
    Camera camera(enumeration());

    EXPECT_EQ("By Symbol", symbolic(&camera.as<IEnumEntry>("EnumEntry_E_Named")));
    EXPECT_EQ(camera.enumeration("E").GetEntryByName("By Symbol"),
              &camera.as<IEnumEntry>("EnumEntry_E_Named"));
    EXPECT_STREQ("EnumEntry_E_Named", camera.node("EnumEntry_E_Named").GetName().c_str());
    for (const char *unknown : {"Plain", "Named", "By Symbol", "EnumEntry_E_By Symbol"})
        EXPECT_EQ(nullptr, camera.map.GetNode(unknown)) << unknown;
}

TEST(Enumerations, HaveEntriesThatReadAsTheirNumber) {
    Camera camera(enumeration());

    EXPECT_EQ("16", camera.text("EnumEntry_E_Named"));
    EXPECT_EQ("-1", camera.text("EnumEntry_E_Abc"));
    EXPECT_EQ(5, camera.as<IEnumEntry>("EnumEntry_E_Plain").GetValue());
    EXPECT_THROW(camera.value("EnumEntry_E_Plain").FromString("5"), AccessException);
}

TEST(Enumerations, ReadAsTheEntryOfTheirValue) {
    Camera camera(enumeration());
    camera.memory.put32(0, 16);

    EXPECT_EQ("By Symbol", camera.text("E"));
    EXPECT_EQ(16, camera.enumeration("E").GetIntValue());
    EXPECT_EQ("By Symbol", symbolic(camera.enumeration("E").GetCurrentEntry()));
    EXPECT_EQ(16, camera.enumeration("E").GetIntValue(true));
    EXPECT_STREQ("By Symbol", camera.value("E").ToString(true).c_str());
}

TEST(Enumerations, OfAValueWithoutEntryHaveNoText) {
    Camera camera(enumeration());
    camera.memory.put32(0, 99);

    EXPECT_THROW(camera.value("E").ToString(), InvalidArgumentException);
    EXPECT_EQ(99, camera.enumeration("E").GetIntValue());
    EXPECT_EQ(nullptr, camera.enumeration("E").GetCurrentEntry());
    EXPECT_THROW(camera.enumeration("E").GetIntValue(true), OutOfRangeException);
}

TEST(Enumerations, ReadAsEntriesThatAreNotAvailableUnlessVerified) {
    Camera camera(enumeration());
    const std::pair<uint32_t, const char *> entries[] = {{2, "NotNow"}, {3, "Never"}};
    for (const auto &[value, symbol] : entries) {
        camera.memory.put32(0, value);
        EXPECT_EQ(symbol, camera.text("E"));
        EXPECT_EQ(value, camera.enumeration("E").GetIntValue()) << symbol;
        EXPECT_EQ(symbol, symbolic(camera.enumeration("E").GetCurrentEntry()));
        EXPECT_THROW(camera.value("E").ToString(true), AccessException) << symbol;
        EXPECT_THROW(camera.enumeration("E").GetIntValue(true), AccessException) << symbol;
    }
}

TEST(Enumerations, AreWrittenBySymbol) {
    Camera camera(enumeration());

    camera.value("E").FromString("By Symbol");
    EXPECT_EQ(16u, camera.memory.get32(0));
    camera.value("E").FromString("Plain", false);
    EXPECT_EQ(5u, camera.memory.get32(0));
    camera.memory.accesses();
    for (const char *text : {"Nobody", "16", "plain", "", "Named", "EnumEntry_E_Plain", "Plain "})
        for (const bool verify : {true, false})
            EXPECT_THROW(camera.value("E").FromString(text, verify), InvalidArgumentException)
                << text;
    EXPECT_TRUE(camera.memory.accesses().empty());
}

TEST(Enumerations, AreWrittenByNumber) {
    Camera camera(enumeration());

    camera.enumeration("E").SetIntValue(16);
    EXPECT_EQ(16u, camera.memory.get32(0));
    for (const bool verify : {true, false})
        EXPECT_THROW(camera.enumeration("E").SetIntValue(99, verify), InvalidArgumentException);
    EXPECT_EQ(16u, camera.memory.get32(0));
}

TEST(Enumerations, TakeNoEntryThatIsNotAvailable) {
    Camera camera(enumeration());

    EXPECT_THROW(camera.value("E").FromString("NotNow"), AccessException);
    EXPECT_THROW(camera.value("E").FromString("Never"), AccessException);
    EXPECT_THROW(camera.enumeration("E").SetIntValue(2), AccessException);
    EXPECT_THROW(camera.enumeration("E").SetIntValue(3), AccessException);
    EXPECT_TRUE(camera.memory.accesses().empty());
}

TEST(Enumerations, UnverifiedTakeEntriesThatAreImplemented) {
    Camera camera(enumeration());

    camera.value("E").FromString("NotNow", false);
    EXPECT_EQ(2u, camera.memory.get32(0));
    camera.memory.put32(0, 0);
    camera.enumeration("E").SetIntValue(2, false);
    EXPECT_EQ(2u, camera.memory.get32(0));
    EXPECT_THROW(camera.value("E").FromString("Never", false), AccessException);
    EXPECT_THROW(camera.enumeration("E").SetIntValue(3, false), AccessException);
    EXPECT_EQ(2u, camera.memory.get32(0));
}

TEST(Enumerations, WithTwoEntriesOfAValueReadAsTheLast) {
    Camera camera(R"(<Enumeration Name="E"><EnumEntry Name="First"><Value>1</Value></EnumEntry>
                       <EnumEntry Name="Last"><Value>1</Value></EnumEntry><Value>1</Value>
                     </Enumeration>)");

    EXPECT_EQ("Last", camera.text("E"));
    camera.value("E").FromString("First");
    EXPECT_EQ("Last", camera.text("E"));
}

TEST(Enumerations, MayBeConstantsThatAreWritable) {
    Camera camera(R"(<Enumeration Name="E"><EnumEntry Name="Off"><Value>0</Value></EnumEntry>
                       <EnumEntry Name="On"><Value>1</Value></EnumEntry><Value>1</Value>
                     </Enumeration>)");

    EXPECT_EQ("On", camera.text("E"));
    camera.value("E").FromString("Off");
    EXPECT_EQ("Off", camera.text("E"));
    EXPECT_EQ(0, camera.enumeration("E").GetIntValue());
}

// Booleans, which are enumerations of two.

TEST(Enumerations, BooleansAre1And0UnlessSaid) {
    Camera camera(intReg("R", 0) + element("Boolean", "B", "<pValue>R</pValue>"));

    EXPECT_FALSE(camera.boolean("B").GetValue());
    EXPECT_EQ("0", camera.text("B"));
    camera.boolean("B").SetValue(true);
    EXPECT_EQ(1u, camera.memory.get32(0));
    EXPECT_TRUE(camera.boolean("B").GetValue());
    EXPECT_EQ("1", camera.text("B"));
    camera.boolean("B").SetValue(false);
    EXPECT_EQ(0u, camera.memory.get32(0));
}

TEST(Enumerations, BooleansHaveTheirOwnNumbers) {
    Camera camera(intReg("R", 0) + element("Boolean", "B",
                                           "<pValue>R</pValue><OnValue>7</OnValue>"
                                           "<OffValue>0x20</OffValue>"));

    camera.boolean("B").SetValue(true);
    EXPECT_EQ(7u, camera.memory.get32(0));
    EXPECT_TRUE(camera.boolean("B").GetValue());
    camera.boolean("B").SetValue(false);
    EXPECT_EQ(32u, camera.memory.get32(0));
    EXPECT_FALSE(camera.boolean("B").GetValue());
}

TEST(Enumerations, BooleansOfAnotherNumberAreALogicalError) {
    Camera camera(intReg("R", 0) + element("Boolean", "B", "<pValue>R</pValue>"));
    camera.memory.put32(0, 2);

    EXPECT_THROW(camera.boolean("B").GetValue(), LogicalErrorException);
    EXPECT_THROW(camera.value("B").ToString(), LogicalErrorException);
    camera.boolean("B").SetValue(true); // which mends it
    EXPECT_TRUE(camera.boolean("B").GetValue());
}

TEST(Enumerations, BooleansTakeFourWords) {
    Camera camera(element("Boolean", "B", "<Value>true</Value>"));
    const std::pair<const char *, bool> texts[] = {{"0", false},      {"1", true},
                                                   {"false", false},  {"true", true},
                                                   {" false", false}, {" 1  ", true}};
    for (const auto &[text, expected] : texts) {
        camera.boolean("B").SetValue(!expected);
        camera.value("B").FromString(text);
        EXPECT_EQ(expected, camera.boolean("B").GetValue()) << text;
    }
    for (const char *text : {"", " ", "2", "True", "TRUE", "yes", "on", "1x", "01"})
        EXPECT_THROW(camera.value("B").FromString(text), InvalidArgumentException) << text;
}

TEST(Enumerations, BooleansAreVerifiedByTheTargetsRange) {
    Camera camera(element("IntReg", "R", place(0, 1) + kUnsignedBig) +
                  element("Boolean", "B", "<pValue>R</pValue><OnValue>300</OnValue>"));

    EXPECT_THROW(camera.boolean("B").SetValue(true), OutOfRangeException);
    EXPECT_TRUE(camera.memory.accesses().empty());
    camera.boolean("B").SetValue(true, false);
    EXPECT_THAT(camera.memory.get(0, 1), ElementsAre(0x2C));
}

TEST(Enumerations, BooleansMayBeConstants) {
    const std::pair<const char *, bool> values[] = {
        {"true", true}, {"1", true}, {"false", false}, {"0", false}};
    for (const auto &[value, expected] : values) {
        Camera camera(element("Boolean", "B", "<Value>" + std::string(value) + "</Value>"));
        EXPECT_EQ(expected, camera.boolean("B").GetValue()) << value;
    }
    for (const char *value : {"2", "True", "yes", ""})
        EXPECT_NE("", refusal(element("Boolean", "B", "<Value>" + std::string(value) + "</Value>")))
            << value;
}

} // namespace
