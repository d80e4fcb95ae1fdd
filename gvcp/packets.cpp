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

struct StatusName {
    uint16_t status;
    const char *text;
};

constexpr StatusName kStatusNames[] = {
    {0x8001, "it does not know this command"},
    {0x8002, "a parameter of the command is wrong"},
    {0x8003, "it has no such register"},
    {0x8004, "the register cannot be written"},
    {0x8005, "the register's address is not aligned"},
    {0x8006, "access denied"},
    {0x8007, "it is busy"},
    {0x8008, "a problem of its own"},
    {0x8009, "the message does not match"},
    {0x800a, "it does not know this version of the protocol"},
    {0x800b, "no message"},
    {0x800c, "the packet is not available"},
    {0x800d, "its memory overran"},
    {0x800e, "the command's header is wrong"},
    {0x800f, "its configuration does not allow that"},
    {0x8010, "the packet is not available yet"},
    {0x8011, "the packet and those before it are gone"},
    {0x8012, "the packet is gone"},
    {0x8013, "it has no reference time"},
    {0x8014, "the packet is not available at present"},
    {0x8015, "an overflow"},
    {0x8016, "the action is late"},
    {0x8fff, "an error that it does not name"},
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
    const auto *name =
        std::find_if(std::begin(kStatusNames), std::end(kStatusNames),
                     [status](const StatusName &entry) { return entry.status == status; });
    char number[16];
    snprintf(number, sizeof number, " (0x%04x)", status);
    return (name == std::end(kStatusNames) ? "an unknown error" : name->text) + std::string(number);
}

} // namespace gvcp
