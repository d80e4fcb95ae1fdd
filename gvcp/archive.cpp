
#include <strings.h>
#define ZLIB_CONST // it does not write to its input
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

#include "gvcp/description.h"
#include "gvcp/error.h"

// The end record, which is the last, says where the directory is, and that where the files are.
// Every part is taken by partOf(), which lets nothing lie outside. Sizes of the file are not
// believed: it ends where it is inflated or the archive ends, and its check sum tells whether it is
// right.

namespace gvcp {
namespace {

constexpr std::string_view kLocalHeader("PK\3\4", 4);
constexpr std::string_view kDirectoryEntry("PK\1\2", 4);
constexpr std::string_view kEndRecord("PK\5\6", 4);
constexpr size_t kLocalHeaderSize = 30;
constexpr size_t kDirectoryEntrySize = 46;
constexpr size_t kEndRecordSize = 22;
// Methods of compression.
constexpr uint32_t kStored = 0;
constexpr uint32_t kDeflated = 8;

[[noreturn]] void refuse(const std::string &why) {
    throw Error(Cause::Description, "the archive " + why);
}

uint32_t little(std::string_view bytes, size_t at, size_t size) {
    uint32_t number = 0;
    for (size_t i = size; i-- > 0;)
        number = number << 8 | static_cast<uint8_t>(bytes[at + i]);
    return number;
}

struct EndRecord {
    uint32_t files;
    uint32_t directorySize;
    uint32_t directoryOffset;
};

EndRecord endRecordOf(std::string_view archive) {
    const size_t last = archive.size() - std::min(archive.size(), kEndRecordSize);
    const size_t found = archive.rfind(kEndRecord, last);
    if (found == archive.npos || archive.size() < kEndRecordSize)
        refuse("has no end record: it ends early, or is damaged");
    const EndRecord record{std::max(little(archive, found + 8, 2), little(archive, found + 10, 2)),
                           little(archive, found + 12, 4), little(archive, found + 16, 4)};
    if (record.files > kMostFiles)
        refuse("says that it holds " + std::to_string(record.files) + " files, expected at most " +
               std::to_string(kMostFiles));
    if (record.directoryOffset > found || record.directorySize > found - record.directoryOffset)
        refuse("says that its directory lies where it cannot be");
    return record;
}

std::string_view partOf(std::string_view bytes, size_t at, size_t size) {
    if (at > bytes.size() || size > bytes.size() - at)
        refuse("cannot be read: a part of it is said to lie where it cannot be");
    return bytes.substr(at, size);
}

bool endsWithXml(std::string_view name) {
    constexpr std::string_view kExtension = ".xml";
    return name.size() >= kExtension.size() &&
           strncasecmp(name.end() - kExtension.size(), kExtension.data(), kExtension.size()) == 0;
}

// The file's entry in the directory.
std::string_view chosenEntry(std::string_view archive) {
    const EndRecord record = endRecordOf(archive);
    const std::string_view directory = archive.substr(record.directoryOffset, record.directorySize);
    std::string_view xml;
    std::string_view other;
    size_t at = 0;
    for (uint32_t i = 0; i < record.files; ++i) {
        const std::string_view entry = partOf(directory, at, kDirectoryEntrySize);
        if (entry.substr(0, kDirectoryEntry.size()) != kDirectoryEntry)
            refuse("cannot be read: its directory is none");
        const size_t nameSize = little(entry, 28, 2);
        const std::string_view name = partOf(directory, at + kDirectoryEntrySize, nameSize);
        std::string_view &first = endsWithXml(name) ? xml : other;
        if (first.empty() && !name.empty() && name.back() != '/')
            first = entry;
        at += kDirectoryEntrySize + nameSize + little(entry, 30, 2) + little(entry, 32, 2);
    }
    if (xml.empty() && other.empty())
        refuse("holds no file");
    return xml.empty() ? other : xml;
}

// The file's bytes as they lie in the archive, as far as they do.
std::string_view packedBytes(std::string_view archive, size_t at, size_t size) {
    const std::string_view header = partOf(archive, at, kLocalHeaderSize);
    if (!isArchive(header))
        refuse("cannot be read: there is no file where its directory says");
    const size_t names = little(header, 26, 2) + little(header, 28, 2);
    const size_t before = partOf(archive, at, kLocalHeaderSize + names).size();
    return archive.substr(at + before, size);
}

std::string inflated(std::string_view packed) {
    // One byte beyond the bound tells whether there is more. What is not used costs no memory.
    constexpr size_t kRoom = kLargestDescription + 1;
    const std::unique_ptr<char[]> room(new char[kRoom]);
    z_stream state{};
    state.next_in = reinterpret_cast<const Bytef *>(packed.data());
    state.avail_in = static_cast<uInt>(packed.size());
    state.next_out = reinterpret_cast<Bytef *>(room.get());
    state.avail_out = kRoom;
    if (inflateInit2(&state, -MAX_WBITS) != Z_OK)
        throw std::bad_alloc();
    const int result = inflate(&state, Z_FINISH);
    inflateEnd(&state);
    if (state.avail_out == 0)
        refuse("inflates to more than " + std::to_string(kLargestDescription) + " bytes");
    if (result != Z_STREAM_END)
        refuse(std::string("cannot be read: Zlib error: ") +
               (state.msg ? state.msg : zError(result)));
    return std::string(room.get(), state.total_out);
}

} // namespace

bool isArchive(std::string_view content) {
    return content.substr(0, kLocalHeader.size()) == kLocalHeader;
}

size_t directoryOffset(std::string_view archive) {
    return endRecordOf(archive).directoryOffset;
}

std::string unzip(std::string_view archive) {
    constexpr uint32_t kEncrypted = 1;
    const std::string_view entry = chosenEntry(archive);
    const uint32_t flags = little(entry, 8, 2);
    const uint32_t method = little(entry, 10, 2);
    const uint32_t checkSum = little(entry, 16, 4);
    if (flags & kEncrypted)
        refuse("is encrypted");
    if (method != kStored && method != kDeflated)
        refuse("is compressed by method " + std::to_string(method) +
               ", expected 0 (stored) or 8 (deflate)");
    const std::string_view packed =
        packedBytes(archive, little(entry, 42, 4), little(entry, 20, 4));
    std::string content = method == kStored ? std::string(packed) : inflated(packed);
    if (crc32(0, reinterpret_cast<const Bytef *>(content.data()),
              static_cast<uInt>(content.size())) != checkSum)
        refuse("cannot be read: CRC error");
    return content;
}

} // namespace gvcp
