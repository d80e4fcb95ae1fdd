/**
 * What the open camera platform tells and takes beyond the interface that it shares with the camera
 * maker's framework. On the framework, and on a build of the platform that lacks it, there is less
 * to tell, and waiting for a camera ends by itself alone.
 */
#ifndef KXINFO_HOST_CAMERA_OPEN_PLATFORM_H
#define KXINFO_HOST_CAMERA_OPEN_PLATFORM_H

#include <csignal>
#include <string>

#include "gevapi.h"

namespace kxinfo {

/**
 * That a camera cannot be opened, why, and what helps, as sentences for the user.
 *
 * \param camera  what to call it
 * \param status  of the GevOpenCamera() that has just failed
 */
std::string cannotBeOpened(const std::string &camera, GEV_STATUS status);

/** While what \p flag points to is not 0, waiting for a camera ends at once; null: never. */
void stopWaitingWhen(const volatile std::sig_atomic_t *flag);

} // namespace kxinfo

#endif
