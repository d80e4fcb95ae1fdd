/** A command on every camera at once. */
#ifndef KXINFO_CAMERA_FLEET_H
#define KXINFO_CAMERA_FLEET_H

#include <functional>
#include <string>
#include <vector>

#include "camera/child_processes.h"
#include "cli/text.h"
#include "gvcp/discovery.h"

namespace kxinfo {

/** What the command came to on one camera. */
struct FleetResult {
    gvcp::Found found;
    int status;     ///< an ExitStatus
    Words messages; ///< of its standard error
    std::string out;
};

/**
 * Runs kxinfo for every Dalsa camera that answers, each in a process of its own, eight at a time, so
 * that none that fails or is slow hides another.
 *
 * \param arguments  for a camera: kxinfo's command, the camera's address, the rest
 * \return by address. \throws Error when no camera answers, or the user has asked to stop
 */
std::vector<FleetResult>
onAllCameras(const std::function<Words(const gvcp::Found &camera)> &arguments);

/**
 * Shows a table with a line for each camera: what \p cells makes of a result, below \p columns;
 * when that is nothing, that it failed. Tells the messages, each once for all that have it.
 *
 * \return the highest status
 */
int showFleet(const std::vector<FleetResult> &results, const Words &columns,
              const std::function<Words(const FleetResult &result)> &cells);

/** The same as a JSON document with an object for each camera, and the command's own in it. */
int showFleetJson(const std::vector<FleetResult> &results);

/** Why a child process has no exit status of kxinfo's, as a clause behind its name; empty: it has. */
std::string failureOf(const ChildEnd &end, const ChildLimits &limits);

} // namespace kxinfo

#endif
