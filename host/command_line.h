/** Reads what the user asks for. */
#ifndef KXINFO_HOST_COMMAND_LINE_H
#define KXINFO_HOST_COMMAND_LINE_H

#include <string>
#include <variant>

#include "requests.h"

namespace kxinfo {

/** A text that the user asked for (help, version) instead of a run. */
struct Information {
    std::string text;
};

/** What is wrong with the command line, as sentences for the user. */
struct UsageError {
    std::string text;
};

std::variant<Request, Information, UsageError> readCommandLine(int argc, char **argv);

} // namespace kxinfo

#endif
