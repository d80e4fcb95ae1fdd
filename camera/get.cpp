// kxinfo get: a table for people, a JSON document, or one bare value.

#include <algorithm>

#include "camera/command.h"
#include "camera/fleet.h"
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
    bool all = false;
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

std::string asJson(const Camera &camera, const std::vector<Reading> &readings) {
    Json properties = Json::array();
    for (const Reading &reading : readings)
        properties.push_back(asMembers(reading));
    return jsonText(
        {{"version", 1}, {"camera", asMembers(camera.name())}, {"properties", properties}});
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
        tell(unknown ? "\"" + shortened(name) + "\"" : name,
             hasValue(reading.value) ? " has no range: " : " has no value: ", reading.problem, ".",
             needs ? " --switch reaches it." : "", unknown ? nearestFeatures(name) : "");
        worst = std::max<int>(worst, unknown ? kWrongUsage : kFailed);
    }
    return worst;
}

int get(const Request &request) {
    std::string result;
    const auto work = [&](Camera &camera, Switches &switches, const Words &names) {
        auto features = featuresMeant(names);
        for (const Feature &feature : allFeatures())
            if (names.empty())
                features.push_back(&feature);
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
        const int status = tellProblems(readings, !names.empty(), !request.switches);
        switches.tellSwitched();
        const Reading &first = readings.front();
        if (!request.value)
            result = request.json ? asJson(camera, readings) : tableOf(camera, readings);
        else if (hasValue(first.value))
            result = bareText(*first.feature, first.value) + "\n";
        return status;
    };
    const int status = onFeatures(request.camera, request.names,
                                  request.switches ? Purpose::Change : Purpose::Look, work);
    writeOut(result);
    return status;
}

// A line for each camera, with the values of its features side by side.
int getAll(const Request &request) {
    Words names = request.names;
    if (request.camera)
        names.insert(names.begin(), *request.camera);
    if (!request.json && names.empty())
        throw Error(kWrongUsage, "'kxinfo get --all' needs features to show side by side, for "
                                 "example Gain, or --json.");
    const auto results = onAllCameras([&](const gvcp::Found &camera) {
        Words arguments{"get", gvcp::dotted(camera.identity.address), "--json"};
        if (request.switches)
            arguments.emplace_back("--switch");
        arguments.insert(arguments.end(), names.begin(), names.end());
        return arguments;
    });
    if (request.json)
        return showFleetJson(results);
    Words columns;
    for (const Feature *feature : featuresMeant(names))
        columns.push_back(feature->name);
    return showFleet(results, columns, [](const FleetResult &result) {
        Words cells;
        if (result.document.is_null()) // why is told
            return cells;
        for (const Json &property : result.document.at("properties")) {
            const Json &value = property.at("value");
            const Json &unit = property.at("unit");
            cells.push_back(textOf(value) +
                            (unit.is_null() || value.is_null() ? "" : ' ' + textOf(unit)));
        }
        return cells;
    });
}

} // namespace

Run declareGet(CLI::App &command) {
    const auto request = requestFor<Request>(command);
    addOption(command, "FEATURE", request->names,
              "Names of features; none: those that kxinfo knows");
    CLI::Option *const json =
        command.add_flag("--json", request->json, "Write a JSON document in place of the table");
    CLI::Option *const value =
        command.add_flag("--value", request->value, "Write the bare value of one feature")
            ->excludes(json);
    command.add_flag("--names", request->list,
                     "Write the names and kinds of the features that kxinfo knows, and end");
    addSwitch(command, request->switches);
    addAll(command, request->all)->excludes(value);
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
        return request->all ? getAll(*request) : get(*request);
    };
}

} // namespace kxinfo
