// GigE Vision's control protocol (GVCP) as a camera sees it: numbers of commands, status codes and
// standard registers, and big-endian numbers in packets.
#ifndef KXINFO_SIMCAM_PROTOCOL_H
#define KXINFO_SIMCAM_PROTOCOL_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace simcam {

using Bytes = std::vector<uint8_t>;

constexpr uint16_t kPort = 3956;
constexpr uint8_t kKey = 0x42;
constexpr size_t kHeaderSize = 8;

// A command or an acknowledge is at most 576 bytes with its IP and UDP headers.
constexpr size_t kMaxPayload = 540;
constexpr size_t kMaxPacket = kHeaderSize + kMaxPayload;
constexpr uint32_t kMaxMemoryBlock = 536;

// Flags of the command header.
constexpr uint8_t kAcknowledgeRequired = 0x01;

enum class Command : uint16_t {
    Discovery = 0x0002,
    ForceIp = 0x0004,
    ReadReg = 0x0080,
    WriteReg = 0x0082,
    ReadMem = 0x0084,
    WriteMem = 0x0086,
};

// Says that the answer takes longer. It answers a command and is of no command's kind.
constexpr uint16_t kPendingAcknowledge = 0x0089;

enum class Status : uint16_t {
    Success = 0x0000,
    NotImplemented = 0x8001,
    InvalidParameter = 0x8002,
    InvalidAddress = 0x8003,
    WriteProtect = 0x8004,
    BadAlignment = 0x8005,
    AccessDenied = 0x8006,
    Busy = 0x8007,
    InvalidHeader = 0x800E,
};

// Addresses of the standard's bootstrap registers.
namespace bootstrap {
constexpr uint32_t kVersion = 0x0000;
constexpr uint32_t kDeviceMode = 0x0004;
constexpr uint32_t kMacHigh = 0x0008;
constexpr uint32_t kMacLow = 0x000C;
constexpr uint32_t kSupportedIpConfiguration = 0x0010;
constexpr uint32_t kCurrentIpConfiguration = 0x0014;
constexpr uint32_t kCurrentIp = 0x0024;
constexpr uint32_t kCurrentSubnet = 0x0034;
constexpr uint32_t kCurrentGateway = 0x0044;
constexpr uint32_t kManufacturerName = 0x0048;
constexpr uint32_t kModelName = 0x0068;
constexpr uint32_t kDeviceVersion = 0x0088;
constexpr uint32_t kManufacturerInfo = 0x00A8;
constexpr uint32_t kSerialNumber = 0x00D8;
constexpr uint32_t kUserDefinedName = 0x00E8;
constexpr uint32_t kDiscoveryEnd = 0x00F8; // DISCOVERY answers with everything before
constexpr uint32_t kFirstUrl = 0x0200;
constexpr uint32_t kSecondUrl = 0x0400;
constexpr uint32_t kUrlSize = 512;
constexpr uint32_t kInterfaceCount = 0x0600;
constexpr uint32_t kPersistentIp = 0x064C;
constexpr uint32_t kPersistentSubnet = 0x065C;
constexpr uint32_t kPersistentGateway = 0x066C;
constexpr uint32_t kMessageChannelCount = 0x0900;
constexpr uint32_t kStreamChannelCount = 0x0904;
constexpr uint32_t kActionSignalCount = 0x0908;
constexpr uint32_t kStreamCapability = 0x092C;
constexpr uint32_t kMessageCapability = 0x0930;
constexpr uint32_t kCommandCapability = 0x0934;
constexpr uint32_t kHeartbeatTimeout = 0x0938;
constexpr uint32_t kTickFrequencyHigh = 0x093C;
constexpr uint32_t kTickFrequencyLow = 0x0940;
constexpr uint32_t kTimestampControl = 0x0944;
constexpr uint32_t kTimestampHigh = 0x0948;
constexpr uint32_t kTimestampLow = 0x094C;
constexpr uint32_t kControlPrivilege = 0x0A00;
constexpr uint32_t kPrimaryApplicationPort = 0x0A04;
constexpr uint32_t kPrimaryApplicationIp = 0x0A14;
constexpr uint32_t kStreamHostPort = 0x0D00;
constexpr uint32_t kStreamPacketSize = 0x0D04;
constexpr uint32_t kStreamPacketDelay = 0x0D08;
constexpr uint32_t kStreamDestination = 0x0D18;
constexpr uint32_t kStreamSourcePort = 0x0D1C;
} // namespace bootstrap

// Bits of the command capability register.
namespace capability {
constexpr uint32_t kConcatenation = 1u << 0;
constexpr uint32_t kWriteMem = 1u << 1;
constexpr uint32_t kPendingAck = 1u << 5;
constexpr uint32_t kPrimaryApplication = 1u << 27; // its address and port can be read
constexpr uint32_t kSerialNumber = 1u << 30;
constexpr uint32_t kUserDefinedName = 1u << 31;
} // namespace capability

// Bits of the IP configuration registers: the ways in which a camera gets its address when it starts.
namespace way {
constexpr uint32_t kPersistent = 0x1;
constexpr uint32_t kDhcp = 0x2;
constexpr uint32_t kLinkLocal = 0x4; // no camera is without
} // namespace way

// Values of the control channel privilege register.
constexpr uint32_t kExclusiveAccess = 0x1;
constexpr uint32_t kControlAccess = 0x2;

inline uint16_t load16(const uint8_t *from) {
    return static_cast<uint16_t>(from[0] << 8 | from[1]);
}

inline uint32_t load32(const uint8_t *from) {
    return static_cast<uint32_t>(load16(from)) << 16 | load16(from + 2);
}

inline void append16(Bytes &to, uint16_t value) {
    to.push_back(static_cast<uint8_t>(value >> 8));
    to.push_back(static_cast<uint8_t>(value & 0xFF));
}

inline void append32(Bytes &to, uint32_t value) {
    append16(to, static_cast<uint16_t>(value >> 16));
    append16(to, static_cast<uint16_t>(value & 0xFFFF));
}

} // namespace simcam

#endif
