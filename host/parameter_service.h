/**
 * kxinfo's side of the parameter service: the functions of kx_sc.h, which this program exports to
 * the plug-in, collect here what a run publishes.
 */
#ifndef KXINFO_HOST_PARAMETER_SERVICE_H
#define KXINFO_HOST_PARAMETER_SERVICE_H

#include <optional>
#include <set>
#include <vector>

#include "settings.h"

namespace kxinfo {

/** What one run of the plug-in gave the parameter service. */
struct Publication {
    /** The exported settings in the order of publication; none when nothing was exported. */
    std::optional<std::vector<PublishedSetting>> exported;
    /** Identifiers that kxinfo does not know, or knows without an index, and has left out. */
    std::set<KxScParamId> ignored;
    /** A value could not be kept for lack of memory: the publication is not complete. */
    bool outOfMemory = false;
};

/** Hands over what has been published since the last call, and starts anew. */
Publication takePublication();

} // namespace kxinfo

#endif
