// Which exception each situation raises, and what it says.

#include <gmock/gmock.h>

#include "genapi/errors.h"
#include "support.h"

namespace {

using GenApi_3_0::CNodeMapRef;
using testing::HasSubstr;
using testing::Not;

std::string description() {
    return constant("Zero", 0) + intReg("RO", 0, "RO") + intReg("WO", 0, "WO") +
           element("Integer", "NA", "<pIsAvailable>Zero</pIsAvailable><Value>1</Value>") +
           element("Integer", "NI", "<pIsImplemented>Zero</pIsImplemented><Value>1</Value>") +
           element("Integer", "Needing", "<Value>1</Value><pMax>WO</pMax>") +
           element("Integer", "Ranged", "<Value>10</Value><Min>10</Min><Max>20</Max><Inc>5</Inc>") +
           element("Integer", "NoStep", "<Value>1</Value><Inc>0</Inc>") +
           element("StringReg", "Text", place(0, 4)) +
           element("IntReg", "TooLong", place(0, 9) + kUnsignedBig) +
           R"(<Enumeration Name="E"><EnumEntry Name="X"><Value>1</Value></EnumEntry>
                <EnumEntry Name="NotNow"><pIsAvailable>Zero</pIsAvailable><Value>2</Value></EnumEntry>
                <EnumEntry Name="Never"><pIsImplemented>Zero</pIsImplemented><Value>3</Value>
                </EnumEntry><Value>1</Value></Enumeration>
              <Enumeration Name="None"><EnumEntry Name="X"><Value>1</Value></EnumEntry>
                <Value>9</Value></Enumeration>)" +
           element("IntSwissKnife", "Wrong", "<Formula>1+</Formula>") +
           element("IntSwissKnife", "ByZero", "<Formula>1/0</Formula>") +
           element("Boolean", "Neither",
                   "<pValue>Zero</pValue><OnValue>1</OnValue><OffValue>2</OffValue>") +
           constantFloat("Huge", "1e19") + element("Integer", "OverHuge", "<pValue>Huge</pValue>") +
           element("IntReg", "Slow", place(64, 4) + kUnsignedBig) +
           element("IntReg", "Gone", place(68, 4) + kUnsignedBig);
}

TEST(Exceptions, AreOfTheClassOfTheSituation) {
    Camera camera(description());
    camera.memory.before = [](char, uint64_t address) {
        if (address == 64)
            KXGENAPI_RAISE(TimeoutException, "%s", "no answer");
        if (address == 68)
            KXGENAPI_RAISE(RuntimeException, "%s", "gone");
    };
    const auto read = [&camera](const char *name) {
        return [&camera, name] { camera.text(name); };
    };
    const auto write = [&camera](const char *name, const char *text) {
        return [&camera, name, text] { camera.value(name).FromString(text); };
    };
    const auto set = [&camera](const char *name, int64_t value) {
        return [&camera, name, value] { camera.integer(name).SetValue(value); };
    };
    const struct {
        const char *situation;
        const char *expected;
        std::function<void()> call;
    } cases[] = {
        {"a reference without map", "Access", [] { CNodeMapRef()._GetNode("A"); }},
        {"reading what is not implemented", "Access", read("NI")},
        {"reading what is not available", "Access", read("NA")},
        {"reading what is write-only", "Access", read("WO")},
        {"writing what is not implemented", "Access", set("NI", 1)},
        {"writing what is not available", "Access", set("NA", 1)},
        {"writing what is read-only", "Access", set("RO", 1)},
        {"an entry that is not available", "Access", write("E", "NotNow")},
        {"an entry that is not implemented", "Access", write("E", "Never")},
        {"a needed node that is not readable", "Access", set("Needing", 1)},
        {"below the minimum", "OutOfRange", set("Ranged", 5)},
        {"above the maximum", "OutOfRange", set("Ranged", 25)},
        {"off the increment", "OutOfRange", set("Ranged", 12)},
        {"a text that is too long", "OutOfRange", write("Text", "abcde")},
        {"a register that is too long", "OutOfRange", read("TooLong")},
        {"a text that is no number", "InvalidArgument", write("Ranged", "x")},
        {"a text that is no entry", "InvalidArgument", write("E", "Nobody")},
        {"an integer of no entry, written", "InvalidArgument",
         [&camera] { camera.enumeration("E").SetIntValue(9); }},
        {"an integer of no entry, as text", "InvalidArgument", read("None")},
        {"a wrong formula", "LogicalError", read("Wrong")},
        {"a formula undefined at a value", "LogicalError", read("ByZero")},
        {"a boolean that is neither", "LogicalError", read("Neither")},
        {"an increment of 0", "LogicalError", set("NoStep", 1)},
        {"a float beyond 64 bits", "Runtime", read("OverHuge")},
        {"a description refused", "Runtime", [] { const Camera refused("<Unknown Name=\"A\"/>"); }},
        {"a number of a description that is none", "Property",
         [] { const Camera refused(element("Integer", "A", "<Value>x</Value>")); }},
        {"the port's own timeout", "Timeout", read("Slow")},
        {"the port's own error", "Runtime", read("Gone")},
        // Where GenICam's own GenApi raises, a float without increment gives 0.
        {"a float without increment", "", [&camera] { camera.floating("Huge").GetInc(); }},
    };
    for (const auto &[situation, expected, call] : cases)
        EXPECT_EQ(expected, raised(call)) << situation;
}

TEST(Exceptions, OfAReferenceWithoutMapSayThatTheFeatureIsNotPresent) {
    try {
        CNodeMapRef()._GetNode("Width");
        FAIL() << "nothing was raised";
    } catch (const GenICam_3_0::AccessException &error) {
        EXPECT_STREQ("Feature not present (reference not valid)", error.GetDescription());
    }
}

TEST(Exceptions, SayWhatHappenedAloneAndWhereWithIt) {
    Camera camera(description());
    try {
        camera.integer("Ranged").SetValue(12);
        FAIL() << "nothing was raised";
    } catch (const GenICam_3_0::GenericException &error) {
        EXPECT_THAT(error.GetDescription(), Not(HasSubstr("OutOfRangeException")));
        EXPECT_THAT(error.GetDescription(), Not(HasSubstr(error.GetSourceFileName())));
        EXPECT_THAT(error.what(), HasSubstr(error.GetDescription()));
        EXPECT_THAT(error.what(), HasSubstr("OutOfRangeException"));
        EXPECT_THAT(error.what(), HasSubstr("Ranged"));
        EXPECT_THAT(error.what(), HasSubstr(error.GetSourceFileName()));
    }
}

} // namespace
