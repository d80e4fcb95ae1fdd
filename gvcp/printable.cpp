#include "gvcp/printable.h"

#include <algorithm>
#include <cstddef>

namespace gvcp {
namespace {

constexpr size_t kLongestQuote = 60;

} // namespace

std::string quoted(std::string_view text) {
    std::string shown(text.substr(0, kLongestQuote));
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return "'" + shown + (text.size() > kLongestQuote ? "...'" : "'");
}

} // namespace gvcp
