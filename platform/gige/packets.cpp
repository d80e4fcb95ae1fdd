#include "packets.h"

#include <cstring>

// Every packet starts with 8 bytes. A command: key 0x42, flags, command, payload length, request
// id. An answer: status, command, payload length, request id. All numbers are big endian.

namespace gige {
namespace {

constexpr size_t kHeader = 8;
constexpr uint8_t kKey = 0x42;
constexpr uint8_t kAnswerRequired = 0x01;

constexpr uint16_t kDiscoveryCommand = 0x0002;
constexpr uint16_t kDiscoveryAnswer = 0x0003;
constexpr uint16_t kReadRegisterCommand = 0x0080;
constexpr uint16_t kReadRegisterAnswer = 0x0081;

// The payload of a discovery answer is the start of the camera's bootstrap registers.
constexpr size_t kDiscoveryPayload = 0xf8;
constexpr size_t kDeviceMode = 0x04;
constexpr size_t kMacHigh = 0x08;
constexpr size_t kMacLow = 0x0c;
constexpr size_t kAddress = 0x24;
constexpr size_t kMask = 0x34;
constexpr size_t kGateway = 0x44;
constexpr size_t kManufacturer = 0x48;
constexpr size_t kModel = 0x68;
constexpr size_t kVersion = 0x88;
constexpr size_t kSerial = 0xd8;
constexpr size_t kUserName = 0xe8;

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

void putCommand(uint8_t *packet, uint16_t command, uint16_t payload, uint16_t requestId) {
    packet[0] = kKey;
    packet[1] = kAnswerRequired;
    put16(packet + 2, command);
    put16(packet + 4, payload);
    put16(packet + 6, requestId);
}

// Cameras fill text fields to the last byte, without a terminator.
template <size_t Room>
void copyText(char (&to)[Room], const uint8_t *field, size_t size) {
    static_assert(Room > 32, "longest text field of a discovery answer");
    const size_t length = strnlen(reinterpret_cast<const char *>(field), size);
    memcpy(to, field, length);
    to[length] = '\0';
}

} // namespace

std::array<uint8_t, 8> discoveryCommand(uint16_t requestId) {
    std::array<uint8_t, 8> packet{};
    putCommand(packet.data(), kDiscoveryCommand, 0, requestId);
    return packet;
}

std::optional<GEV_CAMERA_INFO> parseDiscoveryAnswer(const uint8_t *packet, size_t size,
                                                    uint16_t requestId) {
    if (size < kHeader + kDiscoveryPayload || get16(packet) != 0 ||
        get16(packet + 2) != kDiscoveryAnswer || get16(packet + 4) != kDiscoveryPayload ||
        get16(packet + 6) != requestId)
        return std::nullopt;

    const uint8_t *registers = packet + kHeader;
    GEV_CAMERA_INFO info{};
    info.ipAddr = get32(registers + kAddress);
    info.ipMask = get32(registers + kMask);
    info.ipGateway = get32(registers + kGateway);
    info.macHigh = get32(registers + kMacHigh) & 0xffff;
    info.macLow = get32(registers + kMacLow);
    info.capabilities = get32(registers + kDeviceMode);
    copyText(info.manufacturer, registers + kManufacturer, 32);
    copyText(info.model, registers + kModel, 32);
    copyText(info.version, registers + kVersion, 32);
    copyText(info.serial, registers + kSerial, 16);
    copyText(info.username, registers + kUserName, 16);
    return info;
}

std::array<uint8_t, 12> readRegisterCommand(uint32_t address, uint16_t requestId) {
    std::array<uint8_t, 12> packet{};
    putCommand(packet.data(), kReadRegisterCommand, 4, requestId);
    put16(packet.data() + 8, static_cast<uint16_t>(address >> 16));
    put16(packet.data() + 10, static_cast<uint16_t>(address & 0xffff));
    return packet;
}

std::optional<RegisterAnswer> parseRegisterAnswer(const uint8_t *packet, size_t size,
                                                  uint16_t requestId) {
    if (size < kHeader || get16(packet + 2) != kReadRegisterAnswer ||
        get16(packet + 6) != requestId)
        return std::nullopt;
    const uint16_t status = get16(packet);
    if (status != 0)
        return RegisterAnswer{status, 0};
    if (size < kHeader + 4 || get16(packet + 4) != 4)
        return std::nullopt;
    return RegisterAnswer{0, get32(packet + kHeader)};
}

} // namespace gige
