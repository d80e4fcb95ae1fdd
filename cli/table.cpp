#include "cli/text.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>

namespace kxinfo {

namespace {

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

} // namespace

std::string tableText(const std::vector<Row> &rows) {
    std::vector<size_t> widths;
    for (const Row &row : rows) {
        widths.resize(std::max(widths.size(), row.cells.size()));
        for (size_t column = 0; column + 1 < row.cells.size(); ++column)
            widths[column] = std::max(widths[column], widthOf(row.cells[column]));
    }

    const size_t columns = columnsOfOutput();
    std::string text;
    for (const Row &row : rows) {
        std::string line;
        for (size_t column = 0; column + 1 < row.cells.size(); ++column) {
            const std::string &cell = row.cells[column];
            const std::string padding(widths[column] - widthOf(cell), ' ');
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
