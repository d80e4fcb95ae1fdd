/** Features with their values and ranges: read, shown, typed, converted. */
#ifndef KXINFO_CAMERA_VALUES_H
#define KXINFO_CAMERA_VALUES_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "camera/camera.h"

namespace kxinfo {

class Switches;

/** What is known of a feature. Values are the camera's own. */
struct Reading {
    const Feature *feature;
    Kind kind = Kind::Missing;
    GenApi_3_0::EAccessMode access = GenApi_3_0::NI;
    Value value = {}; ///< none: it cannot be read at present, see \ref problem
    Limits limits = {};
    std::string unit = {};    ///< as the camera has it, of what is none of the table
    Words entries = {};       ///< of an enumeration: what it may be set to
    std::string problem = {}; ///< why there is no value, or no range, as a clause
    bool failed = false;      ///< the problem is an error, not the camera's present state
};

/**
 * Reads a feature, its range and its access. What it needs is switched by \p switches; without, what
 * would have to be is told as the problem.
 *
 * \throws the platform's TimeoutException when the camera has fallen silent; its other exceptions
 *         end up in Reading::problem
 */
Reading readFeature(const Camera &camera, const Feature &feature, Switches *switches);

/**
 * That the camera lacks the feature, with what it has in its place, as a clause.
 *
 * \param what  how the feature is named there
 */
std::string whyMissing(const Camera &camera, const Feature &feature,
                       const std::string &what = "such feature");

/** A parameter of the plug-in's host that shows what the camera has. */
struct HostParameter {
    std::string name;
    Words features;      ///< that the plug-in reads for it
    std::string problem; ///< why it finds no value of the camera's, as a clause; empty: it does
};
std::vector<HostParameter> hostParameters(const Camera &camera);

/** A number as such; NaN: it is none. */
double numberOf(const Value &value);

/** The unit of a feature's numbers: that of the table where the camera's kind bears it. */
Unit unitOf(const Feature &feature, Kind kind);

/** Units that may be typed behind a number of the feature, in any capitals. */
Words unitsOf(const Feature &feature);

/** The camera's own number; without a unit one as it is shown; none: the unit is not its. */
std::optional<double> ownNumber(const Feature &feature, double typed, std::string_view unit);

/** A value in the unit that users see; null for none. */
nlohmann::ordered_json shownValue(const Feature &feature, const Value &value);

/** Such a value for people, rounded; "-" for none. */
std::string textOf(const nlohmann::ordered_json &value);

/** A value for people: in its unit, rounded, without the unit's name; "-" for none. */
std::string valueText(const Feature &feature, const Value &value);

/** The same with the unit's name. */
std::string quantityText(const Feature &feature, const Value &value);

/** The same with the camera's own unit, and with what stands in the way of it. */
std::string readingText(const Reading &reading);

/** A table of readings, with the camera above it; one of its rows, and what stands above that. */
std::string tableOf(const Camera &camera, const std::vector<Reading> &readings);
Words columnsOfReadings();
Words cellsOf(const Reading &reading);

/** The same as members of a JSON object, and of an object that says which camera it is. */
nlohmann::ordered_json asMembers(const Reading &reading);
nlohmann::ordered_json asMembers(const CameraName &name);

/** "NAME: VALUE (PROBLEM)" of a row of the table, as it can be read; with a line end. */
std::string lineOf(const Camera &camera, const char *name);

/** "NAME: BEFORE -> AFTER", or "NAME: BEFORE" when that is the same; with a line end. */
std::string changeText(const std::string &name, const std::string &before,
                       const std::string &after);

/** "a number, 0 to 18.0618 dB", "one of Off, Continuous", "true or false". */
std::string rangeText(const Reading &reading);

/**
 * What a user typed as a value of the feature, if it may be set to that now: with a unit that fits
 * or without one, entries and switches in any capitals. A number that is shown like an end of the
 * range counts as that end; decibels and levels of brightness go to the nearest step.
 *
 * \throws Error (kWrongUsage) when it is none, outside the range or, a whole number, off its steps,
 *         or the feature cannot be written; (kFailed) when the camera does not have it
 */
Value checkedValue(const Camera &camera, const Reading &reading, const std::string &text);

/** \throws Error (kWrongUsage) when the feature is a limit, and the lower is above the upper */
void checkLimits(const Feature &changed, const std::function<Value(const Feature &)> &valueOf);

/** What is to be set. */
struct Assignment {
    const Feature *feature;
    std::string text; ///< as a user types it
};

} // namespace kxinfo

#endif
