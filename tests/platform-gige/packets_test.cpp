// Reading what comes from the network: the one place where anybody's bytes are taken apart.

#include "packets.h"

#include <gmock/gmock.h>

#include <cstring>
#include <random>
#include <vector>

namespace {

using testing::ElementsAre;
using namespace gige;

constexpr uint16_t kRequest = 0x1234;

std::vector<uint8_t> goodAnswer() {
    std::vector<uint8_t> packet(8 + 0xf8);
    const uint8_t header[] = {0, 0, 0, 3, 0, 0xf8, 0x12, 0x34};
    memcpy(packet.data(), header, sizeof header);
    const uint8_t mode[] = {0x80, 0, 0, 1};
    memcpy(&packet[8 + 0x04], mode, 4);
    const uint8_t mac[] = {0xff, 0xff, 0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
    memcpy(&packet[8 + 0x08], mac, 8);
    const uint8_t address[] = {192, 168, 1, 20};
    memcpy(&packet[8 + 0x24], address, 4);
    const uint8_t mask[] = {255, 255, 255, 0};
    memcpy(&packet[8 + 0x34], mask, 4);
    const uint8_t gateway[] = {192, 168, 1, 1};
    memcpy(&packet[8 + 0x44], gateway, 4);
    memcpy(&packet[8 + 0x48], "Maker", 5);
    memcpy(&packet[8 + 0x68], "Model", 5);
    memcpy(&packet[8 + 0x88], "1.2", 3);
    memcpy(&packet[8 + 0xd8], "S1234", 5);
    memcpy(&packet[8 + 0xe8], "left eye", 8);
    return packet;
}

std::optional<GEV_CAMERA_INFO> parse(const std::vector<uint8_t> &packet) {
    return parseDiscoveryAnswer(packet.data(), packet.size(), kRequest);
}

TEST(DiscoveryCommand, AsksForAnAnswer) {
    EXPECT_THAT(discoveryCommand(kRequest), ElementsAre(0x42, 0x01, 0, 2, 0, 0, 0x12, 0x34));
}

TEST(DiscoveryAnswer, BecomesARecord) {
    const auto info = parse(goodAnswer());

    ASSERT_TRUE(info);
    EXPECT_EQ(0xc0a80114u, info->ipAddr);
    EXPECT_EQ(0xffffff00u, info->ipMask);
    EXPECT_EQ(0xc0a80101u, info->ipGateway);
    EXPECT_EQ(0x0011u, info->macHigh);
    EXPECT_EQ(0x22334455u, info->macLow);
    EXPECT_EQ(0x80000001u, info->capabilities);
    EXPECT_STREQ("Maker", info->manufacturer);
    EXPECT_STREQ("Model", info->model);
    EXPECT_STREQ("1.2", info->version);
    EXPECT_STREQ("S1234", info->serial);
    EXPECT_STREQ("left eye", info->username);
    EXPECT_EQ(0u, info->hostIpAddr);
    EXPECT_EQ(0u, info->hostIfIndex);
    EXPECT_EQ(0u, info->mode);
}

TEST(DiscoveryAnswer, MayFillTextsToTheLastByte) {
    auto packet = goodAnswer();
    memset(&packet[8 + 0x48], 'm', 32);
    memset(&packet[8 + 0x68], 'o', 32);
    memset(&packet[8 + 0x88], 'v', 32);
    memset(&packet[8 + 0xd8], 's', 16);
    memset(&packet[8 + 0xe8], 'u', 16);

    const auto info = parse(packet);

    ASSERT_TRUE(info);
    EXPECT_EQ(std::string(32, 'm'), info->manufacturer);
    EXPECT_EQ(std::string(32, 'o'), info->model);
    EXPECT_EQ(std::string(32, 'v'), info->version);
    EXPECT_EQ(std::string(16, 's'), info->serial);
    EXPECT_EQ(std::string(16, 'u'), info->username);
}

TEST(DiscoveryAnswer, IsNoneWhenCutShort) {
    const auto packet = goodAnswer();
    for (size_t size = 0; size < packet.size(); ++size) {
        const std::vector<uint8_t> cut(packet.begin(), packet.begin() + static_cast<long>(size));
        EXPECT_FALSE(parse(cut)) << size << " bytes";
    }
}

TEST(DiscoveryAnswer, IsNoneUnlessItsHeaderIsThatOfASuccessfulAnswerToTheRequest) {
    for (size_t byte = 0; byte < 8; ++byte) {
        auto packet = goodAnswer();
        packet[byte] ^= 0x80;
        EXPECT_FALSE(parse(packet)) << "byte " << byte;
    }
}

TEST(DiscoveryAnswer, OfRandomBytesStaysWithinItsTexts) {
    std::mt19937 random(20);
    for (int round = 0; round < 20000; ++round) {
        auto packet = goodAnswer();
        for (size_t i = 8; i < packet.size(); ++i)
            packet[i] = static_cast<uint8_t>(random());
        const auto info = parse(packet);
        ASSERT_TRUE(info);
        ASSERT_LE(strnlen(info->manufacturer, sizeof info->manufacturer), 32u);
        ASSERT_LE(strnlen(info->model, sizeof info->model), 32u);
        ASSERT_LE(strnlen(info->version, sizeof info->version), 32u);
        ASSERT_LE(strnlen(info->serial, sizeof info->serial), 16u);
        ASSERT_LE(strnlen(info->username, sizeof info->username), 16u);
    }
}

TEST(ReadRegisterCommand, NamesTheRegister) {
    EXPECT_THAT(readRegisterCommand(0x00000a00, kRequest),
                ElementsAre(0x42, 0x01, 0, 0x80, 0, 4, 0x12, 0x34, 0, 0, 0x0a, 0));
}

TEST(RegisterAnswer, HasTheValue) {
    const uint8_t packet[] = {0, 0, 0, 0x81, 0, 4, 0x12, 0x34, 0xde, 0xad, 0xbe, 0xef};

    const auto answer = parseRegisterAnswer(packet, sizeof packet, kRequest);

    ASSERT_TRUE(answer);
    EXPECT_EQ(0, answer->status);
    EXPECT_EQ(0xdeadbeefu, answer->value);
}

TEST(RegisterAnswer, MayBeAnErrorWithoutAValue) {
    const uint8_t packet[] = {0x80, 0x06, 0, 0x81, 0, 0, 0x12, 0x34};

    const auto answer = parseRegisterAnswer(packet, sizeof packet, kRequest);

    ASSERT_TRUE(answer);
    EXPECT_EQ(0x8006, answer->status);
}

TEST(RegisterAnswer, IsNoneWhenCutShortOrForAnotherRequest) {
    const uint8_t packet[] = {0, 0, 0, 0x81, 0, 4, 0x12, 0x34, 0xde, 0xad, 0xbe, 0xef};

    for (size_t size = 0; size < sizeof packet; ++size)
        EXPECT_FALSE(parseRegisterAnswer(packet, size, kRequest)) << size << " bytes";
    EXPECT_FALSE(parseRegisterAnswer(packet, sizeof packet, kRequest + 1));
}

} // namespace
