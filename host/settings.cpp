#include "settings.h"

#include <algorithm>
#include <cstring>

namespace kxinfo {

namespace {

Value copyValue(ValueType type, const void *from) {
    if (!from)
        return {};
    switch (type) {
    case ValueType::Float: {
        float value;
        std::memcpy(&value, from, sizeof value);
        return value;
    }
    case ValueType::Integer: {
        int32_t value;
        std::memcpy(&value, from, sizeof value);
        return value;
    }
    case ValueType::Text:
        break;
    }
    return std::string(static_cast<const char *>(from));
}

// Takes the names out of a list like "None", "Out1", "Out2": each stands in double quotes.
std::vector<std::string> quotedNames(std::string_view list) {
    std::vector<std::string> names;
    for (;;) {
        const auto open = list.find('"');
        if (open == list.npos)
            return names;
        const auto close = list.find('"', open + 1);
        if (close == list.npos)
            return names;
        names.emplace_back(list.substr(open + 1, close - open - 1));
        list.remove_prefix(close + 1);
    }
}

} // namespace

const std::vector<Setting> &knownSettings() {
    using T = ValueType;
    static const std::vector<Setting> settings = {
        {KxScParamFps, "KxScParamFps", "Frame rate", T::Float, "1/s"},
        {KxScParamGamma, "KxScParamGamma", "Gamma", T::Float, nullptr},
        {KxScParamRotate, "KxScParamRotate", "Rotation", T::Integer, nullptr},
        {KxScParamOffsetX, "KxScParamOffsetX", "Horizontal offset", T::Integer, "px"},
        {KxScParamOffsetY, "KxScParamOffsetY", "Vertical offset", T::Integer, "px"},
        {KxScParamWidth, "KxScParamWidth", "Width", T::Integer, "px"},
        {KxScParamHeight, "KxScParamHeight", "Height", T::Integer, "px"},
        {KxScParamAutoBrightTarget, "KxScParamAutoBrightTarget", "Auto brightness target", T::Float,
         nullptr},
        {KxScParamAutoGainLower, "KxScParamAutoGainLower", "Auto gain, lower limit", T::Float,
         "dB"},
        {KxScParamAutoGainUpper, "KxScParamAutoGainUpper", "Auto gain, upper limit", T::Float,
         "dB"},
        {KxScParamAutoExpoLower, "KxScParamAutoExpoLower", "Auto exposure, lower limit", T::Float,
         "us"},
        {KxScParamAutoExpoUpper, "KxScParamAutoExpoUpper", "Auto exposure, upper limit", T::Float,
         "us"},
        {KxScParamGain, "KxScParamGain", "Gain", T::Float, "dB"},
        {KxScParamExposure, "KxScParamExposure", "Exposure time", T::Float, "us"},
        {KxScParamOutLines, "KxScParamOutLines", "Output line", T::Text, nullptr},
    };
    return settings;
}

const Setting *findSetting(KxScParamId id) {
    const auto &all = knownSettings();
    const auto row =
        std::find_if(all.begin(), all.end(), [id](const Setting &s) { return s.id == id; });
    return row == all.end() ? nullptr : &*row;
}

PublishedSetting copyPublication(const Setting &setting, const void *cur, const void *min,
                                 const void *max, const void *inc) {
    PublishedSetting published{&setting, copyValue(setting.type, cur), {}, {}, {}, {}};
    if (setting.type == ValueType::Text) {
        if (min)
            published.choices = quotedNames(static_cast<const char *>(min));
        return published;
    }
    published.minimum = copyValue(setting.type, min);
    published.maximum = copyValue(setting.type, max);
    published.increment = copyValue(setting.type, inc);
    return published;
}

} // namespace kxinfo
