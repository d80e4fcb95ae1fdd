/** kxinfo probe SERIAL. */
#ifndef KXINFO_HOST_PROBE_H
#define KXINFO_HOST_PROBE_H

#include "plugin.h"
#include "requests.h"

namespace kxinfo {

/** \return the exit status */
int probe(const Plugin &plugin, const ProbeRequest &request);

} // namespace kxinfo

#endif
