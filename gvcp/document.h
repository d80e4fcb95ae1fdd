/**
 * Where a camera's description lies in its memory, archives as cameras keep it in, and whether a
 * text is one whole XML document. All of it comes from outside: no offset, size or count in it is
 * believed.
 */
#ifndef KXINFO_GVCP_DOCUMENT_H
#define KXINFO_GVCP_DOCUMENT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

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

/** Files that an archive may hold. A camera's holds one; a few more do no harm. */
constexpr size_t kMostFiles = 64;

/** Whether \p content begins as an archive does. */
bool isArchive(std::string_view content);

/**
 * Where the archive's directory begins. From there to the end it says of each file its name, its
 * sizes and the check sum of its content.
 *
 * \throw Error  Cause::Description: it has no end, or one that cannot be
 */
size_t directoryOffset(std::string_view archive);

/**
 * The content of the first file whose name ends with ".xml", in any capitals; when there is none,
 * of the first file. Its check sum has been compared.
 *
 * Takes at most twice the memory of what it returns.
 *
 * \throw Error  Cause::Description: it is damaged, holds no file or more than kMostFiles, or the
 *               file is encrypted, compressed by another method than deflate, or larger than
 *               kLargestDescription
 */
std::string unzip(std::string_view archive);

/** Elements within each other. Descriptions have six or seven; parsers may recurse for each. */
constexpr size_t kDeepestElement = 64;
/** Elements in all. Descriptions of 5 MB have some 100,000; a parser takes memory for each. */
constexpr size_t kMostElements = 500'000;
/** Attributes of one element. Descriptions have some 15, at their root. */
constexpr size_t kMostAttributes = 64;
/** Bytes of one name. Those of features have up to 60; parsers have bounds of their own. */
constexpr size_t kLongestName = 1024;

/** \p text without the NULs at its end, and blanks behind one: cameras fill up their memory so. */
std::string_view withoutPadding(std::string_view text);

/**
 * Checks that \p text is one well-formed document of XML 1.0, within the bounds above. It has to be
 * in UTF-8, with or without a byte order mark, or to declare that it is in US-ASCII, ISO-8859-1 or
 * Windows-1252. A document type declaration is refused, as no description needs one, and so are
 * names with colons that are none of a prefix and a name. What has passed here, a parser can be
 * trusted with.
 *
 * \pre at most kLargestDescription bytes
 * \throw Error  Cause::Description: what is wrong, at which line and column (in characters, both
 *               from 1), and what was expected
 */
void checkDocument(std::string_view text);

} // namespace gvcp

#endif
