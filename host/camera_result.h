/** What probing one of several cameras, in a process of its own, came to. */
#ifndef KXINFO_HOST_CAMERA_RESULT_H
#define KXINFO_HOST_CAMERA_RESULT_H

#include <string>
#include <vector>

#include "child_processes.h"
#include "json.h"
#include "requests.h"

namespace kxinfo {

struct CameraResult {
    std::string serial;
    int status; ///< an ExitStatus
    /** What there is to tell: lines of standard error, without "kxinfo: ". */
    std::vector<std::string> messages;
    std::string log;   ///< with JSON: the lines of a log for standard output
    std::string table; ///< without JSON: standard output, a log included
    Json parameters;   ///< with JSON: those of the document of one camera, or null
};

/**
 * Reads what `kxinfo probe SERIAL` left.
 *
 * \param request  its other options
 * \param limits   those that it ran under
 */
CameraResult readResult(const std::string &serial, const ChildEnd &end, const ProbeRequest &request,
                        const ChildLimits &limits);

} // namespace kxinfo

#endif
