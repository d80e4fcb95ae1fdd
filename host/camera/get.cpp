// kxinfo get: a table for people, or a JSON document.

#include <algorithm>
#include <memory>

#include <unistd.h>

#include "command.h"
#include "json.h"
#include "standard_output.h"
#include "table.h"
#include "values.h"
#include "words.h"

namespace kxinfo {

namespace {

const char *nameOf(Kind kind) {
    switch (kind) {
    case Kind::Missing:
        break;
    case Kind::Integer:
        return "integer";
    case Kind::Float:
        return "float";
    case Kind::Boolean:
        return "boolean";
    case Kind::Enumeration:
        return "enumeration";
    }
    return "missing";
}

const char *nameOf(GenApi_3_0::EAccessMode access) {
    switch (access) {
    case GenApi_3_0::NA:
        return "NA";
    case GenApi_3_0::WO:
        return "WO";
    case GenApi_3_0::RO:
        return "RO";
    case GenApi_3_0::RW:
        return "RW";
    default:
        return "NI";
    }
}

struct ToJson {
    Json operator()(std::monostate) const { return nullptr; }
    Json operator()(float value) const { return jsonNumber(value); }
    template <class T>
    Json operator()(const T &value) const {
        return value;
    }
};

// In decibels the camera class gives the value of the first step, not a width.
std::string stepText(const Reading &reading) {
    const bool firstStep =
        reading.property->inDecibels() && std::holds_alternative<float>(reading.increment);
    return (firstStep ? "to " : "") + valueText(reading.increment);
}

Row rowOf(const Reading &reading) {
    const char *unit = unitOf(reading);
    std::string kind = nameOf(reading.kind);
    for (size_t i = 0; i < reading.entries.size(); ++i)
        kind += (i == 0 ? ": " : ", ") + reading.entries[i];
    return {{reading.property->name, valueText(reading.value), valueText(reading.minimum),
             valueText(reading.maximum), stepText(reading), unit ? unit : kNone,
             nameOf(reading.access), kind}};
}

std::string asTable(const Session &session, const std::vector<Reading> &readings) {
    std::vector<Row> rows{
        {{"Property", "Value", "Minimum", "Maximum", "Step", "Unit", "Access", "Kind"}}};
    for (const Reading &reading : readings)
        rows.push_back(rowOf(reading));
    return cameraLine(session) + "\n" + tableText(rows);
}

std::string asJson(const Session &session, const std::vector<Reading> &readings) {
    const ToJson json;
    Json properties = Json::array();
    for (const Reading &reading : readings) {
        const char *unit = unitOf(reading);
        Json property = {
            {"name", reading.property->name},
            {"kind", nameOf(reading.kind)},
            {"access", nameOf(reading.access)},
            {"unit", unit ? Json(unit) : Json(nullptr)},
            {"value", std::visit(json, reading.value)},
            {"minimum", std::visit(json, reading.minimum)},
            {"maximum", std::visit(json, reading.maximum)},
            {"increment", std::visit(json, reading.increment)},
        };
        if (reading.kind == Kind::Enumeration)
            property["entries"] = reading.entries;
        if (!reading.problem.empty())
            property["problem"] = reading.problem;
        properties.push_back(std::move(property));
    }
    const GEV_CAMERA_INFO &info = session.info();
    return jsonText(
        {{"version", 1},
         {"camera",
          {{"manufacturer", info.manufacturer}, {"model", info.model}, {"serial", info.serial}}},
         {"properties", properties}});
}

std::vector<const Property *> wanted(const GetRequest &request) {
    std::vector<const Property *> properties;
    for (const std::string &name : request.properties)
        for (const Property *property : propertiesNamed(name))
            if (std::find(properties.begin(), properties.end(), property) == properties.end())
                properties.push_back(property);
    if (properties.empty())
        for (const Property &property : allProperties())
            properties.push_back(&property);
    return properties;
}

} // namespace

int run(const GetRequest &request) {
    const auto properties = wanted(request);
    std::string result;
    int status = kDone;
    {
        // The camera class may log; the document stands alone on standard output.
        const auto redirection =
            request.json ? std::make_unique<StandardOutputTo>(STDERR_FILENO) : nullptr;
        status = onCamera(request, [&](Session &session, Modes &modes) {
            std::vector<Reading> readings;
            for (const Property *property : properties) {
                stopIfAsked();
                readings.push_back(readProperty(session, modes, *property));
            }
            stopIfAsked();
            // A property that was asked for by name is missed when it has no value; an error is one
            // in any case.
            int worst = kDone;
            for (const Reading &reading : readings) {
                const bool missed = !request.properties.empty() && !reading.problem.empty();
                if (!missed && !reading.failed)
                    continue;
                const bool hasValue = !std::holds_alternative<std::monostate>(reading.value);
                tell(std::string(reading.property->name) +
                     (hasValue ? " has no range: " : " has no value: ") + reading.problem + ".");
                worst = kFailed;
            }
            result = request.json ? asJson(session, readings) : asTable(session, readings);
            return worst;
        });
    }
    writeOut(result);
    return status;
}

} // namespace kxinfo
