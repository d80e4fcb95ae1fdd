#include "gvcp/packets.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

// Every packet starts with 8 bytes. A command: key 0x42, flags, command, payload length, request
// id. An answer: status, command, payload length, request id. All numbers are big endian.

namespace gvcp {
namespace {

constexpr uint8_t kKey = 0x42;
constexpr uint8_t kAnswerRequired = 0x01;

// The payload of a discovery answer is the start of the camera's bootstrap registers.
constexpr size_t kIdentitySize = 0xf8;
constexpr size_t kDeviceMode = 0x04;
constexpr size_t kManufacturer = 0x48;
constexpr size_t kModel = 0x68;
constexpr size_t kVersion = 0x88;
constexpr size_t kSerial = 0xd8;
constexpr size_t kUserName = 0xe8;

// Of the statuses from 0x8001 on. Those of images are none that a command is answered with.
constexpr const char *kStatusTexts[] = {
    "it does not know this command",
    "a parameter of the command is wrong",
    "it has no such register",
    "the register cannot be written",
    "the register's address is not aligned",
    "access denied",
    "it is busy",
    "a problem of its own",
    "the message does not match",
    "it does not know this version of the protocol",
    "no message",
    "the packet is not available",
    "its memory overran",
    "the command's header is wrong",
    "its configuration does not allow that",
};

// Cameras fill text fields to the last byte, without a terminator.
std::string textOf(const uint8_t *field, size_t size) {
    const char *text = reinterpret_cast<const char *>(field);
    return std::string(text, strnlen(text, size));
}

} // namespace

uint16_t get16(const uint8_t *at) {
    return static_cast<uint16_t>(at[0] << 8 | at[1]);
}

uint32_t get32(const uint8_t *at) {
    return static_cast<uint32_t>(get16(at)) << 16 | get16(at + 2);
}

void put16(uint8_t *at, uint16_t value) {
    at[0] = static_cast<uint8_t>(value >> 8);
    at[1] = static_cast<uint8_t>(value & 0xff);
}

void put32(uint8_t *at, uint32_t value) {
    put16(at, static_cast<uint16_t>(value >> 16));
    put16(at + 2, static_cast<uint16_t>(value & 0xffff));
}

Packet makeCommand(Command command, uint16_t requestId, const uint8_t *payload, size_t size) {
    Packet packet;
    packet.size = kHeader + size;
    packet.bytes[0] = kKey;
    packet.bytes[1] = kAnswerRequired;
    put16(&packet.bytes[2], command);
    put16(&packet.bytes[4], static_cast<uint16_t>(size));
    put16(&packet.bytes[6], requestId);
    std::copy_n(payload, size, packet.bytes.begin() + kHeader);
    return packet;
}

std::optional<Answer> parseAnswer(const uint8_t *packet, size_t size) {
    if (size < kHeader || get16(packet + 4) > size - kHeader)
        return std::nullopt;
    return Answer{get16(packet), get16(packet + 2), get16(packet + 6), packet + kHeader,
                  get16(packet + 4)};
}

std::optional<Identity> parseIdentity(const Answer &answer) {
    if (answer.status != kSuccess || answer.command != (kDiscovery | 1) ||
        answer.size != kIdentitySize)
        return std::nullopt;
    const uint8_t *registers = answer.payload;
    Identity identity;
    identity.address = get32(registers + bootstrap::kAddress);
    identity.mask = get32(registers + bootstrap::kMask);
    identity.gateway = get32(registers + bootstrap::kGateway);
    identity.macHigh = get32(registers + bootstrap::kMacHigh) & 0xffff;
    identity.macLow = get32(registers + bootstrap::kMacLow);
    identity.deviceMode = get32(registers + kDeviceMode);
    identity.knownWays = get32(registers + bootstrap::kKnownWays);
    identity.ways = get32(registers + bootstrap::kWays);
    identity.manufacturer = textOf(registers + kManufacturer, 32);
    identity.model = textOf(registers + kModel, 32);
    identity.version = textOf(registers + kVersion, 32);
    identity.serial = textOf(registers + kSerial, 16);
    identity.userName = textOf(registers + kUserName, 16);
    return identity;
}

std::string statusText(uint16_t status) {
    const size_t index = static_cast<size_t>(status) - kNotImplemented;
    char number[16];
    snprintf(number, sizeof number, " (0x%04x)", status);
    return (index < std::size(kStatusTexts) ? kStatusTexts[index] : "an unknown error") +
           std::string(number);
}

std::string printable(std::string_view text) {
    std::string shown(text);
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return shown;
}

} // namespace gvcp
