// kxinfo gamma: shows gamma, or sets it and switches the lookup table to it.

#include <regex>

#include "camera/command.h"
#include "camera/lookup_table.h"

namespace kxinfo {

namespace {

std::string gammaText(const Camera &camera, const Reading &gamma) {
    const TableState state = tableStateOf(camera);
    const bool disabled = state != TableState::Gamma && state != TableState::Unknown;
    return disabled || !hasValue(gamma.value) ? "disabled" : valueText(*gamma.feature, gamma.value);
}

int show(const Camera &camera) {
    const Reading gamma = readFeature(camera, featureNamed("gammaCorrection"), nullptr);
    if (gamma.kind == Kind::Missing || gamma.failed)
        throw Error(kFailed, "this camera has no gamma: ", gamma.problem, ".");
    writeOut(camera.heading() + "Gamma: " + gammaText(camera, gamma) +
             (hasValue(gamma.limits.min) ? " (" + rangeText(gamma) + ")" : "") + "\n");
    return kDone;
}

int set(const Camera &camera, Switches &switches, const std::string &value) {
    const Feature &feature = featureNamed("gammaCorrection");
    const std::string before = gammaText(camera, readFeature(camera, feature, nullptr));
    std::vector<Assignment> assignments = settingsFor(camera, TableState::Gamma);
    assignments.push_back({&feature, value});
    assign(camera, switches, assignments);
    const std::string after = gammaText(camera, readFeature(camera, feature, nullptr));
    switches.keepChanges();
    writeOut(camera.heading() + changeText("Gamma", before, after));
    return kDone;
}

} // namespace

Run declareGamma(CLI::App &command) {
    struct Request {
        CameraArgument camera;
        std::optional<std::string> value; ///< none: gamma is shown
    };
    const auto request = requestFor<Request>(command);
    addOption(command, "VALUE", request->value, "Gamma to set; without it, gamma is shown");
    command.footer(
        R"(Setting gamma switches the lookup table to the gamma curve; 'kxinfo lut off' switches it off again.

Example:
  kxinfo gamma S1234567 0.45)");
    return [request] {
        // No serial number is so short.
        const std::regex gamma(R"([0-9]{1,2}(\.[0-9]{0,9})?|\.[0-9]{1,9})");
        if (!request->value && std::regex_match(request->camera.value_or(""), gamma))
            request->value.swap(request->camera);
        return onCamera(request->camera, request->value ? Purpose::Change : Purpose::Look,
                        [&](Camera &camera, Switches &switches) {
                            return request->value ? set(camera, switches, *request->value)
                                                  : show(camera);
                        });
    };
}

} // namespace kxinfo
