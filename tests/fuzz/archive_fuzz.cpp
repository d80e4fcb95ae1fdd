// Bytes as an archive of a camera's description.

#include "input.h"

#include <vector>

#include "gvcp/description.h"
#include "gvcp/error.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    // A block of exactly that size, so that reading beyond is noticed.
    const std::vector<char> block(data, data + size);
    const std::string_view archive(block.data(), block.size());
    try {
        const std::string content = gvcp::unzip(archive);
        MUST(content.size() <= gvcp::kLargestDescription, "the content is within its bound");
        MUST(gvcp::directoryOffset(archive) < size, "the directory is in the archive");
        MUST(content == gvcp::unzip(archive), "the content is the same each time");
    } catch (const gvcp::Error &error) {
        MUST(error.cause() == gvcp::Cause::Description, "an archive is refused as an archive");
        MUST(isPrintable(error.what()), "what is wrong can be shown: %s", error.what());
    }
    return 0;
}
