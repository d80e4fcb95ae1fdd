// One probe of an opened camera. KxTd__Proc() runs the check once; the check logs the camera's
// report and has each group of settings published in turn. Nobody examines the camera object's
// result codes: a feature that the camera lacks is shown and published as what its variable holds,
// 0 at first. Two places stop exceptions, ProcOnce() and the gamma step, and both have them
// classified by _t_classify_exception().

#define KX_LOG_TAG "KX_TD_PROC"

#include "kxinfo-dalsa/kx_td_proc.h"

#include <cstdio>
#include <exception>

#include "kxinfo-dalsa/kx_log.h"
#include "kxinfo-dalsa/kx_sc.h"

namespace {

using namespace GenApi_3_0;
using namespace GenICam_3_0;

// The vocabulary that the host's parameter service has for pins. In every row the number is the
// row.
struct PinMapRow {
    char name[128];
    int32_t number;
};

const PinMapRow KxScIoPinMapLineT[] = {
    {"None", 0}, {"Line1", 1}, {"Line2", 2}, {"Line3", 3}, {"Line4", 4},
};

const PinMapRow KxScIoPinMapT[] = {
    {"None", 0},   {"Line1", 1},  {"Line2", 2},  {"Line3", 3}, {"Line4", 4},
    {"Out1", 5},   {"Out2", 6},   {"Out3", 7},   {"Out4", 8},  {"Gpio0", 9},
    {"Gpio1", 10}, {"Gpio2", 11}, {"Gpio3", 12},
};

// Log tools know the driver's error by this line number; it stays when the code around it moves.
constexpr unsigned kCheckErrorLine = 288;

// What the offsets' maxima leave of the sensor.
constexpr uint32_t kOffsetMargin = 16;

constexpr float kGainStep = 0.5f;

// A camera's brightness target goes from 0 to this.
constexpr float kBrightnessFullScale = 255.0f;

struct IntSetting {
    int cur = 0;
    int min = 0;
    int max = 0;
    int inc = 0;
};

struct FloatSetting {
    float cur = 0;
    float min = 0;
    float max = 0;
    float inc = 0;
};

template <typename Setting>
void _t_publish(KxScParamId id, const Setting &setting) {
    KxSc__SetParamVal(id, KX_SC_NO_INDEX, &setting.cur, &setting.min, &setting.max, &setting.inc);
}

// The four values of a debug line, in its order.
#define KX_FLOAT_FIELDS(setting)                                                                   \
    static_cast<double>((setting).cur), static_cast<double>((setting).min),                        \
        static_cast<double>((setting).max), static_cast<double>((setting).inc)
#define KX_INT_FIELDS(setting) (setting).cur, (setting).min, (setting).max, (setting).inc

void _t_raise_step_to_tenth(float &inc) {
    if (static_cast<double>(inc) < 0.1)
        inc = 0.1f;
}

int _t_less_margin(int extent) {
    return static_cast<int>(static_cast<uint32_t>(extent) - kOffsetMargin);
}

// Logs the exception being handled, on behalf of an operation that guards an activity (the origin),
// and returns the number that stands for it in the closing lines. Log tools look for these texts as
// they are: the first two have no line end, one is misspelt, and a property error counts as 0.
int _t_classify_exception(const char *operation, const char *origin) {
    try {
        throw;
    } catch (const InvalidArgumentException &e) {
        KX_LOG_D_AS(operation, " Origin %s - GenApi: Invalid Argument Exception %s", origin,
                    e.GetDescription());
        return -3;
    } catch (const PropertyException &e) {
        KX_LOG_D_AS(operation, " Origin %s - GenApi: Property Exception %s", origin,
                    e.GetDescription());
        return 0;
    } catch (const LogicalErrorException &e) {
        KX_LOG_D_AS(operation, " Origin %s - GenApi: Logical Error Exception %s\n", origin,
                    e.GetDescription());
        return -14;
    } catch (const OutOfRangeException &e) {
        KX_LOG_D_AS(operation, " Origin %s - GenApi: OutOfRange Exception %s\n", origin,
                    e.GetDescription());
        return -13;
    } catch (const RuntimeException &e) {
        KX_LOG_D_AS(operation, " Origin %s - GenApi: Runtime Exception %s\n", origin,
                    e.GetDescription());
        return -1;
    } catch (const AccessException &e) {
        KX_LOG_D_AS(operation, " Origin %s - GenApi: Access Exception %s\n", origin,
                    e.GetDescription());
        return -17;
    } catch (const TimeoutException &e) {
        KX_LOG_D_AS(operation, " Origin %s - GenApi: Timeout Exception %s\n", origin,
                    e.GetDescription());
        return -6;
    } catch (const DynamicCastException &e) {
        KX_LOG_D_AS(operation, " Origin %s - GenApi: DynamiceCast Exception %s\n", origin,
                    e.GetDescription());
        return -2;
    } catch (const std::exception &e) {
        KX_LOG_D_AS(operation, " Origin %s - StdLib: Exception %s\n", origin, e.what());
        return -14;
    } catch (...) {
        KX_LOG_D_AS(operation, " GenApi: Unknown Error Exception (catchall)\n");
        return -1;
    }
}

// Makes sure that the temperature is the internal sensor's, also when nothing is printed, and
// prints it for the operation. Cameras without the choice of a sensor are left alone.
void _t_report_temperature(const CNodeMapRef *nodeMap, const char *operation) {
    if (!nodeMap)
        return;
    auto *selector = dynamic_cast<IEnumeration *>(nodeMap->_GetNode("DeviceTemperatureSelector"));
    if (!selector)
        return;
    if (!IsImplemented(selector->GetEntryByName("Internal")))
        return;
    if (selector->ToString(false, false) != "Internal")
        selector->FromString("Internal", true);

    auto *temperature = dynamic_cast<IFloat *>(nodeMap->_GetNode("DeviceTemperature"));
    if (!temperature)
        return;
    KX_LOG_D_AS(operation, "Temperature, C   : %.2f\n", temperature->GetValue(false, false));
}

} // namespace

namespace KxTd {

int CCamProc::ProcOnce(CExCam *cam) {
    KX_LOG_D("Using device Model:%s Serial:%s\n", cam->info->model, cam->info->serial);

    int status = 0;
    int result = 0;
    try {
        result = ProcCheckCamConfig(cam);
    } catch (...) {
        result = 0;
        status = _t_classify_exception(__func__, "check config");
    }

    if (result < 0) {
        KX_LOG_E_AT(kCheckErrorLine, "Device check configuration error, finish loop\n");
        return -2;
    }
    KX_LOG_D("Finished loop with: status=%i, rc=%i\n", status, result);
    return result;
}

int CCamProc::ProcCheckCamConfig(CExCam *cam) {
    const GEV_CAMERA_INFO &info = *cam->info;
    KX_LOG_D("== Camera Device Information ==\n");
    KX_LOG_D("===============================\n");
    KX_LOG_D("Vendor           : %s\n", info.manufacturer);
    KX_LOG_D("Model            : %s\n", info.model);
    KX_LOG_D("Version          : %s\n", info.version);
    KX_LOG_D("DeviceSerialID   : %s\n", info.serial);
    _t_report_temperature(cam->nodeMap, __func__);

    // Two labels name other features than the ones read; log tools look for them as they are.
    KX_LOG_D("~~ Camera Device Current Settings ~~\n");
    KX_LOG_D("~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n");
    int horizontal = 0;
    int vertical = 0;
    cam->ExPropertyGetInt(OFFSET_X_PROPERTY_TYPE, &horizontal);
    cam->ExPropertyGetInt(OFFSET_Y_PROPERTY_TYPE, &vertical);
    KX_LOG_D("ROI OffsX x OffsY   : %i x %i\n", horizontal, vertical);
    cam->ExPropertyGetInt(WIDTH_PROPERTY_TYPE, &horizontal);
    cam->ExPropertyGetInt(HEIGHT_PROPERTY_TYPE, &vertical);
    KX_LOG_D("ROI Width x Height  : %u x %u\n", static_cast<unsigned>(horizontal),
             static_cast<unsigned>(vertical));

    float value = 0;
    cam->ExPropertyGetFloat(FRAME_RATE_PROPERTY_TYPE, &value);
    KX_LOG_D("ResultingFrameRate  : %.1f\n", static_cast<double>(value));
    cam->ExPropertyGetFloat(GAIN_PROPERTY_TYPE, &value);
    KX_LOG_D("Gain, dB            : %.1f\n", static_cast<double>(value));
    cam->ExPropertyGetFloat(EXPOSURE_TIME_PROPERTY_TYPE, &value);
    KX_LOG_D("ExposureTimeAbs, us : %.1f\n", static_cast<double>(value));
    float gamma = -1.0f;
    cam->ExPropertyGetGamma(&gamma);
    KX_LOG_D("Gamma               : %.2f\n", static_cast<double>(gamma));

    int featureType = 0;
    uint32_t pixelFormat = 0;
    GevGetFeatureValue(cam->handle, "PixelFormat", &featureType, sizeof pixelFormat, &pixelFormat);
    KX_LOG_D("PixelFormat         : 0x%08X\n", pixelFormat);
    KX_LOG_D("~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n");

    ProcParametrizeCam(cam);
    return 0;
}

int CCamProc::ProcParametrizeCam(CExCam *cam) {
    ProcParametrizeCamAoi(cam);
    ProcParametrizeCamFps(cam);
    ProcParametrizeCamRotate(cam);
    ProcParametrizeCamManGain(cam);
    ProcParametrizeCamManExpo(cam);
    ProcParametrizeCamGamma(cam);
    ProcParametrizeCamAutoFuncParams(cam);
    ProcParametrizeCamOutLines(cam);
    return 0;
}

int CCamProc::ProcParametrizeCamAoi(CExCam *cam) {
    IntSetting roi;

    int widthMax = 0;
    cam->ExPropertyGetInt(WIDTH_MAX_PROPERTY_TYPE, &widthMax);
    cam->ExPropertyGetInt(OFFSET_X_PROPERTY_TYPE, &roi.cur);
    cam->ExPropertyGetIntRange(OFFSET_X_PROPERTY_TYPE, &roi.min, &roi.max, &roi.inc);
    roi.max = _t_less_margin(widthMax);
    KX_LOG_D("  cur OffsX val is %i (min %i, max %i, inc %i)\n", KX_INT_FIELDS(roi));
    _t_publish(KxScParamOffsetX, roi);

    int heightMax = 0;
    cam->ExPropertyGetInt(HEIGHT_MAX_PROPERTY_TYPE, &heightMax);
    cam->ExPropertyGetInt(OFFSET_Y_PROPERTY_TYPE, &roi.cur);
    cam->ExPropertyGetIntRange(OFFSET_Y_PROPERTY_TYPE, &roi.min, &roi.max, &roi.inc);
    roi.max = _t_less_margin(heightMax);
    KX_LOG_D("  cur OffsY val is %i (min %i, max %i, inc %i)\n", KX_INT_FIELDS(roi));
    _t_publish(KxScParamOffsetY, roi);

    cam->ExPropertyGetInt(WIDTH_PROPERTY_TYPE, &roi.cur);
    cam->ExPropertyGetIntRange(WIDTH_PROPERTY_TYPE, &roi.min, &roi.max, &roi.inc);
    roi.max = widthMax;
    KX_LOG_D("  cur Width val is %i (min %i, max %i, inc %i)\n", KX_INT_FIELDS(roi));
    _t_publish(KxScParamWidth, roi);

    cam->ExPropertyGetInt(HEIGHT_PROPERTY_TYPE, &roi.cur);
    cam->ExPropertyGetIntRange(HEIGHT_PROPERTY_TYPE, &roi.min, &roi.max, &roi.inc);
    roi.max = heightMax;
    KX_LOG_D("  cur Height val is %i (min %i, max %i, inc %i)\n", KX_INT_FIELDS(roi));
    _t_publish(KxScParamHeight, roi);
    return 0;
}

void CCamProc::ProcParametrizeCamFps(CExCam *cam) {
    FloatSetting fps;
    cam->ExPropertyGetFloatRange(FRAME_RATE_PROPERTY_TYPE, &fps.min, &fps.max, &fps.inc);
    cam->ExPropertyGetFloat(FRAME_RATE_PROPERTY_TYPE, &fps.cur);
    _t_raise_step_to_tenth(fps.inc);
    KX_LOG_D("  cur AcqFps val is %f (min %f, max %f, inc %f)\n", KX_FLOAT_FIELDS(fps));
    _t_publish(KxScParamFps, fps);
}

void CCamProc::ProcParametrizeCamRotate(CExCam *) {
    const int32_t rotation = 0;
    KxSc__SetParamVal(KxScParamRotate, KX_SC_NO_INDEX, &rotation, nullptr, nullptr, nullptr);
}

void CCamProc::ProcParametrizeCamManGain(CExCam *cam) {
    FloatSetting gain;
    cam->ExPropertyGetFloatRange(GAIN_PROPERTY_TYPE, &gain.min, &gain.max, &gain.inc);
    cam->ExPropertyGetFloat(GAIN_PROPERTY_TYPE, &gain.cur);
    gain.inc = kGainStep;
    KX_LOG_D("  cur Gain val is %f (min %f, max %f, inc %f)\n", KX_FLOAT_FIELDS(gain));
    _t_publish(KxScParamGain, gain);
}

void CCamProc::ProcParametrizeCamManExpo(CExCam *cam) {
    FloatSetting exposure;
    cam->ExPropertyGetFloatRange(EXPOSURE_TIME_PROPERTY_TYPE, &exposure.min, &exposure.max,
                                 &exposure.inc);
    cam->ExPropertyGetFloat(EXPOSURE_TIME_PROPERTY_TYPE, &exposure.cur);
    KX_LOG_D("  cur ExpoTime val is %f (min %f, max %f, inc %f)\n", KX_FLOAT_FIELDS(exposure));
    _t_publish(KxScParamExposure, exposure);
}

void CCamProc::ProcParametrizeCamGamma(CExCam *cam) {
    FloatSetting gamma;
    gamma.min = -1.0f;
    gamma.max = -1.0f;
    int status = 0;
    try {
        const td_lg_states state = cam->ExPropertyGetLUTMode();
        if (state != TD_LG_GAMMA) {
            KX_LOG_D("### Gamma feature is disabled (lutMode=%i) ###\n", static_cast<int>(state));
            if (cam->ExPropertySetLUTMode(TD_LG_GAMMA) != 0)
                KX_LOG_W("Can't enable Gamma feature\n");
        }
        cam->ExPropertyGetGammaRange(&gamma.min, &gamma.max, &gamma.inc);
        cam->ExPropertyGetGamma(&gamma.cur);
        if (state != TD_LG_GAMMA)
            cam->ExPropertySetLUTMode(state);
        _t_raise_step_to_tenth(gamma.inc);
    } catch (...) {
        status = _t_classify_exception(__func__, "check gamma config");
    }
    KX_LOG_D("  cur Gamma val is %f (min %f, max %f, inc %f) (status %i)\n", KX_FLOAT_FIELDS(gamma),
             status);
    _t_publish(KxScParamGamma, gamma);
}

void CCamProc::ProcParametrizeCamAutoFuncParams(CExCam *cam) {
    IntSetting target;
    cam->ExPropertyGetInt(AUTO_BRIGHTNESS_TARGET_PROPERTY_TYPE, &target.cur);
    cam->ExPropertyGetIntRange(AUTO_BRIGHTNESS_TARGET_PROPERTY_TYPE, &target.min, &target.max,
                               &target.inc);
    FloatSetting setting;
    setting.cur = static_cast<float>(target.cur) / kBrightnessFullScale;
    setting.min = static_cast<float>(target.min) / kBrightnessFullScale;
    setting.max = static_cast<float>(target.max) / kBrightnessFullScale;
    setting.inc = static_cast<float>(target.inc) / kBrightnessFullScale;
    KX_LOG_D("AutoFunc params: bright %f (min %f, max %f, inc %f)\n", KX_FLOAT_FIELDS(setting));
    _t_publish(KxScParamAutoBrightTarget, setting);

    cam->ExPropertyGetFloat(AUTO_GAIN_MIN_PROPERTY_TYPE, &setting.cur);
    cam->ExPropertyGetFloatRange(AUTO_GAIN_MIN_PROPERTY_TYPE, &setting.min, &setting.max,
                                 &setting.inc);
    setting.inc = kGainStep;
    KX_LOG_D("AutoFunc params: gainLimit Lower - %f (min %f, max %f, inc %f)\n",
             KX_FLOAT_FIELDS(setting));
    _t_publish(KxScParamAutoGainLower, setting);

    cam->ExPropertyGetFloat(AUTO_GAIN_MAX_PROPERTY_TYPE, &setting.cur);
    cam->ExPropertyGetFloatRange(AUTO_GAIN_MAX_PROPERTY_TYPE, &setting.min, &setting.max,
                                 &setting.inc);
    setting.inc = kGainStep;
    KX_LOG_D("AutoFunc params: gainLimit Upper - %f (min %f, max %f, inc %f)\n",
             KX_FLOAT_FIELDS(setting));
    _t_publish(KxScParamAutoGainUpper, setting);

    cam->ExPropertyGetFloat(AUTO_EXPOSURE_MIN_PROPERTY_TYPE, &setting.cur);
    cam->ExPropertyGetFloatRange(AUTO_EXPOSURE_MIN_PROPERTY_TYPE, &setting.min, &setting.max,
                                 &setting.inc);
    KX_LOG_D("AutoFunc params: expoTime Lower - %f (min %f, max %f, inc %f)\n",
             KX_FLOAT_FIELDS(setting));
    _t_publish(KxScParamAutoExpoLower, setting);

    cam->ExPropertyGetFloat(AUTO_EXPOSURE_MAX_PROPERTY_TYPE, &setting.cur);
    cam->ExPropertyGetFloatRange(AUTO_EXPOSURE_MAX_PROPERTY_TYPE, &setting.min, &setting.max,
                                 &setting.inc);
    KX_LOG_D("AutoFunc params: expoTime Upper - %f (min %f, max %f, inc %f)\n",
             KX_FLOAT_FIELDS(setting));
    _t_publish(KxScParamAutoExpoUpper, setting);
}

void CCamProc::ProcParametrizeCamOutLines(CExCam *) {
    const PinMapRow &none = KxScIoPinMapLineT[0];
    char choices[132];
    // No pin's name is longer than that.
    snprintf(choices, sizeof choices, "\"%.31s\", \"%.31s\", \"%.31s\"", none.name,
             KxScIoPinMapT[5].name, KxScIoPinMapT[6].name);
    // The current value is the table's row itself, whose number follows the name.
    KxSc__SetParamVal(KxScParamOutLines, KX_SC_NO_INDEX, &none, choices, nullptr, nullptr);
}

} // namespace KxTd

int KxTd__Proc(KxTd::CExCam *cam) {
    KX_LOG_D("KxTdProc entry: mode=%u\n", cam->info->mode);
    KxTd::CCamProc proc;
    const int result = proc.ProcOnce(cam);
    KX_LOG_D("scenario is completed (rc = %i)\n", result);
    return result;
}
