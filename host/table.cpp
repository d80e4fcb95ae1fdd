#include "table.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

namespace kxinfo {

namespace {

// Characters, not bytes: of a UTF-8 sequence only the first byte is counted.
size_t widthOf(const std::string &text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

std::string padding(const std::string &text, size_t width) {
    return std::string(width - std::min(width, widthOf(text)), ' ');
}

} // namespace

const char *nameOfNonNumber(float value) {
    if (std::isnan(value))
        return "NaN";
    return value > 0 ? "Infinity" : "-Infinity";
}

std::string numberText(float value) {
    if (!std::isfinite(value))
        return nameOfNonNumber(value);
    if (value == 0)
        return "0"; // of either sign
    const float magnitude = std::fabs(value);
    const bool manyDigits = magnitude >= 999999.5f && magnitude < 1e9f;
    char text[64];
    const auto end =
        manyDigits
            ? std::to_chars(std::begin(text), std::end(text), value, std::chars_format::fixed, 0)
            : std::to_chars(std::begin(text), std::end(text), value, std::chars_format::general, 6);
    return std::string(text, end.ptr);
}

std::string choicesText(const std::vector<std::string> &choices) {
    std::string text;
    for (const auto &choice : choices)
        text += (text.empty() ? "one of " : ", ") + choice;
    return text.empty() ? kNone : text;
}

std::string tableText(const std::vector<Row> &rows) {
    std::vector<size_t> widths;
    for (const Row &row : rows) {
        const size_t aligned = row.cells.empty() ? 0 : row.cells.size() - 1;
        widths.resize(std::max(widths.size(), aligned));
        for (size_t column = 0; column < aligned; ++column)
            widths[column] = std::max(widths[column], widthOf(row.cells[column]));
    }

    std::string text;
    for (const Row &row : rows) {
        for (size_t column = 0; column < row.cells.size(); ++column) {
            const std::string &cell = row.cells[column];
            if (column + 1 == row.cells.size())
                text += cell;
            else if (column == 0)
                text += cell + padding(cell, widths[column]) + "  ";
            else
                text += padding(cell, widths[column]) + cell + "  ";
        }
        text += '\n';
    }
    return text;
}

} // namespace kxinfo
