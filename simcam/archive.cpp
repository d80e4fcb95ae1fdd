#include "archive.h"

#include <zip.h>

#include <memory>
#include <stdexcept>

namespace simcam {

namespace {

// A camera's archive is the same bytes whenever it is made: 1 January 2000, noon.
constexpr zip_uint16_t kDate = (2000 - 1980) << 9 | 1 << 5 | 1;
constexpr zip_uint16_t kTime = 12 << 11;

[[noreturn]] void fail(zip_error_t &error) {
    const std::string text = zip_error_strerror(&error);
    zip_error_fini(&error);
    throw std::runtime_error("zip archive: " + text);
}

struct Discard {
    void operator()(zip_t *archive) const { zip_discard(archive); }
    void operator()(zip_source_t *source) const { zip_source_free(source); }
    void operator()(zip_file_t *file) const { zip_fclose(file); }
};
using Archive = std::unique_ptr<zip_t, Discard>;
using Source = std::unique_ptr<zip_source_t, Discard>;
using File = std::unique_ptr<zip_file_t, Discard>;

Source bufferSource(const Bytes &bytes) {
    zip_error_t error;
    zip_error_init(&error);
    Source source(zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error));
    if (!source)
        fail(error);
    return source;
}

// The archive takes the source over only when opening succeeds; the caller keeps a reference.
Archive openArchive(zip_source_t *source, int flags) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_keep(source);
    Archive archive(zip_open_from_source(source, flags, &error));
    if (!archive) {
        zip_source_free(source);
        fail(error);
    }
    return archive;
}

} // namespace

Bytes zip(const std::string &fileName, const Bytes &content) {
    const Source target = bufferSource({});
    Archive archive = openArchive(target.get(), ZIP_CREATE | ZIP_TRUNCATE);
    Source source = bufferSource(content);
    const zip_int64_t index = zip_file_add(archive.get(), fileName.c_str(), source.get(), 0);
    if (index < 0)
        fail(*zip_get_error(archive.get()));
    (void)source.release(); // the archive has it now
    zip_file_set_dostime(archive.get(), static_cast<zip_uint64_t>(index), kTime, kDate, 0);
    if (zip_close(archive.get()) != 0)
        fail(*zip_get_error(archive.get()));
    (void)archive.release(); // closing freed it

    zip_stat_t stat;
    if (zip_source_stat(target.get(), &stat) != 0 || zip_source_open(target.get()) != 0)
        fail(*zip_source_error(target.get()));
    Bytes bytes(stat.size);
    const zip_int64_t size = zip_source_read(target.get(), bytes.data(), bytes.size());
    zip_source_close(target.get());
    if (size != static_cast<zip_int64_t>(bytes.size()))
        throw std::runtime_error("zip archive: it could not be read back");
    return bytes;
}

Bytes unzip(const Bytes &archive, size_t maxSize) {
    const Source source = bufferSource(archive);
    const Archive opened = openArchive(source.get(), ZIP_RDONLY);
    const zip_int64_t members = zip_get_num_entries(opened.get(), 0);
    if (members > kMaxMembers)
        throw std::runtime_error("zip archive: it holds " + std::to_string(members) +
                                 " files, expected at most " + std::to_string(kMaxMembers));
    zip_stat_t stat;
    if (zip_stat_index(opened.get(), 0, 0, &stat) != 0)
        throw std::runtime_error("zip archive: it holds no file");
    if (stat.size > maxSize)
        throw std::runtime_error("zip archive: its file is too large, " +
                                 std::to_string(stat.size) + " bytes, expected at most " +
                                 std::to_string(maxSize));
    const File file(zip_fopen_index(opened.get(), 0, 0));
    if (!file)
        fail(*zip_get_error(opened.get()));
    Bytes bytes(stat.size);
    char beyond; // the check sum is compared on reaching the end
    if (zip_fread(file.get(), bytes.data(), bytes.size()) !=
            static_cast<zip_int64_t>(bytes.size()) ||
        zip_fread(file.get(), &beyond, 1) != 0)
        throw std::runtime_error("zip archive: its file ends early or is damaged");
    return bytes;
}

bool isZip(const Bytes &file) {
    return file.size() >= 4 && file[0] == 'P' && file[1] == 'K' && file[2] == 3 && file[3] == 4;
}

} // namespace simcam
