// Which accesses cost commands, and that what is cached is what the camera has.

#include "support.h"

namespace {

using gvcp::ReadMemory;
using gvcp::ReadRegister;
using gvcp::WriteMemory;
using gvcp::WriteRegister;
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

TEST_F(Cache, IsPassedByWhenTheCallerSaysSo) {
    open(intReg("Width", "0x1000"));
    integer("Width").GetValue();
    camera.setRegister(0x1000, 320);

    EXPECT_EQ(0, integer("Width").GetValue(false, false));
    EXPECT_EQ(320, integer("Width").GetValue(false, true));
    EXPECT_EQ(320, integer("Width").GetValue(false, false));

    EXPECT_THAT(camera.accesses(),
                ElementsAre(Access{ReadMemory, 0x1000}, Access{ReadMemory, 0x1000}));
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
    open(intReg("Reg", "0x1000") + intReg("Top", "0x1004") +
         "<Integer Name=\"Width\"><pValue>Reg</pValue><Min>0</Min><pMax>Top</pMax></Integer>");
    camera.setRegister(0x1004, 2000);

    integer("Width").SetValue(640);
    integer("Width").SetValue(641);

    EXPECT_THAT(camera.accesses(),
                ElementsAre(Access{ReadMemory, 0x1004}, Access{WriteMemory, 0x1000},
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
    camera.refuseCommand(WriteMemory);

    integer("Width").SetValue(0x01020304);
    integer("Width").SetValue(0x01020305);

    EXPECT_EQ(0x01020305u, camera.getRegister(0x1000));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(Access{WriteMemory, 0x1000}, Access{WriteRegister, 0x1000},
                            Access{WriteRegister, 0x1000}));
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
