// kxinfo set: all of what was asked for, or nothing. Each setting is checked in the range that it
// has once those before it are made.

#include "command.h"
#include "standard_output.h"
#include "values.h"

namespace kxinfo {

int run(const SetRequest &request) {
    std::vector<const Property *> properties;
    for (const auto &assignment : request.assignments)
        properties.push_back(&propertyNamed(assignment.first));

    return onCamera(request, [&](Session &session, Modes &modes) {
        std::string result;
        for (size_t i = 0; i < properties.size(); ++i) {
            stopIfAsked();
            const Reading before = readProperty(session, modes, *properties[i]);
            const PropertyValue value = checkedValue(before, request.assignments[i].second);
            writeProperty(session, modes, before, value);
            const Reading after = readBack(session, modes, *properties[i]);
            result += changeText(properties[i]->name, quantityText(before, before.value),
                                 quantityText(after, after.value));
        }
        modes.keepChanges();
        writeOut(cameraLine(session) + result);
        return kDone;
    });
}

} // namespace kxinfo
