#ifndef KXINFO_SIMCAM_SNAPSHOT_H
#define KXINFO_SIMCAM_SNAPSHOT_H

#include "description.h"
#include "memory.h"

#include <string>
#include <vector>

namespace simcam {

/**
 * The registers in the words of the description: one "Name = value" a line, sorted by name.
 *
 *   Gain[SensorAll] = 2
 *   GainSelector = DigitalAll
 *   LUTValue[Red][17] = 4095
 *
 * Enumerations show their entry, cells behind a selector the entry that selects them. Left out are
 * write-only registers, and those entries of long tables (more than 16 cells) that are zero.
 */
std::string describe(const std::vector<Register> &registers, const Memory &memory);

} // namespace simcam

#endif
