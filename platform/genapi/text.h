/** Characters, and numbers as texts: those of a description, those that people read and type. */
#ifndef KXINFO_GENAPI_TEXT_H
#define KXINFO_GENAPI_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace genapi {

// Kinds of characters, whatever the locale.

inline constexpr auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
inline constexpr auto isHexDigit = [](char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
};
inline constexpr auto beginsName = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
};
inline constexpr auto isInName = [](char c) { return beginsName(c) || isDigit(c) || c == '.'; };
inline constexpr auto isBlank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
/** A byte of UTF-8 that is not a character's first. */
inline constexpr auto continuesCharacter = [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
};

/** How an integer is shown. */
enum class Representation { Number, HexNumber, Boolean, IPV4Address, MACAddress };
/** How a float is shown. */
enum class Notation { Automatic, Fixed, Scientific };

/** What stands before the first \p separator; removes that and the separator from \p text. */
std::string_view cutAt(char separator, std::string_view &text);
/** Which of \p choices, parted by bars, the text is; nothing: none of them. */
std::optional<size_t> positionOf(std::string_view text, std::string_view choices);

/** The same as one of an enumeration's, or its first when it is none of them. */
template <class Enumeration>
Enumeration choiceOf(std::string_view text, std::string_view choices) {
    return static_cast<Enumeration>(positionOf(text, choices).value_or(0));
}

/** A number as descriptions have it: decimal or 0x…, without blanks, at most 2^63-1. */
std::optional<int64_t> integerOfDescription(std::string_view text);
/** A number as C has it (also INF, in any case), in the range of a double, without blanks. */
std::optional<double> floatOfDescription(std::string_view text);

/** As a node shows it; addresses are the lowest 32 or 48 bits. */
std::string textOf(int64_t value, Representation representation);
/**
 * As a node takes it; nothing when it is none. An address has to be one to the last character, a
 * Boolean is true or false. The others begin with a decimal number, or with 0x and up to 64 bits;
 * what follows it does not count, nor do blanks before it. Beyond 64 bits it is the nearest there.
 */
std::optional<int64_t> integerOf(std::string_view text, Representation representation);

/**
 * As a node shows it. The last digit is moved inwards where rounding would leave \p min to \p max.
 *
 * \param precision  significant digits (Automatic) or decimals; any value, taken as 0 to 40
 */
std::string textOf(double value, Notation notation, int64_t precision, double min, double max);
/**
 * As a node takes it: finite; nothing when it is none. It begins with a number as C has it, with a
 * decimal point in every locale; what follows does not count, nor do blanks before it.
 */
std::optional<double> floatOf(std::string_view text);

/** 0, 1, true or false, blanks around it allowed. */
std::optional<bool> booleanOf(std::string_view text);

/** 0x and two lower-case digits per byte. */
std::string textOf(const std::vector<uint8_t> &bytes);
/** Hexadecimal digits, two per byte, 0x before them optional; nothing when it is none. */
std::optional<std::vector<uint8_t>> bytesOf(std::string_view text);

} // namespace genapi

#endif
