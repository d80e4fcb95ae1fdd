/** GVCP packets: the protocol's numbers, commands as bytes, bytes as answers. No sockets. */
#ifndef KXINFO_GVCP_PACKETS_H
#define KXINFO_GVCP_PACKETS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace gvcp {

/** UDP port of every GigE Vision camera's control channel. */
constexpr uint16_t kPort = 3956;

/** A packet's header, and what one carries at most behind it: 576 bytes with IP and UDP headers. */
constexpr size_t kHeader = 8;
constexpr size_t kLargestPayload = 540;
constexpr size_t kLargestPacket = kHeader + kLargestPayload;
/** Bytes of memory that one command reads or writes at most, behind their address. */
constexpr size_t kLargestBlock = kLargestPayload - 4;

/** Commands; a command's answer has the next number. */
enum Command : uint16_t {
    kDiscovery = 0x0002,
    kForceIp = 0x0004,
    kReadRegister = 0x0080,
    kWriteRegister = 0x0082,
    kReadMemory = 0x0084,
    kWriteMemory = 0x0086,
    kPending = 0x0088, /**< comes only as an answer: the one that is waited for will be late */
};

/** Statuses of answers that something depends on here. */
enum Status : uint16_t {
    kSuccess = 0x0000,
    kNotImplemented = 0x8001,
    kInvalidParameter = 0x8002,
    kInvalidAddress = 0x8003,
    kAccessDenied = 0x8006,
    kBusy = 0x8007,
};

/** Bootstrap registers: those that every camera has at the same place. */
namespace bootstrap {
constexpr uint32_t kMacHigh = 0x0008, kMacLow = 0x000c;
constexpr uint32_t kKnownWays = 0x0010, kWays = 0x0014; /**< see AddressWay */
constexpr uint32_t kAddress = 0x0024, kMask = 0x0034, kGateway = 0x0044;
constexpr uint32_t kOwnAddress = 0x064c, kOwnMask = 0x065c, kOwnGateway = 0x066c; /**< persistent */
constexpr uint32_t kCapability = 0x0934;
constexpr uint32_t kHeartbeatTimeout = 0x0938; /**< milliseconds */
constexpr uint32_t kControlPrivilege = 0x0a00;
constexpr uint32_t kControllerPort = 0x0a04;
constexpr uint32_t kControllerAddress = 0x0a14;
} // namespace bootstrap

/** Ways in which a camera gets its address when it starts, in the order in which it tries them. */
enum AddressWay : uint32_t { kPersistent = 1, kDhcp = 2, kLinkLocal = 4 };

/** Bits of the control privilege register. */
constexpr uint32_t kExclusiveAccess = 1;
constexpr uint32_t kControlAccess = 2;

/** Bits of the capability register: what a camera can beyond the least. */
constexpr uint32_t kCanConcatenate = 1u << 0; /**< several registers in one command */
constexpr uint32_t kCanWriteMemory = 1u << 1;
constexpr uint32_t kTellsController = 1u << 27; /**< address and port of who controls it */

/** A flag of commands: a camera that has no way to the sender may broadcast its answer. */
constexpr uint8_t kAnswerMayBeBroadcast = 0x10;

/** A command, ready to be sent. */
struct Packet {
    std::array<uint8_t, kLargestPacket> bytes;
    size_t size;
};

/**
 * A command that asks for an answer.
 *
 * \param requestId  not 0
 * \param size       of the payload, at most kLargestPayload
 */
Packet makeCommand(Command command, uint16_t requestId, const uint8_t *payload, size_t size);

/** An answer, within the bytes that it came in. */
struct Answer {
    uint16_t status;
    uint16_t command; /**< the answered command's number and 1 */
    uint16_t requestId;
    const uint8_t *payload;
    size_t size; /**< of the payload */
};

/** \return nothing when the bytes are no answer, or one that was cut short */
std::optional<Answer> parseAnswer(const uint8_t *packet, size_t size);

/** A camera as its answer to a discovery command describes it. */
struct Identity {
    uint32_t address; /**< the camera's IPv4 address; like all numbers here in host byte order */
    uint32_t mask;
    uint32_t gateway;
    uint32_t macHigh; /**< upper 16 bits */
    uint32_t macLow;  /**< lower 32 bits */
    uint32_t deviceMode;
    uint32_t knownWays, ways;                                   /**< see AddressWay */
    std::string manufacturer, model, version, serial, userName; /**< as sent, without the NUL */
};

/** Its MAC address, in the low 48 bits. */
inline uint64_t macOf(const Identity &identity) {
    return uint64_t{identity.macHigh & 0xffff} << 32 | identity.macLow;
}

/** \return nothing when \p answer is none to a discovery command */
std::optional<Identity> parseIdentity(const Answer &answer);

/** A status in words, with its number: "it is busy (0x8007)". */
std::string statusText(uint16_t status);

/** \p text with a '?' for each byte that is not of printable ASCII: it may act on a terminal. */
std::string printable(std::string_view text);

/** Big-endian numbers in packets. */
uint16_t get16(const uint8_t *at);
uint32_t get32(const uint8_t *at);
void put16(uint8_t *at, uint16_t value);
void put32(uint8_t *at, uint32_t value);

} // namespace gvcp

#endif
