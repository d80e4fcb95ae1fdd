#include "gvcp/url.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>
#include <utility>

#include "gvcp/error.h"
#include "gvcp/memory.h"
#include "gvcp/printable.h"

namespace gvcp {
namespace {

constexpr char kExpected[] = "expected Local:NAME;ADDRESS;LENGTH with hexadecimal numbers";
// What 64 bits hold. All that is to be told of a number with more is that it has more.
constexpr size_t kMostDigits = 16;

static_assert(kUrlRegisterSize <= kLargestBlock, "a URL is read by one command");

[[noreturn]] void refuse(const std::string &why) {
    throw Error(Cause::Description, why);
}

std::string_view trimmed(std::string_view text) {
    constexpr char kBlanks[] = " \t\r\n";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Whether \p text begins with \p prefix, which is in small letters; if so, it is taken off.
bool take(std::string_view &text, std::string_view prefix) {
    if (text.size() < prefix.size())
        return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        const char c = text[i];
        if ((c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c) != prefix[i])
            return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

// The text up to the next ';', which is taken off with it; nothing when there is none.
std::optional<std::string_view> takePart(std::string_view &text) {
    const size_t end = text.find(';');
    if (end == std::string_view::npos)
        return std::nullopt;
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(end + 1);
    return part;
}

std::string hex(uint64_t number) {
    char text[2 + kMostDigits + 1];
    snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(number));
    return text;
}

uint64_t numberFrom(std::string_view text, const std::string &what) {
    std::string_view digits = trimmed(text);
    take(digits, "0x");
    if (digits.empty())
        refuse("its " + what + " is missing; " + kExpected);
    if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string_view::npos)
        refuse("its " + what + " " + quoted(digits) + " is no hexadecimal number");
    if (digits.size() > kMostDigits)
        refuse("its " + what + " has " + std::to_string(digits.size()) +
               " digits, expected at most " + std::to_string(kMostDigits));
    uint64_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    return number;
}

} // namespace

std::string readUrl(Memory &camera, uint32_t address) {
    std::string text(kUrlRegisterSize, '\0');
    camera.read(address, reinterpret_cast<uint8_t *>(text.data()), text.size());
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

LocalUrl parseUrl(std::string text) {
    std::string_view rest = trimmed(text);
    if (rest.empty())
        refuse("it is empty");
    if (take(rest, "file:"))
        refuse("it names a file, and files are never opened for a camera");
    if (take(rest, "http:") || take(rest, "https:") || take(rest, "ftp:"))
        refuse("it names a place on the network, and such places are never opened for a camera");
    if (!take(rest, "local:"))
        refuse(quoted(rest) + " is not of a kind that is known; " + kExpected);

    const auto name = takePart(rest);
    const auto addressText = name ? takePart(rest) : std::nullopt;
    if (!addressText)
        refuse(quoted(trimmed(text)) + " has fewer than three parts; " + kExpected);
    const uint64_t address = numberFrom(*addressText, "address");
    const uint64_t size = numberFrom(rest.substr(0, rest.find('?')), "length");

    if (size == 0 || size > kLargestDescription)
        refuse("its length is " + std::to_string(size) + " bytes; expected 1 to " +
               std::to_string(kLargestDescription));
    constexpr uint64_t kEnd = uint64_t{1} << 32;
    if (address > kEnd - size)
        refuse("its address " + hex(address) + " and length " + hex(size) +
               " lead beyond an address space of 32 bits");
    return {std::move(text), static_cast<uint32_t>(address), static_cast<uint32_t>(size)};
}

} // namespace gvcp
