/** GVCP packets that this platform makes and reads itself; Aravis handles the rest. */
#ifndef KXINFO_GIGE_PACKETS_H
#define KXINFO_GIGE_PACKETS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "gevapi.h"

namespace gige {

/** UDP port of every GigE Vision camera's control channel. */
constexpr uint16_t kControlPort = 3956;

/** Bootstrap register: who controls the camera. */
constexpr uint32_t kControlPrivilege = 0x0a00;
constexpr uint32_t kExclusiveBit = 1;
constexpr uint32_t kControlBit = 2;

/** Device mode word: registers are big endian in the camera's memory. */
constexpr uint32_t kBigEndianDevice = 0x80000000;

/** Longest packet that is read: no answer read here is longer. */
constexpr size_t kMaxPacket = 576;

/** A discovery command; \p requestId is not 0. */
std::array<uint8_t, 8> discoveryCommand(uint16_t requestId);

/**
 * The camera that a discovery answer describes; nothing when the packet is no valid answer to
 * request \p requestId. Host fields and mode are left 0.
 */
std::optional<GEV_CAMERA_INFO> parseDiscoveryAnswer(const uint8_t *packet, size_t size,
                                                    uint16_t requestId);

/** A command that reads one register. */
std::array<uint8_t, 12> readRegisterCommand(uint32_t address, uint16_t requestId);

/** The answer to a read of one register. */
struct RegisterAnswer {
    uint16_t status; /**< GVCP status, 0 is success */
    uint32_t value;  /**< 0 unless successful */
};

/** \return nothing when the packet is no valid answer to request \p requestId */
std::optional<RegisterAnswer> parseRegisterAnswer(const uint8_t *packet, size_t size,
                                                  uint16_t requestId);

} // namespace gige

#endif
