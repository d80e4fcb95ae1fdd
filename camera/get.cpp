// kxinfo get: a table for people, a JSON document, or one bare value.

#include <algorithm>
#include <memory>
#include <utility>

#include "camera/command.h"
#include "camera/find.h"
#include "camera/values.h"
#include "cli/json.h"

namespace kxinfo {

namespace {

struct Request {
    CameraArgument camera;
    Words names; ///< none: all of the table
    bool json = false;
    bool value = false;
    bool list = false;
    bool switches = false;
};

// For programs: without quotes, with all digits.
std::string bareText(const Feature &feature, const Value &value) {
    const Json json = shownValue(feature, value);
    if (json.is_string())
        return json.get<std::string>();
    const std::string text = json.dump();
    const size_t digits = text.size() - std::min<size_t>(text.size(), 2);
    return text.substr(digits) == ".0" ? text.substr(0, digits) : text;
}

// In decibels the value that the first step leads to: steps of the camera's factor are not equally
// wide.
Value shownStep(const Reading &reading) {
    const auto *inc = std::get_if<double>(&reading.limits.inc);
    if (!inc)
        return reading.limits.inc;
    if (!(*inc > 0))
        return {};
    const bool decibels = unitOf(*reading.feature, reading.kind) == Unit::Decibels;
    return decibels ? numberOf(reading.limits.min) + *inc : *inc;
}

std::string stepText(const Reading &reading) {
    const Value step = shownStep(reading);
    const bool leads = hasValue(step) && unitOf(*reading.feature, reading.kind) == Unit::Decibels;
    return (leads ? "to " : "") + valueText(*reading.feature, step);
}

std::string asTable(const Camera &camera, const std::vector<Reading> &readings) {
    std::vector<Row> rows{
        {{"Feature", "Value", "Minimum", "Maximum", "Step", "Unit", "Access", "Kind"}}};
    for (const Reading &reading : readings) {
        const Feature &feature = *reading.feature;
        const char *unit = nameOf(unitOf(feature, reading.kind));
        std::string kind = nameOf(reading.kind);
        if (!hasValue(reading.value) && !reading.problem.empty())
            kind += "; " + reading.problem;
        else if (!reading.entries.empty())
            kind += ": " + joined(reading.entries, ", ");
        rows.push_back(
            {{feature.name, valueText(feature, reading.value),
              valueText(feature, reading.limits.min), valueText(feature, reading.limits.max),
              stepText(reading), unit ? unit : kNone, nameOf(reading.access), kind}});
    }
    return camera.heading() + "\n" + tableText(rows);
}

std::string asJson(const Camera &camera, const std::vector<Reading> &readings) {
    Json properties = Json::array();
    for (const Reading &reading : readings) {
        const Feature &feature = *reading.feature;
        const char *unit = nameOf(unitOf(feature, reading.kind));
        Json property = {{"name", feature.name},
                         {"kind", nameOf(reading.kind)},
                         {"access", nameOf(reading.access)},
                         {"unit", unit ? Json(unit) : Json(nullptr)},
                         {"value", shownValue(feature, reading.value)},
                         {"minimum", shownValue(feature, reading.limits.min)},
                         {"maximum", shownValue(feature, reading.limits.max)},
                         {"increment", shownValue(feature, shownStep(reading))}};
        if (reading.kind == Kind::Enumeration)
            property["entries"] = reading.entries;
        if (!reading.problem.empty())
            property["problem"] = reading.problem;
        properties.push_back(std::move(property));
    }
    const CameraName &name = camera.name();
    return jsonText(
        {{"version", 1},
         {"camera",
          {{"manufacturer", name.manufacturer}, {"model", name.model}, {"serial", name.serial}}},
         {"properties", properties}});
}

std::vector<const Feature *> wanted(const Words &names) {
    std::vector<const Feature *> features;
    for (const std::string &name : names)
        for (const Feature *feature : featuresMeant(name))
            if (std::find(features.begin(), features.end(), feature) == features.end())
                features.push_back(feature);
    if (names.empty())
        for (const Feature &feature : allFeatures())
            features.push_back(&feature);
    return features;
}

// Says of features that were asked for by name why they have no value; an error is one in any case.
// Returns the status.
int tellProblems(const std::vector<Reading> &readings, bool named, bool mayHint) {
    int worst = kDone;
    for (const Reading &reading : readings) {
        if (!reading.failed && (!named || reading.problem.empty()))
            continue;
        const std::string &name = reading.feature->name;
        const bool unknown =
            reading.kind == Kind::Missing && reading.feature->kind == Kind::Missing;
        const bool needs = mayHint && reading.problem.rfind("it needs ", 0) == 0;
        tell((unknown ? "\"" + shortened(name) + "\"" : name) +
             (hasValue(reading.value) ? " has no range: " : " has no value: ") + reading.problem +
             "." + (needs ? " --switch reaches it." : "") + (unknown ? nearestFeatures(name) : ""));
        worst = std::max<int>(worst, unknown ? kWrongUsage : kFailed);
    }
    return worst;
}

// noneFits: empty, or why the first of the names is that of no camera.
int get(Request request, const std::string &noneFits = "") {
    std::string result;
    const auto work = [&](Camera &camera, Switches &switches) {
        if (!noneFits.empty() && camera.node(request.names.front()).kind() == Kind::Missing)
            throw Error(kNoCamera, noneFits + " Nor has camera " + camera.name().serial +
                                       " such a feature." + nearestFeatures(request.names.front()));
        const auto features = wanted(request.names);
        if (request.value && features.size() != 1)
            throw Error(kWrongUsage, "--value prints the value of one feature; name one, for "
                                     "example 'kxinfo get Gain --value'.");
        std::vector<Reading> readings;
        for (const Feature *feature : features) {
            stopIfAsked();
            readings.push_back(
                readFeature(camera, *feature, request.switches ? &switches : nullptr));
        }
        stopIfAsked();
        const int status = tellProblems(readings, !request.names.empty(), !request.switches);
        if (const std::string switched = switches.switched(); !switched.empty())
            tell("switched for a moment, and put back: " + switched + ".");
        const Reading &first = readings.front();
        if (!request.value)
            result = request.json ? asJson(camera, readings) : asTable(camera, readings);
        else if (hasValue(first.value))
            result = bareText(*first.feature, first.value) + "\n";
        return status;
    };
    try {
        const int status =
            onCamera(request.camera, request.switches ? Purpose::Change : Purpose::Look, work);
        writeOut(result);
        return status;
    } catch (const NoneFits &error) {
        if (request.camera.value_or("").empty())
            throw;
        // It is a feature, if a camera is meant without being named.
        request.names.insert(request.names.begin(), *std::exchange(request.camera, {}));
        return get(std::move(request), error.what());
    } catch (const Error &error) {
        throw noneFits.empty() || error.status() != kNoCamera ? error : Error(kNoCamera, noneFits);
    }
}

} // namespace

Run declareGet(CLI::App &command) {
    const auto request = std::make_shared<Request>();
    addCamera(command, request->camera);
    command
        .add_option("FEATURE", request->names, "Names of features; none: those that kxinfo knows")
        ->type_name("");
    CLI::Option *const json =
        command.add_flag("--json", request->json, "Write a JSON document in place of the table");
    command.add_flag("--value", request->value, "Write the bare value of one feature")
        ->excludes(json);
    command.add_flag("--names", request->list,
                     "Write the names and kinds of the features that kxinfo knows, and end");
    addSwitch(command, request->switches);
    command.footer(
        R"(Names are those of the camera's features, in capitals or not. Gain, the balance ratios and the
limits of automatic gain are in decibels. Nothing is written to the camera without --switch.

Example:
  kxinfo get S1234567 Gain ExposureTime --switch)");
    return [request] {
        if (request->list) {
            for (const Feature &feature : allFeatures())
                writeOut(feature.name + " " + nameOf(feature.kind) + "\n");
            return static_cast<int>(kDone);
        }
        // A word that kxinfo knows as a feature is no camera's name.
        if (request->camera && featuresMeant(*request->camera).front()->kind != Kind::Missing)
            request->names.insert(request->names.begin(), *std::exchange(request->camera, {}));
        return get(*request);
    };
}

} // namespace kxinfo
