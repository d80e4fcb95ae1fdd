#include "gvcp/description.h"

#include <functional>
#include <utility>

#include "gvcp/archive.h"
#include "gvcp/document.h"
#include "gvcp/error.h"

namespace gvcp {
namespace {

// What the camera has at its URL, and the document that it is or holds. Made only of what is right.
class Content {
public:
    explicit Content(std::string bytes) : bytes_(std::move(bytes)) {
        if (isArchive(bytes_))
            inflated_ = unzip(bytes_);
        checkDocument(withoutPadding(text()));
    }

    const std::string &bytes() const { return bytes_; }

    std::string document() && {
        text().resize(withoutPadding(text()).size());
        return std::move(text());
    }

private:
    std::string &text() { return inflated_ ? *inflated_ : bytes_; }

    std::string bytes_;
    std::optional<std::string> inflated_;
};

std::string readBytes(Memory &camera, const LocalUrl &url) {
    std::string bytes(url.size, '\0');
    camera.read(url.address, reinterpret_cast<uint8_t *>(bytes.data()), bytes.size());
    return bytes;
}

// A network may damage what it carries. What arrives in the same way twice is the camera's.
Content readContent(Memory &camera, const LocalUrl &url) {
    std::string bytes = readBytes(camera, url);
    const size_t before = std::hash<std::string>()(bytes);
    try {
        return Content(std::move(bytes));
    } catch (const Error &) {
        bytes = readBytes(camera, url);
        if (std::hash<std::string>()(bytes) == before)
            throw;
    }
    return Content(std::move(bytes));
}

std::optional<std::string> keptDocument(Memory &camera, const DescriptionKey &key,
                                        const LocalUrl &url, const DescriptionCache &cache) {
    std::optional<std::string> bytes = cache.find(camera, key, url);
    if (!bytes)
        return std::nullopt;
    try {
        return Content(std::move(*bytes)).document();
    } catch (const Error &) {
        return std::nullopt; // kept by a version of this program that took it
    }
}

std::string loadFrom(Memory &camera, const LocalUrl &url, const DescriptionKey &key,
                     const DescriptionCache *cache) {
    if (cache) {
        if (auto document = keptDocument(camera, key, url, *cache))
            return std::move(*document);
    }
    Content content = readContent(camera, url);
    if (cache)
        cache->keep(key, url, content.bytes());
    return std::move(content).document();
}

// Whether another URL may help. Without an answer, or without control, no other would.
bool concernsOneUrl(const Error &error) {
    return error.cause() == Cause::Description || error.cause() == Cause::Refused;
}

Error both(const Error &first, const Error &second) {
    const std::string why = first.what();
    const std::string whyToo = second.what();
    const Cause cause = first.cause() == second.cause() ? first.cause() : Cause::Description;
    if (why == whyToo)
        return {cause, "both URLs: " + why};
    return {cause, "first URL: " + why + "; second URL: " + whyToo};
}

} // namespace

std::string loadDescription(Memory &camera, const DescriptionKey &key,
                            const DescriptionCache *cache) {
    std::string firstUrl;
    std::optional<Error> first;
    for (uint32_t address = kFirstUrl;; address = kSecondUrl) {
        try {
            const std::string url = readUrl(camera, address);
            if (first && url == firstUrl)
                throw Error(*first);
            firstUrl = url;
            return loadFrom(camera, parseUrl(url), key, cache);
        } catch (const Error &error) {
            if (!concernsOneUrl(error))
                throw;
            if (first)
                throw both(*first, error);
            first = error;
        }
    }
}

} // namespace gvcp
