/** What kxinfo-host and 'kxinfo probe', which runs it, have in common. */
#ifndef KXINFO_CLI_HOST_OPTIONS_H
#define KXINFO_CLI_HOST_OPTIONS_H

#include <optional>
#include <string>

#include "cli/program.h"

namespace kxinfo {

struct HostOptions {
    /** How the camera's serial number begins; none: the plug-in lists the cameras. */
    std::optional<std::string> serial;
    bool json = false;
    std::string sink = "none";         ///< of the log: none, stdout, syslog or both
    std::string level;                 ///< error, warning, info or debug; empty: none was given
    std::optional<std::string> plugin; ///< its library file; none: the one beside kxinfo-host

    /** Whether the user sees the plug-in's log. */
    bool showsLog() const { return sink == "stdout" || sink == "both"; }

    /** The command line that they are read from, behind the file of kxinfo-host. */
    Words command(const std::string &program) const;

    /** \throws Error (kWrongUsage) when they do not go together; \p all: of every camera */
    void check(bool all = false) const;
};

/** Declares them; what is read into must outlive the parsing. \param camera  name of the argument */
void addHostOptions(CLI::App &command, HostOptions &options, const char *camera);

/** What stands above the table of a camera. */
constexpr const char *kProbeHeading = "Camera whose serial number begins with ";

/** How to learn more when a probe fails. */
constexpr const char *kHintOfLog = "Add '--log stdout --level debug' to see how far it came.";

} // namespace kxinfo

#endif
