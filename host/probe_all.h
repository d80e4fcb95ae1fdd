/** kxinfo probe --all. */
#ifndef KXINFO_HOST_PROBE_ALL_H
#define KXINFO_HOST_PROBE_ALL_H

#include "plugin.h"
#include "requests.h"

namespace kxinfo {

/**
 * Has the plug-in list the cameras, and probes each in a process of its own, side by side. Tells
 * that more cameras may be there when the plug-in sees as many as it can.
 *
 * \return the exit status: the highest of theirs
 */
int probeAll(const Plugin &plugin, const ProbeRequest &request);

} // namespace kxinfo

#endif
