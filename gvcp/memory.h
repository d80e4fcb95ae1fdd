/** A camera's memory, as those see it who read from it and need not know how. */
#ifndef KXINFO_GVCP_MEMORY_H
#define KXINFO_GVCP_MEMORY_H

#include <cstddef>
#include <cstdint>

namespace gvcp {

class Memory {
public:
    virtual ~Memory() = default;

    /**
     * Reads \p size bytes from \p address on; any address and size will do. One command carries at
     * most kLargestBlock bytes.
     *
     * \throw Error
     */
    virtual void read(uint32_t address, uint8_t *to, size_t size) = 0;
};

/** Bytes of memory that one command reads or writes at most, as the protocol has it. */
constexpr size_t kLargestBlock = 536;

} // namespace gvcp

#endif
