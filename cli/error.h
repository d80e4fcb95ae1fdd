/** The one type of error that ends a command, and the statuses that programs end with. */
#ifndef KXINFO_CLI_ERROR_H
#define KXINFO_CLI_ERROR_H

#include <stdexcept>
#include <string>

namespace kxinfo {

/** Exit statuses, which --help, the manual page and docs/commands.md explain. */
enum ExitStatus { kDone = 0, kNoCamera = 1, kWrongUsage = 2, kFailed = 3 };

/** What is said when nobody answers. */
constexpr const char *kNoDalsaCamera =
    "no Dalsa camera answered. Check that the camera has power, is on this computer's network, and "
    "that no firewall keeps its answer away; then try again.";

/** Ends a command: what it ends with, and why, as sentences for the user. */
class Error : public std::runtime_error {
public:
    Error(ExitStatus status, const std::string &sentences)
        : std::runtime_error(sentences), status_(status) {}

    ExitStatus status() const { return status_; }

private:
    ExitStatus status_;
};

} // namespace kxinfo

#endif
