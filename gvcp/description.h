/**
 * A camera's description, the XML document that says which features it has: where it lies in the
 * camera's memory, archives as cameras keep it in, whether a text is one whole document; loaded, and
 * kept. All of it comes from outside: no offset, size or count in it is believed.
 */
#ifndef KXINFO_GVCP_DESCRIPTION_H
#define KXINFO_GVCP_DESCRIPTION_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

/** Which camera a description is of: texts of its bootstrap registers, in any encoding. */
struct DescriptionKey {
    std::string maker;
    std::string model;
    std::string version;
};

/** A folder. What is there already may be used; what is missing is made. */
struct CachePlace {
    std::string base;               /**< an absolute path, trusted and followed wherever it leads */
    bool makeBase = false;          /**< whether its last part is made when it is missing */
    std::vector<std::string> below; /**< one within the other, at least one: must be the user's */
};

/**
 * The place that the environment names: none with KXGIGE_CACHE=off, its folder when that is an
 * absolute path; else kxinfo-dalsa/descriptions below XDG_CACHE_HOME (when that is an absolute
 * path), or below HOME's .cache. Another KXGIGE_CACHE is told in a line on standard error. A
 * program with more rights than its user has no place.
 */
std::optional<CachePlace> cachePlace();

/** What the folder may hold. The oldest files go first. */
struct CacheBounds {
    uint64_t bytes = uint64_t{256} << 20; /**< in all: a thousand archives, some 50 texts */
    size_t files = 512;
};

/**
 * Descriptions as cameras have them, archives or texts, each under the camera and URL that it is
 * from.
 *
 * A description is found only when the camera, asked again, still has it:
 * - of an archive it is asked for its directory, which has the check sums of all files, and for its
 *   first block. A directory that takes more than two commands is not kept.
 * - a text is asked for its first block, its last, and one at a place that is drawn by chance each
 *   time. Texts up to kNeverKeptText are not kept, but always read whole.
 *
 * So it costs at most three commands. What remains possible: a text above kNeverKeptText that
 * was changed in place, under the same camera version and URL, at the same length, and without a
 * change to its first block (which has the description's own version number and identification),
 * is noticed by chance only. Archives are noticed always, but for one in 2^32.
 *
 * Nothing that a folder does is an error: without it, or with one that others own or can write to,
 * that lies behind a symbolic link, is full or damaged, it is as without cache. Only the base is
 * followed through links; see cachePlace() for whose word it is.
 *
 * Several threads and processes may use one folder at the same time; an object has no state.
 */
class DescriptionCache {
public:
    /** Bytes of a text up to which it is not kept: some 120 commands, quickly done. */
    static constexpr size_t kNeverKeptText = 64 << 10;

    explicit DescriptionCache(CachePlace place, CacheBounds bounds = {});

    /**
     * The description's bytes, when they are here and the camera still has them.
     *
     * \throw Error  what reading from the camera throws
     */
    std::optional<std::string> find(Memory &camera, const DescriptionKey &key,
                                    const LocalUrl &url) const;

    /** Keeps \p content, which was read whole from the camera and found to be right. */
    void keep(const DescriptionKey &key, const LocalUrl &url, std::string_view content) const;

private:
    CachePlace place_;
    CacheBounds bounds_;
};

/**
 * The camera's description: the document that its first URL names, or, when that cannot be had or
 * used, the one that its second names. Takes as long as the reading takes, with the description in
 * the cache some 4 commands; and at most about 170 MB of memory while it runs.
 *
 * \param key    which camera it is; tells descriptions in the cache apart
 * \param cache  null: everything is read from the camera
 * \return  one whole well-formed XML document, in the encoding that it declares (see
 *          checkDocument()), at most kLargestDescription bytes
 * \throw Error  Cause::Description: neither can be had or used, the text says why; Cause::Refused:
 *               the camera refuses to give either. Any other: what reading throws, at once
 */
std::string loadDescription(Memory &camera, const DescriptionKey &key,
                            const DescriptionCache *cache);

} // namespace gvcp

#endif
