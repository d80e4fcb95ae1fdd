// Bytes as the URL of a camera's description.

#include "input.h"

#include <cctype>

#include "gvcp/description.h"
#include "gvcp/error.h"

namespace {

void checkPlace(const gvcp::LocalUrl &url, const std::string &text) {
    MUST(url.text == text, "the text is kept");
    MUST(url.size > 0 && url.size <= gvcp::kLargestDescription, "the size is within its bounds");
    MUST(uint64_t{url.address} + url.size <= uint64_t{1} << 32, "the place is in the memory");

    std::string small;
    for (const char c : text)
        small += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const size_t begin = small.find_first_not_of(" \t\r\n");
    MUST(begin != std::string::npos && small.compare(begin, 6, "local:") == 0, "it is a local one");
    const size_t first = small.find(';');
    const size_t second = small.find(';', first + 1);
    MUST(first != std::string::npos && second != std::string::npos, "it has three parts");
    MUST(std::strtoull(&small[first + 1], nullptr, 16) == url.address, "the address is the text's");
    MUST(std::strtoull(&small[second + 1], nullptr, 16) == url.size, "the size is the text's");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    try {
        checkPlace(gvcp::parseUrl(text), text);
    } catch (const gvcp::Error &error) {
        MUST(error.cause() == gvcp::Cause::Description, "a URL is refused as a URL");
        MUST(isPrintable(error.what()), "what is wrong can be shown: %s", error.what());
    }
    return 0;
}
