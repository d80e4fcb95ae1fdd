/** Setting several features: all, or none. */
#ifndef KXINFO_CAMERA_SET_H
#define KXINFO_CAMERA_SET_H

#include <string>
#include <vector>

#include "camera/values.h"

namespace kxinfo {

struct Assignment {
    const Feature *feature;
    std::string text; ///< as a user types it
};

struct Change {
    const Feature *feature;
    Value before;
    Value after;
};

/**
 * Sets features in the order given, unless one can only be set after another: the range of each is
 * that which it has then. What has that value already is not written. The caller keeps the changes
 * (Switches::keepChanges()).
 *
 * \return what each was and is, in the order given, as the camera has it
 * \throws Error when one cannot be set in any order, or a lower limit would be above its upper one
 */
std::vector<Change> assign(const Camera &camera, Switches &switches,
                           const std::vector<Assignment> &assignments);

/** The same, kept and shown: what is left of a command that sets features. \return kDone */
int assignAndShow(const Camera &camera, Switches &switches,
                  const std::vector<Assignment> &assignments);

} // namespace kxinfo

#endif
