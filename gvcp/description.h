/** A camera's description, the XML document that says which features it has: loaded, and kept. */
#ifndef KXINFO_GVCP_DESCRIPTION_H
#define KXINFO_GVCP_DESCRIPTION_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gvcp/document.h"

namespace gvcp {

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
 * followed through links; see cachePlace() in environment.h for whose word it is.
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
