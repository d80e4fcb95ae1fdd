#ifndef KXINFO_SIMCAM_MEMORY_H
#define KXINFO_SIMCAM_MEMORY_H

#include "protocol.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>

namespace simcam {

/**
 * A camera's address space: 32-bit words, each unmapped, readable, writable or both, holding the
 * bytes that READMEM shows (READREG reads the same bytes as a big-endian number).
 *
 * Kept in pages, so that a lookup table or a description far up costs only what is mapped.
 */
class Memory {
public:
    enum Access : uint8_t { kNone = 0, kRead = 1, kWrite = 2, kReadWrite = kRead | kWrite };

    /**
     * Maps the words that hold these bytes, zero where new. Mapping a word again widens its
     * access.
     */
    void map(uint32_t address, uint32_t size, Access access);

    /** Whatever they hold, clients find nothing there from here on. */
    void unmap(uint32_t address, uint32_t size);

    bool isMapped(uint32_t address) const { return access(address) != kNone; }

    /** What a client may do; address and size are in bytes, any alignment is answered. */
    Status canRead(uint32_t address, uint32_t size) const;
    Status canWrite(uint32_t address, uint32_t size) const;

    /**
     * The camera's own access, whatever clients may do. Unmapped bytes read as zero; writing to
     * them is not allowed.
     */
    Bytes peek(uint32_t address, uint32_t size) const;
    uint32_t peek32(uint32_t address) const;
    void poke(uint32_t address, const uint8_t *bytes, uint32_t size);
    void poke32(uint32_t address, uint32_t value);
    void pokeText(uint32_t address, uint32_t size, const std::string &text);

private:
    static constexpr uint32_t kPageSize = 1024;

    struct Page {
        std::array<uint8_t, kPageSize> bytes{};
        std::array<uint8_t, kPageSize / 4> access{};
    };

    uint8_t access(uint32_t address) const;
    Status can(uint32_t address, uint32_t size, Access wanted, Status otherwise) const;

    std::map<uint32_t, Page> pages_; // by address / kPageSize
};

} // namespace simcam

#endif
