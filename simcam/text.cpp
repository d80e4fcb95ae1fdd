#include "text.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <numeric>
#include <utility>

namespace simcam {

namespace {

// Names are shorter; comparing longer ones would take its time.
constexpr size_t kLongestName = 64;

// How many letters have to be changed, added or left out to make one name of the other.
size_t distance(const std::string &left, const std::string &right) {
    std::vector<size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    for (size_t i = 0; i < left.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i + 1);
        for (size_t j = 0; j < right.size(); ++j) {
            const size_t changed = diagonal + (lower(left[i]) == lower(right[j]) ? 0 : 1);
            diagonal = std::exchange(row[j + 1], std::min({changed, row[j] + 1, row[j + 1] + 1}));
        }
    }
    return row.back();
}

std::string escaped(const std::string &text, const std::string &others) {
    std::string clean;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isPrintable = c >= ' ' && c <= '~';
        char code[8];
        std::snprintf(code, sizeof code, "\\x%02X", byte);
        clean += isPrintable && others.find(c) == std::string::npos ? std::string(1, c) : code;
    }
    return clean;
}

} // namespace

std::string oneOf(const std::vector<std::string> &names) {
    std::string text;
    for (size_t i = 0; i < names.size(); ++i) {
        if (i > 0)
            text += i + 1 == names.size() ? " or " : ", ";
        text += names[i];
    }
    return text;
}

std::string didYouMean(const std::string &written, const std::vector<std::string> &names) {
    constexpr size_t kShown = 3;
    const size_t furthest = std::max(written.size() / 3, size_t{2});
    std::vector<std::pair<size_t, std::string>> near;
    for (const std::string &name : names) {
        if (std::max(written.size(), name.size()) > kLongestName)
            continue;
        const size_t far = distance(written, name);
        if (far <= furthest)
            near.emplace_back(far, name);
    }
    std::sort(near.begin(), near.end());
    near.erase(std::unique(near.begin(), near.end()), near.end());
    std::vector<std::string> shown;
    for (size_t i = 0; i < std::min(near.size(), kShown); ++i)
        shown.push_back(near[i].second);
    return shown.empty() ? "." : ", did you mean " + oneOf(shown) + "?";
}

std::string printable(const std::string &text) {
    return escaped(text, "");
}

std::string quoted(const std::string &text) {
    return '"' + escaped(text, "\"\\") + '"';
}

} // namespace simcam
