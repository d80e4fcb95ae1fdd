/**
 * KxTd::CExCam: reads and writes the features of an opened camera.
 *
 * Callers name a property (KxTd::PropertyType) and deal in plain numbers; the class knows the
 * camera's feature names, which selectors must be set and which modes must be active while a
 * feature is touched, and which values are shown in decibels.
 *
 * One object serves one opened camera on one thread at a time. It takes no lock, and it assumes
 * that nobody else changes the camera's features meanwhile.
 *
 * Results. Every operation that returns an int uses:
 *    0  done; values delivered
 *   -1  the camera has no feature node map; a warning says so
 *   -2  the camera lacks the feature, or has it as another kind of node; operations that take a
 *       PropertyType do not log that
 * Codes beyond these, and other meanings of them, are told at the operation. A value that is not
 * delivered leaves the caller's variable as it was, except where told. Every output pointer may be
 * null.
 *
 * Exceptions. Nothing is caught: what the node map raises (GenICam_3_0::GenericException and its
 * derivatives: no access, out of range, no answer …) reaches the caller. A mode that was switched
 * for a moment is put back on every normal return, but stays switched when an exception leaves the
 * operation: the caller cannot know whether the camera still takes commands.
 */
#ifndef KXINFO_DALSA_KX_TD_EXCAM_H
#define KXINFO_DALSA_KX_TD_EXCAM_H

#include <stdint.h>

#include "gevapi.h"

#include "GenApi/GenApi.h"

#include "kx_api.h"

namespace KxTd {

/**
 * The camera properties. The value is the row of the property table, which holds the feature's
 * name; operations reduce it to its remainder by the number of rows (23). A negative remainder
 * names no row and behaves as UNSPECIFIED_PROPERTY_TYPE.
 */
enum PropertyType : int {
    WIDTH_MAX_PROPERTY_TYPE = 0,               /**< "WidthMax", integer, pixels */
    HEIGHT_MAX_PROPERTY_TYPE = 1,              /**< "HeightMax", integer, pixels */
    WIDTH_PROPERTY_TYPE = 2,                   /**< "Width", integer, pixels */
    HEIGHT_PROPERTY_TYPE = 3,                  /**< "Height", integer, pixels */
    OFFSET_X_PROPERTY_TYPE = 4,                /**< "OffsetX", integer, pixels */
    OFFSET_Y_PROPERTY_TYPE = 5,                /**< "OffsetY", integer, pixels */
    GAIN_PROPERTY_TYPE = 6,                    /**< "Gain", float, dB */
    EXPOSURE_TIME_PROPERTY_TYPE = 7,           /**< "ExposureTime", float, the camera's unit (us) */
    GAMMA_PROPERTY_TYPE = 8,                   /**< "gammaCorrection", float */
    FRAME_RATE_PROPERTY_TYPE = 9,              /**< "AcquisitionFrameRate", float, 1/s */
    AUTO_BRIGHTNESS_TARGET_PROPERTY_TYPE = 10, /**< "autoBrightnessTarget", integer, 0 to 255 */
    AUTO_EXPOSURE_MIN_PROPERTY_TYPE = 11,      /**< "exposureAutoMinValue", float, camera's unit */
    AUTO_EXPOSURE_MAX_PROPERTY_TYPE = 12,      /**< "exposureAutoMaxValue", float, camera's unit */
    AUTO_GAIN_MIN_PROPERTY_TYPE = 13,          /**< "gainAutoMinValue", float, dB when read */
    AUTO_GAIN_MAX_PROPERTY_TYPE = 14,          /**< "gainAutoMaxValue", float, dB when read */
    EXPOSURE_AUTO_PROPERTY_TYPE = 15,          /**< "ExposureAuto", enumeration */
    GAIN_AUTO_PROPERTY_TYPE = 16,              /**< "GainAuto", enumeration */
    REVERSE_X_PROPERTY_TYPE = 17,              /**< "ReverseX", boolean */
    REVERSE_Y_PROPERTY_TYPE = 18,              /**< "ReverseY", boolean */
    BALANCE_WHITE_PERIOD_PROPERTY_TYPE = 19,   /**< "balanceWhitePeriod" */
    BALANCE_RATIO_RED_PROPERTY_TYPE = 20,      /**< "BalanceRatio" of the red channel, float, dB */
    BALANCE_RATIO_BLUE_PROPERTY_TYPE = 21,     /**< "BalanceRatio" of the blue channel, float, dB */
    UNSPECIFIED_PROPERTY_TYPE = 22             /**< no camera feature: operations find none */
};

/** What the camera's lookup table does. */
enum td_lg_states : int {
    TD_LG_UNKNOWN = 0,  /**< cannot be read: no node map, or "lutMode" or "lutType" is missing */
    TD_LG_OFF = 1,      /**< not applied */
    TD_LG_USER_LUT = 2, /**< applies the user's table */
    TD_LG_GAMMA = 3,    /**< applies the camera's gamma curve */
    TD_LG_OTHER = 4     /**< anything else */
};

/** One row of the property table. */
struct PropertyEntry {
    char name[32]; /**< the camera's own name of the feature */
    float floatMin;
    float floatMax;
    int32_t intMin;
    int32_t intMax;
    /**
     * The increment of whichever range was read last: integer and float ranges share the place,
     * so that it holds the bits of an int32_t or of a float.
     */
    int32_t incrementBits;
    bool floatRangeValid; /**< the float range has been read from the camera */
    bool intRangeValid;   /**< the integer range has been read from the camera */
};

/** Rows of the property table. */
constexpr int kPropertyCount = 23;

class KX_API CExCam {
public:
    /**
     * Wraps an opened camera. The node map may turn out to be null; operations then return -1.
     *
     * \param cameraHandle  from GevOpenCamera(); the object uses it, but never closes it
     */
    explicit CExCam(void *cameraHandle);

    /** Releases nothing: the camera may be closed before. */
    ~CExCam();

    CExCam(const CExCam &) = delete;
    CExCam &operator=(const CExCam &) = delete;

    /** The opened camera's handle. */
    void *handle;
    /** The opened camera's information record. Unset until the session stores it. */
    GEV_CAMERA_INFO *info;
    /** The camera's features, owned by the framework; null when it has none. */
    GenApi_3_0::CNodeMapRef *nodeMap;

    /**
     * Integer features. For AUTO_BRIGHTNESS_TARGET_PROPERTY_TYPE, which the camera shows only while
     * its brightness mode is active, "autoBrightnessMode" is "Active" during the call.
     */
    ///@{

    /** Reads a value; of a value beyond 32 bits the low 32 are delivered. */
    int ExPropertyGetInt(PropertyType type, int *value);

    /**
     * Writes a value. The camera's range and increment are checked by the node map, which raises
     * OutOfRangeException; nothing is rounded.
     */
    int ExPropertySetInt(PropertyType type, int value);

    /**
     * Delivers a range. It is read from the camera once; later calls deliver the same numbers
     * without asking the camera.
     *
     * On -2 the outputs are written all the same (zeros, and as increment whatever a float range of
     * the same property left): look at the result, not at the values.
     */
    int ExPropertyGetIntRange(PropertyType type, int *min, int *max, int *inc);
    ///@}

    /**
     * Float features. Gain, white balance ratios and automatic gain limits are in decibels
     * (20 log10 of the camera's linear value; minus infinity or not a number where that value is 0
     * or negative), everything else in the camera's unit.
     *
     * To reach a feature the operations select it ("GainSelector" to "SensorAll",
     * "BalanceRatioSelector" to "Red" or "Blue"), and leave it selected. Reading the value or the
     * first range of an automatic limit activates "autoBrightnessMode" during the call, and
     * switches "ExposureAuto" or "GainAuto" to "Continuous" (the latter with "gainAutoSource" to
     * "SensorAll") for good.
     */
    ///@{

    /** Reads a value. */
    int ExPropertyGetFloat(PropertyType type, float *value);

    /**
     * Writes a value. The camera's range is checked by the node map, which raises
     * OutOfRangeException. Only gain and white balance ratios are converted from decibels
     * (10^(x/20)), and no mode is switched: the automatic limits are written elsewhere.
     */
    int ExPropertySetFloat(PropertyType type, float value);

    /**
     * Delivers a range. It is read from the camera once; later calls deliver the same numbers
     * without asking the camera.
     *
     * \param inc  of a property in decibels: the decibel value of the first step above the minimum,
     *             20 log10(min + inc), not a step width
     */
    int ExPropertyGetFloatRange(PropertyType type, float *min, float *max, float *inc);
    ///@}

    /**
     * Switches, and automatic control of exposure and gain.
     *
     * The camera's automatic control of brightness is "autoBrightnessMode"; below it,
     * "ExposureAuto" and "GainAuto" say what it may change, within limits.
     */
    ///@{

    /** Switches a boolean feature. Features that the camera has as enumerations give -2. */
    int ExPropertySetEna(PropertyType type, bool enable);

    /**
     * Writes an enumeration, of any name, by the name of one of its entries.
     *
     * An entry that the enumeration does not have raises InvalidArgumentException. Neither text may
     * be null.
     */
    int ExPropertySetEnumFromStr(const char *feature, const char *entry);

    /**
     * Sets an automatic function (EXPOSURE_AUTO_PROPERTY_TYPE, GAIN_AUTO_PROPERTY_TYPE) to
     * "Continuous" or "Off". "autoBrightnessMode" is "Active" during the call.
     *
     * Switching off while "autoBrightnessMode" is not "Active" writes nothing, and is done.
     */
    int ExPropertySetEnaAutoPush(PropertyType type, bool enable);

    /** ExPropertySetEnaAutoPush() to "Off". */
    int ExPropertySetAutoOff(PropertyType type);

    /** ExPropertySetEnaAutoPush() to "Continuous". */
    int ExPropertySetAutoCont(PropertyType type);

    /**
     * Switches automatic control of brightness on, with exposure before gain before iris, or off.
     *
     * \return also -3: switched on, but the camera lets no sequence be chosen
     */
    int ExSetAutoExpoEna(bool enable);

    /**
     * Sets the brightness that automatic control is to reach, as ExPropertySetInt() does.
     *
     * \param target  0 to 1 of full scale; the nearest of 256 levels is written (halves go up). Not
     *                a number counts as 0
     * \return also -5: out of range; the camera is not asked
     */
    int ExSetAutoExpoVal(float target);

    /**
     * Sets the limits of automatic gain, in decibels. The camera gets them as linear factors
     * without their fraction: 0 dB is written as 1, 6 dB as 1, 12 dB as 3, 20 dB as 10.
     *
     * The limits are checked against the camera's ranges. While one of these has not been read yet,
     * reading it switches "GainAuto" to "Continuous" and "gainAutoSource" to "SensorAll" for good,
     * also when the limits are then refused. A limit that is not a number passes the checks and is
     * written as 0, one beyond 32 bits as the nearest integer within.
     *
     * A range is read from a float feature, and a limit is written to an integer feature: a camera
     * whose limits are floats alone refuses with -8, one whose limits are integers alone with -4.
     *
     * \return 0, or why not all was done:
     *         -4: the lower limit's range cannot be read, also without a node map;
     *         -5: the lower limit is out of range, or above the upper;
     *         -6: the upper limit's range cannot be read;
     *         -7: the upper limit is out of range;
     *         -8: the lower limit cannot be written; so far no limit is;
     *         -9: the upper limit cannot be written; the lower is
     */
    int ExPropertySetAutoRangeGain(float minDb, float maxDb);

    /**
     * Sets the limits of automatic exposure time, in the camera's unit, without their fraction.
     * What reading a range switches is "ExposureAuto". Everything else is as for gain.
     */
    int ExPropertySetAutoRangeExpo(float minVal, float maxVal);
    ///@}

    /** Lookup table and gamma, which exclude each other: the table holds one or the other. */
    ///@{

    /** What the table does at present, asked of the camera each time. */
    td_lg_states ExPropertyGetLUTMode();

    /**
     * Switches the table to the user's table (TD_LG_USER_LUT, in 12 bits where the camera lets
     * that be chosen), to the gamma curve (TD_LG_GAMMA), or off (any other value).
     */
    int ExPropertySetLUTMode(td_lg_states state);

    /**
     * Delivers the range of gamma, read from the camera once. While it is read, "lutType" is
     * "GammaCorrection".
     *
     * \return also 1: the state of the table cannot be read, also without a node map; nothing is
     *         delivered
     */
    int ExPropertyGetGammaRange(float *min, float *max, float *inc);

    /**
     * Reads gamma; delivers -1 (with result 0) when the table does something else.
     *
     * \return 0, or -2 when the camera has no gamma, also without a node map
     */
    int ExPropertyGetGamma(float *gamma);

    /**
     * Writes gamma, and switches the table to the gamma curve for good. If it is there already, a
     * value more than 0.06 outside the camera's range is refused before it is written.
     *
     * \return also -4: the gamma curve cannot be switched on; -5: the range cannot be read;
     *         -6: out of range; -1 also, without a warning, when the state of the table cannot be
     *         read
     */
    int ExPropertySetGamma(float gamma);

    /**
     * Selects the colour channel of the user's table that ExPropertySetLUTValue() writes.
     *
     * \param channel       0 red, 1 green, any other blue
     * \param channelCount  number of colour channels; with 1 or less there is nothing to select
     */
    int ExPropertySetLUTChannel(int channel, int channelCount);

    /**
     * Writes one entry of the user's table.
     *
     * \param index  position in the table, counted from 0
     * \param value  entry; its bit depth is the camera's
     */
    int ExPropertySetLUTValue(int index, int value);
    ///@}

private:
    PropertyEntry entries_[kPropertyCount];
    [[maybe_unused]] int64_t reserved_[2];
};

} // namespace KxTd

#endif
