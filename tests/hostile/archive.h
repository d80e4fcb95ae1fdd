/** Zip archives of one file, right or wrong. */
#ifndef KXINFO_TESTS_HOSTILE_ARCHIVE_H
#define KXINFO_TESTS_HOSTILE_ARCHIVE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/** Raw deflate, as archives have it. */
std::string deflated(std::string_view content);

/** Deflates so many MiB of one character, without making them. */
std::string deflatedMebibytes(int count, char character);

/** What an archive says, which a test changes before it has the bytes made. */
struct Archive {
    explicit Archive(std::string_view content);

    std::string name = "camera.xml";
    std::string data; ///< deflated
    uint32_t checkSum;
    uint32_t packedSize;
    uint32_t size;
    uint32_t localHeader = 0;
    std::optional<uint32_t> directory; ///< its place; right by itself
    uint16_t files = 1;
    std::optional<uint16_t> nameLength; ///< of the directory; right by itself

    std::string bytes() const;
};

#endif
