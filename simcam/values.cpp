#include "values.h"

#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace simcam {

namespace {

std::uint64_t loadNumber(const Bytes &bytes, bool littleEndian) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        value = value << 8 | bytes[littleEndian ? bytes.size() - 1 - i : i];
    return value;
}

void storeNumber(std::uint64_t value, bool littleEndian, Bytes &bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::size_t place = littleEndian ? i : bytes.size() - 1 - i;
        bytes[place] = static_cast<std::uint8_t>(i < 8 ? value >> (8 * i) & 0xFF : 0);
    }
}

std::uint64_t mask(const Register &reg) {
    return reg.width < 64 ? (std::uint64_t{1} << reg.width) - 1 : ~std::uint64_t{0};
}

template <typename Number>
std::string shortestOf(Number value) {
    char text[512];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed).ptr;
    return std::string(text, end);
}

std::string floatText(const Register &reg, const Bytes &bytes) {
    const std::uint64_t bits = loadNumber(bytes, reg.littleEndian);
    if (reg.length == 8) {
        double value = 0;
        std::memcpy(&value, &bits, 8);
        return shortest(value);
    }
    const auto half = static_cast<std::uint32_t>(bits);
    float value = 0;
    std::memcpy(&value, &half, 4);
    return shortestOf(value);
}

std::string quoted(const Bytes &bytes) {
    std::string text = "\"";
    for (const std::uint8_t c : bytes) {
        if (c == 0)
            break;
        if (c >= 0x20 && c != 0x7F && c != '"' && c != '\\') {
            text += static_cast<char>(c);
            continue;
        }
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\x%02X", c);
        text += escaped;
    }
    return text + "\"";
}

std::string hexadecimal(const Bytes &bytes) {
    std::string text;
    for (const std::uint8_t c : bytes) {
        char pair[4];
        std::snprintf(pair, sizeof pair, "%02X", c);
        text += pair;
    }
    return text;
}

} // namespace

std::optional<std::int64_t> toInteger(const std::string &text) {
    if (text.empty())
        return std::nullopt;
    const bool hexadecimal = text.size() > 2 && text[0] == '0' && std::tolower(text[1]) == 'x';
    char *end = nullptr;
    errno = 0;
    const std::int64_t value =
        hexadecimal ? static_cast<std::int64_t>(std::strtoull(text.c_str(), &end, 16))
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

std::string dotted(std::uint32_t address) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += std::to_string(address >> shift & 0xFF) + (shift > 0 ? "." : "");
    return text;
}

std::string shortest(double value) {
    return shortestOf(value);
}

bool fits(std::int64_t value, const Register &reg) {
    if (reg.width >= 64)
        return true;
    if (reg.isSigned) {
        const std::int64_t limit = std::int64_t{1} << (reg.width - 1);
        return value >= -limit && value < limit;
    }
    return value >= 0 && static_cast<std::uint64_t>(value) <= mask(reg);
}

void storeInteger(std::int64_t value, const Register &reg, Bytes &bytes) {
    const std::uint64_t others = loadNumber(bytes, reg.littleEndian) & ~(mask(reg) << reg.shift);
    const std::uint64_t own = (static_cast<std::uint64_t>(value) & mask(reg)) << reg.shift;
    storeNumber(others | own, reg.littleEndian, bytes);
}

Bytes encodeFloat(double value, const Register &reg) {
    std::uint64_t bits = 0;
    if (reg.length == 8) {
        std::memcpy(&bits, &value, 8);
    } else {
        const auto single = static_cast<float>(value);
        std::uint32_t half = 0;
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

std::int64_t loadInteger(const Register &reg, const Bytes &bytes) {
    std::uint64_t value = loadNumber(bytes, reg.littleEndian) >> reg.shift & mask(reg);
    if (reg.width < 64 && reg.isSigned && value >> (reg.width - 1))
        value |= ~std::uint64_t{0} << reg.width;
    return static_cast<std::int64_t>(value);
}

std::string valueText(const Register &reg, const Bytes &bytes) {
    switch (reg.kind) {
    case Register::Kind::Integer: {
        const std::int64_t value = loadInteger(reg, bytes);
        const auto entry = reg.entries.find(value);
        return entry != reg.entries.end() ? entry->second : std::to_string(value);
    }
    case Register::Kind::Float:
        return floatText(reg, bytes);
    case Register::Kind::Text:
        return quoted(bytes);
    case Register::Kind::Block:
        break;
    }
    return hexadecimal(bytes);
}

std::string cellName(const Register &reg, std::uint32_t cell) {
    std::string name = reg.feature;
    std::uint32_t rest = cell * reg.stride;
    for (const Register::Index &index : reg.indexes) {
        const std::int64_t position = rest / index.stride;
        rest %= index.stride;
        const auto entry = index.entries.find(position);
        name += "[";
        name += entry != index.entries.end() ? entry->second : std::to_string(position);
        name += "]";
    }
    return name;
}

} // namespace simcam
