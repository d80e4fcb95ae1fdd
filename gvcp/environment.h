/** What the environment asks of whoever looks for cameras and opens them. */
#ifndef KXINFO_GVCP_ENVIRONMENT_H
#define KXINFO_GVCP_ENVIRONMENT_H

#include <optional>

#include "gvcp/description.h"
#include "gvcp/discovery.h"

namespace gvcp {

/**
 * The search that the environment asks for:
 *
 * KXGIGE_DISCOVERY_MS      how long to wait, 1 to 1000 milliseconds
 * KXGIGE_EXPECTED_CAMERAS  for how many cameras, 1 to 64
 * KXGIGE_SERIAL            for which camera
 * KXGIGE_INTERFACES        network interfaces to ask on, names or addresses separated by commas
 * KXGIGE_ADDRESSES         cameras to ask directly, at most 64 IPv4 addresses separated by commas
 *
 * Unless one of the last two says where to ask, all network interfaces that are up are asked. What
 * cannot be understood is reported in one line on standard error and left out, or at its default.
 * An address that this computer has no way to is reported as well.
 *
 * \throw std::system_error when this computer's network interfaces cannot be listed
 */
Search searchFromEnvironment();

/**
 * The place that the environment names: none with KXGIGE_CACHE=off, its folder when that is an
 * absolute path; else kxinfo-dalsa/descriptions below XDG_CACHE_HOME (when that is an absolute
 * path), or below HOME's .cache. Another KXGIGE_CACHE is told in a line on standard error. A
 * program with more rights than its user has no place.
 */
std::optional<CachePlace> cachePlace();

} // namespace gvcp

#endif
