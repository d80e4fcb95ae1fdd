// kxinfo set: all of what was asked for, or nothing.

#include <memory>
#include <utility>

#include "camera/assign.h"
#include "camera/command.h"

namespace kxinfo {

namespace {

Assignment assignmentFrom(const std::string &text) {
    const size_t sign = text.find('=');
    if (sign == text.npos || sign == 0)
        throw Error(kWrongUsage, "\"" + shortened(text) +
                                     "\" is no setting; expected is FEATURE=VALUE, for example "
                                     "Gain=6. Run 'kxinfo get' to see features and ranges.");
    const std::string name = text.substr(0, sign);
    const auto meant = featuresMeant(name);
    Words names;
    for (const Feature *feature : meant)
        names.push_back(feature->name);
    if (meant.size() > 1)
        throw Error(kWrongUsage,
                    "\"" + name + "\" names several features; write " + joined(names) + ".");
    return {meant.front(), text.substr(sign + 1)};
}

} // namespace

Run declareSet(CLI::App &command) {
    struct Request {
        CameraArgument camera;
        Words settings;
        bool all = false;
    };
    const auto request = std::make_shared<Request>();
    addCamera(command, request->camera);
    command.add_option("FEATURE=VALUE", request->settings, "What to set, for example Gain=6")
        ->type_name("");
    addAll(command, request->all);
    command.footer(
        R"(All are set, or none: what cannot be set puts the others back. Values may have units: 5ms, 0.02s,
6dB, 2x, 50%.

Example:
  kxinfo set S1234567 Width=640 OffsetX=128 Gain=6 ReverseX=yes)");
    return [request] {
        if (request->camera && request->camera->find('=') != std::string::npos)
            request->settings.insert(request->settings.begin(),
                                     *std::exchange(request->camera, {}));
        if (request->settings.empty())
            throw Error(kWrongUsage, "'kxinfo set' needs what to set, for example Gain=6. Run "
                                     "'kxinfo set --help' for what is expected.");
        std::vector<Assignment> assignments;
        for (const std::string &setting : request->settings)
            assignments.push_back(assignmentFrom(setting));
        if (request->all) {
            if (request->camera)
                throw Error(kWrongUsage, "'kxinfo set' takes --all or a camera, not both.");
            Words arguments{"set", ""};
            arguments.insert(arguments.end(), request->settings.begin(), request->settings.end());
            return changeAll(arguments);
        }
        return onCamera(request->camera, Purpose::Change, [&](Camera &camera, Switches &switches) {
            return assignAndShow(camera, switches, assignments);
        });
    };
}

} // namespace kxinfo
