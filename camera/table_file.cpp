#include "camera/lookup_table.h"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <string_view>

#include "cli/text.h"

namespace kxinfo {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr const char *kBlanks = " \t\r";

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

int wholeNumber(std::string_view digits, const std::string &name, int line) {
    digits = trimmed(digits);
    int value = 0;
    const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || stop != digits.data() + digits.size())
        throw wrongLine(name, line,
                        '"' + shortened(cleaned(digits)) +
                            "\" is no whole number; expected is one value, or index,value.");
    return value;
}

} // namespace

Error wrongLine(const std::string &file, int line, const std::string &what) {
    return {kWrongUsage, file + ", line " + std::to_string(line) + ": " + what};
}

TableFile readTable(const std::string &text, const std::string &name) {
    const bool marked = text.compare(0, kByteOrderMark.size(), kByteOrderMark) == 0;
    std::istringstream lines(marked ? text.substr(kByteOrderMark.size()) : text);
    TableFile table;
    std::vector<int> lineOf(kMostTableEntries); // of an index; 0: it has not been there
    int number = 0;
    const auto wrong = [&](const std::string &what) { return wrongLine(name, number, what); };
    for (std::string whole; std::getline(lines, whole);) {
        ++number;
        const std::string_view line = trimmed(std::string_view(whole).substr(0, whole.find('#')));
        const size_t comma = line.find_first_of(",;");
        const size_t separator = comma != line.npos ? comma : line.find_first_of(kBlanks);
        const bool single = separator == line.npos;
        const bool isHeading = table.entries.empty() && !single &&
                               sameWord(trimmed(line.substr(0, separator)), "index");
        if (line.empty() || isHeading)
            continue;
        if (!table.entries.empty() && single != table.whole)
            throw wrong(table.whole ? "index and value, but the lines before hold one value each."
                                    : "one value, but the lines before hold index,value.");
        table.whole = single;
        const int index = single ? static_cast<int>(table.entries.size())
                                 : wholeNumber(line.substr(0, separator), name, number);
        const int value = wholeNumber(single ? line : line.substr(separator + 1), name, number);
        if (index < 0 || index >= kMostTableEntries)
            throw wrong("index " + std::to_string(index) + " is outside 0 to " +
                        std::to_string(kMostTableEntries - 1) + "; no camera has a longer table.");
        int &before = lineOf[static_cast<size_t>(index)];
        if (before)
            throw wrong("index " + std::to_string(index) + " stands in line " +
                        std::to_string(before) + " already.");
        before = number;
        table.entries.push_back({index, value, number});
    }
    if (table.entries.empty())
        throw Error(kWrongUsage, '"' + name + "\" holds no values. " + kExpectedTable);
    return table;
}

} // namespace kxinfo
