/**
 * What the open camera platform tells and takes beyond the framework's interface (gevapi.h). The
 * camera maker's framework has none of it: programs for both look for these functions weakly.
 *
 * Like the framework's calls these are for one thread at a time; none throws.
 */
#ifndef KXINFO_PLATFORM_KXGIGE_H
#define KXINFO_PLATFORM_KXGIGE_H

#include <signal.h>
#include <stdint.h>

#include "gevapi.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Why the last GevGetCameraList() or GevOpenCamera() failed: a clause for people, without a capital
 * and a full stop, such as "another program controls it (192.168.0.5, port 40123)". Empty when it
 * did not fail. Text that a camera has sent is cleaned. Valid until the next such call.
 */
KX_PLATFORM_API const char *KxGigeCause(void);

/**
 * Opens a camera to look at it for a moment: as in monitor mode nothing is written to it and another
 * program may control it, but access modes are those that features have for who controls it, and what
 * was read may be kept, as the description says. Writing raises an exception. Arguments and statuses
 * are those of GevOpenCamera().
 */
KX_PLATFORM_API GEV_STATUS KxGigeLookAt(GEV_CAMERA_INFO *device, GEV_CAMERA_HANDLE *handle);

/**
 * Reads in few commands what will be asked for when all features of an opened camera are read: the
 * registers that its description lets be kept. In monitor mode it does nothing.
 *
 * \return GEVLIB_ERROR_INVALID_HANDLE, or what reading from the camera came to
 */
KX_PLATFORM_API GEV_STATUS KxGigeReadAhead(GEV_CAMERA_HANDLE handle);

/**
 * Who controls an opened camera now; it is asked. In monitor mode that may be another program.
 *
 * \param isControlled  receives whether anybody does
 * \param address       receives the controlling program's IPv4 address, in the machine's byte order;
 *                      0 when nobody does or the camera does not tell
 * \param port          receives its UDP port, or 0
 * \return GEVLIB_ERROR_NULL_PTR, GEVLIB_ERROR_INVALID_HANDLE, or what reading from the camera came to
 */
KX_PLATFORM_API GEV_STATUS KxGigeGetController(GEV_CAMERA_HANDLE handle, int *isControlled,
                                               uint32_t *address, uint16_t *port);

/**
 * While \p flag is not null and what it points to is not 0, whatever waits for a camera gives up
 * within a tenth of a second, but for giving control back. A signal handler may set the flag; it must live until it is replaced.
 */
KX_PLATFORM_API void KxGigeStopWhen(const volatile sig_atomic_t *flag);

#ifdef __cplusplus
}
#endif

#endif
