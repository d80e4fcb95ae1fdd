/** Sentences for the user. */
#ifndef KXINFO_HOST_MESSAGES_H
#define KXINFO_HOST_MESSAGES_H

#include <string>

#include "plugin.h"

namespace kxinfo {

/** Writes sentences to standard error, after "kxinfo: ". */
void tell(const std::string &sentences);

/** What is said when the plug-in finds no camera. */
extern const char *const kNoDalsaCamera;

/**
 * Tells what is wrong with a call that did not return 0 or 1.
 *
 * \return the exit status for it
 */
int tellFailure(const Outcome &outcome);

} // namespace kxinfo

#endif
