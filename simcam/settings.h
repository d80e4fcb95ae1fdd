#ifndef KXINFO_SIMCAM_SETTINGS_H
#define KXINFO_SIMCAM_SETTINGS_H

#include "description.h"
#include "memory.h"

#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>

namespace simcam {

/** Why a feature cannot have that value: a sentence without its beginning ("--set Gain=9: "). */
struct WrongValue : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/**
 * Gives a feature of the description a value, written as people do: an enumeration's entry, true or
 * false, a number, a text. It goes into the registers that <pValue> leads to, read-only ones too;
 * behind a selector into the cell that is selected at that moment.
 *
 * Limits are those that the description writes as numbers; computed ones and steps are not looked
 * at. Registers at one of the addresses `kept` are the camera's own. Throws WrongValue.
 */
void setFeature(const Description &description, const std::string &feature,
                const std::string &value, const std::set<uint32_t> &kept, Memory &memory);

} // namespace simcam

#endif
