// Which accesses cost commands, and that what is cached is what the camera has.

#include "support.h"

namespace {

using peer::ReadMemory;
using peer::ReadRegister;
using peer::WriteMemory;
using peer::WriteRegister;
using testing::ElementsAre;
using testing::IsEmpty;

class Cache : public OpenedCamera {};

TEST_F(Cache, SparesSecondReads) {
    open(intReg("Width", "0x1000"));
    camera.setRegister(0x1000, 640);

    EXPECT_EQ(640, integer("Width").GetValue());
    EXPECT_EQ(640, integer("Width").GetValue());

    EXPECT_THAT(camera.accesses(), ElementsAre(Access{ReadMemory, 0x1000}));
}

// What was read past the cache is not kept: the next one asks once more.
TEST_F(Cache, IsPassedByWhenTheCallerSaysSo) {
    open(intReg("Width", "0x1000"));
    integer("Width").GetValue();
    camera.setRegister(0x1000, 320);

    EXPECT_EQ(0, integer("Width").GetValue(false, false));
    EXPECT_EQ(320, integer("Width").GetValue(false, true));
    EXPECT_EQ(320, integer("Width").GetValue(false, false));

    EXPECT_THAT(camera.accesses(),
                ElementsAre(Access{ReadMemory, 0x1000}, Access{ReadMemory, 0x1000},
                            Access{ReadMemory, 0x1000}));
}

TEST_F(Cache, IsPassedByForRegistersThatMustNotBeCached) {
    open(intReg("Temperature", "0x1000", "<Cachable>NoCache</Cachable>"));
    integer("Temperature").GetValue();
    camera.setRegister(0x1000, 41);

    EXPECT_EQ(41, integer("Temperature").GetValue());

    EXPECT_THAT(camera.accesses(),
                ElementsAre(Access{ReadMemory, 0x1000}, Access{ReadMemory, 0x1000}));
}

TEST_F(Cache, HoldsWhatWasWritten) {
    open(intReg("Width", "0x1000"));

    integer("Width").SetValue(800);

    EXPECT_EQ(800, integer("Width").GetValue());
    EXPECT_THAT(camera.accesses(), ElementsAre(Access{WriteMemory, 0x1000}));
}

TEST_F(Cache, IsReadAgainAfterWritingAround) {
    open(intReg("Exposure", "0x1000", "<Cachable>WriteAround</Cachable>"));

    integer("Exposure").SetValue(800);
    camera.setRegister(0x1000, 792); // the camera rounds

    EXPECT_EQ(792, integer("Exposure").GetValue());
    EXPECT_EQ(792, integer("Exposure").GetValue());
    EXPECT_THAT(camera.accesses(),
                ElementsAre(Access{WriteMemory, 0x1000}, Access{ReadMemory, 0x1000}));
}

TEST_F(Cache, ForgetsARegisterWhoseInvalidatorWasWritten) {
    open("<Enumeration Name=\"Selector\"><EnumEntry Name=\"Red\"><Value>0</Value></EnumEntry>"
         "<EnumEntry Name=\"Blue\"><Value>1</Value></EnumEntry><pValue>SelectorReg</pValue>"
         "</Enumeration>" +
         intReg("SelectorReg", "0x1000") +
         intReg("Ratio", "0x1004", "<pInvalidator>Selector</pInvalidator>") +
         intReg("Level", "0x1008", "<pInvalidator>SelectorReg</pInvalidator>"));
    camera.setRegister(0x1004, 10);
    camera.setRegister(0x1008, 20);
    EXPECT_EQ(10, integer("Ratio").GetValue());
    EXPECT_EQ(20, integer("Level").GetValue());
    camera.setRegister(0x1004, 11);
    camera.setRegister(0x1008, 21);
    EXPECT_EQ(10, integer("Ratio").GetValue());

    enumeration("Selector").FromString("Blue");

    EXPECT_EQ(11, integer("Ratio").GetValue());
    EXPECT_EQ(21, integer("Level").GetValue());
}

TEST_F(Cache, KnowsTheElementsOfASelectedArrayApart) {
    open(intReg("Selector", "0x1000") + "<IntReg Name=\"Element\">" +
         atAddress("0x1100", "<pIndex Offset=\"4\">Selector</pIndex>") +
         "<Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></IntReg>");
    camera.setRegister(0x1100, 40);
    camera.setRegister(0x1104, 41);

    EXPECT_EQ(40, integer("Element").GetValue());
    integer("Selector").SetValue(1);
    EXPECT_EQ(41, integer("Element").GetValue());
    integer("Selector").SetValue(0);
    EXPECT_EQ(40, integer("Element").GetValue());
}

TEST_F(Cache, IsNotAskedTwiceByVerification) {
    open(intReg("Reg", "0x1000") + intReg("Top", "0x1100") +
         "<Integer Name=\"Width\"><pValue>Reg</pValue><Min>0</Min><pMax>Top</pMax></Integer>");
    camera.setRegister(0x1100, 2000);

    integer("Width").SetValue(640);
    integer("Width").SetValue(641);

    EXPECT_THAT(camera.accesses(),
                ElementsAre(Access{ReadMemory, 0x1100}, Access{WriteMemory, 0x1000},
                            Access{WriteMemory, 0x1000}));
}

// An enumeration is read once for its text, however many entries it has.
TEST_F(Cache, IsAskedOnceForAnEnumerationsText) {
    open("<Enumeration Name=\"Mode\"><EnumEntry Name=\"A\"><Value>0</Value></EnumEntry>"
         "<EnumEntry Name=\"B\"><Value>1</Value></EnumEntry><pValue>Reg</pValue></Enumeration>" +
         intReg("Reg", "0x1000", "<Cachable>NoCache</Cachable>"));
    camera.setRegister(0x1000, 1);

    EXPECT_EQ("B", std::string(enumeration("Mode").ToString()));

    EXPECT_THAT(camera.accesses(), ElementsAre(Access{ReadMemory, 0x1000}));
}

TEST_F(Cache, WritesRegistersWhereTheCameraCannotWriteMemory) {
    open(intReg("Width", "0x1000"));
    camera.refuseCommand(WriteMemory); // though it says that it can

    integer("Width").SetValue(0x01020304);
    integer("Width").SetValue(0x01020305);

    EXPECT_EQ(0x01020305u, camera.getRegister(0x1000));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(Access{WriteMemory, 0x1000}, Access{WriteRegister, 0x1000},
                            Access{WriteRegister, 0x1000}));
}

// As a lookup table is: an entry is selected, and lies somewhere else each time.
TEST_F(Cache, CostsTwoCommandsToReadAnEntryOfATableAndOneMoreToWriteIt) {
    open("<IntSwissKnife Name=\"IsOn\"><pVariable Name=\"MODE\">Mode</pVariable>"
         "<Formula>MODE = 1</Formula></IntSwissKnife>" +
         intReg("Mode", "0x1000") + intReg("Channel", "0x1004") + intReg("Index", "0x1008") +
         "<Integer Name=\"Value\"><pIsAvailable>IsOn</pIsAvailable><pValue>ValueReg</pValue>"
         "<Min>0</Min><pMax>Top</pMax></Integer>" +
         intReg("Top", "0x100c") + "<IntReg Name=\"ValueReg\">" +
         atAddress("0x2000", "<pIndex Offset=\"1024\">Channel</pIndex>"
                             "<pIndex Offset=\"4\">Index</pIndex>"
                             "<pInvalidator>Channel</pInvalidator>"
                             "<pInvalidator>Index</pInvalidator>") +
         "<Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></IntReg>");
    camera.setRegister(0x1000, 1);
    camera.setRegister(0x1004, 1);
    camera.setRegister(0x100c, 255);
    integer("Index").SetValue(0);
    integer("Value").SetValue(integer("Value").GetValue());
    camera.clearAccesses();

    integer("Index").SetValue(3);
    EXPECT_EQ(0, integer("Value").GetValue());
    integer("Value").SetValue(7);
    integer("Index").SetValue(4);
    integer("Value").GetValue();

    EXPECT_EQ(7u, camera.getRegister(0x240c));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(Access{WriteMemory, 0x1008}, Access{ReadMemory, 0x240c},
                            Access{WriteMemory, 0x240c}, Access{WriteMemory, 0x1008},
                            Access{ReadMemory, 0x2410}));
}

// A register is known as what makes another stale before it is read for its own sake.
TEST_F(Cache, KeepsARegisterThatMakesAnotherStale) {
    open(intReg("Ratio", "0x1004", "<pInvalidator>Selector</pInvalidator>") +
         intReg("Selector", "0x1000"));
    integer("Ratio").GetValue();
    integer("Selector").GetValue();
    camera.clearAccesses();

    integer("Selector").GetValue();
    integer("Ratio").GetValue();
    integer("Selector").SetValue(1);
    integer("Ratio").GetValue();

    EXPECT_THAT(camera.accesses(),
                ElementsAre(Access{WriteMemory, 0x1000}, Access{ReadMemory, 0x1004}));
}

TEST_F(Cache, KeepsNothingOfACameraThatIsOnlyMonitored) {
    open(intReg("Width", "0x1000"), GevMonitorMode);
    integer("Width").GetValue();
    camera.setRegister(0x1000, 320); // by whoever controls it

    EXPECT_EQ(320, integer("Width").GetValue());
}

TEST_F(Cache, IsPassedByForRegistersThatThePollingTimeSaysChange) {
    open(intReg("Temperature", "0x1000", "<PollingTime>1000</PollingTime>"));
    integer("Temperature").GetValue();
    camera.setRegister(0x1000, 41);

    EXPECT_EQ(41, integer("Temperature").GetValue());
}

TEST_F(Cache, KnowsWhatAFieldsNeighbourHasWritten) {
    const auto field = [](const std::string &name, const std::string &bits) {
        return "<MaskedIntReg Name=\"" + name + "\">" + atAddress("0x1000") + bits +
               "<Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></MaskedIntReg>";
    };
    open(field("Low", "<LSB>31</LSB><MSB>16</MSB>") + field("High", "<LSB>15</LSB><MSB>0</MSB>"));

    integer("Low").SetValue(1);
    integer("High").SetValue(2);
    integer("Low").SetValue(3);

    EXPECT_EQ(0x00020003u, camera.getRegister(0x1000));
    EXPECT_EQ(2, integer("High").GetValue());
}

TEST_F(Cache, ForgetsARegisterThatAnotherOverlaps) {
    open(intReg("Whole", "0x1000") + "<StringReg Name=\"Text\">" +
         atAddress("0x1000", "", "RW", "8") + "</StringReg>");
    EXPECT_EQ(0, integer("Whole").GetValue());

    as<GenApi_3_0::IValue>("Text").FromString("abc");

    EXPECT_EQ(0x61626300, integer("Whole").GetValue());
}

TEST_F(Cache, ForgetsWhatMayHaveBeenWrittenThoughTheCameraRefused) {
    open(intReg("Width", "0x1000"));
    integer("Width").GetValue();
    camera.refuseWriting(0x1000, peer::Busy);
    EXPECT_THROW(integer("Width").SetValue(5), GenICam_3_0::RuntimeException);
    camera.setRegister(0x1000, 7);

    EXPECT_EQ(7, integer("Width").GetValue());
}

TEST_F(Cache, AccessesRegistersAsOldDescriptionsMeanThem) {
    open(intReg("Width", "0x1000"), GevControlMode, 0);
    camera.setRegister(0x1000, 0x01020304);

    EXPECT_EQ(0x01020304, integer("Width").GetValue());
    integer("Width").SetValue(0x05060708);

    EXPECT_EQ(0x05060708u, camera.getRegister(0x1000));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(Access{ReadRegister, 0x1000}, Access{WriteRegister, 0x1000}));
}

} // namespace
