/** A command on every camera at once. */
#ifndef KXINFO_CAMERA_FLEET_H
#define KXINFO_CAMERA_FLEET_H

#include <functional>
#include <string>
#include <vector>

#include "cli/json.h"
#include "cli/text.h"
#include "gvcp/discovery.h"

namespace kxinfo {

/** What the command came to on one camera. */
struct FleetResult {
    gvcp::Found found;
    int status;          ///< an ExitStatus
    Words messages = {}; ///< of its standard error
    Words log = {};      ///< what is no message there, of commands that log
    std::string out = {};
    Json document = nullptr; ///< which the output is; null when it is none
};

/**
 * Runs kxinfo for every Dalsa camera that answers, each in a process of its own, eight at a time, so
 * that none that fails or is slow hides another. Tells when there is none.
 *
 * \param arguments  for a camera: kxinfo's command, the camera's address, the rest; none: nothing is
 *                   run for it, and its result has status kNoCamera and no message
 * \param logs       whether a log goes to standard error
 * \return by address; also when the user has asked to stop: what each was at, or that it was not run
 */
std::vector<FleetResult>
onAllCameras(const std::function<Words(const gvcp::Found &camera)> &arguments, bool logs = false);

/** The highest status of all; of none kNoCamera. */
int statusOf(const std::vector<FleetResult> &results);

/** Tells the messages, each once for all that have it. */
void tellMessages(const std::vector<FleetResult> &results);

/**
 * Shows a table with a line for each camera: what \p cells makes of a result, below \p columns;
 * when that is nothing, that it failed. Tells the messages.
 *
 * \return as of statusOf()
 */
int showFleet(const std::vector<FleetResult> &results, const Words &columns,
              const std::function<Words(const FleetResult &result)> &cells);

/** The same as a JSON document with an object for each camera, and the command's own in it. */
int showFleetJson(const std::vector<FleetResult> &results);

} // namespace kxinfo

#endif
