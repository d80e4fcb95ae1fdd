// kxinfo auto: shows automatic control of brightness, switches it on, within limits, or off.

#include <charconv>

#include "camera/command.h"

namespace kxinfo {

namespace {

struct Request {
    CameraArgument camera;
    std::string state; ///< empty: it is shown
    std::string target, gain, exposure;
};

constexpr const char *kWhole = "autoBrightnessMode";
constexpr const char *kFunctions[] = {"ExposureAuto", "GainAuto"};

bool has(const Camera &camera, const char *name) {
    return camera.node(name).kind() == Kind::Enumeration;
}

// "0.5" or "50%" as the level that the camera takes, which has 255 for white.
std::string levelFrom(const std::string &text) {
    double number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const std::string unit(stop, end);
    number *= unit.empty() ? 100 : 1;
    if (error != std::errc() || (!unit.empty() && unit != "%") || !(number >= 0 && number <= 100))
        throw Error(kWrongUsage, "--target is \"", shortened(text),
                    "\"; expected is 0 (black) to 1 (white), or 0% to 100%.");
    return numberText(number) + "%";
}

// "100..20000" as settings of both limits; without a unit, gain is in decibels.
void addLimits(std::vector<Assignment> &settings, const char *option, const std::string &text,
               const char *lower, const char *upper) {
    const size_t dots = text.find("..");
    // Of "0...5" nobody knows whether it is up to 5 or to .5.
    if (dots == text.npos || dots == 0 || dots + 2 == text.size() || text[dots + 2] == '.')
        throw Error(kWrongUsage, option, " is \"", shortened(text),
                    "\"; expected is MIN..MAX, for example 100..20000.");
    for (const auto &[name, limit] :
         {std::pair(lower, text.substr(0, dots)), std::pair(upper, text.substr(dots + 2))}) {
        const Feature &feature = featureNamed(name);
        const bool plain = limit.find_first_not_of("0123456789.+-eE") == limit.npos;
        settings.push_back(
            {&feature, limit + (plain && feature.unit == Unit::Decibels ? "dB" : "")});
    }
}

void checkForAny(const Camera &camera) {
    if (!has(camera, kWhole) && !has(camera, kFunctions[0]) && !has(camera, kFunctions[1]))
        throw Error(kFailed, "this camera has no automatic functions (\"autoBrightnessMode\", "
                             "\"ExposureAuto\" or \"GainAuto\").");
}

// Of the enumerations those that the camera has; what it lacks is told.
void addEntry(std::vector<Assignment> &settings, const Camera &camera, const char *name,
              const char *entry) {
    if (has(camera, name))
        settings.push_back({&featureNamed(name), entry});
    else
        tell("this camera has no \"", name, "\"; it is left out.");
}

// What the options say.
std::vector<Assignment> settingsOf(const Request &request) {
    std::vector<Assignment> settings;
    if (!request.target.empty())
        settings.push_back({&featureNamed("autoBrightnessTarget"), levelFrom(request.target)});
    if (!request.gain.empty())
        addLimits(settings, "--gain", request.gain, "gainAutoMinValue", "gainAutoMaxValue");
    if (!request.exposure.empty())
        addLimits(settings, "--exposure", request.exposure, "exposureAutoMinValue",
                  "exposureAutoMaxValue");
    return settings;
}

std::vector<Assignment> settingsFor(const Camera &camera, const Request &request,
                                    const std::vector<Assignment> &options) {
    std::vector<Assignment> settings;
    const bool on = request.state == "on";
    // What the whole controls is off with it, and stays as it is for the next time.
    if (!on && has(camera, kWhole))
        return {{&featureNamed(kWhole), "Off"}};
    if (on)
        addEntry(settings, camera, kWhole, "Active");
    if (has(camera, kWhole))
        addEntry(settings, camera, "autoBrightnessSequence", "Exposure_Gain_Iris");
    for (const char *function : kFunctions)
        addEntry(settings, camera, function, on ? "Continuous" : "Off");
    // The limits are those of the sensor's gain, so this is what the camera has to set.
    if (!request.gain.empty())
        addEntry(settings, camera, "gainAutoSource", "SensorAll");
    settings.insert(settings.end(), options.begin(), options.end());
    return settings;
}

int show(const Camera &camera) {
    std::string text = camera.heading();
    for (const char *name : {kWhole, "autoBrightnessSequence", kFunctions[0], kFunctions[1],
                             "gainAutoSource", "autoBrightnessTarget", "gainAutoMinValue",
                             "gainAutoMaxValue", "exposureAutoMinValue", "exposureAutoMaxValue"})
        text += lineOf(camera, name);
    writeOut(text);
    return kDone;
}

} // namespace

Run declareAuto(CLI::App &command) {
    const auto request = requestFor<Request>(command);
    addOption(command, "STATE", request->state, "on or off; without it, the state is shown")
        ->transform(oneOf({"on", "off"}, "'kxinfo auto' does not know the state"));
    addOption(command, "--target", request->target, "Brightness to reach, 0 to 1 or 0% to 100%",
              "X");
    addOption(command, "--gain", request->gain, "Limits of automatic gain, in dB", "MIN..MAX");
    addOption(command, "--exposure", request->exposure,
              "Limits of automatic exposure time, in us or with a unit", "MIN..MAX");
    command.footer(
        R"('on' lets the camera set exposure time and gain by itself, within the limits given; 'off' ends
that.

Example:
  kxinfo auto S1234567 on --target 0.5 --gain 0..12 --exposure 100us..20ms)");
    return [request] {
        const std::string first = lowered(request->camera.value_or(""));
        if (request->state.empty() && (first == "on" || first == "off")) {
            request->state = first;
            request->camera.reset();
        }
        const auto settings = settingsOf(*request); // refuses before a camera is opened
        if (!settings.empty() && request->state != "on")
            throw Error(kWrongUsage, "--target, --gain and --exposure belong to 'kxinfo auto on'. "
                                     "To change a limit alone, use 'kxinfo set'.");
        const bool changes = !request->state.empty();
        return onCamera(request->camera, changes ? Purpose::Change : Purpose::Look,
                        [&](Camera &camera, Switches &switches) {
                            checkForAny(camera);
                            return changes ? assignAndShow(camera, switches,
                                                           settingsFor(camera, *request, settings))
                                           : show(camera);
                        });
    };
}

} // namespace kxinfo
