/**
 * What all fuzz targets share: reading decisions out of the bytes that the fuzzer makes up, and
 * stopping when something that must hold does not.
 *
 * Bytes are taken from the front, so that a seed can be written by hand; where none are left, they
 * count as zeros.
 */
#ifndef KXINFO_TESTS_FUZZ_INPUT_H
#define KXINFO_TESTS_FUZZ_INPUT_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

/** The one entry of a fuzz target. Returns 0; ends the process when an invariant is broken. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

/** Ends the process when \p condition does not hold; the text says what should. */
#define MUST(condition, ...)                                                                       \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: broken: ", __FILE__, __LINE__);                           \
            std::fprintf(stderr, __VA_ARGS__);                                                     \
            std::fprintf(stderr, "\n");                                                            \
            std::abort();                                                                          \
        }                                                                                          \
    } while (0)

/** Whether every terminal shows \p text as it is. */
inline bool isPrintable(const std::string &text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

/** The parts of \p text between \p separator. */
inline std::vector<std::string> split(const std::string &text, char separator = ' ') {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

class Input {
public:
    Input(const uint8_t *data, size_t size) : at_(data), left_(size) {}

    size_t left() const { return left_; }

    uint8_t byte() {
        if (!left_)
            return 0;
        --left_;
        return *at_++;
    }

    /** 0 to \p count - 1. */
    unsigned below(unsigned count) { return byte() % count; }
    /** True once in \p count. */
    bool oneIn(unsigned count) { return byte() % count == count - 1; }

    /** One of \p choices. */
    template <typename Choices>
    const auto &oneOf(const Choices &choices) {
        return choices[below(static_cast<unsigned>(std::size(choices)))];
    }

    template <typename Number>
    Number number() {
        unsigned char raw[sizeof(Number)];
        for (unsigned char &each : raw)
            each = byte();
        Number value;
        std::memcpy(&value, raw, sizeof value);
        return value;
    }

    /** At most \p longest bytes, as many as the next one says. */
    std::string bytes(size_t longest) {
        const size_t length = std::min<size_t>(byte() % (longest + 1), left_);
        std::string text(reinterpret_cast<const char *>(at_), length);
        at_ += length;
        left_ -= length;
        return text;
    }

    /** As bytes(), without NUL: a C string. */
    std::string text(size_t longest) {
        std::string text = bytes(longest);
        text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
        return text;
    }

    /** The bytes that come next, at most \p longest. */
    const uint8_t *take(size_t longest, size_t &length) {
        const uint8_t *from = at_;
        length = std::min(longest, left_);
        at_ += length;
        left_ -= length;
        return from;
    }

private:
    const uint8_t *at_;
    size_t left_;
};

#endif
