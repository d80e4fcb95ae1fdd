/** Sentences for the user. */
#ifndef KXINFO_HOST_MESSAGES_H
#define KXINFO_HOST_MESSAGES_H

#include <string>
#include <vector>

#include "plugin.h"

namespace kxinfo {

/**
 * Writes sentences to standard error as one line, after "kxinfo: ", and below it a list of lines,
 * indented.
 *
 * Names that a file, a camera or a user has given stand in them. None of these may move the cursor
 * or pass for a line of kxinfo's own: what is no printable text is shown as "\n", "\x1b".
 */
void tell(const std::string &sentences, const std::vector<std::string> &list = {});

/** What is said when the plug-in finds no camera. */
extern const char *const kNoDalsaCamera;

/** How to learn more when the plug-in fails. */
constexpr const char *kHintOfLog = "Add '--log stdout --level debug' to see how far it came.";

/**
 * Tells what is wrong with a call that did not return 0 or 1.
 *
 * \param hint  how the user learns more, as a sentence
 * \return the exit status for it
 */
int tellFailure(const Outcome &outcome, const std::string &hint = kHintOfLog);

} // namespace kxinfo

#endif
