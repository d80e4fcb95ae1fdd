#include "gvcp/archive.h"

#define ZLIB_CONST // it does not write to its input
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "gvcp/error.h"
#include "gvcp/printable.h"
#include "gvcp/url.h"

// The end record is searched in the last 64 KiB; it says where the directory is, and that where the
// files are. There has to be exactly one end record, of few files, and none of the large kind. Every
// part is taken by partOf(), which lets nothing lie outside. Sizes of the file are not believed: it
// ends where it is inflated or the archive ends, and its check sum tells whether it is right.

namespace gvcp {
namespace {

constexpr std::string_view kLocalHeader("PK\3\4", 4);
constexpr std::string_view kDirectoryEntry("PK\1\2", 4);
constexpr std::string_view kEndRecord("PK\5\6", 4);
constexpr std::string_view kLargeEndLocator("PK\6\7", 4);
constexpr size_t kLocalHeaderSize = 30;
constexpr size_t kDirectoryEntrySize = 46;
constexpr size_t kEndRecordSize = 22;
constexpr size_t kLargeEndLocatorSize = 20;
// The longest comment may follow the end record; and zeros, with which cameras fill up.
constexpr size_t kEndSearched = 0xffff + kEndRecordSize + kLargeEndLocatorSize + 1024;
// Methods of compression.
constexpr uint32_t kStored = 0;
constexpr uint32_t kDeflated = 8;
// Inflated in pieces of so many bytes.
constexpr size_t kPiece = 64 << 10;
// A content's room doubles from here on and has then the bound, and one byte, after ten times: it
// does not double once more for that byte.
constexpr size_t kFirstRoom = kLargestDescription / 1024 + 1;

[[noreturn]] void refuse(const std::string &why) {
    throw Error(Cause::Description, "the archive " + why);
}

[[noreturn]] void refuseToRead(const std::string &why) {
    refuse("cannot be read: " + why);
}

uint32_t little(std::string_view bytes, size_t at, size_t size) {
    uint32_t number = 0;
    for (size_t i = size; i-- > 0;)
        number = number << 8 | static_cast<uint8_t>(bytes[at + i]);
    return number;
}

struct EndRecord {
    size_t at;
    uint32_t files;
    uint32_t directorySize;
    uint32_t directoryOffset;
};

EndRecord endRecordOf(std::string_view archive) {
    const size_t from = archive.size() - std::min(archive.size(), kEndSearched);
    size_t found = std::string_view::npos;
    for (size_t at = archive.find(kEndRecord, from); at != std::string_view::npos;
         at = archive.find(kEndRecord, at + 1)) {
        if (archive.size() - at < kEndRecordSize)
            break;
        if (at >= kLargeEndLocatorSize &&
            archive.substr(at - kLargeEndLocatorSize, 4) == kLargeEndLocator)
            refuse("is of the kind for more than 4 GiB");
        // Compressed bytes may look like the mark, but hardly like a mark and the number of a first
        // disk behind it.
        if (little(archive, at + 4, 4) != 0)
            continue;
        if (found != std::string_view::npos)
            refuse("has more than one end record");
        found = at;
    }
    if (found == std::string_view::npos)
        refuse("has no end record: it ends early, or is damaged");
    const EndRecord record{found,
                           std::max(little(archive, found + 8, 2), little(archive, found + 10, 2)),
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
        refuseToRead("a part of it is said to lie where it cannot be");
    return bytes.substr(at, size);
}

// A file, as the directory has it.
struct File {
    std::string_view name;
    uint32_t flags;
    uint32_t method;
    uint32_t checkSum;
    uint32_t packedSize;
    uint32_t at;
};

std::vector<File> filesIn(std::string_view archive) {
    const EndRecord record = endRecordOf(archive);
    const std::string_view directory = archive.substr(record.directoryOffset, record.directorySize);
    std::vector<File> files;
    for (size_t at = 0; files.size() < record.files;) {
        const std::string_view entry = partOf(directory, at, kDirectoryEntrySize);
        if (entry.substr(0, kDirectoryEntry.size()) != kDirectoryEntry)
            refuseToRead("its directory is none");
        const size_t nameSize = little(entry, 28, 2);
        files.push_back({partOf(directory, at + kDirectoryEntrySize, nameSize), little(entry, 8, 2),
                         little(entry, 10, 2), little(entry, 16, 4), little(entry, 20, 4),
                         little(entry, 42, 4)});
        at += kDirectoryEntrySize + nameSize + little(entry, 30, 2) + little(entry, 32, 2);
    }
    return files;
}

bool endsWithXml(std::string_view name) {
    constexpr std::string_view kExtension = ".xml";
    return name.size() >= kExtension.size() &&
           std::equal(kExtension.begin(), kExtension.end(), name.end() - kExtension.size(),
                      [](char small, char c) {
                          return c == small || (c >= 'A' && c <= 'Z' && c - 'A' + 'a' == small);
                      });
}

File chosenFile(const std::vector<File> &files) {
    const File *chosen = nullptr;
    for (const File &file : files) {
        if (file.name.empty() || file.name.back() == '/')
            continue;
        if (endsWithXml(file.name))
            return file;
        if (!chosen)
            chosen = &file;
    }
    if (!chosen)
        refuse("holds no file");
    return *chosen;
}

// The file's bytes as they lie in the archive, as far as they do.
std::string_view packedBytes(std::string_view archive, const File &file) {
    const std::string_view header = partOf(archive, file.at, kLocalHeaderSize);
    if (!isArchive(header))
        refuseToRead("there is no file where its directory says");
    const size_t names = little(header, 26, 2) + little(header, 28, 2);
    const size_t before = partOf(archive, file.at, kLocalHeaderSize + names).size();
    return archive.substr(file.at + before, file.packedSize);
}

std::string inflated(std::string_view packed) {
    struct End {
        void operator()(z_stream *stream) const { inflateEnd(stream); }
    };
    z_stream state{};
    state.next_in = reinterpret_cast<const Bytef *>(packed.data());
    state.avail_in = static_cast<uInt>(packed.size());
    if (inflateInit2(&state, -MAX_WBITS) != Z_OK)
        throw std::bad_alloc();
    const std::unique_ptr<z_stream, End> stream(&state);
    std::string content;
    content.reserve(kFirstRoom);
    for (int result = Z_OK; result != Z_STREAM_END;) {
        const size_t size = content.size();
        // One byte beyond the bound tells whether there is more.
        content.resize(std::min(size + kPiece, kLargestDescription + 1));
        state.next_out = reinterpret_cast<Bytef *>(&content[size]);
        state.avail_out = static_cast<uInt>(content.size() - size);
        result = inflate(&state, Z_NO_FLUSH);
        content.resize(content.size() - state.avail_out);
        if (content.size() > kLargestDescription)
            refuse("inflates to more than " + std::to_string(kLargestDescription) + " bytes");
        if (result != Z_OK && result != Z_STREAM_END)
            refuseToRead(std::string("Zlib error: ") + (state.msg ? state.msg : zError(result)));
    }
    return content;
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
    const File file = chosenFile(filesIn(archive));
    if (file.flags & kEncrypted)
        refuse("is encrypted");
    if (file.method != kStored && file.method != kDeflated)
        refuse("is compressed by method " + std::to_string(file.method) +
               ", expected 0 (stored) or 8 (deflate)");
    const std::string_view packed = packedBytes(archive, file);
    std::string content = file.method == kStored ? std::string(packed) : inflated(packed);
    if (crc32(0, reinterpret_cast<const Bytef *>(content.data()),
              static_cast<uInt>(content.size())) != file.checkSum)
        refuseToRead("CRC error");
    content.shrink_to_fit();
    return content;
}

} // namespace gvcp
