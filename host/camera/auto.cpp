// kxinfo auto: switches automatic control of brightness on, within limits, or off.

#include <algorithm>
#include <charconv>
#include <cmath>

#include "command.h"
#include "standard_output.h"
#include "table.h"
#include "values.h"
#include "words.h"

namespace kxinfo {

namespace {

constexpr int kNoSuchFeature = -2;

// Of autoBrightnessTarget, as the camera class counts: this is 1.0.
constexpr float kWhite = 255.0f;

float inDecibels(int32_t factor) {
    return 20.0f * std::log10(static_cast<float>(factor));
}

// None: it is no number; what refuses it says so.
std::optional<float> numberIn(const std::string &text) {
    float value = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || stop != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::optional<float> asNumber(const PropertyValue &value) {
    if (const auto *number = std::get_if<float>(&value))
        return *number;
    if (const auto *whole = std::get_if<int32_t>(&value))
        return static_cast<float>(*whole);
    return std::nullopt;
}

// A limit of gain that the camera has as a whole factor.
bool isWholeFactor(const Reading &reading) {
    return reading.property->inDecibels() && reading.kind == Kind::Integer;
}

// A value in the unit of the command's options.
std::optional<float> inUsersUnit(const Reading &reading, const PropertyValue &value) {
    const auto *whole = std::get_if<int32_t>(&value);
    if (whole && isWholeFactor(reading))
        return inDecibels(*whole);
    return asNumber(value);
}

std::string shown(const Reading &reading, const PropertyValue &value) {
    const auto *whole = std::get_if<int32_t>(&value);
    if (whole && isWholeFactor(reading))
        return valueText(value) + " (" + numberText(inDecibels(*whole)) + " dB)";
    if (whole && reading.property->type == KxTd::AUTO_BRIGHTNESS_TARGET_PROPERTY_TYPE)
        return valueText(value) + " (" + numberText(static_cast<float>(*whole) / kWhite) + ")";
    return quantityText(reading, value);
}

// The nearest whole number of the range that is on its steps.
int32_t nearest(const Reading &reading, float wanted) {
    const int64_t min = std::get<int32_t>(reading.minimum);
    const int64_t max = std::get<int32_t>(reading.maximum);
    const int64_t inc = std::max(1, std::get<int32_t>(reading.increment));
    const double steps = std::round((static_cast<double>(wanted) - static_cast<double>(min)) /
                                    static_cast<double>(inc));
    const int64_t last = (max - min) / inc;
    const auto step = static_cast<int64_t>(std::clamp(steps, 0.0, static_cast<double>(last)));
    return static_cast<int32_t>(min + step * inc);
}

bool hasWholeRange(const Reading &reading) {
    return reading.kind == Kind::Integer && std::holds_alternative<int32_t>(reading.minimum);
}

// The value of a limit that the camera may take now.
PropertyValue checkedLimit(const Reading &reading, const std::string &text) {
    if (!isWholeFactor(reading) || !hasWholeRange(reading))
        return checkedValue(reading, text);
    const std::string name = reading.property->name;
    const int32_t lowest = std::max(1, std::get<int32_t>(reading.minimum)); // 0 has no decibels
    const float min = inDecibels(lowest);
    const float max = inDecibels(std::max(lowest, std::get<int32_t>(reading.maximum)));
    const float decibels = numberFrom(text, name);
    const auto isEnd = [&](float end) { return numberText(decibels) == numberText(end); };
    if (!(decibels >= min && decibels <= max) && !isEnd(min) && !isEnd(max))
        throw CommandError{kWrongUsage, name + "=" + text +
                                            " is not possible; expected is a number, " +
                                            numberText(min) + " to " + numberText(max) + " dB."};
    // Also tells what else is in the way of writing it.
    return checkedValue(reading, std::to_string(std::max(
                                     lowest, nearest(reading, std::pow(10.0f, decibels / 20.0f)))));
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
    return changeText(before.property->name, shown(before, before.value),
                      shown(after, after.value));
}

// Both limits of gain, or of exposure time. A camera may take one of them only up to where the
// other is at present: then the one that makes room is written first, and the other checked when
// that is done.
class Limits {
public:
    Limits(const Session &session, Modes &modes, const char *lower, const char *upper,
           const RangeText &range)
        : lower_{readProperty(session, modes, propertyNamed(lower)), range.lower, {}},
          upper_{readProperty(session, modes, propertyNamed(upper)), range.upper, {}} {
        const auto low = numberIn(range.lower);
        const auto high = numberIn(range.upper);
        const auto presentLow = inUsersUnit(lower_.before, lower_.before.value);
        const auto presentHigh = inUsersUnit(upper_.before, upper_.before.value);
        upwards_ = low && presentHigh && *low > *presentHigh;
        const bool downwards = high && presentLow && *high < *presentLow;
        if (!upwards_ || asNumber(lower_.before.maximum) != asNumber(upper_.before.value))
            lower_.value = checkedLimit(lower_.before, range.lower);
        if (!downwards || asNumber(upper_.before.minimum) != asNumber(lower_.before.value))
            upper_.value = checkedLimit(upper_.before, range.upper);
        if (low && high && *high < *low)
            throw CommandError{kWrongUsage, "the lower limit " + range.lower +
                                                " is above the upper, " + range.upper +
                                                "; expected is MIN..MAX."};
    }

    // Returns a line about each. One by one: the class's operation for both checks them in the
    // range of a float and writes them to an integer, so that it refuses cameras that have them as
    // one or the other.
    std::string set(const Session &session, Modes &modes) const {
        set(session, modes, upwards_ ? upper_ : lower_);
        set(session, modes, upwards_ ? lower_ : upper_);
        return changeOf(session, modes, lower_.before) + changeOf(session, modes, upper_.before);
    }

private:
    struct Limit {
        Reading before;
        std::string text;
        std::optional<PropertyValue> value; ///< none: not checked yet
    };

    static void set(const Session &session, Modes &modes, const Limit &limit) {
        const Reading &before = limit.before;
        writeProperty(
            session, modes, before,
            limit.value ? *limit.value
                        : checkedLimit(readProperty(session, modes, *before.property), limit.text));
    }

    Limit lower_;
    Limit upper_;
    bool upwards_ = false; ///< the lower will be above what the upper is at present
};

// The camera's number for a target. Checked in the camera's range before anything is written.
float checkedTarget(const Reading &reading, float target, const std::string &text) {
    if (reading.kind != Kind::Integer)
        throw CommandError{kFailed, "--target cannot be set: this camera has no "
                                    "\"autoBrightnessTarget\" that is a whole number."};
    if (!hasWholeRange(reading))
        throw CommandError{kFailed, "--target cannot be set: the range of autoBrightnessTarget "
                                    "cannot be read" +
                                        (reading.problem.empty() ? "" : ", " + reading.problem) +
                                        "."};
    const float level = std::floor(target * kWhite + 0.5f);
    const auto min = static_cast<float>(std::get<int32_t>(reading.minimum));
    const auto max = static_cast<float>(std::get<int32_t>(reading.maximum));
    if (level < min || level > max)
        throw CommandError{kWrongUsage, "--target is " + text + "; this camera takes " +
                                            numberText(min / kWhite) + " to " +
                                            numberText(max / kWhite) + "."};
    // Also tells what else is in the way of writing it.
    const PropertyValue value = checkedValue(reading, std::to_string(nearest(reading, level)));
    return static_cast<float>(std::get<int32_t>(value)) / kWhite;
}

// Automatic control of brightness as a whole, and of each of the two it sets.
constexpr const char *kBrightnessMode = "autoBrightnessMode";
constexpr const char *kExposureAuto = "ExposureAuto";
constexpr const char *kGainAuto = "GainAuto";

struct Function {
    KxTd::PropertyType type;
    const char *name;
};
constexpr Function kFunctions[] = {{KxTd::EXPOSURE_AUTO_PROPERTY_TYPE, kExposureAuto},
                                   {KxTd::GAIN_AUTO_PROPERTY_TYPE, kGainAuto}};

void checkForAny(const Session &session) {
    for (const char *name : {kBrightnessMode, kExposureAuto, kGainAuto})
        if (kindOf(session.nodeMap(), name) == Kind::Enumeration)
            return;
    throw CommandError{kFailed, "this camera has no automatic functions (\"autoBrightnessMode\", "
                                "\"ExposureAuto\" or \"GainAuto\")."};
}

void switchBrightness(const Session &session, bool on) {
    constexpr int kNoSequence = -3;
    const int code = session.camera().ExSetAutoExpoEna(on);
    if (code == kNoSuchFeature)
        tell("this camera has no \"autoBrightnessMode\"; automatic exposure and gain are switched "
             "by themselves.");
    else if (code == kNoSequence)
        tell("this camera lets no sequence be chosen (\"autoBrightnessSequence\" is missing); it "
             "keeps its own.");
    else
        check(code, std::string("automatic brightness was not switched ") + (on ? "on" : "off"));
}

// The camera may have only one of the functions; automatic brightness then works with that.
void switchFunctions(const Session &session, bool on) {
    for (const auto &[type, name] : kFunctions) {
        KxTd::CExCam camera = session.camera();
        const int code =
            on ? camera.ExPropertySetAutoCont(type) : camera.ExPropertySetAutoOff(type);
        if (code == kNoSuchFeature)
            tell("this camera has no \"" + std::string(name) + "\"; it is left out.");
        else
            check(code, std::string(name) + " was not switched " + (on ? "on" : "off"));
    }
}

int switchOn(const Session &session, Modes &modes, const AutoRequest &request,
             std::optional<float> target) {
    checkForAny(session);
    std::optional<Limits> gain;
    std::optional<Limits> exposure;
    std::optional<Reading> brightness;
    if (request.gain)
        gain.emplace(session, modes, "gainAutoMinValue", "gainAutoMaxValue", *request.gain);
    if (request.exposure)
        exposure.emplace(session, modes, "exposureAutoMinValue", "exposureAutoMaxValue",
                         *request.exposure);
    if (target) {
        brightness = readProperty(session, modes, propertyNamed("autoBrightnessTarget"));
        target = checkedTarget(*brightness, *target, *request.target);
    }

    std::vector<Switches::Feature> features = {{kBrightnessMode, Reach::Direct},
                                               {"autoBrightnessSequence", Reach::Brightness},
                                               {kExposureAuto, Reach::Brightness},
                                               {kGainAuto, Reach::Brightness}};
    // The limits are those of the sensor's gain, so this is what the camera has to set.
    if (gain)
        features.push_back({"gainAutoSource", Reach::AutoGain});
    Switches switches(session, modes, features);
    switchBrightness(session, true);
    switchFunctions(session, true);

    std::string lines;
    if (brightness) {
        modes.remember("autoBrightnessTarget", Reach::Brightness);
        check(session.camera().ExSetAutoExpoVal(*target), "autoBrightnessTarget was not set");
        modes.changed("autoBrightnessTarget", Reach::Brightness);
        lines += changeOf(session, modes, *brightness);
    }
    if (gain)
        lines += gain->set(session, modes);
    if (exposure)
        lines += exposure->set(session, modes);
    lines = switches.keep() + lines;
    modes.keepChanges();
    writeOut(cameraLine(session) + lines);
    return kDone;
}

// What autoBrightnessMode controls is off with it, and stays as it is for the next time.
int switchOff(const Session &session, Modes &modes) {
    checkForAny(session);
    const bool whole = kindOf(session.nodeMap(), kBrightnessMode) == Kind::Enumeration;
    const std::vector<Switches::Feature> functions = {{kExposureAuto, Reach::Direct},
                                                      {kGainAuto, Reach::Direct}};
    Switches switches(session, modes,
                      whole ? std::vector<Switches::Feature>{{kBrightnessMode, Reach::Direct}}
                            : functions);
    switchBrightness(session, false);
    if (!whole)
        switchFunctions(session, false);
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
