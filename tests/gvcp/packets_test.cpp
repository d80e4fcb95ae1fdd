// Packets as bytes: the one place where anybody's bytes are taken apart.

#include "gvcp/packets.h"

#include <gmock/gmock.h>

#include <cstring>
#include <random>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using namespace gvcp;

using Bytes = std::vector<uint8_t>;

Bytes commandOf(Command command, uint16_t id, const Bytes &payload) {
    const Packet packet = makeCommand(command, id, payload.data(), payload.size());
    return Bytes(packet.bytes.begin(), packet.bytes.begin() + static_cast<long>(packet.size));
}

TEST(Command, AsksForAnAnswer) {
    EXPECT_THAT(commandOf(kDiscovery, 0x1234, {}), ElementsAre(0x42, 0x01, 0, 2, 0, 0, 0x12, 0x34));
}

TEST(Command, HasItsNumberAndThePayloadsSizeBeforeThePayload) {
    EXPECT_THAT(commandOf(kReadRegister, 0xfffe, {0, 0, 0x0a, 0}),
                ElementsAre(0x42, 0x01, 0, 0x80, 0, 4, 0xff, 0xfe, 0, 0, 0x0a, 0));
    EXPECT_THAT(commandOf(kWriteRegister, 1, {1, 2, 3, 4, 5, 6, 7, 8}),
                ElementsAre(0x42, 0x01, 0, 0x82, 0, 8, 0, 1, 1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_THAT(commandOf(kReadMemory, 1, {9}), ElementsAre(0x42, 0x01, 0, 0x84, 0, 1, 0, 1, 9));
    EXPECT_THAT(commandOf(kWriteMemory, 1, {9}), ElementsAre(0x42, 0x01, 0, 0x86, 0, 1, 0, 1, 9));
}

TEST(Command, IsAsLargeAsAnyCameraTakesAtMost) {
    const Bytes payload(kLargestPayload, 7);

    const Bytes packet = commandOf(kWriteMemory, 1, payload);

    EXPECT_EQ(576u - 20 - 8, packet.size()); // less the headers of IP and UDP
    EXPECT_THAT(Bytes(packet.begin(), packet.begin() + 8),
                ElementsAre(0x42, 0x01, 0, 0x86, 0x02, 0x1c, 0, 1));
    EXPECT_THAT(Bytes(packet.begin() + 8, packet.end()), ElementsAreArray(payload));
}

TEST(PacketAnswer, IsTakenApart) {
    const Bytes packet{0x80, 0x06, 0, 0x81, 0, 4, 0x12, 0x34, 0xde, 0xad, 0xbe, 0xef};

    const auto answer = parseAnswer(packet.data(), packet.size());

    ASSERT_TRUE(answer);
    EXPECT_EQ(0x8006, answer->status);
    EXPECT_EQ(kReadRegister + 1, answer->command);
    EXPECT_EQ(0x1234, answer->requestId);
    EXPECT_EQ(packet.data() + 8, answer->payload);
    EXPECT_EQ(4u, answer->size);
}

TEST(PacketAnswer, IsNoneWhenCutShort) {
    const Bytes packet{0, 0, 0, 0x81, 0, 4, 0x12, 0x34, 0xde, 0xad, 0xbe, 0xef};

    for (size_t size = 0; size < packet.size(); ++size)
        EXPECT_FALSE(parseAnswer(packet.data(), size)) << size << " bytes";
}

TEST(PacketAnswer, EndsWhereItsLengthSaysAndMayHaveNoPayload) {
    Bytes packet{0, 0, 0, 0x81, 0, 4, 0x12, 0x34, 0xde, 0xad, 0xbe, 0xef, 1, 2, 3};

    EXPECT_EQ(4u, parseAnswer(packet.data(), packet.size()).value().size);
    packet[5] = 0;
    EXPECT_EQ(0u, parseAnswer(packet.data(), kHeader).value().size);
}

Bytes discoveryAnswer() {
    Bytes packet(8 + 0xf8);
    const auto put = [&packet](size_t at, const void *bytes, size_t size) {
        memcpy(&packet[at], bytes, size);
    };
    put(0, "\0\0\0\x03\0\xf8\x12\x34", 8);
    put(8 + 0x04, "\x80\0\0\x01", 4);
    put(8 + 0x08, "\xff\xff\x00\x11\x22\x33\x44\x55", 8);
    put(8 + 0x24, "\xc0\xa8\x01\x14", 4);
    put(8 + 0x34, "\xff\xff\xff\x00", 4);
    put(8 + 0x44, "\xc0\xa8\x01\x01", 4);
    put(8 + 0x48, "Maker", 5);
    put(8 + 0x68, "Model", 5);
    put(8 + 0x88, "1.2", 3);
    put(8 + 0xd8, "S1234", 5);
    put(8 + 0xe8, "left eye", 8);
    return packet;
}

std::optional<Identity> identityIn(const Bytes &packet) {
    const auto answer = parseAnswer(packet.data(), packet.size());
    return answer ? parseIdentity(*answer) : std::nullopt;
}

TEST(DiscoveryAnswer, TellsWhatACameraIs) {
    const auto identity = identityIn(discoveryAnswer());

    ASSERT_TRUE(identity);
    EXPECT_EQ(0xc0a80114u, identity->address);
    EXPECT_EQ(0xffffff00u, identity->mask);
    EXPECT_EQ(0xc0a80101u, identity->gateway);
    EXPECT_EQ(0x0011u, identity->macHigh);
    EXPECT_EQ(0x22334455u, identity->macLow);
    EXPECT_EQ(0x80000001u, identity->deviceMode);
    EXPECT_EQ("Maker", identity->manufacturer);
    EXPECT_EQ("Model", identity->model);
    EXPECT_EQ("1.2", identity->version);
    EXPECT_EQ("S1234", identity->serial);
    EXPECT_EQ("left eye", identity->userName);
}

TEST(DiscoveryAnswer, MayFillTextsToTheLastByte) {
    Bytes packet = discoveryAnswer();
    memset(&packet[8 + 0x48], 'm', 32);
    memset(&packet[8 + 0x68], 'o', 32);
    memset(&packet[8 + 0x88], 'v', 32);
    memset(&packet[8 + 0xd8], 's', 16);
    memset(&packet[8 + 0xe8], 'u', 16);

    const auto identity = identityIn(packet);

    ASSERT_TRUE(identity);
    EXPECT_EQ(std::string(32, 'm'), identity->manufacturer);
    EXPECT_EQ(std::string(32, 'o'), identity->model);
    EXPECT_EQ(std::string(32, 'v'), identity->version);
    EXPECT_EQ(std::string(16, 's'), identity->serial);
    EXPECT_EQ(std::string(16, 'u'), identity->userName);
}

TEST(DiscoveryAnswer, IsNoneOfAnotherLength) {
    const Bytes packet = discoveryAnswer();
    for (size_t size = 8; size < packet.size() + 8; ++size) {
        Bytes other = packet;
        other.resize(size);
        EXPECT_EQ(size >= packet.size(), identityIn(other).has_value()) << size << " bytes came";
        put16(&other[4], static_cast<uint16_t>(size - 8));
        EXPECT_EQ(size == packet.size(), identityIn(other).has_value()) << size << " bytes";
    }
}

TEST(DiscoveryAnswer, IsNoneUnlessItSucceedsAndIsToADiscoveryCommand) {
    for (size_t byte = 0; byte < 6; ++byte) {
        Bytes packet = discoveryAnswer();
        packet[byte] ^= 0x80;
        EXPECT_FALSE(identityIn(packet)) << "byte " << byte;
    }
}

TEST(DiscoveryAnswer, OfRandomBytesHasTextsWithoutNul) {
    std::mt19937 random(20);
    for (int round = 0; round < 20000; ++round) {
        Bytes packet = discoveryAnswer();
        for (size_t i = 8; i < packet.size(); ++i)
            packet[i] = static_cast<uint8_t>(random());
        const auto identity = identityIn(packet);
        ASSERT_TRUE(identity);
        ASSERT_LE(identity->macHigh, 0xffffu);
        for (const auto &[text, at, room] : {std::tuple(identity->manufacturer, 0x48, 32),
                                             {identity->model, 0x68, 32},
                                             {identity->version, 0x88, 32},
                                             {identity->serial, 0xd8, 16},
                                             {identity->userName, 0xe8, 16}}) {
            const auto from = packet.begin() + 8 + at;
            ASSERT_EQ(std::string(from, std::find(from, from + room, 0)), text);
        }
    }
}

TEST(StatusTexts, AreWordsWithTheNumber) {
    const std::pair<int, const char *> texts[] = {
        {0x8001, "it does not know this command (0x8001)"},
        {0x8002, "a parameter of the command is wrong (0x8002)"},
        {0x8003, "it has no such register (0x8003)"},
        {0x8004, "the register cannot be written (0x8004)"},
        {0x8005, "the register's address is not aligned (0x8005)"},
        {0x8006, "access denied (0x8006)"},
        {0x8007, "it is busy (0x8007)"},
        {0x8008, "a problem of its own (0x8008)"},
        {0x8009, "the message does not match (0x8009)"},
        {0x800a, "it does not know this version of the protocol (0x800a)"},
        {0x800b, "no message (0x800b)"},
        {0x800c, "the packet is not available (0x800c)"},
        {0x800d, "its memory overran (0x800d)"},
        {0x800e, "the command's header is wrong (0x800e)"},
        {0x800f, "its configuration does not allow that (0x800f)"},
        {0x0001, "an unknown error (0x0001)"},
        {0x8010, "an unknown error (0x8010)"},
        {0xffff, "an unknown error (0xffff)"},
    };
    for (const auto &[status, text] : texts)
        EXPECT_EQ(text, statusText(static_cast<uint16_t>(status)));
}

} // namespace
