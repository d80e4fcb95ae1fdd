// Publications are copied into a waiting list during each call, since their values live no longer;
// the export turns the waiting list into the result, and without an export it is dropped. A parameter
// that is published again keeps its place and takes the new values.

#include "parameters.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "cli/host_options.h"
#include "cli/text.h"
#include "kx_api.h"

namespace kxinfo {

const std::vector<Parameter> kParameters = {
    {KxScParamOffsetX, "KxScParamOffsetX", "Horizontal offset", kInteger, "px"},
    {KxScParamOffsetY, "KxScParamOffsetY", "Vertical offset", kInteger, "px"},
    {KxScParamWidth, "KxScParamWidth", "Width", kInteger, "px"},
    {KxScParamHeight, "KxScParamHeight", "Height", kInteger, "px"},
    {KxScParamFps, "KxScParamFps", "Frame rate", kFloat, "1/s"},
    {KxScParamRotate, "KxScParamRotate", "Rotation", kInteger},
    {KxScParamGain, "KxScParamGain", "Gain", kFloat, "dB"},
    {KxScParamExposure, "KxScParamExposure", "Exposure time", kFloat, "us"},
    {KxScParamGamma, "KxScParamGamma", "Gamma", kFloat},
    {KxScParamAutoBrightTarget, "KxScParamAutoBrightTarget", "Auto brightness target", kFloat},
    {KxScParamAutoGainLower, "KxScParamAutoGainLower", "Auto gain, lower limit", kFloat, "dB"},
    {KxScParamAutoGainUpper, "KxScParamAutoGainUpper", "Auto gain, upper limit", kFloat, "dB"},
    {KxScParamAutoExpoLower, "KxScParamAutoExpoLower", "Auto exposure, lower limit", kFloat, "us"},
    {KxScParamAutoExpoUpper, "KxScParamAutoExpoUpper", "Auto exposure, upper limit", kFloat, "us"},
    {KxScParamOutLines, "KxScParamOutLines", "Output line", kText},
};

namespace {

std::vector<Published> waiting;
Publication result;

Json valueAt(const void *from, ValueType type) {
    if (!from)
        return nullptr;
    if (type == kFloat)
        return jsonNumber(*static_cast<const float *>(from));
    if (type == kInteger)
        return *static_cast<const int32_t *>(from);
    return static_cast<const char *>(from);
}

// Takes the names out of a list like "None", "Out1", "Out2": each stands in double quotes.
Words quotedNames(const char *list) {
    Words names;
    std::istringstream parts(list);
    for (std::string between, name;
         getline(parts, between, '"') && getline(parts, name, '"') && !parts.eof();)
        names.push_back(name);
    return names;
}

void publish(KxScParamId id, uint32_t index, const void *cur, const void *min, const void *max,
             const void *inc) {
    const auto known = std::find_if(kParameters.begin(), kParameters.end(),
                                    [id](const Parameter &p) { return p.id == id; });
    if (known == kParameters.end() || index != KX_SC_NO_INDEX) {
        result.ignored.insert(id);
        return;
    }
    const ValueType type = known->type;
    Published published = unpublished(*known);
    published.json["current"] = valueAt(cur, type);
    if (type != kText) {
        published.json["minimum"] = valueAt(min, type);
        published.json["maximum"] = valueAt(max, type);
        published.json["increment"] = valueAt(inc, type);
    } else if (min) {
        published.json["choices"] = quotedNames(static_cast<const char *>(min));
    }
    const auto earlier = std::find_if(waiting.begin(), waiting.end(), [&](const Published &p) {
        return p.parameter == published.parameter;
    });
    if (earlier == waiting.end())
        waiting.push_back(std::move(published));
    else
        *earlier = std::move(published);
}

// For people, who read numbers with fewer digits.
std::string textOf(const Json &value) {
    if (value.is_number_float())
        return numberText(value.get<float>()); // all that it has been published with
    if (value.is_string())
        return cleaned(value.get<std::string>());
    return value.is_null() ? kNone : value.dump();
}

} // namespace

Published unpublished(const Parameter &parameter) {
    Json json = {{"id", parameter.id},     {"name", parameter.name},
                 {"type", parameter.type}, {"unit", parameter.unit ? Json(parameter.unit) : Json()},
                 {"current", nullptr},     {"minimum", nullptr},
                 {"maximum", nullptr},     {"increment", nullptr}};
    if (parameter.type == kText)
        json["choices"] = Json::array();
    return {&parameter, std::move(json)};
}

Publication takePublication() {
    waiting.clear();
    return std::exchange(result, {});
}

std::string asTable(const std::string &serial, const std::vector<Published> &published) {
    const std::string heading =
        serial.empty() ? "First camera found\n\n" : kProbeHeading + ('"' + serial + "\"\n\n");
    if (published.empty())
        return heading + "No settings were published.\n";

    std::vector<Row> rows{{{"Setting", "Current", "Minimum", "Maximum", "Step", "Unit"}}};
    for (const auto &[parameter, json] : published) {
        Words cells{parameter->title, textOf(json["current"])};
        if (parameter->type == kText)
            cells.push_back(cleaned(choicesText(json["choices"])));
        else
            for (const char *member : {"minimum", "maximum", "increment", "unit"})
                cells.push_back(textOf(json[member]));
        rows.push_back({cells});
    }
    return heading + tableText(rows);
}

std::string asJson(const std::string &serial, const std::vector<Published> &published) {
    Json parameters = Json::array();
    for (const Published &each : published)
        parameters.push_back(each.json);
    return jsonText({{"version", 1}, {"serial", serial}, {"parameters", parameters}});
}

} // namespace kxinfo

extern "C" {

KX_API void KxSc__InitStaticKeys(void) {
    kxinfo::waiting.clear();
}

KX_API void KxSc__SetParamVal(KxScParamId id, uint32_t index, const void *cur, const void *min,
                              const void *max, const void *inc) {
    kxinfo::publish(id, index, cur, min, max, inc);
}

KX_API void KxSc__ProcExport(void) {
    kxinfo::result.exported = kxinfo::waiting;
}

} // extern "C"
