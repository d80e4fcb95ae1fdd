/** A camera's memory, and where in it lies its description: the URLs in its registers. */
#ifndef KXINFO_GVCP_URL_H
#define KXINFO_GVCP_URL_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace gvcp {

/** A camera's memory, as those see it who read from it and need not know how. */
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

/** Address of the register that holds the first, and of the one that holds the second URL. */
constexpr uint32_t kFirstUrl = 0x0200;
constexpr uint32_t kSecondUrl = 0x0400;

/** Bytes of a URL's register; shorter texts end with a NUL. */
constexpr size_t kUrlRegisterSize = 512;

/**
 * Bytes that a camera's description may take, as it is kept in the camera and as text. Those of
 * cameras with thousands of features take a few MiB as text.
 */
constexpr size_t kLargestDescription = size_t{16} << 20;

/** A description in the camera's own memory. */
struct LocalUrl {
    std::string text; /**< as the camera has it */
    uint32_t address;
    uint32_t size; /**< in bytes, 1 to kLargestDescription; address + size <= 2^32 */
};

/**
 * Reads a URL's text, in one command.
 *
 * \param address  kFirstUrl or kSecondUrl
 * \throw Error    what reading throws
 */
std::string readUrl(Memory &camera, uint32_t address);

/**
 * What a URL says: "Local:NAME;ADDRESS;LENGTH", with both numbers hexadecimal. "Local:" may have
 * any capitals and three slashes behind it, numbers may begin with "0x", blanks may stand around
 * each part, and a query ("?SchemaVersion=1.1.0") behind the last. The name is not looked at: what
 * the camera has there tells by its content whether it is an archive.
 *
 * \throw Error  Cause::Description: it is no such URL, or names a file or a network place, which
 *               are never opened, or a size or an address that cannot be. The text does not repeat
 *               the whole URL.
 */
LocalUrl parseUrl(std::string text);

} // namespace gvcp

#endif
