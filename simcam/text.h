#ifndef KXINFO_SIMCAM_TEXT_H
#define KXINFO_SIMCAM_TEXT_H

#include <string>
#include <vector>

/** What is said to people. */
namespace simcam {

/** "Off", "Off or Active", "Red, Green or Blue". */
std::string oneOf(const std::vector<std::string> &names);

/**
 * ", did you mean Width or Height?", of names that are like what was written, whatever their case,
 * the likest first; "." when there is none.
 */
std::string didYouMean(const std::string &written, const std::vector<std::string> &names);

/**
 * A text from elsewhere, fit for a terminal and for one line of a file: what is no printable
 * character stands there as "\x1B".
 */
std::string printable(const std::string &text);

/** printable(), in quotation marks, which are escaped within, too. */
std::string quoted(const std::string &text);

} // namespace simcam

#endif
