/** How commands say what went wrong. */
#ifndef KXINFO_HOST_CAMERA_WORDS_H
#define KXINFO_HOST_CAMERA_WORDS_H

#include <exception>
#include <string>

#include "messages.h"
#include "requests.h"

namespace kxinfo {

/** Ends a command: what it ends with, and why, as sentences for the user. */
struct CommandError {
    ExitStatus status;
    std::string text;
};

/** The camera's own reason, as the platform raised it, without its place in a source file. */
std::string reasonOf(const std::exception &error);

/** Result codes of the camera class that all of its operations share, in words. */
std::string meaningOf(int code);

/** A text from a file, for a message: what is long is cut after some 40 bytes. */
std::string shortened(const std::string &text);

} // namespace kxinfo

#endif
