#include "zip_file.h"

#include <array>

namespace {

uint32_t checkSumOf(const std::string &content) {
    std::array<uint32_t, 256> table;
    for (uint32_t i = 0; i < table.size(); ++i) {
        uint32_t entry = i;
        for (int bit = 0; bit < 8; ++bit)
            entry = entry >> 1 ^ (entry & 1 ? 0xedb88320 : 0);
        table[i] = entry;
    }
    uint32_t sum = ~0u;
    for (const char c : content)
        sum = table[(sum ^ static_cast<uint8_t>(c)) & 0xff] ^ sum >> 8;
    return ~sum;
}

// What both a file's header and its entry in the directory have.
std::string described(const PackedFile &file) {
    return little(20, 2) + little(file.flags, 2) + little(file.method, 2) + little(0, 4) +
           little(file.checkSum, 4) + little(file.data.size(), 4) + little(file.size, 4) +
           little(file.name.size(), 2) + little(0, 2);
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
    return {name, content, checkSumOf(content), static_cast<uint32_t>(content.size()), 0, 0};
}

PackedFile zeros(const std::string &name, uint64_t count) {
    std::string data;
    unsigned bits = 0;
    unsigned filled = 0;
    const auto put = [&](const char *code) {
        for (; *code; ++code) {
            bits |= static_cast<unsigned>(*code - '0') << filled;
            if (++filled == 8) {
                data += static_cast<char>(bits);
                bits = filled = 0;
            }
        }
    };
    put("110"); // the last block, with the fixed codes
    put("00110000");
    for (uint64_t left = count - 1; left > 0; left -= left < 258 ? 1 : 258)
        put(left < 258 ? "00110000" : "1100010100000"); // a zero; 258 times the byte before
    put("00000000000000");                              // the end, and up to a whole byte
    return {name, data, 0, static_cast<uint32_t>(count), 8, 0};
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
