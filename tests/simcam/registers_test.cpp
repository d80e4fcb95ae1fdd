#include "camera_test.h"

namespace {

class Reading : public Camera {};

TEST_F(Reading, GivesTheValueOfARegister) {
    EXPECT_EQ("0000 0081 0004 0007 00000790", client.ask("42 01 0080 0004 0007 00010110"));
}

TEST_F(Reading, GivesSeveralRegistersInTheOrderAskedFor) {
    EXPECT_EQ("0000 0081 000C 0007 00000BB800000790000004C0",
              client.ask("42 01 0080 000C 0007 00000938 00010110 00010114"));
}

TEST_F(Reading, TakesAsManyRegistersAsAPacketHolds) {
    std::string addresses, values;
    for (int i = 0; i < 135; ++i) {
        addresses += "00000938";
        values += "00000BB8";
    }
    EXPECT_EQ("0000 0081 021C 0007 " + values, client.ask("42 01 0080 021C 0007" + addresses));
    EXPECT_EQ("8002 0081 0000 0008", client.ask("42 01 0080 0220 0008 00000938" + addresses));
}

TEST_F(Reading, AnUnmappedRegisterEndsTheListWithInvalidAddress) {
    EXPECT_EQ("8003 0081 0004 0007 00000BB8",
              client.ask("42 01 0080 000C 0007 00000938 0001FFFC 00010110"));
}

TEST_F(Reading, AnUnalignedAddressIsBadAlignment) {
    EXPECT_EQ("8005 0081 0000 0007", client.ask("42 01 0080 0004 0007 00010112"));
}

TEST_F(Reading, AWriteOnlyRegisterIsAccessDenied) {
    EXPECT_EQ("8006 0081 0000 0007", client.ask("42 01 0080 0004 0007 00010204"));
}

TEST_F(Reading, TheLastAddressIsUnmappedAndWrapsNowhere) {
    EXPECT_EQ("8003 0081 0000 0007", client.ask("42 01 0080 0004 0007 FFFFFFFC"));
}

class ReadingMemory : public Camera {};

TEST_F(ReadingMemory, GivesTheAddressAndTheBytes) {
    EXPECT_EQ("0000 0085 0014 0007 000000D8" + hexText("S1", 16),
              client.ask("42 01 0084 0008 0007 000000D8 0000 0010"));
}

TEST_F(ReadingMemory, SpansRegistersThatFollowEachOther) {
    EXPECT_EQ("0000 0085 000C 0007 0001011000000790000004C0",
              client.ask("42 01 0084 0008 0007 00010110 0000 0008"));
}

TEST_F(ReadingMemory, ABlockThatIsPartlyUnmappedIsInvalidAddress) {
    EXPECT_EQ("8003 0085 0000 0007", client.ask("42 01 0084 0008 0007 0002BFFC 0000 0008"));
    EXPECT_EQ("0000 0085 0008 0008 0002BFFC00000000",
              client.ask("42 01 0084 0008 0008 0002BFFC 0000 0004"));
}

TEST_F(ReadingMemory, ABlockBeyondTheAddressSpaceIsInvalidAddress) {
    EXPECT_EQ("8003 0085 0000 0007", client.ask("42 01 0084 0008 0007 FFFFFFFC 0000 0218"));
}

TEST_F(ReadingMemory, AddressAndSizeAreMultiplesOfFour) {
    EXPECT_EQ("8005 0085 0000 0007", client.ask("42 01 0084 0008 0007 000000DA 0000 0004"));
    EXPECT_EQ("8005 0085 0000 0008", client.ask("42 01 0084 0008 0008 000000D8 0000 0006"));
}

TEST_F(ReadingMemory, ABlockHasOneTo536Bytes) {
    EXPECT_EQ("8002 0085 0000 0007", client.ask("42 01 0084 0008 0007 00020000 0000 0000"));
    EXPECT_EQ("8002 0085 0000 0008", client.ask("42 01 0084 0008 0008 00020000 0000 021C"));
    EXPECT_EQ("0000 0085 021C 0009 00020000" + hexText("", 536),
              client.ask("42 01 0084 0008 0009 00020000 0000 0218"));
}

TEST_F(ReadingMemory, AWriteOnlyRegisterIsAccessDenied) {
    EXPECT_EQ("8006 0085 0000 0007", client.ask("42 01 0084 0008 0007 00010204 0000 0004"));
}

class Writing : public Camera {
protected:
    void SetUp() override { takeControl(); }
};

TEST_F(Writing, ChangesTheRegister) {
    EXPECT_EQ("0000 0083 0004 0007 00000001", client.ask("42 01 0082 0008 0007 00010110 00000640"));

    EXPECT_EQ("00000640", client.read(kWidth));
}

TEST_F(Writing, ChangesSeveralRegisters) {
    EXPECT_EQ("0000 0083 0004 0007 00000002",
              client.ask("42 01 0082 0010 0007 00010110 00000640 00010114 00000200"));

    EXPECT_EQ("00000640", client.read(kWidth));
    EXPECT_EQ("00000200", client.read(kHeight));
}

TEST_F(Writing, EndsAtTheFirstRefusalAndSaysHowManyWereDone) {
    EXPECT_EQ("8003 0083 0004 0007 00000001",
              client.ask("42 01 0082 0018 0007 00010110 00000640 0001FFFC 00000001"
                         "00010114 00000200"));

    EXPECT_EQ("00000640", client.read(kWidth));
    EXPECT_EQ("000004C0", client.read(kHeight));
}

TEST_F(Writing, AReadOnlyRegisterIsWriteProtect) {
    EXPECT_EQ("8004 0083 0004 0007 00000000", client.ask("42 01 0082 0008 0007 00010108 00000640"));

    EXPECT_EQ("00000790", client.read(kWidthMax));
}

TEST_F(Writing, AnUnalignedAddressIsBadAlignment) {
    EXPECT_EQ("8005 0083 0004 0007 00000000", client.ask("42 01 0082 0008 0007 00010112 00000640"));
}

TEST_F(Writing, AWriteOnlyRegisterTakesTheValue) {
    EXPECT_EQ("0000", client.write(kAcquisitionStart, 1));
}

TEST_F(Writing, TakesAsManyRegistersAsAPacketHolds) {
    std::string pairs;
    for (unsigned i = 0; i < 67; ++i)
        pairs += hex(0x00020000 + 4 * i, 8) + hex(0x100 + i, 8);
    EXPECT_EQ("0000 0083 0004 0007 00000043", client.ask("42 01 0082 0218 0007" + pairs));
    EXPECT_EQ("8002 0083 0000 0008",
              client.ask("42 01 0082 0220 0008" + pairs + "00020000 00000001"));

    EXPECT_EQ("00000100", client.read(0x00020000));
    EXPECT_EQ("00000142", client.read(0x00020108));
}

TEST_F(Writing, WithoutAcknowledgeIsDoneAndNotAnswered) {
    EXPECT_TRUE(client.isIgnored("42 00 0082 0008 0007 00010110 00000640"));

    EXPECT_EQ("00000640", client.read(kWidth));
}

class WritingMemory : public Camera {
protected:
    void SetUp() override { takeControl(); }
};

TEST_F(WritingMemory, ChangesTheBytesAndSaysHowMany) {
    EXPECT_EQ("0000 0087 0004 0007 00000010",
              client.ask("42 01 0086 0014 0007 000000E8" + hexText("left door", 16)));

    EXPECT_EQ("0000 0085 0014 0008 000000E8" + hexText("left door", 16),
              client.ask("42 01 0084 0008 0008 000000E8 0000 0010"));
}

TEST_F(WritingMemory, IsDoneWholeOrNotAtAll) {
    EXPECT_EQ("8003 0087 0004 0007 00000000",
              client.ask("42 01 0086 000C 0007 0002BFFC 00000001 00000001"));

    EXPECT_EQ("00000000", client.read(kTableEnd - 4));
}

TEST_F(WritingMemory, AReadOnlyRegisterIsWriteProtect) {
    EXPECT_EQ("8004 0087 0004 0007 00000000",
              client.ask("42 01 0086 000C 0007 0001010C 00000001 00000001"));

    EXPECT_EQ("00000790", client.read(kWidth));
}

TEST_F(WritingMemory, AddressAndSizeAreMultiplesOfFour) {
    EXPECT_EQ("8005 0087 0004 0007 00000000", client.ask("42 01 0086 0008 0007 000000EA 00000001"));
    EXPECT_EQ("8005 0087 0004 0008 00000000",
              client.ask("42 01 0086 000A 0008 000000E8 00000001 0002"));
}

TEST_F(WritingMemory, ABlockHas4To536Bytes) {
    EXPECT_EQ("8002 0087 0000 0007", client.ask("42 01 0086 0004 0007 000000E8"));
    EXPECT_EQ("8002 0087 0000 0008",
              client.ask("42 01 0086 0220 0008 00020000" + hexText("", 540)));
    EXPECT_EQ("0000 0087 0004 0009 00000218",
              client.ask("42 01 0086 021C 0009 00020000" + hexText("", 536)));
}

TEST_F(Writing, TheTimestampIsLatchedOnDemandAndCanStartAnew) {
    constexpr std::uint32_t kTimestampControl = 0x0944;
    const auto latched = [&] {
        EXPECT_EQ("0000", client.write(kTimestampControl, 2));
        return client.memory(0x0948, 8);
    };

    const std::string first = latched();
    EXPECT_EQ(first, client.memory(0x0948, 8));
    const std::string second = latched();
    EXPECT_LT(first, second);
    EXPECT_EQ("0000", client.write(kTimestampControl, 1));
    EXPECT_LT(latched(), second);
}

} // namespace
