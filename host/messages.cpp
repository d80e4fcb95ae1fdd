#include "messages.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "requests.h"

namespace kxinfo {

namespace {

bool isBetween(unsigned char byte, unsigned char first, unsigned char last) {
    return first <= byte && byte <= last;
}

// How many bytes the printable character takes that a text begins with, in UTF-8; 0: it begins with
// none. The second byte's range rules out longer forms than needed, surrogates, and the controls
// U+0080 to U+009F.
size_t printableBytes(std::string_view text) {
    const auto byte = [&](size_t i) -> unsigned char {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
    };
    const unsigned char lead = byte(0);
    if (lead < 0x80)
        return isBetween(lead, 0x20, 0x7E) ? 1 : 0;
    const size_t size = isBetween(lead, 0xC2, 0xDF)   ? 2
                        : isBetween(lead, 0xE0, 0xEF) ? 3
                        : isBetween(lead, 0xF0, 0xF4) ? 4
                                                      : 0;
    const unsigned char first = lead == 0xC2 || lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char last = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (size == 0 || !isBetween(byte(1), first, last))
        return 0;
    for (size_t i = 2; i < size; ++i)
        if (!isBetween(byte(i), 0x80, 0xBF))
            return 0;
    return size;
}

std::string printable(std::string_view text) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string result;
    while (!text.empty()) {
        const size_t size = printableBytes(text);
        const auto byte = static_cast<unsigned char>(text.front());
        if (size > 0)
            result += text.substr(0, size);
        else if (byte == '\n' || byte == '\t')
            result += byte == '\n' ? "\\n" : "\\t";
        else
            result += {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 15U]};
        text.remove_prefix(std::max<size_t>(size, 1));
    }
    return result;
}

} // namespace

const char *const kNoDalsaCamera =
    "no Dalsa camera answered. Check that the camera has power, is on this computer's network, and "
    "that no firewall keeps its answer away; then try again.";

void tell(const std::string &sentences, const std::vector<std::string> &list) {
    std::string text = "kxinfo: " + printable(sentences) + "\n";
    for (const std::string &line : list)
        text += "  " + printable(line) + "\n";
    (void)fputs(text.c_str(), stderr);
}

int tellFailure(const Outcome &outcome, const std::string &hint) {
    if (outcome.exception) {
        tell("the plug-in failed with an exception: " + *outcome.exception + ". " + hint);
        return kFailed;
    }
    const std::string code = std::to_string(outcome.code);
    if (outcome.code < 0) {
        tell("the plug-in failed: it returned " + code + ". " + hint);
        return kFailed;
    }
    tell("the plug-in returned " + code +
         ", expected was 0, 1 or a negative number; taken as: no camera. Check that --plugin names "
         "a plug-in that fits this kxinfo.");
    return kNoCamera;
}

} // namespace kxinfo
