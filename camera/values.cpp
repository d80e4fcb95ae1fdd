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
    {Unit::Decibels, "dB", [](double n) { return std::pow(10, n / 20); }},
    {Unit::Decibels, "x", [](double n) { return n; }},
    {Unit::Level, "%", [](double n) { return n / 100 * kWhite; }},
};

const char *nameOf(EAccessMode access) {
    return access == GenApi_3_0::RW   ? "RW"
           : access == GenApi_3_0::RO ? "RO"
           : access == GenApi_3_0::WO ? "WO"
           : access == GenApi_3_0::NA ? "NA"
                                      : "NI";
}

// Why a feature of that mode cannot be read or written, as a clause.
const char *whyNot(EAccessMode access) {
    return access == GenApi_3_0::RO   ? "it can only be read"
           : access == GenApi_3_0::WO ? "it can only be written"
           : access == GenApi_3_0::NA ? "it is not available at present"
                                      : "the camera does not implement it";
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

// Names the setting that has to be made first, if another one stands in the way of a value above the
// range, or below it.
std::string inTheWay(const Camera &camera, const Reading &refused, bool above) {
    const Feature &feature = *refused.feature;
    if (!feature.limitedBy)
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

// NaN: it is no number.
Number wide(const Value &value) {
    const auto *whole = std::get_if<int64_t>(&value);
    const auto *number = std::get_if<double>(&value);
    return whole ? static_cast<Number>(*whole) : number ? *number : NAN;
}

// The camera's own number, whole or not, and whether it comes from a conversion, which hardly ever
// meets a step. Without a unit it is in the one that is shown.
std::pair<Number, bool> typedNumber(const Reading &reading, const std::string &text) {
    const Feature &feature = *reading.feature;
    const char *const end = text.data() + text.size();
    Number number = 0;
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || std::isnan(number))
        throw refusal(reading, text);
    const std::string unit(std::find_if(stop, end, [](char c) { return c != ' '; }), end);
    if (unit.empty() && (reading.kind == Kind::Integer || feature.unit == Unit::None))
        return {number, false};
    const auto own = ownNumber(feature, static_cast<double>(number), unit);
    if (!own)
        throw refusal(reading, text);
    return {*own, feature.unit == Unit::Decibels || (feature.unit == Unit::Level && !unit.empty())};
}

Value checkedNumber(const Camera &camera, const Reading &reading, const std::string &text) {
    const Feature &feature = *reading.feature;
    const bool isWhole = reading.kind == Kind::Integer;
    const Number min = wide(reading.limits.min);
    const Number max = wide(reading.limits.max);
    auto [number, isConverted] = typedNumber(reading, text);
    if (isWhole && isConverted)
        number = std::round(number);
    if (isWhole && number != std::round(number))
        throw refusal(reading, text);
    // What is shown as 18.0618 is 18.06179973: whoever types what was shown means that.
    if (!isWhole)
        for (const Value &limit : {reading.limits.min, reading.limits.max})
            if (valueText(feature, static_cast<double>(number)) == valueText(feature, limit))
                number = wide(limit);
    if (!(number >= min && number <= max))
        throw refusal(reading, text, inTheWay(camera, reading, number > max));
    const Number step = isWhole || isConverted ? wide(reading.limits.inc) : 0;
    const Number beyond = step > 0 ? std::fmod(number - min, step) : 0;
    const Number below = number - beyond;
    const bool hasNext = beyond > 0 && below + step <= max;
    const auto narrow = [&](Number own) {
        return isWhole ? Value(static_cast<int64_t>(own)) : Value(static_cast<double>(own));
    };
    if (beyond == 0 || isConverted)
        return narrow(hasNext && 2 * beyond >= step ? below + step : below);
    const auto shown = [&](Number own) { return valueText(feature, narrow(own)); };
    throw Error(kWrongUsage, feature.name, "=", text, " is not possible: its step is ", shown(step),
                "; the nearest ",
                hasNext ? "are " + shown(below) + " and " + shown(below + step)
                        : "is " + shown(below),
                ".");
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

Value checkedBoolean(const Reading &reading, const std::string &text) {
    constexpr const char *kWords[][2] = {
        {"false", "true"}, {"off", "on"}, {"no", "yes"}, {"0", "1"}};
    for (const auto &[off, on] : kWords)
        if (sameWord(off, text) || sameWord(on, text))
            return sameWord(on, text);
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
    const Node node = camera.node(feature.node);
    Reading reading{&feature, node.kind()};
    if (feature.kind == Kind::Missing)
        reading.unit = node.unit();
    if (reading.kind == Kind::Missing) {
        reading.problem = whyMissing(camera, feature);
        return reading;
    }
    const std::string error = whyNotDone([&] {
        if (switches)
            switches->reach(feature);
        reading.access = node.access();
        const bool exists = reading.access != GenApi_3_0::NI && reading.access != GenApi_3_0::NA;
        // What exists may have its modes as they are, but other selectors mean another value.
        reading.problem = unmetNeed(camera, feature, exists);
        if (!reading.problem.empty())
            return;
        if (reading.access == GenApi_3_0::RW || reading.access == GenApi_3_0::RO)
            reading.value = switches ? switches->read(feature) : node.read();
        else
            reading.problem = whyNot(reading.access);
        if (!exists)
            return;
        reading.limits = node.limits();
        reading.entries = node.entries();
    });
    reading.failed = !error.empty();
    if (reading.failed)
        reading.problem = error;
    return reading;
}

std::string whyMissing(const Camera &camera, const Feature &feature, const std::string &what) {
    std::string why = "the camera has no " + what;
    for (const std::string &legacy : feature.legacy)
        if (camera.node(legacy).kind() != Kind::Missing)
            return say(why, "; it has ", legacy, " instead");
    return why;
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
    return static_cast<double>(wide(value));
}

Unit unitOf(const Feature &feature, Kind kind) {
    // Whole factors are shown as they are.
    const bool bears =
        kind == Kind::Float || (kind == Kind::Integer && feature.unit != Unit::Decibels);
    return bears ? feature.unit : Unit::None;
}

Words unitsOf(const Feature &feature) {
    Words units;
    for (const Suffix &suffix : kSuffixes)
        if (suffix.unit == feature.unit)
            units.emplace_back(suffix.text);
    return units;
}

std::optional<double> ownNumber(const Feature &feature, double typed, std::string_view unit) {
    const char *const usual = nameOf(feature.unit);
    if (unit.empty() && !usual)
        return typed;
    for (const Suffix &suffix : kSuffixes)
        if (suffix.unit == feature.unit && sameWord(suffix.text, unit.empty() ? usual : unit))
            return suffix.own(typed);
    return {};
}

Json shownValue(const Feature &feature, const Value &value) {
    const auto shown = [&](const auto &own) -> Json {
        using Own = std::decay_t<decltype(own)>;
        if constexpr (std::is_same_v<Own, std::monostate>)
            return nullptr;
        else if constexpr (std::is_same_v<Own, double>)
            return jsonNumber(feature.unit == Unit::Decibels ? 20 * std::log10(own) : own);
        else if constexpr (std::is_same_v<Own, std::string>)
            return cleaned(own);
        else
            return own;
    };
    return std::visit(shown, value);
}

std::string textOf(const Json &value) {
    return value.is_null()           ? kNone
           : value.is_string()       ? value.get<std::string>()
           : value.is_number_float() ? numberText(value)
                                     : value.dump();
}

std::string valueText(const Feature &feature, const Value &value) {
    return textOf(shownValue(feature, value));
}

std::string quantityText(const Feature &feature, const Value &value) {
    const bool whole = std::holds_alternative<int64_t>(value);
    const bool number = whole || std::holds_alternative<double>(value);
    const char *unit =
        number ? nameOf(unitOf(feature, whole ? Kind::Integer : Kind::Float)) : nullptr;
    return valueText(feature, value) + (unit ? " " + std::string(unit) : "");
}

std::string readingText(const Reading &reading) {
    return quantityText(*reading.feature, reading.value) +
           (reading.unit.empty() || !hasValue(reading.value) ? "" : " " + reading.unit) +
           (reading.problem.empty() ? "" : " (" + reading.problem + ")");
}

std::string tableOf(const Camera &camera, const std::vector<Reading> &readings) {
    std::vector<Row> rows{{columnsOfReadings()}};
    for (const Reading &reading : readings)
        rows.push_back({cellsOf(reading)});
    return camera.heading() + "\n" + tableText(rows);
}

Words columnsOfReadings() {
    return {"Feature", "Value", "Minimum", "Maximum", "Step", "Unit", "Access", "Kind"};
}

Words cellsOf(const Reading &reading) {
    const Json is = asMembers(reading);
    Words cells;
    for (const char *name :
         {"name", "value", "minimum", "maximum", "increment", "unit", "access", "kind"})
        cells.push_back(textOf(is.at(name)));
    if (!is.at("increment").is_null() && unitOf(*reading.feature, reading.kind) == Unit::Decibels)
        cells[4].insert(0, "to ");
    if (!hasValue(reading.value) && !reading.problem.empty())
        cells[7] += "; " + reading.problem;
    else if (!reading.entries.empty())
        cells[7] += ": " + joined(reading.entries, ", ");
    return cells;
}

Json asMembers(const Reading &reading) {
    const Feature &feature = *reading.feature;
    const char *known = nameOf(unitOf(feature, reading.kind));
    const std::string unit = known ? known : reading.unit;
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
    return feature.name + ": " + readingText(readFeature(camera, feature, nullptr)) + "\n";
}

std::string changeText(const std::string &name, const std::string &before,
                       const std::string &after) {
    return name + ": " + before + (before == after ? "" : " -> " + after) + "\n";
}

std::string rangeText(const Reading &reading) {
    if (reading.kind == Kind::Boolean)
        return "true or false";
    if (reading.kind == Kind::Enumeration)
        return choicesText(reading.entries);
    return (reading.kind == Kind::Integer ? "a whole number, " : "a number, ") +
           valueText(*reading.feature, reading.limits.min) + " to " +
           quantityText(*reading.feature, reading.limits.max);
}

Value checkedValue(const Camera &camera, const Reading &reading, const std::string &text) {
    const std::string &name = reading.feature->name;
    const bool isMissing = reading.kind == Kind::Missing;
    const bool isUnknown = isMissing && reading.feature->kind == Kind::Missing;
    // Cameras lock what their automatic functions set.
    const bool isLocked = reading.feature->setBy && reading.access == GenApi_3_0::RO;
    const bool isNumber = reading.kind == Kind::Integer || reading.kind == Kind::Float;
    if (isMissing || reading.failed)
        throw Error(
            isUnknown ? kWrongUsage : kFailed, isUnknown ? '"' + shortened(name) + '"' : name,
            " cannot be set: ", reading.problem, ".", isUnknown ? nearestFeatures(name) : "");
    if (reading.access != GenApi_3_0::RW && reading.access != GenApi_3_0::WO)
        throw Error(kWrongUsage, name, " cannot be set: ", whyNot(reading.access),
                    isLocked ? ", probably because the camera sets it by "
                               "itself; 'kxinfo auto off' ends that."
                             : ".");
    if (isNumber && !hasValue(reading.limits.min)) // a selector has not taken its choice
        throw Error(kFailed, name, " cannot be set: ", reading.problem, ".");
    if (isNumber)
        return checkedNumber(camera, reading, text);
    if (reading.kind == Kind::Boolean)
        return checkedBoolean(reading, text);
    return reading.kind == Kind::Enumeration ? checkedEntry(reading, text) : text;
}

void checkLimits(const Feature &changed, const std::function<Value(const Feature &)> &valueOf) {
    for (const Feature &lower : allFeatures()) {
        if (!lower.upTo || (lower.name != changed.name && lower.upTo != changed.name))
            continue;
        const Feature &upper = featureNamed(lower.upTo);
        const Value low = valueOf(lower), high = valueOf(upper);
        if (numberOf(low) > numberOf(high))
            throw Error(kWrongUsage, lower.name, " would be ", quantityText(lower, low), ", above ",
                        upper.name, ", ", quantityText(upper, high),
                        ". Give limits whose lower is below the upper.");
    }
}

} // namespace kxinfo
