/** Texts and tables for people, and what ends a command with a text. */
#ifndef KXINFO_CLI_TEXT_H
#define KXINFO_CLI_TEXT_H

#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kxinfo {

/** Exit statuses, which --help, the manual page and docs/commands.md explain. */
enum ExitStatus { kDone = 0, kNoCamera = 1, kWrongUsage = 2, kFailed = 3 };

/** What is said when nobody answers. */
constexpr const char *kNoDalsaCamera =
    "no Dalsa camera answered. Check that the camera has power, is on this computer's network, and "
    "that no firewall keeps its answer away; then try again.";

/** All parts in one text; numbers with three digits. \throws std::bad_alloc */
template <class... Parts>
std::string say(const Parts &...parts) {
    std::ostringstream text;
    text.exceptions(std::ios::badbit);
    text.precision(3);
    (text << ... << parts);
    return text.str();
}

/** Ends a command: what it ends with, and why, as sentences for the user, of parts as of say(). */
class Error : public std::runtime_error {
public:
    template <class First, class... Rest>
    Error(ExitStatus status, const First &first, const Rest &...rest)
        : std::runtime_error(say(first, rest...)), status_(status) {}

    ExitStatus status() const { return status_; }

private:
    ExitStatus status_;
};

using Words = std::vector<std::string>;

/** Writes sentences to standard error, behind "kxinfo: ", in one line; or parts, as of say(). */
void tell(const std::string &sentences);
template <class First, class... Rest>
void tell(const First &first, const Rest &...rest) {
    tell(say(first, rest...));
}

/**
 * A text of whatever origin with nothing in it that acts on a terminal or a log: what is no
 * printable character stands as \n, \x1b or \u202e. To be called where such a text enters.
 */
std::string cleaned(std::string_view text);

/** What is long is cut after so many bytes, at a character's end. For quoting in messages. */
std::string shortened(const std::string &text, size_t end = 40);

/** "a, b or c". */
std::string joined(const Words &words, const char *last = " or ", const char *others = ", ");

/** "a, b and c"; of more than nine eight, and how many more there are. */
std::string joinedBriefly(Words words);

std::string lowered(std::string_view text);
bool sameWord(std::string_view a, std::string_view b); ///< whatever the capitals

/** " Did you mean a or b?" with the nearest of the candidates; empty when none is near. */
std::string didYouMean(const std::string &word, const Words &candidates);

/** What stands where there is no value. */
constexpr const char *kNone = "-";

/** "NaN", "Infinity" or "-Infinity". */
const char *nameOfNonNumber(double value);

/**
 * Six significant digits, and all that stand before the decimal point unless they run long. A
 * person needs no more, and the noise of single precision (6.0206003 dB) stays out of sight.
 */
std::string numberText(double value);

/** A row of a table. */
struct Row {
    /** One or more. Where they are fewer than columns, the last fills the rest of the line. */
    Words cells;
    /** Cells from the second one on that are aligned right, as numbers are. */
    bool numbers = true;
};

/**
 * The rows as lines with aligned columns, two blanks apart. The first column and every last cell
 * are aligned left. The last cell of a row counts for no column's width, and on a terminal it is
 * cut where the line ends.
 */
std::string tableText(const std::vector<Row> &rows);

/** "one of A, B, C"; kNone when there is nothing to choose. */
std::string choicesText(const Words &choices);

} // namespace kxinfo

#endif
