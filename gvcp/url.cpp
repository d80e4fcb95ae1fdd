#include "gvcp/document.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>
#include <utility>

#include "gvcp/error.h"
#include "gvcp/packets.h"

namespace gvcp {
namespace {

constexpr char kExpected[] = "expected Local:NAME;ADDRESS;LENGTH with hexadecimal numbers";
// The rest of what is shown of a camera's text says nothing more.
constexpr size_t kLongestQuote = 60;

static_assert(kUrlRegisterSize <= kLargestBlock, "a URL is read by one command");

[[noreturn]] void refuse(const std::string &why) {
    throw Error(Cause::Description, why);
}

std::string_view trimmed(std::string_view text) {
    constexpr char kBlanks[] = " \t\r\n";
    text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
    return text.substr(std::min(text.find_first_not_of(kBlanks), text.size()));
}

std::string quoted(std::string_view text) {
    return "'" + printable(text.substr(0, kLongestQuote)) +
           (text.size() > kLongestQuote ? "...'" : "'");
}

// Whether \p text begins with \p prefix, in any capitals; if so, it is taken off.
bool take(std::string_view &text, std::string_view prefix) {
    if (text.size() < prefix.size() || strncasecmp(text.data(), prefix.data(), prefix.size()) != 0)
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

uint64_t numberFrom(std::string_view text, const std::string &what) {
    std::string_view digits = trimmed(text);
    take(digits, "0x");
    if (digits.empty())
        refuse("its " + what + " is missing; " + kExpected);
    uint64_t number = 0;
    const char *end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, 16);
    if (stop != end || error != std::errc())
        refuse("its " + what + " " + quoted(digits) + " is no hexadecimal number of 64 bits");
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
    if (!take(rest, "local:"))
        refuse(quoted(rest) + " does not lie in its own memory, and nothing else is ever opened; " +
               kExpected);

    const size_t name = rest.find(';');
    const size_t addressEnd = rest.find(';', name + 1);
    if (name == rest.npos || addressEnd == rest.npos)
        refuse(quoted(trimmed(text)) + " has fewer than three parts; " + kExpected);
    const uint64_t address = numberFrom(rest.substr(name + 1, addressEnd - name - 1), "address");
    rest.remove_prefix(addressEnd + 1);
    const uint64_t size = numberFrom(rest.substr(0, rest.find('?')), "length");

    if (size == 0 || size > kLargestDescription)
        refuse("its length is " + std::to_string(size) + " bytes; expected 1 to " +
               std::to_string(kLargestDescription));
    constexpr uint64_t kEnd = uint64_t{1} << 32;
    if (address > kEnd - size)
        refuse("its address and length lead beyond an address space of 32 bits");
    return {std::move(text), static_cast<uint32_t>(address), static_cast<uint32_t>(size)};
}

} // namespace gvcp
