// Registers that are read in few commands before all features are.

#include "support.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::string littleReg(const std::string &name, const std::string &address) {
    return "<IntReg Name=\"" + name + "\">" + atAddress(address) +
           "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>";
}

class Ahead : public OpenedCamera {
protected:
    const std::string nodes =
        intReg("Width", "0x1000") + intReg("Far", "0x8000") + littleReg("Little", "0x1010");

    // Values that tell byte orders; the little one as memory shows it.
    void setAll() {
        camera.set(0x1000, 1936);
        camera.set(0x8000, 0x01020304);
        camera.set(0x1010, 0x01020304);
    }
    void expectAll(int64_t little) const {
        EXPECT_EQ(1936, integer("Width").GetValue());
        EXPECT_EQ(0x01020304, integer("Far").GetValue());
        EXPECT_EQ(little, integer("Little").GetValue());
    }
};

TEST_F(Ahead, TakesFewCommands) {
    std::string many;
    for (int i = 0; i < 300; ++i)
        many += intReg("R" + std::to_string(i), std::to_string(0x1000 + 16 * i));
    openFresh(many);
    camera.set(0x1000 + 16 * 299, 7);

    EXPECT_EQ(GEVLIB_OK, KxGigeReadAhead(handle));
    EXPECT_THAT(camera.accesses(), SizeIs(3));
    for (int i = 0; i < 300; ++i)
        EXPECT_EQ(i == 299 ? 7 : 0, integer(("R" + std::to_string(i)).c_str()).GetValue());
    EXPECT_THAT(camera.accesses(), SizeIs(3));
}

TEST_F(Ahead, IsRightBeforeTheCamerasByteOrderIsKnown) {
    for (const bool reversed : {false, true}) {
        openFresh(nodes);
        if (reversed)
            camera.reverseRegistersInMemory();
        setAll();
        EXPECT_EQ(GEVLIB_OK, KxGigeReadAhead(handle));
        expectAll(reversed ? 0x01020304 : 0x04030201);
        EXPECT_THAT(camera.accesses(), ElementsAre(readingByCommand(0x1000), reading(0x1010)));
        GevCloseCamera(&handle);
    }
}

TEST_F(Ahead, ReadsLittleOnesTooWhereMemoryShowsTheSame) {
    open(nodes);
    setAll();
    EXPECT_EQ(GEVLIB_OK, KxGigeReadAhead(handle));
    expectAll(0x04030201);
    EXPECT_THAT(camera.accesses(), ElementsAre(readingByCommand(0x1000), readingByCommand(0x1010)));
}

TEST_F(Ahead, LeavesLittleOnesAloneWhereMemoryShowsOthers) {
    openFresh(nodes + intReg("Telling", "0x2000"));
    camera.reverseRegistersInMemory();
    camera.set(0x2000, 1);
    EXPECT_EQ(1, integer("Telling").GetValue());
    camera.forget();
    setAll();
    EXPECT_EQ(GEVLIB_OK, KxGigeReadAhead(handle));
    expectAll(0x01020304);
    EXPECT_THAT(camera.accesses(), ElementsAre(readingByCommand(0x1000), reading(0x1010)));
}

TEST_F(Ahead, IsByCommandsAsOldDescriptionsMeanIt) {
    openFresh(nodes, GevControlMode, 0);
    setAll();
    EXPECT_EQ(GEVLIB_OK, KxGigeReadAhead(handle));
    expectAll(0x04030201);
    EXPECT_THAT(camera.accesses(), ElementsAre(readingByCommand(0x1000), readingByCommand(0x1010)));
}

TEST_F(Ahead, AsksNothingWhereSeveralRegistersAreRefusedOrNothingIsKept) {
    camera.set(peer::kCapability, 2); // memory can be written, and no more
    openFresh(nodes);
    EXPECT_EQ(GEVLIB_OK, KxGigeReadAhead(handle));
    EXPECT_THAT(camera.accesses(), IsEmpty());
    GevCloseCamera(&handle);

    camera.set(peer::kCapability, 3);
    openFresh(nodes, GevMonitorMode);
    EXPECT_EQ(GEVLIB_OK, KxGigeReadAhead(handle));
    EXPECT_THAT(camera.accesses(), IsEmpty());
}

TEST_F(Ahead, LeavesOutWhatTheCameraRefuses) {
    openFresh(nodes);
    setAll();
    camera.refuse(
        [](const Received &command) {
            for (size_t i = 0; i < command.payload.size() / 4; ++i)
                if (command.command == peer::ReadRegister && command.word(i) == 0x8000)
                    return true;
            return false;
        },
        peer::InvalidAddress);
    EXPECT_EQ(GEVLIB_OK, KxGigeReadAhead(handle));
    EXPECT_EQ(1936, integer("Width").GetValue());
    EXPECT_THAT(camera.accesses(), ElementsAre(readingByCommand(0x1000), readingByCommand(0x1000),
                                               readingByCommand(0x8000)));
}

TEST_F(Ahead, TellsThatTheCameraIsSilentOrNotOpen) {
    EXPECT_EQ(GEVLIB_ERROR_INVALID_HANDLE, KxGigeReadAhead(nullptr));
    openFresh(nodes);
    camera.beSilent();
    EXPECT_EQ(GEVLIB_ERROR_TIME_OUT, KxGigeReadAhead(handle));
}

} // namespace
