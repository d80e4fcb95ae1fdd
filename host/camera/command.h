/** The commands, and what they have in common. Each returns an ExitStatus. */
#ifndef KXINFO_HOST_CAMERA_COMMAND_H
#define KXINFO_HOST_CAMERA_COMMAND_H

#include <exception>
#include <functional>

#include "modes.h"
#include "requests.h"
#include "session.h"

namespace kxinfo {

int run(const GetRequest &request);
int run(const SetRequest &request);
int run(const GammaRequest &request);
int run(const LutRequest &request);
int run(const AutoRequest &request);
int run(const SaveRequest &request);
int run(const RestoreRequest &request);

/**
 * Opens the camera, works on it, puts back what the work had to switch, and closes it. What ends
 * the work early (CommandError, the camera's exceptions) is told on standard error.
 */
int onCamera(const CameraRequest &request,
             const std::function<int(Session &session, Modes &modes)> &work);

/**
 * Tells what has ended the work: that the user has asked to stop, or else the reason.
 *
 * \param why  a CommandError, an exception of the camera or of this computer
 * \return the status to end the command with
 */
int tellWhy(const Session &session, const std::exception_ptr &why);

/** \throws CommandError (kFailed) when the user has asked to stop (SIGINT, SIGTERM, SIGHUP) */
void stopIfAsked();

/**
 * From here on the camera is waited for also when the user has asked to stop: what the command has
 * changed is being put back.
 */
void waitInSpiteOfAll();

/** What stands in front of a result: which camera it is of. */
std::string cameraLine(const Session &session);

} // namespace kxinfo

#endif
