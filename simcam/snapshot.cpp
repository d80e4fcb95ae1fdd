#include "snapshot.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

namespace simcam {

namespace {

constexpr std::uint32_t kLongTable = 16;

std::uint64_t decodeNumber(const Bytes &bytes, bool littleEndian) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        value = value << 8 | bytes[littleEndian ? bytes.size() - 1 - i : i];
    return value;
}

std::int64_t decodeInteger(const Register &reg, const Bytes &bytes) {
    std::uint64_t value = decodeNumber(bytes, reg.littleEndian) >> reg.shift;
    if (reg.width < 64) {
        value &= (std::uint64_t{1} << reg.width) - 1;
        if (reg.isSigned && value >> (reg.width - 1))
            value |= ~std::uint64_t{0} << reg.width;
    }
    return static_cast<std::int64_t>(value);
}

// The shortest text that reads back as the same number.
template <typename Number>
std::string shortest(Number value) {
    char text[512];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed).ptr;
    return std::string(text, end);
}

std::string decodeFloat(const Register &reg, const Bytes &bytes) {
    const std::uint64_t bits = decodeNumber(bytes, reg.littleEndian);
    if (reg.length == 8) {
        double value = 0;
        std::memcpy(&value, &bits, 8);
        return shortest(value);
    }
    const auto half = static_cast<std::uint32_t>(bits);
    float value = 0;
    std::memcpy(&value, &half, 4);
    return shortest(value);
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

std::string valueOf(const Register &reg, const Bytes &bytes) {
    switch (reg.kind) {
    case Register::Kind::Integer: {
        const std::int64_t value = decodeInteger(reg, bytes);
        const auto entry = reg.entries.find(value);
        return entry != reg.entries.end() ? entry->second : std::to_string(value);
    }
    case Register::Kind::Float:
        return decodeFloat(reg, bytes);
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

} // namespace

std::string describe(const std::vector<Register> &registers, const Memory &memory) {
    std::vector<std::string> lines;
    for (const Register &reg : registers) {
        if (reg.access == Memory::kWrite)
            continue;
        for (std::uint32_t cell = 0; cell < reg.cellCount; ++cell) {
            const Bytes bytes = memory.peek(reg.address + cell * reg.stride, reg.length);
            const bool isZero = std::all_of(bytes.begin(), bytes.end(), [](auto b) { return !b; });
            if (reg.cellCount > kLongTable && isZero)
                continue;
            lines.push_back(cellName(reg, cell) + " = " + valueOf(reg, bytes) + "\n");
        }
    }
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string &line : lines)
        text += line;
    return text;
}

} // namespace simcam
