#include "camera_test.h"

namespace {

// 0938 is the heartbeat timeout, 10108 WidthMax (read-only), 10110 Width, 10114 Height, 10204
// AcquisitionStart (write-only), 1FFFC unmapped, 20000 to 2BFFF a table.

TEST_F(Camera, ReadsRegisters) {
    converse(R"(
        42 01 0080 0004 0007 00010110 = 0000 0081 0004 0007 00000790
        # Several, in the order asked for.
        42 01 0080 000C 0007 00000938 00010110 00010114 = 0000 0081 000C 0007 00000BB800000790000004C0
        # An unmapped one ends the list; nothing lies behind the last, and nothing wraps.
        42 01 0080 000C 0007 00000938 0001FFFC 00010110 = 8003 0081 0004 0007 00000BB8
        42 01 0080 0004 0007 FFFFFFFC = 8003 0081 0000 0007
        # Unaligned, and write-only.
        42 01 0080 0004 0007 00010112 = 8005 0081 0000 0007
        42 01 0080 0004 0007 00010204 = 8006 0081 0000 0007
    )");
}

TEST_F(Camera, ReadsMemory) {
    converse(R"(
        # The address and the bytes; registers that follow each other.
        42 01 0084 0008 0007 000000D8 0000 0010 = 0000 0085 0014 0007 000000D853310000000000000000000000000000
        42 01 0084 0008 0007 00010110 0000 0008 = 0000 0085 000C 0007 0001011000000790000004C0
        # The last of the table, and partly unmapped; beyond the address space.
        42 01 0084 0008 0008 0002BFFC 0000 0004 = 0000 0085 0008 0008 0002BFFC00000000
        42 01 0084 0008 0007 0002BFFC 0000 0008 = 8003 0085 0000 0007
        42 01 0084 0008 0007 FFFFFFFC 0000 0218 = 8003 0085 0000 0007
        # Address and size are multiples of four.
        42 01 0084 0008 0007 000000DA 0000 0004 = 8005 0085 0000 0007
        42 01 0084 0008 0008 000000D8 0000 0006 = 8005 0085 0000 0008
        # A block has bytes, and a write-only register is none.
        42 01 0084 0008 0007 00020000 0000 0000 = 8002 0085 0000 0007
        42 01 0084 0008 0007 00010204 0000 0004 = 8006 0085 0000 0007
    )");
}

TEST_F(Camera, WritesRegistersAndMemoryForItsOwner) {
    converse(R"(
        write 0A00 2 = 0000
        42 01 0082 0010 0007 00010110 00000640 00010114 00000200 = 0000 0083 0004 0007 00000002
        read 10110 = 00000640
        read 10114 = 00000200
        # Up to the first refusal; the answer says how many were done.
        42 01 0082 0018 0007 00010110 00000320 0001FFFC 00000001 00010114 00000100 = 8003 0083 0004 0007 00000001
        read 10110 = 00000320
        read 10114 = 00000200
        # Read-only, unaligned, write-only.
        42 01 0082 0008 0007 00010108 00000640 = 8004 0083 0004 0007 00000000
        read 10108 = 00000790
        42 01 0082 0008 0007 00010112 00000640 = 8005 0083 0004 0007 00000000
        write 10204 1 = 0000
        # Without acknowledge it is done and not answered.
        42 00 0082 0008 0007 00010110 00000640 = nothing
        read 10110 = 00000640
        # Memory: how many bytes; all of them or none.
        42 01 0086 0010 0007 000000E8 6C656674 20646F6F 72000000 = 0000 0087 0004 0007 0000000C
        42 01 0084 0008 0008 000000E8 0000 000C = 0000 0085 0010 0008 000000E86C65667420646F6F72000000
        42 01 0086 000C 0007 0002BFFC 00000001 00000001 = 8003 0087 0004 0007 00000000
        read 2BFFC = 00000000
        42 01 0086 000C 0007 0001010C 00000001 00000001 = 8004 0087 0004 0007 00000000
        read 10110 = 00000640
        42 01 0086 0008 0007 000000EA 00000001 = 8005 0087 0004 0007 00000000
        42 01 0086 000A 0008 000000E8 00000001 0002 = 8005 0087 0004 0008 00000000
    )");
}

TEST_F(Camera, TakesAsMuchAsAPacketHolds) {
    takeControl();
    std::string addresses, values, pairs;
    for (uint32_t i = 0; i < 135; ++i) {
        addresses += "00000938";
        values += "00000BB8";
        pairs += i < 67 ? hex(0x00020000 + 4 * i, 8) + hex(0x100 + i, 8) : "";
    }

    EXPECT_EQ("0000 0081 021C 0007 " + values, client.ask("42 01 0080 021C 0007" + addresses));
    EXPECT_EQ("8002 0081 0000 0008", client.ask("42 01 0080 0220 0008 00000938" + addresses));
    EXPECT_EQ("0000 0083 0004 0007 00000043", client.ask("42 01 0082 0218 0007" + pairs));
    EXPECT_EQ("8002 0083 0000 0008",
              client.ask("42 01 0082 0220 0008" + pairs + "00020000 00000001"));
    EXPECT_EQ("00000142", client.read(0x00020108));
    EXPECT_EQ("0000 0087 0004 0009 00000218",
              client.ask("42 01 0086 021C 0009 00020000" + hexText("", 536)));
    EXPECT_EQ("0000 0085 021C 0009 00020000" + hexText("", 536),
              client.ask("42 01 0084 0008 0009 00020000 0000 0218"));
    EXPECT_EQ("8002 0085 0000 0008", client.ask("42 01 0084 0008 0008 00020000 0000 021C"));
    EXPECT_EQ("8002 0087 0000 0008",
              client.ask("42 01 0086 0220 0008 00020000" + hexText("", 540)));
    EXPECT_EQ("8002 0087 0000 0007",
              client.ask("42 01 0086 8000 0007 00020000" + hexText("", 0x7FFC)));
}

TEST_F(Camera, LatchesItsTimestampOnDemandAndCanStartItAnew) {
    takeControl();
    const auto latched = [&] {
        EXPECT_EQ("0000", client.write(0x0944, 2));
        return client.memory(0x0948, 8);
    };

    const std::string first = latched();
    EXPECT_EQ(first, client.memory(0x0948, 8));
    const std::string second = latched();
    EXPECT_LT(first, second);
    EXPECT_EQ("0000", client.write(0x0944, 1));
    EXPECT_LT(latched(), second);
}

// What arrives at port 3956 need not be a command. The camera has one answer for each packet here,
// or none, and goes on; it says the same to its owner, and nothing is changed.
const char *const kMalformed = R"(
    = nothing # an empty packet
    42 = nothing
    42 01 0080 0004 00 = nothing
    43 01 0080 0004 0007 00010110 = nothing # not the key
    00 00 0081 0004 0007 00010110 = nothing # an acknowledge
    # The length is not that of the packet, or the request number is 0.
    42 01 0080 0008 0007 00010110 = 800E 0081 0000 0007
    42 01 0082 FFFF 0007 00010110 00000640 = 800E 0083 0000 0007
    42 01 0080 0004 0007 00010110 00010114 = 800E 0081 0000 0007
    42 01 0080 0004 0000 00010110 = 800E 0081 0000 0000
    # Commands that the camera does not know, the last two of which are EVENT and ACTION.
    42 01 1234 0000 0007 = 8001 1235 0000 0007
    42 01 FFFF 0000 0007 = 8001 FFFF 0000 0007
    42 00 1234 0000 0007 = nothing
    42 01 0040 000C 0007 00000001 00000001 00000002 = 8001 0041 0000 0007
    42 01 00C0 0000 0007 = 8001 00C1 0000 0007
    42 01 0100 0000 0007 = 8001 0101 0000 0007
    # What they are about is not there, or cut short, or too much.
    42 01 0002 0004 0007 00000000 = 8002 0003 0000 0007
    42 01 0004 0004 0007 00000000 = 8002 0005 0000 0007
    42 01 0080 0000 0007 = 8002 0081 0000 0007
    42 01 0080 0006 0007 00010110 0001 = 8002 0081 0000 0007
    42 01 0082 0000 0007 = 8002 0083 0000 0007
    42 01 0082 0004 0007 00010110 = 8002 0083 0000 0007
    42 01 0082 000C 0007 00010110 00000640 00010114 = 8002 0083 0000 0007
    42 01 0084 0004 0007 000000D8 = 8002 0085 0000 0007
    42 01 0084 000C 0007 000000D8 00000010 00000000 = 8002 0085 0000 0007
    42 01 0084 0008 0007 000000D8 0000FFFF = 8002 0085 0000 0007
    42 01 0084 0008 0007 FFFFFFFC 00000008 = 8003 0085 0000 0007
    42 01 0086 0000 0007 = 8002 0087 0000 0007
    42 01 0086 0004 0007 000000E8 = 8002 0087 0000 0007
    read 10110 = 00000790
)";

TEST_F(Camera, DealsWithMalformedPacketsAndGoesOn) {
    converse(kMalformed);
    converse("write 0A00 2 = 0000\n" + std::string(kMalformed) + "read 0A00 = 00000002\n");
}

// Every beginning of a good command, and every byte of it replaced.
TEST_F(Camera, SurvivesPacketsCutAndBentAtEveryByte) {
    const std::string good = "4201008400080007000000D800000010";
    for (size_t cut = 0; cut < good.size(); cut += 2) {
        client.send("42000002" + good.substr(8, cut));
        client.send("4200" + good.substr(4, cut));
        for (const char *byte : {"00", "7F", "80", "FF"}) {
            std::string bent = good;
            bent.replace(cut, 2, byte);
            bent.replace(2, 2, "00");
            client.send(bent);
        }
        ASSERT_EQ("00000790", client.read(kWidth)) << cut;
    }
}

} // namespace
