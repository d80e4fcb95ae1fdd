// Every operation reads the same way: no node map -> warn, -1; no such feature -> -2; prepare the
// camera, do it, put back what was switched for the moment; 0. What differs from property to
// property stands in two tables: the rows below, and _t_float_treatment() for what a float feature
// needs of the camera before it can be touched and for the properties shown in decibels.

#define KX_LOG_TAG "KX_TD_EXCAM"

#include "kxinfo-dalsa/kx_td_excam.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>

#include "kxinfo-dalsa/kx_log.h"

namespace KxTd {

namespace {

using GenApi_3_0::CNodeMapRef;
using GenApi_3_0::IBoolean;
using GenApi_3_0::IEnumeration;
using GenApi_3_0::IFloat;
using GenApi_3_0::IInteger;
using GenICam_3_0::gcstring;

constexpr int kDone = 0;
constexpr int kNoNodeMap = -1;
constexpr int kNoSuchFeature = -2;

// Beyond the two codes that all operations share.
constexpr int kGammaStateUnknown = 1;
constexpr int kGammaNotEnabled = -4;
constexpr int kGammaNoRange = -5;
constexpr int kGammaOutOfRange = -6;
constexpr int kNoBrightnessSequence = -3;
constexpr int kTargetOutOfRange = -5;
constexpr int kLowerLimitNoRange = -4;
constexpr int kLowerLimitOutOfRange = -5;
constexpr int kUpperLimitNoRange = -6;
constexpr int kUpperLimitOutOfRange = -7;
constexpr int kLowerLimitNotSet = -8;
constexpr int kUpperLimitNotSet = -9;

// The names are the camera's own, with its mixed spelling. Both balance ratios are one feature,
// told apart by its selector; the last row names no feature.
const PropertyEntry _S_PropertyEntries[kPropertyCount] = {
    {"WidthMax", 0, 0, 0, 0, 0, false, false},
    {"HeightMax", 0, 0, 0, 0, 0, false, false},
    {"Width", 0, 0, 0, 0, 0, false, false},
    {"Height", 0, 0, 0, 0, 0, false, false},
    {"OffsetX", 0, 0, 0, 0, 0, false, false},
    {"OffsetY", 0, 0, 0, 0, 0, false, false},
    {"Gain", 0, 0, 0, 0, 0, false, false},
    {"ExposureTime", 0, 0, 0, 0, 0, false, false},
    {"gammaCorrection", 0, 0, 0, 0, 0, false, false},
    {"AcquisitionFrameRate", 0, 0, 0, 0, 0, false, false},
    {"autoBrightnessTarget", 0, 0, 0, 0, 0, false, false},
    {"exposureAutoMinValue", 0, 0, 0, 0, 0, false, false},
    {"exposureAutoMaxValue", 0, 0, 0, 0, 0, false, false},
    {"gainAutoMinValue", 0, 0, 0, 0, 0, false, false},
    {"gainAutoMaxValue", 0, 0, 0, 0, 0, false, false},
    {"ExposureAuto", 0, 0, 0, 0, 0, false, false},
    {"GainAuto", 0, 0, 0, 0, 0, false, false},
    {"ReverseX", 0, 0, 0, 0, 0, false, false},
    {"ReverseY", 0, 0, 0, 0, 0, false, false},
    {"balanceWhitePeriod", 0, 0, 0, 0, 0, false, false},
    {"BalanceRatio", 0, 0, 0, 0, 0, false, false},
    {"BalanceRatio", 0, 0, 0, 0, 0, false, false},
    {"UNSPECIFIED_PROPERTY_TYPE", 0, 0, 0, 0, 0, false, false},
};

int _t_row_of(PropertyType type) {
    const int row = type % kPropertyCount;
    return row < 0 ? UNSPECIFIED_PROPERTY_TYPE : row;
}

// The node of that name, seen as the interface asked for; null when there is no such node or it is
// of another kind.
template <typename Interface>
Interface *_t_find(const CNodeMapRef *nodeMap, const char *name) {
    return dynamic_cast<Interface *>(nodeMap->_GetNode(name));
}

template <typename T>
void _t_deliver(T *output, T value) {
    if (output)
        *output = value;
}

void _t_set_entry(IEnumeration *enumeration, const char *entry) {
    enumeration->FromString(entry, true);
}

// Switches an enumeration to another entry while an operation works, and back. There is no
// restoring in a destructor on purpose: an exception leaves the camera as it is, since nobody knows
// whether it still takes commands. Of a null enumeration nothing is needed.
class TemporaryEntry {
public:
    TemporaryEntry(IEnumeration *enumeration, const char *wanted)
        : enumeration_(enumeration), wanted_(wanted) {
        if (enumeration_)
            kept_ = enumeration_->ToString(false, false);
    }

    bool needed() const { return enumeration_ && kept_ != wanted_; }

    void apply() {
        _t_set_entry(enumeration_, wanted_);
        applied_ = true;
    }

    void applyIfNeeded() {
        if (needed())
            apply();
    }

    void restore() {
        if (applied_)
            enumeration_->FromString(kept_, true);
    }

private:
    IEnumeration *enumeration_;
    const char *wanted_;
    gcstring kept_;
    bool applied_ = false;
};

// The camera shows its brightness target, and the limits of its automatic functions, only while its
// brightness mode is active.
TemporaryEntry _t_active_brightness_mode(const CNodeMapRef *nodeMap) {
    return {_t_find<IEnumeration>(nodeMap, "autoBrightnessMode"), "Active"};
}

TemporaryEntry _t_integer_preparation(const CNodeMapRef *nodeMap, int row) {
    if (row == AUTO_BRIGHTNESS_TARGET_PROPERTY_TYPE)
        return _t_active_brightness_mode(nodeMap);
    return {nullptr, ""};
}

// What a float feature needs of the camera. Deliberately, readers and writers differ: only readers
// touch the automatic functions, and what they switch there (but for the brightness mode) stays.
struct FloatTreatment {
    const char *selector; // set to selectorEntry before reading and writing, and left there
    const char *selectorEntry;
    const char *automation; // reading: set to "Continuous" while the brightness mode is active
    const char *source;     // reading: then set to "SensorAll"
    bool readsDecibels;
    bool writesDecibels;
};

FloatTreatment _t_float_treatment(int row) {
    switch (row) {
    case GAIN_PROPERTY_TYPE:
        return {"GainSelector", "SensorAll", nullptr, nullptr, true, true};
    case AUTO_EXPOSURE_MIN_PROPERTY_TYPE:
    case AUTO_EXPOSURE_MAX_PROPERTY_TYPE:
        return {nullptr, nullptr, "ExposureAuto", nullptr, false, false};
    case AUTO_GAIN_MIN_PROPERTY_TYPE:
    case AUTO_GAIN_MAX_PROPERTY_TYPE:
        return {nullptr, nullptr, "GainAuto", "gainAutoSource", true, false};
    case BALANCE_RATIO_RED_PROPERTY_TYPE:
        return {"BalanceRatioSelector", "Red", nullptr, nullptr, true, true};
    case BALANCE_RATIO_BLUE_PROPERTY_TYPE:
        return {"BalanceRatioSelector", "Blue", nullptr, nullptr, true, true};
    default:
        return {nullptr, nullptr, nullptr, nullptr, false, false};
    }
}

void _t_select(const CNodeMapRef *nodeMap, const FloatTreatment &treatment) {
    if (!treatment.selector)
        return;
    if (auto *selector = _t_find<IEnumeration>(nodeMap, treatment.selector))
        _t_set_entry(selector, treatment.selectorEntry);
}

void _t_force_continuous(const CNodeMapRef *nodeMap, const char *automation) {
    auto *enumeration = _t_find<IEnumeration>(nodeMap, automation);
    if (!enumeration)
        return;
    if (enumeration->ToString(false, false) != "Continuous")
        _t_set_entry(enumeration, "Continuous");
}

// Prepares the camera for reading a float feature; the caller restores what is returned. Given an
// operation's name, the steps for the automatic gain limits are logged for it.
TemporaryEntry _t_prepare_reading(const CNodeMapRef *nodeMap, const FloatTreatment &treatment,
                                  const char *operation) {
    _t_select(nodeMap, treatment);
    if (!treatment.automation)
        return {nullptr, ""};

    const bool logged = operation && treatment.source;
    TemporaryEntry brightnessMode = _t_active_brightness_mode(nodeMap);
    if (brightnessMode.needed()) {
        if (logged)
            KX_LOG_D_AS(operation, "temporary enabling auto mode...\n");
        brightnessMode.apply();
        if (logged)
            KX_LOG_D_AS(operation, "done\n");
    }

    _t_force_continuous(nodeMap, treatment.automation);

    if (auto *source =
            treatment.source ? _t_find<IEnumeration>(nodeMap, treatment.source) : nullptr) {
        if (logged)
            KX_LOG_D_AS(operation, "temporary enabling SensorAll mode for autogain ...\n");
        _t_set_entry(source, "SensorAll");
        if (logged)
            KX_LOG_D_AS(operation, "done\n");
    }
    return brightnessMode;
}

float _t_to_decibels(float linear) {
    return 20.0f * log10f(linear);
}

float _t_to_linear(float decibels) {
    return powf(10.0f, decibels / 20.0f);
}

// The integer that a limit or a target is written as: without its fraction, and defined for every
// float, since one that is not a number passes the checks of bounds.
int _t_truncated(float value) {
    if (std::isnan(value))
        return 0;
    // The first float above the integers of 32 bits, and the lowest of them, which is a float.
    if (value >= 2147483648.0f)
        return std::numeric_limits<int32_t>::max();
    if (value <= -2147483648.0f)
        return std::numeric_limits<int32_t>::min();
    return static_cast<int>(value);
}

float _t_float_increment(const PropertyEntry &entry) {
    float increment;
    std::memcpy(&increment, &entry.incrementBits, sizeof increment);
    return increment;
}

void _t_store_float_range(PropertyEntry &entry, float min, float max, float inc) {
    entry.floatMin = min;
    entry.floatMax = max;
    std::memcpy(&entry.incrementBits, &inc, sizeof inc);
    entry.floatRangeValid = true;
}

void _t_deliver_float_range(const PropertyEntry &entry, float *min, float *max, float *inc) {
    _t_deliver(min, entry.floatMin);
    _t_deliver(max, entry.floatMax);
    _t_deliver(inc, _t_float_increment(entry));
}

void _t_deliver_int_range(const PropertyEntry &entry, int *min, int *max, int *inc) {
    _t_deliver(min, entry.intMin);
    _t_deliver(max, entry.intMax);
    _t_deliver(inc, entry.incrementBits);
}

// What the limits of automatic gain and of automatic exposure have in common, and what not.
struct AutoLimits {
    PropertyType lower;
    PropertyType upper;
    const char *title; // in messages about ranges
    const char *name;  // in messages about limits
    bool inDecibels;
};

// Both limits are checked before the lower is written, and the lower is written before the upper;
// if that fails, the new lower limit stays. Logs for the operation given.
int _t_set_auto_limits(CExCam &cam, const AutoLimits &limits, float min, float max,
                       const char *operation) {
    const auto written = [&limits](float limit) {
        return _t_truncated(limits.inDecibels ? _t_to_linear(limit) : limit);
    };
    float lowest = 0;
    float highest = 0;
    if (cam.ExPropertyGetFloatRange(limits.lower, &lowest, &highest, nullptr) != kDone) {
        KX_LOG_W_AS(operation, "Can't get %s Min values range for auto mode\n", limits.title);
        return kLowerLimitNoRange;
    }
    if (min > max || lowest > min || min > highest) {
        KX_LOG_W_AS(operation, "AUTO_%s_RANGE Min is out of bounds: %f is out of %f..%f\n",
                    limits.name, static_cast<double>(min), static_cast<double>(lowest),
                    static_cast<double>(highest));
        return kLowerLimitOutOfRange;
    }
    if (cam.ExPropertyGetFloatRange(limits.upper, &lowest, &highest, nullptr) != kDone) {
        KX_LOG_W_AS(operation, "Can't get %s Max values range for auto mode\n", limits.title);
        return kUpperLimitNoRange;
    }
    if (lowest > max || max > highest) {
        KX_LOG_W_AS(operation, "AUTO_%s_RANGE Max is out of bounds: %f is out of %f..%f\n",
                    limits.name, static_cast<double>(max), static_cast<double>(lowest),
                    static_cast<double>(highest));
        return kUpperLimitOutOfRange;
    }
    if (cam.ExPropertySetInt(limits.lower, written(min)) != kDone) {
        KX_LOG_W_AS(operation, "Can't set AUTO_%s_MIN\n", limits.name);
        return kLowerLimitNotSet;
    }
    if (cam.ExPropertySetInt(limits.upper, written(max)) != kDone) {
        KX_LOG_W_AS(operation, "Can't set AUTO_%s_MAX\n", limits.name);
        return kUpperLimitNotSet;
    }
    return kDone;
}

int _t_no_node_map(const char *operation, int number, const char *name) {
    KX_LOG_W_AS(operation, "can't get property info %u (%s)\n", static_cast<unsigned>(number),
                name);
    return kNoNodeMap;
}

} // namespace

CExCam::CExCam(void *cameraHandle) : handle(cameraHandle), info(nullptr), reserved_{-1, -1} {
    std::copy(std::begin(_S_PropertyEntries), std::end(_S_PropertyEntries), entries_);
    nodeMap = static_cast<CNodeMapRef *>(GevGetFeatureNodeMap(cameraHandle));
}

CExCam::~CExCam() = default;

int CExCam::ExPropertyGetInt(PropertyType type, int *value) {
    const int row = _t_row_of(type);
    const char *name = entries_[row].name;
    if (!nodeMap)
        return _t_no_node_map(__func__, row, name);

    TemporaryEntry preparation = _t_integer_preparation(nodeMap, row);
    preparation.applyIfNeeded();

    int result = kNoSuchFeature;
    if (auto *node = _t_find<IInteger>(nodeMap, name)) {
        _t_deliver(value, static_cast<int>(node->GetValue(false, false)));
        result = kDone;
    }

    preparation.restore();
    return result;
}

int CExCam::ExPropertySetInt(PropertyType type, int value) {
    const int row = _t_row_of(type);
    const char *name = entries_[row].name;
    if (!nodeMap)
        return _t_no_node_map(__func__, row, name);

    TemporaryEntry preparation = _t_integer_preparation(nodeMap, row);
    preparation.applyIfNeeded();

    int result = kNoSuchFeature;
    if (auto *node = _t_find<IInteger>(nodeMap, name)) {
        node->SetValue(value, true);
        KX_LOG_D("### set property %u (%s) to %i ###\n", static_cast<unsigned>(row), name, value);
        result = kDone;
    }

    preparation.restore();
    return result;
}

int CExCam::ExPropertyGetIntRange(PropertyType type, int *min, int *max, int *inc) {
    const int row = _t_row_of(type);
    PropertyEntry &entry = entries_[row];
    if (entry.intRangeValid) {
        _t_deliver_int_range(entry, min, max, inc);
        return kDone;
    }
    if (!nodeMap)
        return _t_no_node_map(__func__, type, entry.name);

    TemporaryEntry preparation = _t_integer_preparation(nodeMap, row);
    preparation.applyIfNeeded();

    int result = kNoSuchFeature;
    if (auto *node = _t_find<IInteger>(nodeMap, entry.name)) {
        const int64_t lowest = node->GetMin();
        const int64_t highest = node->GetMax();
        const int64_t step = node->GetInc();
        entry.intMin = static_cast<int32_t>(lowest);
        entry.intMax = static_cast<int32_t>(highest);
        entry.incrementBits = static_cast<int32_t>(step);
        entry.intRangeValid = true;
        KX_LOG_D("### get property %u (%s) range: min=%i max=%i inc=%i ###\n",
                 static_cast<unsigned>(row), entry.name, entry.intMin, entry.intMax,
                 entry.incrementBits);
        result = kDone;
    }

    preparation.restore();
    // Also when the feature is missing: callers are told by the result, the values are the row's.
    _t_deliver_int_range(entry, min, max, inc);
    return result;
}

int CExCam::ExPropertyGetFloat(PropertyType type, float *value) {
    const int row = _t_row_of(type);
    const char *name = entries_[row].name;
    if (!nodeMap)
        return _t_no_node_map(__func__, row, name);

    const FloatTreatment treatment = _t_float_treatment(row);
    TemporaryEntry preparation = _t_prepare_reading(nodeMap, treatment, __func__);

    int result = kNoSuchFeature;
    if (auto *node = _t_find<IFloat>(nodeMap, name)) {
        const auto read = static_cast<float>(node->GetValue(false, false));
        if (value)
            *value = treatment.readsDecibels ? _t_to_decibels(read) : read;
        result = kDone;
    }

    preparation.restore();
    return result;
}

int CExCam::ExPropertySetFloat(PropertyType type, float value) {
    const int row = _t_row_of(type);
    const char *name = entries_[row].name;
    if (!nodeMap)
        return _t_no_node_map(__func__, row, name);

    const FloatTreatment treatment = _t_float_treatment(row);
    _t_select(nodeMap, treatment);

    auto *node = _t_find<IFloat>(nodeMap, name);
    if (!node)
        return kNoSuchFeature;

    const float written = treatment.writesDecibels ? _t_to_linear(value) : value;
    node->SetValue(static_cast<double>(written), true);
    KX_LOG_D("### set property %u (%s) to %f ###\n", static_cast<unsigned>(row), name,
             static_cast<double>(value));
    return kDone;
}

int CExCam::ExPropertyGetFloatRange(PropertyType type, float *min, float *max, float *inc) {
    const int row = _t_row_of(type);
    PropertyEntry &entry = entries_[row];
    if (entry.floatRangeValid) {
        _t_deliver_float_range(entry, min, max, inc);
        return kDone;
    }
    if (!nodeMap)
        return _t_no_node_map(__func__, type, entry.name);

    const FloatTreatment treatment = _t_float_treatment(row);
    TemporaryEntry preparation = _t_prepare_reading(nodeMap, treatment, nullptr);

    int result = kNoSuchFeature;
    if (auto *node = _t_find<IFloat>(nodeMap, entry.name)) {
        const double lowest = node->GetMin();
        const double highest = node->GetMax();
        const double step = node->GetInc();
        if (treatment.readsDecibels)
            // The increment is the first step above the minimum in decibels, not a step width.
            _t_store_float_range(entry, _t_to_decibels(static_cast<float>(lowest)),
                                 _t_to_decibels(static_cast<float>(highest)),
                                 _t_to_decibels(static_cast<float>(lowest + step)));
        else
            _t_store_float_range(entry, static_cast<float>(lowest), static_cast<float>(highest),
                                 static_cast<float>(step));
        KX_LOG_D("### get property %u (%s) range: min=%f max=%f inc=%f ###\n",
                 static_cast<unsigned>(row), entry.name, static_cast<double>(entry.floatMin),
                 static_cast<double>(entry.floatMax),
                 static_cast<double>(_t_float_increment(entry)));
        _t_deliver_float_range(entry, min, max, inc);
        result = kDone;
    }

    preparation.restore();
    return result;
}

int CExCam::ExPropertySetEna(PropertyType type, bool enable) {
    const int row = _t_row_of(type);
    const char *name = entries_[row].name;
    if (!nodeMap)
        return _t_no_node_map(__func__, row, name);

    auto *node = _t_find<IBoolean>(nodeMap, name);
    if (!node)
        return kNoSuchFeature;

    node->SetValue(enable, true);
    KX_LOG_D("### set property %u (%s) to %i ###\n", static_cast<unsigned>(row), name,
             static_cast<int>(enable));
    return kDone;
}

int CExCam::ExPropertySetEnumFromStr(const char *feature, const char *entry) {
    if (!nodeMap) {
        // The lookup table's words, which log tools look for here too.
        KX_LOG_W("can't get dev params to change LutGamma mode\n");
        return kNoNodeMap;
    }

    auto *enumeration = _t_find<IEnumeration>(nodeMap, feature);
    if (!enumeration)
        return kNoSuchFeature;

    _t_set_entry(enumeration, entry);
    KX_LOG_D("### set enum param \"%s\" to \"%s\"\n", feature, entry);
    return kDone;
}

int CExCam::ExPropertySetEnaAutoPush(PropertyType type, bool enable) {
    const int row = _t_row_of(type);
    const char *name = entries_[row].name;
    if (!nodeMap) {
        KX_LOG_W("Can't get dev params to enable Auto mode\n");
        return kNoNodeMap;
    }

    TemporaryEntry brightnessMode = _t_active_brightness_mode(nodeMap);
    if (brightnessMode.needed()) {
        if (!enable)
            return kDone; // while automatic control is inactive, all of it is off
        brightnessMode.apply();
    }

    int result = kNoSuchFeature;
    if (auto *automation = _t_find<IEnumeration>(nodeMap, name)) {
        const char *entry = enable ? "Continuous" : "Off";
        _t_set_entry(automation, entry);
        KX_LOG_D("### set property %u (%s) to \"%s\" ###\n", static_cast<unsigned>(row), name,
                 entry);
        result = kDone;
    }

    brightnessMode.restore();
    return result;
}

int CExCam::ExPropertySetAutoOff(PropertyType type) {
    return ExPropertySetEnaAutoPush(type, false);
}

int CExCam::ExPropertySetAutoCont(PropertyType type) {
    return ExPropertySetEnaAutoPush(type, true);
}

int CExCam::ExSetAutoExpoEna(bool enable) {
    if (!nodeMap) {
        KX_LOG_W("can't get dev params to trigger Auto mode\n");
        return kNoNodeMap;
    }

    auto *brightnessMode = _t_find<IEnumeration>(nodeMap, "autoBrightnessMode");
    if (!brightnessMode)
        return kNoSuchFeature;
    const char *mode = enable ? "Active" : "Off";
    _t_set_entry(brightnessMode, mode);
    KX_LOG_D("### set property autoBrightnessMode to %s ###\n", mode);
    if (!enable)
        return kDone;

    auto *sequence = _t_find<IEnumeration>(nodeMap, "autoBrightnessSequence");
    if (!sequence)
        return kNoBrightnessSequence;
    _t_set_entry(sequence, "Exposure_Gain_Iris");
    // The message has a name of its own for the entry.
    KX_LOG_D("### set property autoBrightnessSequence to ExpoGainIris ###\n");
    return kDone;
}

int CExCam::ExSetAutoExpoVal(float target) {
    if (0.0f > target || target > 1.0f) {
        // Log tools know this one without a line end.
        KX_LOG_W("the value %f is out of bounds [%f;%f]", static_cast<double>(target), 0.0, 1.0);
        return kTargetOutOfRange;
    }
    return ExPropertySetInt(AUTO_BRIGHTNESS_TARGET_PROPERTY_TYPE,
                            _t_truncated(roundf(target * 255.0f)));
}

int CExCam::ExPropertySetAutoRangeGain(float minDb, float maxDb) {
    return _t_set_auto_limits(
        *this, {AUTO_GAIN_MIN_PROPERTY_TYPE, AUTO_GAIN_MAX_PROPERTY_TYPE, "Gain", "GAIN", true},
        minDb, maxDb, __func__);
}

int CExCam::ExPropertySetAutoRangeExpo(float minVal, float maxVal) {
    return _t_set_auto_limits(*this,
                              {AUTO_EXPOSURE_MIN_PROPERTY_TYPE, AUTO_EXPOSURE_MAX_PROPERTY_TYPE,
                               "Shutter", "SHUTTER", false},
                              minVal, maxVal, __func__);
}

td_lg_states CExCam::ExPropertyGetLUTMode() {
    if (!nodeMap) {
        KX_LOG_W("can't get dev params to get LutGamma mode\n");
        return TD_LG_UNKNOWN;
    }

    auto *lutMode = _t_find<IEnumeration>(nodeMap, "lutMode");
    auto *lutType = _t_find<IEnumeration>(nodeMap, "lutType");
    if (!lutMode || !lutType)
        return TD_LG_UNKNOWN;

    const gcstring mode = lutMode->ToString(false, false);
    const gcstring type = lutType->ToString(false, false);
    KX_LOG_D("### get Lut mode \"%s\"; Lut type \"%s\" ###\n", mode.c_str(), type.c_str());

    if (mode == "Off")
        return TD_LG_OFF;
    if (mode != "Active")
        return TD_LG_OTHER;
    if (type == "UserDefined")
        return TD_LG_USER_LUT;
    if (type == "GammaCorrection")
        return TD_LG_GAMMA;
    return TD_LG_OTHER;
}

int CExCam::ExPropertySetLUTMode(td_lg_states state) {
    if (!nodeMap) {
        KX_LOG_W("can't get dev params to change LutGamma mode\n");
        return kNoNodeMap;
    }

    auto *lutMode = _t_find<IEnumeration>(nodeMap, "lutMode");
    auto *lutType = _t_find<IEnumeration>(nodeMap, "lutType");
    if (!lutMode || !lutType)
        return kNoSuchFeature;

    const char *mode = "Off";
    const char *type = ""; // the table keeps the type it has
    if (state == TD_LG_USER_LUT || state == TD_LG_GAMMA) {
        mode = "Active";
        type = state == TD_LG_GAMMA ? "GammaCorrection" : "UserDefined";
        _t_set_entry(lutType, type);
    }
    if (state == TD_LG_USER_LUT) {
        if (auto *lutSize = _t_find<IEnumeration>(nodeMap, "lutSize"))
            _t_set_entry(lutSize, "Bpp12");
    }
    _t_set_entry(lutMode, mode);
    KX_LOG_D("### set Lut mode to \"%s\"; Lut type to \"%s\" ###\n", mode, type);
    return kDone;
}

int CExCam::ExPropertyGetGammaRange(float *min, float *max, float *inc) {
    PropertyEntry &entry = entries_[GAMMA_PROPERTY_TYPE];
    if (entry.floatRangeValid) {
        _t_deliver_float_range(entry, min, max, inc);
        return kDone;
    }

    const td_lg_states state = ExPropertyGetLUTMode();
    if (state == TD_LG_UNKNOWN)
        return kGammaStateUnknown;

    // The camera shows gamma only while the table's type is the gamma curve.
    TemporaryEntry gammaType(state == TD_LG_GAMMA ? nullptr
                                                  : _t_find<IEnumeration>(nodeMap, "lutType"),
                             "GammaCorrection");
    if (gammaType.needed()) {
        gammaType.apply();
        KX_LOG_D("### Gamma feature is disabled ###\n");
    }

    int result = kNoSuchFeature;
    if (auto *node = _t_find<IFloat>(nodeMap, entry.name)) {
        KX_LOG_D("Gamma correction range: node is obtained\n");
        const double lowest = node->GetMin();
        const double highest = node->GetMax();
        const double step = node->GetInc();
        _t_store_float_range(entry, static_cast<float>(lowest), static_cast<float>(highest),
                             static_cast<float>(step));
        KX_LOG_D("### Gamma range: min=%f max=%f ###\n", static_cast<double>(entry.floatMin),
                 static_cast<double>(entry.floatMax));
        _t_deliver_float_range(entry, min, max, inc);
        result = kDone;
    }

    gammaType.restore();
    return result;
}

int CExCam::ExPropertyGetGamma(float *gamma) {
    const td_lg_states state = ExPropertyGetLUTMode();
    if (state != TD_LG_UNKNOWN && state != TD_LG_GAMMA) {
        KX_LOG_D("### Gamma feature is disabled (%u) ###\n", static_cast<unsigned>(state));
        _t_deliver(gamma, -1.0f);
        return kDone;
    }

    if (state == TD_LG_GAMMA && ExPropertyGetGammaRange(nullptr, nullptr, nullptr) != kDone)
        KX_LOG_W("Can't get Gamma range\n");

    // A camera that does not tell what its table does may have a gamma all the same.
    const char *name = entries_[GAMMA_PROPERTY_TYPE].name;
    auto *node = nodeMap ? _t_find<IFloat>(nodeMap, name) : nullptr;
    if (!node) {
        KX_LOG_W("Can't get Gamma enum parameter\n");
        return kNoSuchFeature;
    }

    const auto read = static_cast<float>(node->GetValue(false, false));
    KX_LOG_D("### get Gamma value: %f ###\n", static_cast<double>(read));
    _t_deliver(gamma, read);
    return kDone;
}

int CExCam::ExPropertySetGamma(float gamma) {
    const td_lg_states state = ExPropertyGetLUTMode();
    if (state == TD_LG_UNKNOWN)
        return kNoNodeMap;

    const auto asked = static_cast<double>(gamma);
    if (state == TD_LG_GAMMA) {
        float min = 0;
        float max = 0;
        if (ExPropertyGetGammaRange(&min, &max, nullptr) != kDone) {
            KX_LOG_W("Can't get Gamma range\n");
            return kGammaNoRange;
        }
        // A value slightly outside is left to the camera to judge; so is one that is not a number.
        const double lower = static_cast<double>(min) - 0.06;
        const double upper = static_cast<double>(max) + 0.06;
        if (lower > asked || asked > upper) {
            KX_LOG_W("Asked Gamma value %f is out of bounds [%f..%f]\n", asked, lower, upper);
            return kGammaOutOfRange;
        }
    } else {
        KX_LOG_D("### Gamma feature is disabled ###\n");
        if (ExPropertySetLUTMode(TD_LG_GAMMA) != kDone) {
            KX_LOG_W("Can't enable Gamma feature\n");
            return kGammaNotEnabled;
        }
    }

    auto *node = _t_find<IFloat>(nodeMap, entries_[GAMMA_PROPERTY_TYPE].name);
    if (!node) {
        KX_LOG_W("Can't get Gamma enum parameter\n");
        return kNoSuchFeature;
    }

    node->SetValue(asked, true);
    KX_LOG_D("### set Gamma value: %f ###\n", asked);
    return kDone;
}

int CExCam::ExPropertySetLUTChannel(int channel, int channelCount) {
    if (channelCount <= 1)
        return kDone;
    if (!nodeMap) {
        KX_LOG_W("can't get dev params to set LUT value\n");
        return kNoNodeMap;
    }

    auto *selector = _t_find<IEnumeration>(nodeMap, "LUTSelector");
    if (!selector) {
        KX_LOG_W("can't get LUTSelector parameter\n");
        return kNoSuchFeature;
    }

    _t_set_entry(selector, channel == 0 ? "Red" : channel == 1 ? "Green" : "Blue");
    return kDone;
}

int CExCam::ExPropertySetLUTValue(int index, int value) {
    if (!nodeMap) {
        KX_LOG_W("can't get dev params to set LUT value\n");
        return kNoNodeMap;
    }

    auto *lutIndex = _t_find<IInteger>(nodeMap, "LUTIndex");
    auto *lutValue = _t_find<IInteger>(nodeMap, "LUTValue");
    if (!lutIndex || !lutValue)
        return kNoSuchFeature;

    lutIndex->SetValue(index, true);
    lutValue->SetValue(value, true);
    return kDone;
}

} // namespace KxTd
