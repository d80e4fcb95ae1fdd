#include "gvcp/printable.h"

#include <algorithm>
#include <cstddef>

namespace gvcp {
namespace {

constexpr size_t kLongestQuote = 60;

} // namespace

std::string printable(std::string_view text) {
    std::string shown(text);
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return shown;
}

std::string quoted(std::string_view text) {
    return "'" + printable(text.substr(0, kLongestQuote)) +
           (text.size() > kLongestQuote ? "...'" : "'");
}

} // namespace gvcp
