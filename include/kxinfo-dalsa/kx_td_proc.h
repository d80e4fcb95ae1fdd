/**
 * The probe of an opened camera: its report in the log, and the publication of the settings that a
 * user may change.
 *
 * A host calls Vendor__Proc() instead, which finds and opens the camera first. These entries serve
 * programs that have a KxTd::CExCam of their own; its `info` must be set. They publish through the
 * host's functions (kx_sc.h), which the program must then provide.
 *
 * A feature that the camera lacks is shown and published as 0, or, inside a step that handles
 * several settings in turn, as what the setting before it left. A missing gamma is shown as -1, and
 * published with the current value 0 and a range from -1 to -1.
 */
#ifndef KXINFO_DALSA_KX_TD_PROC_H
#define KXINFO_DALSA_KX_TD_PROC_H

#include "kx_api.h"
#include "kx_td_excam.h"

namespace KxTd {

/**
 * The steps of a probe. The object holds nothing. No step examines the camera object's result
 * codes; exceptions of the node map leave every step except ProcOnce() and
 * ProcParametrizeCamGamma().
 */
class KX_API CCamProc {
public:
    /**
     * Runs ProcCheckCamConfig() and lets no exception out.
     *
     * \return what the check returned; -2 when that was negative; 0 when an exception cut it short,
     *         which is only logged, so that what was published until then is still exported
     */
    int ProcOnce(CExCam *cam);

    /**
     * Logs the camera's identity and current settings, selects its internal temperature sensor
     * (for good), and publishes its settings.
     *
     * \return 0
     */
    int ProcCheckCamConfig(CExCam *cam);

    /** Runs the eight steps below, in their order. \return 0 */
    int ProcParametrizeCam(CExCam *cam);

    /**
     * Publishes the region of interest. The maxima come from "WidthMax" and "HeightMax": less 16
     * for the offsets, whatever maxima the camera reports. \return 0
     */
    int ProcParametrizeCamAoi(CExCam *cam);
    /** Publishes the frame rate, with a step of at least 0.1. */
    void ProcParametrizeCamFps(CExCam *cam);
    /** Publishes rotation: always 0, without a range. */
    void ProcParametrizeCamRotate(CExCam *cam);
    /** Publishes manual gain, in steps of 0.5 dB. */
    void ProcParametrizeCamManGain(CExCam *cam);
    /** Publishes manual exposure time. */
    void ProcParametrizeCamManExpo(CExCam *cam);
    /**
     * Publishes gamma, with a step of at least 0.1; a range from -1 to -1 could not be read.
     *
     * The camera's lookup table is switched to the gamma curve while it is read, and then back: the
     * user's table comes back in 12 bits where the camera has that choice; a table that was off
     * keeps the type of the gamma curve; one that did anything else ends up off. An exception that
     * cuts the reading short is logged, leaves the table as it is, and what was read until then is
     * published.
     */
    void ProcParametrizeCamGamma(CExCam *cam);
    /** Publishes the automatic functions' brightness target and their limits of gain and exposure.
     */
    void ProcParametrizeCamAutoFuncParams(CExCam *cam);
    /** Publishes the choice of output line. */
    void ProcParametrizeCamOutLines(CExCam *cam);
};

} // namespace KxTd

/**
 * Runs one probe on an opened camera and logs its result. Called once per opened camera, after
 * KxSc__InitStaticKeys() and before KxSc__ProcExport(). Lets no exception out.
 *
 * \return as KxTd::CCamProc::ProcOnce()
 */
KX_API int KxTd__Proc(KxTd::CExCam *cam);

#endif
