/** A run of the plug-in whose log is collected instead of shown. */
#ifndef KXINFO_HOST_COLLECTED_RUN_H
#define KXINFO_HOST_COLLECTED_RUN_H

#include <string>

#include "plugin.h"

namespace kxinfo {

struct CollectedRun {
    Outcome outcome;
    std::string log; ///< what the plug-in wrote to standard output
};

/**
 * Runs the plug-in with its log on standard output as well, which goes into memory.
 *
 * \param serial,logMode,logLevel  as for Vendor__Proc(); the level counts for all sinks
 */
CollectedRun runCollected(const Plugin &plugin, const char *serial, int logMode, int logLevel);

} // namespace kxinfo

#endif
