/** A number that tells bytes apart that somebody changed by mistake. */
#ifndef KXINFO_GVCP_CHECKSUM_H
#define KXINFO_GVCP_CHECKSUM_H

#include <cstdint>
#include <string_view>

namespace gvcp {

/** FNV-1a of 64 bits: another one for certain where a single byte differs. Nobody's on purpose. */
inline uint64_t checkSum(std::string_view bytes) {
    uint64_t sum = 0xcbf29ce484222325;
    for (const char byte : bytes)
        sum = (sum ^ static_cast<uint8_t>(byte)) * 0x100000001b3;
    return sum;
}

} // namespace gvcp

#endif
