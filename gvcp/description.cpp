#include "gvcp/description.h"

#include <optional>
#include <utility>

#include "gvcp/document.h"
#include "gvcp/error.h"

namespace gvcp {
namespace {

// What lies at a URL is the document, or an archive that holds it.
std::string documentOf(const std::string &bytes) {
    std::string text = isArchive(bytes) ? unzip(bytes) : bytes;
    text.resize(withoutPadding(text).size());
    checkDocument(text);
    return text;
}

std::string readBytes(Memory &camera, const LocalUrl &url) {
    std::string bytes(url.size, '\0');
    camera.read(url.address, reinterpret_cast<uint8_t *>(bytes.data()), bytes.size());
    return bytes;
}

std::string loadFrom(Memory &camera, const LocalUrl &url, const DescriptionKey &key,
                     const DescriptionCache *cache) {
    if (const auto kept = cache ? cache->find(camera, key, url) : std::nullopt) {
        try {
            return documentOf(*kept);
        } catch (const Error &) {
            // Kept by a version of this program that took it.
        }
    }
    std::string bytes = readBytes(camera, url);
    std::string document;
    try {
        document = documentOf(bytes);
    } catch (const Error &) {
        // A network may damage what it carries. What arrives in the same way twice is the camera's.
        const std::string before = std::exchange(bytes, readBytes(camera, url));
        if (bytes == before)
            throw;
        document = documentOf(bytes);
    }
    if (cache)
        cache->keep(key, url, bytes);
    return document;
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
            // Without an answer, or without control, no other URL would help.
            if (error.cause() != Cause::Description && error.cause() != Cause::Refused)
                throw;
            if (first)
                throw both(*first, error);
            first = error;
        }
    }
}

} // namespace gvcp
