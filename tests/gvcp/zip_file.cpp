#include "zip_file.h"

#include <zlib.h>

#include <stdexcept>

namespace {

// Deflates pieces of a content one after the other.
class Deflater {
public:
    Deflater() {
        if (deflateInit2(&stream_, 9, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY) != Z_OK)
            throw std::runtime_error("deflate");
    }
    ~Deflater() { deflateEnd(&stream_); }
    Deflater(const Deflater &) = delete;
    Deflater &operator=(const Deflater &) = delete;

    std::string take(const std::string &piece, int flush) {
        std::string packed(deflateBound(&stream_, piece.size()) + 16, '\0');
        stream_.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(piece.data()));
        stream_.avail_in = static_cast<uInt>(piece.size());
        stream_.next_out = reinterpret_cast<Bytef *>(packed.data());
        stream_.avail_out = static_cast<uInt>(packed.size());
        deflate(&stream_, flush);
        packed.resize(packed.size() - stream_.avail_out);
        return packed;
    }

private:
    z_stream stream_{};
};

// What both a file's header and its entry in the directory have.
std::string described(const PackedFile &file) {
    return little(20, 2) + little(file.flags, 2) + little(file.method, 2) + little(0, 4) +
           little(file.checkSum, 4) + little(file.packedSize.value_or(file.data.size()), 4) +
           little(file.size, 4) + little(file.name.size(), 2) + little(0, 2);
}

} // namespace

std::string little(uint64_t number, size_t size) {
    std::string bytes;
    for (; size > 0; --size, number >>= 8)
        bytes += static_cast<char>(number & 0xff);
    return bytes;
}

std::string patched(std::string bytes, size_t at, const std::string &other) {
    return bytes.replace(at, other.size(), other);
}

PackedFile stored(const std::string &name, const std::string &content) {
    const auto size = static_cast<uint32_t>(content.size());
    const auto sum = crc32(0, reinterpret_cast<const Bytef *>(content.data()), size);
    return {name, content, static_cast<uint32_t>(sum), size};
}

PackedFile deflated(const std::string &name, const std::string &content) {
    PackedFile file = stored(name, content);
    file.data = Deflater().take(content, Z_FINISH);
    file.method = Z_DEFLATED;
    return file;
}

// After a full flush the same input gives the same output again.
PackedFile deflatedMany(const std::string &name, uint64_t count, char character) {
    const std::string piece(1 << 20, character);
    Deflater deflater;
    const std::string packed = deflater.take(piece, Z_FULL_FLUSH);
    std::string data;
    for (uint64_t i = 0; i < count / piece.size(); ++i)
        data += packed;
    data += deflater.take(piece.substr(0, count % piece.size()), Z_FINISH);
    return {name, data, 0, static_cast<uint32_t>(count), Z_DEFLATED};
}

std::string archiveOf(const std::vector<PackedFile> &files) {
    std::string bytes;
    std::string directory;
    for (const PackedFile &file : files) {
        directory += "PK\1\2" + little(20, 2) + described(file) + little(0, 10) +
                     little(bytes.size(), 4) + file.name;
        bytes += "PK\3\4" + described(file) + file.name + file.data;
    }
    const size_t offset = bytes.size();
    return bytes + directory + "PK\5\6" + little(0, 4) + little(files.size(), 2) +
           little(files.size(), 2) + little(directory.size(), 4) + little(offset, 4) + little(0, 2);
}
