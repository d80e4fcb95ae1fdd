/**
 * The commands on one opened camera.
 *
 * They use the exported camera class and the camera platform, and so are bound to one build of the
 * plug-in: they are a library of their own beside it (kxinfo-camera.so), which kxinfo loads when
 * one of them is asked for. kxinfo itself needs neither.
 */
#ifndef KXINFO_HOST_CAMERA_COMMANDS_H
#define KXINFO_HOST_CAMERA_COMMANDS_H

#include "requests.h"

namespace kxinfo {

/** Name of the function in kxinfo-camera.so that has type RunCameraCommand. */
constexpr const char *kRunCameraCommand = "kxinfoRunCameraCommand";

/**
 * Opens the camera, carries the command out and closes the camera. Results go to standard output,
 * what went wrong to standard error. Throws nothing but std::bad_alloc and what the machine
 * refuses (std::system_error).
 *
 * \return an ExitStatus
 */
using RunCameraCommand = int (*)(const CameraCommand &command);

} // namespace kxinfo

#endif
