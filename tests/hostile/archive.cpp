#include "archive.h"

#include <zlib.h>

#include <stdexcept>

namespace {

constexpr size_t kMebibyte = 1 << 20;

std::string little(uint32_t value, int size) {
    std::string bytes;
    for (; size > 0; --size, value >>= 8)
        bytes += static_cast<char>(value & 0xff);
    return bytes;
}

uint32_t checkSumOf(std::string_view content) {
    return static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef *>(content.data()),
                                       static_cast<uInt>(content.size())));
}

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

    std::string take(std::string_view piece, int flush) {
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

} // namespace

std::string deflated(std::string_view content) {
    return Deflater().take(content, Z_FINISH);
}

// After a full flush the same input gives the same output again.
std::string deflatedMebibytes(int count, char character) {
    const std::string piece(kMebibyte, character);
    Deflater deflater;
    const std::string packed = deflater.take(piece, Z_FULL_FLUSH);
    std::string all;
    for (int i = 0; i < count; ++i)
        all += packed;
    return all + deflater.take({}, Z_FINISH);
}

Archive::Archive(std::string_view content)
    : data(deflated(content)),
      checkSum(checkSumOf(content)),
      packedSize(static_cast<uint32_t>(data.size())),
      size(static_cast<uint32_t>(content.size())) {}

std::string Archive::bytes() const {
    constexpr int kVersion = 20;
    constexpr int kDeflate = 8;
    const auto length = static_cast<uint32_t>(name.size());
    const std::string what = little(kVersion, 2) + little(0, 2) + little(kDeflate, 2) +
                             little(0, 4) + little(checkSum, 4) + little(packedSize, 4) +
                             little(size, 4);
    const std::string file = "PK\3\4" + what + little(length, 2) + little(0, 2) + name + data;
    const std::string entry = "PK\1\2" + little(kVersion, 2) + what +
                              little(nameLength.value_or(static_cast<uint16_t>(length)), 2) +
                              little(0, 12) + little(localHeader, 4) + name;
    const auto fileSize = static_cast<uint32_t>(file.size());
    return file + entry + "PK\5\6" + little(0, 4) + little(files, 2) + little(files, 2) +
           little(static_cast<uint32_t>(entry.size()), 4) +
           little(directory.value_or(fileSize), 4) + little(0, 2);
}
