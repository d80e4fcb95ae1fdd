/** The camera class's properties as users name them. */
#ifndef KXINFO_HOST_CAMERA_PROPERTIES_H
#define KXINFO_HOST_CAMERA_PROPERTIES_H

#include <string>
#include <vector>

#include "kx_td_excam.h"
#include "modes.h"

namespace kxinfo {

/** One row of the table of properties. */
struct Property {
    KxTd::PropertyType type;
    const char *name;    ///< the feature's name; with the selector's entry where it needs one
    const char *feature; ///< the feature's name
    const char *unit;    ///< null: a plain number, a switch or a choice
    Reach reach;

    bool inDecibels() const;
};

/** All properties, in the order of their types. */
const std::vector<Property> &allProperties();

/**
 * The properties of that name, whatever its capitals. A feature that several properties share
 * ("BalanceRatio") names all of them.
 *
 * \throws CommandError (kWrongUsage) with the nearest names when there is none
 */
std::vector<const Property *> propertiesNamed(const std::string &name);

/**
 * The one property of that name.
 *
 * \throws CommandError (kWrongUsage) also when several share the name
 */
const Property &propertyNamed(const std::string &name);

} // namespace kxinfo

#endif
