#include "genapi/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace genapi {
namespace {

// 17 digits tell any two doubles apart; small ones shown with Fixed begin with zeros besides.
constexpr int64_t kMostDigits = 40;

// Of each Notation.
constexpr std::chars_format kFormats[] = {std::chars_format::general, std::chars_format::fixed,
                                          std::chars_format::scientific};

/** Two digits. */
std::string hexByte(uint8_t byte) {
    constexpr char kDigits[] = "0123456789abcdef";
    return {kDigits[byte >> 4], kDigits[byte & 0xF]};
}

std::string_view withoutBlanks(std::string_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

/** Skips 0x, if a digit follows. */
bool skipHexPrefix(std::string_view &text) {
    if (text.size() < 3 || text[0] != '0' || (text[1] != 'x' && text[1] != 'X') ||
        !isHexDigit(text[2]))
        return false;
    text.remove_prefix(2);
    return true;
}

/** A plus sign, which from_chars does not know; none of two signs. */
void skipPlus(std::string_view &text) {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
}

/** Reads the number that \p text begins with, and removes it. */
template <class Number, class... Format>
std::errc leading(std::string_view &text, Number &number, Format... format) {
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number, format...);
    text.remove_prefix(static_cast<size_t>(read.ptr - text.data()));
    return read.ec;
}

/** A number as C reads it, in the range of a double. */
std::optional<double> leadingFloat(std::string_view &text) {
    skipPlus(text);
    const bool negative = !text.empty() && text[0] == '-';
    std::string_view digits = text.substr(negative);
    const bool hexadecimal = skipHexPrefix(digits);
    if (hexadecimal)
        text = digits;
    double value = 0;
    if (leading(text, value, hexadecimal ? std::chars_format::hex : kFormats[0]) != std::errc())
        return std::nullopt;
    return hexadecimal && negative ? -value : value;
}

/** Numbers of one byte each, parted by \p separator; nothing when they are not just \p count. */
std::optional<int64_t> bytesBetween(std::string_view text, size_t count, char separator, int base) {
    int64_t value = 0;
    for (size_t i = 1; i <= count; ++i) {
        std::string_view digits = i < count ? cutAt(separator, text) : text;
        const bool fits = base == 16 ? digits.size() == 2 : digits.size() <= 3;
        unsigned byte = 0;
        if (!fits || leading(digits, byte, base) != std::errc() || !digits.empty() || byte > 0xFF)
            return std::nullopt;
        value = value << 8 | byte;
    }
    return value;
}

template <class Number, class... Format>
std::string written(Number number, Format... format) {
    std::array<char, 400> characters; // the largest double has 309 digits before the point
    const auto end =
        std::to_chars(characters.data(), characters.data() + characters.size(), number, format...);
    return {characters.data(), end.ptr};
}

} // namespace

std::string_view cutAt(char separator, std::string_view &text) {
    const std::string_view first = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(first.size() + 1, text.size()));
    return first;
}

std::optional<size_t> positionOf(std::string_view text, std::string_view choices) {
    for (size_t position = 0; !choices.empty(); ++position) {
        if (cutAt('|', choices) == text)
            return position;
    }
    return std::nullopt;
}

std::optional<int64_t> integerOfDescription(std::string_view text) {
    const bool hexadecimal = skipHexPrefix(text);
    if (!hexadecimal)
        skipPlus(text);
    int64_t value = 0;
    const bool isNumber = leading(text, value, hexadecimal ? 16 : 10) == std::errc();
    return isNumber && text.empty() ? std::optional(value) : std::nullopt;
}

std::optional<double> floatOfDescription(std::string_view text) {
    const std::string_view whole = text;
    std::optional<double> value = leadingFloat(text);
    if (!value) {
        // Programs print the largest double so that it is a little beyond.
        text = whole;
        long double wide = 0;
        if (leading(text, wide) == std::errc())
            value = static_cast<double>(std::clamp<long double>(
                wide, std::numeric_limits<double>::lowest(), std::numeric_limits<double>::max()));
    }
    return text.empty() ? value : std::nullopt;
}

std::string textOf(int64_t value, Representation representation) {
    const auto bits = static_cast<uint64_t>(value);
    if (representation == Representation::Number)
        return written(value);
    if (representation == Representation::HexNumber)
        return "0x" + written(bits, 16);
    if (representation == Representation::Boolean)
        return value ? "true" : "false";
    const bool isMac = representation == Representation::MACAddress;
    std::string text;
    for (int shift = isMac ? 40 : 24; shift >= 0; shift -= 8) {
        const auto byte = static_cast<uint8_t>(bits >> shift);
        text += isMac ? hexByte(byte) : written(byte);
        text += shift == 0 ? "" : isMac ? ":" : ".";
    }
    return text;
}

std::optional<int64_t> integerOf(std::string_view text, Representation representation) {
    if (representation == Representation::Boolean)
        return text == "true" || text == "false" ? std::optional(text == "true") : std::nullopt;
    if (representation == Representation::IPV4Address)
        return bytesBetween(text, 4, '.', 10);
    if (representation == Representation::MACAddress)
        return bytesBetween(text, 6, ':', 16);
    text = withoutBlanks(text);
    constexpr int64_t most = std::numeric_limits<int64_t>::max();
    if (skipHexPrefix(text)) {
        uint64_t bits = 0;
        return leading(text, bits, 16) == std::errc() ? static_cast<int64_t>(bits) : most;
    }
    skipPlus(text);
    const bool negative = !text.empty() && text.front() == '-';
    int64_t value = 0;
    const std::errc error = leading(text, value);
    if (error == std::errc::invalid_argument)
        return std::nullopt;
    return error == std::errc() ? value : negative ? -most - 1 : most;
}

std::string textOf(double value, Notation notation, int64_t precision, double min, double max) {
    if (std::isnan(value))
        return "nan";
    const int digits = static_cast<int>(std::clamp<int64_t>(precision, 0, kMostDigits));
    const std::chars_format format = kFormats[static_cast<size_t>(notation)];
    const double infinity = std::numeric_limits<double>::infinity();
    const auto back = [&](const std::string &text) {
        return floatOf(text).value_or(std::copysign(infinity, value));
    };

    std::string text = written(value, format, digits);
    const bool isAbove = value <= max && back(text) > max;
    const bool isBelow = value >= min && back(text) < min;
    if (!isAbove && !isBelow)
        return text;

    const double first = std::floor(std::log10(std::abs(value))); // the place of the first digit
    const double last = notation == Notation::Fixed        ? -digits
                        : notation == Notation::Scientific ? first - digits
                                                           : first - std::max(digits, 1) + 1;
    const double step = std::pow(10.0, last);
    std::string moved = written(isAbove ? value - step : value + step, format, digits);
    return back(moved) >= min && back(moved) <= max ? moved : text;
}

std::optional<double> floatOf(std::string_view text) {
    text = withoutBlanks(text);
    const std::optional<double> value = leadingFloat(text);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<bool> booleanOf(std::string_view text) {
    text = withoutBlanks(text);
    const bool value = text == "1" || text == "true";
    return value || text == "0" || text == "false" ? std::optional(value) : std::nullopt;
}

std::string textOf(const std::vector<uint8_t> &bytes) {
    std::string text = "0x";
    for (uint8_t byte : bytes)
        text += hexByte(byte);
    return text;
}

std::optional<std::vector<uint8_t>> bytesOf(std::string_view text) {
    skipHexPrefix(text);
    if (text.empty() || text.size() % 2 != 0 || !std::all_of(text.begin(), text.end(), isHexDigit))
        return std::nullopt;
    std::vector<uint8_t> bytes;
    bytes.reserve(text.size() / 2);
    for (; !text.empty(); text.remove_prefix(2)) {
        uint8_t byte = 0;
        std::from_chars(text.data(), text.data() + 2, byte, 16);
        bytes.push_back(byte);
    }
    return bytes;
}

} // namespace genapi
