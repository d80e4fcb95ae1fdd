#include "gvcp/archive.h"

#include <zip.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

#include "gvcp/error.h"
#include "gvcp/printable.h"
#include "gvcp/url.h"

// libzip reads the archive; what it would take memory for on an archive's word alone is looked at
// before it does. It searches the end record in the last 64 KiB, tries each that could be one, and
// makes room for as many files as that says, with the records of archives above 4 GiB up to 2^64.
// So there has to be exactly one end record, of few files, and none of the large kind. Of
// what it then offers, only deflate is let in, since other methods ask for large dictionaries.

namespace gvcp {
namespace {

constexpr std::string_view kLocalHeader("PK\3\4", 4);
constexpr std::string_view kEndRecord("PK\5\6", 4);
constexpr std::string_view kLargeEndLocator("PK\6\7", 4);
constexpr size_t kEndRecordSize = 22;
constexpr size_t kLargeEndLocatorSize = 20;
// The longest comment may follow the end record; and a little more than libzip looks at.
constexpr size_t kEndSearched = 0xffff + kEndRecordSize + kLargeEndLocatorSize + 1024;
// Inflated in pieces of so many bytes.
constexpr size_t kPiece = 64 << 10;
// A content's room doubles from here on and has then the bound, and one byte, after ten times: it
// does not double once more for that byte.
constexpr size_t kFirstRoom = kLargestDescription / 1024 + 1;

[[noreturn]] void refuse(const std::string &why) {
    throw Error(Cause::Description, "the archive " + why);
}

[[noreturn]] void refuse(zip_error_t *error) {
    const std::string text = zip_error_strerror(error);
    zip_error_fini(error);
    refuse("cannot be read: " + text);
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

struct Discard {
    void operator()(zip_t *archive) const { zip_discard(archive); }
    void operator()(zip_source_t *source) const { zip_source_free(source); }
    void operator()(zip_file_t *file) const { zip_fclose(file); }
};
using Archive = std::unique_ptr<zip_t, Discard>;
using Source = std::unique_ptr<zip_source_t, Discard>;
using File = std::unique_ptr<zip_file_t, Discard>;

Archive openArchive(std::string_view bytes) {
    zip_error_t error;
    zip_error_init(&error);
    Source source(zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error));
    if (!source)
        refuse(&error);
    Archive archive(zip_open_from_source(source.get(), ZIP_RDONLY, &error));
    if (!archive)
        refuse(&error);
    (void)source.release(); // the archive has it now
    return archive;
}

bool endsWithXml(std::string_view name) {
    constexpr std::string_view kExtension = ".xml";
    return name.size() >= kExtension.size() &&
           std::equal(kExtension.begin(), kExtension.end(), name.end() - kExtension.size(),
                      [](char small, char c) {
                          return c == small || (c >= 'A' && c <= 'Z' && c - 'A' + 'a' == small);
                      });
}

zip_uint64_t chosenFile(zip_t *archive) {
    const zip_int64_t count = zip_get_num_entries(archive, 0);
    if (count > static_cast<zip_int64_t>(kMostFiles))
        refuse("holds " + std::to_string(count) + " files, expected at most " +
               std::to_string(kMostFiles));
    zip_int64_t chosen = -1;
    for (zip_int64_t i = 0; i < count; ++i) {
        const char *name = zip_get_name(archive, static_cast<zip_uint64_t>(i), ZIP_FL_ENC_RAW);
        const size_t length = name ? strlen(name) : 0;
        if (length == 0 || name[length - 1] == '/')
            continue;
        if (endsWithXml({name, length}))
            return static_cast<zip_uint64_t>(i);
        if (chosen < 0)
            chosen = i;
    }
    if (chosen < 0)
        refuse("holds no file");
    return static_cast<zip_uint64_t>(chosen);
}

// Whether the file is kept in a way that is read here.
void checkMethod(zip_t *archive, zip_uint64_t index) {
    constexpr zip_uint64_t kNeeded = ZIP_STAT_COMP_METHOD | ZIP_STAT_ENCRYPTION_METHOD;
    zip_stat_t stat;
    if (zip_stat_index(archive, index, 0, &stat) != 0)
        refuse(zip_get_error(archive));
    if ((stat.valid & kNeeded) != kNeeded || stat.encryption_method != ZIP_EM_NONE)
        refuse("is encrypted");
    if (stat.comp_method != ZIP_CM_STORE && stat.comp_method != ZIP_CM_DEFLATE)
        refuse("is compressed by method " + std::to_string(stat.comp_method) +
               ", expected 0 (stored) or 8 (deflate)");
}

} // namespace

bool isArchive(std::string_view content) {
    return content.substr(0, kLocalHeader.size()) == kLocalHeader;
}

size_t directoryOffset(std::string_view archive) {
    return endRecordOf(archive).directoryOffset;
}

std::string unzip(std::string_view bytes) {
    endRecordOf(bytes);
    const Archive archive = openArchive(bytes);
    const zip_uint64_t index = chosenFile(archive.get());
    checkMethod(archive.get(), index);

    const File file(zip_fopen_index(archive.get(), index, 0));
    if (!file)
        refuse(zip_get_error(archive.get()));
    std::string content;
    content.reserve(kFirstRoom);
    for (;;) {
        const size_t size = content.size();
        // One byte beyond the bound tells whether there is more.
        content.resize(std::min(size + kPiece, kLargestDescription + 1));
        const zip_int64_t read = zip_fread(file.get(), &content[size], content.size() - size);
        if (read < 0)
            refuse(zip_file_get_error(file.get()));
        content.resize(size + static_cast<size_t>(read));
        if (content.size() > kLargestDescription)
            refuse("inflates to more than " + std::to_string(kLargestDescription) + " bytes");
        if (read == 0)
            return content; // the check sum has been compared on reaching the end
    }
}

} // namespace gvcp
