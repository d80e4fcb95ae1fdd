/**
 * The host's parameter service: the three functions that a host provides to the plug-in, and the
 * identifiers of the settings published through them. Plain C, so that hosts in any language can
 * follow it.
 *
 * The plug-in does not define these functions and names no library that does: they are undefined
 * symbols with C linkage, bound at the first call to the host program (which must export them, e.g.
 * by linking with -rdynamic) or to a library that it has loaded globally.
 *
 * All three are called on the thread that called Vendor__Proc(), and only once a camera has been
 * opened, in this order: KxSc__InitStaticKeys(), any number of KxSc__SetParamVal(),
 * KxSc__ProcExport() if the run succeeded. None of them may throw.
 */
#ifndef KXINFO_DALSA_KX_SC_H
#define KXINFO_DALSA_KX_SC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Which setting is published. The numbers between the listed ones are never published.
 *
 * After each: the type of the four values that KxSc__SetParamVal() is given, and their unit.
 */
typedef int32_t KxScParamId;

enum {
    KxScParamFps = 0,               /**< acquisition frame rate: float, 1/s */
    KxScParamGamma = 1,             /**< gamma: float, no unit; range -1 to -1: could not be read */
    KxScParamRotate = 2,            /**< image rotation: int32_t 0, no range */
    KxScParamOffsetX = 3,           /**< region of interest, horizontal offset: int32_t, pixels */
    KxScParamOffsetY = 4,           /**< region of interest, vertical offset: int32_t, pixels */
    KxScParamWidth = 5,             /**< region of interest, width: int32_t, pixels */
    KxScParamHeight = 6,            /**< region of interest, height: int32_t, pixels */
    KxScParamAutoBrightTarget = 11, /**< automatic brightness target: float, 0 to 1 of full scale */
    KxScParamAutoGainLower = 13,    /**< automatic gain, lower limit: float, dB */
    KxScParamAutoGainUpper = 14,    /**< automatic gain, upper limit: float, dB */
    KxScParamAutoExpoLower = 16, /**< automatic exposure time, lower limit: float, microseconds */
    KxScParamAutoExpoUpper = 17, /**< automatic exposure time, upper limit: float, microseconds */
    KxScParamGain = 18,          /**< manual gain: float, dB */
    KxScParamExposure = 19,      /**< manual exposure time: float, microseconds */
    KxScParamOutLines = 21       /**< choice of output line: text, see KxSc__SetParamVal() */
};

/** The index of a setting that is not an element of an indexed family: all that are published. */
#define KX_SC_NO_INDEX 0xFFFFFFFFu

/**
 * Prepares the host's parameter keys. Called once per camera, before anything is published.
 */
void KxSc__InitStaticKeys(void);

/**
 * Publishes one camera setting to the host's users.
 *
 * \param id     which setting; the type of its values stands at its name above
 * \param index  always KX_SC_NO_INDEX
 * \param cur    current value. What the four point to is valid during the call only: copy what you
 *               keep before returning
 * \param min    minimum; null where the setting has none
 * \param max    maximum; null where the setting has none
 * \param inc    increment; null where the setting has none
 *
 * For KxScParamOutLines the values are NUL-terminated texts: \p cur the chosen line's name, in a
 * field of 128 characters that the line's number follows as an int32_t; \p min the list of choices,
 * each name in double quotes, separated by a comma and a blank; \p max and \p inc are null. For
 * KxScParamRotate \p min, \p max and \p inc are null.
 *
 * A setting that the camera lacks is published all the same: with zeros, or, where several settings
 * are read in turn, with what the one before it had; fixed steps and margins apply to these too. A
 * range in decibels may hold minus infinity or a value that is not a number, and a minimum above
 * its maximum is passed on as it is.
 */
void KxSc__SetParamVal(KxScParamId id, uint32_t index, const void *cur, const void *min,
                       const void *max, const void *inc);

/**
 * Makes what was published available to the host's users. Called at most once per camera, only
 * when the run succeeded; a host discards what was published without it.
 */
void KxSc__ProcExport(void);

#ifdef __cplusplus
}
#endif

#endif
