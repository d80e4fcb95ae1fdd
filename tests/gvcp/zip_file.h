/** Archives written byte by byte, so that a test can have any of them wrong. */
#ifndef KXINFO_TESTS_GVCP_ZIP_FILE_H
#define KXINFO_TESTS_GVCP_ZIP_FILE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/** A file as it stands in an archive, with what the archive says of it. */
struct PackedFile {
    std::string name;
    std::string data;
    uint32_t checkSum = 0;
    uint32_t size = 0; /**< once unpacked */
    uint16_t method = 0;
    uint16_t flags = 0;
    std::optional<uint32_t> packedSize = {}; /**< right by itself */
};

/** Sizes of the parts, without the names in them. */
constexpr size_t kLocalHeaderSize = 30;
constexpr size_t kDirectoryEntrySize = 46;
constexpr size_t kEndRecordSize = 22;

PackedFile stored(const std::string &name, const std::string &content);
PackedFile deflated(const std::string &name, const std::string &content);

/** \p count times that character by deflate, without making them; the check sum is not computed. */
PackedFile deflatedMany(const std::string &name, uint64_t count, char character);

std::string archiveOf(const std::vector<PackedFile> &files);

/** \p bytes with other ones from \p at on. */
std::string patched(std::string bytes, size_t at, const std::string &other);

/** \p number in \p size bytes, the lowest first. */
std::string little(uint64_t number, size_t size);

#endif
