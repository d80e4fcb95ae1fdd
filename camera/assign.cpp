#include "camera/assign.h"

#include <exception>

#include "camera/switches.h"
#include "cli/process.h"

namespace kxinfo {

namespace {

Change assignOne(const Camera &camera, Switches &switches, const Assignment &assignment,
                 const std::vector<Change> &made) {
    const Feature &feature = *assignment.feature;
    Reading before = readFeature(camera, feature, &switches);
    for (const Change &other : made)
        before.limitIsMeant |=
            other.feature && feature.limitedBy && other.feature->name == feature.limitedBy;
    const Value value = checkedValue(camera, before, assignment.text);
    // What is switched for the moment has to be written, or it would be put back.
    if (value == before.value && value == camera.node(feature.node).read())
        return {&feature, before.value, before.value};
    switches.write(feature, value);
    Value after;
    const std::string why = whyNotDone([&] { after = switches.read(feature); });
    if (!why.empty())
        throw Error(kFailed, feature.name + " was set, but cannot be read back: " + why + ".");
    return {&feature, before.value, after};
}

} // namespace

std::vector<Change> assign(const Camera &camera, Switches &switches,
                           const std::vector<Assignment> &assignments) {
    std::vector<Change> changes(assignments.size());
    size_t done = 0;
    for (std::exception_ptr first; done < assignments.size();) {
        const size_t before = done;
        first = nullptr;
        for (size_t i = 0; i < assignments.size(); ++i) {
            if (changes[i].feature)
                continue;
            stopIfAsked();
            try {
                changes[i] = assignOne(camera, switches, assignments[i], changes);
                ++done;
            } catch (const Error &) { // its range may depend on one that is set later
                if (!first)
                    first = std::current_exception();
            }
        }
        if (done == before)
            std::rethrow_exception(first);
    }
    for (const Assignment &assignment : assignments)
        checkLimits(*assignment.feature,
                    [&](const Feature &limit) { return switches.read(limit, Cache::Ignored); });
    return changes;
}

int assignAndShow(const Camera &camera, Switches &switches,
                  const std::vector<Assignment> &assignments) {
    std::string text = camera.heading();
    for (const Change &change : assign(camera, switches, assignments))
        text += changeText(change.feature->name, quantityText(*change.feature, change.before),
                           quantityText(*change.feature, change.after));
    switches.keepChanges();
    writeOut(text);
    return kDone;
}

} // namespace kxinfo
