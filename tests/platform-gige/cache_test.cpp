// Which accesses cost commands of a camera; what is cached when is asserted in tests/genapi.

#include "support.h"

namespace {

using testing::ElementsAre;

class Cache : public OpenedCamera {};

TEST_F(Cache, SparesReadsOfWhatWasReadOrWritten) {
    open(intReg("Width", "0x1000") + intReg("Height", "0x1010"));
    camera.set(0x1000, 640);

    EXPECT_EQ(640, integer("Width").GetValue());
    EXPECT_EQ(640, integer("Width").GetValue());
    integer("Height").SetValue(800);
    EXPECT_EQ(800, integer("Height").GetValue());

    EXPECT_THAT(camera.accesses(), ElementsAre(reading(0x1000), writing(0x1010)));
}

TEST_F(Cache, IsAskedOnceForAnEnumerationsText) {
    open("<Enumeration Name=\"Mode\"><EnumEntry Name=\"A\"><Value>0</Value></EnumEntry>"
         "<EnumEntry Name=\"B\"><Value>1</Value></EnumEntry><pValue>Reg</pValue></Enumeration>" +
         intReg("Reg", "0x1000", "<Cachable>NoCache</Cachable>"));
    camera.set(0x1000, 1);

    EXPECT_EQ("B", std::string(enumeration("Mode").ToString()));

    EXPECT_THAT(camera.accesses(), ElementsAre(reading(0x1000)));
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
    camera.set(0x1000, 1);
    camera.set(0x1004, 1);
    camera.set(0x100c, 255);
    integer("Index").SetValue(0);
    integer("Value").SetValue(integer("Value").GetValue());
    camera.forget();

    integer("Index").SetValue(3);
    EXPECT_EQ(0, integer("Value").GetValue());
    integer("Value").SetValue(7);
    integer("Index").SetValue(4);
    integer("Value").GetValue();

    EXPECT_EQ(7u, camera.get(0x240c));
    EXPECT_THAT(camera.accesses(), ElementsAre(writing(0x1008), reading(0x240c), writing(0x240c),
                                               writing(0x1008), reading(0x2410)));
}

TEST_F(Cache, KeepsNothingOfACameraThatIsOnlyMonitored) {
    open(intReg("Width", "0x1000"), GevMonitorMode);
    integer("Width").GetValue();
    camera.set(0x1000, 320); // by whoever controls it

    EXPECT_EQ(320, integer("Width").GetValue());
}

TEST_F(Cache, AccessesRegistersAsOldDescriptionsMeanThem) {
    open(intReg("Width", "0x1000"), GevControlMode, 0);
    camera.set(0x1000, 0x01020304);

    EXPECT_EQ(0x01020304, integer("Width").GetValue());
    integer("Width").SetValue(0x05060708);

    EXPECT_EQ(0x05060708u, camera.get(0x1000));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(readingByCommand(0x1000), testing::Pair(peer::WriteRegister, 0x1000)));
}

} // namespace
