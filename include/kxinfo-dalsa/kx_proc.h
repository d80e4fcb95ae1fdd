/** The plug-in's entry points. Plain C: a host finds Vendor__Proc() with dlsym(). */
#ifndef KXINFO_DALSA_KX_PROC_H
#define KXINFO_DALSA_KX_PROC_H

#include "kx_api.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Sinks of the log, for Vendor__Proc(): either, both or none. Other bits are ignored. */
enum {
    KX_LOG_MODE_STDOUT = 1, /**< standard output */
    KX_LOG_MODE_SYSLOG = 2  /**< system log, ident "kxinfo-dalsa", facility daemon */
};

/** Log levels, for Vendor__Proc(): each includes those before it; 0 and below is silence. */
enum {
    KX_LOG_LEVEL_ERROR = 1,
    KX_LOG_LEVEL_WARNING = 2,
    KX_LOG_LEVEL_INFO = 3,
    KX_LOG_LEVEL_DEBUG = 4
};

/**
 * Runs one probe: finds the cameras, and lists those made by Dalsa or opens the configured one,
 * reports it and publishes its settings through the host's parameter service (kx_sc.h).
 *
 * Called by the host, one call at a time; all work is done on the calling thread before it returns.
 *
 * \param serial
 *     Serial number of the configured camera, or the beginning of it: the first camera in the order
 *     of enumeration whose serial begins so is opened, whatever its maker, provided that some Dalsa
 *     camera is present; the empty text fits the first camera. Null lists the Dalsa cameras, at
 *     level info. Only read during the call. At most eight cameras are seen.
 * \param logMode
 *     Sinks of the log, a mask of KX_LOG_MODE_STDOUT and KX_LOG_MODE_SYSLOG.
 * \param logLevel
 *     Log level, KX_LOG_LEVEL_ERROR to KX_LOG_LEVEL_DEBUG, or 0.
 *
 * \return 0 after a listing or a successful probe, also one that an error of the camera cut short
 *         (what was published until then is exported); 1 when there is no camera, none made by
 *         Dalsa, none with that serial, or it cannot be opened; negative when the probe failed
 *
 * A C++ exception leaves it only from between opening the camera and wrapping it: if the framework
 * raises one while the node map is fetched, or memory is exhausted. The camera then stays open and
 * the framework is not shut down.
 */
KX_API int Vendor__Proc(const char *serial, int logMode, int logLevel);

/**
 * Where the library file starts when it is run as a program: prints "Version: " with the build's
 * version and source revision and ends the process with status 0. Not to be called.
 */
KX_API void LibEntry(void);

#ifdef __cplusplus
}
#endif

#endif
