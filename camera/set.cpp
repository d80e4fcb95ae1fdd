// kxinfo set: all of what was asked for, or nothing.

#include <utility>

#include "camera/command.h"

namespace kxinfo {

namespace {

Assignment assignmentFrom(const std::string &text) {
    const size_t sign = text.find('=');
    if (sign == text.npos || sign == 0)
        throw Error(kWrongUsage, "\"", shortened(text),
                    "\" is no setting; expected is FEATURE=VALUE, for example Gain=6. Run 'kxinfo "
                    "get' to see features and ranges.");
    const std::string name = text.substr(0, sign);
    const auto meant = featuresMeant({name});
    if (meant.size() > 1)
        throw Error(kWrongUsage, "\"", name, "\" names several features, such as ",
                    meant.front()->name, "; write which.");
    return {meant.front(), text.substr(sign + 1)};
}

// What comes back says what it was and is.
std::string assignOne(const Camera &camera, Switches &switches, const Assignment &assignment) {
    const Feature &feature = *assignment.feature;
    const Reading before = readFeature(camera, feature, &switches);
    const Value value = checkedValue(camera, before, assignment.text);
    // What is switched for the moment has to be written, or it would be put back.
    const bool isSo = value == before.value && value == camera.node(feature.node).read();
    if (!isSo)
        switches.write(feature, value);
    return changeText(feature.name, quantityText(feature, before.value),
                      quantityText(feature, isSo ? value : switches.read(feature)));
}

} // namespace

std::string assign(const Camera &camera, Switches &switches,
                   const std::vector<Assignment> &assignments) {
    Words changes(assignments.size());
    std::exception_ptr first;
    for (bool goesOn = true; goesOn;) {
        goesOn = false;
        first = nullptr;
        for (size_t i = 0; i < assignments.size(); ++i) {
            if (!changes[i].empty())
                continue;
            stopIfAsked();
            try {
                changes[i] = assignOne(camera, switches, assignments[i]);
                goesOn = true;
            } catch (const Error &) { // its range may depend on one that is set later
                if (!first)
                    first = std::current_exception();
            }
        }
    }
    if (first)
        std::rethrow_exception(first);
    for (const Assignment &assignment : assignments)
        checkLimits(*assignment.feature,
                    [&](const Feature &limit) { return switches.read(limit, Cache::Ignored); });
    return joined(changes, "", "");
}

int assignAndShow(const Camera &camera, Switches &switches,
                  const std::vector<Assignment> &assignments) {
    const std::string changes = assign(camera, switches, assignments);
    switches.keepChanges();
    writeOut(camera.heading() + changes);
    return kDone;
}

Run declareSet(CLI::App &command) {
    struct Request {
        CameraArgument camera;
        Words settings;
        bool all = false;
    };
    const auto request = requestFor<Request>(command);
    addOption(command, "FEATURE=VALUE", request->settings, "What to set, for example Gain=6");
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
