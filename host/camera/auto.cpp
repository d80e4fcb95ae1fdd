// kxinfo auto: switches automatic control of brightness on, within limits, or off.

#include "command.h"
#include "standard_output.h"
#include "values.h"
#include "words.h"

namespace kxinfo {

namespace {

// Both limits of gain, or of exposure.
struct Limits {
    Reading lower;
    Reading upper;
    PropertyValue min;
    PropertyValue max;
};

Limits checkedLimits(const Session &session, Modes &modes, const char *lower, const char *upper,
                     const RangeText &range) {
    Limits limits;
    limits.lower = readProperty(session, modes, propertyNamed(lower));
    limits.min = checkedValue(limits.lower, range.lower);
    limits.upper = readProperty(session, modes, propertyNamed(upper));
    limits.max = checkedValue(limits.upper, range.upper);
    if (limits.max < limits.min)
        throw CommandError{kWrongUsage, "the lower limit " + range.lower + " is above the upper, " +
                                            range.upper + "; expected is MIN..MAX."};
    return limits;
}

void check(int code, const std::string &what) {
    if (code)
        throw CommandError{kFailed, what + ": " + meaningOf(code) + "."};
}

// The enumerations that a command switches for good, as far as the camera has them.
class Switches {
public:
    struct Feature {
        const char *name;
        Reach reach;
    };

    Switches(const Session &session, Modes &modes, const std::vector<Feature> &features)
        : modes_(modes) {
        for (const Feature &feature : features) {
            if (kindOf(session.nodeMap(), feature.name) != Kind::Enumeration)
                continue;
            modes.remember(feature.name, feature.reach);
            if (!isReadable(session.nodeMap(), feature.name)) // what it needs is missing
                continue;
            befores_.push_back({feature, textOf(feature)});
        }
    }

    // What they are now is meant to stay; a line about each.
    std::string keep() {
        for (const Before &before : befores_)
            modes_.changed(before.feature.name, before.feature.reach);
        std::string lines;
        for (const Before &before : befores_)
            lines += changeText(before.feature.name, before.value, textOf(before.feature));
        return lines;
    }

private:
    struct Before {
        Feature feature;
        std::string value;
    };

    std::string textOf(const Feature &feature) {
        return std::get<std::string>(modes_.read(feature.name, feature.reach));
    }

    Modes &modes_;
    std::vector<Before> befores_;
};

std::string changeOf(const Session &session, Modes &modes, const Reading &before) {
    const Reading after = readProperty(session, modes, *before.property);
    return changeText(before.property->name, quantityText(before, before.value),
                      quantityText(after, after.value));
}

// One by one: the class's operation for both checks them in the range of a float and writes them to
// an integer, so that it refuses cameras that have them as one or the other.
std::string setLimits(const Session &session, Modes &modes, const Limits &limits) {
    writeProperty(session, modes, limits.lower, limits.min);
    writeProperty(session, modes, limits.upper, limits.max);
    return changeOf(session, modes, limits.lower) + changeOf(session, modes, limits.upper);
}

// The camera may have none of the function; automatic brightness then works with the other.
void switchOnFunction(const Session &session, KxTd::PropertyType function, const char *name) {
    constexpr int kNoSuchFeature = -2;
    const int code = session.camera().ExPropertySetAutoCont(function);
    if (code == kNoSuchFeature)
        tell("this camera has no \"" + std::string(name) + "\"; it is left out.");
    else
        check(code, std::string(name) + " was not switched on");
}

int switchOn(const Session &session, Modes &modes, const AutoRequest &request,
             std::optional<float> target) {
    std::optional<Limits> gain;
    std::optional<Limits> exposure;
    std::optional<Reading> brightness;
    if (request.gain)
        gain = checkedLimits(session, modes, "gainAutoMinValue", "gainAutoMaxValue", *request.gain);
    if (request.exposure)
        exposure = checkedLimits(session, modes, "exposureAutoMinValue", "exposureAutoMaxValue",
                                 *request.exposure);
    if (target)
        brightness = readProperty(session, modes, propertyNamed("autoBrightnessTarget"));

    std::vector<Switches::Feature> features = {{"autoBrightnessMode", Reach::Direct},
                                               {"autoBrightnessSequence", Reach::Brightness},
                                               {"ExposureAuto", Reach::Brightness},
                                               {"GainAuto", Reach::Brightness}};
    // The limits are those of the sensor's gain, so this is what the camera has to set.
    if (gain)
        features.push_back({"gainAutoSource", Reach::AutoGain});
    Switches switches(session, modes, features);

    constexpr int kNoSequence = -3;
    const int code = session.camera().ExSetAutoExpoEna(true);
    if (code == kNoSequence)
        tell("this camera lets no sequence be chosen (\"autoBrightnessSequence\" is missing); it "
             "keeps its own.");
    else
        check(code, "automatic brightness was not switched on");
    switchOnFunction(session, KxTd::EXPOSURE_AUTO_PROPERTY_TYPE, "ExposureAuto");
    switchOnFunction(session, KxTd::GAIN_AUTO_PROPERTY_TYPE, "GainAuto");

    std::string lines;
    if (brightness) {
        modes.remember("autoBrightnessTarget", Reach::Brightness);
        check(session.camera().ExSetAutoExpoVal(*target), "autoBrightnessTarget was not set");
        modes.changed("autoBrightnessTarget", Reach::Brightness);
        lines += changeOf(session, modes, *brightness);
    }
    if (gain)
        lines += setLimits(session, modes, *gain);
    if (exposure)
        lines += setLimits(session, modes, *exposure);
    lines = switches.keep() + lines;
    modes.keepChanges();
    writeOut(cameraLine(session) + lines);
    return kDone;
}

int switchOff(const Session &session, Modes &modes) {
    Switches switches(session, modes, {{"autoBrightnessMode", Reach::Direct}});
    check(session.camera().ExSetAutoExpoEna(false), "automatic brightness was not switched off");
    const std::string lines = switches.keep();
    modes.keepChanges();
    writeOut(cameraLine(session) + lines);
    return kDone;
}

} // namespace

int run(const AutoRequest &request) {
    std::optional<float> target;
    if (request.target) {
        target = numberFrom(*request.target, "--target");
        if (!(*target >= 0 && *target <= 1))
            throw CommandError{kWrongUsage, "--target is " + *request.target +
                                                "; expected is 0 (black) to 1 (white)."};
    }
    return onCamera(request, [&](Session &session, Modes &modes) {
        return request.on ? switchOn(session, modes, request, target) : switchOff(session, modes);
    });
}

} // namespace kxinfo
