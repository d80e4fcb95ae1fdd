#include "cli/text.h"

#include <locale.h>
#include <strings.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <iterator>
#include <map>
#include <numeric>

namespace kxinfo {

namespace {

struct Character {
    size_t size; // in bytes; 0: none that could be printed
    char32_t code;
};

// What a text in UTF-8 begins with. Longer forms than needed, surrogates and controls are none.
Character firstOf(std::string_view text) {
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const locale_t present = uselocale(utf8);
    wchar_t code = 0;
    mbstate_t state = {};
    const size_t size = mbrtowc(&code, text.data(), text.size(), &state);
    (void)uselocale(present);
    const bool printable =
        size <= text.size() && code >= 0x20 && (code < 0x7F || code >= 0xA0) && code <= 0x10FFFF;
    return {printable ? size : 0, static_cast<char32_t>(code)};
}

// Characters that are printable and yet act on what is around them, or cannot be seen: directions of
// writing, line and paragraph separators, joiners, blanks without width, tags, private use.
bool actsUnseen(char32_t c) {
    constexpr struct {
        char32_t first, last;
    } kRanges[] = {{0xAD, 0xAD},     {0x061C, 0x061C},   {0x115F, 0x1160},   {0x180B, 0x180F},
                   {0x200B, 0x200F}, {0x2028, 0x202E},   {0x2060, 0x206F},   {0x3164, 0x3164},
                   {0xE000, 0xF8FF}, {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFF0, 0xFFFB},
                   {0xFFFE, 0xFFFF}, {0xE0000, 0xE0FFF}, {0xF0000, 0x10FFFF}};
    return std::any_of(std::begin(kRanges), std::end(kRanges),
                       [c](const auto &range) { return range.first <= c && c <= range.last; });
}

// Letters that have to be put in, taken out or changed to make one text of the other.
size_t distanceOf(const std::string &a, const std::string &b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

bool startsCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80;
}

// Characters, not bytes: of a UTF-8 sequence only the first byte is counted.
size_t widthOf(const std::string &text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), startsCharacter));
}

// Columns of the terminal on standard output; elsewhere a line may have any length.
size_t columnsOfOutput() {
    winsize size{};
    const bool isTerminal = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isTerminal ? size.ws_col : SIZE_MAX;
}

std::string cutTo(size_t columns, const std::string &line) {
    if (widthOf(line) <= columns)
        return line;
    size_t end = 0;
    for (size_t begun = 0; begun < columns; ++end)
        begun += startsCharacter(line[end]);
    return line.substr(0, end - 1) + "…";
}

// What is wider stands out of its column, so that one cell makes no others wide.
constexpr size_t kWidestColumn = 120;

constexpr size_t kLongestGuess = 64; // what is longer was not meant for a name
constexpr size_t kMostGuesses = 3;

} // namespace

void tell(const std::string &sentences) {
    (void)fprintf(stderr, "kxinfo: %s\n", cleaned(sentences).c_str());
}

std::string cleaned(std::string_view text) {
    std::string result;
    const auto isPlain = [](char c) { return c >= ' ' && c <= '~'; };
    for (;;) {
        const size_t plain =
            static_cast<size_t>(std::find_if_not(text.begin(), text.end(), isPlain) - text.begin());
        result += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
            return result;
        const auto [size, code] = firstOf(text);
        char escape[16] = "";
        if (size > 0 && actsUnseen(code))
            (void)snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(code));
        else if (text[0] == '\n' || text[0] == '\t')
            (void)snprintf(escape, sizeof escape, text[0] == '\n' ? "\\n" : "\\t");
        else if (size == 0)
            (void)snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned char>(text[0]));
        result += *escape ? escape : text.substr(0, size);
        text.remove_prefix(std::max<size_t>(size, 1));
    }
}

std::string shortened(const std::string &text, size_t end) {
    if (text.size() <= end)
        return text;
    while (end > 0 && !startsCharacter(text[end]))
        --end; // inside a character
    return text.substr(0, end) + "...";
}

std::string joined(const Words &words, const char *last, const char *others) {
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : &word == &words.back() ? last : others) + word;
    return text;
}

std::string joinedBriefly(Words words) {
    constexpr size_t kMost = 8;
    if (words.size() > kMost + 1) {
        words[kMost] = std::to_string(words.size() - kMost) + " more";
        words.resize(kMost + 1);
    }
    return joined(words, " and ");
}

std::string lowered(std::string_view text) {
    std::string lower(text);
    for (char &c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

bool sameWord(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::string didYouMean(const std::string &word, const Words &candidates) {
    const std::string wanted = lowered(word);
    if (wanted.empty() || wanted.size() > kLongestGuess)
        return "";
    std::multimap<size_t, std::string> guesses; // by their distance
    for (const std::string &name : candidates) {
        const std::string lower = lowered(name);
        const bool longEnough = wanted.size() >= 3;
        size_t distance = distanceOf(wanted, lower);
        // Also of its beginning: whoever writes "gamme" means gammaCorrection.
        if (longEnough)
            distance = std::min(distance, 1 + distanceOf(wanted, lower.substr(0, wanted.size())));
        if (distance <= std::max<size_t>(2, wanted.size() / 3))
            guesses.emplace(distance, name);
        else if (longEnough && lower.find(wanted) != lower.npos)
            guesses.emplace(wanted.size(), name);
    }
    Words names;
    for (const auto &[distance, name] : guesses)
        if (names.size() < kMostGuesses)
            names.push_back(name);
    return names.empty() ? "" : " Did you mean " + joined(names) + "?";
}

const char *nameOfNonNumber(double value) {
    if (std::isnan(value))
        return "NaN";
    return value > 0 ? "Infinity" : "-Infinity";
}

std::string numberText(double value) {
    if (!std::isfinite(value))
        return nameOfNonNumber(value);
    if (value == 0)
        return "0"; // of either sign
    const double magnitude = std::fabs(value);
    const bool manyDigits = magnitude >= 999999.5 && magnitude < 1e9;
    char text[64];
    const auto form = manyDigits ? std::chars_format::fixed : std::chars_format::general;
    return {text, std::to_chars(text, std::end(text), value, form, manyDigits ? 0 : 6).ptr};
}

std::string tableText(const std::vector<Row> &rows) {
    std::vector<size_t> widths;
    for (const Row &row : rows) {
        widths.resize(std::max(widths.size(), row.cells.size()));
        for (size_t column = 0; column + 1 < row.cells.size(); ++column)
            if (const size_t width = widthOf(row.cells[column]); width <= kWidestColumn)
                widths[column] = std::max(widths[column], width);
    }

    const size_t columns = columnsOfOutput();
    std::string text;
    for (const Row &row : rows) {
        std::string line;
        for (size_t column = 0; column + 1 < row.cells.size(); ++column) {
            const std::string &cell = row.cells[column];
            const size_t width = std::max(widths[column], widthOf(cell));
            const std::string padding(width - widthOf(cell), ' ');
            line += (column > 0 && row.numbers ? padding + cell : cell + padding) + "  ";
        }
        text += cutTo(columns, line + row.cells.back()) + '\n';
    }
    return text;
}

std::string choicesText(const Words &choices) {
    return choices.empty() ? kNone : "one of " + joined(choices, ", ");
}

} // namespace kxinfo
