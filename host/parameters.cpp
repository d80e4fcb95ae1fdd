// Publications are copied into a waiting list during each call, since their values live no longer;
// the export turns the waiting list into the result, and without an export it is dropped. A parameter
// that is published again keeps its place and takes the new values. The functions are called from
// the plug-in's code, which an exception of ours must not enter.

#include "parameters.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "kx_api.h"

namespace kxinfo {

using T = ValueType;
const std::vector<Parameter> kParameters = {
    {KxScParamOffsetX, "KxScParamOffsetX", "Horizontal offset", T::Integer, "px"},
    {KxScParamOffsetY, "KxScParamOffsetY", "Vertical offset", T::Integer, "px"},
    {KxScParamWidth, "KxScParamWidth", "Width", T::Integer, "px"},
    {KxScParamHeight, "KxScParamHeight", "Height", T::Integer, "px"},
    {KxScParamFps, "KxScParamFps", "Frame rate", T::Float, "1/s"},
    {KxScParamRotate, "KxScParamRotate", "Rotation", T::Integer},
    {KxScParamGain, "KxScParamGain", "Gain", T::Float, "dB"},
    {KxScParamExposure, "KxScParamExposure", "Exposure time", T::Float, "us"},
    {KxScParamGamma, "KxScParamGamma", "Gamma", T::Float},
    {KxScParamAutoBrightTarget, "KxScParamAutoBrightTarget", "Auto brightness target", T::Float},
    {KxScParamAutoGainLower, "KxScParamAutoGainLower", "Auto gain, lower limit", T::Float, "dB"},
    {KxScParamAutoGainUpper, "KxScParamAutoGainUpper", "Auto gain, upper limit", T::Float, "dB"},
    {KxScParamAutoExpoLower, "KxScParamAutoExpoLower", "Auto exposure, lower limit", T::Float,
     "us"},
    {KxScParamAutoExpoUpper, "KxScParamAutoExpoUpper", "Auto exposure, upper limit", T::Float,
     "us"},
    {KxScParamOutLines, "KxScParamOutLines", "Output line", T::Text},
};

namespace {

struct Service {
    std::vector<Published> waiting;
    Publication result;
};

Service &service() {
    static Service instance;
    return instance;
}

template <class Number>
Number copied(const void *from) {
    Number number;
    std::memcpy(&number, from, sizeof number);
    return number;
}

Json valueAt(const void *from, ValueType type) {
    if (!from)
        return nullptr;
    if (type == ValueType::Float)
        return jsonNumber(copied<float>(from));
    if (type == ValueType::Integer)
        return copied<int32_t>(from);
    return static_cast<const char *>(from);
}

// Takes the names out of a list like "None", "Out1", "Out2": each stands in double quotes.
Words quotedNames(std::string_view list) {
    Words names;
    for (size_t end = 0;; ++end) {
        const size_t begin = list.find('"', end);
        end = begin == list.npos ? begin : list.find('"', begin + 1);
        if (end == list.npos)
            return names;
        names.emplace_back(list.substr(begin + 1, end - begin - 1));
    }
}

void publish(KxScParamId id, uint32_t index, const void *cur, const void *min, const void *max,
             const void *inc) {
    auto &[waiting, result] = service();
    const auto known = std::find_if(kParameters.begin(), kParameters.end(),
                                    [id](const Parameter &p) { return p.id == id; });
    if (known == kParameters.end() || index != KX_SC_NO_INDEX) {
        result.ignored.insert(id);
        return;
    }
    const ValueType type = known->type;
    Published published{&*known, valueAt(cur, type)};
    if (type != ValueType::Text) {
        published.minimum = valueAt(min, type);
        published.maximum = valueAt(max, type);
        published.increment = valueAt(inc, type);
    } else if (min) {
        published.choices = quotedNames(static_cast<const char *>(min));
    }
    const auto earlier = std::find_if(waiting.begin(), waiting.end(), [&](const Published &p) {
        return p.parameter == published.parameter;
    });
    if (earlier == waiting.end())
        waiting.push_back(std::move(published));
    else
        *earlier = std::move(published);
}

} // namespace

Publication takePublication() {
    return std::exchange(service(), Service{}).result;
}

} // namespace kxinfo

extern "C" {

KX_API void KxSc__InitStaticKeys(void) {
    kxinfo::service().waiting.clear();
}

KX_API void KxSc__SetParamVal(KxScParamId id, uint32_t index, const void *cur, const void *min,
                              const void *max, const void *inc) {
    try {
        kxinfo::publish(id, index, cur, min, max, inc);
    } catch (...) {
        kxinfo::service().result.outOfMemory = true;
    }
}

KX_API void KxSc__ProcExport(void) {
    auto &[waiting, result] = kxinfo::service();
    try {
        result.exported = waiting;
    } catch (...) {
        result.outOfMemory = true;
    }
}

} // extern "C"
