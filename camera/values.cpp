#include "camera/values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <type_traits>

#include "camera/switches.h"
#include "cli/json.h"

namespace kxinfo {

using GenApi_3_0::EAccessMode;

namespace {

// Of a number of steps: single precision holds no more digits.
constexpr double kStepTolerance = 1e-6;

// A camera's level of brightness: this is white.
constexpr double kWhite = 255;

// How a number may be typed: what stands behind it, and what that makes of it.
struct Suffix {
    Unit unit;
    const char *text;
    double (*own)(double typed);
};
constexpr Suffix kSuffixes[] = {
    {Unit::Pixels, "px", [](double n) { return n; }},
    {Unit::Microseconds, "us", [](double n) { return n; }},
    {Unit::Microseconds, "\u00b5s", [](double n) { return n; }},
    {Unit::Microseconds, "ms", [](double n) { return n * 1e3; }},
    {Unit::Microseconds, "s", [](double n) { return n * 1e6; }},
    {Unit::PerSecond, "1/s", [](double n) { return n; }},
    {Unit::PerSecond, "fps", [](double n) { return n; }},
    {Unit::PerSecond, "Hz", [](double n) { return n; }},
    {Unit::Decibels, "dB", [](double n) { return ownNumber(Unit::Decibels, n); }},
    {Unit::Decibels, "x", [](double n) { return n; }},
    {Unit::Level, "%", [](double n) { return n / 100 * kWhite; }},
};

struct Mode {
    EAccessMode access;
    const char *name;
    const char *whyNot; ///< it cannot be read or written, as a clause
};
constexpr Mode kModes[] = {
    {GenApi_3_0::RW, "RW", ""},
    {GenApi_3_0::RO, "RO", "it can only be read"},
    {GenApi_3_0::WO, "WO", "it can only be written"},
    {GenApi_3_0::NA, "NA", "it is not available at present"},
    {GenApi_3_0::NI, "NI", "the camera does not implement it"},
};

const Mode &modeOf(EAccessMode access) {
    return *std::find_if(std::begin(kModes), std::end(kModes) - 1,
                         [&](const Mode &mode) { return mode.access == access; });
}

// What the feature needs and the camera has otherwise, as a clause; empty: nothing. Where only
// selectors are asked for, others may be as they like.
std::string unmetNeed(const Camera &camera, const Feature &feature, bool selectorsAlone) {
    for (const Need &need : feature.needs) {
        const Node node = camera.node(need.node);
        const Value on = node.choice(need.entry);
        if ((selectorsAlone && !need.selects) || !hasValue(on) || !node.isReadable())
            continue;
        if (const Value now = node.read(); now != on)
            return "it needs " + need.node + " on " + need.entry + ", which is on " +
                   valueText(ownFeature(need.node), now);
    }
    return "";
}

// Cameras lock what their automatic functions set.
std::string lockedText(const Reading &reading) {
    if (!reading.feature->setBy || reading.access != GenApi_3_0::RO)
        return "";
    return ", probably because the camera sets it by itself; 'kxinfo auto off' ends that";
}

// Names the setting that has to be made first, if another one stands in the way of a value above the
// range, or below it.
std::string inTheWay(const Camera &camera, const Reading &refused, bool above) {
    const Feature &feature = *refused.feature;
    if (!feature.limitedBy || refused.limitIsMeant)
        return "";
    const Feature &other = featureNamed(feature.limitedBy);
    const bool isUpperLimit = other.upTo && other.upTo == feature.name;
    if (above == isUpperLimit)
        return ""; // that end stands
    const Reading reading = readFeature(camera, other, nullptr);
    const Value &end = feature.upTo ? reading.limits.max : reading.limits.min;
    if (!hasValue(reading.value) || !hasValue(end) || reading.value == end)
        return ""; // it gives all the room that it can
    return " " + other.name + " is " + quantityText(other, reading.value) + ": set it first.";
}

// Why the plug-in finds no value in a feature, as a clause; empty: it does.
std::string noValueIn(const Camera &camera, const Feature &feature) {
    const Kind kind = camera.node(feature.node).kind();
    if (kind == feature.kind)
        return "";
    if (kind == Kind::Missing)
        return whyMissing(camera, feature, "feature " + feature.node);
    return "the camera has " + feature.node + " as another kind: " + nameOf(kind) +
           ", expected is " + nameOf(feature.kind);
}

Error refusal(const Reading &reading, const std::string &text, const std::string &more = "") {
    return {kWrongUsage, reading.feature->name + "=" + shortened(text) +
                             " is not possible; expected is " + rangeText(reading) + "." + more};
}

// Has room for all digits of both kinds of numbers.
using Number = long double;

Number wide(const Value &value) {
    const auto *whole = std::get_if<int64_t>(&value);
    return whole ? static_cast<Number>(*whole) : std::get<double>(value);
}

// 0: there are no steps.
Number stepOf(const Reading &reading) {
    return hasValue(reading.limits.inc) ? std::max<Number>(0, wide(reading.limits.inc)) : 0;
}

Value narrow(const Reading &reading, Number number) {
    return reading.kind == Kind::Integer ? Value(static_cast<int64_t>(number))
                                         : Value(static_cast<double>(number));
}

// The steps on both sides of a number.
std::string nearestSteps(const Reading &reading, Number number) {
    const auto shown = [&](Number step) {
        return valueText(*reading.feature, narrow(reading, step));
    };
    const Number step = stepOf(reading);
    const Number below = number - std::fmod(number - wide(reading.limits.min), step);
    const bool both = below + step <= wide(reading.limits.max);
    return "its step is " + shown(step) + "; the nearest " + (both ? "are " : "is ") +
           shown(below) + (both ? " and " + shown(below + step) : "") + ".";
}

// The camera's own number, whole or not. Without a unit it is in the one that is shown.
struct Typed {
    Number number;
    bool exact; ///< not made by a conversion that hardly ever meets a step
};
Typed typedNumber(const Reading &reading, const std::string &text) {
    const Feature &feature = *reading.feature;
    const char *const end = text.data() + text.size();
    int64_t whole = 0;
    if (const auto [stop, error] = std::from_chars(text.data(), end, whole);
        error == std::errc() && stop == end && reading.kind == Kind::Integer)
        return {static_cast<Number>(whole), true};
    double number = 0;
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || std::isnan(number))
        throw refusal(reading, text);
    if (stop == end) {
        const Unit unit = unitOf(feature, reading.kind);
        return {ownNumber(unit, number), unit != Unit::Decibels};
    }
    const char *const unit = std::find_if(stop, end, [](char c) { return c != ' '; });
    const auto own = ownNumber(feature, number, {unit, static_cast<size_t>(end - unit)});
    if (!own)
        throw refusal(reading, text);
    return {*own, feature.unit != Unit::Decibels && feature.unit != Unit::Level};
}

Value checkedNumber(const Camera &camera, const Reading &reading, const std::string &text) {
    const bool isWhole = reading.kind == Kind::Integer;
    const Number min = wide(reading.limits.min);
    const Number max = wide(reading.limits.max);
    const Number step = stepOf(reading);
    auto [number, exact] = typedNumber(reading, text);
    if (isWhole && !exact)
        number = std::round(number);
    if (isWhole && number != std::round(number))
        throw refusal(reading, text);
    // What is shown as 18.0618 is 18.06179973: whoever types what was shown means that.
    if (!isWhole)
        for (const Value &limit : {reading.limits.min, reading.limits.max})
            if (valueText(*reading.feature, static_cast<double>(number)) ==
                valueText(*reading.feature, limit))
                number = wide(limit);
    if (!(number >= min && number <= max))
        throw refusal(reading, text, inTheWay(camera, reading, number > max));
    const Number beyond = step > 0 && (isWhole || !exact) ? std::fmod(number - min, step) : 0;
    if (beyond == 0)
        return narrow(reading, number);
    if (exact)
        throw Error(kWrongUsage, reading.feature->name + "=" + text +
                                     " is not possible: " + nearestSteps(reading, number));
    const Number below = number - beyond;
    const bool up = 2 * beyond >= step && below + step <= max;
    return narrow(reading, up ? below + step : below);
}

// In decibels the value that the first step leads to: steps of the camera's factor are not equally
// wide.
Value shownStep(const Reading &reading) {
    const auto *inc = std::get_if<double>(&reading.limits.inc);
    if (!inc)
        return reading.limits.inc;
    if (!(*inc > 0))
        return {};
    const bool decibels = unitOf(*reading.feature, reading.kind) == Unit::Decibels;
    return decibels ? numberOf(reading.limits.min) + *inc : *inc;
}

std::string unitText(const Reading &reading) {
    const char *unit = nameOf(unitOf(*reading.feature, reading.kind));
    return unit ? unit : reading.unit;
}

Value checkedBoolean(const Reading &reading, const std::string &text) {
    for (const char *word : {"true", "on", "yes", "1"})
        if (sameWord(word, text))
            return true;
    for (const char *word : {"false", "off", "no", "0"})
        if (sameWord(word, text))
            return false;
    throw refusal(reading, text);
}

Value checkedEntry(const Reading &reading, const std::string &text) {
    for (const std::string &entry : reading.entries)
        if (sameWord(entry, text))
            return entry;
    throw refusal(reading, text, didYouMean(text, reading.entries));
}

} // namespace

Reading readFeature(const Camera &camera, const Feature &feature, Switches *switches) {
    Reading reading{};
    reading.feature = &feature;
    const Node node = camera.node(feature.node);
    reading.kind = node.kind();
    if (feature.kind == Kind::Missing)
        reading.unit = node.unit();
    if (reading.kind == Kind::Missing) {
        reading.problem = whyMissing(camera, feature);
        return reading;
    }
    const std::string error = whyNotDone([&] {
        if (switches)
            switches->reach(feature);
        else
            reading.problem = unmetNeed(camera, feature, true);
        reading.access = node.access();
        if (!reading.problem.empty())
            return;
        const bool exists = reading.access != GenApi_3_0::NI && reading.access != GenApi_3_0::NA;
        if (!exists) // it has no range either
            reading.problem = unmetNeed(camera, feature, false);
        if (reading.problem.empty() && (!exists || reading.access == GenApi_3_0::WO))
            reading.problem = modeOf(reading.access).whyNot;
        if (!exists)
            return;
        if (reading.problem.empty())
            reading.value = switches ? switches->read(feature) : node.read();
        reading.limits = node.limits();
        reading.entries = node.entries();
    });
    reading.failed = !error.empty();
    if (reading.failed)
        reading.problem = error;
    return reading;
}

std::string whyMissing(const Camera &camera, const Feature &feature, const std::string &what) {
    const auto isThere = [&](const std::string &name) {
        return camera.node(name).kind() != Kind::Missing;
    };
    const auto legacy = std::find_if(feature.legacy.begin(), feature.legacy.end(), isThere);
    return "the camera has no " + what +
           (legacy == feature.legacy.end() ? "" : "; it has " + *legacy + " instead");
}

std::vector<HostParameter> hostParameters(const Camera &camera) {
    std::vector<HostParameter> parameters = {
        {"KxScParamAutoBrightTarget", {"autoBrightnessTarget"}, ""},
        {"KxScParamAutoExpoLower", {"exposureAutoMinValue"}, ""},
        {"KxScParamAutoExpoUpper", {"exposureAutoMaxValue"}, ""},
        {"KxScParamAutoGainLower", {"gainAutoMinValue"}, ""},
        {"KxScParamAutoGainUpper", {"gainAutoMaxValue"}, ""},
        {"KxScParamExposure", {"ExposureTime"}, ""},
        {"KxScParamFps", {"AcquisitionFrameRate"}, ""},
        {"KxScParamGain", {"Gain"}, ""},
        {"KxScParamGamma", {"gammaCorrection", "lutMode", "lutType"}, ""},
        {"KxScParamHeight", {"Height", "HeightMax"}, ""},
        {"KxScParamOffsetX", {"OffsetX", "WidthMax"}, ""},
        {"KxScParamOffsetY", {"OffsetY", "HeightMax"}, ""},
        {"KxScParamWidth", {"Width", "WidthMax"}, ""},
    };
    for (HostParameter &parameter : parameters)
        for (const std::string &name : parameter.features)
            if (parameter.problem.empty())
                parameter.problem = noValueIn(camera, featureNamed(name));
    return parameters;
}

double numberOf(const Value &value) {
    const auto *integer = std::get_if<int64_t>(&value);
    const auto *number = std::get_if<double>(&value);
    return integer ? static_cast<double>(*integer) : number ? *number : NAN;
}

Unit unitOf(const Feature &feature, Kind kind) {
    // Whole factors are shown as they are.
    const bool bears =
        kind == Kind::Float || (kind == Kind::Integer && feature.unit != Unit::Decibels);
    return bears ? feature.unit : Unit::None;
}

double shownNumber(Unit unit, double own) {
    return unit == Unit::Decibels ? 20 * std::log10(own) : own;
}

double ownNumber(Unit unit, double shown) {
    return unit == Unit::Decibels ? std::pow(10, shown / 20) : shown;
}

Words unitsOf(const Feature &feature) {
    Words units;
    for (const Suffix &suffix : kSuffixes)
        if (suffix.unit == feature.unit)
            units.emplace_back(suffix.text);
    return units;
}

std::optional<double> ownNumber(const Feature &feature, double typed, std::string_view unit) {
    for (const Suffix &suffix : kSuffixes)
        if (suffix.unit == feature.unit && sameWord(suffix.text, unit))
            return suffix.own(typed);
    return {};
}

Json shownValue(const Feature &feature, const Value &value) {
    const auto shown = [&](const auto &own) -> Json {
        using Own = std::decay_t<decltype(own)>;
        if constexpr (std::is_same_v<Own, std::monostate>)
            return nullptr;
        else if constexpr (std::is_same_v<Own, double>)
            return jsonNumber(shownNumber(feature.unit, own));
        else if constexpr (std::is_same_v<Own, std::string>)
            return cleaned(own);
        else
            return own;
    };
    return std::visit(shown, value);
}

std::string valueText(const Feature &feature, const Value &value) {
    if (const auto *number = std::get_if<double>(&value))
        return numberText(shownNumber(feature.unit, *number));
    if (const auto *text = std::get_if<std::string>(&value))
        return cleaned(*text);
    return hasValue(value) ? shownValue(feature, value).dump() : kNone;
}

std::string quantityText(const Feature &feature, const Value &value) {
    const bool whole = std::holds_alternative<int64_t>(value);
    const bool number = whole || std::holds_alternative<double>(value);
    const char *unit =
        number ? nameOf(unitOf(feature, whole ? Kind::Integer : Kind::Float)) : nullptr;
    return valueText(feature, value) + (unit ? " " + std::string(unit) : "");
}

Words columnsOfReadings() {
    return {"Feature", "Value", "Minimum", "Maximum", "Step", "Unit", "Access", "Kind"};
}

Words cellsOf(const Reading &reading) {
    const Feature &feature = *reading.feature;
    const Value step = shownStep(reading);
    const bool leads = hasValue(step) && unitOf(feature, reading.kind) == Unit::Decibels;
    const std::string unit = unitText(reading);
    std::string kind = nameOf(reading.kind);
    if (!hasValue(reading.value) && !reading.problem.empty())
        kind += "; " + reading.problem;
    else if (!reading.entries.empty())
        kind += ": " + joined(reading.entries, ", ");
    return {feature.name,
            valueText(feature, reading.value),
            valueText(feature, reading.limits.min),
            valueText(feature, reading.limits.max),
            (leads ? "to " : "") + valueText(feature, step),
            unit.empty() ? kNone : unit,
            nameOf(reading.access),
            kind};
}

Json asMembers(const Reading &reading) {
    const Feature &feature = *reading.feature;
    const std::string unit = unitText(reading);
    Json members = {{"name", feature.name},
                    {"kind", nameOf(reading.kind)},
                    {"access", nameOf(reading.access)},
                    {"unit", unit.empty() ? Json() : Json(unit)},
                    {"value", shownValue(feature, reading.value)},
                    {"minimum", shownValue(feature, reading.limits.min)},
                    {"maximum", shownValue(feature, reading.limits.max)},
                    {"increment", shownValue(feature, shownStep(reading))}};
    if (reading.kind == Kind::Enumeration)
        members["entries"] = reading.entries;
    if (!reading.problem.empty())
        members["problem"] = reading.problem;
    return members;
}

Json asMembers(const CameraName &name) {
    return {{"manufacturer", name.manufacturer}, {"model", name.model}, {"serial", name.serial}};
}

std::string lineOf(const Camera &camera, const char *name) {
    const Feature &feature = featureNamed(name);
    const Reading reading = readFeature(camera, feature, nullptr);
    return feature.name + ": " + quantityText(feature, reading.value) +
           (reading.problem.empty() ? "" : " (" + reading.problem + ")") + "\n";
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
               valueText(*reading.feature, reading.limits.min) + " to " +
               quantityText(*reading.feature, reading.limits.max);
    }
}

Value checkedValue(const Camera &camera, const Reading &reading, const std::string &text) {
    const std::string &name = reading.feature->name;
    if (reading.kind == Kind::Missing && reading.feature->kind == Kind::Missing)
        throw Error(kWrongUsage, "\"" + shortened(name) + "\" cannot be set: " + reading.problem +
                                     "." + nearestFeatures(name));
    if (reading.kind == Kind::Missing || reading.failed)
        throw Error(kFailed, name + " cannot be set: " + reading.problem + ".");
    if (reading.access != GenApi_3_0::RW && reading.access != GenApi_3_0::WO)
        throw Error(kWrongUsage, name + " cannot be set: " + modeOf(reading.access).whyNot +
                                     lockedText(reading) + ".");
    switch (reading.kind) {
    case Kind::Boolean:
        return checkedBoolean(reading, text);
    case Kind::Enumeration:
        return checkedEntry(reading, text);
    case Kind::Integer:
    case Kind::Float:
        return checkedNumber(camera, reading, text);
    default:
        return text;
    }
}

std::string offStepNote(const Reading &reading, const Value &value) {
    const Number step = stepOf(reading);
    if (reading.kind != Kind::Float || step == 0 || reading.feature->unit == Unit::Decibels)
        return "";
    const Number steps = (wide(value) - wide(reading.limits.min)) / step;
    if (std::fabs(steps - std::round(steps)) <= kStepTolerance * std::max<Number>(1, steps))
        return "";
    return reading.feature->name + "=" + valueText(*reading.feature, value) +
           " is on no step: " + nearestSteps(reading, wide(value));
}

void checkLimits(const Feature &changed, const std::function<Value(const Feature &)> &valueOf) {
    for (const Feature &lower : allFeatures()) {
        if (!lower.upTo || (lower.name != changed.name && lower.upTo != changed.name))
            continue;
        const Feature &upper = featureNamed(lower.upTo);
        const Value low = valueOf(lower);
        const Value high = valueOf(upper);
        if (numberOf(low) > numberOf(high))
            throw Error(kWrongUsage, lower.name + " would be " + quantityText(lower, low) +
                                         ", above " + upper.name + ", " +
                                         quantityText(upper, high) +
                                         ". Give limits whose lower is below the upper.");
    }
}

const char *nameOf(EAccessMode access) {
    return modeOf(access).name;
}

} // namespace kxinfo
