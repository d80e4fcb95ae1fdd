/** What the user asks for. */
#ifndef KXINFO_HOST_COMMAND_LINE_H
#define KXINFO_HOST_COMMAND_LINE_H

#include <optional>
#include <string>
#include <variant>

namespace kxinfo {

/** kxinfo's exit statuses, which --help and docs/host-guide.md explain. */
enum ExitStatus { kDone = 0, kNoCamera = 1, kWrongUsage = 2, kFailed = 3 };

struct Request {
    enum class Command { List, Probe } command;
    std::string serial;                ///< of a probe: how the camera's serial number begins
    bool json = false;                 ///< of a probe: the result as JSON, alone on standard output
    int logMode = 0;                   ///< sinks of the plug-in's log, as for Vendor__Proc()
    int logLevel = 0;                  ///< its level, as for Vendor__Proc(); 0: none was asked for
    std::optional<std::string> plugin; ///< library file; none: the one that kxinfo comes with
};

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
