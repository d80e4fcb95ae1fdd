#include "values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "Base/GCException.h"
#include "command.h"
#include "table.h"
#include "words.h"

namespace kxinfo {

using GenApi_3_0::EAccessMode;
using KxTd::CExCam;

namespace {

// Of a number of steps: a float holds no more digits.
constexpr float kStepTolerance = 1e-6f;

struct ToText {
    std::string operator()(std::monostate) const { return kNone; }
    std::string operator()(float value) const { return numberText(value); }
    std::string operator()(int32_t value) const { return std::to_string(value); }
    std::string operator()(bool value) const { return value ? "true" : "false"; }
    std::string operator()(const std::string &value) const { return value; }
};

void readIntegerRange(CExCam &camera, Reading &reading) {
    int min = 0;
    int max = 0;
    int inc = 0;
    if (const int code = camera.ExPropertyGetIntRange(reading.property->type, &min, &max, &inc)) {
        reading.problem = meaningOf(code);
        return;
    }
    reading.minimum = min;
    reading.maximum = max;
    reading.increment = inc;
}

// Of numbers that 32 bits do not hold the camera class delivers the low ones; the range is then
// what 32 bits hold of the camera's.
void limitRange(const GenApi_3_0::CNodeMapRef &nodeMap, Reading &reading) {
    using Limits = std::numeric_limits<int32_t>;
    const IntegerLimits limits = integerLimits(nodeMap, reading.property->feature);
    const auto within = [](int64_t value) {
        return static_cast<int32_t>(std::clamp<int64_t>(value, Limits::min(), Limits::max()));
    };
    const bool beyond = within(limits.min) != limits.min || within(limits.max) != limits.max;
    if (!beyond)
        return;
    if (reading.access == GenApi_3_0::RO) { // nobody has to keep to it
        reading.minimum = reading.maximum = reading.increment = {};
        return;
    }
    reading.minimum = within(limits.min);
    reading.maximum = within(limits.max);
}

// As the camera class delivers them. It asks for the increment also of a float that has none, which
// the camera maker's framework does not answer; so here and for gamma the features are read by
// themselves.
float inUnit(const Property &property, double value) {
    const auto number = static_cast<float>(value);
    return property.inDecibels() ? 20.0f * log10f(number) : number;
}

void readFloatRange(const GenApi_3_0::CNodeMapRef &nodeMap, Reading &reading) {
    const Property &property = *reading.property;
    const FloatLimits limits = floatLimits(nodeMap, property.feature);
    reading.minimum = inUnit(property, limits.min);
    reading.maximum = inUnit(property, limits.max);
    // In decibels the increment is the value of the first step above the minimum.
    const PropertyValue inc =
        inUnit(property, property.inDecibels() ? limits.min + limits.inc : limits.inc);
    if (inc != (property.inDecibels() ? reading.minimum : PropertyValue(0.0f)))
        reading.increment = inc;
}

// Returns whether it may have a range too. A camera that does not tell what its table does may have
// a gamma all the same.
bool readGamma(const Session &session, Reading &reading) {
    const KxTd::td_lg_states state = session.camera().ExPropertyGetLUTMode();
    const bool known = state != KxTd::TD_LG_UNKNOWN;
    if (known && state != KxTd::TD_LG_GAMMA)
        reading.problem = "gamma is disabled: the lookup table does not hold the gamma curve";
    else if (reading.kind != Kind::Float)
        reading.problem = meaningOf(-2);
    else
        reading.value = static_cast<float>(
            std::get<double>(readRaw(session.nodeMap(), reading.property->feature)));
    if (!known && reading.problem.empty())
        reading.problem = "what the lookup table does cannot be read";
    return known;
}

void readNumber(CExCam &camera, Reading &reading) {
    int code = 0;
    if (reading.kind == Kind::Float) {
        float value = 0;
        code = camera.ExPropertyGetFloat(reading.property->type, &value);
        reading.value = value;
    } else {
        int value = 0;
        code = camera.ExPropertyGetInt(reading.property->type, &value);
        reading.value = value;
    }
    if (code) {
        reading.value = {};
        reading.problem = meaningOf(code);
    }
}

// A switch or a choice, which the camera class has no operation to read for.
PropertyValue plainValue(const RawValue &raw) {
    if (const auto *boolean = std::get_if<bool>(&raw))
        return *boolean;
    return std::get<std::string>(raw);
}

const char *whyNot(EAccessMode access) {
    switch (access) {
    case GenApi_3_0::NI:
        return "the camera does not implement it";
    case GenApi_3_0::NA:
        return "it is not available at present";
    case GenApi_3_0::WO:
        return "it can only be written";
    case GenApi_3_0::RO:
        return "it can only be read";
    default:
        return "it can be read and written";
    }
}

void fill(const Session &session, Modes &modes, Reading &reading) {
    const Property &property = *reading.property;
    CExCam camera = session.camera();

    reading.kind = kindOf(session.nodeMap(), property.feature);
    if (reading.kind == Kind::Missing) {
        reading.problem = meaningOf(-2);
        return;
    }
    reading.access = accessOf(session.nodeMap(), property.feature);
    // Gamma is read before the table is switched to it.
    const bool gamma = property.type == KxTd::GAMMA_PROPERTY_TYPE;
    if (gamma && !readGamma(session, reading))
        return;

    modes.reach(property.reach);
    reading.access = accessOf(session.nodeMap(), property.feature);
    if (reading.access == GenApi_3_0::NI || reading.access == GenApi_3_0::NA) { // no range either
        if (reading.problem.empty())
            reading.problem = whyNot(reading.access);
        return;
    }
    if (reading.kind == Kind::Integer) {
        readIntegerRange(camera, reading);
        limitRange(session.nodeMap(), reading);
    } else if (reading.kind == Kind::Float) {
        readFloatRange(session.nodeMap(), reading);
    } else {
        reading.entries = entriesOf(session.nodeMap(), property.feature);
    }
    if (gamma || !reading.problem.empty())
        return;

    if (reading.access != GenApi_3_0::RO && reading.access != GenApi_3_0::RW)
        reading.problem = whyNot(reading.access);
    else if (reading.kind == Kind::Integer || reading.kind == Kind::Float)
        readNumber(camera, reading);
    else
        reading.value = plainValue(modes.read(property.feature, property.reach));
}

// Cameras lock what their automatic functions set.
std::string lockedText(const Reading &reading) {
    const bool automatic = reading.property->type == KxTd::GAIN_PROPERTY_TYPE ||
                           reading.property->type == KxTd::EXPOSURE_TIME_PROPERTY_TYPE;
    if (!automatic || reading.access != GenApi_3_0::RO)
        return "";
    return ", probably because the camera sets it by itself; 'kxinfo auto SERIAL off' ends that";
}

CommandError refusal(const Reading &reading, const std::string &text) {
    const Property &property = *reading.property;
    return {kWrongUsage, std::string(property.name) + "=" + text +
                             " is not possible; expected is " + rangeText(reading) + "."};
}

// The steps on both sides of a value; \p above may be beyond the range.
std::string nearestSteps(const Reading &reading, const PropertyValue &below,
                         const PropertyValue &above) {
    return "its step is " + valueText(reading.increment) +
           (above <= reading.maximum
                ? "; the nearest are " + valueText(below) + " and " + valueText(above)
                : "; the nearest is " + valueText(below)) +
           ".";
}

int32_t checkedInteger(const Reading &reading, const std::string &text) {
    int32_t value = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || stop != text.data() + text.size())
        throw refusal(reading, text);
    const int32_t min = std::get<int32_t>(reading.minimum);
    const int32_t max = std::get<int32_t>(reading.maximum);
    const int32_t inc = std::get<int32_t>(reading.increment);
    if (value < min || value > max)
        throw refusal(reading, text);
    const int64_t beyond = inc > 1 ? (int64_t{value} - min) % inc : 0;
    if (beyond != 0) {
        const int64_t below = value - beyond;
        const int64_t above = std::min<int64_t>(below + inc, std::numeric_limits<int32_t>::max());
        throw CommandError{kWrongUsage, std::string(reading.property->name) + "=" + text +
                                            " is not possible: " +
                                            nearestSteps(reading, static_cast<int32_t>(below),
                                                         static_cast<int32_t>(above))};
    }
    return value;
}

float checkedFloat(const Reading &reading, const std::string &text) {
    const float min = std::get<float>(reading.minimum);
    const float max = std::get<float>(reading.maximum);
    float value = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || stop != text.data() + text.size())
        throw refusal(reading, text);
    // What is shown as 18.0618 is 18.06179973: whoever types what was shown means that.
    for (const float end : {min, max})
        if (numberText(value) == numberText(end))
            return end;
    if (!(value >= min && value <= max)) // not a number is outside as well
        throw refusal(reading, text);
    return value;
}

// Cameras take a float beside its steps: it is for them to say what becomes of it. In decibels the
// value has been put on a step; steps are even in the camera's factors alone.
void tellNearestSteps(const Reading &reading, float value) {
    const auto *inc = std::get_if<float>(&reading.increment);
    if (!inc || *inc <= 0 || reading.property->inDecibels())
        return;
    const float min = std::get<float>(reading.minimum);
    const float steps = (value - min) / *inc;
    if (std::fabs(steps - std::round(steps)) > kStepTolerance * std::max(1.0f, steps))
        tell(std::string(reading.property->name) + "=" + valueText(value) + " is on no step: " +
             nearestSteps(reading, min + std::floor(steps) * *inc, min + std::ceil(steps) * *inc));
}

bool checkedBoolean(const Reading &reading, const std::string &text) {
    const bool on = text == "true" || text == "1" || text == "on";
    if (!on && text != "false" && text != "0" && text != "off")
        throw refusal(reading, text);
    return on;
}

// A number as the camera takes it: within its range, whose ends no float may hold. What came from
// decibels is put on a step.
double fitted(const GenApi_3_0::CNodeMapRef &nodeMap, const Property &property, double value) {
    const FloatLimits limits = floatLimits(nodeMap, property.feature);
    value = std::clamp(value, limits.min, limits.max);
    if (limits.inc <= 0 || !property.inDecibels())
        return value;
    const double last = std::floor((limits.max - limits.min) / limits.inc);
    const double step = std::round((value - limits.min) / limits.inc);
    return limits.min + std::min(step, last) * limits.inc;
}

// By the camera class, which converts decibels of gain and balance ratios but not those of the
// automatic limits, unless that would put the number beside the camera's range or steps.
int writeFloat(const Session &session, const Property &property, float value) {
    const float factor = property.inDecibels() ? powf(10.0f, value / 20.0f) : value;
    const double exact = fitted(session.nodeMap(), property, static_cast<double>(factor));
    if (exact != static_cast<double>(factor)) {
        writeRaw(session.nodeMap(), property.feature, exact);
        return 0;
    }
    const bool converts = property.inDecibels() && property.reach != Reach::SensorAutoGain;
    return session.camera().ExPropertySetFloat(property.type, converts ? value : factor);
}

// Setting gamma switches the lookup table to it for good.
int writeGamma(const Session &session, const Property &property, Modes &modes, float gamma) {
    modes.remember("lutMode", Reach::Direct);
    modes.remember("lutType", Reach::Direct);
    CExCam camera = session.camera();
    if (camera.ExPropertyGetLUTMode() != KxTd::TD_LG_GAMMA)
        if (const int code = camera.ExPropertySetLUTMode(KxTd::TD_LG_GAMMA))
            return code;
    writeRaw(session.nodeMap(), property.feature,
             fitted(session.nodeMap(), property, static_cast<double>(gamma)));
    modes.changed("lutMode", Reach::Direct);
    modes.changed("lutType", Reach::Direct);
    return 0;
}

} // namespace

Reading readProperty(const Session &session, Modes &modes, const Property &property) {
    Reading reading;
    reading.property = &property;
    try {
        fill(session, modes, reading);
    } catch (const GenICam_3_0::TimeoutException &) {
        throw;
    } catch (const GenICam_3_0::GenericException &) {
        stopIfAsked();
        reading.value = {};
        reading.problem = reasonInFlight();
        reading.failed = true;
    }
    return reading;
}

Reading readBack(const Session &session, Modes &modes, const Property &property) {
    Reading reading = readProperty(session, modes, property);
    if (reading.failed)
        throw CommandError{kFailed, std::string(property.name) +
                                        " was set, but cannot be read back: " + reading.problem +
                                        "."};
    return reading;
}

std::string valueText(const PropertyValue &value) {
    return std::visit(ToText{}, value);
}

const char *unitOf(const Reading &reading) {
    return reading.property->inDecibels() && reading.kind == Kind::Integer ? nullptr
                                                                           : reading.property->unit;
}

std::string quantityText(const Reading &reading, const PropertyValue &value) {
    const char *unit = unitOf(reading);
    const bool number =
        std::holds_alternative<float>(value) || std::holds_alternative<int32_t>(value);
    return valueText(value) + (number && unit ? " " + std::string(unit) : "");
}

std::string changeText(const std::string &name, const std::string &before,
                       const std::string &after) {
    return name + ": " + before + (before == after ? "" : " -> " + after) + "\n";
}

std::string rangeText(const Reading &reading) {
    switch (reading.kind) {
    case Kind::Boolean:
        return "true or false";
    case Kind::Enumeration:
        return choicesText(reading.entries);
    default:
        return (reading.kind == Kind::Integer ? "a whole number, " : "a number, ") +
               valueText(reading.minimum) + " to " + quantityText(reading, reading.maximum);
    }
}

PropertyValue checkedValue(const Reading &reading, const std::string &text) {
    const std::string name = reading.property->name;
    if (reading.kind == Kind::Missing)
        throw CommandError{kFailed, name + " cannot be set: " + reading.problem + "."};
    if (reading.failed)
        throw CommandError{kFailed, name + " cannot be set: " + reading.problem + "."};
    if (reading.access != GenApi_3_0::RW && reading.access != GenApi_3_0::WO)
        throw CommandError{kWrongUsage, name + " cannot be set: " + whyNot(reading.access) +
                                            lockedText(reading) + "."};
    switch (reading.kind) {
    case Kind::Boolean:
        return checkedBoolean(reading, text);
    case Kind::Enumeration:
        if (std::find(reading.entries.begin(), reading.entries.end(), text) ==
            reading.entries.end())
            throw refusal(reading, text);
        return text;
    default:
        break;
    }
    if (std::holds_alternative<std::monostate>(reading.minimum))
        throw CommandError{kFailed, name + " cannot be set: its range cannot be read" +
                                        (reading.problem.empty() ? "" : ", " + reading.problem) +
                                        "."};
    if (reading.kind == Kind::Integer)
        return checkedInteger(reading, text);
    return checkedFloat(reading, text);
}

void writeProperty(const Session &session, Modes &modes, const Reading &reading,
                   const PropertyValue &value) {
    const Property &property = *reading.property;
    modes.remember(property.feature, property.reach);
    CExCam camera = session.camera();
    int code = 0;
    if (property.type == KxTd::GAMMA_PROPERTY_TYPE) {
        code = writeGamma(session, property, modes, std::get<float>(value));
    } else if (const auto *number = std::get_if<float>(&value)) {
        code = writeFloat(session, property, *number);
    } else if (const auto *integer = std::get_if<int32_t>(&value)) {
        code = camera.ExPropertySetInt(property.type, *integer);
    } else if (const auto *boolean = std::get_if<bool>(&value)) {
        code = camera.ExPropertySetEna(property.type, *boolean);
    } else {
        const std::string &entry = std::get<std::string>(value);
        code = camera.ExPropertySetEnumFromStr(property.feature, entry.c_str());
    }
    if (code)
        throw CommandError{kFailed,
                           std::string(property.name) + " was not set: " + meaningOf(code) + "."};
    modes.changed(property.feature, property.reach);
    if (const auto *number = std::get_if<float>(&value))
        tellNearestSteps(reading, *number);
}

float numberFrom(const std::string &text, const std::string &what) {
    float value = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || stop != text.data() + text.size() || std::isnan(value))
        throw CommandError{kWrongUsage,
                           what + " is \"" + text + "\"; expected is a number, for example 0.5."};
    return value;
}

} // namespace kxinfo
