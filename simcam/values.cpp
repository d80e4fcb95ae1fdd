#include "values.h"

#include "text.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace simcam {

namespace {

uint64_t loadNumber(const Bytes &bytes, bool littleEndian) {
    uint64_t value = 0;
    for (size_t i = 0; i < bytes.size(); ++i)
        value = value << 8 | bytes[littleEndian ? bytes.size() - 1 - i : i];
    return value;
}

void storeNumber(uint64_t value, bool littleEndian, Bytes &bytes) {
    for (size_t i = 0; i < bytes.size(); ++i) {
        const size_t place = littleEndian ? i : bytes.size() - 1 - i;
        bytes[place] = static_cast<uint8_t>(i < 8 ? value >> (8 * i) & 0xFF : 0);
    }
}

uint64_t mask(const Register &reg) {
    return reg.width < 64 ? (uint64_t{1} << reg.width) - 1 : ~uint64_t{0};
}

// The shortest text that reads back as the same number.
template <typename Number>
std::string shortestOf(Number value) {
    char text[512];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed).ptr;
    return std::string(text, end);
}

std::string floatText(const Register &reg, const Bytes &bytes) {
    const uint64_t bits = loadNumber(bytes, reg.littleEndian);
    if (reg.length == 8) {
        double value = 0;
        std::memcpy(&value, &bits, 8);
        return shortestOf(value);
    }
    const auto half = static_cast<uint32_t>(bits);
    float value = 0;
    std::memcpy(&value, &half, 4);
    return shortestOf(value);
}

std::string hexadecimal(const Bytes &bytes) {
    std::string text;
    for (const uint8_t c : bytes) {
        char pair[4];
        std::snprintf(pair, sizeof pair, "%02X", c);
        text += pair;
    }
    return text;
}

} // namespace

std::optional<int64_t> toInteger(const std::string &text) {
    if (text.empty())
        return std::nullopt;
    const bool hexadecimal = text.size() > 2 && text[0] == '0' && std::tolower(text[1]) == 'x';
    char *end = nullptr;
    errno = 0;
    const int64_t value = hexadecimal ? static_cast<int64_t>(std::strtoull(text.c_str(), &end, 16))
                                      : std::strtoll(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0')
        return std::nullopt;
    return value;
}

std::optional<double> toFloat(const std::string &text) {
    char *end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0')
        return std::nullopt;
    return value;
}

std::string dotted(uint32_t address) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += std::to_string(address >> shift & 0xFF) + (shift > 0 ? "." : "");
    return text;
}

bool fits(int64_t value, const Register &reg) {
    if (reg.width >= 64)
        return true;
    if (reg.isSigned) {
        const int64_t limit = int64_t{1} << (reg.width - 1);
        return value >= -limit && value < limit;
    }
    return value >= 0 && static_cast<uint64_t>(value) <= mask(reg);
}

void storeInteger(int64_t value, const Register &reg, Bytes &bytes) {
    const uint64_t others = loadNumber(bytes, reg.littleEndian) & ~(mask(reg) << reg.shift);
    const uint64_t own = (static_cast<uint64_t>(value) & mask(reg)) << reg.shift;
    storeNumber(others | own, reg.littleEndian, bytes);
}

Bytes encodeFloat(double value, const Register &reg) {
    uint64_t bits = 0;
    if (reg.length == 8) {
        std::memcpy(&bits, &value, 8);
    } else {
        const auto single = static_cast<float>(value);
        uint32_t half = 0;
        std::memcpy(&half, &single, 4);
        bits = half;
    }
    Bytes bytes(reg.length);
    storeNumber(bits, reg.littleEndian, bytes);
    return bytes;
}

Bytes encodeText(const std::string &text, const Register &reg) {
    Bytes bytes(text.begin(), text.end());
    bytes.resize(reg.length);
    return bytes;
}

int64_t loadInteger(const Register &reg, const Bytes &bytes) {
    uint64_t value = loadNumber(bytes, reg.littleEndian) >> reg.shift & mask(reg);
    if (reg.width < 64 && reg.isSigned && value >> (reg.width - 1))
        value |= ~uint64_t{0} << reg.width;
    return static_cast<int64_t>(value);
}

std::string valueText(const Register &reg, const Bytes &bytes) {
    switch (reg.kind) {
    case Register::Kind::Integer: {
        const int64_t value = loadInteger(reg, bytes);
        const auto entry = reg.entries.find(value);
        return entry != reg.entries.end() ? entry->second : std::to_string(value);
    }
    case Register::Kind::Float:
        return floatText(reg, bytes);
    case Register::Kind::Text:
        return quoted(std::string(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0)));
    case Register::Kind::Block:
        break;
    }
    return hexadecimal(bytes);
}

std::string cellName(const Register &reg, uint32_t cell) {
    std::string name = reg.feature;
    uint32_t rest = cell * reg.stride;
    for (const Register::Index &index : reg.indexes) {
        const int64_t position = rest / index.stride;
        rest %= index.stride;
        const Entries none;
        const Entries &entries = index.entries ? *index.entries : none;
        const auto entry = entries.find(position);
        name += "[" + (entry != entries.end() ? entry->second : std::to_string(position)) + "]";
    }
    return name;
}

} // namespace simcam
