#include "gvcp/description.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <system_error>
#include <utility>

#include "gvcp/error.h"
#include "gvcp/packets.h"

namespace gvcp {
namespace {

constexpr char kExpected[] = "expected Local:NAME;ADDRESS;LENGTH with hexadecimal numbers";
// The rest of what is shown of a camera's text says nothing more.
constexpr size_t kLongestQuote = 60;

static_assert(kUrlRegisterSize <= kLargestBlock, "a URL is read by one command");

[[noreturn]] void refuse(const std::string &why) {
    throw Error(Cause::Description, why);
}

std::string_view trimmed(std::string_view text) {
    constexpr char kBlanks[] = " \t\r\n";
    text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
    return text.substr(std::min(text.find_first_not_of(kBlanks), text.size()));
}

std::string quoted(std::string_view text) {
    return "'" + printable(text.substr(0, kLongestQuote)) +
           (text.size() > kLongestQuote ? "...'" : "'");
}

// Whether \p text begins with \p prefix, in any capitals; if so, it is taken off.
bool take(std::string_view &text, std::string_view prefix) {
    if (text.size() < prefix.size() || strncasecmp(text.data(), prefix.data(), prefix.size()) != 0)
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

uint64_t numberFrom(std::string_view text, const std::string &what) {
    std::string_view digits = trimmed(text);
    take(digits, "0x");
    if (digits.empty())
        refuse("its " + what + " is missing; " + kExpected);
    uint64_t number = 0;
    const char *end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, 16);
    if (stop != end || error != std::errc())
        refuse("its " + what + " " + quoted(digits) + " is no hexadecimal number of 64 bits");
    return number;
}

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

std::string readUrl(Memory &camera, uint32_t address) {
    std::string text(kUrlRegisterSize, '\0');
    camera.read(address, reinterpret_cast<uint8_t *>(text.data()), text.size());
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

LocalUrl parseUrl(std::string text) {
    std::string_view rest = trimmed(text);
    if (rest.empty())
        refuse("it is empty");
    if (!take(rest, "local:"))
        refuse(quoted(rest) + " does not lie in its own memory, and nothing else is ever opened; " +
               kExpected);

    const size_t name = rest.find(';');
    const size_t addressEnd = rest.find(';', name + 1);
    if (name == rest.npos || addressEnd == rest.npos)
        refuse(quoted(trimmed(text)) + " has fewer than three parts; " + kExpected);
    const uint64_t address = numberFrom(rest.substr(name + 1, addressEnd - name - 1), "address");
    rest.remove_prefix(addressEnd + 1);
    const uint64_t size = numberFrom(rest.substr(0, rest.find('?')), "length");

    if (size == 0 || size > kLargestDescription)
        refuse("its length is " + std::to_string(size) + " bytes; expected 1 to " +
               std::to_string(kLargestDescription));
    constexpr uint64_t kEnd = uint64_t{1} << 32;
    if (address > kEnd - size)
        refuse("its address and length lead beyond an address space of 32 bits");
    return {std::move(text), static_cast<uint32_t>(address), static_cast<uint32_t>(size)};
}

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
