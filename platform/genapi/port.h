/** The way from a node map to the camera's registers. */
#ifndef KXINFO_GENAPI_PORT_H
#define KXINFO_GENAPI_PORT_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace genapi {

/** What a register's bytes are declared to be. */
enum class ByteOrder {
    None,   /**< no number: a text, or plain bytes */
    Little, /**< a number, its least significant byte first */
    Big     /**< a number, its most significant byte first */
};

/**
 * Implemented by who has the camera. What an operation throws passes through the node map as it is.
 */
class Port {
public:
    virtual ~Port() = default;

    /**
     * Reads \p size bytes, 1 to kLongestRegister, as they lie in the camera's memory.
     *
     * \param order  of the number that is read: some cameras show them in another order than said
     */
    virtual void read(uint64_t address, uint8_t *bytes, size_t size, ByteOrder order) = 0;

    /**
     * Reads registers of 4 bytes that lie side by side, all of the same order, at once, if it can.
     *
     * \param size  a multiple of 4, at most kMostTogether
     * \return false: they have to be read one by one; so it does unless it is overridden
     */
    virtual bool readTogether(uint64_t address, uint8_t *bytes, size_t size, ByteOrder order);

    /**
     * Reads registers of 4 bytes wherever they lie, all of the same order, at once, if it can.
     *
     * \param addresses  at most kMostTogether / 4
     * \param bytes      receives 4 of each
     * \return false: it cannot, or the camera refuses one of them; so it does unless it is overridden
     */
    virtual bool readApart(const std::vector<uint64_t> &addresses, uint8_t *bytes, ByteOrder order);

    /** A clock, for what is not to be used for long; it stands still unless it is overridden. */
    virtual std::chrono::milliseconds now() const;

    /** Writes \p size bytes. */
    virtual void write(uint64_t address, const uint8_t *bytes, size_t size, ByteOrder order) = 0;

    /** Before bytes are used that have been read or written earlier: throws if they may no longer be. */
    virtual void requireKept() = 0;
};

} // namespace genapi

#endif
