// Cameras that show their registers to memory commands in little-endian order, and describe them as
// big endian.

#include "support.h"

namespace {

using testing::Contains;
using testing::ElementsAre;

const std::string kNodes = intReg("Width", "0x1000") + intReg("Height", "0x1004") +
                           "<FloatReg Name=\"Gain\">" + atAddress("0x1008") +
                           "<Endianess>BigEndian</Endianess></FloatReg>";

class ByteOrder : public OpenedCamera {};

TEST_F(ByteOrder, IsFoundAtTheFirstRegisterThatTells) {
    openFresh(kNodes);
    camera.reverseRegistersInMemory();
    camera.set(0x1000, 1936);
    camera.set(0x1004, 1216);

    EXPECT_EQ(1936, integer("Width").GetValue());
    EXPECT_EQ(1216, integer("Height").GetValue());

    EXPECT_THAT(camera.accesses(),
                ElementsAre(reading(0x1000), readingByCommand(0x1000), readingByCommand(0x1004)));
}

TEST_F(ByteOrder, IsHeededByWritesAndByFloats) {
    openFresh(kNodes);
    camera.reverseRegistersInMemory();
    camera.set(0x1000, 1936);
    integer("Width").GetValue();

    integer("Height").SetValue(640);
    floating("Gain").SetValue(2);

    EXPECT_EQ(640u, camera.get(0x1004));
    EXPECT_EQ(0x40000000u, camera.get(0x1008));
    EXPECT_DOUBLE_EQ(2, floating("Gain").GetValue(false, true));
}

TEST_F(ByteOrder, DoesNotMatterToWritesBeforeItIsKnown) {
    openFresh(kNodes);
    camera.reverseRegistersInMemory();

    integer("Width").SetValue(640);

    EXPECT_EQ(640u, camera.get(0x1000));
    EXPECT_THAT(camera.accesses(), ElementsAre(testing::Pair(peer::WriteRegister, 0x1000)));
}

TEST_F(ByteOrder, IsComparedOnceOnACameraThatIsAsDescribed) {
    openFresh(kNodes);
    camera.set(0x1000, 1936);

    EXPECT_EQ(1936, integer("Width").GetValue());
    EXPECT_EQ(0, integer("Height").GetValue());
    integer("Height").SetValue(640);

    EXPECT_EQ(640u, camera.get(0x1004));
    EXPECT_THAT(camera.accesses(), ElementsAre(reading(0x1000), readingByCommand(0x1000),
                                               reading(0x1004), writing(0x1004)));
}

TEST_F(ByteOrder, StaysOpenWhileRegistersReadTheSameFromBothEnds) {
    openFresh(kNodes);
    camera.reverseRegistersInMemory();
    camera.set(0x1004, 1216);

    EXPECT_EQ(0, integer("Width").GetValue());
    EXPECT_EQ(1216, integer("Height").GetValue());

    EXPECT_THAT(camera.accesses(),
                ElementsAre(reading(0x1000), reading(0x1004), readingByCommand(0x1004)));
}

TEST_F(ByteOrder, IsTakenForTheUsualOneAfterSixteenRegistersThatDoNotTell) {
    openFresh(intReg("Idle", "0x1000", "<Cachable>NoCache</Cachable>"));
    camera.set(0x1000, 1);
    camera.refuse([](const Received &command) { return command.command == peer::ReadRegister; },
                  peer::NotImplemented);
    for (int i = 0; i < 17; ++i)
        EXPECT_EQ(1, integer("Idle").GetValue());

    const auto accesses = camera.accesses();
    EXPECT_THAT(accesses, Contains(readingByCommand(0x1000)).Times(16));
    EXPECT_THAT(accesses, Contains(reading(0x1000)).Times(17));
}

TEST_F(ByteOrder, OfARegisterThatIsDeclaredLittleEndianIsWhatMemoryShows) {
    openFresh(kNodes + "<IntReg Name=\"Little\">" + atAddress("0x1010") +
              "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>");
    camera.reverseRegistersInMemory();
    camera.set(0x1000, 1936);
    camera.set(0x1010, 1216);

    EXPECT_EQ(1216, integer("Little").GetValue());
    EXPECT_EQ(1936, integer("Width").GetValue());
    EXPECT_EQ(1216, integer("Little").GetValue(false, true));
    integer("Little").SetValue(640);

    EXPECT_EQ(640u, camera.get(0x1010));
    EXPECT_THAT(camera.accesses(),
                ElementsAre(reading(0x1010), reading(0x1000), readingByCommand(0x1000),
                            reading(0x1010), writing(0x1010)));
}

} // namespace
