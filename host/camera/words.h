/** How commands say what went wrong. */
#ifndef KXINFO_HOST_CAMERA_WORDS_H
#define KXINFO_HOST_CAMERA_WORDS_H

#include <string>

#include "messages.h"
#include "requests.h"

namespace kxinfo {

/** Ends a command: what it ends with, and why, as sentences for the user. */
struct CommandError {
    ExitStatus status;
    std::string text;
};

/**
 * Why the exception that is being handled was raised, as a clause: the camera's own reason, without
 * its place in a source file, or this computer's. On the camera maker's framework exceptions of the
 * camera are no std::exception.
 *
 * \pre called while an exception is handled
 */
std::string reasonInFlight();

/** Result codes of the camera class that all of its operations share, in words. */
std::string meaningOf(int code);

/** A text from a file, for a message: what is long is cut after some 40 bytes. */
std::string shortened(const std::string &text);

} // namespace kxinfo

#endif
