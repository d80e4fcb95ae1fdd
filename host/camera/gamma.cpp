// kxinfo gamma: shows gamma, or sets it and switches the lookup table to it.

#include "command.h"
#include "standard_output.h"
#include "values.h"
#include "words.h"

namespace kxinfo {

namespace {

std::string gammaText(const Reading &reading) {
    const bool disabled = std::holds_alternative<std::monostate>(reading.value);
    return disabled ? "disabled" : valueText(reading.value);
}

} // namespace

int run(const GammaRequest &request) {
    const Property &gamma = propertyNamed("gammaCorrection");
    return onCamera(request, [&](Session &session, Modes &modes) {
        const Reading before = readProperty(session, modes, gamma);
        stopIfAsked();
        const bool hasRange = !std::holds_alternative<std::monostate>(before.minimum);
        const bool hasValue = !std::holds_alternative<std::monostate>(before.value);
        if (!hasRange && !hasValue && (before.failed || before.access == GenApi_3_0::NI))
            throw CommandError{kFailed, "this camera has no gamma: " + before.problem + "."};
        if (!request.value) {
            writeOut(cameraLine(session) + "Gamma: " + gammaText(before) +
                     (hasRange ? " (" + rangeText(before) + ")" : "") + "\n");
            return kDone;
        }
        writeProperty(session, modes, before, checkedValue(before, *request.value));
        const Reading after = readBack(session, modes, gamma);
        modes.keepChanges();
        writeOut(cameraLine(session) + changeText("Gamma", gammaText(before), gammaText(after)));
        return kDone;
    });
}

} // namespace kxinfo
