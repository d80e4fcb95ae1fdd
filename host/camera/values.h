/** Reads and writes properties through the camera class. */
#ifndef KXINFO_HOST_CAMERA_VALUES_H
#define KXINFO_HOST_CAMERA_VALUES_H

#include <string>
#include <variant>
#include <vector>

#include "modes.h"
#include "properties.h"
#include "session.h"

namespace kxinfo {

/** A property's value in the camera class's units; of an enumeration the entry's name. */
using PropertyValue = std::variant<std::monostate, float, int32_t, bool, std::string>;

/** What is known of a property. */
struct Reading {
    const Property *property;
    Kind kind = Kind::Missing;
    GenApi_3_0::EAccessMode access = GenApi_3_0::NI;
    PropertyValue value; ///< none: it cannot be read at present, see \ref problem
    /** Of a number. The increment is as the camera class delivers it; none: there is none. */
    PropertyValue minimum, maximum, increment;
    std::vector<std::string> entries; ///< of an enumeration: what it may be set to
    std::string problem;              ///< why there is no value, as a clause
    bool failed = false;              ///< the problem is an error, not the camera's present state
};

/**
 * Reads a property, its range and its access, with what it needs switched by \p modes.
 *
 * \throws the platform's TimeoutException when the camera has fallen silent; its other exceptions
 *         end up in Reading::problem
 */
Reading readProperty(const Session &session, Modes &modes, const Property &property);

/**
 * The same of a property that has just been written.
 *
 * \throws CommandError (kFailed) also when it cannot be read
 */
Reading readBack(const Session &session, Modes &modes, const Property &property);

/** A value for people: rounded, without its unit; "-" for none. */
std::string valueText(const PropertyValue &value);

/** The unit of its numbers; null when they have none. */
const char *unitOf(const Reading &reading);

/** A value of the property for people, with its unit. */
std::string quantityText(const Reading &reading, const PropertyValue &value);

/** "NAME: BEFORE -> AFTER", or "NAME: BEFORE" when that is the same; with a line end. */
std::string changeText(const std::string &name, const std::string &before,
                       const std::string &after);

/** "0 to 18.0618 dB", "one of Off, Continuous", "true or false". */
std::string rangeText(const Reading &reading);

/**
 * What a user typed as a value of the property, if it may be set to that now.
 *
 * A number that is shown like an end of the range counts as that end.
 *
 * \throws CommandError (kWrongUsage) when it is none, outside the range or, a whole number, off its
 *         steps, or the property cannot be written; (kFailed) when the camera does not have it
 */
PropertyValue checkedValue(const Reading &reading, const std::string &text);

/** A number that a user typed. \throws CommandError (kWrongUsage), naming \p what */
float numberFrom(const std::string &text, const std::string &what);

/**
 * Writes a value that has been checked, by the camera class's operation for it where that knows
 * more than the feature. What it changes is told to \p modes as meant to stay. Of a float beside
 * its steps the nearest are told to the user.
 *
 * \throws CommandError (kFailed) when the operation tells why it cannot; what the camera raises
 */
void writeProperty(const Session &session, Modes &modes, const Reading &reading,
                   const PropertyValue &value);

} // namespace kxinfo

#endif
